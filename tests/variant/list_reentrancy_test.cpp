// Callbacks of FirstThat / LastThat / ForEach that call back into the same list on the same
// thread, under its recursive lock.  Under AddressSanitizer these also prove that a walk never
// touches a node freed by its own callback.
#include <gtest/gtest.h>

#include "list_test_util.h"
#include "variant/CKrList.h"

namespace {

CKrList *g_list = nullptr;
std::vector<void *> g_seen;
void *g_target = nullptr;

int deleteCurrent(void *item) {
    g_seen.push_back(item);
    return !g_list->DeleteNode(g_list->Find(item));  // non-zero would stop the walk
}
int deleteNext(void *item) {
    g_seen.push_back(item);
    if (CKrList::CKrNode *next = g_list->Find(item)->GetNext()) g_list->DeleteNode(next);
    return 0;
}
int clearAtTarget(void *item) {
    g_seen.push_back(item);
    if (item == g_target) g_list->Clear();
    return 0;
}
int appendWhileShort(void *item) {
    g_seen.push_back(item);
    if (g_list->GetCount() < 6) g_list->Append(item);
    return 0;
}
int isTarget(void *item) {
    g_seen.push_back(item);
    return item == g_target;
}
// A nested walk, a lookup and an insertion behind a forward walk (not visited).
int nestedCalls(void *item) {
    const size_t seen = g_seen.size();
    EXPECT_EQ(g_list->FirstThat(&isTarget), g_target);
    g_seen.resize(seen);
    g_seen.push_back(item);
    EXPECT_GE(g_list->IndexOf(item), 0);
    g_list->Insert(0u, item);
    return 0;
}

}  // namespace

TEST(KrListReentrancy, CallbacksChangingTheListDuringAWalk) {
    ItemPool p;
    struct Case {
        const char *what;
        char walk;  // 'F'irstThat, 'L'astThat, for'E'ach
        int (*fn)(void *);
        unsigned int size;
        std::vector<int> seen;  // indexes into the pool
        unsigned int countAfter;
    } cases[] = {
        {"first hit stops", 'F', &isTarget, 4, {0, 1}, 4},
        {"last hit stops", 'L', &isTarget, 4, {3, 2, 1}, 4},
        {"results ignored", 'E', &isTarget, 3, {0, 1, 2}, 3},
        {"delete own node", 'F', &deleteCurrent, 4, {0, 1, 2, 3}, 0},
        {"delete own node backwards", 'L', &deleteCurrent, 3, {2, 1, 0}, 0},
        {"delete the next node", 'E', &deleteNext, 5, {0, 2, 4}, 3},
        {"clear midway", 'F', &clearAtTarget, 3, {0, 1}, 0},
        {"append ahead of the walk", 'E', &appendWhileShort, 2, {0, 1, 0, 1, 0, 1}, 6},
        {"nested walk and insert", 'F', &nestedCalls, 3, {0, 1, 2}, 6},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        CKrList list(krKEY_NONE);
        for (unsigned int i = 0; i < c.size; ++i) list.Append(p[static_cast<int>(i)]);
        g_list = &list;
        g_target = p[1];
        g_seen.clear();
        void *result = nullptr;
        RunBounded([&] {
            if (c.walk == 'E')
                list.ForEach(c.fn);
            else
                result = c.walk == 'L' ? list.LastThat(c.fn) : list.FirstThat(c.fn);
        });
        EXPECT_EQ(result, c.fn == &isTarget && c.walk != 'E' ? p[1] : nullptr);
        std::vector<void *> expected;
        for (int i : c.seen) expected.push_back(p[i]);
        EXPECT_EQ(g_seen, expected);
        EXPECT_EQ(list.GetCount(), c.countAfter);
        EXPECT_TRUE(ListIsConsistent(list));
    }
    g_list = nullptr;
}
