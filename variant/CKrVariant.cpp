#include "variant/CKrVariant.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "platform/KrPlatform.h"
#include "types/Base64Coder.h"
#include "variant/internal/VariantPool.h"
#include "variant/internal/VariantTree.h"

namespace {

char const *runTypeText(CKrVariantData const *data) {
    return (data ? data->GetRunType() : CKrVariantRunType::GetUnknown()).GetName().GetString();
}

void reportTypeChange(int line) {
    DiagAssertW(L"!m_enabledTypeChange", KR_VARIANT_SOURCE, line,
                L"Error: CKrVariant::operator=, can't do assignment - type change not enabled");
}

// Truncation toward zero; NaN and values outside T give the "integer indefinite" of T.
template <class T>
T fromDouble(double d) {
    if constexpr (std::is_floating_point_v<T>) {
        return d;
    } else if constexpr (std::is_signed_v<T>) {
        constexpr double limit =
            static_cast<double>(std::numeric_limits<T>::max()) + 1.0;  // 2^(N-1)
        if (d >= -limit && d < limit) return static_cast<T>(d);
        return std::numeric_limits<T>::min();
    } else {
        constexpr double limit = (static_cast<double>(std::numeric_limits<T>::max()) + 1.0);  // 2^N
        if (d > -1.0 && d < limit) return static_cast<T>(d);
        return static_cast<T>(T(1) << (sizeof(T) * 8 - 1));
    }
}

// The numeric reading rule shared by the integer, double and pointer getters.  T is the target
// as stored (void* travels as kr_uint64); Holder parses text of the target run type.
template <class T, class Holder>
T readNumber(CKrVariantData const *data, bool *ok, wchar_t const *failure, size_t byteCount) {
    if (ok) *ok = true;
    using K = CKrVariantData;
    if (data) {
        switch (data->GetKind()) {
            case K::krDATA_INT32:
                return static_cast<T>(
                    static_cast<CKrVariantDataKr_int32 const *>(data)->GetValue());
            case K::krDATA_UINT32:
                return static_cast<T>(
                    static_cast<CKrVariantDataKr_uint32 const *>(data)->GetValue());
            case K::krDATA_INT64:
                return static_cast<T>(
                    static_cast<CKrVariantDataKr_int64 const *>(data)->GetValue());
            case K::krDATA_UINT64:
                return static_cast<T>(
                    static_cast<CKrVariantDataKr_uint64 const *>(data)->GetValue());
            case K::krDATA_VOIDPTR:
                return static_cast<T>(reinterpret_cast<uintptr_t>(
                    static_cast<CKrVariantDataVoidPtr const *>(data)->GetValue()));
            case K::krDATA_DOUBLE:
                return fromDouble<T>(static_cast<CKrVariantDataDouble const *>(data)->GetValue());
            case K::krDATA_BOOL:
                return static_cast<CKrVariantDataBool const *>(data)->GetValue() ? T(1) : T(0);
            case K::krDATA_STRINGW: {
                Holder parsed;
                parsed.SetString(
                    static_cast<CKrVariantDataCKrStringW const *>(data)->GetValue().GetString());
                if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(parsed.GetValue())>>)
                    return static_cast<T>(reinterpret_cast<uintptr_t>(parsed.GetValue()));
                else
                    return static_cast<T>(parsed.GetValue());
            }
            case K::krDATA_BYTEARRAY: {
                CKrByteArray const &bytes =
                    static_cast<CKrVariantDataCKrByteArray const *>(data)->GetValue();
                if (bytes.GetSize() >= byteCount && bytes.GetData()) {
                    std::remove_cvref_t<decltype(std::declval<Holder>().GetValue())> v;
                    std::memcpy(&v, bytes.GetData(), byteCount);
                    if constexpr (std::is_pointer_v<decltype(v)>)
                        return static_cast<T>(reinterpret_cast<uintptr_t>(v));
                    else
                        return static_cast<T>(v);
                }
                if (ok) *ok = false;
                return static_cast<T>(-1);
            }
            default:
                break;
        }
    }
    if (ok) *ok = false;
    KR_REPORTW(L"true", KR_VARIANT_SOURCE, failure);
    return static_cast<T>(-1);
}

}  // namespace

// ---- construction ----------------------------------------------------------------------------

namespace {
CKrStringW validName(CKrStringW const &name) {
    CKrStringW copy(name);
    CKrVariant::ValidateName(copy);
    return copy;
}
}  // namespace

// A stored name never holds a zero unit (every path that sets one cuts at the first zero), so
// copying the whole standard string gives what the string's own copy would, without measuring.
CKrVariant::CKrVariant(RawTag, CKrStringW const &name, CKrVariantData *data, bool enabledTypeChange)
    : m_ppData(&m_pData),
      m_pData(data),
      m_name(name.GetStdString()),
      m_enabledTypeChange(enabledTypeChange) {}

CKrVariant::CKrVariant()
    : m_ppData(&m_pData), m_pData(nullptr), m_name(L"no_name"), m_enabledTypeChange(false) {}

// The name parameter is this variant's own copy already: validate it in place and move it in.
#define KR_VARIANT_CTOR(Type, Holder, Expr)             \
    CKrVariant::CKrVariant(Type value, CKrStringW name) \
        : m_ppData(&m_pData),                           \
          m_pData(nullptr),                             \
          m_name(std::move(name)),                      \
          m_enabledTypeChange(false) {                  \
        ValidateName(m_name);                           \
        m_pData = new Holder(Expr);                     \
    }

KR_VARIANT_CTOR(int, CKrVariantDataKr_int32, value)
KR_VARIANT_CTOR(unsigned int, CKrVariantDataKr_uint32, value)
KR_VARIANT_CTOR(kr_int64, CKrVariantDataKr_int64, value)
KR_VARIANT_CTOR(kr_uint64, CKrVariantDataKr_uint64, value)
KR_VARIANT_CTOR(long long, CKrVariantDataKr_int64, static_cast<kr_int64>(value))
KR_VARIANT_CTOR(unsigned long long, CKrVariantDataKr_uint64, static_cast<kr_uint64>(value))
KR_VARIANT_CTOR(double, CKrVariantDataDouble, value)
KR_VARIANT_CTOR(bool, CKrVariantDataBool, value)
KR_VARIANT_CTOR(void *, CKrVariantDataVoidPtr, value)
KR_VARIANT_CTOR(char const *, CKrVariantDataCKrStringW, CKrStringW(value))
KR_VARIANT_CTOR(wchar_t const *, CKrVariantDataCKrStringW, CKrStringW(value))
KR_VARIANT_CTOR(CKrStringW const &, CKrVariantDataCKrStringW, value)
KR_VARIANT_CTOR(CKrByteArray const &, CKrVariantDataCKrByteArray, value)
KR_VARIANT_CTOR(CKrListVariant const &, CKrVariantDataCKrListVariant, value)

#undef KR_VARIANT_CTOR

CKrVariant::CKrVariant(CKrVariantRunType const &type, CKrStringW const &name)
    : m_ppData(&m_pData), m_pData(nullptr), m_name(validName(name)), m_enabledTypeChange(false) {
    CKrVariant const &sample = GetRunTypeSample(type);
    if (sample.m_pData) m_pData = sample.m_pData->CreateEmpty();
}

CKrVariant::CKrVariant(CKrVariant const &other)
    : m_ppData(&m_pData),
      m_pData(nullptr),
      m_name(other.m_name),
      m_enabledTypeChange(other.m_enabledTypeChange) {
    if (CKrVariantData const *src = other.m_pData) {
        CKrVariantData *data = src->CreateEmpty();
        m_pData = data;
        src->GetValueCopy(*data);
    }
}

CKrVariant::CKrVariant(CKrVariant &&other) noexcept
    : m_ppData(&m_pData),
      m_pData(other.m_pData),
      m_name(std::move(other.m_name)),
      m_enabledTypeChange(other.m_enabledTypeChange) {
    other.m_pData = nullptr;
}

void *CKrVariant::operator new(std::size_t size) { return orvik::detail::PoolAllocate(size); }
void CKrVariant::operator delete(void *p, std::size_t size) noexcept {
    orvik::detail::PoolRelease(p, size);
}

CKrVariant::~CKrVariant() {
    (void)m_ppData;  // read only by debugger visualisers
    delete m_pData;
}

// ---- type change -----------------------------------------------------------------------------

bool CKrVariant::EnableTypeChange(bool enable) {
    bool previous = m_enabledTypeChange;
    m_enabledTypeChange = enable;
    return previous;
}

CKrVariant &CKrVariant::MakeNull() {
    if (!m_enabledTypeChange) {
        KR_REPORTW(L"!m_enabledTypeChange", KR_VARIANT_SOURCE,
                   L"Error: CKrVariant::MakeNull()), type change not enabled!");
        return *this;
    }
    CKrVariantData *old = m_pData;
    m_pData = nullptr;
    delete old;
    return *this;
}

// ---- assignment ------------------------------------------------------------------------------

template <class Holder, class T>
CKrVariant &CKrVariant::assignValue(T const &value) {
    if (m_pData && m_pData->GetRunType() == Holder::GetOrigRunType()) {
        static_cast<Holder *>(m_pData)->SetValue(value);
        return *this;
    }
    if (!m_enabledTypeChange) {
        reportTypeChange(__LINE__);
        return *this;
    }
    CKrVariantData *fresh =
        new Holder(value);  // made before the old value goes: `value` may live there
    CKrVariantData *old = m_pData;
    m_pData = fresh;
    delete old;
    return *this;
}

CKrVariant &CKrVariant::operator=(int value) {
    return assignValue<CKrVariantDataKr_int32>(static_cast<kr_int32>(value));
}
CKrVariant &CKrVariant::operator=(unsigned int value) {
    return assignValue<CKrVariantDataKr_uint32>(static_cast<kr_uint32>(value));
}
CKrVariant &CKrVariant::operator=(kr_int64 value) {
    return assignValue<CKrVariantDataKr_int64>(value);
}
CKrVariant &CKrVariant::operator=(kr_uint64 value) {
    return assignValue<CKrVariantDataKr_uint64>(value);
}
CKrVariant &CKrVariant::operator=(long long value) {
    return assignValue<CKrVariantDataKr_int64>(static_cast<kr_int64>(value));
}
CKrVariant &CKrVariant::operator=(unsigned long long value) {
    return assignValue<CKrVariantDataKr_uint64>(static_cast<kr_uint64>(value));
}
CKrVariant &CKrVariant::operator=(double value) { return assignValue<CKrVariantDataDouble>(value); }
CKrVariant &CKrVariant::operator=(bool value) { return assignValue<CKrVariantDataBool>(value); }
CKrVariant &CKrVariant::operator=(void *value) { return assignValue<CKrVariantDataVoidPtr>(value); }
CKrVariant &CKrVariant::operator=(char const *value) {
    return assignValue<CKrVariantDataCKrStringW>(CKrStringW(value));
}
CKrVariant &CKrVariant::operator=(wchar_t const *value) {
    return assignValue<CKrVariantDataCKrStringW>(CKrStringW(value));
}
CKrVariant &CKrVariant::operator=(CKrStringW const &value) {
    return assignValue<CKrVariantDataCKrStringW>(value);
}
CKrVariant &CKrVariant::operator=(CKrByteArray const &value) {
    return assignValue<CKrVariantDataCKrByteArray>(value);
}

CKrVariant &CKrVariant::operator=(CKrListVariant const &value) {
    if (m_pData && m_pData->GetRunType() == CKrVariantDataCKrListVariant::GetOrigRunType()) {
        static_cast<CKrVariantDataCKrListVariant *>(m_pData)->GetList() = value;
        return *this;
    }
    if (!m_enabledTypeChange) {
        reportTypeChange(__LINE__);
        return *this;
    }
    CKrVariantData *fresh = new CKrVariantDataCKrListVariant(value);
    CKrVariantData *old = m_pData;
    m_pData = fresh;
    delete old;
    return *this;
}

CKrVariant &CKrVariant::operator=(CKrVariant const &other) {
    if (this == &other || (m_pData && m_pData == other.m_pData)) return *this;
    if (!other.m_pData) {
        if (m_pData && !m_enabledTypeChange) {
            KR_REPORTW(L"m_pData && !m_enabledTypeChange", KR_VARIANT_SOURCE,
                       L"Error: can't do assignment, type change not enabled!");
            return *this;
        }
        CKrVariantData *old = m_pData;
        m_pData = nullptr;
        delete old;
        return *this;
    }
    if (m_pData && m_pData->GetRunType() == other.m_pData->GetRunType()) {
        other.m_pData->GetValueCopy(*m_pData);
        return *this;
    }
    if (!m_enabledTypeChange) {
        KR_REPORTW(L"!m_enabledTypeChange", KR_VARIANT_SOURCE,
                   L"Error: can't do assignment from type: %hs to: %hs, type change not enabled!",
                   runTypeText(other.m_pData), runTypeText(m_pData));
        return *this;
    }
    // The copy is complete before the old value goes: `other` may live inside this tree.
    CKrVariantData *fresh = other.m_pData->CreateEmpty();
    other.m_pData->GetValueCopy(*fresh);
    CKrVariantData *old = m_pData;
    m_pData = fresh;
    delete old;
    return *this;
}

// ---- comparison ------------------------------------------------------------------------------

#define KR_VARIANT_EQ(Type, Getter)                 \
    bool CKrVariant::operator==(Type value) const { \
        bool ok = false;                            \
        auto converted = Getter(&ok);               \
        return ok && converted == value;            \
    }

KR_VARIANT_EQ(int, GetKr_int32)
KR_VARIANT_EQ(unsigned int, GetKr_uint32)
KR_VARIANT_EQ(kr_int64, GetKr_int64)
KR_VARIANT_EQ(kr_uint64, GetKr_uint64)
KR_VARIANT_EQ(double, GetDouble)
KR_VARIANT_EQ(bool, GetBool)
KR_VARIANT_EQ(void *, GetVoidPtr)
KR_VARIANT_EQ(CKrByteArray const &, GetCKrByteArray)

#undef KR_VARIANT_EQ

bool CKrVariant::operator==(long long value) const { return *this == static_cast<kr_int64>(value); }
bool CKrVariant::operator==(unsigned long long value) const {
    return *this == static_cast<kr_uint64>(value);
}

bool CKrVariant::operator==(CKrStringW const &value) const {
    bool ok = false;
    CKrStringW text = GetCKrStringW(&ok);
    return ok && text.GetStdString() == value.GetStdString();
}
bool CKrVariant::operator==(wchar_t const *value) const { return *this == CKrStringW(value); }
bool CKrVariant::operator==(char const *value) const { return *this == CKrStringW(value); }

bool CKrVariant::operator==(CKrVariant const &other) const {
    if (!m_pData || !other.m_pData) return m_pData == other.m_pData;
    if (m_pData == other.m_pData) return true;
    return m_pData->IsEqual(*other.m_pData);
}

// ---- reading ---------------------------------------------------------------------------------

kr_int32 CKrVariant::GetKr_int32(bool *ok) const {
    return readNumber<kr_int32, CKrVariantDataKr_int32>(m_pData, ok, L"Can't convert to kr_int32!",
                                                        4);
}
kr_uint32 CKrVariant::GetKr_uint32(bool *ok) const {
    return readNumber<kr_uint32, CKrVariantDataKr_uint32>(m_pData, ok,
                                                          L"Can't convert to kr_uint32!", 4);
}
kr_int64 CKrVariant::GetKr_int64(bool *ok) const {
    return readNumber<kr_int64, CKrVariantDataKr_int64>(m_pData, ok, L"Can't convert to kr_int64!",
                                                        8);
}
kr_uint64 CKrVariant::GetKr_uint64(bool *ok) const {
    return readNumber<kr_uint64, CKrVariantDataKr_uint64>(m_pData, ok,
                                                          L"Can't convert to kr_uint64!", 8);
}
double CKrVariant::GetDouble(bool *ok) const {
    return readNumber<double, CKrVariantDataDouble>(m_pData, ok, L"Can't convert to double!", 8);
}
void *CKrVariant::GetVoidPtr(bool *ok) const {
    return reinterpret_cast<void *>(static_cast<uintptr_t>(
        readNumber<kr_uint64, CKrVariantDataVoidPtr>(m_pData, ok, L"Can't convert to void*!", 8)));
}

bool CKrVariant::GetBool(bool *ok) const {
    if (ok) *ok = true;
    using K = CKrVariantData;
    if (m_pData) {
        switch (m_pData->GetKind()) {
            case K::krDATA_BOOL:
                return static_cast<CKrVariantDataBool const *>(m_pData)->GetValue();
            case K::krDATA_DOUBLE:
                return static_cast<CKrVariantDataDouble const *>(m_pData)->GetValue() != 0.0;
            case K::krDATA_INT32:
            case K::krDATA_UINT32:
            case K::krDATA_INT64:
            case K::krDATA_UINT64:
            case K::krDATA_VOIDPTR:
                return GetKr_uint64() != 0;
            case K::krDATA_STRINGW: {
                CKrVariantDataBool parsed;
                parsed.SetString(
                    static_cast<CKrVariantDataCKrStringW const *>(m_pData)->GetValue());
                return parsed.GetValue();
            }
            case K::krDATA_BYTEARRAY: {
                CKrByteArray const &bytes =
                    static_cast<CKrVariantDataCKrByteArray const *>(m_pData)->GetValue();
                if (bytes.GetSize() >= 1 && bytes.GetData())
                    return *static_cast<unsigned char const *>(bytes.GetData()) != 0;
                if (ok) *ok = false;
                return false;
            }
            default:
                break;
        }
    }
    if (ok) *ok = false;
    KR_REPORTW(L"true", KR_VARIANT_SOURCE, L"Can't convert to bool!");
    return false;
}

CKrStringW CKrVariant::GetCKrStringW(bool *ok) const {
    CKrStringW text;
    bool result = m_pData ? m_pData->GetString(text) : false;
    if (ok) *ok = result;
    return text;
}

CKrByteArray CKrVariant::GetCKrByteArray(bool *ok) const {
    if (ok) *ok = true;
    using K = CKrVariantData;
    if (m_pData) {
        K::EKrDataKind kind = m_pData->GetKind();
        if (kind == K::krDATA_BYTEARRAY)
            return static_cast<CKrVariantDataCKrByteArray const *>(m_pData)->GetValue();
        if (kind == K::krDATA_STRINGW) {
            CKrVariantDataCKrByteArray parsed;
            parsed.SetString(static_cast<CKrVariantDataCKrStringW const *>(m_pData)->GetValue());
            return parsed.GetValue();
        }
        if (kind >= K::krDATA_INT32 && kind <= K::krDATA_VOIDPTR) {
            size_t size = (kind == K::krDATA_INT32 || kind == K::krDATA_UINT32) ? 4
                          : kind == K::krDATA_BOOL                              ? 1
                                                                                : 8;
            return CKrByteArray(const_cast<CKrVariantData *>(m_pData)->GetValuePtr(), size, 1024);
        }
    }
    if (ok) *ok = false;
    KR_REPORTW(L"true", KR_VARIANT_SOURCE, L"Can't convert to CKrByteArray!");
    return CKrByteArray();
}

CKrListVariant &CKrVariant::GetCKrListVariant(bool *ok) {
    if (CKrVariantDataCKrListVariant *list = listHolder()) {
        if (ok) *ok = true;
        return list->GetList();
    }
    if (ok) *ok = false;
    KR_REPORTW(L"true", KR_VARIANT_SOURCE, L"Can't convert to CKrListVariant!");
    thread_local CKrListVariant scratch;
    scratch.RemoveAll();
    return scratch;
}

CKrListVariant const &CKrVariant::GetCKrListVariant(bool *ok) const {
    return const_cast<CKrVariant *>(this)->GetCKrListVariant(ok);
}

void *CKrVariant::GetValueVoidPtr() { return m_pData ? m_pData->GetValuePtr() : nullptr; }
void const *CKrVariant::GetValueVoidPtr() const {
    return m_pData ? m_pData->GetValuePtr() : nullptr;
}

// ---- name and run type -----------------------------------------------------------------------

void CKrVariant::SetName(CKrStringW const &name) { m_name = name; }

CKrVariantRunType const &CKrVariant::GetRunType() const {
    return m_pData ? m_pData->GetRunType() : CKrVariantRunType::GetUnknown();
}

CKrVariantDataCKrListVariant *CKrVariant::listHolder() const {
    return CKrVariantAccess::ListOf(*this);
}

bool CKrVariant::ValidateName(CKrStringW &name) {
    std::wstring const &s = name.GetStdString();
    if (s.empty() || s[0] == L'\0') {
        name = L"no_name";
        return true;
    }
    auto letter = [](wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); };
    auto later = [&](wchar_t c) {
        return letter(c) || (c >= L'0' && c <= L'9') || c == L'-' || c == L'.' || c == L'_';
    };
    // The string class stops at the first zero unit; so does the name.  One pass: the check
    // ends at the end or at the first zero, whichever comes first.
    size_t const size = s.size();
    wchar_t const *p = s.data();
    bool clean = letter(p[0]) || p[0] == L'_';
    size_t length = 1;
    for (; length < size && p[length] != L'\0'; ++length)
        if (clean && !later(p[length])) clean = false;
    if (clean) return false;
    std::wstring fixed(s, 0, length);
    if (!(letter(fixed[0]) || fixed[0] == L'_')) fixed[0] = L'_';
    for (size_t i = 1; i < fixed.size(); ++i)
        if (!later(fixed[i])) fixed[i] = L'_';
    name = fixed;
    return true;
}

CKrVariant &CKrVariant::GetNullVariant() {
    static CKrVariant nullVariant;
    return nullVariant;
}
