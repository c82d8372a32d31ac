#include <cstring>
#include <string_view>

#include "platform/KrPlatform.h"
#include "variant/internal/VariantTree.h"

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
using Items = CKrVariantAccess::Items;

// Many member names have seven letters too: test the first one before calling the library.
bool isNoName(std::wstring const &s) {
    return s.size() == 7 && s[0] == L'n' && s.compare(L"no_name") == 0;
}

// The name of one child of a short list, laid out flat so that the partner scan of list
// equality touches one array instead of every child node.  `data` null stands for a null child.
struct NameView {
    wchar_t const *data;
    size_t size;
};

bool sameName(NameView const &v, wchar_t const *p, size_t n) {
    if (v.size != n) return false;
    for (size_t k = 0; k < n; ++k)
        if (v.data[k] != p[k]) return false;
    return true;
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

// Children vectors start with room for this many entries: records usually have a handful of
// members, and growing one entry at a time costs an allocation per doubling.
constexpr size_t kFirstCapacity = 12;

}  // namespace

void CKrVariantAccess::ReserveFirst(Items &items) {
    if (items.capacity() == 0) items.reserve(kFirstCapacity);
}

CKrVariant *CKrVariantAccess::ShallowClone(CKrVariant const &src, CKrListVariant const **srcList,
                                           CKrListVariant **dstList) {
    *srcList = nullptr;
    *dstList = nullptr;
    CKrVariantData *data = nullptr;
    if (CKrVariantData const *s = src.m_pData) {
        if (CKrVariantDataCKrListVariant const *sl = ListOf(src)) {
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

// Depth first with one frame per level, so the work stack grows with the depth of the tree and
// not with its width.  The copies of one list's children are collected on a per-thread stack
// and moved into the new children array when the list is complete: the array is allocated
// once, at its exact size, and after the small blocks of the subtree (a large request made
// first would make the allocator merge all of its recently freed small blocks).
void CKrVariantAccess::CopyChildren(CKrListVariant const &src, CKrListVariant &dst) {
    Lock guard(CKrListVariant::GetLock());
    if (src.m_items.empty()) return;
    struct Frame {
        Items const *from;
        Items *to;
        size_t next;
        size_t base;  // where this list's copies start in `pending`
    };
    // Shared with nested copies on this thread (a holder's GetValueCopy may copy variants):
    // each call works above what it found.
    thread_local Items pending;
    size_t const start = pending.size();
    // The frames likewise: copying a record is frequent enough that a stack of its own would
    // cost an allocation per copy.
    thread_local std::vector<Frame> stack;
    size_t const bottom = stack.size();
    stack.push_back({&src.m_items, &dst.m_items, 0, start});
    try {
        while (stack.size() > bottom) {
            Frame &f = stack.back();
            if (f.next == f.from->size()) {
                Items &to = *f.to;
                size_t const count = pending.size() - f.base;
                to.reserve(to.size() +
                           (count < kFirstCapacity && to.empty() ? kFirstCapacity : count));
                to.insert(to.end(), pending.begin() + static_cast<std::ptrdiff_t>(f.base),
                          pending.end());
                pending.resize(f.base);
                stack.pop_back();
                continue;
            }
            CKrVariant const *child = (*f.from)[f.next++];
            if (!child) continue;
            CKrListVariant const *sl;
            CKrListVariant *dl;
            pending.push_back(nullptr);  // room first, so that the copy cannot be lost
            pending.back() = ShallowClone(*child, &sl, &dl);
            if (sl && !sl->m_items.empty())
                stack.push_back(
                    {&sl->m_items, &dl->m_items, 0, pending.size()});  // `f` is stale now
        }
    } catch (...) {
        stack.resize(bottom);
        // Copies not yet attached: the deeper ones lie above the shallower ones, and a pending
        // node owns only children that were attached already.
        while (pending.size() > start) {
            delete pending.back();
            pending.pop_back();
        }
        throw;
    }
    if (pending.capacity() > 65536 && start == 0)
        Items().swap(pending);  // do not keep a huge buffer
    if (stack.capacity() > 4096 && bottom == 0) std::vector<Frame>().swap(stack);  // nor this
}

// Nodes waiting to be destroyed are chained through their m_ppData field (the debugger pointer
// of a node about to go has no further use; it is restored before the node is deleted), so
// destroying a tree allocates nothing, whatever its width or depth, and each children array is
// released as soon as its nodes are chained.  Children come off the chain right after their
// parent, in child order.
void CKrVariantAccess::DestroyItems(Items &items) {
    Lock guard(CKrListVariant::GetLock());
    CKrVariant *head = nullptr;
    auto chain = [&head](Items &list) {
        for (auto it = list.rbegin(); it != list.rend(); ++it) {
            if (CKrVariant *node = *it) {
                node->m_ppData = reinterpret_cast<CKrVariantData **>(head);
                head = node;
            }
        }
        Items().swap(list);
    };
    chain(items);
    while (head) {
        CKrVariant *node = head;
        head = reinterpret_cast<CKrVariant *>(node->m_ppData);
        node->m_ppData = &node->m_pData;
        // Detach the children first: the node's own destructor then finds an empty list and
        // does not recurse.
        if (CKrVariantDataCKrListVariant *list = ListOf(*node)) chain(list->GetList().m_items);
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
        size_t indexBase;  // position of this frame's names in `views` or index in `index.slots`
        size_t indexMask;
        bool indexed;
    };
    // Both stacks are shared by all frames (frames end in reverse order of their start) and by
    // nested comparisons on this thread (a holder's IsEqual may compare variants again): each
    // call works above what it found and leaves it as it was.
    thread_local NameIndex index;
    thread_local std::vector<NameView> views;
    struct Restore {
        size_t slots, names;
        ~Restore() {
            index.slots.resize(slots);
            views.resize(names);
        }
    } restore{index.slots.size(), views.size()};
    std::vector<Frame> stack;
    stack.reserve(8);
    stack.push_back({&a.m_items, &b.m_items, 0, 0, 0, false});

    while (!stack.empty()) {
        Frame &f = stack.back();
        if (f.next == f.a->size()) {
            if (f.indexed) {
                if (f.b->size() <= kLinearLimit)
                    views.resize(f.indexBase);
                else
                    index.slots.resize(f.indexBase);
            }
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
        if (isNoName(name)) {
            cb = (*f.b)[i];
            if (!cb) {
                reportNullChild(__LINE__);
                return false;
            }
        } else if (f.b->size() <= kLinearLimit) {
            // The first child of `b` with that name, scanning in order; a null child met on
            // the way ends the comparison.
            if (!f.indexed) {
                f.indexBase = views.size();
                f.indexed = true;
                for (CKrVariant const *c : *f.b) {
                    if (!c) {
                        views.push_back({nullptr, 0});
                    } else {
                        std::wstring const &n = c->m_name.GetStdString();
                        views.push_back({n.data(), n.size()});
                    }
                }
            }
            wchar_t const *p = name.data();
            size_t const n = name.size();
            size_t const count = f.b->size();
            for (size_t k = 0; k < count; ++k) {
                NameView const &v = views[f.indexBase + k];
                if (!v.data) {
                    reportNullChild(__LINE__);
                    return false;
                }
                if (sameName(v, p, n)) {
                    cb = (*f.b)[k];
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
            Items const &la =
                static_cast<CKrVariantDataCKrListVariant const *>(da)->GetList().m_items;
            Items const &lb =
                static_cast<CKrVariantDataCKrListVariant const *>(db)->GetList().m_items;
            if (la.size() != lb.size()) return false;
            if (!la.empty()) stack.push_back({&la, &lb, 0, 0, 0, false});  // `f` is stale now
        } else if (!da->IsEqual(*db)) {
            return false;
        }
    }
    return true;
}
