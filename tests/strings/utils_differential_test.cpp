// The UTF-8 check and decoders against iconv on random and adversarial byte strings.  Where the
// library deliberately differs (overlong forms and code points above U+10FFFF are accepted;
// four-byte sequences keep their low 16 bits) the comparison is made on the mapped values.
#include <gtest/gtest.h>

#include <iconv.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>

#include "strings/CKrStringUtils.h"
#include "strings/CKrStringW.h"

namespace {

// Converts `in` with iconv; nullopt when iconv rejects any of it.
std::optional<std::string> viaIconv(char const *to, char const *from, std::string in) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
    std::string out(in.size() * 4 + 8, '\0');
    char *ip = in.data(), *op = out.data();
    size_t il = in.size(), ol = out.size();
    const size_t r = iconv(cd, &ip, &il, &op, &ol);
    iconv_close(cd);
    if (r == static_cast<size_t>(-1) || il != 0) return std::nullopt;
    out.resize(out.size() - ol);
    return out;
}

// Strict UTF-8 -> code points through iconv; nullopt when iconv rejects the input.
std::optional<std::u32string> iconvDecode(std::string const &bytes) {
    const auto utf32 = viaIconv("UTF-32LE", "UTF-8", bytes);
    if (!utf32) return std::nullopt;
    std::u32string result(utf32->size() / 4, U'\0');
    std::memcpy(result.data(), utf32->data(), result.size() * 4);
    return result;
}

std::string encodeStrict(char32_t cp) {
    static const unsigned char lead[] = {0x00, 0xC0, 0xE0, 0xF0};
    const int extra = cp < 0x80 ? 0 : cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
    std::string s(1, static_cast<char>(lead[extra] | (cp >> (6 * extra))));
    for (int k = extra - 1; k >= 0; --k) s += static_cast<char>(0x80 | ((cp >> (6 * k)) & 0x3F));
    return s;
}

// Random inputs of three kinds: valid text, valid text with a few bytes damaged, raw bytes.
std::string randomInput(std::mt19937 &rng, int kind) {
    auto pick = [&rng](uint32_t lo, uint32_t hi) {
        return std::uniform_int_distribution<uint32_t>(lo, hi)(rng);
    };
    const uint32_t n = pick(0, 24);
    std::string s;
    for (uint32_t i = 0; i < n; ++i) {
        if (kind == 2) {
            s += static_cast<char>(pick(1, 255));
            continue;
        }
        // One- to four-byte characters in the ratio 4:2:2:2; surrogates are moved to U+E000.
        const uint32_t plane = pick(0, 9);
        char32_t cp = plane < 4 ? pick(1, 0x7F) : plane < 6 ? pick(0x80, 0x7FF)
                    : plane < 8 ? pick(0x800, 0xFFFF) : pick(0x10000, 0x10FFFF);
        if (cp >= 0xD800 && cp <= 0xDFFF) cp = 0xE000;
        s += encodeStrict(cp);
    }
    if (kind == 1 && !s.empty()) {
        for (int k = 0; k < 2; ++k) {
            s[pick(0, static_cast<uint32_t>(s.size() - 1))] = static_cast<char>(pick(1, 255));
        }
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
            // UTF8toW gives one unit per code point, its low 16 bits; the standard facet gives
            // real UTF-16 with surrogate pairs.
            std::wstring low16, utf16;
            for (char32_t cp : *strict) {
                low16 += static_cast<wchar_t>(cp & 0xFFFF);
                if (cp >= 0x10000) {
                    utf16 += static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10));
                    utf16 += static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
                } else {
                    utf16 += static_cast<wchar_t>(cp);
                }
            }
            CKrStringW decoded;
            ASSERT_TRUE(CKrStringUtils::UTF8toW(input.c_str(), decoded));
            ASSERT_EQ(decoded.GetStdString(), low16) << testing::PrintToString(input);
            ASSERT_EQ(CKrStringW::FromStdStringUtf8(input).GetStdString(), utf16);
            continue;
        }
        ++invalidSeen;
        if (ours) {
            // Accepted while iconv refused: only overlong forms or code points above U+10FFFF
            // (lead bytes C0, C1, E0 80.., F0 80.., F4 90.. and F5..F7) may do that.
            bool deliberate = false;
            for (size_t i = 0; i < input.size(); ++i) {
                const unsigned char b = input[i];
                const unsigned char n = i + 1 < input.size() ? input[i + 1] : 0;
                deliberate |= b == 0xC0 || b == 0xC1 || (b == 0xE0 && n < 0xA0) ||
                              (b == 0xF0 && n < 0x90) || (b == 0xF4 && n >= 0x90) ||
                              (b >= 0xF5 && b <= 0xF7);
            }
            ASSERT_TRUE(deliberate) << testing::PrintToString(input);
        }
        // The standard facet may accept some of these; it must never crash, and a refusal
        // comes with the documented message.
        try {
            CKrStringW::FromStdStringUtf8(input);
        } catch (const std::range_error &e) {
            EXPECT_STREQ(e.what(), "bad conversion");
        }
    }
    EXPECT_GT(validSeen, 20000);
    EXPECT_GT(invalidSeen, 10000);
}

TEST(Utf8Differential, EncoderMatchesIconvOnEveryBmpUnit) {
    // Every unit outside the surrogates, in one string, against iconv's UTF-16 -> UTF-8.
    std::wstring all;
    std::string utf16le;
    for (unsigned u = 1; u <= 0xFFFF; ++u) {
        if (u >= 0xD800 && u <= 0xDFFF) continue;
        all += static_cast<wchar_t>(u);
        utf16le += static_cast<char>(u & 0xFF);
        utf16le += static_cast<char>(u >> 8);
    }
    CKrStringA ours;
    ASSERT_TRUE(CKrStringUtils::WtoUTF8(all.c_str(), ours));
    const auto reference = viaIconv("UTF-8", "UTF-16LE", utf16le);
    ASSERT_TRUE(reference.has_value());
    ASSERT_EQ(ours.GetStdString(), *reference);

    // And back through both decoders.
    CKrStringW back;
    ASSERT_TRUE(CKrStringUtils::UTF8toW(reference->c_str(), back));
    EXPECT_EQ(back.GetStdString(), all);
    EXPECT_EQ(CKrStringW::FromStdStringUtf8(*reference).GetStdString(), all);
}
