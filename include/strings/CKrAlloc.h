// CKrAlloc: the process-wide aligned allocator used by byte arrays, vectors and string
// conversion, with a registry of blocks whose ownership was handed to a std::shared_ptr.
#ifndef ORVIK_STRINGS_CKRALLOC_H
#define ORVIK_STRINGS_CKRALLOC_H

#include <cstddef>
#include <memory>

#include "platform/KrTypes.h"

class ORVIK_API CKrAlloc {
public:
    // Flag bit: zero-fill the new block (Alloc) or the grown part (ReAlloc).
    static constexpr unsigned int kZeroFill = 8;

    // Aligned block of `size` bytes; null for size 0 or when memory runs out.  The alignment is
    // at least 16 and rounded up to a power of two (0 or 3 give 16, 48 gives 64).
    static void *Alloc(unsigned int flags, size_t size, size_t alignment = 16);
    // null p: Alloc(flags, size, alignment).  size 0: Free(p), returns null.  A block registered as
    // taken shared-pointer data is released from the registry and a fresh, uncopied block is
    // returned.  Otherwise the block is resized keeping its contents (null on failure, the old
    // block then stays valid).
    static void *ReAlloc(void *p, size_t size, unsigned int flags = 0, size_t alignment = 16);
    // null does nothing; taken shared-pointer data only drops the registry's reference.
    static void Free(void *p);
    static void FreeAndSetNull(void *&p);
    static void FreeAndSetNull(void **p);  // a null argument is accepted
    // Usable size of a block from Alloc/ReAlloc (0 for null and for registered shared-pointer
    // data, whose size is not known here).
    static size_t Size(void *p, size_t alignment = 16);
    static bool IsBadPtr(void *p, size_t size);      // always false
    static unsigned int CheckAllMemory();            // always 1
    static unsigned int CheckAllMemoryInAllHeaps();  // always 1
    static size_t TotalFreeMemory();                 // available physical memory, bytes
    static size_t TotalPhysMemory();                 // total physical memory, bytes

    // Registers the data pointer of `sp` (keeping a reference) so that Free/ReAlloc of that
    // pointer release the shared pointer instead of freeing the block.  False for an empty sp.
    static bool addTakenSmartPointerDataRef(std::shared_ptr<void> sp);
    // Removes the registration of `p` and hands its shared pointer back (empty if unknown).
    static std::shared_ptr<void> releaseTakenSmartPointerDataRef(void *p);

    CKrAlloc &operator=(CKrAlloc const &) = default;
    CKrAlloc &operator=(CKrAlloc &&) = default;
};

#endif
