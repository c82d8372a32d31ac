// The order of names of the lite variant: the sort of each level's index and the comparison of
// the reader's binary search.  One rule, used by the writer, the reader and the validator.
#include <cstring>
#include <cwchar>

#include "variant/internal/LvLayout.h"

namespace orvik::detail {

int lvCompareStoredPlain(kr_uint8 const *a, unsigned unitsA, kr_uint8 const *b, unsigned unitsB) {
    unsigned const n = unitsA < unitsB ? unitsA : unitsB;
    for (unsigned i = 0; i < n; ++i) {
        unsigned const ua = lvStoredUnit(a, i), ub = lvStoredUnit(b, i);
        if (ua != ub) return ua < ub ? -1 : 1;
    }
    return lvCompareLengths(unitsA, unitsB);
}

unsigned lvStoredNameUnits(wchar_t const *name, size_t *nameLength) {
    size_t const n = name ? std::wcslen(name) : 0;
    if (nameLength) *nameLength = n;
    if (n == 0) return 0;
    return n >= kLvMaxNameUnits ? kLvMaxNameUnits : unsigned(n + 1);
}

void lvMakeKey(wchar_t const *name, LvKey &key) {
    lvMakeKey(name, name ? std::wcslen(name) : 0, key);
}

void lvMakeKey(wchar_t const *name, size_t n, LvKey &key) {
    key.keyUnits = n == 0 ? 0 : (n >= kLvMaxNameUnits ? kLvMaxNameUnits : unsigned(n + 1));
    key.fits = n <= kLvMaxNameUnits;
    key.length = key.fits ? unsigned(n) : 0;
    unsigned const copy = key.fits ? key.length : kLvMaxNameUnits;
    for (unsigned i = 0; i < copy; ++i) key.units[i] = uint16_t(name[i]);
    key.units[copy] = 0;
}

}  // namespace orvik::detail
