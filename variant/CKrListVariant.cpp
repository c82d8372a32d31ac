#include "variant/CKrListVariant.h"

#include <new>
#include <utility>

#include "variant/CKrVariant.h"
#include "variant/internal/VariantPool.h"
#include "variant/internal/VariantTree.h"

std::recursive_mutex &CKrListVariant::GetLock() {
    static std::recursive_mutex lock;
    return lock;
}

CKrVariant **CKrListVariant::ItemAllocator::allocate(std::size_t n) {
    if (n > std::size_t(-1) / sizeof(CKrVariant *)) throw std::bad_array_new_length();
    return static_cast<CKrVariant **>(orvik::detail::PoolAllocate(n * sizeof(CKrVariant *)));
}

void CKrListVariant::ItemAllocator::deallocate(CKrVariant **p, std::size_t n) noexcept {
    orvik::detail::PoolRelease(p, n * sizeof(CKrVariant *));
}

CKrListVariant::CKrListVariant() = default;

CKrListVariant::CKrListVariant(CKrListVariant const &other) {
    CKrVariantAccess::CopyChildren(other, *this);
}

CKrListVariant::CKrListVariant(CKrListVariant &&other) noexcept {
    std::lock_guard<std::recursive_mutex> guard(GetLock());
    m_items.swap(other.m_items);
}

CKrListVariant::~CKrListVariant() {
    // A list being destroyed is no longer reachable by anyone else; an empty one needs no lock.
    if (!m_items.empty()) CKrVariantAccess::DestroyItems(m_items);
}

CKrListVariant &CKrListVariant::operator=(CKrListVariant const &other) {
    if (this == &other) return *this;
    // Copy first, then swap: `other` may live inside this list's own subtree.
    CKrListVariant copy(other);
    {
        std::lock_guard<std::recursive_mutex> guard(GetLock());
        m_items.swap(copy.m_items);
    }
    return *this;  // `copy` now destroys the old children
}

CKrListVariant &CKrListVariant::operator=(CKrListVariant &&other) noexcept {
    if (this == &other) return *this;
    decltype(m_items) old;
    {
        std::lock_guard<std::recursive_mutex> guard(GetLock());
        old.swap(m_items);
        m_items.swap(other.m_items);
    }
    if (!old.empty()) CKrVariantAccess::DestroyItems(old);
    return *this;
}

int CKrListVariant::Number() const {
    std::lock_guard<std::recursive_mutex> guard(GetLock());
    return static_cast<int>(m_items.size());
}

CKrVariant *CKrListVariant::GetAt(int index) const {
    std::lock_guard<std::recursive_mutex> guard(GetLock());
    if (index < 0 || static_cast<size_t>(index) >= m_items.size()) return nullptr;
    return m_items[static_cast<size_t>(index)];
}

CKrVariant *CKrListVariant::Append(CKrVariant *item) {
    if (!item) return nullptr;
    std::lock_guard<std::recursive_mutex> guard(GetLock());
    CKrVariantAccess::ReserveFirst(m_items);
    m_items.push_back(item);
    return item;
}

bool CKrListVariant::Insert(CKrVariant *item, int index) {
    if (!item) return false;
    {
        std::lock_guard<std::recursive_mutex> guard(GetLock());
        if (index >= 0 && static_cast<size_t>(index) <= m_items.size()) {
            m_items.insert(m_items.begin() + index, item);
            return true;
        }
    }
    delete item;
    return false;
}

bool CKrListVariant::Delete(int index) {
    CKrVariant *victim = nullptr;
    {
        std::lock_guard<std::recursive_mutex> guard(GetLock());
        if (index < 0 || static_cast<size_t>(index) >= m_items.size()) return false;
        victim = m_items[static_cast<size_t>(index)];
        m_items.erase(m_items.begin() + index);
    }
    delete victim;
    return true;
}

void CKrListVariant::RemoveAll() {
    decltype(m_items) old;
    {
        std::lock_guard<std::recursive_mutex> guard(GetLock());
        old.swap(m_items);
    }
    if (!old.empty()) CKrVariantAccess::DestroyItems(old);
}
