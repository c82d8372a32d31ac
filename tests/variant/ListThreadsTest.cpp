// Several threads on one list and on separate lists at once.  Bounded in time; also run under
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>

#include "ListTestSupport.h"
#include "common/DiagCapture.h"
#include "variant/CKrList.h"
#include "variant/CKrListTyped.h"

namespace {

constexpr int kThreads = 4;
constexpr int kPerThread = 300;

int visit(void *) { return 0; }
int ascending(void *a, void *b) {
    const int x = **static_cast<int **>(a), y = **static_cast<int **>(b);
    return (x > y) - (x < y);
}

}  // namespace

TEST(KrListThreads, OneListSharedByWritersWalkersAndCopiers) {
    static int values[kThreads * kPerThread];
    CKrList list(krKEY_INT);
    std::atomic<int> failures{0};
    std::atomic<int> writersLeft{kThreads};
    RunThreads(kThreads + 2, [&](int t) {
        if (t >= kThreads) {  // a walker and a copier beside the writers
            while (writersLeft.load() > 0) {
                if (t == kThreads) {
                    list.ForEach(&visit);
                    (void)list.GetCount();
                } else if (!ListIsConsistent(CKrList(list))) {
                    ++failures;
                }
            }
            return;
        }
        for (int i = 0; i < kPerThread; ++i) {
            const int k = t * kPerThread + i;  // only this thread uses key k
            list.Append(k, &values[k]);
            CKrList::CKrNode *found = list.Find(k);
            if (!found || list.GetData(found) != &values[k]) ++failures;
            if (k % 2) list.DeleteNode(found);
        }
        --writersLeft;
    });
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(list.GetCount(), static_cast<unsigned int>(kThreads * kPerThread / 2));
    EXPECT_TRUE(ListIsConsistent(list));
    for (int k = 0; k < kThreads * kPerThread; ++k)
        EXPECT_EQ(list.IndexOf(&values[k]) >= 0, k % 2 == 0) << k;
}

TEST(KrListThreads, SeparateListsSortingAndListsCopiedIntoEachOther) {
    static int values[kThreads][64];
    std::vector<CKrList> lists(kThreads, CKrList(krKEY_NONE));
    std::atomic<int> outOfOrder{0};
    RunThreads(kThreads, [&](int t) {
        for (int round = 0; round < 20; ++round) {
            lists[t].Clear();
            for (int i = 0; i < 64; ++i) {
                values[t][i] = (i * 37 + round * 11 + t) % 64;
                lists[t].Insert(&values[t][i]);
            }
            lists[t].Sort(&ascending);  // each thread's comparator stays its own
            int last = -1;
            for (void *item : Items(lists[t])) {
                if (*static_cast<int *>(item) < last) ++outOfOrder;
                last = *static_cast<int *>(item);
            }
        }
    });
    EXPECT_EQ(outOfOrder.load(), 0);

    // a = b and b = a from two threads: both locks are taken without deadlock.
    CKrList &a = lists[0], &b = lists[1];
    RunThreads(2, [&](int t) {
        for (int i = 0; i < 200; ++i) t ? void(a = b) : void(b = a);
    });
    EXPECT_TRUE(ListIsConsistent(a));
    EXPECT_EQ(Items(a), Items(b));  // whichever copy ran last, they agree
}

// operator[] reads the item under the list's lock: a Clear on another thread must not free the
// node between the lookup and the read (a use-after-free that ThreadSanitizer and AddressSanitizer
// report).  Every read gives null (index out of range) or one of the items.
TEST(KrListThreads, IndexedReadsBesideClear) {
    static kr_uint64 values[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    CKrList_specI<kr_uint64> list;
    DiagCapture quiet;  // a read cut short by Clear reports an index error; only values matter
    std::atomic<bool> done{false};
    std::atomic<int> foreign{0};
    RunThreads(3, [&](int t) {
        if (t == 0) {
            for (int round = 0; round < 2000; ++round) {
                list.Clear();
                for (kr_uint64 &v : values) list.Append(&v);
            }
            done = true;
            return;
        }
        while (!done.load()) {
            for (unsigned int i = 0, n = list.GetCount(); i < n; ++i) {
                void *item = t == 1 ? static_cast<CKrList &>(list)[i] : list[i];
                if (item && (item < values || item >= values + 8)) ++foreign;
            }
        }
    });
    EXPECT_EQ(foreign.load(), 0);
    EXPECT_EQ(list.GetCount(), 8u);
}
