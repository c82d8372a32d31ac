// The hand-written UTF coders keep their deliberate limits: 16-bit accumulator, per-unit
// encoding of surrogates, UTF16toW's false after a pair.  These are what stored data relies on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "strings/CKrStringUtils.h"

namespace {

std::wstring decode(const char *bytes, bool *ok = nullptr) {
    CKrStringW out(L"previous contents");
    bool r = CKrStringUtils::UTF8toW(bytes, out);
    if (ok) *ok = r;
    return out.GetStdString();
}

}  // namespace

TEST(Utf8Decode, WellFormedSequencesOfEveryLength) {
    bool ok = false;
    EXPECT_EQ(decode("A\xC3\xA9\xE2\x82\xAC", &ok), std::wstring(L"A\u00e9\u20ac"));
    EXPECT_TRUE(ok);
    // Four bytes keep only the low 16 bits of the code point: U+1F600 -> 0xF600.
    EXPECT_EQ(decode("\xF0\x9F\x98\x80", &ok), std::wstring(1, wchar_t(0xF600)));
    EXPECT_TRUE(ok);
    EXPECT_EQ(decode("", &ok), L"");
    EXPECT_TRUE(ok);
}

TEST(Utf8Decode, StrayContinuationFailsButDecodingGoesOn) {
    bool ok = true;
    EXPECT_EQ(decode("\x80", &ok), L"");
    EXPECT_FALSE(ok);
    EXPECT_EQ(decode("a\x80" "b\xC3\xA9", &ok), std::wstring(L"ab\u00e9"));
    EXPECT_FALSE(ok);
}

TEST(Utf8Decode, OverlongFormsDecodeAndHighLeadBytesAreSkipped) {
    bool ok = false;
    EXPECT_EQ(decode("\xC1\x81", &ok), L"A");  // overlong 'A'
    EXPECT_TRUE(ok);
    EXPECT_EQ(decode("a\xF8\xFF" "b", &ok), L"ab");
    EXPECT_TRUE(ok);
}

TEST(Utf8Decode, UnfinishedSequenceLeaksIntoTheNextOne) {
    // C3 starts a two-byte sequence that never finishes; the next lead byte ORs into the same
    // accumulator: (0x03 | 0x04) << 6 | 0x29 = 0x1E9.
    bool ok = false;
    EXPECT_EQ(decode("\xC3\xC4\xA9", &ok), std::wstring(1, wchar_t(0x1E9)));
    EXPECT_TRUE(ok);
    // An ASCII byte in the middle is appended and does not reset the sequence.
    EXPECT_EQ(decode("\xC3z\xA9"), std::wstring(L"z\u00e9"));
}

TEST(Utf8Decode, BoundedVariantStopsAtMaxBytes) {
    CKrStringW out;
    EXPECT_TRUE(CKrStringUtils::UTF8toWn("abcdef", out, 3));
    EXPECT_EQ(out.GetStdString(), L"abc");
    // Cutting inside a sequence drops the unfinished character.
    EXPECT_TRUE(CKrStringUtils::UTF8toWn("a\xE2\x82\xAC", out, 3));
    EXPECT_EQ(out.GetStdString(), L"a");
    EXPECT_TRUE(CKrStringUtils::UTF8toWn("abc", out, 0));
    EXPECT_EQ(out.GetStdString(), L"");
    EXPECT_TRUE(CKrStringUtils::UTF8toWn("ab", out, 100));  // stops at the terminator
    EXPECT_EQ(out.GetStdString(), L"ab");
}

TEST(Utf8Encode, EachUnitOnItsOwnBoundaries) {
    CKrStringA out("old");
    const wchar_t text[] = {0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0};
    EXPECT_TRUE(CKrStringUtils::WtoUTF8(text, out));
    EXPECT_EQ(out.GetStdString(), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_TRUE(CKrStringUtils::WtoUTF8(pair, out));
    EXPECT_EQ(out.GetStdString(), "\xED\xA0\xBD\xED\xB8\x80");
    EXPECT_TRUE(CKrStringUtils::WtoUTF8(L"", out));
    EXPECT_TRUE(out.IsEmpty());
}

TEST(Utf16Copy, PlainUnitsAndCounts) {
    const unsigned short units[] = {'a', 0xE9, 0x4E2D, 0};
    CKrStringW out(L"x");
    EXPECT_TRUE(CKrStringUtils::UTF16toW(units, -1, out));
    EXPECT_EQ(out.GetStdString(), std::wstring(L"a\u00e9\u4e2d"));
    EXPECT_TRUE(CKrStringUtils::UTF16toW(units, 2, out));
    EXPECT_EQ(out.GetStdString(), std::wstring(L"a\u00e9"));
    EXPECT_TRUE(CKrStringUtils::UTF16toW(units, 0, out));
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_TRUE(CKrStringUtils::UTF16toW(units, -5, out));
    EXPECT_TRUE(out.IsEmpty());
    // A zero unit ends the input even when the count goes further.
    EXPECT_TRUE(CKrStringUtils::UTF16toW(units, 10, out));
    EXPECT_EQ(out.GetLength(), 3u);
}

TEST(Utf16Copy, SurrogatesAlwaysEndInFalse) {
    CKrStringW out;
    const unsigned short pair[] = {0x41, 0xD83D, 0xDE00};
    EXPECT_FALSE(CKrStringUtils::UTF16toW(pair, 3, out));
    // "A" and one combined unit: (0xDE00 << 10 | (0xD83D & 0x3FF)) cut to 16 bits.
    ASSERT_EQ(out.GetLength(), 2u);
    EXPECT_EQ(out[0], L'A');
    EXPECT_EQ(static_cast<unsigned>(out[1]), ((0xDE00u << 10) | 0x3Du) & 0xFFFFu);

    const unsigned short lowFirst[] = {0x41, 0xDC00, 0x42};
    EXPECT_FALSE(CKrStringUtils::UTF16toW(lowFirst, 3, out));
    EXPECT_EQ(out.GetStdString(), L"A");
    const unsigned short highLast[] = {0x41, 0xD800};
    EXPECT_FALSE(CKrStringUtils::UTF16toW(highLast, 2, out));
    const unsigned short highThenZero[] = {0x41, 0xD800, 0, 0xDC00};
    EXPECT_FALSE(CKrStringUtils::UTF16toW(highThenZero, 4, out));
    const unsigned short highThenPlain[] = {0xD800, 0x41, 0};
    EXPECT_FALSE(CKrStringUtils::UTF16toW(highThenPlain, -1, out));
    EXPECT_TRUE(out.IsEmpty());
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

TEST(Utf8Check, StructuralRules) {
    struct Case {
        const char *bytes;
        bool valid;
    } cases[] = {
        {"", true},
        {"plain ascii", true},
        {"\xC0\x80", true},               // overlong zero is accepted
        {"\xF4\x90\x80\x80", true},       // above U+10FFFF is accepted
        {"\xE2\x82\xAC", true},
        {"\xED\x9F\xBF", true},           // U+D7FF, just below the surrogates
        {"\xED\xA0\x80", false},          // encoded surrogate
        {"\xED\xBF\xBF", false},
        {"\xED", false},                  // 0xED as the last byte
        {"\xE2\x82", false},              // cut off
        {"\x80", false},
        {"\xBF", false},
        {"\xF8\x80\x80\x80\x80", false},
        {"\xFF", false},
        {"\xC3\x28", false},              // not a continuation byte
        {"ok\xF0\x9F\x98\x80ok", true},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(CKrStringUtils::utf8_check_is_valid(c.bytes), c.valid) << testing::PrintToString(std::string(c.bytes));
    }
}
