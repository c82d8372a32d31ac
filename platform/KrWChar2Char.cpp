// KR_WChar2Char: UTF-16 to UTF-8 or Latin-1, with the measuring and buffer-size contract that
// the string classes rely on.
#include "platform/KrPlatform.h"
#include "platform/internal/KrUnicode.h"

extern "C" int KR_WChar2Char(const wchar_t *src, int srcLength, char *dst, kr_int64 dstSize,
                             bool utf8) {
    if (!src || srcLength < -1 || dstSize < 0) return 0;
    size_t count = 0;
    if (srcLength == -1) {
        while (src[count]) ++count;
        ++count;  // the terminator is part of the input and of the output
    } else {
        count = static_cast<size_t>(srcLength);
    }
    const bool measuring = (dst == nullptr || dstSize == 0);
    size_t needed = 0;
    if (utf8) {
        needed = orvik::platform::encodeUtf8(src, count, [](char) {});
    } else {
        needed = count;
    }
    if (needed > 0x7FFFFFFFu) return 0;
    if (measuring) return static_cast<int>(needed);
    if (static_cast<kr_uint64>(dstSize) < needed) return 0;
    if (utf8) {
        size_t at = 0;
        orvik::platform::encodeUtf8(src, count, [&](char c) { dst[at++] = c; });
    } else {
        for (size_t i = 0; i < count; ++i) {
            unsigned long u = static_cast<unsigned long>(src[i]);
            dst[i] = u < 0x100 ? static_cast<char>(u) : '?';
        }
    }
    return static_cast<int>(needed);
}
