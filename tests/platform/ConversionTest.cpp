// KR_WChar2Char's buffer contract, the "C"-locale mbstowcs/wcstombs, case-insensitive compares.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"

using namespace std::string_literals;

// Each row: the text and length given, the conversion mode, the buffer size offered (0: no
// buffer, measure only), the result, and the bytes expected at the start of a buffer filled with
// 'x' beforehand (terminator included where one is written).
TEST(WChar2Char, BufferContractSurrogatesAndEightBitMode) {
    const wchar_t pair[] = {0xD83D, 0xDE00, 0}, lone[] = {0xDE00, L'a', 0xD800, 0};
    const struct {
        const wchar_t *text;
        int length;
        bool utf8;
        size_t bufSize;
        int result;
        std::string bytes;
    } cases[] = {
        {L"a\u00e9\u4e2d", -1, true, 0, 7, ""},  // 1 + 2 + 3 bytes + terminator
        {L"a\u00e9\u4e2d", -1, true, 16, 7, "a\xC3\xA9\xE4\xB8\xAD\0"s},
        {L"abcdef", 3, true, 8, 3, "abcx"},  // exactly those units, no terminator
        {L"abc", -1, true, 3, 0, ""},        // needs 4
        {nullptr, -1, true, 3, 0, ""},
        {L"abc", -2, true, 3, 0, ""},
        {pair, -1, true, 16, 5, "\xF0\x9F\x98\x80\0"s},
        {lone, -1, true, 16, 8, "\xEF\xBF\xBD\x61\xEF\xBF\xBD\0"s},  // U+FFFD a U+FFFD
        {L"\u00e9\u4e2dz", -1, false, 8, 4, "\xE9?z\0"s},            // above 255: '?'
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        char buf[16];
        std::memset(buf, 'x', sizeof buf);
        EXPECT_EQ(KR_WChar2Char(c.text, c.length, c.bufSize ? buf : nullptr, c.bufSize, c.utf8),
                  c.result);
        EXPECT_EQ(std::string(buf, c.bytes.size()), c.bytes);
    }
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
