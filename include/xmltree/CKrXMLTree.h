// CKrXMLTree: an XML document.  The tree object itself is the document node (kind 4); its
// children are the top-level nodes.  It parses with expat, serialises, and reads and writes
// files.
//
// Parsing (SetValue, LoadFromFile) keeps elements, character data and comments only:
// processing instructions, the XML declaration and the DOCTYPE are dropped and CDATA content
// becomes ordinary text.  Every character-data run expat reports becomes its own text node
// (adjacent text nodes are never merged).  With dropWhitespace, a run made only of blanks,
// tabs, CR and LF is dropped and other runs lose those characters at both ends.  The tree is not
// cleared first: parsed nodes are appended under the active element, so parsing into a
// non-empty tree adds top-level nodes.  After a failed parse (-9) the nodes already built stay
// and the element stack stays as it was at the error, so a further parse continues inside the
// element that was open; do not remove such open elements before parsing again.
//
// What the tree relies on expat for (libexpatw, 2.5 or later):
//  - well-formedness: every structural error, truncation, bad character or encoding ends the
//    parse with -9;
//  - protection against entity-expansion attacks ("billion laughs"): expat's amplification
//    limit (XML_SetBillionLaughsAttackProtection*, default factor 100 after 8 MiB) stops the
//    parse with an error; internal entities are otherwise expanded into character data;
//  - no external entities or DTDs are loaded (no external-entity handler is registered).
// Depth is not limited by expat; the tree itself handles any depth without recursion (building,
// destruction, serialisation, copying with Assign or the document copy, Text and queries all
// iterate).  Memory use is proportional to the document: about 150 bytes per node plus 64 bytes
// per attribute, plus the text (4 bytes per character), and about twice the document while it is
// being parsed.  Parsed nodes and their attribute arrays sit side by side in blocks that grow
// from 64 KiB to 2 MiB, each released with its last piece.  Indented pretty
// output grows with the square of the depth (3 blanks per level on every line), so very deep
// documents are better written with indent off.
//
// What the tree cannot save.  Serialisation escapes only '"', '<', '>' and '&' in text and
// attribute values and writes every other character as it is; it never writes a character
// reference.  Consequences for a value or text set through the interface:
//  - a control character other than tab, LF and CR (U+0001-U+0008, U+000B, U+000C,
//    U+000E-U+001F) is written as it is, and the saved document does not parse again (-9 from
//    SetValue or LoadFromFile);
//  - tab, LF and CR in an attribute value come back as blanks, and CR in text comes back as LF
//    (the line-end and attribute-value normalisation of every XML parser);
//  - loaded again with dropWhitespace, text loses white space next to '"', '<', '>' or '&'
//    (expat reports a piece at every reference, and each piece is trimmed).
// Values that must survive such characters belong in the XML form of a variant
// (CKrSerializerXMLString, CKrVariant::Write): it escapes them (CR and LF as character
// references, other control characters in a private-use form it reads back) and gets them back.
//
// Files: LoadFromFile accepts a byte-order mark (UTF-8, UTF-16 LE/BE; expat decides), or a
// header whose encoding is Windows-1250, CP852, US-ASCII or UTF-8 (converted here; bytes that
// are invalid in UTF-8 or above 0x7F in US-ASCII become U+FFFD), or no usable header at all
// (then expat reads the bytes as they are: UTF-8 or UTF-16 by its own detection).  Any other
// declared encoding is refused with -2 — but only when the declaration ends before the first
// line break; a file without any line break never has its header read.  SaveToFile writes
// UTF-8 or UTF-16LE, always with a byte-order mark.
//
// Results: 0 success; -2 unsupported encoding; -3 file too large (above 4 GiB - 1) or out of
// memory; -9 parse failure; errors of the platform file functions pass through unchanged.
// A tree and its nodes are used by one thread at a time; different trees may be used on
// different threads (trees share no state).
#ifndef ORVIK_XMLTREE_CKRXMLTREE_H
#define ORVIK_XMLTREE_CKRXMLTREE_H

#include <deque>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "xmltree/CKrXMLNode.h"
#include "xmltree/CKrXMLNodeSet.h"

class ORVIK_API CKrXMLTree : public CKrXMLNode {
public:
    // Empty document: drop whitespace, pretty output, header on, attribute order off.
    CKrXMLTree();
    // Unlike CKrXMLNode's, the document's copy is DEEP: the copy gets its own clone of every
    // node (attribute text included) and the flags; it is a standalone document (no parent or
    // sibling) with an empty element stack.  Assignment first destroys this tree's nodes.
    CKrXMLTree(CKrXMLTree const &other);
    CKrXMLTree &operator=(CKrXMLTree const &other);
    ~CKrXMLTree() override;

    // Clears `out` and serialises the whole document.  The third argument is ignored: the
    // tree's pretty flag decides.  With the header flag the text starts with
    // "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n" (pretty or not).
    int GetValue(CKrStringW &out, bool indent, bool pretty) override;
    int GetValueInternal(CKrStringW &out, unsigned int level, bool indent, bool pretty) override;

    // Parses bytes in any encoding expat detects by itself (UTF-8, UTF-16 with a mark or
    // starting with "<", or as declared in the XML declaration for the encodings expat knows).
    // 0, or -9 when expat reports an error (null buffer with a non-zero size: -4).
    virtual int SetValue(char *buffer, unsigned long long size, bool dropWhitespace);
    // Parses UTF-16 text.  A byte-order mark is put in front when the text has none, so text may
    // start with white space.  An encoding declaration in the text must not contradict UTF-16
    // (expat rejects e.g. encoding="UTF-8" here with -9).
    virtual int SetValue(CKrStringW const &text, bool dropWhitespace);

    // Reads a file, converts it as described above and parses it into the tree.
    int LoadFromFile(CKrStringW path, bool dropWhitespace);
    // Writes the document with a byte-order mark: UTF-8 (the header then says "UTF-8") or
    // UTF-16LE.  indent as for GetValue; the pretty flag applies.  Returns 0 when every byte was
    // written, else the error of the platform file function.
    int SaveToFile(CKrStringW path, bool indent, bool utf8);

    void SetPrettyXML(bool pretty) { m_prettyXML = pretty; }
    bool GetPrettyXML() const { return m_prettyXML; }
    void SetUseXMLHeader(bool use) { m_useXMLHeader = use; }
    bool GetUseXMLHeader() const { return m_useXMLHeader; }
    // When set at parse time, each element keeps its attributes in document order as attribute
    // text (written verbatim until its next SetAttr).
    void SetKeepAttribsOrder(bool keep) { m_keepAttribsOrder = keep; }
    bool GetKeepAttribsOrder() const { return m_keepAttribsOrder; }

protected:
    // The element being filled during a parse: the top of the element stack, else the tree.
    CKrXMLNode *ActiveElement();

    std::deque<CKrXMLNode *> m_elementStack;  // open elements during a parse; back() is the top
    bool m_dropWhitespace;
    bool m_prettyXML;
    kr_uint8 m_spare;
    bool m_useXMLHeader;
    bool m_keepAttribsOrder;

private:
    int ParseBytes(char const *buffer, unsigned long long size);
    friend struct orvik::detail::XmlTreeParser;
};

#endif
