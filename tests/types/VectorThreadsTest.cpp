#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <vector>

#include "types/CKrVector.h"

namespace {

// Several threads push to and read from several shared vectors at once.  Vectors have no lock
// of their own; the library's one lock must keep every count, block and element consistent.
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
            kr_int64 const seen = numbers.at_safe(n - 1);
            badReads +=
                n == 0 || seen < 0 || seen % 1000000 >= kPerThread ||
                strings.at_safe(static_cast<unsigned>(i) % strings.size()).IsEmpty() ||
                !pointers.find(reinterpret_cast<void *>(kr_int64(t) * 1000000 + 1), nullptr);
        }
    };
    std::vector<std::future<void>> done;
    for (int t = 0; t < kThreads; ++t) done.push_back(std::async(std::launch::async, work, t));
    // Bounded in time: a deadlock aborts the process, as the futures' destructors would wait for
    // the stuck workers forever.
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    for (auto &f : done)
        if (f.wait_until(deadline) != std::future_status::ready) std::abort();

    EXPECT_EQ(badReads.load(), 0);
    ASSERT_EQ(numbers.size(), unsigned(kThreads * kPerThread));
    ASSERT_EQ(strings.size(), unsigned(kThreads * kPerThread));
    EXPECT_EQ(pointers.size(), unsigned(kThreads * kPerThread / 50));
    // Every value arrived exactly once, each thread's values in its own order, in both vectors.
    std::vector<int> nextNumber(kThreads, 0), nextString(kThreads, 0);
    for (unsigned i = 0; i < numbers.size(); ++i) {
        kr_int64 const v = numbers.at(i), s = std::stoll(strings.at(i).GetStdString());
        ASSERT_EQ(v % 1000000, nextNumber.at(v / 1000000)++) << i;
        ASSERT_EQ(s % 1000000, nextString.at(s / 1000000)++) << i;
    }
}

}  // namespace
