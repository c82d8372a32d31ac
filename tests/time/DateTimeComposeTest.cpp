// Composing a date-time from its fields: the dates and times it must refuse (value kept, the
// documented report), the fallback before the first day number, the current month or year as
// stand-ins, and a local zone that changes between calls.  (Every valid own-path day, leap days
// included, is covered by the differential sweep.)
#include <gtest/gtest.h>

#include <climits>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;

constexpr long long kKolkata = 19800;  // seconds east of UTC, not a whole hour
const wchar_t *const kBadDate = L"Invalid date in CKrDateTime::Set()";

// Refused input leaves the value as it was and reports the failed check, condition text and
// message as documented, exactly once, on both calendar paths.
TEST(DateTimeCompose, RefusedInputKeepsTheValueAndReportsOnce) {
    ZoneScope zone("Europe/Prague");
    const wchar_t *kTimeCond = L"hour < 24 && second < 62 && minute < 60 && millisec < 1000";
    const wchar_t *kDateCond = L"day != 0 && day <= monthDays";
    const wchar_t *kBadTime = L"Invalid time in CKrDateTime::Set()";
    struct { int d, m, y, h, mi, s, ms; const wchar_t *condition, *message; } cases[] = {
        {31, 4, 2040, 0, 0, 0, 0, kDateCond, kBadDate},
        {0, 1, 1800, 0, 0, 0, 0, kDateCond, kBadDate},
        {32, 12, -300, 0, 0, 0, 0, kDateCond, kBadDate},
        {29, 2, 2100, 0, 0, 0, 0, kDateCond, kBadDate},  // not leap years on the own path
        {29, 2, 2039, 0, 0, 0, 0, kDateCond, kBadDate},
        {29, 2, -1, 0, 0, 0, 0, kDateCond, kBadDate},
        {29, 2, -100, 0, 0, 0, 0, kDateCond, kBadDate},
        {31, 4, 2021, 0, 0, 0, 0, kDateCond, kBadDate},  // runtime path
        {1, 1, 2100, 24, 0, 0, 0, kTimeCond, kBadTime},
        {1, 1, 2100, 0, 60, 0, 0, kTimeCond, kBadTime},
        {1, 1, 1900, 0, 0, 62, 0, kTimeCond, kBadTime},
        {1, 1, 1900, 0, 0, 0, 1000, kTimeCond, kBadTime},
        {1, 1, 2000, 24, 0, 0, 0, kTimeCond, kBadTime},  // runtime path
        {0, 14, 1900, 99, 0, 0, 0, kTimeCond, kBadTime},  // a bad time before a bad date
        // The result would not fit 64-bit milliseconds.
        {1, 1, INT_MAX, 0, 0, 0, 0, L"fits", kBadDate},
        {31, 12, 300000000, 0, 0, 0, 0, L"fits", kBadDate},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.d << "." << c.m << "." << c.y << " " << c.h << ":"
                                        << c.mi << ":" << c.s << "." << c.ms);
        DiagCapture diag;
        EXPECT_EQ(compose(c.d, c.m, c.y, c.h, c.mi, c.s, c.ms).GetValue(), 42);
        const auto recs = diag.records();
        ASSERT_EQ(recs.size(), 1u);
        EXPECT_EQ(recs[0].condition, c.condition);
        EXPECT_EQ(recs[0].message, c.message);
        EXPECT_EQ(recs[0].source, L"time/KrDateTime");
    }
    // Seconds 60 and 61 are accepted and carry into the next minute.
    EXPECT_EQ(compose(31, 12, 2100, 23, 59, 61).GetValue(), civilMs(2101, 1, 1, 0, 0, 1, 0, 3600));
    // A month index beyond December: the month check reports first, then the date check.
    DiagCapture diag;
    EXPECT_EQ(compose(1, 14, 2100).GetValue(), 42);
    EXPECT_EQ(diag.assertionsContaining(L"invalid month"), 1u);
    EXPECT_EQ(diag.assertionsContaining(kBadDate), 1u);
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
        EXPECT_EQ(compose(23, y == -4713 ? 11 : 3, y, 12, 30, 15, 7).GetValue(), dayZeroNoon) << y;
        EXPECT_EQ(diag.assertionsContaining(L"date out of range - can't convert to JDN"), 1u) << y;
        EXPECT_EQ(diag.count(), 1u) << y;
    }
}

// The current month or year stands in for Inv_Month / Inv_Year (read twice: the clock may
// cross a month or year end in between).
TEST(DateTimeCompose, CurrentMonthAndYearStandIn) {
    ZoneScope zone("UTC");
    DiagCapture diag;
    const DT::Month before = DT::GetCurrentMonth();
    const DT dt = compose(1, DT::Inv_Month + 1, 2100, 8);
    const DT::Month after = DT::GetCurrentMonth();
    EXPECT_TRUE(dt.GetMonth() == before || dt.GetMonth() == after);
    EXPECT_EQ(dt.GetValue(), civilMs(2100, dt.GetMonth() + 1, 1, 8));
    const int yearBefore = DT::GetCurrentYear();
    const DT thisYear = compose(1, 3, DT::Inv_Year);
    const int yearAfter = DT::GetCurrentYear();
    EXPECT_TRUE(thisYear.GetYear() == yearBefore || thisYear.GetYear() == yearAfter);
    EXPECT_EQ(thisYear.GetMonth(), DT::Mar);
    EXPECT_EQ(diag.count(), 0u);
}

// The local standard offset is read afresh on each call: a zone changed (setenv + tzset)
// between calls shows at once, in composing, in breaking down and in the Local zone.  Summer
// dates outside 1970..2037 get no daylight saving.
TEST(DateTimeCompose, FollowsTheLocalZoneBetweenCalls) {
    DiagCapture diag;
    struct { const char *name; long long offset; } zones[] = {
        {"Europe/Prague", 3600}, {"America/New_York", -18000}, {"Asia/Kolkata", kKolkata},
        {"UTC", 0}, {"Europe/Prague", 3600}};
    ZoneScope outer("Asia/Tokyo");
    EXPECT_EQ(compose(1, 7, 2040, 12).GetValue(), civilMs(2040, 7, 1, 12, 0, 0, 0, 32400));
    for (const auto &z : zones) {
        SCOPED_TRACE(z.name);
        ZoneScope zone(z.name);
        EXPECT_EQ(DT::TimeZone(DT::Local).GetOffset(), z.offset);
        EXPECT_EQ(compose(1, 7, 2040, 12).GetValue(), civilMs(2040, 7, 1, 12, 0, 0, 0, z.offset));
        EXPECT_EQ(compose(15, 7, 1969, 3, 4, 5, 6).GetValue(),
                  civilMs(1969, 7, 15, 3, 4, 5, 6, z.offset));
        EXPECT_EQ(at(civilMs(2040, 7, 1, 12)).GetTm().hour, (12 * 3600 + z.offset) / 3600 % 24);
    }
    EXPECT_EQ(compose(1, 7, 2040, 12).GetValue(), civilMs(2040, 7, 1, 12, 0, 0, 0, 32400));
    EXPECT_EQ(diag.count(), 0u);
}

}  // namespace
