#include "variant/CKrVariantData.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/KrPlatform.h"
#include "types/Base64Coder.h"
#include "variant/CKrVariant.h"
#include "variant/internal/VariantPool.h"
#include "variant/internal/VariantText.h"
#include "variant/internal/VariantTree.h"
#include "variant/internal/VariantValueScan.h"

// ---- base ------------------------------------------------------------------------------------

CKrVariantData::~CKrVariantData() = default;

void *CKrVariantData::operator new(std::size_t size) { return orvik::detail::PoolAllocate(size); }
void CKrVariantData::operator delete(void *p, std::size_t size) noexcept {
    orvik::detail::PoolRelease(p, size);
}

int CKrVariantData::SetRunType(CKrVariantRunType const &arg) {
    if (arg != GetRunType())
        KR_REPORTW(L"arg != GetRunType()", KR_VARIANT_SOURCE,
                   L"Error: CKrVariantData::SetRunType(), can't set runtype!");
    return -9;
}

bool CKrVariantData::IsArray() const { return false; }

// ---- scalar holders --------------------------------------------------------------------------

namespace {

bool isPodKind(CKrVariantData::EKrDataKind k) {
    return k >= CKrVariantData::krDATA_INT32 && k <= CKrVariantData::krDATA_VOIDPTR;
}

size_t podSize(CKrVariantData::EKrDataKind k) {
    switch (k) {
        case CKrVariantData::krDATA_INT32:
        case CKrVariantData::krDATA_UINT32:
            return 4;
        case CKrVariantData::krDATA_BOOL:
            return 1;
        default:
            return 8;
    }
}

// The copy "all the same" into a numeric holder of another class: the leading bytes of the
// source value over the leading bytes of the target value; a bool target stays a valid bool.
void copyBytesAcross(void const *src, CKrVariantData::EKrDataKind srcKind, CKrVariantData &target) {
    CKrVariantData::EKrDataKind tk = target.GetKind();
    if (!isPodKind(srcKind) || !isPodKind(tk)) return;
    void *dst = target.GetValuePtr();
    if (tk == CKrVariantData::krDATA_BOOL) {
        *static_cast<bool *>(dst) = *static_cast<unsigned char const *>(src) != 0;
        return;
    }
    size_t n = podSize(srcKind) < podSize(tk) ? podSize(srcKind) : podSize(tk);
    std::memcpy(dst, src, n);
}

// Reads `text` as one value with a scanf format; false when it does not scan.
template <class T>
bool scanValue(wchar_t const *text, wchar_t const *format, T *value) {
    if (!text) return false;
    return std::swscanf(text, format, value) == 1;
}

void setWide(CKrStringW &out, std::wstring const &text) { out = text; }

}  // namespace

#define KR_RUNTYPE(Class, Name)                        \
    CKrVariantRunType const &Class::GetOrigRunType() { \
        static CKrVariantRunType const type(Name);     \
        return type;                                   \
    }                                                  \
    CKrVariantRunType const &Class::GetRunType() const { return GetOrigRunType(); }

// Members every scalar holder shares; the message is the holder's own GetValueCopy report.
#define KR_SCALAR_COMMON(Class, Kind, Type, Init, Message)                                      \
    Class::Class() : CKrVariantData(Kind), m_value(Init) {}                                     \
    Class::Class(Type const &value) : CKrVariantData(Kind), m_value(value) {}                   \
    Class::Class(Type &&value) : CKrVariantData(Kind), m_value(std::move(value)) {}             \
    bool Class::SetString(CKrStringW const &text) { return SetString(text.GetString()); }       \
    bool Class::IsEqual(CKrVariantData const &other) const {                                    \
        return other.GetKind() == Kind && static_cast<Class const &>(other).m_value == m_value; \
    }                                                                                           \
    void *Class::GetValuePtr() { return &m_value; }                                             \
    CKrVariantData *Class::CreateEmpty() const { return new Class(); }                          \
    void Class::GetValueCopy(CKrVariantData &data) const {                                      \
        if (data.GetKind() == Kind) {                                                           \
            static_cast<Class &>(data).m_value = m_value;                                       \
            return;                                                                             \
        }                                                                                       \
        KR_REPORTW(L"(data.GetRunType() != GetRunType())", KR_VARIANT_SOURCE, Message);         \
        copyBytesAcross(&m_value, Kind, data);                                                  \
    }

KR_RUNTYPE(CKrVariantDataKr_int32, "kr_int32")
KR_RUNTYPE(CKrVariantDataKr_uint32, "kr_uint32")
KR_RUNTYPE(CKrVariantDataKr_int64, "kr_int64")
KR_RUNTYPE(CKrVariantDataKr_uint64, "kr_uint64")
KR_RUNTYPE(CKrVariantDataDouble, "double")
KR_RUNTYPE(CKrVariantDataBool, "bool")
KR_RUNTYPE(CKrVariantDataVoidPtr, "voidPtr")
KR_RUNTYPE(CKrVariantDataCKrStringW, "CKrStringW")
KR_RUNTYPE(CKrVariantDataCKrByteArray, "CKrByteArray")
CKrVariantRunType const &CKrVariantDataCKrListVariant::GetOrigRunType() {
    static CKrVariantRunType const type("CKrListVariant");
    return type;
}
CKrVariantRunType const &CKrVariantDataCKrListVariant::GetRunType() const { return m_runType; }

KR_SCALAR_COMMON(CKrVariantDataKr_int32, krDATA_INT32, kr_int32, 0,
                 L"Error: CKrVariantDataKr_int32::GetValueCopy(), incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataKr_uint32, krDATA_UINT32, kr_uint32, 0,
                 L"Error: CKrVariantDataKr_uint32::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataKr_int64, krDATA_INT64, kr_int64, 0,
                 L"Error: CKrVariantDataKr_int64::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataKr_uint64, krDATA_UINT64, kr_uint64, 0,
                 L"Error: CKrVariantDataKr_uint64::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataDouble, krDATA_DOUBLE, double, 0.0,
                 L"Error: CKrVariantDataDouble::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataBool, krDATA_BOOL, bool, false,
                 L"Error: CKrVariantDataBool::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataVoidPtr, krDATA_VOIDPTR, void *, nullptr,
                 L"Error: CKrVariantVoidPtr::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataCKrStringW, krDATA_STRINGW, CKrStringW, CKrStringW(),
                 L"Error: CKrVariantCKrStringW::GetValueCopy, incompatible types!")
KR_SCALAR_COMMON(CKrVariantDataCKrByteArray, krDATA_BYTEARRAY, CKrByteArray, CKrByteArray(),
                 L"Error: CKrVariantCKrByteAray::GetValueCopy, incompatible types!")

// ---- text forms ------------------------------------------------------------------------------

namespace {
// Decimal text of an integer, as "%d" / "%u" / "%lld" / "%llu" write it, without the printf
// machinery (the text form is written once per node when trees are saved).
// Widens the ASCII characters [digits, end) (at most 399 of them) into `out`.
void assignAscii(CKrStringW &out, char const *digits, char const *end) {
    wchar_t wide[400];
    size_t n = static_cast<size_t>(end - digits);
    for (size_t i = 0; i < n; ++i) wide[i] = static_cast<wchar_t>(digits[i]);
    wide[n] = L'\0';
    out = wide;
}

template <class T>
bool formatDecimal(CKrStringW &out, T value) {
    char digits[32];
    std::to_chars_result r = std::to_chars(digits, digits + sizeof digits, value);
    assignAscii(out, digits, r.ptr);
    return true;
}

template <class T>
bool formatInto(CKrStringW &out, wchar_t const *format, T value) {
    wchar_t buffer[64];
    int n = KR_swprintf(buffer, 64, format, value);
    if (n < 0) n = 0;
    setWide(out, std::wstring(buffer, static_cast<size_t>(n)));
    return true;
}
}  // namespace

bool CKrVariantDataKr_int32::GetString(CKrStringW &out) const {
    return formatDecimal(out, m_value);
}
bool CKrVariantDataKr_uint32::GetString(CKrStringW &out) const {
    return formatDecimal(out, m_value);
}
bool CKrVariantDataKr_int64::GetString(CKrStringW &out) const {
    return formatDecimal(out, static_cast<long long>(m_value));
}
bool CKrVariantDataKr_uint64::GetString(CKrStringW &out) const {
    return formatDecimal(out, static_cast<unsigned long long>(m_value));
}
bool CKrVariantDataDouble::GetString(CKrStringW &out) const {
    // "%.15f".  A finite value is formatted by std::to_chars, which gives the same correctly
    // rounded digits as the C library's printf; infinities and NaN keep the printf spelling.
    // The largest magnitudes run to 309 integer digits: the buffer holds any finite value.
    if (std::isfinite(m_value)) {
        char digits[400];
        std::to_chars_result r = std::to_chars(digits, digits + sizeof digits - 1, m_value,
                                               std::chars_format::fixed, 15);
        if (r.ec == std::errc()) {
            assignAscii(out, digits, r.ptr);
            return true;
        }
    }
    std::wstring text;
    krVariantAppendFormat(text, L"%.15f", m_value);
    setWide(out, text);
    return true;
}
bool CKrVariantDataBool::GetString(CKrStringW &out) const {
    out = m_value ? L"true" : L"false";
    return true;
}
bool CKrVariantDataVoidPtr::GetString(CKrStringW &out) const {
    return formatInto(out, L"%p", m_value);
}
bool CKrVariantDataCKrStringW::GetString(CKrStringW &out) const {
    out = m_value;
    return true;
}
bool CKrVariantDataCKrByteArray::GetString(CKrStringW &out) const {
    size_t size = m_value.GetSize();
    if (size == 0) return false;  // `out` untouched, as documented
    Base64Coder coder;
    coder.Encode(static_cast<unsigned char const *>(m_value.GetData()), size);
    unsigned int length = 0;
    unsigned char const *text = coder.EncodedBuffer(&length);
    std::wstring wide(length, L'\0');
    for (unsigned int i = 0; i < length; ++i) wide[i] = static_cast<wchar_t>(text[i]);
    setWide(out, wide);
    return true;
}

bool CKrVariantDataKr_int32::SetString(wchar_t const *text) {
    orvik::detail::ScanInt32(text, m_value);
    return true;
}
bool CKrVariantDataKr_uint32::SetString(wchar_t const *text) {
    orvik::detail::ScanUInt32(text, m_value);
    return true;
}
bool CKrVariantDataKr_int64::SetString(wchar_t const *text) {
    long long v;
    if (orvik::detail::ScanInt64(text, v)) m_value = v;
    return true;
}
bool CKrVariantDataKr_uint64::SetString(wchar_t const *text) {
    unsigned long long v;
    if (orvik::detail::ScanUInt64(text, v)) m_value = v;
    return true;
}
bool CKrVariantDataDouble::SetString(wchar_t const *text) {
    // atof has no failure value: text that is no number reads as 0.0.
    if (text) m_value = orvik::detail::ReadDouble(text);
    return true;
}
bool CKrVariantDataBool::SetString(wchar_t const *text) {
    // The texts the writer makes answer without the locale's case folding.
    if (text && std::wcscmp(text, L"true") == 0)
        m_value = true;
    else if (text && std::wcscmp(text, L"false") == 0)
        m_value = false;
    else
        m_value = text && KR_wcsicmp(text, L"true") == 0;
    return true;
}
bool CKrVariantDataVoidPtr::SetString(wchar_t const *text) {
    // The written form is 16 hexadecimal digits (upper case); a "0x" prefix is accepted too.
    unsigned long long v;
    if (scanValue(text, L"%llx", &v)) m_value = reinterpret_cast<void *>(static_cast<uintptr_t>(v));
    return true;
}
bool CKrVariantDataCKrStringW::SetString(wchar_t const *text) {
    m_value = text ? text : L"";
    return true;
}
bool CKrVariantDataCKrByteArray::SetString(wchar_t const *text) {
    Base64Coder coder;
    coder.DecodeW(text);
    size_t length = 0;
    unsigned char const *bytes = coder.DecodedBuffer(&length);
    if (!bytes || length == 0)
        m_value.SetSize(0);
    else
        m_value.SetData(bytes, length, CKrByteArray::ModeOpReplace, CKrByteArray::ModeAllocExact);
    return true;
}

// ---- list holder -----------------------------------------------------------------------------

CKrVariantDataCKrListVariant::CKrVariantDataCKrListVariant()
    : CKrVariantData(krDATA_LIST), m_runType(GetOrigRunType()), m_plain(true) {}

CKrVariantDataCKrListVariant::CKrVariantDataCKrListVariant(CKrListVariant const &list)
    : CKrVariantData(krDATA_LIST), m_list(list), m_runType(GetOrigRunType()), m_plain(true) {}

CKrVariantDataCKrListVariant::~CKrVariantDataCKrListVariant() = default;

bool CKrVariantDataCKrListVariant::GetString(CKrStringW &) const { return true; }
bool CKrVariantDataCKrListVariant::SetString(wchar_t const *) { return true; }
bool CKrVariantDataCKrListVariant::SetString(CKrStringW const &) { return true; }

bool CKrVariantDataCKrListVariant::IsEqual(CKrVariantData const &other) const {
    if (!other.IsArray()) return false;
    auto const &o = static_cast<CKrVariantDataCKrListVariant const &>(other);
    if (!(m_plain && o.m_plain) && o.m_runType != m_runType) return false;
    return CKrVariantAccess::ListsEqual(m_list, o.m_list);
}

void *CKrVariantDataCKrListVariant::GetValuePtr() { return &m_list; }

void CKrVariantDataCKrListVariant::GetValueCopy(CKrVariantData &data) const {
    if (!data.IsArray()) {
        KR_REPORTW(
            L"(GetRunType() != data.GetRunType())", KR_VARIANT_SOURCE,
            L"Error: CKrVariantDataCKrListVariant::GetValueCopy, can't get to this type of data!");
        return;
    }
    auto &target = static_cast<CKrVariantDataCKrListVariant &>(data);
    if (&target == this) return;
    // This holder may live inside the target's tree and be destroyed by the assignment below:
    // take the run type first (the list assignment itself copies before it destroys).
    CKrVariantRunType runType = m_runType;
    bool plain = m_plain;
    target.m_list = m_list;
    target.m_runType = runType;
    target.m_plain = plain;
}

CKrVariantData *CKrVariantDataCKrListVariant::CreateEmpty() const {
    return new CKrVariantDataCKrListVariant();
}

int CKrVariantDataCKrListVariant::SetRunType(CKrVariantRunType const &type) {
    m_plain = &type == &GetOrigRunType() || type == GetOrigRunType();
    m_runType = type;
    return 0;
}

bool CKrVariantDataCKrListVariant::IsArray() const { return true; }
