#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

#include "common/DiagCapture.h"
#include "types/CKrVector.h"

namespace {

std::vector<int> items(CKrVector_kr_int32 const &v) {
    std::vector<int> out;
    for (unsigned i = 0; i < v.size(); ++i) out.push_back(v.at(i));
    return out;
}

// Lets a test look at the places past the last element.
struct PeekInt32 : CKrVector_kr_int32 {
    int raw(unsigned i) const { return m_elementBase[i]; }
};

TEST(VectorGrowth, CapacitiesFollowBothExponents) {
    EXPECT_EQ(CKrVector_double().capacity(), 128u);
    // push_back grows c to floor(c ^ 1.3), insert to floor(c ^ 1.5); below 2 straight to 128;
    // one place more when the formula truncates back to c (c = 2).
    const struct {
        unsigned start, count, pushCapacity, insertCapacity;
    } rows[] = {
        {128, 128, 128, 128}, {128, 129, 548, 1448}, {0, 1, 128, 128},
        {1, 2, 128, 128},     {2, 5, 6, 5},
    };
    for (auto const &r : rows) {
        SCOPED_TRACE(testing::Message() << r.start << " + " << r.count);
        CKrVector_kr_int32 pushed(r.start), inserted(r.start);
        std::vector<int> up(r.count);
        std::iota(up.begin(), up.end(), 0);
        for (int i : up) {
            pushed.push_back(i);
            ASSERT_EQ(inserted.insert(0, i), 0);
        }
        EXPECT_EQ(pushed.capacity(), r.pushCapacity);
        EXPECT_EQ(inserted.capacity(), r.insertCapacity);
        EXPECT_EQ(items(pushed), up);
        EXPECT_EQ(items(inserted), std::vector<int>(up.rbegin(), up.rend()));
        CKrVector_kr_int32 copy(pushed);  // reserves the source's capacity, not its size
        EXPECT_EQ(copy.capacity(), r.pushCapacity);
        EXPECT_EQ(items(copy), up);
    }

    CKrVector_double big(1000);
    big.reserve(10);  // never shrinks
    EXPECT_EQ(big.capacity(), 1000u);
    big.reserve(1001);
    EXPECT_EQ(big.capacity(), 1001u);
}

TEST(VectorEdit, InsertEraseBoundsAndContents) {
    PeekInt32 v;
    for (int i = 0; i < 5; ++i) v.push_back(i * 10);
    EXPECT_EQ(v.erase(5), -4);
    EXPECT_EQ(v.insert(6, 99), -4);
    EXPECT_EQ(items(v), (std::vector<int>{0, 10, 20, 30, 40}));
    // At size() the insert appends.
    for (auto [at, value] : {std::pair{5, 50}, {0, -10}, {3, 15}})
        EXPECT_EQ(v.insert(at, value), 0);
    EXPECT_EQ(items(v), (std::vector<int>{-10, 0, 10, 15, 20, 30, 40, 50}));
    for (unsigned at : {0, 2, 5}) EXPECT_EQ(v.erase(at), 0);
    EXPECT_EQ(items(v), (std::vector<int>{0, 10, 20, 30, 40}));
    EXPECT_EQ(v.raw(5) | v.raw(6), 0);  // the vacated places are cleared
    v.clear();
    v.clear();  // harmless twice
    EXPECT_EQ(v.capacity(), 0u);
    EXPECT_EQ(v.erase(0), -4);
    EXPECT_EQ(v.insert(0, 7), 0);  // grows from nothing
    EXPECT_EQ(items(v), std::vector<int>{7});
}

TEST(VectorAccess, UndefinedElementForBadIndices) {
    CKrVector_kr_int32 v;
    v.push_back(5);
    int &undefined = v.at(1);
    EXPECT_EQ(&undefined, &CKrVector_kr_int32::m_undefined);
    int const saved = undefined;
    undefined = 77;  // later out-of-range reads see it
    EXPECT_EQ(v.at_safe(100), 77);
    EXPECT_EQ(static_cast<CKrVector_kr_int32 const &>(v).at(1), 77);
    CKrVector_kr_int32::m_undefined = saved;

    CKrVector_CKrStringW s;
    EXPECT_EQ(&s.at(0), CKrVector_CKrStringW::m_undefined);
    EXPECT_TRUE(s.at_safe(3).IsEmpty());
    CKrVector_CKrByteArray b;
    EXPECT_EQ(&b.at(0), CKrVector_CKrByteArray::m_undefined);

    CKrVector_VoidPtr p;
    int x = 0, y = 0;
    for (void *e : {&x, &y, &x}) p.push_back(e);
    unsigned idx = 99;
    // The first match counts; a miss leaves the index alone; the index may be null.
    EXPECT_TRUE(p.find(&y, &idx) && idx == 1);
    EXPECT_TRUE(p.find(&x, &idx) && idx == 0);
    EXPECT_TRUE(!p.find(nullptr, &idx) && idx == 0);
    EXPECT_TRUE(p.find(&x, nullptr));
    p[1] = nullptr;
    EXPECT_TRUE(p.find(nullptr, &idx) && idx == 1);
    EXPECT_EQ(static_cast<CKrVector_VoidPtr const &>(p)[7], nullptr);
    EXPECT_FALSE(CKrVector_VoidPtr().find(&x, &idx));
}

TEST(VectorClassElements, ValueReferringIntoTheVectorItself) {
    CKrVector_CKrStringW v(2);
    v.push_back(CKrStringW(L"first, long enough to live on the heap"));
    v.push_back(CKrStringW(L"s"));
    v.push_back(v.at(0));  // full: the block is replaced while `value` points into it
    EXPECT_EQ(v.at(2).GetStdString(), L"first, long enough to live on the heap");
    ASSERT_EQ(v.insert(0, v.at(1)), 0);  // shifting moves the referenced element
    EXPECT_EQ(v.at(0).GetStdString(), L"s");
    EXPECT_EQ(v.at(2).GetStdString(), L"s");

    CKrVector_kr_int32 n(1);
    n.push_back(42);
    n.push_back(n.at(0));
    EXPECT_EQ(n.at(1), 42);
}

// The same edits on a vector and on a std::vector model, then copies and assignments.  Strings
// use the standard library's small-string buffer, which points into the object, so the vector
// must relocate them by move construction; long strings and the byte arrays live on the heap.
// Every construction must be matched by one destruction, so repeated runs leave the heap where
// it was (the address sanitizer build also checks this through its leak detection).
TEST(VectorClassElements, EditsCopiesAndHeapBalance) {
    auto churn = [](auto &v, auto make) {
        std::vector<decltype(make(0))> model;
        for (int i = 0; i < 700; ++i) model.push_back(make(i));
        for (auto const &m : model) v.push_back(m);
        for (int i = 0; i < 100; ++i) ASSERT_EQ(v.insert(i * 3, make(1000 + i)), 0);
        for (int i = 0; i < 100; ++i) model.insert(model.begin() + i * 3, make(1000 + i));
        for (int i = 0; i < 100; ++i) ASSERT_EQ(v.erase(i * 2), 0);
        for (int i = 0; i < 100; ++i) model.erase(model.begin() + i * 2);
        ASSERT_EQ(v.size(), model.size());
        for (unsigned i = 0; i < v.size(); ++i) ASSERT_TRUE(v.at(i) == model[i]) << i;

        std::remove_reference_t<decltype(v)> copy(v), assigned;
        assigned.push_back(make(5000));
        assigned = v;
        copy.at(0) = make(5001);  // the copy owns its elements
        EXPECT_TRUE(v.at(0) == model[0]);
        assigned = copy;
        assigned = assigned;
        copy.clear();
        EXPECT_EQ(assigned.size(), v.size());
        EXPECT_TRUE(assigned.at(v.size() - 1) == model.back());
    };
    std::vector<uint8_t> bytes(400);  // enough for the largest slice below
    std::iota(bytes.begin(), bytes.end(), 0);
    auto workload = [&] {
        CKrVector_CKrStringW s(4);
        churn(s, [](int i) {
            auto const letter = static_cast<wchar_t>(L'a' + i % 26);
            return CKrStringW(std::wstring(i % 3 == 0 ? 40 : 3, letter) + std::to_wstring(i));
        });
        CKrVector_CKrByteArray a(1);
        churn(a, [&](int i) { return CKrByteArray(bytes.data() + i % 50, 100 + i % 200, 16); });
    };
    auto heapInUse = [] {
        auto const mi = mallinfo2();
        return mi.uordblks + mi.hblkhd;
    };
    // The allocator's per-thread caches count as in use.  Filled up first (7 blocks of every
    // small size), they can neither grow nor hide a leak for more than 7 runs.
    auto fillCaches = [] {
        std::vector<void *> blocks;
        for (size_t size = 8; size <= 1040; size += 8)
            for (int k = 0; k < 7; ++k) blocks.push_back(std::malloc(size));
        for (void *b : blocks) std::free(b);
    };
    workload();  // one-time allocations of the library and of the test framework happen here
    fillCaches();
    size_t const before = heapInUse();
    for (int run = 0; run < 8; ++run) workload();
    EXPECT_EQ(heapInUse(), before);
}

TEST(VectorFailure, ReallocationFailureIsReportedAndEmpties) {
    DiagCapture diag;
    CKrVector_CKrByteArray v(4);
    v.push_back(CKrByteArray("abc", 3, 1));
    v.reserve(UINT32_MAX);  // about 200 GiB: refused by the allocator
    ASSERT_EQ(diag.count(), 1u);
    auto const r = diag.records()[0];
    EXPECT_EQ(r.kind, 0);  // an assertion
    EXPECT_EQ(r.condition + L" | " + r.message,
              L"m_elementBase == NULL | Error: reallocation failed!");
    EXPECT_EQ(r.source + L":" + std::to_wstring(r.line), L"types/CKrVector:1162");
    EXPECT_EQ(v.size() + v.capacity(), 0u);
    v.push_back(CKrByteArray());  // usable again afterwards
    EXPECT_EQ(v.size(), 1u);

    CKrVector_double d;
    d.push_back(1.5);
    d.reserve(UINT32_MAX);  // 32 GiB of zero-filled doubles: also refused here
    if (diag.count() == 2) {
        EXPECT_EQ(d.size(), 0u);
        EXPECT_EQ(d.at(0), CKrVector_double::m_undefined);
    }
}

}  // namespace
