// xml_demo: loads an XML file (or a small built-in document), runs a path query and saves the
// document as UTF-8 to a temporary file.
//
//   example_xml_demo [file.xml [path]]
#include <cstdio>
#include <cstdlib>
#include <string>

#include "xmltree/CKrXMLTree.h"

static std::string Utf8(CKrStringW s) { return s.ToStdStringUtf8(); }

int main(int argc, char **argv) {
    CKrXMLTree tree;
    int rc;
    if (argc > 1) {
        std::string name(argv[1]);
        rc = tree.LoadFromFile(CKrStringW::FromStdStringUtf8(name), true);
        std::printf("loaded %s: result %d\n", argv[1], rc);
    } else {
        rc = tree.SetValue(
            CKrStringW(L"<catalog>"
                       L"<image id=\"1\" channel=\"DAPI\"><exposure>120</exposure></image>"
                       L"<image id=\"2\" channel=\"FITC\"><exposure>80</exposure></image>"
                       L"<!-- acquired on stand 3 -->"
                       L"</catalog>"),
            true);
        std::printf("parsed the built-in document: result %d\n", rc);
    }
    if (rc != 0) return 1;

    // Query: every "image" element, then one value.
    std::wstring path = L"catalog/image[@channel='FITC']/exposure";
    if (argc > 2) path = CKrStringW::FromStdStringUtf8(argv[2]).GetStdString();
    CKrXMLNodeSet nodes;
    rc = tree.XPathGetNodeSet(CKrStringW(path), nodes);
    std::printf("query %s: result %d, %zu node(s)\n", Utf8(CKrStringW(path)).c_str(), rc,
                nodes.size());
    for (CKrXMLNode *n : nodes)
        if (n)
            std::printf("  <%s> text \"%s\"\n", Utf8(n->TagName()).c_str(),
                        Utf8(n->Text()).c_str());
    CKrStringW channel;
    if (tree.XPathGetNodeValue(CKrStringW(L"catalog/image/@channel"), channel, true) == 0 &&
        !channel.IsEmpty())
        std::printf("first channel: %s\n", Utf8(channel).c_str());

    // Save as UTF-8 with a byte-order mark and header.
    char const *tmp = std::getenv("TMPDIR");
    std::string out = std::string(tmp && *tmp ? tmp : "/tmp") + "/orvik_xml_demo.xml";
    rc = tree.SaveToFile(CKrStringW::FromStdStringUtf8(out), true, true);
    std::printf("saved as UTF-8 to %s: result %d\n", out.c_str(), rc);
    CKrStringW text;
    tree.GetValue(text, true, true);
    std::printf("%s", Utf8(text).c_str());
    return rc == 0 ? 0 : 1;
}
