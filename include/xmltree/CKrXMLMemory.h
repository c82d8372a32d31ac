// CKrXMLMemory: where the XML tree keeps its nodes and attribute arrays.
//
// A piece is either its own heap allocation or a slice of a block shared with its neighbours
// from one parse.  Every piece starts 16 bytes after a small header naming its block (none for a
// heap piece), so releasing works the same for both and callers never need to know which kind
// they hold.  A block is released with the last piece carved from it, once its parse has moved
// on to another block or ended.  Parsing fills blocks of growing size (64 KiB doubling up to
// 2 MiB), so a small document stays small and a large one is built from few, large blocks
// (backed by huge pages where the system grants them).
//
// The price of sharing: a piece that outlives the rest of its parsed document keeps its whole
// block alive (at most 2 MiB per surviving block).
#ifndef ORVIK_XMLTREE_CKRXMLMEMORY_H
#define ORVIK_XMLTREE_CKRXMLMEMORY_H

#include <cstddef>
#include <cstdint>
#include <new>

#include "platform/KrTypes.h"

struct CKrXMLNodeSlab;

struct ORVIK_API CKrXMLMemory {
    // `bytes` of storage aligned to 16, from `block` when it is not null and has room, else from
    // the heap.  Throws std::bad_alloc when the heap is exhausted.
    static void *Allocate(size_t bytes, CKrXMLNodeSlab *block);
    // As Allocate, from the block the calling thread's parse is filling (if any).
    static void *AllocateAttributes(size_t bytes);
    // Releases a piece from either Allocate (null: nothing).
    static void Free(void *piece) noexcept;
};

// Allocator of an attribute map's entry array (see CKrXMLAttributeMap).  Stateless: any
// instance releases what any other allocated.
template <class T>
struct CKrXMLAttributeAllocator {
    typedef T value_type;

    CKrXMLAttributeAllocator() noexcept = default;
    template <class U>
    CKrXMLAttributeAllocator(CKrXMLAttributeAllocator<U> const &) noexcept {}

    T *allocate(size_t n) {
        if (n > SIZE_MAX / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T *>(CKrXMLMemory::AllocateAttributes(n * sizeof(T)));
    }
    void deallocate(T *p, size_t) noexcept { CKrXMLMemory::Free(p); }

    template <class U>
    bool operator==(CKrXMLAttributeAllocator<U> const &) const noexcept { return true; }
    template <class U>
    bool operator!=(CKrXMLAttributeAllocator<U> const &) const noexcept { return false; }
};

#endif
