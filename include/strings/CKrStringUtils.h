// CKrStringUtils: static helpers beside the string classes — hand-written UTF-8 and UTF-16
// coders with deliberately simple limits, a UTF-8 validity check, number parsing and joining.
//
// The coders' limits are kept on purpose because stored data and callers depend on them:
//  - UTF8toW keeps a 16-bit accumulator: a four-byte sequence yields one unit holding the low
//    16 bits of its code point, overlong forms decode, bytes 0xF8..0xFF are skipped, and a
//    stray continuation byte makes the result false (decoding goes on).
//  - WtoUTF8 encodes each unit on its own, so a surrogate pair becomes two three-byte sequences.
//  - UTF16toW returns false on any surrogate, after appending one combined unit for a pair.
// The coders and utf8_check_is_valid require non-null input.
#ifndef ORVIK_STRINGS_CKRSTRINGUTILS_H
#define ORVIK_STRINGS_CKRSTRINGUTILS_H

#include <vector>

#include "platform/KrTypes.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

class ORVIK_API CKrStringUtils {
public:
    // Decodes zero-terminated UTF-8 into `out` (cleared first); see the limits above.
    static bool UTF8toW(char const *utf8, CKrStringW &out);
    // Same, reading at most `maxBytes` bytes.
    static bool UTF8toWn(char const *utf8, CKrStringW &out, unsigned int maxBytes);
    // Encodes every unit on its own into UTF-8 (cleared first); always true.
    static bool WtoUTF8(wchar_t const *text, CKrStringA &out);
    // Copies UTF-16 units (count -1: up to the zero unit; count < 1 otherwise: nothing, true).
    static bool UTF16toW(unsigned short int const *utf16, int count, CKrStringW &out);
    // Null buffer: size = length + 1, true.  size < length + 1: false, nothing written.
    // Otherwise wcsncpy(buffer, text, size) (zero padding), true.
    static bool WtoUTF16(wchar_t const *text, unsigned short int *buffer, int &size);
    // Structural check; the empty string is valid; encoded surrogates (ED A0..BF) are not;
    // overlong forms and code points above U+10FFFF are accepted.
    static bool utf8_check_is_valid(char const *utf8);
    // atol semantics (0 when there is no number).  Always true: callers cannot detect a failed
    // parse through the result, by design.
    static bool ToNumber(CKrStringA text, int &value);
    static bool ToNumber(CKrStringA text, unsigned int &value);
    // swscanf "%d" / "%ud"; when nothing is scanned `value` keeps its value.  Always true.
    static bool ToNumber(CKrStringW text, int &value);
    static bool ToNumber(CKrStringW text, unsigned int &value);
    // Elements in order with `separator` between neighbours.
    static CKrStringW Join(std::vector<CKrStringW> const &parts, CKrStringW const &separator);
    // Placeholders kept for their callers: always "" / always false, outputs untouched.
    static char const *GuessEncoding(void const *data, unsigned int size);
    static char const *GuessEncoding(CKrStringW text);
    static bool Binary2Wide(void const *data, unsigned int size, CKrStringW &out,
                            char const *encoding);
    static bool Wide2Binary(wchar_t const *text, CKrStringA &out, char const *encoding);

    CKrStringUtils &operator=(CKrStringUtils const &) = default;
    CKrStringUtils &operator=(CKrStringUtils &&) = default;
};

#endif
