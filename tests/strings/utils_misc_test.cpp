// Number parsing keeps the C runtime's quirks (always true, wide form leaves the target alone on
// failure); joining.
#include <gtest/gtest.h>

#include <vector>

#include "strings/CKrStringUtils.h"

namespace {
// Parses `text` into a target that starts at `start`; the result must be true whatever happens.
template <class T, class S>
T parse(S const &text, T start) {
    EXPECT_TRUE(CKrStringUtils::ToNumber(text, start));
    return start;
}
}  // namespace

TEST(ToNumber, EightBitFollowsAtolWideKeepsTargetWhenNothingScans) {
    using A = CKrStringA;
    using W = CKrStringW;
    EXPECT_EQ(parse(A("12abc"), 99), 12);
    EXPECT_EQ(parse(A("abc"), 99), 0);
    EXPECT_EQ(parse(A("  -42x"), 99), -42);
    EXPECT_EQ(parse(A("-1"), 99u), 0xFFFFFFFFu);
    EXPECT_EQ(parse(A(""), 99u), 0u);
    EXPECT_EQ(parse(W(L"abc"), 77), 77);
    EXPECT_EQ(parse(W(L" 31 rest"), 77), 31);
    EXPECT_EQ(parse(W(L""), 5u), 5u);
    EXPECT_EQ(parse(W(L"4000000000"), 5u), 4000000000u);
}

TEST(Join, SeparatorsOnlyBetweenNeighbours) {
    auto join = [](std::vector<CKrStringW> const &parts, wchar_t const *separator) {
        return CKrStringUtils::Join(parts, CKrStringW(separator)).GetStdString();
    };
    EXPECT_EQ(join({}, L", "), L"");
    EXPECT_EQ(join({L"one"}, L"--"), L"one");
    EXPECT_EQ(join({L"a", L"", L"c"}, L"/"), L"a//c");
    EXPECT_EQ(join({L"a", L"b"}, nullptr), L"ab");
}
