// Physical memory status and the large-write hint of the platform layer.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/KrPlatform.h"

TEST(Memory, ReportsPlausiblePhysicalMemory) {
    kr_uint64 total = 0, available = 0;
    ASSERT_EQ(KR_GetPhysMemory(&total, &available), 0);
    EXPECT_GT(total, 64ull << 20);
    EXPECT_GT(available, 0u);
    EXPECT_LE(available, total);
    EXPECT_EQ(KR_GetPhysMemory(nullptr, nullptr), 0);
}

// The large-write hint never changes memory: unaligned ranges inside heap blocks, ranges under a
// huge page, and null are all safe, and the contents read back unchanged.
TEST(Memory, LargeWriteHintLeavesContentsAlone) {
    std::vector<unsigned char> block((8u << 20) + 123);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 7 + 1);
    KR_AdviseLargeWrite(block.data() + 5, block.size() - 10);
    KR_AdviseLargeWrite(block.data(), 100);
    KR_AdviseLargeWrite(nullptr, 1u << 30);
    size_t mismatches = 0;
    for (size_t i = 0; i < block.size(); ++i)
        if (block[i] != static_cast<unsigned char>(i * 7 + 1)) ++mismatches;
    EXPECT_EQ(mismatches, 0u);
    // Memory the hint covered is written and read back normally.
    std::fill(block.begin(), block.end(), 0xA5);
    EXPECT_EQ(block[block.size() / 2], 0xA5);
}
