// Lite variant writer round trip.  The input is a program of items and levels (names of any
// length up to 300 units, all value types); it is written, finalized plain and, through Append,
// compressed, and read back.  Checked: the buffer validates; the compressed form inflates to
// the same bytes; reading in order gives back every item with its type, its name (cut at 255
// units) and its value; every uniquely named item is found through its level's index at the
// offset the in-order reading saw, and of equally named items the first written; a second
// top-level level is refused.  Every level's index equals the reference order: a stable sort
// of its children by the unit-by-unit name comparison (the writer sorts by keys, runs and
// radix passes).  The four-units-at-a-time name comparison and the search's comparison by
// two-word prefixes agree with the unit-by-unit reference on every pair of names of a level,
// and the writer's chunked name store gives the bytes and key words of its plain one.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"
#include "variant/internal/LvLayout.h"  // the name order: fast comparison and its reference

namespace {

void check(bool ok, char const *what) {
    if (!ok) {
        std::fprintf(stderr, "litevariant_roundtrip: %s\n", what);
        std::abort();
    }
}

struct Input {
    uint8_t const *p;
    size_t n;
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    uint64_t bits(int bytes) {
        uint64_t v = 0;
        for (int i = 0; i < bytes; ++i) v |= uint64_t(byte()) << (8 * i);
        return v;
    }
    // Units without zeros; lengths favour short names but reach beyond the 255 cut.
    std::wstring text(bool longer) {
        uint8_t const l = byte();
        size_t const len = longer && (l & 0x80) ? 200 + (l & 0x7F) : l % 12;
        std::wstring s;
        for (size_t i = 0; i < len; ++i) {
            unsigned const u = (i % 4 == 0) ? unsigned(bits(2)) : 'a' + byte() % 3;
            s += wchar_t(u ? u : 1);
        }
        return s;
    }
};

struct Node {
    int type;
    std::wstring name;  // as stored (cut at 255)
    std::vector<uint8_t> value;
    std::vector<Node> children;
};

std::wstring stored(std::wstring name) {
    if (name.size() > 255) name.resize(255);
    return name;
}

std::vector<uint8_t> raw(void const *p, size_t n) {
    auto const *b = static_cast<uint8_t const *>(p);
    return std::vector<uint8_t>(b, b + n);
}

// Writes the program into `w` and builds the expected tree under `root`.
void writeProgram(Input in, CKrLiteVariantW &w, Node &root) {
    std::vector<Node *> open{&root};
    int ops = 0;
    while (in.n && ++ops < 3000) {
        uint8_t const op = in.byte() % 12;
        std::wstring const name = in.text(true);
        wchar_t const *n = name.c_str();
        Node node{0, stored(name), {}, {}};
        int r = 0;
        switch (op) {
            case 0: {
                bool const v = in.byte() & 1;
                r = w.Set(v, n), node.type = krLVT_BOOL, node.value = {uint8_t(v)};
                break;
            }
            case 1: {
                int const v = int(in.bits(4));
                r = w.Set(v, n), node.type = krLVT_INT32, node.value = raw(&v, 4);
                break;
            }
            case 2: {
                unsigned const v = unsigned(in.bits(4));
                r = w.Set(v, n), node.type = krLVT_UINT32, node.value = raw(&v, 4);
                break;
            }
            case 3: {
                kr_int64 const v = kr_int64(in.bits(8));
                r = w.Set(v, n), node.type = krLVT_INT64, node.value = raw(&v, 8);
                break;
            }
            case 4: {
                kr_uint64 const v = in.bits(8);
                r = w.Set(v, n), node.type = krLVT_UINT64, node.value = raw(&v, 8);
                break;
            }
            case 5: {
                uint64_t const b = in.bits(8);
                double v;
                std::memcpy(&v, &b, 8);
                r = w.Set(v, n), node.type = krLVT_DOUBLE, node.value = raw(&v, 8);
                break;
            }
            case 6: {
                kr_uint64 const v = in.bits(8);
                r = w.Set(reinterpret_cast<void *>(uintptr_t(v)), n), node.type = krLVT_VOIDPTR;
                node.value = raw(&v, 8);
                break;
            }
            case 7: {
                std::wstring const t = in.text(false);
                r = w.Set(t.c_str(), n), node.type = krLVT_STRING;
                for (wchar_t c : t)
                    node.value.push_back(uint8_t(c)), node.value.push_back(uint8_t(c >> 8));
                node.value.push_back(0), node.value.push_back(0);
                break;
            }
            case 8: {
                std::vector<uint8_t> b(in.byte() % 40);
                for (auto &x : b) x = in.byte();
                r = w.Set(b.data(), b.size(), n), node.type = krLVT_BLOB, node.value = b;
                break;
            }
            case 9:
            case 10: {
                bool const atTopWithData = open.size() == 1 && !root.children.empty();
                r = w.LevelBegin(n);
                check(r == (atTopWithData ? -9 : 0), "LevelBegin result");
                if (r == 0) {
                    node.type = krLVT_LEVEL;
                    open.back()->children.push_back(node);
                    open.push_back(&open.back()->children.back());
                }
                continue;
            }
            default:
                r = w.LevelEnd();
                check(r == (open.size() > 1 ? 0 : -9), "LevelEnd result");
                if (r == 0) open.pop_back();
                continue;
        }
        check(r == 0, "Set result");
        open.back()->children.push_back(node);
    }
}

// Walks every level of a plain buffer and compares its index with the stable sort of its
// children by the reference comparison.
void checkIndexes(uint8_t const *data, kr_uint64 size) {
    using namespace orvik::detail;
    std::vector<std::pair<kr_uint64, kr_uint64>> ranges{{0, size}};  // item ranges to walk
    while (!ranges.empty()) {
        auto [pos, end] = ranges.back();
        ranges.pop_back();
        while (pos < end) {
            LvItem item;
            check(lvParseItem(data, end, pos, item), "walking the written buffer");
            pos = item.end;
            if (item.type != krLVT_LEVEL) continue;
            kr_uint64 const childrenEnd = item.offset + item.levelSize;
            std::vector<kr_uint64> children;  // offsets from the level, in writing order
            for (kr_uint64 c = item.valueOffset; c < childrenEnd;) {
                LvItem child;
                check(lvParseItem(data, childrenEnd, c, child), "walking a level");
                children.push_back(c - item.offset);
                c = child.end;
            }
            check(children.size() == item.count, "level count");
            uint8_t const *level = data + item.offset;
            std::stable_sort(children.begin(), children.end(), [level](kr_uint64 x, kr_uint64 y) {
                return lvCompareStoredPlain(level + x + 2, level[x + 1], level + y + 2,
                                            level[y + 1]) < 0;
            });
            for (size_t i = 0; i < children.size(); ++i)
                check(lvLoad64(data + childrenEnd + 8 * i) == children[i],
                      "index differs from the reference order");
            ranges.push_back({item.valueOffset, childrenEnd});
        }
    }
}

// The writer's two ways of storing a name: the same bytes and the same key words.
void compareNameStores(std::wstring const &name) {
    constexpr size_t kRoom = 2 * orvik::detail::kLvMaxNameUnits + 16;
    uint8_t chunked[kRoom], plain[kRoom];
    std::memset(chunked, 0xA5, kRoom);
    std::memset(plain, 0xA5, kRoom);
    uint64_t c0, c1, p0, p1;
    unsigned const nc = orvik::detail::lvStoreNameChunked(chunked, name.c_str(), c0, c1);
    unsigned const np = orvik::detail::lvStoreNamePlain(plain, name.c_str(), p0, p1);
    unsigned const stored = np == 0 ? 0 : (np < orvik::detail::kLvMaxNameUnits ? np + 1 : np);
    check(nc == np && c0 == p0 && c1 == p1 && std::memcmp(chunked, plain, 2 * stored) == 0,
          "chunked and plain name stores differ");
}

// The fast comparison of stored names against the reference, on two names in stored form.
void comparePair(std::wstring const &a, std::wstring const &b) {
    compareNameStores(a);
    auto storedForm = [](std::wstring const &n) {
        std::vector<uint8_t> bytes;
        for (wchar_t c : n) bytes.push_back(uint8_t(c)), bytes.push_back(uint8_t(c >> 8));
        if (!n.empty() && n.size() < 255) bytes.push_back(0), bytes.push_back(0);
        return bytes;
    };
    std::vector<uint8_t> const sa = storedForm(a), sb = storedForm(b);
    unsigned const ua = unsigned(sa.size() / 2), ub = unsigned(sb.size() / 2);
    check(orvik::detail::lvCompareStored(sa.data(), ua, sb.data(), ub) ==
              orvik::detail::lvCompareStoredPlain(sa.data(), ua, sb.data(), ub),
          "fast and reference name comparisons differ");
    // The search's comparison of a stored name with a wanted one (a's key), which reads 16
    // bytes from the stored name's start.
    orvik::detail::LvKey key;
    orvik::detail::lvMakeKey(a.c_str(), key);
    std::vector<uint8_t> padded = sb;
    padded.resize(sb.size() + 16, 0xA5);
    check(orvik::detail::lvCompareKeyPrefix(padded.data(), ub, key) ==
              orvik::detail::lvCompareStoredPlain(sb.data(), ub, sa.data(), ua),
          "prefix and reference name comparisons differ");
}

// Reads the children of the current level in order and compares them with `expected`.
void compareLevel(CKrLiteVariantR &r, std::vector<Node> const &expected) {
    struct Frame {
        std::vector<Node> const *nodes;
        size_t next;
        std::vector<kr_int64> offsets;
    };
    std::vector<Frame> stack{{&expected, 0, {}}};
    bool more = r.FirstValue() == 0;
    while (!stack.empty()) {
        Frame &f = stack.back();
        if (f.next == f.nodes->size()) {
            check(!more, "more items than written");
            // Each child's name is found through the index: at the first written child of that
            // name.  (The top has no index; a leading backslash would make a path.)
            for (size_t i = 0; i < f.nodes->size() && stack.size() > 1; ++i) {
                std::wstring const &name = (*f.nodes)[i].name;
                size_t first = 0;
                while ((*f.nodes)[first].name != name) ++first;
                if (!name.empty() && name[0] == L'\\') continue;
                r.FirstValue();
                check(r.Find(name.c_str()) == f.offsets[first], "index lookup");
                for (size_t j = 0; j < f.nodes->size() && j < 8; ++j)
                    comparePair(name, (*f.nodes)[j].name);
            }
            stack.pop_back();
            if (!stack.empty()) {
                check(r.LevelEnd() == 0, "LevelEnd");
                more = r.GetCurrentType() != krLVT_NONE;  // LevelEnd moved past the level
            }
            continue;
        }
        check(more, "fewer items than written");
        Node const &node = (*f.nodes)[f.next++];
        check(r.GetCurrentType() == node.type, "type");
        check(r.GetCurrentName().GetStdString() == node.name, "name");
        // The fast path finds the item at the position (a leading backslash would make a path).
        bool const path = !node.name.empty() && node.name[0] == L'\\';
        f.offsets.push_back(path ? -9 : r.Find(node.name.c_str()));
        check(path || f.offsets.back() >= 0, "the item at the position is not found by its name");
        if (node.type == krLVT_LEVEL) {
            unsigned count = 0;
            check(r.CurrentLevelBegin(&count) == 0 && count == node.children.size(), "level count");
            stack.push_back({&node.children, 0, {}});
            more = r.FirstValue() == 0;
            continue;
        }
        std::vector<uint8_t> value(node.value.size() + 1);
        int const got = r.GetCurrentValue(value.data(), value.size());
        value.pop_back();
        check(got == 0 && value == node.value, "value");
        more = r.NextValue() == 0;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    if (size > 1 << 16) return 0;
    CKrLiteVariantW w;
    Node root{krLVT_LEVEL, L"", {}, {}};
    writeProgram(Input{data, size}, w, root);
    CKrLiteVariantR plain;
    w.Finalize(plain, 0);
    check(plain.Validate(nullptr) == 0, "a written buffer does not validate");
    checkIndexes(static_cast<uint8_t const *>(plain.GetPointer()), plain.GetSize());
    compareLevel(plain, root.children);

    // The same through Append and the envelope (when zlib can shrink it).
    CKrLiteVariantW again;
    check(again.Append(plain) == 0, "Append");
    CKrLiteVariantR packed;
    if (again.Finalize(packed, 1) != nullptr) {
        check(packed.Decompress() == 0, "inflating a finished envelope");
        check(
            packed.GetSize() == plain.GetSize() &&
                std::memcmp(packed.GetPointer(), plain.GetPointer(), size_t(plain.GetSize())) == 0,
            "the envelope does not give back the plain bytes");
    } else {
        CKrLiteVariantR copy;
        again.Finalize(copy, 0);
        check(copy.GetSize() == plain.GetSize() &&
                  (plain.GetSize() == 0 || std::memcmp(copy.GetPointer(), plain.GetPointer(),
                                                       size_t(plain.GetSize())) == 0),
              "Append does not copy byte for byte");
    }
    return 0;
}
