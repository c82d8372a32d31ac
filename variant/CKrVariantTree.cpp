#include "variant/CKrVariantTree.h"

#include <cstring>
#include <string_view>

#include "platform/KrPlatform.h"

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

bool isNoName(CKrStringW const &name) {
    std::wstring const &s = name.GetStdString();
    return s.size() == 7 && s == L"no_name";
}

kr_uint64 hashName(std::wstring const &s) {
    kr_uint64 h = 1469598103934665603ULL;  // FNV-1a
    for (wchar_t c : s) {
        h ^= static_cast<kr_uint64>(static_cast<kr_uint32>(c));
        h *= 1099511628211ULL;
    }
    return h;
}

// Lists up to this size find a partner by a linear scan; longer ones build a name index.
constexpr size_t kLinearLimit = 16;

// Open-addressing index "name -> first position" of one list.  The slots of all frames live in
// one vector used as a stack (frames end in reverse order of their start).
struct NameIndex {
    struct Slot {
        kr_uint32 hash;
        kr_uint32 pos1;  // position + 1; 0 marks an empty slot
    };
    std::vector<Slot> slots;

    // Builds the index of `items` at the end of `slots`; returns its base, sets *mask.
    size_t build(CKrVariantAccess::Items const &items, size_t *mask) {
        size_t cap = 16;
        while (cap < items.size() * 2) cap <<= 1;
        size_t base = slots.size();
        slots.resize(base + cap, Slot{0, 0});
        *mask = cap - 1;
        for (size_t i = 0; i < items.size(); ++i) {
            CKrVariant const *c = items[i];
            if (!c) continue;
            std::wstring const &name = c->GetName().GetStdString();
            kr_uint64 h = hashName(name);
            size_t k = static_cast<size_t>(h) & *mask;
            for (;;) {
                Slot &s = slots[base + k];
                if (s.pos1 == 0) {
                    s = Slot{static_cast<kr_uint32>(h), static_cast<kr_uint32>(i + 1)};
                    break;
                }
                // Keep the first child of a name.
                if (s.hash == static_cast<kr_uint32>(h) &&
                    items[s.pos1 - 1]->GetName().GetStdString() == name)
                    break;
                k = (k + 1) & *mask;
            }
        }
        return base;
    }

    CKrVariant *find(CKrVariantAccess::Items const &items, size_t base, size_t mask,
                     std::wstring const &name) const {
        kr_uint64 h = hashName(name);
        size_t k = static_cast<size_t>(h) & mask;
        for (;;) {
            Slot const &s = slots[base + k];
            if (s.pos1 == 0) return nullptr;
            if (s.hash == static_cast<kr_uint32>(h) &&
                items[s.pos1 - 1]->GetName().GetStdString() == name)
                return items[s.pos1 - 1];
            k = (k + 1) & mask;
        }
    }
};

void reportNullChild(int line) {
    DiagAssertW(L"varCurrent == NULL", KR_VARIANT_SOURCE, line, L"varCurrent == NULL");
}

}  // namespace

CKrVariant *CKrVariantAccess::ShallowClone(CKrVariant const &src, CKrListVariant const **srcList,
                                           CKrListVariant **dstList) {
    *srcList = nullptr;
    *dstList = nullptr;
    CKrVariantData *data = nullptr;
    if (CKrVariantData const *s = src.m_pData) {
        if (s->IsArray()) {
            auto const *sl = static_cast<CKrVariantDataCKrListVariant const *>(s);
            auto *dl = new CKrVariantDataCKrListVariant();
            dl->SetRunType(sl->GetRunType());
            *srcList = &sl->GetList();
            *dstList = &dl->GetList();
            data = dl;
        } else {
            data = s->CreateEmpty();
            s->GetValueCopy(*data);
        }
    }
    return new CKrVariant(CKrVariant::RawTag{}, src.m_name, data, src.m_enabledTypeChange);
}

void CKrVariantAccess::CopyChildren(CKrListVariant const &src, CKrListVariant &dst) {
    Lock guard(CKrListVariant::GetLock());
    struct Job {
        CKrListVariant const *src;
        CKrListVariant *dst;
    };
    std::vector<Job> stack;
    stack.push_back({&src, &dst});
    while (!stack.empty()) {
        Job job = stack.back();
        stack.pop_back();
        Items const &from = job.src->m_items;
        Items &to = job.dst->m_items;
        to.reserve(to.size() + from.size());
        for (CKrVariant const *child : from) {
            if (!child) continue;
            CKrListVariant const *sl;
            CKrListVariant *dl;
            // Attach at once so that nothing leaks if a later allocation throws.
            to.push_back(ShallowClone(*child, &sl, &dl));
            if (sl && !sl->m_items.empty()) stack.push_back({sl, dl});
        }
    }
}

void CKrVariantAccess::DestroyItems(Items &items) {
    Lock guard(CKrListVariant::GetLock());
    Items stack;
    stack.swap(items);
    while (!stack.empty()) {
        CKrVariant *node = stack.back();
        stack.pop_back();
        if (!node) continue;
        // Detach the children first: the node's own destructor then finds an empty list and
        // does not recurse.
        if (CKrVariantDataCKrListVariant *list = ListOf(*node)) {
            Items &children = list->GetList().m_items;
            stack.insert(stack.end(), children.begin(), children.end());
            children.clear();
        }
        delete node;
    }
}

bool CKrVariantAccess::ListsEqual(CKrListVariant const &a, CKrListVariant const &b) {
    Lock guard(CKrListVariant::GetLock());
    if (a.m_items.size() != b.m_items.size()) return false;
    if (a.m_items.empty()) return true;

    struct Frame {
        Items const *a;
        Items const *b;
        size_t next;
        size_t indexBase;  // position of this frame's name index in `index.slots`
        size_t indexMask;
        bool indexed;
    };
    thread_local NameIndex index;
    index.slots.clear();
    std::vector<Frame> stack;
    stack.push_back({&a.m_items, &b.m_items, 0, 0, 0, false});

    while (!stack.empty()) {
        Frame &f = stack.back();
        if (f.next == f.a->size()) {
            if (f.indexed) index.slots.resize(f.indexBase);
            stack.pop_back();
            continue;
        }
        size_t i = f.next++;
        CKrVariant const *ca = (*f.a)[i];
        if (!ca) {
            reportNullChild(__LINE__);
            return false;
        }
        CKrVariant const *cb = nullptr;
        std::wstring const &name = ca->m_name.GetStdString();
        if (isNoName(ca->m_name)) {
            cb = (*f.b)[i];
            if (!cb) {
                reportNullChild(__LINE__);
                return false;
            }
        } else if (f.b->size() <= kLinearLimit) {
            for (CKrVariant const *c : *f.b) {
                if (!c) {
                    reportNullChild(__LINE__);
                    return false;
                }
                if (c->m_name.GetStdString() == name) {
                    cb = c;
                    break;
                }
            }
        } else {
            // Longer lists: a name index of `b`, built on the first lookup in this list.
            if (!f.indexed) {
                f.indexBase = index.build(*f.b, &f.indexMask);
                f.indexed = true;
            }
            cb = index.find(*f.b, f.indexBase, f.indexMask, name);
        }
        if (!cb) return false;

        CKrVariantData const *da = ca->m_pData;
        CKrVariantData const *db = cb->m_pData;
        if (!da || !db) {
            if (da != db) return false;
            continue;
        }
        if (da->IsArray() && db->IsArray()) {
            if (da->GetRunType() != db->GetRunType()) return false;
            Items const &la = static_cast<CKrVariantDataCKrListVariant const *>(da)->GetList().m_items;
            Items const &lb = static_cast<CKrVariantDataCKrListVariant const *>(db)->GetList().m_items;
            if (la.size() != lb.size()) return false;
            if (!la.empty()) stack.push_back({&la, &lb, 0, 0, 0, false});  // `f` is stale now
        } else if (!da->IsEqual(*db)) {
            return false;
        }
    }
    return true;
}
