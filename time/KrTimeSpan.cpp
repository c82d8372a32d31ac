// CKrTimeSpan: arithmetic (wrapping at the 64-bit limits) and Format.
#include "time/KrTimeSpan.h"

#include "platform/KrPlatform.h"
#include "strings/CKrStringW.h"
#include "time/internal/TimeCalendar.h"

using namespace orvik::detail;

namespace {

using u64 = unsigned long long;

u64 magnitude(long long v) { return v < 0 ? 0ULL - static_cast<u64>(v) : static_cast<u64>(v); }

bool isFieldLetter(wchar_t c) {
    return c == L'D' || c == L'E' || c == L'H' || c == L'M' || c == L'S' || c == L'l' || c == L'%';
}

}  // namespace

CKrTimeSpan::CKrTimeSpan(long long hours, long long minutes, long long seconds,
                         long long milliseconds) noexcept
    : m_value(wrapAdd(
          wrapMul(wrapAdd(wrapMul(wrapAdd(wrapMul(hours, 60), minutes), 60), seconds), 1000),
          milliseconds)) {}

CKrTimeSpan CKrTimeSpan::Days(long long n) { return CKrTimeSpan(wrapMul(24, n), 0, 0, 0); }
CKrTimeSpan CKrTimeSpan::Weeks(long long n) { return CKrTimeSpan(wrapMul(168, n), 0, 0, 0); }

CKrTimeSpan &CKrTimeSpan::Add(const CKrTimeSpan &other) {
    m_value = wrapAdd(m_value, other.m_value);
    return *this;
}

CKrTimeSpan CKrTimeSpan::Add(const CKrTimeSpan &other) const {
    return CKrTimeSpan(wrapAdd(m_value, other.m_value));
}

CKrTimeSpan &CKrTimeSpan::Subtract(const CKrTimeSpan &other) {
    m_value = wrapSub(m_value, other.m_value);
    return *this;
}

CKrTimeSpan CKrTimeSpan::Subtract(const CKrTimeSpan &other) const {
    return CKrTimeSpan(wrapSub(m_value, other.m_value));
}

CKrTimeSpan &CKrTimeSpan::Multiply(int factor) {
    m_value = wrapMul(m_value, factor);
    return *this;
}

CKrTimeSpan CKrTimeSpan::Multiply(int factor) const {
    return CKrTimeSpan(wrapMul(m_value, factor));
}

CKrTimeSpan &CKrTimeSpan::Neg() {
    m_value = wrapSub(0, m_value);
    return *this;
}

CKrTimeSpan CKrTimeSpan::Negate() const { return CKrTimeSpan(wrapSub(0, m_value)); }

CKrTimeSpan CKrTimeSpan::Abs() const {
    return CKrTimeSpan(m_value < 0 ? wrapSub(0, m_value) : m_value);
}

bool CKrTimeSpan::IsLongerThan(const CKrTimeSpan &other) const {
    return magnitude(m_value) > magnitude(other.m_value);
}

CKrStringW CKrTimeSpan::Format(const wchar_t *format) const {
    CKrStringW result;
    bool haveFormat = format != nullptr && *format != 0;
    KR_ASSERTW(haveFormat, kTimeSpanSource, L"NULL format in CKrTimeSpan::Format");
    if (!haveFormat) return result;

    size_t length = 0;
    while (format[length]) ++length;
    result.Preallocate(static_cast<int>(length > 0x7FFFFFFF ? 0x7FFFFFFF : length));

    CKrStringW field;
    for (const wchar_t *p = format; *p; ++p) {
        if (*p != L'%') {
            result += *p;
            continue;
        }
        wchar_t letter = *++p;
        if (letter == 0) break;  // a trailing '%' ends the walk
        field.Empty();
        switch (letter) {
            case L'D':
                field.Format(L"%d", GetDays());
                break;
            case L'E':
                field.Format(L"%d", GetWeeks());
                break;
            case L'H':
                field.Format(L"%02d", GetHours());
                break;
            case L'M':
                field.Format(L"%02d", GetMinutes());
                break;
            // Seconds and milliseconds print as 32-bit numbers ("%ld" is 32 bits in the format's
            // native dialect); larger counts are cut, not widened.
            case L'S':
                field.Format(L"%02ld", static_cast<long>(static_cast<kr_int32>(GetSeconds())));
                break;
            case L'l':
                field.Format(L"%03ld", static_cast<long>(static_cast<kr_int32>(m_value)));
                break;
            default:
                break;
        }
        KR_ASSERTW(isFieldLetter(letter), kTimeSpanSource, L"invalid format character");
        if (field.IsEmpty())
            result += letter;
        else
            result += field;
    }
    return result;
}
