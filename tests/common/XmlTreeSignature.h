// Test helper shared by the XML tree tests and its file fuzz target.
#ifndef ORVIK_TESTS_XMLTREESIGNATURE_H
#define ORVIK_TESTS_XMLTREESIGNATURE_H

#include <string>
#include <vector>

#include "xmltree/CKrXMLNode.h"

// The tree as read through the node interface, independent of the writer: kinds, names,
// attributes and comments in document order, adjacent text nodes joined (the parser gives each
// piece of character data its own node, and the pieces move where the writer escapes).
inline std::wstring Signature(CKrXMLNode *root) {
    std::wstring sig;
    bool inText = false;  // the last thing added was text
    std::vector<CKrXMLNode *> work{root};
    while (!work.empty()) {
        CKrXMLNode *n = work.back();
        work.pop_back();
        if (n && n->NodeType() == krXML_TEXT) {
            sig += (inText ? L"" : L"|") + n->Text().GetStdString();
            inText = true;
            continue;
        }
        inText = false;
        if (!n) {
            sig += L")";
            continue;
        }
        CKrStringW body;  // a comment's body is only reachable through its text form
        if (n->NodeType() == krXML_COMMENT) n->GetValue(body, false, false);
        sig += L"\n" + std::to_wstring(n->NodeType()) + L":" + n->TagName().GetStdString() +
               body.GetStdString();
        CKrStringW name, value;
        for (unsigned int i = 0; n->GetAttrAt(i, name, value) == 0; ++i)
            sig += L" " + name.GetStdString() + L"=" + value.GetStdString();
        sig += L"(";
        work.push_back(nullptr);
        std::vector<CKrXMLNode *> children;
        for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling()) children.push_back(c);
        work.insert(work.end(), children.rbegin(), children.rend());
    }
    return sig;
}

#endif
