// CKrXMLNodeSet: an ordered list of borrowed node pointers, the result of a path query.
//
// The set never owns its nodes: they stay owned by their tree and are valid until they are
// removed or the tree is destroyed.  A node may occur more than once, and a positional filter
// with a negative position leaves null entries (one per parent group), so callers that walk a
// query result check for null.
#ifndef ORVIK_XMLTREE_CKRXMLNODESET_H
#define ORVIK_XMLTREE_CKRXMLNODESET_H

#include <cstddef>
#include <vector>

#include "platform/KrTypes.h"

class CKrXMLNode;

class ORVIK_API CKrXMLNodeSet {
public:
    CKrXMLNodeSet();
    CKrXMLNodeSet(CKrXMLNodeSet const &other);  // copies the pointers
    CKrXMLNodeSet &operator=(CKrXMLNodeSet const &other);
    ~CKrXMLNodeSet();

    // Appends; always 0.
    int AddItem(CKrXMLNode *node);
    // Inserts before position `index` (index == size() appends); -4 when index > size().
    int InsertItem(CKrXMLNode *node, unsigned int index);
    // Removes the first entry equal to `node`; -13 when absent (or the set is empty).
    int DeleteItem(CKrXMLNode *&node);
    // Removes the entry at `index`; -4 when out of range.
    int DeleteItem(unsigned int index);
    // 0 and the entry in `node`, or -4 (node untouched) when out of range.
    int GetItem(CKrXMLNode *&node, unsigned int index) const;
    // The entry, or null when index is negative or out of range.
    CKrXMLNode *operator[](int index) const;
    // Exchanges two entries; -4 (nothing changed) when either index is out of range.
    int Swap(unsigned int i, unsigned int j);

    void Reserve(size_t n);
    void Clear();
    size_t size() const;

    // Same length and the same pointers in the same order.
    bool operator==(CKrXMLNodeSet const &other) const;
    bool operator!=(CKrXMLNodeSet const &other) const { return !(*this == other); }

    // Read access for range-for loops (entries may be null, see above).
    CKrXMLNode *const *begin() const { return m_items.data(); }
    CKrXMLNode *const *end() const { return m_items.data() + m_items.size(); }

private:
    std::vector<CKrXMLNode *> m_items;
};

#endif
