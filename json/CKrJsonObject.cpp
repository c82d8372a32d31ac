// CKrJsonObject: a name-ordered map from member name to member text (see KrJsonMemberTable).
#include "json/CKrJsonObject.h"

#include <algorithm>
#include <string_view>

#include "json/CKrJsonArray.h"
#include "json/internal/JsonMembers.h"
#include "json/internal/JsonScan.h"

namespace {

std::wstring_view nameView(CKrStringW const &name) {
    jsd::Text t = jsd::textOf(name);
    return std::wstring_view(t.p, t.n);
}

}  // namespace

CKrJsonObject::CKrJsonObject() = default;

CKrJsonObject::CKrJsonObject(CKrStringW const &name1, CKrJson const &value1) {
    addItem(name1, value1);
}

CKrJsonObject::CKrJsonObject(CKrStringW const &name1, CKrJson const &value1,
                             CKrStringW const &name2, CKrJson const &value2) {
    addItem(name1, value1);
    addItem(name2, value2);
}

CKrJsonObject::CKrJsonObject(CKrStringW const &name1, CKrJson const &value1,
                             CKrStringW const &name2, CKrJson const &value2,
                             CKrStringW const &name3, CKrJson const &value3) {
    addItem(name1, value1);
    addItem(name2, value2);
    addItem(name3, value3);
}

CKrJsonObject::~CKrJsonObject() = default;

bool CKrJsonObject::addItem(CKrStringW const &name, CKrJson const &value) {
    std::wstring_view key = nameView(name);
    if (jsd::membersFind(m_members, key) >= 0) return false;
    CKrStringW text = value.toString();
    jsd::Text t = jsd::textOf(text);
    return jsd::membersInsert(m_members, key, std::wstring_view(t.p, t.n));
}

bool CKrJsonObject::find(CKrStringW const &name, std::wstring_view *text) const {
    ptrdiff_t index = jsd::membersFind(m_members, nameView(name));
    if (index < 0) return false;
    *text = jsd::memberText(m_members, size_t(index));
    return true;
}

CKrStringW CKrJsonObject::toString() const {
    using jsd::memberName;
    using jsd::memberText;
    auto const &order = jsd::membersOrder(m_members);
    if (order.empty()) return CKrStringW();
    std::wstring out;
    if (order.size() == 1 && memberText(m_members, 0).find(L'\n') == std::wstring_view::npos) {
        out.reserve(m_members.names.size() + m_members.texts.size() + 7);
        out += L"{\"";
        out += memberName(m_members, 0);
        out += L"\" : ";
        out += memberText(m_members, 0);
        out += L"}";
        return CKrStringW(out);
    }
    out.reserve(m_members.names.size() + m_members.texts.size() + 8 * order.size() + 4);
    out += L"{";
    bool first = true;
    for (kr_uint32 index : order) {
        out += first ? L"\r\n\"" : L",\r\n\"";
        first = false;
        out += memberName(m_members, index);
        out += L"\" : ";
        out += memberText(m_members, index);
    }
    out += L"\r\n}";
    return CKrStringW(out);
}

bool CKrJsonObject::isEmpty() const { return m_members.entries.empty(); }

bool CKrJsonObject::isObject(std::vector<CKrStringW> *names) const {
    if (names) {
        std::vector<CKrStringW> list;
        auto const &order = jsd::membersOrder(m_members);
        list.reserve(order.size());
        for (kr_uint32 index : order)
            list.emplace_back(std::wstring(jsd::memberName(m_members, index)));
        names->swap(list);
    }
    return true;
}

bool CKrJsonObject::isItemWithNameNull(CKrStringW const &name) const {
    std::wstring_view text;
    return find(name, &text) && jsd::queryNull(jsd::textOf(text));
}

bool CKrJsonObject::isItemWithNameBool(CKrStringW const &name, bool *value) const {
    std::wstring_view text;
    return find(name, &text) && jsd::queryBool(jsd::textOf(text), value);
}

bool CKrJsonObject::isItemWithNameInteger(CKrStringW const &name, int *value) const {
    std::wstring_view text;
    if (!find(name, &text)) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::queryInteger(jsd::textOf(text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonObject::isItemWithNameDouble(CKrStringW const &name, double *value) const {
    std::wstring_view text;
    if (!find(name, &text)) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::queryDouble(jsd::textOf(text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonObject::isItemWithNameString(CKrStringW const &name, CKrStringW *value) const {
    std::wstring_view text;
    if (!find(name, &text)) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::queryString(jsd::textOf(text), value, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonObject::isItemWithNameObject(CKrStringW const &name, CKrJsonObject *value) const {
    std::wstring_view text;
    if (!find(name, &text)) return false;
    jsd::Msg msg = nullptr;
    // Safe when value == this: the reader builds a new table before it moves it in.
    bool ok = jsd::readObject(jsd::textOf(text), value ? &value->m_members : nullptr, &msg);
    setError(msg);
    return ok;
}

bool CKrJsonObject::isItemWithNameArray(CKrStringW const &name, CKrJsonArray *value) const {
    std::wstring_view text;
    if (!find(name, &text)) return false;
    jsd::Msg msg = nullptr;
    bool ok = jsd::readArray(jsd::textOf(text), value ? &value->m_items : nullptr, &msg);
    setError(msg);
    return ok;
}
