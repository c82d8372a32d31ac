// printf with the Windows conventions on glibc.  Formats are rewritten into glibc's dialect
// before the C library formats them:
//   wide formats:   %s %c -> %ls %lc (wide),  %hs %hc %S %C -> %s %c (narrow)
//   narrow formats: %S %C %ws -> %ls %lc (wide), %hs %hc -> %s %c
//   both:           %I64 -> %ll, %I32 -> (int), %I -> %z, %p -> %016llX
// Rewriting happens once per call in a per-thread buffer; formats with nothing to rewrite are
// passed through untouched.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"

namespace {

template <class C>
bool isFlag(C c) {
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0' || c == '\'';
}
template <class C>
bool isDigit(C c) {
    return c >= '0' && c <= '9';
}

// Rewrites `fmt` into `out`.  Returns false when nothing had to change (out is then unused).
template <class C>
bool translate(const C *fmt, std::basic_string<C> &out, bool wideFormat) {
    out.clear();
    bool changed = false;
    const C *p = fmt;
    const C *copied = fmt;  // start of the not yet copied run
    auto flush = [&](const C *upTo) {
        out.append(copied, static_cast<size_t>(upTo - copied));
    };
    while (*p) {
        if (*p != '%') {
            ++p;
            continue;
        }
        const C *directive = p++;  // the "%" that starts this conversion
        if (*p == '%') {
            ++p;
            continue;
        }
        const C *flagsStart = p;
        while (isFlag(*p)) ++p;
        bool star = false;
        if (*p == '*') {
            star = true;
            ++p;
        } else {
            while (isDigit(*p)) ++p;
        }
        if (*p == '.') {
            ++p;
            if (*p == '*') {
                star = true;
                ++p;
            } else {
                while (isDigit(*p)) ++p;
            }
        }
        const C *modStart = p;
        // Length modifiers: Windows I64/I32/I/w and the standard ones.
        std::basic_string<C> mod;
        bool modChanged = false;
        char size = 0;  // 'h', 'l', 'w' for the string/character conversions
        for (;;) {
            if (p[0] == 'I' && p[1] == '6' && p[2] == '4') {
                mod += static_cast<C>('l');
                mod += static_cast<C>('l');
                p += 3;
                modChanged = true;
            } else if (p[0] == 'I' && p[1] == '3' && p[2] == '2') {
                p += 3;
                modChanged = true;
            } else if (p[0] == 'I') {
                mod += static_cast<C>('z');
                p += 1;
                modChanged = true;
            } else if (*p == 'h' || *p == 'l' || *p == 'w' || *p == 'L' || *p == 'j' ||
                       *p == 'z' || *p == 't' || *p == 'q') {
                if (*p == 'h' || *p == 'l' || *p == 'w') size = static_cast<char>(*p);
                if (*p == 'w') {
                    mod += static_cast<C>('l');
                    modChanged = true;
                } else {
                    mod += *p;
                }
                ++p;
            } else {
                break;
            }
        }
        const C conv = *p;
        if (conv == 0) break;  // truncated conversion: let the C library judge it
        ++p;
        if (conv == 's' || conv == 'c' || conv == 'S' || conv == 'C') {
            const bool upper = (conv == 'S' || conv == 'C');
            bool wideArg;
            if (size == 'h') wideArg = false;
            else if (size == 'l' || size == 'w') wideArg = true;
            else wideArg = wideFormat ? !upper : upper;
            const C lower = (conv == 'S' || conv == 's') ? C('s') : C('c');
            flush(flagsStart);
            out.append(flagsStart, static_cast<size_t>(modStart - flagsStart));
            if (wideArg) out += static_cast<C>('l');
            out += lower;
            copied = p;
            changed = true;
        } else if (conv == 'p' && !star) {
            flush(directive);
            static const char pform[] = "%016llX";
            for (const char *q = pform; *q; ++q) out += static_cast<C>(*q);
            copied = p;
            changed = true;
        } else if (modChanged) {
            flush(modStart);
            out += mod;
            out += conv;
            copied = p;
            changed = true;
        }
    }
    if (!changed) return false;
    const C *end = copied;
    while (*end) ++end;
    flush(end);
    return true;
}

thread_local std::wstring t_wideFormat;
thread_local std::string t_narrowFormat;
thread_local std::vector<wchar_t> t_wideScratch;
thread_local std::vector<char> t_narrowScratch;

const wchar_t *wideFormat(const wchar_t *fmt) {
    return translate(fmt, t_wideFormat, true) ? t_wideFormat.c_str() : fmt;
}
const char *narrowFormat(const char *fmt) {
    return translate(fmt, t_narrowFormat, false) ? t_narrowFormat.c_str() : fmt;
}

constexpr size_t kMaxScratchUnits = size_t(1) << 30;

}  // namespace

extern "C" {

int KR_vswprintf(wchar_t *buffer, size_t count, const wchar_t *format, va_list args) {
    if (!buffer || count == 0 || !format) return -1;
    return std::vswprintf(buffer, count, wideFormat(format), args);
}

int KR_swprintf(wchar_t *buffer, size_t count, const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    int n = KR_vswprintf(buffer, count, format, args);
    va_end(args);
    return n;
}

int KR_vsnprintf(char *buffer, size_t count, const char *format, va_list args) {
    if (!format) return -1;
    return std::vsnprintf(buffer, count, narrowFormat(format), args);
}

int KR_FormatScratchW(const wchar_t **out, const wchar_t *format, va_list args) {
    *out = nullptr;
    if (!format) return -1;
    const wchar_t *fmt = wideFormat(format);
    std::vector<wchar_t> &buf = t_wideScratch;
    if (buf.size() < 256) buf.resize(256);
    for (;;) {
        va_list copy;
        va_copy(copy, args);
        errno = 0;
        int n = std::vswprintf(buf.data(), buf.size(), fmt, copy);
        va_end(copy);
        if (n >= 0) {
            *out = buf.data();
            return n;
        }
        // glibc answers -1 both for "too small" and for a real failure; only growth tells them
        // apart.  An encoding error will not go away with a larger buffer.
        if (errno == EILSEQ || buf.size() >= kMaxScratchUnits) return -1;
        buf.resize(buf.size() * 2);
    }
}

int KR_FormatScratchA(const char **out, const char *format, va_list args) {
    *out = nullptr;
    if (!format) return -1;
    const char *fmt = narrowFormat(format);
    std::vector<char> &buf = t_narrowScratch;
    if (buf.size() < 256) buf.resize(256);
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(buf.data(), buf.size(), fmt, copy);
    va_end(copy);
    if (n < 0) return -1;
    if (static_cast<size_t>(n) >= buf.size()) {
        buf.resize(static_cast<size_t>(n) + 1);
        va_copy(copy, args);
        n = std::vsnprintf(buf.data(), buf.size(), fmt, copy);
        va_end(copy);
        if (n < 0) return -1;
    }
    *out = buf.data();
    return n;
}

}  // extern "C"
