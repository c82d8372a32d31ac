// CKrDateTime: the value, composing and breaking down (runtime path and own path), zones,
// conversions and comparisons.
#include "time/KrDateTime.h"

#include <climits>
#include <cmath>
#include <ctime>

#include "time/internal/TimeCalendar.h"

using namespace orvik::detail;

constinit CKrDateTime g_DefaultDateTime;

// ---- TimeZone ------------------------------------------------------------------------------

CKrDateTime::TimeZone::TimeZone(TZ tz) : m_offset(0) {
    if (tz == Local) {
        m_offset = localStdOffset();
        return;
    }
    if (!KR_DT_CHECK(tz >= UTC_M12 && tz <= UTC_P9_30, L"unknown time zone")) return;
    m_offset = tz == UTC_P9_30 ? 34200 : (tz - UTC) * 3600;
}

namespace {

constexpr const wchar_t *kBadTime = L"Invalid time in CKrDateTime::Set()";
constexpr const wchar_t *kBadDate = L"Invalid date in CKrDateTime::Set()";

[[gnu::noinline, gnu::cold]] void reportBadTime() {
    KR_REPORTW(kTimeOfDayCondition, kDateTimeSource, L"%s", kBadTime);
}

// Days in a month index of any value: 0..11 by the table, Inv_Month and beyond through
// GetNumberOfDays, which reports a bad index and answers 0.
int monthDaysChecked(CKrDateTime::Month month, int year) {
    return static_cast<unsigned>(month) < 12 ? daysIn(month, year)
                                             : CKrDateTime::GetNumberOfDays(month, year);
}

// The seven-argument Set's date check for the cases off the fast path: the current year or
// month asked for, a month index of 12 or more, or a day outside its month.  Reports exactly
// what the check reports and gives the (possibly substituted) year and month.
[[gnu::noinline, gnu::cold]] bool checkDateSlow(unsigned short day, CKrDateTime::Month &month,
                                                int &year) {
    if (year == CKrDateTime::Inv_Year) year = CKrDateTime::GetCurrentYear();
    if (month == CKrDateTime::Inv_Month) month = CKrDateTime::GetCurrentMonth();
    const int monthDays = monthDaysChecked(month, year);
    if (day != 0 && day <= monthDays) return true;
    KR_REPORTW(kDayOfMonthCondition, kDateTimeSource, L"%s", kBadDate);
    return false;
}

[[gnu::noinline, gnu::cold]] bool reportOwnPathOverflow() {
    KR_REPORTW(kFitsCondition, kDateTimeSource, L"%s", kBadDate);
    return false;
}

// A real month (0..11, neither Inv_Month nor beyond), a real year (not Inv_Year) and a day
// inside that month.  Branch-free; false sends a composition through checkDateSlow.
[[gnu::always_inline]] inline bool isDayOfMonth(unsigned short day, CKrDateTime::Month month,
                                                int year) {
    const unsigned mon = static_cast<unsigned>(month);
    const int monthDays = daysIn(mon < 12 ? mon : 0u, year);
    return (mon < 12) & (year != CKrDateTime::Inv_Year) & (day != 0) & (day <= monthDays);
}

// The own path's value: `days` after 1970-01-01 plus the time of day in local standard time (no
// daylight saving).  False when it does not fit 64 bits.
[[gnu::always_inline]] inline bool ownPathValue(kr_int64 days, unsigned short hour,
                                                unsigned short minute, unsigned short second,
                                                unsigned short millisec, kr_int64 &value) {
    const kr_int64 secondsOfDay =
        (static_cast<kr_int64>(hour) * 60 + minute) * 60 + second + runtimeTimezone();
    const bool daysFit = !__builtin_mul_overflow(days, kMsPerDay, &value);
    const bool sumFits = !__builtin_add_overflow(value, secondsOfDay * 1000 + millisec, &value);
    return daysFit & sumFits;
}

// The own path's common case in one piece: valid fields, a year outside 1970..2037 and after
// the first day with a day number, and a result that fits.  The day is checked against the
// month's length in a common year (a day every year has; 29 February takes the checked way,
// which knows leap years).  Every condition is computed without a data-dependent branch; false
// sends the call through compose, which checks and reports everything in its order.
[[gnu::always_inline]] inline bool composeOwnFast(unsigned short day, CKrDateTime::Month month,
                                                  int year, unsigned short hour,
                                                  unsigned short minute, unsigned short second,
                                                  unsigned short millisec, kr_int64 &value) {
    const unsigned mon = static_cast<unsigned>(month);
    const unsigned safeMon = mon < 12 ? mon : 0u;
    const bool ok = isTimeOfDay(hour, minute, second, millisec) & (mon < 12) & (day != 0) &
                    (day <= kDaysInMonth[safeMon]) & !composesThroughRuntime(year) &
                    (year > JDN_0_YEAR);  // also excludes Inv_Year
    const bool fits =
        ownPathValue(daysFromCivil(year, safeMon, day), hour, minute, second, millisec, value);
    return ok & fits;
}

}  // namespace

// ---- construction ----------------------------------------------------------------------------

CKrDateTime::CKrDateTime(long long t) : m_value(kInvalidDateTime) { Set(t); }
CKrDateTime::CKrDateTime(double jdn) : m_value(kInvalidDateTime) { Set(jdn); }
CKrDateTime::CKrDateTime(const Tm &tm) : m_value(0) { Set(tm); }
CKrDateTime::CKrDateTime(const struct tm &tm) : m_value(0) { Set(tm); }
CKrDateTime::CKrDateTime(unsigned short hour, unsigned short minute, unsigned short second,
                         unsigned short millisec)
    : m_value(0) {
    Set(hour, minute, second, millisec);
}
CKrDateTime::CKrDateTime(unsigned short day, Month month, int year, unsigned short hour,
                         unsigned short minute, unsigned short second, unsigned short millisec)
    : m_value(0) {
    Set(day, month, year, hour, minute, second, millisec);
}

bool CKrDateTime::checkValid() const { return KR_DT_CHECK(IsValid(), L"invalid CKrDateTime"); }

kr_int64 CKrDateTime::GetValue() const {
    checkValid();
    return m_value;
}

CKrDateTime &CKrDateTime::Set(long long t) {
    kr_int64 ms;
    if (!KR_DT_CHECK(!__builtin_mul_overflow(t, TIME_T_FACTOR, &ms),
                     L"time_t out of range in CKrDateTime::Set()"))
        return *this;
    m_value = ms;
    return *this;
}

CKrDateTime &CKrDateTime::Set(double jdn) {
    const double ms = (jdn - kUnixEpochJulianDay + 1e-8) * kMsPerDayDouble;
    // The double nearest 2^63 is 2^63 itself, so a strict comparison keeps the cast defined.
    if (!KR_DT_CHECK(std::isfinite(ms) && ms > -9223372036854775808.0 && ms < 9223372036854775808.0,
                     L"JDN out of range"))
        return *this;
    m_value = static_cast<kr_int64>(ms);  // truncation toward zero
    return *this;
}

CKrDateTime &CKrDateTime::Set(const Tm &tm) {
    return Set(tm.mday, tm.mon, tm.year, tm.hour, tm.min, tm.sec, tm.msec);
}

bool CKrDateTime::setFromTm(const struct tm &t, bool reportFailure) {
    struct tm copy = t;
    kr_int64 r = KR_mktime64(&copy);
    if (r != -1) {
        m_value = r * TIME_T_FACTOR;
        return true;
    }
    if (t.tm_year == 70 && t.tm_mon == 0 && t.tm_mday == 1) {
        // 1 January 1970 gets a second runtime call on the copy the first call may have
        // normalised; its result is then counted from local standard time.
        r = KR_mktime64(&copy);
        if (r != -1) {
            m_value = (r + runtimeTimezone()) * TIME_T_FACTOR;
            return true;
        }
    }
    if (reportFailure) (void)KR_DT_CHECK(r != -1, L"mktime() failed");
    return false;
}

CKrDateTime &CKrDateTime::Set(const struct tm &tm) {
    if (!setFromTm(tm, true)) return g_DefaultDateTime;
    return *this;
}

CKrDateTime &CKrDateTime::Set(unsigned short hour, unsigned short minute, unsigned short second,
                              unsigned short millisec) {
    if (!isTimeOfDay(hour, minute, second, millisec)) {
        reportBadTime();
        return *this;
    }
    struct tm t = localTmNow();
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = -1;
    Set(t);
    return SetMillisecond(millisec);
}

CKrDateTime &CKrDateTime::Set(unsigned short day, Month month, int year, unsigned short hour,
                              unsigned short minute, unsigned short second,
                              unsigned short millisec) {
    kr_int64 value;
    const bool common = composeOwnFast(day, month, year, hour, minute, second, millisec, value);
    if (__builtin_expect(common, 1))
        m_value = value;
    else
        compose(day, month, year, hour, minute, second, millisec);
    return *this;
}

bool CKrDateTime::composeRuntime(unsigned short day, Month month, int year, unsigned short hour,
                                 unsigned short minute, unsigned short second,
                                 unsigned short millisec) {
    struct tm t {};
    t.tm_sec = second;
    t.tm_min = minute;
    t.tm_hour = hour;
    t.tm_mday = day;
    t.tm_mon = month;
    t.tm_year = year - 1900;
    t.tm_isdst = -1;
    // A runtime failure (reported there) leaves the value entirely unchanged.
    if (!setFromTm(t, true)) return false;
    SetMillisecond(millisec);
    return true;
}

bool CKrDateTime::compose(unsigned short day, Month month, int year, unsigned short hour,
                          unsigned short minute, unsigned short second, unsigned short millisec) {
    // The time is checked before the date: a bad time is the one report.
    if (__builtin_expect(!isTimeOfDay(hour, minute, second, millisec), 0)) {
        reportBadTime();
        return false;
    }
    if (__builtin_expect(!isDayOfMonth(day, month, year), 0) && !checkDateSlow(day, month, year))
        return false;

    if (composesThroughRuntime(year))
        return composeRuntime(day, month, year, hour, minute, second, millisec);

    // Own path.  A date before the first day number is reported and counted from day number 0.
    const kr_int64 days = __builtin_expect(year <= JDN_0_YEAR, 0)
                              ? jdnFromDate(day, month, year) - kUnixEpochJdn
                              : daysFromCivil(year, static_cast<unsigned>(month), day);
    kr_int64 value;
    if (__builtin_expect(!ownPathValue(days, hour, minute, second, millisec, value), 0))
        return reportOwnPathOverflow();
    m_value = value;
    return true;
}

// ---- breaking down --------------------------------------------------------------------------

CKrDateTime::Tm CKrDateTime::GetTm(const TimeZone &tz) const {
    Tm tm;
    if (!checkValid()) return tm;
    const kr_int32 offset = tz.GetOffset();

    if (isInStdRange(m_value)) {
        kr_int64 t = m_value / TIME_T_FACTOR;
        struct tm rt;
        if (offset == localStdOffset()) {
            const bool ok = KR_localtime64(&t, &rt) != nullptr;
            if (!KR_DT_CHECK(ok, L"localtime() failed")) return tm;
            tm = Tm(rt, tz);
            tm.msec = static_cast<unsigned short>(m_value % 1000);
            return tm;
        }
        t += offset;
        if (t >= 0) {
            const bool ok = KR_gmtime64(&t, &rt) != nullptr;
            if (!KR_DT_CHECK(ok, L"gmtime() failed")) return tm;
            tm = Tm(rt, tz);
            tm.msec = static_cast<unsigned short>(m_value % 1000);
            return tm;
        }
    }

    // Own path.
    kr_int64 t;
    const bool shifted = !__builtin_add_overflow(m_value, static_cast<kr_int64>(offset) * 1000, &t);
    const kr_int64 timeOfDay = shifted ? floorMod(t, kMsPerDay) : 0;  // [0, 86399999]
    const kr_int64 jdn = shifted ? floorDiv(t, kMsPerDay) + kUnixEpochJdn : -2;
    if (!KR_DT_CHECK(jdn > -2, L"JDN out of range")) return tm;
    const CivilDate date = dateFromJdn(jdn);
    if (!KR_DT_CHECK(date.month >= 0 && date.month < 12, L"invalid month")) return tm;
    if (!KR_DT_CHECK(date.day >= 1 && date.day <= 31, L"invalid day")) return tm;
    tm.year = static_cast<kr_int32>(date.year);  // |year| < 3e8 for any 64-bit value
    tm.mon = static_cast<Month>(date.month);
    tm.mday = static_cast<unsigned short>(date.day);
    tm.msec = static_cast<unsigned short>(timeOfDay % 1000);
    tm.sec = static_cast<unsigned short>((timeOfDay / 1000) % 60);
    tm.min = static_cast<unsigned short>((timeOfDay / 60000) % 60);
    tm.hour = static_cast<unsigned short>(timeOfDay / 3600000);
    tm.yday = static_cast<unsigned short>(daysBefore(date.month, tm.year) + date.day - 1);
    tm.tz = tz;
    return tm;  // wday stays Inv_WeekDay: computed on demand
}

unsigned short CKrDateTime::GetDayOfYear(const TimeZone &tz) const {
    Tm tm = GetTm(tz);
    if (static_cast<unsigned>(tm.mon) >= 12) return 0;
    return static_cast<unsigned short>(daysBefore(tm.mon, tm.year) + tm.mday);
}

void CKrDateTime::FillTmStruct(struct tm *t, const TimeZone &tz) const {
    if (!KR_DT_CHECK(t != nullptr, L"NULL tm in CKrDateTime::FillTmStruct")) return;
    Tm tm = GetTm(tz);
    if (static_cast<unsigned>(tm.mon) >= 12) return;
    t->tm_mday = tm.mday;
    t->tm_mon = tm.mon;
    t->tm_year = static_cast<int>(static_cast<kr_int64>(tm.year) - 1900);
    t->tm_wday = tm.GetWeekDay();
    t->tm_sec = tm.sec;
    t->tm_min = tm.min;
    t->tm_hour = tm.hour;
    t->tm_isdst = -1;
    t->tm_yday = daysBefore(tm.mon, tm.year) + tm.mday;  // 1-based, kept
}

// ---- current time -----------------------------------------------------------------------------

CKrDateTime CKrDateTime::Now() {
    CKrDateTime dt;
    dt.m_value = KR_time64(nullptr) * TIME_T_FACTOR;
    return dt;
}

CKrDateTime CKrDateTime::UNow() {
    KrSystemTime st;
    KR_GetLocalTime(&st);
    CKrDateTime dt;
    dt.m_value = 0;
    dt.Set(st.wDay, static_cast<Month>(st.wMonth - 1), st.wYear, st.wHour, st.wMinute, st.wSecond,
           st.wMilliseconds);
    return dt;
}

CKrDateTime CKrDateTime::Today() {
    struct tm t = localTmNow();
    t.tm_sec = t.tm_min = t.tm_hour = 0;
    t.tm_isdst = -1;  // midnight may be in the other half of the year than now
    CKrDateTime dt;
    dt.m_value = 0;
    dt.Set(t);
    return dt;
}

kr_int64 CKrDateTime::GetTimeNow() { return KR_time64(nullptr); }

struct tm CKrDateTime::GetTmNow() {
    return localTmNow();
}

CKrDateTime &CKrDateTime::SetToCurrent() { return *this = Now(); }

// ---- field setters ----------------------------------------------------------------------------

CKrDateTime &CKrDateTime::SetYear(int year) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    return Set(tm.mday, tm.mon, year, tm.hour, tm.min, tm.sec, tm.msec);
}

CKrDateTime &CKrDateTime::SetMonth(Month month) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    return Set(tm.mday, month, tm.year, tm.hour, tm.min, tm.sec, tm.msec);
}

CKrDateTime &CKrDateTime::SetDay(unsigned short day) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    return Set(day, tm.mon, tm.year, tm.hour, tm.min, tm.sec, tm.msec);
}

CKrDateTime &CKrDateTime::SetHour(unsigned short hour) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    return Set(tm.mday, tm.mon, tm.year, hour, tm.min, tm.sec, tm.msec);
}

CKrDateTime &CKrDateTime::SetMinute(unsigned short minute) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    return Set(tm.mday, tm.mon, tm.year, tm.hour, minute, tm.sec, tm.msec);
}

CKrDateTime &CKrDateTime::SetSecond(unsigned short second) {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    return Set(tm.mday, tm.mon, tm.year, tm.hour, tm.min, second, tm.msec);
}

CKrDateTime &CKrDateTime::SetMillisecond(unsigned short millisecond) {
    if (!checkValid()) return *this;
    if (!isTimeOfDay(0, 0, 0, millisecond)) {
        reportBadTime();
        return *this;
    }
    // Every local offset is whole seconds, so the local millisecond is the value's own: set it
    // directly rather than through the runtime again (which would call back here).
    kr_int64 value;
    const bool fits = !__builtin_sub_overflow(m_value, floorMod(m_value, 1000), &value) &&
                      !__builtin_add_overflow(value, millisecond, &value);
    if (!fits) {
        reportOwnPathOverflow();
        return *this;
    }
    m_value = value;
    return *this;
}

CKrDateTime &CKrDateTime::ResetTime() {
    if (!checkValid()) return *this;
    Tm tm = GetTm();
    if (tm.hour == 0 && tm.min == 0 && tm.sec == 0 && tm.msec == 0) return *this;
    return Set(tm.mday, tm.mon, tm.year, 0, 0, 0, 0);
}

// ---- conversions --------------------------------------------------------------------------------

kr_int64 CKrDateTime::GetTicks() const {
    if (!checkValid()) return -1;
    return isInStdRange(m_value) ? m_value / TIME_T_FACTOR : -1;
}

double CKrDateTime::GetJulianDayNumber() const {
    checkValid();
    return static_cast<double>(m_value) / kMsPerDayDouble + kUnixEpochJulianDay;
}

namespace {
kr_int64 jdnToUnix(double jdn, double unitsPerDay) {
    const double r = (jdn - kUnixEpochJulianDay) * unitsPerDay;
    if (!KR_DT_CHECK(std::isfinite(r) && r > -9223372036854775808.0 && r < 9223372036854775808.0,
                     L"JDN out of range"))
        return -1;
    return static_cast<kr_int64>(r);
}
}  // namespace

kr_int64 CKrDateTime::ConvertJDNToUnixFormat(double jdn) { return jdnToUnix(jdn, 86400.0); }
kr_int64 CKrDateTime::ConvertJDNToUnixFormatMs(double jdn) {
    return jdnToUnix(jdn, kMsPerDayDouble);
}

// ---- zones ------------------------------------------------------------------------------------

CKrDateTime &CKrDateTime::MakeTimezone(const TimeZone &tz, bool noDST) {
    if (!checkValid()) return *this;
    kr_int64 d = static_cast<kr_int64>(tz.GetOffset()) + runtimeTimezone();
    if (!noDST && IsDST(Country_Default) == 1) d -= 3600;
    m_value = wrapSub(m_value, d * 1000);
    return *this;
}

CKrDateTime CKrDateTime::ToTimezone(const TimeZone &tz, bool noDST) const {
    CKrDateTime copy(*this);
    copy.MakeTimezone(tz, noDST);
    return copy;
}

// ---- arithmetic with time spans ---------------------------------------------------------------

CKrDateTime &CKrDateTime::Add(const CKrTimeSpan &span) {
    if (checkValid()) m_value = wrapAdd(m_value, span.GetValue());
    return *this;
}

CKrDateTime CKrDateTime::Add(const CKrTimeSpan &span) const {
    CKrDateTime copy(*this);
    copy.Add(span);
    return copy;
}

CKrDateTime &CKrDateTime::Subtract(const CKrTimeSpan &span) {
    if (checkValid()) m_value = wrapSub(m_value, span.GetValue());
    return *this;
}

CKrDateTime CKrDateTime::Subtract(const CKrTimeSpan &span) const {
    CKrDateTime copy(*this);
    copy.Subtract(span);
    return copy;
}

CKrTimeSpan CKrDateTime::Subtract(const CKrDateTime &other) const {
    if (!checkValid() || !other.checkValid()) return CKrTimeSpan(0LL);
    return CKrTimeSpan(wrapSub(m_value, other.m_value));
}

// ---- comparison
// -----------------------------------------------------------------------------------

bool CKrDateTime::IsEqualTo(const CKrDateTime &dt) const {
    return checkValid() && dt.checkValid() && m_value == dt.m_value;
}

bool CKrDateTime::IsEarlierThan(const CKrDateTime &dt) const {
    return checkValid() && dt.checkValid() && m_value < dt.m_value;
}

bool CKrDateTime::IsLaterThan(const CKrDateTime &dt) const {
    return checkValid() && dt.checkValid() && m_value > dt.m_value;
}

bool CKrDateTime::IsStrictlyBetween(const CKrDateTime &t1, const CKrDateTime &t2) const {
    return IsLaterThan(t1) && IsEarlierThan(t2);
}

bool CKrDateTime::IsBetween(const CKrDateTime &t1, const CKrDateTime &t2) const {
    if (!checkValid() || !t1.checkValid() || !t2.checkValid()) return false;
    return m_value >= t1.m_value && m_value <= t2.m_value;
}

bool CKrDateTime::IsEqualUpTo(const CKrDateTime &dt, const CKrTimeSpan &span) const {
    if (!checkValid() || !dt.checkValid()) return false;
    // The window is computed without overflow: ends beyond the 64-bit range are clamped.
    const __int128 lo = static_cast<__int128>(dt.m_value) - span.GetValue();
    const __int128 hi = static_cast<__int128>(dt.m_value) + span.GetValue();
    return m_value >= lo && m_value <= hi;
}

bool CKrDateTime::IsSameDate(const CKrDateTime &dt) const {
    if (!checkValid() || !dt.checkValid()) return false;
    const __int128 diff = static_cast<__int128>(m_value) - dt.m_value;
    return diff < kMsPerDay && diff > -kMsPerDay;
}

bool CKrDateTime::IsSameTime(const CKrDateTime &dt) const {
    if (!checkValid() || !dt.checkValid()) return false;
    const Tm a = GetTm(), b = dt.GetTm();
    return a.hour == b.hour && a.min == b.min && a.sec == b.sec && a.msec == b.msec;
}
