// Lite variant writer: exact byte layouts, the order of the index, the 255-unit name cut,
// buffer growth and Finalize with and without the compressed envelope.
#include <gtest/gtest.h>

#include <string>

#include "common/LiteVariantTestUtil.h"

namespace {

TEST(LiteVariantLayout, ItemsAsBytes) {
    using W = CKrLiteVariantW &;
    struct Case {
        char const *what;
        void (*write)(W);
        Bytes bytes;
    };
    Case const cases[] = {
        {"bool", [](W w) { w.Set(true, L"x"); }, {1, 2, 'x', 0, 0, 0, 1}},
        {"int32", [](W w) { w.Set(-2, L"x"); }, {2, 2, 'x', 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF}},
        {"uint32 unnamed", [](W w) { w.Set(7u, nullptr); }, {3, 0, 7, 0, 0, 0}},
        {"int64 empty name",
         [](W w) { w.Set(kr_int64(-1), L""); },
         {4, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
        {"uint64",
         [](W w) { w.Set(kr_uint64(0x0102030405060708ull), nullptr); },
         {5, 0, 8, 7, 6, 5, 4, 3, 2, 1}},
        {"double", [](W w) { w.Set(1.0, nullptr); }, {6, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F}},
        {"pointer",
         [](W w) { w.Set(reinterpret_cast<void *>(0x1234), nullptr); },
         {7, 0, 0x34, 0x12, 0, 0, 0, 0, 0, 0}},
        {"string ab", [](W w) { w.Set(L"ab", L"x"); }, {8, 2, 'x', 0, 0, 0, 'a', 0, 'b', 0, 0, 0}},
        {"null string",
         [](W w) { w.Set(static_cast<wchar_t const *>(nullptr), nullptr); },
         {8, 0, 0, 0}},
        {"utf-16 units",
         [](W w) { w.Set(L"\u00e9\uFF01", L"\u0100"); },
         {8, 2, 0, 1, 0, 0, 0xE9, 0, 0x01, 0xFF, 0, 0}},
        {"blob",
         [](W w) { w.Set("abc", 3, nullptr); },
         {9, 0, 3, 0, 0, 0, 0, 0, 0, 0, 'a', 'b', 'c'}},
        {"empty blob",
         [](W w) { w.Set(CKrByteArray(), L"e"); },
         {9, 2, 'e', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        // Children stay in writing order (z, b); the index lists b (offset 28) before z (18).
        {"level",
         [](W w) {
             w.LevelBegin(L"a");
             w.Set(1, L"z");
             w.Set(2, L"b");
             w.LevelEnd();
         },
         {11, 2, 'a', 0, 0, 0, 2, 0, 0,  0, 38, 0, 0, 0, 0, 0, 0, 0,  //
          2,  2, 'z', 0, 0, 0, 1, 0, 0,  0,                           //
          2,  2, 'b', 0, 0, 0, 2, 0, 0,  0,                           //
          28, 0, 0,   0, 0, 0, 0, 0, 18, 0, 0,  0, 0, 0, 0, 0}},
        {"empty level",
         [](W w) { w.LevelBegin(nullptr), w.LevelEnd(); },
         {11, 0, 0, 0, 0, 0, 14, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (Case const &c : cases) {
        CKrLiteVariantW w;
        c.write(w);
        CKrLiteVariantR r;
        EXPECT_EQ(finish(w, r), c.bytes) << c.what;
        EXPECT_EQ(r.Validate(nullptr), 0) << c.what;
    }
}

// The index sorts by unsigned 16-bit units, a prefix before its extensions, unnamed first.
TEST(LiteVariantLayout, IndexOrder) {
    std::wstring const names[] = {L"ab", L"\uFF01", L"a", L"b", L"", L"\u00e9", L"A", L"a\u0001"};
    std::wstring const sorted[] = {L"", L"A", L"a", L"a\u0001", L"ab", L"b", L"\u00e9", L"\uFF01"};
    CKrLiteVariantW w;
    w.LevelBegin(L"top");
    for (auto const &n : names) w.Set(1, n.c_str());
    w.LevelEnd();
    CKrLiteVariantR r;
    Bytes const b = finish(w, r);
    unsigned long long levelSize;
    std::memcpy(&levelSize, &b[14], 8);  // after "top" and the count
    ASSERT_EQ(b.size(), levelSize + 8 * std::size(names));
    for (size_t i = 0; i < std::size(sorted); ++i) {
        unsigned long long at;
        std::memcpy(&at, &b[levelSize + 8 * i], 8);
        r.Reset();
        r.LevelBegin(L"top");
        kr_int64 const found = r.Find(sorted[i].c_str());
        EXPECT_EQ(found, kr_int64(at)) << "index entry " << i;
    }
}

TEST(LiteVariantLayout, LongNamesAreCutAt255Units) {
    std::wstring const n254(254, L'n'), n255(255, L'n'), n300(300, L'n');
    CKrLiteVariantW w;
    w.LevelBegin(L"top");
    w.Set(1, n254.c_str());
    w.Set(2, n300.c_str());
    w.LevelEnd();
    CKrLiteVariantR r;
    Bytes const b = finish(w, r);
    size_t const first = 22, second = first + 2 + 510 + 4;
    EXPECT_EQ(b[first + 1], 255);  // 254 units and the terminator
    EXPECT_EQ(b[first + 2 + 508], 0);
    EXPECT_EQ(b[second + 1], 255);  // 255 units, no terminator
    EXPECT_EQ(b[second + 2 + 508], 'n');
    EXPECT_EQ(b[second + 2 + 510], 2);  // the value follows the cut name directly
    r.LevelBegin(L"top");
    EXPECT_EQ(r.Get(n254.c_str(), 0), 1);
    EXPECT_EQ(r.Get(n255.c_str(), 0), 2);    // the cut name finds the item
    EXPECT_EQ(r.Get(n300.c_str(), -1), -1);  // longer than any stored name
    EXPECT_EQ(r.Validate(nullptr), 0);
}

TEST(LiteVariantLayout, GrowthFrom4096ByDoubling) {
    struct Case {
        size_t blob;
        kr_uint64 allocated;
    };
    for (Case c : {Case{0, 4096}, Case{4086, 4096}, Case{4087, 8192}, Case{20000, 32768}}) {
        std::string const data(c.blob, 'x');
        CKrLiteVariantW w;
        w.Set(data.data(), data.size(), nullptr);
        EXPECT_EQ(w.GetSize(), c.blob + 10);
        CKrLiteVariantR r;
        ASSERT_NE(w.Finalize(r, 0), nullptr);
        EXPECT_EQ(r.GetAllocatedSize(), c.allocated) << c.blob;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(r.GetPointer()) % 16, 0u);
    }
}

TEST(LiteVariantLayout, LevelRules) {
    CKrLiteVariantW w;
    EXPECT_EQ(w.LevelEnd(), -9);  // nothing open
    EXPECT_EQ(w.Set(1, L"a"), 0);
    EXPECT_EQ(w.LevelBegin(L"late"), -9);  // the top already holds data
    EXPECT_EQ(w.GetSize(), 10u);           // and nothing was written for it
    // Deep nesting beyond the stack's first 8 entries and many children beyond 32.
    CKrLiteVariantW deep;
    for (int i = 0; i < 20; ++i) ASSERT_EQ(deep.LevelBegin(L"d"), 0);
    for (int i = 0; i < 100; ++i) deep.Set(i, std::to_wstring(i).c_str());
    EXPECT_EQ(deep.GetDepth(), 19);
    CKrLiteVariantR r;
    ASSERT_NE(deep.Finalize(r, 0), nullptr);  // closes all 20
    EXPECT_EQ(deep.GetDepth(), -1);
    EXPECT_EQ(r.Validate(nullptr), 0);
    std::wstring path;
    for (int i = 0; i < 20; ++i) path += L"\\d";
    EXPECT_EQ(r.Get((path + L"\\57").c_str(), -1), 57);
}

TEST(LiteVariantLayout, FinalizeCompressed) {
    // Too small to shrink: null, the target keeps its buffer, the writer keeps its data.
    CKrLiteVariantW tiny;
    tiny.Set(1, L"a");
    CKrLiteVariantR target;
    load(target, {2, 0, 5, 0, 0, 0});
    void *const before = target.GetPointer();
    EXPECT_EQ(tiny.Finalize(target, 1), nullptr);
    EXPECT_EQ(target.GetPointer(), before);
    EXPECT_EQ(target.Get(L"", 0), 5);
    EXPECT_EQ(tiny.GetSize(), 10u);
    EXPECT_NE(tiny.Finalize(target, 0), nullptr);
    EXPECT_EQ(target.Get(L"a", 0), 1);
    CKrLiteVariantW empty;
    EXPECT_EQ(empty.Finalize(target, 1), nullptr);

    auto write = [](CKrLiteVariantW &w) {
        w.LevelBegin(L"rec");
        for (int i = 0; i < 500; ++i) w.Set(i, (L"item" + std::to_wstring(i)).c_str());
        w.Set(L"some text that repeats, some text that repeats", L"text");
        w.LevelEnd();
    };
    CKrLiteVariantW pw, zw;
    write(pw);
    write(zw);
    CKrLiteVariantR plain, packed;
    Bytes const plainBytes = finish(pw, plain);
    void *const start = zw.Finalize(packed, 1);
    ASSERT_NE(start, nullptr);
    EXPECT_EQ(start, packed.GetPointer());
    EXPECT_EQ(zw.GetSize(), 0u);  // the writer is empty again
    Bytes const env = bytesOf(packed);
    ASSERT_GT(env.size(), 12u);
    EXPECT_EQ(std::string(env.begin(), env.begin() + 4), "LV0Z");
    unsigned long long declared;
    std::memcpy(&declared, &env[4], 8);
    EXPECT_EQ(declared, plainBytes.size());
    EXPECT_LT(env.size(), plainBytes.size());
    EXPECT_EQ(packed.GetAllocatedSize(), kr_uint64(double(plainBytes.size()) * 1.2 + 24));
    // First access inflates; afterwards the buffer is the plain one, byte for byte.
    EXPECT_EQ(packed.Get(L"\\rec\\item321", -1), 321);
    EXPECT_EQ(bytesOf(packed), plainBytes);
}

}  // namespace
