// CKrRefLiteVariantR: a lite variant reader with a reference count, shared between owners
// (usually through CKrLiteVariantRHolder).  Made with new; the count starts at 1 for its
// creator, and the reader deletes itself when Release takes the count to 0.  The count is
// atomic; the reader itself is not synchronised (one thread reads it at a time).
#ifndef ORVIK_VARIANT_CKRREFLITEVARIANTR_H
#define ORVIK_VARIANT_CKRREFLITEVARIANTR_H

#include <atomic>

#include "variant/CKrLiteVariantR.h"

class ORVIK_API CKrRefLiteVariantR : public CKrLiteVariantR {
public:
    CKrRefLiteVariantR();
    // A copy of the other reader's buffer with a count of its own (1).
    explicit CKrRefLiteVariantR(CKrLiteVariantR const &other);
    CKrRefLiteVariantR(CKrRefLiteVariantR const &) = delete;
    CKrRefLiteVariantR &operator=(CKrRefLiteVariantR const &) = delete;

    int AddRef();                          // the new count
    int Release();                         // the new count; at 0 the reader is deleted
    bool IsReferencedNonUniquely() const;  // more than one reference

protected:
    ~CKrRefLiteVariantR() override;  // only through Release

private:
    std::atomic<int> m_refCount;
};

#endif
