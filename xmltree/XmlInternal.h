// Helpers shared by the xmltree sources (not installed).
#ifndef ORVIK_XMLTREE_XMLINTERNAL_H
#define ORVIK_XMLTREE_XMLINTERNAL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "strings/CKrStringW.h"

class CKrXMLNode;

// Serialisation with access to the node internals (iterative; see CKrXMLNode.cpp).
struct CKrXMLNodeAccess {
    // Whether an element whose first child is `first` holds exactly one non-empty text node
    // (pretty output keeps such an element on one line).
    static bool IsTextOnly(CKrXMLNode const *first);
    // Writes `root` and its subtree; with asDocument the root writes only its children, at its
    // own level (the document's form, whatever the root's kind).
    static int Serialize(CKrXMLNode *root, CKrStringW &out, unsigned int level, bool indent,
                         bool pretty, bool asDocument = false);
    // A run of siblings still to be written: `first` and every node after it, each with its
    // subtree, at `level`.
    struct Chain {
        CKrXMLNode const *first;
        unsigned int level;
        bool pretty;
    };
    // Units Serialize appends for `chains` (the one first in the document listed last), without
    // the growth from escapes; empty elements are counted with a full end tag.  Used to size
    // the output once.
    static size_t ChainsLength(std::vector<Chain> chains, bool indent);
};

// A block of nodes and attribute arrays built by one parse (see CKrXMLMemory.h).  Pieces are
// carved one after the other, each behind a 16-byte header pointing back at the block; the block
// is freed when it is closed (its parse moved on) and its last piece has been released.
struct alignas(16) CKrXMLNodeSlab {
    static constexpr size_t kFirstBytes = 64 * 1024;       // a parse starts with this size
    static constexpr size_t kLargestBytes = 2 * 1024 * 1024;  // and doubles up to this
    static constexpr size_t kHeaderBytes = 16;              // in front of every piece

    size_t live;      // pieces carved and not yet released
    size_t used;      // bytes of the data area handed out
    size_t capacity;  // bytes of the data area
    bool open;        // still being filled

    // A new open block of `bytes` in all (this header included), or null when memory is short.
    static CKrXMLNodeSlab *Create(size_t bytes);
    // Room for a piece of `bytes` (its header included)?
    bool Fits(size_t bytes) const { return Round(bytes) <= capacity - used; }
    // Storage for `bytes` (header included by the caller), or null when full.
    void *Carve(size_t bytes);
    // The parse is done with the block: freed now when no piece lives in it.
    static void Close(CKrXMLNodeSlab *slab);
    // The size of the block a parse opens after one of `bytes`.
    static size_t NextSize(size_t bytes) {
        return bytes < kLargestBytes ? bytes * 2 : kLargestBytes;
    }

    static size_t Round(size_t bytes) { return (bytes + 15) & ~size_t{15}; }
    unsigned char *Data() { return reinterpret_cast<unsigned char *>(this + 1); }
};

// While alive, attribute arrays allocated on this thread are carved from `slab` (the block the
// parser is filling) when they fit.  Scopes do not nest.
class CKrXMLAttributeFill {
public:
    explicit CKrXMLAttributeFill(CKrXMLNodeSlab *slab);
    ~CKrXMLAttributeFill();
    CKrXMLAttributeFill(CKrXMLAttributeFill const &) = delete;
    CKrXMLAttributeFill &operator=(CKrXMLAttributeFill const &) = delete;
};

namespace orvik_xml {

// Source path of every diagnostic of the XML tree.
inline constexpr wchar_t const *kSource = L"xmltree/XmlTree";

// The one escaping rule of the tree: '"', '<', '>' and '&' become their entity references.
// Hands `put(pointer, count)` the unescaped runs and the entities in order, so that every writer
// copies long runs in one piece.
template <class Put>
void ForEachEscapedPiece(wchar_t const *text, size_t length, Put &&put) {
    size_t start = 0;  // first unit not yet handed out
    for (size_t i = 0; i < length; ++i) {
        wchar_t const c = text[i];
        // One test for most characters: only these four of the first 64 code points need care.
        constexpr uint64_t kSpecial = (uint64_t{1} << '"') | (uint64_t{1} << '&') |
                                      (uint64_t{1} << '<') | (uint64_t{1} << '>');
        if (static_cast<uint32_t>(c) > 63 || !((kSpecial >> c) & 1)) continue;
        wchar_t const *entity;
        size_t n;
        switch (c) {
            case L'"': entity = L"&quot;"; n = 6; break;
            case L'<': entity = L"&lt;"; n = 4; break;
            case L'>': entity = L"&gt;"; n = 4; break;
            case L'&': entity = L"&amp;"; n = 5; break;
            default: continue;
        }
        put(text + start, i - start);
        put(entity, n);
        start = i + 1;
    }
    put(text + start, length - start);
}

// Appends `text` escaped as above.
void AppendEscaped(std::wstring &out, wchar_t const *text, size_t length);
inline void AppendEscaped(std::wstring &out, std::wstring const &text) {
    AppendEscaped(out, text.data(), text.size());
}


// Characters that may not occur in a name of a path step or attribute step.
bool IsSpecialPathChar(wchar_t c);

// Byte conversions of the file layer.  Code pages: 1250, 852, 20127 (US-ASCII), 65001 (UTF-8).
// Appends UTF-16 units to `out`.  Returns false for an unknown code page.  Undecodable input
// becomes U+FFFD; the five undefined bytes of 1250 map to the C1 control of the same value.
bool CodePageToUtf16(unsigned int codePage, unsigned char const *data, size_t size,
                     std::vector<uint16_t> &out);
// UTF-16 (one unit per wchar_t) to UTF-8; a surrogate pair becomes one four-byte sequence, a
// lone surrogate U+FFFD.
void Utf16ToUtf8(wchar_t const *text, size_t length, std::string &out);

}  // namespace orvik_xml

#endif
