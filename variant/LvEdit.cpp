// Rebuilding lite variant buffers through a writer: Append, Extract, Merge, Remove, Replace.
// Every rebuild reads the source item by item in writing order (never through its indexes) and
// writes a fresh buffer, so the result is well formed; walks use explicit stacks.
#include <algorithm>
#include <string>
#include <vector>

#include "variant/internal/LvReader.h"

using namespace orvik::detail;

namespace {

constexpr kr_uint64 kNoItem = ~kr_uint64(0);

// Writes one scalar item as it is stored.
int copyScalar(CKrLiteVariantW &w, kr_uint8 const *data, LvItem const &item) {
    std::wstring const name = lvName(data, item);
    wchar_t const *n = name.c_str();
    kr_uint8 const *v = data + item.valueOffset;
    switch (item.type) {
        case krLVT_BOOL:
            return w.Set(*v != 0, n);
        case krLVT_INT32:
            return w.Set(int(lvLoad32(v)), n);
        case krLVT_UINT32:
            return w.Set(unsigned(lvLoad32(v)), n);
        case krLVT_INT64:
            return w.Set(kr_int64(lvLoad64(v)), n);
        case krLVT_UINT64:
            return w.Set(kr_uint64(lvLoad64(v)), n);
        case krLVT_DOUBLE: {
            double d;
            std::memcpy(&d, v, 8);
            return w.Set(d, n);
        }
        case krLVT_VOIDPTR:
            return w.Set(reinterpret_cast<void *>(uintptr_t(lvLoad64(v))), n);
        case krLVT_STRING:
            return w.Set(lvUnits(v, item.valueBytes / 2 - 1).c_str(), n);
        case krLVT_BLOB:
            return w.Set(static_cast<void const *>(v), item.valueBytes, n);
        default:
            return -9;
    }
}

// The items of [from, to) in writing order; the item at `skip` is left out and, when `insert`
// is given, the top-level items of insert[0, insertSize) are written in its place.
int copyItems(CKrLiteVariantW &w, kr_uint8 const *data, kr_uint64 from, kr_uint64 to,
              kr_uint64 skip, kr_uint8 const *insert, kr_uint64 insertSize) {
    struct Range {
        kr_uint64 pos, end;
    };
    std::vector<Range> stack{{from, to}};
    while (!stack.empty()) {
        Range &r = stack.back();
        if (r.pos == r.end) {
            stack.pop_back();
            if (!stack.empty()) {
                int const result = w.LevelEnd();
                if (result != 0) return result;
            }
            continue;
        }
        LvItem item;
        if (!lvParseItem(data, r.end, r.pos, item)) return -9;
        r.pos = item.end;
        int result = 0;
        if (item.offset == skip) {
            if (insert) result = copyItems(w, insert, 0, insertSize, kNoItem, nullptr, 0);
        } else if (item.type == krLVT_LEVEL) {
            result = w.LevelBegin(lvName(data, item).c_str());
            if (result == 0)
                stack.push_back({item.valueOffset, item.valueOffset + item.valueBytes});
        } else {
            result = copyScalar(w, data, item);
        }
        if (result != 0) return result;
    }
    return 0;
}

// The children of a level (or the top) in writing order; false when one cannot be read.
bool childrenOf(kr_uint8 const *data, kr_uint64 from, kr_uint64 to, std::vector<LvItem> &out) {
    out.clear();
    for (kr_uint64 pos = from; pos < to;) {
        LvItem item;
        if (!lvParseItem(data, to, pos, item)) return false;
        out.push_back(item);
        pos = item.end;
    }
    return true;
}

// The rebuilt buffer replaces the reader's one.
int finish(CKrLiteVariantW &w, CKrLiteVariantR &target) {
    CKrLiteVariantR result;
    if (w.GetSize() != 0 && !w.Finalize(result, 0)) return -3;
    target = std::move(result);
    return 0;
}

}  // namespace

namespace orvik::detail {

int lvCopyItems(CKrLiteVariantW &w, kr_uint8 const *data, kr_uint64 from, kr_uint64 to) {
    return copyItems(w, data, from, to, kNoItem, nullptr, 0);
}

}  // namespace orvik::detail

int CKrLiteVariantW::Append(CKrLiteVariantR const &source) {
    CKrLiteVariantR copy;
    CKrLiteVariantR const *from = &source;
    kr_uint8 const *data = CKrLiteVariantAccess::Data(source);
    if (CKrLiteVariantAccess::Size(source) > 4 && std::memcmp(data, kLvEnvelopeMark, 4) == 0) {
        copy = source;  // inflate a copy: the source itself stays as the caller left it
        if (!CKrLiteVariantAccess::Plain(copy)) return -9;
        from = &copy;
    }
    return lvCopyItems(*this, CKrLiteVariantAccess::Data(*from), 0,
                       CKrLiteVariantAccess::Size(*from));
}

int CKrLiteVariantR::Extract(wchar_t const *path, CKrLiteVariantR &out) {
    kr_int64 const at = Find(path);
    LvItem item;
    if (at < 0 || !lvParseItem(m_pData, levelLimit(), kr_uint64(at), item)) return -9;
    CKrLiteVariantW w;
    int const r = lvCopyItems(w, m_pData, item.offset, item.end);
    return r != 0 ? r : finish(w, out);
}

int CKrLiteVariantR::ExtractCurrent(CKrLiteVariantR &out) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    CKrLiteVariantW w;
    int const r = lvCopyItems(w, m_pData, item.offset, item.end);
    return r != 0 ? r : finish(w, out);
}

int CKrLiteVariantR::Remove(wchar_t const *path) {
    kr_int64 const at = Find(path);
    if (at < 0) return -9;
    CKrLiteVariantW w;
    int const r = copyItems(w, m_pData, 0, m_size, kr_uint64(at), nullptr, 0);
    return r != 0 ? r : finish(w, *this);
}

int CKrLiteVariantR::Replace(wchar_t const *path, CKrLiteVariantR &replacement) {
    if (!replacement.plain()) return -9;
    kr_int64 const at = Find(path);
    if (at < 0) return -9;
    CKrLiteVariantW w;
    int const r =
        copyItems(w, m_pData, 0, m_size, kr_uint64(at), replacement.m_pData, replacement.m_size);
    return r != 0 ? r : finish(w, *this);
}

int CKrLiteVariantR::Merge(CKrLiteVariantR &other) {
    if (!plain() || !other.plain()) return -9;
    kr_uint8 const *a = m_pData;
    kr_uint8 const *b = other.m_pData;
    // One frame per pair of levels being merged (the tops first).
    struct Frame {
        std::vector<LvItem> mine, theirs;
        std::vector<size_t> byName;  // indexes into theirs, sorted by name, then writing order
        std::vector<char> used;      // per item of theirs
        size_t next;                 // next item of mine
    };
    auto open = [&](kr_uint64 aFrom, kr_uint64 aTo, kr_uint64 bFrom, kr_uint64 bTo, Frame &f) {
        if (!childrenOf(a, aFrom, aTo, f.mine) || !childrenOf(b, bFrom, bTo, f.theirs))
            return false;
        f.byName.resize(f.theirs.size());
        for (size_t i = 0; i < f.byName.size(); ++i) f.byName[i] = i;
        std::sort(f.byName.begin(), f.byName.end(), [&](size_t x, size_t y) {
            LvItem const &ix = f.theirs[x], &iy = f.theirs[y];
            int const c =
                lvCompareStored(b + ix.nameOffset, ix.nameUnits, b + iy.nameOffset, iy.nameUnits);
            return c < 0 || (c == 0 && x < y);
        });
        f.used.assign(f.theirs.size(), 0);
        f.next = 0;
        return true;
    };
    // The first unused item of theirs with the name of `item` (of mine), or -1.
    auto partner = [&](Frame &f, LvItem const &item) -> long {
        auto it = std::lower_bound(f.byName.begin(), f.byName.end(), item,
                                   [&](size_t x, LvItem const &m) {
                                       LvItem const &t = f.theirs[x];
                                       return lvCompareStored(b + t.nameOffset, t.nameUnits,
                                                              a + m.nameOffset, m.nameUnits) < 0;
                                   });
        for (; it != f.byName.end(); ++it) {
            LvItem const &t = f.theirs[*it];
            if (lvCompareStored(b + t.nameOffset, t.nameUnits, a + item.nameOffset,
                                item.nameUnits) != 0)
                break;
            if (!f.used[*it]) return long(*it);
        }
        return -1;
    };
    CKrLiteVariantW w;
    std::vector<Frame> stack(1);
    if (!open(0, m_size, 0, other.m_size, stack[0])) return -9;
    while (!stack.empty()) {
        Frame &f = stack.back();
        int r = 0;
        if (f.next < f.mine.size()) {
            LvItem const mine = f.mine[f.next++];
            long const p = partner(f, mine);
            if (p < 0) {
                r = lvCopyItems(w, a, mine.offset, mine.end);
            } else {
                f.used[size_t(p)] = 1;
                LvItem const theirs = f.theirs[size_t(p)];
                if (mine.type == krLVT_LEVEL && theirs.type == krLVT_LEVEL) {
                    r = w.LevelBegin(lvName(a, mine).c_str());
                    if (r == 0) {
                        Frame inner;
                        if (!open(mine.valueOffset, mine.valueOffset + mine.valueBytes,
                                  theirs.valueOffset, theirs.valueOffset + theirs.valueBytes,
                                  inner))
                            return -9;
                        stack.push_back(std::move(inner));  // `f` is not used after this
                    }
                } else {
                    r = lvCopyItems(w, b, theirs.offset, theirs.end);
                }
            }
        } else {
            for (size_t i = 0; i < f.theirs.size() && r == 0; ++i)
                if (!f.used[i]) r = lvCopyItems(w, b, f.theirs[i].offset, f.theirs[i].end);
            stack.pop_back();
            if (r == 0 && !stack.empty()) r = w.LevelEnd();
        }
        if (r != 0) return r;
    }
    return finish(w, *this);
}
