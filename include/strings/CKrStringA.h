// CKrStringA: the 8-bit string value type.
//
// Holds exactly one std::string and nothing else; copying copies the characters.  Length and
// positions count bytes; the contents are in whatever encoding the caller put there.  The
// members shared with CKrStringW, and the rules they all follow (tolerance of bad positions and
// null pointers, strcmp-like comparison with its null-pointer asymmetry), are documented once in
// strings/CKrStringT.h; this header adds what only the 8-bit string has.
//
// Wide arguments are converted with the C runtime's locale conversion (wcstombs), which in the
// default "C" locale copies units 0x00..0xFF byte for byte.
#ifndef ORVIK_STRINGS_CKRSTRINGA_H
#define ORVIK_STRINGS_CKRSTRINGA_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/KrTypes.h"
#include "strings/CKrStringT.h"

class QString;
class CKrStringATestPeer;

class ORVIK_API CKrStringA : public CKrStringT<char> {
public:
    // ---- construction and assignment ----------------------------------------------------
    CKrStringA() = default;
    // Copying and moving take the characters up to the first zero; a move leaves `other` empty.
    CKrStringA(CKrStringA const &other);
    CKrStringA(CKrStringA &&other) noexcept;
    CKrStringA(std::string const &text);      // the whole standard string, embedded zeros kept
    CKrStringA(std::string &&text) noexcept;  // takes the standard string over (zeros kept)
    CKrStringA(QString const &text);          // UTF-8, QString::toStdString
    // Reserves `capacity` when non-zero, then copies up to the first zero; null gives empty.
    CKrStringA(char const *text, size_t capacity = 0);
    // Reserves, then converts with wcstombs; null gives empty.
    CKrStringA(wchar_t const *text, size_t capacity = 0);
    ~CKrStringA();

    using CKrStringT<char>::operator=;
    // Self-assignment and assignment from a string sharing the buffer are no-ops; otherwise
    // copies up to the first zero.
    CKrStringA const &operator=(CKrStringA const &other) {
        assignCopy(other);
        return *this;
    }
    CKrStringA const &operator=(CKrStringA &&other) noexcept {
        assignMove(std::move(other));
        return *this;
    }
    // wcstombs, output sized by a measuring call; a unit the locale cannot represent (or 0)
    // leaves the string empty.
    CKrStringA const &operator=(wchar_t c);

    // ---- copying out ----------------------------------------------------------------------
    // Copies min(length, size) bytes, writes a zero at min(length, size - 1) and returns that
    // position; null buffer or size 0 returns 0 and writes nothing.
    size_t CopyToBufferA(char *buffer, size_t size);
    // mbstowcs(buffer, string, size) as it stands (its error value included); 0 for null/0.
    size_t CopyToBufferW(wchar_t *buffer, size_t size);

    // ---- UTF-8 ----------------------------------------------------------------------------
    // UTF-16 to UTF-8 through the platform layer; empty when the conversion fails.
    static CKrStringA Utf8FromUtf16(wchar_t const *text);

private:
    friend class CKrStringT<char>;
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
    explicit CKrStringA(size_t capacity) : CKrStringT(capacity) {}
    // KR_WChar2Char(src, srcLength, dst, dstSize + 1, flag): 0 -> -2; srcLength < 1 or null
    // dst -> n - 1; otherwise writes a zero at dst[dstSize] and returns n.
    static int convert_to_mb(wchar_t const *src, int srcLength, char *dst, int64_t dstSize,
                             bool flag);
};

static_assert(sizeof(CKrStringA) == sizeof(std::string), "CKrStringA is exactly one std::string");

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
