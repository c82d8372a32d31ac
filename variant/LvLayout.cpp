// The bounded item parser of the lite variant (see variant/internal/LvLayout.h).
#include "variant/internal/LvLayout.h"

namespace orvik::detail {

bool lvParseItem(kr_uint8 const *data, kr_uint64 limit, kr_uint64 at, LvItem &item) {
    if (!lvParseHead(data, limit, at, item)) return false;
    item.count = 0;
    item.levelSize = 0;
    kr_uint64 const v = item.valueOffset;  // <= limit
    kr_uint64 const room = limit - v;
    switch (item.type) {
        case krLVT_STRING: {
            // Units up to and including the first zero unit; a string without one is damaged.
            kr_uint64 const units = room / 2;
            for (kr_uint64 i = 0; i < units; ++i) {
                kr_uint8 const *u = data + v + 2 * i;
                if (u[0] == 0 && u[1] == 0) {
                    item.valueBytes = 2 * (i + 1);
                    item.end = v + item.valueBytes;
                    return true;
                }
            }
            return false;
        }
        case krLVT_BLOB: {
            if (room < kLvBlobLengthBytes) return false;
            kr_uint64 const length = lvLoad64(data + v);
            if (room - kLvBlobLengthBytes < length) return false;
            item.valueOffset = v + kLvBlobLengthBytes;
            item.valueBytes = length;
            item.end = item.valueOffset + length;
            return true;
        }
        case krLVT_LEVEL: {
            if (room < kLvLevelFieldBytes) return false;
            item.count = lvLoad32(data + v);
            item.levelSize = lvLoad64(data + v + 4);
            kr_uint64 const headBytes = v + kLvLevelFieldBytes - at;
            // The level size runs from the type code to the end of the last child; the index
            // (count entries) follows it, and both must lie below the limit.
            if (item.levelSize < headBytes || item.levelSize > limit - at) return false;
            kr_uint64 const indexAt = at + item.levelSize;
            if ((limit - indexAt) / kLvIndexEntryBytes < item.count) return false;
            item.valueOffset = v + kLvLevelFieldBytes;
            item.valueBytes = indexAt - item.valueOffset;
            item.end = indexAt + kr_uint64(item.count) * kLvIndexEntryBytes;
            return true;
        }
        default: {
            kr_uint64 const bytes = lvFixedValueBytes(item.type);
            if (bytes == 0 || room < bytes) return false;  // unknown codes end here
            item.valueBytes = bytes;
            item.end = v + bytes;
            return true;
        }
    }
}

}  // namespace orvik::detail
