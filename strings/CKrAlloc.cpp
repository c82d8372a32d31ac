// CKrAlloc: aligned blocks with a small header in front, and the process-wide registry of
// blocks owned by shared pointers.
//
// Block layout:  [ padding | Header | user bytes ... ]
// The header sits immediately before the aligned user pointer and records the start of the
// underlying malloc block and the usable size, so Size, ReAlloc and Free need nothing else.
#include "strings/CKrAlloc.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>

#include "platform/KrPlatform.h"

namespace {

struct Header {
    void *raw;    // what malloc returned
    size_t size;  // usable bytes requested by the caller
};

constexpr size_t kMinAlignment = 16;  // also keeps the header itself aligned

// Alignment actually used: at least 16, rounded up to a power of two (0 and odd values would
// otherwise be meaningless).  Zero when the request is absurdly large.
size_t effectiveAlignment(size_t alignment) {
    if (alignment <= kMinAlignment) return kMinAlignment;
    if (alignment > (size_t(1) << 30)) return 0;
    size_t a = kMinAlignment;
    while (a < alignment) a <<= 1;
    return a;
}

Header *headerOf(void *p) {
    return reinterpret_cast<Header *>(static_cast<char *>(p) - sizeof(Header));
}

void *allocAligned(size_t size, size_t alignment, bool zero) {
    const size_t align = effectiveAlignment(alignment);
    if (align == 0) return nullptr;
    const size_t extra = align - 1 + sizeof(Header);
    if (size > SIZE_MAX - extra) return nullptr;
    void *raw = zero ? std::calloc(1, size + extra) : std::malloc(size + extra);
    if (!raw) return nullptr;
    const uintptr_t first = reinterpret_cast<uintptr_t>(raw) + sizeof(Header);
    const uintptr_t aligned = (first + align - 1) & ~static_cast<uintptr_t>(align - 1);
    void *user = reinterpret_cast<void *>(aligned);
    Header *h = headerOf(user);
    h->raw = raw;
    h->size = size;
    return user;
}

void freeAligned(void *p) { std::free(headerOf(p)->raw); }

// Resizes the block of `p` with realloc, which can grow a large block in place (glibc remaps
// its pages) instead of copying it.  The user bytes keep their offset from the block's start
// unless the new block's address calls for another one to stay aligned; then they are moved
// inside the new block.  Null when the size is refused or realloc fails: `p` stays valid.
void *reallocAligned(void *p, size_t size, size_t alignment) {
    const size_t align = effectiveAlignment(alignment);
    if (align == 0) return nullptr;
    const size_t extra = align - 1 + sizeof(Header);
    if (size > SIZE_MAX - extra) return nullptr;
    Header const old = *headerOf(p);
    const size_t oldOffset =
        static_cast<size_t>(static_cast<char *>(p) - static_cast<char *>(old.raw));
    // realloc keeps only the first bytes of the block: enough of them to hold the bytes kept at
    // their old offset (a block made with a larger alignment may keep them further in than the
    // new one needs).
    const size_t kept = old.size < size ? old.size : size;
    const size_t rawSize = size + extra > oldOffset + kept ? size + extra : oldOffset + kept;
    void *raw = std::realloc(old.raw, rawSize);
    if (!raw) return nullptr;
    const uintptr_t first = reinterpret_cast<uintptr_t>(raw) + sizeof(Header);
    const uintptr_t aligned = (first + align - 1) & ~static_cast<uintptr_t>(align - 1);
    const size_t offset = static_cast<size_t>(aligned - reinterpret_cast<uintptr_t>(raw));
    char *user = static_cast<char *>(raw) + offset;
    if (offset != oldOffset) std::memmove(user, static_cast<char *>(raw) + oldOffset, kept);
    Header *h = headerOf(user);
    h->raw = raw;
    h->size = size;
    return user;
}

// Registry of taken shared-pointer data.  The atomic count lets Free skip the lock entirely in
// the common case where nothing is registered.
struct Registry {
    std::mutex lock;
    std::map<void *, std::shared_ptr<void>> blocks;
    std::atomic<size_t> count{0};
};

Registry &registry() {
    static Registry *r = new Registry;  // never destroyed: Free may run during static teardown
    return *r;
}

// Removes the registration of p and hands its shared pointer out (empty when p is unknown).
std::shared_ptr<void> takeRegistered(void *p) {
    Registry &r = registry();
    if (r.count.load(std::memory_order_acquire) == 0) return {};
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.blocks.find(p);
    if (it == r.blocks.end()) return {};
    std::shared_ptr<void> sp = std::move(it->second);
    r.blocks.erase(it);
    r.count.store(r.blocks.size(), std::memory_order_release);
    return sp;
}

}  // namespace

void *CKrAlloc::Alloc(unsigned int flags, size_t size, size_t alignment) {
    if (size == 0) return nullptr;
    return allocAligned(size, alignment, (flags & kZeroFill) != 0);
}

void *CKrAlloc::ReAlloc(void *p, size_t size, unsigned int flags, size_t alignment) {
    if (!p) return size ? Alloc(flags, size, alignment) : nullptr;
    if (size == 0) {
        Free(p);
        return nullptr;
    }
    if (std::shared_ptr<void> taken = takeRegistered(p)) {
        // The shared pointer's owner decides about the old block; the caller gets a fresh one.
        return Alloc(flags, size, alignment);
    }
    const size_t oldSize = headerOf(p)->size;
    void *q = reallocAligned(p, size, alignment);
    if (!q) return nullptr;  // the old block stays valid
    if (size > oldSize && (flags & kZeroFill))
        std::memset(static_cast<char *>(q) + oldSize, 0, size - oldSize);
    return q;
}

void CKrAlloc::Free(void *p) {
    if (!p) return;
    if (takeRegistered(p)) return;  // dropping the registry's reference is the whole release
    freeAligned(p);
}

void CKrAlloc::FreeAndSetNull(void *&p) {
    Free(p);
    p = nullptr;
}

void CKrAlloc::FreeAndSetNull(void **p) {
    if (!p) return;
    Free(*p);
    *p = nullptr;
}

size_t CKrAlloc::Size(void *p, size_t /*alignment*/) {
    if (!p) return 0;
    Registry &r = registry();
    if (r.count.load(std::memory_order_acquire) != 0) {
        std::lock_guard<std::mutex> guard(r.lock);
        if (r.blocks.count(p)) return 0;  // not ours: its size is unknown
    }
    return headerOf(p)->size;
}

bool CKrAlloc::IsBadPtr(void *, size_t) { return false; }
unsigned int CKrAlloc::CheckAllMemory() { return 1; }
unsigned int CKrAlloc::CheckAllMemoryInAllHeaps() { return 1; }

size_t CKrAlloc::TotalFreeMemory() {
    kr_uint64 available = 0;
    KR_GetPhysMemory(nullptr, &available);
    return static_cast<size_t>(available);
}

size_t CKrAlloc::TotalPhysMemory() {
    kr_uint64 total = 0;
    KR_GetPhysMemory(&total, nullptr);
    return static_cast<size_t>(total);
}

bool CKrAlloc::addTakenSmartPointerDataRef(std::shared_ptr<void> sp) {
    if (!sp || !sp.get()) return false;
    Registry &r = registry();
    std::shared_ptr<void> previous;  // released outside the lock
    {
        std::lock_guard<std::mutex> guard(r.lock);
        std::shared_ptr<void> &slot = r.blocks[sp.get()];
        previous = std::move(slot);
        slot = std::move(sp);
        r.count.store(r.blocks.size(), std::memory_order_release);
    }
    return true;
}

std::shared_ptr<void> CKrAlloc::releaseTakenSmartPointerDataRef(void *p) {
    if (!p) return {};
    return takeRegistered(p);
}
