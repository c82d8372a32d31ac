// CKrStringW: what differs from the 8-bit string (int arguments, byte copies without the
// locale, QString units, UTF-8 conversion) plus a pass over the shared editing members.
#include <gtest/gtest.h>

#include <QString>
#include <codecvt>
#include <cstring>
#include <iterator>
#include <locale>
#include <stdexcept>
#include <string>
#include <utility>

#include "Rows.h"
#include "strings/CKrStringW.h"

namespace {
std::wstring std_(CKrStringW const &s) { return s.GetStdString(); }
using W = CKrStringW;

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

TEST(StringW, CopyingAndEightBitArguments) {
    // Copies stop at the first zero; a standard string is taken whole.
    std::wstring const raw(L"xy\0z", 4);
    CKrStringW whole(std::wstring(L"ab\0cd", 5));  // taken over
    ASSERT_EQ(whole.GetLength(), 5u);
    expectRows({SROW(W(L"other") = std::wstring(raw), raw), SROW(W(L"other") = raw, raw),
                SROW(W(whole), L"ab"), SROW(W() = whole, L"ab")});
    CKrStringW moved;
    moved = std::move(whole);
    EXPECT_EQ(std_(moved), L"ab");
    EXPECT_TRUE(whole.IsEmpty());  // NOLINT(bugprone-use-after-move): documented state
    moved = moved.GetString() + 1;
    EXPECT_EQ(std_(moved), L"b");

    // 8-bit arguments go through the locale: in the default "C" locale byte for unit, bytes
    // above 0x7F included.
    CKrStringW s;
    s = "ab";
    s += "\xE9";
    s.AddChar('!').AddString("?");
    expectRows({SROW(s, L"ab\u00e9!?"), SROW(W("caf\xE9"), L"caf\u00e9"),
                SROW(W(L"old") = '\xFC', L"\u00fc"),
                SROW(W(L"old") = static_cast<char const *>(nullptr), L""),
                SROW(W(static_cast<char const *>(nullptr), 5), L"")});
    EXPECT_GE(CKrStringW(L"x", 64).GetBufferLength(), 64u);
}

TEST(StringW, CopyToBuffersWithoutLocale) {
    // Units above 0xFF become '?'; '#' marks bytes that must stay untouched.
    struct Case { wchar_t const *text; int size; int64_t ret; std::string buf; } const cases[] = {
        {L"\u00ff\u0100", 10, 2, std::string("\xFF?\0#", 4)},
        {L"abcdef", 4, 3, std::string("abc\0#", 5)},
        {L"abc", 0, 0, "#"}, {L"abc", -3, 0, "#"},  // a negative size is taken as 0
    };
    for (auto const &c : cases) {
        char buf[10];
        std::memset(buf, '#', sizeof buf);
        EXPECT_EQ(CKrStringW(c.text).CopyToBufferA(buf, c.size), c.ret) << c.size;
        EXPECT_EQ(std::string(buf, c.buf.size()), c.buf) << c.size;
    }
    EXPECT_EQ(CKrStringW(L"abc").CopyToBufferA(nullptr, 4), 0);

    wchar_t wbuf[6];
    EXPECT_EQ(CKrStringW(L"abcdef").CopyToBufferW(wbuf, 6), 5u);
    EXPECT_EQ(std::wstring(wbuf), L"abcde");
    EXPECT_EQ(CKrStringW(L"ab").CopyToBufferW(wbuf, -1), 0u);
}

TEST(StringW, NegativeIntArgumentsAndSharedEditing) {
    const CKrStringW s(L"abcabc");
    // A negative count empties; a negative start finds nothing, except backwards.
    expectRows({SROW(W(L"abc").DeleteLeft(-1), L""), SROW(W(L"abc").DeleteRight(-2), L""),
                SROW(W(L"abc").DeleteLeft(1), L"bc"), SROW(W(L"abc").DeleteRight(1), L"ab")});
    expectRows({NROW(s.Find(L"bc", -1), -1), NROW(s.Find(L"bc", 2), 4),
                NROW(s.FindNoCase(L"BC", 0), 1), NROW(s.FindNoCase(L'C', 3), 5),
                NROW(s.FindNoCase(L'C', -1), -1), NROW(s.ReverseFind(L'a', -1), 3),
                NROW(s.ReverseFindNoCase(L'A', 2), 0), NROW(s.Count(L'a'), 2),
                NROW(s.Count(L'z'), 0)});
    CKrStringW r(s);
    r.ReplaceAt(-1, 2, L"X");
    r.ReplaceAt(1, -1, L"X");
    EXPECT_EQ(std_(r), L"abcabc");
    r.ReplaceAt(1, 2, L"XY");
    EXPECT_EQ(std_(r), L"aXYabc");
    r.Preallocate(-5);  // ignored
    EXPECT_EQ(r.Remove(L'a'), 2);
    EXPECT_EQ(std_(r), L"XYbc");

    // The shared editing members through the wide interface.
    expectRows({SROW(W(L" \t x \t ").Trim(), L"\t x \t"),
                SROW(W(L" \t x \t ").Trim(L"\t "), L"x"),
                SROW(W(L"abc").Insert(L"XY", 3, 1), L"abcX"),
                SROW(W(L"abcdef").Mid(2, -1), L"cdef"), SROW(W(L"AbC1").MakeLower(), L"abc1")});

    CKrStringW t(L"aaa");
    EXPECT_EQ(t.Replace(L"a", L"aa"), 3);
    EXPECT_EQ(std_(t), L"aaaaaa");
    EXPECT_EQ(t.Replace(L"", L"x"), 0);
    EXPECT_EQ(t.ReplaceNoCase(L"AAA", L"b"), 2);
    EXPECT_EQ(std_(t), L"bb");
    t.AddInt(-7).AddChar(L' ').AddDouble(3.14159, 2);
    t += L'!';
    t.AddChars(L"xyz", 2);
    EXPECT_EQ(std_(t), L"bb-7 3.14!xy");
    const CKrStringW a(L"ab");
    EXPECT_EQ(std_(L'c' + a + L'd'), L"cabd");
    EXPECT_EQ(std_(static_cast<wchar_t const *>(nullptr) + a + a), L"abab");
}

TEST(StringW, Utf8AcceptsWhatTheStandardFacetAcceptsButNeverDropsATail) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    std::wstring_convert<std::codecvt_utf8_utf16<wchar_t>> reference;
#pragma GCC diagnostic pop
    // ASCII runs of every length 0..17 between sequences of every width, so that multi-byte
    // sequences start at every offset relative to the 8-byte blocks; an embedded zero byte is
    // an ordinary character.
    const char *seqs[] = {"\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "\xEF\xBF\xBF"};
    std::string runs;
    for (int run = 0; run < 18; ++run) {
        runs.append(static_cast<size_t>(run), static_cast<char>('a' + run));
        runs += std::string(seqs[run % 4]) + seqs[(run + 1) % 4];
    }
    runs += std::string("\0tail", 5);

    struct Case { std::string in; bool bad; } const cases[] = {
        {runs, false}, {"", false}, {"plain", false}, {"\xEF\xBB\xBF" "bom", false},
        {"\xC2\x80\xDF\xBF", false}, {"x\xF4\x8F\xBF\xBFy", false},
        // libstdc++'s facet takes UTF-8-encoded surrogates, even a pair of them.
        {"\xED\xA0\x80", false}, {"\xED\xA0\xBD\xED\xB8\x80", false},
        {"\xFF", true}, {"abc\xFF", true}, {"\xFE", true}, {"\x80", true},
        {"\xF8\x88\x80\x80\x80", true},
        {"\xC0\xAF", true}, {"\xE0\x80\xAF", true}, {"\xE0\x9F\xBF", true},  // overlong
        {"\xF4\x90\x80\x80", true},                                          // above U+10FFFF
        // Truncated: the standard converter drops an incomplete final sequence silently.
        {"\xC3", true}, {"ab\xC3" "c", true}, {"\xC3\xA9\xC3", true},
        {std::string(40, 'a') + "\xE4\xB8", true},
    };
    for (auto const &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.in));
        std::wstring expected, got;
        bool facetRefuses = true;
        try {
            expected = reference.from_bytes(c.in);
            facetRefuses = reference.converted() != c.in.size();
        } catch (std::range_error const &) {
        }
        EXPECT_EQ(facetRefuses, c.bad);
        // Kept as a std::wstring: assigning to a CKrStringW would stop at an embedded zero.
        const bool refused =
            throwsBadConversion([&] { got = W::FromStdStringUtf8(c.in).GetStdString(); });
        EXPECT_EQ(refused, c.bad);
        if (c.bad) continue;
        EXPECT_EQ(got, expected);
        // Encoded surrogates come back as one four-byte sequence or not at all.
        if (c.in.find('\xED') == std::string::npos) {
            EXPECT_EQ(CKrStringW(got).ToStdStringUtf8(), c.in);
        }
    }

    // Lone or reversed surrogates cannot be encoded.
    const std::wstring badUnits[] = {
        std::wstring(1, wchar_t(0xD800)), std::wstring(L"ab") + wchar_t(0xDC00),
        std::wstring(1, wchar_t(0xDC00)) + wchar_t(0xD800), std::wstring(1, wchar_t(0xD83D)) + L"x",
    };
    for (auto const &u : badUnits) {
        CKrStringW w(u);
        EXPECT_TRUE(throwsBadConversion([&] { w.ToStdStringUtf8(); })) << "accepted a surrogate";
    }
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
