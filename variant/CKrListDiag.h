// Internal: assertion reports of the keyed list.  The condition text handed to DiagAssertW is
// the failing condition exactly as written at the call site.
#ifndef ORVIK_VARIANT_CKRLISTDIAG_H
#define ORVIK_VARIANT_CKRLISTDIAG_H

#include "platform/KrPlatform.h"

#define KR_LIST_SOURCE L"variant/CKrList"

// Reports when `cond` holds (the condition names the misuse, not the requirement).
#define KR_LIST_REPORT_IF(cond, ...)                                                   \
    do {                                                                               \
        if (cond) DiagAssertW(KR_WIDEN(#cond), KR_LIST_SOURCE, __LINE__, __VA_ARGS__); \
    } while (0)

// Reports when `cond` holds and returns `fallback` (leave it empty in a void function).
#define KR_LIST_FAIL_IF(cond, fallback, ...)                                     \
    do {                                                                         \
        if (cond) {                                                              \
            DiagAssertW(KR_WIDEN(#cond), KR_LIST_SOURCE, __LINE__, __VA_ARGS__); \
            return fallback;                                                     \
        }                                                                        \
    } while (0)

// Unconditional report with an explicit condition text.
#define KR_LIST_REPORT(condText, ...) DiagAssertW(condText, KR_LIST_SOURCE, __LINE__, __VA_ARGS__)

#endif
