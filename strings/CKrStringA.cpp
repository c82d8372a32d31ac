// CKrStringA: the 8-bit string.  The algorithms shared with the wide string live in
// KrStringOps.h; the QString members are in CKrStringQt.cpp.
#include "strings/CKrStringA.h"

#include <cstring>
#include <utility>

#include "platform/KrPlatform.h"
#include "strings/CKrAlloc.h"
#include "strings/KrStringOps.h"

namespace ops = kr_strops;

// ---- construction and assignment --------------------------------------------------------

CKrStringA::CKrStringA() = default;

CKrStringA::CKrStringA(CKrStringA const &other) : m_str(other.m_str.c_str()) {}

CKrStringA::CKrStringA(CKrStringA &&other) noexcept : m_str(std::move(other.m_str)) {
    // Same result as the copy: the characters up to the first zero.
    const size_t n = std::strlen(m_str.c_str());
    if (n != m_str.size()) m_str.resize(n);
    other.m_str.clear();
}

CKrStringA::CKrStringA(std::string const &text) : m_str(text) {}
CKrStringA::CKrStringA(std::string &&text) noexcept : m_str(std::move(text)) {}

CKrStringA::CKrStringA(char const *text, size_t capacity) {
    if (capacity && capacity <= m_str.max_size()) m_str.reserve(capacity);
    if (text) m_str.append(text);
}

CKrStringA::CKrStringA(wchar_t const *text, size_t capacity) {
    if (capacity && capacity <= m_str.max_size()) m_str.reserve(capacity);
    if (text) m_str.append(ops::localeToNarrow(text));
}

CKrStringA::CKrStringA(size_t capacity) { m_str.reserve(capacity); }

CKrStringA::~CKrStringA() = default;

CKrStringA const &CKrStringA::operator=(CKrStringA const &other) {
    if (this == &other || m_str.c_str() == other.m_str.c_str()) return *this;
    m_str.assign(other.m_str.c_str());
    return *this;
}

CKrStringA const &CKrStringA::operator=(CKrStringA &&other) noexcept {
    if (this == &other) return *this;
    m_str = std::move(other.m_str);
    const size_t n = std::strlen(m_str.c_str());
    if (n != m_str.size()) m_str.resize(n);
    other.m_str.clear();
    return *this;
}

CKrStringA const &CKrStringA::operator=(std::string const &text) {
    m_str = text;
    return *this;
}

CKrStringA const &CKrStringA::operator=(std::string &&text) noexcept {
    m_str = std::move(text);
    return *this;
}

CKrStringA const &CKrStringA::operator=(char c) {
    m_str.assign(1, c);
    return *this;
}

CKrStringA const &CKrStringA::operator=(char const *text) {
    if (!text) {
        m_str.clear();
    } else if (text != m_str.c_str()) {
        m_str.assign(text);  // copes with text pointing inside the string
    }
    return *this;
}

CKrStringA const &CKrStringA::operator=(wchar_t const *text) {
    m_str = ops::localeToNarrow(text);
    return *this;
}

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

// ---- access -----------------------------------------------------------------------------

size_t CKrStringA::GetBufferLength() const { return m_str.capacity(); }
CKrStringA::operator char const *() const { return m_str.c_str(); }

char CKrStringA::operator[](size_t index) const { return GetAt(index); }

char CKrStringA::GetAt(size_t index) const { return index < m_str.size() ? m_str[index] : '\0'; }

char CKrStringA::GetLastChar() const { return m_str.empty() ? '\0' : m_str.back(); }

int CKrStringA::SetAt(size_t index, char c) {
    if (index >= m_str.size()) return -6;
    m_str[index] = c;
    return 0;
}

size_t CKrStringA::CopyToBufferA(char *buffer, size_t size) {
    return ops::copyToBuffer(m_str, buffer, size);
}

size_t CKrStringA::CopyToBufferW(wchar_t *buffer, size_t size) {
    if (!buffer || size == 0) return 0;
    return KR_mbstowcs(buffer, m_str.c_str(), size);
}

// ---- search -----------------------------------------------------------------------------

int CKrStringA::Find(char c, size_t start) const { return ops::findChar(m_str, c, start); }

int64_t CKrStringA::Find(char const *pattern, size_t start) const {
    const size_t pos = ops::findText(m_str, pattern, start);
    // Truncated to 32 bits and sign-extended: npos becomes -1, and callers that store the
    // result in an int see the same value.
    return static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(pos)));
}

int CKrStringA::FindNoCase(char c, size_t start) const {
    return ops::findCharNoCase(m_str, c, start);
}

int64_t CKrStringA::FindNoCase(char const *pattern, size_t start) const {
    const size_t pos = ops::findTextNoCase(m_str, pattern, start);
    return static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(pos)));
}

int CKrStringA::FindOneOf(char const *set, size_t start) const {
    return ops::findOneOf(m_str, set, start);
}

int CKrStringA::ReverseFind(char c, int start) const {
    return ops::reverseFind(m_str, c, static_cast<size_t>(static_cast<int64_t>(start)), false);
}

int CKrStringA::ReverseFindNoCase(char c, int start) const {
    return ops::reverseFind(m_str, c, static_cast<size_t>(static_cast<int64_t>(start)), true);
}

// ---- modification -----------------------------------------------------------------------

void CKrStringA::operator+=(CKrStringA const &text) { m_str.append(text.m_str); }
void CKrStringA::operator+=(char c) { m_str.push_back(c); }
void CKrStringA::operator+=(char const *text) {
    if (text) m_str.append(text);
}
void CKrStringA::operator+=(wchar_t const *text) {
    if (text) m_str.append(ops::localeToNarrow(text));
}

CKrStringA &CKrStringA::AddChar(char c) {
    m_str.push_back(c);
    return *this;
}

CKrStringA &CKrStringA::AddChar(wchar_t c) {
    const wchar_t src[2] = {c, 0};
    m_str.append(ops::localeToNarrow(src));
    return *this;
}

void CKrStringA::AddChars(char const *text, int count) {
    if (!text) return;
    if (count < 0)
        m_str.append(text);
    else
        m_str.append(text, static_cast<size_t>(count));
}

CKrStringA &CKrStringA::AddString(CKrStringA const &text) {
    m_str.append(text.m_str);
    return *this;
}

CKrStringA &CKrStringA::AddString(char const *text) {
    if (text) m_str.append(text);
    return *this;
}

CKrStringA &CKrStringA::AddString(wchar_t const *text) {
    if (text) m_str.append(ops::localeToNarrow(text));
    return *this;
}

CKrStringA &CKrStringA::AddInt(int value) {
    ops::appendInt(m_str, value);
    return *this;
}

CKrStringA &CKrStringA::AddDouble(double value, int digits) {
    ops::appendDouble(m_str, value, digits);
    return *this;
}

CKrStringA &CKrStringA::Format(char const *format, ...) {
    va_list args;
    va_start(args, format);
    ops::formatInto(m_str, format, args, false);
    va_end(args);
    return *this;
}

CKrStringA &CKrStringA::AppendFormat(char const *format, ...) {
    va_list args;
    va_start(args, format);
    ops::formatInto(m_str, format, args, true);
    va_end(args);
    return *this;
}

CKrStringA &CKrStringA::FormatV(char const *format, va_list args) {
    ops::formatInto(m_str, format, args, false);
    return *this;
}

CKrStringA &CKrStringA::Insert(char const *text, size_t pos, int count) {
    KR_ASSERTW(text != nullptr, L"strings/CKrStringA", L"Error: Insert needs a text");
    if (text) ops::insertText(m_str, text, pos, count);
    return *this;
}

CKrStringA &CKrStringA::Delete(size_t pos, int count) {
    ops::deleteAt(m_str, pos, count);
    return *this;
}

CKrStringA &CKrStringA::DeleteLeft(size_t n) {
    ops::deleteLeft(m_str, n);
    return *this;
}

CKrStringA &CKrStringA::DeleteRight(size_t n) {
    ops::deleteRight(m_str, n);
    return *this;
}

void CKrStringA::TruncateAt(size_t n) {
    if (n < m_str.size()) m_str.resize(n);
}

size_t CKrStringA::Remove(char c) { return ops::removeAll(m_str, c); }

int64_t CKrStringA::Replace(char const *old, char const *replacement) {
    return ops::replaceAll(m_str, old, replacement, false);
}

int64_t CKrStringA::ReplaceNoCase(char const *old, char const *replacement) {
    return ops::replaceAll(m_str, old, replacement, true);
}

void CKrStringA::ReplaceAt(size_t pos, size_t count, char const *text) {
    ops::replaceAt(m_str, pos, count, text);
}

CKrStringA &CKrStringA::Trim(char const *set) {
    ops::trimRight(m_str, set);
    ops::trimLeft(m_str, set);
    return *this;
}

CKrStringA &CKrStringA::TrimLeft(char const *set) {
    ops::trimLeft(m_str, set);
    return *this;
}

CKrStringA &CKrStringA::TrimRight(char const *set) {
    ops::trimRight(m_str, set);
    return *this;
}

CKrStringA &CKrStringA::MakeLower() {
    ops::makeLower(m_str);
    return *this;
}

CKrStringA &CKrStringA::MakeUpper() {
    ops::makeUpper(m_str);
    return *this;
}

CKrStringA &CKrStringA::EndInSlash() {
    ops::endInSlash(m_str);
    return *this;
}

CKrStringA &CKrStringA::Empty() {
    m_str.clear();
    return *this;
}

void CKrStringA::Reset() { m_str.clear(); }

// A request beyond max_size() is ignored rather than thrown (std::length_error); a real
// allocation failure (std::bad_alloc) still propagates.
void CKrStringA::Preallocate(size_t capacity) {
    if (capacity <= m_str.max_size()) m_str.reserve(capacity);
}

// ---- extraction -------------------------------------------------------------------------

CKrStringA CKrStringA::Left(size_t n) {
    CKrStringA r;
    r.m_str.assign(m_str, 0, std::min(n, m_str.size()));
    return r;
}

CKrStringA CKrStringA::Right(size_t n) {
    CKrStringA r;
    const size_t k = std::min(n, m_str.size());
    r.m_str.assign(m_str, m_str.size() - k, k);
    return r;
}

CKrStringA CKrStringA::Mid(size_t start, int count) {
    CKrStringA r;
    r.m_str = ops::mid(m_str, start, count);
    return r;
}

// ---- comparison -------------------------------------------------------------------------

int CKrStringA::Compare(char const *text) const { return ops::compareWith(m_str, text); }

int CKrStringA::CompareNoCase(char const *text) const {
    if (!text) return m_str.empty() ? 0 : -1;  // same null rule as Compare
    return ops::signOf(KR_stricmp(m_str.c_str(), text));
}

bool CKrStringA::Equals(CKrStringA const &text) const {
    return ops::compareRaw(m_str.c_str(), text.m_str.c_str()) == 0;
}
bool CKrStringA::Equals(char const *text) const { return Compare(text) == 0; }
bool CKrStringA::Equals(wchar_t const *text) const {
    if (!text) return Compare(nullptr) == 0;
    return ops::compareRaw(m_str.c_str(), ops::localeToNarrow(text).c_str()) == 0;
}

bool CKrStringA::Less(CKrStringA const &text) const {
    return ops::compareRaw(m_str.c_str(), text.m_str.c_str()) < 0;
}
bool CKrStringA::Less(char const *text) const { return Compare(text) < 0; }
bool CKrStringA::Less(wchar_t const *text) const {
    if (!text) return Compare(nullptr) < 0;
    return ops::compareRaw(m_str.c_str(), ops::localeToNarrow(text).c_str()) < 0;
}

bool CKrStringA::LessEqual(CKrStringA const &text) const {
    return ops::compareRaw(m_str.c_str(), text.m_str.c_str()) <= 0;
}
bool CKrStringA::LessEqual(char const *text) const { return Compare(text) <= 0; }
bool CKrStringA::LessEqual(wchar_t const *text) const {
    if (!text) return Compare(nullptr) <= 0;
    return ops::compareRaw(m_str.c_str(), ops::localeToNarrow(text).c_str()) <= 0;
}

// ---- UTF-8 ------------------------------------------------------------------------------

CKrStringA CKrStringA::Utf8FromUtf16(wchar_t const *text) {
    CKrStringA r;
    const int size = KR_WChar2Char(text, -1, nullptr, 0, true);
    if (size <= 0) return r;
    char *buffer = static_cast<char *>(CKrAlloc::Alloc(CKrAlloc::kZeroFill, static_cast<size_t>(size), 16));
    if (!buffer) return r;
    KR_WChar2Char(text, -1, buffer, size, true);
    r.m_str.assign(buffer, strnlen(buffer, static_cast<size_t>(size)));
    CKrAlloc::Free(buffer);
    return r;
}

int CKrStringA::convert_to_mb(wchar_t const *src, int srcLength, char *dst, int64_t dstSize, bool flag) {
    const int n = KR_WChar2Char(src, srcLength, dst, dstSize + 1, flag);
    if (n == 0) return -2;
    if (srcLength < 1 || dst == nullptr) return n - 1;
    dst[dstSize] = '\0';
    return n;
}

// ---- free operators ---------------------------------------------------------------------

namespace {
inline int cmpAA(CKrStringA const &a, CKrStringA const &b) {
    return ops::compareRaw(a.GetString(), b.GetString());
}
}  // namespace

// With the pointer on the left the string's own comparison is reversed, so the null rule holds
// from both sides (nullptr < s is always false).
bool operator==(CKrStringA const &a, CKrStringA const &b) { return cmpAA(a, b) == 0; }
bool operator==(CKrStringA const &a, char const *b) { return a.Compare(b) == 0; }
bool operator==(char const *a, CKrStringA const &b) { return b.Compare(a) == 0; }
bool operator!=(CKrStringA const &a, CKrStringA const &b) { return cmpAA(a, b) != 0; }
bool operator!=(CKrStringA const &a, char const *b) { return a.Compare(b) != 0; }
bool operator!=(char const *a, CKrStringA const &b) { return b.Compare(a) != 0; }
bool operator<(CKrStringA const &a, CKrStringA const &b) { return cmpAA(a, b) < 0; }
bool operator<(CKrStringA const &a, char const *b) { return a.Compare(b) < 0; }
bool operator<(char const *a, CKrStringA const &b) { return b.Compare(a) > 0; }
bool operator<=(CKrStringA const &a, CKrStringA const &b) { return cmpAA(a, b) <= 0; }
bool operator<=(CKrStringA const &a, char const *b) { return a.Compare(b) <= 0; }
bool operator<=(char const *a, CKrStringA const &b) { return b.Compare(a) >= 0; }
bool operator>(CKrStringA const &a, CKrStringA const &b) { return cmpAA(a, b) > 0; }
bool operator>(CKrStringA const &a, char const *b) { return a.Compare(b) > 0; }
bool operator>(char const *a, CKrStringA const &b) { return b.Compare(a) < 0; }
bool operator>=(CKrStringA const &a, CKrStringA const &b) { return cmpAA(a, b) >= 0; }
bool operator>=(CKrStringA const &a, char const *b) { return a.Compare(b) >= 0; }
bool operator>=(char const *a, CKrStringA const &b) { return b.Compare(a) <= 0; }

CKrStringA operator+(CKrStringA const &a, CKrStringA const &b) {
    CKrStringA r(a.m_str.size() + b.m_str.size());
    r.m_str.append(a.m_str).append(b.m_str);
    return r;
}

CKrStringA operator+(CKrStringA const &a, char b) {
    CKrStringA r(a.m_str.size() + 1);
    r.m_str.append(a.m_str).push_back(b);
    return r;
}

CKrStringA operator+(CKrStringA const &a, char const *b) {
    const size_t nb = b ? std::strlen(b) : 0;
    CKrStringA r(a.m_str.size() + nb);
    r.m_str.append(a.m_str).append(b ? b : "", nb);
    return r;
}

CKrStringA operator+(char a, CKrStringA const &b) {
    CKrStringA r(b.m_str.size() + 1);
    r.m_str.push_back(a);
    r.m_str.append(b.m_str);
    return r;
}

CKrStringA operator+(char const *a, CKrStringA const &b) {
    const size_t na = a ? std::strlen(a) : 0;
    CKrStringA r(na + b.m_str.size());
    r.m_str.append(a ? a : "", na).append(b.m_str);
    return r;
}

// The result takes the temporary's buffer directly (not through the move constructor, which
// would stop at an embedded zero), then grows it at most once.
CKrStringA operator+(CKrStringA &&a, CKrStringA const &b) {
    CKrStringA r(size_t(0));
    if (&a == &b) {  // std::move(s) + s: both halves come from the same buffer
        r.m_str.reserve(2 * a.m_str.size());
        r.m_str.append(a.m_str).append(a.m_str);
    } else {
        r.m_str.swap(a.m_str);
        r.m_str.append(b.m_str);
    }
    return r;  // one named result, so the return never goes through the move constructor
}

CKrStringA operator+(CKrStringA &&a, char b) {
    CKrStringA r(size_t(0));
    r.m_str.swap(a.m_str);
    r.m_str.push_back(b);
    return r;
}

CKrStringA operator+(CKrStringA &&a, char const *b) {
    CKrStringA r(size_t(0));
    r.m_str.swap(a.m_str);
    if (b) r.m_str.append(b);
    return r;
}
