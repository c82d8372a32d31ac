// CKrLiteVariantR: buffer ownership, read state, navigation, Find and the typed getters.
#include "variant/CKrLiteVariantR.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <type_traits>

#include "strings/CKrAlloc.h"
#include "variant/CKrVariant.h"
#include "variant/internal/LvReader.h"

using namespace orvik::detail;

// ---- buffer ----------------------------------------------------------------------------------

CKrLiteVariantR::CKrLiteVariantR()
    : m_pData(nullptr),
      m_size(0),
      m_allocated(0),
      m_pos(0),
      m_depth(-1),
      m_levelCapacity(kInlineLevels),
      m_levels(m_inline),
      m_inline{},
      m_unreadable(false) {}

CKrLiteVariantR::CKrLiteVariantR(CKrLiteVariantR const &other) : CKrLiteVariantR() {
    copyFrom(other);
}

CKrLiteVariantR &CKrLiteVariantR::operator=(CKrLiteVariantR const &other) {
    if (this != &other) copyFrom(other);
    return *this;
}

CKrLiteVariantR::CKrLiteVariantR(CKrLiteVariantR &&other) noexcept : CKrLiteVariantR() {
    *this = std::move(other);
}

CKrLiteVariantR &CKrLiteVariantR::operator=(CKrLiteVariantR &&other) noexcept {
    if (this != &other) {
        kr_uint64 const size = other.m_size, allocated = other.m_allocated;
        SetPointer(other.ClearPointer(), size, allocated);
    }
    return *this;
}

CKrLiteVariantR::~CKrLiteVariantR() {
    CKrAlloc::Free(m_pData);
    if (m_levels != m_inline) std::free(m_levels);
}

void CKrLiteVariantR::copyFrom(CKrLiteVariantR const &other) {
    void *copy = nullptr;
    if (other.m_pData && other.m_size) {
        copy = CKrAlloc::Alloc(CKrAlloc::kZeroFill, size_t(other.m_size), 16);
        if (copy) std::memcpy(copy, other.m_pData, size_t(other.m_size));
    }
    SetPointer(copy, copy ? other.m_size : 0, copy ? other.m_size : 0);
}

void CKrLiteVariantR::SetPointer(void *data, kr_uint64 size, kr_uint64 allocated) {
    if (data != m_pData) CKrAlloc::Free(m_pData);
    m_pData = static_cast<kr_uint8 *>(data);
    m_size = data ? size : 0;
    m_allocated = data ? (allocated < size ? size : allocated) : 0;
    m_unreadable = false;
    resetState();
}

void CKrLiteVariantR::Clear() { SetPointer(nullptr, 0, 0); }

void *CKrLiteVariantR::ClearPointer() {
    void *data = m_pData;
    m_pData = nullptr;
    SetPointer(nullptr, 0, 0);
    return data;
}

void CKrLiteVariantR::resetState() {
    m_pos = 0;
    m_depth = -1;
}

kr_uint64 CKrLiteVariantR::levelLimit() const {
    return m_depth < 0 ? m_size : m_levels[m_depth].childrenEnd;
}

// Enters the level item at `at` (checked to lie within the current level).
bool CKrLiteVariantR::pushLevel(kr_uint64 at) {
    LvItem item;
    if (!lvParseItem(m_pData, levelLimit(), at, item) || item.type != krLVT_LEVEL) return false;
    if (m_depth + 1 == m_levelCapacity) {
        // Deeper than the inline stack: grow on the heap in multiples of 8 entries.
        int const capacity = m_levelCapacity + 8;
        auto *p = static_cast<Level *>(std::malloc(sizeof(Level) * size_t(capacity)));
        if (!p) return false;
        std::memcpy(p, m_levels, sizeof(Level) * size_t(m_levelCapacity));
        if (m_levels != m_inline) std::free(m_levels);
        m_levels = p;
        m_levelCapacity = capacity;
    }
    m_levels[++m_depth] = Level{at, item.valueOffset, at + item.levelSize, item.count};
    m_pos = item.valueOffset;
    return true;
}

// ---- navigation ------------------------------------------------------------------------------

void CKrLiteVariantR::Reset() { resetState(); }

int CKrLiteVariantR::FirstValue() {
    if (!plain()) return -9;
    m_pos = m_depth < 0 ? 0 : m_levels[m_depth].first;
    LvItem item;
    return lvParseHead(m_pData, levelLimit(), m_pos, item) ? 0 : -9;
}

int CKrLiteVariantR::NextValue() {
    if (!plain()) return -9;
    LvItem item, next;
    kr_uint64 const limit = levelLimit();
    if (!lvParseItem(m_pData, limit, m_pos, item) || !lvParseHead(m_pData, limit, item.end, next))
        return -9;
    m_pos = item.end;
    return 0;
}

bool CKrLiteVariantR::IsNextValue() {
    if (!plain()) return false;
    LvItem item, next;
    kr_uint64 const limit = levelLimit();
    return lvParseItem(m_pData, limit, m_pos, item) && lvParseHead(m_pData, limit, item.end, next);
}

int CKrLiteVariantR::LevelBegin(wchar_t const *name, unsigned int *count) {
    kr_int64 const at = Find(name);
    if (at < 0 || !pushLevel(kr_uint64(at))) return -9;
    if (count) *count = m_levels[m_depth].count;
    return 0;
}

int CKrLiteVariantR::CurrentLevelBegin(unsigned int *count) {
    if (!plain() || !pushLevel(m_pos)) return -9;
    if (count) *count = m_levels[m_depth].count;
    return 0;
}

int CKrLiteVariantR::LevelEnd() {
    if (m_depth < 0) return -9;
    Level const &level = m_levels[m_depth--];
    // The level item was parsed when entered: its end lies within the parent.
    m_pos = level.childrenEnd + kr_uint64(level.count) * kLvIndexEntryBytes;
    return 0;
}

int CKrLiteVariantR::GetCurrentType() {
    LvItem item;
    if (!plain() || !lvParseHead(m_pData, levelLimit(), m_pos, item)) return krLVT_NONE;
    return item.type;
}

CKrStringW CKrLiteVariantR::GetCurrentName() {
    LvItem item;
    if (!plain() || !lvParseHead(m_pData, levelLimit(), m_pos, item)) return CKrStringW();
    return CKrStringW(lvName(m_pData, item));
}

// ---- Find --------------------------------------------------------------------------------------

// The name in the current level: the item at the position when it has the name, else a binary
// search of the level's index.  Every probe is bounded by the level.
kr_int64 CKrLiteVariantR::findInLevel(wchar_t const *name, size_t length) {
    LvKey key;
    lvMakeKey(name, length, key);
    kr_uint64 const limit = levelLimit();
    LvItem item;
    if (lvParseHead(m_pData, limit, m_pos, item) &&
        lvNameMatches(m_pData + item.nameOffset, item.nameUnits, key))
        return kr_int64(m_pos);
    if (m_depth < 0 || !key.fits) return -9;
    Level const &level = m_levels[m_depth];
    kr_uint8 const *const index = m_pData + level.childrenEnd;  // count entries, checked at entry
    kr_uint8 const *const children = m_pData + level.first;
    kr_uint64 const firstRel = level.first - level.start;    // index entries are from the start
    kr_uint64 const span = level.childrenEnd - level.first;  // the children's bytes
    // The head of the child that entry i names, or null when the entry points outside the
    // level or the child's name does not fit in it.
    auto const headAt = [&](kr_uint32 i) -> kr_uint8 const * {
        kr_uint64 const at = lvLoad64(index + kr_uint64(i) * kLvIndexEntryBytes) - firstRel;
        if (at >= span || span - at < kLvHeadBytes) return nullptr;  // also when it wrapped
        kr_uint8 const *head = children + at;
        return 2 * kr_uint64(head[1]) <= span - at - kLvHeadBytes ? head : nullptr;
    };
    // Lower bound of the wanted name in its stored form.  With two entries or more, the index
    // (16 bytes or more) follows every name of the level, so 16 bytes can be read from any
    // name start: the prefix comparison applies.
    kr_uint32 lo = 0, hi = level.count;
    if (level.count >= 2) {
        while (lo < hi) {
            kr_uint32 const mid = lo + (hi - lo) / 2;
            kr_uint8 const *head = headAt(mid);
            if (!head) return -9;  // an entry pointing outside the level
            if (lvCompareKeyPrefix(head + kLvHeadBytes, head[1], key) < 0)
                lo = mid + 1;
            else
                hi = mid;
        }
    } else {
        while (lo < hi) {
            kr_uint32 const mid = lo + (hi - lo) / 2;
            kr_uint8 const *head = headAt(mid);
            if (!head) return -9;
            if (lvCompareKey(head + kLvHeadBytes, head[1], key) < 0)
                lo = mid + 1;
            else
                hi = mid;
        }
    }
    kr_uint8 const *head;
    if (lo < level.count && (head = headAt(lo)) != nullptr &&
        lvNameMatches(head + kLvHeadBytes, head[1], key))
        return kr_int64(head - m_pData);
    // A name stored without its terminator sorts just before the terminated form.
    if (lo > 0 && (head = headAt(lo - 1)) != nullptr &&
        lvNameMatches(head + kLvHeadBytes, head[1], key))
        return kr_int64(head - m_pData);
    return -9;
}

kr_int64 CKrLiteVariantR::Find(wchar_t const *name) {
    if (!plain() || !name) return -9;
    if (name[0] != L'\\') return findInLevel(name, SIZE_MAX);  // to its end
    resetState();
    wchar_t const *component = name + 1;
    for (wchar_t const *slash; (slash = std::wcschr(component, L'\\')) != nullptr;
         component = slash + 1) {
        kr_int64 const at = findInLevel(component, size_t(slash - component));
        if (at < 0 || !pushLevel(kr_uint64(at))) {
            resetState();
            return -9;
        }
    }
    kr_int64 const at = findInLevel(component, SIZE_MAX);
    if (at < 0) resetState();
    return at;
}

kr_int64 CKrLiteVariantR::findValue(wchar_t const *name) {
    kr_int64 const at = Find(name);
    if (at < 0) return -9;
    LvItem item;
    if (!lvParseItem(m_pData, levelLimit(), kr_uint64(at), item)) return -9;
    m_pos = item.end;
    return at;
}

bool CKrLiteVariantR::IsValueSet(wchar_t const *name) { return Find(name) >= 0; }

// ---- typed values ------------------------------------------------------------------------------

namespace {

template <class T>
constexpr int codeOf() {
    if constexpr (std::is_same_v<T, bool>) return krLVT_BOOL;
    if constexpr (std::is_same_v<T, int>) return krLVT_INT32;
    if constexpr (std::is_same_v<T, unsigned int>) return krLVT_UINT32;
    if constexpr (std::is_same_v<T, kr_int64>) return krLVT_INT64;
    if constexpr (std::is_same_v<T, kr_uint64>) return krLVT_UINT64;
    if constexpr (std::is_same_v<T, double>) return krLVT_DOUBLE;
    if constexpr (std::is_same_v<T, void *>) return krLVT_VOIDPTR;
    return krLVT_NONE;
}

// Reads a scalar of type T from a parsed item: directly when the stored type is T's, otherwise
// through the variant's conversions.  False when the variant cannot convert (or for a level).
template <class T>
bool readScalar(kr_uint8 const *data, LvItem const &item, T &out) {
    kr_uint8 const *v = data + item.valueOffset;
    if (item.type == codeOf<T>()) {
        if constexpr (std::is_same_v<T, bool>) {
            out = *v != 0;
        } else if constexpr (std::is_same_v<T, void *>) {
            out = reinterpret_cast<void *>(uintptr_t(lvLoad64(v)));
        } else {
            std::memcpy(&out, v, sizeof(T));
        }
        return true;
    }
    CKrVariant value;
    if (!lvScalarToVariant(data, item, value)) return false;
    bool ok = false;
    T converted;
    if constexpr (std::is_same_v<T, bool>) converted = value.GetBool(&ok);
    if constexpr (std::is_same_v<T, int>) converted = value.GetKr_int32(&ok);
    if constexpr (std::is_same_v<T, unsigned int>) converted = value.GetKr_uint32(&ok);
    if constexpr (std::is_same_v<T, kr_int64>) converted = value.GetKr_int64(&ok);
    if constexpr (std::is_same_v<T, kr_uint64>) converted = value.GetKr_uint64(&ok);
    if constexpr (std::is_same_v<T, double>) converted = value.GetDouble(&ok);
    if constexpr (std::is_same_v<T, void *>) converted = value.GetVoidPtr(&ok);
    if (!ok) return false;
    out = converted;
    return true;
}

}  // namespace

#define KR_LV_TYPED_GET(T)                                                           \
    T CKrLiteVariantR::Get(wchar_t const *name, T def) {                             \
        kr_int64 const at = findValue(name);                                         \
        LvItem item;                                                                 \
        T value;                                                                     \
        if (at >= 0 && lvParseItem(m_pData, m_size, kr_uint64(at), item) &&          \
            readScalar(m_pData, item, value))                                        \
            return value;                                                            \
        return def;                                                                  \
    }                                                                                \
    int CKrLiteVariantR::GetCurrentValue(T &out) {                                   \
        LvItem item;                                                                 \
        if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9; \
        return readScalar(m_pData, item, out) ? 0 : -9;                              \
    }
KR_LV_TYPED_GET(bool)
KR_LV_TYPED_GET(int)
KR_LV_TYPED_GET(unsigned int)
KR_LV_TYPED_GET(kr_int64)
KR_LV_TYPED_GET(kr_uint64)
KR_LV_TYPED_GET(double)
KR_LV_TYPED_GET(void *)
#undef KR_LV_TYPED_GET

long long CKrLiteVariantR::Get(wchar_t const *name, long long def) {
    return Get(name, static_cast<kr_int64>(def));
}
unsigned long long CKrLiteVariantR::Get(wchar_t const *name, unsigned long long def) {
    return Get(name, static_cast<kr_uint64>(def));
}

namespace {

int copyRaw(kr_uint8 const *data, LvItem const &item, void *buffer, kr_uint64 size) {
    if (item.type == krLVT_LEVEL) return -9;
    if (!buffer && size) return -4;
    kr_uint64 const n = item.valueBytes < size ? item.valueBytes : size;
    if (n) std::memcpy(buffer, data + item.valueOffset, size_t(n));
    return n == item.valueBytes ? 0 : -8;
}

bool textOf(kr_uint8 const *data, LvItem const &item, CKrStringW &out) {
    if (item.type == krLVT_STRING) {
        out = CKrStringW(lvUnits(data + item.valueOffset, item.valueBytes / 2 - 1));
        return true;
    }
    CKrVariant value;
    if (!lvScalarToVariant(data, item, value)) return false;
    out = value.GetCKrStringW();
    return true;
}

int textIntoBuffer(kr_uint8 const *data, LvItem const &item, wchar_t *buffer, unsigned units) {
    if (!buffer || units == 0) return -4;
    if (item.type == krLVT_STRING) {  // straight from the buffer: no string object, no allocation
        kr_uint64 const length = item.valueBytes / 2 - 1;
        kr_uint64 const n = length < units - 1 ? length : units - 1;
        kr_uint8 const *v = data + item.valueOffset;
        for (kr_uint64 i = 0; i < n; ++i) buffer[i] = wchar_t(v[2 * i] | (v[2 * i + 1] << 8));
        buffer[n] = 0;
        return n == length ? 0 : -8;
    }
    CKrStringW text;
    if (!textOf(data, item, text)) return -9;
    size_t const length = text.GetLength();
    size_t const n = length < units - 1 ? length : units - 1;
    std::wmemcpy(buffer, text.GetString(), n);
    buffer[n] = 0;
    return n == length ? 0 : -8;
}

bool bytesOf(kr_uint8 const *data, LvItem const &item, CKrByteArray &out) {
    if (item.type == krLVT_BLOB) {
        CKrByteArray bytes(data + item.valueOffset, size_t(item.valueBytes), 1024);
        if (bytes.GetSize() != item.valueBytes) return false;  // out of memory
        out = bytes;
        return true;
    }
    CKrVariant value;
    if (!lvScalarToVariant(data, item, value)) return false;
    bool ok = false;
    CKrByteArray bytes = value.GetCKrByteArray(&ok);
    if (!ok) return false;
    out = bytes;
    return true;
}

}  // namespace

int CKrLiteVariantR::Get(wchar_t const *name, void *buffer, kr_uint64 size) {
    kr_int64 const at = findValue(name);
    LvItem item;
    if (at < 0 || !lvParseItem(m_pData, m_size, kr_uint64(at), item)) return -9;
    return copyRaw(m_pData, item, buffer, size);
}

int CKrLiteVariantR::GetCurrentValue(void *buffer, kr_uint64 size) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    return copyRaw(m_pData, item, buffer, size);
}

int CKrLiteVariantR::Get(wchar_t const *name, CKrByteArray &out) {
    kr_int64 const at = findValue(name);
    LvItem item;
    if (at < 0 || !lvParseItem(m_pData, m_size, kr_uint64(at), item)) return -9;
    return bytesOf(m_pData, item, out) ? 0 : -9;
}

int CKrLiteVariantR::GetCurrentValue(CKrByteArray &out) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    return bytesOf(m_pData, item, out) ? 0 : -9;
}

CKrStringW CKrLiteVariantR::GetCKrStringW(wchar_t const *name, wchar_t const *def) {
    kr_int64 const at = findValue(name);
    LvItem item;
    CKrStringW text;
    if (at >= 0 && lvParseItem(m_pData, m_size, kr_uint64(at), item) && textOf(m_pData, item, text))
        return text;
    return CKrStringW(def);
}

int CKrLiteVariantR::GetCurrentValue(CKrStringW &out) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    return textOf(m_pData, item, out) ? 0 : -9;
}

CKrStringW CKrLiteVariantR::GetCurrentValueCKrStringW() {
    CKrStringW text;
    GetCurrentValue(text);
    return text;
}

int CKrLiteVariantR::GetStringIntoBuffer(wchar_t const *name, wchar_t *buffer, unsigned units) {
    kr_int64 const at = findValue(name);
    LvItem item;
    if (at < 0 || !lvParseItem(m_pData, m_size, kr_uint64(at), item)) return -9;
    return textIntoBuffer(m_pData, item, buffer, units);
}

int CKrLiteVariantR::GetCurrentValueIntoBuffer(wchar_t *buffer, unsigned units) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    return textIntoBuffer(m_pData, item, buffer, units);
}

int CKrLiteVariantR::Get(wchar_t const *name, CKrVariant &out) {
    kr_int64 const at = findValue(name);
    LvItem item;
    if (at < 0 || !lvParseItem(m_pData, m_size, kr_uint64(at), item)) return -9;
    CKrVariant value;
    if (!lvItemToVariant(m_pData, item, value)) return -9;
    lvTakeVariant(out, value);
    return 0;
}

int CKrLiteVariantR::GetCurrentValue(CKrVariant &out) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    CKrVariant value;
    if (!lvItemToVariant(m_pData, item, value)) return -9;
    lvTakeVariant(out, value);
    return 0;
}
