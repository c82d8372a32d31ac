// CKrLiteVariantRHolder: holds one reference to a shared CKrRefLiteVariantR (or none).  Copies
// of a holder share the reader; a holder that is about to change it calls
// MakeNotNullAndUnique first, which gives it a reader of its own when the current one is shared
// (copy on write).
#ifndef ORVIK_VARIANT_CKRLITEVARIANTRHOLDER_H
#define ORVIK_VARIANT_CKRLITEVARIANTRHOLDER_H

#include "variant/CKrRefLiteVariantR.h"

class ORVIK_API CKrLiteVariantRHolder {
public:
    CKrLiteVariantRHolder();  // holds nothing
    // Takes over one reference the caller owns (null holds nothing).
    explicit CKrLiteVariantRHolder(CKrRefLiteVariantR *reader);
    CKrLiteVariantRHolder(CKrLiteVariantRHolder const &other);  // shares the reader
    CKrLiteVariantRHolder(CKrLiteVariantRHolder &&other) noexcept;
    CKrLiteVariantRHolder &operator=(CKrLiteVariantRHolder const &other);
    CKrLiteVariantRHolder &operator=(CKrLiteVariantRHolder &&other) noexcept;
    ~CKrLiteVariantRHolder();  // releases its reference

    // The reader (null when none), valid while this holder keeps its reference.
    CKrRefLiteVariantR *Get() const { return m_reader; }
    bool IsNotNull() const { return m_reader != nullptr; }
    // Gives the holder an empty reader when it holds none; returns the reader (null only when
    // memory runs out).
    CKrRefLiteVariantR *MakeNotNull();
    // As MakeNotNull, and when the reader is shared, replaces it by a copy of its own buffer.
    CKrRefLiteVariantR *MakeNotNullAndUnique();
    void Reset();  // releases the reference; holds nothing

private:
    CKrRefLiteVariantR *m_reader;
};

#endif
