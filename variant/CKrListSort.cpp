// CKrList::Sort: items are sorted in an array by the C library's qsort and redistributed among
// the nodes, which stay in place (so keys keep their positions).
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>

#include "variant/CKrList.h"
#include "variant/internal/ListReport.h"

namespace {

// qsort passes no context, so the comparator of the sort running on this thread is kept in a
// thread-local slot.  A comparator that sorts another list nests: the slot is saved and
// restored around every qsort call.
struct SortCall {
    int (*compare)(void *context, void *a, void *b);
    void *context;
};
thread_local const SortCall *t_sortCall = nullptr;

// qsort's own comparator type; the caller's comparator is called through its own type, never
// through a cast function pointer.
extern "C" int krListQsortCompare(const void *a, const void *b) {
    const SortCall *call = t_sortCall;
    return call->compare(call->context, const_cast<void *>(a), const_cast<void *>(b));
}

using ItemCompare = int (*)(void *, void *);

int callItemCompare(void *context, void *a, void *b) {
    return (*static_cast<ItemCompare *>(context))(a, b);
}

}  // namespace

void CKrList::SortItems(int (*compare)(void *context, void *a, void *b), void *context) {
    KR_LIST_FAIL_IF(!compare, , L"Error: NULL callback.");
    // The array is allocated before the lock is taken; if the list grew in between, it is
    // allocated again under the lock.
    unsigned int capacity = GetCount();
    std::unique_ptr<void *[]> items(new (std::nothrow) void *[capacity ? capacity : 1]);
    if (!items) return;

    std::lock_guard<std::recursive_mutex> guard(m_lock);
    unsigned int count = GetCount();
    if (count > capacity) {
        items.reset(new (std::nothrow) void *[count]);
        if (!items) return;
    }
    unsigned int n = 0;
    for (CKrNode *node = GetFirst(); node && n < count; node = node->m_next)
        items[n++] = node->m_item;
    if (n < 2) return;

    const SortCall call{compare, context};
    struct Restore {
        const SortCall *previous;
        ~Restore() { t_sortCall = previous; }
    } restore{t_sortCall};  // also when the comparator throws
    t_sortCall = &call;
    std::qsort(items.get(), n, sizeof(void *), &krListQsortCompare);

    // Written back into the nodes linked now: a comparator may have changed the list.
    unsigned int i = 0;
    for (CKrNode *node = GetFirst(); node && i < n; node = node->m_next) node->m_item = items[i++];
}

void CKrList::Sort(int (*compare)(void *, void *)) {
    if (!compare) {
        SortItems(nullptr, nullptr);
        return;
    }
    SortItems(&callItemCompare, &compare);
}
