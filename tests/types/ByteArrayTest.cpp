#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "types/CKrByteArray.h"

namespace {

using BA = CKrByteArray;
using Bytes = std::vector<uint8_t>;

Bytes pattern(size_t n, uint8_t seed = 1) {
    Bytes v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(seed + i * 7);
    return v;
}

Bytes contents(BA const &a) {
    auto const *p = static_cast<uint8_t const *>(a.GetData());
    return p ? Bytes(p, p + a.GetSize()) : Bytes();
}

// Each row starts from a block of exactly startAllocated bytes holding startSize bytes.
TEST(ByteArraySetData, ResultCodesAndGrowthPerMode) {
    constexpr int Rep = BA::ModeOpReplace, App = BA::ModeOpAppend;
    constexpr int Exact = BA::ModeAllocExact, Fixed = BA::ModeAllocFixed,
                  Inc = BA::ModeAllocIncrement;
    const struct {
        const char *name;
        size_t increment, startAllocated, startSize;
        int op, alloc;  // raw enumerator values, unknown ones included
        size_t size;
        bool withData;
        int result;
        size_t sizeAfter, allocatedAfter;
    } cases[] = {
        {"append into empty, increment", 1024, 0, 0, App, Inc, 10, true, 0, 10, 1024},
        {"fixed block cuts the data", 1024, 4, 0, App, Fixed, 10, true, -8, 4, 4},
        {"fixed and full: nothing written", 1024, 4, 4, App, Fixed, 1, true, -9, 4, 4},
        {"fixed, zero bytes", 1024, 4, 4, App, Fixed, 0, true, 0, 4, 4},
        {"exact growth to base + size", 1024, 8, 8, App, Exact, 5, true, 0, 13, 13},
        {"replace shrinks the size, keeps the block", 1024, 64, 64, Rep, Exact, 5, true, 0, 5, 64},
        {"fits exactly: no growth", 16, 32, 16, App, Inc, 16, true, 0, 32, 32},
        {"one byte over: one increment", 16, 32, 32, App, Inc, 1, true, 0, 33, 48},
        {"exact multiple: one increment more", 16, 32, 32, App, Inc, 32, true, 0, 64, 80},
        {"partly fitting: k counts the missing part", 16, 32, 30, App, Inc, 20, true, 0, 50, 64},
        {"increment 0 from the constructor acts as 1", 0, 0, 0, App, Inc, 3, true, 0, 3, 4},
        {"null data only reserves", 1024, 0, 0, App, Exact, 100, false, 0, 0, 100},
        {"null data, fixed: nothing", 1024, 8, 8, App, Fixed, 100, false, 0, 8, 8},
        {"reserving keeps the bytes", 1024, 8, 8, Rep, Exact, 100, false, 0, 8, 100},
        {"unknown op acts as replace", 1024, 8, 8, 7, Exact, 3, true, 0, 3, 8},
        {"unknown alloc acts as exact", 1024, 8, 8, App, 9, 3, true, 0, 11, 11},
        {"size_t top, exact append: no wrap", 1024, 8, 8, App, Exact, SIZE_MAX - 4, true, -3, 8, 8},
        {"size_t top, replace", 1024, 8, 8, Rep, Exact, SIZE_MAX, true, -3, 8, 8},
        {"size_t top, increment", 1024, 8, 8, App, Inc, SIZE_MAX, true, -3, 8, 8},
        {"size_t top, increment 1", 1, 8, 8, App, Inc, SIZE_MAX, true, -3, 8, 8},
        {"beyond PTRDIFF_MAX", 1024, 0, 0, Rep, Exact, size_t(PTRDIFF_MAX) + 1, false, -3, 0, 0},
        {"block one past PTRDIFF_MAX, exact", 1024, 8, 8, App, Exact, size_t(PTRDIFF_MAX) - 7, true,
         -3, 8, 8},
        {"block one past PTRDIFF_MAX, increment", 1, 8, 8, App, Inc, size_t(PTRDIFF_MAX) - 8, true,
         -3, 8, 8},
        // Representable, but no machine hands such a block out.
        {"refused growth keeps the block", 1024, 32, 32, App, Exact, size_t(1) << 46, false, -3, 32,
         32},
        {"refused growth, data: nothing written", 16, 32, 32, App, Inc, size_t(1) << 46, true, -9,
         32, 32},
    };
    auto const source = pattern(128, 50);
    for (auto const &c : cases) {
        SCOPED_TRACE(c.name);
        BA a = c.startAllocated ? BA(nullptr, c.startAllocated, c.increment) : BA(c.increment);
        a.SetData(Bytes(c.startSize, 0xEE).data(), c.startSize);
        ASSERT_EQ(a.GetAllocated(), c.startAllocated);
        // Sizes above the source only occur in rows that must not copy anything.
        EXPECT_EQ(a.SetData(c.withData ? source.data() : nullptr, c.size,
                            static_cast<BA::EKrByteArrayModeOp>(c.op),
                            static_cast<BA::EKrByteArrayModeAlloc>(c.alloc)),
                  c.result);
        EXPECT_EQ(a.GetSize(), c.sizeAfter);
        EXPECT_EQ(a.GetAllocated(), c.allocatedAfter);
        // The bytes before an append, or all of them when only reserving, are kept (also when
        // growing failed); whatever was written is the start of the source, at the right place.
        auto const *p = static_cast<uint8_t const *>(a.GetData());
        size_t const base = c.op == App || !c.withData ? c.startSize : 0;
        if (base > 0) {
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(Bytes(p, p + base), Bytes(base, 0xEE));
        }
        if (c.withData && (c.result == 0 || c.result == -8) && c.sizeAfter > base) {
            EXPECT_EQ(0, std::memcmp(p + base, source.data(), c.sizeAfter - base));
        }
    }
}

TEST(ByteArraySetData, AppendingItselfSurvivesTheGrowth) {
    auto const src = pattern(1000);
    BA a(src.data(), src.size(), 1);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(a.SetData(a.GetData(), a.GetSize(), BA::ModeOpAppend, BA::ModeAllocExact), 0);
    auto const all = contents(a);
    ASSERT_EQ(all.size(), 8000u);
    for (size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], src[i % 1000]) << i;
}

TEST(ByteArrayBounds, OffsetPointerAndSizeNeverPassTheBlock) {
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
    for (uint8_t *bad : {static_cast<uint8_t *>(nullptr), p - 1, p + 65})
        EXPECT_EQ(a.SetCurrentOffsetPtr(bad), -4);
    EXPECT_EQ(a.SetCurrentOffsetPtr(p + 10), 0);
    EXPECT_EQ(a.GetCurrentOffsetPtr(), p + 10);

    // GetData(0) and sizes beyond the block leave the size alone.
    EXPECT_EQ(a.GetData(8), p);
    EXPECT_EQ(a.GetData(0), p);
    EXPECT_EQ(a.GetData(65), p);
    EXPECT_EQ(a.GetSize(), 8u);
    a.SetSize(65);
    EXPECT_EQ(a.GetSize(), 8u);
    a.SetSize(64);
    EXPECT_EQ(a.GetSize(), 64u);
    a.SetSize(0);
    EXPECT_EQ(a.GetSize(), 0u);
    EXPECT_EQ(a.GetAllocated(), 64u);
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

    ShortView half(src.data(), src.size(), 8);
    BA c(half);  // reads the source through its virtual GetSize
    EXPECT_EQ(contents(c), Bytes(src.begin(), src.begin() + 20));
    EXPECT_EQ(c.GetAllocated(), 20u);

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
    // Growing again stays within the memory kept behind the block (appending mode); the
    // reported size still follows the increments and no byte is lost.
    e.SetData(src.data(), 5, BA::ModeOpAppend, BA::ModeAllocIncrement);
    EXPECT_EQ(e.GetAllocated(), 48u);
    Bytes grown = src;
    grown.push_back(9);
    grown.insert(grown.end(), src.begin(), src.begin() + 5);
    EXPECT_EQ(contents(e), grown);
    BA &self = e;
    e = self;
    EXPECT_EQ(contents(e), grown);

    BA moved(std::move(e));
    EXPECT_EQ(moved.GetSize(), 46u);
    EXPECT_EQ(e.GetSize(), 0u);
    EXPECT_EQ(e.GetData(), nullptr);

    moved.SetCurrentOffset(5);
    moved.FreeData();
    EXPECT_EQ(moved.GetData(), nullptr);
    EXPECT_EQ(moved.GetSize() + moved.GetAllocated() + moved.GetCurrentOffset(), 0u);
}

}  // namespace
