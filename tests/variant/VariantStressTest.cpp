// Large and concurrent trees: nothing may recurse per level, and threads working on different
// trees must not interfere.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "ListTestSupport.h"
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

CKrStringW numbered(wchar_t const *prefix, int i) {
    return CKrStringW(prefix + std::to_wstring(i));
}

}  // namespace

TEST(VariantStress, TenThousandLevelsDeep) {
    CKrVariant tree = deepChain(10000);
    CKrVariant copy(tree);
    EXPECT_TRUE(copy == tree);
    EXPECT_EQ(CKrVariant::CompareStructure(copy, tree, true), 0);

    CKrVariant *leaf = copy.Search(L"leaf", nullptr);
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->GetCKrStringW().GetStdString(), L"bottom");
    EXPECT_EQ(copy.SearchRecursive([](CKrVariant const *n) { return n->GetName() == L"leaf"; }),
              leaf);

    // A change at the bottom is seen by equality and by the structure comparison.
    leaf->EnableTypeChange(true);
    *leaf = 5;
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

TEST(VariantStress, SeventyThousandChildren) {
    // More entries than the copy keeps in reserve between calls, so the second copy starts from
    // a released buffer; every entry a small list.
    constexpr int kCount = 70000;
    CKrVariant wide(CKrListVariant(), L"wide");
    for (int i = 0; i < kCount; ++i) {
        CKrVariant &item = wide.Append(CKrVariant(CKrListVariant(), numbered(L"item", i)));
        item.Append(CKrVariant(i, L"i"));
        item.Append(CKrVariant(kCount - i, L"j"));
    }
    for (int round = 0; round < 2; ++round) {
        CKrVariant copy(wide);
        ASSERT_EQ(copy.GetCount(), kCount);
        for (int i : {0, 1, kCount / 2, kCount - 1}) {
            EXPECT_EQ(copy[i][L"i"].GetKr_int32(), i);
            EXPECT_EQ(copy[i][L"j"].GetKr_int32(), kCount - i);
        }
        EXPECT_TRUE(copy == wide);
        EXPECT_EQ(copy.SearchFixed(L"item69999", L"i", nullptr)->GetKr_int32(), 69999);
        EXPECT_EQ(copy.Search(L"item35000", nullptr), copy.IndexPtr(35000));
        copy[kCount - 1][L"j"] = 0;
        EXPECT_FALSE(copy == wide);
        EXPECT_TRUE(copy.Delete(kCount - 1));
        EXPECT_EQ(copy.GetCount(), kCount - 1);
        copy.ClearList();
        EXPECT_EQ(copy.GetCount(), 0);
    }
}

TEST(VariantStress, ThreadsBuildAndReadTheirOwnTrees) {
    std::atomic<int> failures{0};
    CKrVariant shared = deepChain(50);  // read by everyone, changed by no one
    RunThreads(
        4,
        [&](int t) {
            for (int round = 0; round < 30; ++round) {
                CKrVariant mine(CKrListVariant(), L"t");
                for (int i = 0; i < 200; ++i) {
                    // Distinct names: duplicates would all pair with the first of their name.
                    CKrVariant &group =
                        mine.Append(CKrVariant(CKrListVariant(), numbered(L"g", i)));
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
        },
        120);
    EXPECT_EQ(failures.load(), 0);
}
