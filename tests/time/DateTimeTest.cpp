// CKrDateTime in fixed zones: the two calendar paths and their seam, daylight saving, zones,
// calendar arithmetic, week numbering, navigation, comparisons and the failure reports.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <ctime>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;

constexpr long long kHour = 3600000;

DT at(long long ms) { return DT().SetValue(ms); }

// ---- value, construction, failure fallbacks ---------------------------------------------------

TEST(DateTimeValue, InvalidValueAndConstructionFallbacks) {
    ZoneScope zone("UTC");
    DiagCapture diag;
    EXPECT_FALSE(DT().IsValid());
    EXPECT_EQ(g_DefaultDateTime.IsValid(), false);
    EXPECT_EQ(DT::TIME_T_FACTOR, 1000);

    // A failed Set inside a constructor leaves 1970-01-01 00:00 UTC, not the invalid value.
    DT bad(31, DT::Apr, 2021);
    EXPECT_TRUE(bad.IsValid());
    EXPECT_EQ(bad.GetValue(), 0);
    EXPECT_EQ(diag.assertionsContaining(L"Invalid date in CKrDateTime::Set()"), 1u);

    DT badTime(1, DT::Jan, 2000, 24);
    EXPECT_EQ(badTime.GetValue(), 0);
    EXPECT_EQ(diag.assertionsContaining(L"Invalid time in CKrDateTime::Set()"), 1u);

    diag.clear();
    EXPECT_EQ(DT().GetValue(), INT64_MAX);  // reported, returned anyway
    auto recs = diag.records();
    ASSERT_EQ(recs.size(), 1u);
    EXPECT_EQ(recs[0].message, L"invalid CKrDateTime");
    EXPECT_EQ(recs[0].source, L"time/KrDateTime");

    EXPECT_EQ(DT(86400LL).GetValue(), 86400000);
    EXPECT_EQ(DT(static_cast<int64_t>(-1)).GetValue(), -1000);
    DT fromTimeT;
    fromTimeT = 5;
    EXPECT_EQ(fromTimeT.GetValue(), 5000);
    diag.clear();
    EXPECT_FALSE(DT(LLONG_MAX / 10).IsValid());  // milliseconds would not fit: reported
    EXPECT_EQ(diag.count(), 1u);
}

TEST(DateTimeValue, JulianDayNumbers) {
    ZoneScope zone("UTC");
    EXPECT_EQ(DT(2440587.5).GetValue(), 0);
    EXPECT_DOUBLE_EQ(at(0).GetJulianDayNumber(), 2440587.5);
    EXPECT_DOUBLE_EQ(at(0).GetMJD(), 40587.0);
    EXPECT_DOUBLE_EQ(at(12 * kHour).GetJDN(), 2440588.0);
    EXPECT_DOUBLE_EQ(at(0).GetRataDie(), 2440587.5 - 1721119.5 - 306.0);
    // J2000.0 is 2000-01-01 12:00 UTC; the guard keeps an exact half-day from truncating down.
    EXPECT_EQ(DT(2451545.0).GetValue(), civilMs(2000, 1, 1, 12));
    EXPECT_EQ(DT::ConvertJDNToUnixFormat(2440588.5), 86400);
    EXPECT_EQ(DT::ConvertJDNToUnixFormatMs(2440587.0), -43200000);

    DiagCapture diag;
    EXPECT_FALSE(DT(1e300).IsValid());
    EXPECT_FALSE(DT(std::nan("")).IsValid());
    EXPECT_EQ(DT::ConvertJDNToUnixFormatMs(1e300), -1);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 3u);
}

TEST(DateTimeValue, TicksOnlyInsideTheStandardRange) {
    ZoneScope zone("UTC");
    EXPECT_EQ(at(2147483646999).GetTicks(), 2147483646);
    EXPECT_EQ(at(2147483647000).GetTicks(), -1);
    EXPECT_EQ(at(-1).GetTicks(), -1);
    EXPECT_EQ(at(0).GetTicks(), 0);
    DiagCapture diag;
    EXPECT_EQ(DT().GetTicks(), -1);
    EXPECT_EQ(diag.count(), 1u);
}

TEST(DateTimeValue, CurrentTime) {
    ZoneScope zone("America/New_York");
    const long long before = static_cast<long long>(std::time(nullptr)) * 1000;
    const DT now = DT::Now(), unow = DT::UNow(), today = DT::Today();
    const long long after = static_cast<long long>(std::time(nullptr)) * 1000;
    EXPECT_GE(now.GetValue(), before);
    EXPECT_LE(now.GetValue(), after);
    EXPECT_EQ(now.GetValue() % 1000, 0);  // whole seconds
    EXPECT_GE(unow.GetValue(), before);
    EXPECT_LT(unow.GetValue(), after + 1000);
    DT::Tm midnight = today.GetTm();
    EXPECT_EQ(midnight.hour + midnight.min + midnight.sec + midnight.msec, 0);
    EXPECT_EQ(midnight.mday, now.GetDay());
    EXPECT_EQ(DT::GetTimeNow() * 1000 >= before, true);
    EXPECT_EQ(DT::GetTmNow().tm_year + 1900, DT::GetCurrentYear());
    const DT atSeven(7, 30);  // 07:30 of the current local date
    EXPECT_EQ(atSeven.GetHour(), 7);
    EXPECT_EQ(atSeven.GetDay(), today.GetDay());
    DT current;
    current.SetToCurrent();
    EXPECT_TRUE(current.IsValid());
}

// ---- the two calendar paths -------------------------------------------------------------------

TEST(DateTimePaths, SeamsAroundTheStandardRangeInUtc) {
    ZoneScope zone("UTC");
    struct Case {
        int d, m, y, h, mi, s, ms;
    } cases[] = {
        {1, 1, 1970, 0, 0, 0, 0},    {31, 12, 1969, 23, 59, 59, 999}, {19, 1, 2038, 3, 14, 7, 0},
        {19, 1, 2038, 3, 14, 6, 999}, {31, 12, 2037, 23, 59, 59, 1}, {1, 1, 2038, 0, 0, 0, 0},
        {29, 2, 2000, 12, 0, 0, 0},  {1, 3, -4000, 6, 7, 8, 9},      {31, 12, 9999, 23, 59, 59, 999},
        {29, 2, 0, 0, 0, 0, 0},      {24, 11, -4713, 0, 0, 0, 0},
    };
    for (const auto &c : cases) {
        DiagCapture diag;
        DT dt(static_cast<unsigned short>(c.d), static_cast<DT::Month>(c.m - 1), c.y,
              static_cast<unsigned short>(c.h), static_cast<unsigned short>(c.mi),
              static_cast<unsigned short>(c.s), static_cast<unsigned short>(c.ms));
        EXPECT_EQ(dt.GetValue(), civilMs(c.y, c.m, c.d, c.h, c.mi, c.s, c.ms)) << c.y;
        DT::Tm tm = dt.GetTm();
        EXPECT_EQ(tm.year, c.y);
        EXPECT_EQ(tm.mon, c.m - 1);
        EXPECT_EQ(tm.mday, c.d);
        EXPECT_EQ(tm.msec, c.ms);
        EXPECT_EQ(diag.count(), 0u) << c.y;
    }
    EXPECT_EQ(DT(1, DT::Jan, 1970).GetWeekDay(), DT::Thu);
    EXPECT_EQ(at(-1).GetWeekDay(), DT::Wed);
}

TEST(DateTimePaths, OwnPathIsLocalStandardTimeWithoutDaylightSaving) {
    ZoneScope zone("Europe/Prague");
    EXPECT_EQ(DT::TimeZone(DT::Local).GetOffset(), 3600);
    // Summer dates outside the standard range are CET, not CEST.
    EXPECT_EQ(DT(1, DT::Jul, 2040, 12).GetValue(), civilMs(2040, 7, 1, 11));
    EXPECT_EQ(DT(1, DT::Jul, 1969, 12).GetValue(), civilMs(1969, 7, 1, 11));
    EXPECT_EQ(at(civilMs(2040, 7, 1, 11)).GetHour(), 12);
    // Inside it the runtime applies daylight saving.
    EXPECT_EQ(DT(1, DT::Jul, 2021, 12).GetValue(), civilMs(2021, 7, 1, 10));
    EXPECT_EQ(at(civilMs(2021, 7, 1, 10)).GetHour(), 12);
}

TEST(DateTimePaths, FirstHoursOf1970EastOfGreenwichFailInTheRuntime) {
    ZoneScope zone("Asia/Kolkata");
    EXPECT_EQ(DT::TimeZone().GetOffset(), 19800);
    DiagCapture diag;
    EXPECT_EQ(DT(1, DT::Jan, 1970, 5, 30).GetValue(), 0);
    EXPECT_EQ(diag.count(), 0u);

    DT early(1, DT::Jan, 1970, 5, 29, 59, 500);
    EXPECT_EQ(early.GetValue(), 0);  // unchanged from the constructor's 0, milliseconds too
    EXPECT_EQ(diag.assertionsContaining(L"mktime() failed"), 1u);

    // Set(struct tm) hands back g_DefaultDateTime, so chained calls see the invalid value.
    struct tm t {};
    t.tm_year = 70;
    t.tm_mday = 1;
    t.tm_hour = 1;
    t.tm_isdst = -1;
    DT target = at(42);
    DT &result = target.Set(t);
    EXPECT_EQ(&result, &g_DefaultDateTime);
    EXPECT_FALSE(result.IsValid());
    EXPECT_EQ(target.GetValue(), 42);

    // The own path breaks those instants down fine.
    DT::Tm tm = at(-500).GetTm();
    EXPECT_EQ(tm.year, 1970);
    EXPECT_EQ(tm.hour, 5);
    EXPECT_EQ(tm.min, 29);
    EXPECT_EQ(tm.sec, 59);
    EXPECT_EQ(tm.msec, 500);
    EXPECT_EQ(DT(31, DT::Dec, 1969, 23, 59).GetValue(), civilMs(1969, 12, 31, 23, 59, 0, 0, 19800));
}

TEST(DateTimePaths, ExtremeValuesNeverCrash) {
    ZoneScope zone("Asia/Kolkata");
    DiagCapture diag;
    DT::Tm tm = at(INT64_MIN).GetTm();
    EXPECT_EQ(tm.mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);
    EXPECT_EQ(at(INT64_MIN).GetDayOfYear(), 0);
    EXPECT_EQ(at(INT64_MIN).GetWeekOfYear(), 0);

    // The largest valid value lies in year 292278994; its Kolkata offset would overflow.
    EXPECT_EQ(at(INT64_MAX - 1).GetYear(DT::TimeZone(DT::UTC)), 292278994);
    diag.clear();
    EXPECT_EQ(at(INT64_MAX - 1).GetTm().mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);

    for (long long v : {(long long)INT64_MIN, (long long)INT64_MIN + 1, (long long)INT64_MAX - 1, -1LL, 0LL}) {
        DT dt = at(v);
        at(v).SetMillisecond(999);  // the second's start may lie below the 64-bit range
        dt.GetWeekOfMonth();
        dt.IsDST();
        dt.Add(CKrTimeSpan(INT64_MAX));
        dt.Add(CKrDateSpan(INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX));
        dt.Add(CKrDateSpan(INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN));
        dt.SetToTheWeek(65535, DT::Sat);
        dt.SetToWeekDay(DT::Mon, INT32_MIN, DT::Feb, 2020);
        dt.SetMillisecond(999);
        at(v).IsEqualUpTo(at(-v - 1), CKrTimeSpan(INT64_MAX));
        at(v).IsSameDate(at(-v - 1));
        at(v).MakeTimezone(DT::UTC_P12);
    }
    DT huge(1, DT::Jan, INT32_MAX);  // beyond 64-bit milliseconds: reported, left at 0
    EXPECT_EQ(huge.GetValue(), 0);
}

// ---- daylight saving, zones, country -----------------------------------------------------------

TEST(DateTimeZones, DaylightSavingBoundariesFollowTheRuntime) {
    struct Case {
        const char *zone;
        long long lastStandardMs;  // the millisecond before the clocks go forward
        int hourBefore, hourAfter;
    } cases[] = {
        {"Europe/Prague", civilMs(2021, 3, 28, 1) - 1, 1, 3},
        {"America/New_York", civilMs(2021, 3, 14, 7) - 1, 1, 3},
        {"Europe/Prague", civilMs(2021, 10, 31, 1) - 1, 2, 2},  // back: 02:59:59.999 -> 02:00
    };
    for (const auto &c : cases) {
        ZoneScope zone(c.zone);
        DT before = at(c.lastStandardMs), after = at(c.lastStandardMs + 1);
        EXPECT_EQ(before.GetHour(), c.hourBefore) << c.zone;
        EXPECT_EQ(after.GetHour(), c.hourAfter) << c.zone;
        EXPECT_NE(before.IsDST(), after.IsDST()) << c.zone;
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
        EXPECT_TRUE(DT::IsDSTApplicable(1943));
        EXPECT_FALSE(DT::IsDSTApplicable(1950));
        EXPECT_TRUE(DT::IsDSTApplicable(1966));
        EXPECT_FALSE(DT::IsDSTApplicable(1917));
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
    EXPECT_EQ(at(civilMs(2021, 7, 1, 10)).GetHour(DT::UTC), 10);
    EXPECT_EQ(at(civilMs(2021, 7, 1, 10)).GetMinute(DT::UTC_P9_30), 30);
    DT::Tm west = at(0).GetTm(DT::UTC_M5);
    EXPECT_EQ(west.year, 1969);
    EXPECT_EQ(west.hour, 19);
    EXPECT_EQ(west.tz.GetOffset(), -18000);

    // MakeTimezone re-reads the local wall clock in another zone (one hour less in summer).
    DT summer = at(civilMs(2021, 7, 1, 10));
    EXPECT_EQ(summer.ToGMT().GetValue() - summer.GetValue(), 2 * kHour);
    EXPECT_EQ(summer.ToGMT(true).GetValue() - summer.GetValue(), kHour);
    DT winter = at(civilMs(2021, 1, 1, 10));
    EXPECT_EQ(winter.ToTimezone(DT::UTC_P3).GetValue() - winter.GetValue(), -2 * kHour);

    DiagCapture diag;
    EXPECT_EQ(DT::TimeZone(static_cast<DT::TZ>(27)).GetOffset(), 0);
    EXPECT_EQ(DT::TimeZone(static_cast<DT::TZ>(-1)).GetOffset(), 0);
    EXPECT_EQ(diag.assertionsContaining(L"unknown time zone"), 2u);
}

// ---- calendar arithmetic ------------------------------------------------------------------------

TEST(DateTimeArithmetic, DateSpansClampAtMonthEndsAndKeepTheTimeOfDay) {
    ZoneScope zone("Europe/Prague");
    struct Case {
        int d, m, y;
        CKrDateSpan span;
        int ed, em, ey;
    } cases[] = {
        {31, 1, 2024, CKrDateSpan::Month(), 29, 2, 2024},
        {31, 1, 2023, CKrDateSpan::Month(), 28, 2, 2023},
        {31, 1, 2100, CKrDateSpan::Month(), 28, 2, 2100},  // own path, not leap
        {29, 2, 2024, CKrDateSpan::Year(), 28, 2, 2025},
        {31, 3, 2021, CKrDateSpan::Months(-1), 28, 2, 2021},
        {31, 12, 1969, CKrDateSpan::Day(), 1, 1, 1970},    // across the seam
        {1, 1, 2038, CKrDateSpan::Days(-1), 31, 12, 2037},
        {15, 6, 2021, CKrDateSpan(1, 13, 2, 3), 1, 8, 2023},
        {1, 3, 2000, CKrDateSpan::Days(-146097 * 3 - 1), 29, 2, 800},
    };
    for (const auto &c : cases) {
        DiagCapture diag;
        DT dt(static_cast<unsigned short>(c.d), static_cast<DT::Month>(c.m - 1), c.y, 13, 45, 6, 7);
        dt += c.span;
        DT::Tm tm = dt.GetTm();
        EXPECT_EQ(tm.mday, c.ed) << c.d << "." << c.m << "." << c.y;
        EXPECT_EQ(tm.mon, c.em - 1) << c.d << "." << c.m << "." << c.y;
        EXPECT_EQ(tm.year, c.ey) << c.d << "." << c.m << "." << c.y;
        EXPECT_EQ(tm.hour * 10000 + tm.min * 100 + tm.sec, 134506);
        EXPECT_EQ(tm.msec, 7);
        EXPECT_EQ(diag.count(), 0u);
        dt -= c.span;  // Subtract adds the negated span
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
    DT a(1, DT::Jan, 2000), b(2, DT::Jan, 2000, 6);
    EXPECT_EQ(b.Subtract(a).GetHours(), 30);
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
    EXPECT_EQ(tm.year * 10000 + tm.mon * 100 + tm.mday, 20000001);
    tm.AddDays(-365);
    EXPECT_EQ(tm.year * 10000 + tm.mon * 100 + tm.mday, 19990001);
    tm.AddMonths(-13);
    EXPECT_EQ(tm.year * 10000 + tm.mon * 100 + tm.mday, 19971101);
    EXPECT_EQ(tm.GetWeekDay(), DT::Mon);  // 1 December 1997
    tm.AddDays(INT32_MAX);  // 5.9 million years, stepped in 400-year cycles
    EXPECT_TRUE(tm.IsValid());
    EXPECT_FALSE(DT::Tm().IsValid());
    EXPECT_EQ(DT::Tm().GetWeekDay(), DT::Inv_WeekDay);
}

// ---- weeks and navigation -----------------------------------------------------------------------

TEST(DateTimeWeeks, WeekNumbersAtYearEnds) {
    ZoneScope zone("Europe/Prague");  // country EEC: default weeks start on Monday
    struct Case {
        int d, m, y;
        int monday, sunday;
    } cases[] = {
        {1, 1, 2015, 1, 1},     // Thursday: first week
        {1, 1, 2016, 0, 0},     // Friday: still the previous year's week
        {3, 1, 2016, 0, 1},     // Sunday
        {4, 1, 2016, 1, 1},     // Monday
        {31, 12, 2018, 53, 53}, // Monday; ISO would say week 1 of 2019
        {31, 12, 2020, 53, 53}, // Thursday
        {1, 1, 2020, 1, 1},     // Wednesday
        {1, 1, 2040, 0, 1},     // Sunday, own path
        {31, 12, 1969, 53, 53}, // Wednesday (and 1 January 1969 too), own path
    };
    for (const auto &c : cases) {
        DT dt(static_cast<unsigned short>(c.d), static_cast<DT::Month>(c.m - 1), c.y, 12);
        EXPECT_EQ(dt.GetWeekOfYear(DT::Monday_First), c.monday) << c.d << "." << c.m << "." << c.y;
        EXPECT_EQ(dt.GetWeekOfYear(DT::Sunday_First), c.sunday) << c.d << "." << c.m << "." << c.y;
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
    DT dt(10, DT::Jun, 2021, 15, 30);
    DiagCapture diag;
    EXPECT_EQ(dt.GetYearDay(32).GetValue(), civilMs(2021, 2, 1));
    EXPECT_EQ(dt.GetYearDay(1).GetValue(), civilMs(2021, 1, 1));
    EXPECT_EQ(dt.GetYearDay(365).GetValue(), civilMs(2021, 12, 31));
    EXPECT_EQ(diag.count(), 0u);
    // The last day of January (and of any month before December) is not reachable.
    EXPECT_EQ(dt.GetYearDay(31).GetValue(), dt.GetValue());
    EXPECT_EQ(dt.GetYearDay(59).GetValue(), dt.GetValue());
    EXPECT_EQ(diag.assertionsContaining(L"Invalid date in CKrDateTime::Set()"), 2u);
    EXPECT_EQ(dt.GetYearDay(366).GetValue(), dt.GetValue());
    EXPECT_EQ(dt.GetYearDay(0).GetValue(), dt.GetValue());
    EXPECT_EQ(diag.assertionsContaining(L"invalid year day"), 2u);
    EXPECT_EQ(DT(1, DT::Mar, 2024).GetYearDay(366).GetValue(), civilMs(2024, 12, 31));
}

TEST(DateTimeNavigation, WeekDayMoves) {
    ZoneScope zone("UTC");
    const DT wed(16, DT::Jun, 2021, 9, 15);  // a Wednesday
    EXPECT_EQ(wed.GetNextWeekDay(DT::Wed).GetValue(), wed.GetValue());
    EXPECT_EQ(wed.GetPrevWeekDay(DT::Wed).GetValue(), wed.GetValue());
    EXPECT_EQ(wed.GetNextWeekDay(DT::Tue).GetDay(), 22);
    EXPECT_EQ(wed.GetNextWeekDay(DT::Sat).GetDay(), 19);
    EXPECT_EQ(wed.GetPrevWeekDay(DT::Thu).GetDay(), 10);
    EXPECT_EQ(wed.GetWeekDayInSameWeek(DT::Sun).GetDay(), 13);
    EXPECT_EQ(wed.GetWeekDayInSameWeek(DT::Sat).GetHour(), 9);

    EXPECT_EQ(wed.GetWeekDay(DT::Fri, 1, DT::Jan, 2021).GetValue(), civilMs(2021, 1, 1));
    EXPECT_EQ(wed.GetWeekDay(DT::Sun, 5, DT::Jan, 2021).GetValue(), civilMs(2021, 1, 31));
    EXPECT_EQ(wed.GetLastWeekDay(DT::Sun, DT::Feb, 2021).GetValue(), civilMs(2021, 2, 28));
    EXPECT_EQ(wed.GetWeekDay(DT::Mon, -2, DT::Feb, 2040).GetValue(), civilMs(2040, 2, 20));
    DT copy = wed;
    EXPECT_FALSE(copy.SetToWeekDay(DT::Mon, 5, DT::Feb, 2021));  // February 2021 has four
    EXPECT_EQ(copy.GetValue(), wed.GetValue());
    EXPECT_FALSE(wed.GetWeekDay(DT::Mon, 5, DT::Feb, 2021).IsValid());
    EXPECT_EQ(wed.GetLastMonthDay(DT::Feb, 2100).GetValue(), civilMs(2100, 2, 28));

    // 4 January 2021 is a Monday: week 1 moves one whole week further.
    EXPECT_EQ(wed.GetWeek(1, DT::Mon).GetValue(), civilMs(2021, 1, 11));
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
    dt.SetYear(2028).SetMonth(DT::Jul).SetDay(4).SetHour(23).SetMinute(1).SetSecond(2).SetMillisecond(3);
    EXPECT_EQ(dt.GetValue(), civilMs(2028, 7, 4, 23, 1, 2, 3, -4 * 3600));
    dt.SetYear(2050);  // own path: EST although it is July
    EXPECT_EQ(dt.GetValue(), civilMs(2050, 7, 4, 23, 1, 2, 3, -5 * 3600));
    dt.ResetTime();
    EXPECT_EQ(dt.GetValue(), civilMs(2050, 7, 4, 0, 0, 0, 0, -5 * 3600));
    EXPECT_EQ(DT(1, DT::Jan, 2000).IsSameTime(DT(7, DT::Mar, 1800)), true);

    struct tm t {};
    DT(5, DT::Mar, 2021, 7, 8, 9).FillTmStruct(&t);
    EXPECT_EQ(t.tm_year, 121);
    EXPECT_EQ(t.tm_mon, 2);
    EXPECT_EQ(t.tm_mday, 5);
    EXPECT_EQ(t.tm_wday, 5);
    EXPECT_EQ(t.tm_yday, 64);  // 1-based on purpose
    EXPECT_EQ(t.tm_isdst, -1);
    EXPECT_EQ(DT(5, DT::Mar, 2021).GetDayOfYear(), 64);

    struct tm rolled {};
    rolled.tm_year = 121;
    rolled.tm_mday = 32;  // the runtime normalises: 1 February
    rolled.tm_isdst = -1;
    EXPECT_EQ(DT(rolled).GetValue(), civilMs(2021, 2, 1, 0, 0, 0, 0, -5 * 3600));
    DT::Tm fromRuntime(rolled, DT::TimeZone(DT::UTC));
    EXPECT_EQ(fromRuntime.year, 2021);
    EXPECT_EQ(fromRuntime.msec, 0);
}

// ---- comparison ------------------------------------------------------------------------------------

TEST(DateTimeCompare, OrderingToleranceAndInvalidOperands) {
    ZoneScope zone("Europe/Prague");
    const DT a = at(1000), b = at(2000), c = at(3000);
    EXPECT_TRUE(b.IsStrictlyBetween(a, c));
    EXPECT_FALSE(a.IsStrictlyBetween(a, c));
    EXPECT_TRUE(a.IsBetween(a, c));
    EXPECT_TRUE(c.IsBetween(a, c));
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

// ---- calendar queries and free helpers ------------------------------------------------------

TEST(DateTimeCalendar, LeapYearsDayCountsAndYearHelpers) {
    EXPECT_TRUE(DT::IsLeapYear(2000));
    EXPECT_FALSE(DT::IsLeapYear(1900));
    EXPECT_TRUE(DT::IsLeapYear(1900, DT::Julian));
    EXPECT_TRUE(DT::IsLeapYear(-4));
    EXPECT_TRUE(DT::IsLeapYear(0));
    EXPECT_FALSE(DT::IsLeapYear(-100));
    EXPECT_EQ(DT::GetNumberOfDays(2024), 366);
    EXPECT_EQ(DT::GetNumberOfDays(DT::Feb, 2100), 28);
    EXPECT_EQ(DT::GetNumberOfDays(DT::Feb, 2100, DT::Julian), 29);
    EXPECT_EQ(DT::GetNumberOfDays(DT::Dec, 2023), 31);
    EXPECT_EQ(DT::ConvertYearToBC(1), 1);
    EXPECT_EQ(DT::ConvertYearToBC(0), -1);
    EXPECT_EQ(DT::ConvertYearToBC(-43), -44);
    EXPECT_EQ(DT::GetCentury(2024), 20);
    EXPECT_EQ(DT::GetCentury(-250), -3);
    EXPECT_EQ(DT::GetCentury(0), -1);
    EXPECT_EQ(DT::GetCurrentYear(), DT::Now().GetYear());

    DiagCapture diag;
    EXPECT_FALSE(DT::IsLeapYear(2000, static_cast<DT::Calendar>(2)));
    EXPECT_EQ(diag.assertionsContaining(L"unknown calendar"), 1u);
    EXPECT_EQ(DT::GetNumberOfDays(2000, static_cast<DT::Calendar>(-1)), 0);
    EXPECT_EQ(diag.assertionsContaining(L"unsupported calendar"), 1u);
    EXPECT_EQ(DT::GetNumberOfDays(static_cast<DT::Month>(13), 2000), 0);
    EXPECT_EQ(diag.assertionsContaining(L"invalid month"), 1u);

    DT early(1, DT::Jan, -5000);
    EXPECT_EQ(diag.assertionsContaining(L"date out of range - can't convert to JDN"), 1u);
    EXPECT_TRUE(early.IsValid());
}

TEST(DateTimeCalendar, MonthAndWeekDayStepping) {
    DT::Month m = DT::Jan;
    krPrevMonth(m);
    EXPECT_EQ(m, DT::Inv_Month);  // no wrap to December
    krPrevMonth(m);
    EXPECT_EQ(m, DT::Dec);
    krNextMonth(m);
    EXPECT_EQ(m, DT::Inv_Month);
    DT::WeekDay wd = DT::Sat;
    krNextWDay(wd);
    EXPECT_EQ(wd, DT::Inv_WeekDay);
    DT::WeekDay sun = DT::Sun;
    krPrevWDay(sun);
    EXPECT_EQ(sun, DT::Inv_WeekDay);

    DiagCapture diag;
    krNextMonth(m);
    EXPECT_EQ(m, DT::Inv_Month);
    krNextWDay(wd);
    EXPECT_EQ(wd, DT::Inv_WeekDay);
    EXPECT_EQ(diag.assertionsContaining(L"invalid month"), 1u);
    EXPECT_EQ(diag.assertionsContaining(L"invalid week day"), 1u);
}

}  // namespace
