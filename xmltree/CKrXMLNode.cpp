// CKrXMLNode: links, ownership, attributes and serialisation.
#include "xmltree/CKrXMLNode.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "platform/KrPlatform.h"
#include "xmltree/XmlInternal.h"


namespace {

// Output is collected in a bounded buffer (which stays in cache) and appended to `out` in
// pieces.  The buffer starts small, for the many short outputs, and doubles with every flush up
// to its full size.
class Sink {
public:
    static constexpr size_t kFirstChunk = 512;
    static constexpr size_t kChunk = 1 << 15;

    explicit Sink(CKrStringW &out)
        : m_out(out), m_outLength(out.GetLength()), m_buf(kFirstChunk) {}
    ~Sink() { Flush(); }
    size_t Length() const { return m_outLength + m_pos; }
    size_t BufferSize() const { return m_buf.size(); }
    // Units `out` can hold without moving.
    size_t OutCapacity() const { return m_out.GetStdString().capacity(); }
    void Flush() {
        if (m_pos == 0) return;
        m_out.AddChars(m_buf.data(), static_cast<int>(m_pos));
        m_outLength += m_pos;
        m_pos = 0;
        if (m_buf.size() < kChunk) m_buf.resize(m_buf.size() * 2);
    }
    // After a derived node wrote into `out` directly.
    void Resync() { m_outLength = m_out.GetLength(); }
    // Makes `out` hold `more` units beyond everything written so far without moving.
    void Reserve(size_t more) {
        size_t want = Length() + more;
        if (want <= OutCapacity() || want > static_cast<size_t>(INT_MAX)) return;
        m_out.Preallocate(static_cast<int>(want));
        // All of it is likely to be written: fault it in by large pages where the system allows
        // (tens of megabytes for large documents).
        KR_AdviseLargeWrite(const_cast<wchar_t *>(m_out.GetString()) + m_outLength,
                            (want - m_outLength) * sizeof(wchar_t));
    }

    void Put(wchar_t c) {
        if (m_pos == m_buf.size()) Flush();
        m_buf[m_pos++] = c;
    }
    void Put(wchar_t const *text, size_t n) {
        if (n > m_buf.size() - m_pos) {
            Flush();
            if (n > m_buf.size()) {  // a piece larger than the buffer goes straight through
                AddLarge(text, n);
                return;
            }
        }
        std::memcpy(m_buf.data() + m_pos, text, n * sizeof(wchar_t));
        m_pos += n;
    }
    void Put(std::wstring const &text) { Put(text.data(), text.size()); }
    void PutBlanks(size_t n) {
        while (n > 0) {
            if (m_pos == m_buf.size()) Flush();
            size_t piece = std::min(n, m_buf.size() - m_pos);
            std::wmemset(m_buf.data() + m_pos, L' ', piece);
            m_pos += piece;
            n -= piece;
        }
    }
    // `text` with '"', '<', '>' and '&' replaced by their entity references.
    void PutEscaped(wchar_t const *text, size_t length) {
        orvik_xml::ForEachEscapedPiece(text, length, [this](wchar_t const *piece, size_t n) { Put(piece, n); });
    }
    void PutEscaped(std::wstring const &text) { PutEscaped(text.data(), text.size()); }

    // Makes sure the last `n` units written (at most what was written in all) are in the buffer.
    void PullTail(size_t n) {
        if (m_pos >= n) return;
        size_t missing = n - m_pos;
        if (missing > m_out.GetLength()) missing = m_out.GetLength();
        if (missing == 0) return;
        CKrStringW tail = m_out.Right(missing);
        m_out.DeleteRight(static_cast<int>(missing));
        m_outLength = m_out.GetLength();
        std::wstring const &t = tail.GetStdString();
        std::memmove(m_buf.data() + t.size(), m_buf.data(), m_pos * sizeof(wchar_t));
        std::memcpy(m_buf.data(), t.data(), t.size() * sizeof(wchar_t));
        m_pos += t.size();
    }
    bool EndsWith(wchar_t const *tail, size_t n) const {
        return m_pos >= n && std::wmemcmp(m_buf.data() + m_pos - n, tail, n) == 0;
    }
    // Drops the last `n` units of the buffer (the caller checked they are there).
    void Unput(size_t n) { m_pos -= n; }

    // Direct access for a piece of at most `n` units: the position to write at, or null when
    // `n` exceeds the buffer (write with the Put members then).  Commit hands back the end.
    wchar_t *Open(size_t n) {
        if (n > m_buf.size() - m_pos) {
            Flush();
            if (n > m_buf.size()) return nullptr;
        }
        return m_buf.data() + m_pos;
    }
    void Commit(wchar_t *end) { m_pos = static_cast<size_t>(end - m_buf.data()); }

private:
    void AddLarge(wchar_t const *text, size_t n) {
        while (n > 0) {
            size_t piece = std::min(n, static_cast<size_t>(INT_MAX));
            m_out.AddChars(text, static_cast<int>(piece));
            m_outLength += piece;
            text += piece;
            n -= piece;
        }
    }

    CKrStringW &m_out;
    size_t m_outLength;  // length of m_out, tracked to avoid a call per element
    std::vector<wchar_t> m_buf;  // fixed size; m_pos units are pending
    size_t m_pos = 0;
};

// The Put interface of Sink on memory the caller has made room in: no checks per piece.  Most
// constructs are short, so copies are plain loops rather than library calls.
struct RawOut {
    wchar_t *p;

    void Put(wchar_t c) { *p++ = c; }
    void Put(wchar_t const *text, size_t n) {
        if (n > 16) {
            std::memcpy(p, text, n * sizeof(wchar_t));
        } else {
            for (size_t i = 0; i < n; ++i) p[i] = text[i];
        }
        p += n;
    }
    void Put(std::wstring const &text) { Put(text.data(), text.size()); }
    void PutBlanks(size_t n) {
        for (size_t i = 0; i < n; ++i) p[i] = L' ';
        p += n;
    }
    void PutEscaped(std::wstring const &text) {
        orvik_xml::ForEachEscapedPiece(text.data(), text.size(),
                                       [this](wchar_t const *piece, size_t n) { Put(piece, n); });
    }
};

// Parsed nodes sit in document order in their blocks, each followed by its attribute array, so a
// walk over the whole tree in document order reads the blocks front to back.  It does so one
// pointer at a time, which keeps the processor from running ahead, and a node with its
// attributes spans several cache lines.  The walker therefore asks for every line of the block a
// fixed distance ahead of the node it is at, each line once.  A short step back (the teardown
// returns to a parent) leaves the stream where it is; a jump (to the next block, or between nodes
// added by hand, which live anywhere) restarts it at the new place.  Addresses are only computed
// and prefetched, never read: a prefetch does not fault.
class StreamPrefetch {
public:
    void Ahead(CKrXMLNode const *node) {
        uintptr_t const at = reinterpret_cast<uintptr_t>(node);
        uintptr_t const want = at + kDistance;
        if (m_next + kLongestStep < want || m_next > want + kLongestStep) m_next = want - kRestart;
        for (; m_next <= want; m_next += kLine)
            __builtin_prefetch(reinterpret_cast<void const *>(m_next));
    }

private:
    static constexpr uintptr_t kLine = 64;
    static constexpr uintptr_t kDistance = 4096;    // some 15-25 nodes of a typical document
    static constexpr uintptr_t kLongestStep = 2048;  // a step farther than this is a jump
    static constexpr uintptr_t kRestart = 256;       // a restarted stream begins 4 lines earlier
    uintptr_t m_next = 0;  // first line not yet asked for
};

// Units an escaped text can take at most ("&quot;" for a character).
constexpr size_t kMaxEscapeGrowth = 6;

// Runs `write(out)` on raw buffer memory when `worst` units fit there, else on the sink itself.
template <class Write>
void WriteBounded(Sink &sink, size_t worst, Write &&write) {
    if (wchar_t *p = sink.Open(worst)) {
        RawOut raw{p};
        write(raw);
        sink.Commit(raw.p);
    } else {
        write(sink);
    }
}

}  // namespace

// ---- allocation ---------------------------------------------------------------------------------

void *CKrXMLNode::operator new(size_t size) { return CKrXMLMemory::Allocate(size, nullptr); }

void *CKrXMLNode::operator new(size_t size, CKrXMLNodeSlab *slab) {
    return CKrXMLMemory::Allocate(size, slab);
}

void CKrXMLNode::operator delete(void *p) { CKrXMLMemory::Free(p); }

void CKrXMLNode::operator delete(void *p, CKrXMLNodeSlab *) { CKrXMLMemory::Free(p); }

// ---- construction and ownership ---------------------------------------------------------------

CKrXMLNode::CKrXMLNode()
    : m_type(krXML_ELEMENT), m_pFirstChild(nullptr), m_pSibling(nullptr), m_pParent(nullptr) {}

CKrXMLNode::CKrXMLNode(CKrXMLNodeType kind, wchar_t const *content)
    : m_content(content), m_type(kind), m_pFirstChild(nullptr), m_pSibling(nullptr),
      m_pParent(nullptr) {}

CKrXMLNode::CKrXMLNode(CKrXMLNode const &other)
    : m_attributes(other.m_attributes), m_attribsText(other.m_attribsText),
      m_content(other.m_content), m_type(other.m_type), m_pFirstChild(other.m_pFirstChild),
      m_pSibling(other.m_pSibling), m_pParent(other.m_pParent) {}

CKrXMLNode &CKrXMLNode::operator=(CKrXMLNode const &other) {
    if (this == &other) return *this;
    m_attributes = other.m_attributes;
    m_attribsText = other.m_attribsText;
    m_content = other.m_content;
    m_type = other.m_type;
    m_pFirstChild = other.m_pFirstChild;
    m_pSibling = other.m_pSibling;
    m_pParent = other.m_pParent;
    return *this;
}

CKrXMLNode::~CKrXMLNode() {
    Unlink();
    DestroyChildren();
}

void CKrXMLNode::Unlink() {
    CKrXMLNode *parent = m_pParent;
    if (!parent) return;
    // Find the link that points at this node: the parent's first child, a link in the parent's
    // chain, or (for nodes added with AddSibling, whose parent is the node they follow) a link
    // in the chain that starts at the "parent" itself.
    CKrXMLNode **link = nullptr;
    if (parent->m_pFirstChild == this) {
        link = &parent->m_pFirstChild;
    } else {
        for (CKrXMLNode *n = parent->m_pFirstChild; n && !link; n = n->m_pSibling)
            if (n->m_pSibling == this) link = &n->m_pSibling;
        for (CKrXMLNode *n = parent; n && !link; n = n->m_pSibling)
            if (n->m_pSibling == this) link = &n->m_pSibling;
    }
    if (link) *link = m_pSibling;
    // Followers that were added with AddSibling on this node name it as their parent.
    for (CKrXMLNode *n = m_pSibling; n; n = n->m_pSibling)
        if (n->m_pParent == this) n->m_pParent = parent;
    m_pParent = nullptr;
    m_pSibling = nullptr;
}

void CKrXMLNode::DestroyChildren() {
    // First-child/next-sibling links form a binary tree; it is torn down with rotations (a node
    // with a first child is rotated below that child), so every node is deleted once it has no
    // children, without recursion and without extra memory.
    CKrXMLNode *n = m_pFirstChild;
    m_pFirstChild = nullptr;
    StreamPrefetch prefetch;
    while (n) {
        prefetch.Ahead(n);
        if (CKrXMLNode *child = n->m_pFirstChild) {
            n->m_pFirstChild = child->m_pSibling;
            child->m_pSibling = n;
            n = child;
        } else {
            CKrXMLNode *next = n->m_pSibling;
            n->m_pParent = nullptr;  // keeps it from unlinking itself
            n->m_pSibling = nullptr;
            delete n;
            n = next;
        }
    }
}

void CKrXMLNode::Remove() { delete this; }

void CKrXMLNode::Init() {
    m_pFirstChild = nullptr;
    m_pSibling = nullptr;
    m_pParent = nullptr;
}

CKrXMLNode *CKrXMLNode::AppendAfter(CKrXMLNode *last, CKrXMLNodeType kind, CKrXMLNodeSlab *slab) {
    CKrXMLNode *node = new (slab) CKrXMLNode(kind, nullptr);
    node->m_pParent = this;
    if (last)
        last->m_pSibling = node;
    else
        m_pFirstChild = node;
    return node;
}

CKrXMLNode *CKrXMLNode::AddChild(CKrXMLNodeType kind, wchar_t const *content) {
    CKrXMLNode *last = m_pFirstChild;
    while (last && last->m_pSibling) last = last->m_pSibling;
    CKrXMLNode *node = AppendAfter(last, kind);
    node->m_content = content;
    return node;
}

CKrXMLNode *CKrXMLNode::AddFirstChild(CKrXMLNodeType kind, wchar_t const *content) {
    CKrXMLNode *node = new CKrXMLNode(kind, content);
    node->m_pParent = this;
    node->m_pSibling = m_pFirstChild;
    m_pFirstChild = node;
    return node;
}

CKrXMLNode *CKrXMLNode::AddSibling(CKrXMLNodeType kind, wchar_t const *content) {
    CKrXMLNode *node = new CKrXMLNode(kind, content);
    node->m_pParent = this;  // the node it follows, on purpose
    node->m_pSibling = m_pSibling;
    m_pSibling = node;
    return node;
}

void CKrXMLNode::Assign(CKrXMLNode *source) {
    if (!source) return;
    // When the source is this node or one of its ancestors the copy would walk into the nodes it
    // creates; copy from a snapshot then.
    for (CKrXMLNode *n = this; n; n = n->m_pParent) {
        if (n == source) {
            CKrXMLNode snapshot;
            snapshot.m_type = source->m_type;
            snapshot.m_content = source->m_content;
            snapshot.m_attributes = source->m_attributes;
            snapshot.CloneChildrenFrom(source);
            Assign(&snapshot);  // the snapshot has no parent: no second detour
            return;
        }
    }
    std::vector<std::pair<CKrXMLNode const *, CKrXMLNode *>> work{{source, this}};
    while (!work.empty()) {
        auto [src, dst] = work.back();
        work.pop_back();
        dst->m_type = src->m_type;
        dst->m_content = src->m_content;
        for (auto const &attr : src->m_attributes) dst->m_attributes.emplace(attr.first, attr.second);
        CKrXMLNode *last = dst->m_pFirstChild;
        while (last && last->m_pSibling) last = last->m_pSibling;
        for (CKrXMLNode const *c = src->m_pFirstChild; c; c = c->m_pSibling) {
            last = dst->AppendAfter(last, krXML_ELEMENT);
            work.emplace_back(c, last);
        }
    }
}

void CKrXMLNode::CloneChildrenFrom(CKrXMLNode const *source) {
    std::vector<std::pair<CKrXMLNode const *, CKrXMLNode *>> work{{source, this}};
    while (!work.empty()) {
        auto [src, dst] = work.back();
        work.pop_back();
        CKrXMLNode *last = nullptr;
        for (CKrXMLNode const *c = src->m_pFirstChild; c; c = c->m_pSibling) {
            last = dst->AppendAfter(last, c->m_type);
            last->m_content = c->m_content;
            last->m_attributes = c->m_attributes;
            last->m_attribsText = c->m_attribsText;
            work.emplace_back(c, last);
        }
    }
}

// ---- reading ------------------------------------------------------------------------------------

CKrXMLNodeType CKrXMLNode::NodeType() const { return m_type; }

CKrStringW CKrXMLNode::TagName() const {
    return m_type == krXML_ELEMENT ? m_content : CKrStringW();
}

void CKrXMLNode::SetTagName(CKrStringW name) { m_content = name; }

CKrStringW CKrXMLNode::Text() const {
    if (m_type == krXML_TEXT) return m_content;
    std::wstring text;
    std::vector<CKrXMLNode const *> resume;  // siblings to continue with after a subtree
    CKrXMLNode const *n = m_pFirstChild;
    while (n || !resume.empty()) {
        if (!n) {
            n = resume.back();
            resume.pop_back();
        }
        if (n->m_type == krXML_TEXT) text += n->m_content.GetStdString();
        if (n->m_pFirstChild) {
            if (n->m_pSibling) resume.push_back(n->m_pSibling);
            n = n->m_pFirstChild;
        } else {
            n = n->m_pSibling;
        }
    }
    return CKrStringW(text);
}

CKrXMLNode *CKrXMLNode::FirstChild() const { return m_pFirstChild; }
CKrXMLNode *CKrXMLNode::Sibling() const { return m_pSibling; }
CKrXMLNode *CKrXMLNode::Parent() const { return m_pParent; }

CKrXMLNode *CKrXMLNode::Child(CKrStringW const &name) const {
    for (CKrXMLNode *n = m_pFirstChild; n; n = n->m_pSibling)
        if (n->m_type == krXML_ELEMENT && n->m_content == name) return n;
    return nullptr;
}

CKrXMLNode *CKrXMLNode::Sibling(CKrStringW const &name) const {
    for (CKrXMLNode *n = m_pSibling; n; n = n->m_pSibling)
        if (n->m_type == krXML_ELEMENT && n->m_content == name) return n;
    return nullptr;
}

// ---- attributes ---------------------------------------------------------------------------------

void CKrXMLNode::SetAttr(CKrStringW const &name, CKrStringW const &value) {
    m_attributes.insert_or_assign(name, value);
    m_attribsText.Empty();
}

int CKrXMLNode::GetAttr(CKrStringW const &name, CKrStringW &value) const {
    auto it = m_attributes.find(name);
    if (it == m_attributes.end()) return -13;
    value = it->second;
    return 0;
}

bool CKrXMLNode::AttrExist(CKrStringW const &name) const { return m_attributes.count(name) != 0; }

void CKrXMLNode::DeleteAttr(CKrStringW const &name) { m_attributes.erase(name); }

void CKrXMLNode::DeleteAllAttributes() { m_attributes.clear(); }

void CKrXMLNode::SetAttribsText(CKrStringW const &text) { m_attribsText = text; }

// ---- serialisation ------------------------------------------------------------------------------

int CKrXMLNode::GetValue(CKrStringW &out, bool indent, bool pretty) {
    return GetValueInternal(out, 0, indent, pretty);
}

int CKrXMLNode::GetValueInternal(CKrStringW &out, unsigned int level, bool indent, bool pretty) {
    return CKrXMLNodeAccess::Serialize(this, out, level, indent, pretty);
}

bool CKrXMLNodeAccess::IsTextOnly(CKrXMLNode const *first) {
    return first && first->m_type == krXML_TEXT && !first->m_pSibling &&
           !first->m_content.IsEmpty();
}

size_t CKrXMLNodeAccess::ChainsLength(std::vector<Chain> chains, bool indent) {
    // `chains` doubles as the walk's stack: the last chain is walked first.  Callers put the
    // chain that comes first in the document last, so the walk reads memory front to back
    // (parsed nodes sit in document order).
    size_t total = 0;
    StreamPrefetch prefetch;
    auto visit = [&](CKrXMLNode const *n, unsigned int lvl, bool pr) {
        size_t length = n->m_content.GetLength();
        size_t ind = (pr && indent) ? size_t{3} * lvl : 0;
        switch (n->m_type) {
            case krXML_ELEMENT: {
                CKrXMLNode const *first = n->m_pFirstChild;
                bool inner = pr && !CKrXMLNodeAccess::IsTextOnly(first);
                total += ind + 1 + length;
                if (!n->m_attribsText.IsEmpty()) {
                    total += n->m_attribsText.GetLength();
                } else {
                    for (auto const &attr : n->m_attributes)
                        total += 4 + attr.first.GetLength() + attr.second.GetLength();
                }
                total += inner ? 3 : 1;                                  // ">" [CRLF]
                total += (inner ? ind : 0) + 3 + length + (pr ? 2 : 0);  // "</name>" [CRLF]
                if (first) chains.push_back({first, lvl + 1, inner});
                break;
            }
            case krXML_TEXT:
                if (length) total += ind + length;
                break;
            case krXML_COMMENT:
            case krXML_PROCESSING_INSTRUCTION:
                if (length) total += length + (n->m_type == krXML_COMMENT ? 7 : 4) + (pr ? ind + 2 : 0);
                break;
            case krXML_DOCUMENT:
                if (n->m_pFirstChild) chains.push_back({n->m_pFirstChild, lvl, pr});
                break;
        }
    };
    while (!chains.empty()) {
        Chain &c = chains.back();
        CKrXMLNode const *n = c.first;
        if (!n) {
            chains.pop_back();
            continue;
        }
        c.first = n->m_pSibling;
        prefetch.Ahead(n);
        visit(n, c.level, c.pretty);  // may push (and move `c`)
    }
    return total;
}

int CKrXMLNodeAccess::Serialize(CKrXMLNode *root, CKrStringW &out, unsigned int level,
                                bool indent, bool pretty, bool asDocument) {
    Sink sink(out);

    // An open element (or a document-kind node, whose children stay at its own level).
    struct Frame {
        CKrXMLNode *node;
        CKrXMLNode *next;  // next child to write
        size_t mark;       // output length after the start tag
        unsigned int level;
        bool pretty;
        bool textOnly;
        bool fragment;
    };
    std::vector<Frame> stack;
    StreamPrefetch prefetch;

    // Blanks in front of a construct at `lvl` (pretty output only).
    auto blanks = [&](unsigned int lvl, bool pr) -> size_t {
        return (pr && indent && lvl >= 1) ? size_t{3} * lvl : 0;
    };

    auto emit = [&](CKrXMLNode *n, unsigned int lvl, bool pr, bool isRoot) -> int {
        if (!isRoot && typeid(*n) != typeid(CKrXMLNode)) {
            // A derived node may write its own way.
            sink.Flush();
            int rc = n->GetValueInternal(out, lvl, indent, pr);
            sink.Resync();
            return rc;
        }
        std::wstring const &content = n->m_content.GetStdString();
        switch (n->m_type) {
            case krXML_ELEMENT: {
                CKrXMLNode *first = n->m_pFirstChild;
                // Only pretty output lays out text-only elements differently; compact output
                // does not look at the child yet.
                bool textOnly = pr && CKrXMLNodeAccess::IsTextOnly(first);
                size_t ind = blanks(lvl, pr);
                std::wstring const &attribsText = n->m_attribsText.GetStdString();
                size_t worst = ind + content.size() + 4 + attribsText.size();
                if (attribsText.empty())
                    for (auto const &attr : n->m_attributes)
                        worst += 4 + attr.first.GetLength() +
                                 kMaxEscapeGrowth * attr.second.GetLength();
                WriteBounded(sink, worst, [&](auto &o) {
                    o.PutBlanks(ind);
                    o.Put(L'<');
                    o.Put(content);
                    if (!attribsText.empty()) {
                        o.Put(attribsText);
                    } else {
                        for (auto const &attr : n->m_attributes) {
                            o.Put(L' ');
                            o.Put(attr.first.GetStdString());
                            o.Put(L"=\"", 2);
                            o.PutEscaped(attr.second.GetStdString());
                            o.Put(L'"');
                        }
                    }
                    if (pr && !textOnly)
                        o.Put(L">\r\n", 3);
                    else
                        o.Put(L'>');
                });
                stack.push_back({n, first, sink.Length(), lvl, pr, textOnly, false});
                return 0;
            }
            case krXML_TEXT: {
                if (content.empty()) return 0;
                size_t ind = blanks(lvl, pr);
                WriteBounded(sink, ind + kMaxEscapeGrowth * content.size(), [&](auto &o) {
                    o.PutBlanks(ind);
                    o.PutEscaped(content);  // no line break after text, callers rely on it
                });
                return 0;
            }
            case krXML_COMMENT:
            case krXML_PROCESSING_INSTRUCTION: {
                if (content.empty()) return 0;
                bool comment = n->m_type == krXML_COMMENT;
                size_t ind = blanks(lvl, pr);
                WriteBounded(sink, ind + content.size() + 9, [&](auto &o) {
                    o.PutBlanks(ind);
                    if (comment)
                        o.Put(L"<!--", 4);
                    else
                        o.Put(L"<?", 2);
                    o.Put(content);
                    if (comment)
                        o.Put(L"-->", 3);
                    else
                        o.Put(L"?>", 2);
                    if (pr) o.Put(L"\r\n", 2);
                });
                return 0;
            }
            case krXML_DOCUMENT:
                stack.push_back({n, n->m_pFirstChild, sink.Length(), lvl, pr, false, true});
                return 0;
        }
        return -4;  // not a node kind
    };

    // The result is sized once instead of growing by doubling (each step copies it and touches
    // new pages): when `out` first lacks room for another buffer's worth, what is left to write
    // is measured and reserved.  A string kept from an earlier call of the same size is never
    // measured.  The measure leaves out escapes (counting them means reading every text); the
    // margin covers them for ordinary documents, and capacity never written is never touched,
    // so the margin costs address space only.
    bool sized = false;
    auto makeRoom = [&] {
        sized = true;
        std::vector<Chain> chains;
        size_t closing = 0;
        for (Frame const &f : stack) {
            unsigned int childLevel = f.fragment ? f.level : f.level + 1;
            if (f.next) chains.push_back({f.next, childLevel, f.pretty && !f.textOnly});
            if (f.fragment) continue;
            size_t ind = f.textOnly ? 0 : blanks(f.level, f.pretty);
            closing += ind + 3 + f.node->m_content.GetLength() + (f.pretty ? 2 : 0);  // "</name>"
        }
        size_t rest = closing + ChainsLength(std::move(chains), indent);
        sink.Reserve(rest + rest / 4 + 64);
    };

    int rc = 0;
    if (asDocument)
        stack.push_back({root, root->m_pFirstChild, sink.Length(), level, pretty, false, true});
    else
        rc = emit(root, level, pretty, true);
    while (rc == 0 && !stack.empty()) {
        if (!sized && sink.Length() + sink.BufferSize() > sink.OutCapacity()) makeRoom();
        Frame &f = stack.back();
        if (f.next) {
            CKrXMLNode *child = f.next;
            prefetch.Ahead(child);
            f.next = child->m_pSibling;
            rc = emit(child, f.fragment ? f.level : f.level + 1, f.pretty && !f.textOnly, false);
            continue;
        }
        if (!f.fragment) {
            std::wstring const &tag = f.node->m_content.GetStdString();
            if (sink.Length() != f.mark) {
                size_t ind = f.textOnly ? 0 : blanks(f.level, f.pretty);
                bool lineBreak = f.pretty;
                WriteBounded(sink, ind + tag.size() + 5, [&](auto &o) {
                    o.PutBlanks(ind);
                    o.Put(L"</", 2);
                    o.Put(tag);
                    o.Put(L'>');
                    if (lineBreak) o.Put(L"\r\n", 2);
                });
            } else if (f.pretty && !f.textOnly) {
                sink.PullTail(3);
                if (sink.EndsWith(L">\r\n", 3)) {
                    sink.Unput(3);
                    sink.Put(L" />\r\n", 5);
                }
            } else {
                sink.PullTail(1);
                if (sink.EndsWith(L">", 1)) {
                    sink.Unput(1);
                    sink.Put(L"/>", 2);
                }
                if (f.pretty) sink.Put(L"\r\n", 2);
            }
        }
        stack.pop_back();
    }
    return rc;
}
