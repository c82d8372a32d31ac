// Member table of CKrJsonObject: insertion, lookup by name and name order.
#ifndef ORVIK_JSON_INTERNAL_JSONMEMBERS_H
#define ORVIK_JSON_INTERNAL_JSONMEMBERS_H

#include <string_view>
#include <vector>

#include "json/CKrJsonObject.h"

namespace orvik::detail::json {

// Prepares the index for `count` members without rehashing.
void membersReserve(KrJsonMemberTable &table, size_t count, size_t nameUnits, size_t textUnits);
// Adds a member; false (and no change) when the name is present.
bool membersInsert(KrJsonMemberTable &table, std::wstring_view name, std::wstring_view text);
// Index of the entry with the name, or -1.
ptrdiff_t membersFind(KrJsonMemberTable const &table, std::wstring_view name);
// Entry indexes in name order (computed once per change).
std::vector<kr_uint32> const &membersOrder(KrJsonMemberTable const &table);

inline std::wstring_view memberName(KrJsonMemberTable const &t, size_t index) {
    auto const &e = t.entries[index];
    return std::wstring_view(t.names.data() + e.name, e.nameLength);
}
inline std::wstring_view memberText(KrJsonMemberTable const &t, size_t index) {
    auto const &e = t.entries[index];
    return std::wstring_view(t.texts.data() + e.text, e.textLength);
}

}  // namespace orvik::detail::json

#endif
