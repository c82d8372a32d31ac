// CKrStringW: what only the wide string (one UTF-16 unit per wchar_t) has.  The members shared
// with the 8-bit string are in CKrStringT.cpp, the QString members in CKrStringQt.cpp.
#include "strings/CKrStringW.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <locale>
#include <stdexcept>
#include <utility>

#include "platform/KrPlatform.h"
#include "strings/internal/StrOps.h"

// The standard UTF-8 <-> UTF-16 facet is deprecated since C++17 but has no standard
// replacement; its exact acceptance rules are what callers of the UTF-8 members rely on.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <codecvt>

namespace {

using Utf8Utf16Facet = std::codecvt_utf8_utf16<wchar_t>;

// One shared, stateless facet (the conversion state travels in a local mbstate_t); refs = 1 so
// that nothing ever tries to delete it.
Utf8Utf16Facet const &utf8Facet() {
    static Utf8Utf16Facet const facet(1);
    return facet;
}

[[noreturn]] void badConversion() { throw std::range_error("bad conversion"); }

// True when none of the 8 bytes at p has its top bit set.
inline bool eightAscii(unsigned char const *p) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    return (w & 0x8080808080808080ull) == 0;
}

// UTF-8 to UTF-16 with exactly the facet's acceptance rules.  ASCII runs are widened directly;
// every run of bytes >= 0x80 goes through the facet.  A valid multi-byte sequence never contains
// an ASCII byte, so the runs split the input only at sequence boundaries and the result (and any
// failure) is the same as converting the whole text with the facet in one call.
std::wstring utf8ToUtf16(std::string const &utf8) {
    const size_t n = utf8.size();
    std::wstring out(n, L'\0');  // never more units than bytes
    unsigned char const *src = reinterpret_cast<unsigned char const *>(utf8.data());
    wchar_t *dst = out.data();
    size_t i = 0, o = 0;
    while (i < n) {
        while (i + 8 <= n && eightAscii(src + i)) {
            for (int k = 0; k < 8; ++k) dst[o + k] = static_cast<wchar_t>(src[i + k]);
            i += 8;
            o += 8;
        }
        while (i < n && src[i] < 0x80) dst[o++] = static_cast<wchar_t>(src[i++]);
        if (i == n) break;
        size_t j = i;
        while (j < n && src[j] >= 0x80) ++j;
        std::mbstate_t state{};
        char const *fromNext = nullptr;
        wchar_t *toNext = nullptr;
        const auto result = utf8Facet().in(state, utf8.data() + i, utf8.data() + j, fromNext,
                                           dst + o, dst + n, toNext);
        if (result != std::codecvt_base::ok || fromNext != utf8.data() + j) badConversion();
        o = static_cast<size_t>(toNext - dst);
        i = j;
    }
    out.resize(o);
    return out;
}

// UTF-16 to UTF-8 likewise: ASCII units directly, runs of other units through the facet.
std::string utf16ToUtf8(std::wstring const &text) {
    const size_t n = text.size();
    std::string out;
    out.resize(n);
    wchar_t const *src = text.data();
    size_t i = 0, o = 0;
    while (i < n) {
        while (i < n && static_cast<uint32_t>(src[i]) < 0x80) {
            if (o == out.size()) out.resize(out.size() + (n - i));
            out[o++] = static_cast<char>(src[i++]);
        }
        if (i == n) break;
        size_t j = i;
        while (j < n && static_cast<uint32_t>(src[j]) >= 0x80) ++j;
        // At most three bytes per unit (a surrogate pair: four bytes for two units).
        const size_t room = 3 * (j - i) + (n - j);
        if (out.size() - o < room) out.resize(o + room);
        std::mbstate_t state{};
        wchar_t const *fromNext = nullptr;
        char *toNext = nullptr;
        char *base = out.data();
        const auto result =
            utf8Facet().out(state, src + i, src + j, fromNext, base + o, base + out.size(), toNext);
        if (result != std::codecvt_base::ok || fromNext != src + j) badConversion();
        o = static_cast<size_t>(toNext - base);
        i = j;
    }
    out.resize(o);
    return out;
}

}  // namespace

#pragma GCC diagnostic pop

CKrStringW::CKrStringW(CKrStringW const &other) = default;
CKrStringW::CKrStringW(CKrStringW &&other) noexcept = default;
CKrStringW::CKrStringW(std::wstring const &text) : CKrStringT(text) {}
CKrStringW::CKrStringW(std::wstring &&text) noexcept : CKrStringT(std::move(text)) {}
CKrStringW::CKrStringW(char const *text, size_t capacity) : CKrStringT(text, capacity) {}
CKrStringW::CKrStringW(wchar_t const *text, size_t capacity) : CKrStringT(text, capacity) {}
CKrStringW::~CKrStringW() = default;

CKrStringW const &CKrStringW::operator=(char c) {
    const char src[2] = {c, 0};
    m_str = orvik::detail::localeConvert(src);
    return *this;
}

int64_t CKrStringW::CopyToBufferA(char *buffer, int size) {
    if (!buffer || size <= 0) return 0;
    const size_t limit = static_cast<size_t>(size);
    const size_t n = std::min(limit, m_str.size());
    for (size_t i = 0; i < n; ++i) {
        const uint32_t u = static_cast<uint32_t>(m_str[i]);
        buffer[i] = u < 256 ? static_cast<char>(u) : '?';
    }
    const size_t end = std::min(m_str.size(), limit - 1);
    buffer[end] = '\0';
    return static_cast<int64_t>(end);
}

size_t CKrStringW::CopyToBufferW(wchar_t *buffer, int size) {
    if (size <= 0) return 0;
    return copyOut(buffer, static_cast<size_t>(size));
}

int CKrStringW::Count(wchar_t c) const {
    return static_cast<int>(std::count(m_str.begin(), m_str.end(), c));
}

void CKrStringW::Clear() { m_str.clear(); }

// ---- UTF-8 ------------------------------------------------------------------------------

CKrStringW CKrStringW::FromStdStringUtf8(std::string const &utf8) {
    CKrStringW r;
    r.m_str = utf8ToUtf16(utf8);
    return r;
}

std::string CKrStringW::ToStdStringUtf8() { return utf16ToUtf8(m_str); }
