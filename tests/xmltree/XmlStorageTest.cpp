// Storage details that must not show: attribute order and lookup, nodes built by a parse living
// in shared blocks, and the output being sized before it is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/XmlTreeText.h"

namespace {

std::vector<CKrXMLNode *> Children(CKrXMLNode *n) {
    std::vector<CKrXMLNode *> items;
    for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling()) items.push_back(c);
    return items;
}

// The attributes in the node's order: "name=value", or only the names.
std::vector<std::wstring> Attrs(CKrXMLNode const *n, bool withValues = true) {
    std::vector<std::wstring> out;
    CKrStringW name, value;
    for (unsigned int i = 0; n->GetAttrAt(i, name, value) == 0; ++i)
        out.push_back(W(name) + (withValues ? L"=" + W(value) : L""));
    return out;
}

void ExpectSorted(CKrXMLNode const *n) {
    std::vector<std::wstring> names = Attrs(n, false);
    for (size_t i = 1; i < names.size(); ++i)
        EXPECT_TRUE(CKrStringW(names[i - 1]) < CKrStringW(names[i])) << i;
}

std::wstring Repeat(std::wstring const &s, int n) {
    std::wstring r;
    while (n-- > 0) r += s;
    return r;
}

CKrXMLNode *ParseOne(CKrXMLTree &tree, std::wstring const &xml) {
    EXPECT_EQ(tree.SetValue(CKrStringW(xml), true), 0) << std::string(xml.begin(), xml.end());
    return tree.FirstChild();
}

}  // namespace

// Names compare unit by unit as unsigned values, the same whether the parser or SetAttr placed
// them; lookups, replacement and removal keep the order.
TEST(XmlStorage, AttributeOrderIsTheSameForParserAndSetAttr) {
    // Reverse order, a shared prefix, units above 0x7F and above 0x7FFF, and a long list.
    std::vector<std::wstring> names = {L"zeta", L"z", L"\u00E9", L"\uAC00",
                                       L"ab",   L"a", L"B",      L"_"};
    for (int i = 40; i > 0; --i) names.push_back(L"n" + std::to_wstring(i));
    std::wstring xml = L"<e";
    CKrXMLNode built(krXML_ELEMENT, L"e");
    for (size_t i = 0; i < names.size(); ++i) {
        std::wstring value = L"v" + std::to_wstring(i);
        xml += L" " + names[i] + L"=\"" + value + L"\"";
        built.SetAttr(CKrStringW(names[i]), CKrStringW(value));
    }
    xml += L"/>";
    CKrXMLTree tree;
    CKrXMLNode *parsed = ParseOne(tree, xml);
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(Attrs(parsed), Attrs(&built));
    EXPECT_EQ(Compact(parsed), Compact(&built));
    ExpectSorted(parsed);
    EXPECT_EQ(Attrs(parsed, false).front(), L"B");
    EXPECT_EQ(Attrs(parsed, false).back(), L"\uAC00");

    // Every name is found with its own value.
    for (size_t i = 0; i < names.size(); ++i) {
        CKrStringW value;
        EXPECT_EQ(parsed->GetAttr(CKrStringW(names[i]), value), 0) << i;
        EXPECT_EQ(W(value), L"v" + std::to_wstring(i));
    }
    CKrStringW untouched(L"keep");
    EXPECT_EQ(parsed->GetAttr(CKrStringW(L"n"), untouched), -13);   // a prefix of several names
    EXPECT_EQ(parsed->GetAttr(CKrStringW(L"zz"), untouched), -13);  // beyond the last
    EXPECT_EQ(W(untouched), L"keep");

    // Replacing keeps the count, removing the first, a middle and the last entry keeps the rest.
    size_t count = parsed->GetAttrCount();
    parsed->SetAttr(CKrStringW(L"n20"), CKrStringW(L"new"));
    EXPECT_EQ(parsed->GetAttrCount(), count);
    for (wchar_t const *gone : {L"B", L"n20", L"\uAC00", L"absent"})
        parsed->DeleteAttr(CKrStringW(gone));
    EXPECT_EQ(parsed->GetAttrCount(), count - 3);
    EXPECT_FALSE(parsed->AttrExist(CKrStringW(L"n20")));
    EXPECT_TRUE(parsed->AttrExist(CKrStringW(L"n2")));
    EXPECT_TRUE(parsed->AttrExist(CKrStringW(L"n21")));
    ExpectSorted(parsed);
}

TEST(XmlStorage, KeptAttributeOrderAndCopiesFollowTheMap) {
    CKrXMLTree tree;
    tree.SetKeepAttribsOrder(true);
    CKrXMLNode *e = ParseOne(tree, L"<e c=\"&amp;3\" a=\"1\" b='\"2'/>");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(Compact(e), L"<e c=\"&amp;3\" a=\"1\" b=\"&quot;2\"/>");
    EXPECT_EQ(Attrs(e, false), (std::vector<std::wstring>{L"a", L"b", L"c"}));

    // A deep copy merges into existing attributes (existing values win) and stays sorted.
    CKrXMLNode copy(krXML_ELEMENT, L"x");
    copy.SetAttr(CKrStringW(L"b"), CKrStringW(L"mine"));
    copy.SetAttr(CKrStringW(L"d"), CKrStringW(L"4"));
    copy.Assign(e);
    EXPECT_EQ(Compact(&copy), L"<e a=\"1\" b=\"mine\" c=\"&amp;3\" d=\"4\"/>");

    e->SetAttr(CKrStringW(L"a"), CKrStringW(L"1"));  // back to the map's order
    EXPECT_EQ(Compact(e), L"<e a=\"1\" b=\"&quot;2\" c=\"&amp;3\"/>");
}

// A large parse fills blocks of growing size, with attribute arrays beside their nodes.  Survivors
// spread over those blocks must stay whole while everything around them goes, also when their
// attribute arrays are regrown, shrunk or emptied, when nodes added by hand and a second parse
// sit among them, and after the document itself is gone (the sanitizer build checks the memory).
TEST(XmlStorage, SurvivorsOfALargeParseStayWhole) {
    std::string xml = "<r>";
    const int kItems = 20000;  // several megabytes of nodes: every block size is used
    for (int i = 0; i < kItems; ++i) {
        std::string n = std::to_string(i);
        xml += "<i id=\"" + n + "\" b=\"bee" + n + "\" a=\"&amp;" + n + "\">text " + n + "</i>";
    }
    xml += "</r>";
    auto *tree = new CKrXMLTree;
    ASSERT_EQ(tree->SetValue(xml.data(), xml.size(), true), 0);
    CKrXMLNode *r = tree->FirstChild();
    ASSERT_NE(r, nullptr);

    std::vector<CKrXMLNode *> items = Children(r);
    ASSERT_EQ(items.size(), static_cast<size_t>(kItems));
    const std::vector<int> keep = {0, 1, 777, 5000, 12345, kItems - 1};
    std::vector<CKrXMLNode *> survivors;
    for (int k : keep) survivors.push_back(items[k]);

    // Grow one survivor's attributes well past the parsed array, shrink another, empty a third.
    for (int j = 0; j < 50; ++j)
        survivors[1]->SetAttr(CKrStringW(L"x" + std::to_wstring(j)), CKrStringW(L"v"));
    survivors[2]->DeleteAttr(CKrStringW(L"b"));
    survivors[3]->DeleteAllAttributes();
    // A node added by hand among parsed ones, and a second parse into the same tree.
    CKrXMLNode *added = survivors[0]->AddSibling(krXML_ELEMENT, L"added");
    added->AddChild(krXML_TEXT, L"x");
    ASSERT_EQ(tree->SetValue(CKrStringW(L"<second><s/></second>"), true), 0);
    ASSERT_NE(r->Sibling(), nullptr);
    EXPECT_EQ(W(r->Sibling()->TagName()), L"second");
    added->Remove();

    // Everything else goes, the document included (the survivors move to another owner).
    for (int i = 0; i < kItems; ++i)
        if (std::find(keep.begin(), keep.end(), i) == keep.end()) items[i]->Remove();
    auto *holder = new CKrXMLNode(*tree);
    tree->Init();
    delete tree;

    // The one with 53 attributes by its parts, the others by their whole text form.
    CKrStringW id;
    EXPECT_EQ(survivors[1]->GetAttr(CKrStringW(L"id"), id), 0);
    EXPECT_EQ(W(id) + L" " + W(survivors[1]->Text()), L"1 text 1");
    EXPECT_EQ(survivors[1]->GetAttrCount(), 53u);
    survivors[4]->AddChild(krXML_COMMENT, L"still usable");
    EXPECT_EQ(Compact(survivors[4]),
              L"<i a=\"&amp;12345\" b=\"bee12345\" id=\"12345\">text 12345<!--still usable--></i>");
    EXPECT_EQ(Compact(survivors[0]), L"<i a=\"&amp;0\" b=\"bee0\" id=\"0\">text 0</i>");
    EXPECT_EQ(Compact(survivors[2]), L"<i a=\"&amp;777\" id=\"777\">text 777</i>");
    EXPECT_EQ(Compact(survivors[3]), L"<i>text 5000</i>");
    EXPECT_EQ(Compact(survivors[5]),
              L"<i a=\"&amp;19999\" b=\"bee19999\" id=\"19999\">text 19999</i>");

    // A deep copy of the survivors owns its own memory.
    CKrXMLNode copy;
    copy.Assign(r);
    delete holder;
    ASSERT_NE(copy.FirstChild(), nullptr);
    EXPECT_EQ(Compact(copy.FirstChild()), L"<i a=\"&amp;0\" b=\"bee0\" id=\"0\">text 0</i>");
    EXPECT_EQ(Children(&copy).size(), keep.size());

    // Construction in the caller's storage still works beside the node allocator.
    alignas(CKrXMLNode) unsigned char storage[sizeof(CKrXMLNode)];
    CKrXMLNode *placed = new (storage) CKrXMLNode(krXML_TEXT, L"p");
    EXPECT_EQ(W(placed->Text()), L"p");
    placed->~CKrXMLNode();
}

// The writer reserves room once, when the string first runs short, from a measure of what is
// left to write (taken wherever the walk stands then; escapes are not in the measure).  Whatever
// room the string has, whatever it holds already and however much the text grows when escaped,
// the output must come out whole.
TEST(XmlStorage, OutputIsWholeWhateverRoomTheStringHas) {
    struct Doc {
        char const *what;
        CKrXMLNode *root;
        std::wstring compact;  // known independently of the writer
    };
    std::vector<Doc> docs;

    // Text and a value made only of characters that escape (5 to 6 times their length).
    CKrXMLNode escapes(krXML_ELEMENT, L"a");
    escapes.SetAttr(CKrStringW(L"q"), CKrStringW(std::wstring(3000, L'"')));
    escapes.AddChild(krXML_TEXT, std::wstring(5000, L'&').c_str());
    docs.push_back(
        {"escapes", &escapes,
         L"<a q=\"" + Repeat(L"&quot;", 3000) + L"\">" + Repeat(L"&amp;", 5000) + L"</a>"});

    // Constructs far larger than the writer's buffer (a start tag with a 100,000-unit value and
    // thousands of attributes, a 200,000-unit text) between small ones.
    CKrXMLNode big(krXML_ELEMENT, L"big");
    big.SetAttr(CKrStringW(L"v"), CKrStringW(Repeat(L"abc<", 25000)));
    std::wstring manyAttrs;
    for (int i = 0; i < 3000; ++i) {
        std::wstring name = L"k" + std::to_wstring(100000 + i);
        big.SetAttr(CKrStringW(name), CKrStringW(L"\""));
        manyAttrs += L" " + name + L"=\"&quot;\"";
    }
    big.AddChild(krXML_ELEMENT, L"small")->AddChild(krXML_TEXT, L"s");
    big.AddChild(krXML_TEXT, Repeat(L"0123456789>", 18000).c_str());
    big.AddChild(krXML_ELEMENT, L"e");
    docs.push_back({"big", &big,
                    L"<big" + manyAttrs + L" v=\"" + Repeat(L"abc&lt;", 25000) +
                        L"\"><small>s</small>" + Repeat(L"0123456789&gt;", 18000) + L"<e/></big>"});

    // A parsed document of many small records, nested a few levels: its compact form is its
    // input (attributes already in name order, nothing to escape).
    std::wstring records = L"<set>";
    for (int i = 0; i < 400; ++i) {
        std::wstring n = std::to_wstring(i);
        records += L"<rec id=\"" + n + L"\" kind=\"k" + std::to_wstring(i % 7) +
                   L"\"><name>record " + n + L"</name><!-- note " + n +
                   L" --><deep><deeper><deepest at=\"" + n + L"\">" + n +
                   L"</deepest></deeper></deep></rec>";
    }
    records += L"</set>";
    CKrXMLTree tree;
    ASSERT_EQ(tree.SetValue(CKrStringW(records), true), 0);
    docs.push_back({"records", tree.FirstChild(), records});

    for (Doc const &d : docs) {
        for (bool pretty : {false, true}) {
            CKrStringW fresh;
            ASSERT_EQ(d.root->GetValue(fresh, true, pretty), 0);
            if (!pretty) {
                EXPECT_EQ(W(fresh), d.compact) << d.what;
            }
            std::wstring const reference = W(fresh);  // pretty: the fresh string is the reference
            size_t const length = reference.size();
            for (size_t room :
                 {size_t{1}, size_t{600}, length / 3, length / 2, length - 1, length, 2 * length}) {
                for (wchar_t const *prefix : {L"", L"head:"}) {
                    CKrStringW out(prefix);
                    out.Preallocate(static_cast<int>(room));
                    ASSERT_EQ(d.root->GetValue(out, true, pretty), 0);
                    EXPECT_EQ(W(out), prefix + reference)
                        << d.what << " room " << room << " pretty " << pretty;
                }
            }
        }
    }
}
