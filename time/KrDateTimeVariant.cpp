// CKrDateTime in a variant: a record of run type "RKrDateTime" with one signed 64-bit member
// "time" holding the millisecond value.
#include <mutex>

#include "time/internal/TimeCalendar.h"
#include "variant/CKrVariant.h"

namespace {

constexpr const char *kRunType = "RKrDateTime";

// The record type is registered on first use (idempotent: the registry keeps the first sample).
void registerDateTimeRunType() {
    static std::once_flag once;
    std::call_once(once, [] {
        CKrVariant::RegisterRunType(
            CKrVariant::CreateStruct(CKrStringW(L"RKrDateTime"),
                                     {CKrVariant(static_cast<kr_int64>(0), CKrStringW(L"time"))}));
    });
}

}  // namespace

int CKrDateTime::SaveToVariant(CKrVariant &node) const {
    registerDateTimeRunType();
    const bool previous = node.EnableTypeChange(true);
    const int result = node.SetRunType(CKrVariantRunType(kRunType));
    node.EnableTypeChange(previous);
    if (result != 0) return result;

    CKrVariant *time = node.SearchFixedOneLevel(L"time");
    if (!time) return -9;
    // A "time" member the node already had may hold another type; it becomes the 64-bit value.
    const bool timePrevious = time->EnableTypeChange(true);
    *time = static_cast<kr_int64>(m_value);
    time->EnableTypeChange(timePrevious);
    return 0;
}

int CKrDateTime::LoadFromVariant(const CKrVariant &node) {
    if (!(node.GetRunType() == CKrVariantRunType(kRunType))) return static_cast<int>(0xFFFFFFFC);
    const CKrVariant *time = node.SearchFixedOneLevel(L"time");
    bool ok = false;
    const kr_int64 value = time ? time->GetKr_int64(&ok) : 0;
    if (!ok) return -9;  // a record without a readable "time": nothing loaded
    m_value = value;
    return 0;
}
