// Recognising the data forms from their first bytes, and the strict text coders beside it.
#include <gtest/gtest.h>

#include <string>

#include "common/LiteVariantTestUtil.h"
#include "variant/KrDataFormat.h"

namespace {

// ASCII text as UTF-16 units, with or without the byte-order mark.
std::string utf16(std::string const &ascii, bool mark, bool bigEndian = false) {
    std::string out = !mark ? "" : bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (char c : ascii) out += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return out;
}

// A level "a" with one int32 child "x": the smallest complete top-level level.
std::string smallLevel() {
    CKrLiteVariantW w;
    w.LevelBegin(L"a");
    w.Set(7, L"x");
    w.LevelEnd();
    CKrLiteVariantR r;
    Bytes const b = finish(w, r);
    return std::string(b.begin(), b.end());
}

struct DetectCase {
    char const *what;
    std::string bytes;
    EKrDataFormat format;
    EKrTextEncoding encoding;
    unsigned mark;
};

}  // namespace

TEST(DataFormat, DetectsEveryForm) {
    using F = EKrDataFormat;
    using E = EKrTextEncoding;
    std::string const level = smallLevel();
    DetectCase const cases[] = {
        {"empty", "", F::Unknown, E::None, 0},
        {"level", level, F::LiteVariant, E::None, 0},
        {"cut level", level.substr(0, 20), F::LiteVariant, E::None, 0},
        {"level head cut", level.substr(0, 10), F::Unknown, E::None, 0},
        {"top int", std::string("\x02\0\x05\0\0\0", 6), F::LiteVariant, E::None, 0},
        {"int cut", std::string("\x02\0\x05\0", 4), F::Unknown, E::None, 0},
        {"name without terminator", std::string("\x02\x02x\0y\0\0\0\0\0", 10), F::Unknown, E::None,
         0},
        {"envelope", std::string("LV0Z\x10\0\0\0\0\0\0\0x", 13), F::LiteVariantZ, E::None, 0},
        {"saved file", "LV00" + std::string(1, char(level.size())) + std::string(7, '\0') + level,
         F::LiteVariant, E::None, 12},
        {"saved file head cut", "LV00\x08", F::LiteVariant, E::None, 5},
        {"envelope mark only", "LV0Z", F::LiteVariantZ, E::None, 0},
        {"variant xml", "<variant version=\"1.0\"><a/></variant>", F::VariantXml, E::Utf8, 0},
        {"variant xml after declaration and comment",
         "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<!-- c > d --><!DOCTYPE v [<!ENTITY e \">\">]>"
         "<VARIANT version=\"1.0\"/>",
         F::VariantXml, E::Utf8, 3},
        {"variant prefix is another element", "<variants/>", F::Xml, E::Utf8, 0},
        {"plain xml", "  <doc a='1'/>", F::Xml, E::Utf8, 0},
        {"unclosed comment", "<!-- <variant", F::Xml, E::Utf8, 0},
        {"utf-16le with mark", utf16("<variant version=\"1.0\"/>", true), F::VariantXml, E::Utf16LE,
         2},
        {"utf-16le without mark", utf16("<doc/>", false), F::Xml, E::Utf16LE, 0},
        {"utf-16be with mark", utf16("{\"variant\": \"1.0\"}", true, true), F::VariantJson,
         E::Utf16BE, 2},
        {"tab before text is no blob", "\t{\"variant\":\"1.0\"}", F::VariantJson, E::Utf8, 0},
        {"variant json", "{ \n \"variant\" : \"1.0\"}", F::VariantJson, E::Utf8, 0},
        {"json whose first member is another", "{\"name\": 1, \"variant\": \"1.0\"}", F::Json,
         E::Utf8, 0},
        {"json array", "[1]", F::Json, E::Utf8, 0},
        {"json number", "-3", F::Json, E::Utf8, 0},
        {"plain words", "hello", F::Unknown, E::None, 0},
        {"white space only", " \r\n", F::Unknown, E::None, 0},
    };
    for (DetectCase const &c : cases) {
        SKrDataFormat const f = KrDataFormat::Detect(c.bytes.data(), c.bytes.size());
        EXPECT_EQ(f.format, c.format) << c.what;
        EXPECT_EQ(f.encoding, c.encoding) << c.what;
        EXPECT_EQ(f.markSize, c.mark) << c.what;
    }
    EXPECT_EQ(KrDataFormat::Detect(nullptr, 10).format, EKrDataFormat::Unknown);
}

TEST(DataFormat, NamesRoundTrip) {
    for (EKrDataFormat f :
         {EKrDataFormat::LiteVariant, EKrDataFormat::LiteVariantZ, EKrDataFormat::VariantXml,
          EKrDataFormat::Xml, EKrDataFormat::VariantJson, EKrDataFormat::Json}) {
        EKrDataFormat back = EKrDataFormat::Unknown;
        EXPECT_TRUE(KrDataFormat::FromName(KrDataFormat::Name(f), &back));
        EXPECT_EQ(back, f);
    }
    EKrDataFormat untouched = EKrDataFormat::Json;
    EXPECT_FALSE(KrDataFormat::FromName("LV", &untouched));
    EXPECT_FALSE(KrDataFormat::FromName(nullptr, &untouched));
    EXPECT_EQ(untouched, EKrDataFormat::Json);
}

TEST(DataFormat, DecodeTextRefusesMalformedInputAtItsOffset) {
    struct Case {
        std::string bytes;
        EKrTextEncoding enc;
        int rc;
        kr_uint64 fault;
        std::wstring text;  // what was decoded (before the fault)
    };
    std::wstring const pair{wchar_t(0xD83D), wchar_t(0xDE00)};
    Case const cases[] = {
        {"a\xC3\xA9\x62", EKrTextEncoding::Utf8, 0, 0, L"a\u00e9b"},
        {"\xF0\x9F\x98\x80", EKrTextEncoding::Utf8, 0, 0, pair},
        {"ab\xC3", EKrTextEncoding::Utf8, -9, 2, L"ab"},               // cut sequence
        {"a\xC0\xAF", EKrTextEncoding::Utf8, -9, 1, L"a"},             // overlong "/"
        {"\xED\xA0\x80", EKrTextEncoding::Utf8, -9, 0, L""},           // a surrogate
        {"\xF4\x90\x80\x80", EKrTextEncoding::Utf8, -9, 0, L""},       // beyond U+10FFFF
        {"x\x80", EKrTextEncoding::Utf8, -9, 1, L"x"},                 // stray continuation
        {std::string("a\0b", 3), EKrTextEncoding::Utf8, -9, 1, L"a"},  // a zero character
        {std::string("a\0\0\xD8", 4), EKrTextEncoding::Utf16LE, 0, 0,
         std::wstring{L'a', wchar_t(0xD800)}},                             // lone surrogates pass
        {std::string("\0a\0", 3), EKrTextEncoding::Utf16BE, -9, 2, L"a"},  // odd byte count
        {std::string("a\0\0\0", 4), EKrTextEncoding::Utf16LE, -9, 2, L"a"},
    };
    for (Case const &c : cases) {
        CKrStringW out(L"old");
        kr_uint64 fault = 77;
        EXPECT_EQ(KrDataFormat::DecodeText(c.bytes.data(), c.bytes.size(), c.enc, out, &fault),
                  c.rc)
            << c.bytes;
        EXPECT_EQ(out.GetStdString(), c.text) << c.bytes;
        EXPECT_EQ(fault, c.rc ? c.fault : 77u) << c.bytes;
    }
    CKrStringW out;
    EXPECT_EQ(KrDataFormat::DecodeText("a", 1, EKrTextEncoding::None, out, nullptr), -4);
}

TEST(DataFormat, EncodeUtf8JoinsPairsAndReplacesLoneSurrogates) {
    std::wstring const text{L'a',
                            wchar_t(0xE9),
                            wchar_t(0x20AC),
                            wchar_t(0xD83D),
                            wchar_t(0xDE00),
                            wchar_t(0xDC00),
                            wchar_t(0xD800)};
    std::string out = "x";
    KrDataFormat::EncodeUtf8(text.data(), text.size(), out);
    EXPECT_EQ(out, "xa\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBD");
    // What EncodeUtf8 writes, DecodeText reads back (lone surrogates aside).
    CKrStringW back;
    ASSERT_EQ(KrDataFormat::DecodeText(out.data() + 1, 10, EKrTextEncoding::Utf8, back, nullptr),
              0);
    EXPECT_EQ(back.GetStdString(), text.substr(0, 5));
}
