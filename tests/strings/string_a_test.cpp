// CKrStringA: construction and copying, access at the boundaries, searching, editing and the
// UTF-8 helpers.
#include <gtest/gtest.h>

#include <QString>
#include <climits>
#include <cstring>
#include <string>
#include <utility>

#include "common/DiagCapture.h"
#include "strings/CKrStringA.h"

class CKrStringATestPeer {
public:
    static int convert(wchar_t const *src, int srcLength, char *dst, int64_t dstSize, bool utf8) {
        return CKrStringA::convert_to_mb(src, srcLength, dst, dstSize, utf8);
    }
};

namespace {
std::string std_(CKrStringA const &s) { return s.GetStdString(); }
}  // namespace

TEST(StringA, CopyingStopsAtTheFirstZeroButStdStringKeepsEverything) {
    const std::string raw("ab\0cd", 5);
    CKrStringA whole(raw);
    EXPECT_EQ(whole.GetLength(), 5u);
    // Taking a standard string over keeps everything as well.
    EXPECT_EQ(std_(CKrStringA(std::string(raw))), raw);
    CKrStringA taken;
    taken = std::string(raw);
    EXPECT_EQ(std_(taken), raw);
    taken = "other";
    taken = raw;  // copied
    EXPECT_EQ(std_(taken), raw);

    CKrStringA copy(whole);
    EXPECT_EQ(std_(copy), "ab");
    CKrStringA assigned("zzzzzz");
    assigned = whole;
    EXPECT_EQ(std_(assigned), "ab");
    CKrStringA moved(std::move(whole));
    EXPECT_EQ(std_(moved), "ab");
    EXPECT_TRUE(whole.IsEmpty());  // NOLINT(bugprone-use-after-move): documented state

    CKrStringA target;
    target = std::string("x\0y", 3);
    EXPECT_EQ(target.GetLength(), 3u);
}

TEST(StringA, AssignmentFromItselfOrItsOwnBuffer) {
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
    EXPECT_NE(s.GetString(), nullptr);
    EXPECT_EQ(*s.GetString(), '\0');
}

TEST(StringA, ConstructorsAndCapacity) {
    CKrStringA reserved("abc", 100);
    EXPECT_EQ(std_(reserved), "abc");
    EXPECT_GE(reserved.GetBufferLength(), 100u);
    EXPECT_TRUE(CKrStringA(static_cast<char const *>(nullptr), 10).IsEmpty());
    EXPECT_TRUE(CKrStringA(static_cast<wchar_t const *>(nullptr)).IsEmpty());
    EXPECT_EQ(std_(CKrStringA(L"caf\u00e9")), "caf\xE9");

    CKrStringA c;
    c = 'x';
    EXPECT_EQ(std_(c), "x");
    c = L'\u00fc';
    EXPECT_EQ(std_(c), "\xFC");
    c = L'\u4e2d';  // not representable in the "C" locale: the conversion fails, nothing stays
    EXPECT_TRUE(c.IsEmpty());
    c = L"wide";
    EXPECT_EQ(std_(c), "wide");

    c.Preallocate(SIZE_MAX);  // beyond max_size: ignored, no exception
    EXPECT_EQ(std_(c), "wide");
    EXPECT_TRUE(CKrStringA("x", SIZE_MAX).Equals("x"));
    size_t cap = c.Empty().GetBufferLength();
    EXPECT_TRUE(c.IsEmpty());
    EXPECT_EQ(c.GetBufferLength(), cap);
}

TEST(StringA, AccessAtAndBeyondTheEnd) {
    CKrStringA s("abc");
    EXPECT_EQ(s.GetAt(2), 'c');
    EXPECT_EQ(s.GetAt(3), '\0');
    EXPECT_EQ(s.GetAt(8), '\0');
    EXPECT_EQ(s[size_t(1)], 'b');
    EXPECT_EQ(s[-1], '\0');  // any integer type, out of range is 0
    EXPECT_EQ(s[100L], '\0');
    EXPECT_EQ(s.GetLastChar(), 'c');
    EXPECT_EQ(CKrStringA().GetLastChar(), '\0');
    EXPECT_EQ(s.SetAt(3, 'x'), -6);
    EXPECT_EQ(std_(s), "abc");
    EXPECT_EQ(s.SetAt(0, 'X'), 0);
    EXPECT_EQ(std_(s), "Xbc");
}

TEST(StringA, CopyToBuffers) {
    CKrStringA s("hello");
    char buf[8];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(s.CopyToBufferA(buf, 3), 2u);  // cut: zero at size - 1
    EXPECT_STREQ(buf, "he");
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(s.CopyToBufferA(buf, 6), 5u);
    EXPECT_STREQ(buf, "hello");
    EXPECT_EQ(buf[6], '#');
    EXPECT_EQ(s.CopyToBufferA(buf, 1), 0u);
    EXPECT_EQ(buf[0], '\0');
    buf[0] = '#';
    EXPECT_EQ(s.CopyToBufferA(buf, 0), 0u);
    EXPECT_EQ(buf[0], '#');
    EXPECT_EQ(s.CopyToBufferA(nullptr, 5), 0u);

    wchar_t wbuf[8];
    EXPECT_EQ(CKrStringA("h\xE9").CopyToBufferW(wbuf, 8), 2u);
    EXPECT_EQ(wbuf[1], L'\u00e9');
    EXPECT_EQ(wbuf[2], L'\0');
    EXPECT_EQ(s.CopyToBufferW(nullptr, 8), 0u);
}

TEST(StringA, Searching) {
    CKrStringA s("abcabcABC");
    EXPECT_EQ(s.Find('c'), 2);
    EXPECT_EQ(s.Find('c', 3), 5);
    EXPECT_EQ(s.Find('a', 9), -1);
    EXPECT_EQ(s.Find("bc", 2), 4);
    EXPECT_EQ(s.Find("zz"), -1);
    EXPECT_EQ(s.Find(static_cast<char const *>(nullptr)), -1);
    EXPECT_EQ(s.Find("", 9), 9);  // the standard find: an empty pattern is found at start
    EXPECT_EQ(s.Find("a", 100), -1);
    EXPECT_EQ(s.FindNoCase('C', 6), 8);
    EXPECT_EQ(s.FindNoCase("CAB"), 2);
    EXPECT_EQ(s.FindNoCase("cab", 3), 5);
    EXPECT_EQ(s.FindNoCase(static_cast<char const *>(nullptr)), -1);
    EXPECT_EQ(s.FindOneOf("xC"), 8);
    EXPECT_EQ(s.FindOneOf("cb", 3), 4);
    EXPECT_EQ(s.FindOneOf(""), -1);
    EXPECT_EQ(s.FindOneOf(nullptr), -1);
    EXPECT_EQ(s.FindOneOf("a", 9), -1);

    EXPECT_EQ(s.ReverseFind('a'), 3);
    EXPECT_EQ(s.ReverseFind('a', 2), 0);
    EXPECT_EQ(s.ReverseFind('C', 1000), 8);
    EXPECT_EQ(s.ReverseFind('a', -7), 3);  // negative start: from the last character
    EXPECT_EQ(s.ReverseFind('b', 0), -1);
    EXPECT_EQ(s.ReverseFindNoCase('a'), 6);
    EXPECT_EQ(CKrStringA().ReverseFind('a'), -1);
}

TEST(StringA, InsertDeleteTruncate) {
    struct InsertCase {
        char const *start, *text;
        size_t pos;
        int count;
        char const *expected;
    } const inserts[] = {
        {"abc", "XY", 1, -1, "aXYbc"}, {"abc", "XY", 1, 1, "aXbc"}, {"abc", "XY", 1, 9, "aXYbc"},
        {"abc", "XY", 3, -1, "abcXY"}, {"abc", "XY", 3, 1, "abcX"},  {"abc", "XY", 4, -1, "abc"},
        {"abc", "XY", 0, 0, "abc"},    {"", "XY", 0, -1, "XY"},
    };
    for (auto const &c : inserts) {
        CKrStringA s(c.start);
        EXPECT_EQ(std_(s.Insert(c.text, c.pos, c.count)), c.expected) << c.pos << "," << c.count;
    }
    {
        DiagCapture diag;
        CKrStringA s("abc");
        s.Insert(nullptr, 1);
        EXPECT_EQ(std_(s), "abc");
        ASSERT_EQ(diag.count(), 1u);
        EXPECT_EQ(diag.records()[0].source, L"strings/CKrStringA");
        EXPECT_EQ(diag.records()[0].condition, L"text != nullptr");
    }

    struct DeleteCase {
        size_t pos;
        int count;
        char const *expected;
    } const deletes[] = {{1, 1, "acdef"}, {1, -1, "a"},      {4, 9, "abcd"},
                         {6, 1, "abcdef"}, {7, 1, "abcdef"}, {0, 0, "abcdef"}};
    for (auto const &c : deletes) {
        CKrStringA s("abcdef");
        EXPECT_EQ(std_(s.Delete(c.pos, c.count)), c.expected) << c.pos << "," << c.count;
    }
    EXPECT_EQ(std_(CKrStringA("abcdef").DeleteLeft(2)), "cdef");
    EXPECT_EQ(std_(CKrStringA("abc").DeleteLeft(10)), "");
    EXPECT_EQ(std_(CKrStringA("abcdef").DeleteRight(2)), "abcd");
    EXPECT_EQ(std_(CKrStringA("abc").DeleteRight(10)), "");
    EXPECT_EQ(std_(CKrStringA("abc").DeleteRight(3)), "");

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

TEST(StringA, Replace) {
    struct Case {
        char const *start, *old, *with;
        int64_t count;
        char const *expected;
    } const cases[] = {
        {"aaa", "a", "aa", 3, "aaaaaa"},      // inserted text is not searched again
        {"aaa", "aa", "X", 1, "Xa"},          // occurrences do not overlap
        {"a-b-c", "-", "", 2, "abc"},         {"a-b-c", "-", nullptr, 2, "abc"},
        {"abc", "", "x", 0, "abc"},           {"abc", nullptr, "x", 0, "abc"},
        {"abc", "abcd", "x", 0, "abc"},       {"abcabc", "abc", "abc", 2, "abcabc"},
        {"xaxbx", "x", "<x>", 3, "<x>a<x>b<x>"},
    };
    for (auto const &c : cases) {
        CKrStringA s(c.start);
        EXPECT_EQ(s.Replace(c.old, c.with), c.count) << c.start;
        EXPECT_EQ(std_(s), c.expected) << c.start;
    }
    CKrStringA n("Hello HELLO hello");
    EXPECT_EQ(n.ReplaceNoCase("hello", "bye"), 3);
    EXPECT_EQ(std_(n), "bye bye bye");
    EXPECT_EQ(n.ReplaceNoCase("", "x"), 0);
    EXPECT_EQ(std_(n), "bye bye bye");

    // The replacement may be the string's own buffer.
    CKrStringA self("ab");
    EXPECT_EQ(self.Replace("b", self.GetString()), 1);
    EXPECT_EQ(std_(self), "aab");
}

TEST(StringA, ReplaceAt) {
    struct Case {
        size_t pos, count;
        char const *text, *expected;
    } const cases[] = {
        {1, 2, "XY", "aXYde"}, {1, 2, "X", "aXde"}, {1, 2, "XYZ", "aXYZde"}, {0, 5, "", ""},
        {1, 0, "X", "abcde"},  {6, 1, "X", "abcde"}, {3, 3, "X", "abcde"},    {2, 1, nullptr, "abde"},
        {5, 1, "X", "abcde"},  {1, SIZE_MAX, "X", "abcde"},
    };
    for (auto const &c : cases) {
        CKrStringA s("abcde");
        s.ReplaceAt(c.pos, c.count, c.text);
        EXPECT_EQ(std_(s), c.expected) << c.pos << "," << c.count;
    }
}

TEST(StringA, TrimOnlySpacesByDefault) {
    EXPECT_EQ(std_(CKrStringA(" \tx\t ").Trim()), "\tx\t");
    EXPECT_EQ(std_(CKrStringA("  x  ").TrimLeft()), "x  ");
    EXPECT_EQ(std_(CKrStringA("  x  ").TrimRight()), "  x");
    EXPECT_EQ(std_(CKrStringA(" \t\r\n").Trim(" \t\r\n")), "");
    EXPECT_EQ(std_(CKrStringA("xxaxx").Trim("x")), "a");
    EXPECT_EQ(std_(CKrStringA(" a ").Trim("")), " a ");
    EXPECT_EQ(std_(CKrStringA("").Trim()), "");
}

TEST(StringA, ExtractionClamps) {
    CKrStringA s("abcdef");
    EXPECT_EQ(std_(s.Mid(2, -1)), "cdef");
    EXPECT_EQ(std_(s.Mid(2, 2)), "cd");
    EXPECT_EQ(std_(s.Mid(4, 100)), "ef");
    EXPECT_EQ(std_(s.Mid(6, 1)), "");
    EXPECT_EQ(std_(s.Mid(1, 0)), "");
    EXPECT_EQ(std_(s.Left(10)), "abcdef");
    EXPECT_EQ(std_(s.Left(2)), "ab");
    EXPECT_EQ(std_(s.Right(2)), "ef");
    EXPECT_EQ(std_(s.Right(99)), "abcdef");
    EXPECT_EQ(std_(s.Left(0)), "");
    // Extraction keeps embedded zeros of the source.
    CKrStringA z(std::string("a\0b\0c", 5));
    EXPECT_EQ(z.Mid(1, 3).GetLength(), 3u);
}

TEST(StringA, AppendingAndNumbers) {
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
}

TEST(StringA, CaseAndSlash) {
    EXPECT_EQ(std_(CKrStringA("MiXed 1").MakeLower()), "mixed 1");
    EXPECT_EQ(std_(CKrStringA("MiXed 1").MakeUpper()), "MIXED 1");
    EXPECT_EQ(std_(CKrStringA("C:").EndInSlash()), "C:\\");
    EXPECT_EQ(std_(CKrStringA("C:\\").EndInSlash()), "C:\\");
    EXPECT_EQ(std_(CKrStringA("a/").EndInSlash()), "a/\\");
    EXPECT_EQ(std_(CKrStringA().EndInSlash()), "\\");
}

TEST(StringA, Concatenation) {
    CKrStringA a("ab"), b("cd");
    char const *null = nullptr;
    EXPECT_EQ(std_(a + b), "abcd");
    EXPECT_EQ(std_(a + 'x'), "abx");
    EXPECT_EQ(std_('x' + a), "xab");
    EXPECT_EQ(std_(a + "!"), "ab!");
    EXPECT_EQ(std_("!" + a), "!ab");
    EXPECT_EQ(std_(a + null), "ab");
    EXPECT_EQ(std_(null + a), "ab");
    // Chains reuse the temporary's buffer; the result is the same, embedded zeros included.
    CKrStringA z(std::string("x\0y", 3));
    EXPECT_EQ(std_(z + b + 'e' + "f" + null), std::string("x\0ycdef", 7));
    EXPECT_EQ(std_(CKrStringA("p") + b + a), "pcdab");
    CKrStringA t("t");
    EXPECT_EQ(std_(std::move(t) + t), "tt");
}

TEST(StringA, Utf8FromUtf16AndTheRawConverter) {
    EXPECT_EQ(std_(CKrStringA::Utf8FromUtf16(L"a\u00e9\u4e2d")), "a\xC3\xA9\xE4\xB8\xAD");
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(std_(CKrStringA::Utf8FromUtf16(pair)), "\xF0\x9F\x98\x80");
    EXPECT_TRUE(CKrStringA::Utf8FromUtf16(nullptr).IsEmpty());
    EXPECT_TRUE(CKrStringA::Utf8FromUtf16(L"").IsEmpty());

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
}

TEST(StringA, QStringIsUtf8) {
    CKrStringA s(QString::fromUtf8("a\xC3\xA9"));
    EXPECT_EQ(std_(s), "a\xC3\xA9");
    EXPECT_EQ(s.GetQString(), QString(QChar(u'a')) + QChar(char16_t(0xE9)));
    s = QString::fromUtf8("x");
    s.AddString(QString::fromUtf8("\xE4\xB8\xAD"));
    EXPECT_EQ(std_(s), "x\xE4\xB8\xAD");
}
