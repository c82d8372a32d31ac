// The XML tree's writer: the text form of a node and its subtree (private to xmltree/).
#ifndef ORVIK_XMLTREE_INTERNAL_XMLWRITER_H
#define ORVIK_XMLTREE_INTERNAL_XMLWRITER_H

#include "strings/CKrStringW.h"

class CKrXMLNode;

namespace orvik::detail {

struct XmlWriter {
    // Whether an element whose first child is `first` holds exactly one non-empty text node
    // (pretty output keeps such an element on one line).
    static bool IsTextOnly(CKrXMLNode const *first);
    // Appends `root` and its subtree to `out` at `level`; with asDocument the root writes only
    // its children, at its own level (the document's form, whatever the root's kind).  Returns
    // 0, or the first non-zero result of a node that writes itself (a derived class).
    static int Write(CKrXMLNode *root, CKrStringW &out, unsigned int level, bool indent,
                     bool pretty, bool asDocument = false);

    // The walk over a subtree, over any output (XmlWriter.cpp).
    template <class Out>
    struct Walk;
};

}  // namespace orvik::detail

#endif
