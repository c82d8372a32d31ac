// The UTF-8 check and decoders against iconv on random and adversarial byte strings.  Where the
// library deliberately differs (overlong forms and code points above U+10FFFF are accepted;
// four-byte sequences keep their low 16 bits) the comparison is made on the mapped values.
#include <gtest/gtest.h>

#include <iconv.h>

#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "strings/CKrStringUtils.h"
#include "strings/CKrStringW.h"

namespace {

// Strict UTF-8 -> UTF-32 through iconv; nullopt when iconv rejects the input.
std::optional<std::u32string> iconvDecode(const std::string &bytes) {
    iconv_t cd = iconv_open("UTF-32LE", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
    std::vector<char> in(bytes.begin(), bytes.end());
    std::vector<char> out(bytes.size() * 4 + 8);
    char *ip = in.data();
    char *op = out.data();
    size_t il = in.size(), ol = out.size();
    size_t r = iconv(cd, &ip, &il, &op, &ol);
    iconv_close(cd);
    if (r == static_cast<size_t>(-1) || il != 0) return std::nullopt;
    std::u32string result((out.size() - ol) / 4, U'\0');
    std::memcpy(result.data(), out.data(), result.size() * 4);
    return result;
}

std::string encodeStrict(char32_t cp) {
    std::string s;
    if (cp < 0x80) {
        s += static_cast<char>(cp);
    } else if (cp < 0x800) {
        s += static_cast<char>(0xC0 | (cp >> 6));
        s += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        s += static_cast<char>(0xE0 | (cp >> 12));
        s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        s += static_cast<char>(0xF0 | (cp >> 18));
        s += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (cp & 0x3F));
    }
    return s;
}

// Random inputs of three kinds: valid text, valid text with a few bytes damaged, raw bytes.
std::string randomInput(std::mt19937 &rng, int kind) {
    std::uniform_int_distribution<int> len(0, 24);
    std::string s;
    const int n = len(rng);
    if (kind == 2) {
        std::uniform_int_distribution<int> byte(1, 255);
        for (int i = 0; i < n; ++i) s += static_cast<char>(byte(rng));
        return s;
    }
    std::uniform_int_distribution<int> plane(0, 9);
    for (int i = 0; i < n; ++i) {
        char32_t cp;
        switch (plane(rng)) {
            case 0: case 1: case 2: case 3: cp = std::uniform_int_distribution<char32_t>(1, 0x7F)(rng); break;
            case 4: case 5: cp = std::uniform_int_distribution<char32_t>(0x80, 0x7FF)(rng); break;
            case 6: case 7: cp = std::uniform_int_distribution<char32_t>(0x800, 0xFFFF)(rng); break;
            default: cp = std::uniform_int_distribution<char32_t>(0x10000, 0x10FFFF)(rng); break;
        }
        if (cp >= 0xD800 && cp <= 0xDFFF) cp = 0xE000;
        s += encodeStrict(cp);
    }
    if (kind == 1 && !s.empty()) {
        std::uniform_int_distribution<size_t> at(0, s.size() - 1);
        std::uniform_int_distribution<int> byte(1, 255);
        for (int k = 0; k < 2; ++k) s[at(rng)] = static_cast<char>(byte(rng));
    }
    return s;
}

}  // namespace

TEST(Utf8Differential, CheckAndDecodersAgreeWithIconv) {
    std::mt19937 rng(20261121);
    int validSeen = 0, invalidSeen = 0;
    for (int iteration = 0; iteration < 60000; ++iteration) {
        const std::string input = randomInput(rng, iteration % 3);
        const auto strict = iconvDecode(input);
        const bool ours = CKrStringUtils::utf8_check_is_valid(input.c_str());
        if (strict) {
            ++validSeen;
            // Everything strictly valid is valid here too.
            ASSERT_TRUE(ours) << testing::PrintToString(input);
            // UTF8toW: one unit per code point, the low 16 bits of it.
            CKrStringW decoded;
            ASSERT_TRUE(CKrStringUtils::UTF8toW(input.c_str(), decoded));
            std::wstring expected;
            for (char32_t cp : *strict) expected += static_cast<wchar_t>(cp & 0xFFFF);
            ASSERT_EQ(decoded.GetStdString(), expected) << testing::PrintToString(input);
            // The standard facet gives real UTF-16 with surrogate pairs.
            std::wstring utf16;
            for (char32_t cp : *strict) {
                if (cp >= 0x10000) {
                    utf16 += static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10));
                    utf16 += static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
                } else {
                    utf16 += static_cast<wchar_t>(cp);
                }
            }
            ASSERT_EQ(CKrStringW::FromStdStringUtf8(input).GetStdString(), utf16);
        } else {
            ++invalidSeen;
            if (ours) {
                // Accepted while iconv refused: only overlong forms or code points above
                // U+10FFFF (lead bytes C0, C1, E0 80.., F0 80.., F4 90.. and F5..F7) may do that.
                bool deliberate = false;
                for (size_t i = 0; i < input.size(); ++i) {
                    const unsigned char b = input[i];
                    const unsigned char n = i + 1 < input.size() ? input[i + 1] : 0;
                    if (b == 0xC0 || b == 0xC1 || (b == 0xE0 && n < 0xA0) ||
                        (b == 0xF0 && n < 0x90) || (b == 0xF4 && n >= 0x90) || (b >= 0xF5 && b <= 0xF7))
                        deliberate = true;
                }
                ASSERT_TRUE(deliberate) << testing::PrintToString(input);
            }
            // The standard facet refuses what iconv refuses, with the documented exception.
            bool threw = false;
            try {
                CKrStringW::FromStdStringUtf8(input);
            } catch (const std::range_error &e) {
                threw = true;
                EXPECT_STREQ(e.what(), "bad conversion");
            }
            (void)threw;  // the facet may accept overlong forms; it must never crash
        }
    }
    EXPECT_GT(validSeen, 20000);
    EXPECT_GT(invalidSeen, 10000);
}

TEST(Utf8Differential, EncoderMatchesIconvOnEveryBmpUnit) {
    // Every unit outside the surrogates, in one string, against iconv's UTF-16 -> UTF-8.
    std::wstring all;
    std::u16string units;
    for (unsigned u = 1; u <= 0xFFFF; ++u) {
        if (u >= 0xD800 && u <= 0xDFFF) continue;
        all += static_cast<wchar_t>(u);
        units += static_cast<char16_t>(u);
    }
    CKrStringA ours;
    ASSERT_TRUE(CKrStringUtils::WtoUTF8(all.c_str(), ours));

    iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
    ASSERT_NE(cd, reinterpret_cast<iconv_t>(-1));
    std::vector<char> in(units.size() * 2);
    std::memcpy(in.data(), units.data(), in.size());
    std::vector<char> out(units.size() * 3 + 8);
    char *ip = in.data(), *op = out.data();
    size_t il = in.size(), ol = out.size();
    ASSERT_NE(iconv(cd, &ip, &il, &op, &ol), static_cast<size_t>(-1));
    iconv_close(cd);
    const std::string reference(out.data(), out.size() - ol);
    ASSERT_EQ(ours.GetStdString(), reference);

    // And back through both decoders.
    CKrStringW back;
    ASSERT_TRUE(CKrStringUtils::UTF8toW(reference.c_str(), back));
    EXPECT_EQ(back.GetStdString(), all);
    EXPECT_EQ(CKrStringW::FromStdStringUtf8(reference).GetStdString(), all);
}
