// Documents this library did not write (tests/xmltree/data): loaded, saved in both file forms,
// loaded again and compared node by node; the in-memory text form must agree with the files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "xmltree/CKrXMLTree.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::wstring> Pairs(CKrXMLNode *n) {
    std::vector<std::wstring> pairs;
    CKrStringW name, value;
    for (unsigned int i = 0; n->GetAttrAt(i, name, value) == 0; ++i)
        pairs.push_back(name.GetStdString() + L"=" + value.GetStdString());
    return pairs;
}

// One child as the comparison sees it: an element or comment, or a run of adjacent text nodes.
// Runs are compared by their joined text because the parser gives each character-data piece
// its own node, and a piece boundary moves where the writer escapes a character ("x\"" is read
// as one piece, the written "x&quot;" as two).
struct Item {
    CKrXMLNode *node;  // null for a text run
    std::wstring text;
};

std::vector<Item> Items(CKrXMLNode *parent) {
    std::vector<Item> items;
    for (CKrXMLNode *c = parent->FirstChild(); c; c = c->Sibling()) {
        if (c->NodeType() == krXML_TEXT) {
            if (items.empty() || items.back().node) items.push_back({nullptr, L""});
            items.back().text += c->Text().GetStdString();
        } else {
            items.push_back({c, L""});
        }
    }
    return items;
}

// Walks both trees side by side (iteratively); returns a description of the first difference.
std::string FirstDifference(CKrXMLNode *a, CKrXMLNode *b) {
    std::vector<std::pair<CKrXMLNode *, CKrXMLNode *>> work{{a, b}};
    size_t visited = 0;
    while (!work.empty()) {
        auto [x, y] = work.back();
        work.pop_back();
        ++visited;
        std::string where = "node " + std::to_string(visited) + " <" +
                            std::string(x->TagName().ToStdStringUtf8()) + ">";
        if (x->NodeType() != y->NodeType()) return where + ": kind";
        if (x->NodeType() == krXML_COMMENT && x->Text() != y->Text()) return where + ": comment";
        if (x->TagName() != y->TagName()) return where + ": tag";
        if (Pairs(x) != Pairs(y)) return where + ": attributes";
        std::vector<Item> ix = Items(x), iy = Items(y);
        if (ix.size() != iy.size()) return where + ": child count";
        for (size_t i = 0; i < ix.size(); ++i) {
            if (!ix[i].node != !iy[i].node) return where + ": child kinds";
            if (!ix[i].node && ix[i].text != iy[i].text) return where + ": text";
            if (ix[i].node) work.emplace_back(ix[i].node, iy[i].node);
        }
    }
    return visited > 1 ? "" : "empty document";
}

}  // namespace

TEST(XmlDocuments, LoadSaveLoadKeepsEveryNode) {
    struct Case {
        char const *file;
        wchar_t const *path;  // a value the load must have decoded
        wchar_t const *value;
    } const cases[] = {
        {"acquisition-utf8.xml", L"acquisition/@operator", L"Zo\u00EB M\u00FCller"},
        {"calibration-cp1250.xml", L"kalibrace/@autor", L"Ji\u0159\u00ED \u0160\u0165astn\u00FD"},
    };
    fs::path tmp =
        fs::temp_directory_path() / ("orvik_xmldocs_" + std::to_string(getpid()) + ".xml");
    for (Case const &c : cases) {
        CKrStringW file((fs::path(ORVIK_TEST_DATA) / c.file).wstring());
        CKrXMLTree first;
        first.SetPrettyXML(false);  // pretty output would add white-space text
        ASSERT_EQ(first.LoadFromFile(file, false), 0) << c.file;
        CKrStringW value;
        ASSERT_EQ(first.XPathGetNodeValue(CKrStringW(c.path), value, false), 0) << c.file;
        EXPECT_EQ(value.GetStdString(), c.value) << c.file;
        for (bool utf8 : {true, false}) {
            ASSERT_EQ(first.SaveToFile(CKrStringW(tmp.wstring()), false, utf8), 0) << c.file;
            CKrXMLTree second;
            ASSERT_EQ(second.LoadFromFile(CKrStringW(tmp.wstring()), false), 0) << c.file;
            EXPECT_EQ(FirstDifference(&first, &second), "")
                << c.file << (utf8 ? " UTF-8" : " UTF-16");
        }
        CKrStringW text;
        first.GetValue(text, false, false);
        CKrXMLTree third;
        ASSERT_EQ(third.SetValue(text, false), 0) << c.file;
        EXPECT_EQ(FirstDifference(&first, &third), "") << c.file;
    }
    fs::remove(tmp);
}
