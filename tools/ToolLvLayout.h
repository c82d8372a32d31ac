// The byte layout of a lite-variant buffer, decoded field by field for `orvik annotate` and
// `orvik tree`.  This decoder is deliberately independent of the library's reader: it is what
// the tool uses to show a damaged buffer, so it never stops at a fault.  Every byte of the input
// lands in exactly one field; bytes that cannot be decoded become error fields, and decoding
// resumes at the next place whose position is known (the end of the enclosing level, or the end
// of the data).
#ifndef ORVIK_TOOLS_TOOLLVLAYOUT_H
#define ORVIK_TOOLS_TOOLLVLAYOUT_H

#include <string>
#include <vector>

#include "platform/KrTypes.h"

namespace orvik::tool {

// One field: a run of bytes and what they mean.
struct LvField {
    kr_uint64 offset = 0;
    kr_uint64 size = 0;
    int depth = 0;     // nesting level of the item the field belongs to (0 at the top)
    std::string text;  // "type 11 (level)", "name \"gain\"", ...
    bool error = false;
};

// One item that decoded completely (head and value, or head of a level).
struct LvItem {
    kr_uint64 offset = 0;
    int depth = 0;
    unsigned code = 0;
    std::wstring name;          // UTF-16 units, without the terminator
    kr_uint64 valueOffset = 0;  // the value bytes (a blob: after its length; a level: its children)
    kr_uint64 valueSize = 0;    // a level: its size from its type code to the end of its last child
    kr_uint32 childCount = 0;   // levels only
    long parent = -1;           // index of the enclosing level's item, -1 at the top
};

struct LvLayout {
    std::vector<LvField> fields;
    std::vector<LvItem> items;
    bool wellFormed = true;
    kr_uint64 faultOffset = 0;  // the first error field, when not well formed
    size_t faultField = 0;      // its index in `fields`
    std::string fault;          // its text
    // A head in front of the buffer (the "LV0Z" envelope, or the "LV00" head of a saved file):
    // the items and the fields from `payloadFrom` on refer to `payload` (the inflated or the
    // saved buffer; their offsets count from its start), the fields before it to the head.
    // `payload` is empty when the head is too damaged to reach the buffer.
    bool headed = false;
    size_t payloadFrom = 0;
    std::vector<unsigned char> payload;
    std::string payloadName;  // "inflated data" or "saved buffer"

    // The buffer the items refer to, given the input bytes.
    unsigned char const *buffer(unsigned char const *input) const {
        return headed && !payload.empty() ? payload.data() : input;
    }
    // " of the inflated data" (or saved buffer) when offsets count within the payload; for
    // the first fault, when that fault lies in the payload.
    std::string where() const { return headed && !payload.empty() ? " of the " + payloadName : ""; }
    std::string faultWhere() const { return faultField >= payloadFrom ? where() : ""; }
};

// Decodes `size` bytes (a plain buffer, an "LV0Z" envelope or an "LV00" file).  Never fails; faults
// are error fields.
LvLayout decodeLvLayout(unsigned char const *data, kr_uint64 size);

// The item type named for people: "bool", "int32", ..., "level", or "code N".
char const *lvTypeName(unsigned code);

// The value of a decoded scalar item as text: numbers in full (a double as the shortest text that
// reads back the same), a string quoted, a blob as its size and up to `blobBytes` first bytes in
// hex (all when blobBytes is 0), a string cut after `stringUnits` units (0: whole).
std::string lvValueText(unsigned char const *buffer, LvItem const &item, size_t blobBytes,
                        size_t stringUnits);

}  // namespace orvik::tool

#endif
