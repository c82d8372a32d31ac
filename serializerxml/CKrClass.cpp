// The run-time class plumbing: the interface destructors and class records.
#include "serializerxml/CKrClass.h"

#include <cstdio>

#include "serializerxml/IKrInterface.h"
#include "serializerxml/IKrSerializer.h"

IKrInterface::~IKrInterface() = default;
IKrSerializer::~IKrSerializer() = default;
CKrClass::~CKrClass() = default;

namespace {

CKrStringW slotName(int slot) {
    wchar_t name[16];
    std::swprintf(name, 16, L"m_parent%d", slot);
    return CKrStringW(name);
}

}  // namespace

int CKrClass::RegisterClassRecordType() {
    static int const result = [] {
        CKrVariant sample{CKrListVariant(), CKrStringW(L"RKrRttiClass")};
        for (int slot = 1; slot <= kInterfaceSlots; ++slot)
            sample.Append(CKrVariant(L"", slotName(slot)));
        return CKrVariant::RegisterRunType(sample);
    }();
    return result;
}

CKrVariant CKrClass::MakeClassRecord(wchar_t const *className,
                                     std::initializer_list<wchar_t const *> interfaces) {
    RegisterClassRecordType();
    CKrVariant record{CKrListVariant(), CKrStringW(className)};
    record.SetRunType(CKrVariantRunType(kClassRecordRunType));  // brings the nine members
    int slot = 1;
    for (wchar_t const *name : interfaces) {
        if (slot > kInterfaceSlots) break;
        if (name) record[slotName(slot).GetString()] = CKrStringW(name);
        ++slot;
    }
    return record;
}
