// Lite variant reader on damaged buffers: Validate finds the first fault, lookups give -9 or the
// default, and no member reads outside the buffer (run under AddressSanitizer).
#include <gtest/gtest.h>

#include <string>

#include "common/LiteVariantTestUtil.h"
#include "variant/CKrVariant.h"

namespace {

// a { z = 1, b = 2 }: level head 0, count 6, size 10, z 18, b 28, index 38 (b) and 46 (z).
Bytes const kGood = {11, 2, 'a', 0, 0, 0, 2, 0, 0,  0, 38, 0, 0, 0, 0, 0, 0, 0,  //
                     2,  2, 'z', 0, 0, 0, 1, 0, 0,  0,                           //
                     2,  2, 'b', 0, 0, 0, 2, 0, 0,  0,                           //
                     28, 0, 0,   0, 0, 0, 0, 0, 18, 0, 0,  0, 0, 0, 0, 0};

// The members that walk or rebuild, once each: on damaged data they must return without
// reading outside the buffer (the fuzz target litevariant_read runs every member).
void touchEverything(CKrLiteVariantR &r) {
    CKrVariant v;
    r.Get(L"\\a", v);
    CKrStringW text;
    r.Trace(text);
    r.LiteVariantToXML(text);
    CKrLiteVariantR out, copy(r);
    r.Extract(L"\\a", out);
    copy.Remove(L"\\a\\z");
    copy.Merge(r);
}

TEST(LiteVariantDamage, ValidateReportsTheFirstFault) {
    struct Case {
        char const *what;
        void (*damage)(Bytes &);
        int result;
        kr_uint64 fault;
        int lookupB;  // Get("\a\b", -1) after the damage
    };
    Case const cases[] = {
        {"intact", [](Bytes &) {}, 0, 0, 2},
        {"count above the children", [](Bytes &b) { put32(b, 6, 3); }, -9, 0, -1},
        {"count below the children", [](Bytes &b) { put32(b, 6, 1); }, -9, 0, 2},
        {"level size too small", [](Bytes &b) { put64(b, 10, 37); }, -9, 28, -1},
        {"level size past the end", [](Bytes &b) { put64(b, 10, 200); }, -9, 0, -1},
        {"level size inside its head", [](Bytes &b) { put64(b, 10, 5); }, -9, 0, -1},
        {"huge count", [](Bytes &b) { put32(b, 6, 0xFFFFFFFF); }, -9, 0, -1},
        {"index entry past the level", [](Bytes &b) { put64(b, 38, 500); }, -9, 38, -1},
        {"index entry inside an item", [](Bytes &b) { put64(b, 38, 20); }, -9, 38, -1},
        {"index entry at the level head", [](Bytes &b) { put64(b, 38, 0); }, -9, 38, -1},
        {"index out of order", [](Bytes &b) { put64(b, 38, 18), put64(b, 46, 28); }, -9, 46, -1},
        {"child listed twice", [](Bytes &b) { put64(b, 46, 28); }, -9, 46, 2},
        {"reserved type code 10", [](Bytes &b) { b[18] = 10; }, -9, 18, 2},
        {"type code 0", [](Bytes &b) { b[28] = 0; }, -9, 28, -1},
        {"name past its level", [](Bytes &b) { b[29] = 200; }, -9, 28, -1},
        {"cut short", [](Bytes &b) { b.pop_back(); }, -9, 0, -1},
        {"trailing byte", [](Bytes &b) { b.push_back(1); }, -9, 54, 2},
    };
    for (Case const &c : cases) {
        Bytes b = kGood;
        c.damage(b);
        CKrLiteVariantR r;
        load(r, b);
        kr_uint64 fault = 12345;
        EXPECT_EQ(r.Validate(&fault), c.result) << c.what;
        EXPECT_EQ(fault, c.fault) << c.what;
        EXPECT_EQ(r.Get(L"\\a\\b", -1), c.lookupB) << c.what;
        touchEverything(r);
    }
}

TEST(LiteVariantDamage, DamagedItemsAtTheTop) {
    struct Case {
        char const *what;
        Bytes bytes;
    };
    Case const cases[] = {
        {"string without terminator", {8, 0, 'a', 0, 'b', 0}},
        {"odd string bytes", {8, 0, 'a'}},
        {"blob longer than the buffer", {9, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1}},
        {"blob length cut", {9, 0, 1, 0, 0}},
        {"int cut", {2, 0, 1, 0, 0}},
        {"name cut", {2, 4, 'a', 0}},
        {"level head cut", {11, 0, 0, 0, 0, 0}},
        {"one byte", {11}},
    };
    for (Case const &c : cases) {
        CKrLiteVariantR r;
        load(r, c.bytes);
        kr_uint64 fault = 1;
        EXPECT_EQ(r.Validate(&fault), -9) << c.what;
        EXPECT_EQ(fault, 0u) << c.what;
        EXPECT_EQ(r.Get(L"", -1), -1) << c.what;
        EXPECT_EQ(r.GetCurrentType() == krLVT_NONE || r.GetCurrentType() == c.bytes[0], true);
        EXPECT_EQ(r.NextValue(), -9) << c.what;
        touchEverything(r);
    }
    CKrLiteVariantR empty;
    EXPECT_EQ(empty.Validate(nullptr), 0);
    EXPECT_EQ(empty.FirstValue(), -9);
    EXPECT_EQ(empty.Get(L"\\a", 3), 3);
}

TEST(LiteVariantDamage, EnvelopeLies) {
    CKrLiteVariantW w;
    w.LevelBegin(L"a");
    for (int i = 0; i < 100; ++i) w.Set(i, L"n");
    w.LevelEnd();
    CKrLiteVariantR good;
    ASSERT_NE(w.Finalize(good, 1), nullptr);
    Bytes const env = bytesOf(good);
    using U = unsigned long long;
    U plainSize;
    std::memcpy(&plainSize, &env[4], 8);
    struct Case {
        char const *what;
        void (*damage)(Bytes &, U plain);
        int result;
    };
    Case const cases[] = {
        {"intact", [](Bytes &, U) {}, 0},
        {"size beyond deflate's ratio", [](Bytes &b, U) { put64(b, 4, 1ull << 40); }, -3},
        {"size beyond the limit", [](Bytes &b, U) { put64(b, 4, ~0ull); }, -3},
        {"size a little large", [](Bytes &b, U p) { put64(b, 4, p + 1); }, -9},
        {"size a little small", [](Bytes &b, U p) { put64(b, 4, p - 1); }, -9},
        {"stream cut", [](Bytes &b, U) { b.resize(b.size() - 3); }, -9},
        {"stream damaged", [](Bytes &b, U) { b[14] ^= 0x55; }, -9},
        // Heads too short to hold a size, or a size of 0: left as they are, read as code 'L'.
        {"head only", [](Bytes &b, U) { b.resize(12); }, -9},
        {"head cut", [](Bytes &b, U) { b.resize(7); }, -9},
        {"size zero", [](Bytes &b, U) { put64(b, 4, 0); }, -9},
    };
    for (Case const &c : cases) {
        Bytes b = env;
        c.damage(b, plainSize);
        CKrLiteVariantR r;
        load(r, b);
        EXPECT_EQ(r.Validate(nullptr), c.result) << c.what;
        EXPECT_EQ(r.Get(L"\\a\\n", -1), c.result == 0 ? 0 : -1) << c.what;
        if (c.result != 0) {
            EXPECT_EQ(bytesOf(r), b) << c.what;  // the envelope stays as it was
        }
        touchEverything(r);
    }
}

}  // namespace
