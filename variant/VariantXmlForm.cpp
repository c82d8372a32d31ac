// The XML form of a variant: the one element writer (wide and UTF-8 sinks over the same walk),
// the attribute-value escaper and its reverse, and the node-building helpers of the reader.
#include "variant/internal/VariantXmlForm.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <vector>

#include "variant/internal/VariantTree.h"

namespace orvik::detail {
namespace {

constexpr size_t kIndentStep = 2;
constexpr wchar_t kReplacement = 0xFFFD;

// An ASCII markup literal in both forms, so that neither sink converts it.
struct Lit {
    wchar_t const *wide;
    char const *narrow;
    size_t length;
};
#define KR_XML_LIT(s) \
    Lit { L"" s, s, sizeof(s) - 1 }

bool isHighSurrogate(wchar_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(wchar_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Appends wide units unchanged.
struct WideSink {
    std::wstring &out;
    void units(wchar_t const *p, size_t n) { out.append(p, n); }
    void unit(wchar_t c) { out.push_back(c); }
    void literal(Lit const &l) { out.append(l.wide, l.length); }
    // 8-bit text (run-type names, numbers): one unit per byte.
    void bytes(char const *p, size_t n) {
        for (size_t i = 0; i < n; ++i)
            out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(p[i])));
    }
};

// Encodes UTF-16 units as UTF-8.  A pair split over two calls is not joined: every caller hands
// over whole strings.
struct Utf8Sink {
    std::string &out;
    void units(wchar_t const *p, size_t n) {
        size_t i = 0;
        while (i < n) {
            size_t run = i;
            while (i < n && static_cast<kr_uint32>(p[i]) < 0x80)
                ++i;  // ASCII runs copy as they are
            if (i > run) {
                size_t old = out.size();
                out.resize(old + (i - run));
                char *dst = out.data() + old;
                for (size_t k = run; k < i; ++k) *dst++ = static_cast<char>(p[k]);
            }
            if (i < n) i = encodeOne(p, n, i);
        }
    }
    // Encodes the non-ASCII unit at p[i] (with its partner when it starts a pair); returns the
    // index after it.
    size_t encodeOne(wchar_t const *p, size_t n, size_t i) {
        unsigned c = static_cast<unsigned>(p[i]) & 0xFFFF;
        if (isHighSurrogate(static_cast<wchar_t>(c)) && i + 1 < n && isLowSurrogate(p[i + 1])) {
            unsigned cp = 0x10000 + ((c - 0xD800) << 10) +
                          ((static_cast<unsigned>(p[i + 1]) & 0xFFFF) - 0xDC00);
            char b[4] = {static_cast<char>(0xF0 | (cp >> 18)),
                         static_cast<char>(0x80 | ((cp >> 12) & 0x3F)),
                         static_cast<char>(0x80 | ((cp >> 6) & 0x3F)),
                         static_cast<char>(0x80 | (cp & 0x3F))};
            out.append(b, 4);
            return i + 2;
        }
        if (isHighSurrogate(static_cast<wchar_t>(c)) || isLowSurrogate(static_cast<wchar_t>(c)))
            c = kReplacement;
        if (c < 0x800) {
            char b[2] = {static_cast<char>(0xC0 | (c >> 6)), static_cast<char>(0x80 | (c & 0x3F))};
            out.append(b, 2);
        } else {
            char b[3] = {static_cast<char>(0xE0 | (c >> 12)),
                         static_cast<char>(0x80 | ((c >> 6) & 0x3F)),
                         static_cast<char>(0x80 | (c & 0x3F))};
            out.append(b, 3);
        }
        return i + 1;
    }
    void unit(wchar_t c) { units(&c, 1); }
    void literal(Lit const &l) { out.append(l.narrow, l.length); }
    // 8-bit text (run-type names, numbers), one unit per byte: usually ASCII, copied as it is.
    void bytes(char const *p, size_t n) {
        size_t ascii = 0;
        while (ascii < n && static_cast<unsigned char>(p[ascii]) < 0x80) ++ascii;
        out.append(p, ascii);
        for (size_t i = ascii; i < n; ++i) {
            wchar_t c = static_cast<wchar_t>(static_cast<unsigned char>(p[i]));
            units(&c, 1);
        }
    }
};

template <class Sink>
void escapeTo(Sink &sink, wchar_t const *p, size_t n) {
    size_t run = 0;  // start of the pending run of units that need no escape
    for (size_t i = 0; i < n; ++i) {
        wchar_t c = p[i];
        bool plain = c >= 32 ? (c != L'<' && c != L'"' && c != L'&') : c == L'\t';
        if (c == L'&' && !(i + 1 < n && p[i + 1] != L'#')) plain = true;  // "&#..." and a final "&"
        if (plain) continue;
        sink.units(p + run, i - run);
        run = i + 1;
        switch (c) {
            case L'<':
                sink.literal(KR_XML_LIT("&#x003C;"));
                break;
            case L'"':
                sink.literal(KR_XML_LIT("&#x0022;"));
                break;
            case L'\r':
                sink.literal(KR_XML_LIT("&#x000d;"));
                break;
            case L'\n':
                sink.literal(KR_XML_LIT("&#x000a;"));
                break;
            case L'&':
                sink.literal(KR_XML_LIT("&#x0026;"));
                break;
            default: {
                wchar_t pair[2] = {static_cast<wchar_t>(0xDB80), static_cast<wchar_t>(0xDC00 + c)};
                sink.units(pair, 2);
            }
        }
    }
    sink.units(p + run, n - run);
}

// The value text of a leaf: the holder's GetString, except doubles in UTF-8 ("%.15g").
template <class Sink>
void writeValue(Sink &sink, CKrVariantData const *data, CKrStringW &scratch) {
    if (!data) return;
    using K = CKrVariantData;
    switch (data->GetKind()) {
        case K::krDATA_STRINGW: {
            // Escaped straight from the stored string: no copy of possibly large values.
            auto const &s = static_cast<CKrStringW const *>(const_cast<K *>(data)->GetValuePtr())
                                ->GetStdString();
            escapeTo(sink, s.data(), s.size());
            return;
        }
        case K::krDATA_DOUBLE:
            if constexpr (std::is_same_v<Sink, Utf8Sink>) {
                // std::to_chars with a precision is defined as printf's "%.15g" in the C locale.
                char buf[64];
                double value = *static_cast<double const *>(const_cast<K *>(data)->GetValuePtr());
                auto r =
                    std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 15);
                sink.bytes(buf, static_cast<size_t>(r.ptr - buf));
                return;
            }
            break;
        default:
            break;
    }
    scratch.Empty();
    data->GetString(scratch);
    std::wstring const &s = scratch.GetStdString();
    if (data->GetKind() == K::krDATA_BYTEARRAY)
        sink.units(s.data(), s.size());  // Base64 needs no escaping
    else
        escapeTo(sink, s.data(), s.size());
}

template <class Sink>
void emit(Sink &sink, CKrVariant const &root, bool indent) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    struct Entry {
        CKrVariant const *node;
        size_t depth;
        bool close;
    };
    std::vector<Entry> stack{{&root, 1, false}};
    CKrStringW scratch;
    std::wstring spaces;
    while (!stack.empty()) {
        Entry e = stack.back();
        stack.pop_back();
        if (indent) {
            if (spaces.size() < e.depth * kIndentStep) spaces.resize(e.depth * kIndentStep, L' ');
            sink.units(spaces.data(), e.depth * kIndentStep);
        }
        std::wstring const &name = e.node->GetName().GetStdString();
        if (e.close) {
            sink.literal(KR_XML_LIT("</"));
            sink.units(name.data(), name.size());
            sink.literal(KR_XML_LIT(">"));
        } else {
            sink.literal(KR_XML_LIT("<"));
            sink.units(name.data(), name.size());
            sink.literal(KR_XML_LIT(" runtype=\""));
            CKrStringA const &type = e.node->GetRunType().GetName();
            sink.bytes(type.GetString(), type.GetLength());
            sink.literal(KR_XML_LIT("\""));
            if (CKrVariantDataCKrListVariant *list = CKrVariantAccess::ListOf(*e.node)) {
                sink.literal(KR_XML_LIT(">"));
                stack.push_back({e.node, e.depth, true});
                CKrVariantAccess::Items const &items = CKrVariantAccess::ItemsOf(list->GetList());
                for (auto it = items.rbegin(); it != items.rend(); ++it)
                    if (*it) stack.push_back({*it, e.depth + 1, false});
            } else {
                sink.literal(KR_XML_LIT(" value=\""));
                writeValue(sink, CKrVariantAccess::DataOf(*e.node), scratch);
                sink.literal(KR_XML_LIT("\"/>"));
            }
        }
        if (indent) sink.literal(KR_XML_LIT("\r\n"));
    }
}

// A close guess of the units (or bytes, for ASCII text) the element of `root` takes, from names
// and string lengths alone: reserved once, it spares the output the copies and fresh pages of
// repeated regrowth on large trees.  Caller holds the list lock.
size_t estimateSize(CKrVariant const &root) {
    size_t total = 0;
    std::vector<CKrVariant const *> stack{&root};
    while (!stack.empty()) {
        CKrVariant const *node = stack.back();
        stack.pop_back();
        total += 2 * node->GetName().GetLength() + node->GetRunType().GetName().GetLength() + 24;
        CKrVariantData *data = CKrVariantAccess::DataOf(*node);
        if (!data) continue;
        switch (data->GetKind()) {
            case CKrVariantData::krDATA_LIST:
                for (CKrVariant const *child : CKrVariantAccess::ItemsOf(
                         static_cast<CKrVariantDataCKrListVariant *>(data)->GetList()))
                    if (child) stack.push_back(child);
                break;
            case CKrVariantData::krDATA_STRINGW: {
                size_t n = static_cast<CKrStringW const *>(data->GetValuePtr())->GetLength();
                total += n + n / 8;
                break;
            }
            case CKrVariantData::krDATA_BYTEARRAY:
                total +=
                    (static_cast<CKrByteArray const *>(data->GetValuePtr())->GetSize() + 2) / 3 * 4;
                break;
            default:
                total += 24;
                break;
        }
    }
    return total;
}

CKrVariantData *emptyValueOf(CKrVariant const *sample) {
    CKrVariantData const *data = sample ? CKrVariantAccess::DataOf(*sample) : nullptr;
    if (!data) return nullptr;
    CKrVariantData *fresh = data->CreateEmpty();
    // A record sample brings its run type and members; scalars and the plain list start empty.
    if (data->IsArray() && !static_cast<CKrVariantDataCKrListVariant const *>(data)->IsPlainList())
        data->GetValueCopy(*fresh);
    return fresh;
}

// "%.15g" of `x` (what std::to_chars with the general format and precision 15 writes) into at
// least 64 bytes at `p`; returns the end.  Settings hold mostly short decimals: when some m with
// |m| < 10^15 and k <= 8 gives m / 10^k == x exactly (the division is correctly rounded, so the
// decimal m * 10^-k rounds to x), that decimal is the 15-digit value nearest to x (x is normal
// and 15 digits are coarser than its spacing), and "%.15g" shows its digits by %g's rule:
// scientific when the exponent is below -4, else fixed, no trailing zeros.  Anything else takes
// the full conversion.
char *formatG15(char *p, double x) {
    static constexpr double kPowers[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
    if (x != 0 && std::isfinite(x)) {
        for (size_t k = 0; k < sizeof kPowers / sizeof kPowers[0]; ++k) {
            double const m = std::round(x * kPowers[k]);
            if (!(m > -1e15 && m < 1e15)) break;
            if (m / kPowers[k] != x) continue;
            char digits[24];
            auto const whole = static_cast<long long>(m < 0 ? -m : m);
            size_t n = static_cast<size_t>(
                std::to_chars(digits, digits + sizeof digits, whole).ptr - digits);
            size_t places = k;
            while (places > 0 && digits[n - 1] == '0') --n, --places;  // no trailing zeros
            int const exponent = static_cast<int>(n) - 1 - static_cast<int>(places);
            if (m < 0) *p++ = '-';
            if (exponent < -4) {
                *p++ = digits[0];
                if (n > 1) {
                    *p++ = '.';
                    std::memcpy(p, digits + 1, n - 1);
                    p += n - 1;
                }
                *p++ = 'e';
                *p++ = '-';
                int const e = -exponent;  // 5..23: always two digits
                *p++ = static_cast<char>('0' + e / 10);
                *p++ = static_cast<char>('0' + e % 10);
                return p;
            }
            if (places == 0) {
                std::memcpy(p, digits, n);
                return p + n;
            }
            if (n > places) {
                std::memcpy(p, digits, n - places);
                p += n - places;
                *p++ = '.';
                std::memcpy(p, digits + n - places, places);
                return p + places;
            }
            *p++ = '0';
            *p++ = '.';
            for (size_t i = n; i < places; ++i) *p++ = '0';
            std::memcpy(p, digits, n);
            return p + n;
        }
    }
    return std::to_chars(p, p + 64, x, std::chars_format::general, 15).ptr;
}

// The UTF-8 writer of large trees: the same output as emit() over a Utf8Sink (the reference,
// kept beside it and compared with it by a fuzz target), written through a raw pointer into
// room made ahead, with the leaf prefix of each run type (' runtype="double" value="')
// encoded once per writing and integers formatted straight into the output.
class FastUtf8Writer {
public:
    FastUtf8Writer(std::string &out, size_t estimate) : m_out(out), m_start(out.size()) {
        out.resize(m_start + estimate + 64);
        m_p = out.data() + m_start;
        m_end = out.data() + out.size();
    }
    ~FastUtf8Writer() { m_out.resize(static_cast<size_t>(m_p - m_out.data())); }
    FastUtf8Writer(FastUtf8Writer const &) = delete;
    FastUtf8Writer &operator=(FastUtf8Writer const &) = delete;

    void element(CKrVariant const &root) {
        struct Entry {
            CKrVariant const *node;
            bool close;
        };
        std::vector<Entry> stack{{&root, false}};
        while (!stack.empty()) {
            Entry e = stack.back();
            stack.pop_back();
            std::wstring const &name = e.node->GetName().GetStdString();
            if (e.close) {
                room(name.size() * 3 + 3);
                *m_p++ = '<';
                *m_p++ = '/';
                units(name.data(), name.size());
                *m_p++ = '>';
                continue;
            }
            room(name.size() * 3 + 1);
            *m_p++ = '<';
            units(name.data(), name.size());
            CKrVariantData const *data = CKrVariantAccess::DataOf(*e.node);
            if (CKrVariantDataCKrListVariant *list = CKrVariantAccess::ListOf(*e.node)) {
                CKrStringA const &type = list->GetRunType().GetName();
                literal(" runtype=\"", 10);
                bytes(type.GetString(), type.GetLength());
                literal("\">", 2);
                stack.push_back({e.node, true});
                CKrVariantAccess::Items const &items = CKrVariantAccess::ItemsOf(list->GetList());
                for (auto it = items.rbegin(); it != items.rend(); ++it)
                    if (*it) stack.push_back({*it, false});
                continue;
            }
            std::string const &prefix = leafPrefix(data);
            literal(prefix.data(), prefix.size());
            value(data);
            literal("\"/>", 3);
        }
    }

private:
    // At least `n` free bytes at m_p.
    void room(size_t n) {
        if (static_cast<size_t>(m_end - m_p) >= n) return;
        size_t const used = static_cast<size_t>(m_p - m_out.data());
        size_t const size = m_out.size();
        m_out.resize(size + (size > n ? size : n) + 64);
        m_p = m_out.data() + used;
        m_end = m_out.data() + m_out.size();
    }
    void literal(char const *text, size_t n) {
        room(n);
        std::memcpy(m_p, text, n);
        m_p += n;
    }
    // UTF-16 units as UTF-8, as Utf8Sink::units does; room for 3 bytes per unit must be made.
    void units(wchar_t const *p, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            auto c = static_cast<kr_uint32>(p[i]);
            if (c < 0x80) {
                *m_p++ = static_cast<char>(c);
                continue;
            }
            i = wide(p, n, i) - 1;
        }
    }
    // Encodes the non-ASCII unit p[i] (with its partner when it starts a pair); returns the
    // index after it.  At most 3 bytes per unit consumed.
    size_t wide(wchar_t const *p, size_t n, size_t i) {
        unsigned c = static_cast<unsigned>(p[i]) & 0xFFFF;
        if (isHighSurrogate(static_cast<wchar_t>(c)) && i + 1 < n && isLowSurrogate(p[i + 1])) {
            unsigned cp = 0x10000 + ((c - 0xD800) << 10) +
                          ((static_cast<unsigned>(p[i + 1]) & 0xFFFF) - 0xDC00);
            *m_p++ = static_cast<char>(0xF0 | (cp >> 18));
            *m_p++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            *m_p++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            *m_p++ = static_cast<char>(0x80 | (cp & 0x3F));
            return i + 2;
        }
        if (isHighSurrogate(static_cast<wchar_t>(c)) || isLowSurrogate(static_cast<wchar_t>(c)))
            c = kReplacement;
        if (c < 0x800) {
            *m_p++ = static_cast<char>(0xC0 | (c >> 6));
            *m_p++ = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            *m_p++ = static_cast<char>(0xE0 | (c >> 12));
            *m_p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *m_p++ = static_cast<char>(0x80 | (c & 0x3F));
        }
        return i + 1;
    }
    // 8-bit text, one unit per byte (Utf8Sink::bytes).
    void bytes(char const *p, size_t n) {
        room(2 * n);
        for (size_t i = 0; i < n; ++i) {
            auto c = static_cast<unsigned char>(p[i]);
            if (c < 0x80) {
                *m_p++ = static_cast<char>(c);
            } else {
                *m_p++ = static_cast<char>(0xC0 | (c >> 6));
                *m_p++ = static_cast<char>(0x80 | (c & 0x3F));
            }
        }
    }
    // The escaper's rule (escapeTo) with UTF-8 output: at most 8 bytes per unit.
    void escaped(wchar_t const *p, size_t n) {
        room(8 * n);
        for (size_t i = 0; i < n; ++i) {
            wchar_t c = p[i];
            if (c >= 32 && c < 0x80 && c != L'<' && c != L'"' && c != L'&') {
                *m_p++ = static_cast<char>(c);
                continue;
            }
            char const *ref = nullptr;
            switch (c) {
                case L'<':
                    ref = "&#x003C;";
                    break;
                case L'"':
                    ref = "&#x0022;";
                    break;
                case L'\r':
                    ref = "&#x000d;";
                    break;
                case L'\n':
                    ref = "&#x000a;";
                    break;
                case L'&':
                    if (i + 1 < n && p[i + 1] != L'#')
                        ref = "&#x0026;";
                    else
                        *m_p++ = '&';  // "&#..." and a final "&" pass as they are
                    break;
                case L'\t':
                    *m_p++ = '\t';
                    break;
                default:
                    if (c < 32) {
                        // The pair U+DB80, U+DC00 + c (the private-use character U+F0000 + c),
                        // encoded as the reference encodes any pair it is handed.
                        wchar_t pair[2] = {static_cast<wchar_t>(0xDB80),
                                           static_cast<wchar_t>(0xDC00 + c)};
                        units(pair, 2);
                    } else {
                        i = wide(p, n, i) - 1;
                    }
                    break;
            }
            if (ref) {
                std::memcpy(m_p, ref, 8);
                m_p += 8;
            }
        }
    }
    template <class T>
    void decimal(T value) {
        room(24);
        m_p = std::to_chars(m_p, m_p + 24, value).ptr;
    }
    void value(CKrVariantData const *data) {
        if (!data) return;
        using K = CKrVariantData;
        void *v = const_cast<K *>(data)->GetValuePtr();
        switch (data->GetKind()) {
            case K::krDATA_STRINGW: {
                std::wstring const &s = static_cast<CKrStringW const *>(v)->GetStdString();
                escaped(s.data(), s.size());
                return;
            }
            case K::krDATA_DOUBLE:
                room(64);
                m_p = formatG15(m_p, *static_cast<double const *>(v));
                return;
            case K::krDATA_INT32:
                return decimal(*static_cast<kr_int32 const *>(v));
            case K::krDATA_UINT32:
                return decimal(*static_cast<kr_uint32 const *>(v));
            case K::krDATA_INT64:
                return decimal(static_cast<long long>(*static_cast<kr_int64 const *>(v)));
            case K::krDATA_UINT64:
                return decimal(static_cast<unsigned long long>(*static_cast<kr_uint64 const *>(v)));
            case K::krDATA_BOOL:
                if (*static_cast<bool const *>(v))
                    literal("true", 4);
                else
                    literal("false", 5);
                return;
            default:
                break;
        }
        m_scratch.Empty();
        data->GetString(m_scratch);
        std::wstring const &s = m_scratch.GetStdString();
        if (data->GetKind() == K::krDATA_BYTEARRAY) {
            room(3 * s.size());
            units(s.data(), s.size());  // Base64 needs no escaping
        } else {
            escaped(s.data(), s.size());
        }
    }
    // ' runtype="<type>" value="' of a leaf, encoded once per run-type object met in this
    // writing (run types of scalars are shared statics; the tree does not change meanwhile).
    std::string const &leafPrefix(CKrVariantData const *data) {
        CKrVariantRunType const *type =
            data ? &data->GetRunType() : &CKrVariantRunType::GetUnknown();
        for (Prefix const &k : m_prefixes)
            if (k.type == type) return k.text;
        std::string text = " runtype=\"";
        Utf8Sink sink{text};
        sink.bytes(type->GetName().GetString(), type->GetName().GetLength());
        text += "\" value=\"";
        if (m_prefixes.size() < kPrefixesKept) {
            m_prefixes.push_back({type, std::move(text)});
            return m_prefixes.back().text;
        }
        m_overflow = std::move(text);
        return m_overflow;
    }

    struct Prefix {
        CKrVariantRunType const *type;
        std::string text;
    };
    static constexpr size_t kPrefixesKept = 16;

    std::string &m_out;
    size_t m_start;
    char *m_p;
    char *m_end;
    CKrStringW m_scratch;
    std::vector<Prefix> m_prefixes;
    std::string m_overflow;
};

}  // namespace

void AppendAttValueEscaped(std::wstring &out, wchar_t const *text, size_t length) {
    WideSink sink{out};
    escapeTo(sink, text, length);
}

namespace {

// The first step of the pass-per-reference reading: pairs U+DB80, U+DC00 + c become c.  True
// when the text holds "&" afterwards.
bool decodeControls(std::wstring &text) {
    bool hasAmp = false;
    size_t w = 0;
    for (size_t r = 0; r < text.size(); ++r) {
        wchar_t c = text[r];
        if (c == 0xDB80 && r + 1 < text.size()) {
            wchar_t d = text[r + 1];
            if (d >= 0xDC00 && d < 0xDC00 + 32) {
                wchar_t ctl = d - 0xDC00;
                if (ctl != 9 && ctl != 10 && ctl != 13) {
                    text[w++] = ctl;
                    ++r;
                    continue;
                }
            }
        }
        hasAmp |= c == L'&';
        text[w++] = c;
    }
    text.resize(w);
    return hasAmp;
}

// The character of the reference of eight units at `p` ("&#x00" two units ";"), or 0.
wchar_t referenceAt(wchar_t const *p) {
    if (p[1] != L'#' || p[2] != L'x' || p[3] != L'0' || p[4] != L'0' || p[7] != L';') return 0;
    wchar_t const a = p[5], b = p[6];
    if (a == L'3' && b == L'C') return L'<';
    if (a == L'2' && b == L'2') return L'"';
    if (a == L'0' && b == L'd') return L'\r';
    if (a == L'0' && b == L'a') return L'\n';
    if (a == L'2' && b == L'6') return L'&';
    return 0;
}

}  // namespace

// One pass instead of one per step and reference: every reference begins with the only "&" it
// holds, and neither a control character nor a replacement other than the last pass's is a
// character a reference holds, so the reference reading replaces exactly the references that
// stand in the text at the start (outside the control pairs), left to right, and never one that
// a replacement made.
size_t RevalidateAttValue(wchar_t *t, size_t n) {
    size_t w = 0;
    for (size_t r = 0; r < n;) {
        wchar_t const u = t[r];
        if (u == 0xDB80 && r + 1 < n) {
            wchar_t const d = t[r + 1];
            if (d >= 0xDC00 && d < 0xDC00 + 32) {
                wchar_t const ctl = d - 0xDC00;
                if (ctl != 9 && ctl != 10 && ctl != 13) {
                    t[w++] = ctl;
                    r += 2;
                    continue;
                }
            }
        } else if (u == L'&' && n - r >= 8) {
            if (wchar_t const c = referenceAt(t + r)) {
                t[w++] = c;
                r += 8;
                continue;
            }
        }
        t[w++] = t[r++];
    }
    return w;
}

void RevalidateAttValue(std::wstring &text) {
    text.resize(RevalidateAttValue(text.data(), text.size()));
}

void RevalidateAttValueRef(std::wstring &text) {
    if (!decodeControls(text)) return;
    static constexpr struct {
        wchar_t const *ref;
        wchar_t ch;
    } kRefs[] = {{L"&#x003C;", L'<'},
                 {L"&#x0022;", L'"'},
                 {L"&#x000d;", L'\r'},
                 {L"&#x000a;", L'\n'},
                 {L"&#x0026;", L'&'}};
    for (auto const &r : kRefs) {
        size_t pos = text.find(r.ref);
        if (pos == std::wstring::npos) continue;
        // One pass per reference, in the fixed order (a later pass sees the earlier results).
        std::wstring next;
        next.reserve(text.size());
        size_t from = 0;
        for (; pos != std::wstring::npos; pos = text.find(r.ref, from)) {
            next.append(text, from, pos - from);
            next.push_back(r.ch);
            from = pos + 8;
        }
        next.append(text, from, std::wstring::npos);
        text.swap(next);
    }
}

void AppendElementW(std::wstring &out, CKrVariant const &v, bool indent) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    out.reserve(out.size() + estimateSize(v));
    WideSink sink{out};
    emit(sink, v, indent);
}

void AppendElementUtf8Ref(std::string &out, CKrVariant const &v) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    out.reserve(out.size() + estimateSize(v));
    Utf8Sink sink{out};
    emit(sink, v, false);
}

void AppendElementUtf8(std::string &out, CKrVariant const &v) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    FastUtf8Writer writer(out, estimateSize(v));
    writer.element(v);
}

void ResetToSample(CKrVariant &v, CKrVariant const *sample) {
    CKrVariantData *old = CKrVariantAccess::DataOf(v);
    CKrVariantAccess::SetData(v, emptyValueOf(sample));
    delete old;
}

CKrVariant *NewNode(wchar_t const *name, CKrVariant const *sample) {
    CKrVariant *node = CKrVariantAccess::NewUnnamed();
    CKrStringW &n = CKrVariantAccess::NameOf(*node);
    n = name;
    CKrVariant::ValidateName(n);
    CKrVariantAccess::SetData(*node, emptyValueOf(sample));
    return node;
}

CKrVariant &AppendChild(CKrVariant &list, wchar_t const *name, CKrVariant const *sample) {
    CKrVariant *node = NewNode(name, sample);
    CKrVariantDataCKrListVariant *holder = CKrVariantAccess::ListOf(list);
    return *holder->GetList().Append(node);
}

void SetValueText(CKrVariant &v, wchar_t const *text) {
    if (CKrVariantData *data = CKrVariantAccess::DataOf(v)) data->SetString(text);
}

bool HoldsStringW(CKrVariant const &v) {
    CKrVariantData const *data = CKrVariantAccess::DataOf(v);
    return data && data->GetKind() == CKrVariantData::krDATA_STRINGW;
}

CKrVariant *FindChildLocked(CKrVariant const &v, char16_t const *name, kr_int32 *hint) {
    CKrVariantDataCKrListVariant *list = CKrVariantAccess::ListOf(v);
    if (!list) return nullptr;
    size_t const length = std::char_traits<char16_t>::length(name);
    auto const named = [name, length](CKrVariant const *child) {
        if (!child) return false;
        std::wstring const &n = child->GetName().GetStdString();
        if (n.size() != length) return false;  // spares a visit to the name's units
        size_t i = 0;
        while (i < length && static_cast<kr_uint32>(n[i]) == static_cast<kr_uint32>(name[i])) ++i;
        return i == length;
    };
    auto const &items = CKrVariantAccess::ItemsOf(list->GetList());
    // Members are usually read in their order: with distinct names, the one after the last
    // found is the first of its name if it has this name at all.
    if (*hint >= 0 && static_cast<size_t>(*hint) < items.size() && named(items[*hint]))
        return items[(*hint)++];
    for (size_t i = 0; i < items.size(); ++i) {
        if (named(items[i])) {
            if (*hint >= 0) *hint = static_cast<kr_int32>(i + 1);
            return items[i];
        }
    }
    return nullptr;
}

bool NamesDistinct(CKrVariant const &v) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    std::vector<CKrVariant const *> pending{&v};
    std::vector<std::wstring const *> names;
    while (!pending.empty()) {
        CKrVariantDataCKrListVariant const *list = CKrVariantAccess::ListOf(*pending.back());
        pending.pop_back();
        if (!list) continue;
        names.clear();
        for (CKrVariant const *child : CKrVariantAccess::ItemsOf(list->GetList())) {
            if (!child) continue;
            names.push_back(&child->GetName().GetStdString());
            pending.push_back(child);
        }
        std::sort(names.begin(), names.end(),
                  [](std::wstring const *a, std::wstring const *b) { return *a < *b; });
        for (size_t i = 1; i < names.size(); ++i)
            if (*names[i] == *names[i - 1]) return false;
    }
    return true;
}

}  // namespace orvik::detail
