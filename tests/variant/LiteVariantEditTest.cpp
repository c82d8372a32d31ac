// Lite variant rebuilding (Append, Extract, Merge, Remove, Replace), the file forms and the
// shared readers.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "common/LiteVariantTestUtil.h"
#include "variant/CKrLiteVariantRHolder.h"

namespace {

// The buffer as one line: "name=value" per item, levels as "name{...}", items separated by ",".
std::wstring dump(CKrLiteVariantR &r) {
    CKrStringW trace;
    if (r.Trace(trace) != 0) return L"damaged";
    std::wstring out, line;
    size_t depth = 0;
    std::wistringstream lines(trace.GetStdString());
    while (std::getline(lines, line)) {  // "  name (type) = value\r" or "  name (11) [count]\r"
        size_t const indent = line.find_first_not_of(L' ');
        for (; depth > indent / 2; --depth) out += L"}";
        if (!out.empty() && out.back() != L'{') out += L",";
        out += line.substr(indent, line.find(L" (") - indent);
        size_t const eq = line.find(L" = ");
        if (line.find(L"(11)") != std::wstring::npos)
            out += L"{", depth = indent / 2 + 1;
        else
            out += L"=" +
                   (eq == std::wstring::npos ? L"?" : line.substr(eq + 3, line.size() - eq - 4));
    }
    return out + std::wstring(depth, L'}');
}

struct Item {
    wchar_t const *name;
    int value;  // ignored for levels
    std::initializer_list<Item> children;
    bool level;
};
Item val(wchar_t const *n, int v) { return {n, v, {}, false}; }
Item lvl(wchar_t const *n, std::initializer_list<Item> c) { return {n, 0, c, true}; }

void write(CKrLiteVariantW &w, Item const &item) {
    if (!item.level) {
        w.Set(item.value, item.name);
        return;
    }
    w.LevelBegin(item.name);
    for (Item const &c : item.children) write(w, c);
    w.LevelEnd();
}
CKrLiteVariantR make(std::initializer_list<Item> top) {
    CKrLiteVariantW w;
    for (Item const &i : top) write(w, i);
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    return r;
}

CKrLiteVariantR sample() {
    return make({lvl(L"top", {val(L"a", 1), val(L"b", 2), lvl(L"l", {val(L"x", 1), val(L"y", 2)}),
                              val(L"d", 1), val(L"d", 2), val(L"c", 1)})});
}

TEST(LiteVariantEdit, Merge) {
    // The other buffers are made inside lambdas: the children lists of Item live only as long
    // as the full expression that makes them.
    struct Case {
        char const *what;
        CKrLiteVariantR (*other)();
        wchar_t const *result;
    };
    Case const cases[] = {
        {"values replaced in place, levels merged, duplicates paired in order, new items last",
         [] {
             return make(
                 {lvl(L"top", {val(L"b", 20), lvl(L"l", {val(L"y", 22), val(L"z", 33)}),
                               val(L"d", 30), val(L"e", 5), val(L"d", 31), val(L"d", 32)})});
         },
         L"top{a=1,b=20,l{x=1,y=22,z=33},d=30,d=31,c=1,e=5,d=32}"},
        {"a level replaces a value and a value a level",
         [] {
             return make({lvl(L"top", {lvl(L"c", {val(L"q", 1)}), val(L"l", 7)})});
         },
         L"top{a=1,b=2,l=7,d=1,d=2,c{q=1}}"},
        {"an empty other changes nothing", [] { return make({}); },
         L"top{a=1,b=2,l{x=1,y=2},d=1,d=2,c=1}"},
    };
    for (Case const &c : cases) {
        CKrLiteVariantR r = sample(), other = c.other();
        ASSERT_EQ(r.Merge(other), 0) << c.what;
        EXPECT_EQ(dump(r), c.result) << c.what;
        EXPECT_EQ(r.Validate(nullptr), 0) << c.what;
    }
    // A second top-level level cannot be written: refused, nothing changes.
    CKrLiteVariantR r = sample(), other = make({lvl(L"second", {})});
    Bytes const before = bytesOf(r);
    EXPECT_EQ(r.Merge(other), -9);
    EXPECT_EQ(bytesOf(r), before);
}

TEST(LiteVariantEdit, RemoveReplaceExtract) {
    CKrLiteVariantR r = sample();
    EXPECT_EQ(r.Remove(L"\\top\\l\\x"), 0);
    EXPECT_EQ(dump(r), L"top{a=1,b=2,l{y=2},d=1,d=2,c=1}");
    EXPECT_EQ(r.Remove(L"\\top\\d"), 0);  // the first written of equal names
    EXPECT_EQ(dump(r), L"top{a=1,b=2,l{y=2},d=2,c=1}");
    Bytes const before = bytesOf(r);
    EXPECT_EQ(r.Remove(L"\\top\\nope"), -9);
    EXPECT_EQ(bytesOf(r), before);

    CKrLiteVariantR two = make({val(L"p", 8), val(L"q", 9)});
    EXPECT_EQ(r.Replace(L"\\top\\b", two), 0);
    EXPECT_EQ(dump(r), L"top{a=1,p=8,q=9,l{y=2},d=2,c=1}");
    EXPECT_EQ(r.Replace(L"\\top\\nope", two), -9);
    EXPECT_EQ(r.Validate(nullptr), 0);

    CKrLiteVariantR out;
    EXPECT_EQ(r.Extract(L"\\top\\l", out), 0);
    EXPECT_EQ(dump(out), L"l{y=2}");
    EXPECT_EQ(out.Get(L"\\l\\y", 0), 2);
    EXPECT_EQ(r.Extract(L"\\top\\q", out), 0);
    EXPECT_EQ(dump(out), L"q=9");
    EXPECT_EQ(r.Extract(L"\\top\\nope", out), -9);
    EXPECT_EQ(dump(out), L"q=9");  // unchanged
    r.Reset();
    r.LevelBegin(L"top");
    r.NextValue();
    EXPECT_EQ(r.ExtractCurrent(out), 0);
    EXPECT_EQ(dump(out), L"p=8");
    // Extract and Replace make an edit in place: take a level out, change it, put it back.
    r.Extract(L"\\top\\l", out);
    CKrLiteVariantR extra = make({lvl(L"l", {val(L"w", 0)})});
    out.Merge(extra);
    EXPECT_EQ(r.Replace(L"\\top\\l", out), 0);
    EXPECT_EQ(dump(r), L"top{a=1,p=8,q=9,l{y=2,w=0},d=2,c=1}");
}

TEST(LiteVariantEdit, Append) {
    CKrLiteVariantR src = sample();
    CKrLiteVariantW packer;
    packer.Append(src);
    CKrLiteVariantR packed;
    ASSERT_NE(packer.Finalize(packed, 1), nullptr);
    Bytes const envelope = bytesOf(packed);

    CKrLiteVariantW w;
    w.LevelBegin(L"outer");
    EXPECT_EQ(w.Append(src), 0);
    EXPECT_EQ(w.Append(packed), 0);  // inflated on the way, the source left compressed
    EXPECT_EQ(bytesOf(packed), envelope);
    w.LevelEnd();
    EXPECT_EQ(w.Append(src), -9);  // a level after data at the top
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    EXPECT_EQ(r.Validate(nullptr), 0);
    EXPECT_EQ(r.Get(L"\\outer\\top\\l\\y", 0), 2);
    unsigned count = 0;
    r.LevelBegin(L"\\outer", &count);
    EXPECT_EQ(count, 2u);
}

std::wstring tempPath(char const *name) {
    std::string const p = ::testing::TempDir() + name;
    return std::wstring(p.begin(), p.end());
}
void writeFile(std::wstring const &path, Bytes const &b) {
    std::ofstream(std::string(path.begin(), path.end()), std::ios::binary)
        .write(reinterpret_cast<char const *>(b.data()), std::streamsize(b.size()));
}
Bytes readFile(std::wstring const &path) {
    std::ifstream in(std::string(path.begin(), path.end()), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

TEST(LiteVariantFiles, PlainAndCompressed) {
    std::wstring const path = tempPath("lv_files.lv");
    CKrLiteVariantR plain = sample(), loaded;
    Bytes const bytes = bytesOf(plain);
    ASSERT_EQ(plain.SaveToFile(path.c_str()), 0);
    Bytes head = {'L', 'V', '0', '0', 0, 0, 0, 0, 0, 0, 0, 0};
    put64(head, 4, bytes.size());
    head.insert(head.end(), bytes.begin(), bytes.end());
    EXPECT_EQ(readFile(path), head);  // "LV00", the size, the buffer
    EXPECT_EQ(loaded.LoadFromFile(path.c_str()), 0);
    EXPECT_EQ(bytesOf(loaded), bytes);

    CKrLiteVariantW w;
    w.Append(plain);
    for (int i = 0; i < 50; ++i) w.Set(i, L"padding");
    CKrLiteVariantR packed;
    ASSERT_NE(w.Finalize(packed, 1), nullptr);
    ASSERT_EQ(packed.SaveToFile(path.c_str()), 0);
    EXPECT_EQ(readFile(path), bytesOf(packed));  // a buffer still compressed: the envelope
    EXPECT_EQ(loaded.LoadFromFile(path.c_str()), 0);
    EXPECT_EQ(loaded.Get(L"\\top\\l\\x", 0), 1);
    std::remove(std::string(path.begin(), path.end()).c_str());
}

TEST(LiteVariantFiles, BadFilesAreRefusedAndTheBufferKept) {
    std::wstring const path = tempPath("lv_bad.lv");
    Bytes good = {'L', 'V', '0', '0', 6, 0, 0, 0, 0, 0, 0, 0, 2, 0, 5, 0, 0, 0};
    struct Case {
        char const *what;
        void (*damage)(Bytes &);
        int result;
    };
    Case const cases[] = {
        {"size larger than the file", [](Bytes &b) { b[4] = 7; }, -8},
        {"size smaller than the file", [](Bytes &b) { b[4] = 5; }, -9},
        {"damaged item", [](Bytes &b) { b[12] = 10; }, -9},
        {"unknown mark", [](Bytes &b) { b[3] = '1'; }, -9},
        {"head cut", [](Bytes &b) { b.resize(9); }, -8},
        {"mark cut", [](Bytes &b) { b.resize(3); }, -8},
        {"empty file", [](Bytes &b) { b.clear(); }, -9},
        {"lying envelope",
         [](Bytes &b) { b = {'L', 'V', '0', 'Z', 0, 0, 0, 0, 0, 0, 0, 1, 0x78, 0x9C}; }, -3},
    };
    for (Case const &c : cases) {
        Bytes b = good;
        c.damage(b);
        writeFile(path, b);
        CKrLiteVariantR r = sample();
        Bytes const before = bytesOf(r);
        EXPECT_EQ(r.LoadFromFile(path.c_str()), c.result) << c.what;
        EXPECT_EQ(bytesOf(r), before) << c.what;
    }
    CKrLiteVariantR r;
    writeFile(path, good);
    EXPECT_EQ(r.LoadFromFile(path.c_str()), 0);
    EXPECT_EQ(r.Get(L"", 0), 5);
    EXPECT_EQ(r.LoadFromFile(tempPath("lv_missing/none.lv").c_str()), -4);
    EXPECT_EQ(r.LoadFromFile(nullptr), -4);
    EXPECT_EQ(r.SaveToFile(nullptr), -4);
    std::remove(std::string(path.begin(), path.end()).c_str());
}

TEST(LiteVariantShared, HolderCopiesBeforeAChange) {
    CKrLiteVariantRHolder a;
    EXPECT_FALSE(a.IsNotNull());
    CKrRefLiteVariantR *ra = a.MakeNotNull();
    ASSERT_NE(ra, nullptr);
    CKrLiteVariantR src = sample();
    *static_cast<CKrLiteVariantR *>(ra) = src;
    CKrLiteVariantRHolder b = a;
    EXPECT_EQ(b.Get(), ra);
    EXPECT_TRUE(ra->IsReferencedNonUniquely());
    CKrRefLiteVariantR *rb = b.MakeNotNullAndUnique();
    EXPECT_NE(rb, ra);
    EXPECT_FALSE(ra->IsReferencedNonUniquely());
    EXPECT_EQ(bytesOf(*rb), bytesOf(*ra));
    EXPECT_EQ(b.MakeNotNullAndUnique(), rb);  // already its own
    rb->Remove(L"\\top\\a");
    EXPECT_EQ(ra->Get(L"\\top\\a", 0), 1);
    EXPECT_EQ(rb->Get(L"\\top\\a", 0), 0);
    a = b;  // releases the first reader (deleted: the sanitizer build checks for a leak)
    EXPECT_EQ(a.Get(), rb);
    EXPECT_EQ(rb->AddRef(), 3);
    EXPECT_EQ(rb->Release(), 2);
}

}  // namespace
