// Fuzzes path expressions against a fixed document.  Checks: no crash; only the documented
// result codes; every node returned belongs to the document (or is a null positional entry);
// the three query forms agree with each other (a final attribute step is refused only by the
// node-set forms).
#include <cstdint>
#include <cstdlib>
#include <string>
#include <unordered_set>

#include "platform/KrPlatform.h"
#include "xmltree/CKrXMLTree.h"

namespace {

void Quiet(void *, int, const wchar_t *, const wchar_t *, const wchar_t *, int) {}

struct Fixture {
    CKrXMLTree tree;
    std::unordered_set<CKrXMLNode *> nodes;
    Fixture() {
        KR_SetDiagHandler(&Quiet, nullptr);
        tree.SetValue(CKrStringW(L"<r v=\"0\"><a id=\"1\" k=\"x\"><b n=\"1\">t1</b><b n=\"2\"/>"
                                 L"<!--c--><b n=\"3\"><c/></b></a><a id=\"2\"><b n=\"4\">t<d/></b>"
                                 L"</a>text<e x=\"a'b\" y='q\"'/></r>"),
                      true);
        std::vector<CKrXMLNode *> work{&tree};
        while (!work.empty()) {
            CKrXMLNode *n = work.back();
            work.pop_back();
            nodes.insert(n);
            for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling()) work.push_back(c);
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static Fixture fx;
    // Bytes are units; 0xF0..0xFF pick a few characters that matter to the grammar beyond ASCII.
    std::wstring path;
    for (size_t i = 0; i < size; ++i) {
        uint8_t b = data[i];
        if (b == 0) continue;  // a zero would end the string
        path += b >= 0xF0 ? (b & 1 ? L'\u00df' : L'\xD83D') : static_cast<wchar_t>(b);
    }
    CKrStringW p(path);
    CKrXMLNode *from = fx.tree.FirstChild();
    for (CKrXMLNode *context : {static_cast<CKrXMLNode *>(&fx.tree), from}) {
        CKrXMLNodeSet set;
        int rc = context->XPathGetNodeSet(p, set);
        if (rc != 0 && rc != -2 && rc != -4) __builtin_trap();
        if (rc != 0 && set.size() != 0) __builtin_trap();
        for (CKrXMLNode *n : set)
            if (n && !fx.nodes.count(n)) __builtin_trap();
        CKrXMLNode *first = context->XPathGetNode(p);
        if (first != (rc == 0 ? set[0] : nullptr)) __builtin_trap();

        CKrStringW value(L"\x1");
        int vrc = context->XPathGetNodeValue(p, value, false);
        if (vrc != 0 && vrc != -2 && vrc != -4 && vrc != -101) __builtin_trap();
        if (rc == 0 && set.size() > 1 && vrc != -101) __builtin_trap();
        if (rc == 0 && set.size() == 1 && vrc != 0) __builtin_trap();
    }
    return 0;
}
