// CKrByteArray: growable owned byte buffer.  See include/types/CKrByteArray.h for the contract.
#include "types/CKrByteArray.h"

#include <cstdint>
#include <cstring>

#include "strings/CKrAlloc.h"

namespace {

constexpr size_t kDefaultIncrement = 1024;
constexpr size_t kAlignment = 16;
// No allocator can hand out a block larger than this; asking for one is a caller's size bug.
constexpr size_t kMaxBlock = static_cast<size_t>(PTRDIFF_MAX);

inline size_t nonZero(size_t v) { return v == 0 ? 1 : v; }

}  // namespace

CKrByteArray::CKrByteArray()
    : m_pData(nullptr),
      m_currentOffset(0),
      m_size(0),
      m_allocated(0),
      m_increment(kDefaultIncrement) {}

CKrByteArray::CKrByteArray(size_t increment)
    : m_pData(nullptr), m_currentOffset(0), m_size(0), m_allocated(0), m_increment(increment) {}

CKrByteArray::CKrByteArray(void const *data, size_t size, size_t increment)
    : m_pData(nullptr),
      m_currentOffset(0),
      m_size(0),
      m_allocated(0),
      m_increment(nonZero(increment)) {
    if (size == 0 || size > kMaxBlock) return;
    m_pData = static_cast<kr_uint8 *>(CKrAlloc::ReAlloc(nullptr, size, 0, kAlignment));
    if (m_pData == nullptr) return;
    m_allocated = size;
    if (data != nullptr) {
        std::memcpy(m_pData, data, size);
        m_size = size;
    }
}

CKrByteArray::CKrByteArray(CKrByteArray const &other)
    : m_pData(nullptr),
      m_currentOffset(0),
      m_size(0),
      m_allocated(0),
      m_increment(nonZero(other.m_increment)) {
    size_t const size = other.GetSize();
    void const *src = other.GetData();
    if (size == 0) return;
    m_pData = static_cast<kr_uint8 *>(CKrAlloc::ReAlloc(nullptr, size, 0, kAlignment));
    if (m_pData == nullptr) return;
    m_allocated = size;
    if (src != nullptr) {
        std::memcpy(m_pData, src, size);
        m_size = size;
    }
}

CKrByteArray::CKrByteArray(CKrByteArray &&other) noexcept
    : m_pData(other.m_pData),
      m_currentOffset(other.m_currentOffset),
      m_size(other.m_size),
      m_allocated(other.m_allocated),
      m_increment(nonZero(other.m_increment)) {
    other.m_pData = nullptr;
    other.m_currentOffset = 0;
    other.m_size = 0;
    other.m_allocated = 0;
}

CKrByteArray::~CKrByteArray() { CKrAlloc::Free(m_pData); }

CKrByteArray &CKrByteArray::operator=(CKrByteArray const &other) {
    if (this == &other) return *this;  // FreeData would discard the source first
    FreeData();
    SetData(other.GetData(), other.GetSize(), ModeOpReplace, ModeAllocExact);
    return *this;
}

bool CKrByteArray::operator==(CKrByteArray const &other) const {
    size_t const size = GetSize();
    if (size != other.GetSize()) return false;
    if (size == 0) return true;
    return std::memcmp(GetData(), other.GetData(), size) == 0;
}

bool CKrByteArray::operator!=(CKrByteArray const &other) const { return !(*this == other); }

// Increment mode is the appending mode: a run of small appends would otherwise copy the whole
// block once per increment (quadratic time).  The block therefore gets hidden headroom, at
// least half its size again, and later growth within it needs no reallocation.  The allocated
// size the array reports, and every check, still follow the whole-increment rule; only the
// memory behind it is larger (at most 1.5 times, in this mode only).
void *CKrByteArray::growForAppending(size_t newSize) {
    size_t const block = CKrAlloc::Size(m_pData);  // 0 for no block or a foreign one
    if (m_pData != nullptr && newSize <= block) return m_pData;
    size_t headroom = block + block / 2;
    if (headroom > kMaxBlock || headroom < newSize) headroom = newSize;
    void *grown = CKrAlloc::ReAlloc(m_pData, headroom, 0, kAlignment);
    if (grown == nullptr && headroom != newSize)
        grown = CKrAlloc::ReAlloc(m_pData, newSize, 0, kAlignment);
    return grown;
}

int CKrByteArray::SetData(void const *data, size_t size, EKrByteArrayModeOp op,
                          EKrByteArrayModeAlloc alloc) {
    size_t const base = (op == ModeOpAppend) ? m_size : 0;
    size_t const room = m_allocated - base;  // base <= m_allocated always holds
    int result = 0;

    if (size > room && alloc != ModeAllocFixed) {
        size_t newSize = 0;
        if (alloc == ModeAllocIncrement) {
            // k whole increments, k = (base - allocated + size) / increment + 1.  An increment of
            // 0 (only possible through the increment constructor) is taken as 1.
            size_t const inc = nonZero(m_increment);
            size_t const q = (size - room) / inc;  // k = q + 1; q + 1 itself may overflow
            if (q >= (kMaxBlock - m_allocated) / inc) return -3;
            newSize = m_allocated + (q + 1) * inc;
        } else {
            if (size > kMaxBlock - base) return -3;
            newSize = base + size;
        }
        // Appending (part of) the array to itself: the source moves with the block.
        auto const src = reinterpret_cast<uintptr_t>(data);
        auto const start = reinterpret_cast<uintptr_t>(m_pData);
        bool const inBlock = m_pData != nullptr && src >= start && src < start + m_allocated;
        void *grown = nullptr;
        if (alloc == ModeAllocIncrement) {
            grown = growForAppending(newSize);
        } else {
            grown = CKrAlloc::ReAlloc(m_pData, newSize, 0, kAlignment);
        }
        if (grown != nullptr) {
            m_pData = static_cast<kr_uint8 *>(grown);
            if (inBlock) data = m_pData + (src - start);
            m_allocated = newSize;
        } else {
            result = -3;  // the old block stays
        }
    }

    if (data == nullptr) return result;

    size_t const fits = m_allocated - base;
    size_t const n = size < fits ? size : fits;
    if (n > 0) {
        std::memmove(m_pData + base, data, n);  // the source may lie in the block itself
        m_size = base + n;
        return n < size ? -8 : result;
    }
    return size != 0 ? -9 : result;
}

void CKrByteArray::FreeData() {
    CKrAlloc::Free(m_pData);
    m_pData = nullptr;
    m_currentOffset = 0;
    m_size = 0;
    m_allocated = 0;
    m_increment = nonZero(m_increment);
}

void CKrByteArray::SetIncrement(size_t increment) { m_increment = nonZero(increment); }

int CKrByteArray::SetCurrentOffset(size_t offset) {
    if (offset > m_allocated) return -4;
    m_currentOffset = offset;
    return 0;
}

int CKrByteArray::SetCurrentOffsetPtr(void *p) {
    if (p == nullptr || m_pData == nullptr) return -4;
    auto const addr = reinterpret_cast<uintptr_t>(p);
    auto const start = reinterpret_cast<uintptr_t>(m_pData);
    if (addr < start) return -4;
    return SetCurrentOffset(static_cast<size_t>(addr - start));
}

size_t CKrByteArray::GetCurrentOffset() const {
    return m_currentOffset > m_allocated ? 0 : m_currentOffset;
}

void *CKrByteArray::GetCurrentOffsetPtr() const {
    size_t const offset = GetCurrentOffset();
    if (m_pData == nullptr) return nullptr;  // no arithmetic on a null pointer
    return m_pData + offset;
}

void *CKrByteArray::GetData(size_t newSize) {
    if (newSize != 0 && newSize <= m_allocated) m_size = newSize;
    return m_pData;
}

void const *CKrByteArray::GetData() const { return m_pData; }

size_t CKrByteArray::GetSize() const { return m_size; }

void CKrByteArray::SetSize(size_t size) {
    if (size <= m_allocated) m_size = size;
}

size_t CKrByteArray::GetAllocated() const { return m_allocated; }

bool CKrByteArray::GetAllowed64BitsSeek() const { return false; }
