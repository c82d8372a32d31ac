//
// Builds a variant tree from the input (a small stack machine: append scalars and lists, go
// down and up, rename, delete, change run types) and checks invariants that must hold for any
// tree: a deep copy is structurally alike and writes the same text; destroying it all
// leaks nothing; no operation crashes on odd input.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "variant/CKrVariant.h"

namespace {

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
        switch (op % 12) {
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
    return 0;
}
