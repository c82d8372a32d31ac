// CKrStringW: the wide string value type of every interface of the library.
//
// Holds exactly one std::wstring.  Each wchar_t is one UTF-16 code unit (never above 0xFFFF);
// length and positions count units, and no member knows about surrogate pairs.  Members are
// tolerant like CKrStringA's: out-of-range positions clamp or do nothing, null pointers read as
// empty.  The only exception that leaves a member is std::range_error("bad conversion") from
// FromStdStringUtf8 / ToStdStringUtf8 (and std::bad_alloc).
//
// Comparisons work like wcscmp up to the first zero unit, with the same null-pointer asymmetry
// as CKrStringA (empty == nullptr; non-empty < nullptr).  8-bit arguments are converted with the
// C runtime's locale conversion (mbstowcs: byte for unit in the default "C" locale).
#ifndef ORVIK_STRINGS_CKRSTRINGW_H
#define ORVIK_STRINGS_CKRSTRINGW_H

#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/KrTypes.h"

class QString;

class ORVIK_API CKrStringW {
public:
    // ---- construction and assignment ----------------------------------------------------
    CKrStringW();
    CKrStringW(CKrStringW const &other);  // copies up to the first zero unit
    CKrStringW(CKrStringW &&other) noexcept;  // as the copy (up to the first zero); leaves other empty
    CKrStringW(std::wstring const &text);  // the whole standard string, embedded zeros kept
    CKrStringW(std::wstring &&text) noexcept;  // takes the standard string over (zeros kept)
    // QString members copy UTF-16 units one for one: QString::toStdWString / fromStdWString
    // would produce or expect UTF-32 with this platform's 32-bit wchar_t.
    CKrStringW(QString const &text);
    // Reserves `capacity` when non-zero, then converts with mbstowcs; null gives empty.
    CKrStringW(char const *text, size_t capacity = 0);
    // Reserves, then copies up to the first zero; null gives empty.
    CKrStringW(wchar_t const *text, size_t capacity = 0);
    ~CKrStringW();

    CKrStringW const &operator=(CKrStringW const &other);  // up to the first zero; self: no-op
    CKrStringW const &operator=(CKrStringW &&other) noexcept;
    CKrStringW const &operator=(std::wstring const &text);
    CKrStringW const &operator=(std::wstring &&text) noexcept;  // takes it over
    CKrStringW const &operator=(QString const &text);
    CKrStringW const &operator=(char c);             // mbstowcs
    CKrStringW const &operator=(char const *text);   // mbstowcs; null empties
    CKrStringW const &operator=(wchar_t const *text);  // null empties; own buffer is a no-op
    CKrStringW const &operator=(wchar_t c);

    // ---- access ------------------------------------------------------------------------
    // The trivial accessors are inline: serialisers and parsers call them per node.
    size_t GetLength() const { return m_str.size(); }
    size_t GetBufferLength() const;
    bool IsEmpty() const { return m_str.empty(); }
    // Never null; valid until the next change.
    wchar_t const *GetString() const { return m_str.c_str(); }
    operator wchar_t const *() const;
    std::wstring const &GetStdString() const { return m_str; }
    QString GetQString() const;  // units one for one (see the QString constructor)
    wchar_t operator[](size_t index) const;  // 0 at or beyond the length
    template <std::integral I>
    wchar_t operator[](I index) const {
        return GetAt(static_cast<size_t>(index));
    }
    wchar_t GetAt(size_t index) const;
    wchar_t GetLastChar() const;
    int SetAt(size_t index, wchar_t c);  // 0, or -6 without change when index >= length
    // No locale: each unit below 256 becomes that byte, any other "?".  Copies min(size,
    // length) units, writes a zero at min(length, size - 1) and returns that position.  Null
    // buffer or size 0 returns 0.
    // A negative size is treated like 0.
    int64_t CopyToBufferA(char *buffer, int size);
    // Copies min(length, size) units, writes a zero at min(length, size - 1), returns that.
    size_t CopyToBufferW(wchar_t *buffer, int size);
    int Count(wchar_t c) const;

    // ---- search (not found: -1) ----------------------------------------------------------
    // A negative int start is taken as unsigned: beyond the end, so nothing is found (except
    // ReverseFind*, where it means "from the last unit").
    int Find(wchar_t c, size_t start = 0) const;
    int Find(wchar_t const *pattern, int start = 0) const;
    int FindNoCase(wchar_t c, int start = 0) const;
    int FindNoCase(wchar_t const *pattern, int start = 0) const;
    int FindOneOf(wchar_t const *set, size_t start = 0) const;
    int ReverseFind(wchar_t c, int start = -1) const;
    int ReverseFindNoCase(wchar_t c, int start = -1) const;

    // ---- modification (returning self unless stated) ---------------------------------------
    void operator+=(CKrStringW const &text);
    void operator+=(QString const &text);
    void operator+=(char const *text);  // mbstowcs
    void operator+=(wchar_t const *text);
    void operator+=(wchar_t c);
    CKrStringW &AddChar(char c);  // mbstowcs
    CKrStringW &AddChar(wchar_t c);
    void AddChars(wchar_t const *text, int count);
    CKrStringW &AddString(CKrStringW const &text);
    CKrStringW &AddString(QString const &text);
    CKrStringW &AddString(char const *text);
    CKrStringW &AddString(wchar_t const *text);
    CKrStringW &AddInt(int value);
    CKrStringW &AddDouble(double value, int digits);  // as CKrStringA::AddDouble
    // printf-style with the Windows wide conventions: "%s" and "%c" take wide arguments,
    // "%hs"/"%S" narrow ones.  Measures once, allocates once; on a formatter failure the string
    // keeps its previous contents.
    CKrStringW &Format(wchar_t const *format, ...);
    CKrStringW &AppendFormat(wchar_t const *format, ...);
    CKrStringW &FormatV(wchar_t const *format, va_list args);
    // As CKrStringA::Insert (a null text is reported with source "strings/CKrStringW").
    CKrStringW &Insert(wchar_t const *text, size_t pos, int count = -1);
    CKrStringW &Delete(size_t pos, int count = 1);
    // A negative n is widened to an unsigned 64-bit count and so empties the string.
    CKrStringW &DeleteLeft(int n);
    CKrStringW &DeleteRight(int n);
    void TruncateAt(size_t n);
    int Remove(wchar_t c);
    int Replace(wchar_t const *old, wchar_t const *replacement);
    int ReplaceNoCase(wchar_t const *old, wchar_t const *replacement);
    // Negative pos or count fall outside the string (taken as unsigned): no-op.
    void ReplaceAt(int pos, int count, wchar_t const *text);
    CKrStringW &Trim(wchar_t const *set = nullptr);
    CKrStringW &TrimLeft(wchar_t const *set = nullptr);
    CKrStringW &TrimRight(wchar_t const *set = nullptr);
    CKrStringW &MakeLower();
    CKrStringW &MakeUpper();
    CKrStringW &EndInSlash();
    CKrStringW &Empty();
    void Reset();
    void Clear();
    void Preallocate(int capacity);  // a negative capacity is ignored

    // ---- extraction (non-const, as exported) ----------------------------------------------
    CKrStringW Left(size_t n);
    CKrStringW Right(size_t n);
    CKrStringW Mid(size_t start, int count = -1);

    // ---- comparison ---------------------------------------------------------------------
    int Compare(wchar_t const *text) const;
    int CompareNoCase(wchar_t const *text) const;  // _wcsicmp, mapped to -1/0/1
    bool Equals(CKrStringW const &text) const;
    bool Equals(char const *text) const;  // the argument is converted with mbstowcs first
    bool Equals(wchar_t const *text) const;
    bool Less(CKrStringW const &text) const;
    bool Less(char const *text) const;
    bool Less(wchar_t const *text) const;
    bool LessEqual(CKrStringW const &text) const;
    bool LessEqual(char const *text) const;
    bool LessEqual(wchar_t const *text) const;

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
    friend CKrStringW operator+(CKrStringW const &, CKrStringW const &);
    friend CKrStringW operator+(CKrStringW const &, wchar_t const *);
    friend CKrStringW operator+(CKrStringW const &, wchar_t);
    friend CKrStringW operator+(wchar_t const *, CKrStringW const &);
    friend CKrStringW operator+(wchar_t, CKrStringW const &);
    friend CKrStringW operator+(CKrStringW &&, CKrStringW const &);
    friend CKrStringW operator+(CKrStringW &&, wchar_t const *);
    friend CKrStringW operator+(CKrStringW &&, wchar_t);

    explicit CKrStringW(size_t capacity);  // reserves and stays empty

    std::wstring m_str;
};

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
