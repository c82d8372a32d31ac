// Private helpers shared by the lite variant's reader files: access to the reader's buffer and
// read state, and the conversions between items and variants.
#ifndef ORVIK_VARIANT_INTERNAL_LVREADER_H
#define ORVIK_VARIANT_INTERNAL_LVREADER_H

#include <string>

#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"
#include "variant/CKrVariant.h"
#include "variant/internal/LvLayout.h"

#define KR_LITEVARIANT_SOURCE L"variant/CKrLiteVariantR"

struct CKrLiteVariantAccess {
    static kr_uint8 const *Data(CKrLiteVariantR const &r) { return r.m_pData; }
    static kr_uint64 Size(CKrLiteVariantR const &r) { return r.m_size; }
    static bool Plain(CKrLiteVariantR &r) { return r.plain(); }
    static kr_uint64 Position(CKrLiteVariantR const &r) { return r.m_pos; }
    static kr_uint64 LevelLimit(CKrLiteVariantR const &r) { return r.levelLimit(); }
};

namespace orvik::detail {

// The units of a string item without its terminator, or of a stored name (a cut name has none).
std::wstring lvUnits(kr_uint8 const *p, kr_uint64 units);
inline std::wstring lvName(kr_uint8 const *data, LvItem const &item) {
    unsigned n = item.nameUnits;
    if (n && data[item.nameOffset + 2 * (n - 1)] == 0 &&
        data[item.nameOffset + 2 * (n - 1) + 1] == 0)
        --n;  // the terminator
    return lvUnits(data + item.nameOffset, n);
}
// A scalar item (codes 1 to 9) as a variant of its run type, named `name`.  False for a level.
bool lvScalarToVariant(kr_uint8 const *data, LvItem const &item, CKrVariant &out);
// The item (a level with everything below it, built without recursion) as a variant.
// False when a part of it cannot be read.
bool lvItemToVariant(kr_uint8 const *data, LvItem const &item, CKrVariant &out);
// Writes the items in [from, to) of `data` to `w`, levels with their contents, in writing order.
// Returns 0, or the writer's result, or -9 when an item cannot be read.
int lvCopyItems(CKrLiteVariantW &w, kr_uint8 const *data, kr_uint64 from, kr_uint64 to);
// Replaces `out`'s value and run type with `value`'s and its name with `value`'s name, whatever
// `out`'s type-change setting.
void lvTakeVariant(CKrVariant &out, CKrVariant &value);

}  // namespace orvik::detail

#endif
