#include "json/CKrVariantJson.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "json/internal/JsonScan.h"
#include "types/Base64Coder.h"
#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"
#include "variant/CKrVariantRunType.h"

namespace {

// How a node's value is written, by run type.  Every run type not in this table is a list
// (the plain list type or a record).
enum class Kind { Int32, UInt32, Int64, UInt64, Double, Bool, Pointer, String, Bytes, Null, List };

struct TypeRow {
    char const *name;
    Kind kind;
};
constexpr TypeRow kScalarTypes[] = {
    {"kr_int32", Kind::Int32},   {"kr_uint32", Kind::UInt32},  {"kr_int64", Kind::Int64},
    {"kr_uint64", Kind::UInt64}, {"double", Kind::Double},     {"bool", Kind::Bool},
    {"voidPtr", Kind::Pointer},  {"CKrStringW", Kind::String}, {"CKrByteArray", Kind::Bytes},
    {"unknown", Kind::Null},
};

Kind kindOf(char const *runType) {
    for (TypeRow const &row : kScalarTypes)
        if (std::strcmp(row.name, runType) == 0) return row.kind;
    return Kind::List;
}

constexpr wchar_t kVersion[] = L"1.0";
// Indentation stops growing below this level, so that the output of a deep tree stays
// proportional to the tree rather than to the square of its depth.
constexpr int kMaxIndentedLevels = 64;

// Messages of the reader (one line each; the offset is reported beside them).
constexpr wchar_t kErrDocument[] = L"Expected '{' at the start of the document";
constexpr wchar_t kErrFirst[] = L"Expected the member \"variant\" first";
constexpr wchar_t kErrVersion[] = L"Unsupported version (expected \"1.0\")";
constexpr wchar_t kErrRoot[] = L"Missing member \"root\"";
constexpr wchar_t kErrTrail[] = L"Unexpected text after the end of the document";
constexpr wchar_t kErrName[] = L"Expected a member name";
constexpr wchar_t kErrColon[] = L"Expected ':'";
constexpr wchar_t kErrObjNext[] = L"Expected ',' or '}'";
constexpr wchar_t kErrArrNext[] = L"Expected ',' or ']'";
constexpr wchar_t kErrItem[] = L"Expected '{' for an item";
constexpr wchar_t kErrItems[] = L"Expected '[' for the items";
constexpr wchar_t kErrMember[] = L"Unknown member";
constexpr wchar_t kErrRepeated[] = L"Repeated member";
constexpr wchar_t kErrString[] = L"Expected a string";
constexpr wchar_t kErrScalar[] = L"Expected a number, a string, true or false";
constexpr wchar_t kErrType[] = L"Malformed type name";
constexpr wchar_t kErrNoName[] = L"Item without \"name\"";
constexpr wchar_t kErrNoType[] = L"Item without \"type\"";
constexpr wchar_t kErrNoValue[] = L"Item of a scalar type without \"value\"";
constexpr wchar_t kErrNoItems[] = L"Item of a list type without \"items\"";
constexpr wchar_t kErrListValue[] = L"Item of a list type with a \"value\"";
constexpr wchar_t kErrScalarItems[] = L"Item of a scalar type with \"items\"";
constexpr wchar_t kErrNullValue[] = L"Item of type \"unknown\" with a value";
constexpr wchar_t kErrFit[] = L"Value does not fit the item's type";

// ---- writing ----------------------------------------------------------------------------------

// JSON string of any UTF-16 text: quote, backslash and control characters escaped, and also a
// zero unit and a lone surrogate (\uXXXX), which UTF-8 output could not carry.  Kept apart from
// CKrJson::escapeString, which stops at a zero unit and leaves surrogates as they are.
void appendString(std::wstring &out, std::wstring_view s) {
    static constexpr wchar_t kHex[] = L"0123456789ABCDEF";
    auto unicodeEscape = [&out](unsigned u) {
        out += L"\\u";
        for (int shift = 12; shift >= 0; shift -= 4) out += kHex[(u >> shift) & 0xF];
    };
    out += L'"';
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned const c = static_cast<unsigned>(s[i]);
        switch (c) {
            case '"':
                out += L"\\\"";
                continue;
            case '\\':
                out += L"\\\\";
                continue;
            case '\b':
                out += L"\\b";
                continue;
            case '\f':
                out += L"\\f";
                continue;
            case '\n':
                out += L"\\n";
                continue;
            case '\r':
                out += L"\\r";
                continue;
            case '\t':
                out += L"\\t";
                continue;
            default:
                break;
        }
        if (c < 0x20) {
            unicodeEscape(c);
        } else if (c >= 0xD800 && c <= 0xDBFF && i + 1 < s.size() &&
                   static_cast<unsigned>(s[i + 1]) >= 0xDC00 &&
                   static_cast<unsigned>(s[i + 1]) <= 0xDFFF) {
            out += s[i];
            out += s[++i];
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            unicodeEscape(c);
        } else {
            out += s[i];
        }
    }
    out += L'"';
}

void appendAscii(std::wstring &out, char const *text, size_t n) {
    for (size_t i = 0; i < n; ++i) out += static_cast<wchar_t>(static_cast<unsigned char>(text[i]));
}

template <class T>
void appendInteger(std::wstring &out, T value) {
    char buf[32];
    auto const r = std::to_chars(buf, buf + sizeof buf, value);
    appendAscii(out, buf, static_cast<size_t>(r.ptr - buf));
}

void appendValue(std::wstring &out, CKrVariant const &v, Kind kind) {
    switch (kind) {
        case Kind::Int32:
            appendInteger(out, v.GetKr_int32());
            break;
        case Kind::UInt32:
            appendInteger(out, v.GetKr_uint32());
            break;
        case Kind::Int64:
            appendInteger(out, v.GetKr_int64());
            break;
        case Kind::UInt64:
            appendInteger(out, v.GetKr_uint64());
            break;
        case Kind::Double: {
            double const d = v.GetDouble();
            if (std::isnan(d)) {
                out += L"\"NaN\"";
            } else if (std::isinf(d)) {
                out += d < 0 ? L"\"-Infinity\"" : L"\"Infinity\"";
            } else {
                char buf[64];
                auto const r = std::to_chars(buf, buf + sizeof buf, d);  // shortest round trip
                appendAscii(out, buf, static_cast<size_t>(r.ptr - buf));
            }
            break;
        }
        case Kind::Bool:
            out += v.GetBool() ? L"true" : L"false";
            break;
        case Kind::Pointer: {
            char buf[32];
            int const n = std::snprintf(
                buf, sizeof buf, "\"0x%016llX\"",
                static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(v.GetVoidPtr())));
            appendAscii(out, buf, static_cast<size_t>(n));
            break;
        }
        case Kind::String: {
            CKrStringW const *s = static_cast<CKrStringW const *>(v.GetValueVoidPtr());
            appendString(out, s ? std::wstring_view(s->GetStdString()) : std::wstring_view());
            break;
        }
        case Kind::Bytes: {
            CKrByteArray const *bytes = static_cast<CKrByteArray const *>(v.GetValueVoidPtr());
            out += L'"';
            if (bytes && bytes->GetSize() > 0) {
                Base64Coder coder;
                coder.Encode(static_cast<unsigned char const *>(bytes->GetData()),
                             bytes->GetSize());
                unsigned int n = 0;
                unsigned char const *text = coder.EncodedBuffer(&n);
                appendAscii(out, reinterpret_cast<char const *>(text), n);
            }
            out += L'"';
            break;
        }
        case Kind::Null:
        case Kind::List:
            break;
    }
}

class Writer {
public:
    Writer(std::wstring &out, int indent) : m_out(out), m_indent(indent) {}

    void node(CKrVariant const &root, int level) {
        struct Open {
            CKrVariant const *list;
            int next;
        };
        std::vector<Open> stack;
        if (head(root) == Kind::List) stack.push_back({&root, 0});
        while (!stack.empty()) {
            Open &top = stack.back();
            CKrVariant const *child = top.list->IndexPtr(top.next);
            int const depth = level + static_cast<int>(stack.size());
            if (!child) {
                if (top.next > 0) newline(depth - 1);
                m_out += L"]}";
                stack.pop_back();
                continue;
            }
            if (top.next++ > 0) m_out += L',';
            newline(depth);
            if (head(*child) == Kind::List) stack.push_back({child, 0});
        }
    }

private:
    // Writes the node up to its value (scalars: the whole node) and tells its kind; a list is
    // left open after "[".
    Kind head(CKrVariant const &v) {
        bool const list = v.GetCount() >= 0;
        char const *type = v.GetRunType().GetName().GetString();
        Kind kind = list ? Kind::List : kindOf(type);
        bool const foreign = kind == Kind::List && !list;  // a holder class this form lacks
        if (foreign) {
            kind = Kind::String;
            type = "CKrStringW";
        }
        std::wstring wideType;
        appendAscii(wideType, type, std::strlen(type));
        m_out += L'{';
        member(L"name");
        appendString(m_out, v.GetName().GetStdString());
        m_out += L',';
        member(L"type");
        appendString(m_out, wideType);
        if (kind == Kind::List) {
            m_out += L',';
            member(L"items");
            m_out += L'[';
            return kind;
        }
        if (kind != Kind::Null) {
            m_out += L',';
            member(L"value");
            if (foreign) {
                appendString(m_out, v.GetCKrStringW().GetStdString());
            } else {
                appendValue(m_out, v, kind);
            }
        }
        m_out += L'}';
        return kind;
    }
    void member(wchar_t const *name) {
        if (m_indent > 0 && m_out.back() == L',') m_out += L' ';
        m_out += L'"';
        m_out += name;
        m_out += m_indent > 0 ? L"\": " : L"\":";
    }
    void newline(int depth) {
        if (m_indent <= 0) return;
        m_out += L'\n';
        m_out.append(static_cast<size_t>(std::min(depth, kMaxIndentedLevels)) *
                         static_cast<size_t>(m_indent),
                     L' ');
    }

    std::wstring &m_out;
    int m_indent;
};

// ---- reading ----------------------------------------------------------------------------------

enum class Token { None, String, Number, True, False, Null };

struct Frame {
    size_t at = 0;  // offset of the item's "{"
    std::wstring name;
    std::string type;
    bool hasName = false, hasType = false, hasValue = false, hasItems = false;
    size_t valueAt = 0, valueLength = 0;
    Token valueToken = Token::None;
    std::vector<std::unique_ptr<CKrVariant>> children;
};

class Reader {
public:
    explicit Reader(jsd::Text t) : m_t(t) {}

    bool document(std::unique_ptr<CKrVariant> &root) {
        skip();
        if (!take(L'{')) return fail(kErrDocument);
        std::wstring key, version;
        skip();
        if (!memberName(key)) return false;
        if (key != L"variant") return failAt(kErrFirst, m_keyAt);
        size_t const versionAt = m_i;
        if (!stringValue(version)) return false;
        if (version != kVersion) return failAt(kErrVersion, versionAt);
        for (;;) {
            skip();
            if (take(L'}')) break;
            if (!take(L',')) return fail(kErrObjNext);
            skip();
            if (!memberName(key)) return false;
            if (key == L"variant" || (key == L"root" && root)) return failAt(kErrRepeated, m_keyAt);
            if (key != L"root") return failAt(kErrMember, m_keyAt);
            if (!node(root)) return false;
        }
        skip();
        if (m_i < m_t.n) return fail(kErrTrail);
        if (!root) return failAt(kErrRoot, m_i);
        return true;
    }

    wchar_t const *message() const { return m_message; }
    size_t offset() const { return m_offset; }

private:
    enum class State { FirstMember, Member, AfterMember, AfterItem };

    // One node with everything below it, without recursion: a stack of open items.
    bool node(std::unique_ptr<CKrVariant> &result) {
        std::vector<Frame> stack;
        skip();
        if (!open(stack)) return false;
        State state = State::FirstMember;
        for (;;) {
            skip();
            Frame &f = stack.back();
            switch (state) {
                case State::FirstMember:
                    if (peek() != L'}') {
                        state = State::Member;
                        continue;
                    }
                    [[fallthrough]];
                case State::AfterMember:
                    if (take(L',')) {
                        state = State::Member;
                        continue;
                    }
                    if (!take(L'}')) return fail(kErrObjNext);
                    {
                        std::unique_ptr<CKrVariant> built = build(f);
                        if (!built) return false;
                        stack.pop_back();
                        if (stack.empty()) {
                            result = std::move(built);
                            return true;
                        }
                        stack.back().children.push_back(std::move(built));
                    }
                    state = State::AfterItem;
                    continue;
                case State::AfterItem:
                    if (take(L',')) {
                        skip();
                        if (!open(stack)) return false;
                        state = State::FirstMember;
                    } else if (take(L']')) {
                        state = State::AfterMember;
                    } else {
                        return fail(kErrArrNext);
                    }
                    continue;
                case State::Member:
                    break;
            }
            // A member of the item on top.
            std::wstring key;
            if (!memberName(key)) return false;
            bool *seen = key == L"name"    ? &f.hasName
                         : key == L"type"  ? &f.hasType
                         : key == L"value" ? &f.hasValue
                         : key == L"items" ? &f.hasItems
                                           : nullptr;
            if (!seen) return failAt(kErrMember, m_keyAt);
            if (*seen) return failAt(kErrRepeated, m_keyAt);
            *seen = true;
            state = State::AfterMember;
            if (key == L"name") {
                if (!stringValue(f.name)) return false;
            } else if (key == L"type") {
                std::wstring type;
                size_t const at = m_i;
                if (!stringValue(type)) return false;
                if (type.empty()) return failAt(kErrType, at);
                for (wchar_t c : type) {
                    if (c < 0x20 || c >= 0x7F) return failAt(kErrType, at);
                    f.type += static_cast<char>(c);
                }
            } else if (key == L"value") {
                if (!scalar(f)) return false;
            } else {
                if (!take(L'[')) return fail(kErrItems);
                skip();
                if (!take(L']')) {
                    if (!open(stack)) return false;
                    state = State::FirstMember;
                }
            }
        }
    }

    bool open(std::vector<Frame> &stack) {
        size_t const at = m_i;
        if (!take(L'{')) return fail(kErrItem);
        stack.emplace_back();
        stack.back().at = at;
        return true;
    }

    // The variant of a finished item, or null (with the message set).
    std::unique_ptr<CKrVariant> build(Frame &f) {
        if (!f.hasName) return failNull(kErrNoName, f.at);
        if (!f.hasType) return failNull(kErrNoType, f.at);
        Kind const kind = kindOf(f.type.c_str());
        std::unique_ptr<CKrVariant> v;
        if (kind == Kind::List) {
            if (f.hasValue) return failNull(kErrListValue, f.valueAt);
            if (!f.hasItems) return failNull(kErrNoItems, f.at);
            v = std::make_unique<CKrVariant>(
                CKrVariant::CreateStructNamed(CKrVariantRunType(f.type.c_str()), CKrStringW(),
                                              std::initializer_list<CKrVariant>{}));
            CKrListVariant &list = v->GetCKrListVariant();
            for (std::unique_ptr<CKrVariant> &child : f.children) list.Append(child.release());
        } else if (kind == Kind::Null) {
            if (f.hasValue || f.hasItems) return failNull(kErrNullValue, f.at);
            v = std::make_unique<CKrVariant>();
        } else {
            if (f.hasItems) return failNull(kErrScalarItems, f.at);
            if (!f.hasValue) return failNull(kErrNoValue, f.at);
            v = scalarVariant(f, kind);
            if (!v) return failNull(kErrFit, f.valueAt);
        }
        v->SetName(CKrStringW(std::move(f.name)));
        return v;
    }

    std::unique_ptr<CKrVariant> scalarVariant(Frame const &f, Kind kind) {
        wchar_t const *p = m_t.p + f.valueAt;
        size_t const n = f.valueLength;
        switch (kind) {
            case Kind::Int32:
            case Kind::UInt32:
            case Kind::Int64:
            case Kind::UInt64: {
                if (f.valueToken != Token::Number) return nullptr;
                std::string digits;
                for (size_t k = 0; k < n; ++k) digits += static_cast<char>(p[k]);
                if (digits.find_first_of(".eE") != std::string::npos) return nullptr;
                if (kind == Kind::Int32 || kind == Kind::Int64) {
                    kr_int64 x = 0;
                    if (!parseWhole(digits, x)) return nullptr;
                    if (kind == Kind::Int64) return std::make_unique<CKrVariant>(x);
                    if (x < std::numeric_limits<kr_int32>::min() ||
                        x > std::numeric_limits<kr_int32>::max())
                        return nullptr;
                    return std::make_unique<CKrVariant>(static_cast<int>(x));
                }
                kr_uint64 x = 0;
                if (digits[0] == '-' || !parseWhole(digits, x)) return nullptr;
                if (kind == Kind::UInt64) return std::make_unique<CKrVariant>(x);
                if (x > std::numeric_limits<kr_uint32>::max()) return nullptr;
                return std::make_unique<CKrVariant>(static_cast<unsigned int>(x));
            }
            case Kind::Double: {
                if (f.valueToken == Token::String) {
                    std::wstring s = decode(f);
                    double d;
                    if (s == L"NaN")
                        d = std::numeric_limits<double>::quiet_NaN();
                    else if (s == L"Infinity")
                        d = std::numeric_limits<double>::infinity();
                    else if (s == L"-Infinity")
                        d = -std::numeric_limits<double>::infinity();
                    else
                        return nullptr;
                    return std::make_unique<CKrVariant>(d);
                }
                if (f.valueToken != Token::Number) return nullptr;
                std::string digits;
                for (size_t k = 0; k < n; ++k) digits += static_cast<char>(p[k]);
                double d = 0;
                auto const r = std::from_chars(digits.data(), digits.data() + digits.size(), d);
                if (r.ec != std::errc() || r.ptr != digits.data() + digits.size()) return nullptr;
                return std::make_unique<CKrVariant>(d);
            }
            case Kind::Bool:
                if (f.valueToken == Token::True) return std::make_unique<CKrVariant>(true);
                if (f.valueToken == Token::False) return std::make_unique<CKrVariant>(false);
                return nullptr;
            case Kind::Pointer: {
                if (f.valueToken != Token::String) return nullptr;
                std::wstring const s = decode(f);
                if (s.size() < 3 || s.size() > 18 || s[0] != L'0' || (s[1] != L'x' && s[1] != L'X'))
                    return nullptr;
                uintptr_t x = 0;
                for (size_t k = 2; k < s.size(); ++k) {
                    wchar_t const c = s[k];
                    unsigned const d = c >= L'0' && c <= L'9'   ? unsigned(c - L'0')
                                       : c >= L'a' && c <= L'f' ? unsigned(c - L'a' + 10)
                                       : c >= L'A' && c <= L'F' ? unsigned(c - L'A' + 10)
                                                                : 16u;
                    if (d > 15) return nullptr;
                    x = x << 4 | d;
                }
                return std::make_unique<CKrVariant>(reinterpret_cast<void *>(x));
            }
            case Kind::String:
                if (f.valueToken != Token::String) return nullptr;
                return std::make_unique<CKrVariant>(CKrStringW(decode(f)));
            case Kind::Bytes: {
                if (f.valueToken != Token::String) return nullptr;
                std::wstring const s = decode(f);
                std::string text;
                for (wchar_t c : s) {
                    if (c > 0x7F) return nullptr;
                    text += static_cast<char>(c);
                }
                if (text.empty()) return std::make_unique<CKrVariant>(CKrByteArray());
                // The coder's decoding tolerates anything; only the canonical text of the bytes
                // is accepted, so that what is read is exactly what was written.
                Base64Coder coder;
                coder.DecodeA(reinterpret_cast<unsigned char const *>(text.data()),
                              static_cast<unsigned int>(text.size()));
                size_t length = 0;
                unsigned char const *bytes = coder.DecodedBuffer(&length);
                CKrByteArray array(bytes, length, 1024);
                Base64Coder check;
                check.Encode(bytes, length);
                unsigned int n2 = 0;
                unsigned char const *again = check.EncodedBuffer(&n2);
                if (text.size() > 0xFFFFFFFFu || n2 != text.size() ||
                    std::memcmp(again, text.data(), n2) != 0)
                    return nullptr;
                return std::make_unique<CKrVariant>(array);
            }
            case Kind::Null:
            case Kind::List:
                break;
        }
        return nullptr;
    }

    template <class T>
    static bool parseWhole(std::string const &digits, T &x) {
        auto const r = std::from_chars(digits.data(), digits.data() + digits.size(), x);
        return r.ec == std::errc() && r.ptr == digits.data() + digits.size();
    }

    bool scalar(Frame &f) {
        jsd::Msg msg = nullptr;
        f.valueAt = m_i;
        wchar_t const c = peek();
        ptrdiff_t len = 0;
        if (c == L'"') {
            len = jsd::scanString(m_t, m_i, &msg);
            f.valueToken = Token::String;
        } else if (c == L'-' || (c >= L'0' && c <= L'9')) {
            len = jsd::scanNumber(m_t, m_i, nullptr, nullptr, &msg);
            f.valueToken = Token::Number;
        } else if (literal(L"true")) {
            len = 4, f.valueToken = Token::True;
        } else if (literal(L"false")) {
            len = 5, f.valueToken = Token::False;
        } else if (literal(L"null")) {
            len = 4, f.valueToken = Token::Null;
        }
        if (len <= 0) return fail(msg ? msg : kErrScalar);
        f.valueLength = static_cast<size_t>(len);
        m_i += f.valueLength;
        return true;
    }

    // The text of the string value of `f`, escapes decoded.
    std::wstring decode(Frame const &f) const {
        return decodeString(m_t.p + f.valueAt + 1, f.valueLength - 2);
    }

    // Decodes the inside of a string already accepted by the scanner.  A \u0000 becomes a zero
    // unit (the library's JSON helpers stop there; names and strings of a variant may hold one).
    static std::wstring decodeString(wchar_t const *p, size_t n) {
        std::wstring out;
        out.reserve(n);
        jsd::decodeEscapes(p, n, false, [&out](wchar_t const *u, size_t k) { out.append(u, k); });
        return out;
    }

    bool memberName(std::wstring &key) {
        m_keyAt = m_i;
        if (peek() != L'"') return fail(kErrName);
        jsd::Msg msg = nullptr;
        ptrdiff_t const len = jsd::scanString(m_t, m_i, &msg);
        if (len <= 0) return fail(msg ? msg : kErrName);
        key = decodeString(m_t.p + m_i + 1, static_cast<size_t>(len) - 2);
        m_i += static_cast<size_t>(len);
        skip();
        if (!take(L':')) return fail(kErrColon);
        skip();
        return true;
    }

    bool stringValue(std::wstring &value) {
        if (peek() != L'"') return fail(kErrString);
        jsd::Msg msg = nullptr;
        ptrdiff_t const len = jsd::scanString(m_t, m_i, &msg);
        if (len <= 0) return fail(msg ? msg : kErrString);
        value = decodeString(m_t.p + m_i + 1, static_cast<size_t>(len) - 2);
        m_i += static_cast<size_t>(len);
        return true;
    }

    bool literal(wchar_t const *word) const {
        size_t const n = std::wcslen(word);
        return m_t.n - m_i >= n && std::wmemcmp(m_t.p + m_i, word, n) == 0;
    }
    wchar_t peek() const { return m_i < m_t.n ? m_t.p[m_i] : L'\0'; }
    bool take(wchar_t c) {
        if (peek() != c || m_i >= m_t.n) return false;
        ++m_i;
        return true;
    }
    void skip() {
        while (m_i < m_t.n && (m_t.p[m_i] == L' ' || m_t.p[m_i] == L'\t' || m_t.p[m_i] == L'\n' ||
                               m_t.p[m_i] == L'\r'))
            ++m_i;
    }
    bool fail(wchar_t const *message) { return failAt(message, m_i); }
    bool failAt(wchar_t const *message, size_t offset) {
        m_message = message;
        m_offset = offset;
        return false;
    }
    std::unique_ptr<CKrVariant> failNull(wchar_t const *message, size_t offset) {
        failAt(message, offset);
        return nullptr;
    }

    jsd::Text m_t;
    size_t m_i = 0;
    size_t m_keyAt = 0;
    wchar_t const *m_message = nullptr;
    size_t m_offset = 0;
};

}  // namespace

int CKrVariantJson::VariantToJson(CKrStringW &out, CKrVariant const &v, int indent) {
    std::wstring text =
        indent > 0 ? L"{\"variant\": \"1.0\", \"root\": " : L"{\"variant\":\"1.0\",\"root\":";
    Writer(text, indent).node(v, 0);
    text += L'}';
    out += CKrStringW(std::move(text));
    return 0;
}

int CKrVariantJson::NodeToJson(CKrStringW &out, CKrVariant const &v, int indent, int level) {
    std::wstring text;
    Writer(text, indent).node(v, level < 0 ? 0 : level);
    out += CKrStringW(std::move(text));
    return 0;
}

int CKrVariantJson::VariantFromJson(CKrVariant &target, CKrStringW const &text, CKrStringW *error,
                                    kr_uint64 *errorOffset) {
    std::wstring const &s = text.GetStdString();
    return VariantFromJson(target, s.data(), s.size(), error, errorOffset);
}

int CKrVariantJson::VariantFromJson(CKrVariant &target, wchar_t const *text, size_t length,
                                    CKrStringW *error, kr_uint64 *errorOffset) {
    Reader reader(jsd::Text{text ? text : L"", text ? length : 0});
    std::unique_ptr<CKrVariant> root;
    if (!reader.document(root)) {
        if (error) *error = CKrStringW(reader.message());
        if (errorOffset) *errorOffset = reader.offset();
        return -9;
    }
    bool const previous = target.EnableTypeChange(true);
    target = *root;
    target.SetName(root->GetName());
    target.EnableTypeChange(previous);
    return 0;
}
