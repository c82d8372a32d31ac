// The typed vectors: one implementation, CKrVectorT<T>, instantiated for the eight element types
// of the exported CKrVector_* classes.  See include/types/CKrVector.h for the contract.
#include "types/CKrVector.h"

#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "platform/KrPlatform.h"
#include "strings/CKrAlloc.h"

namespace {

// The one lock of all vectors of all classes.  Created on first use (thread-safe static
// initialisation) and never destroyed, so vectors that live until process exit can still lock.
std::recursive_mutex &vectorLock() {
    static auto *lock = new std::recursive_mutex;
    return *lock;
}
using Guard = std::lock_guard<std::recursive_mutex>;

constexpr unsigned int kDefaultCapacity = 128;
constexpr double kPushBackExponent = 1.3;  // push_back and the copy constructor
constexpr double kInsertExponent = 1.5;    // insert

// Capacity after one growth step from `capacity`; equal to it when no growth is possible.
unsigned int grownCapacity(unsigned int capacity, double exponent) {
    if (capacity < 2) return kDefaultCapacity;
    double const next = std::pow(static_cast<double>(capacity), exponent);
    if (next >= 4294967295.0) return UINT32_MAX;
    auto const n = static_cast<unsigned int>(next);  // truncated
    return n > capacity ? n : capacity + 1;          // 2 ^ 1.3 truncates to 2
}

}  // namespace

// m_undefined: zero for plain types; for the class types a default-constructed element owned by
// the class (never destroyed, so late readers at process exit stay valid).  Reading the pointer
// during its own initialisation sees the zero of static storage, which keeps an element created
// earlier by undefinedElement().
template <typename T>
static constexpr typename CKrVectorT<T>::UndefinedType makeUndefined(
    typename CKrVectorT<T>::UndefinedType current) {
    if constexpr (std::is_class_v<T>)
        return current != nullptr ? current : new T();
    else
        return T();
}

template <typename T>
typename CKrVectorT<T>::UndefinedType CKrVectorT<T>::m_undefined =
    makeUndefined<T>(CKrVectorT<T>::m_undefined);

template <typename T>
T &CKrVectorT<T>::undefinedElement() const {
    if constexpr (std::is_class_v<T>) {
        if (m_undefined == nullptr) m_undefined = new T();  // callers hold the lock
        return *m_undefined;
    } else {
        return m_undefined;
    }
}

template <typename T>
CKrVectorT<T>::CKrVectorT() : CKrVectorT(kDefaultCapacity) {}

template <typename T>
CKrVectorT<T>::CKrVectorT(unsigned int capacity)
    : m_elementBase(nullptr), m_count(0), m_capacity(0) {
    reserve(capacity);
}

template <typename T>
CKrVectorT<T>::CKrVectorT(CKrVectorT const &other)
    : m_elementBase(nullptr), m_count(0), m_capacity(0) {
    Guard guard(vectorLock());
    reserve(other.m_capacity);
    for (kr_uint32 i = 0; i < other.m_count; ++i) push_back(other.m_elementBase[i]);
}

template <typename T>
CKrVectorT<T>::~CKrVectorT() {
    clear();
}

template <typename T>
CKrVectorT<T> const &CKrVectorT<T>::operator=(CKrVectorT const &other) {
    Guard guard(vectorLock());
    if (this == &other) return *this;  // clear() would empty the source first
    clear();
    reserve(other.m_capacity);
    for (kr_uint32 i = 0; i < other.m_count; ++i) push_back(other.m_elementBase[i]);
    return *this;
}

template <typename T>
T &CKrVectorT<T>::at(unsigned int index) {
    Guard guard(vectorLock());
    return index < m_count ? m_elementBase[index] : undefinedElement();
}

template <typename T>
T const &CKrVectorT<T>::at(unsigned int index) const {
    Guard guard(vectorLock());
    return index < m_count ? m_elementBase[index] : undefinedElement();
}

template <typename T>
T CKrVectorT<T>::at_safe(unsigned int index) const {
    Guard guard(vectorLock());
    return index < m_count ? m_elementBase[index] : undefinedElement();
}

template <typename T>
unsigned int CKrVectorT<T>::size() const {
    Guard guard(vectorLock());
    return m_count;
}

template <typename T>
unsigned int CKrVectorT<T>::capacity() const {
    Guard guard(vectorLock());
    return m_capacity;
}

template <typename T>
bool CKrVectorT<T>::empty() const {
    Guard guard(vectorLock());
    return m_count == 0;
}

template <typename T>
void CKrVectorT<T>::clear() {
    Guard guard(vectorLock());
    if (m_elementBase != nullptr) {
        if constexpr (std::is_class_v<T>) {
            for (kr_uint32 i = 0; i < m_count; ++i) m_elementBase[i].~T();
        } else {
            std::memset(static_cast<void *>(m_elementBase), 0, size_t(m_count) * sizeof(T));
        }
        CKrAlloc::Free(m_elementBase);
    }
    m_elementBase = nullptr;
    m_count = 0;
    m_capacity = 0;
}

template <typename T>
int CKrVectorT<T>::erase(unsigned int index) {
    Guard guard(vectorLock());
    if (index >= m_count) return -4;
    T *const e = m_elementBase;
    kr_uint32 const last = m_count - 1;
    if constexpr (std::is_class_v<T>) {
        e[index].~T();
        for (kr_uint32 i = index; i < last; ++i) {  // relocate down: move-construct, destroy
            ::new (static_cast<void *>(e + i)) T(std::move(e[i + 1]));
            e[i + 1].~T();
        }
    } else {
        std::memmove(static_cast<void *>(e + index), e + index + 1,
                     size_t(last - index) * sizeof(T));
    }
    std::memset(static_cast<void *>(e + last), 0, sizeof(T));  // the vacated place is cleared
    m_count = last;
    return 0;
}

template <typename T>
int CKrVectorT<T>::insert(unsigned int index, T const &value) {
    Guard guard(vectorLock());
    if (index > m_count) return -4;
    T item(value);  // `value` may live in this block, which moves or shifts below
    if (m_count >= m_capacity) {
        grow(kInsertExponent);
        if (m_count >= m_capacity) return -3;
    }
    T *const e = m_elementBase;
    if constexpr (std::is_class_v<T>) {
        for (kr_uint32 i = m_count; i > index; --i) {  // relocate up: move-construct, destroy
            ::new (static_cast<void *>(e + i)) T(std::move(e[i - 1]));
            e[i - 1].~T();
        }
    } else {
        std::memmove(static_cast<void *>(e + index + 1), e + index,
                     size_t(m_count - index) * sizeof(T));
    }
    ::new (static_cast<void *>(e + index)) T(std::move(item));
    ++m_count;
    return 0;
}

template <typename T>
void CKrVectorT<T>::push_back(T const &value) {
    Guard guard(vectorLock());
    if (m_count >= m_capacity) {
        T item(value);  // `value` may live in the block that grow() replaces
        grow(kPushBackExponent);
        if (m_count >= m_capacity) return;  // growth failed (already reported)
        ::new (static_cast<void *>(m_elementBase + m_count)) T(std::move(item));
    } else {
        ::new (static_cast<void *>(m_elementBase + m_count)) T(value);
    }
    ++m_count;
}

template <typename T>
void CKrVectorT<T>::grow(double exponent) {
    unsigned int const next = grownCapacity(m_capacity, exponent);
    if (next > m_capacity) reserve(next);
}

template <typename T>
void CKrVectorT<T>::reserve(unsigned int n) {
    Guard guard(vectorLock());
    if (n <= m_capacity) return;
    size_t const bytes = size_t(n) * sizeof(T);
    T *const old = m_elementBase;
    T *block = nullptr;
    if constexpr (std::is_class_v<T>) {
        // Class elements are relocated by move construction into a fresh block.
        block = static_cast<T *>(CKrAlloc::Alloc(CKrAlloc::kZeroFill, bytes, 16));
        if (block != nullptr) {
            for (kr_uint32 i = 0; i < m_count; ++i) {
                ::new (static_cast<void *>(block + i)) T(std::move(old[i]));
                old[i].~T();
            }
            CKrAlloc::Free(old);
        }
    } else {
        block = static_cast<T *>(CKrAlloc::ReAlloc(old, bytes, CKrAlloc::kZeroFill, 16));
    }
    if (block == nullptr) {
        DiagAssertW(L"m_elementBase == NULL", L"types/CKrVector", 1162,
                    L"Error: reallocation failed!");
        // The old elements are given up, as callers expect after this report; their memory is
        // released rather than leaked.
        if constexpr (std::is_class_v<T>)
            for (kr_uint32 i = 0; i < m_count; ++i) old[i].~T();
        CKrAlloc::Free(old);
        m_elementBase = nullptr;
        m_count = 0;
        m_capacity = 0;
        return;
    }
    m_elementBase = block;
    m_capacity = n;
}

template class CKrVectorT<double>;
template class CKrVectorT<kr_int32>;
template class CKrVectorT<kr_int64>;
template class CKrVectorT<kr_uint32>;
template class CKrVectorT<kr_uint8>;
template class CKrVectorT<void *>;
template class CKrVectorT<CKrStringW>;
template class CKrVectorT<CKrByteArray>;

// ---- the exported classes -------------------------------------------------------------------

#define KR_DEFINE_VECTOR_CLASS(V, T)                         \
    V::V() : CKrVectorT<T>() {}                              \
    V::V(unsigned int capacity) : CKrVectorT<T>(capacity) {} \
    V::V(V const &other) : CKrVectorT<T>(other) {}           \
    V const &V::operator=(V const &other) {                  \
        CKrVectorT<T>::operator=(other);                     \
        return *this;                                        \
    }

KR_DEFINE_VECTOR_CLASS(CKrVector_double, double)
KR_DEFINE_VECTOR_CLASS(CKrVector_kr_int32, kr_int32)
KR_DEFINE_VECTOR_CLASS(CKrVector_kr_int64, kr_int64)
KR_DEFINE_VECTOR_CLASS(CKrVector_kr_uint32, kr_uint32)
KR_DEFINE_VECTOR_CLASS(CKrVector_kr_uint8, kr_uint8)
KR_DEFINE_VECTOR_CLASS(CKrVector_VoidPtr, void *)
KR_DEFINE_VECTOR_CLASS(CKrVector_CKrStringW, CKrStringW)
KR_DEFINE_VECTOR_CLASS(CKrVector_CKrByteArray, CKrByteArray)

#undef KR_DEFINE_VECTOR_CLASS

void *&CKrVector_VoidPtr::operator[](unsigned int index) { return at(index); }

void *const &CKrVector_VoidPtr::operator[](unsigned int index) const { return at(index); }

bool CKrVector_VoidPtr::find(void *const &value, unsigned int *index) const {
    Guard guard(vectorLock());
    void *const needle = value;  // `value` may be an element of this vector
    for (kr_uint32 i = 0; i < m_count; ++i) {
        if (m_elementBase[i] == needle) {
            if (index != nullptr) *index = i;
            return true;
        }
    }
    return false;
}
