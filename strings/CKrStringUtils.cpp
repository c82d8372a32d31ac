// Hand-written UTF-8 / UTF-16 coders, the UTF-8 check, number parsing and joining.
//
// The coders decode into a small stack block and append it to the output in one go, so that a
// long text costs one amortised append per block rather than one per character.
#include "strings/CKrStringUtils.h"

#include <cstdlib>
#include <cwchar>

namespace {

constexpr int kBlock = 512;

// Collects units (or bytes) and flushes them into the output string in blocks.
template <class Out, class C>
class BlockAppender {
public:
    explicit BlockAppender(Out &out) : m_out(out) {}
    ~BlockAppender() { flush(); }
    void put(C c) {
        if (m_used == kBlock) flush();
        m_block[m_used++] = c;
    }
    void flush() {
        if (m_used) m_out.AddChars(m_block, m_used);
        m_used = 0;
    }

private:
    Out &m_out;
    C m_block[kBlock];
    int m_used = 0;
};

// The decoding loop shared by UTF8toW and UTF8toWn; `limit` bounds the bytes read.
bool decodeUtf8(char const *utf8, CKrStringW &out, size_t limit) {
    out.Empty();
    bool ok = true;
    BlockAppender<CKrStringW, wchar_t> sink(out);
    uint16_t acc = 0;  // 16 bits on purpose: four-byte sequences keep their low 16 bits
    int expected = 0;  // continuation bytes still expected; negative after stray ones
    const unsigned char *p = reinterpret_cast<const unsigned char *>(utf8);
    for (size_t i = 0; i < limit && p[i] != 0; ++i) {
        const unsigned char b = p[i];
        if (b < 0x80) {
            sink.put(static_cast<wchar_t>(b));
        } else if ((b & 0xE0) == 0xC0) {
            acc |= b & 0x1F;
            expected = 1;
        } else if ((b & 0xF0) == 0xE0) {
            acc |= b & 0x0F;
            expected = 2;
        } else if ((b & 0xF8) == 0xF0) {
            acc |= b & 0x07;
            expected = 3;
        } else if ((b & 0xC0) == 0x80) {
            --expected;
            if (expected >= 0) {
                acc = static_cast<uint16_t>((acc << 6) | (b & 0x3F));
                if (expected == 0) {
                    sink.put(static_cast<wchar_t>(acc));
                    acc = 0;
                }
            } else {
                ok = false;
            }
        }
        // 0xF8..0xFF: skipped silently.
    }
    return ok;
}

}  // namespace

bool CKrStringUtils::UTF8toW(char const *utf8, CKrStringW &out) {
    return decodeUtf8(utf8, out, static_cast<size_t>(-1));
}

bool CKrStringUtils::UTF8toWn(char const *utf8, CKrStringW &out, unsigned int maxBytes) {
    return decodeUtf8(utf8, out, maxBytes);
}

bool CKrStringUtils::WtoUTF8(wchar_t const *text, CKrStringA &out) {
    out.Empty();
    BlockAppender<CKrStringA, char> sink(out);
    for (const wchar_t *p = text; *p; ++p) {
        // Units are 16 bits by contract; anything wider is cut to its low 16 bits.
        const unsigned unit = static_cast<unsigned>(*p) & 0xFFFFu;
        if (unit < 0x80) {
            sink.put(static_cast<char>(unit));
        } else if (unit < 0x800) {
            sink.put(static_cast<char>(0xC0 | (unit >> 6)));
            sink.put(static_cast<char>(0x80 | (unit & 0x3F)));
        } else {
            sink.put(static_cast<char>(0xE0 | (unit >> 12)));
            sink.put(static_cast<char>(0x80 | ((unit >> 6) & 0x3F)));
            sink.put(static_cast<char>(0x80 | (unit & 0x3F)));
        }
    }
    return true;
}

bool CKrStringUtils::UTF16toW(unsigned short int const *utf16, int count, CKrStringW &out) {
    out.Empty();
    if (count != -1 && count < 1) return true;
    BlockAppender<CKrStringW, wchar_t> sink(out);
    const bool terminated = (count == -1);
    // unitAt(i) is 0 past the counted end, so "last unit" and "followed by the zero unit" read
    // alike.
    auto unitAt = [&](size_t i) -> unsigned {
        if (!terminated && i >= static_cast<size_t>(count)) return 0;
        return utf16[i];
    };
    for (size_t i = 0;; ++i) {
        if (!terminated && i >= static_cast<size_t>(count)) break;
        const unsigned u = unitAt(i);
        if (u == 0) break;  // the zero unit ends the input in both modes
        if (u < 0xD800 || u > 0xDFFF) {
            sink.put(static_cast<wchar_t>(u));
            continue;
        }
        if (u > 0xDBFF) return false;
        const unsigned next = unitAt(i + 1);
        if (next < 0xDC00 || next > 0xDFFF) return false;
        // One 16-bit combination is appended and the scan moves on by one unit only, so the
        // low surrogate is examined next and ends the call with false.  Callers depend on it.
        sink.put(static_cast<wchar_t>(static_cast<uint16_t>((next << 10) | (u & 0x3FF))));
    }
    return true;
}

bool CKrStringUtils::WtoUTF16(wchar_t const *text, unsigned short int *buffer, int &size) {
    const size_t length = std::wcslen(text);
    if (!buffer) {
        size = static_cast<int>(length + 1);
        return true;
    }
    if (size < 0 || static_cast<size_t>(size) < length + 1) return false;
    // wcsncpy semantics: copy the text, then pad the rest of the buffer with zero units.
    size_t i = 0;
    for (; i < length; ++i) buffer[i] = static_cast<unsigned short>(text[i]);
    for (; i < static_cast<size_t>(size); ++i) buffer[i] = 0;
    return true;
}

bool CKrStringUtils::utf8_check_is_valid(char const *utf8) {
    const unsigned char *p = reinterpret_cast<const unsigned char *>(utf8);
    while (*p) {
        const unsigned char b = *p;
        if (b < 0x80) {
            ++p;
            continue;
        }
        int n;
        if ((b & 0xE0) == 0xC0)
            n = 1;
        else if ((b & 0xF0) == 0xE0)
            n = 2;
        else if ((b & 0xF8) == 0xF0)
            n = 3;
        else
            return false;
        if (b == 0xED && (p[1] == 0 || (p[1] & 0xA0) == 0xA0)) return false;
        for (int k = 1; k <= n; ++k) {
            if (p[k] == 0 || (p[k] & 0xC0) != 0x80) return false;  // cut off or not 10xxxxxx
        }
        p += n + 1;
    }
    return true;
}

bool CKrStringUtils::ToNumber(CKrStringA text, int &value) {
    value = static_cast<int>(std::strtol(text.GetString(), nullptr, 10));  // atol
    return true;
}

bool CKrStringUtils::ToNumber(CKrStringA text, unsigned int &value) {
    value = static_cast<unsigned int>(std::strtol(text.GetString(), nullptr, 10));
    return true;
}

bool CKrStringUtils::ToNumber(CKrStringW text, int &value) {
    std::swscanf(text.GetString(), L"%d", &value);
    return true;
}

bool CKrStringUtils::ToNumber(CKrStringW text, unsigned int &value) {
    // The trailing "d" is part of the format as callers have always used it.
    std::swscanf(text.GetString(), L"%ud", &value);
    return true;
}

CKrStringW CKrStringUtils::Join(std::vector<CKrStringW> const &parts, CKrStringW const &separator) {
    CKrStringW joined;
    if (parts.empty()) return joined;
    size_t total = separator.GetLength() * (parts.size() - 1);
    for (const CKrStringW &part : parts) total += part.GetLength();
    joined.Preallocate(static_cast<int>(total));
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) joined.AddString(separator);
        joined.AddString(parts[i]);
    }
    return joined;
}

char const *CKrStringUtils::GuessEncoding(void const *, unsigned int) { return ""; }

char const *CKrStringUtils::GuessEncoding(CKrStringW) { return ""; }

bool CKrStringUtils::Binary2Wide(void const *, unsigned int, CKrStringW &, char const *) {
    return false;
}

bool CKrStringUtils::Wide2Binary(wchar_t const *, CKrStringA &, char const *) { return false; }
