// CKrDateTime in fixed zones: the two calendar paths and their seam, daylight saving, zones,
// calendar arithmetic, week numbering, navigation, comparisons and the failure reports.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;

constexpr long long kHour = 3600000;

std::string str(const DT &dt) { return show(dt.GetTm()); }

// The runtime's broken-down time for a day of January, daylight saving left to the runtime.
struct tm january(int year, int mday, int hour) {
    struct tm t {};
    t.tm_year = year - 1900, t.tm_mday = mday, t.tm_hour = hour, t.tm_isdst = -1;
    return t;
}

TEST(DateTimeValue, InvalidValueAndConstructionFallbacks) {
    ZoneScope zone("UTC");
    DiagCapture diag;
    EXPECT_EQ(DT().GetValue(), INT64_MAX);  // reported, returned anyway
    EXPECT_EQ(diag.assertionsContaining(L"invalid CKrDateTime"), 1u);
    // A failed Set inside a constructor leaves 1970-01-01 00:00 UTC, not the invalid value.
    EXPECT_EQ(DT(31, DT::Apr, 2021).GetValue(), 0);
    // Whole seconds (time_t); too many to fit in milliseconds is reported.
    EXPECT_EQ(DT(static_cast<int64_t>(-1)).GetValue(), -1000);
    EXPECT_FALSE(DT(LLONG_MAX / 10).IsValid());
    EXPECT_EQ(diag.count(), 3u);
}

TEST(DateTimeValue, TicksAndJulianDayNumbers) {
    ZoneScope zone("UTC");
    // Ticks only inside the standard range (whole seconds that fit 32 bits).
    const std::pair<long long, long long> ticks[] = {
        {2147483646999, 2147483646}, {2147483647000, -1}, {-1, -1}, {0, 0}};
    for (auto [v, t] : ticks) EXPECT_EQ(at(v).GetTicks(), t) << v;
    EXPECT_EQ(DT(2440587.5).GetValue(), 0);
    EXPECT_DOUBLE_EQ(at(0).GetJulianDayNumber(), 2440587.5);
    EXPECT_DOUBLE_EQ(at(12 * kHour).GetJDN(), 2440588.0);
    // J2000.0 is 2000-01-01 12:00 UTC; the guard keeps an exact half-day from truncating down.
    EXPECT_EQ(DT(2451545.0).GetValue(), civilMs(2000, 1, 1, 12));
    EXPECT_EQ(DT::ConvertJDNToUnixFormat(2440588.5), 86400);
    EXPECT_EQ(DT::ConvertJDNToUnixFormatMs(2440587.0), -43200000);
    DiagCapture diag;
    EXPECT_EQ(DT().GetTicks(), -1);
    EXPECT_EQ(diag.assertionsContaining(L"invalid CKrDateTime"), 1u);
    EXPECT_FALSE(DT(1e300).IsValid());
    EXPECT_FALSE(DT(std::nan("")).IsValid());
    EXPECT_EQ(DT::ConvertJDNToUnixFormatMs(1e300), -1);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 3u);
}

TEST(DateTimeValue, CurrentTime) {
    ZoneScope zone("America/New_York");
    const long long before = static_cast<long long>(std::time(nullptr)) * 1000;
    const DT now = DT::Now(), unow = DT::UNow(), today = DT::Today(), atSeven(7, 30);
    const long long after = static_cast<long long>(std::time(nullptr)) * 1000;
    EXPECT_GE(now.GetValue(), before);
    EXPECT_LE(now.GetValue(), after);
    EXPECT_EQ(now.GetValue() % 1000, 0);  // whole seconds
    EXPECT_GE(unow.GetValue(), before);
    EXPECT_LT(unow.GetValue(), after + 1000);
    const std::string date = str(now).substr(0, str(now).find(' '));
    EXPECT_EQ(str(today), date + " 00:00:00.000");
    EXPECT_EQ(str(atSeven), date + " 07:30:00.000");  // the time of the current local date
    EXPECT_EQ(DT::GetTmNow().tm_year + 1900, DT::GetCurrentYear());
}

TEST(DateTimePaths, SeamsAroundTheStandardRangeInUtc) {
    ZoneScope zone("UTC");
    for (const char *text :
         {"1970-01-01 00:00:00.000", "1969-12-31 23:59:59.999", "2038-01-19 03:14:07.000",
          "2038-01-19 03:14:06.999", "2037-12-31 23:59:59.001", "2038-01-01 00:00:00.000"}) {
        SCOPED_TRACE(text);
        int y, m, d, h, mi, s, ms;
        ASSERT_EQ(std::sscanf(text, "%d-%d-%d %d:%d:%d.%d", &y, &m, &d, &h, &mi, &s, &ms), 7);
        DiagCapture diag;
        const DT dt = compose(d, m, y, h, mi, s, ms);
        EXPECT_EQ(dt.GetValue(), civilMs(y, m, d, h, mi, s, ms));
        EXPECT_EQ(str(dt), text);
        EXPECT_EQ(diag.count(), 0u);
    }
}

TEST(DateTimePaths, FirstHoursOf1970EastOfGreenwichFailInTheRuntime) {
    ZoneScope zone("Asia/Kolkata");
    DiagCapture diag;
    EXPECT_EQ(DT(1, DT::Jan, 1970, 5, 30).GetValue(), 0);
    EXPECT_EQ(diag.count(), 0u);
    DT early(1, DT::Jan, 1970, 5, 29, 59, 500);
    EXPECT_EQ(early.GetValue(), 0);  // unchanged from the constructor's 0, milliseconds too
    EXPECT_EQ(diag.assertionsContaining(L"mktime() failed"), 1u);
    // Set(struct tm) hands back g_DefaultDateTime, so chained calls see the invalid value.
    DT target = at(42);
    DT &result = target.Set(january(1970, 1, 1));
    EXPECT_EQ(&result, &g_DefaultDateTime);
    EXPECT_FALSE(result.IsValid());
    EXPECT_EQ(target.GetValue(), 42);
}

TEST(DateTimePaths, ExtremeValuesBreakDownOrReport) {
    ZoneScope zone("Asia/Kolkata");
    DiagCapture diag;
    EXPECT_EQ(at(INT64_MIN).GetTm().mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);
    EXPECT_EQ(at(INT64_MIN).GetDayOfYear(), 0);
    EXPECT_EQ(at(INT64_MIN).GetWeekOfYear(), 0);
    // The largest valid value lies in year 292278994; its Kolkata offset would overflow.
    EXPECT_EQ(at(INT64_MAX - 1).GetYear(DT::TimeZone(DT::UTC)), 292278994);
    diag.clear();
    EXPECT_EQ(at(INT64_MAX - 1).GetTm().mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);
    // Every other operation on such values only has to survive: the datetime fuzz target's.
}

TEST(DateTimeZones, DaylightSavingBoundariesFollowTheRuntime) {
    // The zone, the millisecond before the clocks change, the hours before and after.
    struct {
        const char *zone;
        long long lastMs;
        int hourBefore, hourAfter;
    } cases[] = {
        {"Europe/Prague", civilMs(2021, 3, 28, 1) - 1, 1, 3},
        {"America/New_York", civilMs(2021, 3, 14, 7) - 1, 1, 3},
        {"Europe/Prague", civilMs(2021, 10, 31, 1) - 1, 2, 2},  // back: 02:59:59.999 -> 02:00
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.zone);
        ZoneScope zone(c.zone);
        const DT before = at(c.lastMs), after = at(c.lastMs + 1);
        EXPECT_EQ(before.GetHour(), c.hourBefore);
        EXPECT_EQ(after.GetHour(), c.hourAfter);
        EXPECT_NE(before.IsDST(), after.IsDST());
    }
}

TEST(DateTimeZones, DaylightSavingModelOutsideTheStandardRange) {
    {
        ZoneScope zone("Europe/Prague");
        EXPECT_EQ(DT::GetCountry(), DT::Country_EEC);
        EXPECT_TRUE(DT::IsWestEuropeanCountry());
        // Last Sunday of March 2040 is the 25th; the rule starts at 01:00 UTC.
        EXPECT_EQ(DT::GetBeginDST(2040).GetValue(), civilMs(2040, 3, 25, 1));
        EXPECT_EQ(DT::GetEndDST(2040).GetValue(), civilMs(2040, 10, 28, 1));
        EXPECT_EQ(DT::GetBeginDST(2021).GetValue(), civilMs(2021, 3, 28, 1));
        EXPECT_EQ(DT(1, DT::Jul, 2040).IsDST(), 1);
        EXPECT_EQ(DT(15, DT::Jan, 2040).IsDST(), 0);
        EXPECT_EQ(DT(1, DT::Jul, 1940).IsDST(), -1);  // no rule before 1951
        EXPECT_FALSE(DT::GetBeginDST(1950).IsValid());
    }
    {
        ZoneScope zone("America/New_York");
        EXPECT_EQ(DT::GetCountry(), DT::Country_USA);
        EXPECT_EQ(DT::GetBeginDST(2040).GetValue(), civilMs(2040, 4, 1, 2, 0, 0, 0, -18000));
        EXPECT_EQ(DT::GetBeginDST(1942).GetValue(), civilMs(1942, 2, 2, 0, 0, 0, 0, -18000));
        EXPECT_EQ(DT::GetEndDST(1945).GetValue(), civilMs(1945, 9, 30, 0, 0, 0, 0, -18000));
        EXPECT_FALSE(DT::GetBeginDST(1960).IsValid());
        for (int y : {1943, 1966}) EXPECT_TRUE(DT::IsDSTApplicable(y)) << y;
        for (int y : {1917, 1950}) EXPECT_FALSE(DT::IsDSTApplicable(y)) << y;
        EXPECT_EQ(DT(1, DT::Jun, 1944).IsDST(), 1);
    }
    ZoneScope zone("UTC");
    EXPECT_EQ(DT::GetCountry(), DT::Country_USA);  // unknown abbreviations count as USA
    DT::SetCountry(DT::Country_Russia);
    EXPECT_EQ(DT::GetCountry(), DT::Country_Russia);
    EXPECT_FALSE(DT::IsWestEuropeanCountry());
    DT::SetCountry(DT::Country_Default);  // back to detection
    EXPECT_EQ(DT::GetCountry(), DT::Country_USA);
    DiagCapture diag;
    EXPECT_EQ(at(0).IsDST(DT::Country_EEC), -1);
    EXPECT_EQ(diag.assertionsContaining(L"country support not implemented"), 1u);
}

TEST(DateTimeZones, FixedZonesAndConversion) {
    ZoneScope zone("Europe/Prague");
    EXPECT_EQ(DT::TimeZone(DT::UTC_M12).GetOffset(), -43200);
    EXPECT_EQ(DT::TimeZone(DT::UTC_P12).GetOffset(), 43200);
    EXPECT_EQ(DT::TimeZone(DT::UTC_P9_30).GetOffset(), 34200);
    // Fixed zones ignore daylight saving; the own path takes over where UTC-x goes negative.
    const DT summer = at(civilMs(2021, 7, 1, 10));
    EXPECT_EQ(summer.GetHour(DT::UTC), 10);
    const DT::Tm west = at(0).GetTm(DT::UTC_M5);
    EXPECT_EQ(show(west), "1969-12-31 19:00:00.000");
    EXPECT_EQ(west.tz.GetOffset(), -18000);
    // MakeTimezone re-reads the local wall clock in another zone (one hour less in summer).
    EXPECT_EQ(summer.ToGMT().GetValue() - summer.GetValue(), 2 * kHour);
    EXPECT_EQ(summer.ToGMT(true).GetValue() - summer.GetValue(), kHour);
    const DT winter = at(civilMs(2021, 1, 1, 10));
    EXPECT_EQ(winter.ToTimezone(DT::UTC_P3).GetValue() - winter.GetValue(), -2 * kHour);
    DiagCapture diag;
    for (int tz : {27, -1}) EXPECT_EQ(DT::TimeZone(static_cast<DT::TZ>(tz)).GetOffset(), 0) << tz;
    EXPECT_EQ(diag.assertionsContaining(L"unknown time zone"), 2u);
}

TEST(DateTimeArithmetic, DateSpansClampAtMonthEndsAndKeepTheTimeOfDay) {
    ZoneScope zone("Europe/Prague");
    // The date plus the span at 13:45:06.007 gives the expected date at the same time of day.
    struct {
        int d, m, y;
        CKrDateSpan span;
        const char *expected;
    } cases[] = {
        {31, 1, 2024, CKrDateSpan::Month(), "2024-02-29"},
        {31, 1, 2023, CKrDateSpan::Month(), "2023-02-28"},
        {31, 1, 2100, CKrDateSpan::Month(), "2100-02-28"},  // own path, not leap
        {29, 2, 2024, CKrDateSpan::Year(), "2025-02-28"},
        {31, 3, 2021, CKrDateSpan::Months(-1), "2021-02-28"},
        {31, 12, 1969, CKrDateSpan::Day(), "1970-01-01"},  // across the seam
        {1, 1, 2038, CKrDateSpan::Days(-1), "2037-12-31"},
        {15, 6, 2021, CKrDateSpan(1, 13, 2, 3), "2023-08-01"},
        {1, 3, 2000, CKrDateSpan::Days(-146097 * 3 - 1), "800-02-29"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.expected);
        DiagCapture diag;
        EXPECT_EQ(str(compose(c.d, c.m, c.y, 13, 45, 6, 7) += c.span),
                  std::string(c.expected) + " 13:45:06.007");
        EXPECT_EQ(diag.count(), 0u);
    }
    // A calendar day across the spring change is 23 hours; a time span is always 24.
    const DT noon(27, DT::Mar, 2021, 12);
    EXPECT_EQ(noon.Add(CKrDateSpan::Day()).Subtract(noon).GetValue(), 23 * kHour);
    EXPECT_EQ(noon.Add(CKrTimeSpan::Day()).GetHour(), 13);
    DiagCapture diag;
    DT gap(27, DT::Mar, 2021, 2, 30);
    gap.Add(CKrDateSpan::Day());  // 02:30 does not exist on 28 March
    EXPECT_EQ(diag.assertionsContaining(L"Add(CKrTimeSpan) shouldn't modify time"), 1u);
    EXPECT_EQ(gap.GetHour(), 3);
}

TEST(DateTimeArithmetic, TimeSpansDifferencesAndTmSteps) {
    ZoneScope zone("UTC");
    const DT a(1, DT::Jan, 2000), b(2, DT::Jan, 2000, 6);
    EXPECT_EQ(a.Subtract(b).GetValue(), -30 * kHour);
    EXPECT_TRUE(a.Add(CKrTimeSpan::Hours(30)).IsEqualTo(b));
    DiagCapture diag;
    EXPECT_EQ(DT().Subtract(a).GetValue(), 0);
    DT invalid;
    invalid.Add(CKrTimeSpan::Hour());
    EXPECT_FALSE(invalid.IsValid());
    EXPECT_EQ(diag.assertionsContaining(L"invalid CKrDateTime"), 2u);
    DT::Tm tm = DT(31, DT::Dec, 1999).GetTm();
    tm.AddDays(1);
    EXPECT_EQ(show(tm), "2000-01-01 00:00:00.000");
    tm.AddDays(-365);
    EXPECT_EQ(show(tm), "1999-01-01 00:00:00.000");
    tm.AddMonths(-13);
    EXPECT_EQ(show(tm), "1997-12-01 00:00:00.000");
    EXPECT_EQ(tm.GetWeekDay(), DT::Mon);
    tm.AddDays(INT32_MAX);  // 5.9 million years, stepped in 400-year cycles
    EXPECT_TRUE(tm.IsValid());
    EXPECT_FALSE(DT::Tm().IsValid());
    EXPECT_EQ(DT::Tm().GetWeekDay(), DT::Inv_WeekDay);
}

TEST(DateTimeWeeks, WeekNumbersAtYearEnds) {
    ZoneScope zone("Europe/Prague");  // country EEC: default weeks start on Monday
    struct {
        int d, m, y, monday, sunday;
    } cases[] = {
        // Thursday: first week; Friday: still the previous year's week; Sunday; Monday.
        {1, 1, 2015, 1, 1},
        {1, 1, 2016, 0, 0},
        {3, 1, 2016, 0, 1},
        {4, 1, 2016, 1, 1},
        // Monday (ISO would say week 1 of 2019); Thursday; Wednesday.
        {31, 12, 2018, 53, 53},
        {31, 12, 2020, 53, 53},
        {1, 1, 2020, 1, 1},
        // Own path: a Sunday; a Wednesday (and 1 January 1969 too).
        {1, 1, 2040, 0, 1},
        {31, 12, 1969, 53, 53},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.d << "." << c.m << "." << c.y);
        const DT dt = compose(c.d, c.m, c.y, 12);
        EXPECT_EQ(dt.GetWeekOfYear(DT::Monday_First), c.monday);
        EXPECT_EQ(dt.GetWeekOfYear(DT::Sunday_First), c.sunday);
        EXPECT_EQ(dt.GetWeekOfYear(), c.monday);
    }
    EXPECT_EQ(DT(31, DT::Jan, 2021).GetWeekOfMonth(DT::Monday_First), 5);
    EXPECT_EQ(DT(1, DT::Feb, 2021).GetWeekOfMonth(DT::Monday_First), 1);
    EXPECT_EQ(DT(28, DT::Feb, 2021).GetWeekOfMonth(DT::Monday_First), 4);
    EXPECT_EQ(DT(28, DT::Feb, 2021).GetWeekOfMonth(DT::Sunday_First), 5);
    ZoneScope us("America/New_York");  // country USA: default weeks start on Sunday
    EXPECT_EQ(DT(3, DT::Jan, 2016, 12).GetWeekOfYear(), 1);
}

TEST(DateTimeNavigation, YearDayDeliberateBoundary) {
    ZoneScope zone("UTC");
    const DT dt(10, DT::Jun, 2021, 15, 30);
    DiagCapture diag;
    EXPECT_EQ(str(dt.GetYearDay(32)), "2021-02-01 00:00:00.000");
    EXPECT_EQ(str(dt.GetYearDay(1)), "2021-01-01 00:00:00.000");
    EXPECT_EQ(str(dt.GetYearDay(365)), "2021-12-31 00:00:00.000");
    EXPECT_EQ(str(DT(1, DT::Mar, 2024).GetYearDay(366)), "2024-12-31 00:00:00.000");
    EXPECT_EQ(diag.count(), 0u);
    // The last day of January (and of any month before December) is not reachable; callers
    // rely on the value staying as it was.
    for (unsigned short yday : {31, 59, 366, 0})
        EXPECT_EQ(dt.GetYearDay(yday).GetValue(), dt.GetValue()) << yday;
    EXPECT_EQ(diag.assertionsContaining(L"Invalid date in CKrDateTime::Set()"), 2u);
    EXPECT_EQ(diag.assertionsContaining(L"invalid year day"), 2u);
}

TEST(DateTimeNavigation, WeekDayMoves) {
    ZoneScope zone("UTC");
    const DT wed(16, DT::Jun, 2021, 9, 15);  // a Wednesday
    struct {
        DT got;
        const char *expected;
    } cases[] = {
        {wed.GetNextWeekDay(DT::Wed), "2021-06-16 09:15:00.000"},
        {wed.GetPrevWeekDay(DT::Wed), "2021-06-16 09:15:00.000"},
        {wed.GetNextWeekDay(DT::Tue), "2021-06-22 09:15:00.000"},
        {wed.GetNextWeekDay(DT::Sat), "2021-06-19 09:15:00.000"},
        {wed.GetPrevWeekDay(DT::Thu), "2021-06-10 09:15:00.000"},
        {wed.GetWeekDayInSameWeek(DT::Sun), "2021-06-13 09:15:00.000"},
        {wed.GetWeekDayInSameWeek(DT::Sat), "2021-06-19 09:15:00.000"},
        {wed.GetWeekDay(DT::Fri, 1, DT::Jan, 2021), "2021-01-01 00:00:00.000"},
        {wed.GetWeekDay(DT::Sun, 5, DT::Jan, 2021), "2021-01-31 00:00:00.000"},
        {wed.GetLastWeekDay(DT::Sun, DT::Feb, 2021), "2021-02-28 00:00:00.000"},
        {wed.GetWeekDay(DT::Mon, -2, DT::Feb, 2040), "2040-02-20 00:00:00.000"},
        {wed.GetLastMonthDay(DT::Feb, 2100), "2100-02-28 00:00:00.000"},
        // 4 January 2021 is a Monday: week 1 moves one whole week further.
        {wed.GetWeek(1, DT::Mon), "2021-01-11 00:00:00.000"},
    };
    for (const auto &c : cases) EXPECT_EQ(str(c.got), c.expected);
    DT copy = wed;
    EXPECT_FALSE(copy.SetToWeekDay(DT::Mon, 5, DT::Feb, 2021));  // February 2021 has four
    EXPECT_EQ(copy.GetValue(), wed.GetValue());
    EXPECT_FALSE(wed.GetWeekDay(DT::Mon, 5, DT::Feb, 2021).IsValid());
    EXPECT_FALSE(wed.GetWeek(60, DT::Mon).IsValid());
    DiagCapture diag;
    DT same = wed;
    same.SetToNextWeekDay(DT::Inv_WeekDay).SetToPrevWeekDay(static_cast<DT::WeekDay>(-3));
    EXPECT_FALSE(same.SetToWeekDay(DT::Inv_WeekDay));
    EXPECT_EQ(same.GetValue(), wed.GetValue());
    EXPECT_EQ(diag.assertionsContaining(L"invalid weekday"), 3u);
}

TEST(DateTimeNavigation, FieldSettersAndTm) {
    ZoneScope zone("America/New_York");
    DT dt(29, DT::Feb, 2024, 10, 20, 30, 400);
    DiagCapture diag;
    dt.SetYear(2023);  // 29 February 2023 does not exist: unchanged
    EXPECT_EQ(dt.GetYear(), 2024);
    EXPECT_EQ(diag.assertionsContaining(L"Invalid date in CKrDateTime::Set()"), 1u);
    dt.SetYear(2028).SetMonth(DT::Jul).SetDay(4).SetHour(23).SetMinute(1).SetSecond(2);
    dt.SetMillisecond(3);
    EXPECT_EQ(dt.GetValue(), civilMs(2028, 7, 4, 23, 1, 2, 3, -4 * 3600));
    dt.SetYear(2050);  // own path: EST although it is July
    EXPECT_EQ(dt.GetValue(), civilMs(2050, 7, 4, 23, 1, 2, 3, -5 * 3600));
    dt.ResetTime();
    EXPECT_EQ(dt.GetValue(), civilMs(2050, 7, 4, 0, 0, 0, 0, -5 * 3600));
    EXPECT_TRUE(DT(1, DT::Jan, 2000).IsSameTime(DT(7, DT::Mar, 1800)));
    struct tm t {};
    DT(5, DT::Mar, 2021, 7, 8, 9).FillTmStruct(&t);
    EXPECT_EQ(t.tm_year * 10000 + t.tm_mon * 100 + t.tm_mday, 1210205);
    EXPECT_EQ(t.tm_hour * 10000 + t.tm_min * 100 + t.tm_sec, 70809);
    EXPECT_EQ(t.tm_wday, 5);
    EXPECT_EQ(t.tm_yday, 64);  // 1-based on purpose
    EXPECT_EQ(t.tm_isdst, -1);
    EXPECT_EQ(DT(5, DT::Mar, 2021).GetDayOfYear(), 64);
    const struct tm rolled = january(2021, 32, 0);  // the runtime normalises: 1 February
    EXPECT_EQ(DT(rolled).GetValue(), civilMs(2021, 2, 1, 0, 0, 0, 0, -5 * 3600));
    // A Tm takes the runtime fields as they are, unnormalised.
    EXPECT_EQ(show(DT::Tm(rolled, DT::TimeZone(DT::UTC))), "2021-01-32 00:00:00.000");
}

TEST(DateTimeCompare, OrderingToleranceAndInvalidOperands) {
    ZoneScope zone("Europe/Prague");
    const DT a = at(1000), b = at(2000), c = at(3000);
    EXPECT_TRUE(b.IsStrictlyBetween(a, c));
    EXPECT_FALSE(a.IsStrictlyBetween(a, c));
    EXPECT_TRUE(a.IsBetween(a, c) && c.IsBetween(a, c));
    EXPECT_TRUE(a.IsEarlierThan(b) && b.IsLaterThan(a) && !a.IsEqualTo(b));
    EXPECT_TRUE(a.IsEqualUpTo(c, CKrTimeSpan(2000LL)));
    EXPECT_FALSE(a.IsEqualUpTo(c, CKrTimeSpan(1999LL)));
    // Same "date" means less than 24 hours apart, not the same calendar day.
    EXPECT_TRUE(DT(1, DT::Mar, 2021, 23, 30).IsSameDate(DT(2, DT::Mar, 2021, 0, 10)));
    EXPECT_TRUE(DT(1, DT::Mar, 2050, 0, 0).IsSameDate(DT(1, DT::Mar, 2050, 23, 59, 59, 999)));
    EXPECT_FALSE(DT(1, DT::Mar, 2021).IsSameDate(DT(2, DT::Mar, 2021)));
    DiagCapture diag;
    EXPECT_FALSE(DT().IsEqualTo(DT()));
    EXPECT_FALSE(a.IsEarlierThan(DT()));
    EXPECT_FALSE(DT().IsLaterThan(a));
    EXPECT_FALSE(a.IsSameDate(DT()));
    EXPECT_EQ(diag.assertionsContaining(L"invalid CKrDateTime"), 4u);
}

TEST(DateTimeCalendar, LeapYearsDayCountsYearHelpersAndStepping) {
    // Every year the civil calendar knows, negative ones included: leap years, February lengths.
    for (int y = -32767; y <= 32767; ++y) {
        const std::chrono::year civil{y};
        const unsigned february =
            unsigned((civil / std::chrono::February / std::chrono::last).day());
        ASSERT_EQ(DT::IsLeapYear(y), civil.is_leap()) << y;
        ASSERT_EQ(DT::GetNumberOfDays(DT::Feb, y), static_cast<int>(february)) << y;
    }
    EXPECT_TRUE(DT::IsLeapYear(1900, DT::Julian));
    EXPECT_EQ(DT::GetNumberOfDays(2024), 366);
    EXPECT_EQ(DT::GetNumberOfDays(DT::Feb, 2100), 28);
    EXPECT_EQ(DT::GetNumberOfDays(DT::Feb, 2100, DT::Julian), 29);
    const std::pair<int, int> bc[] = {{1, 1}, {0, -1}, {-43, -44}};
    for (auto [y, want] : bc) EXPECT_EQ(DT::ConvertYearToBC(y), want) << y;
    const std::pair<int, int> centuries[] = {{2024, 20}, {-250, -3}, {0, -1}};
    for (auto [y, want] : centuries) EXPECT_EQ(DT::GetCentury(y), want) << y;
    DiagCapture diag;
    EXPECT_FALSE(DT::IsLeapYear(2000, static_cast<DT::Calendar>(2)));
    EXPECT_EQ(diag.assertionsContaining(L"unknown calendar"), 1u);
    EXPECT_EQ(DT::GetNumberOfDays(2000, static_cast<DT::Calendar>(-1)), 0);
    EXPECT_EQ(diag.assertionsContaining(L"unsupported calendar"), 1u);
    EXPECT_EQ(DT::GetNumberOfDays(static_cast<DT::Month>(13), 2000), 0);
    EXPECT_EQ(diag.assertionsContaining(L"invalid month"), 1u);
    diag.clear();
    // The month and weekday steppers run into the invalid value rather than wrapping, and stop.
    auto step = [](auto value, void (*fn)(decltype(value) &)) {
        fn(value);
        return value;
    };
    EXPECT_EQ(step(DT::Jan, krPrevMonth), DT::Inv_Month);
    EXPECT_EQ(step(DT::Inv_Month, krPrevMonth), DT::Dec);
    EXPECT_EQ(step(DT::Dec, krNextMonth), DT::Inv_Month);
    EXPECT_EQ(step(DT::Sat, krNextWDay), DT::Inv_WeekDay);
    EXPECT_EQ(step(DT::Sun, krPrevWDay), DT::Inv_WeekDay);
    EXPECT_EQ(step(DT::Inv_Month, krNextMonth), DT::Inv_Month);
    EXPECT_EQ(step(DT::Inv_WeekDay, krNextWDay), DT::Inv_WeekDay);
    EXPECT_EQ(diag.assertionsContaining(L"invalid month"), 1u);
    EXPECT_EQ(diag.assertionsContaining(L"invalid week day"), 1u);
}

}  // namespace
