// CKrStringA: construction and copying, access at the boundaries, searching, editing and the
// UTF-8 helpers.
#include <gtest/gtest.h>

#include <QString>
#include <climits>
#include <cstring>
#include <string>
#include <utility>

#include "Rows.h"
#include "common/DiagCapture.h"
#include "strings/CKrStringA.h"

class CKrStringATestPeer {
public:
    static int convert(wchar_t const *src, int srcLength, char *dst, int64_t dstSize, bool utf8) {
        return CKrStringA::convert_to_mb(src, srcLength, dst, dstSize, utf8);
    }
};

namespace {
using A = CKrStringA;
std::string std_(CKrStringA const &s) { return s.GetStdString(); }

// "<count> <text>" after Replace or ReplaceNoCase on `s`.
std::string replaced(A s, char const *old, char const *with, bool noCase = false) {
    const int64_t n = noCase ? s.ReplaceNoCase(old, with) : s.Replace(old, with);
    return std::to_string(n) + " " + std_(s);
}
std::string replacedAt(size_t pos, size_t count, char const *text) {
    A s("abcde");
    s.ReplaceAt(pos, count, text);
    return std_(s);
}
}  // namespace

TEST(StringA, CopyingStopsAtTheFirstZeroButStdStringKeepsEverything) {
    const std::string raw("ab\0cd", 5);
    CKrStringA whole(raw);
    ASSERT_EQ(whole.GetLength(), 5u);
    expectRows({SROW(A(std::string(raw)), raw), SROW(A("other") = std::string(raw), raw),
                SROW(A("other") = raw, raw), SROW(A(whole), "ab"),
                SROW(A("zzzzzz") = whole, "ab")});
    CKrStringA moved(std::move(whole));
    EXPECT_EQ(std_(moved), "ab");
    EXPECT_TRUE(whole.IsEmpty());  // NOLINT(bugprone-use-after-move): documented state

    // Assignment from itself or from its own buffer.
    CKrStringA s("hello world");
    CKrStringA &alias = s;
    s = alias;
    EXPECT_EQ(std_(s), "hello world");
    s = s.GetString();
    EXPECT_EQ(std_(s), "hello world");
    s = s.GetString() + 6;  // a pointer into the middle of the own buffer
    EXPECT_EQ(std_(s), "world");
    s = static_cast<char const *>(nullptr);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(*s.GetString(), '\0');  // never a null pointer
}

TEST(StringA, ConstructorsAssignmentsAndCapacity) {
    expectRows({SROW(A(static_cast<char const *>(nullptr), 10), ""),
                SROW(A(static_cast<wchar_t const *>(nullptr)), ""),
                SROW(A(L"caf\u00e9"), "caf\xE9"),
                SROW(A("old") = 'x', "x"), SROW(A("old") = L'\u00fc', "\xFC"),
                // Not representable in the "C" locale: the conversion fails, nothing stays.
                SROW(A("old") = L'\u4e2d', ""), SROW(A("old") = L"wide", "wide"),
                SROW(A("x", SIZE_MAX), "x")});  // beyond max_size: not reserved, no exception

    CKrStringA s("abc", 100);
    EXPECT_EQ(std_(s), "abc");
    EXPECT_GE(s.GetBufferLength(), 100u);
    s.Preallocate(SIZE_MAX);  // ignored likewise
    EXPECT_EQ(std_(s), "abc");
    EXPECT_TRUE(s.Empty().IsEmpty());
    EXPECT_GE(s.GetBufferLength(), 100u);  // Empty keeps the capacity
}

TEST(StringA, AccessAndCopyOutAtTheBoundaries) {
    CKrStringA s("abc");
    // operator[] takes any integer type; out of range is 0.
    expectRows({NROW(s.GetAt(2), 'c'), NROW(s.GetAt(3), 0), NROW(s.GetAt(8), 0),
                NROW(s[size_t(1)], 'b'), NROW(s[-1], 0), NROW(s[100L], 0),
                NROW(s.GetLastChar(), 'c'), NROW(A().GetLastChar(), 0)});
    EXPECT_EQ(s.SetAt(3, 'x'), -6);
    EXPECT_EQ(std_(s), "abc");
    EXPECT_EQ(s.SetAt(0, 'X'), 0);
    EXPECT_EQ(std_(s), "Xbc");

    // '#' marks bytes that must stay untouched; the zero goes at min(length, size - 1).
    struct Case { size_t size, ret; std::string buf; } const cases[] = {
        {3, 2, std::string("he\0#", 4)}, {6, 5, std::string("hello\0#", 7)},
        {1, 0, std::string("\0#", 2)}, {0, 0, "#"}};
    for (auto const &c : cases) {
        char buf[8];
        std::memset(buf, '#', sizeof buf);
        EXPECT_EQ(CKrStringA("hello").CopyToBufferA(buf, c.size), c.ret) << c.size;
        EXPECT_EQ(std::string(buf, c.buf.size()), c.buf) << c.size;
    }
    EXPECT_EQ(CKrStringA("hello").CopyToBufferA(nullptr, 5), 0u);

    wchar_t wbuf[8];
    EXPECT_EQ(CKrStringA("h\xE9").CopyToBufferW(wbuf, 8), 2u);
    EXPECT_EQ(std::wstring(wbuf, 3), std::wstring(L"h\u00e9\0", 3));
    EXPECT_EQ(CKrStringA("hello").CopyToBufferW(nullptr, 8), 0u);
}

TEST(StringA, Searching) {
    const CKrStringA s("abcabcABC");
    char const *null = nullptr;
    expectRows({
        NROW(s.Find('c'), 2), NROW(s.Find('c', 3), 5), NROW(s.Find('a', 9), -1),
        NROW(s.Find("bc", 2), 4), NROW(s.Find("zz"), -1), NROW(s.Find(null), -1),
        NROW(s.Find("", 9), 9),  // the standard find: an empty pattern is found at start
        NROW(s.Find("a", 100), -1),
        NROW(s.FindNoCase('C', 6), 8), NROW(s.FindNoCase("CAB"), 2),
        NROW(s.FindNoCase("cab", 3), 5), NROW(s.FindNoCase(null), -1),
        NROW(s.FindOneOf("xC"), 8), NROW(s.FindOneOf("cb", 3), 4), NROW(s.FindOneOf(""), -1),
        NROW(s.FindOneOf(nullptr), -1), NROW(s.FindOneOf("a", 9), -1),
        NROW(s.ReverseFind('a'), 3), NROW(s.ReverseFind('a', 2), 0),
        NROW(s.ReverseFind('C', 1000), 8), NROW(s.ReverseFind('b', 0), -1),
        NROW(s.ReverseFind('a', -7), 3),  // negative start: from the last character
        NROW(s.ReverseFindNoCase('a'), 6), NROW(A().ReverseFind('a'), -1),
    });
}

TEST(StringA, InsertDeleteTruncate) {
    expectRows({
        SROW(A("abc").Insert("XY", 1), "aXYbc"), SROW(A("abc").Insert("XY", 1, 1), "aXbc"),
        SROW(A("abc").Insert("XY", 1, 9), "aXYbc"),  // the count stops at the terminator
        SROW(A("abc").Insert("XY", 3), "abcXY"), SROW(A("abc").Insert("XY", 3, 1), "abcX"),
        SROW(A("abc").Insert("XY", 4), "abc"), SROW(A("abc").Insert("XY", 0, 0), "abc"),
        SROW(A("").Insert("XY", 0), "XY"),
        SROW(A("abcdef").Delete(1), "acdef"), SROW(A("abcdef").Delete(1, -1), "a"),
        SROW(A("abcdef").Delete(4, 9), "abcd"), SROW(A("abcdef").Delete(6), "abcdef"),
        SROW(A("abcdef").Delete(7), "abcdef"), SROW(A("abcdef").Delete(0, 0), "abcdef"),
        SROW(A("abcdef").DeleteLeft(2), "cdef"), SROW(A("abc").DeleteLeft(10), ""),
        SROW(A("abcdef").DeleteRight(2), "abcd"), SROW(A("abc").DeleteRight(10), ""),
        SROW(A("abc").DeleteRight(3), ""),
    });
    {
        DiagCapture diag;
        CKrStringA s("abc");
        s.Insert(nullptr, 1);
        EXPECT_EQ(std_(s), "abc");
        ASSERT_EQ(diag.count(), 1u);
        EXPECT_EQ(diag.records()[0].source, L"strings/CKrStringA");
        EXPECT_EQ(diag.records()[0].condition, L"text != nullptr");
    }

    CKrStringA t("abcdef");
    t.TruncateAt(10);
    EXPECT_EQ(std_(t), "abcdef");
    t.TruncateAt(2);
    EXPECT_EQ(std_(t), "ab");
    t.TruncateAt(0);
    EXPECT_TRUE(t.IsEmpty());

    CKrStringA r("a.b.c..");
    EXPECT_EQ(r.Remove('.'), 4u);
    EXPECT_EQ(std_(r), "abc");
    EXPECT_EQ(r.Remove('x'), 0u);
}

TEST(StringA, ReplaceAndReplaceAt) {
    expectRows({
        ROW(replaced("aaa", "a", "aa"), "3 aaaaaa"),  // inserted text is not searched again
        ROW(replaced("aaa", "aa", "X"), "1 Xa"),      // occurrences do not overlap
        ROW(replaced("a-b-c", "-", ""), "2 abc"), ROW(replaced("a-b-c", "-", nullptr), "2 abc"),
        ROW(replaced("abc", "", "x"), "0 abc"), ROW(replaced("abc", nullptr, "x"), "0 abc"),
        ROW(replaced("abc", "abcd", "x"), "0 abc"),
        ROW(replaced("abcabc", "abc", "abc"), "2 abcabc"),
        ROW(replaced("xaxbx", "x", "<x>"), "3 <x>a<x>b<x>"),
        ROW(replaced("Hello HELLO hello", "hello", "bye", true), "3 bye bye bye"),
        ROW(replaced("abc", "", "x", true), "0 abc"),
        // ReplaceAt does nothing unless 0 < count <= length - pos.
        ROW(replacedAt(1, 2, "XY"), "aXYde"), ROW(replacedAt(1, 2, "X"), "aXde"),
        ROW(replacedAt(1, 2, "XYZ"), "aXYZde"), ROW(replacedAt(0, 5, ""), ""),
        ROW(replacedAt(2, 1, nullptr), "abde"), ROW(replacedAt(1, 0, "X"), "abcde"),
        ROW(replacedAt(6, 1, "X"), "abcde"), ROW(replacedAt(3, 3, "X"), "abcde"),
        ROW(replacedAt(5, 1, "X"), "abcde"), ROW(replacedAt(1, SIZE_MAX, "X"), "abcde"),
    });
    // The replacement may be the string's own buffer.
    CKrStringA self("ab");
    EXPECT_EQ(self.Replace("b", self.GetString()), 1);
    EXPECT_EQ(std_(self), "aab");
}

TEST(StringA, TrimCaseSlashAndExtraction) {
    CKrStringA s("abcdef");
    expectRows({
        // Trim without a set removes spaces only.
        SROW(A(" \tx\t ").Trim(), "\tx\t"), SROW(A("  x  ").TrimLeft(), "x  "),
        SROW(A("  x  ").TrimRight(), "  x"), SROW(A(" \t\r\n").Trim(" \t\r\n"), ""),
        SROW(A("xxaxx").Trim("x"), "a"), SROW(A(" a ").Trim(""), " a "), SROW(A("").Trim(), ""),
        SROW(A("MiXed 1").MakeLower(), "mixed 1"), SROW(A("MiXed 1").MakeUpper(), "MIXED 1"),
        // Only a backslash counts as the final slash.
        SROW(A("C:").EndInSlash(), "C:\\"), SROW(A("C:\\").EndInSlash(), "C:\\"),
        SROW(A("a/").EndInSlash(), "a/\\"), SROW(A().EndInSlash(), "\\"),
        SROW(s.Mid(2, -1), "cdef"), SROW(s.Mid(2, 2), "cd"), SROW(s.Mid(4, 100), "ef"),
        SROW(s.Mid(6, 1), ""), SROW(s.Mid(1, 0), ""), SROW(s.Left(10), "abcdef"),
        SROW(s.Left(2), "ab"), SROW(s.Left(0), ""), SROW(s.Right(2), "ef"),
        SROW(s.Right(99), "abcdef"),
    });
    // Extraction keeps embedded zeros of the source.
    CKrStringA z(std::string("a\0b\0c", 5));
    EXPECT_EQ(std_(z.Mid(1, 3)), std::string("\0b\0", 3));
}

TEST(StringA, AppendingNumbersAndConcatenation) {
    CKrStringA s;
    s += "ab";
    s += static_cast<char const *>(nullptr);
    s += 'c';
    s += L"\u00e9";
    s += CKrStringA("d");
    s.AddChar('e').AddChar(L'f').AddString("g").AddString(static_cast<char const *>(nullptr));
    s.AddChars("hij", 2);
    s.AddChars("k", -1);
    s.AddChars(nullptr, 3);
    EXPECT_EQ(std_(s), "abc\xE9"
                       "defghik");
    s.Empty().AddInt(-42).AddChar(' ').AddInt(INT_MIN).AddChar(' ').AddInt(0);
    EXPECT_EQ(std_(s), "-42 -2147483648 0");
    s.Empty().AddDouble(1.0, 3).AddChar(' ').AddDouble(-0.5, 1).AddChar(' ').AddDouble(2.345, 0);
    EXPECT_EQ(std_(s), "1.000 -0.5 2");

    CKrStringA a("ab"), b("cd");
    char const *null = nullptr;
    // Chains reuse the temporary's buffer; the result is the same, embedded zeros included.
    CKrStringA z(std::string("x\0y", 3)), t("t");
    expectRows({SROW(a + b, "abcd"), SROW(a + 'x', "abx"), SROW('x' + a, "xab"),
                SROW(a + "!", "ab!"), SROW("!" + a, "!ab"), SROW(a + null, "ab"),
                SROW(null + a, "ab"), SROW(z + b + 'e' + "f" + null, std::string("x\0ycdef", 7)),
                SROW(A("p") + b + a, "pcdab"), SROW(std::move(t) + t, "tt")});
}

TEST(StringA, Utf8FromUtf16TheRawConverterAndQString) {
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    expectRows({SROW(A::Utf8FromUtf16(L"a\u00e9\u4e2d"), "a\xC3\xA9\xE4\xB8\xAD"),
                SROW(A::Utf8FromUtf16(pair), "\xF0\x9F\x98\x80"),
                SROW(A::Utf8FromUtf16(nullptr), ""), SROW(A::Utf8FromUtf16(L""), "")});

    char buf[16];
    // Measuring: the length without the terminator.
    EXPECT_EQ(CKrStringATestPeer::convert(L"\u00e9x", -1, nullptr, 0, true), 3);
    // Zero-terminated source into a buffer: the count without the terminator.
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(CKrStringATestPeer::convert(L"\u00e9x", -1, buf, 8, true), 3);
    EXPECT_STREQ(buf, "\xC3\xA9x");
    // Counted source: exactly those units, a zero is put at dst[dstSize].
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(CKrStringATestPeer::convert(L"abcdef", 3, buf, 3, true), 3);
    EXPECT_EQ(std::string(buf, 4), std::string("abc\0", 4));
    // Latin-1 mode, and failures.
    EXPECT_EQ(CKrStringATestPeer::convert(L"\u00e9\u4e2d", 2, buf, 2, false), 2);
    EXPECT_EQ(std::string(buf, 3), std::string("\xE9?\0", 3));
    EXPECT_EQ(CKrStringATestPeer::convert(nullptr, -1, buf, 8, true), -2);
    EXPECT_EQ(CKrStringATestPeer::convert(L"abcdef", 6, buf, 2, true), -2);  // too small

    // QString members go through UTF-8.
    CKrStringA s(QString::fromUtf8("a\xC3\xA9"));
    EXPECT_EQ(std_(s), "a\xC3\xA9");
    EXPECT_EQ(s.GetQString(), QString(QChar(u'a')) + QChar(char16_t(0xE9)));
    s = QString::fromUtf8("x");
    s.AddString(QString::fromUtf8("\xE4\xB8\xAD"));
    EXPECT_EQ(std_(s), "x\xE4\xB8\xAD");
}
