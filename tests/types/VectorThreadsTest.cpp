#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "types/CKrVector.h"

namespace {

// Several threads push to and read from several shared vectors at once.  Vectors have no lock
// of their own; the library's one lock must keep every count, block and element consistent.
// Bounded in time: a deadlock fails the test instead of hanging it.
TEST(VectorThreads, SharedVectorsStayConsistent) {
    constexpr int kThreads = 4, kPerThread = 3000;
    CKrVector_kr_int64 numbers(1);
    CKrVector_CKrStringW strings(1);
    CKrVector_VoidPtr pointers(1);
    std::atomic<int> badReads{0};

    auto work = [&](int t) {
        for (int i = 0; i < kPerThread; ++i) {
            kr_int64 const value = kr_int64(t) * 1000000 + i;
            numbers.push_back(value);
            strings.push_back(CKrStringW(std::to_wstring(value)));
            if (i % 50 == 0) pointers.insert(0, reinterpret_cast<void *>(value + 1));
            unsigned const n = numbers.size();
            if (n == 0) ++badReads;
            kr_int64 const seen = numbers.at_safe(n - 1);
            if (seen < 0 || seen % 1000000 >= kPerThread) ++badReads;
            CKrStringW const s = strings.at_safe(static_cast<unsigned>(i) % strings.size());
            if (s.IsEmpty()) ++badReads;
            unsigned where = 0;
            if (!pointers.find(reinterpret_cast<void *>(kr_int64(t) * 1000000 + 1), &where)) ++badReads;
        }
    };
    std::vector<std::future<void>> done;
    for (int t = 0; t < kThreads; ++t) done.push_back(std::async(std::launch::async, work, t));
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    for (auto &f : done) ASSERT_EQ(f.wait_until(deadline), std::future_status::ready) << "deadlock?";

    EXPECT_EQ(badReads.load(), 0);
    ASSERT_EQ(numbers.size(), unsigned(kThreads * kPerThread));
    ASSERT_EQ(strings.size(), unsigned(kThreads * kPerThread));
    EXPECT_EQ(pointers.size(), unsigned(kThreads * kPerThread / 50));
    // Every value arrived exactly once, and each thread's values in its own order.
    std::vector<int> next(kThreads, 0);
    for (unsigned i = 0; i < numbers.size(); ++i) {
        kr_int64 const v = numbers.at(i);
        int const t = static_cast<int>(v / 1000000);
        ASSERT_EQ(v % 1000000, next[t]++) << "thread " << t;
        EXPECT_EQ(strings.at(i).GetStdString().empty(), false);
    }
}

}  // namespace
