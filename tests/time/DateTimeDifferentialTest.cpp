// Differential test of the date-time calendar against the C++20 civil calendar: over a million
// values from the year -4000 to 9999 in four zones, the own calendar path must agree with
// std::chrono::year_month_day field for field, and composing the broken-down value again must
// give the same value wherever that is exact (own path both ways, or a zone without daylight
// saving, or outside a repeated hour).  A sweep over every own-path day checks both directions.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <random>
#include <sstream>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "time/TimeTestSupport.h"

namespace {

using DT = CKrDateTime;
using namespace std::chrono;

constexpr long long kDay = 86400000;
constexpr int kValuesPerZone = 1 << 18;  // 4 zones: 1048576 random values
// year, month (0-based), day, hour, minute, second, millisecond, weekday, day of year (0-based)
using Fields = std::array<long long, 9>;

Fields civilOf(long long ms, long long offsetSeconds) {
    const long long local = ms + offsetSeconds * 1000;
    const long long days = local / kDay - (local % kDay < 0 ? 1 : 0);
    const long long tod = local - days * kDay;
    const sys_days sd{std::chrono::days{days}};
    const year_month_day ymd{sd};
    return {static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()) - 1,
            static_cast<unsigned>(ymd.day()), tod / 3600000, tod / 60000 % 60, tod / 1000 % 60,
            tod % 1000, weekday{sd}.c_encoding(),
            (sd - sys_days{ymd.year() / January / 1}).count()};
}

bool inStdRange(long long v) { return v >= 0 && v < 2147483647000LL; }

// Adds a failure (and counts it) when the fields of `v` broken down in the zone `offset` seconds
// east of UTC differ from the civil calendar's.
void expectCivil(const DT::Tm &tm, long long v, long long offset, const char *what, int &failures) {
    const Fields got{tm.year, tm.mon, tm.mday, tm.hour, tm.min,
                     tm.sec, tm.msec, tm.GetWeekDay(), tm.yday};
    const Fields want = civilOf(v, offset);
    if (got == want) return;
    std::ostringstream s;
    for (size_t i = 0; i < got.size(); ++i) s << (i ? "," : "") << got[i] << "/" << want[i];
    ADD_FAILURE() << what << ", value " << v << ": got/expected " << s.str();
    ++failures;
}

void runZone(const char *zoneName, bool hasDaylightSaving, unsigned seed) {
    ZoneScope zone(zoneName);
    DiagCapture diag;
    const long long stdOffset = DT::TimeZone(DT::Local).GetOffset();
    // A fixed zone other than the local standard one (which would mean local time).
    const DT::TimeZone fixed(stdOffset == -18000 ? DT::UTC_P9_30 : DT::UTC_M5);
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
        const DT::Tm tm = at(v).GetTm();
        if (!inStdRange(v)) {
            ++ownChecked;
            expectCivil(tm, v, stdOffset, zoneName, failures);
        }
        // A fixed zone: the runtime's gmtime inside the range, the own path outside it (or where
        // the shifted time goes negative); both must agree with the civil calendar.
        expectCivil(at(v).GetTm(fixed), v, fixed.GetOffset(), "fixed zone", failures);
        // Composing again.
        bool exact = !inStdRange(v) && (tm.year < 1970 || tm.year > 2037);
        if (!hasDaylightSaving)
            exact = inStdRange(v) || tm.year < 1970 || tm.year > 2037 || stdOffset <= 0;
        else if (inStdRange(v) && tm.year <= 2037)
            exact = at(v - 3600000).GetHour() != tm.hour && at(v + 3600000).GetHour() != tm.hour;
        if (exact) {
            ++roundTrips;
            const long long back = DT(tm).GetValue();
            if (back != v) {
                ADD_FAILURE() << zoneName << ": " << v << " composed back as " << back;
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

// Every day from the first numbered day to the year 10000 (years 1970..2037 belong to the
// runtime), with a time of day that walks through hours, minutes, seconds and milliseconds, in a
// zone with a half-hour offset: the fields compose to the civil calendar's value, and that value
// breaks down to the same fields, weekday and day of year included.
TEST(DateTimeDifferential, EveryOwnPathDayBothWays) {
    constexpr long long kKolkata = 19800;
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
        if (!inStdRange(want)) expectCivil(at(want).GetTm(), want, kKolkata, "every day", failures);
        ++checked;
    }
    EXPECT_GT(checked, 5000000);
    EXPECT_EQ(diag.count(), 0u);
    // The millisecond before the first numbered day is out of range.
    EXPECT_EQ(at(civilMs(-4713, 11, 24, 0, 0, 0, 0, kKolkata) - 1).GetTm().mon, DT::Inv_Month);
    EXPECT_EQ(diag.assertionsContaining(L"JDN out of range"), 1u);
}

}  // namespace
