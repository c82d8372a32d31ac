// Byte-to-UTF-16 conversion for the encodings a file header may name, and UTF-16 to UTF-8 for
// saving.  The 8-bit pages are plain tables of their upper halves (the lower half is ASCII).
#include "xmltree/internal/XmlText.h"

namespace orvik::detail {

namespace {

constexpr uint16_t kReplacement = 0xFFFD;

// Windows-1250 (Central European).  0x81, 0x83, 0x88, 0x90 and 0x98 are unassigned and map to
// the C1 control of the same value, as the system conversion does.
uint16_t const kCp1250[128] = {
    0x20AC, 0x0081, 0x201A, 0x0083, 0x201E, 0x2026, 0x2020, 0x2021, 0x0088, 0x2030, 0x0160, 0x2039,
    0x015A, 0x0164, 0x017D, 0x0179, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x0098, 0x2122, 0x0161, 0x203A, 0x015B, 0x0165, 0x017E, 0x017A, 0x00A0, 0x02C7, 0x02D8, 0x0141,
    0x00A4, 0x0104, 0x00A6, 0x00A7, 0x00A8, 0x00A9, 0x015E, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x017B,
    0x00B0, 0x00B1, 0x02DB, 0x0142, 0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x0105, 0x015F, 0x00BB,
    0x013D, 0x02DD, 0x013E, 0x017C, 0x0154, 0x00C1, 0x00C2, 0x0102, 0x00C4, 0x0139, 0x0106, 0x00C7,
    0x010C, 0x00C9, 0x0118, 0x00CB, 0x011A, 0x00CD, 0x00CE, 0x010E, 0x0110, 0x0143, 0x0147, 0x00D3,
    0x00D4, 0x0150, 0x00D6, 0x00D7, 0x0158, 0x016E, 0x00DA, 0x0170, 0x00DC, 0x00DD, 0x0162, 0x00DF,
    0x0155, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x013A, 0x0107, 0x00E7, 0x010D, 0x00E9, 0x0119, 0x00EB,
    0x011B, 0x00ED, 0x00EE, 0x010F, 0x0111, 0x0144, 0x0148, 0x00F3, 0x00F4, 0x0151, 0x00F6, 0x00F7,
    0x0159, 0x016F, 0x00FA, 0x0171, 0x00FC, 0x00FD, 0x0163, 0x02D9,
};

// CP852 (DOS Latin-2), every byte assigned; 0x00..0x7F are the ASCII controls and characters.
uint16_t const kCp852[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x016F, 0x0107, 0x00E7, 0x0142, 0x00EB, 0x0150, 0x0151,
    0x00EE, 0x0179, 0x00C4, 0x0106, 0x00C9, 0x0139, 0x013A, 0x00F4, 0x00F6, 0x013D, 0x013E, 0x015A,
    0x015B, 0x00D6, 0x00DC, 0x0164, 0x0165, 0x0141, 0x00D7, 0x010D, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x0104, 0x0105, 0x017D, 0x017E, 0x0118, 0x0119, 0x00AC, 0x017A, 0x010C, 0x015F, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x00C1, 0x00C2, 0x011A, 0x015E, 0x2563, 0x2551, 0x2557,
    0x255D, 0x017B, 0x017C, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x0102, 0x0103,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x00A4, 0x0111, 0x0110, 0x010E, 0x00CB,
    0x010F, 0x0147, 0x00CD, 0x00CE, 0x011B, 0x2518, 0x250C, 0x2588, 0x2584, 0x0162, 0x016E, 0x2580,
    0x00D3, 0x00DF, 0x00D4, 0x0143, 0x0144, 0x0148, 0x0160, 0x0161, 0x0154, 0x00DA, 0x0155, 0x0170,
    0x00FD, 0x00DD, 0x0163, 0x00B4, 0x00AD, 0x02DD, 0x02DB, 0x02C7, 0x02D8, 0x00A7, 0x00F7, 0x00B8,
    0x00B0, 0x00A8, 0x02D9, 0x0171, 0x0158, 0x0159, 0x25A0, 0x00A0,
};

void DecodeUtf8(unsigned char const *p, size_t size, std::vector<uint16_t> &out) {
    size_t i = 0;
    while (i < size) {
        unsigned char b = p[i];
        if (b < 0x80) {
            out.push_back(b);
            ++i;
            continue;
        }
        // Expected length and the minimum code point (rejects overlong forms).
        size_t need;
        uint32_t cp, min;
        if (b >= 0xC2 && b <= 0xDF) {
            need = 1;
            cp = b & 0x1F;
            min = 0x80;
        } else if (b >= 0xE0 && b <= 0xEF) {
            need = 2;
            cp = b & 0x0F;
            min = 0x800;
        } else if (b >= 0xF0 && b <= 0xF4) {
            need = 3;
            cp = b & 0x07;
            min = 0x10000;
        } else {
            out.push_back(kReplacement);
            ++i;
            continue;
        }
        size_t j = 1;
        for (; j <= need && i + j < size && (p[i + j] & 0xC0) == 0x80; ++j)
            cp = (cp << 6) | (p[i + j] & 0x3F);
        if (j <= need || cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            // Maximal-subpart rule: one replacement for the lead and the continuations read.
            out.push_back(kReplacement);
            i += j;
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<uint16_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<uint16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(static_cast<uint16_t>(cp));
        }
        i += need + 1;
    }
}

}  // namespace

bool CodePageToUtf16(unsigned int codePage, unsigned char const *data, size_t size,
                     std::vector<uint16_t> &out) {
    out.reserve(out.size() + size);
    uint16_t const *upper = nullptr;
    switch (codePage) {
        case 1250:
            upper = kCp1250;
            break;
        case 852:
            upper = kCp852;
            break;
        case 20127:
            for (size_t i = 0; i < size; ++i)
                out.push_back(data[i] < 0x80 ? data[i] : kReplacement);
            return true;
        case 65001:
            DecodeUtf8(data, size, out);
            return true;
        default:
            return false;
    }
    for (size_t i = 0; i < size; ++i)
        out.push_back(data[i] < 0x80 ? data[i] : upper[data[i] - 0x80]);
    return true;
}

void Utf16ToUtf8(wchar_t const *text, size_t length, std::string &out) {
    out.reserve(out.size() + length + length / 8);
    for (size_t i = 0; i < length; ++i) {
        uint32_t c = static_cast<uint32_t>(text[i]) & 0xFFFF;
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
            continue;
        }
        if (c >= 0xD800 && c <= 0xDFFF) {
            uint32_t low = i + 1 < length ? static_cast<uint32_t>(text[i + 1]) & 0xFFFF : 0;
            if (c <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            } else {
                c = kReplacement;
            }
        }
        if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        } else if (c < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        }
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

}  // namespace orvik::detail
