// Recognising the data forms from their first bytes, and the strict text coders beside it.
#include <gtest/gtest.h>

#include <string>

#include "variant/KrDataFormat.h"

namespace {

std::string utf16le(std::string const &ascii, bool mark) {
    std::string out = mark ? std::string("\xFF\xFE", 2) : std::string();
    for (char c : ascii) out += std::string{c, '\0'};
    return out;
}

std::string utf16be(std::string const &ascii) {
    std::string out("\xFE\xFF", 2);
    for (char c : ascii) out += std::string{'\0', c};
    return out;
}

// A level "a" with one int32 child "x": the smallest complete top-level level.
std::string smallLevel() {
    std::string const child("\x02\x02x\0\0\0\x07\0\0\0", 10);
    std::string const head(
        "\x0b\x02"
        "a\0\0\0",
        6);
    std::string b = head + std::string("\x01\0\0\0", 4);
    unsigned char const size = static_cast<unsigned char>(head.size() + 12 + child.size());
    b += std::string(1, static_cast<char>(size)) + std::string(7, '\0');
    b += child;
    b += std::string(1, static_cast<char>(head.size() + 12)) + std::string(7, '\0');
    return b;
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
    std::string const level = smallLevel();
    DetectCase const cases[] = {
        {"empty", "", EKrDataFormat::Unknown, EKrTextEncoding::None, 0},
        {"level", level, EKrDataFormat::LiteVariant, EKrTextEncoding::None, 0},
        {"cut level", level.substr(0, 20), EKrDataFormat::LiteVariant, EKrTextEncoding::None, 0},
        {"level head cut", level.substr(0, 10), EKrDataFormat::Unknown, EKrTextEncoding::None, 0},
        {"top int", std::string("\x02\0\x05\0\0\0", 6), EKrDataFormat::LiteVariant,
         EKrTextEncoding::None, 0},
        {"int cut", std::string("\x02\0\x05\0", 4), EKrDataFormat::Unknown, EKrTextEncoding::None,
         0},
        {"name without terminator", std::string("\x02\x02x\0y\0\0\0\0\0", 10),
         EKrDataFormat::Unknown, EKrTextEncoding::None, 0},
        {"envelope", std::string("LV0Z\x10\0\0\0\0\0\0\0x", 13), EKrDataFormat::LiteVariantZ,
         EKrTextEncoding::None, 0},
        {"saved file", "LV00" + std::string(1, char(level.size())) + std::string(7, '\0') + level,
         EKrDataFormat::LiteVariant, EKrTextEncoding::None, 12},
        {"saved file head cut", "LV00\x08", EKrDataFormat::LiteVariant, EKrTextEncoding::None, 5},
        {"envelope mark only", "LV0Z", EKrDataFormat::LiteVariantZ, EKrTextEncoding::None, 0},
        {"variant xml", "<variant version=\"1.0\"><a/></variant>", EKrDataFormat::VariantXml,
         EKrTextEncoding::Utf8, 0},
        {"variant xml after declaration and comment",
         "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<!-- c > d --><!DOCTYPE v [<!ENTITY e \">\">]>"
         "<VARIANT version=\"1.0\"/>",
         EKrDataFormat::VariantXml, EKrTextEncoding::Utf8, 3},
        {"variant prefix is another element", "<variants/>", EKrDataFormat::Xml,
         EKrTextEncoding::Utf8, 0},
        {"plain xml", "  <doc a='1'/>", EKrDataFormat::Xml, EKrTextEncoding::Utf8, 0},
        {"unclosed comment", "<!-- <variant", EKrDataFormat::Xml, EKrTextEncoding::Utf8, 0},
        {"utf-16le with mark", utf16le("<variant version=\"1.0\"/>", true),
         EKrDataFormat::VariantXml, EKrTextEncoding::Utf16LE, 2},
        {"utf-16le without mark", utf16le("<doc/>", false), EKrDataFormat::Xml,
         EKrTextEncoding::Utf16LE, 0},
        {"utf-16be with mark", utf16be("{\"variant\": \"1.0\"}"), EKrDataFormat::VariantJson,
         EKrTextEncoding::Utf16BE, 2},
        {"tab before text is no blob", "\t{\"variant\":\"1.0\"}", EKrDataFormat::VariantJson,
         EKrTextEncoding::Utf8, 0},
        {"variant json", "{ \n \"variant\" : \"1.0\"}", EKrDataFormat::VariantJson,
         EKrTextEncoding::Utf8, 0},
        {"json whose first member is another", "{\"name\": 1, \"variant\": \"1.0\"}",
         EKrDataFormat::Json, EKrTextEncoding::Utf8, 0},
        {"json array", "[1]", EKrDataFormat::Json, EKrTextEncoding::Utf8, 0},
        {"json number", "-3", EKrDataFormat::Json, EKrTextEncoding::Utf8, 0},
        {"plain words", "hello", EKrDataFormat::Unknown, EKrTextEncoding::None, 0},
        {"white space only", " \r\n", EKrDataFormat::Unknown, EKrTextEncoding::None, 0},
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
        {"a\xC3\xA9"
         "b",
         EKrTextEncoding::Utf8, 0, 0, L"a\u00e9b"},
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
