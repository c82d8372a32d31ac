// Misuse reports of the keyed list.  The list reports the condition that FAILED, as the
// interface names it ("m_keyType != krKEY_NONE", "!node"): callers and tests compare these texts,
// so the macros take the misuse condition, not the requirement that KR_ASSERTW takes.
#ifndef ORVIK_VARIANT_INTERNAL_LISTREPORT_H
#define ORVIK_VARIANT_INTERNAL_LISTREPORT_H

#include "platform/KrPlatform.h"

namespace orvik::detail {

inline constexpr wchar_t kListSource[] = L"variant/CKrList";

}  // namespace orvik::detail

// Reports when the misuse condition `cond` holds, with its text as written.
#define KR_LIST_REPORT_IF(cond, ...)                                                    \
    do {                                                                                \
        if (cond) KR_REPORTW(KR_WIDEN(#cond), orvik::detail::kListSource, __VA_ARGS__); \
    } while (0)

// Reports when `cond` holds and returns `fallback` (left empty in a void function).
#define KR_LIST_FAIL_IF(cond, fallback, ...)                                      \
    do {                                                                          \
        if (cond) {                                                               \
            KR_REPORTW(KR_WIDEN(#cond), orvik::detail::kListSource, __VA_ARGS__); \
            return fallback;                                                      \
        }                                                                         \
    } while (0)

// An unconditional report with a condition text that the interface fixes (L"true").
#define KR_LIST_REPORT(conditionText, ...) \
    KR_REPORTW(conditionText, orvik::detail::kListSource, __VA_ARGS__)

#endif
