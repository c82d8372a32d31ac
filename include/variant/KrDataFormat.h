// KrDataFormat: recognises the library's data forms from their first bytes, and turns text files
// into wide text and back.
//
// Forms told apart (Detect):
//   LiteVariant     a plain lite-variant buffer: its first item head is well formed (a type code
//                   1..9 or 11, a name that fits, a value that fits; a level's head fits and its
//                   size covers at least that head, though the level itself may be cut short).
//                   A saved file ("LV00", the 8-byte buffer size, the buffer) is one too, with
//                   a markSize of 12.
//   LiteVariantZ    the compressed envelope: "LV0Z", the 8-byte plain size, a zlib stream.
//   VariantXml      an XML document whose first element is "variant" (compared without regard to
//                   case, as the XML reader of variants does).
//   Xml             any other text that starts with "<" after white space.
//   VariantJson     a JSON object whose first member is "variant" (the JSON form of a variant,
//                   see CKrVariantJson.h).
//   Json            any other text that starts like a JSON value ({ [ " - digit t f n).
//   Unknown         none of these (also empty data).
// Detection looks at the head of the data only (the item head, or the first few hundred text
// units); it does not validate the whole input: that is the readers' job.  Text may be UTF-8
// (with or without a byte-order mark) or UTF-16 LE/BE (with a mark, or recognised by the zero
// bytes of its first ASCII character).
//
// The text helpers are strict where the library's string coders are tolerant: DecodeText
// refuses malformed UTF-8 with the offset of the first bad byte instead of guessing, and
// EncodeUtf8 writes a surrogate pair as one four-byte sequence (a lone surrogate becomes
// U+FFFD), so that the output is always valid UTF-8.
#ifndef ORVIK_VARIANT_KRDATAFORMAT_H
#define ORVIK_VARIANT_KRDATAFORMAT_H

#include <string>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"

enum class EKrDataFormat : int {
    Unknown = 0,
    LiteVariant,
    LiteVariantZ,
    VariantXml,
    Xml,
    VariantJson,
    Json,
};

enum class EKrTextEncoding : int { None = 0, Utf8, Utf16LE, Utf16BE };

struct SKrDataFormat {
    EKrDataFormat format = EKrDataFormat::Unknown;
    EKrTextEncoding encoding = EKrTextEncoding::None;  // None for the binary forms
    // Bytes in front of the data: a text's byte-order mark (0, 2 or 3), or the 12-byte head of
    // a saved lite variant ("LV00" and its size; fewer when a damaged file ends inside it).
    // Never more than the data.
    kr_uint32 markSize = 0;
};

class ORVIK_API KrDataFormat {
public:
    // The form of `size` bytes at `data` (null or 0 bytes: Unknown).  Never reads past `size`.
    static SKrDataFormat Detect(void const *data, kr_uint64 size);

    // Short names used on command lines and in messages: "lv", "lvz", "xml-variant", "xml",
    // "json-variant", "json", "unknown".  FromName accepts exactly these; false for any other.
    static char const *Name(EKrDataFormat format);
    static bool FromName(char const *name, EKrDataFormat *format);

    // Text of `size` bytes in `encoding` (after any byte-order mark: pass data + markSize) as
    // UTF-16 units in `out` (replaced).  0 on success.  -9 on malformed input: UTF-8 with an
    // invalid, overlong, surrogate or cut sequence; UTF-16 with an odd byte count (lone
    // surrogates are taken as they stand); in any encoding a zero character, which the string
    // class cannot hold.  Then *faultOffset (when not null) is the offset of the first bad byte
    // and `out` holds the text before it.  -4 for an encoding of None.
    static int DecodeText(void const *data, kr_uint64 size, EKrTextEncoding encoding,
                          CKrStringW &out, kr_uint64 *faultOffset);

    // Appends the UTF-8 form of `length` units at `text` to `out`.  A valid surrogate pair becomes
    // one four-byte sequence; a lone surrogate becomes U+FFFD (EF BF BD).
    static void EncodeUtf8(wchar_t const *text, size_t length, std::string &out);
};

#endif
