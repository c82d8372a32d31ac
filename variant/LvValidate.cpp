// Validate: one linear pass over a whole lite variant buffer, without recursion.
//
// The walk reads every item in writing order, keeping a stack of the levels it is inside.  For
// each level it collects its children's offsets (one shared array, used as a stack: a nested
// level's children sit above its parent's and are dropped when it closes); when the level's
// children end it checks the count, then the index: every entry must name one of the collected
// children, each child exactly once, in the order of names.
#include <algorithm>
#include <vector>

#include "variant/internal/LvReader.h"

using namespace orvik::detail;

namespace {

struct OpenLevel {
    LvItem item;        // the level as parsed (its limit checks passed)
    size_t firstChild;  // into the shared children array
};

// Checks the index of a closed level.  `children` holds its children's absolute offsets in
// writing order (ascending).  Returns true, or false with the offset of the faulty entry.
bool checkIndex(kr_uint8 const *data, LvItem const &level, kr_uint64 const *children,
                std::vector<char> &seen, kr_uint64 &fault) {
    kr_uint64 const indexAt = level.offset + level.levelSize;
    kr_uint32 const count = level.count;
    seen.assign(count, 0);
    LvItem prev{}, cur{};
    for (kr_uint32 i = 0; i < count; ++i) {
        kr_uint64 const entryAt = indexAt + kr_uint64(i) * kLvIndexEntryBytes;
        fault = entryAt;
        kr_uint64 const rel = lvLoad64(data + entryAt);
        if (rel >= level.levelSize) return false;
        kr_uint64 const abs = level.offset + rel;
        kr_uint64 const *hit = std::lower_bound(children, children + count, abs);
        if (hit == children + count || *hit != abs) return false;  // not at a child's type code
        char &once = seen[size_t(hit - children)];
        if (once) return false;  // a child listed twice (so another is missing)
        once = 1;
        lvParseHead(data, indexAt, abs, cur);  // a collected child: its head was read before
        if (i > 0 && lvCompareStoredPlain(data + prev.nameOffset, prev.nameUnits,
                                          data + cur.nameOffset, cur.nameUnits) > 0)
            return false;  // out of order
        prev = cur;
    }
    return true;
}

}  // namespace

int CKrLiteVariantR::Validate(kr_uint64 *faultOffset) {
    kr_uint64 fault = 0;
    int result = 0;
    int const inflated = Decompress();
    if (inflated != 0) {
        result = inflated;  // a damaged or refused envelope: the fault is in its head or stream
    } else {
        std::vector<OpenLevel> open;
        std::vector<kr_uint64> children;
        std::vector<char> seen;
        kr_uint64 pos = 0;
        for (;;) {
            kr_uint64 const limit =
                open.empty() ? m_size : open.back().item.offset + open.back().item.levelSize;
            if (pos == limit) {
                if (open.empty()) break;
                OpenLevel const level = open.back();
                size_t const n = children.size() - level.firstChild;
                if (n != level.item.count) {
                    fault = level.item.offset;
                    result = -9;
                    break;
                }
                if (!checkIndex(m_pData, level.item, children.data() + level.firstChild, seen,
                                fault)) {
                    result = -9;
                    break;
                }
                children.resize(level.firstChild);
                open.pop_back();
                pos = level.item.end;
                continue;
            }
            LvItem item;
            fault = pos;
            if (!lvParseItem(m_pData, limit, pos, item)) {
                result = -9;
                break;
            }
            if (!open.empty()) children.push_back(pos);
            if (item.type == krLVT_LEVEL) {
                open.push_back({item, children.size()});
                pos = item.valueOffset;
            } else {
                pos = item.end;
            }
        }
    }
    if (faultOffset) *faultOffset = result == 0 ? 0 : fault;
    return result;
}
