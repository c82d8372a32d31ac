// Number parsing keeps the C runtime's quirks (always true, wide form leaves the target alone on
// failure); joining; the placeholders never touch their outputs.
#include <gtest/gtest.h>

#include "strings/CKrStringUtils.h"

TEST(ToNumber, EightBitFollowsAtol) {
    int i = 99;
    unsigned int u = 99;
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringA("12abc"), i));
    EXPECT_EQ(i, 12);
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringA("abc"), i));
    EXPECT_EQ(i, 0);
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringA("  -42x"), i));
    EXPECT_EQ(i, -42);
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringA("-1"), u));
    EXPECT_EQ(u, 0xFFFFFFFFu);
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringA(""), u));
    EXPECT_EQ(u, 0u);
}

TEST(ToNumber, WideLeavesTargetWhenNothingScans) {
    int i = 77;
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringW(L"abc"), i));
    EXPECT_EQ(i, 77);
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringW(L" 31 rest"), i));
    EXPECT_EQ(i, 31);
    unsigned int u = 5;
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringW(L""), u));
    EXPECT_EQ(u, 5u);
    EXPECT_TRUE(CKrStringUtils::ToNumber(CKrStringW(L"4000000000"), u));
    EXPECT_EQ(u, 4000000000u);
}

TEST(Join, SeparatorsOnlyBetweenNeighbours) {
    EXPECT_EQ(CKrStringUtils::Join({}, CKrStringW(L", ")).GetStdString(), L"");
    EXPECT_EQ(CKrStringUtils::Join({CKrStringW(L"one")}, CKrStringW(L"--")).GetStdString(), L"one");
    EXPECT_EQ(CKrStringUtils::Join({CKrStringW(L"a"), CKrStringW(L""), CKrStringW(L"c")},
                                   CKrStringW(L"/")).GetStdString(),
              L"a//c");
    EXPECT_EQ(CKrStringUtils::Join({CKrStringW(L"a"), CKrStringW(L"b")}, CKrStringW()).GetStdString(),
              L"ab");
}

TEST(Placeholders, DoNothing) {
    EXPECT_STREQ(CKrStringUtils::GuessEncoding("abc", 3), "");
    EXPECT_STREQ(CKrStringUtils::GuessEncoding(CKrStringW(L"abc")), "");
    CKrStringW wide(L"keep");
    CKrStringA narrow("keep");
    EXPECT_FALSE(CKrStringUtils::Binary2Wide("xy", 2, wide, "UTF-8"));
    EXPECT_FALSE(CKrStringUtils::Wide2Binary(L"xy", narrow, "UTF-8"));
    EXPECT_EQ(wide.GetStdString(), L"keep");
    EXPECT_EQ(narrow.GetStdString(), "keep");
}
