// CKrStringUtils.  The hand-written UTF coders keep their deliberate limits (16-bit accumulator,
// per-unit encoding of surrogates, UTF16toW's false after a pair): stored data relies on them.
// Number parsing keeps the C runtime's quirks; joining.  Random text against iconv is checked by
// the fuzz target utf8_iconv.
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "strings/CKrStringUtils.h"

namespace {
std::string show(std::string const &bytes) { return testing::PrintToString(bytes); }
std::wstring unit(unsigned u) { return std::wstring(1, static_cast<wchar_t>(u)); }
// Parses `text` into a target that starts at `start`; the result must be true whatever happens.
template <class T, class S>
T parse(S const &text, T start) {
    EXPECT_TRUE(CKrStringUtils::ToNumber(text, start));
    return start;
}
}  // namespace

TEST(Utf8Decode, DeliberateLimitsRecoveryAndByteBound) {
    constexpr int kAll = -1;  // UTF8toW; otherwise UTF8toWn with this many bytes
    struct Case {
        char const *bytes;
        int max;
        std::wstring expected;
        bool ok;
    } const cases[] = {
        {"", kAll, L"", true},
        {"A\xC3\xA9\xE2\x82\xAC", kAll, L"A\u00e9\u20ac", true},
        {"\xF0\x9F\x98\x80", kAll, unit(0xF600), true},  // U+1F600 keeps its low 16 bits only
        {"\x80", kAll, L"", false},  // a stray continuation byte fails, but decoding goes on
        {"a\x80\x62\xC3\xA9", kAll, L"ab\u00e9", false},  // 0x62 is 'b'
        {"\xC1\x81", kAll, L"A", true},                   // overlong 'A' decodes
        {"a\xF8\xFF\x62", kAll, L"ab", true},             // lead bytes F8..FF are skipped
        // An unfinished sequence leaks into the next: (0x03 | 0x04) << 6 | 0x29 = 0x1E9.
        {"\xC3\xC4\xA9", kAll, unit(0x1E9), true},
        {"\xC3z\xA9", kAll, L"z\u00e9", true},  // an ASCII byte inside does not reset it
        {"abcdef", 3, L"abc", true},
        {"abc", 0, L"", true},
        {"a\xE2\x82\xAC", 3, L"a", true},  // cut inside a sequence: the character is dropped
        {"ab", 100, L"ab", true},          // stops at the terminator
    };
    for (auto const &c : cases) {
        CKrStringW out(L"previous contents");
        const bool ok = c.max == kAll ? CKrStringUtils::UTF8toW(c.bytes, out)
                                      : CKrStringUtils::UTF8toWn(c.bytes, out, unsigned(c.max));
        EXPECT_EQ(ok, c.ok) << show(c.bytes) << " max " << c.max;
        EXPECT_EQ(out.GetStdString(), c.expected) << show(c.bytes) << " max " << c.max;
    }
}

// Every unit outside the surrogates, in one string, against the standard facet (through
// ToStdStringUtf8) and back through both decoders; surrogates are encoded one unit at a time.
TEST(Utf8Encode, EveryBmpUnitMatchesTheFacetSurrogatesOneUnitAtATime) {
    std::wstring all;
    for (unsigned u = 1; u <= 0xFFFF; ++u)
        if (u < 0xD800 || u > 0xDFFF) all += static_cast<wchar_t>(u);
    CKrStringA ours;
    ASSERT_TRUE(CKrStringUtils::WtoUTF8(all.c_str(), ours));
    const std::string reference = CKrStringW(all).ToStdStringUtf8();
    ASSERT_EQ(ours.GetStdString(), reference);
    CKrStringW back;
    ASSERT_TRUE(CKrStringUtils::UTF8toW(reference.c_str(), back));
    EXPECT_EQ(back.GetStdString(), all);
    EXPECT_EQ(CKrStringW::FromStdStringUtf8(reference).GetStdString(), all);

    CKrStringA out("old");
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_TRUE(CKrStringUtils::WtoUTF8(pair, out));
    EXPECT_EQ(out.GetStdString(), "\xED\xA0\xBD\xED\xB8\x80");
    EXPECT_TRUE(CKrStringUtils::WtoUTF8(L"", out));
    EXPECT_TRUE(out.IsEmpty());
}

TEST(Utf16Copy, CountsZeroUnitAndSurrogates) {
    const std::vector<unsigned short> plain = {'a', 0xE9, 0x4E2D, 0};
    struct Case {
        std::vector<unsigned short> units;
        int count;
        bool ok;
        std::wstring expected;
    };
    Case const cases[] = {
        {plain, -1, true, L"a\u00e9\u4e2d"},
        {plain, 2, true, L"a\u00e9"},
        {plain, 0, true, L""},
        {plain, -5, true, L""},
        {plain, 10, true, L"a\u00e9\u4e2d"},  // a zero unit ends the input before the count
        // A pair appends one combined unit, (low << 10 | (high & 0x3FF)) cut to 16 bits, then
        // the low surrogate is looked at on its own and ends the call with false.
        {{0x41, 0xD83D, 0xDE00}, 3, false, L"A" + unit(((0xDE00u << 10) | 0x3Du) & 0xFFFFu)},
        {{0x41, 0xDC00, 0x42}, 3, false, L"A"},
        {{0x41, 0xD800}, 2, false, L"A"},
        {{0x41, 0xD800, 0, 0xDC00}, 4, false, L"A"},
        {{0xD800, 0x41, 0}, -1, false, L""},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        Case const &c = cases[i];
        CKrStringW out(L"previous");
        EXPECT_EQ(CKrStringUtils::UTF16toW(c.units.data(), c.count, out), c.ok) << "case " << i;
        EXPECT_EQ(out.GetStdString(), c.expected) << "case " << i;
    }
}

TEST(Utf16Out, MeasureRefuseAndPad) {
    int size = 0;
    EXPECT_TRUE(CKrStringUtils::WtoUTF16(L"abc", nullptr, size));
    EXPECT_EQ(size, 4);
    std::vector<unsigned short> buf(6, 0xAAAA);
    size = 3;
    EXPECT_FALSE(CKrStringUtils::WtoUTF16(L"abc", buf.data(), size));
    EXPECT_EQ(buf[0], 0xAAAA);
    size = 6;
    EXPECT_TRUE(CKrStringUtils::WtoUTF16(L"ab\u4e2d", buf.data(), size));
    EXPECT_EQ(buf, (std::vector<unsigned short>{'a', 'b', 0x4E2D, 0, 0, 0}));
    size = -1;
    EXPECT_FALSE(CKrStringUtils::WtoUTF16(L"", buf.data(), size));
}

// Strictly valid and invalid text is also compared with iconv by the fuzz target utf8_iconv;
// these rows pin the deliberate acceptances and the boundaries around the surrogates.
TEST(Utf8Check, StructuralRules) {
    // Accepted: overlong forms (the overlong zero) and code points above U+10FFFF on purpose,
    // U+D7FF just below the surrogates.
    for (char const *valid : {"", "plain ascii", "\xE2\x82\xAC", "ok\xF0\x9F\x98\x80ok", "\xC0\x80",
                              "\xF4\x90\x80\x80", "\xED\x9F\xBF"})
        EXPECT_TRUE(CKrStringUtils::utf8_check_is_valid(valid)) << show(valid);
    // Refused: encoded surrogates (first and last), 0xED as the last byte, a sequence cut off,
    // stray continuation bytes, lead bytes F8..FF, a lead byte followed by ASCII.
    for (char const *invalid : {"\xED\xA0\x80", "\xED\xBF\xBF", "\xED", "\xE2\x82", "\x80", "\xBF",
                                "\xF8\x80\x80\x80\x80", "\xFF", "\xC3\x28"})
        EXPECT_FALSE(CKrStringUtils::utf8_check_is_valid(invalid)) << show(invalid);
}

TEST(ToNumber, EightBitFollowsAtolWideKeepsTargetWhenNothingScans) {
    using A = CKrStringA;
    using W = CKrStringW;
    EXPECT_EQ(parse(A("12abc"), 99), 12);
    EXPECT_EQ(parse(A("abc"), 99), 0);
    EXPECT_EQ(parse(A("  -42x"), 99), -42);
    EXPECT_EQ(parse(A("-1"), 99u), 0xFFFFFFFFu);
    EXPECT_EQ(parse(A(""), 99u), 0u);
    EXPECT_EQ(parse(W(L"abc"), 77), 77);
    EXPECT_EQ(parse(W(L" 31 rest"), 77), 31);
    EXPECT_EQ(parse(W(L""), 5u), 5u);
    EXPECT_EQ(parse(W(L"4000000000"), 5u), 4000000000u);
}

TEST(Join, SeparatorsOnlyBetweenNeighbours) {
    auto join = [](std::vector<CKrStringW> const &parts, wchar_t const *separator) {
        return CKrStringUtils::Join(parts, CKrStringW(separator)).GetStdString();
    };
    EXPECT_EQ(join({}, L", "), L"");
    EXPECT_EQ(join({L"one"}, L"--"), L"one");
    EXPECT_EQ(join({L"a", L"", L"c"}, L"/"), L"a//c");
    EXPECT_EQ(join({L"a", L"b"}, nullptr), L"ab");
}
