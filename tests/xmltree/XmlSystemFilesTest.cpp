// Documents this library did not write: XML files installed by other packages are loaded,
// saved, loaded again and compared node by node.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "xmltree/CKrXMLTree.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> SystemXmlFiles() {
    std::vector<fs::path> files;
    for (char const *f : {"/usr/share/mime/packages/freedesktop.org.xml", "/etc/fonts/fonts.conf"})
        if (fs::is_regular_file(f)) files.emplace_back(f);
    for (char const *d : {"/etc/fonts/conf.avail", "/usr/share/fontconfig/conf.avail",
                          "/etc/fonts/conf.d"}) {
        std::error_code ec;
        for (auto const &e : fs::directory_iterator(d, ec))
            if (e.path().extension() == ".conf" && fs::is_regular_file(e.path())) files.push_back(e.path());
    }
    return files;
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
        if (x->Attributes() != y->Attributes()) return where + ": attributes";
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

TEST(XmlSystemFiles, LoadSaveLoadKeepsEveryNode) {
    std::vector<fs::path> files = SystemXmlFiles();
    if (files.empty()) GTEST_SKIP() << "no system XML files on this machine";
    fs::path tmp = fs::temp_directory_path() / ("orvik_sysxml_" + std::to_string(getpid()) + ".xml");
    for (fs::path const &file : files) {
        for (bool utf8 : {true, false}) {
            CKrXMLTree first;
            first.SetPrettyXML(false);  // pretty output would add white-space text
            ASSERT_EQ(first.LoadFromFile(CKrStringW(file.wstring()), false), 0) << file;
            ASSERT_EQ(first.SaveToFile(CKrStringW(tmp.wstring()), false, utf8), 0) << file;
            CKrXMLTree second;
            ASSERT_EQ(second.LoadFromFile(CKrStringW(tmp.wstring()), false), 0) << file;
            EXPECT_EQ(FirstDifference(&first, &second), "") << file << (utf8 ? " (UTF-8)" : " (UTF-16)");

            // The in-memory form must agree with the file form.
            CKrStringW text;
            first.GetValue(text, false, false);
            CKrXMLTree third;
            ASSERT_EQ(third.SetValue(text, false), 0) << file;
            EXPECT_EQ(FirstDifference(&first, &third), "") << file;
        }
    }
    fs::remove(tmp);
}
