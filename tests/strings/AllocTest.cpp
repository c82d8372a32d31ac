// CKrAlloc: alignment, sizes, contents across ReAlloc, and the registry of blocks owned by
// shared pointers (also under concurrent use).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "strings/CKrAlloc.h"

namespace {
bool aligned(void *p, size_t a) { return reinterpret_cast<uintptr_t>(p) % a == 0; }

bool allZero(void const *p, size_t n) {
    auto const *b = static_cast<unsigned char const *>(p);
    for (size_t i = 0; i < n; ++i)
        if (b[i]) return false;
    return true;
}
}  // namespace

TEST(Alloc, AlignmentSizeAndZeroFill) {
    EXPECT_EQ(CKrAlloc::Alloc(0, 0, 16), nullptr);
    EXPECT_EQ(CKrAlloc::Alloc(0, SIZE_MAX - 8, 16), nullptr);
    struct Case {
        size_t size, alignment, expectAlign;
    } const cases[] = {{1, 16, 16}, {100, 64, 64}, {3, 4096, 4096},
                       {10, 0, 16}, {10, 3, 16},   {10, 48, 64}};
    for (auto const &c : cases) {
        void *p = CKrAlloc::Alloc(CKrAlloc::kZeroFill, c.size, c.alignment);
        ASSERT_NE(p, nullptr);
        EXPECT_TRUE(aligned(p, c.expectAlign)) << c.alignment;
        EXPECT_EQ(CKrAlloc::Size(p, c.alignment), c.size);
        EXPECT_TRUE(allZero(p, c.size));
        std::memset(p, 0xAB, c.size);  // the whole block is writable (ASan checks)
        CKrAlloc::Free(p);
    }
    EXPECT_EQ(CKrAlloc::Size(nullptr), 0u);
    CKrAlloc::Free(nullptr);
}

TEST(Alloc, ReAllocKeepsContentsAndZeroFillsGrowth) {
    auto *p = static_cast<unsigned char *>(CKrAlloc::ReAlloc(nullptr, 8, 0));
    ASSERT_NE(p, nullptr);
    for (int i = 0; i < 8; ++i) p[i] = static_cast<unsigned char>(i + 1);
    // Leave dirty memory of the same size behind, which malloc is likely to hand out next:
    // otherwise fresh pages would be zero anyway and hide a missing zero-fill.
    void *dirty = CKrAlloc::Alloc(0, 1000, 64);
    std::memset(dirty, 0xCD, 1000);
    CKrAlloc::Free(dirty);
    p = static_cast<unsigned char *>(CKrAlloc::ReAlloc(p, 1000, CKrAlloc::kZeroFill, 64));
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(aligned(p, 64));
    EXPECT_EQ(CKrAlloc::Size(p), 1000u);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(p[i], i + 1);
    EXPECT_TRUE(allZero(p + 8, 992));
    p = static_cast<unsigned char *>(CKrAlloc::ReAlloc(p, 4, 0));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(CKrAlloc::Size(p), 4u);
    EXPECT_EQ(p[3], 4);
    EXPECT_EQ(CKrAlloc::ReAlloc(p, 0, 0), nullptr);  // frees

    // Under a large alignment the bytes must move inside the resized block whenever its new
    // address needs another offset; the first 64 survive every step.
    auto *big = static_cast<unsigned char *>(CKrAlloc::Alloc(0, 100));
    for (int i = 0; i < 100; ++i) big[i] = static_cast<unsigned char>(i * 7);
    for (size_t size : {5000u, 300000u, 64u, 9000u, 1u << 20}) {
        big = static_cast<unsigned char *>(CKrAlloc::ReAlloc(big, size, 0, 4096));
        ASSERT_NE(big, nullptr);
        EXPECT_TRUE(aligned(big, 4096));
        for (int i = 0; i < 64; ++i) ASSERT_EQ(big[i], static_cast<unsigned char>(i * 7)) << size;
    }
    // Back to the smallest alignment and a few bytes: they may lie further into the old block
    // than the whole new block reaches.
    big = static_cast<unsigned char *>(CKrAlloc::ReAlloc(big, 8, 0, 16));
    ASSERT_NE(big, nullptr);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(big[i], static_cast<unsigned char>(i * 7));
    CKrAlloc::Free(big);
    EXPECT_EQ(CKrAlloc::ReAlloc(nullptr, 0, 0), nullptr);

    void *q = CKrAlloc::Alloc(0, 16), *r = CKrAlloc::Alloc(0, 16);
    CKrAlloc::FreeAndSetNull(q);
    CKrAlloc::FreeAndSetNull(&r);
    EXPECT_EQ(q, nullptr);
    EXPECT_EQ(r, nullptr);
    CKrAlloc::FreeAndSetNull(static_cast<void **>(nullptr));
}

TEST(Alloc, TakenSharedPointerDataIsReleasedNotFreed) {
    int deleted = 0;
    auto deleter = [&deleted](void *p) {
        ++deleted;
        delete[] static_cast<char *>(p);
    };
    std::shared_ptr<void> sp(new char[32], deleter);
    void *data = sp.get();
    EXPECT_TRUE(CKrAlloc::addTakenSmartPointerDataRef(sp));
    EXPECT_EQ(CKrAlloc::Size(data), 0u);  // not a block of ours
    sp.reset();
    EXPECT_EQ(deleted, 0);  // the registry keeps it alive
    CKrAlloc::Free(data);   // drops the registry's reference: the owner's deleter runs
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(CKrAlloc::releaseTakenSmartPointerDataRef(data), nullptr);

    // ReAlloc of registered data: a fresh, uncopied block; the registration goes.
    std::shared_ptr<void> sp2(new char[8], deleter);
    std::memset(sp2.get(), 0x5A, 8);
    ASSERT_TRUE(CKrAlloc::addTakenSmartPointerDataRef(sp2));
    auto *fresh =
        static_cast<unsigned char *>(CKrAlloc::ReAlloc(sp2.get(), 8, CKrAlloc::kZeroFill));
    ASSERT_NE(fresh, nullptr);
    EXPECT_NE(static_cast<void *>(fresh), sp2.get());
    EXPECT_TRUE(allZero(fresh, 8));
    EXPECT_EQ(sp2.use_count(), 1);
    CKrAlloc::Free(fresh);

    // release hands the shared pointer back without running anything.
    ASSERT_TRUE(CKrAlloc::addTakenSmartPointerDataRef(sp2));
    std::shared_ptr<void> back = CKrAlloc::releaseTakenSmartPointerDataRef(sp2.get());
    EXPECT_EQ(back, sp2);
    EXPECT_EQ(sp2.use_count(), 2);
    back.reset();
    sp2.reset();
    EXPECT_EQ(deleted, 2);

    EXPECT_FALSE(CKrAlloc::addTakenSmartPointerDataRef(std::shared_ptr<void>()));
    EXPECT_EQ(CKrAlloc::releaseTakenSmartPointerDataRef(nullptr), nullptr);
}

TEST(Alloc, RegistryUnderConcurrentUse) {
    std::atomic<int> deleted{0};
    constexpr int kThreads = 4, kPerThread = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&deleted] {
            for (int i = 0; i < kPerThread; ++i) {
                std::shared_ptr<void> sp(new int(i), [&deleted](void *p) {
                    deleted.fetch_add(1);
                    delete static_cast<int *>(p);
                });
                void *data = sp.get();
                CKrAlloc::addTakenSmartPointerDataRef(std::move(sp));
                void *own = CKrAlloc::Alloc(0, 32);  // plain blocks freed meanwhile
                CKrAlloc::Free(own);
                CKrAlloc::Free(data);
            }
        });
    }
    for (auto &th : threads) th.join();
    EXPECT_EQ(deleted.load(), kThreads * kPerThread);
}

TEST(Alloc, MemoryStatus) {
    const size_t total = CKrAlloc::TotalPhysMemory();
    const size_t available = CKrAlloc::TotalFreeMemory();
    EXPECT_GT(total, size_t(16) << 20);
    EXPECT_GT(available, 0u);
    EXPECT_LE(available, total);
}
