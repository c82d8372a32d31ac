// CKrVariantRunType: the type tag of a variant value.
//
// A run type is a short 8-bit name.  The names of the value holders ("kr_int32", "double",
// "CKrStringW", "CKrListVariant", ...) are the type words that the text and XML forms of a
// variant write; a record (a list with a type of its own, such as "RKrDateTime") carries its
// record name instead.  Comparison is ordinal on the name; operator< orders the run-type
// registry of CKrVariant.
#ifndef ORVIK_VARIANT_CKRVARIANTRUNTYPE_H
#define ORVIK_VARIANT_CKRVARIANTRUNTYPE_H

#include "platform/KrTypes.h"
#include "strings/CKrStringA.h"

class ORVIK_API CKrVariantRunType {
public:
    CKrVariantRunType();  // empty name
    explicit CKrVariantRunType(CKrStringA const &name);
    explicit CKrVariantRunType(char const *name);  // null gives the empty name

    bool operator==(CKrVariantRunType const &other) const;
    bool operator!=(CKrVariantRunType const &other) const;
    bool operator<(CKrVariantRunType const &other) const;

    CKrStringA const &GetName() const { return m_name; }

    // The process-wide run type named "unknown", made on first use (thread-safe).  It is the
    // run type reported for a Null variant.  The reference stays valid until the process ends.
    static CKrVariantRunType const &GetUnknown();

private:
    CKrStringA m_name;
};

#endif
