// The calendar underneath CKrDateTime: month tables, Julian Day Numbers, leap years, the
// broken-down record's own arithmetic, and the one-time runtime initialisation.
#include <atomic>
#include <climits>
#include <ctime>

#include "time/internal/TimeCalendar.h"

namespace orvik::detail {

std::atomic<const long *> g_runtimeZone{nullptr};

void reportBeforeJdnEpoch() {
    KR_REPORTW(kJdnEpochCondition, kDateTimeSource, L"%s",
               L"date out of range - can't convert to JDN");
}

long runtimeTimezoneFirst() {
    // The runtime reads its zone on the first local-time call; _timezone is meaningful only
    // after that.  A race repeats the call, which is harmless.
    kr_int64 now = KR_time64(nullptr);
    struct tm scratch;
    KR_localtime64(&now, &scratch);
    const long *zone = KR_timezoneAddress();
    g_runtimeZone.store(zone, std::memory_order_release);
    return *zone;
}

struct tm localTmNow() {
    kr_int64 now = KR_time64(nullptr);
    struct tm t {};
    if (!KR_localtime64(&now, &t)) {
        t = tm{};
        t.tm_year = 70;
        t.tm_mday = 1;
        t.tm_isdst = -1;
    }
    return t;
}

// Today's date in the Julian calendar: the year and the 0-based month (the noon-based day
// number c = jdn + 1, shifted by 32082 days to the Julian epoch of the inverse).
static void julianToday(int &year, int &month) {
    const struct tm now = localTmNow();
    const kr_int64 c =
        daysFromCivil(now.tm_year + 1900, static_cast<unsigned>(now.tm_mon), now.tm_mday) +
        kUnixEpochJdn + 1 + 32082;
    const kr_int64 d = (4 * c + 3) / 1461;
    const kr_int64 e = c - 1461 * d / 4;
    const kr_int64 m = (5 * e + 2) / 153;
    year = static_cast<int>(d - 4800 + m / 10);
    month = static_cast<int>(m + 2 - 12 * (m / 10));
}

}  // namespace orvik::detail

using namespace orvik::detail;

// ---- Tm ----------------------------------------------------------------------------------------

CKrDateTime::Tm::Tm()
    : msec(0),
      sec(0),
      min(0),
      hour(0),
      mday(0),
      mon(Inv_Month),
      year(0),
      tz(TimeZone::FromOffset(0)),
      wday(Inv_WeekDay),
      yday(0) {}

CKrDateTime::Tm::Tm(const struct tm &t, const TimeZone &zone)
    : msec(0),
      sec(static_cast<unsigned short>(t.tm_sec)),
      min(static_cast<unsigned short>(t.tm_min)),
      hour(static_cast<unsigned short>(t.tm_hour)),
      mday(static_cast<unsigned short>(t.tm_mday)),
      mon(static_cast<Month>(t.tm_mon)),
      year(static_cast<kr_int32>(static_cast<kr_int64>(t.tm_year) + 1900)),
      tz(zone),
      wday(static_cast<unsigned short>(t.tm_wday)),
      yday(static_cast<unsigned short>(t.tm_yday)) {}

bool CKrDateTime::Tm::IsValid() const {
    if (static_cast<unsigned>(mon) >= 12 || mday < 1) return false;
    return mday <= daysIn(mon, year) && isTimeOfDay(hour, min, sec, msec);
}

void CKrDateTime::Tm::ComputeWeekDay() {
    if (static_cast<unsigned>(mon) >= 12 || mday < 1) return;  // stays Inv_WeekDay
    wday = static_cast<unsigned short>(weekDayOf(mday, mon, year));
}

CKrDateTime::WeekDay CKrDateTime::Tm::GetWeekDay() {
    if (wday == Inv_WeekDay) ComputeWeekDay();
    return static_cast<WeekDay>(wday);
}

CKrDateTime::WeekDay CKrDateTime::Tm::GetWeekDay() const {
    Tm copy = *this;
    return copy.GetWeekDay();
}

void CKrDateTime::Tm::AddMonths(int n) {
    kr_int32 newYear;
    int newMonth;
    const bool inRange = shiftMonths(year, mon, n, newYear, newMonth);
    if (!KR_DT_CHECK(inRange, L"logic error in AddMonths function")) return;
    year = newYear;
    mon = static_cast<Month>(newMonth);
    wday = Inv_WeekDay;
}

void CKrDateTime::Tm::AddDays(int n) { AddDays64(n); }

void CKrDateTime::Tm::AddDays64(kr_int64 n) {
    if (!KR_DT_CHECK(static_cast<unsigned>(mon) < 12, L"invalid month")) return;
    // Whole 400-year cycles (146097 days each) keep every month length, so they move the year
    // only; what remains needs at most ~4800 month steps.
    constexpr kr_int64 kCycleDays = 146097;
    kr_int64 y = year + (n / kCycleDays) * 400;
    n %= kCycleDays;
    int m = mon;
    kr_int64 d = mday;
    while (d + n < 1) {
        if (--m < 0) {
            m = 11;
            --y;
        }
        n += daysIn(m, y);
    }
    d += n;
    while (d > daysIn(m, y)) {
        d -= daysIn(m, y);
        if (++m > 11) {
            m = 0;
            ++y;
        }
    }
    if (!KR_DT_CHECK(d >= 1 && d <= daysIn(m, y) && y >= INT32_MIN && y <= INT32_MAX,
                     L"logic error in AddDays function"))
        return;
    year = static_cast<kr_int32>(y);
    mon = static_cast<Month>(m);
    mday = static_cast<unsigned short>(d);
    wday = Inv_WeekDay;
    yday = static_cast<unsigned short>(daysBefore(m, y) + d - 1);
}

// ---- calendar queries -----------------------------------------------------------------------

bool CKrDateTime::IsLeapYear(int year, Calendar cal) {
    if (year == Inv_Year) year = GetCurrentYear();
    switch (cal) {
        case Gregorian:
            return isGregorianLeap(year);
        case Julian:
            return year % 4 == 0;  // C++'s remainder is 0 for negative multiples too
        default:
            break;
    }
    (void)KR_DT_CHECK(cal == Gregorian || cal == Julian, L"unknown calendar");
    return false;
}

int CKrDateTime::GetNumberOfDays(int year, Calendar cal) {
    if (!KR_DT_CHECK(cal == Gregorian || cal == Julian, L"unsupported calendar")) return 0;
    return IsLeapYear(year, cal) ? 366 : 365;
}

int CKrDateTime::GetNumberOfDays(Month month, int year, Calendar cal) {
    if (month == Inv_Month) month = GetCurrentMonth();
    if (!KR_DT_CHECK(static_cast<unsigned>(month) < 12, L"invalid month")) return 0;
    if (!KR_DT_CHECK(cal == Gregorian || cal == Julian, L"unsupported calendar")) return 0;
    return kDaysInMonth[(IsLeapYear(year, cal) ? 12 : 0) + month];
}

int CKrDateTime::GetCurrentYear(Calendar cal) {
    if (!KR_DT_CHECK(cal == Gregorian || cal == Julian, L"unsupported calendar")) return Inv_Year;
    if (cal == Gregorian) return localTmNow().tm_year + 1900;
    int year, month;
    julianToday(year, month);
    return year;
}

CKrDateTime::Month CKrDateTime::GetCurrentMonth(Calendar cal) {
    if (!KR_DT_CHECK(cal == Gregorian || cal == Julian, L"unsupported calendar")) return Inv_Month;
    if (cal == Gregorian) return static_cast<Month>(localTmNow().tm_mon);
    int year, month;
    julianToday(year, month);
    return static_cast<Month>(month);
}

int CKrDateTime::ConvertYearToBC(int year) {
    if (year == Inv_Year) year = GetCurrentYear();
    return year >= 1 ? year : year - 1;
}

int CKrDateTime::GetCentury(int year) {
    if (year == Inv_Year) year = GetCurrentYear();
    return year / 100 - (year < 1 ? 1 : 0);
}
