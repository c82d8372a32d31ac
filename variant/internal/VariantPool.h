// Internal: the size-class pool behind the operator new / delete of CKrVariant and of the value
// holders.  A tree of settings is a great many small objects made and destroyed together; the
// pool hands them out from large chunks in 16-byte classes, so that making one costs a pop from a
// per-thread list and the nodes of one tree lie close together.
//
// Contract:
//   - PoolAllocate(size) returns memory for `size` bytes aligned to 16 (std::bad_alloc when the
//     system has none); sizes above kPoolLargest are passed to ::operator new.
//   - PoolRelease(p, size) takes back what PoolAllocate(size) gave, with the same size, on any
//     thread (a node may die on another thread than the one that made it); null is ignored.
//   - Memory handed back stays in the pool for reuse and is never returned to the system; every
//     chunk stays reachable from the pool's own records, so leak checkers see no leak.
//   - Each thread keeps short lists of its own and trades batches with one shared list under a
//     lock; a thread's lists go back to the shared one when the thread ends.  Objects freed
//     after that point (static destructors at exit) go straight to the shared list.
//   - fork() waits until no thread holds the shared lock, so a child process can allocate.
//   - Built with AddressSanitizer, every request goes to ::operator new / delete instead, so that
//     the sanitizer keeps finding leaks and use after free of single nodes.
#ifndef ORVIK_VARIANT_INTERNAL_VARIANTPOOL_H
#define ORVIK_VARIANT_INTERNAL_VARIANTPOOL_H

#include <cstddef>

namespace orvik::detail {

constexpr size_t kPoolLargest = 128;  // larger objects are not pooled

void *PoolAllocate(size_t size);
void PoolRelease(void *p, size_t size) noexcept;

}  // namespace orvik::detail

#endif
