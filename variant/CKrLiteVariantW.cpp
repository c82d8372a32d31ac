// CKrLiteVariantW: the writer of the lite variant (layout in include/variant/CKrLiteVariantW.h).
#include "variant/CKrLiteVariantW.h"

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/internal/LvLayout.h"

using namespace orvik::detail;

namespace {

constexpr kr_uint64 kFirstAllocation = 4096;
constexpr size_t kFirstChildren = 256;  // the shared child stack starts here and doubles
constexpr int kLevelStep = 8;           // the level stack grows in whole multiples of 8
// Room for the head of any item: code, length byte and up to 255 name units.
constexpr kr_uint64 kMaxHeadBytes = kLvHeadBytes + 2 * kr_uint64(kLvMaxNameUnits);
// The name is stored four units at a time: the last group may reach this far past the head.
constexpr kr_uint64 kChunkSlack = 8;
// Levels up to this many children are sorted by insertion; longer ones by radix on the keys.
constexpr kr_uint32 kInsertionSortMax = 24;
// Levels written in at most this many runs of names in order are merged run by run.
constexpr kr_uint32 kMergeRunsMax = 16;

}  // namespace

CKrLiteVariantW::CKrLiteVariantW()
    : m_pData(nullptr),
      m_allocated(0),
      m_pos(0),
      m_levels(nullptr),
      m_levelCapacity(0),
      m_depth(-1),
      m_children(nullptr),
      m_childCount(0),
      m_childCapacity(0),
      m_scratch(nullptr),
      m_scratchCapacity(0) {}

CKrLiteVariantW::~CKrLiteVariantW() { release(); }

void CKrLiteVariantW::releaseStacks() {
    std::free(m_levels);
    m_levels = nullptr;
    m_levelCapacity = 0;
    std::free(m_children);
    m_children = nullptr;
    m_childCapacity = 0;
    std::free(m_scratch);
    m_scratch = nullptr;
    m_scratchCapacity = 0;
}

void CKrLiteVariantW::release() {
    releaseStacks();
    m_depth = -1;
    m_childCount = 0;
    CKrAlloc::Free(m_pData);
    m_pData = nullptr;
    m_allocated = 0;
    m_pos = 0;
}

// Makes room for `bytes` more bytes: 4096 at first, then doubling until the end fits.  The
// memory is not zero-filled here: every byte below m_pos is written before it is read, and
// Finalize zeroes the rest before the buffer leaves the writer (a zero fill of every new
// block cost a tenth of the writing time).
int CKrLiteVariantW::reserve(kr_uint64 bytes) {
    if (bytes > kLvMaxBufferSize || m_pos > kLvMaxBufferSize - bytes) return -3;
    kr_uint64 const need = m_pos + bytes;
    if (need <= m_allocated) return 0;
    kr_uint64 size = m_allocated ? m_allocated : kFirstAllocation;
    while (size < need) size *= 2;
    void *p = CKrAlloc::ReAlloc(m_pData, size_t(size), 0, 16);
    if (!p) return -3;
    m_pData = static_cast<kr_uint8 *>(p);
    m_allocated = size;
    return 0;
}

// Makes room for one more child of the open level; -3 when its count or memory runs out.
int CKrLiteVariantW::reserveChild() {
    if (m_levels[m_depth].count == 0xFFFFFFFFu) return -3;
    if (m_childCount < m_childCapacity) return 0;
    size_t const capacity = m_childCapacity ? 2 * m_childCapacity : kFirstChildren;
    void *p = std::realloc(m_children, sizeof(Child) * capacity);
    if (!p) return -3;
    m_children = static_cast<Child *>(p);
    m_childCapacity = capacity;
    return 0;
}

// Records the item whose head was just written at `item` as a child of the open level (room
// reserved by reserveChild).  w0 and w1 are the first eight units of its name as they were
// stored (little-endian, zeros after the name).  A child that sorts before the one written
// just before it starts a new run of children in name order (equal names keep their order).
inline void CKrLiteVariantW::addChild(kr_uint8 const *item, kr_uint64 w0, kr_uint64 w1) {
    Level &level = m_levels[m_depth];
    Child &child = m_children[m_childCount];
    child.hi = lvUnitsKey(w0);
    child.lo = lvUnitsKey(w1);
    child.offset = kr_uint64(item - m_pData) - level.start;
    if (level.count > 0) {
        Child const &prev = m_children[m_childCount - 1];
        bool descent;
        if (child.hi != prev.hi) {
            descent = child.hi < prev.hi;
        } else if (child.lo != prev.lo) {
            descent = child.lo < prev.lo;
        } else {
            kr_uint8 const *p = m_pData + level.start + prev.offset;
            descent = lvCompareStored(item + 2, item[1], p + 2, p[1]) < 0;
        }
        level.runs += descent && level.runs != 0xFFFFFFFFu;
    }
    ++m_childCount;
    ++level.count;
}

// Reserves the whole item, records it as a child and writes its head; returns where the value
// goes (null when memory ran out, nothing written).  The name is stored as UTF-16 units up to
// its first zero, at most 255, then a zero terminator when it is shorter than 255 units.
kr_uint8 *CKrLiteVariantW::writeHead(int type, wchar_t const *name, kr_uint64 valueBytes) {
    if (valueBytes > kLvMaxBufferSize) return nullptr;
    kr_uint64 const room = m_allocated - m_pos;
    bool const fast = room >= kMaxHeadBytes + kChunkSlack + valueBytes;
    if (!fast) {
        // Near the end of the memory: the exact size decides the growth (doubling from 4096
        // until the item fits), so measure the name first.
        unsigned const units = lvStoredNameUnits(name, nullptr);
        if (reserve(kLvHeadBytes + 2 * kr_uint64(units) + valueBytes) != 0) return nullptr;
    }
    if (m_depth >= 0 && reserveChild() != 0) return nullptr;
    kr_uint8 *const item = m_pData + m_pos;
    kr_uint8 *const p = item + kLvHeadBytes;
    // Far from the end the name goes four units at a time (the slack behind the item is
    // overwritten by its value); near it, unit by unit.
    uint64_t w0, w1;
    unsigned const n =
        fast ? lvStoreNameChunked(p, name, w0, w1) : lvStoreNamePlain(p, name, w0, w1);
    unsigned const units = n == 0 ? 0 : (n < kLvMaxNameUnits ? n + 1 : kLvMaxNameUnits);
    item[0] = kr_uint8(type);
    item[1] = kr_uint8(units);
    if (m_depth >= 0) addChild(item, w0, w1);
    kr_uint64 const headBytes = kLvHeadBytes + 2 * kr_uint64(units);
    m_pos += headBytes + valueBytes;
    return item + headBytes;
}

template <size_t Bytes>
int CKrLiteVariantW::setFixed(int type, void const *value, wchar_t const *name) {
    kr_uint8 *p = writeHead(type, name, Bytes);
    if (!p) return -3;
    std::memcpy(p, value, Bytes);
    return 0;
}

int CKrLiteVariantW::setUnits(wchar_t const *value, size_t length, wchar_t const *name) {
    kr_uint64 const bytes = (kr_uint64(length) + 1) * 2;
    kr_uint8 *p = writeHead(krLVT_STRING, name, bytes);
    if (!p) return -3;
    for (size_t i = 0; i < length; ++i, p += 2) {
        auto const u = uint16_t(value[i]);
        std::memcpy(p, &u, 2);
    }
    p[0] = p[1] = 0;
    return 0;
}

int CKrLiteVariantW::Set(bool value, wchar_t const *name) {
    kr_uint8 const b = value ? 1 : 0;
    return setFixed<1>(krLVT_BOOL, &b, name);
}
int CKrLiteVariantW::Set(int value, wchar_t const *name) {
    return setFixed<4>(krLVT_INT32, &value, name);
}
int CKrLiteVariantW::Set(unsigned int value, wchar_t const *name) {
    return setFixed<4>(krLVT_UINT32, &value, name);
}
int CKrLiteVariantW::Set(kr_int64 value, wchar_t const *name) {
    return setFixed<8>(krLVT_INT64, &value, name);
}
int CKrLiteVariantW::Set(kr_uint64 value, wchar_t const *name) {
    return setFixed<8>(krLVT_UINT64, &value, name);
}
int CKrLiteVariantW::Set(long long value, wchar_t const *name) {
    return Set(static_cast<kr_int64>(value), name);
}
int CKrLiteVariantW::Set(unsigned long long value, wchar_t const *name) {
    return Set(static_cast<kr_uint64>(value), name);
}
int CKrLiteVariantW::Set(double value, wchar_t const *name) {
    return setFixed<8>(krLVT_DOUBLE, &value, name);
}
int CKrLiteVariantW::Set(void *value, wchar_t const *name) {
    kr_uint64 const bits = reinterpret_cast<uintptr_t>(value);
    return setFixed<8>(krLVT_VOIDPTR, &bits, name);
}
int CKrLiteVariantW::Set(wchar_t const *value, wchar_t const *name) {
    return setUnits(value ? value : L"", value ? std::wcslen(value) : 0, name);
}
int CKrLiteVariantW::Set(CKrStringW const &value, wchar_t const *name) {
    wchar_t const *s = value.GetString();
    return setUnits(s, std::wcslen(s), name);
}
int CKrLiteVariantW::Set(CKrByteArray const &value, wchar_t const *name) {
    return Set(value.GetData(), value.GetSize(), name);
}
int CKrLiteVariantW::Set(void const *data, kr_uint64 size, wchar_t const *name) {
    if (!data && size) return -4;
    if (size > kLvMaxBufferSize) return -3;
    kr_uint8 *p = writeHead(krLVT_BLOB, name, kLvBlobLengthBytes + size);
    if (!p) return -3;
    std::memcpy(p, &size, 8);
    if (size) std::memcpy(p + 8, data, size_t(size));
    return 0;
}

int CKrLiteVariantW::LevelBegin(wchar_t const *name) {
    if (m_depth < 0 && m_pos != 0) return -9;
    if (m_depth + 1 == m_levelCapacity) {
        int const capacity = m_levelCapacity + kLevelStep;
        void *p = std::realloc(m_levels, sizeof(Level) * size_t(capacity));
        if (!p) return -3;
        m_levels = static_cast<Level *>(p);
        m_levelCapacity = capacity;
    }
    kr_uint64 const start = m_pos;
    if (!writeHead(krLVT_LEVEL, name, kLvLevelFieldBytes)) return -3;
    m_levels[++m_depth] = Level{start, m_childCount, 0, 1};
    return 0;
}

// Puts the children of `level` (the innermost open one) in the order of the index: by name,
// equal names in writing order.  Returns the sorted children: in place, or in m_scratch.
// Short levels are sorted by insertion.  Levels written in a few runs of names in order (the
// common numbered names: t0 ... t9, t10 ... t99, t100 ...) are merged run by run.  Others go
// through a least-significant-digit radix sort over the bytes of the keys in which the
// children differ (stable: equal keys keep writing order), after which runs of equal keys,
// whose names may still differ beyond the eighth unit, are put in order by insertion.
CKrLiteVariantW::Child const *CKrLiteVariantW::sortChildren(Level const &level) {
    Child *const a = m_children + level.first;
    kr_uint32 const n = level.count;
    kr_uint8 const *const base = m_pData + level.start;
    // The order of the index on two children: keys first, the stored names on equal keys.
    auto const fullLess = [base](Child const &x, Child const &y) {
        kr_uint8 const *px = base + x.offset, *py = base + y.offset;
        return lvCompareStored(px + 2, px[1], py + 2, py[1]) < 0;
    };
    auto const less = [&](Child const &x, Child const &y) {
        if (x.hi != y.hi) return x.hi < y.hi;
        if (x.lo != y.lo) return x.lo < y.lo;
        return fullLess(x, y);
    };
    auto const insertionSort = [&](Child *first, Child *last) {
        for (Child *i = first + 1; i < last; ++i) {
            Child const c = *i;
            Child *j = i;
            for (; j > first && less(c, j[-1]); --j) *j = j[-1];
            *j = c;
        }
    };
    if (n <= kInsertionSortMax) {
        insertionSort(a, a + n);
        return a;
    }
    if (level.runs <= kMergeRunsMax) {
        // Bottom-up merges of neighbouring runs in place: the left run of a pair is moved to the
        // scratch array and merged back; what is left of the right run is in place already,
        // and a run without a partner is not touched.
        kr_uint32 bounds[kMergeRunsMax + 1];
        kr_uint32 runs = 0;
        bounds[runs++] = 0;
        for (kr_uint32 i = 1; i < n; ++i)
            if (less(a[i], a[i - 1])) bounds[runs++] = i;  // the same descents addChild counted
        bounds[runs] = n;
        while (runs > 1) {
            kr_uint32 merged = 0;
            for (kr_uint32 r = 0; r < runs; r += 2) {
                if (r + 1 < runs) {
                    Child *const left = a + bounds[r], *const right = a + bounds[r + 1];
                    std::memcpy(m_scratch, left, sizeof(Child) * size_t(right - left));
                    Child const *x = m_scratch, *const xEnd = m_scratch + (right - left);
                    Child const *y = right, *const yEnd = a + bounds[r + 2];
                    Child *out = left;  // never passes y: it has taken only what x and y gave
                    while (x != xEnd && y != yEnd) *out++ = less(*y, *x) ? *y++ : *x++;
                    while (x != xEnd) *out++ = *x++;
                }
                bounds[merged++] = bounds[r];
            }
            bounds[merged] = n;
            runs = merged;
        }
        return a;
    }
    uint64_t orHi = 0, andHi = ~uint64_t(0), orLo = 0, andLo = ~uint64_t(0);
    for (kr_uint32 i = 0; i < n; ++i) {
        orHi |= a[i].hi, andHi &= a[i].hi;
        orLo |= a[i].lo, andLo &= a[i].lo;
    }
    uint64_t const varies[2] = {orLo ^ andLo, orHi ^ andHi};  // bytes in which keys differ
    Child *src = a, *dst = m_scratch;
    for (int digit = 0; digit < 16; ++digit) {  // least significant byte first
        unsigned const shift = 8 * unsigned(digit & 7);
        if (((varies[digit >> 3] >> shift) & 0xFF) == 0) continue;
        kr_uint64 Child::*const field = digit < 8 ? &Child::lo : &Child::hi;
        kr_uint32 position[256] = {};
        for (kr_uint32 i = 0; i < n; ++i) ++position[(src[i].*field >> shift) & 0xFF];
        kr_uint32 sum = 0;
        for (kr_uint32 &p : position) {
            kr_uint32 const c = p;
            p = sum;
            sum += c;
        }
        for (kr_uint32 i = 0; i < n; ++i) dst[position[(src[i].*field >> shift) & 0xFF]++] = src[i];
        std::swap(src, dst);
    }
    for (kr_uint32 i = 0; i < n;) {
        kr_uint32 j = i + 1;
        while (j < n && src[j].hi == src[i].hi && src[j].lo == src[i].lo) ++j;
        if (j - i > 1) insertionSort(src + i, src + j);
        i = j;
    }
    return src;
}

int CKrLiteVariantW::LevelEnd() {
    if (m_depth < 0) return -9;
    Level &level = m_levels[m_depth];
    kr_uint64 const indexBytes = kr_uint64(level.count) * kLvIndexEntryBytes;
    if (reserve(indexBytes) != 0) return -3;
    if (level.runs > 1 && level.count > kInsertionSortMax && m_scratchCapacity < level.count) {
        void *p = std::realloc(m_scratch, sizeof(Child) * level.count);
        if (!p) return -3;
        m_scratch = static_cast<Child *>(p);
        m_scratchCapacity = level.count;
    }
    kr_uint8 *const base = m_pData + level.start;
    kr_uint64 const levelSize = m_pos - level.start;
    kr_uint8 *fields = base + kLvHeadBytes + 2 * kr_uint64(base[1]);
    std::memcpy(fields, &level.count, 4);
    std::memcpy(fields + 4, &levelSize, 8);
    // The index: children sorted by name; equal names keep their writing order, so that the
    // first written of equally named items is the one a search finds.
    Child const *const begin = level.runs > 1 ? sortChildren(level) : m_children + level.first;
    Child const *const end = begin + level.count;
    kr_uint8 *index = m_pData + m_pos;
    for (Child const *c = begin; c != end; ++c, index += kLvIndexEntryBytes)
        std::memcpy(index, &c->offset, kLvIndexEntryBytes);
    m_pos += indexBytes;
    m_childCount = level.first;
    if (--m_depth < 0) releaseStacks();
    return 0;
}

void *CKrLiteVariantW::Finalize(CKrLiteVariantR &target, int compress) {
    while (m_depth >= 0)
        if (LevelEnd() != 0) return nullptr;  // out of memory: nothing handed over
    // The memory beyond the data leaves the writer zero-filled, as CKrAlloc gives it.
    if (m_pData) std::memset(m_pData + m_pos, 0, size_t(m_allocated - m_pos));
    if (compress == 1) {
        kr_uint64 const plain = m_pos;
        auto const allocated = kr_uint64(double(plain) * 1.2 + 24);
        auto *envelope =
            static_cast<kr_uint8 *>(CKrAlloc::Alloc(CKrAlloc::kZeroFill, size_t(allocated), 16));
        if (!envelope) return nullptr;
        std::memcpy(envelope, kLvEnvelopeMark, 4);
        std::memcpy(envelope + 4, &plain, 8);
        // The output room offered is the plain size: data that does not shrink fails here.
        uLongf packed = uLongf(plain);
        if (plain == 0 || compress2(envelope + kLvEnvelopeHeadBytes, &packed, m_pData, uLong(plain),
                                    kLvCompressLevel) != Z_OK) {
            CKrAlloc::Free(envelope);
            return nullptr;
        }
        CKrAlloc::Free(m_pData);
        m_pData = nullptr;
        m_allocated = m_pos = 0;
        target.SetPointer(envelope, kLvEnvelopeHeadBytes + packed, allocated);
        return target.GetPointer();
    }
    kr_uint8 *data = m_pData;
    kr_uint64 const size = m_pos, allocated = m_allocated;
    m_pData = nullptr;
    m_allocated = m_pos = 0;
    target.SetPointer(data, size, allocated);
    return target.GetPointer();
}
