// Test helpers shared by the XML tree tests: texts of the tree as std::wstring, for comparisons
// that print readably when they fail.
#ifndef ORVIK_TESTS_XMLTREETEXT_H
#define ORVIK_TESTS_XMLTREETEXT_H

#include <string>

#include "xmltree/CKrXMLNode.h"
#include "xmltree/CKrXMLTree.h"

inline std::wstring W(CKrStringW const &s) { return s.GetStdString(); }

// The node and everything below it written compactly (no indentation, no line breaks).
inline std::wstring Compact(CKrXMLNode *n) {
    CKrStringW out;
    n->GetValue(out, false, false);
    return W(out);
}

// A whole document written compactly and without the header (its own flags decide the layout,
// so they are switched off first).
inline std::wstring CompactDocument(CKrXMLTree &t) {
    t.SetPrettyXML(false);
    t.SetUseXMLHeader(false);
    return Compact(&t);
}

// The tag names of a node's children, comma-separated.
inline std::wstring ChildTags(CKrXMLNode *n) {
    std::wstring s;
    for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling())
        s += (s.empty() ? L"" : L",") + W(c->TagName());
    return s;
}

#endif
