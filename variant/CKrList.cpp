// CKrList: construction, linking, lookup and walking of the keyed list.  Sorting lives in
// CKrListSort.cpp.
#include "variant/CKrList.h"

#include <cstdarg>
#include <mutex>
#include <new>

#include "variant/internal/ListReport.h"

namespace {

using Guard = std::lock_guard<std::recursive_mutex>;

void *readVoidPtr(va_list &args) { return va_arg(args, void *); }

}  // namespace

// ---- construction ---------------------------------------------------------------------------

void CKrList::Init(EKrKeyType keyType) {
    m_count.store(0, std::memory_order_release);
    m_first.store(nullptr, std::memory_order_release);
    m_last.store(nullptr, std::memory_order_release);
    m_keyType.store(keyType, std::memory_order_release);
}

CKrList::CKrList(EKrKeyType keyType) { Init(keyType); }

CKrList::CKrList(unsigned int count, void *const *items) {
    Init(krKEY_NONE);
    if (!items) return;
    for (unsigned int i = 0; i < count; ++i) Append(items[i]);
}

CKrList::CKrList(void *first, ...) {
    Init(krKEY_NONE);
    va_list args;
    va_start(args, first);
    AppendUntilNull(first, &readVoidPtr, args);
    va_end(args);
}

void CKrList::AppendUntilNull(void *first, void *(*read)(va_list &args), va_list &args) {
    Guard guard(m_lock);
    for (void *item = first; item; item = read(args)) Append(item);
}

CKrList::CKrList(const CKrList &other) {
    Init(krKEY_NONE);
    Set(other);
}

CKrList &CKrList::operator=(const CKrList &other) {
    if (this == &other) return *this;  // Clear() first would lose every node
    std::scoped_lock both(m_lock, other.m_lock);
    Clear();
    Set(other);
    return *this;
}

CKrList::~CKrList() {
    Guard guard(m_lock);
    CKrNode *node = GetFirst();
    while (node) {
        CKrNode *next = node->m_next;
        node->m_list = nullptr;  // so that the node does not try to detach itself
        delete node;
        node = next;
    }
    m_first.store(nullptr, std::memory_order_release);
    m_last.store(nullptr, std::memory_order_release);
    m_count.store(0, std::memory_order_release);
}

void CKrList::Set(const CKrList &list) {
    // Both locks: the source must not change while it is copied.  std::scoped_lock orders them,
    // so two threads copying two lists into each other cannot deadlock.
    std::scoped_lock both(m_lock, list.m_lock);
    m_keyType.store(list.GetKeyType(), std::memory_order_release);
    m_first.store(nullptr, std::memory_order_release);
    m_last.store(nullptr, std::memory_order_release);
    for (CKrNode *node = list.GetFirst(); node; node = node->m_next)
        Append(node->m_key, node->m_item);
    KR_LIST_REPORT_IF(m_count != list.m_count, L"Logic error!");
}

// ---- nodes and links ------------------------------------------------------------------------

CKrList::CKrNode *CKrList::CreateNode(CKrNode *previous, CKrNode *next, void *item,
                                      const CKrKey &key) {
    Guard guard(m_lock);
    return new (std::nothrow) CKrNode(this, previous, next, item, key);
}

CKrList::CKrNode *CKrList::AppendCommon(CKrNode *node) {
    Guard guard(m_lock);
    if (!node) return nullptr;
    if (!GetFirst()) m_first.store(node, std::memory_order_release);
    m_last.store(node, std::memory_order_release);
    m_count.fetch_add(1, std::memory_order_acq_rel);
    return node;
}

void CKrList::DoDeleteNode(CKrNode *node) {
    node->m_list = nullptr;
    delete node;
}

bool CKrList::IsLinked(const CKrNode *node) const {
    const bool fromBefore =
        node->m_previous ? node->m_previous->m_next == node : GetFirst() == node;
    const bool fromAfter = node->m_next ? node->m_next->m_previous == node : GetLast() == node;
    return fromBefore && fromAfter;
}

void CKrList::NotifyUnlink(CKrNode *node) const {
    for (WalkCursor *c = m_cursors; c; c = c->outer) {
        CKrNode *step = c->backwards ? node->m_previous : node->m_next;
        if (!c->removed && c->current == node) {
            c->removed = true;
            c->resume = step;
        } else if (c->removed && c->resume == node) {
            c->resume = step;
        }
    }
}

// ---- adding ---------------------------------------------------------------------------------

CKrList::CKrNode *CKrList::Append(const CKrKey &key, void *item) {
    Guard guard(m_lock);
    CKrNode *node = CreateNode(GetLast(), nullptr, item, key);
    return AppendCommon(node);
}

CKrList::CKrNode *CKrList::Append(void *item) {
    Guard guard(m_lock);
    KR_LIST_FAIL_IF(m_keyType != krKEY_NONE, nullptr,
                    L"Error: Need a key for the object to append!");
    return Append(CKrKey(), item);
}

CKrList::CKrNode *CKrList::Insert(unsigned int index, void *item) {
    // Held across GetNth and the insertion so that the position cannot vanish in between.
    Guard guard(m_lock);
    if (index == GetCount()) return Append(item);
    return Insert(GetNth(index), item);
}

CKrList::CKrNode *CKrList::Insert(CKrNode *position, void *item) {
    Guard guard(m_lock);
    KR_LIST_FAIL_IF(m_keyType != krKEY_NONE, nullptr,
                    L"Error: Need a key for the object to insert.");
    KR_LIST_FAIL_IF(position && position->m_list != this, nullptr,
                    L"Error: Can't insert before a node from another list.");
    KR_LIST_FAIL_IF(position && !IsLinked(position), nullptr,
                    L"Error: Can't insert before a node from another list.");
    CKrNode *previous = position ? position->m_previous : nullptr;
    CKrNode *next = position ? position : GetFirst();
    CKrNode *node = CreateNode(previous, next, item, CKrKey());
    if (!node) return nullptr;
    if (!GetLast()) m_last.store(node, std::memory_order_release);
    if (!node->m_previous) m_first.store(node, std::memory_order_release);
    m_count.fetch_add(1, std::memory_order_acq_rel);
    return node;
}

CKrList::CKrNode *CKrList::Insert(void *item) {
    return Insert(static_cast<CKrNode *>(nullptr), item);
}

// ---- removing -------------------------------------------------------------------------------

void CKrList::Clear() {
    Guard guard(m_lock);
    for (WalkCursor *c = m_cursors; c; c = c->outer) {
        c->removed = true;
        c->resume = nullptr;
    }
    CKrNode *node = GetFirst();
    while (node) {
        CKrNode *next = node->m_next;
        DoDeleteNode(node);
        node = next;
    }
    m_first.store(nullptr, std::memory_order_release);
    m_last.store(nullptr, std::memory_order_release);
    m_count.store(0, std::memory_order_release);
}

CKrList::CKrNode *CKrList::DetachNode(CKrNode *node) {
    Guard guard(m_lock);
    KR_LIST_FAIL_IF(!node, nullptr, L"Error: Detaching NULL CKrNode.");
    KR_LIST_FAIL_IF(node->m_list != this, nullptr,
                    L"Error: Detaching node which is not from this list.");
    KR_LIST_FAIL_IF(!IsLinked(node), nullptr,
                    L"Error: Detaching node which is not from this list.");
    NotifyUnlink(node);
    if (node->m_previous)
        node->m_previous->m_next = node->m_next;
    else
        m_first.store(node->m_next, std::memory_order_release);
    if (node->m_next)
        node->m_next->m_previous = node->m_previous;
    else
        m_last.store(node->m_previous, std::memory_order_release);
    m_count.fetch_sub(1, std::memory_order_acq_rel);
    node->m_list = nullptr;  // the node's own next/previous fields are left as they were
    return node;
}

bool CKrList::DeleteNode(CKrNode *node) {
    Guard guard(m_lock);
    if (!DetachNode(node)) return false;
    DoDeleteNode(node);
    return true;
}

// ---- walking --------------------------------------------------------------------------------

// Visits the nodes in order while holding the lock.  The cursor is registered with the list so
// that DetachNode and Clear, called from inside `visit` on this thread, can move it off nodes
// they unlink.  `visit` returns true to stop; the result is the node it stopped on.
template <class Visit>
CKrList::CKrNode *CKrList::Walk(bool backwards, Visit &&visit) const {
    Guard guard(m_lock);
    WalkCursor cursor{backwards ? GetLast() : GetFirst(), nullptr, false, backwards, m_cursors};
    m_cursors = &cursor;
    struct Unregister {
        const CKrList *list;
        WalkCursor *cursor;
        ~Unregister() { list->m_cursors = cursor->outer; }
    } unregister{this, &cursor};

    while (CKrNode *node = cursor.current) {
        cursor.removed = false;
        if (visit(node)) return node;
        // `node` may have been unlinked (and freed) by the visit: then go on where it was.
        cursor.current =
            cursor.removed ? cursor.resume : (backwards ? node->m_previous : node->m_next);
    }
    return nullptr;
}

void *CKrList::WalkItems(bool backwards, int (*visit)(void *context, void *item), void *context) {
    KR_LIST_FAIL_IF(!visit, nullptr, L"Error: NULL callback.");
    void *found = nullptr;
    Walk(backwards, [&](CKrNode *node) {
        void *item = node->m_item;
        if (visit(context, item) == 0) return false;
        found = item;
        return true;
    });
    return found;
}

namespace {

using ItemTest = int (*)(void *);

int callItemTest(void *context, void *item) { return (*static_cast<ItemTest *>(context))(item); }

int callIgnoringResult(void *context, void *item) {
    (*static_cast<ItemTest *>(context))(item);
    return 0;
}

}  // namespace

void *CKrList::FirstThat(int (*test)(void *)) {
    if (!test) return WalkItems(false, nullptr, nullptr);
    return WalkItems(false, &callItemTest, &test);
}

void *CKrList::LastThat(int (*test)(void *)) {
    if (!test) return WalkItems(true, nullptr, nullptr);
    return WalkItems(true, &callItemTest, &test);
}

void CKrList::ForEach(int (*fn)(void *)) {
    if (!fn) {
        WalkItems(false, nullptr, nullptr);
        return;
    }
    WalkItems(false, &callIgnoringResult, &fn);
}

// ---- lookup ---------------------------------------------------------------------------------

CKrList::CKrNode *CKrList::Find(const CKrKey &key) const {
    Guard guard(m_lock);
    KR_LIST_REPORT_IF(m_keyType != key.GetKeyType(),
                      L"Error: This list is not keyed on the type of this key.");
    // A walk, not a plain loop: the comparison reports mismatches, and a diagnostics handler may
    // change the list.
    return Walk(false, [&](CKrNode *node) { return node->m_key == key; });
}

CKrList::CKrNode *CKrList::Find(void *item) const {
    Guard guard(m_lock);
    for (CKrNode *node = GetFirst(); node; node = node->m_next)
        if (node->m_item == item) return node;
    return nullptr;
}

void *CKrList::GetData(CKrNode *node) const {
    if (!node || node->m_list != this) return nullptr;
    return node->m_item;
}

CKrList::CKrNode *CKrList::GetNth(unsigned int n) const {
    Guard guard(m_lock);
    CKrNode *node = GetFirst();
    for (unsigned int i = 0; node && i < n; ++i) node = node->m_next;
    if (!node) KR_LIST_REPORT(L"true", L"Error: Invalid index in CKrList::GetNth()");
    return node;
}

void *CKrList::operator[](unsigned int n) const {
    // Held until the item is read: GetNth releases its own hold on return, and another
    // thread's Clear could free the node in between (the lock is recursive).
    Guard guard(m_lock);
    CKrNode *node = GetNth(n);
    return node ? node->m_item : nullptr;
}

int CKrList::IndexOf(void *item) const {
    Guard guard(m_lock);
    int index = 0;
    for (CKrNode *node = GetFirst(); node; node = node->m_next, ++index)
        if (node->m_item == item) return index;
    return -9;
}

void CKrList::SetKeyType(EKrKeyType keyType) {
    KR_LIST_REPORT_IF(m_count != 0, nullptr);
    m_keyType.store(keyType, std::memory_order_release);
}
