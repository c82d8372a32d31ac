// CKrJsonValue: a scalar kept as its JSON text.
#include "json/CKrJsonValue.h"

#include <charconv>
#include <string>

#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/internal/JsonScan.h"

CKrJsonValue::CKrJsonValue() : m_text(L"null") {}

CKrJsonValue::CKrJsonValue(std::nullptr_t) : m_text(L"null") {}

CKrJsonValue::CKrJsonValue(int value) : m_text(std::to_wstring(value)) {}

CKrJsonValue::CKrJsonValue(double value) {
    // "%lf" in the "C" locale: fixed, six decimals, '.' whatever the process locale says (JSON
    // needs the point).  The largest double takes 309 digits, a point and six decimals.
    char buffer[400];
    auto result =
        std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, 6);
    std::wstring text;
    for (char const *c = buffer; c < result.ptr; ++c)
        text.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*c)));
    m_text = CKrStringW(text);
}

CKrJsonValue::CKrJsonValue(bool value) : m_text(value ? L"true" : L"false") {}

CKrJsonValue::CKrJsonValue(wchar_t const *text) {
    if (!text) {
        m_text = L"null";
        return;
    }
    std::wstring quoted;
    quoted.reserve(std::char_traits<wchar_t>::length(text) + 2);
    quoted.push_back(L'"');
    quoted.append(text);
    quoted.push_back(L'"');
    m_text = CKrStringW(quoted);
}

CKrJsonValue::CKrJsonValue(CKrJsonValue const &other) = default;

CKrJsonValue::CKrJsonValue(CKrJsonValue &&other) noexcept
    : CKrJson(std::move(other)), m_text(std::move(other.m_text)) {
    other.m_text.Empty();
}

CKrJsonValue &CKrJsonValue::operator=(CKrJsonValue const &other) = default;

CKrJsonValue &CKrJsonValue::operator=(CKrJsonValue &&other) noexcept {
    if (this != &other) {
        CKrJson::operator=(std::move(other));
        m_text = std::move(other.m_text);
        other.m_text.Empty();
    }
    return *this;
}

CKrJsonValue::~CKrJsonValue() = default;

CKrStringW CKrJsonValue::toString() const { return m_text; }

bool CKrJsonValue::isNull() const { return isStringNull(m_text); }
bool CKrJsonValue::isEmpty() const { return m_text.IsEmpty(); }
bool CKrJsonValue::isBool(bool *value) const { return isStringBool(m_text, value); }
bool CKrJsonValue::isInteger(int *value) const { return isStringInteger(m_text, value); }
bool CKrJsonValue::isDouble(double *value) const { return isStringDouble(m_text, value); }
bool CKrJsonValue::isString(CKrStringW *value) const { return isStringString(m_text, value); }

bool CKrJsonValue::isObject(std::vector<CKrStringW> *names) const {
    CKrJsonObject object;
    if (!isStringObject(m_text, names ? &object : nullptr)) return false;
    if (names) object.isObject(names);
    return true;
}

bool CKrJsonValue::isArray(int *count) const {
    CKrJsonArray array;
    if (!isStringArray(m_text, count ? &array : nullptr)) return false;
    if (count) *count = array.itemCount();
    return true;
}
