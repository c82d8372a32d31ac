#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "types/CKrByteArray.h"

namespace {

using BA = CKrByteArray;

std::vector<uint8_t> pattern(size_t n, uint8_t seed = 1) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(seed + i * 7);
    return v;
}

std::vector<uint8_t> contents(BA const &a) {
    auto const *p = static_cast<uint8_t const *>(a.GetData());
    return p ? std::vector<uint8_t>(p, p + a.GetSize()) : std::vector<uint8_t>();
}

struct SetDataCase {
    const char *name;
    size_t increment, startAllocated, startSize;  // the array before the call
    int op, alloc;                                // raw enumerator values (unknown ones included)
    size_t size;
    bool withData;
    int result;
    size_t size_after, allocated_after;
};

// The array is prepared with an exact block of startAllocated bytes holding startSize bytes.
TEST(ByteArraySetData, ResultCodesAndGrowthPerMode) {
    const SetDataCase cases[] = {
        {"append into empty, increment", 1024, 0, 0, BA::ModeOpAppend, BA::ModeAllocIncrement, 10, true, 0, 10, 1024},
        {"fixed block cuts the data", 1024, 4, 0, BA::ModeOpAppend, BA::ModeAllocFixed, 10, true, -8, 4, 4},
        {"fixed and full: nothing written", 1024, 4, 4, BA::ModeOpAppend, BA::ModeAllocFixed, 1, true, -9, 4, 4},
        {"fixed, zero bytes", 1024, 4, 4, BA::ModeOpAppend, BA::ModeAllocFixed, 0, true, 0, 4, 4},
        {"exact growth to base + size", 1024, 8, 8, BA::ModeOpAppend, BA::ModeAllocExact, 5, true, 0, 13, 13},
        {"replace shrinks the size, keeps the block", 1024, 64, 64, BA::ModeOpReplace, BA::ModeAllocExact, 5, true, 0, 5, 64},
        {"fits exactly: no growth", 16, 32, 16, BA::ModeOpAppend, BA::ModeAllocIncrement, 16, true, 0, 32, 32},
        {"one byte over: one increment", 16, 32, 32, BA::ModeOpAppend, BA::ModeAllocIncrement, 1, true, 0, 33, 48},
        {"exact multiple: one increment more", 16, 32, 32, BA::ModeOpAppend, BA::ModeAllocIncrement, 32, true, 0, 64, 80},
        {"partly fitting: k counts the missing part", 16, 32, 30, BA::ModeOpAppend, BA::ModeAllocIncrement, 20, true, 0, 50, 64},
        {"null data only reserves", 1024, 0, 0, BA::ModeOpAppend, BA::ModeAllocExact, 100, false, 0, 0, 100},
        {"null data, fixed: nothing", 1024, 8, 8, BA::ModeOpAppend, BA::ModeAllocFixed, 100, false, 0, 8, 8},
        {"unknown op acts as replace", 1024, 8, 8, 7, BA::ModeAllocExact, 3, true, 0, 3, 8},
        {"unknown alloc acts as exact", 1024, 8, 8, BA::ModeOpAppend, 9, 3, true, 0, 11, 11},
        {"size_t top, exact append: no wrap", 1024, 8, 8, BA::ModeOpAppend, BA::ModeAllocExact, SIZE_MAX - 4, true, -3, 8, 8},
        {"size_t top, replace", 1024, 8, 8, BA::ModeOpReplace, BA::ModeAllocExact, SIZE_MAX, true, -3, 8, 8},
        {"size_t top, increment", 1024, 8, 8, BA::ModeOpAppend, BA::ModeAllocIncrement, SIZE_MAX, true, -3, 8, 8},
        {"size_t top, increment 1", 1, 8, 8, BA::ModeOpAppend, BA::ModeAllocIncrement, SIZE_MAX, true, -3, 8, 8},
        {"beyond PTRDIFF_MAX", 1024, 0, 0, BA::ModeOpReplace, BA::ModeAllocExact, size_t(PTRDIFF_MAX) + 1, false, -3, 0, 0},
    };
    auto const source = pattern(128, 50);
    for (auto const &c : cases) {
        SCOPED_TRACE(c.name);
        BA a(c.increment);
        if (c.startAllocated) {
            ASSERT_EQ(a.SetData(nullptr, c.startAllocated), 0);
            std::vector<uint8_t> start(c.startSize, 0xEE);
            a.SetData(start.data(), c.startSize);
        }
        ASSERT_EQ(a.GetSize(), c.startSize);
        // Sizes above the source only occur in cases that must not copy anything.
        int const r = a.SetData(c.withData ? source.data() : nullptr, c.size,
                                static_cast<BA::EKrByteArrayModeOp>(c.op),
                                static_cast<BA::EKrByteArrayModeAlloc>(c.alloc));
        EXPECT_EQ(r, c.result);
        EXPECT_EQ(a.GetSize(), c.size_after);
        EXPECT_EQ(a.GetAllocated(), c.allocated_after);
        // Whatever was written is the start of the source, at the right place.
        size_t const base = (c.op == BA::ModeOpAppend) ? c.startSize : 0;
        if (c.withData && (r == 0 || r == -8) && c.size_after > base) {
            auto const *p = static_cast<uint8_t const *>(a.GetData());
            EXPECT_EQ(0, std::memcmp(p + base, source.data(), c.size_after - base));
        }
    }
}

TEST(ByteArraySetData, FixedModeCopiesWhatFits) {
    BA a(nullptr, 4, 1);  // 4 bytes reserved, size 0
    auto const src = pattern(10);
    EXPECT_EQ(a.SetData(src.data(), 10, BA::ModeOpAppend, BA::ModeAllocFixed), -8);
    EXPECT_EQ(contents(a), std::vector<uint8_t>(src.begin(), src.begin() + 4));
}

TEST(ByteArraySetData, FailedAllocationKeepsTheBlock) {
    BA a;
    auto const src = pattern(32);
    a.SetData(src.data(), 32);
    void const *block = a.GetData();
    size_t const huge = size_t(1) << 46;  // representable, but no machine hands it out
    EXPECT_EQ(a.SetData(nullptr, huge, BA::ModeOpAppend, BA::ModeAllocExact), -3);
    EXPECT_EQ(a.SetData(src.data(), huge, BA::ModeOpAppend, BA::ModeAllocIncrement), -9);
    EXPECT_EQ(a.GetData(), block);
    EXPECT_EQ(a.GetAllocated(), 32u);
    EXPECT_EQ(contents(a), src);
}

TEST(ByteArraySetData, AppendingItselfSurvivesTheGrowth) {
    BA a(nullptr, 0, 1);
    auto const src = pattern(1000);
    a.SetData(src.data(), src.size());
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(a.SetData(a.GetData(), a.GetSize(), BA::ModeOpAppend, BA::ModeAllocExact), 0);
    auto const all = contents(a);
    ASSERT_EQ(all.size(), 8000u);
    for (size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], src[i % 1000]) << i;
}

// Long runs of appends: the reported size follows the whole-increment rule step by step (the
// memory behind it may grow faster) and no byte is lost on the way.
TEST(ByteArraySetData, LongAppendRunKeepsRuleAndBytes) {
    BA a(size_t(100));
    auto const piece = pattern(37, 3);
    size_t expectAlloc = 0;
    for (int i = 0; i < 2000; ++i) {
        size_t const size = a.GetSize();
        if (size + 37 > expectAlloc) expectAlloc += ((size + 37 - expectAlloc) / 100 + 1) * 100;
        ASSERT_EQ(a.SetData(piece.data(), 37, BA::ModeOpAppend, BA::ModeAllocIncrement), 0);
        ASSERT_EQ(a.GetAllocated(), expectAlloc) << i;
        if (i == 1000) {  // reserving in exact mode in between keeps the content
            ASSERT_EQ(a.SetData(nullptr, a.GetAllocated() + 5000, BA::ModeOpReplace, BA::ModeAllocExact), 0);
            expectAlloc = a.GetAllocated();
        }
    }
    auto const all = contents(a);
    ASSERT_EQ(all.size(), 2000u * 37);
    for (size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], piece[i % 37]) << i;
}

TEST(ByteArraySetData, ZeroIncrementFromConstructorGrowsByOne) {
    BA a(size_t(0));
    uint8_t const b[3] = {1, 2, 3};
    EXPECT_EQ(a.SetData(b, 3, BA::ModeOpAppend, BA::ModeAllocIncrement), 0);
    EXPECT_EQ(a.GetAllocated(), 4u);  // (3 - 0) / 1 + 1 whole increments of 1
}

TEST(ByteArrayOffset, BoundsOfOffsetAndPointer) {
    BA empty;
    int dummy = 0;
    EXPECT_EQ(empty.SetCurrentOffsetPtr(&dummy), -4);  // no block
    EXPECT_EQ(empty.SetCurrentOffset(1), -4);
    EXPECT_EQ(empty.SetCurrentOffset(0), 0);
    EXPECT_EQ(empty.GetCurrentOffsetPtr(), nullptr);

    BA a(nullptr, 64, 1);
    auto *p = static_cast<uint8_t *>(a.GetData(0));
    EXPECT_EQ(a.SetCurrentOffset(64), 0);  // one past the data is a valid cursor
    EXPECT_EQ(a.SetCurrentOffset(65), -4);
    EXPECT_EQ(a.GetCurrentOffset(), 64u);  // unchanged by the failed call
    EXPECT_EQ(a.SetCurrentOffsetPtr(nullptr), -4);
    EXPECT_EQ(a.SetCurrentOffsetPtr(p - 1), -4);
    EXPECT_EQ(a.SetCurrentOffsetPtr(p + 65), -4);
    EXPECT_EQ(a.SetCurrentOffsetPtr(p + 10), 0);
    EXPECT_EQ(a.GetCurrentOffset(), 10u);
    EXPECT_EQ(a.GetCurrentOffsetPtr(), p + 10);
    EXPECT_FALSE(a.GetAllowed64BitsSeek());
}

TEST(ByteArraySize, GetDataAndSetSizeNeverPassTheBlock) {
    BA a(nullptr, 16, 1);
    void *p = a.GetData(8);
    EXPECT_EQ(a.GetSize(), 8u);
    EXPECT_EQ(a.GetData(0), p);  // 0 leaves the size
    EXPECT_EQ(a.GetSize(), 8u);
    EXPECT_EQ(a.GetData(17), p);  // beyond the block: ignored
    EXPECT_EQ(a.GetSize(), 8u);
    a.SetSize(17);
    EXPECT_EQ(a.GetSize(), 8u);
    a.SetSize(16);
    EXPECT_EQ(a.GetSize(), 16u);
    a.SetSize(0);
    EXPECT_EQ(a.GetSize(), 0u);
    EXPECT_EQ(a.GetAllocated(), 16u);
}

// Exposes only what the copy constructor must read virtually.
class ShortView : public CKrByteArray {
public:
    using CKrByteArray::CKrByteArray;
    size_t GetSize() const override { return CKrByteArray::GetSize() / 2; }
};

TEST(ByteArrayValue, CopyAssignCompareMoveFree) {
    auto const src = pattern(40);
    BA a(src.data(), src.size(), 0);
    BA b(a);
    EXPECT_EQ(contents(b), src);
    EXPECT_NE(b.GetData(), a.GetData());
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);

    // Copy reads the source through its virtual GetSize.
    ShortView half(src.data(), src.size(), 8);
    BA c(half);
    EXPECT_EQ(contents(c), std::vector<uint8_t>(src.begin(), src.begin() + 20));
    EXPECT_EQ(c.GetAllocated(), 20u);

    // Equality: same size and bytes.
    BA d(src.data(), 39, 1);
    EXPECT_TRUE(a != d);
    d.SetData(src.data(), 40);
    EXPECT_TRUE(a == d);
    static_cast<uint8_t *>(d.GetData(0))[39] ^= 1;
    EXPECT_FALSE(a == d);
    EXPECT_TRUE(BA() == BA(nullptr, 10, 1));  // both of size 0

    // Assignment copies the bytes but not the increment; self-assignment keeps everything.
    BA e(size_t(4));
    e = a;
    EXPECT_EQ(contents(e), src);
    EXPECT_EQ(e.GetAllocated(), 40u);
    uint8_t one = 9;
    e.SetData(&one, 1, BA::ModeOpAppend, BA::ModeAllocIncrement);
    EXPECT_EQ(e.GetAllocated(), 44u);  // grew by e's own increment 4
    BA &self = e;
    e = self;
    EXPECT_EQ(e.GetSize(), 41u);

    BA moved(std::move(e));
    EXPECT_EQ(moved.GetSize(), 41u);
    EXPECT_EQ(e.GetSize(), 0u);
    EXPECT_EQ(e.GetData(), nullptr);

    moved.SetCurrentOffset(5);
    moved.FreeData();
    EXPECT_EQ(moved.GetData(), nullptr);
    EXPECT_EQ(moved.GetSize(), 0u);
    EXPECT_EQ(moved.GetAllocated(), 0u);
    EXPECT_EQ(moved.GetCurrentOffset(), 0u);
}

}  // namespace
