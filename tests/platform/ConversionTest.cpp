// KR_WChar2Char's buffer contract, the "C"-locale mbstowcs/wcstombs, case-insensitive compares.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"

TEST(WChar2Char, MeasuresThenConvertsIncludingTerminator) {
    const wchar_t text[] = L"a\u00e9\u4e2d";  // 1 + 2 + 3 bytes + terminator
    EXPECT_EQ(KR_WChar2Char(text, -1, nullptr, 0, true), 7);
    char buf[16];
    std::memset(buf, 'x', sizeof buf);
    ASSERT_EQ(KR_WChar2Char(text, -1, buf, sizeof buf, true), 7);
    EXPECT_STREQ(buf, "a\xC3\xA9\xE4\xB8\xAD");
}

TEST(WChar2Char, ExplicitLengthConvertsExactlyThoseUnits) {
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(KR_WChar2Char(L"abcdef", 3, buf, sizeof buf, true), 3);
    EXPECT_EQ(std::string(buf, 4), "abcx");
}

TEST(WChar2Char, TooSmallBufferAndBadArgumentsFail) {
    char buf[3];
    EXPECT_EQ(KR_WChar2Char(L"abc", -1, buf, 3, true), 0);  // needs 4
    EXPECT_EQ(KR_WChar2Char(nullptr, -1, buf, 3, true), 0);
    EXPECT_EQ(KR_WChar2Char(L"abc", -2, buf, 3, true), 0);
}

TEST(WChar2Char, SurrogatesCombineOrBecomeReplacement) {
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    char buf[16];
    ASSERT_EQ(KR_WChar2Char(pair, -1, buf, sizeof buf, true), 5);
    EXPECT_STREQ(buf, "\xF0\x9F\x98\x80");
    const wchar_t lone[] = {0xDE00, L'a', 0xD800, 0};
    ASSERT_EQ(KR_WChar2Char(lone, -1, buf, sizeof buf, true), 8);
    EXPECT_STREQ(buf,
                 "\xEF\xBF\xBD"
                 "a"
                 "\xEF\xBF\xBD");
}

TEST(WChar2Char, EightBitModeReplacesUnitsAbove255) {
    char buf[8];
    ASSERT_EQ(KR_WChar2Char(L"\u00e9\u4e2dz", -1, buf, sizeof buf, false), 4);
    EXPECT_STREQ(buf, "\xE9?z");
}

TEST(LocaleShims, ClassicLocaleCopiesBytesAndUnitsOneForOne) {
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
    wchar_t wide[8];
    std::fill(std::begin(wide), std::end(wide), L'?');
    EXPECT_EQ(KR_mbstowcs(wide, "a\xE9\xFF", 8), 3u);
    EXPECT_EQ(std::wstring(wide, 5), (std::wstring{L'a', 0xE9, 0xFF, 0, L'?'}));
    EXPECT_EQ(KR_mbstowcs(nullptr, "abcd", 0), 4u);

    char narrow[8] = {};
    EXPECT_EQ(KR_wcstombs(narrow, L"a\u00e9", 8), 2u);
    EXPECT_STREQ(narrow, "a\xE9");
    EXPECT_EQ(KR_wcstombs(narrow, L"a\u4e2d", 8), static_cast<size_t>(-1));
    EXPECT_EQ(KR_wcstombs(nullptr, L"abc", 0), 3u);
    // A count that stops before the end leaves the output unterminated, like wcstombs.
    std::memset(narrow, 'x', sizeof narrow);
    EXPECT_EQ(KR_wcstombs(narrow, L"abcdef", 3), 3u);
    EXPECT_EQ(narrow[3], 'x');
}

TEST(CaseInsensitive, CompareLowerCasedCharacters) {
    EXPECT_EQ(KR_stricmp("HeLLo", "hello"), 0);
    EXPECT_LT(KR_stricmp("abc", "ABD"), 0);
    EXPECT_GT(KR_stricmp("abcd", "ABC"), 0);
    EXPECT_EQ(KR_wcsicmp(L"MiXeD", L"mixed"), 0);
    EXPECT_LT(KR_wcsicmp(L"", L"a"), 0);
    EXPECT_EQ(KR_wcsicmp(nullptr, L""), 0);
}
