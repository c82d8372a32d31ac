// CKrTimeSpan: unit factories, totals (not remainders), wrapping arithmetic, the inverted
// operator!, and Format with its diagnostics.
#include <gtest/gtest.h>

#include <climits>

#include "common/DiagCapture.h"
#include "strings/CKrStringW.h"
#include "time/KrTimeSpan.h"

namespace {

using TS = CKrTimeSpan;

TEST(TimeSpan, FactoriesAndMixedUnitConstructor) {
    struct {
        TS span;
        long long ms;
    } cases[] = {
        {TS::Millisecond(), 1},
        {TS::Milliseconds(-7), -7},
        {TS::Second(), 1000},
        {TS::Seconds(90), 90000},
        {TS::Minute(), 60000},
        {TS::Minutes(-2), -120000},
        {TS::Hour(), 3600000},
        {TS::Hours(25), 90000000},
        {TS::Day(), 86400000},
        {TS::Days(-3), -259200000},
        {TS::Week(), 604800000},
        {TS::Weeks(2), 1209600000},
        // Units are not limited to their range and may be mixed in sign.
        {TS(1, -30, 0, 0), 1800000},
        {TS(0, 0, 61, 1500), 62500},
        {TS(0, 0, 0, LLONG_MIN), LLONG_MIN},
    };
    for (const auto &c : cases) EXPECT_EQ(c.span.GetValue(), c.ms);
}

TEST(TimeSpan, GettersAreTotalsTruncatedTowardZero) {
    const TS ninetyMinutes = TS::Minutes(90);
    EXPECT_EQ(ninetyMinutes.GetHours(), 1);
    EXPECT_EQ(ninetyMinutes.GetMinutes(), 90);
    EXPECT_EQ(TS::Minutes(-90).GetHours(), -1);  // toward zero, not floor
    EXPECT_EQ(TS(-59999LL).GetMinutes(), 0);
    EXPECT_EQ(TS(-1999LL).GetSeconds(), -1);
    EXPECT_EQ(TS::Hours(36).GetDays(), 1);
    EXPECT_EQ(TS::Days(-14).GetWeeks(), -2);
    // The 32-bit getters cut the minute count to 32 bits first.
    const long long minutes = (1LL << 32) + 120;
    EXPECT_EQ(TS::Minutes(minutes).GetMinutes(), 120);
    EXPECT_EQ(TS::Minutes(minutes).GetHours(), 2);
}

TEST(TimeSpan, ArithmeticModifyingAndConstFormsWrapping) {
    TS a = TS::Hour();
    a.Add(TS::Minute()).Subtract(TS::Second()).Multiply(-2);
    EXPECT_EQ(a.GetValue(), -2 * (3600000 + 60000 - 1000));
    const TS c = TS::Seconds(10);
    EXPECT_EQ(c.Add(TS::Seconds(5)).GetValue(), 15000);
    EXPECT_EQ(c.Subtract(TS::Seconds(15)).GetValue(), -5000);
    EXPECT_EQ(c.Multiply(4).GetValue(), 40000);
    EXPECT_EQ(c.Negate().GetValue(), -10000);
    EXPECT_EQ(c.GetValue(), 10000);  // const forms leave the operand alone
    EXPECT_EQ(TS(-7LL).Abs().GetValue(), 7);
    TS n = TS::Seconds(3);
    TS &ref = -n;  // unary minus negates in place and returns the same object
    EXPECT_EQ(&ref, &n);
    EXPECT_EQ(n.GetValue(), -3000);
    // Overflow wraps (two's complement) instead of trapping.
    EXPECT_EQ(TS(LLONG_MAX).Add(TS(1LL)).GetValue(), LLONG_MIN);
    EXPECT_EQ(TS(LLONG_MIN).Multiply(-1).GetValue(), LLONG_MIN);
    EXPECT_EQ(TS(LLONG_MIN).Negate().GetValue(), LLONG_MIN);
    EXPECT_EQ(TS(LLONG_MIN).Abs().GetValue(), LLONG_MIN);
    const unsigned long long weekMs = 168ULL * 3600000ULL;
    EXPECT_EQ(TS::Weeks(LLONG_MAX).GetValue(), static_cast<long long>(weekMs * LLONG_MAX));
}

TEST(TimeSpan, PredicatesAndInvertedNot) {
    EXPECT_TRUE(TS(0LL).IsNull() && TS(1LL).IsPositive() && TS(-1LL).IsNegative());
    EXPECT_FALSE(TS(0LL).IsPositive() || TS(0LL).IsNegative() || TS(-1LL).IsNull());
    EXPECT_TRUE(TS::Hours(-2).IsLongerThan(TS::Hour()));
    EXPECT_FALSE(TS::Hour().IsLongerThan(TS::Hours(-1)));
    EXPECT_TRUE(TS::Hour().IsShorterThan(TS::Hours(-1)));  // equal magnitude counts as shorter
    EXPECT_TRUE(TS(LLONG_MIN).IsLongerThan(TS(LLONG_MAX)));
    // operator! is true when the span is NOT zero.
    EXPECT_FALSE(!TS(0LL));
    EXPECT_TRUE(!TS::Minute() && !TS(-1LL));
}

TEST(TimeSpan, FormatFieldsAreTotals) {
    struct {
        TS span;
        const wchar_t *format, *expected;
    } cases[] = {
        {TS(1, 1, 0, 0), L"%H:%M:%S", L"01:61:3660"},
        {TS::Hours(36), L"%D days", L"1 days"},
        {TS::Days(15), L"%E week(s), %D days", L"2 week(s), 15 days"},
        {TS(5LL), L"%l", L"005"},
        {TS(4294967296LL), L"%l", L"000"},  // low 32 bits
        {TS(-5LL), L"%l", L"-05"},
        {TS::Seconds(7), L"%S.%l", L"07.7000"},
        {TS::Minutes(-5), L"%M", L"-5"},
        {TS(0LL), L"100%%", L"100%"},
        {TS(0LL), L"plain text", L"plain text"},
        {TS::Hours(2), L"%H%", L"02"},                 // a trailing '%' ends the walk
        {TS::Seconds((1LL << 32) + 3), L"%S", L"03"},  // seconds print as 32-bit numbers
    };
    for (const auto &c : cases) {
        DiagCapture diag;
        EXPECT_STREQ(c.span.Format(c.format).GetString(), c.expected) << "format " << c.format;
        EXPECT_EQ(diag.count(), 0u);
    }
}

TEST(TimeSpan, FormatDiagnostics) {
    DiagCapture diag;
    EXPECT_STREQ(TS::Hour().Format(L"[%Q]").GetString(), L"[Q]");
    ASSERT_EQ(diag.count(), 1u);
    EXPECT_EQ(diag.assertionsContaining(L"invalid format character"), 1u);
    EXPECT_EQ(diag.records()[0].source, L"time/KrTimeSpan");
    diag.clear();
    EXPECT_STREQ(TS::Hour().Format(nullptr).GetString(), L"");
    EXPECT_STREQ(TS::Hour().Format(L"").GetString(), L"");
    EXPECT_EQ(diag.assertionsContaining(L"NULL format in CKrTimeSpan::Format"), 2u);
}

}  // namespace
