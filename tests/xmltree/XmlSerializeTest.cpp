// Serialisation: pretty and compact forms, indentation, empty elements, escaping, header.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "xmltree/CKrXMLNode.h"
#include "xmltree/CKrXMLTree.h"

namespace {

std::wstring Serialize(wchar_t const *doc, bool pretty, bool indent, bool header = false) {
    CKrXMLTree t;
    EXPECT_EQ(t.SetValue(CKrStringW(doc), true), 0) << doc;
    t.SetPrettyXML(pretty);
    t.SetUseXMLHeader(header);
    CKrStringW out(L"stale text is replaced");
    EXPECT_EQ(t.GetValue(out, indent, !pretty /* ignored: the flag decides */), 0);
    return out.GetStdString();
}

struct Case {
    wchar_t const *doc;
    bool pretty;
    bool indent;
    wchar_t const *expected;
};

}  // namespace

TEST(XmlSerialize, LayoutRules) {
    Case const cases[] = {
        // empty elements
        {L"<a/>", false, false, L"<a/>"},
        {L"<a/>", true, false, L"<a />\r\n"},
        {L"<a k=\"v\"></a>", false, false, L"<a k=\"v\"/>"},
        {L"<a k=\"v\"></a>", true, true, L"<a k=\"v\" />\r\n"},
        // text-only elements stay on one line
        {L"<a>x</a>", true, true, L"<a>x</a>\r\n"},
        {L"<r><a>x</a></r>", true, true, L"<r>\r\n   <a>x</a>\r\n</r>\r\n"},
        {L"<r><a>x</a></r>", true, false, L"<r>\r\n<a>x</a>\r\n</r>\r\n"},
        // mixed content: every child on its own indented line, text without a line break
        {L"<r>t<b/>u</r>", true, true, L"<r>\r\n   t   <b />\r\n   u</r>\r\n"},
        {L"<r>t<b/>u</r>", false, true, L"<r>t<b/>u</r>"},
        // comments
        {L"<r><!--c--><a/></r>", true, true, L"<r>\r\n   <!--c-->\r\n   <a />\r\n</r>\r\n"},
        {L"<r><!-- c --></r>", false, false, L"<r><!-- c --></r>"},
        {L"<!--top--><r/>", true, true, L"<!--top-->\r\n<r />\r\n"},
        // deeper levels
        {L"<a><b><c><d/></c></b></a>", true, true,
         L"<a>\r\n   <b>\r\n      <c>\r\n         <d />\r\n      </c>\r\n   </b>\r\n</a>\r\n"},
        // escaping of text and attribute values; the apostrophe and non-ASCII stay as they are
        {L"<a q='&quot;&lt;&gt;&amp;&apos;\u00e9'>&lt;&amp;&gt;\"'\u00e9</a>", false, false,
         L"<a q=\"&quot;&lt;&gt;&amp;'\u00e9\">&lt;&amp;&gt;&quot;'\u00e9</a>"},
        // attributes sorted by name
        {L"<a z=\"1\" b=\"2\" m=\"3\"/>", false, false, L"<a b=\"2\" m=\"3\" z=\"1\"/>"},
    };
    for (Case const &c : cases)
        EXPECT_EQ(Serialize(c.doc, c.pretty, c.indent), c.expected)
            << c.doc << " pretty=" << c.pretty << " indent=" << c.indent;
}

TEST(XmlSerialize, HeaderAlwaysEndsWithLineBreak) {
    EXPECT_EQ(Serialize(L"<a/>", false, false, true),
              L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<a/>");
    EXPECT_EQ(Serialize(L"<a/>", true, false, true),
              L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<a />\r\n");
}

TEST(XmlSerialize, BuiltNodesAndNodeGetValue) {
    CKrXMLNode r(krXML_ELEMENT, L"r");
    r.AddChild(krXML_TEXT, L"");  // an empty only child counts as no content
    CKrStringW out(L"keep:");
    EXPECT_EQ(r.GetValue(out, false, false), 0);
    EXPECT_EQ(out.GetStdString(), L"keep:<r/>");  // the node form appends

    CKrXMLNode p(krXML_ELEMENT, L"p");
    p.AddChild(krXML_PROCESSING_INSTRUCTION, L"target data");
    p.AddChild(krXML_COMMENT, L"");  // empty comments and instructions write nothing
    p.AddChild(krXML_PROCESSING_INSTRUCTION, L"");
    out.Empty();
    p.GetValue(out, true, true);
    EXPECT_EQ(out.GetStdString(), L"<p>\r\n   <?target data?>\r\n</p>\r\n");
    out.Empty();
    p.GetValue(out, true, false);
    EXPECT_EQ(out.GetStdString(), L"<p><?target data?></p>");

    // A child at level 1 of a node serialised at level 150 is indented by 453 blanks.
    CKrXMLNode deep(krXML_ELEMENT, L"d");
    deep.AddChild(krXML_ELEMENT, L"e");
    out.Empty();
    deep.GetValueInternal(out, 150, true, true);
    std::wstring expected = std::wstring(450, L' ') + L"<d>\r\n" + std::wstring(453, L' ') +
                            L"<e />\r\n" + std::wstring(450, L' ') + L"</d>\r\n";
    EXPECT_EQ(out.GetStdString(), expected);
}

TEST(XmlSerialize, KeepAttributeOrderUntilNextSetAttr) {
    CKrXMLTree t;
    t.SetKeepAttribsOrder(true);
    ASSERT_EQ(t.SetValue(CKrStringW(L"<a z=\"1\" b=\"&lt;\"/>"), true), 0);
    t.SetPrettyXML(false);
    t.SetUseXMLHeader(false);
    CKrStringW out;
    t.GetValue(out, false, false);
    EXPECT_EQ(out.GetStdString(), L"<a z=\"1\" b=\"&lt;\"/>");
    t.FirstChild()->SetAttr(L"m", L"2");
    t.GetValue(out, false, false);
    EXPECT_EQ(out.GetStdString(), L"<a b=\"&lt;\" m=\"2\" z=\"1\"/>");
}

TEST(XmlSerialize, DocumentCopyIsDeep) {
    CKrXMLTree a;
    a.SetKeepAttribsOrder(true);
    ASSERT_EQ(a.SetValue(CKrStringW(L"<r y=\"1\" x=\"2\"><c>t</c></r>"), true), 0);
    a.SetPrettyXML(false);
    CKrXMLTree b(a);
    CKrXMLTree c;
    c = b;
    c = c;
    a.FirstChild()->Remove();
    CKrStringW out;
    c.GetValue(out, false, true);
    EXPECT_EQ(out.GetStdString(),
              L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<r y=\"1\" x=\"2\"><c>t</c></r>");
    EXPECT_FALSE(c.GetPrettyXML());
    EXPECT_TRUE(c.GetKeepAttribsOrder());
}

TEST(XmlSerialize, TreesOnSeveralThreadsAgree) {
    // Each thread owns its tree; the results must not depend on what the others do.
    std::wstring const doc = L"<a><b><c><d>x</d></c></b><e/></a>";
    std::vector<std::wstring> results(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < results.size(); ++i)
        threads.emplace_back([&, i] {
            for (int k = 0; k < 50; ++k) results[i] = Serialize(doc.c_str(), true, true);
        });
    for (auto &t : threads) t.join();
    for (auto const &r : results) EXPECT_EQ(r, Serialize(doc.c_str(), true, true));
}

namespace {
// A node type that writes itself: the serialiser must call it through the virtual.
struct CustomNode : CKrXMLNode {
    explicit CustomNode(wchar_t const *text) : CKrXMLNode(krXML_ELEMENT, text) {}
    int GetValueInternal(CKrStringW &out, unsigned int, bool, bool) override {
        out += TagName();  // the content is the literal output here
        return TagName() == L"fail" ? -77 : 0;
    }
    static CKrXMLNode *AppendTo(CKrXMLNode *parent, wchar_t const *text) {
        auto *node = new CustomNode(text);
        static_cast<CustomNode *>(parent)->Attach(node);
        return node;
    }
    void Attach(CustomNode *node) {  // appends `node` as last child of this
        node->m_pParent = this;
        CKrXMLNode **link = &m_pFirstChild;
        while (*link) link = &static_cast<CustomNode *>(*link)->m_pSibling;
        *link = node;
    }
};
}  // namespace

TEST(XmlSerialize, DerivedNodesWriteThemselves) {
    CustomNode p(L"p");
    CustomNode::AppendTo(&p, L"[own]");
    CKrStringW out;
    // p itself is the root: written by the base rules, its derived child by its override.
    ASSERT_EQ(p.CKrXMLNode::GetValueInternal(out, 0, true, true), 0);
    EXPECT_EQ(out.GetStdString(), L"<p>\r\n[own]</p>\r\n");

    CustomNode q(L"q");
    CustomNode::AppendTo(&q, L"");  // writes nothing: the element counts as empty
    out = L"prefix";
    ASSERT_EQ(q.CKrXMLNode::GetValueInternal(out, 0, true, true), 0);
    EXPECT_EQ(out.GetStdString(), L"prefix<q />\r\n");
    out.Empty();
    ASSERT_EQ(q.CKrXMLNode::GetValueInternal(out, 0, false, false), 0);
    EXPECT_EQ(out.GetStdString(), L"<q/>");

    // The first non-zero result of a child stops the output and is returned.
    CustomNode r(L"r");
    CustomNode::AppendTo(&r, L"fail");
    CustomNode::AppendTo(&r, L"never");
    out.Empty();
    EXPECT_EQ(r.CKrXMLNode::GetValueInternal(out, 0, false, false), -77);
    EXPECT_EQ(out.GetStdString(), L"<r>fail");
}

// Output passes through a bounded buffer; pieces that straddle its end, or exceed it, and an
// empty element closed right at its end must come out whole and in order.
TEST(XmlSerialize, LongOutputsKeepEveryUnit) {
    for (size_t pad = (1u << 15) - 24; pad <= (1u << 15) + 8; ++pad) {
        std::wstring text(pad, L'x');
        std::wstring doc = L"<r><p>" + text + L"</p><e/><f a=\"&lt;\"/></r>";
        std::wstring compact = L"<r><p>" + text + L"</p><e/><f a=\"&lt;\"/></r>";
        std::wstring pretty = L"<r>\r\n   <p>" + text + L"</p>\r\n   <e />\r\n   <f a=\"&lt;\" />\r\n</r>\r\n";
        EXPECT_EQ(Serialize(doc.c_str(), false, true), compact) << pad;
        EXPECT_EQ(Serialize(doc.c_str(), true, true), pretty) << pad;
    }
    // A text several times the buffer's size, with escapes spread through it.
    std::wstring big;
    for (int i = 0; i < 30000; ++i) big += L"ab&amp;";  // read as "ab&", written back as read
    EXPECT_EQ(Serialize((L"<a>" + big + L"</a>").c_str(), false, false), L"<a>" + big + L"</a>");
}

TEST(XmlSerialize, IndentationLongerThanTheBuffer) {
    // A node written at level 12000: 36000 blanks before each of its lines.
    CKrXMLTree t;
    ASSERT_EQ(t.SetValue(CKrStringW(L"<d><e/></d>"), true), 0);
    CKrXMLNode *d = t.FirstChild();
    ASSERT_NE(d, nullptr);
    CKrStringW out;
    ASSERT_EQ(d->GetValueInternal(out, 12000, true, true), 0);
    std::wstring const blanks(36000, L' ');
    EXPECT_EQ(out.GetStdString(), blanks + L"<d>\r\n" + blanks + L"   <e />\r\n" + blanks + L"</d>\r\n");
}
