// The lite variant's byte layout: field widths, the bounded item parser and the order of names.
// Every read of a buffer by the reader, the validator and the rebuilding members goes through
// lvParseItem / lvParseHead, which never look at a byte at or beyond the limit they are given;
// that is the whole of the reader's safety on hostile buffers.
#ifndef ORVIK_VARIANT_INTERNAL_LVLAYOUT_H
#define ORVIK_VARIANT_INTERNAL_LVLAYOUT_H

#include <cstring>

#include "platform/KrTypes.h"
#include "variant/EKrLiteVariantType.h"

namespace orvik::detail {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the layout is little-endian");

inline constexpr unsigned kLvMaxNameUnits = 255;
inline constexpr kr_uint64 kLvHeadBytes = 2;           // type code, name length
inline constexpr kr_uint64 kLvBlobLengthBytes = 8;     // before the bytes of code 9
inline constexpr kr_uint64 kLvLevelFieldBytes = 12;    // child count (4), level size (8)
inline constexpr kr_uint64 kLvIndexEntryBytes = 8;     // one offset per child
inline constexpr kr_uint64 kLvEnvelopeHeadBytes = 12;  // mark, uncompressed size
inline constexpr char kLvEnvelopeMark[4] = {'L', 'V', '0', 'Z'};
inline constexpr char kLvPlainFileMark[4] = {'L', 'V', '0', '0'};
inline constexpr int kLvCompressLevel = 6;
// Deflate cannot expand better than about 1032 to 1; a declared size beyond that (plus room for
// the stream's head and tail) is a lie and is refused before any allocation.
inline constexpr kr_uint64 kLvMaxInflateRatio = 1032;
inline constexpr kr_uint64 kLvInflateSlack = 1024;
// No buffer larger than this is inflated or loaded from a file (4 GiB).
inline constexpr kr_uint64 kLvMaxBufferSize = kr_uint64(1) << 32;

inline uint16_t lvLoad16(kr_uint8 const *p) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}
inline kr_uint32 lvLoad32(kr_uint8 const *p) {
    kr_uint32 v;
    std::memcpy(&v, p, 4);
    return v;
}
inline kr_uint64 lvLoad64(kr_uint8 const *p) {
    kr_uint64 v;
    std::memcpy(&v, p, 8);
    return v;
}

// Value bytes of the fixed-size codes; 0 for the variable ones (8, 9, 11) and unknown codes.
constexpr kr_uint64 lvFixedValueBytes(int type) {
    constexpr kr_uint8 table[12] = {0, 1, 4, 4, 8, 8, 8, 8, 0, 0, 0, 0};
    return (type >= 0 && type < 12) ? table[type] : 0;
}
// Codes a reader can step over.  Code 10 is reserved (never written) and counts as unknown.
constexpr bool lvIsKnownType(int type) {
    return (type >= krLVT_BOOL && type <= krLVT_BLOB) || type == krLVT_LEVEL;
}

// One parsed item.  Offsets are absolute within the buffer.
struct LvItem {
    kr_uint64 offset;  // the type code
    int type;
    unsigned nameUnits;     // the length byte
    kr_uint64 nameOffset;   // first name byte
    kr_uint64 valueOffset;  // first value byte (blob: after its length; level: first child)
    kr_uint64 valueBytes;   // value bytes (string: terminator included; level: all children)
    kr_uint64 end;          // first byte after the item (level: after its index)
    kr_uint32 count;        // level: child count
    kr_uint64 levelSize;    // level: the stored level size
};

// Reads the head (code, name length, name) of the item at `at`; false when it does not fit
// below `limit`.  Sets offset, type, nameUnits, nameOffset and valueOffset (just after the name).
inline bool lvParseHead(kr_uint8 const *data, kr_uint64 limit, kr_uint64 at, LvItem &item) {
    if (at >= limit || limit - at < kLvHeadBytes) return false;
    item.offset = at;
    item.type = data[at];
    item.nameUnits = data[at + 1];
    item.nameOffset = at + kLvHeadBytes;
    kr_uint64 const nameBytes = kr_uint64(item.nameUnits) * 2;
    if (limit - item.nameOffset < nameBytes) return false;
    item.valueOffset = item.nameOffset + nameBytes;
    return true;
}

// Parses the whole item at `at`, which must lie entirely below `limit` (for a level: its
// children and its index too).  False for an unknown type code or anything out of bounds.
// A level's own consistency (count against children, index entries) is not checked here.
bool lvParseItem(kr_uint8 const *data, kr_uint64 limit, kr_uint64 at, LvItem &item);

// The order of names: units compared as unsigned 16-bit numbers over the shorter stored length,
// the first difference decides, then the shorter length comes first.  <0, 0, >0.
// lvCompareStored compares four units at a time; lvCompareStoredPlain is the unit-by-unit
// reference it must agree with (the fuzz targets run both over the same names).  Validate uses
// the reference, so a writer or reader that sorted or searched by a wrong order is caught.
inline int lvCompareStored(kr_uint8 const *a, unsigned unitsA, kr_uint8 const *b, unsigned unitsB);
int lvCompareStoredPlain(kr_uint8 const *a, unsigned unitsA, kr_uint8 const *b, unsigned unitsB);

// A wanted name as the writer would store it: its units, a zero terminator when it has fewer
// than 255 units, cut at 255, kept as little-endian units so that it compares with stored names
// byte for byte.  `fits` is false for names of 256 units or more, which no stored name can
// match (the matching rule compares stored lengths with the full wanted length).
struct LvKey {
    uint16_t units[kLvMaxNameUnits + 1];  // the name's units, then a zero
    unsigned length;                      // units of the name proper (at most 255 when fits)
    unsigned keyUnits;                    // units of the stored form
    bool fits;
    uint64_t prefix[2];  // the first eight units of the stored form, little-endian, zero-padded
};
void lvMakeKey(wchar_t const *name, LvKey &key);
// The name's units up to its first zero or its first `length` units, whichever comes first.
void lvMakeKey(wchar_t const *name, size_t length, LvKey &key);
// The order above between a stored name and a wanted one in its stored form.
inline int lvCompareKey(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key);
// lvCompareKey for a search: the first eight units are compared as two words against the
// key's prefix before the unit-by-unit rule takes the rest.  The stored name must have 16
// readable bytes from its start (the caller checks that once for a whole level).
inline int lvCompareKeyPrefix(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key);
// True when the stored name is the wanted one: equal units and a stored length equal to the
// wanted length, or to it plus one with a zero unit at the end.
inline bool lvNameMatches(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key);

// Stored name length for a wanted name (the writer's rule): 0 for null or empty, otherwise
// units + 1 for the terminator, at most 255 (then without the terminator).
unsigned lvStoredNameUnits(wchar_t const *name, size_t *nameLength);

// Stores `name` at p the way the writer keeps item names: its UTF-16 units up to its first zero,
// at most 255, then a zero terminator when it is shorter than 255 units (nothing for null or
// empty).  Returns the units of the name proper; w0 and w1 receive its first eight units as two
// little-endian words (zeros after the end): the level's sort key.
// lvStoreNameChunked narrows and stores four units at a time and may write up to 8 bytes beyond
// the stored name (the writer leaves that room behind the item); lvStoreNamePlain goes unit by
// unit and writes nothing beyond.  Both store the same bytes and give the same words (a fuzz
// target runs both over the same names).
inline unsigned lvStoreNameChunked(kr_uint8 *p, wchar_t const *name, uint64_t &w0, uint64_t &w1);
inline unsigned lvStoreNamePlain(kr_uint8 *p, wchar_t const *name, uint64_t &w0, uint64_t &w1);

// ---- inline definitions (the reader's binary search calls these for every probe) -------------

inline unsigned lvStoredUnit(kr_uint8 const *p, unsigned i) {
    return unsigned(p[2 * i]) | (unsigned(p[2 * i + 1]) << 8);
}

// Sign of the first differing unit of two little-endian unit arrays over n units; 0 when equal.
// Four units at a time: in little-endian order the lowest differing bit of the XOR lies in the
// first differing unit.
inline int lvCompareUnits(kr_uint8 const *a, kr_uint8 const *b, unsigned n) {
    unsigned i = 0;
    for (; i + 4 <= n; i += 4) {
        uint64_t x, y;
        std::memcpy(&x, a + 2 * i, 8);
        std::memcpy(&y, b + 2 * i, 8);
        if (x != y) {
            unsigned const k = i + unsigned(__builtin_ctzll(x ^ y)) / 16;
            return lvStoredUnit(a, k) < lvStoredUnit(b, k) ? -1 : 1;
        }
    }
    for (; i < n; ++i) {
        unsigned const ua = lvStoredUnit(a, i), ub = lvStoredUnit(b, i);
        if (ua != ub) return ua < ub ? -1 : 1;
    }
    return 0;
}

inline int lvCompareLengths(unsigned a, unsigned b) { return a == b ? 0 : (a < b ? -1 : 1); }

inline int lvCompareStored(kr_uint8 const *a, unsigned unitsA, kr_uint8 const *b, unsigned unitsB) {
    int const c = lvCompareUnits(a, b, unitsA < unitsB ? unitsA : unitsB);
    return c != 0 ? c : lvCompareLengths(unitsA, unitsB);
}

inline int lvCompareKey(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key) {
    auto const *k = reinterpret_cast<kr_uint8 const *>(key.units);
    int const c =
        lvCompareUnits(stored, k, storedUnits < key.keyUnits ? storedUnits : key.keyUnits);
    return c != 0 ? c : lvCompareLengths(storedUnits, key.keyUnits);
}

// Four little-endian units as one number with the first unit most significant: such numbers
// compare like the units, unsigned, position by position.
inline uint64_t lvUnitsKey(uint64_t le) {
    uint64_t const x = __builtin_bswap64(le);  // units reversed, the bytes of each swapped
    return ((x >> 8) & 0x00FF00FF00FF00FFull) | ((x & 0x00FF00FF00FF00FFull) << 8);
}

// Sign of the first differing unit of two little-endian words, over their units under `mask`.
inline int lvCompareWords(uint64_t a, uint64_t b, uint64_t mask) {
    uint64_t const diff = (a ^ b) & mask;
    if (diff == 0) return 0;
    unsigned const shift = unsigned(__builtin_ctzll(diff)) & ~15u;  // the first differing unit
    return ((a >> shift) & 0xFFFF) < ((b >> shift) & 0xFFFF) ? -1 : 1;
}

inline int lvCompareKeyPrefix(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key) {
    unsigned const n = storedUnits < key.keyUnits ? storedUnits : key.keyUnits;
    uint64_t a0, a1;
    std::memcpy(&a0, stored, 8);
    std::memcpy(&a1, stored + 8, 8);
    // Masks of the compared units in each word (n units in all).
    uint64_t const m0 = n >= 4 ? ~uint64_t(0) : (uint64_t(1) << (16 * n)) - 1;
    uint64_t const m1 = n >= 8 ? ~uint64_t(0) : (n <= 4 ? 0 : (uint64_t(1) << (16 * (n - 4))) - 1);
    int c = lvCompareWords(a0, key.prefix[0], m0);
    if (c == 0) c = lvCompareWords(a1, key.prefix[1], m1);
    if (c == 0 && n > 8)
        c = lvCompareUnits(stored + 16, reinterpret_cast<kr_uint8 const *>(key.units + 8), n - 8);
    return c != 0 ? c : lvCompareLengths(storedUnits, key.keyUnits);
}

inline bool lvNameMatches(kr_uint8 const *stored, unsigned storedUnits, LvKey const &key) {
    if (!key.fits) return false;
    unsigned const n = key.length;
    // units[n] is the zero terminator, so comparing n + 1 units checks "plus a zero at the end".
    if (storedUnits != n && storedUnits != n + 1) return false;
    return std::memcmp(stored, key.units, 2 * size_t(storedUnits)) == 0;
}

inline unsigned lvStoreNameChunked(kr_uint8 *p, wchar_t const *name, uint64_t &w0, uint64_t &w1) {
    // Each group is narrowed in a register and stored with one write; the zeros after the name's
    // end give the terminator.  The key words are taken from the registers: reading them back
    // from the buffer stalled on store forwarding.
    unsigned n = 0;
    w0 = w1 = 0;
    if (!name) return 0;
    for (;;) {
        unsigned const most = kLvMaxNameUnits - n < 4 ? kLvMaxNameUnits - n : 4;
        uint64_t w = 0;
        unsigned k = 0;
        for (; k < most; ++k) {
            wchar_t const c = name[n + k];
            if (c == 0) break;
            w |= uint64_t(uint16_t(c)) << (16 * k);
        }
        std::memcpy(p + 2 * n, &w, 8);
        if (n == 0) w0 = w;
        if (n == 4) w1 = w;
        n += k;
        if (k < 4 || n == kLvMaxNameUnits) return n;
    }
}

inline unsigned lvStoreNamePlain(kr_uint8 *p, wchar_t const *name, uint64_t &w0, uint64_t &w1) {
    unsigned n = 0;
    w0 = w1 = 0;
    if (!name) return 0;
    for (; n < kLvMaxNameUnits; ++n) {
        wchar_t const c = name[n];
        if (c == 0) break;
        auto const u = uint16_t(c);
        std::memcpy(p + 2 * n, &u, 2);
        if (n < 8) (n < 4 ? w0 : w1) |= uint64_t(u) << (16 * (n & 3));
    }
    if (n != 0 && n < kLvMaxNameUnits) p[2 * n] = p[2 * n + 1] = 0;
    return n;
}

}  // namespace orvik::detail

#endif
