// The size-class pool of variant nodes and value holders (see internal/VariantPool.h).
#include "variant/internal/VariantPool.h"

#include <pthread.h>

#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define ORVIK_POOL_BYPASS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORVIK_POOL_BYPASS 1
#endif
#endif

namespace orvik::detail {

#if defined(ORVIK_POOL_BYPASS)

void *PoolAllocate(size_t size) { return ::operator new(size); }
void PoolRelease(void *p, size_t) noexcept { ::operator delete(p); }

#else

namespace {

constexpr size_t kGrain = 16;                       // class c holds blocks of (c + 1) * kGrain
constexpr size_t kClasses = kPoolLargest / kGrain;  // 8
constexpr size_t kBatch = 128;                      // blocks traded with the shared list at once
constexpr size_t kChunkBytes = size_t(1) << 18;     // 256 KiB per chunk

struct Block {
    Block *next;
    Block *nextBatch;  // on the shared list of full batches: the next batch's first block
};

static_assert(sizeof(Block) <= kGrain, "a free block holds its links");

// A chunk starts with this header (one grain, so the blocks behind it stay 16-aligned).
struct alignas(16) Chunk {
    Chunk *previous;
};

// What all threads share: free blocks per class and the chunks.  Made once and never destroyed,
// so that objects freed by static destructors at exit still find it.
//
// Freed blocks come back in batches of exactly kBatch (a thread handing over its surplus) or as
// loose lists of any length (a thread that ended, a release after that).  Full batches are kept
// as a stack of lists, so that a refill takes one without walking it: the blocks of a freed tree
// are no longer in any cache, and walking a batch to cut it off cost a miss per block in a row.
struct Shared {
    std::mutex lock;
    Block *batches[kClasses] = {};  // full batches, linked through their first block
    Block *free[kClasses] = {};     // loose blocks
    Chunk *chunks = nullptr;        // every chunk ever made, newest first: keeps them reachable
    char *bump = nullptr;           // the unused rest of the newest chunk
    char *bumpEnd = nullptr;

    // Up to `want` blocks of class `c` as a list; caller holds the lock.
    Block *take(size_t c, size_t want, size_t *got) {
        if (Block *batch = batches[c]) {
            if (want == kBatch) {
                batches[c] = batch->nextBatch;
                *got = kBatch;
                return batch;
            }
            if (!free[c]) {  // a single block wanted: the batch becomes loose blocks
                batches[c] = batch->nextBatch;
                free[c] = batch;
            }
        }
        Block *head = free[c];
        if (head) {
            Block *last = head;
            size_t n = 1;
            while (n < want && last->next) {
                last = last->next;
                ++n;
            }
            free[c] = last->next;
            last->next = nullptr;
            *got = n;
            return head;
        }
        size_t const size = (c + 1) * kGrain;
        if (static_cast<size_t>(bumpEnd - bump) < size * want) {
            auto *chunk = static_cast<Chunk *>(::operator new(kChunkBytes, std::align_val_t(16)));
            chunk->previous = chunks;
            chunks = chunk;
            bump = reinterpret_cast<char *>(chunk) + sizeof(Chunk);
            bumpEnd = reinterpret_cast<char *>(chunk) + kChunkBytes;
        }
        // Carved in address order and listed in the same order: a thread that builds a tree
        // places consecutive nodes next to each other.
        Block *first = reinterpret_cast<Block *>(bump);
        Block *b = first;
        for (size_t i = 1; i < want; ++i) {
            Block *next = reinterpret_cast<Block *>(reinterpret_cast<char *>(b) + size);
            b->next = next;
            b = next;
        }
        b->next = nullptr;
        bump += size * want;
        *got = want;
        return first;
    }

    // Prepends the list first..last to the loose blocks; caller holds the lock.
    void give(size_t c, Block *first, Block *last) {
        last->next = free[c];
        free[c] = first;
    }

    // Adds a list of exactly kBatch blocks (its last one ends it) as a full batch; caller holds
    // the lock.
    void giveBatch(size_t c, Block *first) {
        first->nextBatch = batches[c];
        batches[c] = first;
    }
};

Shared &shared() {
    static Shared *const s = [] {
        auto *made = new Shared;  // never destroyed (see above)
        // A child forked while another thread holds the lock would wait for it forever at its
        // first refill: fork waits until no thread holds it, and both sides go on with it free.
        pthread_atfork([] { shared().lock.lock(); }, [] { shared().lock.unlock(); },
                       [] { shared().lock.unlock(); });
        return made;
    }();
    return *s;
}

// Per thread.  Trivially destructible and constant-initialised, so it stays usable while the
// thread's other thread_local objects are being destroyed.
//
// Per class, blocks are handed out from `head` (a list of `count` blocks that ends in null).  A
// released block goes onto `head`; when that list has grown to a whole batch it is set aside
// in `spare`, and a spare batch already there goes to the shared list.  So a thread keeps at
// most two batches per class and trades whole batches only, never walking a list to cut one.
struct Local {
    Block *head[kClasses];
    size_t count[kClasses];
    Block *spare[kClasses];  // a full batch, or null
    bool registered;         // the flush below is armed
    bool gone;  // the lists went back at thread end: release straight to the shared list
};
thread_local Local tLocal;

// Gives a thread's lists back to the shared list when the thread ends.
struct LocalFlush {
    ~LocalFlush() {
        Local &l = tLocal;
        Shared &s = shared();
        std::lock_guard<std::mutex> guard(s.lock);
        for (size_t c = 0; c < kClasses; ++c) {
            if (Block *first = l.head[c]) {
                Block *last = first;
                while (last->next) last = last->next;
                s.give(c, first, last);
            }
            if (l.spare[c]) s.giveBatch(c, l.spare[c]);
            l.head[c] = nullptr;
            l.count[c] = 0;
            l.spare[c] = nullptr;
        }
        l.gone = true;
    }
};
thread_local LocalFlush tFlush;

// Arms the thread's flush; false when the thread is past it (its lists are gone).
bool armed(Local &l) {
    if (l.registered) return true;
    if (l.gone) return false;
    (void)&tFlush;  // constructs it, which registers its destructor for this thread
    l.registered = true;
    return true;
}

size_t classOf(size_t size) { return size == 0 ? 0 : (size - 1) / kGrain; }

}  // namespace

void *PoolAllocate(size_t size) {
    if (size > kPoolLargest) return ::operator new(size);
    size_t const c = classOf(size);
    Local &l = tLocal;
    if (Block *b = l.head[c]) {
        Block *next = b->next;
        l.head[c] = next;
        --l.count[c];
        // The blocks of a freed tree have left the caches: fetching the next one now spares
        // the next request a wait (a null next is harmless to prefetch).
        __builtin_prefetch(next, 1);
        return b;
    }
    Block *list;
    size_t got = 0;
    if (Block *spare = l.spare[c]) {
        list = spare;
        got = kBatch;
        l.spare[c] = nullptr;
    } else {
        Shared &s = shared();
        std::lock_guard<std::mutex> guard(s.lock);
        if (!armed(l)) return s.take(c, 1, &got);
        list = s.take(c, kBatch, &got);
    }
    l.head[c] = list->next;
    l.count[c] = got - 1;
    return list;
}

void PoolRelease(void *p, size_t size) noexcept {
    if (!p) return;
    if (size > kPoolLargest) {
        ::operator delete(p);
        return;
    }
    size_t const c = classOf(size);
    auto *b = static_cast<Block *>(p);
    Local &l = tLocal;
    if (!armed(l)) {
        Shared &s = shared();
        std::lock_guard<std::mutex> guard(s.lock);
        s.give(c, b, b);
        return;
    }
    b->next = l.head[c];
    l.head[c] = b;
    if (++l.count[c] < kBatch) return;
    // A whole batch: set it aside, and pass on the one set aside before (a thread that frees
    // what others make).
    Block *full = l.spare[c];
    l.spare[c] = b;
    l.head[c] = nullptr;
    l.count[c] = 0;
    if (!full) return;
    Shared &s = shared();
    std::lock_guard<std::mutex> guard(s.lock);
    s.giveBatch(c, full);
}

#endif

}  // namespace orvik::detail
