// The calendar rules underneath CKrDateTime and CKrTimeSpan, each written once: the runtime
// range, the field ranges, the leap-year rule, the day count of a civil date and its inverse,
// wrapping 64-bit arithmetic, the one-time runtime initialisation and the check macro.
// Private to time/ (and its fuzz target); never exported.
#ifndef ORVIK_TIME_INTERNAL_TIMECALENDAR_H
#define ORVIK_TIME_INTERNAL_TIMECALENDAR_H

#include <atomic>
#include <cstdint>
#include <ctime>

#include "platform/KrPlatform.h"
#include "time/KrDateTime.h"

namespace orvik::detail {

constexpr const wchar_t *kDateTimeSource = L"time/KrDateTime";
constexpr const wchar_t *kTimeSpanSource = L"time/KrTimeSpan";

constexpr kr_int64 kInvalidDateTime = INT64_MAX;
constexpr kr_int64 kMsPerDay = 86400000;
constexpr kr_int64 kUnixEpochJdn = 2440587;  // the day number of 1970-01-01 (see jdnFromDate)
// The astronomical Julian Day of 1970-01-01 00:00 UTC (Julian days begin at noon).
constexpr double kUnixEpochJulianDay = 2440587.5;
constexpr double kMsPerDayDouble = 86400000.0;

// ---- the runtime range ---------------------------------------------------------------------
// Values in [0, kStdRangeEnd) are broken down by the C runtime (whole seconds fit a signed
// 32-bit time_t); everything else by the own calendar below.  The runtime shims accept
// 0..KR_MAX_TIME64, so every second of the range is theirs to convert.
constexpr kr_int64 kStdRangeEnd = 2147483647000LL;
static_assert(kStdRangeEnd / 1000 - 1 <= KR_MAX_TIME64);

// Negative values compare as huge unsigned numbers and fall outside.
constexpr bool isInStdRange(kr_int64 value) {
    return static_cast<kr_uint64>(value) < static_cast<kr_uint64>(kStdRangeEnd);
}

// Composing: a year 1970..2037 goes to the runtime (daylight saving applies), any other year to
// the own calendar in local standard time.
constexpr bool composesThroughRuntime(int year) {
    return static_cast<unsigned>(year) - 1970u < 68u;
}

// ---- field ranges --------------------------------------------------------------------------
// The time-of-day fields a composition accepts; seconds 60 and 61 are leap seconds.  Written
// without short-circuits: the composing fast path must not branch on data.
constexpr bool isTimeOfDay(unsigned hour, unsigned minute, unsigned second, unsigned millisec) {
    return (hour < 24) & (minute < 60) & (second < 62) & (millisec < 1000);
}
// Condition texts as reported before the predicate above existed, kept so that captured
// diagnostics keep matching them.
constexpr const wchar_t *kTimeOfDayCondition =
    L"hour < 24 && second < 62 && minute < 60 && millisec < 1000";
constexpr const wchar_t *kDayOfMonthCondition = L"day != 0 && day <= monthDays";
constexpr const wchar_t *kFitsCondition = L"fits";
constexpr const wchar_t *kJdnEpochCondition = L"!isBeforeJdnEpoch(day, month, year)";

// ---- leap years and month tables -----------------------------------------------------------
// Gregorian leap year: divisible by 4 and (not by 100, or by 400).  Divisible by 400 <=> by 100
// and by 16; the masks are exact for negative years too.  Three years in four are settled by
// the first test alone.
template <class Year>
constexpr bool isGregorianLeap(Year year) {
    return (year & 3) == 0 && ((year % 100) != 0 || (year & 15) == 0);
}

// Indexed by leap * 12 + month.
// clang-format off
inline constexpr unsigned short kDaysInMonth[24] = {
    31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31,
    31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
inline constexpr unsigned short kDaysBeforeMonth[24] = {
    0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334,
    0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
// clang-format on

// Days in / before a month known to be 0..11 of a proleptic Gregorian year.
template <class Year>
constexpr int daysIn(unsigned month, Year year) {
    return kDaysInMonth[(isGregorianLeap(year) ? 12 : 0) + month];
}
template <class Year>
constexpr int daysBefore(unsigned month, Year year) {
    return kDaysBeforeMonth[(isGregorianLeap(year) ? 12 : 0) + month];
}

// ---- floor arithmetic and wrapping arithmetic ----------------------------------------------
constexpr kr_int64 floorDiv(kr_int64 a, kr_int64 b) {
    const kr_int64 q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}
constexpr kr_int64 floorMod(kr_int64 a, kr_int64 b) {
    const kr_int64 r = a % b;  // no overflow even at the 64-bit limits
    return (r != 0 && ((r < 0) != (b < 0))) ? r + b : r;
}

// Two's-complement arithmetic without signed overflow (the conversion back is modular in
// C++20): spans and date-times wrap silently at the 64-bit limits.
constexpr kr_int64 wrapAdd(kr_int64 a, kr_int64 b) {
    return static_cast<kr_int64>(static_cast<kr_uint64>(a) + static_cast<kr_uint64>(b));
}
constexpr kr_int64 wrapSub(kr_int64 a, kr_int64 b) {
    return static_cast<kr_int64>(static_cast<kr_uint64>(a) - static_cast<kr_uint64>(b));
}
constexpr kr_int64 wrapMul(kr_int64 a, kr_int64 b) {
    return static_cast<kr_int64>(static_cast<kr_uint64>(a) * static_cast<kr_uint64>(b));
}

// The year and month (0..11) that lie `months` after `year` and `month` (a month index beyond
// 0..11 counts on into the following years).  False, and nothing stored, when that year leaves
// the int range.
constexpr bool shiftMonths(kr_int64 year, kr_int64 month, kr_int64 months, kr_int32 &outYear,
                           int &outMonth) {
    const kr_int64 total = year * 12 + month + months;
    const kr_int64 y = floorDiv(total, 12);
    if (y < INT32_MIN || y > INT32_MAX) return false;
    outYear = static_cast<kr_int32>(y);
    outMonth = static_cast<int>(floorMod(total, 12));
    return true;
}

// ---- day numbers ---------------------------------------------------------------------------
// Days from 1970-01-01 to a proleptic Gregorian date (month 0..11; the day counts on linearly,
// so 0 is the last day of the month before), exact for every int year.  This is the day-number
// formula day + (153 m' + 2) / 5 + 365 y + y/4 - y/100 + y/400 - 32046 on the March-based year
// y counted from -4800; a year before that is first moved up by whole 400-year cycles (which
// keep every calendar rule), so that all divisions are unsigned 32-bit ones by constants.
constexpr kr_int64 daysFromCivil(int year, unsigned month, kr_int64 day) {
    const unsigned beforeMarch = month < 2 ? 1u : 0u;  // January and February: previous year
    kr_int64 y = static_cast<kr_int64>(year) + 4800 - beforeMarch;
    kr_int64 cycles = 0;
    if (y < 0) {  // years before -4800 only
        cycles = (399 - y) / 400;
        y += 400 * cycles;
    }
    const kr_uint32 u = static_cast<kr_uint32>(y);        // [0, 2^31 + 4800)
    const kr_uint32 mp = month + 12u * beforeMarch - 2u;  // March-based month, [0, 11]
    const kr_uint64 days =
        365 * static_cast<kr_uint64>(u) + u / 4u - u / 100u + u / 400u + (153u * mp + 2u) / 5u;
    return static_cast<kr_int64>(days) - 146097 * cycles - 32046 - kUnixEpochJdn + day;
}

static_assert(daysFromCivil(1970, 0, 1) == 0 && daysFromCivil(2000, 2, 1) == 11017 &&
              daysFromCivil(1969, 11, 31) == -1 && daysFromCivil(-4713, 10, 25) == -2440587);

// The first date that has a day number: 24 November -4713.
constexpr int JDN_0_YEAR = -4713;
constexpr int JDN_0_MONTH = CKrDateTime::Nov;
constexpr int JDN_0_DAY = 24;

constexpr bool isBeforeJdnEpoch(int day, int month, int year) {
    if (year != JDN_0_YEAR) return year < JDN_0_YEAR;
    if (month != JDN_0_MONTH) return month < JDN_0_MONTH;
    return day < JDN_0_DAY;
}

void reportBeforeJdnEpoch();

// The day number of a date, counting the day that BEGINS at midnight (one less than the usual
// noon-based count: 1970-01-01 is 2440587).  Dates before 24 November -4713 report "date out of
// range - can't convert to JDN" and give 0.
inline kr_int64 jdnFromDate(int day, int month, int year) {
    if (isBeforeJdnEpoch(day, month, year)) {
        reportBeforeJdnEpoch();
        return 0;
    }
    return daysFromCivil(year, static_cast<unsigned>(month), day) + kUnixEpochJdn;
}

struct CivilDate {
    kr_int64 year;
    int month;  // 0..11
    int day;    // 1..31
};
template <class U>
constexpr CivilDate dateFromJdnIn(kr_uint64 jdnPlus) {
    // Every quantity is non-negative, so unsigned arithmetic gives the same quotients, faster.
    const U a = 4 * static_cast<U>(jdnPlus) + 3;
    const U c = a / 146097;                  // 400-year cycles
    const U b = ((a % 146097) / 4) * 4 + 3;  // [3, 146095]
    const U d = b / 1461;                    // year of the cycle's century, [0, 99]
    const U e = ((b % 1461) / 4) * 5 + 2;
    const U m = e / 153;  // March-based month, [0, 11]
    CivilDate r{};
    r.day = static_cast<int>((e % 153) / 5 + 1);
    r.month = static_cast<int>(m < 10 ? m + 2 : m - 10);
    r.year = static_cast<kr_int64>(100 * static_cast<kr_uint64>(c) + d) - 4800 + (m >= 10 ? 1 : 0);
    return r;
}

// The inverse of jdnFromDate for jdn >= -1.
constexpr CivilDate dateFromJdn(kr_int64 jdn) {
    const kr_uint64 shifted = static_cast<kr_uint64>(jdn + 32045);
    // 32-bit arithmetic while 4 * shifted + 3 fits (years below about 2.9 million).
    return shifted < (1u << 30) ? dateFromJdnIn<kr_uint32>(shifted)
                                : dateFromJdnIn<kr_uint64>(shifted);
}

// Weekday (0 = Sunday) of a day counted from 1970-01-01, a Thursday.
constexpr int weekDayFromDays(kr_int64 days) { return static_cast<int>(floorMod(days + 4, 7)); }

// Weekday of a date (month 0..11), on any day of any year.
constexpr int weekDayOf(kr_int64 day, unsigned month, int year) {
    return weekDayFromDays(daysFromCivil(year, month, day));
}

// ---- the runtime's zone --------------------------------------------------------------------
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

// The runtime's local broken-down time of now (1970-01-01 when the runtime fails).
struct tm localTmNow();

}  // namespace orvik::detail

// Checks `cond`; when false reports it (its text as written, the message, the date-time source
// and the line) and yields false.  Usage: if (!KR_DT_CHECK(x < 12, L"invalid month")) return ...;
#define KR_DT_CHECK(cond, message)                \
    (__builtin_expect(static_cast<bool>(cond), 1) \
         ? true                                   \
         : (KR_REPORTW(KR_WIDEN(#cond), ::orvik::detail::kDateTimeSource, L"%s", message), false))

#endif
