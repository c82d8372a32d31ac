// CKrStringA: the 8-bit string value type.
//
// Holds exactly one std::string and nothing else; copying copies the characters.  Members are
// tolerant: out-of-range positions clamp or do nothing, a null character pointer reads as the
// empty string, and no member throws except when the standard string cannot allocate.  Length
// and positions count bytes; the contents are in whatever encoding the caller put there.
//
// Comparisons (operators, Compare, Equals, Less, LessEqual) work like strcmp: unsigned bytes up
// to the first zero, so characters after an embedded zero never count.  Against a null pointer
// the empty string is equal and every non-empty string is less (s < nullptr is true, nullptr < s
// is always false); callers rely on that asymmetry.
//
// Wide arguments are converted with the C runtime's locale conversion (wcstombs), which in the
// default "C" locale copies units 0x00..0xFF byte for byte.
#ifndef ORVIK_STRINGS_CKRSTRINGA_H
#define ORVIK_STRINGS_CKRSTRINGA_H

#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/KrTypes.h"

class QString;
class CKrStringATestPeer;

class ORVIK_API CKrStringA {
public:
    // ---- construction and assignment ----------------------------------------------------
    CKrStringA();
    CKrStringA(CKrStringA const &other);  // copies up to the first zero character
    CKrStringA(CKrStringA &&other) noexcept;  // as the copy (up to the first zero); leaves other empty
    CKrStringA(std::string const &text);  // the whole standard string, embedded zeros kept
    CKrStringA(std::string &&text) noexcept;  // takes the standard string over (zeros kept)
    CKrStringA(QString const &text);      // UTF-8, QString::toStdString
    // Reserves `capacity` when non-zero, then copies up to the first zero; null gives empty.
    CKrStringA(char const *text, size_t capacity = 0);
    // Reserves, then converts with wcstombs; null gives empty.
    CKrStringA(wchar_t const *text, size_t capacity = 0);
    ~CKrStringA();

    // Self-assignment and assignment from a string sharing the buffer are no-ops; otherwise
    // copies up to the first zero.
    CKrStringA const &operator=(CKrStringA const &other);
    CKrStringA const &operator=(CKrStringA &&other) noexcept;
    CKrStringA const &operator=(std::string const &text);
    CKrStringA const &operator=(std::string &&text) noexcept;  // takes it over
    CKrStringA const &operator=(QString const &text);
    CKrStringA const &operator=(char c);
    CKrStringA const &operator=(char const *text);     // null empties; own buffer is a no-op
    CKrStringA const &operator=(wchar_t const *text);  // wcstombs; null empties
    // wcstombs, output sized by a measuring call; a unit the locale cannot represent (or 0)
    // leaves the string empty.
    CKrStringA const &operator=(wchar_t c);

    // ---- access ------------------------------------------------------------------------
    // The trivial accessors are inline: serialisers and parsers call them per node.
    size_t GetLength() const { return m_str.size(); }
    size_t GetBufferLength() const;  // capacity of the standard string, without the terminator
    bool IsEmpty() const { return m_str.empty(); }
    // Never null; valid until the next change.
    char const *GetString() const { return m_str.c_str(); }
    operator char const *() const;
    std::string const &GetStdString() const { return m_str; }
    QString GetQString() const;  // QString::fromStdString (UTF-8)
    // 0 when the index is at or beyond the length; never throws.
    char operator[](size_t index) const;
    template <std::integral I>
    char operator[](I index) const {  // any integer type, without ambiguity against char const*
        return GetAt(static_cast<size_t>(index));
    }
    char GetAt(size_t index) const;
    char GetLastChar() const;  // 0 for an empty string
    int SetAt(size_t index, char c);  // 0, or -6 without change when index >= length
    // Copies min(length, size) bytes, writes a zero at min(length, size - 1) and returns that
    // position; null buffer or size 0 returns 0 and writes nothing.
    size_t CopyToBufferA(char *buffer, size_t size);
    // mbstowcs(buffer, string, size) as it stands (its error value included); 0 for null/0.
    size_t CopyToBufferW(wchar_t *buffer, size_t size);

    // ---- search (not found: -1) ----------------------------------------------------------
    int Find(char c, size_t start = 0) const;
    // The found position is truncated to 32 bits and sign-extended (kept: callers compare it
    // with int positions).  Null pattern gives -1.
    int64_t Find(char const *pattern, size_t start = 0) const;
    int FindNoCase(char c, size_t start = 0) const;
    int64_t FindNoCase(char const *pattern, size_t start = 0) const;
    // First position >= start whose byte is in `set`; null/empty set gives -1.
    int FindOneOf(char const *set, size_t start = 0) const;
    // Backwards from min(length - 1, start as unsigned): a negative start means the last byte.
    int ReverseFind(char c, int start = -1) const;
    int ReverseFindNoCase(char c, int start = -1) const;

    // ---- modification (returning self unless stated) ---------------------------------------
    void operator+=(CKrStringA const &text);
    void operator+=(char c);
    void operator+=(char const *text);     // null appends nothing
    void operator+=(wchar_t const *text);  // wcstombs
    CKrStringA &AddChar(char c);
    CKrStringA &AddChar(wchar_t c);
    // null appends nothing; a negative count appends up to the first zero, else exactly count.
    void AddChars(char const *text, int count);
    CKrStringA &AddString(CKrStringA const &text);
    CKrStringA &AddString(QString const &text);
    CKrStringA &AddString(char const *text);
    CKrStringA &AddString(wchar_t const *text);
    CKrStringA &AddInt(int value);
    // Fixed notation with exactly `digits` decimals, classic locale ("." separator) whatever the
    // global locale; a negative `digits` gives six decimals (the stream's default).
    CKrStringA &AddDouble(double value, int digits);
    // printf-style.  Measures once and allocates once; when the formatter fails the string keeps
    // its previous contents.  "%I64d" and friends are accepted, "%S" takes a wide string.
    CKrStringA &Format(char const *format, ...);
    CKrStringA &AppendFormat(char const *format, ...);
    CKrStringA &FormatV(char const *format, va_list args);
    // pos > length: nothing; pos == length: append; otherwise insert at pos.  The first `count`
    // characters of `text` go in, all of them when count < 0 or count exceeds the text's length
    // (the count never reaches past the terminator).  A null `text` is misuse: reported through
    // DiagAssertW (source "strings/CKrStringA") and nothing changes.
    CKrStringA &Insert(char const *text, size_t pos, int count = -1);
    // Removes min(count, length - pos) at pos; count < 0 removes to the end; pos > length: no-op.
    CKrStringA &Delete(size_t pos, int count = 1);
    CKrStringA &DeleteLeft(size_t n);
    CKrStringA &DeleteRight(size_t n);
    void TruncateAt(size_t n);
    size_t Remove(char c);
    // Replaces every non-overlapping occurrence, never re-scanning inserted text; returns the
    // count.  An empty `old` returns 0 and leaves the string unchanged.
    int64_t Replace(char const *old, char const *replacement);
    int64_t ReplaceNoCase(char const *old, char const *replacement);
    // No-op when count is 0 or pos + count exceeds the length.
    void ReplaceAt(size_t pos, size_t count, char const *text);
    // A null set means " " (one space only; tabs and line breaks stay).
    CKrStringA &Trim(char const *set = nullptr);
    CKrStringA &TrimLeft(char const *set = nullptr);
    CKrStringA &TrimRight(char const *set = nullptr);
    CKrStringA &MakeLower();
    CKrStringA &MakeUpper();
    // Appends '\\' unless the string already ends in one ('/' does not count).
    CKrStringA &EndInSlash();
    CKrStringA &Empty();  // length 0, capacity kept
    void Reset();         // as Empty
    void Preallocate(size_t capacity);

    // ---- extraction (non-const, as exported) ----------------------------------------------
    CKrStringA Left(size_t n);
    CKrStringA Right(size_t n);
    // count < 0 means length - start; start >= length or count 0 gives empty.
    CKrStringA Mid(size_t start, int count = -1);

    // ---- comparison ---------------------------------------------------------------------
    int Compare(char const *text) const;        // exactly -1, 0 or 1
    int CompareNoCase(char const *text) const;  // exactly -1, 0 or 1 (_stricmp); null as in Compare
    bool Equals(CKrStringA const &text) const;
    bool Equals(char const *text) const;
    // The wide argument is converted with wcstombs first; a null wide pointer follows the same
    // null rule as a null char pointer.
    bool Equals(wchar_t const *text) const;
    bool Less(CKrStringA const &text) const;
    bool Less(char const *text) const;
    bool Less(wchar_t const *text) const;
    bool LessEqual(CKrStringA const &text) const;
    bool LessEqual(char const *text) const;
    bool LessEqual(wchar_t const *text) const;

    // ---- UTF-8 ----------------------------------------------------------------------------
    // UTF-16 to UTF-8 through the platform layer; empty when the conversion fails.
    static CKrStringA Utf8FromUtf16(wchar_t const *text);

private:
    friend class CKrStringATestPeer;
    friend CKrStringA operator+(CKrStringA const &, CKrStringA const &);
    friend CKrStringA operator+(CKrStringA const &, char);
    friend CKrStringA operator+(CKrStringA const &, char const *);
    friend CKrStringA operator+(char, CKrStringA const &);
    friend CKrStringA operator+(char const *, CKrStringA const &);
    friend CKrStringA operator+(CKrStringA &&, CKrStringA const &);
    friend CKrStringA operator+(CKrStringA &&, char);
    friend CKrStringA operator+(CKrStringA &&, char const *);

    // Reserves `capacity` and stays empty: the building block of concatenation.
    explicit CKrStringA(size_t capacity);
    // KR_WChar2Char(src, srcLength, dst, dstSize + 1, flag): 0 -> -2; srcLength < 1 or null
    // dst -> n - 1; otherwise writes a zero at dst[dstSize] and returns n.
    static int convert_to_mb(wchar_t const *src, int srcLength, char *dst, int64_t dstSize, bool flag);

    std::string m_str;
};

ORVIK_API bool operator==(CKrStringA const &a, CKrStringA const &b);
ORVIK_API bool operator==(CKrStringA const &a, char const *b);
ORVIK_API bool operator==(char const *a, CKrStringA const &b);
ORVIK_API bool operator!=(CKrStringA const &a, CKrStringA const &b);
ORVIK_API bool operator!=(CKrStringA const &a, char const *b);
ORVIK_API bool operator!=(char const *a, CKrStringA const &b);
ORVIK_API bool operator<(CKrStringA const &a, CKrStringA const &b);
ORVIK_API bool operator<(CKrStringA const &a, char const *b);
ORVIK_API bool operator<(char const *a, CKrStringA const &b);
ORVIK_API bool operator<=(CKrStringA const &a, CKrStringA const &b);
ORVIK_API bool operator<=(CKrStringA const &a, char const *b);
ORVIK_API bool operator<=(char const *a, CKrStringA const &b);
ORVIK_API bool operator>(CKrStringA const &a, CKrStringA const &b);
ORVIK_API bool operator>(CKrStringA const &a, char const *b);
ORVIK_API bool operator>(char const *a, CKrStringA const &b);
ORVIK_API bool operator>=(CKrStringA const &a, CKrStringA const &b);
ORVIK_API bool operator>=(CKrStringA const &a, char const *b);
ORVIK_API bool operator>=(char const *a, CKrStringA const &b);

// Concatenation reserves the total length first (one allocation); null operands are empty.
ORVIK_API CKrStringA operator+(CKrStringA const &a, CKrStringA const &b);
ORVIK_API CKrStringA operator+(CKrStringA const &a, char b);
ORVIK_API CKrStringA operator+(CKrStringA const &a, char const *b);
ORVIK_API CKrStringA operator+(char a, CKrStringA const &b);
ORVIK_API CKrStringA operator+(char const *a, CKrStringA const &b);
// A temporary left operand lends its buffer to the result, so a chain a + b + c allocates about
// once instead of once per operator.  Same result as the overloads above (embedded zeros of the
// left operand are kept).
ORVIK_API CKrStringA operator+(CKrStringA &&a, CKrStringA const &b);
ORVIK_API CKrStringA operator+(CKrStringA &&a, char b);
ORVIK_API CKrStringA operator+(CKrStringA &&a, char const *b);

#endif
