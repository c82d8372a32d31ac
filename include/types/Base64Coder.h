// Base64Coder: standard-alphabet Base64 (A-Z a-z 0-9 + /, "=" padding) with two internal
// buffers that callers read back after each operation.
//
//   decoded buffer  the raw bytes: the input of Encode, the output of decoding;
//   encoded buffer  the Base64 text: the output of Encode, the filtered input of decoding.
//
// Every operation first resizes and zeroes the buffers it writes, so its results stay valid
// until the next call on the same coder, and the content of a buffer is followed by zero bytes
// (the encoded text is always zero-terminated).  Buffers are whole multiples of 4096 bytes,
// grow and never shrink.
//
// Encoding never inserts line breaks.  Decoding never reports an error; its rules are kept as
// they are because stored texts and their readers rely on them:
//   - the characters 7..13 and space (MIME line breaks and white space) are skipped;
//   - a byte with bit 7 set decodes like the same byte without it;
//   - any other character outside the alphabet decodes as the alphabet value 62 ("+");
//   - the pad count of a group ("xx==" 2, "xxx=" 1) is not reset by later groups; the length
//     after the last complete group is reduced by the last pad count seen;
//   - 1 to 3 characters left after the last group decode as one more group (3 bytes written)
//     but add their own number of characters, not of bytes, to the decoded length.
//
// The public operations reach every step through the virtual members below, so a derived coder
// can replace any of them.  Objects whose dynamic type is exactly Base64Coder take an internal
// fast path with identical results.  A coder does not lock; the class-wide decode table is
// filled once, thread-safely, on the first decode.
//
// Copying copies the members as they stand, buffer pointers included: the copy shares the
// source's buffers, and only one of the two may be destroyed.  Callers never copy a coder that
// owns buffers.
#ifndef ORVIK_TYPES_BASE64CODER_H
#define ORVIK_TYPES_BASE64CODER_H

#include <atomic>
#include <cstddef>

#include "platform/KrTypes.h"

class CKrStringA;

class ORVIK_API Base64Coder {
public:
    // One group on its way between the raw form (up to 3 bytes) and the character form
    // (4 six-bit values); nSize tells how many entries of nData are valid.
    struct TempBucket {
        kr_uint8 nData[4];
        kr_uint8 nSize;
        void Clear() {
            nData[0] = nData[1] = nData[2] = nData[3] = 0;
            nSize = 0;
        }
    };

    // Both buffers null, all sizes 0.
    Base64Coder();
    // Member-wise copies; see the class comment (the buffers are shared, not duplicated).
    Base64Coder(Base64Coder const &other);
    Base64Coder &operator=(Base64Coder const &other);

    // ---- virtual operations (this order is the order of the virtual table) -------------------
    virtual ~Base64Coder();
    // Keeps `size` bytes of `data` in the decoded buffer and writes their Base64 text (4
    // characters per started group of 3 bytes) into the encoded buffer.  A null `data` encodes
    // nothing.  An input whose text would not fit a 32-bit length (more than 3 221 225 469
    // bytes) is not encoded: both buffers are left empty.
    virtual void Encode(unsigned char const *data, size_t size);
    // Decode `length` characters of `text` (null: nothing) into the decoded buffer.
    virtual void DecodeA(unsigned char const *text, unsigned int length);
    virtual void DecodeA(CKrStringA const &text);  // its first 4 294 967 295 characters at most
    // Decodes zero-terminated wide text (null: nothing); only the low byte of each unit counts.
    virtual void DecodeW(wchar_t const *text);
    // The decoded buffer (null before any operation); stores its length when `length` is
    // non-null.  Owned by the coder, valid until its next operation.
    virtual unsigned char const *DecodedBuffer(size_t *length) const;
    // The encoded buffer (null before any operation), zero-terminated; stores its length when
    // `length` is non-null.  Owned by the coder, valid until its next operation.
    virtual unsigned char const *EncodedBuffer(unsigned int *length) const;
    // Make the buffer hold at least n bytes (a new block of (n rounded down to a multiple of
    // 4096) + 4096 bytes when it is smaller), zero all of it and set its length to 0.  When the
    // block cannot be allocated the buffer is null with capacity 0 and later steps write nothing.
    virtual void AllocEncode(size_t n);
    virtual void AllocDecode(size_t n);
    // AllocEncode(n), then copy the characters for which _IsBadMimeChar is false.  The wide form
    // looks only at the low byte of each unit.  At most 4 294 967 295 characters are kept; a
    // null text copies nothing.  The text may lie in the coder's own encoded buffer.
    virtual void SetEncodeBufferA(unsigned char const *text, size_t n);
    virtual void SetEncodeBufferW(wchar_t const *text, unsigned int n);
    // AllocDecode(n), copy n bytes, decoded length n (0 for a null `data`).  The bytes may lie
    // in the coder's own decoded buffer.
    virtual void SetDecodeBuffer(unsigned char const *data, size_t n);

protected:
    // The decoding of DecodeA / DecodeW: fill the table, filter the text into the encoded
    // buffer, AllocDecode(length), decode the groups.
    virtual void _DecodeA(unsigned char const *text, unsigned int length);
    virtual void _DecodeW(wchar_t const *text, unsigned int length);
    // Writes the 4 characters of one raw group (nSize 1..3 bytes; "=" for the missing ones) at
    // `out`, through _EncodeRaw.
    virtual void _EncodeToBuffer(TempBucket const &raw, unsigned char *out);
    // Writes the 3 bytes of one group of 6-bit values at `out`, through _DecodeRaw.
    virtual void _DecodeToBuffer(TempBucket const &decoded, unsigned char *out);
    // 3 bytes -> 4 six-bit values: b0>>2, (b0<<4 | b1>>4) & 63, (b1<<2 | b2>>6) & 63, b2 & 63.
    virtual void _EncodeRaw(TempBucket &sixBits, TempBucket const &raw);
    // 4 table values -> 3 bytes: c0<<2 | (c1>>4 & 3), c1<<4 | (c2>>2 & 15), c2<<6 | (c3 & 63),
    // each kept to 8 bits.
    virtual void _DecodeRaw(TempBucket &raw, TempBucket const &sixBits);
    // True for the skipped characters 7..13 and 32.
    virtual bool _IsBadMimeChar(unsigned char c) const;

    unsigned char *m_pDBuffer;  // decoded buffer
    unsigned char *m_pEBuffer;  // encoded buffer
    kr_uint64 m_nDBufLen;       // capacity of the decoded buffer
    kr_uint64 m_nEBufLen;       // capacity of the encoded buffer
    kr_uint64 m_nDDataLen;      // valid decoded bytes
    kr_uint32 m_nEDataLen;      // valid encoded characters

    // Class-wide decode table: alphabet characters (and their bit-7 twins) map to 0..63, "="
    // (and its twin) to 255, everything else to 254.  Filled once by the first decode;
    // m_Init tells whether that has happened.
    static kr_uint8 m_DecodeTable[256];
    static std::atomic<bool> m_Init;

private:
    void decodeGroups();  // steps after the filtering, shared by _DecodeA and _DecodeW
    static void initDecodeTable();
};

#endif
