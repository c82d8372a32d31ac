// Format / AppendFormat / FormatV of both widths, and the locale independence of AddDouble.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdarg>
#include <locale>
#include <string>

#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

CKrStringA &formatVA(CKrStringA &s, char const *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    s.FormatV(fmt, args);
    va_end(args);
    return s;
}

CKrStringW &formatVW(CKrStringW &s, wchar_t const *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    s.FormatV(fmt, args);
    va_end(args);
    return s;
}

struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

}  // namespace

TEST(FormatA, ReplacesAppendsAndTakesArgumentLists) {
    CKrStringA s("old");
    s.Format("%d-%s-%.2f-%c", 42, "x", 1.5, 'z');
    EXPECT_EQ(s.GetStdString(), "42-x-1.50-z");
    s.AppendFormat("|%05d", 7);
    EXPECT_EQ(s.GetStdString(), "42-x-1.50-z|00007");
    formatVA(s, "%s=%u", "n", 3u);
    EXPECT_EQ(s.GetStdString(), "n=3");
    s.Format("%I64d %lld", static_cast<long long>(-1) << 40, 5LL);
    EXPECT_EQ(s.GetStdString(), "-1099511627776 5");
    s.Format("%S", L"wide");  // %S takes a wide string in an 8-bit format
    EXPECT_EQ(s.GetStdString(), "wide");
    s.Format(nullptr);
    EXPECT_TRUE(s.IsEmpty());
    s = "keep";
    s.AppendFormat("");
    EXPECT_EQ(s.GetStdString(), "keep");
}

TEST(FormatA, NoLengthLimitAndOwnContentsAsArgument) {
    const std::string big(100000, 'q');
    CKrStringA s;
    s.Format("<%s>", big.c_str());
    ASSERT_EQ(s.GetLength(), big.size() + 2);
    EXPECT_EQ(s.GetStdString(), "<" + big + ">");

    CKrStringA self("ab");
    self.Format("%s|%s", self.GetString(), self.GetString());
    EXPECT_EQ(self.GetStdString(), "ab|ab");
    self.AppendFormat("%s", self.GetString());
    EXPECT_EQ(self.GetStdString(), "ab|abab|ab");
}

TEST(FormatA, FormatterFailureLeavesThePreviousContents) {
    // A wide argument that the "C" locale cannot represent makes the formatter fail.
    const wchar_t bad[] = {0xD800, 0};
    CKrStringA s("previous");
    s.Format("%ls", bad);
    EXPECT_EQ(s.GetStdString(), "previous");
    s.AppendFormat("%ls", bad);
    EXPECT_EQ(s.GetStdString(), "previous");
}

TEST(FormatW, WindowsWideConventions) {
    CKrStringW s;
    s.Format(L"%s|%hs|%c|%d", L"w\u00e9", "n", L'\u4e2d', -3);
    EXPECT_EQ(s.GetStdString(), L"w\u00e9|n|\u4e2d|-3");
    s.AppendFormat(L"%ls%S", L"+", "x");
    EXPECT_EQ(s.GetStdString(), L"w\u00e9|n|\u4e2d|-3+x");
    formatVW(s, L"%I64u/%s", static_cast<unsigned long long>(1) << 33, L"v");
    EXPECT_EQ(s.GetStdString(), L"8589934592/v");

    const std::wstring big(70000, L'\u00e9');
    s.Format(L"%s.", big.c_str());
    EXPECT_EQ(s.GetLength(), big.size() + 1);
    EXPECT_EQ(s.GetLastChar(), L'.');

    CKrStringW self(L"ab");
    self.AppendFormat(L"-%s", self.GetString());
    EXPECT_EQ(self.GetStdString(), L"ab-ab");
    self.Format(nullptr);
    EXPECT_TRUE(self.IsEmpty());
}

TEST(FormatW, FormatterFailureLeavesThePreviousContents) {
    // Bytes that are not text in the "C" locale cannot be widened by "%hs".
    CKrStringW s(L"previous");
    s.Format(L"%hs", "\xFF\xFE");
    EXPECT_EQ(s.GetStdString(), L"previous");
    s.AppendFormat(L"%hs", "\xFF\xFE");
    EXPECT_EQ(s.GetStdString(), L"previous");
}

TEST(FormatBoth, AddDoubleIgnoresTheGlobalLocale) {
    std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    CKrStringA a;
    a.AddDouble(1.25, 2);
    CKrStringW w;
    w.AddDouble(-0.5, 3);
    std::locale::global(previous);
    EXPECT_EQ(a.GetStdString(), "1.25");
    EXPECT_EQ(w.GetStdString(), L"-0.500");
}
