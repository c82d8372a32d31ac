// CKrXMLTree: the document node, its serialisation and the expat-driven parser.
#include "xmltree/CKrXMLTree.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "xmltree/internal/XmlAttributeMap.h"
#include "xmltree/internal/XmlMemory.h"
#include "xmltree/internal/XmlText.h"
#include "xmltree/internal/XmlWriter.h"

static_assert(sizeof(XML_Char) == 2, "the tree needs expat built for UTF-16 (libexpatw)");

namespace orvik::detail {

// Parse state beside the tree's element stack.  The element stack is the tree's (it survives a
// failed parse, see the header); the last-child cache lets handlers append in constant time
// instead of walking the chain, and is rebuilt lazily at every parse.
struct XmlTreeParser {
    CKrXMLTree *tree;
    XML_Parser parser;
    std::vector<CKrXMLNode *> lastChild;  // [k]: last child of the element active at depth k
    std::wstring attribs;
    std::vector<size_t> order;    // attribute pairs in name order
    XmlNodeSlab *slab = nullptr;  // block the new nodes (and their attributes) are carved from
    size_t nextSlabBytes = XmlNodeSlab::kFirstBytes;
    static constexpr size_t kNodeSlot =  // header + node
        XmlNodeSlab::kHeaderBytes + ((sizeof(CKrXMLNode) + 15) & ~size_t{15});
    bool outOfMemory = false;

    ~XmlTreeParser() { XmlNodeSlab::Close(slab); }

    // wcscmp on zero-terminated UTF-16 (units compared as unsigned values).
    static int Compare(XML_Char const *a, XML_Char const *b) {
        while (*a && *a == *b) ++a, ++b;
        auto ua = static_cast<char16_t>(*a), ub = static_cast<char16_t>(*b);
        return ua < ub ? -1 : ua > ub ? 1 : 0;
    }

    // expat's UTF-16 units, one per wchar_t.
    static std::wstring Wide(XML_Char const *s, size_t n) {
        std::wstring w(n, L'\0');
        for (size_t i = 0; i < n; ++i) w[i] = static_cast<wchar_t>(s[i]);
        return w;
    }
    static std::wstring Wide(XML_Char const *s) {
        size_t n = 0;
        while (s[n]) ++n;
        return Wide(s, n);
    }

    // Makes sure the current block has room for `bytes` (piece headers included), opening the
    // next, larger block when it has not.  A request larger than the largest block is left to
    // the heap (the carving falls back by itself).
    void MakeRoom(size_t bytes) {
        if (slab && slab->Fits(bytes)) return;
        if (bytes > XmlNodeSlab::kLargestBytes / 2) return;
        XmlNodeSlab::Close(slab);
        slab = XmlNodeSlab::Create(nextSlabBytes);  // null: pieces get their own allocations
        nextSlabBytes = XmlNodeSlab::NextSize(nextSlabBytes);
    }

    // Appends a node under the active element.
    CKrXMLNode *Append(CKrXMLNodeType kind) {
        size_t depth = tree->m_elementStack.size();
        CKrXMLNode *parent = tree->ActiveElement();
        if (lastChild.size() < depth + 1) lastChild.resize(depth + 1, nullptr);
        CKrXMLNode *last = lastChild[depth];
        if (!last) {
            last = parent->m_pFirstChild;
            while (last && last->m_pSibling) last = last->m_pSibling;
        }
        MakeRoom(kNodeSlot);
        CKrXMLNode *node = parent->AppendAfter(last, kind, slab);
        lastChild[depth] = node;
        return node;
    }

    void Fail() {
        outOfMemory = true;
        XML_StopParser(parser, XML_FALSE);
    }

    static void XMLCALL Start(void *user, XML_Char const *name, XML_Char const **atts) {
        auto *self = static_cast<XmlTreeParser *>(user);
        try {
            CKrXMLTree *tree = self->tree;
            size_t pairs = 0;
            while (atts[2 * pairs]) ++pairs;
            typedef XmlAttributeMap::value_type Entry;
            // The node and its attribute array side by side in the block.
            if (pairs)
                self->MakeRoom(kNodeSlot + XmlNodeSlab::kHeaderBytes +
                               XmlNodeSlab::Round(pairs * sizeof(Entry)));
            CKrXMLNode *node = self->Append(krXML_ELEMENT);
            node->m_content = Wide(name);
            bool keepOrder = tree->m_keepAttribsOrder;
            self->attribs.clear();
            if (pairs) {
                if (keepOrder) {
                    for (size_t i = 0; i < pairs; ++i) {
                        self->attribs += L' ';
                        self->attribs += Wide(atts[2 * i]);
                        self->attribs += L"=\"";
                        orvik::detail::AppendEscaped(self->attribs, Wide(atts[2 * i + 1]));
                        self->attribs += L'"';
                    }
                }
                // The map's order, decided on expat's strings (a unit-by-unit comparison of
                // zero-terminated UTF-16 is CKrStringW's order), so that the entries are built in
                // place once.  This is SetAttr without the temporaries: the attribute text of a
                // new node is empty anyway.  expat refuses duplicate names; should one slip
                // through, the first value stays, as with insertion one by one.
                std::vector<size_t> &order = self->order;
                order.resize(pairs);
                for (size_t i = 0; i < pairs; ++i) order[i] = i;
                std::sort(order.begin(), order.end(), [atts](size_t a, size_t b) {
                    int c = Compare(atts[2 * a], atts[2 * b]);
                    return c != 0 ? c < 0 : a < b;  // equal names: document order
                });
                size_t kept = 0;
                for (size_t k = 0; k < pairs; ++k)
                    if (kept == 0 || Compare(atts[2 * order[k]], atts[2 * order[kept - 1]]) != 0)
                        order[kept++] = order[k];
                order.resize(kept);
                {
                    XmlAttributeFill fill(self->slab);
                    node->Attrs().reserve(order.size());
                }
                for (size_t i : order)
                    node->Attrs().AppendInOrder(Wide(atts[2 * i]), Wide(atts[2 * i + 1]));
            }
            if (keepOrder && !self->attribs.empty()) node->m_attribsText = self->attribs;
            tree->m_elementStack.push_back(node);
            self->lastChild.resize(tree->m_elementStack.size() + 1);
            self->lastChild.back() = nullptr;  // a new element has no children yet
        } catch (...) {
            self->Fail();
        }
    }

    static void XMLCALL End(void *user, XML_Char const *) {
        auto *self = static_cast<XmlTreeParser *>(user);
        std::deque<CKrXMLNode *> &stack = self->tree->m_elementStack;
        if (stack.empty()) return;
        stack.pop_back();
        if (stack.empty()) stack.clear();  // back to the start of the queue
        self->lastChild.resize(stack.size() + 1);
    }

    static void XMLCALL Characters(void *user, XML_Char const *s, int len) {
        auto *self = static_cast<XmlTreeParser *>(user);
        size_t begin = 0, end = len > 0 ? static_cast<size_t>(len) : 0;
        if (self->tree->m_dropWhitespace) {
            auto blank = [](XML_Char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
            while (begin < end && blank(s[begin])) ++begin;
            while (end > begin && blank(s[end - 1])) --end;
        }
        if (begin == end) return;
        try {
            CKrXMLNode *node = self->Append(krXML_TEXT);
            node->m_content = Wide(s + begin, end - begin);
        } catch (...) {
            self->Fail();
        }
    }

    static void XMLCALL Comment(void *user, XML_Char const *data) {
        auto *self = static_cast<XmlTreeParser *>(user);
        try {
            CKrXMLNode *node = self->Append(krXML_COMMENT);
            node->m_content = Wide(data);
        } catch (...) {
            self->Fail();
        }
    }
};

}  // namespace orvik::detail

using orvik::detail::XmlTreeParser;

CKrXMLTree::CKrXMLTree()
    : CKrXMLNode(krXML_DOCUMENT, nullptr),
      m_dropWhitespace(true),
      m_prettyXML(true),
      m_spare(0),
      m_useXMLHeader(true),
      m_keepAttribsOrder(false) {}

CKrXMLTree::CKrXMLTree(CKrXMLTree const &other)
    : CKrXMLNode(other.m_type, nullptr),
      m_dropWhitespace(other.m_dropWhitespace),
      m_prettyXML(other.m_prettyXML),
      m_spare(0),
      m_useXMLHeader(other.m_useXMLHeader),
      m_keepAttribsOrder(other.m_keepAttribsOrder) {
    Attrs() = other.Attrs();
    m_attribsText = other.m_attribsText;
    m_content = other.m_content;
    CloneChildrenFrom(&other);
}

CKrXMLTree &CKrXMLTree::operator=(CKrXMLTree const &other) {
    if (this == &other) return *this;
    DestroyChildren();
    m_elementStack.clear();
    Attrs() = other.Attrs();
    m_attribsText = other.m_attribsText;
    m_content = other.m_content;
    m_type = other.m_type;
    m_dropWhitespace = other.m_dropWhitespace;
    m_prettyXML = other.m_prettyXML;
    m_useXMLHeader = other.m_useXMLHeader;
    m_keepAttribsOrder = other.m_keepAttribsOrder;
    CloneChildrenFrom(&other);
    return *this;
}

CKrXMLTree::~CKrXMLTree() = default;

CKrXMLNode *CKrXMLTree::ActiveElement() {
    return m_elementStack.empty() ? this : m_elementStack.back();
}

int CKrXMLTree::GetValue(CKrStringW &out, bool indent, bool /*pretty: the tree's flag decides*/) {
    return GetValueInternal(out, 0, indent, m_prettyXML);
}

int CKrXMLTree::GetValueInternal(CKrStringW &out, unsigned int level, bool indent, bool pretty) {
    out.Empty();
    if (m_useXMLHeader) out += L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n";
    return orvik::detail::XmlWriter::Write(this, out, level, indent, pretty, true);
}

int CKrXMLTree::SetValue(char *buffer, unsigned long long size, bool dropWhitespace) {
    m_dropWhitespace = dropWhitespace;
    if (!buffer && size) return -4;
    return ParseBytes(buffer ? buffer : "", size);
}

int CKrXMLTree::SetValue(CKrStringW const &text, bool dropWhitespace) {
    m_dropWhitespace = dropWhitespace;
    std::wstring const &s = text.GetStdString();
    std::vector<uint16_t> units;
    try {
        units.reserve(s.size() + 1);
        // A byte-order mark lets expat recognise UTF-16 even when the text does not start with "<".
        if (s.empty() || s[0] != 0xFEFF) units.push_back(0xFEFF);
        for (wchar_t c : s) units.push_back(static_cast<uint16_t>(c));
    } catch (std::bad_alloc const &) {
        return -3;
    }
    return ParseBytes(reinterpret_cast<char const *>(units.data()), units.size() * 2);
}

int CKrXMLTree::ParseBytes(char const *buffer, unsigned long long size) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    if (!parser) return -3;
    XmlTreeParser state;
    state.tree = this;
    state.parser = parser;
    state.lastChild.assign(m_elementStack.size() + 1, nullptr);
    XML_SetUserData(parser, &state);
    XML_SetElementHandler(parser, &XmlTreeParser::Start, &XmlTreeParser::End);
    XML_SetCharacterDataHandler(parser, &XmlTreeParser::Characters);
    XML_SetCommentHandler(parser, &XmlTreeParser::Comment);
    // One final call; inputs beyond expat's int length go in pieces, the last one final.
    constexpr unsigned long long kPiece = 1ull << 30;
    XML_Status status = XML_STATUS_OK;
    do {
        unsigned long long piece = size > kPiece ? kPiece : size;
        size -= piece;
        status =
            XML_Parse(parser, buffer, static_cast<int>(piece), size == 0 ? XML_TRUE : XML_FALSE);
        buffer += piece;
    } while (status == XML_STATUS_OK && size > 0);
    XML_ParserFree(parser);
    if (state.outOfMemory) return -3;
    return status == XML_STATUS_OK ? 0 : -9;
}
