// CKrList::CKrNode: one item of a keyed list, with its key and links.
#include "variant/CKrList.h"
#include "variant/internal/ListReport.h"

CKrList::CKrNode::CKrNode(CKrList *list, CKrNode *previous, CKrNode *next, void *item,
                          const CKrKey &key)
    : m_key(key), m_item(item), m_rItem(m_item), m_next(next), m_previous(previous), m_list(list) {
    // Linked only once every member is built, so a failed key copy leaves the neighbours alone.
    if (previous) previous->m_next = this;
    if (next) next->m_previous = this;
}

CKrList::CKrNode::CKrNode(const CKrNode &other)
    : m_key(other.m_key),
      m_item(other.m_item),
      m_rItem(m_item),
      m_next(other.m_next),
      m_previous(other.m_previous),
      m_list(nullptr) {}

CKrList::CKrNode &CKrList::CKrNode::operator=(const CKrNode &other) {
    if (this == &other) return *this;
    m_key = other.m_key;
    m_item = other.m_item;
    if (!m_list) {
        m_next = other.m_next;
        m_previous = other.m_previous;
    }
    return *this;
}

CKrList::CKrNode::~CKrNode() {
    if (m_list) m_list->DetachNode(this);
}

int CKrList::CKrNode::IndexOf() const {
    KR_LIST_FAIL_IF(!m_list, -9, L"Node doesn't belong to a list in IndexOf()");
    int index = 0;
    for (const CKrNode *n = m_previous; n; n = n->m_previous) ++index;
    return index;
}
