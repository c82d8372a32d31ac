// The order of names of the lite variant: the sort of each level's index and the comparison of
// the reader's binary search.  One rule, used by the writer, the reader and the validator.
#include <cwchar>

#include "variant/internal/LvLayout.h"

namespace orvik::detail {

namespace {

inline unsigned storedUnit(kr_uint8 const *p, unsigned i) {
    return unsigned(p[2 * i]) | (unsigned(p[2 * i + 1]) << 8);
}

}  // namespace

int lvCompareStored(kr_uint8 const *a, unsigned unitsA, kr_uint8 const *b, unsigned unitsB) {
    unsigned const n = unitsA < unitsB ? unitsA : unitsB;
    for (unsigned i = 0; i < n; ++i) {
        unsigned const ua = storedUnit(a, i), ub = storedUnit(b, i);
        if (ua != ub) return ua < ub ? -1 : 1;
    }
    return unitsA == unitsB ? 0 : (unitsA < unitsB ? -1 : 1);
}

unsigned lvStoredNameUnits(wchar_t const *name, size_t *nameLength) {
    size_t const n = name ? std::wcslen(name) : 0;
    if (nameLength) *nameLength = n;
    if (n == 0) return 0;
    return n >= kLvMaxNameUnits ? kLvMaxNameUnits : unsigned(n + 1);
}

LvKey lvMakeKey(wchar_t const *name) {
    LvKey key{name, 0, 0, true};
    size_t n = 0;
    key.keyUnits = lvStoredNameUnits(name, &n);
    key.fits = n <= kLvMaxNameUnits;
    key.length = key.fits ? unsigned(n) : 0;
    return key;
}

int lvCompareKey(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key) {
    unsigned const n = storedUnits < key.keyUnits ? storedUnits : key.keyUnits;
    for (unsigned i = 0; i < n; ++i) {
        unsigned const us = storedUnit(stored, i);
        // Units past the name proper are its terminator.
        unsigned const uk = i < key.length ? (unsigned(key.name[i]) & 0xFFFFu) : 0u;
        if (us != uk) return us < uk ? -1 : 1;
    }
    return storedUnits == key.keyUnits ? 0 : (storedUnits < key.keyUnits ? -1 : 1);
}

bool lvNameMatches(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key) {
    if (!key.fits) return false;
    unsigned const n = key.length;
    if (storedUnits != n && !(storedUnits == n + 1 && storedUnit(stored, n) == 0)) return false;
    for (unsigned i = 0; i < n; ++i)
        if (storedUnit(stored, i) != (unsigned(key.name[i]) & 0xFFFFu)) return false;
    return true;
}

}  // namespace orvik::detail
