// CKrTimeSpan: a signed interval of time in milliseconds.
//
// One signed 64-bit field; negative spans are allowed and there is no invalid value.  This is
// what CKrDateTime adds and subtracts and what the difference of two date-times yields.
//
// All arithmetic (construction from units included) wraps silently on 64-bit overflow; nothing
// here is undefined for any input.  The getters are totals over the whole span, truncated
// toward zero, never remainders within the next larger unit: a span of 90 minutes has
// GetHours() 1 and GetMinutes() 90.
#ifndef ORVIK_TIME_KRTIMESPAN_H
#define ORVIK_TIME_KRTIMESPAN_H

#include "platform/KrTypes.h"

class CKrStringW;

class ORVIK_API CKrTimeSpan {
public:
    // Leaves the value uninitialised, deliberately (as a plain integer would be): callers
    // assign before use.
    CKrTimeSpan() noexcept {}
    CKrTimeSpan(const long long &milliseconds) noexcept : m_value(milliseconds) {}
    // ((hours * 60 + minutes) * 60 + seconds) * 1000 + milliseconds.  No argument is limited to
    // its unit's range; any may be negative or exceed it.
    CKrTimeSpan(long long hours, long long minutes, long long seconds,
                long long milliseconds) noexcept;
    CKrTimeSpan(const CKrTimeSpan &) noexcept = default;
    CKrTimeSpan(CKrTimeSpan &&) noexcept = default;
    CKrTimeSpan &operator=(const CKrTimeSpan &) noexcept = default;
    CKrTimeSpan &operator=(CKrTimeSpan &&) noexcept = default;

    // ---- factories ----------------------------------------------------------------------
    static CKrTimeSpan Milliseconds(long long n) { return CKrTimeSpan(0, 0, 0, n); }
    static CKrTimeSpan Millisecond() { return CKrTimeSpan(0, 0, 0, 1); }
    static CKrTimeSpan Seconds(long long n) { return CKrTimeSpan(0, 0, n, 0); }
    static CKrTimeSpan Second() { return CKrTimeSpan(0, 0, 1, 0); }
    static CKrTimeSpan Minutes(long long n) { return CKrTimeSpan(0, n, 0, 0); }
    static CKrTimeSpan Minute() { return CKrTimeSpan(0, 1, 0, 0); }
    static CKrTimeSpan Hours(long long n) { return CKrTimeSpan(n, 0, 0, 0); }
    static CKrTimeSpan Hour() { return CKrTimeSpan(1, 0, 0, 0); }
    // n * 24 hours and n * 168 hours; the hour count wraps like every other product.
    static CKrTimeSpan Days(long long n);
    static CKrTimeSpan Day() { return CKrTimeSpan(24, 0, 0, 0); }
    static CKrTimeSpan Weeks(long long n);
    static CKrTimeSpan Week() { return CKrTimeSpan(168, 0, 0, 0); }

    // ---- getters (totals, truncated toward zero) --------------------------------------------
    kr_int64 GetValue() const { return m_value; }
    kr_int64 GetMilliseconds() const { return m_value; }
    kr_int64 GetSeconds() const { return m_value / 1000; }
    // The 32-bit getters cut the 64-bit minute count to 32 bits (modulo 2^32) before dividing.
    kr_int32 GetMinutes() const { return static_cast<kr_int32>(m_value / 60000); }
    kr_int32 GetHours() const { return GetMinutes() / 60; }
    kr_int32 GetDays() const { return GetMinutes() / 1440; }
    kr_int32 GetWeeks() const { return GetMinutes() / 10080; }

    // ---- arithmetic: modifying forms return *this, const forms a new span --------------------
    CKrTimeSpan &Add(const CKrTimeSpan &other);
    CKrTimeSpan Add(const CKrTimeSpan &other) const;
    CKrTimeSpan &operator+=(const CKrTimeSpan &other) { return Add(other); }
    CKrTimeSpan &Subtract(const CKrTimeSpan &other);
    CKrTimeSpan Subtract(const CKrTimeSpan &other) const;
    CKrTimeSpan &operator-=(const CKrTimeSpan &other) { return Subtract(other); }
    CKrTimeSpan &Multiply(int factor);
    CKrTimeSpan Multiply(int factor) const;
    CKrTimeSpan &operator*=(int factor) { return Multiply(factor); }
    // Negate in place.  Unary minus modifies the span too (callers rely on it): use Negate()
    // for a negated copy.
    CKrTimeSpan &Neg();
    CKrTimeSpan &operator-() { return Neg(); }
    CKrTimeSpan Negate() const;
    // The absolute value; the most negative span stays as it is (wraps).
    CKrTimeSpan Abs() const;

    // ---- tests --------------------------------------------------------------------------
    bool IsNull() const { return m_value == 0; }
    bool IsPositive() const { return m_value > 0; }
    bool IsNegative() const { return m_value < 0; }
    bool IsEqualTo(const CKrTimeSpan &other) const { return m_value == other.m_value; }
    // Compares magnitudes exactly (the most negative span is the longest).
    bool IsLongerThan(const CKrTimeSpan &other) const;
    // The negation of IsLongerThan: spans of equal magnitude count as shorter.
    bool IsShorterThan(const CKrTimeSpan &other) const { return !IsLongerThan(other); }
    // True when the span is NOT zero.  This inverted sense is kept on purpose: code that writes
    // `if (!span)` to ask whether a span is present relies on it.
    bool operator!() const { return m_value != 0; }

    // Formats the span: "%D" days, "%E" weeks, "%H" hours (2 digits), "%M" minutes (2 digits),
    // "%S" seconds (2 digits), "%l" the low 32 bits of the millisecond count (3 digits), "%%" a
    // percent sign; any other character is copied.  Every field is a total over the whole span,
    // so "%H:%M:%S" of 1 h 1 min is "01:61:3660" (callers compute remainders themselves).
    // Seconds and "%l" are printed as 32-bit numbers.  A null or empty format reports an
    // assertion and gives an empty string; an unknown letter after "%" is reported and copied;
    // a trailing "%" ends the text.
    CKrStringW Format(const wchar_t *format) const;

private:
    kr_int64 m_value;
};

#endif
