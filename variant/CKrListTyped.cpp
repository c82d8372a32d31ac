// The typed lists the library exports.  The face is header-only; these explicit instantiations
// give every user the same exported copy.
#include "variant/CKrListTyped.h"

template class CKrList_specI<int>;
template class CKrList_specI<CKrStringA>;
template class CKrList_specI<CKrStringW>;
template class CKrList_specI<SKrRTTICacheEntry>;
template class CKrList_specI<kr_uint64>;
