// Internal helpers shared by the CKrDateTime sources: month tables, the Julian Day Number
// conversions of the own calendar path, the runtime initialisation, and the check macro.
#ifndef ORVIK_TIME_KRDATETIMEIMPL_H
#define ORVIK_TIME_KRDATETIMEIMPL_H

#include <atomic>
#include <cstdint>

#include "platform/KrPlatform.h"
#include "time/KrDateTime.h"

namespace krdt {

constexpr const wchar_t *kSource = L"time/KrDateTime";

constexpr kr_int64 kInvalid = INT64_MAX;
constexpr kr_int64 kMsPerDay = 86400000;
constexpr kr_int64 kUnixEpochJdn = 2440587;  // the day number of 1970-01-01 (see jdnFromDate)
// Upper end (exclusive) of the standard range: whole seconds fit a signed 32-bit time_t.
constexpr kr_uint64 kStdRangeEnd = 2147483647000ULL;

// The first date that has a day number: 24 November -4713.
constexpr int JDN_0_YEAR = -4713;
constexpr int JDN_0_MONTH = CKrDateTime::Nov;
constexpr int JDN_0_DAY = 24;

// Indexed by leap * 12 + month.
extern const unsigned short kDaysInMonth[24];
extern const unsigned short kDaysBeforeMonth[24];

inline bool isInStdRange(kr_int64 value) {
    return static_cast<kr_uint64>(value) < kStdRangeEnd;
}

inline bool isGregorianLeap(kr_int64 year) {
    // Divisible by 400 <=> divisible by 100 and by 16; the masks work for negative years too.
    return (year & 3) == 0 && (year % 100 != 0 || (year & 15) == 0);
}

// Days in a month for a month known to be 0..11.
inline int daysIn(int month, kr_int64 year) {
    return kDaysInMonth[(isGregorianLeap(year) ? 12 : 0) + month];
}
inline int daysBefore(int month, kr_int64 year) {
    return kDaysBeforeMonth[(isGregorianLeap(year) ? 12 : 0) + month];
}

inline kr_int64 floorDiv(kr_int64 a, kr_int64 b) {
    kr_int64 q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}
inline kr_int64 floorMod(kr_int64 a, kr_int64 b) {
    const kr_int64 r = a % b;  // no overflow even at the 64-bit limits
    return (r != 0 && ((r < 0) != (b < 0))) ? r + b : r;
}

// Two's-complement arithmetic without signed overflow (modular conversion, C++20).
inline kr_int64 wrapAdd(kr_int64 a, kr_int64 b) {
    return static_cast<kr_int64>(static_cast<kr_uint64>(a) + static_cast<kr_uint64>(b));
}
inline kr_int64 wrapSub(kr_int64 a, kr_int64 b) {
    return static_cast<kr_int64>(static_cast<kr_uint64>(a) - static_cast<kr_uint64>(b));
}

// The day number of a proleptic Gregorian date whose month is 0..11, the number of the day
// that BEGINS at midnight (one less than the usual noon-based count: 1970-01-01 is 2440587).
kr_int64 jdnSlow(kr_int64 day, int month, kr_int64 year);
void reportBeforeJdnEpoch();

// The day-number formula without the epoch check: exact for any year (floor divisions below
// the year -4800, where the weekday of a hand-made Tm may still be asked for).
inline kr_int64 jdnUnchecked(kr_int64 day, int month, kr_int64 year) {
    const kr_int64 y = year + 4800 - (month < 2 ? 1 : 0);
    if (y < 0 || day < 0 || static_cast<unsigned>(month) >= 12) return jdnSlow(day, month, year);
    // Every date with a day number: all terms non-negative, and for |year| < 4e9 the 32-bit
    // divisions by constants become multiplications.
    const kr_uint64 u = static_cast<kr_uint64>(y);
    const kr_uint32 m = static_cast<kr_uint32>(month < 2 ? month + 10 : month - 2);  // March-based, [0, 11]
    const kr_uint64 leapDays =
        u <= UINT32_MAX ? static_cast<kr_uint32>(u) / 4u - static_cast<kr_uint32>(u) / 100u +
                              static_cast<kr_uint32>(u) / 400u
                        : u / 4 - u / 100 + u / 400;
    return static_cast<kr_int64>(static_cast<kr_uint64>(day) + (153 * m + 2) / 5 + 365 * u + leapDays) -
           32046;
}

inline bool isBeforeJdnEpoch(int day, int month, kr_int64 year) {
    if (year != JDN_0_YEAR) return year < JDN_0_YEAR;
    if (month != JDN_0_MONTH) return month < JDN_0_MONTH;
    return day < JDN_0_DAY;
}

// Dates before 24 November -4713 report "date out of range - can't convert to JDN" and give 0.
inline kr_int64 jdnFromDate(int day, int month, kr_int64 year) {
    if (isBeforeJdnEpoch(day, month, year)) {
        reportBeforeJdnEpoch();
        return 0;
    }
    return jdnUnchecked(day, month, year);
}

struct CivilDate {
    kr_int64 year;
    int month;  // 0..11
    int day;    // 1..31
};
template <class U>
inline CivilDate dateFromJdnIn(kr_uint64 jdnPlus) {
    // Every quantity is non-negative, so unsigned arithmetic gives the same quotients, faster.
    const U a = 4 * static_cast<U>(jdnPlus) + 3;
    const U c = a / 146097;                  // 400-year cycles
    const U b = ((a % 146097) / 4) * 4 + 3;  // [3, 146095]
    const U d = b / 1461;                    // year of the cycle's century, [0, 99]
    const U e = ((b % 1461) / 4) * 5 + 2;
    const U m = e / 153;                     // March-based month, [0, 11]
    CivilDate r;
    r.day = static_cast<int>((e % 153) / 5 + 1);
    r.month = static_cast<int>(m < 10 ? m + 2 : m - 10);
    r.year = static_cast<kr_int64>(100 * static_cast<kr_uint64>(c) + d) - 4800 + (m >= 10 ? 1 : 0);
    return r;
}

// The inverse of jdnFromDate for jdn >= -1.
inline CivilDate dateFromJdn(kr_int64 jdn) {
    const kr_uint64 shifted = static_cast<kr_uint64>(jdn + 32045);
    // 32-bit arithmetic while 4 * shifted + 3 fits (years below about 2.9 million).
    return shifted < (1u << 30) ? dateFromJdnIn<kr_uint32>(shifted) : dateFromJdnIn<kr_uint64>(shifted);
}

// Weekday (0 = Sunday) of a day number.
inline int weekDayFromJdn(kr_int64 jdn) { return static_cast<int>(floorMod(jdn + 2, 7)); }

// The days from 1970-01-01 to a proleptic Gregorian date with a day number (on or after
// 24 November -4713; month 0..11, day >= 0).  The same count as jdnFromDate - kUnixEpochJdn,
// without branches on the data: the March-based year is below 2^32 for every int year, so all
// divisions are 32-bit divisions by constants (multiplications).
inline kr_int64 daysFromCivil(unsigned day, unsigned month, int year) {
    const kr_uint32 beforeMarch = month < 2 ? 1u : 0u;  // January and February: previous year
    // The year counted from -4800, exact in 32 bits: [86, 2^31 + 4800).
    const kr_uint32 u = static_cast<kr_uint32>(year) + 4800u - beforeMarch;
    const kr_uint32 m = month + 12u * beforeMarch - 2u;  // March-based, [0, 11]
    const kr_uint32 leapDays = u / 4u - u / 100u + u / 400u;
    const kr_uint64 total = 365 * static_cast<kr_uint64>(u) + leapDays + (153u * m + 2u) / 5u + day;
    return static_cast<kr_int64>(total) - 32046 - kUnixEpochJdn;
}

// Gregorian leap year of an int year without branches (the same answer as isGregorianLeap).
inline bool isGregorianLeap32(int year) {
    return ((year & 3) == 0) & (((year % 100) != 0) | ((year & 15) == 0));
}

// Where the runtime keeps _timezone, set by the one-time runtime initialisation; null before.
extern std::atomic<const long *> g_runtimeZone;
long runtimeTimezoneFirst();

// The runtime's _timezone (seconds west of UTC of local standard time), read after the
// one-time runtime initialisation.  Read through the variable's address rather than a call per
// read: this sits on every own-path composition.  A zone changed with tzset() is seen at once.
inline long runtimeTimezone() {
    const long *zone = g_runtimeZone.load(std::memory_order_acquire);
    return __builtin_expect(zone != nullptr, 1) ? *zone : runtimeTimezoneFirst();
}

// The local standard offset in seconds east of UTC.
inline kr_int32 localStdOffset() { return static_cast<kr_int32>(-runtimeTimezone()); }

// The runtime's local broken-down time of now (zeroed when the runtime fails).
struct tm localTmNow();

}  // namespace krdt

// Checks `cond`; when false reports it (its text as written, the message, the source and the
// line) and yields false.  Usage: if (!KR_DT_CHECK(x < 12, L"invalid month")) return ...;
#define KR_DT_CHECK(cond, message)                                                                 \
    (__builtin_expect(static_cast<bool>(cond), 1)                                                  \
         ? true                                                                                    \
         : (DiagAssertW(KR_WIDEN(#cond), krdt::kSource, __LINE__, L"%s", message), false))

#endif
