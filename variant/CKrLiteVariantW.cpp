// CKrLiteVariantW: the writer of the lite variant (layout in include/variant/CKrLiteVariantW.h).
#include "variant/CKrLiteVariantW.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <vector>

#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/internal/LvLayout.h"

using namespace orvik::detail;

namespace {

constexpr kr_uint64 kFirstAllocation = 4096;
constexpr kr_uint32 kChildStep = 32;  // child offset arrays start at and grow by 32 entries
constexpr int kLevelStep = 8;         // the level stack grows in whole multiples of 8

}  // namespace

CKrLiteVariantW::CKrLiteVariantW()
    : m_pData(nullptr),
      m_allocated(0),
      m_pos(0),
      m_levels(nullptr),
      m_levelCapacity(0),
      m_depth(-1) {}

CKrLiteVariantW::~CKrLiteVariantW() { release(); }

void CKrLiteVariantW::release() {
    for (int i = 0; i <= m_depth; ++i) std::free(m_levels[i].children);
    std::free(m_levels);
    m_levels = nullptr;
    m_levelCapacity = 0;
    m_depth = -1;
    CKrAlloc::Free(m_pData);
    m_pData = nullptr;
    m_allocated = 0;
    m_pos = 0;
}

// Makes room for `bytes` more bytes: 4096 at first, then doubling until the end fits.
int CKrLiteVariantW::reserve(kr_uint64 bytes) {
    if (bytes > kLvMaxBufferSize || m_pos > kLvMaxBufferSize - bytes) return -3;
    kr_uint64 const need = m_pos + bytes;
    if (need <= m_allocated) return 0;
    kr_uint64 size = m_allocated ? m_allocated : kFirstAllocation;
    while (size < need) size *= 2;
    void *p = CKrAlloc::ReAlloc(m_pData, size_t(size), CKrAlloc::kZeroFill, 16);
    if (!p) return -3;
    m_pData = static_cast<kr_uint8 *>(p);
    m_allocated = size;
    return 0;
}

// Records the item about to be written at m_pos as a child of the open level, with its sort
// key.  Keys pad names shorter than eight units with zeros; that keeps the order because a name
// written here holds no zero unit before its terminator (names end at their first zero).
int CKrLiteVariantW::addChild(wchar_t const *name, size_t nameLength) {
    if (m_depth < 0) return 0;
    Level &level = m_levels[m_depth];
    if (level.count == 0xFFFFFFFFu) return -3;
    if (level.count == level.capacity) {
        // The array grows by 32 entries; the memory beneath it doubles, so that levels of
        // thousands of children do not copy their entries hundreds of times.
        kr_uint32 const capacity = level.capacity + kChildStep;
        if (capacity > level.reserved) {
            kr_uint32 const reserved = std::max(capacity, level.reserved * 2);
            void *p = std::realloc(level.children, sizeof(Child) * reserved);
            if (!p) return -3;
            level.children = static_cast<Child *>(p);
            level.reserved = reserved;
        }
        level.capacity = capacity;
    }
    // Two halves kept in registers: built in a stack array and read back as one 16-byte entry,
    // they stalled on store forwarding for a fifth of the writer's time.
    uint64_t hi = 0, lo = 0;
    size_t const units = nameLength < 8 ? nameLength : 8;
    size_t const first = units < 4 ? units : 4;
    for (size_t u = 0; u < first; ++u) hi |= uint64_t(name[u] & 0xFFFF) << (48 - 16 * u);
    for (size_t u = 4; u < units; ++u) lo |= uint64_t(name[u] & 0xFFFF) << (48 - 16 * (u - 4));
    Child &child = level.children[level.count++];
    child.hi = hi;
    child.lo = lo;
    child.offset = m_pos - level.start;
    return 0;
}

// Reserves the whole item, records it as a child and writes its head; returns where the value
// goes (null when memory ran out, nothing written).
kr_uint8 *CKrLiteVariantW::writeHead(int type, wchar_t const *name, kr_uint64 valueBytes) {
    size_t nameLength = 0;
    unsigned const units = lvStoredNameUnits(name, &nameLength);
    kr_uint64 const headBytes = kLvHeadBytes + 2 * kr_uint64(units);
    if (valueBytes > kLvMaxBufferSize || reserve(headBytes + valueBytes) != 0) return nullptr;
    if (addChild(name, nameLength) != 0) return nullptr;
    kr_uint8 *p = m_pData + m_pos;
    p[0] = kr_uint8(type);
    p[1] = kr_uint8(units);
    p += 2;
    // The name proper, then its terminator when it has room (zero-filled buffer: write it
    // anyway).  units is nameLength + 1, or 255 for a name cut there.
    unsigned const proper = units < nameLength ? units : unsigned(nameLength);
    for (unsigned i = 0; i < proper; ++i, p += 2) {
        unsigned const u = unsigned(name[i]) & 0xFFFFu;
        p[0] = kr_uint8(u);
        p[1] = kr_uint8(u >> 8);
    }
    if (proper < units) {
        p[0] = p[1] = 0;
        p += 2;
    }
    m_pos += headBytes + valueBytes;
    return p;
}

int CKrLiteVariantW::setFixed(int type, void const *value, kr_uint64 bytes, wchar_t const *name) {
    kr_uint8 *p = writeHead(type, name, bytes);
    if (!p) return -3;
    std::memcpy(p, value, size_t(bytes));
    return 0;
}

int CKrLiteVariantW::setUnits(wchar_t const *value, size_t length, wchar_t const *name) {
    kr_uint64 const bytes = (kr_uint64(length) + 1) * 2;
    kr_uint8 *p = writeHead(krLVT_STRING, name, bytes);
    if (!p) return -3;
    for (size_t i = 0; i < length; ++i, p += 2) {
        unsigned const u = unsigned(value[i]) & 0xFFFFu;
        p[0] = kr_uint8(u);
        p[1] = kr_uint8(u >> 8);
    }
    p[0] = p[1] = 0;
    return 0;
}

int CKrLiteVariantW::Set(bool value, wchar_t const *name) {
    kr_uint8 const b = value ? 1 : 0;
    return setFixed(krLVT_BOOL, &b, 1, name);
}
int CKrLiteVariantW::Set(int value, wchar_t const *name) {
    return setFixed(krLVT_INT32, &value, 4, name);
}
int CKrLiteVariantW::Set(unsigned int value, wchar_t const *name) {
    return setFixed(krLVT_UINT32, &value, 4, name);
}
int CKrLiteVariantW::Set(kr_int64 value, wchar_t const *name) {
    return setFixed(krLVT_INT64, &value, 8, name);
}
int CKrLiteVariantW::Set(kr_uint64 value, wchar_t const *name) {
    return setFixed(krLVT_UINT64, &value, 8, name);
}
int CKrLiteVariantW::Set(long long value, wchar_t const *name) {
    return Set(static_cast<kr_int64>(value), name);
}
int CKrLiteVariantW::Set(unsigned long long value, wchar_t const *name) {
    return Set(static_cast<kr_uint64>(value), name);
}
int CKrLiteVariantW::Set(double value, wchar_t const *name) {
    return setFixed(krLVT_DOUBLE, &value, 8, name);
}
int CKrLiteVariantW::Set(void *value, wchar_t const *name) {
    kr_uint64 const bits = reinterpret_cast<uintptr_t>(value);
    return setFixed(krLVT_VOIDPTR, &bits, 8, name);
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
    auto *children = static_cast<Child *>(std::malloc(sizeof(Child) * kChildStep));
    if (!children) return -3;
    kr_uint64 const start = m_pos;
    if (!writeHead(krLVT_LEVEL, name, kLvLevelFieldBytes)) {
        std::free(children);
        return -3;
    }
    m_levels[++m_depth] = Level{start, children, kChildStep, 0, kChildStep};
    return 0;
}

int CKrLiteVariantW::LevelEnd() {
    if (m_depth < 0) return -9;
    Level &level = m_levels[m_depth];
    kr_uint64 const indexBytes = kr_uint64(level.count) * kLvIndexEntryBytes;
    if (reserve(indexBytes) != 0) return -3;
    kr_uint8 *const base = m_pData + level.start;
    kr_uint64 const levelSize = m_pos - level.start;
    kr_uint8 *fields = base + kLvHeadBytes + 2 * kr_uint64(base[1]);
    std::memcpy(fields, &level.count, 4);
    std::memcpy(fields + 4, &levelSize, 8);
    // The index: children sorted by name; equal names keep their writing order, so that the
    // first written of equally named items is the one a search finds.  Most comparisons end
    // at the keys; equal keys compare the stored names in full.
    Child *const begin = level.children, *const end = begin + level.count;
    auto const less = [base](Child const &a, Child const &b) {
        if (a.hi != b.hi) return a.hi < b.hi;
        if (a.lo != b.lo) return a.lo < b.lo;
        kr_uint8 const *pa = base + a.offset, *pb = base + b.offset;
        int const c = lvCompareStored(pa + 2, pa[1], pb + 2, pb[1]);
        return c < 0 || (c == 0 && a.offset < b.offset);
    };
    // A merge sort: on levels of numbered names (t0, t1, ... t10, ...) std::sort was measured
    // falling back to its heap sort, at a third more time for the whole record.
    if (!std::is_sorted(begin, end, less)) std::stable_sort(begin, end, less);  // often in order
    kr_uint8 *index = m_pData + m_pos;
    for (Child const *c = begin; c != end; ++c, index += kLvIndexEntryBytes)
        std::memcpy(index, &c->offset, kLvIndexEntryBytes);
    m_pos += indexBytes;
    std::free(level.children);
    if (--m_depth < 0) {
        std::free(m_levels);
        m_levels = nullptr;
        m_levelCapacity = 0;
    }
    return 0;
}

void *CKrLiteVariantW::Finalize(CKrLiteVariantR &target, int compress) {
    while (m_depth >= 0)
        if (LevelEnd() != 0) return nullptr;  // out of memory: nothing handed over
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
