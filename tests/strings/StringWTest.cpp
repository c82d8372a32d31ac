// What only CKrStringW has: its int arguments, byte copies without the locale, Count and Clear,
// QString units and the UTF-8 conversion.  The shared members are covered over both classes in
// StringTest.cpp.
#include <gtest/gtest.h>

#include <QString>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <unordered_set>

#include "Rows.h"
#include "strings/CKrStringW.h"

namespace {
std::wstring std_(CKrStringW const &s) { return s.GetStdString(); }
using W = CKrStringW;
// The wide class keeps its int search results and counts.
static_assert(std::is_same_v<decltype(W().Find(L"x")), int>);
static_assert(std::is_same_v<decltype(W().Replace(L"x", L"y")), int>);
static_assert(std::is_same_v<decltype(W().Remove(L'x')), int>);

// True when f throws std::range_error, which must then say "bad conversion".
template <class F>
bool throwsBadConversion(F &&f) {
    try {
        f();
    } catch (std::range_error const &e) {
        EXPECT_STREQ(e.what(), "bad conversion");
        return true;
    }
    return false;
}
}  // namespace

TEST(StringW, EightBitCharacterAndCopyOutWithoutLocale) {
    // One 8-bit character goes through mbstowcs: byte for unit in the "C" locale.
    expectRows({SROW(W(L"old") = '\xFC', L"\u00fc"), SROW(W(L"old") = 'a', L"a")});

    // Units above 0xFF become '?'; '#' marks bytes that must stay untouched.
    struct Case {
        wchar_t const *text;
        int size;
        int64_t ret;
        std::string buf;
    } const cases[] = {
        {L"\u00ff\u0100", 10, 2, std::string("\xFF?\0#", 4)},
        {L"abcdef", 4, 3, std::string("abc\0#", 5)},
        {L"abc", 0, 0, "#"},
        {L"abc", -3, 0, "#"},  // a negative size is taken as 0
    };
    for (auto const &c : cases) {
        char buf[10];
        std::memset(buf, '#', sizeof buf);
        EXPECT_EQ(W(c.text).CopyToBufferA(buf, c.size), c.ret) << c.size;
        EXPECT_EQ(std::string(buf, c.buf.size()), c.buf) << c.size;
    }
    EXPECT_EQ(W(L"abc").CopyToBufferA(nullptr, 4), 0);

    wchar_t wbuf[6];
    std::wmemset(wbuf, L'#', 6);
    EXPECT_EQ(W(L"abcdef").CopyToBufferW(wbuf, 6), 5u);
    EXPECT_EQ(std::wstring(wbuf), L"abcde");
    EXPECT_EQ(W(L"ab").CopyToBufferW(wbuf, 1), 0u);
    EXPECT_EQ(wbuf[0], L'\0');
    EXPECT_EQ(W(L"ab").CopyToBufferW(wbuf, -1), 0u);
    EXPECT_EQ(W(L"ab").CopyToBufferW(nullptr, 4), 0u);
}

// The int arguments of the wide interface: a negative value is widened to a huge unsigned one.
TEST(StringW, NegativeIntArgumentsCountAndClear) {
    const W s(L"abcabc");
    expectRows({SROW(W(L"abc").DeleteLeft(-1), L""), SROW(W(L"abc").DeleteRight(-2), L""),
                SROW(W(L"abc").DeleteLeft(1), L"bc"), SROW(W(L"abc").DeleteRight(1), L"ab")});
    expectRows({NROW(s.Find(L"bc", -1), -1), NROW(s.Find(L"bc", 2), 4),
                NROW(s.FindNoCase(L"BC", -2), -1), NROW(s.FindNoCase(L'C', 3), 5),
                NROW(s.FindNoCase(L'C', -1), -1), NROW(s.Count(L'a'), 2), NROW(s.Count(L'z'), 0)});
    W r(s);
    r.ReplaceAt(-1, 2, L"X");
    r.ReplaceAt(1, -1, L"X");
    EXPECT_EQ(std_(r), L"abcabc");
    const size_t capacity = r.GetBufferLength();
    r.Preallocate(-5);  // ignored, no exception
    EXPECT_EQ(r.GetBufferLength(), capacity);
    r.Preallocate(100);
    EXPECT_GE(r.GetBufferLength(), 100u);
    r.Clear();
    EXPECT_TRUE(r.IsEmpty());
    EXPECT_GE(r.GetBufferLength(), 100u);
}

// The full acceptance rules are compared with the standard converter by the fuzz target
// utf8_std (its corpus holds the boundary cases); these rows state the contract itself.
TEST(StringW, Utf8RefusesMalformedTextWithBadConversionAndNeverDropsATail) {
    for (std::string const bad : {"\xFF", "ab\xC3", "\xC0\xAF", "\xF4\x90\x80\x80"})
        EXPECT_TRUE(throwsBadConversion([&] { W::FromStdStringUtf8(bad); })) << bad.size();
    const std::wstring badUnits[] = {std::wstring(1, wchar_t(0xD800)),
                                     std::wstring(L"ab") + wchar_t(0xDC00)};
    for (auto const &u : badUnits) {
        W w(u);
        EXPECT_TRUE(throwsBadConversion([&] { w.ToStdStringUtf8(); }));
    }
    // Embedded zeros convert like any other character.
    const std::string zero("a\0\xC3\xA9", 4);
    EXPECT_EQ(W::FromStdStringUtf8(zero).GetStdString(), std::wstring(L"a\0\u00e9", 3));
    EXPECT_EQ(W(std::wstring(L"a\0\u00e9", 3)).ToStdStringUtf8(), zero);
}

TEST(StringW, QStringUnitsAreCopiedOneForOne) {
    const char16_t units[] = {u'a', 0xD83D, 0xDE00, 0xE9};
    const std::wstring wide(std::begin(units), std::end(units));  // a pair stays two units
    QString q(reinterpret_cast<QChar const *>(units), 4);
    CKrStringW w(q);
    EXPECT_EQ(std_(w), wide);
    EXPECT_EQ(w.GetQString(), q);
    EXPECT_EQ(w.ToStdStringUtf8(), "a\xF0\x9F\x98\x80\xC3\xA9");
    w = QString::fromUtf8("x");
    w += q;
    w.AddString(QString::fromUtf8("!"));
    EXPECT_EQ(std_(w), L"x" + wide + L"!");
}

TEST(StringW, HashAgreesWithEquality) {
    // Characters after an embedded zero do not count for == and so must not count for the hash,
    // or unordered containers would hold "equal" duplicates.
    const W a(std::wstring(L"ab\0x", 4)), b(std::wstring(L"ab\0y", 4));
    EXPECT_EQ(std::hash<W>()(a), std::hash<W>()(b));
    std::unordered_set<W> set{a, b, W(L"ab")};
    EXPECT_EQ(set.size(), 1u);
}
