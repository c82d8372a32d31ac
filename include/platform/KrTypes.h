/* Fixed-width integer names and symbol-visibility macros shared by orvik_platform and
 * orvik_base.  Both libraries are built with -fvisibility=hidden; everything a caller may use
 * carries one of the export macros below. */
#ifndef ORVIK_PLATFORM_KRTYPES_H
#define ORVIK_PLATFORM_KRTYPES_H

#include <stddef.h>
#include <stdint.h>

typedef int64_t kr_int64;   /* the interface's signed 64-bit integer */
typedef uint64_t kr_uint64; /* the interface's unsigned 64-bit integer */
typedef int32_t kr_int32;
typedef uint32_t kr_uint32;
typedef uint8_t kr_uint8;

#if defined(__GNUC__) || defined(__clang__)
#define ORVIK_EXPORT_ATTR __attribute__((visibility("default")))
#else
#define ORVIK_EXPORT_ATTR
#endif

/* Marks symbols of the platform layer library (libOrvikPlatform). */
#define ORVIK_PLATFORM_API ORVIK_EXPORT_ATTR
/* Marks classes and functions exported by orvik_base. */
#define ORVIK_API ORVIK_EXPORT_ATTR

/* Turns a string literal or a stringised token sequence into a wide literal. */
#define KR_WIDEN_(x) L##x
#define KR_WIDEN(x) KR_WIDEN_(x)

#endif
