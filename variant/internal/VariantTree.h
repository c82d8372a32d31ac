// Internal: the whole-tree algorithms of the variant (copy, destruction, list equality) and
// access to the private parts of CKrVariant and CKrListVariant they need.  Every walk uses an
// explicit stack; all of them hold the process-wide list lock for their whole run (the lock is
// recursive, so nested calls on the same thread are fine).
#ifndef ORVIK_VARIANT_CKRVARIANTTREE_H
#define ORVIK_VARIANT_CKRVARIANTTREE_H

#include <mutex>
#include <string>
#include <vector>

#include "variant/CKrVariant.h"

#define KR_VARIANT_SOURCE L"variant/CKrVariant"

struct CKrVariantAccess {
    using Items = decltype(CKrListVariant::m_items);

    static Items &ItemsOf(CKrListVariant &list) { return list.m_items; }
    static Items const &ItemsOf(CKrListVariant const &list) { return list.m_items; }
    static CKrVariantData *DataOf(CKrVariant const &v) { return v.m_pData; }
    static void SetData(CKrVariant &v, CKrVariantData *data) { v.m_pData = data; }
    static CKrStringW &NameOf(CKrVariant &v) { return v.m_name; }
    // A new node with an empty name (not yet valid: the caller sets and validates one), no value
    // and type change off; the caller owns it.  Spares builders the default name's allocation.
    static CKrVariant *NewUnnamed() {
        return new CKrVariant(CKrVariant::RawTag{}, CKrStringW(), nullptr, false);
    }

    // The list holder of `v`, or null when `v` is no list.  The library's own holders say what
    // they are by their kind; only holders of other classes are asked (IsArray).
    static CKrVariantDataCKrListVariant *ListOf(CKrVariant const &v) {
        CKrVariantData *d = v.m_pData;
        if (!d) return nullptr;
        CKrVariantData::EKrDataKind const kind = d->GetKind();
        bool const list = kind == CKrVariantData::krDATA_LIST ||
                          (kind == CKrVariantData::krDATA_OTHER && d->IsArray());
        return list ? static_cast<CKrVariantDataCKrListVariant *>(d) : nullptr;
    }

    // A copy of `src` without its children (name, flag, value; a list gets its run type and
    // no children).  For a list, *srcList / *dstList receive the lists still to be filled.
    static CKrVariant *ShallowClone(CKrVariant const &src, CKrListVariant const **srcList,
                                    CKrListVariant **dstList);
    // Appends deep copies of every child of `src` to `dst`.
    static void CopyChildren(CKrListVariant const &src, CKrListVariant &dst);
    // Gives an empty children vector its first capacity (appending one by one).
    static void ReserveFirst(Items &items);
    // Destroys every node reachable from `items` and empties it.
    static void DestroyItems(Items &items);
    // List equality: equal counts; named children paired by name (first of that name in `b`),
    // children named "no_name" by position; pairs equal when both Null or IsEqual.
    static bool ListsEqual(CKrListVariant const &a, CKrListVariant const &b);
};

#endif
