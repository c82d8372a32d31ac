// Where the XML tree keeps its nodes and attribute arrays (private to xmltree/).
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
#ifndef ORVIK_XMLTREE_INTERNAL_XMLMEMORY_H
#define ORVIK_XMLTREE_INTERNAL_XMLMEMORY_H

#include <cstddef>
#include <cstdint>
#include <new>

class CKrXMLNode;

namespace orvik::detail {

// A block of nodes and attribute arrays built by one parse.  Pieces are carved one after the
// other, each behind a 16-byte header pointing back at the block; the block is freed when it is
// closed (its parse moved on) and its last piece has been released.
struct alignas(16) XmlNodeSlab {
    static constexpr size_t kFirstBytes = 64 * 1024;          // a parse starts with this size
    static constexpr size_t kLargestBytes = 2 * 1024 * 1024;  // and doubles up to this
    static constexpr size_t kHeaderBytes = 16;                // in front of every piece

    size_t live;      // pieces carved and not yet released
    size_t used;      // bytes of the data area handed out
    size_t capacity;  // bytes of the data area
    bool open;        // still being filled

    // A new open block of `bytes` in all (this header included), or null when memory is short.
    static XmlNodeSlab *Create(size_t bytes);
    // Room for a piece of `bytes` (its header included)?
    bool Fits(size_t bytes) const { return Round(bytes) <= capacity - used; }
    // Storage for `bytes` (header included by the caller), or null when full.
    void *Carve(size_t bytes);
    // The parse is done with the block: freed now when no piece lives in it.
    static void Close(XmlNodeSlab *slab);
    // The size of the block a parse opens after one of `bytes`.
    static size_t NextSize(size_t bytes) {
        return bytes < kLargestBytes ? bytes * 2 : kLargestBytes;
    }

    static size_t Round(size_t bytes) { return (bytes + 15) & ~size_t{15}; }
    unsigned char *Data() { return reinterpret_cast<unsigned char *>(this + 1); }
};

struct XmlMemory {
    // `bytes` of storage aligned to 16, from `block` when it is not null and has room, else from
    // the heap.  Throws std::bad_alloc when the heap is exhausted.
    static void *Allocate(size_t bytes, XmlNodeSlab *block);
    // As Allocate, from the block the calling thread's parse is filling (if any).
    static void *AllocateAttributes(size_t bytes);
    // Releases a piece from either Allocate (null: nothing).
    static void Free(void *piece) noexcept;
};

// While alive, attribute arrays allocated on this thread are carved from `slab` (the block the
// parser is filling) when they fit.  Scopes do not nest.
class XmlAttributeFill {
public:
    explicit XmlAttributeFill(XmlNodeSlab *slab);
    ~XmlAttributeFill();
    XmlAttributeFill(XmlAttributeFill const &) = delete;
    XmlAttributeFill &operator=(XmlAttributeFill const &) = delete;
};

// Allocator of an attribute map's entry array (see XmlAttributeMap.h).  Stateless: any instance
// releases what any other allocated.
template <class T>
struct XmlAttributeAllocator {
    typedef T value_type;

    XmlAttributeAllocator() noexcept = default;
    template <class U>
    XmlAttributeAllocator(XmlAttributeAllocator<U> const &) noexcept {}

    T *allocate(size_t n) {
        if (n > SIZE_MAX / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T *>(XmlMemory::AllocateAttributes(n * sizeof(T)));
    }
    void deallocate(T *p, size_t) noexcept { XmlMemory::Free(p); }

    template <class U>
    bool operator==(XmlAttributeAllocator<U> const &) const noexcept {
        return true;
    }
    template <class U>
    bool operator!=(XmlAttributeAllocator<U> const &) const noexcept {
        return false;
    }
};

// Parsed nodes sit in document order in their blocks, each followed by its attribute array, so a
// walk over the whole tree in document order reads the blocks front to back.  It does so one
// pointer at a time, which keeps the processor from running ahead, and a node with its
// attributes spans several cache lines.  The walker therefore asks for every line of the block a
// fixed distance ahead of the node it is at, each line once.  A short step back (the teardown
// returns to a parent) leaves the stream where it is; a jump (to the next block, or between nodes
// added by hand, which live anywhere) restarts it at the new place.  Addresses are only computed
// and prefetched, never read: a prefetch does not fault.
class XmlStreamPrefetch {
public:
    void Ahead(CKrXMLNode const *node) {
        uintptr_t const at = reinterpret_cast<uintptr_t>(node);
        uintptr_t const want = at + kDistance;
        if (m_next + kLongestStep < want || m_next > want + kLongestStep) m_next = want - kRestart;
        for (; m_next <= want; m_next += kLine)
            __builtin_prefetch(reinterpret_cast<void const *>(m_next));
    }

private:
    static constexpr uintptr_t kLine = 64;
    static constexpr uintptr_t kDistance = 4096;     // some 15-25 nodes of a typical document
    static constexpr uintptr_t kLongestStep = 2048;  // a step farther than this is a jump
    static constexpr uintptr_t kRestart = 256;       // a restarted stream begins 4 lines earlier
    uintptr_t m_next = 0;                            // first line not yet asked for
};

}  // namespace orvik::detail

#endif
