// CKrStringT<C>: the member layer that CKrStringA (C = char) and CKrStringW (C = wchar_t) share.
//
// Both string classes derive from it and add nothing but constructors and the few members whose
// rule differs between the widths, so every shared member below is written, documented and
// exported once.  The layer holds exactly one std::basic_string<C>; the derived classes hold
// nothing more, so each string class is exactly one standard string (no reference counting, no
// header of our own, the standard string's growth and small-string buffer).
//
// The layer is instantiated in the library for char and wchar_t only (like CKrVectorT); it is not
// meant to be named by callers, who use CKrStringA and CKrStringW.
//
// Common rules of every member:
// - Tolerance: out-of-range positions and counts clamp or do nothing; a null character pointer
//   reads as the empty string (except Insert's text, which is misuse).  No member throws except
//   when the standard string cannot allocate (std::bad_alloc), and CKrStringW's UTF-8 members.
// - Positions and lengths count characters of the class's own width (bytes for CKrStringA,
//   UTF-16 units for CKrStringW); no member knows about multi-byte sequences or surrogates.
// - Where the interface takes an `Index` (size_t for CKrStringA, int for CKrStringW), a negative
//   int is widened to a huge unsigned value: a search from there finds nothing, DeleteLeft and
//   DeleteRight empty the string, ReplaceAt and Preallocate do nothing.  Callers of the wide
//   class rely on these results.
// - Arguments of the other width (`Other`: wchar_t for CKrStringA, char for CKrStringW) are
//   converted with the C runtime's current-locale conversion (wcstombs / mbstowcs; byte for unit
//   in the default "C" locale).  The 8-bit result has at most as many bytes as the source has
//   units; that cut is deliberate.
// - Comparisons work like strcmp / wcscmp: unsigned characters up to the first zero, so
//   characters after an embedded zero never count; results are exactly -1, 0 or 1.  Against a
//   null pointer the empty string is equal and every other string is less (`s < nullptr` is
//   true, `nullptr < s` always false); callers rely on that asymmetry.
// - Members that change the string return the derived string (`String &`) for chaining, unless
//   the signature says otherwise.  Pointers handed out stay valid until the next change.
#ifndef ORVIK_STRINGS_CKRSTRINGT_H
#define ORVIK_STRINGS_CKRSTRINGT_H

#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/KrTypes.h"

class QString;
class CKrStringA;
class CKrStringW;

// What differs between the two widths in the shared interface: the class built on the width, the
// character type of the other width, and the integer types the interface gives some members.
template <class C>
struct SKrStringTraits;

template <>
struct SKrStringTraits<char> {
    using String = CKrStringA;
    using Other = wchar_t;
    using Index = size_t;     // starts of the case-insensitive and substring searches, counts of
                              // DeleteLeft/DeleteRight/ReplaceAt/Preallocate, result of Remove
    using TextPos = int64_t;  // result of substring searches and of Replace / ReplaceNoCase
};

template <>
struct SKrStringTraits<wchar_t> {
    using String = CKrStringW;
    using Other = char;
    using Index = int;
    using TextPos = int;
};

template <class C>
class ORVIK_API CKrStringT {
public:
    using Traits = SKrStringTraits<C>;
    using String = typename Traits::String;
    using Other = typename Traits::Other;
    using Index = typename Traits::Index;
    using TextPos = typename Traits::TextPos;
    using StdString = std::basic_string<C>;

    // ---- assignment (all return the string itself, const) ---------------------------------
    // The derived classes add copy and move assignment (up to the first zero; self-assignment
    // and assignment from a string sharing the buffer change nothing) and the single character
    // of the other width.
    String const &operator=(StdString const &text);      // the whole standard string, zeros kept
    String const &operator=(StdString &&text) noexcept;  // takes it over
    // CKrStringA: UTF-8 (QString::toStdString).  CKrStringW: UTF-16 units one for one
    // (QString::toStdWString would give UTF-32 with this platform's 32-bit wchar_t).
    String const &operator=(QString const &text);
    String const &operator=(C c);  // the string becomes that one character
    // Null empties; assigning the string's own buffer (or a pointer into it) is safe.
    String const &operator=(C const *text);
    String const &operator=(Other const *text);  // locale conversion; null empties

    // ---- access ------------------------------------------------------------------------
    // The trivial accessors are inline: serialisers and parsers call them per node.
    size_t GetLength() const { return m_str.size(); }
    size_t GetBufferLength() const;  // capacity of the standard string, without the terminator
    bool IsEmpty() const { return m_str.empty(); }
    // Never null (the empty string gives a pointer to a zero); valid until the next change.
    C const *GetString() const { return m_str.c_str(); }
    operator C const *() const;
    StdString const &GetStdString() const { return m_str; }
    QString GetQString() const;  // the inverse of operator=(QString const &)
    // 0 when the index is at or beyond the length; never throws.
    C operator[](size_t index) const;
    template <std::integral I>
    C operator[](I index) const {  // any integer type, without ambiguity against C const *
        return GetAt(static_cast<size_t>(index));
    }
    C GetAt(size_t index) const;
    C GetLastChar() const;         // 0 for an empty string
    int SetAt(size_t index, C c);  // 0, or -6 without change when index >= length

    // ---- search (not found: -1) ----------------------------------------------------------
    // First occurrence at or after `start`; -1 when start is not below the length.
    int Find(C c, size_t start = 0) const;
    // The standard find from `start` (an empty pattern is found at start when start <= length);
    // null pattern gives -1.  The position is truncated to 32 bits and sign-extended (kept:
    // callers compare it with int positions).
    TextPos Find(C const *pattern, Index start = 0) const;
    // As Find, comparing tolower / towlower of both sides (the C runtime's current locale).
    int FindNoCase(C c, Index start = 0) const;
    TextPos FindNoCase(C const *pattern, Index start = 0) const;
    // First position >= start whose character is in `set`; null or empty set gives -1.
    int FindOneOf(C const *set, size_t start = 0) const;
    // Backwards from min(length - 1, start taken as unsigned), so a negative start searches from
    // the last character; an empty string gives -1.
    int ReverseFind(C c, int start = -1) const;
    int ReverseFindNoCase(C c, int start = -1) const;

    // ---- modification --------------------------------------------------------------------
    void operator+=(String const &text);
    void operator+=(C c);
    void operator+=(C const *text);      // null appends nothing
    void operator+=(Other const *text);  // locale conversion; null appends nothing
    String &AddChar(C c);
    String &AddChar(Other c);  // locale conversion
    // Null appends nothing; a negative count appends up to the first zero, else exactly count.
    void AddChars(C const *text, int count);
    String &AddString(String const &text);   // the whole string, embedded zeros included
    String &AddString(QString const &text);  // converted as by operator=(QString const &)
    String &AddString(C const *text);
    String &AddString(Other const *text);
    String &AddInt(int value);  // decimal, "-" for negative values, no padding or grouping
    // Fixed notation with exactly `digits` decimals, classic locale ("." separator) whatever the
    // global locale; a negative `digits` gives six decimals (the stream's default).
    String &AddDouble(double value, int digits);
    // printf-style.  CKrStringA: "%I64d" and friends are accepted, "%S" takes a wide string.
    // CKrStringW: the Windows wide conventions, "%s" and "%c" take wide arguments, "%hs" and "%S"
    // narrow ones.  Measures once and allocates once; a null format is the empty format; when
    // the formatter fails the string keeps its previous contents.  Arguments may point into the
    // string itself.
    String &Format(C const *format, ...);
    String &AppendFormat(C const *format, ...);
    String &FormatV(C const *format, va_list args);
    // pos > length: nothing; pos == length: append; otherwise insert at pos.  The first `count`
    // characters of `text` go in, all of them when count < 0 or count exceeds the text's length
    // (the count never reaches past the terminator).  A null `text` is misuse: reported through
    // DiagAssertW (condition "text != nullptr", source "strings/CKrStringA" or
    // "strings/CKrStringW") and nothing changes.
    String &Insert(C const *text, size_t pos, int count = -1);
    // Removes min(count, length - pos) at pos; count < 0 removes to the end; pos > length: no-op.
    String &Delete(size_t pos, int count = 1);
    String &DeleteLeft(Index n);   // the first min(n, length) characters
    String &DeleteRight(Index n);  // the last n; n >= length empties
    void TruncateAt(size_t n);     // keeps the first n; n >= length: no change
    Index Remove(C c);             // removes every occurrence, returns how many
    // Replaces every non-overlapping occurrence from left to right, never searching inserted
    // text again; returns the count.  A null or empty `old` returns 0 and changes nothing (no
    // exception reaches the caller); a null replacement is empty; the replacement may point
    // into the string itself.  ReplaceNoCase matches lower-cased characters.
    TextPos Replace(C const *old, C const *replacement);
    TextPos ReplaceNoCase(C const *old, C const *replacement);
    // No-op when count is 0, pos > length or pos + count > length; otherwise the `count`
    // characters at pos are replaced by `text` (null is empty), in place when the lengths agree.
    void ReplaceAt(Index pos, Index count, C const *text);
    // Removes leading and/or trailing characters found in `set`.  A null set means " " (one
    // space only: tabs and line breaks stay); an empty set removes nothing.
    String &Trim(C const *set = nullptr);
    String &TrimLeft(C const *set = nullptr);
    String &TrimRight(C const *set = nullptr);
    String &MakeLower();  // per character tolower / towlower
    String &MakeUpper();
    // Appends one backslash unless the string already ends in one ('/' does not count); the
    // empty string becomes "\".
    String &EndInSlash();
    String &Empty();  // length 0, capacity kept
    void Reset();     // as Empty
    // Reserves capacity; a request beyond max_size() (a negative int included) is ignored rather
    // than thrown, a real allocation failure still propagates.
    void Preallocate(Index capacity);

    // ---- extraction (non-const, as exported; embedded zeros of the source are kept) ---------
    String Left(size_t n);   // the first min(n, length) characters
    String Right(size_t n);  // the last min(n, length) characters
    // count < 0 means length - start; an empty source, count 0 or start >= length give empty;
    // otherwise min(length - start, count) characters from start.
    String Mid(size_t start, int count = -1);

    // ---- comparison (strcmp-like, see above) -----------------------------------------------
    int Compare(C const *text) const;        // exactly -1, 0 or 1
    int CompareNoCase(C const *text) const;  // _stricmp / _wcsicmp mapped to -1, 0, 1
    bool Equals(String const &text) const;
    bool Equals(C const *text) const;
    // The other width is converted first (locale conversion); null follows the null rule.
    bool Equals(Other const *text) const;
    bool Less(String const &text) const;  // this < text
    bool Less(C const *text) const;
    bool Less(Other const *text) const;
    bool LessEqual(String const &text) const;
    bool LessEqual(C const *text) const;
    bool LessEqual(Other const *text) const;

protected:
    CKrStringT() = default;
    CKrStringT(CKrStringT const &other);      // copies up to the first zero
    CKrStringT(CKrStringT &&other) noexcept;  // as the copy; leaves other empty
    explicit CKrStringT(StdString const &text);
    explicit CKrStringT(StdString &&text) noexcept;
    // Reserve `capacity` when non-zero (ignored beyond max_size), then copy or convert `text`
    // up to its first zero; null gives empty.
    CKrStringT(C const *text, size_t capacity);
    CKrStringT(Other const *text, size_t capacity);
    explicit CKrStringT(size_t capacity) { m_str.reserve(capacity); }  // reserves, stays empty
    ~CKrStringT() = default;
    // Assignment goes through the derived classes, which return their own type.
    CKrStringT &operator=(CKrStringT const &) = delete;

    void assignCopy(CKrStringT const &other);      // the derived copy assignment
    void assignMove(CKrStringT &&other) noexcept;  // the derived move assignment
    // Copies min(length, size) characters into `buffer`, writes a zero at min(length, size - 1)
    // and returns that position; a null buffer or size 0 returns 0 and writes nothing.
    size_t copyOut(C *buffer, size_t size) const;
    // The concatenation operators: a then b, the total reserved first (one allocation).
    static String concat(C const *a, size_t na, C const *b, size_t nb);
    // A temporary left operand lends its buffer (embedded zeros kept), grown at most once.
    static String concat(String &&a, C const *b, size_t nb);

    String &self() { return static_cast<String &>(*this); }

    StdString m_str;
};

extern template class CKrStringT<char>;
extern template class CKrStringT<wchar_t>;

#endif
