// The UTF-8 check and both UTF-8 decoders against iconv as the oracle.  The input is a recipe:
// byte 0 picks the kind of text (valid UTF-8 built from code points, the same with a few bytes
// damaged, or the raw bytes themselves), the rest supplies code points, damage and bytes, so that
// most inputs are near-valid text rather than noise.
//
// Checked: strictly valid text is valid here too, UTF8toW gives one unit per code point (its low
// 16 bits, kept on purpose), FromStdStringUtf8 gives real UTF-16 and ToStdStringUtf8 gives the
// bytes back; text iconv refuses is accepted here only for the deliberate exceptions (overlong
// forms, code points above U+10FFFF), and FromStdStringUtf8 refuses it, if at all, with
// std::range_error("bad conversion").
#include <iconv.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>

#include "strings/CKrStringUtils.h"
#include "strings/CKrStringW.h"

namespace {

// Strict UTF-8 -> code points through iconv; nullopt when iconv rejects any of it.
std::optional<std::u32string> iconvDecode(std::string in) {
    iconv_t cd = iconv_open("UTF-32LE", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) std::abort();
    std::string out(in.size() * 4 + 8, '\0');
    char *ip = in.data(), *op = out.data();
    size_t il = in.size(), ol = out.size();
    const size_t r = iconv(cd, &ip, &il, &op, &ol);
    iconv_close(cd);
    if (r == static_cast<size_t>(-1) || il != 0) return std::nullopt;
    std::u32string result((out.size() - ol) / 4, U'\0');
    std::memcpy(result.data(), out.data(), result.size() * 4);
    return result;
}

std::string encodeStrict(char32_t cp) {
    static const unsigned char lead[] = {0x00, 0xC0, 0xE0, 0xF0};
    const int extra = cp < 0x80 ? 0 : cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
    std::string s(1, static_cast<char>(lead[extra] | (cp >> (6 * extra))));
    for (int k = extra - 1; k >= 0; --k) s += static_cast<char>(0x80 | ((cp >> (6 * k)) & 0x3F));
    return s;
}

// Reads the recipe; zero bytes never reach the text (the coders stop at a terminator).
std::string textFromRecipe(const uint8_t *data, size_t size) {
    const int kind = data[0] % 3;
    size_t i = 1;
    std::string s;
    if (kind == 2) {
        for (; i < size; ++i) s += static_cast<char>(data[i] ? data[i] : 1);
        return s;
    }
    // Three bytes per code point: the first picks the width (1 to 4 bytes, 4:2:2:2), the other
    // two and the spare bits of the first give the value within that width's range.
    for (; i + 3 <= size && s.size() < 96; i += 3) {
        const uint32_t bits =
            (uint32_t(data[i]) << 16) | (uint32_t(data[i + 1]) << 8) | data[i + 2];
        const uint32_t plane = data[i] % 10, v = bits / 10;
        char32_t cp = plane < 4   ? 1 + v % 0x7F
                      : plane < 6 ? 0x80 + v % 0x780
                      : plane < 8 ? 0x800 + v % 0xF800
                                  : 0x10000 + v % 0x100000;
        if (cp >= 0xD800 && cp <= 0xDFFF) cp = 0xE000;  // surrogates are not text
        s += encodeStrict(cp);
    }
    // Damage: the remaining bytes in pairs (position, new byte).
    if (kind == 1 && !s.empty())
        for (; i + 2 <= size; i += 2)
            s[data[i] % s.size()] = static_cast<char>(data[i + 1] ? data[i + 1] : 1);
    return s;
}

// Accepted here while iconv refuses: only overlong forms or code points above U+10FFFF may do
// that (lead bytes C0, C1, E0 80.., F0 80.., F4 90.. and F5..F7).
bool deliberatelyAccepted(std::string const &input) {
    for (size_t i = 0; i < input.size(); ++i) {
        const unsigned char b = input[i];
        const unsigned char n = i + 1 < input.size() ? input[i + 1] : 0;
        if (b == 0xC0 || b == 0xC1 || (b == 0xE0 && n < 0xA0) || (b == 0xF0 && n < 0x90) ||
            (b == 0xF4 && n >= 0x90) || (b >= 0xF5 && b <= 0xF7))
            return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const std::string input = textFromRecipe(data, size);
    const auto strict = iconvDecode(input);
    const bool ours = CKrStringUtils::utf8_check_is_valid(input.c_str());
    if (!strict) {
        if (ours && !deliberatelyAccepted(input)) std::abort();
        try {
            CKrStringW::FromStdStringUtf8(input);
        } catch (std::range_error const &e) {
            if (std::strcmp(e.what(), "bad conversion") != 0) std::abort();
        }
        return 0;
    }
    if (!ours) std::abort();
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
    if (!CKrStringUtils::UTF8toW(input.c_str(), decoded)) std::abort();
    if (decoded.GetStdString() != low16) std::abort();
    CKrStringW wide = CKrStringW::FromStdStringUtf8(input);  // must not throw on valid text
    if (wide.GetStdString() != utf16) std::abort();
    if (wide.ToStdStringUtf8() != input) std::abort();
    return 0;
}
