// Shared helpers of the keyed-list tests and the threaded variant tests.
#ifndef ORVIK_TESTS_VARIANT_LISTTESTSUPPORT_H
#define ORVIK_TESTS_VARIANT_LISTTESTSUPPORT_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
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
    std::future<void> done = std::async(std::launch::async, std::move(body));
    if (done.wait_for(std::chrono::seconds(seconds)) != std::future_status::ready) {
        std::fprintf(stderr, "FATAL: test did not finish within %d s (deadlock?)\n", seconds);
        std::fflush(nullptr);
        std::_Exit(1);
    }
    done.get();
}

// Starts `n` threads running body(t) and joins them, all within the time bound.
inline void RunThreads(int n, const std::function<void(int)> &body, int seconds = 30) {
    RunBounded(
        [&] {
            std::vector<std::thread> threads;
            for (int t = 0; t < n; ++t) threads.emplace_back(body, t);
            for (auto &th : threads) th.join();
        },
        seconds);
}

#endif
