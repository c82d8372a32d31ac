// Composing a date-time from its fields on the own calendar path (years outside 1970..2037):
// every day against the C++20 civil calendar, the dates and times it must refuse (value kept,
// the documented report), the fallback before the first day number, and a local zone that
// changes between calls.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;
using namespace std::chrono;

constexpr long long kDay = 86400000;
constexpr long long kKolkata = 19800;  // seconds east of UTC, not a whole hour

DT compose(int d, int m, int y, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    DT dt = DT().SetValue(42);
    dt.Set(static_cast<unsigned short>(d), static_cast<DT::Month>(m - 1), y,
           static_cast<unsigned short>(h), static_cast<unsigned short>(mi),
           static_cast<unsigned short>(s), static_cast<unsigned short>(ms));
    return dt;
}

// Every day from the first numbered day to the year 10000, with a time of day that walks
// through hours, minutes, seconds and milliseconds, in a zone with a half-hour offset.
TEST(DateTimeCompose, EveryOwnPathDayMatchesTheCivilCalendar) {
    ZoneScope zone("Asia/Kolkata");
    DiagCapture diag;
    const sys_days first = year{-4713} / November / 24, last = year{10000} / January / 1;
    int failures = 0;
    long long checked = 0;
    for (sys_days d = first; d < last && failures < 10; d += days{1}) {
        const year_month_day ymd{d};
        const int y = static_cast<int>(ymd.year());
        if (y >= 1970 && y <= 2037) continue;
        const long long n = d.time_since_epoch().count();
        const int h = static_cast<int>((n * 7) % 24 + 24) % 24,
                  mi = static_cast<int>((n % 60 + 60) % 60);
        const int s = static_cast<int>((n * 13 % 60 + 60) % 60),
                  ms = static_cast<int>((n * 37 % 1000 + 1000) % 1000);
        const unsigned m = static_cast<unsigned>(ymd.month()),
                       dd = static_cast<unsigned>(ymd.day());
        const long long got =
            compose(static_cast<int>(dd), static_cast<int>(m), y, h, mi, s, ms).GetValue();
        const long long want = civilMs(y, m, dd, h, mi, s, ms, kKolkata);
        if (got != want) {
            ADD_FAILURE() << y << "-" << m << "-" << dd << " " << h << ":" << mi << ":" << s << "."
                          << ms << ": " << got << " != " << want;
            ++failures;
        }
        ++checked;
    }
    EXPECT_GT(checked, 5000000);
    EXPECT_EQ(diag.count(), 0u);
}

TEST(DateTimeCompose, LeapDaysOnTheOwnPath) {
    ZoneScope zone("UTC");
    DiagCapture diag;
    for (int y : {2400, 2040, 1600, 1968, 0, -4, -400, -4000})
        EXPECT_EQ(compose(29, 2, y, 23, 59, 59, 999).GetValue(), civilMs(y, 2, 29, 23, 59, 59, 999))
            << y;
    EXPECT_EQ(diag.count(), 0u);
    for (int y : {2100, 1900, 2039, 1800, -1, -100, -4001}) {
        diag.clear();
        EXPECT_EQ(compose(29, 2, y).GetValue(), 42) << y;
        EXPECT_EQ(diag.assertionsContaining(L"Invalid date in CKrDateTime::Set()"), 1u) << y;
        EXPECT_EQ(compose(28, 2, y).GetValue(), civilMs(y, 2, 28)) << y;
    }
}

// Refused input leaves the value as it was and reports the failed check, condition text and
// message as documented, exactly once.
TEST(DateTimeCompose, RefusedInputKeepsTheValueAndReportsOnce) {
    ZoneScope zone("Europe/Prague");
    const wchar_t *kTimeCond = L"hour < 24 && second < 62 && minute < 60 && millisec < 1000";
    const wchar_t *kDateCond = L"day != 0 && day <= monthDays";
    struct Case {
        int d, m, y, h, mi, s, ms;
        const wchar_t *condition;
        const wchar_t *message;
    } cases[] = {
        {31, 4, 2040, 0, 0, 0, 0, kDateCond, L"Invalid date in CKrDateTime::Set()"},
        {0, 1, 1800, 0, 0, 0, 0, kDateCond, L"Invalid date in CKrDateTime::Set()"},
        {32, 12, -300, 0, 0, 0, 0, kDateCond, L"Invalid date in CKrDateTime::Set()"},
        {1, 1, 2100, 24, 0, 0, 0, kTimeCond, L"Invalid time in CKrDateTime::Set()"},
        {1, 1, 2100, 0, 60, 0, 0, kTimeCond, L"Invalid time in CKrDateTime::Set()"},
        {1, 1, 1900, 0, 0, 62, 0, kTimeCond, L"Invalid time in CKrDateTime::Set()"},
        {1, 1, 1900, 0, 0, 0, 1000, kTimeCond, L"Invalid time in CKrDateTime::Set()"},
        // A bad time is reported before a bad date.
        {0, 14, 1900, 99, 0, 0, 0, kTimeCond, L"Invalid time in CKrDateTime::Set()"},
        // The result would not fit 64-bit milliseconds.
        {1, 1, INT_MAX, 0, 0, 0, 0, L"fits", L"Invalid date in CKrDateTime::Set()"},
        {31, 12, 300000000, 0, 0, 0, 0, L"fits", L"Invalid date in CKrDateTime::Set()"},
    };
    for (const Case &c : cases) {
        DiagCapture diag;
        EXPECT_EQ(compose(c.d, c.m, c.y, c.h, c.mi, c.s, c.ms).GetValue(), 42) << c.y;
        const auto recs = diag.records();
        ASSERT_EQ(recs.size(), 1u) << c.y;
        EXPECT_EQ(recs[0].condition, c.condition) << c.y;
        EXPECT_EQ(recs[0].message, c.message) << c.y;
        EXPECT_EQ(recs[0].source, L"time/KrDateTime");
    }
    // Seconds 60 and 61 are accepted and carry into the next minute.
    EXPECT_EQ(compose(31, 12, 2100, 23, 59, 61).GetValue(), civilMs(2101, 1, 1, 0, 0, 1, 0, 3600));

    // A month index beyond December: the month check reports first, then the date check.
    DiagCapture diag;
    EXPECT_EQ(compose(1, 14, 2100).GetValue(), 42);
    EXPECT_EQ(diag.assertionsContaining(L"invalid month"), 1u);
    EXPECT_EQ(diag.assertionsContaining(L"Invalid date in CKrDateTime::Set()"), 1u);
    EXPECT_EQ(diag.count(), 2u);
}

// Dates before 24 November -4713 have no day number: reported, and counted from day number 0,
// which in this midnight-based count is 25 November -4713 (the 24th is day -1).
TEST(DateTimeCompose, BeforeTheFirstDayNumber) {
    ZoneScope zone("Asia/Kolkata");
    DiagCapture diag;
    EXPECT_EQ(compose(24, 11, -4713, 6).GetValue(), civilMs(-4713, 11, 24, 6, 0, 0, 0, kKolkata));
    EXPECT_EQ(diag.count(), 0u);
    const long long dayZeroNoon = civilMs(-4713, 11, 25, 12, 30, 15, 7, kKolkata);
    for (int y : {-4713, -4714, -100000, INT_MIN + 1}) {
        diag.clear();
        const int m = y == -4713 ? 11 : 3;
        EXPECT_EQ(compose(23, m, y, 12, 30, 15, 7).GetValue(), dayZeroNoon) << y;
        EXPECT_EQ(diag.assertionsContaining(L"date out of range - can't convert to JDN"), 1u) << y;
        EXPECT_EQ(diag.count(), 1u) << y;
    }
}

// The current month or year stands in for Inv_Month / Inv_Year.
TEST(DateTimeCompose, CurrentMonthAndYearStandIn) {
    ZoneScope zone("UTC");
    DiagCapture diag;
    const DT::Month before = DT::GetCurrentMonth();
    const DT dt = compose(1, DT::Inv_Month + 1, 2100, 8);
    const DT::Month after = DT::GetCurrentMonth();
    EXPECT_TRUE(dt.GetMonth() == before || dt.GetMonth() == after);
    EXPECT_EQ(dt.GetValue(), civilMs(2100, static_cast<unsigned>(dt.GetMonth()) + 1, 1, 8));

    const int yearBefore = DT::GetCurrentYear();
    const DT thisYear = compose(1, 3, DT::Inv_Year);
    const int yearAfter = DT::GetCurrentYear();
    EXPECT_TRUE(thisYear.GetYear() == yearBefore || thisYear.GetYear() == yearAfter);
    EXPECT_EQ(thisYear.GetMonth(), DT::Mar);
    EXPECT_EQ(diag.count(), 0u);
}

// The local standard offset is read afresh on each call: a zone changed (setenv + tzset)
// between calls shows at once, in composing, in breaking down and in the Local zone.
TEST(DateTimeCompose, FollowsTheLocalZoneBetweenCalls) {
    DiagCapture diag;
    struct Zone {
        const char *name;
        long long offset;
    } zones[] = {{"Europe/Prague", 3600},
                 {"America/New_York", -18000},
                 {"Asia/Kolkata", kKolkata},
                 {"UTC", 0},
                 {"Europe/Prague", 3600}};
    ZoneScope outer("Asia/Tokyo");
    EXPECT_EQ(compose(1, 7, 2040, 12).GetValue(), civilMs(2040, 7, 1, 12, 0, 0, 0, 32400));
    for (const Zone &z : zones) {
        ZoneScope zone(z.name);
        EXPECT_EQ(DT::TimeZone(DT::Local).GetOffset(), z.offset) << z.name;
        EXPECT_EQ(compose(1, 7, 2040, 12).GetValue(), civilMs(2040, 7, 1, 12, 0, 0, 0, z.offset))
            << z.name;
        EXPECT_EQ(compose(15, 1, 1500, 3, 4, 5, 6).GetValue(),
                  civilMs(1500, 1, 15, 3, 4, 5, 6, z.offset))
            << z.name;
        EXPECT_EQ(DT().SetValue(civilMs(2040, 7, 1, 12)).GetTm().hour,
                  (12 * 3600 + z.offset) / 3600 % 24)
            << z.name;
    }
    EXPECT_EQ(compose(1, 7, 2040, 12).GetValue(), civilMs(2040, 7, 1, 12, 0, 0, 0, 32400));
    EXPECT_EQ(diag.count(), 0u);
}

}  // namespace
