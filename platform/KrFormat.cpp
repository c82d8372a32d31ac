// printf with the Windows conventions on glibc, for both widths.
//
// The format is walked here, one directive at a time; the C library only ever sees a single
// numeric directive with its single argument.  That gives the rules below without depending on
// what glibc's vswprintf makes of a format it dislikes (it answers -1 both for "buffer too small"
// and for "bad format", so a caller that grows its buffer on -1 never stops):
//  - a directive is '%' flags* width? ('.' precision?)? size? conversion;
//  - the result is measured piece by piece, so the output grows to exactly the result;
//  - a text argument of the other width is converted here, byte for unit in the "C" locale,
//    instead of by the C library (which refuses bytes above 0x7F there);
//  - anything the rules do not cover fails the call at once (see KrPlatform.h).
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>

#include "platform/KrPlatform.h"
#include "platform/internal/LocaleCtype.h"

namespace {

using orvik::detail::isClassicCtype;

// A thread keeps scratch buffers of up to this many units between calls; a larger one (a long
// result) is released at the start of the thread's next call, or by KR_FormatScratchTrim.
constexpr size_t kKeptScratchUnits = size_t(1) << 16;
// Results are returned as int.
constexpr size_t kMaxResult = INT_MAX;

enum Flag : unsigned { kMinus = 1, kPlus = 2, kSpace = 4, kHash = 8, kZero = 16, kQuote = 32 };
enum class Size : unsigned char { None, HH, H, L, LL, LD, J, Z, T };

struct Directive {
    unsigned flags = 0;
    bool hasWidth = false;
    bool hasPrecision = false;
    int width = 0;      // >= 0; a negative '*' width became kMinus
    int precision = 0;  // >= 0 when hasPrecision
    Size size = Size::None;
    bool sizeW = false;  // the Windows 'w' letter (wide text), kept apart from 'l' for numbers
    char conv = 0;
};

template <class C>
bool isDigit(C c) {
    return c >= C('0') && c <= C('9');
}

// Decimal digits at p into *value; false when the number exceeds INT_MAX.
template <class C>
bool readCount(C const *&p, int *value) {
    long long v = 0;
    while (isDigit(*p)) {
        v = v * 10 + (*p++ - C('0'));
        if (v > INT_MAX) return false;
    }
    *value = static_cast<int>(v);
    return true;
}

// Parses the directive after its '%', taking the '*' arguments from ap in order.  Returns the
// position after the conversion letter, or null when the directive is not one of ours.
template <class C>
C const *parseDirective(C const *p, Directive &d, va_list &ap) {
    for (;; ++p) {
        switch (*p) {
            case C('-'):
                d.flags |= kMinus;
                continue;
            case C('+'):
                d.flags |= kPlus;
                continue;
            case C(' '):
                d.flags |= kSpace;
                continue;
            case C('#'):
                d.flags |= kHash;
                continue;
            case C('0'):
                d.flags |= kZero;
                continue;
            case C('\''):
                d.flags |= kQuote;
                continue;
            default:
                break;
        }
        break;
    }
    if (*p == C('*')) {
        ++p;
        int w = va_arg(ap, int);
        if (w < 0) {
            if (w == INT_MIN) return nullptr;
            d.flags |= kMinus;
            w = -w;
        }
        d.hasWidth = true;
        d.width = w;
    } else if (isDigit(*p)) {
        if (!readCount(p, &d.width)) return nullptr;
        d.hasWidth = true;
    }
    if (*p == C('.')) {
        ++p;
        if (*p == C('*')) {
            ++p;
            int prec = va_arg(ap, int);
            d.hasPrecision = prec >= 0;  // a negative precision counts as none
            d.precision = prec >= 0 ? prec : 0;
        } else {
            if (!readCount(p, &d.precision)) return nullptr;
            d.hasPrecision = true;
        }
    }
    switch (*p) {
        case C('h'):
            ++p;
            if (*p == C('h'))
                ++p, d.size = Size::HH;
            else
                d.size = Size::H;
            break;
        case C('l'):
            ++p;
            if (*p == C('l'))
                ++p, d.size = Size::LL;
            else
                d.size = Size::L;
            break;
        case C('w'):
            ++p, d.size = Size::L, d.sizeW = true;
            break;
        case C('q'):
            ++p, d.size = Size::LL;
            break;
        case C('L'):
            ++p, d.size = Size::LD;
            break;
        case C('j'):
            ++p, d.size = Size::J;
            break;
        case C('z'):
            ++p, d.size = Size::Z;
            break;
        case C('t'):
            ++p, d.size = Size::T;
            break;
        case C('I'):
            if (p[1] == C('6') && p[2] == C('4'))
                p += 3, d.size = Size::LL;
            else if (p[1] == C('3') && p[2] == C('2'))
                p += 3, d.size = Size::None;
            else
                ++p, d.size = Size::Z;
            break;
        default:
            break;
    }
    // Only ASCII letters are conversions; the check keeps a wide unit from aliasing onto one.
    auto const c = static_cast<std::make_unsigned_t<C>>(*p);
    if (c == 0 || c >= 0x80) return nullptr;  // also a format that ends inside the directive
    d.conv = static_cast<char>(c);
    return p + 1;
}

// ---- output ----------------------------------------------------------------------------------

// Appends `n` units of `text` padded to the directive's width with spaces (left or right).
template <class C>
bool appendPadded(std::basic_string<C> &out, size_t start, Directive const &d, C const *text,
                  size_t n) {
    size_t const pad = d.hasWidth && size_t(d.width) > n ? size_t(d.width) - n : 0;
    if (out.size() - start + n + pad > kMaxResult) return false;
    if (!(d.flags & kMinus)) out.append(pad, C(' '));
    out.append(text, n);
    if (d.flags & kMinus) out.append(pad, C(' '));
    return true;
}

// ---- text of the other width -------------------------------------------------------------------

// At most `limit` units of the 8-bit text as wide units: byte for unit in the "C" locale, the
// locale's conversion elsewhere.  False when the text is not valid in the locale.
bool widenText(char const *s, size_t limit, std::wstring &out) {
    if (isClassicCtype()) {
        for (size_t i = 0; i < limit && s[i]; ++i)
            out += static_cast<wchar_t>(static_cast<unsigned char>(s[i]));
        return true;
    }
    std::mbstate_t state{};
    while (out.size() < limit) {
        wchar_t w = 0;
        size_t const r = std::mbrtowc(&w, s, MB_CUR_MAX, &state);
        if (r == 0) break;
        if (r == static_cast<size_t>(-1) || r == static_cast<size_t>(-2)) return false;
        out += w;
        s += r;
    }
    return true;
}

// At most `limit` bytes of the wide text as 8-bit text: unit for byte in the "C" locale (a unit
// above 0xFF fails, as KR_wcstombs does), the locale's conversion elsewhere, never cutting a
// character in the middle.
bool narrowText(wchar_t const *s, size_t limit, std::string &out) {
    if (isClassicCtype()) {
        for (size_t i = 0; out.size() < limit && s[i]; ++i) {
            if (static_cast<unsigned long>(s[i]) > 0xFF) return false;
            out += static_cast<char>(s[i]);
        }
        return true;
    }
    std::mbstate_t state{};
    char buf[MB_LEN_MAX];
    for (; *s; ++s) {
        size_t const r = std::wcrtomb(buf, *s, &state);
        if (r == static_cast<size_t>(-1)) return false;
        if (out.size() + r > limit) break;
        out.append(buf, r);
    }
    return true;
}

template <class C>
size_t textLength(C const *s, size_t limit) {
    size_t n = 0;
    while (n < limit && s[n]) ++n;
    return n;
}

// A text argument of width A into an output of width C.
template <class C, class A>
bool appendText(std::basic_string<C> &out, size_t start, Directive const &d, A const *s) {
    static constexpr A kNull[] = {A('('), A('n'), A('u'), A('l'), A('l'), A(')'), A(0)};
    if (!s) s = kNull;
    size_t const limit = d.hasPrecision ? size_t(d.precision) : SIZE_MAX;
    if constexpr (sizeof(A) == sizeof(C)) {
        return appendPadded(out, start, d, reinterpret_cast<C const *>(s), textLength(s, limit));
    } else {
        std::basic_string<C> converted;
        bool ok;
        if constexpr (sizeof(C) == sizeof(wchar_t))
            ok = widenText(s, limit, converted);
        else
            ok = narrowText(s, limit, converted);
        return ok && appendPadded(out, start, d, converted.data(), converted.size());
    }
}

// One character argument (already promoted) into an output of width C.
template <class C>
bool appendChar(std::basic_string<C> &out, size_t start, Directive const &d, bool wideArg,
                unsigned value) {
    if constexpr (sizeof(C) == sizeof(wchar_t)) {
        wchar_t unit = static_cast<wchar_t>(value);
        if (!wideArg) {
            unsigned char const byte = static_cast<unsigned char>(value);
            if (isClassicCtype()) {
                unit = byte;
            } else {
                wint_t const w = std::btowc(byte);
                if (w == WEOF) return false;
                unit = static_cast<wchar_t>(w);
            }
        }
        return appendPadded(out, start, d, &unit, 1);
    } else {
        if (!wideArg) {
            char const byte = static_cast<char>(value);
            return appendPadded(out, start, d, &byte, 1);
        }
        char buf[MB_LEN_MAX];
        size_t n = 1;
        if (isClassicCtype()) {
            if (value > 0xFF) return false;
            buf[0] = static_cast<char>(value);
        } else {
            std::mbstate_t state{};
            n = std::wcrtomb(buf, static_cast<wchar_t>(value), &state);
            if (n == static_cast<size_t>(-1)) return false;
        }
        return appendPadded(out, start, d, buf, n);
    }
}

// ---- numbers -----------------------------------------------------------------------------------

// "%" flags ["*"] [".*"] size conversion, for the C library; width and precision go as
// arguments, so the directive never holds a number.
template <class C>
void buildDirectiveText(Directive const &d, C *directive) {
    size_t k = 0;
    directive[k++] = C('%');
    if (d.flags & kMinus) directive[k++] = C('-');
    if (d.flags & kPlus) directive[k++] = C('+');
    if (d.flags & kSpace) directive[k++] = C(' ');
    if (d.flags & kHash) directive[k++] = C('#');
    if (d.flags & kZero) directive[k++] = C('0');
    if (d.flags & kQuote) directive[k++] = C('\'');
    if (d.hasWidth) directive[k++] = C('*');
    if (d.hasPrecision) directive[k++] = C('.'), directive[k++] = C('*');
    char const *size = "";
    switch (d.size) {
        case Size::None:
            break;
        case Size::HH:
            size = "hh";
            break;
        case Size::H:
            size = "h";
            break;
        case Size::L:
            size = "l";
            break;
        case Size::LL:
            size = "ll";
            break;
        case Size::LD:
            size = "L";
            break;
        case Size::J:
            size = "j";
            break;
        case Size::Z:
            size = "z";
            break;
        case Size::T:
            size = "t";
            break;
    }
    while (*size) directive[k++] = C(*size++);
    directive[k++] = C(d.conv);
    directive[k] = C(0);
}

template <class V>
int callFormat(char *buf, size_t n, char const *directive, Directive const &d, V v) {
    if (d.hasWidth && d.hasPrecision)
        return std::snprintf(buf, n, directive, d.width, d.precision, v);
    if (d.hasWidth) return std::snprintf(buf, n, directive, d.width, v);
    if (d.hasPrecision) return std::snprintf(buf, n, directive, d.precision, v);
    return std::snprintf(buf, n, directive, v);
}
template <class V>
int callFormat(wchar_t *buf, size_t n, wchar_t const *directive, Directive const &d, V v) {
    if (d.hasWidth && d.hasPrecision)
        return std::swprintf(buf, n, directive, d.width, d.precision, v);
    if (d.hasWidth) return std::swprintf(buf, n, directive, d.width, v);
    if (d.hasPrecision) return std::swprintf(buf, n, directive, d.precision, v);
    return std::swprintf(buf, n, directive, v);
}

// The plain integer directive ("%d", "%lu", "%x": no flags, width or precision), the most
// common of all, is written here without the C library; it needs no locale.  snprintf stays the
// reference: the format fuzz target compares the two over random values.
template <class C, class V>
bool appendPlainInteger(std::basic_string<C> &out, size_t start, Directive const &d, V value) {
    using U = std::make_unsigned_t<V>;
    if (d.size == Size::HH)
        value = std::is_signed_v<V> ? V(static_cast<signed char>(value))
                                    : V(static_cast<unsigned char>(value));
    else if (d.size == Size::H)
        value = std::is_signed_v<V> ? V(static_cast<short>(value))
                                    : V(static_cast<unsigned short>(value));
    bool const negative = std::is_signed_v<V> && value < V(0);
    U magnitude = negative ? U(U(0) - U(value)) : U(value);
    unsigned const base = d.conv == 'o' ? 8 : (d.conv == 'x' || d.conv == 'X') ? 16 : 10;
    char const *const digits = d.conv == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    C buf[32];
    size_t k = sizeof buf / sizeof buf[0];
    do {
        buf[--k] = C(digits[magnitude % base]);
        magnitude /= base;
    } while (magnitude);
    if (negative) buf[--k] = C('-');
    size_t const n = sizeof buf / sizeof buf[0] - k;
    if (out.size() - start + n > kMaxResult) return false;
    out.append(buf + k, n);
    return true;
}

// Numbers are formatted by the narrow snprintf, which measures exactly.  In a wide output the
// ASCII result is widened; a locale whose decimal point or grouping lies beyond ASCII is left to
// swprintf, in a buffer as long as the narrow result (never too small: a wide result has at most
// as many units as the narrow one has bytes), so its -1 can only mean a real failure.
template <class C, class V>
bool appendNumber(std::basic_string<C> &out, size_t start, Directive const &d, V value) {
    if constexpr (std::is_integral_v<V>) {
        if (d.flags == 0 && !d.hasWidth && !d.hasPrecision)
            return appendPlainInteger(out, start, d, value);
    }
    char directive[16];
    buildDirectiveText(d, directive);
    char small[128];
    int const n = callFormat(small, sizeof small, directive, d, value);
    if (n < 0 || out.size() - start + size_t(n) > kMaxResult) return false;
    size_t const at = out.size();
    char const *text = small;
    std::string big;
    if (size_t(n) >= sizeof small) {
        if constexpr (sizeof(C) == 1) {
            out.resize(at + size_t(n) + 1);
            if (callFormat(out.data() + at, size_t(n) + 1, directive, d, value) != n) return false;
            out.resize(at + size_t(n));
            return true;
        } else {
            big.resize(size_t(n) + 1);
            if (callFormat(big.data(), big.size(), directive, d, value) != n) return false;
            text = big.data();
        }
    }
    if constexpr (sizeof(C) == 1) {
        out.append(text, size_t(n));
    } else {
        bool ascii = true;
        for (int i = 0; i < n; ++i) ascii = ascii && static_cast<unsigned char>(text[i]) < 0x80;
        if (ascii) {
            out.resize(at + size_t(n));
            for (int i = 0; i < n; ++i) out[at + size_t(i)] = static_cast<wchar_t>(text[i]);
        } else {
            wchar_t wideDirective[16];
            buildDirectiveText(d, wideDirective);
            out.resize(at + size_t(n) + 1);
            int const m = callFormat(out.data() + at, size_t(n) + 1, wideDirective, d, value);
            if (m < 0) return false;
            out.resize(at + size_t(m));
        }
    }
    return true;
}

template <class C>
bool appendSigned(std::basic_string<C> &out, size_t start, Directive const &d, va_list &ap) {
    switch (d.size) {
        case Size::None:
        case Size::H:
        case Size::HH:
            return appendNumber(out, start, d, va_arg(ap, int));
        case Size::L:
            return appendNumber(out, start, d, va_arg(ap, long));
        case Size::LL:
            return appendNumber(out, start, d, va_arg(ap, long long));
        case Size::J:
            return appendNumber(out, start, d, va_arg(ap, intmax_t));
        case Size::Z:
        case Size::T:
            return appendNumber(out, start, d, va_arg(ap, ptrdiff_t));
        case Size::LD:
            return false;
    }
    return false;
}

template <class C>
bool appendUnsigned(std::basic_string<C> &out, size_t start, Directive const &d, va_list &ap) {
    switch (d.size) {
        case Size::None:
        case Size::H:
        case Size::HH:
            return appendNumber(out, start, d, va_arg(ap, unsigned));
        case Size::L:
            return appendNumber(out, start, d, va_arg(ap, unsigned long));
        case Size::LL:
            return appendNumber(out, start, d, va_arg(ap, unsigned long long));
        case Size::J:
            return appendNumber(out, start, d, va_arg(ap, uintmax_t));
        case Size::Z:
        case Size::T:
            return appendNumber(out, start, d, va_arg(ap, size_t));
        case Size::LD:
            return false;
    }
    return false;
}

// ---- the walk ----------------------------------------------------------------------------------

// The walk over the format; false at the first directive that fails.
template <class C>
bool walkFormat(std::basic_string<C> &out, size_t start, C const *format, va_list &ap) {
    constexpr bool kWideFormat = sizeof(C) == sizeof(wchar_t);
    bool ok = true;
    for (C const *p = format; ok && *p;) {
        C const *literal = p;
        while (*p && *p != C('%')) ++p;
        if (p != literal) {
            size_t const n = size_t(p - literal);
            if (out.size() - start + n > kMaxResult) {
                ok = false;
                break;
            }
            out.append(literal, n);
        }
        if (!*p) break;
        ++p;
        if (*p == C('%')) {
            out += C('%');
            ++p;
            continue;
        }
        Directive d;
        p = parseDirective(p, d, ap);
        if (!p) {
            ok = false;
            break;
        }
        switch (d.conv) {
            case 'd':
            case 'i':
                ok = appendSigned(out, start, d, ap);
                break;
            case 'u':
            case 'o':
            case 'x':
            case 'X':
                ok = appendUnsigned(out, start, d, ap);
                break;
            case 'f':
            case 'F':
            case 'e':
            case 'E':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                if (d.size == Size::LD)
                    ok = appendNumber(out, start, d, va_arg(ap, long double));
                else if (d.size == Size::None || (d.size == Size::L && !d.sizeW))
                    ok = appendNumber(out, start, d, va_arg(ap, double));
                else
                    ok = false;
                break;
            case 'p': {
                // 16 upper-case hex digits whatever the flags; only the width pads.
                void *const v = va_arg(ap, void *);
                char digits[17];
                std::snprintf(digits, sizeof digits, "%016llX",
                              static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(v)));
                C text[16];
                for (int i = 0; i < 16; ++i) text[i] = C(digits[i]);
                ok = d.size == Size::None && appendPadded(out, start, d, text, 16);
                break;
            }
            case 'c':
            case 'C':
            case 's':
            case 'S': {
                bool const upper = d.conv == 'C' || d.conv == 'S';
                bool wideArg;
                if (d.size == Size::H)
                    wideArg = false;
                else if (d.size == Size::L)
                    wideArg = true;
                else if (d.size == Size::None)
                    wideArg = kWideFormat ? !upper : upper;
                else {
                    ok = false;
                    break;
                }
                if (d.conv == 'c' || d.conv == 'C') {
                    unsigned const v =
                        wideArg ? unsigned(va_arg(ap, wint_t)) : unsigned(va_arg(ap, int));
                    ok = appendChar(out, start, d, wideArg, v);
                } else if (wideArg) {
                    ok = appendText(out, start, d, va_arg(ap, wchar_t const *));
                } else {
                    ok = appendText(out, start, d, va_arg(ap, char const *));
                }
                break;
            }
            case '%':
                out += C('%');
                break;
            default:
                // %n (writes through a pointer), positional arguments ("%1$d") and unknown letters.
                ok = false;
                break;
        }
    }
    return ok;
}

// Appends the formatted text to `out`.  On failure `out` is restored to its previous length;
// an allocation failure is a failure like any other (nothing throws across the C interface).
template <class C>
bool formatAppend(std::basic_string<C> &out, C const *format, va_list args) {
    size_t const start = out.size();
    va_list ap;
    va_copy(ap, args);
    bool ok = false;
    try {
        ok = walkFormat(out, start, format, ap);
    } catch (...) {
        ok = false;
    }
    va_end(ap);
    if (!ok) out.resize(start);
    return ok;
}

// Per-thread buffers: the scratch of KR_FormatScratch* and the staging of the buffer functions
// (kept apart so that a buffer call cannot overwrite a scratch result still being read).
thread_local std::wstring t_scratchW;
thread_local std::string t_scratchA;
thread_local std::wstring t_stagingW;
thread_local std::string t_stagingA;

template <class C>
void trim(std::basic_string<C> &s) {
    if (s.capacity() > kKeptScratchUnits) std::basic_string<C>().swap(s);
}

// Formats into `buffer` (emptied first); the length, or -1.
template <class C>
int formatInto(std::basic_string<C> &buffer, C const *format, va_list args) {
    trim(buffer);
    buffer.clear();
    if (!formatAppend(buffer, format, args)) {
        buffer.clear();
        trim(buffer);
        return -1;
    }
    return static_cast<int>(buffer.size());
}

}  // namespace

extern "C" {

int KR_vswprintf(wchar_t *buffer, size_t count, const wchar_t *format, va_list args) {
    if (!buffer || count == 0 || !format) return -1;
    int const n = formatInto(t_stagingW, format, args);
    if (n < 0 || size_t(n) >= count) {
        // Too small or a failed format: an empty, terminated buffer (never a cut result).
        buffer[0] = 0;
        return -1;
    }
    std::wmemcpy(buffer, t_stagingW.data(), size_t(n) + 1);
    return n;
}

int KR_swprintf(wchar_t *buffer, size_t count, const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    int n = KR_vswprintf(buffer, count, format, args);
    va_end(args);
    return n;
}

int KR_vsnprintf(char *buffer, size_t count, const char *format, va_list args) {
    if (!format || (!buffer && count != 0)) return -1;
    int const n = formatInto(t_stagingA, format, args);
    if (count == 0) return n;
    if (n < 0) {
        buffer[0] = 0;
        return -1;
    }
    size_t const copied = size_t(n) < count ? size_t(n) : count - 1;
    std::memcpy(buffer, t_stagingA.data(), copied);
    buffer[copied] = 0;
    return n;
}

int KR_FormatScratchW(const wchar_t **out, const wchar_t *format, va_list args) {
    if (!out) return -1;
    *out = nullptr;
    if (!format) return -1;
    int const n = formatInto(t_scratchW, format, args);
    if (n >= 0) *out = t_scratchW.c_str();
    return n;
}

int KR_FormatScratchA(const char **out, const char *format, va_list args) {
    if (!out) return -1;
    *out = nullptr;
    if (!format) return -1;
    int const n = formatInto(t_scratchA, format, args);
    if (n >= 0) *out = t_scratchA.c_str();
    return n;
}

void KR_FormatScratchTrim(void) {
    trim(t_scratchW);
    trim(t_scratchA);
    trim(t_stagingW);
    trim(t_stagingA);
}

}  // extern "C"
