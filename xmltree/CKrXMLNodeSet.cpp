// CKrXMLNodeSet: borrowed node pointers in query order.
#include "xmltree/CKrXMLNodeSet.h"

#include <algorithm>
#include <utility>

CKrXMLNodeSet::CKrXMLNodeSet() = default;
CKrXMLNodeSet::CKrXMLNodeSet(CKrXMLNodeSet const &other) = default;
CKrXMLNodeSet &CKrXMLNodeSet::operator=(CKrXMLNodeSet const &other) = default;
CKrXMLNodeSet::~CKrXMLNodeSet() = default;

int CKrXMLNodeSet::AddItem(CKrXMLNode *node) {
    m_items.push_back(node);
    return 0;
}

int CKrXMLNodeSet::InsertItem(CKrXMLNode *node, unsigned int index) {
    if (index > m_items.size()) return -4;
    m_items.insert(m_items.begin() + index, node);
    return 0;
}

int CKrXMLNodeSet::DeleteItem(CKrXMLNode *&node) {
    auto it = std::find(m_items.begin(), m_items.end(), node);
    if (it == m_items.end()) return -13;
    m_items.erase(it);
    return 0;
}

int CKrXMLNodeSet::DeleteItem(unsigned int index) {
    if (index >= m_items.size()) return -4;
    m_items.erase(m_items.begin() + index);
    return 0;
}

int CKrXMLNodeSet::GetItem(CKrXMLNode *&node, unsigned int index) const {
    if (index >= m_items.size()) return -4;
    node = m_items[index];
    return 0;
}

CKrXMLNode *CKrXMLNodeSet::operator[](int index) const {
    if (index < 0 || static_cast<size_t>(index) >= m_items.size()) return nullptr;
    return m_items[static_cast<size_t>(index)];
}

int CKrXMLNodeSet::Swap(unsigned int i, unsigned int j) {
    if (i >= m_items.size() || j >= m_items.size()) return -4;
    std::swap(m_items[i], m_items[j]);
    return 0;
}

void CKrXMLNodeSet::Reserve(size_t n) { m_items.reserve(n); }
void CKrXMLNodeSet::Clear() { m_items.clear(); }
size_t CKrXMLNodeSet::size() const { return m_items.size(); }

bool CKrXMLNodeSet::operator==(CKrXMLNodeSet const &other) const {
    return m_items == other.m_items;
}
