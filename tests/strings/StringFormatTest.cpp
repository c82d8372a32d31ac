// Format / AppendFormat / FormatV of both widths, and the locale independence of AddDouble.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdarg>
#include <locale>
#include <string>

#include "Rows.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

// FormatV of either width on a copy of `s`, with a real va_list.
template <class S, class C>
S formatV(S s, C const *fmt, ...) {
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

TEST(FormatA, ReplacesAppendsTakesArgumentListsAndHasNoLengthLimit) {
    using A = CKrStringA;
    expectRows({SROW(A("old").Format("%d-%s-%.2f-%c", 42, "x", 1.5, 'z'), "42-x-1.50-z"),
                SROW(A("z").AppendFormat("|%05d", 7), "z|00007"),
                SROW(formatV(A("old"), "%s=%u", "n", 3u), "n=3"),
                SROW(A().Format("%I64d %lld", -(1LL << 40), 5LL), "-1099511627776 5"),
                SROW(A().Format("%S", L"wide"), "wide"),  // %S: a wide string in an 8-bit format
                SROW(A("old").Format(nullptr), ""), SROW(A("keep").AppendFormat(""), "keep")});

    // No length limit, and the string's own contents may be an argument.
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

TEST(FormatW, WindowsWideConventionsAndNoLengthLimit) {
    using W = CKrStringW;
    expectRows(
        {SROW(W().Format(L"%s|%hs|%c|%d", L"w\u00e9", "n", L'\u4e2d', -3), L"w\u00e9|n|\u4e2d|-3"),
         SROW(W(L"-3").AppendFormat(L"%ls%S", L"+", "x"), L"-3+x"),
         SROW(formatV(W(L"old"), L"%I64u/%s", 1ULL << 33, L"v"), L"8589934592/v"),
         SROW(W(L"old").Format(nullptr), L"")});

    const std::wstring big(70000, L'\u00e9');
    CKrStringW s;
    s.Format(L"%s.", big.c_str());
    EXPECT_EQ(s.GetLength(), big.size() + 1);
    EXPECT_EQ(s.GetLastChar(), L'.');

    CKrStringW self(L"ab");
    self.AppendFormat(L"-%s", self.GetString());
    EXPECT_EQ(self.GetStdString(), L"ab-ab");
}

TEST(FormatBoth, FormatterFailureLeavesThePreviousContents) {
    // A wide argument that the "C" locale cannot represent, or a format outside the dialect,
    // make the formatter fail.
    const wchar_t bad[] = {0xD800, 0};
    CKrStringA a("previous");
    a.Format("%ls", bad);
    a.AppendFormat("%ls", bad);
    EXPECT_EQ(a.GetStdString(), "previous");
    CKrStringW w(L"previous");
    w.Format(L"100%");
    w.AppendFormat(L"%hs%", "\xFF\xFE");
    EXPECT_EQ(w.GetStdString(), L"previous");
}

TEST(FormatBoth, AddDoubleIgnoresTheGlobalLocale) {
    const std::locale comma(std::locale::classic(), new CommaDecimal);
    const std::locale previous = std::locale::global(comma);
    CKrStringA a;
    a.AddDouble(1.25, 2);
    CKrStringW w;
    w.AddDouble(-0.5, 3);
    std::locale::global(previous);
    EXPECT_EQ(a.GetStdString(), "1.25");
    EXPECT_EQ(w.GetStdString(), L"-0.500");
}
