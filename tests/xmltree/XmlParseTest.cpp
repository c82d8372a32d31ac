// Parsing: what is kept, whitespace handling, appending, failures and hostile input.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/XmlTreeText.h"

namespace {

std::vector<std::wstring> TextChildren(CKrXMLNode *n) {
    std::vector<std::wstring> texts;
    for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling())
        if (c->NodeType() == krXML_TEXT) texts.push_back(W(c->Text()));
    return texts;
}

}  // namespace

TEST(XmlParse, KeepsElementsTextAndCommentsOnly) {
    CKrXMLTree t;
    EXPECT_TRUE(t.GetPrettyXML());
    EXPECT_TRUE(t.GetUseXMLHeader());
    EXPECT_FALSE(t.GetKeepAttribsOrder());
    EXPECT_EQ(t.NodeType(), krXML_DOCUMENT);
    ASSERT_EQ(t.SetValue(CKrStringW(L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>"
                                    L"<!DOCTYPE r [<!ENTITY e \"ent\">]>"
                                    L"<?pi data?><r a=\"1\"><![CDATA[<raw>]]><!--c-->&e;</r>"),
                         true),
              0);
    EXPECT_EQ(CompactDocument(t), L"<r a=\"1\">&lt;raw&gt;<!--c-->ent</r>");
    EXPECT_EQ(t.FirstChild()->Parent(), &t);
}

TEST(XmlParse, WhitespaceDropAndTrim) {
    CKrXMLTree on, off;
    ASSERT_EQ(on.SetValue(CKrStringW(L"<a> x </a>"), true), 0);
    ASSERT_EQ(off.SetValue(CKrStringW(L"<a> x </a>"), false), 0);
    EXPECT_EQ(W(on.Text()), L"x");
    EXPECT_EQ(W(off.Text()), L" x ");

    // Only blank, tab, CR and LF are dropped; other white space stays.
    CKrXMLTree t;
    ASSERT_EQ(t.SetValue(CKrStringW(L"<a>\t\r\n <b/>\u00a0y\u00a0\n</a>"), true), 0);
    EXPECT_EQ(TextChildren(t.FirstChild()), (std::vector<std::wstring>{L"\u00a0y\u00a0"}));

    // Runs that expat splits (at references) become separate nodes, never merged.
    CKrXMLTree split;
    ASSERT_EQ(split.SetValue(CKrStringW(L"<a>p &amp; q</a>"), true), 0);
    EXPECT_EQ(TextChildren(split.FirstChild()), (std::vector<std::wstring>{L"p", L"&", L"q"}));
    CKrXMLTree kept;
    ASSERT_EQ(kept.SetValue(CKrStringW(L"<a>p &amp; q</a>"), false), 0);
    EXPECT_EQ(W(kept.Text()), L"p & q");
}

TEST(XmlParse, ByteFormDetectsEncodings) {
    struct Bytes {
        std::string data;
        wchar_t const *text;
    } const cases[] = {
        {"<a>\xC3\xA9</a>", L"\u00e9"},                                       // UTF-8 default
        {"\xEF\xBB\xBF<a>\xC3\xA9</a>", L"\u00e9"},                           // UTF-8 mark
        {std::string("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0", 18), L"\u00e9"},  // UTF-16LE
        {std::string("\xFE\xFF\0<\0a\0>\0\xE9\0<\0/\0a\0>", 18), L"\u00e9"},  // UTF-16BE
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9</a>", L"\u00e9"},
        // a supplementary character arrives as a surrogate pair
        {"<a>\xF0\x9F\x98\x80</a>", L"\xD83D\xDE00"},
    };
    for (Bytes const &c : cases) {
        CKrXMLTree t;
        std::string copy = c.data;
        ASSERT_EQ(t.SetValue(copy.data(), copy.size(), true), 0) << c.data;
        EXPECT_EQ(W(t.Text()), c.text);
    }
    CKrXMLTree t;
    EXPECT_EQ(t.SetValue(nullptr, 5, true), -4);
    EXPECT_EQ(t.SetValue(nullptr, 0, true), -9);  // no element
}

TEST(XmlParse, StringFormAcceptsLeadingWhitespaceAndOwnMark) {
    CKrXMLTree t;
    EXPECT_EQ(t.SetValue(CKrStringW(L"\r\n  <a>1</a>"), true), 0);
    EXPECT_EQ(t.SetValue(CKrStringW(L"\xFEFF<b>2</b>"), true), 0);
    EXPECT_EQ(CompactDocument(t), L"<a>1</a><b>2</b>");  // parsing appends top-level nodes
    // A declaration that contradicts UTF-16 is refused by expat.
    CKrXMLTree u;
    EXPECT_EQ(u.SetValue(CKrStringW(L"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>"), true), -9);
}

TEST(XmlParse, FailureKeepsWhatWasBuiltAndTheOpenElement) {
    CKrXMLTree t;
    EXPECT_EQ(t.SetValue(CKrStringW(L"<a><b>x</b><c>"), true), -9);  // truncated
    EXPECT_EQ(CompactDocument(t), L"<a><b>x</b><c/></a>");
    // The next parse continues inside the element that was open at the error.
    EXPECT_EQ(t.SetValue(CKrStringW(L"<d/>"), true), 0);
    EXPECT_EQ(CompactDocument(t), L"<a><b>x</b><c><d/></c></a>");
}

TEST(XmlParse, MalformedInputFailsWithMinus9) {
    char const *const bad[] = {
        "",
        "   ",
        "<",
        "<a",
        "<a>",
        "<a></b>",
        "<a x=1/>",
        "<a x='1' x='2'/>",
        "<a>&undefined;</a>",
        "<a/><b/>",
        "text",
        "<a>\x01</a>",
        "<a>\xFF</a>",
        "<?xml version=\"1.0\" encoding=\"nonesuch\"?><a/>",
        "<a><!-- -- --></a>",
    };
    for (char const *doc : bad) {
        CKrXMLTree t;
        std::string copy(doc);
        EXPECT_EQ(t.SetValue(copy.data(), copy.size(), true), -9) << doc;
    }
}

TEST(XmlParse, HostileDocumentsAreBounded) {
    // 100,000 levels: built, serialised, queried and destroyed without recursion.
    {
        std::string doc;
        for (int i = 0; i < 100000; ++i) doc += "<d>";
        doc += "x";
        for (int i = 0; i < 100000; ++i) doc += "</d>";
        CKrXMLTree t;
        ASSERT_EQ(t.SetValue(doc.data(), doc.size(), true), 0);
        EXPECT_EQ(W(t.Text()), L"x");
        // Pretty but not indented (indentation of 100,000 levels would be 15 G blanks): the
        // header, 99,999 "<d>\r\n...</d>\r\n" pairs, the text-only innermost "<d>x</d>\r\n".
        CKrStringW out;
        EXPECT_EQ(t.GetValue(out, false, true), 0);
        EXPECT_EQ(out.GetLength(), 41u + 99999u * 11 + 10);
        out.Empty();
        t.SetPrettyXML(false);
        EXPECT_EQ(t.GetValue(out, false, false), 0);
        EXPECT_EQ(out.GetLength(), 41u + 100000u * 7 + 1);  // header, "<d>" and "</d>" each, "x"
        CKrXMLTree copy(t);
        EXPECT_EQ(W(copy.Text()), L"x");
        CKrXMLNode assigned;
        assigned.Assign(t.FirstChild());
        EXPECT_EQ(W(assigned.Text()), L"x");
        CKrXMLNodeSet set;
        EXPECT_EQ(t.XPathGetNodeSet(CKrStringW(L"d/d/d/d"), set), 0);
        EXPECT_EQ(set.size(), 1u);
    }
    // Entity expansion: expat's amplification limit stops it.
    {
        std::string doc =
            "<?xml version=\"1.0\"?><!DOCTYPE l [<!ENTITY l0 \"lollollollollollollollollol\">";
        for (int i = 1; i <= 9; ++i) {
            doc += "<!ENTITY l" + std::to_string(i) + " \"";
            for (int k = 0; k < 10; ++k) doc += "&l" + std::to_string(i - 1) + ";";
            doc += "\">";
        }
        doc += "]><l>&l9;</l>";
        CKrXMLTree t;
        EXPECT_EQ(t.SetValue(doc.data(), doc.size(), false), -9);
    }
    // An external DTD is never loaded; a reference it might declare is skipped.
    {
        std::string doc = "<!DOCTYPE a SYSTEM \"http://invalid.example/y.dtd\"><a>[&ext;]</a>";
        CKrXMLTree t;
        EXPECT_EQ(t.SetValue(doc.data(), doc.size(), true), 0);
        EXPECT_EQ(W(t.Text()), L"[]");
    }
    // A 16 MiB attribute value and a 16 MiB name are simply stored.
    {
        std::string big(16u << 20, 'v');
        std::string doc = "<a k=\"" + big + "\"><" + std::string(16u << 20, 'n') + "/></a>";
        CKrXMLTree t;
        ASSERT_EQ(t.SetValue(doc.data(), doc.size(), true), 0);
        CKrStringW v;
        ASSERT_EQ(t.FirstChild()->GetAttr(L"k", v), 0);
        EXPECT_EQ(v.GetLength(), big.size());
        EXPECT_EQ(t.FirstChild()->FirstChild()->TagName().GetLength(), 16u << 20);
    }
}
