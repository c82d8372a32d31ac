// Text helpers shared by the xmltree sources: escaping, path-name characters, byte conversions
// (private to xmltree/).
#ifndef ORVIK_XMLTREE_INTERNAL_XMLTEXT_H
#define ORVIK_XMLTREE_INTERNAL_XMLTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "strings/CKrStringW.h"

namespace orvik::detail {

// Source path of every diagnostic of the XML tree (fixed by the interface: callers filter on it).
inline constexpr wchar_t const *kXmlTreeSource = L"xmltree/XmlTree";

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
            case L'"':
                entity = L"&quot;";
                n = 6;
                break;
            case L'<':
                entity = L"&lt;";
                n = 4;
                break;
            case L'>':
                entity = L"&gt;";
                n = 4;
                break;
            case L'&':
                entity = L"&amp;";
                n = 5;
                break;
            default:
                continue;
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

}  // namespace orvik::detail

#endif
