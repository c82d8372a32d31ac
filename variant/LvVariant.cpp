// The lite variant and the variant tree: writing a CKrVariant into a buffer and reading items
// back as variants.  Both directions walk with an explicit stack, so trees and buffers of any
// depth are handled without recursion.
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "variant/internal/LvReader.h"
#include "variant/internal/VariantTree.h"

using namespace orvik::detail;

namespace {

constexpr wchar_t kRunTypeItem[] = L"__m_runType";  // first item of a level written from a record
constexpr wchar_t kUnnamed[] = L"no_name";          // the variant's name for an unnamed node

template <class Holder>
Holder const *as(CKrVariantData const *data) {
    return dynamic_cast<Holder const *>(data);
}

// One scalar holder as one item.
int writeScalar(CKrLiteVariantW &w, CKrVariantData const *d, wchar_t const *name) {
    if (auto h = as<CKrVariantDataKr_int32>(d)) return w.Set(int(h->GetValue()), name);
    if (auto h = as<CKrVariantDataKr_uint32>(d)) return w.Set(unsigned(h->GetValue()), name);
    if (auto h = as<CKrVariantDataKr_int64>(d)) return w.Set(kr_int64(h->GetValue()), name);
    if (auto h = as<CKrVariantDataKr_uint64>(d)) return w.Set(kr_uint64(h->GetValue()), name);
    if (auto h = as<CKrVariantDataDouble>(d)) return w.Set(h->GetValue(), name);
    if (auto h = as<CKrVariantDataBool>(d)) return w.Set(h->GetValue(), name);
    if (auto h = as<CKrVariantDataVoidPtr>(d)) return w.Set(h->GetValue(), name);
    if (auto h = as<CKrVariantDataCKrStringW>(d)) return w.Set(h->GetValue(), name);
    if (auto h = as<CKrVariantDataCKrByteArray>(d)) return w.Set(h->GetValue(), name);
    CKrStringW text;  // a holder of another kind: its text form
    d->GetString(text);
    return w.Set(text, name);
}

std::wstring wideOf(CKrStringA const &narrow) {
    std::wstring w;
    for (char c : narrow.GetStdString()) w += wchar_t(static_cast<unsigned char>(c));
    return w;
}

}  // namespace

int CKrLiteVariantW::Set(CKrVariant const &value, wchar_t const *name) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    struct Frame {
        CKrListVariant const *list;
        int next;
    };
    std::vector<Frame> stack;
    // Writes one node; a list opens a level and is pushed.
    auto writeNode = [&](CKrVariant const &node, wchar_t const *itemName) -> int {
        CKrVariantData const *d = CKrVariantAccess::DataOf(node);
        if (d && !d->IsArray()) return writeScalar(*this, d, itemName);
        int r = LevelBegin(itemName);
        if (r != 0) return r;
        if (!d) {
            r = Set(L"unknown", kRunTypeItem);
            return r != 0 ? r : LevelEnd();
        }
        auto const *list = static_cast<CKrVariantDataCKrListVariant const *>(d);
        if (!list->IsPlainList()) {
            std::wstring const runType = wideOf(list->GetRunType().GetName());
            if ((r = Set(runType.c_str(), kRunTypeItem)) != 0) return r;
        }
        stack.push_back({&list->GetList(), 0});
        return 0;
    };
    int r = writeNode(value, name);
    while (r == 0 && !stack.empty()) {
        Frame &top = stack.back();
        auto const &items = CKrVariantAccess::ItemsOf(*top.list);
        if (size_t(top.next) >= items.size()) {
            stack.pop_back();
            r = LevelEnd();
            continue;
        }
        CKrVariant const *child = items[size_t(top.next++)];
        if (!child) continue;
        wchar_t const *childName = child->GetName().GetString();
        r = writeNode(*child, *childName ? childName : kUnnamed);
    }
    return r;
}

namespace orvik::detail {

std::wstring lvUnits(kr_uint8 const *p, kr_uint64 units) {
    std::wstring s(size_t(units), L'\0');
    for (kr_uint64 i = 0; i < units; ++i)
        s[size_t(i)] = wchar_t(unsigned(p[2 * i]) | (unsigned(p[2 * i + 1]) << 8));
    return s;
}

namespace {

CKrVariant scalarOf(kr_uint8 const *v, LvItem const &item, CKrStringW const &name) {
    switch (item.type) {
        case krLVT_BOOL:
            return CKrVariant(*v != 0, name);
        case krLVT_INT32:
            return CKrVariant(int(lvLoad32(v)), name);
        case krLVT_UINT32:
            return CKrVariant(unsigned(lvLoad32(v)), name);
        case krLVT_INT64:
            return CKrVariant(kr_int64(lvLoad64(v)), name);
        case krLVT_UINT64:
            return CKrVariant(kr_uint64(lvLoad64(v)), name);
        case krLVT_DOUBLE: {
            double d;
            std::memcpy(&d, v, 8);
            return CKrVariant(d, name);
        }
        case krLVT_VOIDPTR:
            return CKrVariant(reinterpret_cast<void *>(uintptr_t(lvLoad64(v))), name);
        case krLVT_STRING:
            return CKrVariant(CKrStringW(lvUnits(v, item.valueBytes / 2 - 1)), name);
        default:
            return CKrVariant(CKrByteArray(v, size_t(item.valueBytes), 1024), name);
    }
}

}  // namespace

bool lvScalarToVariant(kr_uint8 const *data, LvItem const &item, CKrVariant &out) {
    if (!lvIsKnownType(item.type) || item.type == krLVT_LEVEL) return false;
    // Names pass the variant's validation (an unnamed item becomes "no_name").
    CKrVariant value = scalarOf(data + item.valueOffset, item, CKrStringW(lvName(data, item)));
    lvTakeVariant(out, value);
    return true;
}

void lvTakeVariant(CKrVariant &out, CKrVariant &value) {
    CKrVariantData *mine = CKrVariantAccess::DataOf(out);
    CKrVariantAccess::SetData(out, CKrVariantAccess::DataOf(value));
    CKrVariantAccess::SetData(value, mine);  // destroyed with `value`
    out.SetName(value.GetName());
}

bool lvItemToVariant(kr_uint8 const *data, LvItem const &item, CKrVariant &out) {
    if (item.type != krLVT_LEVEL) return lvScalarToVariant(data, item, out);
    struct Frame {
        CKrVariant *node;
        kr_uint64 pos, end;
        std::wstring runType;
        bool first;
    };
    auto finish = [](Frame &f) {
        if (f.runType.empty()) return;
        CKrStringA const runTypeName(std::string(f.runType.begin(), f.runType.end()));
        CKrVariantRunType const type(runTypeName);
        bool const old = f.node->EnableTypeChange(true);
        if (f.runType == L"unknown" && f.node->GetCount() == 0) {
            f.node->MakeNull();
        } else if (CKrVariant::GetRunTypeIndex(type, false) >= 0 &&
                   CKrVariant::GetRunTypeSample(type).GetCount() >= 0) {
            f.node->SetRunType(type);  // a registered record: its missing members are added
        } else {
            CKrVariantAccess::DataOf(*f.node)->SetRunType(type);  // the name alone
        }
        f.node->EnableTypeChange(old);
    };
    CKrVariant root{CKrListVariant(), CKrStringW(lvName(data, item))};
    std::vector<Frame> stack;
    stack.push_back({&root, item.valueOffset, item.valueOffset + item.valueBytes, {}, true});
    while (!stack.empty()) {
        Frame &f = stack.back();
        if (f.pos == f.end) {
            finish(f);
            stack.pop_back();
            continue;
        }
        LvItem child;
        if (!lvParseItem(data, f.end, f.pos, child)) return false;
        f.pos = child.end;
        bool const first = f.first;
        f.first = false;
        if (first && child.type == krLVT_STRING) {
            LvKey key;
            lvMakeKey(kRunTypeItem, key);
            // An empty run type cannot come from a writer: such an item stays a plain child.
            if (lvNameMatches(data + child.nameOffset, child.nameUnits, key) &&
                child.valueBytes > 2) {
                f.runType = lvUnits(data + child.valueOffset, child.valueBytes / 2 - 1);
                continue;
            }
        }
        if (child.type == krLVT_LEVEL) {
            CKrVariant &added =
                f.node->Append(CKrVariant(CKrListVariant(), CKrStringW(lvName(data, child))));
            stack.push_back(
                {&added, child.valueOffset, child.valueOffset + child.valueBytes, {}, true});
            continue;
        }
        CKrVariant value;
        if (!lvScalarToVariant(data, child, value)) return false;
        f.node->Append(std::move(value));
    }
    lvTakeVariant(out, root);
    return true;
}

}  // namespace orvik::detail
