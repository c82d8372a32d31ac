// Test helpers for lite variant buffers: finishing a writer into a reader, the bytes of a
// reader, and handing arbitrary bytes to a reader as a buffer of exactly their size.
#ifndef ORVIK_TESTS_LITEVARIANTTESTUTIL_H
#define ORVIK_TESTS_LITEVARIANTTESTUTIL_H

#include <cstring>
#include <vector>

#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"

using Bytes = std::vector<unsigned char>;

inline Bytes bytesOf(CKrLiteVariantR const &r) {
    auto const *p = static_cast<unsigned char const *>(r.GetPointer());
    return p ? Bytes(p, p + r.GetSize()) : Bytes();
}

// Finalizes plain into `r` and returns the bytes.
inline Bytes finish(CKrLiteVariantW &w, CKrLiteVariantR &r) {
    w.Finalize(r, 0);
    return bytesOf(r);
}

// Gives `r` a copy of `bytes` in a CKrAlloc block of exactly that size.
inline void load(CKrLiteVariantR &r, Bytes const &bytes) {
    void *p = bytes.empty() ? nullptr : CKrAlloc::Alloc(0, bytes.size(), 16);
    if (p) std::memcpy(p, bytes.data(), bytes.size());
    r.SetPointer(p, bytes.size(), bytes.size());
}

// Little-endian field writers for building or damaging buffers by hand.
inline void put32(Bytes &b, size_t at, unsigned v) { std::memcpy(&b[at], &v, 4); }
inline void put64(Bytes &b, size_t at, unsigned long long v) { std::memcpy(&b[at], &v, 8); }

#endif
