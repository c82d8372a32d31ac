// Scanning core of the JSON classes: locating items, number values, string decoding and the
// shallow readers.  Every loop is bounded by the text length; nothing recurses.
#include "json/internal/JsonScan.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cwchar>
#include <cwctype>
#include <string>

#include "json/internal/JsonMembers.h"

namespace orvik::detail::json {

Text textOf(CKrStringW const &s) {
    std::wstring const &w = s.GetStdString();
    size_t n = w.size();
    if (n > size_t(INT_MAX)) return Text{w.data(), 0};
    wchar_t const *zero = std::wmemchr(w.data(), 0, n);
    if (zero) n = size_t(zero - w.data());
    return Text{w.data(), n};
}

bool isSpaceSlow(wchar_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }

// The literals are matched without regard to ASCII case; (c | 0x20) maps exactly the upper and
// lower case letter to the lower case one and no other unit to a letter.
static bool matchLiteral(Text t, size_t i, wchar_t const *lower, size_t len) {
    if (i >= t.n || t.n - i < len) return false;
    for (size_t k = 0; k < len; ++k)
        if ((t.p[i + k] | 0x20) != lower[k]) return false;
    return true;
}

ptrdiff_t scanNull(Text t, size_t i) { return matchLiteral(t, i, L"null", 4) ? 4 : 0; }

ptrdiff_t scanBool(Text t, size_t i, bool *value) {
    if (matchLiteral(t, i, L"true", 4)) {
        if (value) *value = true;
        return 4;
    }
    if (matchLiteral(t, i, L"false", 5)) {
        if (value) *value = false;
        return 5;
    }
    return 0;
}

static ptrdiff_t fail(Msg *msg, Msg text) {
    if (msg) *msg = text;
    return -1;
}

ptrdiff_t scanNumber(Text t, size_t i, double *value, bool *isInteger, Msg *msg) {
    size_t const start = i;
    wchar_t const *p = t.p;
    size_t const n = t.n;
    if (i < n && p[i] == L'-') ++i;
    if (i >= n || !isDigit(p[i])) return 0;  // "-" alone or "-x": no number here
    while (i < n && isDigit(p[i])) ++i;
    bool integer = true;
    if (i < n && p[i] == L'.') {
        ++i;
        if (i >= n || !isDigit(p[i])) return fail(msg, kErrPoint);
        while (i < n && isDigit(p[i])) ++i;
        integer = false;
    }
    if (i < n && (p[i] | 0x20) == L'e') {
        ++i;
        if (i < n && (p[i] == L'+' || p[i] == L'-')) ++i;
        if (i >= n || !isDigit(p[i])) return fail(msg, kErrExponent);
        while (i < n && isDigit(p[i])) ++i;
        integer = false;
    }
    if (isInteger) *isInteger = integer;
    if (value) *value = numberValue(p + start, i - start);
    return ptrdiff_t(i - start);
}

// Out of the double range: overflow or underflow, told apart by the decimal exponent of the
// first significant digit (huge either way when from_chars gives up).
static double outOfRange(char const *s, size_t n) {
    size_t i = 0;
    bool const negative = n > 0 && s[0] == '-';
    if (negative) ++i;
    long long intDigits = 0, index = 0, first = -1;
    bool afterPoint = false;
    for (; i < n && s[i] != 'e' && s[i] != 'E'; ++i) {
        if (s[i] == '.') {
            afterPoint = true;
            continue;
        }
        if (!afterPoint) ++intDigits;
        if (first < 0 && s[i] != '0') first = index;
        ++index;
    }
    long long exponent = 0;
    if (i < n) {
        ++i;
        bool expNegative = false;
        if (i < n && (s[i] == '+' || s[i] == '-')) expNegative = s[i++] == '-';
        for (; i < n; ++i)
            if (exponent < 1000000000LL) exponent = exponent * 10 + (s[i] - '0');  // saturates
        if (expNegative) exponent = -exponent;
    }
    double result = 0.0;
    if (first >= 0 && intDigits - 1 - first + exponent > 0) result = HUGE_VAL;
    return negative ? -result : result;
}

double numberValue(wchar_t const *p, size_t n) {
    char small[64] = {};  // initialised only to quiet a false may-be-uninitialised warning at -O3
    std::string large;
    char *buf = small;
    if (n > sizeof(small)) {
        large.resize(n);
        buf = large.data();
    }
    for (size_t k = 0; k < n; ++k) buf[k] = static_cast<char>(p[k]);  // ASCII by construction
    double value = 0.0;
    auto result = std::from_chars(buf, buf + n, value);
    if (result.ec == std::errc::result_out_of_range) return outOfRange(buf, n);
    return value;
}

ptrdiff_t scanString(Text t, size_t i, Msg *msg) {
    wchar_t const *p = t.p;
    size_t const n = t.n;
    if (i >= n || p[i] != L'"') return 0;
    size_t const start = i++;
    for (;;) {
        while (i < n && p[i] != L'"' && p[i] != L'\\') ++i;
        if (i >= n) return fail(msg, kErrQuotes);
        if (p[i] == L'"') return ptrdiff_t(i + 1 - start);
        ptrdiff_t const used = escapeAt(p, n, i, nullptr);
        if (used < 0) return fail(msg, kErrQuotes);
        if (used == 0) return fail(msg, kErrEscape);
        i += size_t(used);
    }
}

ptrdiff_t scanNested(Text t, size_t i, wchar_t open, wchar_t close, Msg *msg) {
    wchar_t const *p = t.p;
    size_t const n = t.n;
    if (i >= n || p[i] != open) return 0;
    size_t const start = i;
    size_t depth = 0;
    while (i < n) {
        wchar_t c = p[i];
        if (c == open) {
            ++depth;
        } else if (c == close) {
            if (--depth == 0) return ptrdiff_t(i + 1 - start);
        } else if (c == L'"') {
            ptrdiff_t len = scanString(t, i, msg);
            if (len < 0) return -1;
            i += size_t(len);
            continue;
        }
        ++i;
    }
    return fail(msg, open == L'{' ? kErrBraces : kErrBrackets);
}

// Dispatches on the first unit; equivalent to trying null, bool, number, string, object and
// array in turn, as each of them requires its own first character.
ptrdiff_t scanValue(Text t, size_t i, Msg *msg) {
    if (i >= t.n) return 0;
    switch (t.p[i]) {
        case L'n':
        case L'N':
            return scanNull(t, i);
        case L't':
        case L'T':
        case L'f':
        case L'F':
            return scanBool(t, i, nullptr);
        case L'"':
            return scanString(t, i, msg);
        case L'{':
            return scanNested(t, i, L'{', L'}', msg);
        case L'[':
            return scanNested(t, i, L'[', L']', msg);
        default:
            return scanNumber(t, i, nullptr, nullptr, msg);
    }
}

static int hexValue(wchar_t c) {
    if (c <= L'9') return c - L'0';
    return (c | 0x20) - L'a' + 10;
}

ptrdiff_t escapeAt(wchar_t const *p, size_t n, size_t i, wchar_t *unit) {
    if (i + 1 >= n) return -1;
    wchar_t c = p[i + 1];
    switch (c) {
        case L'"':
        case L'\\':
        case L'/':
            break;
        case L'b':
            c = L'\b';
            break;
        case L'f':
            c = L'\f';
            break;
        case L'n':
            c = L'\n';
            break;
        case L'r':
            c = L'\r';
            break;
        case L't':
            c = L'\t';
            break;
        case L'u':
            if (n - i < 6) return -1;
            for (size_t k = 2; k < 6; ++k)
                if (!isHex(p[i + k])) return 0;
            if (unit)
                *unit = wchar_t((hexValue(p[i + 2]) << 12) | (hexValue(p[i + 3]) << 8) |
                                (hexValue(p[i + 4]) << 4) | hexValue(p[i + 5]));
            return 6;
        default:
            return 0;
    }
    if (unit) *unit = c;
    return 2;
}

std::wstring decodeString(wchar_t const *p, size_t n) {
    std::wstring out;
    out.reserve(n);
    decodeEscapes(p, n, true, [&out](wchar_t const *u, size_t k) { out.append(u, k); });
    return out;
}

void decodeString(wchar_t const *p, size_t n, CKrStringW &out) {
    out.Empty();
    decodeEscapes(p, n, true, [&out](wchar_t const *u, size_t k) { out.AddChars(u, int(k)); });
}

// ---- shallow readers ---------------------------------------------------------------------------

using MemberSpan = std::pair<Span, Span>;

// After an item of an object or array: skips white space, then the closing bracket ends the
// container (Closed), a comma announces the next item (Next), anything else is an error (Bad).
// `i` is advanced past what was consumed.
enum class AfterItem { Closed, Next, Bad };
static AfterItem stepAfterItem(Text t, size_t &i, wchar_t close) {
    i = skipSpace(t, i);
    if (i < t.n && t.p[i] == close) {
        ++i;
        return AfterItem::Closed;
    }
    if (i < t.n && t.p[i] == L',') {
        i = skipSpace(t, i + 1);
        return AfterItem::Next;
    }
    return AfterItem::Bad;
}

static bool readMembers(Text t, std::vector<MemberSpan> &spans, Msg *msg) {
    wchar_t const *p = t.p;
    size_t const n = t.n;
    size_t i = skipSpace(t, 0);
    if (i >= n || p[i] != L'{') return fail(msg, kErrObjOpen), false;
    // A member must follow the opening brace: "{}" and "{ }" are refused, not read as empty.
    // Callers rely on the refusal (an empty object is written as nothing, never as "{}").
    i = skipSpace(t, i + 1);
    for (;;) {
        ptrdiff_t len = scanString(t, i, msg);
        if (len == 0) return fail(msg, kErrObjName), false;
        if (len < 0) return false;
        Span name(p + i + 1, size_t(len) - 2);
        i = skipSpace(t, i + size_t(len));
        if (i >= n || p[i] != L':') return fail(msg, kErrObjColon), false;
        i = skipSpace(t, i + 1);
        len = scanValue(t, i, msg);
        if (len == 0) return fail(msg, kErrObjValue), false;
        if (len < 0) return false;
        spans.emplace_back(name, Span(p + i, size_t(len)));
        i += size_t(len);
        AfterItem const next = stepAfterItem(t, i, L'}');
        if (next == AfterItem::Closed) break;
        if (next == AfterItem::Bad) return fail(msg, kErrObjNext), false;
    }
    if (skipSpace(t, i) < n) return fail(msg, kErrObjTrail), false;
    return true;
}

bool readObject(Text t, KrJsonMemberTable *out, Msg *msg) {
    std::vector<MemberSpan> spans;
    if (!readMembers(t, spans, msg)) return false;
    KrJsonMemberTable table;
    size_t nameUnits = 0, textUnits = 0;
    for (auto const &s : spans) {
        nameUnits += s.first.size();
        textUnits += s.second.size();
    }
    membersReserve(table, spans.size(), nameUnits, out ? textUnits : 0);
    for (auto const &s : spans) {
        // A check alone needs the names only (for repeats).
        if (!membersInsert(table, s.first, out ? s.second : Span()))
            return fail(msg, kErrObjDup), false;
    }
    if (out) *out = std::move(table);
    return true;
}

bool readArray(Text t, std::vector<std::wstring> *out, Msg *msg) {
    wchar_t const *p = t.p;
    size_t const n = t.n;
    std::vector<std::wstring> items;
    size_t i = skipSpace(t, 0);
    if (i >= n || p[i] != L'[') return fail(msg, kErrArrOpen), false;
    // A value must follow the opening bracket, as a member must follow a brace.
    i = skipSpace(t, i + 1);
    for (;;) {
        ptrdiff_t len = scanValue(t, i, msg);
        if (len == 0) return fail(msg, kErrArrValue), false;
        if (len < 0) return false;
        if (out) items.emplace_back(p + i, size_t(len));
        i += size_t(len);
        AfterItem const next = stepAfterItem(t, i, L']');
        if (next == AfterItem::Closed) break;
        if (next == AfterItem::Bad) return fail(msg, kErrArrNext), false;
    }
    if (skipSpace(t, i) < n) return fail(msg, kErrArrTrail), false;
    if (out) out->swap(items);
    return true;
}

// ---- queries -----------------------------------------------------------------------------------

bool queryNull(Text t) { return scanNull(t, 0) > 0; }

bool queryBool(Text t, bool *value) { return scanBool(t, 0, value) > 0; }

bool queryDouble(Text t, double *value, Msg *msg) {
    return scanNumber(t, 0, value, nullptr, msg) > 0;
}

bool queryInteger(Text t, int *value, Msg *msg) {
    double d = 0.0;
    bool integer = false;
    if (scanNumber(t, 0, &d, &integer, msg) <= 0 || !integer) return false;
    // Integers written beyond the int range answer no rather than wrap.
    if (!(d >= double(INT_MIN) && d <= double(INT_MAX))) return false;
    if (value) *value = static_cast<int>(d);
    return true;
}

bool queryString(Text t, CKrStringW *value, Msg *msg) {
    ptrdiff_t len = scanString(t, 0, msg);
    if (len <= 0) return false;
    if (value) decodeString(t.p + 1, size_t(len) - 2, *value);
    return true;
}

}  // namespace orvik::detail::json
