// CKrList::CKrKey: the key of a list node.
#include "variant/CKrList.h"
#include "variant/internal/ListReport.h"

CKrList::CKrKey::CKrKey() : m_keyType(krKEY_NONE), m_intValue(0), m_stringValue() {}

CKrList::CKrKey::CKrKey(int value) : m_keyType(krKEY_INT), m_intValue(value), m_stringValue() {}

CKrList::CKrKey::CKrKey(const wchar_t *text)
    : m_keyType(krKEY_STRING), m_intValue(0), m_stringValue(text) {}

CKrList::CKrKey::CKrKey(const CKrKey &other)
    : m_keyType(other.m_keyType),
      m_intValue(other.m_intValue),
      m_stringValue(other.m_stringValue) {}

CKrList::CKrKey &CKrList::CKrKey::operator=(const CKrKey &other) {
    if (this != &other) {
        m_keyType = other.m_keyType;
        m_intValue = other.m_intValue;
        m_stringValue = other.m_stringValue;
    }
    return *this;
}

CKrList::CKrKey::~CKrKey() = default;

void CKrList::CKrKey::SetKey(const CKrKey &value) {
    KR_LIST_FAIL_IF(m_keyType != value.m_keyType, , L"Error: Key type mismatch.");
    switch (m_keyType) {
        case krKEY_NONE:
            break;
        case krKEY_INT:
            m_intValue = value.m_intValue;
            break;
        case krKEY_STRING:
            m_stringValue = value.m_stringValue;
            break;
        default:
            KR_LIST_REPORT(L"true", L"Error: Bad key type.");
            break;
    }
}

bool CKrList::CKrKey::operator==(const CKrKey &value) const {
    KR_LIST_FAIL_IF(m_keyType != value.m_keyType, false, L"Error: Key type mismatch.");
    switch (m_keyType) {
        case krKEY_INT:
            return m_intValue == value.m_intValue;
        case krKEY_STRING:
            return m_stringValue.Equals(value.m_stringValue);
        default:
            // krKEY_NONE included: unkeyed nodes never match, so Find never returns them.
            KR_LIST_REPORT(L"true", L"Error: Bad key type.");
            return false;
    }
}
