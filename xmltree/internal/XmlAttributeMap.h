// The attributes of one XML node, an ordered map from name to value (private to xmltree/).
//
// Entries are kept sorted by CKrStringW's operator< (the order a std::map<CKrStringW, CKrStringW>
// would have), with the same notion of "same name" as such a map (neither name less than the
// other).  Storage is one contiguous array instead of one allocation per entry: elements rarely
// carry more than a handful of attributes, and a document holds hundreds of thousands of them.
// A parsed node's array sits in the parser's node block, next to the node (see XmlMemory.h).
// Inserting a new name one at a time costs a shift of the entries behind it, so building a node
// with many thousands of attributes through SetAttr is quadratic; the parser adds a whole
// attribute list at once and sorts it in one go.
//
// Iterators and references are invalidated by every insertion and removal.
#ifndef ORVIK_XMLTREE_INTERNAL_XMLATTRIBUTEMAP_H
#define ORVIK_XMLTREE_INTERNAL_XMLATTRIBUTEMAP_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "strings/CKrStringW.h"
#include "xmltree/internal/XmlMemory.h"

namespace orvik::detail {

class XmlAttributeMap {
public:
    typedef CKrStringW key_type;
    typedef CKrStringW mapped_type;
    typedef std::pair<CKrStringW, CKrStringW> value_type;
    typedef std::vector<value_type, XmlAttributeAllocator<value_type>> Items;
    typedef Items::const_iterator const_iterator;
    typedef const_iterator iterator;  // entries are only changed through the members below

    const_iterator begin() const { return m_items.begin(); }
    const_iterator end() const { return m_items.end(); }
    size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    void clear() { m_items.clear(); }
    void reserve(size_t n) { m_items.reserve(n); }

    const_iterator find(CKrStringW const &name) const {
        auto it = LowerBound(name);
        return (it != m_items.end() && !(name < it->first)) ? const_iterator(it) : end();
    }
    size_t count(CKrStringW const &name) const { return find(name) != end() ? 1 : 0; }

    // Inserts or replaces the value; true when the name was new.
    bool insert_or_assign(CKrStringW const &name, CKrStringW const &value) {
        auto it = LowerBound(name);
        if (it != m_items.end() && !(name < it->first)) {
            it->second = value;
            return false;
        }
        m_items.emplace(it, name, value);
        return true;
    }
    // Inserts when the name is new (an existing value is kept); true when inserted.
    bool emplace(CKrStringW const &name, CKrStringW const &value) {
        auto it = LowerBound(name);
        if (it != m_items.end() && !(name < it->first)) return false;
        if (it == m_items.end())
            m_items.emplace_back(name, value);  // in-order copies land here
        else
            m_items.emplace(it, name, value);
        return true;
    }
    // Removes the name; the number of entries removed (0 or 1).
    size_t erase(CKrStringW const &name) {
        auto it = LowerBound(name);
        if (it == m_items.end() || name < it->first) return 0;
        m_items.erase(it);
        return 1;
    }

    bool operator==(XmlAttributeMap const &other) const { return m_items == other.m_items; }
    bool operator!=(XmlAttributeMap const &other) const { return !(*this == other); }

private:
    friend struct XmlTreeParser;

    Items::iterator LowerBound(CKrStringW const &name) {
        return std::lower_bound(
            m_items.begin(), m_items.end(), name,
            [](value_type const &e, CKrStringW const &n) { return e.first < n; });
    }
    Items::const_iterator LowerBound(CKrStringW const &name) const {
        return std::lower_bound(
            m_items.begin(), m_items.end(), name,
            [](value_type const &e, CKrStringW const &n) { return e.first < n; });
    }

    // Appends an entry whose name is greater than every name already held (the caller, the
    // parser, has sorted the list).
    void AppendInOrder(std::wstring &&name, std::wstring &&value) {
        m_items.emplace_back(std::piecewise_construct, std::forward_as_tuple(std::move(name)),
                             std::forward_as_tuple(std::move(value)));
    }

    Items m_items;
};

}  // namespace orvik::detail

#endif
