// CKrXMLNode: links, ownership and attributes; serialisation is XmlWriter.cpp's.
#include "xmltree/CKrXMLNode.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "xmltree/internal/XmlAttributeMap.h"
#include "xmltree/internal/XmlMemory.h"
#include "xmltree/internal/XmlWriter.h"

using orvik::detail::XmlAttributeMap;
using orvik::detail::XmlMemory;
using orvik::detail::XmlNodeSlab;

// ---- the attribute map, kept in place ---------------------------------------------------------

XmlAttributeMap &CKrXMLNode::Attrs() {
    static_assert(sizeof(XmlAttributeMap) <= sizeof(m_attributes) &&
                      alignof(XmlAttributeMap) <= alignof(void *),  // the member is aligned so
                  "the attribute map must fit the room the node keeps for it");
    return *std::launder(reinterpret_cast<XmlAttributeMap *>(m_attributes));
}

XmlAttributeMap const &CKrXMLNode::Attrs() const {
    return *std::launder(reinterpret_cast<XmlAttributeMap const *>(m_attributes));
}

// ---- allocation ---------------------------------------------------------------------------------

void *CKrXMLNode::operator new(size_t size) { return XmlMemory::Allocate(size, nullptr); }

void *CKrXMLNode::operator new(size_t size, XmlNodeSlab *slab) {
    return XmlMemory::Allocate(size, slab);
}

void CKrXMLNode::operator delete(void *p) { XmlMemory::Free(p); }

void CKrXMLNode::operator delete(void *p, XmlNodeSlab *) { XmlMemory::Free(p); }

// ---- construction and ownership ---------------------------------------------------------------

// The map is constructed last in every constructor, so that a constructor that throws never
// leaves one behind.
CKrXMLNode::CKrXMLNode()
    : m_type(krXML_ELEMENT), m_pFirstChild(nullptr), m_pSibling(nullptr), m_pParent(nullptr) {
    ::new (static_cast<void *>(m_attributes)) XmlAttributeMap();
}

CKrXMLNode::CKrXMLNode(CKrXMLNodeType kind, wchar_t const *content)
    : m_content(content),
      m_type(kind),
      m_pFirstChild(nullptr),
      m_pSibling(nullptr),
      m_pParent(nullptr) {
    ::new (static_cast<void *>(m_attributes)) XmlAttributeMap();
}

CKrXMLNode::CKrXMLNode(CKrXMLNode const &other)
    : m_attribsText(other.m_attribsText),
      m_content(other.m_content),
      m_type(other.m_type),
      m_pFirstChild(other.m_pFirstChild),
      m_pSibling(other.m_pSibling),
      m_pParent(other.m_pParent) {
    ::new (static_cast<void *>(m_attributes)) XmlAttributeMap(other.Attrs());
}

CKrXMLNode &CKrXMLNode::operator=(CKrXMLNode const &other) {
    if (this == &other) return *this;
    Attrs() = other.Attrs();
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
    Attrs().~XmlAttributeMap();
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
    orvik::detail::XmlStreamPrefetch prefetch;
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

CKrXMLNode *CKrXMLNode::AppendAfter(CKrXMLNode *last, CKrXMLNodeType kind, XmlNodeSlab *slab) {
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
            snapshot.Attrs() = source->Attrs();
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
        for (auto const &attr : src->Attrs()) dst->Attrs().emplace(attr.first, attr.second);
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
            last->Attrs() = c->Attrs();
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
    Attrs().insert_or_assign(name, value);
    m_attribsText.Empty();
}

int CKrXMLNode::GetAttr(CKrStringW const &name, CKrStringW &value) const {
    auto it = Attrs().find(name);
    if (it == Attrs().end()) return -13;
    value = it->second;
    return 0;
}

bool CKrXMLNode::AttrExist(CKrStringW const &name) const { return Attrs().count(name) != 0; }

void CKrXMLNode::DeleteAttr(CKrStringW const &name) { Attrs().erase(name); }

void CKrXMLNode::DeleteAllAttributes() { Attrs().clear(); }

void CKrXMLNode::SetAttribsText(CKrStringW const &text) { m_attribsText = text; }

unsigned int CKrXMLNode::GetAttrCount() const { return static_cast<unsigned int>(Attrs().size()); }

int CKrXMLNode::GetAttrAt(unsigned int index, CKrStringW &name, CKrStringW &value) const {
    XmlAttributeMap const &attributes = Attrs();
    if (index >= attributes.size()) return -4;
    auto const &entry = *(attributes.begin() + index);
    name = entry.first;
    value = entry.second;
    return 0;
}

// ---- serialisation ------------------------------------------------------------------------------

int CKrXMLNode::GetValue(CKrStringW &out, bool indent, bool pretty) {
    return GetValueInternal(out, 0, indent, pretty);
}

int CKrXMLNode::GetValueInternal(CKrStringW &out, unsigned int level, bool indent, bool pretty) {
    return orvik::detail::XmlWriter::Write(this, out, level, indent, pretty);
}
