// The order of names of the lite variant: the sort of each level's index and the comparison of
// the reader's binary search.  One rule, used by the writer, the reader and the validator.
#include <cstdint>
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

void lvMakeKey(wchar_t const *name, LvKey &key) { lvMakeKey(name, SIZE_MAX, key); }

// One pass over the name: its end is found while its units are copied, up to 256 units (a name
// longer than 255 units matches no stored name, whatever its length).
void lvMakeKey(wchar_t const *name, size_t length, LvKey &key) {
    std::memset(key.units, 0, 16);  // the prefix words: zeros after the stored form
    unsigned n = 0;
    if (name) {
        for (; n < length && n <= kLvMaxNameUnits; ++n) {
            wchar_t const c = name[n];
            if (c == 0) break;
            key.units[n] = uint16_t(c);
        }
    }
    key.fits = n <= kLvMaxNameUnits;
    key.length = key.fits ? n : 0;
    key.keyUnits = n == 0 ? 0 : (n >= kLvMaxNameUnits ? kLvMaxNameUnits : n + 1);
    unsigned const copy = key.fits ? n : kLvMaxNameUnits;
    key.units[copy] = 0;
    std::memcpy(key.prefix, key.units, 16);
}

}  // namespace orvik::detail
