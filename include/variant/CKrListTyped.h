// CKrList_specI<T>: a typed face over CKrList whose items are T*.
//
// It adds no behaviour: every member forwards to the CKrList member of the same name with the
// item pointer converted, with the same results and the same assertions.  Items are borrowed as
// in CKrList: destroying or clearing a typed list never deletes them.  Callbacks are typed and
// are always called through their own function type.
//
// The library instantiates and exports the face for int, CKrStringA, CKrStringW,
// SKrRTTICacheEntry (the entries of the run-time class registry's cache) and unsigned 64-bit
// integers; other item types work as well, since the face is header-only.
//
// m_specLock is a second recursive mutex of the typed list.  It is made and destroyed with the
// list and locked by no member; it exists so that the layout of the typed lists stays what
// their users were built against.  Nothing may depend on it.
#ifndef ORVIK_VARIANT_CKRLISTTYPED_H
#define ORVIK_VARIANT_CKRLISTTYPED_H

#include <concepts>
#include <cstdarg>
#include <mutex>

#include "platform/KrTypes.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"
#include "variant/CKrList.h"

// A cache entry of the run-time class registry; the typed list only holds pointers to it.
struct SKrRTTICacheEntry;

template <class T>
class ORVIK_API CKrList_specI : public CKrList {
public:
    using CKrKey = CKrList::CKrKey;
    using CKrNode = CKrList::CKrNode;

    CKrList_specI() : CKrList(krKEY_NONE) {}
    explicit CKrList_specI(EKrKeyType keyType) : CKrList(keyType) {}
    // Unkeyed list of the `count` items of `items`, null entries included.
    CKrList_specI(unsigned int count, T *const *items) : CKrList(krKEY_NONE) {
        if (!items) return;
        for (unsigned int i = 0; i < count; ++i) CKrList::Append(static_cast<void *>(items[i]));
    }
    // Unkeyed list of the arguments (all T*) up to the first null one; end them with nullptr.
    CKrList_specI(T *first, ...) : CKrList(krKEY_NONE) {
        va_list args;
        va_start(args, first);
        AppendUntilNull(static_cast<void *>(first), &readItem, args);
        va_end(args);
    }
    CKrList_specI(const CKrList_specI &other) : CKrList(other) {}
    CKrList_specI &operator=(const CKrList_specI &other) {
        CKrList::operator=(other);
        return *this;
    }
    ~CKrList_specI() override = default;

    CKrNode *Append(const CKrKey &key, T *item) {
        return CKrList::Append(key, static_cast<void *>(item));
    }
    CKrNode *Append(T *item) { return CKrList::Append(static_cast<void *>(item)); }
    CKrNode *Insert(unsigned int index, T *item) {
        return CKrList::Insert(index, static_cast<void *>(item));
    }
    template <std::integral I>
    CKrNode *Insert(I index, T *item) {
        return CKrList::Insert(static_cast<unsigned int>(index), static_cast<void *>(item));
    }
    CKrNode *Insert(CKrNode *position, T *item) {
        return CKrList::Insert(position, static_cast<void *>(item));
    }
    CKrNode *Insert(T *item) { return CKrList::Insert(static_cast<void *>(item)); }

    CKrNode *Find(const CKrKey &key) const { return CKrList::Find(key); }
    CKrNode *Find(int key) const { return CKrList::Find(key); }
    CKrNode *Find(T *item) const { return CKrList::Find(static_cast<void *>(item)); }

    T *FirstThat(int (*test)(T *)) { return WalkTyped(false, test, false); }
    T *LastThat(int (*test)(T *)) { return WalkTyped(true, test, false); }
    void ForEach(int (*fn)(T *)) { WalkTyped(false, fn, true); }

    T *GetData(CKrNode *node) const { return static_cast<T *>(CKrList::GetData(node)); }
    T *operator[](unsigned int n) const { return static_cast<T *>(CKrList::operator[](n)); }
    int IndexOf(T *item) const { return CKrList::IndexOf(static_cast<void *>(item)); }

    // As CKrList::Sort: `compare` receives the addresses of two elements of the array of item
    // pointers, typed here as T** (the untyped form passes the same addresses as void*).
    void Sort(int (*compare)(T **, T **)) {
        if (!compare) {
            SortItems(nullptr, nullptr);
            return;
        }
        SortItems(&callCompare, &compare);
    }

private:
    using Test = int (*)(T *);
    using Compare = int (*)(T **, T **);

    static void *readItem(va_list &args) { return static_cast<void *>(va_arg(args, T *)); }

    static int callTest(void *context, void *item) {
        return (*static_cast<Test *>(context))(static_cast<T *>(item));
    }
    static int callIgnoringResult(void *context, void *item) {
        (*static_cast<Test *>(context))(static_cast<T *>(item));
        return 0;
    }
    static int callCompare(void *context, void *a, void *b) {
        return (*static_cast<Compare *>(context))(static_cast<T **>(a), static_cast<T **>(b));
    }

    T *WalkTyped(bool backwards, Test fn, bool ignoreResult) {
        if (!fn) return static_cast<T *>(WalkItems(backwards, nullptr, nullptr));
        return static_cast<T *>(
            WalkItems(backwards, ignoreResult ? &callIgnoringResult : &callTest, &fn));
    }

    std::recursive_mutex m_specLock;
};

// Instantiated and exported once by the library (CKrListTyped.cpp).
extern template class CKrList_specI<int>;
extern template class CKrList_specI<CKrStringA>;
extern template class CKrList_specI<CKrStringW>;
extern template class CKrList_specI<SKrRTTICacheEntry>;
extern template class CKrList_specI<kr_uint64>;

#endif
