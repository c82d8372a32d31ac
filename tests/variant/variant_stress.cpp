// Large and concurrent trees: nothing may recurse per level, and threads working on different
// trees must not interfere.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>
#include <vector>

#include "common/DiagCapture.h"
#include "variant/CKrVariant.h"

namespace {

// A chain `depth` levels deep: every level is a list holding a value and the next level.
CKrVariant deepChain(int depth) {
    CKrVariant root(CKrListVariant(), L"level");
    CKrVariant *current = &root;
    for (int i = 0; i < depth; ++i) {
        current->Append(CKrVariant(i, L"v"));
        current = &current->Append(CKrVariant(CKrListVariant(), L"level"));
    }
    current->Append(CKrVariant(L"bottom", L"leaf"));
    return root;
}

}  // namespace

TEST(VariantStress, TenThousandLevelsDeep) {
    constexpr int kDepth = 10000;
    CKrVariant tree = deepChain(kDepth);
    CKrVariant copy(tree);
    EXPECT_TRUE(copy == tree);
    EXPECT_EQ(CKrVariant::CompareStructure(copy, tree, true), 0);

    CKrVariant const *leaf = copy.Search(L"leaf", nullptr);
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->GetCKrStringW().GetStdString(), L"bottom");
    EXPECT_EQ(copy.SearchRecursive([](CKrVariant const *n) { return n->GetName() == L"leaf"; }), leaf);

    // A change at the bottom is seen by equality and by the structure comparison.
    const_cast<CKrVariant *>(leaf)->EnableTypeChange(true);
    *const_cast<CKrVariant *>(leaf) = 5;
    EXPECT_FALSE(copy == tree);
    EXPECT_EQ(CKrVariant::CompareStructure(copy, tree, true), -1);

    CKrStringW text;
    tree.Write(text);
    EXPECT_EQ(text.GetStdString().substr(text.GetLength() - 18), L"</level></variant>");

    CKrVariant assigned;
    assigned.EnableTypeChange(true);
    assigned = tree;
    EXPECT_TRUE(assigned == tree);
    // Destruction of all three happens at scope end; reaching the next test is the check.
}

TEST(VariantStress, HundredThousandChildren) {
    constexpr int kCount = 100000;
    CKrVariant wide(CKrListVariant(), L"wide");
    for (int i = 0; i < kCount; ++i) wide.Append(CKrVariant(i, CKrStringW(L"item") + CKrStringW(std::to_wstring(i))));
    CKrVariant copy(wide);
    ASSERT_EQ(copy.GetCount(), kCount);
    EXPECT_TRUE(copy == wide);
    EXPECT_EQ(copy.SearchFixed(L"item99999", nullptr)->GetKr_int32(), 99999);
    EXPECT_EQ(copy.Search(L"item50000", nullptr)->GetKr_int32(), 50000);
    copy[kCount - 1] = 0;
    EXPECT_FALSE(copy == wide);
    EXPECT_TRUE(copy.Delete(kCount - 1));
    EXPECT_EQ(copy.GetCount(), kCount - 1);
    copy.ClearList();
    EXPECT_EQ(copy.GetCount(), 0);
}

TEST(VariantStress, ThreadsBuildAndReadTheirOwnTrees) {
    constexpr int kThreads = 4;
    std::atomic<int> failures{0};
    std::atomic<bool> stop{false};
    CKrVariant shared = deepChain(50);  // read by everyone, changed by no one
    std::vector<std::future<void>> workers;
    for (int t = 0; t < kThreads; ++t) {
        workers.push_back(std::async(std::launch::async, [t, &failures, &stop, &shared] {
            for (int round = 0; round < 30 && !stop; ++round) {
                CKrVariant mine(CKrListVariant(), L"t");
                for (int i = 0; i < 200; ++i) {
                    // Distinct names: duplicates would all pair with the first of their name.
                    CKrVariant &group =
                        mine.Append(CKrVariant(CKrListVariant(), CKrStringW(L"g") + CKrStringW(std::to_wstring(i))));
                    group.Append(CKrVariant(t * 1000 + i, L"id"));
                    group.Append(CKrVariant(L"text", L"s"));
                }
                CKrVariant copy(mine);
                if (!(copy == mine) || copy.GetCount() != 200) ++failures;
                if (copy[199][L"id"].GetKr_int32() != t * 1000 + 199) ++failures;
                if (!shared.Search(L"leaf", nullptr)) ++failures;
                CKrStringW text;
                copy.Write(text);
                if (text.GetLength() == 0) ++failures;
                copy.ClearList();
                if (copy.GetCount() != 0) ++failures;
            }
        }));
    }
    // Bounded: a deadlock fails the run instead of hanging it.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    for (auto &w : workers) {
        if (w.wait_until(deadline) != std::future_status::ready) {
            stop = true;
            ADD_FAILURE() << "worker did not finish in time (deadlock?)";
            std::abort();
        }
    }
    EXPECT_EQ(failures.load(), 0);
}

TEST(VariantStress, FailedOperationsDoNotLeak) {
    // Run under AddressSanitizer with leak detection: every discarded copy must be freed.
    DiagCapture diag;
    CKrVariant tree = deepChain(20);
    CKrVariant scalar(1, L"s");
    scalar.Append(tree);                 // refused: no copy may remain
    scalar.Insert(tree, 0);              // refused
    CKrVariant list;
    list.Insert(tree, -1);               // negative index: the copy is discarded
    list.Insert(tree, 5);                // above the count: discarded silently
    EXPECT_EQ(list.GetCount(), 0);
    CKrVariant n;
    n = tree;                            // refused: type change off
    EXPECT_TRUE(n.IsNull());
    CKrVariant d(1.0);
    d.SetRunTypeCompatible(CKrVariantRunType("CKrListVariant"));  // scalar to list: refused
    EXPECT_EQ(d.GetDouble(), 1.0);
    CKrVariant bad(L"x", L"x");
    bad.EnableTypeChange(true);
    EXPECT_EQ(bad.SetRunTypeCompatible(CKrVariantRunType("RKrUnregistered")), -9);
    EXPECT_GE(diag.count(), 5u);
}
