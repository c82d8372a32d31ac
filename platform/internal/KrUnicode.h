// Internal UTF-16 (one unit per wchar_t) to UTF-8 encoder of the platform layer.
#ifndef ORVIK_PLATFORM_KRUNICODE_H
#define ORVIK_PLATFORM_KRUNICODE_H

#include <cstddef>
#include <string>

namespace orvik::platform {

// Encodes `count` units; surrogate pairs combine, lone surrogates become U+FFFD.
// `sink(byte)` receives every output byte.  Returns the number of bytes produced.
template <class Sink>
size_t encodeUtf8(const wchar_t *src, size_t count, Sink &&sink) {
    size_t produced = 0;
    for (size_t i = 0; i < count; ++i) {
        unsigned long cp = static_cast<unsigned long>(src[i]) & 0xFFFFu;
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < count) {
            unsigned long lo = static_cast<unsigned long>(src[i + 1]) & 0xFFFFu;
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                ++i;
            } else {
                cp = 0xFFFD;
            }
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = 0xFFFD;
        }
        if (cp < 0x80) {
            sink(static_cast<char>(cp));
            produced += 1;
        } else if (cp < 0x800) {
            sink(static_cast<char>(0xC0 | (cp >> 6)));
            sink(static_cast<char>(0x80 | (cp & 0x3F)));
            produced += 2;
        } else if (cp < 0x10000) {
            sink(static_cast<char>(0xE0 | (cp >> 12)));
            sink(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            sink(static_cast<char>(0x80 | (cp & 0x3F)));
            produced += 3;
        } else {
            sink(static_cast<char>(0xF0 | (cp >> 18)));
            sink(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            sink(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            sink(static_cast<char>(0x80 | (cp & 0x3F)));
            produced += 4;
        }
    }
    return produced;
}

inline std::string utf16ToUtf8(const wchar_t *src) {
    std::string out;
    size_t n = 0;
    while (src[n]) ++n;
    out.reserve(n);
    encodeUtf8(src, n, [&out](char c) { out.push_back(c); });
    return out;
}

}  // namespace orvik::platform

#endif
