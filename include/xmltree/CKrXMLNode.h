// CKrXMLNode: one node of the in-memory XML document (element, text, comment or processing
// instruction), with its attributes, its children and path queries.
//
// Model.  Children form a singly linked list from the parent's first child through the sibling
// links; there is no last-child and no previous-sibling pointer.  A node owns its first child
// and, through it, the whole sibling chain below it.  All text is wide (one UTF-16 unit per
// wchar_t) and stored unescaped.
//
// Ownership rules callers rely on:
//  - Destroying a node (delete or Remove) first unlinks it from the chain it sits in, then
//    destroys its whole subtree.  Destruction is iterative, so a subtree of any depth is safe.
//  - The copy constructor and operator= are SHALLOW: they copy the attribute map, attribute text,
//    content, kind and the three links as they are, so the copy and the original share the
//    children.  Such a copy must be detached with Init() before it is destroyed (or it destroys
//    the shared children).  Use Assign for a deep copy.
//  - AddSibling sets the new node's Parent() to the node it follows, not to that node's parent.
//    Existing callers depend on this.  When a node is destroyed, followers in its chain that
//    name it as their parent inherit its parent, so no parent link is left dangling.
//
// Serialisation (GetValue / GetValueInternal) and the deep operations (destruction, Assign,
// Text) iterate rather than recurse, so documents nested 100,000 levels deep are handled within
// a fixed stack.  A node whose dynamic type overrides GetValueInternal is still called through
// the virtual.  GetValue writes into `out` as long as it has room; when it first runs short, the
// rest of the output is measured and reserved at once (large outputs are backed by huge pages
// where the system allows).  Serialising into a string kept from an earlier call of about the
// same size therefore reuses its memory and skips the measuring walk.
//
// Path queries: a deliberately small subset of XPath.  Steps are separated by "/", each a child
// step with an optional "axis::" (only "child" is evaluated), the node tests name, "*",
// "node()", "text()", "comment()", "processinginstruction-instruction()" (all of which keep
// every child, whatever its kind: callers rely on that), ".", "..", and filters "[n]"
// (n-th child per parent), "[@a]", "[@a='v']", "[@a!='v']"; a final "@name" step names an
// attribute (only for XPathGetNodeValue).  A leading single "/" is dropped and the path is
// evaluated from this node, not from the document root; "/" alone yields the root.  Results:
//   0 success, -2 unsupported ("//" step, axis other than child), -4 invalid path,
//   -101 several matches where one value was asked for.  Invalid paths also report one running
//   diagnostic (source "xmltree/XmlTree").
#ifndef ORVIK_XMLTREE_CKRXMLNODE_H
#define ORVIK_XMLTREE_CKRXMLNODE_H

#include <cstddef>
#include <vector>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "xmltree/CKrXMLNodeSet.h"

// Private parts of the library, named here only (never defined in a public header).
namespace orvik::detail {
class XmlAttributeMap;
struct XmlNodeSlab;
struct XmlWriter;
struct XmlTreeParser;
}  // namespace orvik::detail

// The kind of a node (32 bits).
enum CKrXMLNodeType : kr_int32 {
    krXML_ELEMENT = 0,                 // content: the tag name
    krXML_TEXT = 1,                    // content: the character data, unescaped
    krXML_COMMENT = 2,                 // content: the body, without "<!--" and "-->"
    krXML_PROCESSING_INSTRUCTION = 3,  // content: everything between "<?" and "?>"
    krXML_DOCUMENT = 4                 // only the document (CKrXMLTree) itself
};

class ORVIK_API CKrXMLNode {
public:
    // The parser puts the nodes it builds side by side in shared blocks (fewer, cheaper
    // allocations); every other node gets its own allocation.  `delete` works the same for both;
    // a block is released with its last node.
    static void *operator new(size_t size);
    static void operator delete(void *p);
    // Construction in caller-provided storage stays available (the members above hide it).
    static void *operator new(size_t, void *where) noexcept { return where; }
    static void operator delete(void *, void *) noexcept {}

    // An element with an empty name and no links.
    CKrXMLNode();
    // A node of that kind and content (null reads as empty), no links.
    CKrXMLNode(CKrXMLNodeType kind, wchar_t const *content);
    // Shallow: see the ownership rules above.
    CKrXMLNode(CKrXMLNode const &other);
    CKrXMLNode &operator=(CKrXMLNode const &other);
    virtual ~CKrXMLNode();

    // Serialises this node and its subtree, appending to `out` (GetValueInternal at level 0).
    // indent: indent nested lines by 3 spaces per level; pretty: one construct per line
    // ("\r\n" line ends).  Returns 0, or the first non-zero result of a child.
    virtual int GetValue(CKrStringW &out, bool indent, bool pretty);
    virtual int GetValueInternal(CKrStringW &out, unsigned int level, bool indent, bool pretty);

    // ---- building -----------------------------------------------------------------------
    // New node appended as the last child (walks the chain); returns it (owned by this node).
    CKrXMLNode *AddChild(CKrXMLNodeType kind, wchar_t const *content);
    // New node inserted before the current first child; returns it.
    CKrXMLNode *AddFirstChild(CKrXMLNodeType kind, wchar_t const *content);
    // New node inserted directly after this one; its Parent() is THIS node (see above).
    CKrXMLNode *AddSibling(CKrXMLNodeType kind, wchar_t const *content);
    // Destroys this node and its subtree (delete this): the pointer is invalid afterwards.
    void Remove();
    // Clears the three links without freeing anything (detaches this object's view).
    void Init();
    // Deep copy from `source` (null: nothing): kind and content, each source attribute this
    // node does not have yet (existing ones keep their values; the attribute text is not
    // copied), then a copy of every source child appended as a last child.  Copying a node
    // into itself or into its own subtree copies the source as it was before the call.
    void Assign(CKrXMLNode *source);

    // ---- reading --------------------------------------------------------------------------
    CKrXMLNodeType NodeType() const;
    // The content for an element, an empty string for every other kind.
    CKrStringW TagName() const;
    // Sets the content string, whatever the kind.
    void SetTagName(CKrStringW name);
    // A text node's content; for any other node the text of all descendant text nodes in
    // document order, without separators (comments contribute nothing).
    CKrStringW Text() const;
    CKrXMLNode *FirstChild() const;
    CKrXMLNode *Sibling() const;
    CKrXMLNode *Parent() const;
    // First child whose TagName() equals `name` (case-sensitive); null if none.
    CKrXMLNode *Child(CKrStringW const &name) const;
    // First node after this one in the sibling chain whose TagName() equals `name`; null if none.
    CKrXMLNode *Sibling(CKrStringW const &name) const;

    // ---- attributes ------------------------------------------------------------------------
    // Attributes are kept sorted by name, units compared as unsigned values (CKrStringW's
    // operator<), and written in that order unless the attribute text is set.
    // Inserts or replaces, then empties the attribute text (output returns to sorted order).
    void SetAttr(CKrStringW const &name, CKrStringW const &value);
    // 0 and the value, or -13 with `value` untouched.
    int GetAttr(CKrStringW const &name, CKrStringW &value) const;
    bool AttrExist(CKrStringW const &name) const;
    // These two leave the attribute text alone: a node that carries one keeps writing it.
    void DeleteAttr(CKrStringW const &name);
    void DeleteAllAttributes();
    // Pre-rendered attribute list written verbatim instead of the map while non-empty; each
    // item is a blank, the name, "=" and the escaped value in double quotes.
    void SetAttribsText(CKrStringW const &text);
    CKrStringW const &GetAttribsText() const { return m_attribsText; }
    // Number of attributes.
    unsigned int GetAttrCount() const;
    // 0 with the name and value of the attribute at `index` in name order, or -4 (both outputs
    // untouched) when index >= GetAttrCount().
    int GetAttrAt(unsigned int index, CKrStringW &name, CKrStringW &value) const;

    // ---- path queries --------------------------------------------------------------------
    // Fills `result` (replaced) with the matching nodes.  A path ending in an attribute step is
    // refused with -4.
    int XPathGetNodeSet(CKrStringW const &path, CKrXMLNodeSet &result);
    // The first matching node, or null on error or no match.
    CKrXMLNode *XPathGetNode(CKrStringW const &path);
    // The value of the first match: its Text(), or for a path ending in "@name" that attribute
    // (a missing attribute leaves `value` untouched and still returns 0).  No match: 0 and
    // `value` untouched; several matches without allowMany: -101; errors as for the node set.
    // A null first entry (negative positional filter) also leaves `value` untouched.
    int XPathGetNodeValue(CKrStringW const &path, CKrStringW &value, bool allowMany);

protected:
    // Appends a new node of that kind to this node's children after `last` (null: as first
    // child).  The parser uses it to append in constant time.
    CKrXMLNode *AppendAfter(CKrXMLNode *last, CKrXMLNodeType kind,
                            orvik::detail::XmlNodeSlab *slab = nullptr);
    // Destroys every child (iteratively) and leaves this node without children.
    void DestroyChildren();
    // Deep copy of everything, attribute text included, used by the document's copy.
    void CloneChildrenFrom(CKrXMLNode const *source);

    // The attribute map, kept in place (no allocation of its own): one sorted array of name and
    // value pairs, reached through Attrs().  Its size is checked where it is defined.
    alignas(void *) unsigned char m_attributes[3 * sizeof(void *)];
    CKrStringW m_attribsText;
    CKrStringW m_content;
    CKrXMLNodeType m_type;
    CKrXMLNode *m_pFirstChild;
    CKrXMLNode *m_pSibling;
    CKrXMLNode *m_pParent;

    // The map in m_attributes (its type is private to the library).
    orvik::detail::XmlAttributeMap &Attrs();
    orvik::detail::XmlAttributeMap const &Attrs() const;

private:
    // Storage from a parser's block (null: an allocation of its own).
    static void *operator new(size_t size, orvik::detail::XmlNodeSlab *slab);
    static void operator delete(void *p, orvik::detail::XmlNodeSlab *slab);  // failed constructor

    enum EKrXPathAxis {
        krXPATH_ANCESTOR = 0,
        krXPATH_ANCESTOR_OR_SELF = 1,
        krXPATH_ATTRIBUTE = 2,
        krXPATH_CHILD = 3,
        krXPATH_DESCENDANT = 4,
        krXPATH_DESCENDANT_OR_SELF = 5,
        krXPATH_FOLLOWING = 6,
        krXPATH_FOLLOWING_SIBLING = 7,
        krXPATH_NAMESPACE = 8,
        krXPATH_PARENT = 9,
        krXPATH_PRECEDING = 10,
        krXPATH_PRECEDING_SIBLING = 11,
        krXPATH_SELF = 12
    };

    void Unlink();
    int XPathGetNodeSetInternal(CKrStringW const &path, CKrXMLNodeSet &result,
                                CKrStringW *attributeName, bool allowAttribute);
    static int ProcessXPath(CKrStringW path, CKrXMLNodeSet context, CKrXMLNodeSet &result,
                            CKrStringW *attributeName, bool allowAttribute);
    static int ProcessXPFilters(std::vector<CKrStringW> const &filters, CKrXMLNodeSet &nodes);

    friend struct orvik::detail::XmlWriter;
    friend struct orvik::detail::XmlTreeParser;
};

#endif
