// Reading the value text of the numeric holders: the C-library rule and the fast readers of
// plain decimal texts that defer to it for anything else.
#include "variant/internal/VariantValueScan.h"

#include <langinfo.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <system_error>

namespace orvik::detail {
namespace {

template <class T>
bool scanRef(wchar_t const *text, wchar_t const *format, T &value) {
    if (!text) return false;
    T v;
    if (std::swscanf(text, format, &v) != 1) return false;
    value = v;
    return true;
}

bool isDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Reads "[-]digits" followed by the end of the text, at most `maxDigits` digits (few enough
// that the magnitude fits without overflow).  False when the text has any other shape: the
// caller then applies the rule.
template <class T>
bool plainDecimal(wchar_t const *text, bool allowMinus, int maxDigits, T &value) {
    if (!text) return false;
    bool negative = false;
    if (*text == L'-' && allowMinus) {
        negative = true;
        ++text;
    }
    T magnitude = 0;
    int n = 0;
    for (; isDigit(*text); ++text, ++n) {
        if (n == maxDigits) return false;
        magnitude = static_cast<T>(magnitude * 10 + static_cast<T>(*text - L'0'));
    }
    if (n == 0 || *text != 0) return false;
    value = negative ? static_cast<T>(0 - magnitude) : magnitude;
    return true;
}

}  // namespace

bool ScanInt32Ref(wchar_t const *text, int &value) { return scanRef(text, L"%d", value); }
bool ScanUInt32Ref(wchar_t const *text, unsigned int &value) { return scanRef(text, L"%u", value); }
bool ScanInt64Ref(wchar_t const *text, long long &value) { return scanRef(text, L"%lld", value); }
bool ScanUInt64Ref(wchar_t const *text, unsigned long long &value) {
    return scanRef(text, L"%llu", value);
}

double ReadDoubleRef(wchar_t const *text) {
    std::string narrow;
    if (text)
        for (; *text; ++text) narrow.push_back(*text < 256 ? static_cast<char>(*text) : '?');
    return std::atof(narrow.c_str());
}

// Nine digits stay below 2^31 and eighteen below 2^63, so neither sign can overflow.
bool ScanInt32(wchar_t const *text, int &value) {
    return plainDecimal(text, true, 9, value) || ScanInt32Ref(text, value);
}
bool ScanUInt32(wchar_t const *text, unsigned int &value) {
    return plainDecimal(text, false, 9, value) || ScanUInt32Ref(text, value);
}
bool ScanInt64(wchar_t const *text, long long &value) {
    return plainDecimal(text, true, 18, value) || ScanInt64Ref(text, value);
}
bool ScanUInt64(wchar_t const *text, unsigned long long &value) {
    return plainDecimal(text, false, 19, value) || ScanUInt64Ref(text, value);
}

double ReadDouble(wchar_t const *text) {
    // "[-]digits[.digits][(e|E)[+|-]digits]" of ASCII, short enough for a local buffer.
    // std::from_chars rounds correctly like strtod; it leaves out-of-range results (overflow,
    // underflow) to the rule, which alone knows strtod's answer for them.
    constexpr size_t kMax = 64;
    char buf[kMax];
    size_t n = 0;
    wchar_t const *p = text;
    if (!p) return ReadDoubleRef(text);
    auto put = [&](wchar_t c) {
        if (n == kMax) return false;
        buf[n++] = static_cast<char>(c);
        return true;
    };
    bool const negative = *p == L'-';
    if (negative && !put(*p++)) return ReadDoubleRef(text);
    size_t digits = 0;
    size_t fraction = 0;
    unsigned long long mantissa = 0;  // exact while digits <= 19
    for (; isDigit(*p); ++p, ++digits) {
        if (!put(*p)) return ReadDoubleRef(text);
        mantissa = mantissa * 10 + static_cast<unsigned>(*p - L'0');
    }
    bool const point = *p == L'.';
    if (point) {
        if (!put(*p++)) return ReadDoubleRef(text);
        for (; isDigit(*p); ++p, ++digits, ++fraction) {
            if (!put(*p)) return ReadDoubleRef(text);
            mantissa = mantissa * 10 + static_cast<unsigned>(*p - L'0');
        }
    }
    if (digits == 0) return ReadDoubleRef(text);
    // The short decimals the writer makes: with at most 15 digits the mantissa and 10^fraction
    // (fraction <= 22) are exact doubles, so their quotient is the correctly rounded value.
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    if (*p == 0 && digits <= 15) {
        // atof reads the decimal point of the current locale (the C library's radix character,
        // which localeconv() also reports, but without filling a whole structure per call).
        char const *radix = point ? nl_langinfo(RADIXCHAR) : ".";
        if (radix[0] == '.' && radix[1] == 0) {
            double const value = static_cast<double>(mantissa) / kPowers[fraction];
            return negative ? -value : value;
        }
        return ReadDoubleRef(text);
    }
    if (*p == L'e' || *p == L'E') {
        if (!put(*p++)) return ReadDoubleRef(text);
        if ((*p == L'+' || *p == L'-') && !put(*p++)) return ReadDoubleRef(text);
        size_t expDigits = 0;
        for (; isDigit(*p); ++p, ++expDigits)
            if (!put(*p)) return ReadDoubleRef(text);
        if (expDigits == 0) return ReadDoubleRef(text);
    }
    if (*p != 0) return ReadDoubleRef(text);
    char const *radix = nl_langinfo(RADIXCHAR);
    if (radix[0] != '.' || radix[1] != 0) return ReadDoubleRef(text);
    double value = 0;
    auto r = std::from_chars(buf, buf + n, value, std::chars_format::general);
    if (r.ec != std::errc() || r.ptr != buf + n) return ReadDoubleRef(text);
    return value;
}

}  // namespace orvik::detail
