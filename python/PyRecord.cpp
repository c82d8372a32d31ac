#include "PyRecord.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"
#include "variant/CKrVariant.h"
#include "variant/CKrVariantRunType.h"

namespace orvik::py {

namespace {

// The run-type names of the kinds, in the order of Kind.
constexpr char const *kRunTypeNames[] = {
    "unknown", "bool",    "kr_int32",   "kr_uint32",    "kr_int64",       "kr_uint64",
    "double",  "voidPtr", "CKrStringW", "CKrByteArray", "CKrListVariant",
};
static_assert(std::size(kRunTypeNames) == static_cast<std::size_t>(Kind::List) + 1);

Kind KindOfRunType(char const *name) {
    for (std::size_t k = 0; k < std::size(kRunTypeNames); ++k) {
        if (std::strcmp(kRunTypeNames[k], name) == 0) return static_cast<Kind>(k);
    }
    return Kind::Null;
}

// The item of a variant that is not a list (a list gets its kind only; the caller fills it).
void TakeScalar(Item &item, CKrVariant const &v) {
    item.kind = KindOfRunType(v.GetRunType().GetName().GetString());
    switch (item.kind) {
        case Kind::Null:
        case Kind::List:
            break;
        case Kind::Bool:
            item.b = v.GetBool();
            break;
        case Kind::Int32:
            item.i = v.GetKr_int32();
            break;
        case Kind::Int64:
            item.i = v.GetKr_int64();
            break;
        case Kind::UInt32:
            item.u = v.GetKr_uint32();
            break;
        case Kind::UInt64:
            item.u = v.GetKr_uint64();
            break;
        case Kind::VoidPtr:
            item.u = reinterpret_cast<std::uintptr_t>(v.GetVoidPtr());
            break;
        case Kind::Double:
            item.d = v.GetDouble();
            break;
        case Kind::String:
            item.text = v.GetCKrStringW().GetStdString();
            break;
        case Kind::Bytes: {
            auto const *bytes = static_cast<CKrByteArray const *>(v.GetValueVoidPtr());
            auto const *begin = static_cast<unsigned char const *>(bytes->GetData());
            auto copy =
                std::make_shared<std::vector<unsigned char>>(begin, begin + bytes->GetSize());
            item.blob = Blob{copy->data(), copy->size(), copy};
            break;
        }
    }
}

// A variant holding the scalar of `item`, or an empty list of the item's run type.
CKrVariant MakeValue(Item const &item, CKrStringW const &name) {
    switch (item.kind) {
        case Kind::Null:
            break;
        case Kind::Bool:
            return CKrVariant(item.b, name);
        case Kind::Int32:
            return CKrVariant(static_cast<int>(item.i), name);
        case Kind::Int64:
            return CKrVariant(static_cast<kr_int64>(item.i), name);
        case Kind::UInt32:
            return CKrVariant(static_cast<unsigned int>(item.u), name);
        case Kind::UInt64:
            return CKrVariant(static_cast<kr_uint64>(item.u), name);
        case Kind::VoidPtr:
            return CKrVariant(reinterpret_cast<void *>(static_cast<std::uintptr_t>(item.u)), name);
        case Kind::Double:
            return CKrVariant(item.d, name);
        case Kind::String:
            return CKrVariant(CKrStringW(item.text), name);
        case Kind::Bytes:
            return CKrVariant(CKrByteArray(item.blob.data, item.blob.size, 1024), name);
        case Kind::List:
            if (item.level->runtype == kPlainList) return CKrVariant(CKrListVariant(), name);
            // A record type need not be registered: the children are added to the list itself
            // (see VariantFromItem), which keeps the record's run-type name.
            return CKrVariant::CreateStructNamed(CKrVariantRunType(item.level->runtype.c_str()),
                                                 name, {});
    }
    return CKrVariant();
}

CKrVariant Shell(Item const &item) {
    CKrStringW name(item.name);
    CKrVariant v = MakeValue(item, name);
    // The constructors validate names; the item's name is kept exactly.
    v.SetName(name);
    return v;
}

}  // namespace

char const *RunTypeName(Kind kind) { return kRunTypeNames[static_cast<std::size_t>(kind)]; }

bool IsVariantName(std::wstring const &name) {
    CKrStringW copy(name);
    return name.find(L'\0') == std::wstring::npos && !CKrVariant::ValidateName(copy);
}

bool IsListRunType(std::string const &name) {
    if (name == kPlainList) return true;
    if (KindOfRunType(name.c_str()) != Kind::Null || name == RunTypeName(Kind::Null)) return false;
    return IsVariantName(std::wstring(name.begin(), name.end()));
}

char const *Item::RunType() const {
    return kind == Kind::List ? level->runtype.c_str() : RunTypeName(kind);
}

Level::~Level() {
    std::vector<std::shared_ptr<Level const>> pending;
    for (Item &item : items) {
        if (item.level) pending.push_back(std::move(item.level));
    }
    while (!pending.empty()) {
        std::shared_ptr<Level const> level = std::move(pending.back());
        pending.pop_back();
        if (level.use_count() == 1) {
            // The last owner: empty it here, so that its own destructor finds no levels.
            for (Item &item : const_cast<Level &>(*level).items) {
                if (item.level) pending.push_back(std::move(item.level));
            }
        }
    }
}

Item RecordView::AsItem() const {
    Item item;
    item.name = name;
    item.kind = Kind::List;
    item.level = level;
    return item;
}

Item const *Level::Find(std::wstring const &name) const {
    for (Item const &item : items) {
        if (item.name == name) return &item;
    }
    return nullptr;
}

bool Equal(Item const &a, Item const &b) {
    std::vector<std::pair<Item const *, Item const *>> pending{{&a, &b}};
    while (!pending.empty()) {
        auto [x, y] = pending.back();
        pending.pop_back();
        if (x->name != y->name || x->kind != y->kind) return false;
        switch (x->kind) {
            case Kind::Null:
                break;
            case Kind::Bool:
                if (x->b != y->b) return false;
                break;
            case Kind::Int32:
            case Kind::Int64:
                if (x->i != y->i) return false;
                break;
            case Kind::UInt32:
            case Kind::UInt64:
            case Kind::VoidPtr:
                if (x->u != y->u) return false;
                break;
            case Kind::Double:
                if (!(x->d == y->d || (std::isnan(x->d) && std::isnan(y->d)))) return false;
                break;
            case Kind::String:
                if (x->text != y->text) return false;
                break;
            case Kind::Bytes:
                if (x->blob.size != y->blob.size ||
                    (x->blob.size != 0 &&
                     std::memcmp(x->blob.data, y->blob.data, x->blob.size) != 0))
                    return false;
                break;
            case Kind::List: {
                Level const &lx = *x->level, &ly = *y->level;
                if (lx.runtype != ly.runtype || lx.items.size() != ly.items.size()) return false;
                for (std::size_t k = 0; k < lx.items.size(); ++k) {
                    pending.emplace_back(&lx.items[k], &ly.items[k]);
                }
                break;
            }
        }
    }
    return true;
}

Item ItemFromVariant(CKrVariant const &v) {
    Item root;
    root.name = v.GetName().GetStdString();
    if (v.GetCount() < 0) {
        TakeScalar(root, v);
        return root;
    }
    auto top = std::make_shared<Level>();
    root.kind = Kind::List;
    root.level = top;
    std::vector<std::pair<CKrVariant const *, Level *>> pending{{&v, top.get()}};
    while (!pending.empty()) {
        auto [list, level] = pending.back();
        pending.pop_back();
        level->runtype = list->GetRunType().GetName().GetStdString();
        int const count = list->GetCount();
        level->items.reserve(static_cast<std::size_t>(count));
        for (int k = 0; k < count; ++k) {
            CKrVariant const *child = list->IndexPtr(k);
            if (child == nullptr) continue;
            Item item;
            item.name = child->GetName().GetStdString();
            if (child->GetCount() >= 0) {
                auto nested = std::make_shared<Level>();
                item.kind = Kind::List;
                item.level = nested;
                pending.emplace_back(child, nested.get());
            } else {
                TakeScalar(item, *child);
            }
            level->items.push_back(std::move(item));
        }
    }
    return root;
}

CKrVariant VariantFromItem(Item const &item) {
    CKrVariant root = Shell(item);
    if (item.kind != Kind::List) return root;
    std::vector<std::pair<CKrVariant *, Level const *>> pending{{&root, item.level.get()}};
    while (!pending.empty()) {
        auto [target, level] = pending.back();
        pending.pop_back();
        // Added to the children directly rather than with CKrVariant::Append, which would turn
        // a record into a plain list.
        CKrListVariant &children = target->GetCKrListVariant();
        for (Item const &child : level->items) {
            CKrVariant *added = children.Append(new CKrVariant(Shell(child)));
            if (child.kind == Kind::List) pending.emplace_back(added, child.level.get());
        }
    }
    return root;
}

}  // namespace orvik::py
