#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/DiagCapture.h"
#include "types/CKrVector.h"

namespace {

std::vector<int> items(CKrVector_kr_int32 const &v) {
    std::vector<int> out;
    for (unsigned i = 0; i < v.size(); ++i) out.push_back(v.at(i));
    return out;
}

// Lets a test look at the place just past the last element.
struct PeekInt32 : CKrVector_kr_int32 {
    int raw(unsigned i) const { return m_elementBase[i]; }
};

TEST(VectorGrowth, CapacitiesFollowBothExponents) {
    CKrVector_double d;
    EXPECT_EQ(d.capacity(), 128u);
    EXPECT_EQ(d.size(), 0u);
    EXPECT_TRUE(d.empty());
    for (int i = 0; i < 128; ++i) d.push_back(i);
    EXPECT_EQ(d.capacity(), 128u);
    d.push_back(128);
    EXPECT_EQ(d.capacity(), 548u);  // floor(128 ^ 1.3)

    CKrVector_kr_int64 ins;
    for (int i = 0; i < 128; ++i) ASSERT_EQ(ins.insert(0, i), 0);
    EXPECT_EQ(ins.capacity(), 128u);
    EXPECT_EQ(ins.insert(64, -1), 0);
    EXPECT_EQ(ins.capacity(), 1448u);  // floor(128 ^ 1.5)
    EXPECT_EQ(ins.at(64), -1);
    EXPECT_EQ(ins.at(0), 127);
    EXPECT_EQ(ins.at(128), 0);

    CKrVector_kr_uint8 tiny(0);
    EXPECT_EQ(tiny.capacity(), 0u);
    tiny.push_back(1);
    EXPECT_EQ(tiny.capacity(), 128u);  // below 2: straight to 128
    CKrVector_kr_uint8 two(2);
    for (int i = 0; i < 5; ++i) two.push_back(static_cast<kr_uint8>(i));  // 2 ^ 1.3 truncates to 2
    EXPECT_EQ(two.size(), 5u);
    EXPECT_EQ(two.at(4), 4);

    CKrVector_double big(1000);
    big.reserve(10);  // never shrinks
    EXPECT_EQ(big.capacity(), 1000u);
    big.reserve(1001);
    EXPECT_EQ(big.capacity(), 1001u);

    // The copy appends with push_back's rule after reserving the source capacity.
    CKrVector_double copy(d);
    EXPECT_EQ(copy.capacity(), 548u);
    EXPECT_EQ(copy.size(), 129u);
    EXPECT_EQ(copy.at(128), 128.0);
}

TEST(VectorEdit, InsertEraseBoundsAndContents) {
    PeekInt32 v;
    for (int i = 0; i < 5; ++i) v.push_back(i * 10);
    EXPECT_EQ(v.erase(5), -4);
    EXPECT_EQ(v.insert(6, 99), -4);
    EXPECT_EQ(items(v), (std::vector<int>{0, 10, 20, 30, 40}));
    EXPECT_EQ(v.insert(5, 50), 0);  // at size(): appends
    EXPECT_EQ(v.insert(0, -10), 0);
    EXPECT_EQ(v.insert(3, 15), 0);
    EXPECT_EQ(items(v), (std::vector<int>{-10, 0, 10, 15, 20, 30, 40, 50}));
    EXPECT_EQ(v.erase(0), 0);
    EXPECT_EQ(v.erase(2), 0);
    EXPECT_EQ(v.erase(5), 0);
    EXPECT_EQ(items(v), (std::vector<int>{0, 10, 20, 30, 40}));
    EXPECT_EQ(v.raw(5), 0);  // the vacated places are cleared
    EXPECT_EQ(v.raw(6), 0);
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
    p.push_back(&x);
    p.push_back(&y);
    p.push_back(&x);
    unsigned idx = 99;
    EXPECT_TRUE(p.find(&y, &idx));
    EXPECT_EQ(idx, 1u);
    EXPECT_TRUE(p.find(&x, nullptr));
    EXPECT_TRUE(p.find(&x, &idx));
    EXPECT_EQ(idx, 0u);  // first match
    EXPECT_FALSE(p.find(nullptr, &idx));
    EXPECT_EQ(idx, 0u);  // untouched on failure
    p[1] = nullptr;
    EXPECT_TRUE(p.find(nullptr, &idx));
    EXPECT_EQ(idx, 1u);
    EXPECT_EQ(static_cast<CKrVector_VoidPtr const &>(p)[7], nullptr);
    EXPECT_FALSE(CKrVector_VoidPtr().find(&x, &idx));
}

// Strings use the standard library's small-string buffer, which points into the object: the
// vector must relocate them by move construction.  Long strings exercise the heap path.
TEST(VectorClassElements, StringsSurviveGrowthInsertEraseAndCopies) {
    auto text = [](int i) {
        return std::wstring(i % 3 == 0 ? 40 : 3, static_cast<wchar_t>(L'a' + i % 26)) + std::to_wstring(i);
    };
    CKrVector_CKrStringW v(4);
    for (int i = 0; i < 700; ++i) v.push_back(CKrStringW(text(i)));
    for (int i = 0; i < 100; ++i) ASSERT_EQ(v.insert(static_cast<unsigned>(i * 3), CKrStringW(text(1000 + i))), 0);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(v.erase(static_cast<unsigned>(i * 2)), 0);
    std::vector<std::wstring> model;
    for (int i = 0; i < 700; ++i) model.push_back(text(i));
    for (int i = 0; i < 100; ++i) model.insert(model.begin() + i * 3, text(1000 + i));
    for (int i = 0; i < 100; ++i) model.erase(model.begin() + i * 2);
    ASSERT_EQ(v.size(), model.size());
    for (unsigned i = 0; i < v.size(); ++i) ASSERT_EQ(v.at(i).GetStdString(), model[i]) << i;

    CKrVector_CKrStringW copy(v);
    CKrVector_CKrStringW assigned;
    assigned.push_back(CKrStringW(L"old"));
    assigned = v;
    copy.at(0) = L"changed";
    EXPECT_EQ(v.at(0).GetStdString(), model[0]);
    EXPECT_EQ(assigned.size(), v.size());
    EXPECT_EQ(assigned.at(v.size() - 1).GetStdString(), model.back());
    assigned = assigned;
    EXPECT_EQ(assigned.size(), v.size());
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

size_t heapInUse() {
    struct mallinfo2 mi = mallinfo2();
    return mi.uordblks + mi.hblkhd;
}

// Every construction of a class element is matched by one destruction: after a workload over
// every path (growth, insert, erase, copy, assignment, clear, destruction) the heap is back
// where it was.  The address sanitizer build checks the same through its leak and double-free
// detection.
TEST(VectorClassElements, ConstructionsAndDestructionsBalance) {
    auto workload = [] {
        std::vector<uint8_t> bytes(300, 7);
        CKrVector_CKrByteArray a(1);
        CKrVector_CKrStringW s(1);
        for (int i = 0; i < 400; ++i) {
            a.push_back(CKrByteArray(bytes.data(), 100 + i % 200, 16));
            s.push_back(CKrStringW(std::wstring(i % 50, L'x')));
            if (i % 5 == 0) {
                a.insert(static_cast<unsigned>(i / 2), a.at(0));
                s.insert(static_cast<unsigned>(i / 2), s.at(1));
            }
            if (i % 7 == 0) {
                a.erase(static_cast<unsigned>(i / 3));
                s.erase(static_cast<unsigned>(i / 3));
            }
        }
        CKrVector_CKrByteArray a2(a), a3;
        a3 = a;
        a3 = a2;
        CKrVector_CKrStringW s2(s);
        s2 = s;
        a2.clear();
        EXPECT_EQ(a3.size(), a.size());
        EXPECT_EQ(a3.at(10), a.at(10));
    };
    // The first run also fills the allocator's per-thread caches, which count as in use.
    workload();
    size_t const before = heapInUse();
    workload();
    EXPECT_EQ(heapInUse(), before);
}

TEST(VectorFailure, ReallocationFailureIsReportedAndEmpties) {
    DiagCapture diag;
    CKrVector_CKrByteArray v(4);
    v.push_back(CKrByteArray(reinterpret_cast<void const *>("abc"), 3, 1));
    v.reserve(UINT32_MAX);  // about 200 GiB: refused by the allocator
    ASSERT_EQ(diag.count(), 1u);
    auto const r = diag.records()[0];
    EXPECT_EQ(r.kind, 0);
    EXPECT_EQ(r.condition, L"m_elementBase == NULL");
    EXPECT_EQ(r.message, L"Error: reallocation failed!");
    EXPECT_EQ(r.source, L"types/CKrVector");
    EXPECT_EQ(r.line, 1162);
    EXPECT_EQ(v.size(), 0u);
    EXPECT_EQ(v.capacity(), 0u);
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
