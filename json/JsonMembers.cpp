// Member table of CKrJsonObject.  The hash index keeps lookups at one or two probes on large
// objects (a binary search over names costs a cache miss per step); the name order is sorted
// lazily because reading and querying never need it.
#include "json/internal/JsonMembers.h"

#include <algorithm>
#include <numeric>

#include "json/internal/JsonScan.h"

namespace orvik::detail::json {

namespace {

size_t hashName(std::wstring_view name) {
    kr_uint64 h = 0xcbf29ce484222325ULL;  // FNV-1a over the units
    for (wchar_t c : name) h = (h ^ kr_uint64(kr_uint32(c))) * 0x100000001b3ULL;
    return size_t(h ^ (h >> 29));
}

// Slots for `count` entries: a power of two, at least twice the count.
size_t slotCountFor(size_t count) {
    size_t n = 16;
    while (n < count * 2) n *= 2;
    return n;
}

void rehash(KrJsonMemberTable &t, size_t slotCount) {
    t.slots.assign(slotCount, 0);
    size_t const mask = slotCount - 1;
    for (size_t i = 0; i < t.entries.size(); ++i) {
        size_t s = hashName(memberName(t, i)) & mask;
        while (t.slots[s] != 0) s = (s + 1) & mask;
        t.slots[s] = kr_uint32(i + 1);
    }
}

}  // namespace

void membersReserve(KrJsonMemberTable &t, size_t count, size_t nameUnits, size_t textUnits) {
    t.entries.reserve(t.entries.size() + count);
    t.names.reserve(t.names.size() + nameUnits);
    t.texts.reserve(t.texts.size() + textUnits);
    size_t want = slotCountFor(t.entries.size() + count);
    if (want > t.slots.size()) rehash(t, want);
}

ptrdiff_t membersFind(KrJsonMemberTable const &t, std::wstring_view name) {
    if (t.slots.empty()) return -1;
    size_t const mask = t.slots.size() - 1;
    for (size_t s = hashName(name) & mask; t.slots[s] != 0; s = (s + 1) & mask) {
        size_t index = t.slots[s] - 1;
        if (nameEqual(memberName(t, index), name)) return ptrdiff_t(index);
    }
    return -1;
}

bool membersInsert(KrJsonMemberTable &t, std::wstring_view name, std::wstring_view text) {
    if (t.slots.size() < slotCountFor(t.entries.size() + 1))
        rehash(t, slotCountFor(std::max<size_t>(t.entries.size() + 1, t.entries.size() * 2)));
    size_t const mask = t.slots.size() - 1;
    size_t s = hashName(name) & mask;
    for (; t.slots[s] != 0; s = (s + 1) & mask)
        if (nameEqual(memberName(t, t.slots[s] - 1), name)) return false;
    t.entries.push_back(
        KrJsonMemberTable::Entry{t.names.size(), name.size(), t.texts.size(), text.size()});
    t.names.append(name);
    t.texts.append(text);
    t.slots[s] = kr_uint32(t.entries.size());
    t.orderValid = false;
    return true;
}

std::vector<kr_uint32> const &membersOrder(KrJsonMemberTable const &t) {
    if (!t.orderValid || t.order.size() != t.entries.size()) {
        t.order.resize(t.entries.size());
        std::iota(t.order.begin(), t.order.end(), kr_uint32(0));
        auto byName = [&t](kr_uint32 a, kr_uint32 b) {
            return nameLess(memberName(t, a), memberName(t, b));
        };
        if (!std::is_sorted(t.order.begin(), t.order.end(), byName))
            std::sort(t.order.begin(), t.order.end(), byName);
        t.orderValid = true;
    }
    return t.order;
}

}  // namespace orvik::detail::json
