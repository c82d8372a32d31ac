// The member layer that CKrStringA and CKrStringW share, run over both classes: copying up to the
// first zero, access and search at the boundaries, editing, extraction, concatenation and the
// strcmp-like comparison with its null-pointer rule.  What only one width has is in
// StringATest.cpp / StringWTest.cpp.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>

#include "Rows.h"
#include "common/DiagCapture.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

// Test text is written as 8-bit literals and widened byte for unit (Latin-1), which is also what
// the locale conversion does in the default "C" locale.
template <class C>
std::basic_string<C> widened(std::string const &bytes) {
    std::basic_string<C> out;
    for (unsigned char b : bytes) out.push_back(static_cast<C>(b));
    return out;
}

template <class S>
class StringT : public testing::Test {
protected:
    using Std = typename S::StdString;
    using C = typename Std::value_type;
    using Other = typename S::Other;
    // Text of the class's own width, of the other width, and a string made from it.
    static Std t(std::string const &bytes) { return widened<C>(bytes); }
    static std::basic_string<Other> o(std::string const &bytes) { return widened<Other>(bytes); }
    static S s(std::string const &bytes) { return S(t(bytes)); }
    // The same as a zero-terminated pointer that stays valid until the program ends.
    static C const *z(std::string const &bytes) {
        static std::deque<Std> keep;
        return keep.emplace_back(t(bytes)).c_str();
    }
    static C const *null() { return nullptr; }
    static C ch(char c) { return static_cast<C>(static_cast<unsigned char>(c)); }
};

using StringClasses = testing::Types<CKrStringA, CKrStringW>;
TYPED_TEST_SUITE(StringT, StringClasses);

// Checks all six operators of both argument orders against the expected sign of a <=> b.
template <class S, class P>
void expectOrder(S const &a, P b, int sign) {
    EXPECT_EQ(a == b, sign == 0);
    EXPECT_EQ(a != b, sign != 0);
    EXPECT_EQ(a < b, sign < 0);
    EXPECT_EQ(a <= b, sign <= 0);
    EXPECT_EQ(a > b, sign > 0);
    EXPECT_EQ(a >= b, sign >= 0);
    EXPECT_EQ(b == a, sign == 0);
    EXPECT_EQ(b != a, sign != 0);
    EXPECT_EQ(b<a, sign> 0);
    EXPECT_EQ(b <= a, sign >= 0);
    EXPECT_EQ(b > a, sign < 0);
    EXPECT_EQ(b >= a, sign <= 0);
}

}  // namespace

TYPED_TEST(StringT, CopiesStopAtTheFirstZeroStandardStringsKeepEverything) {
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    using S = TypeParam;
    const auto raw = this->t(std::string("ab\0cd", 5));
    S whole(raw);
    ASSERT_EQ(whole.GetLength(), 5u);
    S assigned = this->s("zzzzzz");
    assigned = whole;
    expectRows({SROW(S(raw), raw), SROW(this->s("other") = raw, raw), SROW(S(whole), this->t("ab")),
                SROW(assigned, this->t("ab")), SROW(S(std::move(S(raw))), this->t("ab"))});
    S moved;
    moved = std::move(whole);
    EXPECT_EQ(moved.GetStdString(), this->t("ab"));
    EXPECT_TRUE(whole.IsEmpty());  // NOLINT(bugprone-use-after-move): documented state

    // Assignment from itself, its own buffer, or a pointer into it.
    S x = this->s("hello world");
    S &alias = x;
    x = alias;
    x = x.GetString();
    EXPECT_EQ(x.GetStdString(), this->t("hello world"));
    x = x.GetString() + 6;
    EXPECT_EQ(x.GetStdString(), this->t("world"));
    x = this->null();
    EXPECT_TRUE(x.IsEmpty());
    EXPECT_EQ(*x.GetString(), 0);  // never a null pointer

    // Capacity: reserved when asked, a request beyond max_size ignored without an exception,
    // Empty keeps it.
    S c(z("abc"), 100);
    EXPECT_GE(c.GetBufferLength(), 100u);
    expectRows({SROW(S(this->null(), 10), this->t("")), SROW(S(z("x"), SIZE_MAX), this->t("x")),
                SROW(S(this->o("caf\xE9").c_str()), this->t("caf\xE9"))});
    EXPECT_TRUE(c.Empty().IsEmpty());
    EXPECT_GE(c.GetBufferLength(), 100u);
}

TYPED_TEST(StringT, AccessAndCopyOutAtTheBoundaries) {
    using S = TypeParam;
    S x = this->s("abc");
    // operator[] takes any integer type; at or beyond the length it gives 0.
    expectRows({NROW(x.GetAt(2), 'c'), NROW(x.GetAt(3), 0), NROW(x.GetAt(8), 0),
                NROW(x[size_t(1)], 'b'), NROW(x[-1], 0), NROW(x[100L], 0),
                NROW(x.GetLastChar(), 'c'), NROW(S().GetLastChar(), 0)});
    EXPECT_EQ(x.SetAt(3, this->ch('x')), -6);
    EXPECT_EQ(x.SetAt(0, this->ch('X')), 0);
    EXPECT_EQ(x.GetStdString(), this->t("Xbc"));
}

TYPED_TEST(StringT, Searching) {
    const TypeParam x = this->s("abcabcABC");
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    auto c = [this](char ch) { return this->ch(ch); };
    // An empty pattern is found at the start (as by the standard find); a negative start of a
    // reverse search means from the last character.
    expectRows({NROW(x.Find(c('c')), 2), NROW(x.Find(c('c'), 3), 5), NROW(x.Find(c('a'), 9), -1),
                NROW(x.Find(z("bc"), 2), 4), NROW(x.Find(z("zz")), -1),
                NROW(x.Find(this->null()), -1), NROW(x.Find(z(""), 9), 9),
                NROW(x.Find(z("a"), 100), -1)});
    expectRows({NROW(x.FindNoCase(c('C'), 6), 8), NROW(x.FindNoCase(z("CAB")), 2),
                NROW(x.FindNoCase(z("cab"), 3), 5), NROW(x.FindNoCase(z("a"), 10), -1),
                NROW(x.FindNoCase(this->null()), -1)});
    expectRows({NROW(x.FindOneOf(z("xC")), 8), NROW(x.FindOneOf(z("cb"), 3), 4),
                NROW(x.FindOneOf(z("")), -1), NROW(x.FindOneOf(this->null()), -1),
                NROW(x.FindOneOf(z("a"), 9), -1)});
    expectRows({NROW(x.ReverseFind(c('a')), 3), NROW(x.ReverseFind(c('a'), 2), 0),
                NROW(x.ReverseFind(c('C'), 1000), 8), NROW(x.ReverseFind(c('b'), 0), -1),
                NROW(x.ReverseFind(c('a'), -7), 3), NROW(x.ReverseFindNoCase(c('a')), 6),
                NROW(TypeParam().ReverseFind(c('a')), -1)});
}

TYPED_TEST(StringT, InsertDeleteTruncateRemove) {
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    auto s = [this](char const *bytes) { return this->s(bytes); };
    auto t = [this](char const *bytes) { return this->t(bytes); };
    expectRows(
        {SROW(s("abc").Insert(z("XY"), 1), t("aXYbc")),
         SROW(s("abc").Insert(z("XY"), 1, 1), t("aXbc")),
         SROW(s("abc").Insert(z("XY"), 1, 9), t("aXYbc")),  // the count stops at the terminator
         SROW(s("abc").Insert(z("XY"), 3), t("abcXY")),
         SROW(s("abc").Insert(z("XY"), 3, 1), t("abcX")),
         SROW(s("abc").Insert(z("XY"), 4), t("abc")),
         SROW(s("abc").Insert(z("XY"), 0, 0), t("abc")), SROW(s("").Insert(z("XY"), 0), t("XY")),
         SROW(s("abcdef").Delete(1), t("acdef")), SROW(s("abcdef").Delete(1, -1), t("a")),
         SROW(s("abcdef").Delete(4, 9), t("abcd")), SROW(s("abcdef").Delete(6), t("abcdef")),
         SROW(s("abcdef").Delete(7), t("abcdef")), SROW(s("abcdef").Delete(0, 0), t("abcdef")),
         SROW(s("abcdef").DeleteLeft(2), t("cdef")), SROW(s("abc").DeleteLeft(10), t("")),
         SROW(s("abcdef").DeleteRight(2), t("abcd")), SROW(s("abc").DeleteRight(10), t("")),
         SROW(s("abc").DeleteRight(3), t(""))});
    {
        DiagCapture diag;
        TypeParam x = s("abc");
        x.Insert(this->null(), 1);
        EXPECT_EQ(x.GetStdString(), t("abc"));
        const bool narrow = std::is_same_v<TypeParam, CKrStringA>;
        EXPECT_TRUE(expectReport(diag, L"Error: Insert needs a text", L"text != nullptr",
                                 narrow ? L"strings/CKrStringA" : L"strings/CKrStringW"));
    }
    TypeParam x = s("abcdef");
    x.TruncateAt(10);
    EXPECT_EQ(x.GetStdString(), t("abcdef"));
    x.TruncateAt(2);
    EXPECT_EQ(x.GetStdString(), t("ab"));

    TypeParam r = s("a.b.c..");
    EXPECT_EQ(r.Remove(this->ch('.')), 4u);
    EXPECT_EQ(r.GetStdString(), t("abc"));
    EXPECT_EQ(r.Remove(this->ch('x')), 0u);
}

TYPED_TEST(StringT, ReplaceAndReplaceAt) {
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    using S = TypeParam;
    // "<count> <text>" after Replace (or ReplaceNoCase); null arguments are spelled "(null)".
    auto replaced = [this](char const *text, char const *old, char const *with,
                           bool noCase = false) {
        S x = this->s(text);
        auto const o = this->t(old ? old : ""), w = this->t(with ? with : "");
        auto const *op = old ? o.c_str() : nullptr, *wp = with ? w.c_str() : nullptr;
        const int64_t n = noCase ? x.ReplaceNoCase(op, wp) : x.Replace(op, wp);
        return this->t(std::to_string(n) + " ") + x.GetStdString();
    };
    auto at = [this](size_t pos, size_t count, char const *text) {
        S x = this->s("abcde");
        auto const tx = this->t(text ? text : "");
        x.ReplaceAt(static_cast<typename S::Index>(pos), static_cast<typename S::Index>(count),
                    text ? tx.c_str() : nullptr);
        return x.GetStdString();
    };
    auto t = [this](char const *bytes) { return this->t(bytes); };
    expectRows(
        {ROW(replaced("aaa", "a", "aa"), t("3 aaaaaa")),  // inserted text is not searched again
         ROW(replaced("aaa", "aa", "X"), t("1 Xa")),      // occurrences do not overlap
         ROW(replaced("a-b-c", "-", ""), t("2 abc")),
         ROW(replaced("a-b-c", "-", nullptr), t("2 abc")),
         ROW(replaced("abc", "", "x"), t("0 abc")), ROW(replaced("abc", nullptr, "x"), t("0 abc")),
         ROW(replaced("abc", "abcd", "x"), t("0 abc")),
         ROW(replaced("abcabc", "abc", "abc"), t("2 abcabc")),
         ROW(replaced("xaxbx", "x", "<x>"), t("3 <x>a<x>b<x>")),
         ROW(replaced("Hello HELLO hello", "hello", "bye", true), t("3 bye bye bye")),
         ROW(replaced("abc", "", "x", true), t("0 abc")),
         // ReplaceAt does nothing unless 0 < count <= length - pos.
         ROW(at(1, 2, "XY"), t("aXYde")), ROW(at(1, 2, "X"), t("aXde")),
         ROW(at(1, 2, "XYZ"), t("aXYZde")), ROW(at(0, 5, ""), t("")),
         ROW(at(2, 1, nullptr), t("abde")), ROW(at(1, 0, "X"), t("abcde")),
         ROW(at(6, 1, "X"), t("abcde")), ROW(at(3, 3, "X"), t("abcde")),
         ROW(at(5, 1, "X"), t("abcde"))});
    // The replacement may be the string's own buffer.
    S self = this->s("ab");
    EXPECT_EQ(self.Replace(z("b"), self.GetString()), 1);
    EXPECT_EQ(self.GetStdString(), t("aab"));
}

TYPED_TEST(StringT, TrimCaseSlashAndExtraction) {
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    auto s = [this](char const *bytes) { return this->s(bytes); };
    auto t = [this](char const *bytes) { return this->t(bytes); };
    TypeParam x = s("abcdef");
    expectRows({// Trim without a set removes spaces only.
                SROW(s(" \tx\t ").Trim(), t("\tx\t")), SROW(s("  x  ").TrimLeft(), t("x  ")),
                SROW(s("  x  ").TrimRight(), t("  x")),
                SROW(s(" \t\r\n").Trim(z(" \t\r\n")), t("")), SROW(s("xxaxx").Trim(z("x")), t("a")),
                SROW(s(" a ").Trim(z("")), t(" a ")), SROW(s("").Trim(), t("")),
                SROW(s("MiXed 1").MakeLower(), t("mixed 1")),
                SROW(s("MiXed 1").MakeUpper(), t("MIXED 1")),
                // Only a backslash counts as the final slash.
                SROW(s("C:").EndInSlash(), t("C:\\")), SROW(s("C:\\").EndInSlash(), t("C:\\")),
                SROW(s("a/").EndInSlash(), t("a/\\")), SROW(s("").EndInSlash(), t("\\")),
                SROW(x.Mid(2, -1), t("cdef")), SROW(x.Mid(2, 2), t("cd")),
                SROW(x.Mid(4, 100), t("ef")), SROW(x.Mid(6, 1), t("")), SROW(x.Mid(1, 0), t("")),
                SROW(x.Left(10), t("abcdef")), SROW(x.Left(2), t("ab")), SROW(x.Left(0), t("")),
                SROW(x.Right(2), t("ef")), SROW(x.Right(99), t("abcdef"))});
    // Extraction keeps embedded zeros of the source.
    TypeParam zeros(this->t(std::string("a\0b\0c", 5)));
    expectRows({SROW(zeros.Mid(1, 3), this->t(std::string("\0b\0", 3))),
                SROW(zeros.Left(2), this->t(std::string("a\0", 2))),
                SROW(zeros.Right(2), this->t(std::string("\0c", 2)))});
}

TYPED_TEST(StringT, AppendingNumbersAndConcatenation) {
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    using S = TypeParam;
    auto t = [this](char const *bytes) { return this->t(bytes); };
    // Null appends nothing; the other width is converted; a negative count reads to the zero.
    S x;
    x += this->null();
    x += this->o("\xE9").c_str();
    x.AddChar(this->o("f")[0]).AddString(this->null()).AddString(this->o("h").c_str());
    x.AddChars(z("jkl"), 2);
    x.AddChars(z("m"), -1);
    x.AddChars(nullptr, 3);
    EXPECT_EQ(x.GetStdString(), t("\xE9"
                                  "fhjkm"));
    expectRows({SROW(S().AddInt(-42), t("-42")), SROW(S().AddInt(INT_MIN), t("-2147483648")),
                SROW(S().AddInt(0), t("0")), SROW(S().AddDouble(1.0, 3), t("1.000")),
                SROW(S().AddDouble(-0.5, 1), t("-0.5")), SROW(S().AddDouble(2.345, 0), t("2"))});

    const S a = this->s("ab"), b = this->s("cd");
    const auto bang = t("!");
    // Chains reuse the temporary's buffer; the result is the same, embedded zeros included, also
    // when the right operand lies in the temporary itself.
    S zeros(this->t(std::string("x\0y", 3))), tt = this->s("t"), shortS = this->s("s");
    S longS(this->t(std::string(40, 'L')));
    auto const *shortText = shortS.GetString();
    auto const *longText = longS.GetString();
    expectRows(
        {SROW(a + b, t("abcd")), SROW(a + this->ch('x'), t("abx")),
         SROW(this->ch('x') + a, t("xab")), SROW(a + bang.c_str(), t("ab!")),
         SROW(bang.c_str() + a, t("!ab")), SROW(a + this->null(), t("ab")),
         SROW(this->null() + a, t("ab")),
         SROW(zeros + b + this->ch('e') + bang.c_str() + this->null(), this->t(std::string("x\0ycd"
                                                                                           "e!",
                                                                                           7))),
         SROW(S(t("p")) + b + a, t("pcdab")), SROW(std::move(tt) + tt, t("tt")),
         SROW(std::move(shortS) + shortText, t("ss")),
         SROW(std::move(longS) + longText, this->t(std::string(80, 'L')))});
}

TYPED_TEST(StringT, OrderingIsUnsignedExactAndStopsAtTheFirstZero) {
    auto z = [](char const *bytes) { return TestFixture::z(bytes); };
    using S = TypeParam;
    struct Case {
        char const *a, *b;
        int sign;
    } const cases[] = {
        {"abc", "abc", 0}, {"ab", "abc", -1}, {"abd", "abc", 1},     {"", "a", -1},
        {"", "", 0},       {"\xE9", "z", 1},  {"a\x80", "a\x7F", 1}, {"B", "a", -1},
    };
    for (auto const &c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        const S a = this->s(c.a), b = this->s(c.b);
        const auto bt = this->t(c.b);
        expectOrder(a, bt.c_str(), c.sign);
        expectOrder(a, b, c.sign);
        EXPECT_EQ(a.Compare(bt.c_str()), c.sign);  // exactly -1/0/1
        EXPECT_EQ(a.Equals(b), c.sign == 0);
        EXPECT_EQ(a.Less(bt.c_str()), c.sign < 0);
        EXPECT_EQ(a.LessEqual(b), c.sign <= 0);
        // The other width is converted first (byte for unit in the "C" locale).
        EXPECT_EQ(a.Equals(this->o(c.b).c_str()), c.sign == 0);
        EXPECT_EQ(a.Less(this->o(c.b).c_str()), c.sign < 0);
        EXPECT_EQ(a.LessEqual(this->o(c.b).c_str()), c.sign <= 0);
    }
    expectRows({NROW(this->s("ABC").CompareNoCase(z("abc")), 0),
                NROW(this->s("ABC").CompareNoCase(z("abz")), -1),
                NROW(this->s("abz").CompareNoCase(z("ABC")), 1),
                NROW(this->s("").CompareNoCase(z("a")), -1)});

    // Characters after an embedded zero do not count, on either side.
    const S za(this->t(std::string("ab\0x", 4))), zb(this->t(std::string("ab\0y", 4)));
    expectOrder(za, zb, 0);
    expectOrder(za, z("ab"), 0);
    EXPECT_TRUE(za.Equals(zb));
}

// Callers rely on `s < nullptr` being true and `nullptr < s` false.
TYPED_TEST(StringT, NullPointerEqualsEmptyAndSortsAfterEverythingElse) {
    using S = TypeParam;
    typename S::Other const *otherNull = nullptr;
    const S empty, abc = this->s("abc");
    expectOrder(empty, this->null(), 0);
    expectOrder(abc, this->null(), -1);
    expectRows({NROW(abc.Compare(nullptr), -1), NROW(empty.Compare(nullptr), 0),
                NROW(abc.CompareNoCase(nullptr), -1), NROW(empty.CompareNoCase(nullptr), 0),
                NROW(abc.Less(this->null()), true), NROW(empty.Equals(this->null()), true),
                NROW(abc.Less(otherNull), true), NROW(abc.LessEqual(otherNull), true),
                NROW(empty.Equals(otherNull), true), NROW(abc.Equals(otherNull), false)});
}
