// CKrStringW: the wide string value type of every interface of the library.
//
// Holds exactly one std::wstring.  Each wchar_t is one UTF-16 code unit (never above 0xFFFF);
// length and positions count units, and no member knows about surrogate pairs.  The members
// shared with CKrStringA and their common rules are documented once in strings/CKrStringT.h;
// this header adds what only the wide string has.  The only exception that leaves a member is
// std::range_error("bad conversion") from FromStdStringUtf8 / ToStdStringUtf8 (and
// std::bad_alloc).  8-bit arguments are converted with the C runtime's locale conversion
// (mbstowcs: byte for unit in the default "C" locale).
#ifndef ORVIK_STRINGS_CKRSTRINGW_H
#define ORVIK_STRINGS_CKRSTRINGW_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/KrTypes.h"
#include "strings/CKrStringT.h"

class QString;

class ORVIK_API CKrStringW : public CKrStringT<wchar_t> {
public:
    // ---- construction and assignment ----------------------------------------------------
    CKrStringW() = default;
    // Copying and moving take the characters up to the first zero; a move leaves `other` empty.
    CKrStringW(CKrStringW const &other);
    CKrStringW(CKrStringW &&other) noexcept;
    CKrStringW(std::wstring const &text);      // the whole standard string, embedded zeros kept
    CKrStringW(std::wstring &&text) noexcept;  // takes the standard string over (zeros kept)
    // QString members copy UTF-16 units one for one: QString::toStdWString / fromStdWString
    // would produce or expect UTF-32 with this platform's 32-bit wchar_t.
    CKrStringW(QString const &text);
    // Reserves `capacity` when non-zero, then converts with mbstowcs; null gives empty.
    CKrStringW(char const *text, size_t capacity = 0);
    // Reserves, then copies up to the first zero; null gives empty.
    CKrStringW(wchar_t const *text, size_t capacity = 0);
    ~CKrStringW();

    using CKrStringT<wchar_t>::operator=;
    // Up to the first zero; self-assignment and a string sharing the buffer change nothing.
    CKrStringW const &operator=(CKrStringW const &other) {
        assignCopy(other);
        return *this;
    }
    CKrStringW const &operator=(CKrStringW &&other) noexcept {
        assignMove(std::move(other));
        return *this;
    }
    CKrStringW const &operator=(char c);  // mbstowcs

    // ---- access and copying out -------------------------------------------------------------
    // No locale: each unit below 256 becomes that byte, any other "?".  Copies min(size,
    // length) units, writes a zero at min(length, size - 1) and returns that position.  Null
    // buffer, size 0 or a negative size returns 0 and writes nothing.
    int64_t CopyToBufferA(char *buffer, int size);
    // Copies min(length, size) units, writes a zero at min(length, size - 1), returns that; a
    // null buffer or a size below 1 returns 0.
    size_t CopyToBufferW(wchar_t *buffer, int size);
    int Count(wchar_t c) const;  // occurrences of the unit

    // ---- modification ------------------------------------------------------------------------
    using CKrStringT<wchar_t>::operator+=;
    void operator+=(QString const &text);  // units one for one
    void Clear();                          // as Empty

    // ---- UTF-8 ----------------------------------------------------------------------------
    // UTF-8 <-> UTF-16 with the standard facet (std::codecvt_utf8_utf16<wchar_t>): it accepts
    // exactly what the facet accepts (with libstdc++ that includes a UTF-8-encoded surrogate,
    // which becomes a lone surrogate unit).  Malformed input throws
    // std::range_error("bad conversion"); unlike std::wstring_convert, an incomplete sequence
    // at the end (or a trailing lone high surrogate) is malformed too, never silently dropped.
    // Embedded zeros convert like any other character.
    static CKrStringW FromStdStringUtf8(std::string const &utf8);
    std::string ToStdStringUtf8();

private:
    friend class CKrStringT<wchar_t>;
    friend CKrStringW operator+(CKrStringW const &, CKrStringW const &);
    friend CKrStringW operator+(CKrStringW const &, wchar_t const *);
    friend CKrStringW operator+(CKrStringW const &, wchar_t);
    friend CKrStringW operator+(wchar_t const *, CKrStringW const &);
    friend CKrStringW operator+(wchar_t, CKrStringW const &);
    friend CKrStringW operator+(CKrStringW &&, CKrStringW const &);
    friend CKrStringW operator+(CKrStringW &&, wchar_t const *);
    friend CKrStringW operator+(CKrStringW &&, wchar_t);

    explicit CKrStringW(size_t capacity) : CKrStringT(capacity) {}  // reserves and stays empty
};

static_assert(sizeof(CKrStringW) == sizeof(std::wstring), "CKrStringW is exactly one std::wstring");

ORVIK_API bool operator==(CKrStringW const &a, CKrStringW const &b);
ORVIK_API bool operator==(CKrStringW const &a, wchar_t const *b);
ORVIK_API bool operator==(wchar_t const *a, CKrStringW const &b);
ORVIK_API bool operator!=(CKrStringW const &a, CKrStringW const &b);
ORVIK_API bool operator!=(CKrStringW const &a, wchar_t const *b);
ORVIK_API bool operator!=(wchar_t const *a, CKrStringW const &b);
ORVIK_API bool operator<(CKrStringW const &a, CKrStringW const &b);
ORVIK_API bool operator<(CKrStringW const &a, wchar_t const *b);
ORVIK_API bool operator<(wchar_t const *a, CKrStringW const &b);
ORVIK_API bool operator<=(CKrStringW const &a, CKrStringW const &b);
ORVIK_API bool operator<=(CKrStringW const &a, wchar_t const *b);
ORVIK_API bool operator<=(wchar_t const *a, CKrStringW const &b);
ORVIK_API bool operator>(CKrStringW const &a, CKrStringW const &b);
ORVIK_API bool operator>(CKrStringW const &a, wchar_t const *b);
ORVIK_API bool operator>(wchar_t const *a, CKrStringW const &b);
ORVIK_API bool operator>=(CKrStringW const &a, CKrStringW const &b);
ORVIK_API bool operator>=(CKrStringW const &a, wchar_t const *b);
ORVIK_API bool operator>=(wchar_t const *a, CKrStringW const &b);

ORVIK_API CKrStringW operator+(CKrStringW const &a, CKrStringW const &b);
ORVIK_API CKrStringW operator+(CKrStringW const &a, wchar_t const *b);
ORVIK_API CKrStringW operator+(CKrStringW const &a, wchar_t b);
ORVIK_API CKrStringW operator+(wchar_t const *a, CKrStringW const &b);
ORVIK_API CKrStringW operator+(wchar_t a, CKrStringW const &b);
// A temporary left operand lends its buffer to the result (see CKrStringA).
ORVIK_API CKrStringW operator+(CKrStringW &&a, CKrStringW const &b);
ORVIK_API CKrStringW operator+(CKrStringW &&a, wchar_t const *b);
ORVIK_API CKrStringW operator+(CKrStringW &&a, wchar_t b);

// Hashing over the units up to the first zero, consistent with operator==, so that strings can
// key unordered containers.
template <>
struct std::hash<CKrStringW> {
    size_t operator()(CKrStringW const &s) const noexcept {
        return std::hash<std::wstring_view>()(std::wstring_view(s.GetString()));
    }
};

#endif
