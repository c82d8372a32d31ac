// Composing a date-time from its fields and breaking it down again: the dates and times it must
// refuse (value kept, the documented report), the fallback before the first day number, the
// current month or year as stand-ins, a local zone that changes between calls, the edges of the
// runtime range, and a sweep over every own-path day against the C++20 civil calendar.  (Random
// values against the civil calendar are the datetime fuzz target's.)
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <climits>
#include <sstream>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;
using namespace std::chrono;

constexpr long long kKolkata = 19800;                // seconds east of UTC, not a whole hour
constexpr long long kStdRangeEnd = 2147483647000LL;  // the runtime breaks down [0, this)
constexpr long long kDay = 86400000;
// year, month (0-based), day, hour, minute, second, millisecond, weekday, day of year (0-based)
using Fields = std::array<long long, 9>;

Fields civilOf(long long ms, long long offsetSeconds) {
    const long long local = ms + offsetSeconds * 1000;
    const long long days = local / kDay - (local % kDay < 0 ? 1 : 0);
    const long long tod = local - days * kDay;
    const sys_days sd{std::chrono::days{days}};
    const year_month_day ymd{sd};
    return {static_cast<int>(ymd.year()),
            static_cast<unsigned>(ymd.month()) - 1,
            static_cast<unsigned>(ymd.day()),
            tod / 3600000,
            tod / 60000 % 60,
            tod / 1000 % 60,
            tod % 1000,
            weekday{sd}.c_encoding(),
            (sd - sys_days{ymd.year() / January / 1}).count()};
}

// Adds a failure (and counts it) when the fields of `v` broken down in the zone `offset` seconds
// east of UTC differ from the civil calendar's.
void expectCivil(const DT::Tm &tm, long long v, long long offset, const char *what, int &failures) {
    const Fields got{tm.year, tm.mon,  tm.mday,         tm.hour, tm.min,
                     tm.sec,  tm.msec, tm.GetWeekDay(), tm.yday};
    const Fields want = civilOf(v, offset);
    if (got == want) return;
    std::ostringstream s;
    for (size_t i = 0; i < got.size(); ++i) s << (i ? "," : "") << got[i] << "/" << want[i];
    ADD_FAILURE() << what << ", value " << v << ": got/expected " << s.str();
    ++failures;
}

const wchar_t *const kBadDate = L"Invalid date in CKrDateTime::Set()";

// Refused input leaves the value as it was and reports the failed check, condition text and
// message as documented, exactly once, on both calendar paths.
TEST(DateTimeCompose, RefusedInputKeepsTheValueAndReportsOnce) {
    ZoneScope zone("Europe/Prague");
    // The failed check of each kind: date, time, a result that does not fit.
    const std::wstring condition[] = {L"day != 0 && day <= monthDays",
                                      L"hour < 24 && second < 62 && minute < 60 && millisec < 1000",
                                      L"fits"};
    const std::wstring message[] = {kBadDate, L"Invalid time in CKrDateTime::Set()", kBadDate};
    enum { D, T, F };
    struct {
        int d, m, y, h, mi, s, ms, kind;
    } cases[] = {
        {31, 4, 2040, 0, 0, 0, 0, D},
        {0, 1, 1800, 0, 0, 0, 0, D},
        {32, 12, -300, 0, 0, 0, 0, D},
        // Not leap years on the own path; then one bad date on the runtime path.
        {29, 2, 2100, 0, 0, 0, 0, D},
        {29, 2, 2039, 0, 0, 0, 0, D},
        {29, 2, -1, 0, 0, 0, 0, D},
        {29, 2, -100, 0, 0, 0, 0, D},
        {31, 4, 2021, 0, 0, 0, 0, D},
        {1, 1, 2100, 24, 0, 0, 0, T},
        {1, 1, 2100, 0, 60, 0, 0, T},
        {1, 1, 1900, 0, 0, 62, 0, T},
        {1, 1, 1900, 0, 0, 0, 1000, T},
        {1, 1, 2000, 24, 0, 0, 0, T},   // the latter: runtime path
        {0, 14, 1900, 99, 0, 0, 0, T},  // a bad time before a bad date
        {1, 1, INT_MAX, 0, 0, 0, 0, F},
        {31, 12, 300000000, 0, 0, 0, 0, F},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.d << "." << c.m << "." << c.y << " " << c.h << ":"
                                        << c.mi << ":" << c.s << "." << c.ms);
        DiagCapture diag;
        EXPECT_EQ(compose(c.d, c.m, c.y, c.h, c.mi, c.s, c.ms).GetValue(), 42);
        EXPECT_TRUE(expectReport(diag, message[c.kind], condition[c.kind], L"time/KrDateTime"));
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
    struct {
        const char *name;
        long long offset;
    } zones[] = {{"Europe/Prague", 3600},
                 {"America/New_York", -18000},
                 {"Asia/Kolkata", kKolkata},
                 {"UTC", 0},
                 {"Europe/Prague", 3600}};
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

// The edges of the runtime range in zones with and without daylight saving: the last
// millisecond before 1970 and the first one from 2038-01-19 03:14:07 on are the own path's, the
// others the runtime's; all break down like the civil calendar.
TEST(DateTimeCompose, EdgesOfTheRuntimeRange) {
    DiagCapture diag;
    for (const char *name : {"UTC", "Asia/Kolkata", "America/New_York", "Europe/Prague"}) {
        ZoneScope zone(name);
        const long long offset = DT::TimeZone(DT::Local).GetOffset();
        int failures = 0;
        for (long long v :
             {-kDay, -1LL, 0LL, 999LL, kStdRangeEnd - 1, kStdRangeEnd, kStdRangeEnd + kDay}) {
            const long long local = v + offset * 1000;
            // Inside the range the runtime applies daylight saving, which these zones lack then.
            if (v >= 0 && v < kStdRangeEnd && local >= 0 && local < kStdRangeEnd &&
                at(v).IsDST() == 1)
                continue;
            expectCivil(at(v).GetTm(), v, offset, name, failures);
            expectCivil(at(v).GetTm(DT::TimeZone(DT::UTC_P9_30)), v, 34200, name, failures);
        }
    }
    EXPECT_EQ(diag.count(), 0u);
}

// Every day from the first numbered day to the year 10000 (years 1970..2037 belong to the
// runtime), with a time of day that walks through hours, minutes, seconds and milliseconds, in a
// zone with a half-hour offset: the fields compose to the civil calendar's value, and that value
// breaks down to the same fields, weekday and day of year included.
TEST(DateTimeCompose, EveryOwnPathDayBothWays) {
    ZoneScope zone("Asia/Kolkata");
    DiagCapture diag;
    const sys_days first = year{-4713} / November / 24, last = year{10000} / January / 1;
    int failures = 0;
    long long checked = 0;
    for (sys_days d = first; d < last && failures < 10; d += days{1}) {
        const year_month_day ymd{d};
        const int y = static_cast<int>(ymd.year());
        if (y >= 1970 && y <= 2037) continue;
        const long long k = (d - first).count();
        const int h = k * 7 % 24, mi = k % 60, s = k * 13 % 60, ms = k * 37 % 1000;
        const int m = static_cast<unsigned>(ymd.month()), dd = static_cast<unsigned>(ymd.day());
        const long long want = civilMs(y, m, dd, h, mi, s, ms, kKolkata);
        const long long got = compose(dd, m, y, h, mi, s, ms).GetValue();
        if (got != want) {
            ADD_FAILURE() << y << "-" << m << "-" << dd << " " << h << ":" << mi << ":" << s << "."
                          << ms << ": composed " << got << " != " << want;
            ++failures;
        }
        if (want < 0 || want >= kStdRangeEnd)
            expectCivil(at(want).GetTm(), want, kKolkata, "every day", failures);
        ++checked;
    }
    EXPECT_GT(checked, 5000000);
    EXPECT_EQ(diag.count(), 0u);
    // The millisecond before the first numbered day is out of range.
    EXPECT_EQ(at(civilMs(-4713, 11, 24, 0, 0, 0, 0, kKolkata) - 1).GetTm().mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);
}

}  // namespace
