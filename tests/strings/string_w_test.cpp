// CKrStringW: what differs from the 8-bit string (int arguments, byte copies without the
// locale, QString units, UTF-8 conversion) plus a pass over the shared editing members.
#include <gtest/gtest.h>

#include <QString>
#include <codecvt>
#include <locale>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "strings/CKrStringW.h"

namespace {
std::wstring std_(CKrStringW const &s) { return s.GetStdString(); }

// Reference UTF-8 decoder for valid input (tests only): code points to UTF-16 units.
std::wstring referenceDecode(std::string const &in) {
    std::wstring out;
    for (size_t i = 0; i < in.size();) {
        unsigned char b = static_cast<unsigned char>(in[i]);
        uint32_t cp;
        int extra;
        if (b < 0x80) {
            cp = b;
            extra = 0;
        } else if (b < 0xE0) {
            cp = b & 0x1F;
            extra = 1;
        } else if (b < 0xF0) {
            cp = b & 0x0F;
            extra = 2;
        } else {
            cp = b & 0x07;
            extra = 3;
        }
        for (int k = 1; k <= extra; ++k) cp = (cp << 6) | (static_cast<unsigned char>(in[i + k]) & 0x3F);
        i += static_cast<size_t>(extra) + 1;
        if (cp >= 0x10000) {
            out.push_back(static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10)));
            out.push_back(static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<wchar_t>(cp));
        }
    }
    return out;
}
}  // namespace

TEST(StringW, CopyingStopsAtTheFirstZeroButStdWStringKeepsEverything) {
    CKrStringW whole(std::wstring(L"ab\0cd", 5));  // taken over
    EXPECT_EQ(whole.GetLength(), 5u);
    std::wstring const raw(L"xy\0z", 4);
    CKrStringW taken;
    taken = std::wstring(raw);
    EXPECT_EQ(std_(taken), raw);
    taken = L"other";
    taken = raw;  // copied
    EXPECT_EQ(std_(taken), raw);
    EXPECT_EQ(std_(CKrStringW(whole)), L"ab");
    CKrStringW assigned;
    assigned = whole;
    EXPECT_EQ(std_(assigned), L"ab");
    CKrStringW moved;
    moved = std::move(whole);
    EXPECT_EQ(std_(moved), L"ab");
    EXPECT_TRUE(whole.IsEmpty());  // NOLINT(bugprone-use-after-move): documented state
    moved = moved.GetString() + 1;
    EXPECT_EQ(std_(moved), L"b");
}

TEST(StringW, EightBitArgumentsGoThroughTheLocale) {
    // Default "C" locale: byte for unit, bytes above 0x7F included.
    EXPECT_EQ(std_(CKrStringW("caf\xE9")), L"caf\u00e9");
    CKrStringW s;
    s = '\xFC';
    EXPECT_EQ(std_(s), L"\u00fc");
    s = "ab";
    s += "\xE9";
    s.AddChar('!').AddString("?");
    EXPECT_EQ(std_(s), L"ab\u00e9!?");
    s = static_cast<char const *>(nullptr);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(CKrStringW(static_cast<char const *>(nullptr), 5).IsEmpty());
    EXPECT_GE(CKrStringW(L"x", 64).GetBufferLength(), 64u);
}

TEST(StringW, CopyToBufferAWithoutLocale) {
    char buf[10];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(CKrStringW(L"\u00e9\u4e2d").CopyToBufferA(buf, 10), 2);
    EXPECT_EQ(std::string(buf, 3), std::string("\xE9?\0", 3));
    EXPECT_EQ(buf[3], '#');

    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(CKrStringW(L"abcdef").CopyToBufferA(buf, 4), 3);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(buf[4], '#');
    buf[0] = '#';
    EXPECT_EQ(CKrStringW(L"abc").CopyToBufferA(buf, 0), 0);
    EXPECT_EQ(CKrStringW(L"abc").CopyToBufferA(buf, -3), 0);
    EXPECT_EQ(buf[0], '#');
    EXPECT_EQ(CKrStringW(L"abc").CopyToBufferA(nullptr, 4), 0);

    wchar_t wbuf[6];
    EXPECT_EQ(CKrStringW(L"abcdef").CopyToBufferW(wbuf, 6), 5u);
    EXPECT_EQ(std::wstring(wbuf), L"abcde");
    EXPECT_EQ(CKrStringW(L"ab").CopyToBufferW(wbuf, 6), 2u);
    EXPECT_EQ(std::wstring(wbuf), L"ab");
    EXPECT_EQ(CKrStringW(L"ab").CopyToBufferW(wbuf, -1), 0u);
}

TEST(StringW, NegativeIntArguments) {
    EXPECT_EQ(std_(CKrStringW(L"abc").DeleteLeft(-1)), L"");
    EXPECT_EQ(std_(CKrStringW(L"abc").DeleteRight(-2)), L"");
    EXPECT_EQ(std_(CKrStringW(L"abc").DeleteLeft(1)), L"bc");
    EXPECT_EQ(std_(CKrStringW(L"abc").DeleteRight(1)), L"ab");
    CKrStringW s(L"abcabc");
    EXPECT_EQ(s.Find(L"bc", -1), -1);
    EXPECT_EQ(s.Find(L"bc", 2), 4);
    EXPECT_EQ(s.FindNoCase(L"BC", 0), 1);
    EXPECT_EQ(s.FindNoCase(L'C', 3), 5);
    EXPECT_EQ(s.FindNoCase(L'C', -1), -1);
    EXPECT_EQ(s.ReverseFind(L'a', -1), 3);
    EXPECT_EQ(s.ReverseFindNoCase(L'A', 2), 0);
    s.ReplaceAt(-1, 2, L"X");
    s.ReplaceAt(1, -1, L"X");
    EXPECT_EQ(std_(s), L"abcabc");
    s.ReplaceAt(1, 2, L"XY");
    EXPECT_EQ(std_(s), L"aXYabc");
    s.Preallocate(-5);  // ignored
    EXPECT_EQ(s.Count(L'a'), 2);
    EXPECT_EQ(s.Count(L'z'), 0);
    EXPECT_EQ(s.Remove(L'a'), 2);
    EXPECT_EQ(std_(s), L"XYbc");
}

TEST(StringW, SharedEditingMembersThroughTheWideInterface) {
    CKrStringW s(L" \t x \t ");
    EXPECT_EQ(std_(s.Trim()), L"\t x \t");
    EXPECT_EQ(std_(s.Trim(L"\t ")), L"x");
    EXPECT_EQ(std_(CKrStringW(L"abc").Insert(L"XY", 3, 1)), L"abcX");
    EXPECT_EQ(std_(CKrStringW(L"abcdef").Mid(2, -1)), L"cdef");
    EXPECT_EQ(std_(CKrStringW(L"AbC1").MakeLower()), L"abc1");

    CKrStringW r(L"aaa");
    EXPECT_EQ(r.Replace(L"a", L"aa"), 3);
    EXPECT_EQ(std_(r), L"aaaaaa");
    EXPECT_EQ(r.Replace(L"", L"x"), 0);
    EXPECT_EQ(r.ReplaceNoCase(L"AAA", L"b"), 2);
    EXPECT_EQ(std_(r), L"bb");

    CKrStringW n;
    n.AddInt(-7).AddChar(L' ').AddDouble(3.14159, 2);
    n += L'!';
    n.AddChars(L"xyz", 2);
    EXPECT_EQ(std_(n), L"-7 3.14!xy");
    CKrStringW a(L"ab");
    EXPECT_EQ(std_(L'c' + a + L'd'), L"cabd");
    EXPECT_EQ(std_(static_cast<wchar_t const *>(nullptr) + a + a), L"abab");
}

TEST(StringW, Utf8DecodingMatchesAReferenceAcrossRunBoundaries) {
    // Mixes ASCII runs of every length 0..17 with sequences of every width, so that multi-byte
    // sequences start at every offset relative to the 8-byte blocks.
    const char *seqs[] = {"\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "\xEF\xBF\xBF"};
    std::string text;
    for (int run = 0; run < 18; ++run) {
        text.append(static_cast<size_t>(run), static_cast<char>('a' + run));
        text += seqs[run % 4];
        text += seqs[(run + 1) % 4];
    }
    text.push_back('\0');  // an embedded zero byte is an ordinary character
    text += "tail";
    CKrStringW w = CKrStringW::FromStdStringUtf8(text);
    EXPECT_EQ(std_(w), referenceDecode(text));
    EXPECT_EQ(w.ToStdStringUtf8(), text);
    EXPECT_TRUE(CKrStringW::FromStdStringUtf8("").IsEmpty());
}

TEST(StringW, MalformedUtf8AndUtf16Throw) {
    const std::string bad[] = {
        "\xFF",           "abc\xFF",        "\xC3",           "ab\xC3" "c",  // truncated
        "\x80",           "\xC0\xAF",       "\xE0\x80\xAF",   // overlong
        "\xF4\x90\x80\x80",                                   // above U+10FFFF
        std::string(40, 'a') + "\xE4\xB8",
    };
    for (auto const &b : bad) {
        try {
            CKrStringW::FromStdStringUtf8(b);
            ADD_FAILURE() << "accepted malformed input of " << b.size() << " bytes";
        } catch (std::range_error const &e) {
            EXPECT_STREQ(e.what(), "bad conversion");
        }
    }
    const std::wstring badUnits[] = {
        std::wstring(1, wchar_t(0xD800)), std::wstring(L"ab") + wchar_t(0xDC00),
        std::wstring(1, wchar_t(0xDC00)) + wchar_t(0xD800), std::wstring(1, wchar_t(0xD83D)) + L"x",
    };
    for (auto const &u : badUnits) {
        CKrStringW w(u);
        try {
            w.ToStdStringUtf8();
            ADD_FAILURE() << "accepted a lone surrogate";
        } catch (std::range_error const &e) {
            EXPECT_STREQ(e.what(), "bad conversion");
        }
    }
}

TEST(StringW, Utf8AcceptsWhatTheStandardFacetAcceptsButNeverDropsATail) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    std::wstring_convert<std::codecvt_utf8_utf16<wchar_t>> reference;
#pragma GCC diagnostic pop
    const std::string inputs[] = {
        "plain", "\xEF\xBB\xBF" "bom", "\xED\xA0\x80", "\xED\xA0\xBD\xED\xB8\x80", "x\xF4\x8F\xBF\xBFy",
        "\xC2\x80\xDF\xBF", "\xE0\x9F\xBF", "\xF8\x88\x80\x80\x80", "\xC3\xA9\xC3", "\xFE",
    };
    for (auto const &in : inputs) {
        std::wstring expected;
        bool expectThrow = false;
        try {
            expected = reference.from_bytes(in);
            // The standard converter drops an incomplete final sequence silently; ours refuses it.
            expectThrow = reference.converted() != in.size();
        } catch (std::range_error const &) {
            expectThrow = true;
        }
        try {
            CKrStringW w = CKrStringW::FromStdStringUtf8(in);
            EXPECT_FALSE(expectThrow) << "accepted " << in.size() << " bytes";
            EXPECT_EQ(std_(w), expected);
        } catch (std::range_error const &) {
            EXPECT_TRUE(expectThrow) << "refused " << in.size() << " bytes";
        }
    }
}

TEST(StringW, QStringUnitsAreCopiedOneForOne) {
    const char16_t units[] = {u'a', 0xD83D, 0xDE00, 0xE9};
    QString q(reinterpret_cast<QChar const *>(units), 4);
    CKrStringW w(q);
    ASSERT_EQ(w.GetLength(), 4u);  // a surrogate pair stays two units
    EXPECT_EQ(w[1], wchar_t(0xD83D));
    EXPECT_EQ(w[2], wchar_t(0xDE00));
    EXPECT_EQ(w.GetQString(), q);
    EXPECT_EQ(w.ToStdStringUtf8(), "a\xF0\x9F\x98\x80\xC3\xA9");
    w = QString::fromUtf8("x");
    w += q;
    w.AddString(QString::fromUtf8("!"));
    EXPECT_EQ(w.GetLength(), 6u);
    EXPECT_EQ(w.GetLastChar(), L'!');
}
