// EKrKeyType: the kind of key a keyed list (CKrList) or one of its keys holds.
//
// Unscoped and at namespace scope so that the list, its keys and the typed lists share it and
// callers write krKEY_INT without a qualifier.  The underlying type is fixed at 32 bits; the
// values are part of the interface.
#ifndef ORVIK_VARIANT_EKRKEYTYPE_H
#define ORVIK_VARIANT_EKRKEYTYPE_H

#include "platform/KrTypes.h"

enum EKrKeyType : kr_int32 {
    krKEY_NONE = 0,    // unkeyed: items are appended or inserted by position
    krKEY_INT = 1,     // signed 32-bit integer keys
    krKEY_STRING = 2,  // wide string keys (CKrStringW), compared exactly
};

#endif
