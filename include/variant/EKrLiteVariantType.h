// EKrLiteVariantType: the type codes of the items of a lite variant buffer (the first byte of
// every item).  The numbers are part of the stored format and never change.
#ifndef ORVIK_VARIANT_EKRLITEVARIANTTYPE_H
#define ORVIK_VARIANT_EKRLITEVARIANTTYPE_H

enum EKrLiteVariantType {
    krLVT_NONE = 0,       // no item (GetCurrentType at the end of a level or on a damaged item)
    krLVT_BOOL = 1,       // 1 byte, 0 or 1
    krLVT_INT32 = 2,      // 4 bytes, signed
    krLVT_UINT32 = 3,     // 4 bytes, unsigned
    krLVT_INT64 = 4,      // 8 bytes, signed
    krLVT_UINT64 = 5,     // 8 bytes, unsigned
    krLVT_DOUBLE = 6,     // 8 bytes, IEEE double
    krLVT_VOIDPTR = 7,    // 8 bytes, a pointer value (meaningful only inside one process)
    krLVT_STRING = 8,     // UTF-16 units up to and including a zero unit
    krLVT_BLOB = 9,       // 8-byte length, then that many bytes
    krLVT_RESERVED = 10,  // never written; readers treat it as an unknown code
    krLVT_LEVEL = 11,     // child count, level size, children, sorted index
};

#endif
