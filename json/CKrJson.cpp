// CKrJson: default query answers, the public scanners and readers, and text helpers.
#include "json/CKrJson.h"

#include <climits>

#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/internal/JsonScan.h"
#include "platform/KrPlatform.h"

using jsd::Msg;
using jsd::Text;

CKrJson::~CKrJson() = default;

void CKrJson::clearLastError() { m_error.Empty(); }

void CKrJson::setError(wchar_t const *message) const {
    if (message) m_error = message;
}

// ---- default answers: the base holds no value of any kind -------------------------------------

bool CKrJson::isNull() const { return false; }
bool CKrJson::isEmpty() const { return false; }
bool CKrJson::isBool(bool *) const { return false; }
bool CKrJson::isInteger(int *) const { return false; }
bool CKrJson::isDouble(double *) const { return false; }
bool CKrJson::isString(CKrStringW *) const { return false; }
bool CKrJson::isObject(std::vector<CKrStringW> *) const { return false; }
bool CKrJson::isArray(int *) const { return false; }
bool CKrJson::isItemAtIndexNull(int) const { return false; }
bool CKrJson::isItemAtIndexBool(int, bool *) const { return false; }
bool CKrJson::isItemAtIndexInteger(int, int *) const { return false; }
bool CKrJson::isItemAtIndexDouble(int, double *) const { return false; }
bool CKrJson::isItemAtIndexString(int, CKrStringW *) const { return false; }
bool CKrJson::isItemAtIndexObject(int, CKrJsonObject *) const { return false; }
bool CKrJson::isItemAtIndexArray(int, CKrJsonArray *) const { return false; }
bool CKrJson::isItemWithNameNull(CKrStringW const &) const { return false; }
bool CKrJson::isItemWithNameBool(CKrStringW const &, bool *) const { return false; }
bool CKrJson::isItemWithNameInteger(CKrStringW const &, int *) const { return false; }
bool CKrJson::isItemWithNameDouble(CKrStringW const &, double *) const { return false; }
bool CKrJson::isItemWithNameString(CKrStringW const &, CKrStringW *) const { return false; }
bool CKrJson::isItemWithNameObject(CKrStringW const &, CKrJsonObject *) const { return false; }
bool CKrJson::isItemWithNameArray(CKrStringW const &, CKrJsonArray *) const { return false; }

// ---- queries over a given text ------------------------------------------------------------------

bool CKrJson::isStringNull(CKrStringW const &text) const {
    return jsd::queryNull(jsd::textOf(text));
}

bool CKrJson::isStringBool(CKrStringW const &text, bool *value) const {
    return jsd::queryBool(jsd::textOf(text), value);
}

bool CKrJson::isStringInteger(CKrStringW const &text, int *value) const {
    Msg msg = nullptr;
    bool ok = jsd::queryInteger(jsd::textOf(text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJson::isStringDouble(CKrStringW const &text, double *value) const {
    Msg msg = nullptr;
    bool ok = jsd::queryDouble(jsd::textOf(text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJson::isStringString(CKrStringW const &text, CKrStringW *value) const {
    Msg msg = nullptr;
    if (value == &text) {  // decoding writes the output while it reads the text
        CKrStringW decoded;
        bool ok = isStringString(text, &decoded);
        if (ok) *value = decoded;
        return ok;
    }
    bool ok = jsd::queryString(jsd::textOf(text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJson::isStringObject(CKrStringW const &text, CKrJsonObject *value) const {
    Msg msg = nullptr;
    bool ok = jsd::readObject(jsd::textOf(text), value ? &value->m_members : nullptr, &msg);
    setError(msg);
    return ok;
}

bool CKrJson::isStringArray(CKrStringW const &text, CKrJsonArray *value) const {
    Msg msg = nullptr;
    bool ok = jsd::readArray(jsd::textOf(text), value ? &value->m_items : nullptr, &msg);
    setError(msg);
    return ok;
}

// ---- scanners ---------------------------------------------------------------------------------

namespace {

// Positions outside the text (negative or at/after its end) find no item.
bool validPosition(Text t, int pos) { return pos >= 0 && size_t(pos) < t.n; }

int finish(ptrdiff_t len, Msg msg, CKrStringW *error) {
    if (len < 0 && error && msg) *error = msg;
    return static_cast<int>(len);
}

CKrStringW slice(Text t, size_t pos, size_t len) {
    CKrStringW s;
    s.AddChars(t.p + pos, static_cast<int>(len));
    return s;
}

}  // namespace

int CKrJson::parseWhitespaces(CKrStringW const &text, int pos) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    return static_cast<int>(jsd::skipSpace(t, size_t(pos)) - size_t(pos));
}

int CKrJson::parseFinalNull(CKrStringW const &text, int pos, CKrStringW *) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    return static_cast<int>(jsd::scanNull(t, size_t(pos)));
}

int CKrJson::parseFinalBool(CKrStringW const &text, int pos, bool *value, CKrStringW *) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    return static_cast<int>(jsd::scanBool(t, size_t(pos), value));
}

int CKrJson::parseFinalNumber(CKrStringW const &text, int pos, double *value, bool *isInteger,
                              CKrStringW *error) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    Msg msg = nullptr;
    return finish(jsd::scanNumber(t, size_t(pos), value, isInteger, &msg), msg, error);
}

int CKrJson::parseFinalString(CKrStringW const &text, int pos, CKrStringW *quoted,
                              CKrStringW *inner, CKrStringW *error) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    Msg msg = nullptr;
    ptrdiff_t len = jsd::scanString(t, size_t(pos), &msg);
    if (len > 0) {
        if (quoted) *quoted = slice(t, size_t(pos), size_t(len));
        if (inner) *inner = slice(t, size_t(pos) + 1, size_t(len) - 2);
    }
    return finish(len, msg, error);
}

int CKrJson::parseObject(CKrStringW const &text, int pos, CKrStringW *value, CKrStringW *error) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    Msg msg = nullptr;
    ptrdiff_t len = jsd::scanNested(t, size_t(pos), L'{', L'}', &msg);
    if (len > 0 && value) *value = slice(t, size_t(pos), size_t(len));
    return finish(len, msg, error);
}

int CKrJson::parseArray(CKrStringW const &text, int pos, CKrStringW *value, CKrStringW *error) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    Msg msg = nullptr;
    ptrdiff_t len = jsd::scanNested(t, size_t(pos), L'[', L']', &msg);
    if (len > 0 && value) *value = slice(t, size_t(pos), size_t(len));
    return finish(len, msg, error);
}

int CKrJson::parseValue(CKrStringW const &text, int pos, CKrStringW *value, CKrStringW *error) {
    Text t = jsd::textOf(text);
    if (!validPosition(t, pos)) return 0;
    Msg msg = nullptr;
    ptrdiff_t len = jsd::scanValue(t, size_t(pos), &msg);
    if (len > 0 && value) *value = slice(t, size_t(pos), size_t(len));
    return finish(len, msg, error);
}

// ---- readers ------------------------------------------------------------------------------------

bool CKrJson::readObjectFromString(CKrStringW const &text, CKrJsonObject *target,
                                   CKrStringW *error) {
    Msg msg = nullptr;
    bool ok = jsd::readObject(jsd::textOf(text), target ? &target->m_members : nullptr, &msg);
    if (!ok && error && msg) *error = msg;
    return ok;
}

bool CKrJson::readArrayFromString(CKrStringW const &text, CKrJsonArray *target, CKrStringW *error) {
    Msg msg = nullptr;
    bool ok = jsd::readArray(jsd::textOf(text), target ? &target->m_items : nullptr, &msg);
    if (!ok && error && msg) *error = msg;
    return ok;
}

// ---- text helpers -------------------------------------------------------------------------------

CKrStringW CKrJson::makeIndentWithSpaces(int level, int width) {
    kr_int64 const count = kr_int64(level) * kr_int64(width);
    if (count < 1) return CKrStringW();
    KR_ASSERTW(count <= kMaxIndent, L"json/CKrJson",
               L"Error: makeIndentWithSpaces(%d, %d) asks for more than %d spaces", level, width,
               int(kMaxIndent));
    if (count > kMaxIndent) return CKrStringW();
    return CKrStringW(std::wstring(size_t(count), L' '));
}

CKrStringW CKrJson::escapeString(CKrStringW const &plain) {
    Text t = jsd::textOf(plain);
    std::wstring out;
    out.reserve(t.n + 2);
    static wchar_t const hex[] = L"0123456789abcdef";
    for (size_t i = 0; i < t.n; ++i) {
        wchar_t c = t.p[i];
        switch (c) {
            case L'"':
                out += L"\\\"";
                break;
            case L'\\':
                out += L"\\\\";
                break;
            case L'\b':
                out += L"\\b";
                break;
            case L'\f':
                out += L"\\f";
                break;
            case L'\n':
                out += L"\\n";
                break;
            case L'\r':
                out += L"\\r";
                break;
            case L'\t':
                out += L"\\t";
                break;
            default:
                if (c < 0x20) {
                    out += L"\\u00";
                    out.push_back(hex[(c >> 4) & 0xF]);
                    out.push_back(hex[c & 0xF]);
                } else {
                    out.push_back(c);
                }
        }
    }
    return CKrStringW(out);
}

bool CKrJson::unescapeString(CKrStringW const &escaped, CKrStringW *plain) {
    Text t = jsd::textOf(escaped);
    // Scan it as the inside of a quoted string: every escape must be complete and known; a bare
    // quote is taken as it stands.
    for (size_t i = 0; i < t.n; ++i) {
        if (t.p[i] != L'\\') continue;
        ptrdiff_t const used = jsd::escapeAt(t.p, t.n, i, nullptr);
        if (used <= 0) return false;
        i += size_t(used) - 1;
    }
    if (plain) *plain = CKrStringW(jsd::decodeString(t.p, t.n));
    return true;
}
