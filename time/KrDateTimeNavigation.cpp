// CKrDateTime: calendar-span arithmetic, week numbering, and week / day navigation.
#include <climits>

#include "time/internal/TimeCalendar.h"

using namespace orvik::detail;

namespace {

bool isWeekDay(CKrDateTime::WeekDay wd) { return static_cast<unsigned>(wd) < 7; }

CKrDateTime::WeekFlags resolveFlags(CKrDateTime::WeekFlags flags) {
    if (flags != CKrDateTime::Default_First) return flags;
    return CKrDateTime::GetCountry() == CKrDateTime::Country_USA ? CKrDateTime::Sunday_First
                                                                 : CKrDateTime::Monday_First;
}

// Week of the year of a date (month 0..11) under resolved flags.
int weekOfYear(int mday, int month, int year, CKrDateTime::WeekFlags flags) {
    const int yday = daysBefore(month, year) + mday;  // 1-based
    int wd = weekDayOf(mday, static_cast<unsigned>(month), year);
    if (flags != CKrDateTime::Sunday_First) wd = (wd + 6) % 7;  // Monday-based index
    const int week = (yday - wd + 7) / 7;
    const int jan1 = weekDayOf(1, 0, year);
    return (jan1 == CKrDateTime::Wed || jan1 == CKrDateTime::Thu) ? week + 1 : week;
}

}  // namespace

// ---- calendar spans ------------------------------------------------------------------------

CKrDateTime &CKrDateTime::Add(const CKrDateSpan &span) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    if (static_cast<unsigned>(tm.mon) >= 12) return *this;  // break-down failed (reported)
    const Tm before = tm;

    kr_int32 year;
    int month;
    // INT32_MIN is excluded: as a year argument it would mean "the current year".
    const bool inRange = shiftMonths(static_cast<kr_int64>(tm.year) + span.GetYears(), tm.mon,
                                     span.GetMonths(), year, month) &&
                         year != INT32_MIN;
    if (!KR_DT_CHECK(inRange, L"logic error in AddMonths function")) return *this;
    tm.year = year;
    tm.mon = static_cast<Month>(month);
    const int monthDays = daysIn(tm.mon, tm.year);
    if (tm.mday > monthDays) tm.mday = static_cast<unsigned short>(monthDays);
    tm.AddDays64(span.GetTotalDays());
    if (tm.year == INT32_MIN) return *this;

    if (!compose(tm.mday, tm.mon, tm.year, tm.hour, tm.min, tm.sec, tm.msec)) return *this;
    const Tm after = GetTm();
    (void)KR_DT_CHECK(after.hour == before.hour && after.min == before.min &&
                          after.sec == before.sec && after.msec == before.msec,
                      L"Add(CKrTimeSpan) shouldn't modify time");
    return *this;
}

CKrDateTime CKrDateTime::Add(const CKrDateSpan &span) const {
    CKrDateTime copy(*this);
    copy.Add(span);
    return copy;
}

// ---- week numbering --------------------------------------------------------------------------

int CKrDateTime::GetWeekOfYear(WeekFlags flags, const TimeZone &tz) const {
    const Tm tm = GetTm(tz);
    if (static_cast<unsigned>(tm.mon) >= 12) return 0;
    return weekOfYear(tm.mday, tm.mon, tm.year, resolveFlags(flags));
}

int CKrDateTime::GetWeekOfMonth(WeekFlags flags, const TimeZone &tz) const {
    const Tm tm = GetTm(tz);
    if (static_cast<unsigned>(tm.mon) >= 12) return 0;
    flags = resolveFlags(flags);
    int week =
        weekOfYear(tm.mday, tm.mon, tm.year, flags) - weekOfYear(1, tm.mon, tm.year, flags) + 1;
    if (week < 0) week += isGregorianLeap(static_cast<kr_int64>(tm.year) - 1) ? 53 : 52;
    return week;
}

// ---- navigation ------------------------------------------------------------------------------

CKrDateTime &CKrDateTime::moveDays(kr_int64 days) {
    m_value = wrapAdd(m_value, wrapMul(days, kMsPerDay));
    return *this;
}

CKrDateTime &CKrDateTime::SetToWeekDayInSameWeek(WeekDay wd) {
    if (!KR_DT_CHECK(isWeekDay(wd), L"invalid weekday") || !checkValid()) return *this;
    const WeekDay current = GetWeekDay();
    if (!isWeekDay(current)) return *this;
    return moveDays(static_cast<int>(wd) - static_cast<int>(current));
}

CKrDateTime &CKrDateTime::SetToNextWeekDay(WeekDay wd) {
    if (!KR_DT_CHECK(isWeekDay(wd), L"invalid weekday") || !checkValid()) return *this;
    const WeekDay current = GetWeekDay();
    if (!isWeekDay(current) || wd == current) return *this;
    int diff = static_cast<int>(wd) - static_cast<int>(current);
    if (diff < 0) diff += 7;
    return moveDays(diff);
}

CKrDateTime &CKrDateTime::SetToPrevWeekDay(WeekDay wd) {
    if (!KR_DT_CHECK(isWeekDay(wd), L"invalid weekday") || !checkValid()) return *this;
    const WeekDay current = GetWeekDay();
    if (!isWeekDay(current) || wd == current) return *this;
    int diff = static_cast<int>(current) - static_cast<int>(wd);
    if (diff < 0) diff += 7;
    return moveDays(-diff);
}

bool CKrDateTime::SetToWeekDay(WeekDay wd, int n, Month month, int year) {
    if (!KR_DT_CHECK(isWeekDay(wd), L"invalid weekday")) return false;
    if (year == Inv_Year) year = GetCurrentYear();
    if (month == Inv_Month) month = GetCurrentMonth();
    const int monthDays = GetNumberOfDays(month, year);  // reports a bad month itself
    if (monthDays == 0) return false;

    // The day is found on the calendar, so the result is 00:00 of that day even across a
    // daylight-saving change.
    kr_int64 day;
    if (n >= 1) {
        const int first = weekDayOf(1, month, year);
        day = 1 + floorMod(static_cast<int>(wd) - first, 7) + 7 * (static_cast<kr_int64>(n) - 1);
    } else {
        const int last = weekDayOf(monthDays, month, year);
        day = monthDays - floorMod(last - static_cast<int>(wd), 7) -
              7 * (-static_cast<kr_int64>(n) - 1);
    }
    if (day < 1 || day > monthDays) return false;
    CKrDateTime result(*this);
    if (!result.compose(static_cast<unsigned short>(day), month, year, 0, 0, 0, 0)) return false;
    *this = result;
    return true;
}

bool CKrDateTime::SetToLastWeekDay(WeekDay wd, Month month, int year) {
    return SetToWeekDay(wd, -1, month, year);
}

CKrDateTime &CKrDateTime::SetToLastMonthDay(Month month, int year) {
    if (year == Inv_Year) year = GetCurrentYear();
    if (month == Inv_Month) month = GetCurrentMonth();
    const int monthDays = GetNumberOfDays(month, year);
    if (monthDays == 0) return *this;
    return Set(static_cast<unsigned short>(monthDays), month, year);
}

bool CKrDateTime::SetToTheWeek(unsigned short n, WeekDay wd) {
    if (!KR_DT_CHECK(isWeekDay(wd), L"invalid weekday") || !checkValid()) return false;
    const int year = GetYear();
    if (!compose(4, Jan, year, 0, 0, 0, 0)) return false;
    SetToWeekDayInSameWeek(wd);
    moveDays(7 * static_cast<kr_int64>(n));
    return GetYear() == year;
}

CKrDateTime &CKrDateTime::SetToYearDay(unsigned short yday) {
    if (!checkValid()) return *this;
    const Tm tm = GetTm();
    if (static_cast<unsigned>(tm.mon) >= 12) return *this;
    const int year = tm.year;
    if (!KR_DT_CHECK(yday >= 1 && yday <= GetNumberOfDays(year), L"invalid year day")) return *this;
    // Strict comparison: the last day of January..November selects the following month with
    // day 0, which the composing Set rejects (kept on purpose, see the header).
    int month = Dec;
    for (int m = Jan; m <= Nov; ++m) {
        if (yday < daysBefore(m + 1, year)) {
            month = m;
            break;
        }
    }
    const int day = yday - daysBefore(month, year);
    return Set(static_cast<unsigned short>(day), static_cast<Month>(month), year, 0, 0, 0, 0);
}

// ---- const counterparts -------------------------------------------------------------------------

CKrDateTime CKrDateTime::GetWeekDayInSameWeek(WeekDay wd) const {
    CKrDateTime copy(*this);
    return copy.SetToWeekDayInSameWeek(wd);
}

CKrDateTime CKrDateTime::GetNextWeekDay(WeekDay wd) const {
    CKrDateTime copy(*this);
    return copy.SetToNextWeekDay(wd);
}

CKrDateTime CKrDateTime::GetPrevWeekDay(WeekDay wd) const {
    CKrDateTime copy(*this);
    return copy.SetToPrevWeekDay(wd);
}

CKrDateTime CKrDateTime::GetWeekDay(WeekDay wd, int n, Month month, int year) const {
    CKrDateTime copy(*this);
    return copy.SetToWeekDay(wd, n, month, year) ? copy : CKrDateTime();
}

CKrDateTime CKrDateTime::GetLastWeekDay(WeekDay wd, Month month, int year) const {
    CKrDateTime copy(*this);
    return copy.SetToLastWeekDay(wd, month, year) ? copy : CKrDateTime();
}

CKrDateTime CKrDateTime::GetLastMonthDay(Month month, int year) const {
    CKrDateTime copy(*this);
    return copy.SetToLastMonthDay(month, year);
}

CKrDateTime CKrDateTime::GetWeek(unsigned short n, WeekDay wd) const {
    CKrDateTime copy(*this);
    return copy.SetToTheWeek(n, wd) ? copy : CKrDateTime();
}

CKrDateTime CKrDateTime::GetYearDay(unsigned short yday) const {
    CKrDateTime copy(*this);
    return copy.SetToYearDay(yday);
}
