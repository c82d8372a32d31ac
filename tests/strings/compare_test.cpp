// Ordering and equality of CKrStringA / CKrStringW: strcmp-like up to the first zero, unsigned
// characters, exact -1/0/1 results, and the null-pointer rule.
#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

#include "Rows.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {
using A = CKrStringA;
using W = CKrStringW;

// Checks all six operators of both argument orders against the expected sign of a <=> b.
template <class S, class P>
void expectOrder(S const &a, P b, int sign, char const *what) {
    SCOPED_TRACE(what);
    EXPECT_EQ(a == b, sign == 0);
    EXPECT_EQ(a != b, sign != 0);
    EXPECT_EQ(a < b, sign < 0);
    EXPECT_EQ(a <= b, sign <= 0);
    EXPECT_EQ(a > b, sign > 0);
    EXPECT_EQ(a >= b, sign >= 0);
    EXPECT_EQ(b == a, sign == 0);
    EXPECT_EQ(b != a, sign != 0);
    EXPECT_EQ(b < a, sign > 0);
    EXPECT_EQ(b <= a, sign >= 0);
    EXPECT_EQ(b > a, sign < 0);
    EXPECT_EQ(b >= a, sign <= 0);
}

}  // namespace

TEST(CompareBoth, OrderingIsUnsignedAndExactWithOrWithoutCase) {
    struct Case { char const *a, *b; int sign; } const cases[] = {
        {"abc", "abc", 0}, {"ab", "abc", -1},  {"abd", "abc", 1},  {"", "a", -1},
        {"", "", 0},       {"\xE9", "z", 1},   {"a\x80", "a\x7F", 1}, {"B", "a", -1},
    };
    for (auto const &c : cases) {
        CKrStringA a(c.a), b(c.b);
        expectOrder(a, c.b, c.sign, c.a);
        expectOrder(a, b, c.sign, c.a);
        EXPECT_EQ(a.Compare(c.b), c.sign) << c.a << " vs " << c.b;  // exactly -1/0/1
        EXPECT_EQ(a.Equals(b), c.sign == 0);
        EXPECT_EQ(a.Less(c.b), c.sign < 0);
        EXPECT_EQ(a.LessEqual(b), c.sign <= 0);
    }
    struct WideCase { wchar_t const *a, *b; int sign; } const wide[] = {
        {L"abc", L"abc", 0}, {L"ab", L"abc", -1}, {L"\u00e9", L"z", 1},
        {L"\uffff", L"\u0100", 1}, {L"", L"x", -1},
    };
    for (auto const &c : wide) {
        CKrStringW a(c.a), b(c.b);
        expectOrder(a, c.b, c.sign, "wide");
        expectOrder(a, b, c.sign, "wide");
        EXPECT_EQ(a.Compare(c.b), c.sign);
        EXPECT_EQ(a.Less(b), c.sign < 0);
    }
    // Without case, also exactly -1, 0 or 1.
    expectRows({NROW(A("ABC").CompareNoCase("abc"), 0), NROW(A("ABC").CompareNoCase("abz"), -1),
                NROW(A("abz").CompareNoCase("ABC"), 1), NROW(A("").CompareNoCase("a"), -1),
                NROW(W(L"Hello").CompareNoCase(L"HELLO"), 0), NROW(W(L"a").CompareNoCase(L"Z"), -1),
                NROW(W(L"zz").CompareNoCase(L"A"), 1)});
}

// Callers rely on `s < nullptr` being true and `nullptr < s` false.
TEST(CompareBoth, NullPointerEqualsEmptyAndSortsAfterEverythingElse) {
    char const *null = nullptr;
    wchar_t const *wnull = nullptr;
    const A empty, abc("abc");
    const W wempty, wabc(L"abc");
    expectOrder(empty, null, 0, "empty vs null");
    expectOrder(abc, null, -1, "abc vs null");
    expectOrder(wempty, wnull, 0, "wide empty vs null");
    expectOrder(wabc, wnull, -1, "wide abc vs null");
    expectRows({NROW(abc.Compare(nullptr), -1), NROW(empty.Compare(nullptr), 0),
                NROW(abc.CompareNoCase(nullptr), -1), NROW(wabc.Compare(nullptr), -1),
                NROW(abc.Less(null), true), NROW(empty.Equals(null), true),
                NROW(abc.Less(wnull), true), NROW(wempty.Equals(null), true),
                NROW(wabc.LessEqual(null), true)});
}

TEST(CompareBoth, CharactersAfterAnEmbeddedZeroDoNotCount) {
    CKrStringA a(std::string("ab\0x", 4)), b(std::string("ab\0y", 4));
    ASSERT_EQ(a.GetLength(), 4u);
    expectOrder(a, b, 0, "narrow");
    expectOrder(a, "ab", 0, "narrow vs pointer");
    EXPECT_TRUE(a.Equals(b));
    EXPECT_EQ(a.Compare("ab"), 0);
    CKrStringW wa(std::wstring(L"ab\0x", 4)), wb(std::wstring(L"ab\0y", 4));
    expectOrder(wa, wb, 0, "wide");
    // Hashing must agree with ==, or unordered containers would hold "equal" duplicates.
    EXPECT_EQ(std::hash<CKrStringW>()(wa), std::hash<CKrStringW>()(wb));
    std::unordered_set<CKrStringW> set{wa, wb, CKrStringW(L"ab")};
    EXPECT_EQ(set.size(), 1u);
}

TEST(CompareBoth, OtherWidthArgumentIsConvertedFirst) {
    // Default "C" locale: bytes and units 0x00..0xFF correspond one to one.
    const A a("caf\xE9");
    const W w(L"caf\u00e9");
    expectRows({ROW(a.Equals(L"caf\u00e9"), true), ROW(a.Equals(L"cafe"), false),
                ROW(a.Less(L"caf\u00ea"), true), ROW(a.LessEqual(L"caf\u00e9"), true),
                ROW(w.Equals("caf\xE9"), true), ROW(w.Less("cb"), true),
                ROW(w.Less("caf\xE9"), false), ROW(w.LessEqual("caf\xE9"), true)});
}
