// CKrDateTime: a calendar date-time, one signed 64-bit count of milliseconds since
// 1970-01-01 00:00:00 UTC (negative before 1970).
//
// Two calendar paths:
//   * the standard range, 0 <= value < 2147483647000 (whole seconds fit a signed 32-bit
//     time_t): local-time conversions go to the C runtime (platform shims), so daylight saving
//     follows the operating system's zone rules;
//   * everything else (before 1970, from 2038-01-19 on): the class computes the proleptic
//     Gregorian calendar itself from the Julian Day Number, in local STANDARD time, without
//     daylight saving.  Composing a date whose year is 1970..2037 always goes to the runtime,
//     any other year to the own path.
// Dates before 24 November -4713 (the Julian Day epoch, astronomical years: 1 BC is year 0)
// cannot be composed.
//
// The invalid value is 0x7FFFFFFFFFFFFFFF, which g_DefaultDateTime holds; a default-constructed
// object is invalid.  Operations on the invalid value report "invalid CKrDateTime" through
// DiagAssertW and leave the value unchanged (comparisons give false, differences a zero span).
//
// Failures never throw: every precondition failure is reported through DiagAssertW (source
// "time/KrDateTime") and the member goes on with the fallback its comment names.  Adding a
// CKrTimeSpan wraps silently at the 64-bit limits, as spans do.
//
// Zones: TimeZone is a fixed offset in seconds east of UTC.  The local zone (TZ value Local)
// is the local STANDARD offset, minus the runtime's _timezone.  A broken-down value in a zone
// whose offset equals the local standard offset is local time WITH daylight saving inside the
// standard range.
//
// Not thread-safe per object; the two process-wide caches (runtime initialisation, detected
// country) are idempotent atomics.
#ifndef ORVIK_TIME_KRDATETIME_H
#define ORVIK_TIME_KRDATETIME_H

#include <concepts>
#include <cstdint>

#include "platform/KrPlatform.h"
#include "platform/KrTypes.h"
#include "time/KrDateSpan.h"
#include "time/KrTimeSpan.h"

struct tm;
class CKrVariant;

class ORVIK_API CKrDateTime {
public:
    // ---- enumerations (the numbers are part of the interface) ------------------------------
    // Fixed underlying type: any int, including out-of-range values handed in by callers, is a
    // valid value of these types (members reject them with a diagnostic).
    enum Month : int {
        Jan = 0,
        Feb,
        Mar,
        Apr,
        May,
        Jun,
        Jul,
        Aug,
        Sep,
        Oct,
        Nov,
        Dec,
        Inv_Month = 12  // no month; as an argument: the current month
    };
    enum WeekDay : int {
        Sun = 0,
        Mon,
        Tue,
        Wed,
        Thu,
        Fri,
        Sat,
        Inv_WeekDay = 7  // not known / not computed
    };
    enum Calendar : int { Gregorian = 0, Julian = 1 };
    enum Country : int {
        Country_Unknown = 0,  // only as the cached value: not yet determined
        Country_Default = 1,  // the country detected from the system
        Country_WesternEurope_First = 2,
        Country_EEC = 2,
        Country_France = 3,
        Country_Germany = 4,
        Country_UK = 5,
        Country_WesternEurope_Last = 5,
        Country_Russia = 6,
        Country_USA = 7
    };
    // Time-zone selectors: Local is the local standard time; 1..25 are whole-hour offsets from
    // UTC-12 h through UTC (13) to UTC+12 h; 26 is UTC+9 h 30 min.
    enum TZ : int {
        Local = 0,
        UTC_M12 = 1,
        UTC_M11,
        UTC_M10,
        UTC_M9,
        UTC_M8,
        UTC_M7,
        UTC_M6,
        UTC_M5,
        UTC_M4,
        UTC_M3,
        UTC_M2,
        UTC_M1,
        UTC = 13,
        UTC_P1,
        UTC_P2,
        UTC_P3,
        UTC_P4,
        UTC_P5,
        UTC_P6,
        UTC_P7,
        UTC_P8,
        UTC_P9,
        UTC_P10,
        UTC_P11,
        UTC_P12 = 25,
        UTC_P9_30 = 26
    };
    // Week numbering: Default_First is Sunday-first in the North-American country, Monday-first
    // elsewhere.
    enum WeekFlags : int { Default_First = 0, Monday_First = 1, Sunday_First = 2 };
    // Full or abbreviated month and weekday names (for the text members).
    enum NameFlags : int { Name_Full = 1, Name_Abbr = 2 };

    // A year argument of this value means the current local year.
    static constexpr int Inv_Year = INT32_MIN;
    // Milliseconds per time_t second.
    static constexpr kr_int64 TIME_T_FACTOR = 1000;

    // ---- TimeZone --------------------------------------------------------------------------
    class ORVIK_API TimeZone {
    public:
        // Local gives the local standard offset; 1..25 give (n - 13) hours; UTC_P9_30 gives
        // 34200 s.  Any other selector reports "unknown time zone" and gives offset 0.
        TimeZone(TZ tz = Local);
        // A fixed offset in seconds east of UTC.
        static TimeZone FromOffset(kr_int32 secondsEast) {
            TimeZone z(0);
            z.m_offset = secondsEast;
            return z;
        }
        kr_int32 GetOffset() const { return m_offset; }

    private:
        explicit TimeZone(int) : m_offset(0) {}
        kr_int32 m_offset;  // seconds east of UTC (UTC+1 h is 3600)
    };

    // ---- Tm: the broken-down time ----------------------------------------------------------
    struct ORVIK_API Tm {
        unsigned short msec;  // 0..999
        unsigned short sec;   // 0..61 (60 and 61 for leap seconds)
        unsigned short min;   // 0..59
        unsigned short hour;  // 0..23
        unsigned short mday;  // 1-based day of the month
        Month mon;
        kr_int32 year;        // astronomical numbering: 1 BC is 0
        TimeZone tz;          // the zone the fields are expressed in
        unsigned short wday;  // WeekDay; Inv_WeekDay (7) until computed
        unsigned short yday;  // 0-based day of the year

        // msec..hour, mday and year 0, mon Inv_Month, wday 7, yday 0, tz offset 0: invalid.
        Tm();
        // Copies sec, min, hour, mday, mon, wday and yday; year = tm_year + 1900; msec 0.
        Tm(const struct tm &t, const TimeZone &zone);

        // True when every field is in range: month 0..11, day within that month, hour < 24,
        // minute < 60, second < 62, millisecond < 1000.
        bool IsValid() const;
        // The weekday, computed from the date (and cached in wday) when wday is 7; Inv_WeekDay
        // for an invalid date.
        WeekDay GetWeekDay();
        WeekDay GetWeekDay() const;
        // Moves the month by n with carry into the year.
        void AddMonths(int n);
        // Moves the day by n, stepping through the months (the year follows).
        void AddDays(int n);
        // AddDays for a 64-bit count (whole 400-year cycles are stepped at once).
        void AddDays64(kr_int64 n);

    private:
        void ComputeWeekDay();
    };

    // ---- construction and assignment --------------------------------------------------------
    // Every constructor below the first three starts from value 0 and calls the matching Set,
    // so a failed Set leaves 1970-01-01 00:00:00 UTC, not the invalid value (callers rely on
    // it).

    // The invalid value.
    constexpr CKrDateTime() noexcept : m_value(INT64_MAX) {}
    // value = t * 1000 (t in time_t seconds); a t whose milliseconds do not fit 64 bits is
    // reported and gives the invalid value.
    explicit CKrDateTime(long long t);
    template <std::integral I>
    explicit CKrDateTime(I t) : CKrDateTime(static_cast<long long>(t)) {}
    // From a Julian Day Number: value = trunc((jdn - 2440587.5 + 1e-8) * 86400000); the added
    // 1e-8 day guards against representation error.  A non-finite or unrepresentable jdn is
    // reported ("JDN out of range") and gives the invalid value.
    explicit CKrDateTime(double jdn);
    // Set(mday, mon, year, hour, min, sec, msec); the Tm's own zone is ignored.
    CKrDateTime(const Tm &tm);
    // Local time through the runtime's mktime.
    CKrDateTime(const struct tm &tm);
    // That time of the current local date.
    CKrDateTime(unsigned short hour, unsigned short minute, unsigned short second = 0,
                unsigned short millisec = 0);
    CKrDateTime(unsigned short day, Month month, int year = Inv_Year, unsigned short hour = 0,
                unsigned short minute = 0, unsigned short second = 0, unsigned short millisec = 0);
    constexpr CKrDateTime(const CKrDateTime &) noexcept = default;
    constexpr CKrDateTime(CKrDateTime &&) noexcept = default;
    CKrDateTime &operator=(const CKrDateTime &) noexcept = default;
    CKrDateTime &operator=(CKrDateTime &&) noexcept = default;

    CKrDateTime &operator=(long long t) { return Set(t); }
    template <std::integral I>
    CKrDateTime &operator=(I t) {
        return Set(static_cast<long long>(t));
    }
    CKrDateTime &operator=(const Tm &tm) { return Set(tm); }
    CKrDateTime &operator=(const struct tm &tm) { return Set(tm); }

    // value = t * 1000; unrepresentable t: reported, value unchanged.
    CKrDateTime &Set(long long t);
    template <std::integral I>
    CKrDateTime &Set(I t) {
        return Set(static_cast<long long>(t));
    }
    // From a Julian Day Number (see the constructor); non-finite or out of range: reported,
    // value unchanged.
    CKrDateTime &Set(double jdn);
    CKrDateTime &Set(const Tm &tm);
    // Local time through the runtime's _mktime64 (a copy of tm is normalised, not tm itself).
    // On failure reports "mktime() failed", leaves this object unchanged and returns a
    // reference to g_DefaultDateTime instead of *this, so that callers chaining on the result
    // see the invalid value.  1 January 1970 gets one retry of the runtime call.
    CKrDateTime &Set(const struct tm &tm);
    // That time of the current local date.  Time fields out of range: "Invalid time in
    // CKrDateTime::Set()", unchanged.
    CKrDateTime &Set(unsigned short hour, unsigned short minute, unsigned short second = 0,
                     unsigned short millisec = 0);
    // A local date and time.  year Inv_Year and month Inv_Month mean the current ones.
    //   hour >= 24, minute >= 60, second >= 62 or millisec >= 1000: "Invalid time in
    //   CKrDateTime::Set()", unchanged;
    //   day 0 or past the month's end (or a month above 12): "Invalid date in
    //   CKrDateTime::Set()", unchanged; a date whose value does not fit 64 bits likewise;
    //   a date before the Julian Day epoch: "date out of range - can't convert to JDN", and
    //   the date of JDN 0 (24 November -4713) is used.
    // Years 1970..2037 go through the runtime (daylight saving applies); any other year is taken
    // as local standard time.
    CKrDateTime &Set(unsigned short day, Month month, int year = Inv_Year, unsigned short hour = 0,
                     unsigned short minute = 0, unsigned short second = 0,
                     unsigned short millisec = 0);

    // Raw access to the millisecond count.  GetValue() reports "invalid CKrDateTime" on the
    // invalid value and returns it anyway.
    CKrDateTime &SetValue(long long value) {
        m_value = value;
        return *this;
    }
    kr_int64 GetValue() const;
    // True when the value differs from g_DefaultDateTime's.
    bool IsValid() const { return m_value != INT64_MAX; }

    // ---- current time ---------------------------------------------------------------------
    // Now in whole seconds.
    static CKrDateTime Now();
    // Now with milliseconds (the system's local time, composed with the seven-argument Set).
    static CKrDateTime UNow();
    // Local midnight of today.
    static CKrDateTime Today();
    static kr_int64 GetTimeNow();
    // The runtime's local struct tm of now.
    static struct tm GetTmNow();
    CKrDateTime &SetToCurrent();
    // The current local year / month; the Julian calendar gives the Julian calendar's year and
    // month of today; another calendar reports "unsupported calendar" and gives Inv_Year /
    // Inv_Month.
    static int GetCurrentYear(Calendar cal = Gregorian);
    static Month GetCurrentMonth(Calendar cal = Gregorian);

    // ---- broken-down access (zone default: local) -------------------------------------------
    // On the invalid value: "invalid CKrDateTime" and an invalid Tm (mon Inv_Month, wday 7), so
    // the single-field getters give 0, Inv_Month or Inv_WeekDay.  A value whose day lies before
    // JDN -1 reports "JDN out of range" and gives an invalid Tm too.
    Tm GetTm(const TimeZone &tz = Local) const;
    int GetYear(const TimeZone &tz = Local) const { return GetTm(tz).year; }
    Month GetMonth(const TimeZone &tz = Local) const { return GetTm(tz).mon; }
    unsigned short GetDay(const TimeZone &tz = Local) const { return GetTm(tz).mday; }
    unsigned short GetHour(const TimeZone &tz = Local) const { return GetTm(tz).hour; }
    unsigned short GetMinute(const TimeZone &tz = Local) const { return GetTm(tz).min; }
    unsigned short GetSecond(const TimeZone &tz = Local) const { return GetTm(tz).sec; }
    unsigned short GetMillisecond(const TimeZone &tz = Local) const { return GetTm(tz).msec; }
    WeekDay GetWeekDay(const TimeZone &tz = Local) const { return GetTm(tz).GetWeekDay(); }
    // 1-based: days before the month plus the day of the month; 0 for an invalid value.
    unsigned short GetDayOfYear(const TimeZone &tz = Local) const;
    // Week of the year: week = (yday - wd + 7) / 7 with wd the weekday index from the first day
    // of the week, plus one when 1 January is a Wednesday or a Thursday.  Days before the first
    // week give 0; the last days of December can give 53 where ISO numbering says week 1.
    // 0 for an invalid value.
    int GetWeekOfYear(WeekFlags flags = Default_First, const TimeZone &tz = Local) const;
    // Week of year of this date minus that of the first of its month, plus one (when negative,
    // 53 or 52 is added by whether the previous year is a leap year).
    int GetWeekOfMonth(WeekFlags flags = Default_First, const TimeZone &tz = Local) const;
    // Writes mday, mon, year - 1900, wday, sec, min, hour, tm_isdst = -1 and tm_yday = days
    // before the month + mday.  That tm_yday is 1-based although the runtime's field is
    // 0-based; the off-by-one is kept because callers rely on it.  A null pointer or an invalid
    // value writes nothing.
    void FillTmStruct(struct tm *t, const TimeZone &tz = Local) const;

    // ---- field setters: break down in local time, replace one field, set the whole again ----
    // Each reports "invalid CKrDateTime" on the invalid value and changes nothing; the
    // composing Set reports impossible results (29 February of a common year, ...) and leaves
    // the value unchanged.
    CKrDateTime &SetYear(int year);
    CKrDateTime &SetMonth(Month month);
    CKrDateTime &SetDay(unsigned short day);
    CKrDateTime &SetHour(unsigned short hour);
    CKrDateTime &SetMinute(unsigned short minute);
    CKrDateTime &SetSecond(unsigned short second);
    // Replaces the millisecond of the second (local offsets are whole seconds); 1000 or more:
    // "Invalid time in CKrDateTime::Set()", unchanged.
    CKrDateTime &SetMillisecond(unsigned short millisecond);
    // Local 00:00:00.000 of the same day; nothing is done when it already is midnight.
    CKrDateTime &ResetTime();

    // ---- conversions ------------------------------------------------------------------------
    // Seconds as time_t in the standard range, otherwise -1 (the invalid value reports first).
    kr_int64 GetTicks() const;
    // value / 86400000 (with the fraction of the day) + 2440587.5.
    double GetJulianDayNumber() const;
    double GetJDN() const { return GetJulianDayNumber(); }
    double GetModifiedJulianDayNumber() const { return GetJulianDayNumber() - 2400000.5; }
    double GetMJD() const { return GetModifiedJulianDayNumber(); }
    double GetRataDie() const { return GetJulianDayNumber() - 1721119.5 - 306.0; }
    // (jdn - 2440587.5) * 86400 seconds / * 86400000 milliseconds, truncated toward zero; a
    // non-finite or unrepresentable result reports "JDN out of range" and gives -1.
    static kr_int64 ConvertJDNToUnixFormat(double jdn);
    static kr_int64 ConvertJDNToUnixFormatMs(double jdn);
    // y for y >= 1, y - 1 for y < 1 (Inv_Year: the current year).
    static int ConvertYearToBC(int year);
    // y / 100 truncated toward zero, minus 1 when y < 1 (Inv_Year: the current year).
    static int GetCentury(int year);

    // ---- zones --------------------------------------------------------------------------------
    // value -= (zone offset - local standard offset) seconds, and one hour less when noDST is
    // false and daylight saving is in force (IsDST() == 1): the local wall-clock time is
    // re-read as a time in the zone.
    CKrDateTime &MakeTimezone(const TimeZone &tz, bool noDST = false);
    CKrDateTime ToTimezone(const TimeZone &tz, bool noDST = false) const;
    CKrDateTime &MakeGMT(bool noDST = false) { return MakeTimezone(TimeZone(UTC), noDST); }
    CKrDateTime ToGMT(bool noDST = false) const { return ToTimezone(TimeZone(UTC), noDST); }

    // ---- calendar queries -------------------------------------------------------------------
    // Gregorian: divisible by 4 and (not by 100 or by 400); Julian: divisible by 4.  Inv_Year:
    // the current year.  Another calendar: "unknown calendar", false.
    static bool IsLeapYear(int year = Inv_Year, Calendar cal = Gregorian);
    // 365 or 366; another calendar: "unsupported calendar", 0.
    static int GetNumberOfDays(int year, Calendar cal = Gregorian);
    // Days in the month; month Inv_Month: the current month; a month index above 12 (or
    // negative): "invalid month", 0; another calendar: "unsupported calendar", 0.
    static int GetNumberOfDays(Month month, int year = Inv_Year, Calendar cal = Gregorian);
    // The cached country, detected on first use from the local zone's abbreviation (WET/WEST:
    // UK, CET/CEST: EEC, MSK/MSD: Russia, anything else: USA).
    static Country GetCountry();
    // Overwrites the cache; Country_Unknown and Country_Default make the next GetCountry detect
    // again.  Other values are kept as given (2..4 are never detected but can be set).
    static void SetCountry(Country country);
    static bool IsWestEuropeanCountry(Country country = Country_Default);
    static bool IsDSTApplicable(int year = Inv_Year, Country country = Country_Default);
    // Start / end of daylight saving of a year (invalid value when not applicable).
    static CKrDateTime GetBeginDST(int year = Inv_Year, Country country = Country_Default);
    static CKrDateTime GetEndDST(int year = Inv_Year, Country country = Country_Default);
    // 1 in daylight saving, 0 not, -1 not known (outside the standard range in a year without
    // daylight saving).  Only Country_Default is supported: any other reports "country support
    // not implemented" and gives -1.
    int IsDST(Country country = Country_Default) const;

    // ---- week and day navigation ------------------------------------------------------------
    // Inv_WeekDay (or any weekday outside 0..6) reports "invalid weekday" and changes nothing /
    // returns false.  Moves are by whole days of 86400000 ms unless stated.
    // Within the Sunday-based week (no week flags, no daylight-saving correction).
    CKrDateTime &SetToWeekDayInSameWeek(WeekDay wd);
    // Forward / back to the next / previous such weekday; no change when it already is one.
    CKrDateTime &SetToNextWeekDay(WeekDay wd);
    CKrDateTime &SetToPrevWeekDay(WeekDay wd);
    // The n-th such weekday of the month at 00:00 (n < 1 counts from the end: -1 is the last).
    // Returns false and changes nothing when the month has no such day.
    bool SetToWeekDay(WeekDay wd, int n = 1, Month month = Inv_Month, int year = Inv_Year);
    bool SetToLastWeekDay(WeekDay wd, Month month = Inv_Month, int year = Inv_Year);
    // The last day of the month at 00:00.
    CKrDateTime &SetToLastMonthDay(Month month = Inv_Month, int year = Inv_Year);
    // 4 January 00:00 of this value's year, moved to weekday wd within its Sunday-based week,
    // then n whole weeks on (n itself is added, not n - 1).  Returns whether the year is still
    // the same; the object is moved either way.
    bool SetToTheWeek(unsigned short n, WeekDay wd = Mon);
    // Day yday (1-based) of this value's year at 00:00.  yday 0 or past the year: "invalid year
    // day", unchanged.  The month is the first whose following month starts after yday, so the
    // last day of January to November is not reachable (the composing Set reports an invalid
    // date and nothing changes); the last day of December is.  Callers rely on this boundary.
    CKrDateTime &SetToYearDay(unsigned short yday);

    CKrDateTime GetWeekDayInSameWeek(WeekDay wd) const;
    CKrDateTime GetNextWeekDay(WeekDay wd) const;
    CKrDateTime GetPrevWeekDay(WeekDay wd) const;
    // Copies; the invalid value where the setter would return false.
    CKrDateTime GetWeekDay(WeekDay wd, int n = 1, Month month = Inv_Month,
                           int year = Inv_Year) const;
    CKrDateTime GetLastWeekDay(WeekDay wd, Month month = Inv_Month, int year = Inv_Year) const;
    CKrDateTime GetLastMonthDay(Month month = Inv_Month, int year = Inv_Year) const;
    CKrDateTime GetWeek(unsigned short n, WeekDay wd = Mon) const;
    CKrDateTime GetYearDay(unsigned short yday) const;

    // ---- arithmetic ---------------------------------------------------------------------------
    CKrDateTime &Add(const CKrTimeSpan &span);
    CKrDateTime Add(const CKrTimeSpan &span) const;
    CKrDateTime &Subtract(const CKrTimeSpan &span);
    CKrDateTime Subtract(const CKrTimeSpan &span) const;
    // Calendar arithmetic on the local date: years and months first (a day past the new month's
    // end is clamped to its last day), then weeks and days; the local time of day is kept.
    // A changed time of day (the date fell into a daylight-saving gap) is reported as
    // "Add(CKrTimeSpan) shouldn't modify time".
    CKrDateTime &Add(const CKrDateSpan &span);
    CKrDateTime Add(const CKrDateSpan &span) const;
    CKrDateTime &Subtract(const CKrDateSpan &span) { return Add(span.Negate()); }
    CKrDateTime Subtract(const CKrDateSpan &span) const { return Add(span.Negate()); }
    // this - other; either invalid: "invalid CKrDateTime", a zero span.
    CKrTimeSpan Subtract(const CKrDateTime &other) const;
    CKrDateTime &operator+=(const CKrTimeSpan &span) { return Add(span); }
    CKrDateTime &operator-=(const CKrTimeSpan &span) { return Subtract(span); }
    CKrDateTime &operator+=(const CKrDateSpan &span) { return Add(span); }
    CKrDateTime &operator-=(const CKrDateSpan &span) { return Subtract(span); }

    // ---- comparison (an invalid operand: "invalid CKrDateTime", false) -------------------------
    bool IsEqualTo(const CKrDateTime &dt) const;
    bool IsEarlierThan(const CKrDateTime &dt) const;
    bool IsLaterThan(const CKrDateTime &dt) const;
    // t1 < this < t2.
    bool IsStrictlyBetween(const CKrDateTime &t1, const CKrDateTime &t2) const;
    // t1 <= this <= t2.
    bool IsBetween(const CKrDateTime &t1, const CKrDateTime &t2) const;
    // dt - span <= this <= dt + span.
    bool IsEqualUpTo(const CKrDateTime &dt, const CKrTimeSpan &span) const;
    // True when the values differ by less than 24 hours, whether or not they fall on the same
    // calendar day: that tolerance is the defined meaning.
    bool IsSameDate(const CKrDateTime &dt) const;
    // Same local hour, minute, second and millisecond.
    bool IsSameTime(const CKrDateTime &dt) const;

    // ---- persistence ----------------------------------------------------------------------------
    // Gives the node run type "RKrDateTime" (type changes allowed for the call, the previous
    // permission restored) and a signed 64-bit child "time" holding the value.  Returns 0, or
    // the run-type setter's failure code as is.
    int SaveToVariant(CKrVariant &node) const;
    // Reads the child "time" when the node's run type is "RKrDateTime" and returns 0; otherwise
    // returns -4 and leaves the value unchanged (-9, unchanged, when such a record has no
    // readable "time" member).
    int LoadFromVariant(const CKrVariant &node);

private:
    bool setFromTm(const struct tm &t, bool reportFailure);
    // The seven-argument Set; true when the value was set.
    bool compose(unsigned short day, Month month, int year, unsigned short hour,
                 unsigned short minute, unsigned short second, unsigned short millisec);
    // Its runtime half (years 1970..2037), out of line to keep the own path lean.
    [[gnu::noinline]] bool composeRuntime(unsigned short day, Month month, int year,
                                          unsigned short hour, unsigned short minute,
                                          unsigned short second, unsigned short millisec);
    bool checkValid() const;
    CKrDateTime &moveDays(kr_int64 days);

    kr_int64 m_value;
};

// The invalid value.  A failed Set(const struct tm &) returns a reference to this object;
// modifying it through such a reference is a caller error and does not change what counts as
// invalid.
extern ORVIK_API CKrDateTime g_DefaultDateTime;

// ---- month and weekday stepping ------------------------------------------------------------
// Increment / decrement without wrapping: December steps to Inv_Month, Saturday to
// Inv_WeekDay, January back to Inv_Month and Sunday back to Inv_WeekDay (callers rely on
// reaching the invalid enumerator rather than wrapping to December or Saturday).  Stepping
// Inv_Month / Inv_WeekDay forward, or any value outside the enumeration, reports "invalid month"
// / "invalid week day" and leaves the argument unchanged.
ORVIK_API inline void krNextMonth(CKrDateTime::Month &m) {
    bool valid = m >= CKrDateTime::Jan && m < CKrDateTime::Inv_Month;
    if (!valid) {
        KR_REPORTW(L"m < CKrDateTime::Inv_Month", L"time/KrDateTime", L"invalid month");
        return;
    }
    m = static_cast<CKrDateTime::Month>(m + 1);
}
ORVIK_API inline void krPrevMonth(CKrDateTime::Month &m) {
    bool valid = m >= CKrDateTime::Jan && m <= CKrDateTime::Inv_Month;
    if (!valid) {
        KR_REPORTW(L"m <= CKrDateTime::Inv_Month", L"time/KrDateTime", L"invalid month");
        return;
    }
    m = m == CKrDateTime::Jan ? CKrDateTime::Inv_Month : static_cast<CKrDateTime::Month>(m - 1);
}
ORVIK_API inline void krNextWDay(CKrDateTime::WeekDay &wd) {
    bool valid = wd >= CKrDateTime::Sun && wd < CKrDateTime::Inv_WeekDay;
    if (!valid) {
        KR_REPORTW(L"wd < CKrDateTime::Inv_WeekDay", L"time/KrDateTime", L"invalid week day");
        return;
    }
    wd = static_cast<CKrDateTime::WeekDay>(wd + 1);
}
ORVIK_API inline void krPrevWDay(CKrDateTime::WeekDay &wd) {
    bool valid = wd >= CKrDateTime::Sun && wd <= CKrDateTime::Inv_WeekDay;
    if (!valid) {
        KR_REPORTW(L"wd <= CKrDateTime::Inv_WeekDay", L"time/KrDateTime", L"invalid week day");
        return;
    }
    wd = wd == CKrDateTime::Sun ? CKrDateTime::Inv_WeekDay
                                : static_cast<CKrDateTime::WeekDay>(wd - 1);
}

#endif
