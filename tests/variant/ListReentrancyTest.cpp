// Callbacks of FirstThat / LastThat / ForEach that call back into the same list on the same
// thread, under its recursive lock.  Under AddressSanitizer these also prove that a walk never
// touches a node freed by its own callback.
#include <gtest/gtest.h>

#include "ListTestSupport.h"
#include "variant/CKrList.h"

namespace {

CKrList *g_list = nullptr;
std::vector<void *> g_seen;
void *g_target = nullptr;
int (*g_action)(void *) = nullptr;

int isTarget(void *item) { return item == g_target; }
// Actions of the rows below; a non-zero result would stop FirstThat / LastThat.
int deleteOwn(void *item) { return int(!g_list->DeleteNode(g_list->Find(item))); }
int deleteNext(void *item) {
    if (auto *next = g_list->Find(item)->GetNext()) g_list->DeleteNode(next);
    return 0;
}
int clearAtTarget(void *item) { return item == g_target ? g_list->Clear(), 0 : 0; }
int appendAhead(void *item) { return g_list->GetCount() < 6 ? g_list->Append(item), 0 : 0; }
// A nested walk, a lookup and an insertion behind a forward walk (not visited).
int nestedWalkAndInsert(void *item) {
    EXPECT_EQ(g_list->FirstThat(&isTarget), g_target);
    EXPECT_GE(g_list->IndexOf(item), 0);
    g_list->Insert(0u, item);
    return 0;
}

// The callback of every walk: records the item, then runs the row's action.
int record(void *item) {
    g_seen.push_back(item);
    return g_action(item);
}

}  // namespace

TEST(KrListReentrancy, CallbacksChangingTheListDuringAWalk) {
    ItemPool p;
    struct Case {
        const char *what;
        char walk;  // 'F'irstThat, 'L'astThat, for'E'ach
        int (*action)(void *);
        unsigned int size;
        std::vector<int> seen;  // indexes into the pool
        unsigned int countAfter;
        bool returnsTarget = false;
    } cases[] = {
        {"first hit stops", 'F', &isTarget, 4, {0, 1}, 4, true},
        {"last hit stops", 'L', &isTarget, 4, {3, 2, 1}, 4, true},
        {"results ignored", 'E', &isTarget, 3, {0, 1, 2}, 3},
        {"delete own node", 'F', &deleteOwn, 4, {0, 1, 2, 3}, 0},
        {"delete own node backwards", 'L', &deleteOwn, 3, {2, 1, 0}, 0},
        {"delete the next node", 'E', &deleteNext, 5, {0, 2, 4}, 3},
        {"clear midway", 'F', &clearAtTarget, 3, {0, 1}, 0},
        {"append ahead of the walk", 'E', &appendAhead, 2, {0, 1, 0, 1, 0, 1}, 6},
        {"nested walk and insert", 'F', &nestedWalkAndInsert, 3, {0, 1, 2}, 6},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        CKrList list(krKEY_NONE);
        for (unsigned int i = 0; i < c.size; ++i) list.Append(p[static_cast<int>(i)]);
        g_list = &list;
        g_target = p[1];
        g_action = c.action;
        g_seen.clear();
        void *result = nullptr;
        RunBounded([&] {
            if (c.walk == 'E')
                list.ForEach(&record);
            else
                result = c.walk == 'L' ? list.LastThat(&record) : list.FirstThat(&record);
        });
        EXPECT_EQ(result, c.returnsTarget ? p[1] : nullptr);
        std::vector<void *> expected;
        for (int i : c.seen) expected.push_back(p[i]);
        EXPECT_EQ(g_seen, expected);
        EXPECT_EQ(list.GetCount(), c.countAfter);
        EXPECT_TRUE(ListIsConsistent(list));
    }
    g_list = nullptr;
}
