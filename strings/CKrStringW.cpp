// CKrStringW: the wide string (one UTF-16 unit per wchar_t).  The algorithms shared with the
// 8-bit string live in KrStringOps.h; the QString members are in CKrStringQt.cpp.
#include "strings/CKrStringW.h"

#include <cstring>
#include <cwchar>
#include <locale>
#include <stdexcept>
#include <utility>

#include "platform/KrPlatform.h"
#include "strings/KrStringOps.h"

// The standard UTF-8 <-> UTF-16 facet is deprecated since C++17 but has no standard
// replacement; its exact acceptance rules are what callers of the UTF-8 members rely on.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <codecvt>

namespace ops = kr_strops;

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

// ---- construction and assignment --------------------------------------------------------

CKrStringW::CKrStringW() = default;

CKrStringW::CKrStringW(CKrStringW const &other) : m_str(other.m_str.c_str()) {}

CKrStringW::CKrStringW(CKrStringW &&other) noexcept : m_str(std::move(other.m_str)) {
    // Same result as the copy: the units up to the first zero.
    const size_t n = std::wcslen(m_str.c_str());
    if (n != m_str.size()) m_str.resize(n);
    other.m_str.clear();
}

CKrStringW::CKrStringW(std::wstring const &text) : m_str(text) {}
CKrStringW::CKrStringW(std::wstring &&text) noexcept : m_str(std::move(text)) {}

CKrStringW::CKrStringW(char const *text, size_t capacity) {
    if (capacity && capacity <= m_str.max_size()) m_str.reserve(capacity);
    if (text) m_str.append(ops::localeToWide(text));
}

CKrStringW::CKrStringW(wchar_t const *text, size_t capacity) {
    if (capacity && capacity <= m_str.max_size()) m_str.reserve(capacity);
    if (text) m_str.append(text);
}

CKrStringW::CKrStringW(size_t capacity) { m_str.reserve(capacity); }

CKrStringW::~CKrStringW() = default;

CKrStringW const &CKrStringW::operator=(CKrStringW const &other) {
    if (this == &other || m_str.c_str() == other.m_str.c_str()) return *this;
    m_str.assign(other.m_str.c_str());
    return *this;
}

CKrStringW const &CKrStringW::operator=(CKrStringW &&other) noexcept {
    if (this == &other) return *this;
    m_str = std::move(other.m_str);
    const size_t n = std::wcslen(m_str.c_str());
    if (n != m_str.size()) m_str.resize(n);
    other.m_str.clear();
    return *this;
}

CKrStringW const &CKrStringW::operator=(std::wstring const &text) {
    m_str = text;
    return *this;
}

CKrStringW const &CKrStringW::operator=(std::wstring &&text) noexcept {
    m_str = std::move(text);
    return *this;
}

CKrStringW const &CKrStringW::operator=(char c) {
    const char src[2] = {c, 0};
    m_str = ops::localeToWide(src);
    return *this;
}

CKrStringW const &CKrStringW::operator=(char const *text) {
    m_str = ops::localeToWide(text);
    return *this;
}

CKrStringW const &CKrStringW::operator=(wchar_t const *text) {
    if (!text) {
        m_str.clear();
    } else if (text != m_str.c_str()) {
        m_str.assign(text);  // copes with text pointing inside the string
    }
    return *this;
}

CKrStringW const &CKrStringW::operator=(wchar_t c) {
    m_str.assign(1, c);
    return *this;
}

// ---- access -----------------------------------------------------------------------------

size_t CKrStringW::GetBufferLength() const { return m_str.capacity(); }
CKrStringW::operator wchar_t const *() const { return m_str.c_str(); }

wchar_t CKrStringW::operator[](size_t index) const { return GetAt(index); }

wchar_t CKrStringW::GetAt(size_t index) const {
    return index < m_str.size() ? m_str[index] : L'\0';
}

wchar_t CKrStringW::GetLastChar() const { return m_str.empty() ? L'\0' : m_str.back(); }

int CKrStringW::SetAt(size_t index, wchar_t c) {
    if (index >= m_str.size()) return -6;
    m_str[index] = c;
    return 0;
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
    return ops::copyToBuffer(m_str, buffer, static_cast<size_t>(size));
}

int CKrStringW::Count(wchar_t c) const {
    return static_cast<int>(std::count(m_str.begin(), m_str.end(), c));
}

// ---- search -----------------------------------------------------------------------------
// A negative int start is taken as unsigned, i.e. beyond the end: nothing is found.

int CKrStringW::Find(wchar_t c, size_t start) const { return ops::findChar(m_str, c, start); }

int CKrStringW::Find(wchar_t const *pattern, int start) const {
    return ops::toIntPos(ops::findText(m_str, pattern, static_cast<size_t>(static_cast<int64_t>(start))));
}

int CKrStringW::FindNoCase(wchar_t c, int start) const {
    return ops::findCharNoCase(m_str, c, static_cast<size_t>(static_cast<int64_t>(start)));
}

int CKrStringW::FindNoCase(wchar_t const *pattern, int start) const {
    return ops::toIntPos(
        ops::findTextNoCase(m_str, pattern, static_cast<size_t>(static_cast<int64_t>(start))));
}

int CKrStringW::FindOneOf(wchar_t const *set, size_t start) const {
    return ops::findOneOf(m_str, set, start);
}

int CKrStringW::ReverseFind(wchar_t c, int start) const {
    return ops::reverseFind(m_str, c, static_cast<size_t>(static_cast<int64_t>(start)), false);
}

int CKrStringW::ReverseFindNoCase(wchar_t c, int start) const {
    return ops::reverseFind(m_str, c, static_cast<size_t>(static_cast<int64_t>(start)), true);
}

// ---- modification -----------------------------------------------------------------------

void CKrStringW::operator+=(CKrStringW const &text) { m_str.append(text.m_str); }
void CKrStringW::operator+=(char const *text) {
    if (text) m_str.append(ops::localeToWide(text));
}
void CKrStringW::operator+=(wchar_t const *text) {
    if (text) m_str.append(text);
}
void CKrStringW::operator+=(wchar_t c) { m_str.push_back(c); }

CKrStringW &CKrStringW::AddChar(char c) {
    const char src[2] = {c, 0};
    m_str.append(ops::localeToWide(src));
    return *this;
}

CKrStringW &CKrStringW::AddChar(wchar_t c) {
    m_str.push_back(c);
    return *this;
}

void CKrStringW::AddChars(wchar_t const *text, int count) {
    if (!text) return;
    if (count < 0)
        m_str.append(text);
    else
        m_str.append(text, static_cast<size_t>(count));
}

CKrStringW &CKrStringW::AddString(CKrStringW const &text) {
    m_str.append(text.m_str);
    return *this;
}

CKrStringW &CKrStringW::AddString(char const *text) {
    if (text) m_str.append(ops::localeToWide(text));
    return *this;
}

CKrStringW &CKrStringW::AddString(wchar_t const *text) {
    if (text) m_str.append(text);
    return *this;
}

CKrStringW &CKrStringW::AddInt(int value) {
    ops::appendInt(m_str, value);
    return *this;
}

CKrStringW &CKrStringW::AddDouble(double value, int digits) {
    ops::appendDouble(m_str, value, digits);
    return *this;
}

CKrStringW &CKrStringW::Format(wchar_t const *format, ...) {
    va_list args;
    va_start(args, format);
    ops::formatInto(m_str, format, args, false);
    va_end(args);
    return *this;
}

CKrStringW &CKrStringW::AppendFormat(wchar_t const *format, ...) {
    va_list args;
    va_start(args, format);
    ops::formatInto(m_str, format, args, true);
    va_end(args);
    return *this;
}

CKrStringW &CKrStringW::FormatV(wchar_t const *format, va_list args) {
    ops::formatInto(m_str, format, args, false);
    return *this;
}

CKrStringW &CKrStringW::Insert(wchar_t const *text, size_t pos, int count) {
    KR_ASSERTW(text != nullptr, L"strings/CKrStringW", L"Error: Insert needs a text");
    if (text) ops::insertText(m_str, text, pos, count);
    return *this;
}

CKrStringW &CKrStringW::Delete(size_t pos, int count) {
    ops::deleteAt(m_str, pos, count);
    return *this;
}

// A negative n widens to a huge unsigned count: the whole string goes.
CKrStringW &CKrStringW::DeleteLeft(int n) {
    ops::deleteLeft(m_str, static_cast<size_t>(static_cast<int64_t>(n)));
    return *this;
}

CKrStringW &CKrStringW::DeleteRight(int n) {
    ops::deleteRight(m_str, static_cast<size_t>(static_cast<int64_t>(n)));
    return *this;
}

void CKrStringW::TruncateAt(size_t n) {
    if (n < m_str.size()) m_str.resize(n);
}

int CKrStringW::Remove(wchar_t c) { return static_cast<int>(ops::removeAll(m_str, c)); }

int CKrStringW::Replace(wchar_t const *old, wchar_t const *replacement) {
    return static_cast<int>(ops::replaceAll(m_str, old, replacement, false));
}

int CKrStringW::ReplaceNoCase(wchar_t const *old, wchar_t const *replacement) {
    return static_cast<int>(ops::replaceAll(m_str, old, replacement, true));
}

// Negative positions or counts are taken as unsigned and so fall outside the string: no-op.
void CKrStringW::ReplaceAt(int pos, int count, wchar_t const *text) {
    ops::replaceAt(m_str, static_cast<size_t>(static_cast<int64_t>(pos)),
                   static_cast<size_t>(static_cast<int64_t>(count)), text);
}

CKrStringW &CKrStringW::Trim(wchar_t const *set) {
    ops::trimRight(m_str, set);
    ops::trimLeft(m_str, set);
    return *this;
}

CKrStringW &CKrStringW::TrimLeft(wchar_t const *set) {
    ops::trimLeft(m_str, set);
    return *this;
}

CKrStringW &CKrStringW::TrimRight(wchar_t const *set) {
    ops::trimRight(m_str, set);
    return *this;
}

CKrStringW &CKrStringW::MakeLower() {
    ops::makeLower(m_str);
    return *this;
}

CKrStringW &CKrStringW::MakeUpper() {
    ops::makeUpper(m_str);
    return *this;
}

CKrStringW &CKrStringW::EndInSlash() {
    ops::endInSlash(m_str);
    return *this;
}

CKrStringW &CKrStringW::Empty() {
    m_str.clear();
    return *this;
}

void CKrStringW::Reset() { m_str.clear(); }
void CKrStringW::Clear() { m_str.clear(); }

void CKrStringW::Preallocate(int capacity) {
    if (capacity > 0 && static_cast<size_t>(capacity) <= m_str.max_size()) m_str.reserve(static_cast<size_t>(capacity));
}

// ---- extraction -------------------------------------------------------------------------

CKrStringW CKrStringW::Left(size_t n) {
    CKrStringW r;
    r.m_str.assign(m_str, 0, std::min(n, m_str.size()));
    return r;
}

CKrStringW CKrStringW::Right(size_t n) {
    CKrStringW r;
    const size_t k = std::min(n, m_str.size());
    r.m_str.assign(m_str, m_str.size() - k, k);
    return r;
}

CKrStringW CKrStringW::Mid(size_t start, int count) {
    CKrStringW r;
    r.m_str = ops::mid(m_str, start, count);
    return r;
}

// ---- comparison -------------------------------------------------------------------------

int CKrStringW::Compare(wchar_t const *text) const { return ops::compareWith(m_str, text); }

int CKrStringW::CompareNoCase(wchar_t const *text) const {
    if (!text) return m_str.empty() ? 0 : -1;  // same null rule as Compare
    return ops::signOf(KR_wcsicmp(m_str.c_str(), text));
}

bool CKrStringW::Equals(CKrStringW const &text) const {
    return ops::compareRaw(m_str.c_str(), text.m_str.c_str()) == 0;
}
bool CKrStringW::Equals(char const *text) const {
    if (!text) return Compare(nullptr) == 0;
    return ops::compareRaw(m_str.c_str(), ops::localeToWide(text).c_str()) == 0;
}
bool CKrStringW::Equals(wchar_t const *text) const { return Compare(text) == 0; }

bool CKrStringW::Less(CKrStringW const &text) const {
    return ops::compareRaw(m_str.c_str(), text.m_str.c_str()) < 0;
}
bool CKrStringW::Less(char const *text) const {
    if (!text) return Compare(nullptr) < 0;
    return ops::compareRaw(m_str.c_str(), ops::localeToWide(text).c_str()) < 0;
}
bool CKrStringW::Less(wchar_t const *text) const { return Compare(text) < 0; }

bool CKrStringW::LessEqual(CKrStringW const &text) const {
    return ops::compareRaw(m_str.c_str(), text.m_str.c_str()) <= 0;
}
bool CKrStringW::LessEqual(char const *text) const {
    if (!text) return Compare(nullptr) <= 0;
    return ops::compareRaw(m_str.c_str(), ops::localeToWide(text).c_str()) <= 0;
}
bool CKrStringW::LessEqual(wchar_t const *text) const { return Compare(text) <= 0; }

// ---- UTF-8 ------------------------------------------------------------------------------

CKrStringW CKrStringW::FromStdStringUtf8(std::string const &utf8) {
    CKrStringW r;
    r.m_str = utf8ToUtf16(utf8);
    return r;
}

std::string CKrStringW::ToStdStringUtf8() { return utf16ToUtf8(m_str); }

// ---- free operators ---------------------------------------------------------------------

namespace {
inline int cmpWW(CKrStringW const &a, CKrStringW const &b) {
    return ops::compareRaw(a.GetString(), b.GetString());
}
}  // namespace

// With the pointer on the left the string's own comparison is reversed, so the null rule holds
// from both sides (nullptr < s is always false).
bool operator==(CKrStringW const &a, CKrStringW const &b) { return cmpWW(a, b) == 0; }
bool operator==(CKrStringW const &a, wchar_t const *b) { return a.Compare(b) == 0; }
bool operator==(wchar_t const *a, CKrStringW const &b) { return b.Compare(a) == 0; }
bool operator!=(CKrStringW const &a, CKrStringW const &b) { return cmpWW(a, b) != 0; }
bool operator!=(CKrStringW const &a, wchar_t const *b) { return a.Compare(b) != 0; }
bool operator!=(wchar_t const *a, CKrStringW const &b) { return b.Compare(a) != 0; }
bool operator<(CKrStringW const &a, CKrStringW const &b) { return cmpWW(a, b) < 0; }
bool operator<(CKrStringW const &a, wchar_t const *b) { return a.Compare(b) < 0; }
bool operator<(wchar_t const *a, CKrStringW const &b) { return b.Compare(a) > 0; }
bool operator<=(CKrStringW const &a, CKrStringW const &b) { return cmpWW(a, b) <= 0; }
bool operator<=(CKrStringW const &a, wchar_t const *b) { return a.Compare(b) <= 0; }
bool operator<=(wchar_t const *a, CKrStringW const &b) { return b.Compare(a) >= 0; }
bool operator>(CKrStringW const &a, CKrStringW const &b) { return cmpWW(a, b) > 0; }
bool operator>(CKrStringW const &a, wchar_t const *b) { return a.Compare(b) > 0; }
bool operator>(wchar_t const *a, CKrStringW const &b) { return b.Compare(a) < 0; }
bool operator>=(CKrStringW const &a, CKrStringW const &b) { return cmpWW(a, b) >= 0; }
bool operator>=(CKrStringW const &a, wchar_t const *b) { return a.Compare(b) >= 0; }
bool operator>=(wchar_t const *a, CKrStringW const &b) { return b.Compare(a) <= 0; }

CKrStringW operator+(CKrStringW const &a, CKrStringW const &b) {
    CKrStringW r(a.m_str.size() + b.m_str.size());
    r.m_str.append(a.m_str).append(b.m_str);
    return r;
}

CKrStringW operator+(CKrStringW const &a, wchar_t const *b) {
    const size_t nb = b ? std::wcslen(b) : 0;
    CKrStringW r(a.m_str.size() + nb);
    r.m_str.append(a.m_str).append(b ? b : L"", nb);
    return r;
}

CKrStringW operator+(CKrStringW const &a, wchar_t b) {
    CKrStringW r(a.m_str.size() + 1);
    r.m_str.append(a.m_str).push_back(b);
    return r;
}

CKrStringW operator+(wchar_t const *a, CKrStringW const &b) {
    const size_t na = a ? std::wcslen(a) : 0;
    CKrStringW r(na + b.m_str.size());
    r.m_str.append(a ? a : L"", na).append(b.m_str);
    return r;
}

CKrStringW operator+(wchar_t a, CKrStringW const &b) {
    CKrStringW r(b.m_str.size() + 1);
    r.m_str.push_back(a);
    r.m_str.append(b.m_str);
    return r;
}

// The result takes the temporary's buffer directly (not through the move constructor, which
// would stop at an embedded zero), then grows it at most once.
CKrStringW operator+(CKrStringW &&a, CKrStringW const &b) {
    CKrStringW r(size_t(0));
    if (&a == &b) {  // std::move(s) + s: both halves come from the same buffer
        r.m_str.reserve(2 * a.m_str.size());
        r.m_str.append(a.m_str).append(a.m_str);
    } else {
        r.m_str.swap(a.m_str);
        r.m_str.append(b.m_str);
    }
    return r;  // one named result, so the return never goes through the move constructor
}

CKrStringW operator+(CKrStringW &&a, wchar_t const *b) {
    CKrStringW r(size_t(0));
    r.m_str.swap(a.m_str);
    if (b) r.m_str.append(b);
    return r;
}

CKrStringW operator+(CKrStringW &&a, wchar_t b) {
    CKrStringW r(size_t(0));
    r.m_str.swap(a.m_str);
    r.m_str.push_back(b);
    return r;
}
