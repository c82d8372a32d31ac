// mbstowcs / wcstombs with the Windows runtime's "C" locale behaviour (byte for unit) and the
// case-insensitive comparisons.
#include <langinfo.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwctype>

#include "platform/KrPlatform.h"
#include "platform/internal/LocaleCtype.h"

bool orvik::detail::isClassicCtype() {
    const char *codeset = nl_langinfo(CODESET);
    return codeset && std::strcmp(codeset, "ANSI_X3.4-1968") == 0;
}

using orvik::detail::isClassicCtype;

extern "C" {

size_t KR_mbstowcs(wchar_t *dst, const char *src, size_t count) {
    if (!src) return static_cast<size_t>(-1);
    if (!isClassicCtype()) return std::mbstowcs(dst, src, count);
    size_t length = std::strlen(src);
    if (!dst) return length;
    size_t i = 0;
    for (; i < count && i < length; ++i) dst[i] = static_cast<unsigned char>(src[i]);
    if (i < count) dst[i] = 0;
    return i;
}

size_t KR_wcstombs(char *dst, const wchar_t *src, size_t count) {
    if (!src) return static_cast<size_t>(-1);
    if (!isClassicCtype()) return std::wcstombs(dst, src, count);
    size_t i = 0;
    for (;; ++i) {
        wchar_t u = src[i];
        if (u == 0) break;
        if (static_cast<unsigned long>(u) > 0xFF) return static_cast<size_t>(-1);
        if (dst) {
            if (i >= count) break;
            dst[i] = static_cast<char>(u);
        }
    }
    if (dst && i < count) dst[i] = 0;
    return i;
}

int KR_stricmp(const char *a, const char *b) {
    const unsigned char *p = reinterpret_cast<const unsigned char *>(a ? a : "");
    const unsigned char *q = reinterpret_cast<const unsigned char *>(b ? b : "");
    for (;; ++p, ++q) {
        int x = std::tolower(*p), y = std::tolower(*q);
        if (x != y || x == 0) return x - y;
    }
}

int KR_wcsicmp(const wchar_t *a, const wchar_t *b) {
    const wchar_t *p = a ? a : L"";
    const wchar_t *q = b ? b : L"";
    for (;; ++p, ++q) {
        wint_t x = std::towlower(static_cast<wint_t>(*p)),
               y = std::towlower(static_cast<wint_t>(*q));
        if (x != y || x == 0) return static_cast<int>(x) - static_cast<int>(y);
    }
}

}  // extern "C"
