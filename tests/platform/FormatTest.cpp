// The Windows printf dialect of the platform layer, both widths: argument widths of text,
// size prefixes, "%p", 8-bit text copied byte for unit, and formats that must fail at once.
#include <gtest/gtest.h>
#include <locale.h>
#include <malloc.h>

#include <chrono>
#include <climits>
#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <string>

#include "platform/KrPlatform.h"

namespace {

const std::wstring kFailW = L"<fail>";
const std::string kFailA = "<fail>";

std::wstring wfmt(const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    const wchar_t *out = nullptr;
    int n = KR_FormatScratchW(&out, format, args);
    va_end(args);
    if (n < 0) return out ? L"<fail with output>" : kFailW;
    return std::wstring(out, static_cast<size_t>(n));
}

std::string nfmt(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const char *out = nullptr;
    int n = KR_FormatScratchA(&out, format, args);
    va_end(args);
    if (n < 0) return out ? "<fail with output>" : kFailA;
    return std::string(out, static_cast<size_t>(n));
}

template <class S>
struct Case {
    S got, want;
    int line;
};
#define CASE(got, want) \
    { got, want, __LINE__ }

template <class S>
void expectCases(std::initializer_list<Case<S>> cases) {
    for (const auto &c : cases) EXPECT_EQ(c.got, c.want) << "case at line " << c.line;
}

}  // namespace

TEST(Format, WindowsDialectOfBothWidths) {
    void *p = reinterpret_cast<void *>(static_cast<uintptr_t>(0xABCDEF12ULL));
    expectCases<std::wstring>({
        CASE(wfmt(L"[%s|%c%c]", L"wide", L'x', L'\u00e9'), L"[wide|x\u00e9]"),
        CASE(wfmt(L"[%hs|%S|%hc|%C]", "narrow", "also", 'a', 'b'), L"[narrow|also|a|b]"),
        CASE(wfmt(L"[%ls|%ws|%lc]", L"l", L"w", L'c'), L"[l|w|c]"),
        CASE(wfmt(L"[%-6s|%6s|%.2s|%*s|%-*s]", L"ab", L"cd", L"efgh", 4, L"x", -3, L"y"),
             L"[ab    |    cd|ef|   x|y  ]"),
        CASE(wfmt(L"%I64d %I64u %I32d %Id %%", -9000000000LL, 18000000000ULL, 7, size_t(12)),
             L"-9000000000 18000000000 7 12 %"),
        CASE(wfmt(L"%d %5.1f %x %lld %05d %-4d| %+.3e %hhd", -3, 2.25, 255, 1LL << 40, 42, 7,
                  1234.5, 300),
             L"-3   2.2 ff 1099511627776 00042 7   | +1.234e+03 44"),
        CASE(wfmt(L"%*.*f|%.*d", 8, 2, 3.14159, -1, 5), L"    3.14|5"),  // negative precision: none
        CASE(wfmt(L"%p|%p|%20p", p, nullptr, p),
             L"00000000ABCDEF12|0000000000000000|    00000000ABCDEF12"),
        CASE(wfmt(L"[%s|%hs]", static_cast<const wchar_t *>(nullptr),
                  static_cast<const char *>(nullptr)),
             L"[(null)|(null)]"),
        CASE(wfmt(L"%Lf", 1.5L), L"1.500000"),
    });
    expectCases<std::string>({
        CASE(nfmt("%s|%S|%ws|%hs|%ls", "n", L"w", L"ws", "hs", L"ls"), "n|w|ws|hs|ls"),
        CASE(nfmt("%c%C%lc", 'a', L'b', L'c'), "abc"),
        CASE(nfmt("%I64d|%5.2s|%%<%p>", 1LL << 33, "xyz", p),
             "8589934592|   xy|%<00000000ABCDEF12>"),
    });
}

// Text of the other width is converted byte for unit in the "C" locale, not refused.
TEST(Format, EightBitTextCopiesByteForUnitInTheClassicLocale) {
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
    expectCases<std::wstring>({
        CASE(wfmt(L"name=%hs", "caf\xe9"), L"name=caf\u00e9"),
        CASE(wfmt(L"%S|%.3hs|%hc|%C", "\xff\x80", "\xe0\xe1\xe2\xe3", '\xe9', '\xfe'),
             L"\u00ff\u0080|\u00e0\u00e1\u00e2|\u00e9|\u00fe"),
    });
    expectCases<std::string>({
        CASE(nfmt("%S", L"caf\u00e9"), "caf\xe9"),
        CASE(nfmt("%C|%.2ls", L'\u00ff', L"\u00e0\u00e1\u00e2"), "\xff|\xe0\xe1"),
        // A unit beyond one byte has no 8-bit form in this locale.
        CASE(nfmt("%S", L"\u4e2d"), kFailA),
        CASE(nfmt("%C", L'\u0100'), kFailA),
    });
}

// In a UTF-8 locale the locale's own conversion applies, and broken text fails the call.
TEST(Format, OtherLocalesUseTheirOwnConversion) {
    locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (!utf8) GTEST_SKIP() << "no C.UTF-8 locale";
    locale_t previous = uselocale(utf8);
    std::wstring const wide = wfmt(L"%hs|%.1hs", "caf\xc3\xa9", "\xc3\xa9x");
    std::wstring const broken = wfmt(L"%hs", "\xff");
    std::string const narrow = nfmt("%S|%.1S", L"\u00e9", L"\u00e9");
    uselocale(previous);
    freelocale(utf8);
    EXPECT_EQ(wide, L"caf\u00e9|\u00e9");
    EXPECT_EQ(broken, kFailW);
    EXPECT_EQ(narrow, "\xc3\xa9|");  // a precision never cuts a character in two
}

// Formats outside the dialect fail at once, without output and without growing a buffer.  Each
// used to send the wide formatter into doubling its buffer up to gigabytes.
TEST(Format, BadFormatsFailAtOnce) {
    auto const began = std::chrono::steady_clock::now();
    const wchar_t *const wide[] = {L"100%",
                                   L"%",
                                   L"%-",
                                   L"%5",
                                   L"%.",
                                   L"%l",
                                   L"%I64",
                                   L"%y",
                                   L"%n",
                                   L"%1$d",
                                   L"%2147483648d",
                                   L"%.2147483648f",
                                   L"%99999999999999999999d",
                                   L"%hhs",
                                   L"%lls",
                                   L"%Ld",
                                   L"%jc",
                                   L"%zf",
                                   L"%lp",
                                   L"%\u0164"};
    for (const wchar_t *format : wide) {
        int sink = 0;
        EXPECT_EQ(wfmt(format, 1, &sink), kFailW) << testing::PrintToString(std::wstring(format));
    }
    const char *const narrow[] = {"100%", "%y", "%n", "%1$s", "%2147483648d", "%hhs", "%\xc4"};
    for (const char *format : narrow) {
        int sink = 0;
        EXPECT_EQ(nfmt(format, 1, &sink), kFailA) << format;
    }
    // A '*' width of INT_MIN has no magnitude.
    EXPECT_EQ(wfmt(L"%*d", INT_MIN, 1), kFailW);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(2));
}

TEST(Format, LongResultsHaveNoFixedLimit) {
    std::wstring big(100000, L'q');
    std::wstring out = wfmt(L"<%s>%100000d", big.c_str(), 1);
    ASSERT_EQ(out.size(), 2 * big.size() + 2);
    EXPECT_EQ(out.substr(1, big.size()), big);
    EXPECT_EQ(out.back(), L'1');
    std::string narrowBig(5000, 'z');
    EXPECT_EQ(nfmt("%s!", narrowBig.c_str()), narrowBig + "!");
    KR_FormatScratchTrim();
    EXPECT_EQ(wfmt(L"%d", 5), L"5");  // usable after a trim
}

// A long result is not kept for the rest of the thread's life: the scratch goes at the next call
// or at KR_FormatScratchTrim.  Counted through the allocator's mmapped bytes (where large blocks
// live); skipped where the allocator does not report them (sanitizer builds).
TEST(Format, LongResultLeavesNoScratchBehind) {
    size_t const units = size_t(4) << 20;
    std::wstring const big(units, L'x');
    auto mapped = [] { return mallinfo2().hblkhd; };
    size_t const base = mapped();
    ASSERT_EQ(wfmt(L"%s", big.c_str()).size(), units);
    if (mapped() < base + units * sizeof(wchar_t))
        GTEST_SKIP() << "allocator reports no mmapped blocks";
    KR_FormatScratchTrim();
    EXPECT_LT(mapped(), base + units);  // a quarter of the scratch: none of it is left
    ASSERT_EQ(wfmt(L"%s", big.c_str()).size(), units);
    EXPECT_EQ(wfmt(L"%d", 1), L"1");
    EXPECT_LT(mapped(), base + units);
}

TEST(Format, BufferFunctions) {
    wchar_t wbuf[8];
    EXPECT_EQ(KR_swprintf(wbuf, 8, L"%s", L"abc"), 3);
    EXPECT_EQ(std::wstring(wbuf), L"abc");
    EXPECT_EQ(KR_swprintf(wbuf, 4, L"%s", L"abcd"), -1);  // no room for the terminator
    EXPECT_EQ(std::wstring(wbuf), L"");
    EXPECT_EQ(KR_swprintf(wbuf, 8, L"100%"), -1);
    EXPECT_EQ(KR_swprintf(nullptr, 4, L"x"), -1);

    auto snprintfA = [](char *buffer, size_t count, const char *format, ...) {
        va_list args;
        va_start(args, format);
        int n = KR_vsnprintf(buffer, count, format, args);
        va_end(args);
        return n;
    };
    char buf[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(snprintfA(buf, sizeof buf, "%d", 123456), 6);  // C99: the full length
    EXPECT_STREQ(buf, "123");
    EXPECT_EQ(snprintfA(nullptr, 0, "%s", "measure"), 7);
    EXPECT_EQ(snprintfA(buf, sizeof buf, "%y"), -1);
    EXPECT_STREQ(buf, "");
}
