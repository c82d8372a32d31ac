// Differential test of the date-time calendar against the C++20 civil calendar: over a million
// values from the year -4000 to 9999 in four zones, the own calendar path must agree with
// std::chrono::year_month_day field for field, and composing the broken-down value again must
// give the same value wherever that is exact (own path both ways, or a zone without daylight
// saving, or outside a repeated hour).
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;
using namespace std::chrono;

constexpr long long kDay = 86400000;
constexpr int kValuesPerZone = 1 << 18;  // 4 zones: 1048576 random values

struct Civil {
    int year, month, day, hour, min, sec, msec, wday, yday;
};

Civil civilOf(long long ms, long long offsetSeconds) {
    const long long local = ms + offsetSeconds * 1000;
    long long days = local / kDay;
    if (local % kDay < 0) --days;
    const long long tod = local - days * kDay;
    const sys_days sd{std::chrono::days{days}};
    const year_month_day ymd{sd};
    const int y = static_cast<int>(ymd.year());
    return {y,
            static_cast<int>(static_cast<unsigned>(ymd.month())) - 1,
            static_cast<int>(static_cast<unsigned>(ymd.day())),
            static_cast<int>(tod / 3600000),
            static_cast<int>(tod / 60000 % 60),
            static_cast<int>(tod / 1000 % 60),
            static_cast<int>(tod % 1000),
            static_cast<int>(weekday{sd}.c_encoding()),
            static_cast<int>((sd - sys_days{year{y} / January / 1}).count())};
}

bool inStdRange(long long v) { return v >= 0 && v < 2147483647000LL; }

::testing::AssertionResult sameFields(DT::Tm tm, const Civil &c, long long v) {
    if (tm.year == c.year && tm.mon == c.month && tm.mday == c.day && tm.hour == c.hour &&
        tm.min == c.min && tm.sec == c.sec && tm.msec == c.msec && tm.GetWeekDay() == c.wday &&
        tm.yday == c.yday)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "value " << v << ": got " << tm.year << "-" << tm.mon + 1 << "-" << tm.mday << " "
           << tm.hour << ":" << tm.min << ":" << tm.sec << "." << tm.msec << " wd " << tm.wday
           << " yd " << tm.yday << ", expected " << c.year << "-" << c.month + 1 << "-" << c.day
           << " " << c.hour << ":" << c.min << ":" << c.sec << "." << c.msec << " wd " << c.wday
           << " yd " << c.yday;
}

void runZone(const char *zoneName, bool hasDaylightSaving, unsigned seed) {
    ZoneScope zone(zoneName);
    DiagCapture diag;
    const long long stdOffset = DT::TimeZone(DT::Local).GetOffset();
    // A fixed zone other than the local standard one (which would mean local time).
    const DT::TimeZone fixed(stdOffset == -18000 ? DT::UTC_P9_30 : DT::UTC_M5);
    const long long fixedOffset = fixed.GetOffset();

    std::mt19937_64 rng(seed);
    std::uniform_int_distribution<long long> wide(civilMs(-4000, 1, 1), civilMs(10000, 1, 1) - 1);
    std::uniform_int_distribution<long long> seam(civilMs(1968, 1, 1), civilMs(2040, 1, 1));
    std::uniform_int_distribution<long long> nearEdge(-3 * kDay, 3 * kDay);

    int failures = 0, ownChecked = 0, roundTrips = 0;
    for (int i = 0; i < kValuesPerZone && failures < 10; ++i) {
        long long v;
        switch (i % 8) {
        case 0: case 1: v = seam(rng); break;
        case 2: v = nearEdge(rng); break;
        case 3: v = 2147483647000LL + nearEdge(rng); break;
        default: v = wide(rng); break;
        }
        const DT dt = DT().SetValue(v);
        const DT::Tm tm = dt.GetTm();

        if (!inStdRange(v)) {
            ++ownChecked;
            if (!sameFields(tm, civilOf(v, stdOffset), v)) {
                ADD_FAILURE() << zoneName << " local: " << sameFields(tm, civilOf(v, stdOffset), v).message();
                ++failures;
            }
        }
        // A fixed zone: the runtime's gmtime inside the range, the own path outside it (or where
        // the shifted time goes negative); both must agree with the civil calendar.
        const DT::Tm ftm = dt.GetTm(fixed);
        if (!sameFields(ftm, civilOf(v, fixedOffset), v)) {
            ADD_FAILURE() << zoneName << " fixed: " << sameFields(ftm, civilOf(v, fixedOffset), v).message();
            ++failures;
        }

        // Composing again.
        const bool ownBothWays = !inStdRange(v) && (tm.year < 1970 || tm.year > 2037);
        bool exact = ownBothWays;
        if (!hasDaylightSaving)
            exact = inStdRange(v) ? true : (tm.year < 1970 || tm.year > 2037 || stdOffset <= 0);
        else if (inStdRange(v) && tm.year <= 2037)
            exact = DT().SetValue(v - 3600000).GetHour() != tm.hour &&
                    DT().SetValue(v + 3600000).GetHour() != tm.hour;
        if (exact) {
            ++roundTrips;
            DT back = DT().SetValue(0);
            back.Set(tm);
            if (back.GetValue() != v) {
                ADD_FAILURE() << zoneName << ": " << v << " composed back as " << back.GetValue();
                ++failures;
            }
        }
    }
    EXPECT_EQ(diag.count(), 0u) << (diag.count() ? diag.records()[0].message : std::wstring());
    EXPECT_GT(ownChecked, kValuesPerZone / 2);
    EXPECT_GT(roundTrips, kValuesPerZone / 2);
}

TEST(DateTimeDifferential, Utc) { runZone("UTC", false, 1); }
TEST(DateTimeDifferential, Kolkata) { runZone("Asia/Kolkata", false, 2); }
TEST(DateTimeDifferential, NewYork) { runZone("America/New_York", true, 3); }
TEST(DateTimeDifferential, Prague) { runZone("Europe/Prague", true, 4); }

// Every day from the first day with a number to the year 10000 in one sweep: day numbers and
// their inverse stay in step with the civil calendar, weekday included.
TEST(DateTimeDifferential, EveryDayOfTheOwnCalendar) {
    ZoneScope zone("UTC");
    DiagCapture diag;
    const long long first = civilMs(-4713, 11, 24), last = civilMs(10000, 1, 1);
    int failures = 0;
    for (long long v = first; v < last && failures < 10; v += kDay) {
        if (inStdRange(v)) continue;
        const DT::Tm tm = DT().SetValue(v + 43200000).GetTm();
        if (!sameFields(tm, civilOf(v + 43200000, 0), v)) {
            ADD_FAILURE() << sameFields(tm, civilOf(v + 43200000, 0), v).message();
            ++failures;
        }
    }
    EXPECT_EQ(diag.count(), 0u);
    // The day before the first numbered day is out of range.
    EXPECT_EQ(DT().SetValue(first - 1).GetTm().mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);
}

}  // namespace
