// The Windows printf dialect on glibc: argument widths of %s/%c, size prefixes, %p.
#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

#include "platform/KrPlatform.h"

namespace {

std::wstring wfmt(const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    const wchar_t *out = nullptr;
    int n = KR_FormatScratchW(&out, format, args);
    va_end(args);
    if (n < 0) return L"<fail>";
    return std::wstring(out, static_cast<size_t>(n));
}

std::string nfmt(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const char *out = nullptr;
    int n = KR_FormatScratchA(&out, format, args);
    va_end(args);
    if (n < 0) return "<fail>";
    return std::string(out, static_cast<size_t>(n));
}

}  // namespace

TEST(WideFormat, StringAndCharConversionsFollowWindowsWidths) {
    EXPECT_EQ(wfmt(L"[%s]", L"wide"), L"[wide]");
    EXPECT_EQ(wfmt(L"[%c%c]", L'x', L'\u00e9'), L"[x\u00e9]");
    EXPECT_EQ(wfmt(L"[%hs|%S]", "narrow", "also"), L"[narrow|also]");
    EXPECT_EQ(wfmt(L"[%hc|%C]", 'a', 'b'), L"[a|b]");
    EXPECT_EQ(wfmt(L"[%ls|%ws|%lc]", L"l", L"w", L'c'), L"[l|w|c]");
    EXPECT_EQ(wfmt(L"[%-6s|%6s|%.2s]", L"ab", L"cd", L"efgh"), L"[ab    |    cd|ef]");
    EXPECT_EQ(wfmt(L"[%*s]", 5, L"ab"), L"[   ab]");
}

TEST(WideFormat, SizePrefixesAndPercent) {
    EXPECT_EQ(wfmt(L"%I64d %I64u %I32d %Id %%", (long long)-9000000000LL,
                   (unsigned long long)18000000000ULL, 7, (size_t)12),
              L"-9000000000 18000000000 7 12 %");
    EXPECT_EQ(wfmt(L"%d %5.1f %x %lld", -3, 2.25, 255, 1LL << 40), L"-3   2.2 ff 1099511627776");
    EXPECT_EQ(wfmt(L"100%% %s", L"sure"), L"100% sure");
}

TEST(WideFormat, PointerPrintsSixteenUpperCaseDigits) {
    void *p = reinterpret_cast<void *>(static_cast<uintptr_t>(0xABCDEF12ULL));
    EXPECT_EQ(wfmt(L"%p", p), L"00000000ABCDEF12");
    EXPECT_EQ(nfmt("<%p>", p), "<00000000ABCDEF12>");
    EXPECT_EQ(wfmt(L"%p", nullptr), L"0000000000000000");
}

TEST(WideFormat, LongOutputGrowsScratchWithoutLimit) {
    std::wstring big(100000, L'q');
    std::wstring out = wfmt(L"<%s>", big.c_str());
    ASSERT_EQ(out.size(), big.size() + 2);
    EXPECT_EQ(out.substr(1, big.size()), big);
}

TEST(WideFormat, BufferFunctionsReportTooSmall) {
    wchar_t buf[8];
    EXPECT_EQ(KR_swprintf(buf, 8, L"%s", L"abc"), 3);
    EXPECT_EQ(std::wstring(buf), L"abc");
    EXPECT_EQ(KR_swprintf(buf, 4, L"%s", L"abcdef"), -1);
    EXPECT_EQ(KR_swprintf(nullptr, 4, L"x"), -1);
}

TEST(NarrowFormat, WideArgumentsAndPrefixes) {
    EXPECT_EQ(nfmt("%s|%S|%ws|%hs", "n", L"w", L"ws", "hs"), "n|w|ws|hs");
    EXPECT_EQ(nfmt("%I64d", (long long)1 << 33), "8589934592");
    std::string big(5000, 'z');
    EXPECT_EQ(nfmt("%s!", big.c_str()), big + "!");
}
