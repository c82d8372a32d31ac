#include "variant/KrDataFormat.h"

#include <cstring>
#include <string_view>

namespace {

struct FormatName {
    EKrDataFormat format;
    char const *name;
};
constexpr FormatName kFormatNames[] = {
    {EKrDataFormat::Unknown, "unknown"},  {EKrDataFormat::LiteVariant, "lv"},
    {EKrDataFormat::LiteVariantZ, "lvz"}, {EKrDataFormat::VariantXml, "xml-variant"},
    {EKrDataFormat::Xml, "xml"},          {EKrDataFormat::VariantJson, "json-variant"},
    {EKrDataFormat::Json, "json"},
};

constexpr unsigned char kLiteVariantLevel = 11;
constexpr kr_uint32 kSavedHead = 12;  // "LV00" and the 8-byte buffer size
constexpr unsigned char kLiteVariantBlob = 9;
constexpr unsigned char kLiteVariantString = 8;

kr_uint64 readU64(unsigned char const *p) {
    kr_uint64 v = 0;
    for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

// The first item of a plain lite-variant buffer is well formed and fits in the data.  The text
// forms cannot pass: they start with bytes that are no type code, or (a tab, code 9) with a head
// whose sizes run far past any text.
bool looksLikeLiteVariant(unsigned char const *b, kr_uint64 size) {
    if (size < 2) return false;
    unsigned char const code = b[0];
    if (code < 1 || code > kLiteVariantLevel || code == 10) return false;
    kr_uint64 const nameUnits = b[1];
    kr_uint64 pos = 2 + 2 * nameUnits;
    if (pos > size) return false;
    // A name shorter than the cap carries its terminator.
    if (nameUnits > 0 && nameUnits < 255 && (b[pos - 2] != 0 || b[pos - 1] != 0)) return false;
    kr_uint64 const rest = size - pos;
    switch (code) {
        case 1:
            return rest >= 1 && b[pos] <= 1;
        case 2:
        case 3:
            return rest >= 4;
        case 4:
        case 5:
        case 6:
        case 7:
            return rest >= 8;
        case kLiteVariantString:
            for (; pos + 1 < size; pos += 2)
                if (b[pos] == 0 && b[pos + 1] == 0) return true;
            return false;
        case kLiteVariantBlob:
            return rest >= 8 && readU64(b + pos) <= rest - 8;
        case kLiteVariantLevel: {
            if (rest < 12) return false;
            // The level may run past the data (a cut file is still a lite variant, one that
            // the reader refuses); its size must at least cover its own head.
            return readU64(b + pos + 4) >= pos + 12;
        }
        default:
            return false;
    }
}

// Reads ASCII-range units of a text in any of the three encodings; other units read as 0x80
// or above, which no test below matches.
class Units {
public:
    Units(unsigned char const *b, kr_uint64 size, EKrTextEncoding enc, kr_uint64 start)
        : m_b(b), m_size(size), m_enc(enc), m_pos(start) {}
    bool atEnd() const { return m_pos + width() > m_size; }
    unsigned peek(kr_uint64 ahead = 0) const {
        kr_uint64 const at = m_pos + ahead * width();
        if (at + width() > m_size) return 0;
        switch (m_enc) {
            case EKrTextEncoding::Utf16LE:
                return m_b[at] | unsigned(m_b[at + 1]) << 8;
            case EKrTextEncoding::Utf16BE:
                return m_b[at + 1] | unsigned(m_b[at]) << 8;
            default:
                return m_b[at];
        }
    }
    void next(kr_uint64 n = 1) { m_pos += n * width(); }
    bool startsWith(char const *ascii) const {
        for (kr_uint64 i = 0; ascii[i]; ++i)
            if (peek(i) != static_cast<unsigned char>(ascii[i])) return false;
        return true;
    }
    void skipSpace() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\r' || peek() == '\n'))
            next();
    }
    // Moves past the first occurrence of `ascii`; false (at the end) when there is none.
    bool skipPast(char const *ascii) {
        kr_uint64 const n = std::strlen(ascii);
        for (; !atEnd(); next())
            if (startsWith(ascii)) {
                next(n);
                return true;
            }
        return false;
    }

private:
    kr_uint64 width() const { return m_enc == EKrTextEncoding::Utf8 ? 1 : 2; }
    unsigned char const *m_b;
    kr_uint64 m_size;
    EKrTextEncoding m_enc;
    kr_uint64 m_pos;
};

unsigned lower(unsigned c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; }

// At "<": skips the declaration, processing instructions, comments and a DOCTYPE, and tells
// whether the first element is named "variant" (any case).
bool firstElementIsVariant(Units u) {
    for (;;) {
        u.skipSpace();
        if (u.startsWith("<?")) {
            if (!u.skipPast("?>")) return false;
        } else if (u.startsWith("<!--")) {
            if (!u.skipPast("-->")) return false;
        } else if (u.startsWith("<!")) {
            // A DOCTYPE may hold an internal subset in brackets, with ">" inside it.
            for (int depth = 0; !u.atEnd(); u.next()) {
                unsigned const c = u.peek();
                if (c == '[') ++depth;
                if (c == ']') --depth;
                if (c == '>' && depth <= 0) break;
            }
            if (u.atEnd()) return false;
            u.next();
        } else {
            break;
        }
    }
    if (u.peek() != '<') return false;
    static constexpr char kRoot[] = "variant";
    for (kr_uint64 i = 0; kRoot[i]; ++i)
        if (lower(u.peek(1 + i)) != static_cast<unsigned char>(kRoot[i])) return false;
    unsigned const after = u.peek(1 + sizeof kRoot - 1);
    return after == '>' || after == '/' || after == ' ' || after == '\t' || after == '\r' ||
           after == '\n';
}

}  // namespace

SKrDataFormat KrDataFormat::Detect(void const *data, kr_uint64 size) {
    SKrDataFormat result;
    if (!data || size == 0) return result;
    auto const *b = static_cast<unsigned char const *>(data);
    if (size >= 4 && std::memcmp(b, "LV0Z", 4) == 0) {
        result.format = EKrDataFormat::LiteVariantZ;
        return result;
    }
    if (size >= 4 && std::memcmp(b, "LV00", 4) == 0) {  // a saved plain buffer
        result.format = EKrDataFormat::LiteVariant;
        result.markSize = static_cast<kr_uint32>(size < kSavedHead ? size : kSavedHead);
        return result;
    }
    if (looksLikeLiteVariant(b, size)) {
        result.format = EKrDataFormat::LiteVariant;
        return result;
    }
    EKrTextEncoding enc = EKrTextEncoding::Utf8;
    kr_uint32 mark = 0;
    if (size >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) {
        mark = 3;
    } else if (size >= 2 && b[0] == 0xFF && b[1] == 0xFE) {
        enc = EKrTextEncoding::Utf16LE, mark = 2;
    } else if (size >= 2 && b[0] == 0xFE && b[1] == 0xFF) {
        enc = EKrTextEncoding::Utf16BE, mark = 2;
    } else if (size >= 2 && b[0] != 0 && b[1] == 0) {
        enc = EKrTextEncoding::Utf16LE;
    } else if (size >= 2 && b[0] == 0 && b[1] != 0) {
        enc = EKrTextEncoding::Utf16BE;
    }
    Units u(b, size, enc, mark);
    u.skipSpace();
    unsigned const c = u.peek();
    if (u.atEnd()) return result;
    if (c == '<') {
        result.format = firstElementIsVariant(u) ? EKrDataFormat::VariantXml : EKrDataFormat::Xml;
    } else if (c == '{') {
        u.next();
        u.skipSpace();
        result.format =
            u.startsWith("\"variant\"") ? EKrDataFormat::VariantJson : EKrDataFormat::Json;
    } else if (c == '[' || c == '"' || c == '-' || (c >= '0' && c <= '9') || c == 't' || c == 'f' ||
               c == 'n') {
        result.format = EKrDataFormat::Json;
    } else {
        return result;
    }
    result.encoding = enc;
    result.markSize = mark;
    return result;
}

char const *KrDataFormat::Name(EKrDataFormat format) {
    for (FormatName const &f : kFormatNames)
        if (f.format == format) return f.name;
    return "unknown";
}

bool KrDataFormat::FromName(char const *name, EKrDataFormat *format) {
    if (!name) return false;
    for (FormatName const &f : kFormatNames)
        if (std::strcmp(f.name, name) == 0) {
            if (format) *format = f.format;
            return true;
        }
    return false;
}

int KrDataFormat::DecodeText(void const *data, kr_uint64 size, EKrTextEncoding encoding,
                             CKrStringW &out, kr_uint64 *faultOffset) {
    std::wstring text;
    auto const *b = static_cast<unsigned char const *>(data);
    if (!b) size = 0;
    kr_uint64 fault = size;
    if (encoding == EKrTextEncoding::None) {
        out = CKrStringW();
        return -4;
    }
    if (encoding == EKrTextEncoding::Utf8) {
        text.reserve(size);
        kr_uint64 i = 0;
        while (i < size) {
            unsigned const c0 = b[i];
            unsigned cp = 0, len = 0, min = 0;
            if (c0 < 0x80)
                cp = c0, len = 1;
            else if ((c0 & 0xE0) == 0xC0)
                cp = c0 & 0x1F, len = 2, min = 0x80;
            else if ((c0 & 0xF0) == 0xE0)
                cp = c0 & 0x0F, len = 3, min = 0x800;
            else if ((c0 & 0xF8) == 0xF0)
                cp = c0 & 0x07, len = 4, min = 0x10000;
            else
                break;
            if (len > size - i) break;
            bool ok = true;
            for (unsigned k = 1; k < len && ok; ++k) {
                ok = (b[i + k] & 0xC0) == 0x80;
                cp = cp << 6 | (b[i + k] & 0x3F);
            }
            // Overlong forms, UTF-16 surrogates and values past U+10FFFF are not characters.
            if (!ok || cp < min || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF || cp == 0)
                break;
            if (cp >= 0x10000) {
                text.push_back(static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10)));
                text.push_back(static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
            } else {
                text.push_back(static_cast<wchar_t>(cp));
            }
            i += len;
        }
        fault = i;
    } else {
        bool const le = encoding == EKrTextEncoding::Utf16LE;
        text.reserve(size / 2);
        kr_uint64 i = 0;
        for (; i + 1 < size; i += 2) {
            unsigned const u = le ? b[i] | unsigned(b[i + 1]) << 8 : b[i + 1] | unsigned(b[i]) << 8;
            if (u == 0) break;
            text.push_back(static_cast<wchar_t>(u));
        }
        fault = i;
    }
    out = CKrStringW(text.c_str());
    if (fault < size) {
        if (faultOffset) *faultOffset = fault;
        return -9;
    }
    return 0;
}

void KrDataFormat::EncodeUtf8(wchar_t const *text, size_t length, std::string &out) {
    if (!text) return;
    out.reserve(out.size() + length);
    for (size_t i = 0; i < length; ++i) {
        kr_uint32 cp = static_cast<kr_uint32>(text[i]) & 0xFFFF;
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < length) {
            kr_uint32 const low = static_cast<kr_uint32>(text[i + 1]) & 0xFFFF;
            if (low >= 0xDC00 && low <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        if (cp >= 0xD800 && cp <= 0xDFFF) cp = 0xFFFD;
        if (cp < 0x80) {
            out.push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            out.push_back(static_cast<char>(0xC0 | cp >> 6));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | cp >> 12));
            out.push_back(static_cast<char>(0x80 | (cp >> 6 & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | cp >> 18));
            out.push_back(static_cast<char>(0x80 | (cp >> 12 & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp >> 6 & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
}
