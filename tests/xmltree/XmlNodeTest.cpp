// Node model: links and ownership, deep copy, text, attributes, and the node set.
#include <gtest/gtest.h>

#include <string>

#include "common/XmlTreeText.h"
#include "xmltree/CKrXMLNodeSet.h"

namespace {

// Counts live instances of a derived node type, to prove that destruction reaches every node.
struct CountedNode : CKrXMLNode {
    static inline int live = 0;
    CountedNode() { ++live; }
    ~CountedNode() override { --live; }
    CountedNode *Adopt(CountedNode *c) {  // makes `c` the new first child
        c->m_pParent = this;
        c->m_pSibling = static_cast<CountedNode *>(m_pFirstChild);
        m_pFirstChild = c;
        return c;
    }
};

}  // namespace

TEST(XmlNode, LinksAddAndRemove) {
    CKrXMLNode root(krXML_ELEMENT, L"r");
    CKrXMLNode *b = root.AddChild(krXML_ELEMENT, L"b");
    root.AddChild(krXML_ELEMENT, L"c");
    CKrXMLNode *a = root.AddFirstChild(krXML_ELEMENT, L"a");
    EXPECT_EQ(ChildTags(&root), L"a,b,c");
    EXPECT_EQ(a->Parent(), &root);
    EXPECT_EQ(root.Child(L"b"), b);
    EXPECT_EQ(root.Child(L"B"), nullptr);  // case-sensitive
    EXPECT_EQ(a->Sibling(L"c"), b->Sibling());
    EXPECT_EQ(b->Sibling(L"a"), nullptr);  // only looks forward

    // AddSibling: inserted directly after, with the node it follows as its parent.
    CKrXMLNode *ab = a->AddSibling(krXML_ELEMENT, L"ab");
    EXPECT_EQ(ChildTags(&root), L"a,ab,b,c");
    EXPECT_EQ(ab->Parent(), a);

    // Remove bridges the chain in the middle, at the front, and after an AddSibling node;
    // a follower of a removed node inherits its parent instead of a dangling one.
    b->AddChild(krXML_TEXT, L"inner");
    b->Remove();
    EXPECT_EQ(ChildTags(&root), L"a,ab,c");
    a->Remove();
    EXPECT_EQ(ChildTags(&root), L"ab,c");
    CKrXMLNode *c = ab->Sibling();
    CKrXMLNode *d = c->AddSibling(krXML_ELEMENT, L"d");
    CKrXMLNode *e = d->AddSibling(krXML_ELEMENT, L"e");
    EXPECT_EQ(e->Parent(), d);
    d->Remove();
    EXPECT_EQ(ChildTags(&root), L"ab,c,e");
    EXPECT_EQ(e->Parent(), c);
    e->Remove();
    EXPECT_EQ(ChildTags(&root), L"ab,c");
}

TEST(XmlNode, DestructionFreesEveryNodeAtAnyDepth) {
    {
        auto *root = new CountedNode();
        CountedNode *deep = root;
        for (int i = 0; i < 100000; ++i) deep = deep->Adopt(new CountedNode());
        for (int i = 0; i < 1000; ++i) root->Adopt(new CountedNode());
        EXPECT_EQ(CountedNode::live, 101001);
        delete root;  // would overflow the stack if destruction recursed
    }
    EXPECT_EQ(CountedNode::live, 0);
}

TEST(XmlNode, AssignCopiesDeeplyAndKeepsExistingAttributes) {
    CKrXMLTree src;
    ASSERT_EQ(src.SetValue(CKrStringW(L"<a x=\"1\" y=\"2\"><b>t</b><!--c--><d><e/></d></a>"), true),
              0);
    CKrXMLNode *a = src.FirstChild();
    CKrXMLNode dst(krXML_TEXT, L"old");
    dst.SetAttr(L"x", L"mine");
    dst.Assign(a);
    dst.Assign(nullptr);  // no effect
    EXPECT_EQ(dst.NodeType(), krXML_ELEMENT);
    EXPECT_NE(dst.FirstChild(), a->FirstChild());  // clones, not shared
    a->Remove();
    // Existing attribute values win.
    EXPECT_EQ(Compact(&dst), L"<a x=\"mine\" y=\"2\"><b>t</b><!--c--><d><e/></d></a>");

    // Into itself: the children are copied once, as they were before the call.
    CKrXMLNode self(krXML_ELEMENT, L"s");
    self.AddChild(krXML_ELEMENT, L"k");
    self.Assign(&self);
    EXPECT_EQ(ChildTags(&self), L"k,k");
    // From an ancestor into its descendant: terminates, copies the ancestor as it was.
    CKrXMLNode *k = self.FirstChild();
    k->Assign(&self);
    EXPECT_EQ(ChildTags(k), L"k,k");
}

TEST(XmlNode, TextConcatenatesDescendantTextOnly) {
    CKrXMLTree t;
    ASSERT_EQ(t.SetValue(CKrStringW(L"<a>x<b>y<!--no--><c>z</c></b>w</a>"), true), 0);
    EXPECT_EQ(W(t.Text()), L"xyzw");
    EXPECT_EQ(W(t.FirstChild()->FirstChild()->Sibling()->Text()), L"yz");
}

TEST(XmlNode, AttributesAndAttributeText) {
    CKrXMLNode n(krXML_ELEMENT, L"n");
    n.SetAttr(L"b", L"1");
    n.SetAttr(L"a", L"2");
    n.SetAttr(L"b", L"3");  // replace
    EXPECT_EQ(n.GetAttrCount(), 2u);
    EXPECT_EQ(Compact(&n), L"<n a=\"2\" b=\"3\"/>");  // sorted by name
    CKrStringW name(L"keep"), value(L"keep");
    EXPECT_EQ(n.GetAttrAt(1, name, value), 0);
    EXPECT_EQ(W(name) + L"=" + W(value), L"b=3");
    EXPECT_EQ(n.GetAttrAt(2, name, value), -4);  // past the end: outputs untouched
    EXPECT_EQ(W(name) + L"=" + W(value), L"b=3");

    n.SetAttribsText(L" z=\"9\"");
    EXPECT_EQ(Compact(&n), L"<n z=\"9\"/>");  // verbatim text wins over the map
    n.DeleteAttr(L"a");
    EXPECT_FALSE(n.AttrExist(L"a"));
    EXPECT_EQ(W(n.GetAttribsText()), L" z=\"9\"");  // deleting leaves the text alone
    n.SetAttr(L"c", L"4");                          // any SetAttr returns to the map
    EXPECT_EQ(Compact(&n), L"<n b=\"3\" c=\"4\"/>");
    n.DeleteAllAttributes();
    EXPECT_EQ(n.GetAttrCount(), 0u);
}

TEST(XmlNodeSet, BoundariesAndDuplicates) {
    CKrXMLNode a, b, c;
    CKrXMLNodeSet s;
    s.AddItem(&a);
    s.AddItem(&b);
    EXPECT_EQ(s.InsertItem(&c, 3), -4);
    EXPECT_EQ(s.InsertItem(&c, 2), 0);  // at the end
    EXPECT_EQ(s.InsertItem(&c, 0), 0);
    EXPECT_EQ(s[-1], nullptr);
    EXPECT_EQ(s[4], nullptr);
    CKrXMLNode *out = &a;
    EXPECT_EQ(s.GetItem(out, 4), -4);
    EXPECT_EQ(out, &a);  // untouched on failure
    EXPECT_EQ(s.Swap(0, 4), -4);
    EXPECT_EQ(s.DeleteItem(4u), -4);

    CKrXMLNode *cp = &c;
    EXPECT_EQ(s.DeleteItem(cp), 0);  // the first occurrence only
    ASSERT_EQ(s.size(), 3u);
    EXPECT_EQ(s[2], &c);
    CKrXMLNodeSet copy(s);
    EXPECT_TRUE(copy == s);
    copy.Swap(0, 1);
    EXPECT_FALSE(copy == s);
    copy.Clear();
    EXPECT_EQ(copy.DeleteItem(cp), -13);
}
