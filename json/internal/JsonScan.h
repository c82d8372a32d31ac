// Internal scanning core of the JSON classes.  Works on (pointer, length) views so that the
// readers and queries never copy a text to look at it; the public static scanners of CKrJson are
// thin wrappers over these.  Nothing here recurses: nesting is counted, never descended.
#ifndef ORVIK_JSON_INTERNAL_JSONSCAN_H
#define ORVIK_JSON_INTERNAL_JSONSCAN_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/CKrJsonObject.h"
#include "strings/CKrStringW.h"

namespace orvik::detail::json {

using Msg = wchar_t const *;  // a static message text, or null

// Message texts (compared by callers; misspellings are part of the contract).
inline constexpr Msg kErrEscape = L"Unrecognized escape sequence";
inline constexpr Msg kErrQuotes = L"Unballanced quotation marks";
inline constexpr Msg kErrPoint = L"Number parse erorr: a number must follow decimal point!";
inline constexpr Msg kErrExponent = L"Number parse error: a number must follow exponent sign!";
inline constexpr Msg kErrBraces = L"Unballanced braces while parsing Object";
inline constexpr Msg kErrBrackets = L"Unballanced brackets while parsing Array";
inline constexpr Msg kErrObjOpen = L"Expected '{' while parsing Object!";
inline constexpr Msg kErrObjName = L"Expected '\"' while parsing Object!";
inline constexpr Msg kErrObjColon = L"Expected ':' while parsing Object!";
inline constexpr Msg kErrObjValue = L"Expected value while parsing Object!";
inline constexpr Msg kErrObjNext = L"Expected ',' or '}' while parsing Object!";
inline constexpr Msg kErrObjTrail = L"Unexpected text after the end of Object!";
inline constexpr Msg kErrObjDup = L"Duplicate member name while parsing Object!";
inline constexpr Msg kErrArrOpen = L"Expected '[' while parsing Array!";
inline constexpr Msg kErrArrValue = L"Expected value while parsing Array!";
inline constexpr Msg kErrArrNext = L"Expected ',' or ']' while parsing Array!";
inline constexpr Msg kErrArrTrail = L"Unexpected text after the end of Array!";
inline constexpr Msg kErrDocValue = L"Expected value while reformatting!";
inline constexpr Msg kErrDocTrail = L"Unexpected text after the end of the document!";
inline constexpr Msg kErrDocDepth = L"Nesting too deep while reformatting!";
inline constexpr Msg kErrDocSize = L"Output too large while reformatting!";

struct Text {
    wchar_t const *p;
    size_t n;
};

// The text of a string up to its first zero unit (empty beyond INT_MAX units).
Text textOf(CKrStringW const &s);
inline Text textOf(std::wstring const &s) { return Text{s.data(), s.size()}; }
inline Text textOf(std::wstring_view s) { return Text{s.data(), s.size()}; }

bool isSpaceSlow(wchar_t c);
inline bool isSpace(wchar_t c) {
    if (c < 0x80) return c == L' ' || (c >= 9 && c <= 13);
    return isSpaceSlow(c);
}
inline bool isDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
inline bool isHex(wchar_t c) {
    return isDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}
inline size_t skipSpace(Text t, size_t i) {
    while (i < t.n && isSpace(t.p[i])) ++i;
    return i;
}

// Unit-by-unit order of names (the string class's less-than on texts without zero units),
// inlined: names are short and often share long prefixes, where a library call costs more.
inline bool nameLess(std::wstring_view a, std::wstring_view b) {
    size_t const m = a.size() < b.size() ? a.size() : b.size();
    for (size_t k = 0; k < m; ++k)
        if (a[k] != b[k]) return a[k] < b[k];
    return a.size() < b.size();
}
inline bool nameEqual(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size()) return false;
    for (size_t k = 0; k < a.size(); ++k)
        if (a[k] != b[k]) return false;
    return true;
}

// Scanners: length of the item at i (> 0), 0 when none of the kind starts there, -1 when it is
// malformed (*msg set when msg is not null).  i may be at or past the end.
ptrdiff_t scanNull(Text t, size_t i);
ptrdiff_t scanBool(Text t, size_t i, bool *value);
ptrdiff_t scanNumber(Text t, size_t i, double *value, bool *isInteger, Msg *msg);
ptrdiff_t scanString(Text t, size_t i, Msg *msg);
ptrdiff_t scanNested(Text t, size_t i, wchar_t open, wchar_t close, Msg *msg);
ptrdiff_t scanValue(Text t, size_t i, Msg *msg);

// The double value of a number text already accepted by scanNumber.
double numberValue(wchar_t const *p, size_t n);
// The escape that starts with the backslash at p[i] of n units: its length (2, or 6 for
// "\\uXXXX"), with the unit it stands for in *unit when unit is not null; 0 when it is unknown
// or a hex digit is missing; -1 when the text ends inside it.  The one reading of JSON escapes:
// the scanner, the unescaper and the decoders below all go through it.
ptrdiff_t escapeAt(wchar_t const *p, size_t n, size_t i, wchar_t *unit);

// Decodes the text between the quotes of a string accepted by scanString, handing runs of
// plain units and decoded units to append(wchar_t const *units, size_t count).  With
// stopAtZero it stops at a decoded zero unit (the JSON helpers' strings end there); otherwise
// the zero unit is kept (names and strings of a variant may hold one).
template <class Append>
void decodeEscapes(wchar_t const *p, size_t n, bool stopAtZero, Append &&append) {
    size_t run = 0;  // start of the current run of plain units
    for (size_t i = 0; i < n; ++i) {
        if (p[i] != L'\\') continue;
        wchar_t unit = 0;
        ptrdiff_t const used = escapeAt(p, n, i, &unit);
        if (used <= 0) continue;  // not in accepted text: the backslash stays as it stands
        if (i > run) append(p + run, i - run);
        if (unit == 0 && stopAtZero) return;
        append(&unit, 1);
        i += size_t(used) - 1;
        run = i + 1;
    }
    if (n > run) append(p + run, n - run);
}

// decodeEscapes stopping at a zero unit, into a new string or into `out` (reusing its buffer).
std::wstring decodeString(wchar_t const *p, size_t n);
void decodeString(wchar_t const *p, size_t n, CKrStringW &out);

// Shallow readers.  When out is not null it receives the members (sorted by name) or items.
using Span = std::wstring_view;
bool readObject(Text t, KrJsonMemberTable *out, Msg *msg);
bool readArray(Text t, std::vector<std::wstring> *out, Msg *msg);

// Queries over a whole item text (scanned from position 0).
bool queryNull(Text t);
bool queryBool(Text t, bool *value);
bool queryDouble(Text t, double *value, Msg *msg);
bool queryInteger(Text t, int *value, Msg *msg);
bool queryString(Text t, CKrStringW *value, Msg *msg);

}  // namespace orvik::detail::json

// The short name the json/ sources use for the helpers above.
namespace jsd = orvik::detail::json;

#endif
