// CKrJsonArray: a list of item texts in insertion order.
#include "json/CKrJsonArray.h"

#include <climits>

#include "json/CKrJsonObject.h"
#include "json/internal/JsonScan.h"

CKrJsonArray::CKrJsonArray() = default;
CKrJsonArray::~CKrJsonArray() = default;

void CKrJsonArray::addItem(CKrJson const &value) {
    CKrStringW text = value.toString();
    jsd::Text t = jsd::textOf(text);
    m_items.emplace_back(t.p, t.n);
}

int CKrJsonArray::itemCount() const {
    return m_items.size() > size_t(INT_MAX) ? INT_MAX : static_cast<int>(m_items.size());
}

CKrStringW CKrJsonArray::toString() const {
    if (m_items.empty()) return CKrStringW();
    if (m_items.size() == 1 && m_items[0].find(L'\n') == std::wstring::npos)
        return CKrStringW(L"[" + m_items[0] + L"]");
    size_t size = 4;
    for (auto const &item : m_items) size += item.size() + 4;
    std::wstring out;
    out.reserve(size);
    out += L"[\r\n";
    out += m_items[0];
    for (size_t i = 1; i < m_items.size(); ++i) {
        out += L",\r\n ";
        out += m_items[i];
    }
    out += L"\r\n]";
    return CKrStringW(out);
}

std::wstring const *CKrJsonArray::item(int index) const {
    if (index < 0 || size_t(index) >= m_items.size()) return nullptr;
    return &m_items[size_t(index)];
}

bool CKrJsonArray::isEmpty() const { return m_items.empty(); }

bool CKrJsonArray::isArray(int *count) const {
    if (count) *count = itemCount();
    return true;
}

bool CKrJsonArray::isItemAtIndexNull(int index) const {
    std::wstring const *text = item(index);
    return text && jsd::queryNull(jsd::textOf(*text));
}

bool CKrJsonArray::isItemAtIndexBool(int index, bool *value) const {
    std::wstring const *text = item(index);
    return text && jsd::queryBool(jsd::textOf(*text), value);
}

bool CKrJsonArray::isItemAtIndexInteger(int index, int *value) const {
    std::wstring const *text = item(index);
    if (!text) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::queryInteger(jsd::textOf(*text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonArray::isItemAtIndexDouble(int index, double *value) const {
    std::wstring const *text = item(index);
    if (!text) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::queryDouble(jsd::textOf(*text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonArray::isItemAtIndexString(int index, CKrStringW *value) const {
    std::wstring const *text = item(index);
    if (!text) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::queryString(jsd::textOf(*text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonArray::isItemAtIndexObject(int index, CKrJsonObject *value) const {
    std::wstring const *text = item(index);
    if (!text) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::readObject(jsd::textOf(*text), value ? &value->m_members : nullptr, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonArray::isItemAtIndexArray(int index, CKrJsonArray *value) const {
    std::wstring const *text = item(index);
    if (!text) return false;
    jsd::Msg msg = nullptr;
    // Reading into our own array when value == this: the reader swaps in only at the end.
    bool ok = jsd::readArray(jsd::textOf(*text), value ? &value->m_items : nullptr, &msg);
    setError(msg);
    return ok;
}
