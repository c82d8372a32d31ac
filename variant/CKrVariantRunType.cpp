#include "variant/CKrVariantRunType.h"

CKrVariantRunType::CKrVariantRunType() = default;

CKrVariantRunType::CKrVariantRunType(CKrStringA const &name) : m_name(name) {}

CKrVariantRunType::CKrVariantRunType(char const *name) : m_name(name) {}

// The holders hand out references to static run types, so comparing two of the same kind is
// usually a comparison of an object with itself: test the address before the characters.
bool CKrVariantRunType::operator==(CKrVariantRunType const &other) const {
    return this == &other || m_name.GetStdString() == other.m_name.GetStdString();
}

bool CKrVariantRunType::operator!=(CKrVariantRunType const &other) const {
    return !(*this == other);
}

bool CKrVariantRunType::operator<(CKrVariantRunType const &other) const {
    return m_name.GetStdString() < other.m_name.GetStdString();
}

CKrVariantRunType const &CKrVariantRunType::GetUnknown() {
    static CKrVariantRunType const unknown("unknown");
    return unknown;
}
