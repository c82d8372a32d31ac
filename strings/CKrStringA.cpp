// CKrStringA: what only the 8-bit string has.  The members shared with the wide string are in
// CKrStringT.cpp, the QString members in CKrStringQt.cpp.
#include "strings/CKrStringA.h"

#include <cstring>

#include "platform/KrPlatform.h"
#include "strings/CKrAlloc.h"

CKrStringA::CKrStringA(CKrStringA const &other) = default;
CKrStringA::CKrStringA(CKrStringA &&other) noexcept = default;
CKrStringA::CKrStringA(std::string const &text) : CKrStringT(text) {}
CKrStringA::CKrStringA(std::string &&text) noexcept : CKrStringT(std::move(text)) {}
CKrStringA::CKrStringA(char const *text, size_t capacity) : CKrStringT(text, capacity) {}
CKrStringA::CKrStringA(wchar_t const *text, size_t capacity) : CKrStringT(text, capacity) {}
CKrStringA::~CKrStringA() = default;

CKrStringA const &CKrStringA::operator=(wchar_t c) {
    // The one conversion that sizes its output with a measuring call first.
    const wchar_t src[2] = {c, 0};
    const size_t needed = KR_wcstombs(nullptr, src, 0);
    if (needed == static_cast<size_t>(-1) || needed == 0) {
        m_str.clear();
        return *this;
    }
    std::string out(needed, '\0');
    KR_wcstombs(out.data(), src, needed);
    out.resize(std::strlen(out.c_str()));
    m_str.swap(out);
    return *this;
}

size_t CKrStringA::CopyToBufferA(char *buffer, size_t size) { return copyOut(buffer, size); }

size_t CKrStringA::CopyToBufferW(wchar_t *buffer, size_t size) {
    if (!buffer || size == 0) return 0;
    return KR_mbstowcs(buffer, m_str.c_str(), size);
}

CKrStringA CKrStringA::Utf8FromUtf16(wchar_t const *text) {
    CKrStringA r;
    const int size = KR_WChar2Char(text, -1, nullptr, 0, true);
    if (size <= 0) return r;
    char *buffer =
        static_cast<char *>(CKrAlloc::Alloc(CKrAlloc::kZeroFill, static_cast<size_t>(size), 16));
    if (!buffer) return r;
    KR_WChar2Char(text, -1, buffer, size, true);
    r.m_str.assign(buffer, strnlen(buffer, static_cast<size_t>(size)));
    CKrAlloc::Free(buffer);
    return r;
}

int CKrStringA::convert_to_mb(wchar_t const *src, int srcLength, char *dst, int64_t dstSize,
                              bool flag) {
    const int n = KR_WChar2Char(src, srcLength, dst, dstSize + 1, flag);
    if (n == 0) return -2;
    if (srcLength < 1 || dst == nullptr) return n - 1;
    dst[dstSize] = '\0';
    return n;
}
