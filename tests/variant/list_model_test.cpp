// Long random sequences of list operations checked step by step against a std::vector model.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "common/DiagCapture.h"
#include "list_test_util.h"
#include "variant/CKrList.h"

namespace {

int compareSlots(void *a, void *b) {
    const int x = **static_cast<int **>(a), y = **static_cast<int **>(b);
    return (x > y) - (x < y);
}

}  // namespace

TEST(KrListModel, RandomUnkeyedOperationsMatchVector) {
    DiagCapture diag;  // out-of-range positions are part of the mix
    int pool[32];
    for (int i = 0; i < 32; ++i) pool[i] = (i * 13) % 32;
    std::mt19937 rng(20241121);
    CKrList list(krKEY_NONE);
    std::vector<void *> model;

    for (int step = 0; step < 4000; ++step) {
        void *item = &pool[rng() % 32];
        const unsigned int count = static_cast<unsigned int>(model.size());
        const unsigned int index = count ? static_cast<unsigned int>(rng() % (count + 2)) : 0;
        switch (rng() % 9) {
            case 0:
            case 1:
                list.Append(item);
                model.push_back(item);
                break;
            case 2:  // beyond the count goes to the head
                list.Insert(index, item);
                model.insert(index <= count ? model.begin() + index : model.begin(), item);
                break;
            case 3:
                list.Insert(index < count ? list.GetNth(index) : nullptr, item);
                model.insert(index < count ? model.begin() + index : model.begin(), item);
                break;
            case 4:
                if (index < count) {
                    ASSERT_TRUE(list.DeleteNode(list.GetNth(index)));
                    model.erase(model.begin() + index);
                }
                break;
            case 5:
                if (index < count) {
                    delete list.DetachNode(list.GetNth(index));
                    model.erase(model.begin() + index);
                }
                break;
            case 6: {
                auto it = std::find(model.begin(), model.end(), item);
                const int expected = it == model.end() ? -9 : static_cast<int>(it - model.begin());
                ASSERT_EQ(list.IndexOf(item), expected);
                ASSERT_EQ(list.Find(item) ? list.Find(item)->IndexOf() : -9, expected);
                break;
            }
            case 7:
                if (step % 50 == 0) {
                    list.Sort(&compareSlots);
                    std::stable_sort(model.begin(), model.end(), [](void *a, void *b) {
                        return *static_cast<int *>(a) < *static_cast<int *>(b);
                    });
                    // Equal values may land in any order: compare the values, then adopt the list's
                    // order.
                    for (size_t i = 0; i < model.size(); ++i)
                        ASSERT_EQ(*static_cast<int *>(list[static_cast<unsigned int>(i)]),
                                  *static_cast<int *>(model[i]));
                    model = Items(list);
                }
                break;
            case 8:
                if (step % 100 == 0) {
                    CKrList copy(list);
                    list.Clear();
                    ASSERT_EQ(list.GetCount(), 0u);
                    list = copy;
                }
                break;
        }
        ASSERT_EQ(Items(list), model) << "step " << step;
        ASSERT_TRUE(ListIsConsistent(list)) << "step " << step;
    }
}
