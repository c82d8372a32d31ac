// Private helpers of the string classes: character classification per width, the raw strcmp-like
// comparison, argument widening and the locale conversion between the widths.  Overloaded on the
// character type so that the one member layer (CKrStringT.cpp) reads the same for both widths.
#ifndef ORVIK_STRINGS_INTERNAL_STROPS_H
#define ORVIK_STRINGS_INTERNAL_STROPS_H

#include <cctype>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>
#include <type_traits>

#include "platform/KrPlatform.h"

namespace orvik::detail {

constexpr size_t kNpos = static_cast<size_t>(-1);

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

// Unsigned value of a character (a negative wchar_t never occurs in UTF-16 text, but a caller may
// still put one there; it then orders above every unit).
inline uint32_t unitValue(char c) { return static_cast<unsigned char>(c); }
inline uint32_t unitValue(wchar_t c) { return static_cast<uint32_t>(c); }

template <class C>
size_t textLength(C const *text) {
    return std::char_traits<C>::length(text);
}

template <class C>
constexpr C const *emptyText() {
    if constexpr (std::is_same_v<C, char>)
        return "";
    else
        return L"";
}

// Unsigned characters up to and including the first zero on either side: exactly -1, 0 or 1.
// Neither pointer may be null.
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

inline int signOf(int r) { return (r > 0) - (r < 0); }

inline int compareNoCaseRaw(char const *a, char const *b) { return signOf(KR_stricmp(a, b)); }
inline int compareNoCaseRaw(wchar_t const *a, wchar_t const *b) { return signOf(KR_wcsicmp(a, b)); }

// An interface position or count as a size_t: an unsigned value stays as it is, a negative int is
// sign-extended and so becomes huge (beyond every string).
template <class I>
size_t widen(I value) {
    return static_cast<size_t>(static_cast<int64_t>(value));
}

// A size_t position as the interface's int: npos and every position are cut to 32 bits, so npos
// is -1 (callers compare the results with int positions).
inline int32_t narrowPos(size_t pos) { return static_cast<int32_t>(static_cast<uint32_t>(pos)); }

inline int formatScratch(char const **out, char const *format, va_list args) {
    return KR_FormatScratchA(out, format, args);
}
inline int formatScratch(wchar_t const **out, wchar_t const *format, va_list args) {
    return KR_FormatScratchW(out, format, args);
}

// 8-bit to wide through the C runtime's current locale: a zero-filled scratch of length + 1 units,
// mbstowcs(scratch, text, length), then the scratch up to its first zero.  Null gives empty.
inline std::wstring localeConvert(char const *text) {
    std::wstring out;
    if (!text) return out;
    const size_t n = std::strlen(text);
    if (n == 0) return out;
    out.assign(n, L'\0');
    KR_mbstowcs(out.data(), text, n);
    out.resize(std::wcslen(out.c_str()));
    return out;
}

// Wide to 8-bit likewise.  The scratch has as many bytes as the source has units, so in a locale
// with multi-byte output the result is cut there (callers rely on the size limit).
inline std::string localeConvert(wchar_t const *text) {
    std::string out;
    if (!text) return out;
    const size_t n = std::wcslen(text);
    if (n == 0) return out;
    out.assign(n, '\0');
    KR_wcstombs(out.data(), text, n);
    out.resize(std::strlen(out.c_str()));
    return out;
}

}  // namespace orvik::detail

#endif
