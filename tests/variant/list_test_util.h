// Shared helpers of the keyed-list tests.
#ifndef ORVIK_TESTS_VARIANT_LIST_TEST_UTIL_H
#define ORVIK_TESTS_VARIANT_LIST_TEST_UTIL_H

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "variant/CKrList.h"

// Forward walk visits GetCount() nodes and ends at GetLast(); back links mirror forward links;
// every node names the list.
inline ::testing::AssertionResult ListIsConsistent(const CKrList &list) {
    unsigned int n = 0;
    CKrList::CKrNode *previous = nullptr;
    for (CKrList::CKrNode *node = list.GetFirst(); node; node = node->GetNext(), ++n) {
        if (n > list.GetCount() || node->GetPrevious() != previous || node->GetList() != &list)
            return ::testing::AssertionFailure() << "broken link or foreign node at " << n;
        previous = node;
    }
    if (n != list.GetCount() || previous != list.GetLast())
        return ::testing::AssertionFailure() << n << " nodes for a count of " << list.GetCount();
    return ::testing::AssertionSuccess();
}

inline std::vector<void *> Items(const CKrList &list) {
    std::vector<void *> out;
    for (CKrList::CKrNode *node = list.GetFirst(); node; node = node->GetNext())
        out.push_back(node->GetItem());
    return out;
}

// Distinct addresses to use as borrowed items.
struct ItemPool {
    int values[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    void *operator[](int i) { return &values[i]; }
};

// Runs `body` on its own thread and waits at most `seconds`.  A deadlock then ends the test
// program with a message instead of hanging it (the stuck thread cannot be stopped).
inline void RunBounded(std::function<void()> body, int seconds = 30) {
    struct State {
        std::mutex lock;
        std::condition_variable done;
        bool finished = false;
    };
    auto state = std::make_shared<State>();
    std::thread worker([state, body = std::move(body)] {
        body();
        std::lock_guard<std::mutex> guard(state->lock);
        state->finished = true;
        state->done.notify_all();
    });
    std::unique_lock<std::mutex> guard(state->lock);
    if (!state->done.wait_for(guard, std::chrono::seconds(seconds),
                              [&] { return state->finished; })) {
        std::fprintf(stderr, "FATAL: list test did not finish within %d s (deadlock?)\n", seconds);
        std::fflush(nullptr);
        std::_Exit(1);
    }
    guard.unlock();
    worker.join();
}

#endif
