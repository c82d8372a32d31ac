// CKrVariant: the run-type registry and the conversions between run types.
#include <iterator>
#include <map>
#include <memory>
#include <mutex>

#include "platform/KrPlatform.h"
#include "variant/CKrVariant.h"
#include "variant/internal/VariantTree.h"

namespace {

struct Registry {
    std::mutex lock;
    std::map<CKrVariantRunType, std::unique_ptr<CKrVariant const>> samples;

    // Caller holds `lock`.  Samples are never replaced or removed, so references handed out
    // stay valid until the process ends.
    void addIfMissing(CKrVariant *sample) {
        CKrVariantRunType type(CKrStringA(sample->GetName().GetString()));
        std::unique_ptr<CKrVariant const> owned(sample);
        samples.emplace(type, std::move(owned));
    }

    void registerKnown() {
        addIfMissing(new CKrVariant(kr_int32(0), L"kr_int32"));
        addIfMissing(new CKrVariant(kr_uint32(0), L"kr_uint32"));
        addIfMissing(new CKrVariant(kr_int64(0), L"kr_int64"));
        addIfMissing(new CKrVariant(kr_uint64(0), L"kr_uint64"));
        addIfMissing(new CKrVariant(0.0, L"double"));
        addIfMissing(new CKrVariant(false, L"bool"));
        addIfMissing(new CKrVariant(static_cast<void *>(nullptr), L"voidPtr"));
        addIfMissing(new CKrVariant(CKrStringW(), L"CKrStringW"));
        addIfMissing(new CKrVariant(CKrByteArray(), L"CKrByteArray"));
        addIfMissing(new CKrVariant(CKrListVariant(), L"CKrListVariant"));
    }

    Registry() { registerKnown(); }
};

Registry &registry() {
    static Registry r;
    return r;
}

CKrVariantRunType const &plainList() { return CKrVariantDataCKrListVariant::GetOrigRunType(); }

// Looks a sample up without reporting; null when the type is not registered.
CKrVariant const *findSample(CKrVariantRunType const &type) {
    Registry &r = registry();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.samples.find(type);
    return it == r.samples.end() ? nullptr : it->second.get();
}

// Stores `src`'s scalar value, converted by the getters, into `dst` (a scalar holder).
bool convertInto(CKrVariant const &src, CKrVariantData &dst) {
    bool ok = false;
    using K = CKrVariantData;
    switch (dst.GetKind()) {
        case K::krDATA_INT32:
            static_cast<CKrVariantDataKr_int32 &>(dst).SetValue(src.GetKr_int32(&ok));
            break;
        case K::krDATA_UINT32:
            static_cast<CKrVariantDataKr_uint32 &>(dst).SetValue(src.GetKr_uint32(&ok));
            break;
        case K::krDATA_INT64:
            static_cast<CKrVariantDataKr_int64 &>(dst).SetValue(src.GetKr_int64(&ok));
            break;
        case K::krDATA_UINT64:
            static_cast<CKrVariantDataKr_uint64 &>(dst).SetValue(src.GetKr_uint64(&ok));
            break;
        case K::krDATA_DOUBLE:
            static_cast<CKrVariantDataDouble &>(dst).SetValue(src.GetDouble(&ok));
            break;
        case K::krDATA_BOOL:
            static_cast<CKrVariantDataBool &>(dst).SetValue(src.GetBool(&ok));
            break;
        case K::krDATA_VOIDPTR:
            static_cast<CKrVariantDataVoidPtr &>(dst).SetValue(src.GetVoidPtr(&ok));
            break;
        case K::krDATA_STRINGW: {
            CKrStringW text = src.GetCKrStringW(&ok);
            // An empty byte array has no text but converts to the empty string.
            if (!ok && src.GetRunType() == CKrVariantDataCKrByteArray::GetOrigRunType()) ok = true;
            static_cast<CKrVariantDataCKrStringW &>(dst).SetValue(text);
            break;
        }
        case K::krDATA_BYTEARRAY:
            static_cast<CKrVariantDataCKrByteArray &>(dst).SetValue(src.GetCKrByteArray(&ok));
            break;
        default:
            break;
    }
    return ok;
}

}  // namespace

void CKrVariant::RegisterKnownTypes() {
    Registry &r = registry();
    std::lock_guard<std::mutex> guard(r.lock);
    r.registerKnown();
}

int CKrVariant::RegisterRunType(CKrVariant const &sample) {
    if (!sample.m_pData) {
        KR_REPORTW(L"!sample.m_pData", KR_VARIANT_SOURCE,
                   L"Error: CKrVariant::RegisterRunType(), a Null sample defines no runtype!");
        return -4;
    }
    CKrVariantRunType type(CKrStringA(sample.GetName().GetString()));
    auto copy = std::make_unique<CKrVariant>(sample);
    if (CKrVariantDataCKrListVariant *list = copy->listHolder()) list->SetRunType(type);
    Registry &r = registry();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.samples.find(type);
    if (it != r.samples.end()) {
        if (CompareStructure(*it->second, *copy, true) != 0 ||
            it->second->IsNull() != copy->IsNull() ||
            (it->second->listHolder() == nullptr) != (copy->listHolder() == nullptr)) {
            KR_REPORTW(L"CompareStructure(*it->second, sample, true) != 0", KR_VARIANT_SOURCE,
                       L"Error: same Runtype already registered with different definition!");
            return -9;
        }
        return 0;
    }
    r.samples.emplace(type, std::move(copy));
    return 0;
}

CKrVariant const &CKrVariant::GetRunTypeSample(CKrVariantRunType const &type) {
    if (CKrVariant const *sample = findSample(type)) return *sample;
    KR_REPORTW(L"it == samples.end()", KR_VARIANT_SOURCE,
               L"Error: CKrVariant::GetRunTypeSample(), can't find: '%hs' runtype!",
               type.GetName().GetString());
    return GetNullVariant();
}

int CKrVariant::GetRunTypeIndex(CKrVariantRunType const &type, bool report) {
    {
        Registry &r = registry();
        std::lock_guard<std::mutex> guard(r.lock);
        auto it = r.samples.find(type);
        if (it != r.samples.end()) return static_cast<int>(std::distance(r.samples.begin(), it));
    }
    if (report)
        KR_REPORTW(L"it == samples.end()", KR_VARIANT_SOURCE,
                   L"Error: CKrVariant::GetRunTypeIndex(), can't find: '%hs' runtype!",
                   type.GetName().GetString());
    return -1;
}

// ---- changing the run type -------------------------------------------------------------------

bool CKrVariant::canChangeTo(CKrVariantRunType const &, wchar_t const *message, int line) {
    if (m_enabledTypeChange) return true;
    DiagAssertW(L"!m_enabledTypeChange", KR_VARIANT_SOURCE, line, message);
    return false;
}

int CKrVariant::SetRunType(CKrVariantRunType const &type) {
    static wchar_t const *const refused =
        L"Error: CKrVariant::SetRunType(), type change not enabled!";
    if (GetRunType() == type) return 0;
    if (type == CKrVariantRunType::GetUnknown()) {
        if (!canChangeTo(type, refused, __LINE__)) return -9;
        MakeNull();
        return 0;
    }
    CKrVariant const &sample = GetRunTypeSample(type);
    if (!sample.m_pData) return -9;

    CKrVariantDataCKrListVariant *mine = listHolder();
    CKrVariantDataCKrListVariant *theirs = sample.listHolder();
    if (mine && theirs) {
        // A list takes the record's name and gains the members it lacks; its own children stay.
        std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
        CKrVariantAccess::Items const &members = CKrVariantAccess::ItemsOf(theirs->GetList());
        for (CKrVariant const *member : members)
            if (member && IndexOf(member->m_name) < 0)
                mine->GetList().Append(new CKrVariant(*member));
        mine->SetRunType(type);
        return 0;
    }
    if (!canChangeTo(type, refused, __LINE__)) return -9;
    CKrVariantData *fresh = sample.m_pData->CreateEmpty();
    sample.m_pData->GetValueCopy(*fresh);  // a record brings its members
    CKrVariantData *old = m_pData;
    m_pData = fresh;
    delete old;
    return 0;
}

int CKrVariant::SetRunTypeCompatible(CKrVariantRunType const &type) {
    static wchar_t const *const refused =
        L"Error: CKrVariant::SetRunTypeCompatible(), type change not enabled!";
    static wchar_t const *const cannot =
        L"Error: CKrVariant::SetRunTypeCompatible(), can't convert!";
    if (GetRunType() == type) return 0;
    if (!m_pData || type == CKrVariantRunType::GetUnknown()) return SetRunType(type);
    CKrVariant const &sample = GetRunTypeSample(type);
    if (!sample.m_pData) return -9;

    CKrVariantDataCKrListVariant *mine = listHolder();
    CKrVariantDataCKrListVariant *theirs = sample.listHolder();
    if (!mine && !theirs) {
        if (!canChangeTo(type, refused, __LINE__)) return -9;
        CKrVariantData *fresh = sample.m_pData->CreateEmpty();
        if (!convertInto(*this, *fresh)) {
            delete fresh;
            KR_REPORTW(L"!ok", KR_VARIANT_SOURCE, cannot);
            return -9;
        }
        CKrVariantData *old = m_pData;
        m_pData = fresh;
        delete old;
        return 0;
    }
    if (!mine || !theirs) {
        KR_REPORTW(L"(GetCount() < 0) != (sample.GetCount() < 0)", KR_VARIANT_SOURCE, cannot);
        return -9;
    }
    if (type == plainList()) {
        mine->SetRunType(type);
        return 0;
    }
    // A record: the sample's members in the sample's order, each taking the value of the first
    // old child of its name where the types allow it.
    CKrVariant rebuilt(sample);
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    for (CKrVariant *member : CKrVariantAccess::ItemsOf(rebuilt.listHolder()->GetList())) {
        if (!member) continue;
        int index = IndexOf(member->m_name);
        if (index < 0) continue;
        CKrVariant const *old = IndexPtr(index);
        if (!old || !old->m_pData || !member->m_pData) continue;
        if (old->GetRunType() == member->GetRunType()) {
            old->m_pData->GetValueCopy(*member->m_pData);
        } else if (!old->listHolder() && !member->listHolder()) {
            CKrVariantData *converted = member->m_pData->CreateEmpty();
            if (convertInto(*old, *converted)) {
                std::swap(converted, member->m_pData);
            }
            delete converted;
        }
    }
    mine->GetList() = std::move(rebuilt.listHolder()->GetList());
    mine->SetRunType(type);
    return 0;
}
