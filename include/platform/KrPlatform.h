/* The platform layer (libOrvikPlatform): wide-to-8-bit conversion, diagnostics, whole-file
 * access, and the small shims that give the Windows C runtime's observable behaviour on glibc.
 *
 * Every function has C linkage.  Wide text is UTF-16: one code unit per wchar_t, never a value
 * above 0xFFFF.  Nothing here depends on orvik_base. */
#ifndef ORVIK_PLATFORM_KRPLATFORM_H
#define ORVIK_PLATFORM_KRPLATFORM_H

#include <stdarg.h>
#include <stddef.h>
#include <wchar.h>

#include "platform/KrTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------------------------------
 * Wide to 8-bit conversion
 * ------------------------------------------------------------------------------------------- */

/* Converts UTF-16 text to UTF-8 (utf8 true) or to the 8-bit Latin-1 page (utf8 false, every
 * unit above 0xFF becomes '?').
 *   srcLength  -1: the source runs to its zero unit, which is converted and counted too;
 *              otherwise exactly that many units are converted and no terminator is added.
 *   dst null or dstSize 0: nothing is written, the result is the size needed in bytes.
 * Returns the number of bytes written (terminator included when srcLength is -1), or 0 on
 * failure: null source, a length below -1, or a buffer too small for the whole output (the
 * buffer may then hold a partial result).  In UTF-8 mode a surrogate pair becomes one four-byte
 * sequence and a lone surrogate becomes U+FFFD. */
ORVIK_PLATFORM_API int KR_WChar2Char(const wchar_t *src, int srcLength, char *dst, kr_int64 dstSize,
                                     bool utf8);

/* ---------------------------------------------------------------------------------------------
 * Diagnostics
 * ------------------------------------------------------------------------------------------- */

/* kind: 0 for an assertion (DiagAssertW), 1 for a running diagnostic (DiagOutputExW).
   condition: the condition text as written in the code (empty for kind 1).
   message: the fully formatted message.  source: e.g. L"variant/CKrVariant".  */
typedef void (*KrDiagHandler)(void *user, int kind, const wchar_t *condition,
                              const wchar_t *message, const wchar_t *source, int line);
/* Installs a handler for the whole process (null restores the default); returns the previous one.
 */
ORVIK_PLATFORM_API KrDiagHandler KR_SetDiagHandler(KrDiagHandler handler, void *user);

/* Reports misuse and returns; the caller goes on with its fallback.  `format` follows the
 * Windows wide printf conventions ("%s" takes a wide string, see KR_vswprintf).  Without a
 * handler one line goes to standard error:
 *   orvik: <source>(<line>): <message> [<condition>]
 * ORVIK_DIAG=quiet silences the default output, ORVIK_DIAG=abort aborts after reporting. */
ORVIK_PLATFORM_API void DiagAssertW(const wchar_t *condition, const wchar_t *source, int line,
                                    const wchar_t *format, ...);
/* A running diagnostic: same formatting, kind 1, no condition; the default line has no
 * bracketed condition. ORVIK_DIAG=quiet silences it as well. */
ORVIK_PLATFORM_API void DiagOutputExW(const wchar_t *source, int line, const wchar_t *format, ...);

/* The library's one way to report misuse.  KR_REPORTW reports with a condition text given as it
 * stands (texts that the interface fixes, kept as named constants where they are used);
 * KR_ASSERTW checks `cond`, evaluated exactly once, and when it is false reports it with its text
 * as written in the code.  Both add the current line.  Usage:
 *   KR_ASSERTW(index < count, L"variant/CKrList", L"Error: index %d out of range", index);
 *   KR_REPORTW(kConditionTypeChange, L"variant/CKrVariant", L"Error: ..."); */
#define KR_REPORTW(conditionText, source, ...) \
    DiagAssertW(conditionText, source, __LINE__, __VA_ARGS__)
#define KR_ASSERTW(cond, source, ...)                                  \
    do {                                                               \
        if (!(cond)) KR_REPORTW(KR_WIDEN(#cond), source, __VA_ARGS__); \
    } while (0)

/* ---------------------------------------------------------------------------------------------
 * Whole-file access.  Handles are non-negative; every failure is a negative code:
 *   -1 bad argument (null path, bad handle, null buffer with a non-zero size),
 *   -2 the file could not be opened, -3 a read or write failed.
 * ------------------------------------------------------------------------------------------- */

enum { KR_FILE_READ = 0, KR_FILE_WRITE = 1 /* create or truncate */ };

ORVIK_PLATFORM_API int KR_OpenFile(const wchar_t *path, int mode);
/* Size in bytes of an open file, or a negative code. */
ORVIK_PLATFORM_API kr_int64 KR_GetFileSize(int handle);
/* Reads up to `size` bytes (fewer only at the end of the file); returns the count read. */
ORVIK_PLATFORM_API kr_int64 KR_ReadFile(int handle, void *buffer, kr_int64 size);
/* Writes all `size` bytes; returns the count written. */
ORVIK_PLATFORM_API kr_int64 KR_WriteFile(int handle, const void *buffer, kr_int64 size);
ORVIK_PLATFORM_API int KR_CloseFile(int handle);

/* ---------------------------------------------------------------------------------------------
 * Windows C runtime behaviour on glibc
 * ------------------------------------------------------------------------------------------- */

/* mbstowcs / wcstombs as the Windows runtime does them: in the "C" locale (codeset
 * ANSI_X3.4-1968) bytes and units are copied one for one (0x00..0xFF; a unit above 0xFF stops
 * KR_wcstombs with (size_t)-1); in any other locale the C library's real conversion is used.
 * A null destination measures.  Results and partial output follow mbstowcs / wcstombs. */
ORVIK_PLATFORM_API size_t KR_mbstowcs(wchar_t *dst, const char *src, size_t count);
ORVIK_PLATFORM_API size_t KR_wcstombs(char *dst, const wchar_t *src, size_t count);

/* printf with the Windows conventions, for both widths.  A directive is
 *   '%' flags* width? ('.' precision?)? size? conversion
 * flags: - + space # 0 ';  width and precision: decimal digits (at most INT_MAX) or '*' (an int
 * argument; a negative width means '-' and its magnitude, a negative precision counts as none);
 * sizes: hh h l ll q L j z t, and the Windows I64 (long long), I32 (int), I (size_t), w (wide
 * text); conversions: d i u o x X f F e E g G a A c C s S p %.
 * Text arguments: in a wide format "%s" and "%c" take wide arguments and "%hs", "%hc", "%S",
 * "%C" narrow ones; in a narrow format "%s" and "%c" are narrow and "%S", "%C", "%ls", "%ws"
 * wide; "%ls"/"%lc"/"%ws" are always wide.  A text of the other width is converted by the
 * formatter: in the default "C" locale byte for unit (0x00..0xFF), a unit above 0xFF failing in
 * a narrow result, as KR_mbstowcs / KR_wcstombs do; in any other locale by the locale's own
 * conversion.  A precision counts the units written of a text; a null text prints "(null)".
 * "%p" prints 16 upper-case hex digits.
 * The call fails (result -1) and writes nothing when the format breaks these rules: a format
 * that ends inside a directive ("100%"), an unknown conversion, "%n", positional arguments
 * ("%1$d"), a width or precision above INT_MAX, a size that the conversion does not take, a text
 * argument that does not convert, or a result longer than INT_MAX units.  Such a call returns at
 * once: the output only grows to the length of the result, measured piece by piece.
 *
 * KR_vswprintf / KR_swprintf: into `buffer` of `count` units; the length written (without the
 * terminator), or -1 when the format fails or the result does not fit (buffer then holds an
 * empty string when count > 0). */
ORVIK_PLATFORM_API int KR_vswprintf(wchar_t *buffer, size_t count, const wchar_t *format,
                                    va_list args);
ORVIK_PLATFORM_API int KR_swprintf(wchar_t *buffer, size_t count, const wchar_t *format, ...);
/* Narrow, with C99 snprintf results: the full length of the result (count 0 and a null buffer
 * measure), at most count - 1 bytes and a terminator written; -1 when the format fails. */
ORVIK_PLATFORM_API int KR_vsnprintf(char *buffer, size_t count, const char *format, va_list args);

/* Formats into a per-thread scratch buffer owned by the platform layer and returns its length
 * (L >= 0) with *out pointing at L units followed by a zero, valid until the thread's next call
 * of a KR_FormatScratch* function; returns -1 (and *out null) when the format fails.  No length
 * limit other than INT_MAX and memory.  Arguments must not point into the scratch itself.  A
 * thread keeps at most 64 Ki units of scratch between calls: a longer result is released at the
 * start of the thread's next call, or at once by KR_FormatScratchTrim (call it after copying a
 * result that may be long).  This is the measuring step of the string classes' Format. */
ORVIK_PLATFORM_API int KR_FormatScratchW(const wchar_t **out, const wchar_t *format, va_list args);
ORVIK_PLATFORM_API int KR_FormatScratchA(const char **out, const char *format, va_list args);
ORVIK_PLATFORM_API void KR_FormatScratchTrim(void);

/* _stricmp / _wcsicmp: compare the lower-cased characters (current locale); the result is the
 * difference of the first lower-cased pair that differs (<0, 0, >0). */
ORVIK_PLATFORM_API int KR_stricmp(const char *a, const char *b);
ORVIK_PLATFORM_API int KR_wcsicmp(const wchar_t *a, const wchar_t *b);

/* Global memory status: total and available physical memory in bytes.  Returns 0, or -1 when
 * the system does not tell (both outputs then 0).  Either pointer may be null. */
ORVIK_PLATFORM_API int KR_GetPhysMemory(kr_uint64 *total, kr_uint64 *available);

/* Hint that [address, address + size) is about to be written from start to end: the system is
 * asked to back the whole pages inside it with huge pages where it grants them on request, so the
 * first writes fault in memory 2 MiB at a time instead of 4 KiB.  Contents are not touched;
 * ranges under 2 MiB and systems without the feature are left alone.  Used for large buffers
 * that are filled once (serialiser output, parser node blocks). */
ORVIK_PLATFORM_API void KR_AdviseLargeWrite(void *address, size_t size);

/* ---------------------------------------------------------------------------------------------
 * Time: the Windows runtime's 64-bit time functions on glibc (platform/KrTimeShims.cpp)
 *
 * Times are seconds since 1970-01-01 00:00:00 UTC.  Like the Windows runtime, the conversions
 * accept only 0 <= t <= KR_MAX_TIME64 (3000-12-31 23:59:59 UTC); outside that range they fail
 * instead of extrapolating, which is what the date-time class relies on to choose its own
 * calendar path.  All of them are reentrant: results go to caller-supplied storage.
 * ------------------------------------------------------------------------------------------- */

struct tm;

#define KR_MAX_TIME64 32535215999LL

/* Local time with milliseconds, field for field like the Windows SYSTEMTIME record:
 * wMonth 1..12, wDayOfWeek 0 = Sunday. */
typedef struct KrSystemTime {
    unsigned short wYear;
    unsigned short wMonth;
    unsigned short wDayOfWeek;
    unsigned short wDay;
    unsigned short wHour;
    unsigned short wMinute;
    unsigned short wSecond;
    unsigned short wMilliseconds;
} KrSystemTime;

/* _time64: the current time; also stored in *out when out is not null. */
ORVIK_PLATFORM_API kr_int64 KR_time64(kr_int64 *out);
/* _localtime64 / _gmtime64: break *t down into *out (local time with daylight saving, or UTC).
 * Return out, or null (out untouched) for a null argument or t outside 0..KR_MAX_TIME64. */
ORVIK_PLATFORM_API struct tm *KR_localtime64(const kr_int64 *t, struct tm *out);
ORVIK_PLATFORM_API struct tm *KR_gmtime64(const kr_int64 *t, struct tm *out);
/* _mktime64: local broken-down time to seconds.  tm_isdst < 0 lets the zone rules decide.
 * Returns -1 when the result would fall outside 0..KR_MAX_TIME64 (so local times before the
 * epoch, such as 1970-01-01 00:30 east of Greenwich, fail) or tm is null; *tm is normalised
 * (fields brought into range, tm_wday/tm_yday/tm_isdst filled) only on success. */
ORVIK_PLATFORM_API kr_int64 KR_mktime64(struct tm *tm);
/* _timezone: seconds WEST of UTC of the local standard time (Prague -3600, New York 18000).
 * The zone is read once (tzset) on first use; a process that changes TZ calls tzset() itself. */
ORVIK_PLATFORM_API long KR_timezone(void);
/* Where KR_timezone reads its answer, after the same one-time zone read: reading through the
 * pointer always gives what KR_timezone would return at that moment (tzset() updates the
 * variable in place), without a call per read.  Never null. */
ORVIK_PLATFORM_API const long *KR_timezoneAddress(void);
/* GetLocalTime: the local time now with milliseconds.  A null argument does nothing. */
ORVIK_PLATFORM_API void KR_GetLocalTime(KrSystemTime *out);

#ifdef __cplusplus
}
#endif

#endif
