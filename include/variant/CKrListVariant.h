// CKrListVariant: the ordered children of a list variant.
//
// An array of owned pointers to child CKrVariants, in insertion order; names need not be
// unique.  Copying copies every child deeply, and destroying destroys them; both walk the tree
// with an explicit stack, so trees of any depth are handled without deep recursion.
//
// Locking: one process-wide recursive mutex guards the child arrays of all lists.  It is held
// around every read of a count or a child pointer and around every change of an array, so
// threads that work on different trees at the same time serialise on it.  Children themselves
// (their names and values) are not protected: one thread uses one tree at a time.  Failure of
// the lock raises std::system_error.
#ifndef ORVIK_VARIANT_CKRLISTVARIANT_H
#define ORVIK_VARIANT_CKRLISTVARIANT_H

#include <cstddef>
#include <mutex>
#include <vector>

#include "platform/KrTypes.h"

class CKrVariant;
struct CKrVariantAccess;

class ORVIK_API CKrListVariant {
public:
    CKrListVariant();
    CKrListVariant(CKrListVariant const &other);  // deep copy
    CKrListVariant(CKrListVariant &&other) noexcept;
    ~CKrListVariant();
    CKrListVariant &operator=(CKrListVariant const &other);  // deep copy; self: no change
    CKrListVariant &operator=(CKrListVariant &&other) noexcept;

    int Number() const;  // number of children
    // The child at `index`, null when the index is negative or not below Number().  Owned by
    // the list, valid until that child is removed.
    CKrVariant *GetAt(int index) const;
    // Takes ownership of `item` (null is refused and returns null) and returns it.
    CKrVariant *Append(CKrVariant *item);
    // Takes ownership of `item` and places it at `index` (0..Number()).  Returns false for an
    // index out of range or a null item, and then destroys `item` (it is never leaked).
    bool Insert(CKrVariant *item, int index);
    // Destroys the child at `index`; false when there is none.
    bool Delete(int index);
    void RemoveAll();  // destroys every child

    // The process-wide lock of all child arrays.
    static std::recursive_mutex &GetLock();

private:
    friend struct CKrVariantAccess;
    // Child arrays of up to sixteen entries come from the library's pool of small objects (most
    // lists are records of a handful of members, made and destroyed with their tree); larger
    // ones from operator new.  Stateless: any two compare equal.
    struct ItemAllocator {
        using value_type = CKrVariant *;
        template <class U>
        struct rebind {
            using other = ItemAllocator;  // only ever asked for its own value type
        };
        CKrVariant **allocate(std::size_t n);
        void deallocate(CKrVariant **p, std::size_t n) noexcept;
        bool operator==(ItemAllocator const &) const { return true; }
        bool operator!=(ItemAllocator const &) const { return false; }
    };
    std::vector<CKrVariant *, ItemAllocator> m_items;
};

#endif
