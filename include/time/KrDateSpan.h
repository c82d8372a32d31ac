// CKrDateSpan: a calendar span of years, months, weeks and days (signed 32-bit each).
//
// Unlike CKrTimeSpan it has no fixed length: CKrDateTime::Add applies it to the broken-down
// local date, so one month from 31 January is the last day of February and the local time of
// day is kept across daylight-saving changes.
#ifndef ORVIK_TIME_KRDATESPAN_H
#define ORVIK_TIME_KRDATESPAN_H

#include "platform/KrTypes.h"

class ORVIK_API CKrDateSpan {
public:
    constexpr CKrDateSpan(kr_int32 years = 0, kr_int32 months = 0, kr_int32 weeks = 0,
                          kr_int32 days = 0) noexcept
        : m_years(years), m_months(months), m_weeks(weeks), m_days(days) {}

    static constexpr CKrDateSpan Days(kr_int32 n) { return CKrDateSpan(0, 0, 0, n); }
    static constexpr CKrDateSpan Day() { return Days(1); }
    static constexpr CKrDateSpan Weeks(kr_int32 n) { return CKrDateSpan(0, 0, n, 0); }
    static constexpr CKrDateSpan Week() { return Weeks(1); }
    static constexpr CKrDateSpan Months(kr_int32 n) { return CKrDateSpan(0, n, 0, 0); }
    static constexpr CKrDateSpan Month() { return Months(1); }
    static constexpr CKrDateSpan Years(kr_int32 n) { return CKrDateSpan(n, 0, 0, 0); }
    static constexpr CKrDateSpan Year() { return Years(1); }

    constexpr kr_int32 GetYears() const { return m_years; }
    constexpr kr_int32 GetMonths() const { return m_months; }
    constexpr kr_int32 GetWeeks() const { return m_weeks; }
    constexpr kr_int32 GetDays() const { return m_days; }
    // Weeks and days together, in 64 bits so that no pair of fields can overflow.
    constexpr kr_int64 GetTotalDays() const { return static_cast<kr_int64>(m_weeks) * 7 + m_days; }

    // Negation of all four fields; the most negative field value stays as it is (wraps).
    constexpr CKrDateSpan Negate() const {
        return CKrDateSpan(neg(m_years), neg(m_months), neg(m_weeks), neg(m_days));
    }
    constexpr CKrDateSpan &Neg() { return *this = Negate(); }
    constexpr CKrDateSpan operator-() const { return Negate(); }

    constexpr bool operator==(const CKrDateSpan &) const = default;

private:
    static constexpr kr_int32 neg(kr_int32 v) {
        return static_cast<kr_int32>(0u - static_cast<kr_uint32>(v));
    }

    kr_int32 m_years;
    kr_int32 m_months;
    kr_int32 m_weeks;
    kr_int32 m_days;
};

#endif
