// Ordering and equality of CKrStringA / CKrStringW: strcmp-like up to the first zero, unsigned
// characters, exact -1/0/1 results, and the null-pointer rule.
#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

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

TEST(CompareA, OrderingIsUnsignedAndExact) {
    struct Case {
        char const *a, *b;
        int sign;
    } const cases[] = {
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
}

TEST(CompareW, OrderingIsUnsignedAndExact) {
    struct Case {
        wchar_t const *a, *b;
        int sign;
    } const cases[] = {
        {L"abc", L"abc", 0}, {L"ab", L"abc", -1}, {L"\u00e9", L"z", 1},
        {L"\uffff", L"\u0100", 1}, {L"", L"x", -1},
    };
    for (auto const &c : cases) {
        CKrStringW a(c.a), b(c.b);
        expectOrder(a, c.b, c.sign, "wide");
        expectOrder(a, b, c.sign, "wide");
        EXPECT_EQ(a.Compare(c.b), c.sign);
        EXPECT_EQ(a.Less(b), c.sign < 0);
    }
}

TEST(CompareA, NullPointerEqualsEmptyAndSortsAfterEverythingElse) {
    char const *null = nullptr;
    CKrStringA empty, abc("abc");
    EXPECT_TRUE(empty == null);
    EXPECT_TRUE(null == empty);
    EXPECT_FALSE(abc == null);
    EXPECT_TRUE(abc < null);
    EXPECT_FALSE(null < abc);
    EXPECT_TRUE(null > abc);
    EXPECT_FALSE(null < empty);
    EXPECT_TRUE(null <= empty);
    EXPECT_EQ(abc.Compare(nullptr), -1);
    EXPECT_EQ(empty.Compare(nullptr), 0);
    EXPECT_TRUE(abc.Less(null));
    EXPECT_TRUE(empty.Equals(null));
    EXPECT_TRUE(abc.Less(static_cast<wchar_t const *>(nullptr)));
    EXPECT_EQ(abc.CompareNoCase(nullptr), -1);
}

TEST(CompareW, NullPointerEqualsEmptyAndSortsAfterEverythingElse) {
    wchar_t const *null = nullptr;
    CKrStringW empty, abc(L"abc");
    EXPECT_TRUE(empty == null);
    EXPECT_FALSE(abc == null);
    EXPECT_TRUE(abc < null);
    EXPECT_FALSE(null < abc);
    EXPECT_TRUE(null >= abc);
    EXPECT_EQ(abc.Compare(nullptr), -1);
    EXPECT_TRUE(empty.Equals(static_cast<char const *>(nullptr)));
    EXPECT_TRUE(abc.LessEqual(static_cast<char const *>(nullptr)));
}

TEST(CompareBoth, CharactersAfterAnEmbeddedZeroDoNotCount) {
    CKrStringA a(std::string("ab\0x", 4)), b(std::string("ab\0y", 4)), c("ab");
    EXPECT_EQ(a.GetLength(), 4u);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a < b);
    EXPECT_TRUE(a == c);
    EXPECT_TRUE(a.Equals(b));
    EXPECT_EQ(a.Compare("ab"), 0);

    CKrStringW wa(std::wstring(L"ab\0x", 4)), wb(std::wstring(L"ab\0y", 4));
    EXPECT_TRUE(wa == wb);
    EXPECT_FALSE(wb > wa);
    // Hashing must agree with ==, or unordered containers would hold "equal" duplicates.
    EXPECT_EQ(std::hash<CKrStringW>()(wa), std::hash<CKrStringW>()(wb));
    std::unordered_set<CKrStringW> set{wa, wb, CKrStringW(L"ab")};
    EXPECT_EQ(set.size(), 1u);
}

TEST(CompareBoth, NoCaseGivesExactlyMinusOneZeroOne) {
    EXPECT_EQ(CKrStringA("ABC").CompareNoCase("abc"), 0);
    EXPECT_EQ(CKrStringA("ABC").CompareNoCase("abz"), -1);
    EXPECT_EQ(CKrStringA("abz").CompareNoCase("ABC"), 1);
    EXPECT_EQ(CKrStringA("").CompareNoCase("a"), -1);
    EXPECT_EQ(CKrStringW(L"Hello").CompareNoCase(L"HELLO"), 0);
    EXPECT_EQ(CKrStringW(L"a").CompareNoCase(L"Z"), -1);
    EXPECT_EQ(CKrStringW(L"zz").CompareNoCase(L"A"), 1);
}

TEST(CompareBoth, OtherWidthArgumentIsConvertedFirst) {
    // Default "C" locale: bytes and units 0x00..0xFF correspond one to one.
    CKrStringA a("caf\xE9");
    EXPECT_TRUE(a.Equals(L"caf\u00e9"));
    EXPECT_FALSE(a.Equals(L"cafe"));
    EXPECT_TRUE(a.Less(L"caf\u00ea"));
    EXPECT_TRUE(a.LessEqual(L"caf\u00e9"));
    CKrStringW w(L"caf\u00e9");
    EXPECT_TRUE(w.Equals("caf\xE9"));
    EXPECT_TRUE(w.Less("cb"));
    EXPECT_FALSE(w.Less("caf\xE9"));
    EXPECT_TRUE(w.LessEqual("caf\xE9"));
}
