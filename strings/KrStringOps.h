// Internal algorithms shared by CKrStringA and CKrStringW.
//
// Every algorithm that both widths share is written once here as a template over the character
// type and works on the class's one standard string.  Positions are size_t; the classes convert
// their own (sometimes int) arguments before calling in, so that the tolerance rules (clamp or do
// nothing) live in one place.
#ifndef ORVIK_STRINGS_KRSTRINGOPS_H
#define ORVIK_STRINGS_KRSTRINGOPS_H

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <exception>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

#include "platform/KrPlatform.h"

namespace kr_strops {

template <class C>
using Str = std::basic_string<C>;

constexpr size_t npos = static_cast<size_t>(-1);

// ---- character helpers -------------------------------------------------------------------

inline char lowerChar(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}
inline wchar_t lowerChar(wchar_t c) {
    return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
}
inline char upperChar(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}
inline wchar_t upperChar(wchar_t c) {
    return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
}

// Unsigned value of a character (a negative wchar_t never occurs in UTF-16 text, but a caller
// may still put one there; it then orders above every unit).
inline uint32_t unitValue(char c) { return static_cast<unsigned char>(c); }
inline uint32_t unitValue(wchar_t c) { return static_cast<uint32_t>(c); }

template <class C>
size_t length(C const *text) {
    return std::char_traits<C>::length(text);
}

template <class C>
C const *emptyText();
template <>
inline char const *emptyText<char>() { return ""; }
template <>
inline wchar_t const *emptyText<wchar_t>() { return L""; }

// ---- comparison ----------------------------------------------------------------------------

// Compares unsigned character values up to and including the first zero on either side:
// exactly -1, 0 or 1.  Neither pointer may be null.
template <class C>
int compareRaw(C const *a, C const *b) {
    for (;; ++a, ++b) {
        const uint32_t x = unitValue(*a), y = unitValue(*b);
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) return 0;
    }
}

inline int compareRaw(char const *a, char const *b) {
    const int r = std::strcmp(a, b);  // strcmp compares as unsigned char
    return (r > 0) - (r < 0);
}

// The string's side of a comparison with a character pointer.  A null pointer compares equal
// to the empty string and greater than every other string (callers rely on `s < nullptr` being
// true and `nullptr < s` false).
template <class C>
int compareWith(Str<C> const &s, C const *text) {
    if (!text) return s.empty() ? 0 : -1;
    return compareRaw(s.c_str(), text);
}

inline int signOf(int r) { return (r > 0) - (r < 0); }

// ---- searching -----------------------------------------------------------------------------

inline int toIntPos(size_t pos) { return pos == npos ? -1 : static_cast<int>(pos); }

template <class C>
int findChar(Str<C> const &s, C c, size_t start) {
    if (start >= s.size()) return -1;
    return toIntPos(s.find(c, start));
}

template <class C>
int findCharNoCase(Str<C> const &s, C c, size_t start) {
    const C lc = lowerChar(c);
    for (size_t i = start; i < s.size(); ++i)
        if (lowerChar(s[i]) == lc) return static_cast<int>(i);
    return -1;
}

// Position of `pattern` at or after `start`, npos when absent or when pattern is null.
template <class C>
size_t findText(Str<C> const &s, C const *pattern, size_t start) {
    if (!pattern) return npos;
    return s.find(pattern, start);
}

template <class C>
Str<C> lowered(C const *text, size_t n) {
    Str<C> out(text, n);
    for (C &c : out) c = lowerChar(c);
    return out;
}

template <class C>
size_t findTextNoCase(Str<C> const &s, C const *pattern, size_t start) {
    if (!pattern) return npos;
    if (start > s.size()) return npos;
    const Str<C> hay = lowered(s.data(), s.size());
    const Str<C> needle = lowered(pattern, length(pattern));
    return hay.find(needle, start);
}

template <class C>
int findOneOf(Str<C> const &s, C const *set, size_t start) {
    if (!set || !*set || start >= s.size()) return -1;
    return toIntPos(s.find_first_of(set, start));
}

// Backwards from min(length - 1, start); a start converted from a negative int is huge and so
// means "from the last character".
template <class C>
int reverseFind(Str<C> const &s, C c, size_t start, bool noCase) {
    if (s.empty()) return -1;
    size_t i = std::min(s.size() - 1, start);
    const C target = noCase ? lowerChar(c) : c;
    for (;;) {
        const C here = noCase ? lowerChar(s[i]) : s[i];
        if (here == target) return static_cast<int>(i);
        if (i == 0) return -1;
        --i;
    }
}

// ---- modification --------------------------------------------------------------------------

template <class C>
void insertText(Str<C> &s, C const *text, size_t pos, int count) {
    const size_t textLen = length(text);
    if (pos > s.size()) return;
    // The count never reaches beyond the text's terminator: a larger count means the whole text.
    const size_t n = (count < 0 || static_cast<size_t>(count) > textLen) ? textLen
                                                                         : static_cast<size_t>(count);
    if (pos == s.size())
        s.append(text, n);
    else
        s.insert(pos, text, n);
}

template <class C>
void deleteAt(Str<C> &s, size_t pos, int count) {
    if (pos > s.size()) return;
    if (count < 0)
        s.erase(pos);
    else
        s.erase(pos, static_cast<size_t>(count));
}

template <class C>
void deleteLeft(Str<C> &s, size_t n) {
    s.erase(0, std::min(n, s.size()));
}

template <class C>
void deleteRight(Str<C> &s, size_t n) {
    if (n >= s.size())
        s.clear();
    else
        s.erase(s.size() - n);
}

template <class C>
size_t removeAll(Str<C> &s, C c) {
    const auto newEnd = std::remove(s.begin(), s.end(), c);
    const size_t removed = static_cast<size_t>(s.end() - newEnd);
    s.erase(newEnd, s.end());
    return removed;
}

template <class C>
void replaceAt(Str<C> &s, size_t pos, size_t count, C const *text) {
    if (count == 0 || pos > s.size() || count > s.size() - pos) return;
    if (!text) text = emptyText<C>();
    // std::basic_string::replace copes with `text` pointing into the string itself; when the
    // lengths agree it overwrites in place without reallocating.
    s.replace(pos, count, text);
}

template <class C>
void trimLeft(Str<C> &s, C const *set) {
    static const C space[2] = {C(' '), C(0)};
    if (!set) set = space;
    if (!*set) return;
    const size_t first = s.find_first_not_of(set);
    if (first == npos)
        s.clear();
    else
        s.erase(0, first);
}

template <class C>
void trimRight(Str<C> &s, C const *set) {
    static const C space[2] = {C(' '), C(0)};
    if (!set) set = space;
    if (!*set) return;
    const size_t last = s.find_last_not_of(set);
    if (last == npos)
        s.clear();
    else
        s.erase(last + 1);
}

template <class C>
void makeLower(Str<C> &s) {
    for (C &c : s) c = lowerChar(c);
}
template <class C>
void makeUpper(Str<C> &s) {
    for (C &c : s) c = upperChar(c);
}

template <class C>
void endInSlash(Str<C> &s) {
    if (s.empty() || s.back() != C('\\')) s.push_back(C('\\'));
}

// Replaces every non-overlapping occurrence of `old`, scanning left to right and continuing
// after each replaced occurrence (so inserted text is never searched again).  The result is
// built in one pass; the string is only touched when something was found.  An empty pattern is
// refused with std::invalid_argument, and every standard exception is swallowed here: the
// caller sees the count reached so far and a string that matches that count.
template <class C>
int64_t replaceAll(Str<C> &s, C const *oldText, C const *newText, bool noCase) {
    int64_t count = 0;
    Str<C> out;
    size_t done = 0;  // characters of s consumed into `out`
    try {
        const size_t oldLen = oldText ? length(oldText) : 0;
        if (oldLen == 0)
            throw std::invalid_argument(
                "You cannot magically replace nothing with something, that is not how this works...");
        if (!newText) newText = emptyText<C>();
        const size_t newLen = length(newText);

        Str<C> hayLower, needleLower;
        Str<C> const *hay = &s;
        C const *needle = oldText;
        if (noCase) {
            hayLower = lowered(s.data(), s.size());
            needleLower = lowered(oldText, oldLen);
            hay = &hayLower;
            needle = needleLower.c_str();
        }
        size_t pos = hay->find(needle, 0, oldLen);
        if (pos == npos) return 0;
        // The new text may point into s itself: keep a copy before s is replaced.
        const Str<C> replacement(newText, newLen);
        out.reserve(newLen > oldLen ? s.size() + (s.size() / 8) + newLen : s.size());
        while (pos != npos) {
            out.append(s, done, pos - done);
            out.append(replacement);
            done = pos + oldLen;
            ++count;
            pos = hay->find(needle, done, oldLen);
        }
        out.append(s, done, npos);
        s.swap(out);
        return count;
    } catch (std::exception const &) {
        if (count == 0) return 0;
        // Keep the string consistent with the count: finish with the untouched remainder.
        try {
            out.append(s, done, npos);
            s.swap(out);
            return count;
        } catch (std::exception const &) {
            return 0;  // s was never modified
        }
    }
}

template <class C>
Str<C> mid(Str<C> const &s, size_t start, int count) {
    if (s.empty() || count == 0 || start >= s.size()) return Str<C>();
    const size_t avail = s.size() - start;
    const size_t n = count < 0 ? avail : std::min(avail, static_cast<size_t>(count));
    return s.substr(start, n);
}

// Copies min(length, size) characters, puts a zero at min(length, size - 1) and returns that.
template <class C>
size_t copyToBuffer(Str<C> const &s, C *buffer, size_t size) {
    if (!buffer || size == 0) return 0;
    const size_t n = std::min(s.size(), size);
    std::char_traits<C>::copy(buffer, s.data(), n);
    const size_t end = std::min(s.size(), size - 1);
    buffer[end] = C(0);
    return end;
}

// ---- numbers -------------------------------------------------------------------------------

template <class C>
void appendInt(Str<C> &s, int value) {
    char digits[16];
    int n = 0;
    unsigned int u = value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
    do {
        digits[n++] = static_cast<char>('0' + u % 10);
        u /= 10;
    } while (u);
    if (value < 0) s.push_back(C('-'));
    while (n) s.push_back(C(digits[--n]));
}

// Fixed notation with `digits` decimals, always through the classic locale ("." separator).
template <class C>
void appendDouble(Str<C> &s, double value, int digits) {
    std::ostringstream os;
    os.imbue(std::locale::classic());
    os << std::fixed << std::setprecision(digits) << value;
    const std::string text = os.str();
    s.append(text.begin(), text.end());
}

// ---- formatting ----------------------------------------------------------------------------

inline int formatScratch(char const **out, char const *format, va_list args) {
    return KR_FormatScratchA(out, format, args);
}
inline int formatScratch(wchar_t const **out, wchar_t const *format, va_list args) {
    return KR_FormatScratchW(out, format, args);
}

// Formats into the platform layer's per-thread scratch buffer (which measures and formats in
// one go), then assigns or appends from it: one allocation at most.  A formatter failure leaves
// the string as it was.  Arguments may point into `s` itself: it is only changed afterwards.
template <class C>
void formatInto(Str<C> &s, C const *format, va_list args, bool append) {
    if (!format) format = emptyText<C>();
    C const *text = nullptr;
    const int n = formatScratch(&text, format, args);
    if (n < 0 || !text) return;
    if (append)
        s.append(text, static_cast<size_t>(n));
    else
        s.assign(text, static_cast<size_t>(n));
}

// ---- locale conversion between the widths --------------------------------------------------

// 8-bit to wide through the C runtime's current locale: a zero-filled scratch of length + 1
// units, mbstowcs(scratch, text, length), then the scratch up to its first zero.
inline std::wstring localeToWide(char const *text) {
    std::wstring out;
    if (!text) return out;
    const size_t n = std::strlen(text);
    if (n == 0) return out;
    out.assign(n, L'\0');
    KR_mbstowcs(out.data(), text, n);
    out.resize(std::wcslen(out.c_str()));
    return out;
}

// Wide to 8-bit likewise.  The scratch has as many bytes as the source has units, so in a
// locale with multi-byte output the result is cut there (callers rely on the size limit).
inline std::string localeToNarrow(wchar_t const *text) {
    std::string out;
    if (!text) return out;
    const size_t n = std::wcslen(text);
    if (n == 0) return out;
    out.assign(n, '\0');
    KR_wcstombs(out.data(), text, n);
    out.resize(std::strlen(out.c_str()));
    return out;
}

}  // namespace kr_strops

#endif
