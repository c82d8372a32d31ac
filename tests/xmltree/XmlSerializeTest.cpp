// Serialisation: pretty and compact forms, indentation, empty elements, escaping, header.
#include <gtest/gtest.h>

#include <string>
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
    bool header = false;
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
        // the header always ends with a line break
        {L"<a/>", false, false, L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<a/>", true},
        {L"<a/>", true, false, L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<a />\r\n", true},
    };
    for (Case const &c : cases)
        EXPECT_EQ(Serialize(c.doc, c.pretty, c.indent, c.header), c.expected)
            << c.doc << " pretty=" << c.pretty << " indent=" << c.indent;
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

    // A node written at level 12000: 36000 blanks, longer than the writer's buffer, before
    // each of its lines, and 3 more for its child.
    CKrXMLNode d(krXML_ELEMENT, L"d");
    d.AddChild(krXML_ELEMENT, L"e");
    out.Empty();
    ASSERT_EQ(d.GetValueInternal(out, 12000, true, true), 0);
    std::wstring const blanks(36000, L' ');
    EXPECT_EQ(out.GetStdString(),
              blanks + L"<d>\r\n" + blanks + L"   <e />\r\n" + blanks + L"</d>\r\n");
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

// What the text form cannot carry.  No character references are written: control characters
// go out as they are, so a document holding one does not parse again; tab, LF and CR parse again
// as blanks in attribute values, and CR as LF in text.
TEST(XmlSerialize, ControlCharactersAreWrittenAsTheyAre) {
    struct Row {
        wchar_t const *value;
        wchar_t const *attributeBack;  // null: the written document does not parse
        wchar_t const *textBack;
    } const rows[] = {
        {L"a\u0001b", nullptr, nullptr}, {L"a\u000Bb", nullptr, nullptr},
        {L"a\u001Fb", nullptr, nullptr}, {L"a\tb", L"a b", L"a\tb"},
        {L"a\nb", L"a b", L"a\nb"},      {L"a\rb", L"a b", L"a\nb"},
        {L"a\r\nb", L"a b", L"a\nb"},    {L"a\u007F\u0085b", L"a\u007F\u0085b", L"a\u007F\u0085b"},
    };
    for (Row const &r : rows) {
        for (bool inAttribute : {true, false}) {
            CKrXMLNode e(krXML_ELEMENT, L"e");
            if (inAttribute)
                e.SetAttr(L"v", r.value);
            else
                e.AddChild(krXML_TEXT, r.value);
            CKrStringW text;
            ASSERT_EQ(e.GetValue(text, false, false), 0);
            EXPECT_NE(text.GetStdString().find(r.value), std::wstring::npos);  // as it is
            CKrXMLTree back;
            wchar_t const *expected = inAttribute ? r.attributeBack : r.textBack;
            ASSERT_EQ(back.SetValue(text, false), expected ? 0 : -9) << text.GetStdString();
            if (!expected) continue;
            CKrStringW value;
            if (inAttribute)
                back.FirstChild()->GetAttr(L"v", value);
            else
                value = back.Text();
            EXPECT_EQ(value.GetStdString(), expected) << text.GetStdString();
        }
    }
}

namespace {
// A node type that writes itself: the serialiser must call it through the virtual.
struct CustomNode : CKrXMLNode {
    explicit CustomNode(wchar_t const *text) : CKrXMLNode(krXML_ELEMENT, text) {}
    int GetValueInternal(CKrStringW &out, unsigned int, bool, bool) override {
        out += TagName();  // the content is the literal output here
        return TagName() == L"fail" ? -77 : 0;
    }
    void Append(wchar_t const *text) {  // a CustomNode as the last child
        auto *node = new CustomNode(text);
        node->m_pParent = this;
        CKrXMLNode **link = &m_pFirstChild;
        while (*link) link = &static_cast<CustomNode *>(*link)->m_pSibling;
        *link = node;
    }
};
}  // namespace

TEST(XmlSerialize, DerivedNodesWriteThemselves) {
    CustomNode p(L"p");
    p.Append(L"[own]");
    CKrStringW out;
    // p itself is the root: written by the base rules, its derived child by its override.
    ASSERT_EQ(p.CKrXMLNode::GetValueInternal(out, 0, true, true), 0);
    EXPECT_EQ(out.GetStdString(), L"<p>\r\n[own]</p>\r\n");

    CustomNode q(L"q");
    q.Append(L"");  // writes nothing: the element counts as empty
    out = L"prefix";
    ASSERT_EQ(q.CKrXMLNode::GetValueInternal(out, 0, true, true), 0);
    EXPECT_EQ(out.GetStdString(), L"prefix<q />\r\n");
    out.Empty();
    ASSERT_EQ(q.CKrXMLNode::GetValueInternal(out, 0, false, false), 0);
    EXPECT_EQ(out.GetStdString(), L"<q/>");

    // The first non-zero result of a child stops the output and is returned.
    CustomNode r(L"r");
    r.Append(L"fail");
    r.Append(L"never");
    out.Empty();
    EXPECT_EQ(r.CKrXMLNode::GetValueInternal(out, 0, false, false), -77);
    EXPECT_EQ(out.GetStdString(), L"<r>fail");
}

// Output passes through a bounded buffer; pieces that straddle its end, or exceed it, and an
// empty element closed right at its end must come out whole and in order.
TEST(XmlSerialize, LongOutputsKeepEveryUnit) {
    for (size_t pad = (1u << 15) - 24; pad <= (1u << 15) + 8; ++pad) {
        std::wstring text(pad, L'x');
        std::wstring compact = L"<r><p>" + text + L"</p><e/><f a=\"&lt;\"/></r>";
        std::wstring pretty =
            L"<r>\r\n   <p>" + text + L"</p>\r\n   <e />\r\n   <f a=\"&lt;\" />\r\n</r>\r\n";
        EXPECT_EQ(Serialize(compact.c_str(), false, true), compact) << pad;
        EXPECT_EQ(Serialize(compact.c_str(), true, true), pretty) << pad;
    }
}
