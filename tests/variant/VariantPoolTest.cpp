// Nodes and holders come from per-thread lists of a shared pool: trees made on one thread and
// destroyed on another (more nodes than a thread keeps) must never hand one block out twice.
// Also run under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "variant/CKrVariant.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 6;
constexpr int kNodes = 1500;  // per tree: more than a thread keeps of one size

std::unique_ptr<CKrVariant> makeTree(int seed) {
    auto tree = std::make_unique<CKrVariant>(CKrListVariant(), L"t");
    for (int i = 0; i < kNodes; ++i) {
        if (i % 3 == 0)
            tree->Append(CKrVariant(seed * 100000 + i, L"n"));
        else if (i % 3 == 1)
            tree->Append(CKrVariant(double(seed) + i * 0.5, L"d"));
        else
            tree->Append(
                CKrVariant(CKrStringW(std::to_wstring(seed) + L"/" + std::to_wstring(i)), L"s"));
    }
    return tree;
}

bool holds(CKrVariant const &tree, int seed) {
    if (tree.GetCount() != kNodes) return false;
    for (int i = 0; i < kNodes; ++i) {
        CKrVariant const &v = *tree.IndexPtr(i);
        bool ok = i % 3 == 0   ? v.GetKr_int32() == seed * 100000 + i
                  : i % 3 == 1 ? v.GetDouble() == double(seed) + i * 0.5
                               : v.GetCKrStringW().GetStdString() ==
                                     std::to_wstring(seed) + L"/" + std::to_wstring(i);
        if (!ok) return false;
    }
    return true;
}

}  // namespace

TEST(ListVariantThreads, TreesDestroyedOnAnotherThreadKeepTheirValues) {
    // Round r: thread t builds tree (r, t) and destroys the tree (r - 1, t - 1) that its
    // neighbour built, after checking it; a fresh tree is built from reused blocks each time.
    std::vector<std::unique_ptr<CKrVariant>> slots(kThreads);
    std::atomic<int> failures{0};
    for (int r = 0; r < kRounds; ++r) {
        std::vector<std::unique_ptr<CKrVariant>> made(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                int const from = (t + kThreads - 1) % kThreads;
                std::unique_ptr<CKrVariant> old = std::move(slots[from]);
                made[t] = makeTree(r * kThreads + t);
                if (old && !holds(*old, (r - 1) * kThreads + from)) ++failures;
            });
        }
        for (auto &th : threads) th.join();
        for (int t = 0; t < kThreads; ++t)
            if (!holds(*made[t], r * kThreads + t)) ++failures;
        slots = std::move(made);
    }
    EXPECT_EQ(failures.load(), 0);
}
