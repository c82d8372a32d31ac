// CKrList::Sort: what the comparator receives, nodes staying in place, nested sorts.
#include <gtest/gtest.h>

#include <set>

#include "ListTestSupport.h"
#include "variant/CKrList.h"

namespace {

std::set<void *> g_items;  // the items of the list being sorted
int g_itemArguments = 0;   // comparator arguments that were items instead of slots
CKrList *g_inner = nullptr;
int g_nestedSorts = 0;

int ascending(void *a, void *b) {
    g_itemArguments += static_cast<int>(g_items.count(a) + g_items.count(b));
    const int x = **static_cast<int **>(a), y = **static_cast<int **>(b);
    return (x > y) - (x < y);
}

// Sorts another list from inside a comparison: the outer sort must keep its own comparator.
int descendingAndSortInner(void *a, void *b) {
    if (g_inner && g_nestedSorts < 3) {
        ++g_nestedSorts;
        g_inner->Sort(&ascending);
    }
    return ascending(b, a);
}

std::vector<int> Values(const CKrList &list) {
    std::vector<int> out;
    for (void *item : Items(list)) out.push_back(*static_cast<int *>(item));
    return out;
}

}  // namespace

TEST(KrListSort, ItemsMoveAmongNodesThatStayInPlace) {
    int v[] = {42, -1, 7, 7, 0, 1000, -50};
    CKrList list(krKEY_INT);
    std::vector<CKrList::CKrNode *> before;
    for (int i = 0; i < 7; ++i) {
        before.push_back(list.Append(i, &v[i]));
        g_items.insert(&v[i]);
    }
    g_itemArguments = 0;
    list.Sort(&ascending);
    g_items.clear();
    EXPECT_EQ(g_itemArguments, 0);
    EXPECT_EQ(Values(list), (std::vector<int>{-50, -1, 0, 7, 7, 42, 1000}));
    int i = 0;
    for (auto *n = list.GetFirst(); n; n = n->GetNext(), ++i) {
        EXPECT_EQ(n, before[i]);
        EXPECT_EQ(n->GetNodeKey().GetIntValue(), i);  // keys no longer match their items
    }
    EXPECT_EQ(list.Find(0)->GetItem(), &v[6]);

    CKrList single(&v[0], nullptr);
    single.Sort(&ascending);
    CKrList(krKEY_NONE).Sort(&ascending);
    EXPECT_EQ(single[0], &v[0]);
}

TEST(KrListSort, NestedSortFromComparator) {
    int outerValues[] = {5, 9, 1, 3}, innerValues[] = {8, 2, 6};
    CKrList outer(&outerValues[0], &outerValues[1], &outerValues[2], &outerValues[3], nullptr);
    CKrList inner(&innerValues[0], &innerValues[1], &innerValues[2], nullptr);
    g_inner = &inner;
    g_nestedSorts = 0;
    outer.Sort(&descendingAndSortInner);
    g_inner = nullptr;
    EXPECT_EQ(g_nestedSorts, 3);
    EXPECT_EQ(Values(outer), (std::vector<int>{9, 5, 3, 1}));
    EXPECT_EQ(Values(inner), (std::vector<int>{2, 6, 8}));
}
