#include "tools/ToolLvLayout.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "tools/ToolText.h"

namespace orvik::tool {
namespace {

constexpr unsigned kLevel = 11;
constexpr unsigned kString = 8;
constexpr unsigned kBlob = 9;
constexpr kr_uint64 kEnvelopeHead = 12;
// Deflate cannot expand data by more than about 1032 to 1; a declared size beyond that (or
// beyond 4 GiB) is a lie, refused before anything is allocated.
constexpr kr_uint64 kMaxRatio = 1032;
constexpr kr_uint64 kMaxPlain = (kr_uint64(1) << 32) - 1;

struct TypeRow {
    unsigned code;
    char const *name;
    kr_uint64 valueSize;  // fixed value size; 0 for strings, blobs and levels
};
constexpr TypeRow kTypes[] = {
    {1, "bool", 1},     {2, "int32", 4},      {3, "uint32", 4},  {4, "int64", 8},
    {5, "uint64", 8},   {6, "double", 8},     {7, "voidPtr", 8}, {kString, "string", 0},
    {kBlob, "blob", 0}, {kLevel, "level", 0},
};

TypeRow const *typeRow(unsigned code) {
    for (TypeRow const &row : kTypes)
        if (row.code == code) return &row;
    return nullptr;
}

kr_uint64 readLE(unsigned char const *p, int bytes) {
    kr_uint64 v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

// The order of names in a level's index: units compared over the shorter stored length, then
// the shorter stored length first.
bool nameBefore(std::wstring const &a, kr_uint64 aStored, std::wstring const &b,
                kr_uint64 bStored) {
    kr_uint64 const m = std::min(aStored, bStored);
    for (kr_uint64 i = 0; i < m; ++i) {
        unsigned const ua = i < a.size() ? unsigned(a[i]) : 0u;
        unsigned const ub = i < b.size() ? unsigned(b[i]) : 0u;
        if (ua != ub) return ua < ub;
    }
    return aStored < bStored;
}

std::string num(kr_uint64 v) { return std::to_string(v); }

class Decoder {
public:
    Decoder(unsigned char const *b, kr_uint64 n, LvLayout &out) : m_b(b), m_n(n), m_out(out) {}

    void run() {
        kr_uint64 pos = 0;
        for (;;) {
            if (!m_stack.empty() && pos >= m_stack.back().end) {
                pos = closeLevel(pos);
                continue;
            }
            if (m_stack.empty() && pos >= m_n) break;
            pos = item(pos, m_stack.empty() ? m_n : m_stack.back().end);
        }
    }

private:
    struct Level {
        size_t item;
        kr_uint64 start, end;
        kr_uint32 count;
        std::vector<kr_uint64> children;  // offsets from the level start, in writing order
        std::vector<size_t> childItems;   // their item indexes (SIZE_MAX when undecodable)
    };

    int depth() const { return static_cast<int>(m_stack.size()); }

    void field(kr_uint64 offset, kr_uint64 size, std::string text, bool error = false) {
        if (error && m_out.wellFormed) {
            m_out.wellFormed = false;
            m_out.faultOffset = offset;
            m_out.faultField = m_out.fields.size();
            m_out.fault = text;
        }
        m_out.fields.push_back(LvField{offset, size, depth(), std::move(text), error});
    }

    // Bytes that cannot be decoded, up to the next known position.
    kr_uint64 undecodable(kr_uint64 pos, kr_uint64 limit, std::string why) {
        field(pos, limit > pos ? limit - pos : 0, "error: " + why, true);
        return std::max(pos, limit);
    }

    kr_uint64 item(kr_uint64 pos, kr_uint64 limit) {
        kr_uint64 const start = pos;
        if (!m_stack.empty()) {
            m_stack.back().children.push_back(start - m_stack.back().start);
            m_stack.back().childItems.push_back(SIZE_MAX);
        }
        unsigned const code = m_b[pos];
        TypeRow const *row = typeRow(code);
        if (!row)
            return undecodable(pos, limit,
                               "unknown type code " + num(code) + ", bytes up to the " +
                                   (m_stack.empty() ? "end of the data" : "end of the level") +
                                   " not decoded");
        field(pos, 1, "type " + num(code) + " (" + row->name + ")");
        ++pos;
        if (pos >= limit) return undecodable(pos, limit, "item cut short before its name length");
        kr_uint64 const nameUnits = m_b[pos];
        field(pos, 1, "name length " + num(nameUnits));
        ++pos;
        if (nameUnits * 2 > limit - pos)
            return undecodable(pos, limit,
                               "name of " + num(nameUnits) + " units runs past the end (" +
                                   num(limit - pos) + " bytes left)");
        LvItem it;
        it.offset = start;
        it.depth = depth();
        it.code = code;
        it.parent = m_stack.empty() ? -1 : static_cast<long>(m_stack.back().item);
        for (kr_uint64 i = 0; i < nameUnits; ++i) {
            auto const unit = static_cast<wchar_t>(readLE(m_b + pos + 2 * i, 2));
            if (unit == 0) break;
            it.name += unit;
        }
        if (nameUnits > 0) {
            bool const terminated = it.name.size() + 1 == nameUnits;
            bool const cut = nameUnits == 255 && it.name.size() == 255;
            if (terminated || cut) {
                field(pos, nameUnits * 2,
                      "name " + quoted(it.name, 64) + (cut ? " (cut, no terminator)" : ""));
            } else {
                field(pos, nameUnits * 2,
                      "error: name " + quoted(it.name, 64) + " does not end at its terminator",
                      true);
            }
        }
        pos += nameUnits * 2;
        kr_uint64 const rest = limit - pos;
        if (row->valueSize > 0) {
            if (row->valueSize > rest)
                return undecodable(pos, limit,
                                   std::string(row->name) + " value cut short (" + num(rest) +
                                       " of " + num(row->valueSize) + " bytes)");
            it.valueOffset = pos;
            it.valueSize = row->valueSize;
            bool const badBool = code == 1 && m_b[pos] > 1;
            field(pos, row->valueSize,
                  (badBool ? "error: bool value " : "value ") + lvValueText(m_b, it, 16, 64),
                  badBool);
            return commit(it, pos + row->valueSize);
        }
        if (code == kString) {
            kr_uint64 end = pos;
            while (end + 1 < limit && (m_b[end] | m_b[end + 1]) != 0) end += 2;
            if (end + 1 >= limit) return undecodable(pos, limit, "string without its terminator");
            it.valueOffset = pos;
            it.valueSize = end + 2 - pos;
            field(pos, it.valueSize, "string " + lvValueText(m_b, it, 16, 64));
            return commit(it, end + 2);
        }
        if (code == kBlob) {
            if (rest < 8) return undecodable(pos, limit, "blob length cut short");
            kr_uint64 const length = readLE(m_b + pos, 8);
            if (length > rest - 8) {
                field(pos, 8,
                      "error: blob length " + num(length) + " runs past the end (" + num(rest - 8) +
                          " bytes left)",
                      true);
                return undecodable(pos + 8, limit, "blob data not decoded");
            }
            field(pos, 8, "blob length " + num(length));
            it.valueOffset = pos + 8;
            it.valueSize = length;
            if (length > 0) field(pos + 8, length, "blob data");
            return commit(it, pos + 8 + length);
        }
        // A level: child count, level size, children, index.
        if (rest < 12) return undecodable(pos, limit, "level head cut short");
        auto const count = static_cast<kr_uint32>(readLE(m_b + pos, 4));
        kr_uint64 const size = readLE(m_b + pos + 4, 8);
        field(pos, 4, "child count " + num(count));
        kr_uint64 const headEnd = pos + 12;
        kr_uint64 const room = limit - start;  // the level and its index must fit here
        if (size < headEnd - start || size > room || count > (room - size) / 8) {
            field(pos + 4, 8,
                  "error: level size " + num(size) + " with " + num(count) +
                      " index entries does not fit (" + num(room) + " bytes available)",
                  true);
            return undecodable(headEnd, limit, "level contents not decoded");
        }
        field(pos + 4, 8,
              "level size " + num(size) + " (children end at " + num(start + size) + ")");
        it.valueOffset = headEnd;
        it.valueSize = size;
        it.childCount = count;
        size_t const index = m_out.items.size();
        commit(it, headEnd);
        m_stack.push_back(Level{index, start, start + size, count, {}, {}});
        return headEnd;
    }

    kr_uint64 commit(LvItem const &it, kr_uint64 next) {
        if (!m_stack.empty()) m_stack.back().childItems.back() = m_out.items.size();
        m_out.items.push_back(it);
        return next;
    }

    // At the end of the top level's children: its index, then back to the enclosing level.
    kr_uint64 closeLevel(kr_uint64 pos) {
        Level level = std::move(m_stack.back());
        m_stack.pop_back();
        if (level.children.size() != level.count)
            field(level.end, 0,
                  "error: level at " + num(level.start) + " holds " + num(level.children.size()) +
                      " children, its count says " + num(level.count),
                  true);
        kr_uint64 at = std::max(pos, level.end);
        std::wstring prevName;
        kr_uint64 prevStored = 0;
        std::vector<bool> listed(level.children.size(), false);
        for (kr_uint32 i = 0; i < level.count; ++i, at += 8) {
            kr_uint64 const entry = readLE(m_b + at, 8);
            std::string const head = "index[" + num(i) + "] -> +" + num(entry);
            auto const found = std::find(level.children.begin(), level.children.end(), entry);
            size_t const k = static_cast<size_t>(found - level.children.begin());
            if (found == level.children.end() || level.childItems[k] == SIZE_MAX) {
                field(at, 8, "error: " + head + ", no child starts there", true);
                continue;
            }
            if (listed[k]) {
                field(at, 8, "error: " + head + ", a child listed twice", true);
                continue;
            }
            listed[k] = true;
            LvItem const &child = m_out.items[level.childItems[k]];
            kr_uint64 const stored = m_b[level.start + entry + 1];
            bool const sorted = i == 0 || !nameBefore(child.name, stored, prevName, prevStored);
            field(at, 8,
                  (sorted ? "" : "error: ") + head + " (" + quoted(child.name, 64) + ")" +
                      (sorted ? "" : " out of name order"),
                  !sorted);
            prevName = child.name;
            prevStored = stored;
        }
        return at;
    }

    unsigned char const *m_b;
    kr_uint64 m_n;
    LvLayout &m_out;
    std::vector<Level> m_stack;
};

}  // namespace

char const *lvTypeName(unsigned code) {
    TypeRow const *row = typeRow(code);
    return row ? row->name : "unknown";
}

std::string lvValueText(unsigned char const *buffer, LvItem const &item, size_t blobBytes,
                        size_t stringUnits) {
    unsigned char const *p = buffer + item.valueOffset;
    switch (item.code) {
        case 1:
            return p[0] == 0 ? "false" : p[0] == 1 ? "true" : num(p[0]);
        case 2:
            return std::to_string(static_cast<kr_int32>(readLE(p, 4)));
        case 3:
            return num(readLE(p, 4));
        case 4:
            return std::to_string(static_cast<kr_int64>(readLE(p, 8)));
        case 5:
            return num(readLE(p, 8));
        case 6: {
            kr_uint64 const bits = readLE(p, 8);
            double d;
            std::memcpy(&d, &bits, sizeof d);
            return shortestDouble(d);
        }
        case 7: {
            char buf[24];
            std::snprintf(buf, sizeof buf, "0x%016llX",
                          static_cast<unsigned long long>(readLE(p, 8)));
            return buf;
        }
        case kString: {
            std::wstring text;
            for (kr_uint64 i = 0; i + 2 < item.valueSize; i += 2)
                text += static_cast<wchar_t>(readLE(p + i, 2));
            return quoted(text, stringUnits);
        }
        case kBlob:
            return "(" + num(item.valueSize) + " bytes)" +
                   (item.valueSize ? " " + hexBytes(p, item.valueSize, blobBytes) : "");
        case kLevel:
            return "(" + num(item.childCount) + (item.childCount == 1 ? " item, " : " items, ") +
                   num(item.valueSize) + " bytes)";
        default:
            return "";
    }
}

LvLayout decodeLvLayout(unsigned char const *data, kr_uint64 size) {
    LvLayout out;
    if (!data) size = 0;
    if (size >= 4 && std::memcmp(data, "LV0Z", 4) == 0) {
        out.headed = true;
        out.payloadName = "inflated data";
        out.fields.push_back(LvField{0, 4, 0, "mark \"LV0Z\" (compressed envelope)", false});
        auto fail = [&out](kr_uint64 offset, kr_uint64 n, std::string text) {
            if (out.wellFormed) {
                out.wellFormed = false;
                out.faultOffset = offset;
                out.faultField = out.fields.size();
                out.fault = text;
            }
            out.fields.push_back(LvField{offset, n, 0, std::move(text), true});
        };
        if (size < kEnvelopeHead) {
            fail(4, size - 4, "error: envelope cut short before the end of its plain size");
            out.payloadFrom = out.fields.size();
            return out;
        }
        kr_uint64 const plain = readLE(data + 4, 8);
        kr_uint64 const stream = size - kEnvelopeHead;
        out.fields.push_back(LvField{4, 8, 0, "plain size " + num(plain), false});
        if (plain == 0 || plain > kMaxPlain || plain > stream * kMaxRatio + 64) {
            fail(12, stream,
                 "error: plain size " + num(plain) + " impossible for a stream of " + num(stream) +
                     " bytes, not inflated");
            out.payloadFrom = out.fields.size();
            return out;
        }
        out.payload.resize(plain);
        uLongf got = static_cast<uLongf>(plain);
        int const rc =
            uncompress(out.payload.data(), &got, data + kEnvelopeHead, static_cast<uLong>(stream));
        if (rc != Z_OK || got != plain) {
            fail(12, stream,
                 "error: zlib stream of " + num(stream) + " bytes does not inflate to " +
                     num(plain) + " bytes (" + (rc == Z_OK ? "size differs" : zError(rc)) + ")");
            out.payload.clear();
            out.payloadFrom = out.fields.size();
            return out;
        }
        out.fields.push_back(
            LvField{12, stream, 0, "zlib stream (" + num(stream) + " bytes)", false});
        out.payloadFrom = out.fields.size();
        Decoder(out.payload.data(), plain, out).run();
        return out;
    }
    if (size >= 4 && std::memcmp(data, "LV00", 4) == 0) {
        // A saved plain buffer: "LV00", its size, the buffer.
        out.headed = true;
        out.payloadName = "saved buffer";
        out.fields.push_back(LvField{0, 4, 0, "mark \"LV00\" (saved buffer)", false});
        bool const cut = size < kEnvelopeHead;
        kr_uint64 const declared = cut ? 0 : readLE(data + 4, 8);
        if (cut || declared != size - kEnvelopeHead) {
            std::string const text = cut ? "error: file head cut short before the end of its size"
                                         : "error: file head says " + num(declared) + " bytes, " +
                                               num(size - kEnvelopeHead) + " follow";
            out.wellFormed = false;
            out.faultOffset = 4;
            out.faultField = out.fields.size();
            out.fault = text;
            out.fields.push_back(LvField{4, cut ? size - 4 : 8, 0, text, true});
        } else {
            out.fields.push_back(LvField{4, 8, 0, "buffer size " + num(declared), false});
        }
        out.payloadFrom = out.fields.size();
        if (size > kEnvelopeHead) {
            out.payload.assign(data + kEnvelopeHead, data + size);
            Decoder(out.payload.data(), out.payload.size(), out).run();
        }
        return out;
    }
    Decoder(data, size, out).run();
    return out;
}

}  // namespace orvik::tool
