//
// Builds a variant tree from the input (a small stack machine: append scalars, Null children and
// lists, make a list a record, go down and up, rename, delete, change run types) and checks
// invariants that must hold for any tree: a deep copy and an assigned copy are exact (names,
// run types, flags, values, no shared child) and stay independent when they grow; list
// equality follows its pairing rule (written out naively below) on the copy and on a copy with
// one change; destroying it all leaks nothing; no operation crashes on odd input.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "variant/CKrVariant.h"

namespace {

CKrVariantRunType const &shapeType() {
    static CKrVariantRunType const type = [] {
        CKrVariant::RegisterRunType(CKrVariant::CreateStruct(L"RKrFuzzShape", {}));
        return CKrVariantRunType("RKrFuzzShape");
    }();
    return type;
}

std::string runType(CKrVariant const &v) { return v.GetRunType().GetName().GetStdString(); }

// Exact sameness: names, run types, texts, flags and the order of children, with no child shared.
bool sameTree(CKrVariant const &a, CKrVariant const &b) {
    if (!(a.GetName() == b.GetName()) || runType(a) != runType(b) || a.IsNull() != b.IsNull() ||
        a.IsEnabledTypeChange() != b.IsEnabledTypeChange() || a.GetCount() != b.GetCount())
        return false;
    if (a.GetCount() < 0) return a.IsNull() || a.GetCKrStringW() == b.GetCKrStringW();
    for (int i = 0; i < a.GetCount(); ++i)
        if (a.IndexPtr(i) == b.IndexPtr(i) || !sameTree(*a.IndexPtr(i), *b.IndexPtr(i)))
            return false;
    return true;
}

// The pairing rule of list equality: a named child meets the first child of that name on the
// other side, an unnamed one the child at its position.
bool modelEqual(CKrVariant const &a, CKrVariant const &b) {
    if (a.IsNull() || b.IsNull()) return a.IsNull() && b.IsNull();
    if (runType(a) != runType(b)) return false;
    if (a.GetCount() < 0 || b.GetCount() < 0) return a == b;  // scalars: holder equality
    if (a.GetCount() != b.GetCount()) return false;
    for (int i = 0; i < a.GetCount(); ++i) {
        CKrVariant const &ca = *a.IndexPtr(i);
        CKrVariant const *partner = nullptr;
        if (ca.GetName() == L"no_name") {
            partner = b.IndexPtr(i);
        } else {
            for (int k = 0; k < b.GetCount() && !partner; ++k)
                if (b.IndexPtr(k)->GetName() == ca.GetName()) partner = b.IndexPtr(k);
        }
        if (!partner || !modelEqual(ca, *partner)) return false;
    }
    return true;
}

// One change somewhere in `tree` (or none): a name, the order of two children, a value.
void mutate(CKrVariant &tree, FuzzInput &in) {
    CKrVariant *node = &tree;
    while (node->GetCount() > 0 && in.byte() % 3 != 0)
        node = node->IndexPtr(in.byte() % node->GetCount());
    switch (in.byte() % 4) {
        case 1:
            node->SetName(CKrStringW(node->GetName().GetStdString() + L"s"));
            break;
        case 2:
            if (node->GetCount() >= 2) {
                node->EnableTypeChange(true);
                CKrVariant first(*node->IndexPtr(0));
                node->Delete(0);
                node->Append(first);  // the first child moves to the end (a record becomes plain)
            }
            break;
        case 3:
            node->EnableTypeChange(true);
            if (node->GetCount() < 0) *node = 12345;
            break;
    }
}

struct Reader {
    uint8_t const *p;
    size_t n;
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    std::wstring text() {
        size_t len = byte() % 8;
        std::wstring s;
        for (size_t i = 0; i < len; ++i) s += static_cast<wchar_t>(byte());
        return s;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    Reader in{data, size};
    CKrVariant root(CKrListVariant(), L"root");
    std::vector<CKrVariant *> path{&root};
    int ops = 0;
    while (in.n && ++ops < 2000) {
        CKrVariant &cur = *path.back();
        uint8_t op = in.byte();
        CKrStringW name(in.text());
        switch (op % 14) {
            case 0:
                cur.Append(CKrVariant(static_cast<int>(in.byte()) - 128, name));
                break;
            case 1:
                cur.Append(CKrVariant(in.byte() / 7.0, name));
                break;
            case 2:
                cur.Append(CKrVariant(CKrStringW(in.text()), name));
                break;
            case 3: {
                std::wstring t = in.text();
                cur.Append(CKrVariant(CKrByteArray(t.data(), t.size(), 16), name));
                break;
            }
            case 4:
                path.push_back(&cur.Append(CKrVariant(CKrListVariant(), name)));
                break;
            case 5:
                if (path.size() > 1) path.pop_back();
                break;
            case 6:
                cur.Delete(in.byte());
                break;
            case 7:
                cur.Insert(CKrVariant(in.byte() != 0, name), static_cast<int>(in.byte()) - 2);
                break;
            case 8:
                cur.SetOrAppend(name, CKrVariant(kr_int64(in.byte())));
                break;
            case 9: {
                CKrVariant *child = cur.IndexPtr(in.byte() % 8);
                if (child) {
                    child->EnableTypeChange(in.byte() & 1);
                    char const *types[] = {"kr_int32", "double",         "CKrStringW",
                                           "bool",     "CKrListVariant", "kr_uint64"};
                    child->SetRunTypeCompatible(CKrVariantRunType(types[in.byte() % 6]));
                    if (child->GetCount() >= 0 && path.size() < 64) path.push_back(child);
                }
                break;
            }
            case 10:
                cur.EnableTypeChange(in.byte() & 1);
                break;
            case 11: {
                CKrVariant *child = cur.IndexPtr(in.byte() % 8);
                if (child) child->SetName(name);
                break;
            }
            case 12:  // a record with the children it has
                if (path.size() > 1) cur.SetRunType(shapeType());
                break;
            case 13:
                cur.Append(CKrVariant()).SetName(name);
                break;
        }
    }
    // (operator== is not checked: with duplicate names a list is unequal even to its copy,
    // as every same-named child meets the first one of that name.)
    CKrVariant copy(root);
    if (CKrVariant::CompareStructure(copy, root, true) != 0) abort();
    CKrStringW a, b;
    root.Write(a);
    copy.Write(b);
    if (!(a == b)) abort();
    CKrStringW t;
    CKrVariant::Trace(t, copy);
    if (t.GetLength() < a.GetLength()) abort();

    FUZZ_CHECK(sameTree(root, copy));
    FUZZ_CHECK((copy == root) == modelEqual(copy, root));
    CKrVariant changed(root);
    FuzzInput rest{data, size};  // the input again, read as choices of a node and a change
    mutate(changed, rest);
    FUZZ_CHECK((changed == root) == modelEqual(changed, root));
    FUZZ_CHECK((root == changed) == modelEqual(root, changed));

    CKrVariant assigned(CKrListVariant(), L"target");
    assigned.Append(CKrVariant(1, L"old"));
    assigned = root;  // children replaced by copies, name kept
    FUZZ_CHECK(assigned.GetName() == L"target");
    assigned.SetName(L"root");
    assigned.EnableTypeChange(root.IsEnabledTypeChange());  // the flag is the target's own
    FUZZ_CHECK(sameTree(root, assigned));
    CKrListVariant children(root.GetCKrListVariant());
    FUZZ_CHECK(children.Number() == root.GetCount());
    for (int i = 0; i < children.Number(); ++i)
        FUZZ_CHECK(sameTree(*root.IndexPtr(i), *children.GetAt(i)));

    // Every list of the copy still grows in order, whatever room the copy gave it, and the
    // original does not change.
    std::vector<CKrVariant *> lists{&copy};
    for (size_t k = 0; k < lists.size(); ++k)
        for (int i = 0; i < lists[k]->GetCount(); ++i)
            if (CKrVariant *child = lists[k]->IndexPtr(i); child->GetCount() >= 0) {
                child->EnableTypeChange(true);
                lists.push_back(child);
            }
    for (CKrVariant *l : lists) {
        int const before = l->GetCount();
        for (int i = 0; i < 20; ++i) l->Append(CKrVariant(i, L"added"));
        FUZZ_CHECK(l->GetCount() == before + 20 && l->IndexPtr(before + 19)->GetKr_int32() == 19);
    }
    CKrStringW after;
    root.Write(after);
    FUZZ_CHECK(after == a);
    return 0;
}
