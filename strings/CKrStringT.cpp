// The member layer shared by CKrStringA and CKrStringW, and their free operators.  Each rule is
// written here once for both widths; the QString members are in CKrStringQt.cpp, what only one
// width has in CKrStringA.cpp / CKrStringW.cpp.
#include "strings/CKrStringT.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "platform/KrPlatform.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"
#include "strings/internal/StrOps.h"

using namespace orvik::detail;

namespace {

// The source path of the diagnostics of each class.
constexpr wchar_t const *diagSource(char) { return L"strings/CKrStringA"; }
constexpr wchar_t const *diagSource(wchar_t) { return L"strings/CKrStringW"; }

template <class C>
std::basic_string<C> lowered(C const *text, size_t n) {
    std::basic_string<C> out(text, n);
    for (C &c : out) c = lowerChar(c);
    return out;
}

// Where `pattern` occurs in `s` at or after `start`, kNpos when absent or when pattern is null.
// Without case, copies of both sides are lower-cased character by character.
template <class C>
size_t findText(std::basic_string<C> const &s, C const *pattern, size_t start, bool noCase) {
    if (!pattern) return kNpos;
    if (!noCase) return s.find(pattern, start);
    if (start > s.size()) return kNpos;
    return lowered(s.data(), s.size()).find(lowered(pattern, textLength(pattern)), start);
}

// The string's side of a comparison with a character pointer: a null pointer equals the empty
// string and is greater than every other string.
template <class C>
int compareWith(std::basic_string<C> const &s, C const *text) {
    if (!text) return s.empty() ? 0 : -1;
    return compareRaw(s.c_str(), text);
}

template <class C>
int compareOther(std::basic_string<C> const &s, typename CKrStringT<C>::Other const *text) {
    if (!text) return compareWith<C>(s, nullptr);
    return compareRaw(s.c_str(), localeConvert(text).c_str());
}

}  // namespace

// ---- construction and assignment --------------------------------------------------------

template <class C>
CKrStringT<C>::CKrStringT(CKrStringT const &other) : m_str(other.m_str.c_str()) {}

template <class C>
CKrStringT<C>::CKrStringT(CKrStringT &&other) noexcept : m_str(std::move(other.m_str)) {
    // Same result as the copy: the characters up to the first zero.
    const size_t n = textLength(m_str.c_str());
    if (n != m_str.size()) m_str.resize(n);
    other.m_str.clear();
}

template <class C>
CKrStringT<C>::CKrStringT(StdString const &text) : m_str(text) {}

template <class C>
CKrStringT<C>::CKrStringT(StdString &&text) noexcept : m_str(std::move(text)) {}

template <class C>
CKrStringT<C>::CKrStringT(C const *text, size_t capacity) {
    if (capacity && capacity <= m_str.max_size()) m_str.reserve(capacity);
    if (text) m_str.append(text);
}

template <class C>
CKrStringT<C>::CKrStringT(Other const *text, size_t capacity) {
    if (capacity && capacity <= m_str.max_size()) m_str.reserve(capacity);
    if (text) m_str.append(localeConvert(text));
}

template <class C>
void CKrStringT<C>::assignCopy(CKrStringT const &other) {
    if (this == &other || m_str.c_str() == other.m_str.c_str()) return;
    m_str.assign(other.m_str.c_str());
}

template <class C>
void CKrStringT<C>::assignMove(CKrStringT &&other) noexcept {
    if (this == &other) return;
    m_str = std::move(other.m_str);
    const size_t n = textLength(m_str.c_str());
    if (n != m_str.size()) m_str.resize(n);
    other.m_str.clear();
}

template <class C>
auto CKrStringT<C>::operator=(StdString const &text) -> String const & {
    m_str = text;
    return self();
}

template <class C>
auto CKrStringT<C>::operator=(StdString &&text) noexcept -> String const & {
    m_str = std::move(text);
    return self();
}

template <class C>
auto CKrStringT<C>::operator=(C c) -> String const & {
    m_str.assign(1, c);
    return self();
}

template <class C>
auto CKrStringT<C>::operator=(C const *text) -> String const & {
    if (!text) {
        m_str.clear();
    } else if (text != m_str.c_str()) {
        m_str.assign(text);  // copes with text pointing inside the string
    }
    return self();
}

template <class C>
auto CKrStringT<C>::operator=(Other const *text) -> String const & {
    m_str = localeConvert(text);
    return self();
}

// ---- access -----------------------------------------------------------------------------

template <class C>
size_t CKrStringT<C>::GetBufferLength() const {
    return m_str.capacity();
}

template <class C>
CKrStringT<C>::operator C const *() const {
    return m_str.c_str();
}

template <class C>
C CKrStringT<C>::operator[](size_t index) const {
    return GetAt(index);
}

template <class C>
C CKrStringT<C>::GetAt(size_t index) const {
    return index < m_str.size() ? m_str[index] : C(0);
}

template <class C>
C CKrStringT<C>::GetLastChar() const {
    return m_str.empty() ? C(0) : m_str.back();
}

template <class C>
int CKrStringT<C>::SetAt(size_t index, C c) {
    if (index >= m_str.size()) return -6;
    m_str[index] = c;
    return 0;
}

template <class C>
size_t CKrStringT<C>::copyOut(C *buffer, size_t size) const {
    if (!buffer || size == 0) return 0;
    const size_t n = std::min(m_str.size(), size);
    std::char_traits<C>::copy(buffer, m_str.data(), n);
    const size_t end = std::min(m_str.size(), size - 1);
    buffer[end] = C(0);
    return end;
}

// ---- search -----------------------------------------------------------------------------

template <class C>
int CKrStringT<C>::Find(C c, size_t start) const {
    if (start >= m_str.size()) return -1;
    return narrowPos(m_str.find(c, start));
}

template <class C>
auto CKrStringT<C>::Find(C const *pattern, Index start) const -> TextPos {
    return narrowPos(findText(m_str, pattern, widen(start), false));
}

template <class C>
int CKrStringT<C>::FindNoCase(C c, Index start) const {
    const C lc = lowerChar(c);
    for (size_t i = widen(start); i < m_str.size(); ++i)
        if (lowerChar(m_str[i]) == lc) return static_cast<int>(i);
    return -1;
}

template <class C>
auto CKrStringT<C>::FindNoCase(C const *pattern, Index start) const -> TextPos {
    return narrowPos(findText(m_str, pattern, widen(start), true));
}

template <class C>
int CKrStringT<C>::FindOneOf(C const *set, size_t start) const {
    if (!set || !*set || start >= m_str.size()) return -1;
    return narrowPos(m_str.find_first_of(set, start));
}

namespace {
template <class C>
int reverseFind(std::basic_string<C> const &s, C c, int start, bool noCase) {
    if (s.empty()) return -1;
    size_t i = std::min(s.size() - 1, widen(start));  // a negative start: from the last one
    const C target = noCase ? lowerChar(c) : c;
    for (;;) {
        if ((noCase ? lowerChar(s[i]) : s[i]) == target) return static_cast<int>(i);
        if (i == 0) return -1;
        --i;
    }
}
}  // namespace

template <class C>
int CKrStringT<C>::ReverseFind(C c, int start) const {
    return reverseFind(m_str, c, start, false);
}

template <class C>
int CKrStringT<C>::ReverseFindNoCase(C c, int start) const {
    return reverseFind(m_str, c, start, true);
}

// ---- modification -----------------------------------------------------------------------

template <class C>
void CKrStringT<C>::operator+=(String const &text) {
    m_str.append(text.m_str);
}

template <class C>
void CKrStringT<C>::operator+=(C c) {
    m_str.push_back(c);
}

template <class C>
void CKrStringT<C>::operator+=(C const *text) {
    if (text) m_str.append(text);
}

template <class C>
void CKrStringT<C>::operator+=(Other const *text) {
    if (text) m_str.append(localeConvert(text));
}

template <class C>
auto CKrStringT<C>::AddChar(C c) -> String & {
    m_str.push_back(c);
    return self();
}

template <class C>
auto CKrStringT<C>::AddChar(Other c) -> String & {
    const Other src[2] = {c, Other(0)};
    m_str.append(localeConvert(src));
    return self();
}

template <class C>
void CKrStringT<C>::AddChars(C const *text, int count) {
    if (!text) return;
    if (count < 0)
        m_str.append(text);
    else
        m_str.append(text, static_cast<size_t>(count));
}

template <class C>
auto CKrStringT<C>::AddString(String const &text) -> String & {
    m_str.append(text.m_str);
    return self();
}

template <class C>
auto CKrStringT<C>::AddString(C const *text) -> String & {
    if (text) m_str.append(text);
    return self();
}

template <class C>
auto CKrStringT<C>::AddString(Other const *text) -> String & {
    if (text) m_str.append(localeConvert(text));
    return self();
}

template <class C>
auto CKrStringT<C>::AddInt(int value) -> String & {
    char digits[16];
    int n = 0;
    unsigned int u =
        value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
    do {
        digits[n++] = static_cast<char>('0' + u % 10);
        u /= 10;
    } while (u);
    if (value < 0) m_str.push_back(C('-'));
    while (n) m_str.push_back(C(digits[--n]));
    return self();
}

template <class C>
auto CKrStringT<C>::AddDouble(double value, int digits) -> String & {
    std::ostringstream os;
    os.imbue(std::locale::classic());
    os << std::fixed << std::setprecision(digits) << value;
    const std::string text = os.str();
    m_str.append(text.begin(), text.end());
    return self();
}

namespace {
// Formats into the platform layer's per-thread scratch buffer (which measures and formats in one
// go), then assigns or appends from it: one allocation at most.  A formatter failure leaves the
// string as it was.  Arguments may point into `s` itself: it is only changed afterwards.
template <class C>
void formatInto(std::basic_string<C> &s, C const *format, va_list args, bool append) {
    if (!format) format = emptyText<C>();
    C const *text = nullptr;
    const int n = formatScratch(&text, format, args);
    if (n < 0 || !text) return;
    if (append)
        s.append(text, static_cast<size_t>(n));
    else
        s.assign(text, static_cast<size_t>(n));
}
}  // namespace

template <class C>
auto CKrStringT<C>::Format(C const *format, ...) -> String & {
    va_list args;
    va_start(args, format);
    formatInto(m_str, format, args, false);
    va_end(args);
    return self();
}

template <class C>
auto CKrStringT<C>::AppendFormat(C const *format, ...) -> String & {
    va_list args;
    va_start(args, format);
    formatInto(m_str, format, args, true);
    va_end(args);
    return self();
}

template <class C>
auto CKrStringT<C>::FormatV(C const *format, va_list args) -> String & {
    formatInto(m_str, format, args, false);
    return self();
}

template <class C>
auto CKrStringT<C>::Insert(C const *text, size_t pos, int count) -> String & {
    KR_ASSERTW(text != nullptr, diagSource(C()), L"Error: Insert needs a text");
    if (!text) return self();
    const size_t textLen = textLength(text);
    if (pos > m_str.size()) return self();
    // The count never reaches beyond the text's terminator: a larger count means the whole text.
    const size_t n =
        (count < 0 || static_cast<size_t>(count) > textLen) ? textLen : static_cast<size_t>(count);
    if (pos == m_str.size())
        m_str.append(text, n);
    else
        m_str.insert(pos, text, n);
    return self();
}

template <class C>
auto CKrStringT<C>::Delete(size_t pos, int count) -> String & {
    if (pos > m_str.size()) return self();
    if (count < 0)
        m_str.erase(pos);
    else
        m_str.erase(pos, static_cast<size_t>(count));
    return self();
}

template <class C>
auto CKrStringT<C>::DeleteLeft(Index n) -> String & {
    m_str.erase(0, std::min(widen(n), m_str.size()));
    return self();
}

template <class C>
auto CKrStringT<C>::DeleteRight(Index n) -> String & {
    const size_t k = widen(n);
    if (k >= m_str.size())
        m_str.clear();
    else
        m_str.erase(m_str.size() - k);
    return self();
}

template <class C>
void CKrStringT<C>::TruncateAt(size_t n) {
    if (n < m_str.size()) m_str.resize(n);
}

template <class C>
auto CKrStringT<C>::Remove(C c) -> Index {
    const auto newEnd = std::remove(m_str.begin(), m_str.end(), c);
    const size_t removed = static_cast<size_t>(m_str.end() - newEnd);
    m_str.erase(newEnd, m_str.end());
    return static_cast<Index>(removed);
}

namespace {
// Replaces every non-overlapping occurrence of `old`, scanning left to right and continuing after
// each replaced occurrence (so inserted text is never searched again).  The result is built in
// one pass; the string is only touched when something was found.  An empty pattern is refused
// with std::invalid_argument, and every standard exception is swallowed here: the caller sees the
// count reached so far and a string that matches that count.
template <class C>
int64_t replaceAll(std::basic_string<C> &s, C const *oldText, C const *newText, bool noCase) {
    using Str = std::basic_string<C>;
    int64_t count = 0;
    Str out;
    size_t done = 0;  // characters of s consumed into `out`
    try {
        const size_t oldLen = oldText ? textLength(oldText) : 0;
        if (oldLen == 0)
            throw std::invalid_argument(
                "You cannot magically replace nothing with something, that is not how this "
                "works...");
        if (!newText) newText = emptyText<C>();
        const size_t newLen = textLength(newText);

        Str hayLower, needleLower;
        Str const *hay = &s;
        C const *needle = oldText;
        if (noCase) {
            hayLower = lowered(s.data(), s.size());
            needleLower = lowered(oldText, oldLen);
            hay = &hayLower;
            needle = needleLower.c_str();
        }
        size_t pos = hay->find(needle, 0, oldLen);
        if (pos == kNpos) return 0;
        // The new text may point into s itself: keep a copy before s is replaced.
        const Str replacement(newText, newLen);
        out.reserve(newLen > oldLen ? s.size() + (s.size() / 8) + newLen : s.size());
        while (pos != kNpos) {
            out.append(s, done, pos - done);
            out.append(replacement);
            done = pos + oldLen;
            ++count;
            pos = hay->find(needle, done, oldLen);
        }
        out.append(s, done, kNpos);
        s.swap(out);
        return count;
    } catch (std::exception const &) {
        if (count == 0) return 0;
        // Keep the string consistent with the count: finish with the untouched remainder.
        try {
            out.append(s, done, kNpos);
            s.swap(out);
            return count;
        } catch (std::exception const &) {
            return 0;  // s was never modified
        }
    }
}
}  // namespace

template <class C>
auto CKrStringT<C>::Replace(C const *old, C const *replacement) -> TextPos {
    return static_cast<TextPos>(replaceAll(m_str, old, replacement, false));
}

template <class C>
auto CKrStringT<C>::ReplaceNoCase(C const *old, C const *replacement) -> TextPos {
    return static_cast<TextPos>(replaceAll(m_str, old, replacement, true));
}

template <class C>
void CKrStringT<C>::ReplaceAt(Index pos, Index count, C const *text) {
    const size_t p = widen(pos), n = widen(count);
    if (n == 0 || p > m_str.size() || n > m_str.size() - p) return;
    // std::basic_string::replace copes with `text` pointing into the string itself; when the
    // lengths agree it overwrites in place without reallocating.
    m_str.replace(p, n, text ? text : emptyText<C>());
}

namespace {
template <class C>
C const *trimSet(C const *set) {
    static constexpr C space[2] = {C(' '), C(0)};
    return set ? set : space;
}

template <class C>
void trimLeft(std::basic_string<C> &s, C const *set) {
    set = trimSet(set);
    if (!*set) return;
    const size_t first = s.find_first_not_of(set);
    if (first == kNpos)
        s.clear();
    else
        s.erase(0, first);
}

template <class C>
void trimRight(std::basic_string<C> &s, C const *set) {
    set = trimSet(set);
    if (!*set) return;
    const size_t last = s.find_last_not_of(set);
    if (last == kNpos)
        s.clear();
    else
        s.erase(last + 1);
}
}  // namespace

template <class C>
auto CKrStringT<C>::Trim(C const *set) -> String & {
    trimRight(m_str, set);
    trimLeft(m_str, set);
    return self();
}

template <class C>
auto CKrStringT<C>::TrimLeft(C const *set) -> String & {
    trimLeft(m_str, set);
    return self();
}

template <class C>
auto CKrStringT<C>::TrimRight(C const *set) -> String & {
    trimRight(m_str, set);
    return self();
}

template <class C>
auto CKrStringT<C>::MakeLower() -> String & {
    for (C &c : m_str) c = lowerChar(c);
    return self();
}

template <class C>
auto CKrStringT<C>::MakeUpper() -> String & {
    for (C &c : m_str) c = upperChar(c);
    return self();
}

template <class C>
auto CKrStringT<C>::EndInSlash() -> String & {
    if (m_str.empty() || m_str.back() != C('\\')) m_str.push_back(C('\\'));
    return self();
}

template <class C>
auto CKrStringT<C>::Empty() -> String & {
    m_str.clear();
    return self();
}

template <class C>
void CKrStringT<C>::Reset() {
    m_str.clear();
}

template <class C>
void CKrStringT<C>::Preallocate(Index capacity) {
    const size_t n = widen(capacity);
    if (n <= m_str.max_size()) m_str.reserve(n);
}

// ---- extraction -------------------------------------------------------------------------

template <class C>
auto CKrStringT<C>::Left(size_t n) -> String {
    String r;
    r.m_str.assign(m_str, 0, std::min(n, m_str.size()));
    return r;
}

template <class C>
auto CKrStringT<C>::Right(size_t n) -> String {
    String r;
    const size_t k = std::min(n, m_str.size());
    r.m_str.assign(m_str, m_str.size() - k, k);
    return r;
}

template <class C>
auto CKrStringT<C>::Mid(size_t start, int count) -> String {
    String r;
    if (m_str.empty() || count == 0 || start >= m_str.size()) return r;
    const size_t avail = m_str.size() - start;
    r.m_str.assign(m_str, start, count < 0 ? avail : std::min(avail, static_cast<size_t>(count)));
    return r;
}

// ---- comparison -------------------------------------------------------------------------

template <class C>
int CKrStringT<C>::Compare(C const *text) const {
    return compareWith(m_str, text);
}

template <class C>
int CKrStringT<C>::CompareNoCase(C const *text) const {
    if (!text) return compareWith<C>(m_str, nullptr);  // same null rule as Compare
    return compareNoCaseRaw(m_str.c_str(), text);
}

template <class C>
bool CKrStringT<C>::Equals(String const &text) const {
    return compareRaw(m_str.c_str(), text.m_str.c_str()) == 0;
}
template <class C>
bool CKrStringT<C>::Equals(C const *text) const {
    return compareWith(m_str, text) == 0;
}
template <class C>
bool CKrStringT<C>::Equals(Other const *text) const {
    return compareOther<C>(m_str, text) == 0;
}

template <class C>
bool CKrStringT<C>::Less(String const &text) const {
    return compareRaw(m_str.c_str(), text.m_str.c_str()) < 0;
}
template <class C>
bool CKrStringT<C>::Less(C const *text) const {
    return compareWith(m_str, text) < 0;
}
template <class C>
bool CKrStringT<C>::Less(Other const *text) const {
    return compareOther<C>(m_str, text) < 0;
}

template <class C>
bool CKrStringT<C>::LessEqual(String const &text) const {
    return compareRaw(m_str.c_str(), text.m_str.c_str()) <= 0;
}
template <class C>
bool CKrStringT<C>::LessEqual(C const *text) const {
    return compareWith(m_str, text) <= 0;
}
template <class C>
bool CKrStringT<C>::LessEqual(Other const *text) const {
    return compareOther<C>(m_str, text) <= 0;
}

// ---- concatenation ----------------------------------------------------------------------

template <class C>
auto CKrStringT<C>::concat(C const *a, size_t na, C const *b, size_t nb) -> String {
    String r(na + nb);
    r.m_str.append(a, na).append(b, nb);
    return r;
}

// The result takes the temporary's buffer directly (not through the move constructor, which
// would stop at an embedded zero), then grows it at most once.  Every path returns the one named
// result, so the return is elided and never goes through the move constructor either.
template <class C>
auto CKrStringT<C>::concat(String &&a, C const *b, size_t nb) -> String {
    String r(size_t(0));
    C const *base = a.m_str.data();
    const std::less_equal<C const *> le;
    if (nb && le(base, b) && le(b, base + a.m_str.size())) {
        // The right operand lies in the temporary itself (std::move(s) + s): a short string's
        // characters would not survive a swap, so both parts are copied.
        r.m_str.reserve(a.m_str.size() + nb);
        r.m_str.append(a.m_str).append(b, nb);
    } else {
        r.m_str.swap(a.m_str);
        r.m_str.append(b, nb);
    }
    return r;
}

template class CKrStringT<char>;
template class CKrStringT<wchar_t>;

// ---- free operators ---------------------------------------------------------------------
// Written once for both classes.  With the pointer on the left the string's own comparison is
// reversed, so the null rule holds from both sides (nullptr < s is always false).

#define ORVIK_STRING_FREE_OPERATORS(S, C)                                                     \
    bool operator==(S const &a, S const &b) { return a.Compare(b.GetString()) == 0; }         \
    bool operator==(S const &a, C const *b) { return a.Compare(b) == 0; }                     \
    bool operator==(C const *a, S const &b) { return b.Compare(a) == 0; }                     \
    bool operator!=(S const &a, S const &b) { return a.Compare(b.GetString()) != 0; }         \
    bool operator!=(S const &a, C const *b) { return a.Compare(b) != 0; }                     \
    bool operator!=(C const *a, S const &b) { return b.Compare(a) != 0; }                     \
    bool operator<(S const &a, S const &b) { return a.Compare(b.GetString()) < 0; }           \
    bool operator<(S const &a, C const *b) { return a.Compare(b) < 0; }                       \
    bool operator<(C const *a, S const &b) { return b.Compare(a) > 0; }                       \
    bool operator<=(S const &a, S const &b) { return a.Compare(b.GetString()) <= 0; }         \
    bool operator<=(S const &a, C const *b) { return a.Compare(b) <= 0; }                     \
    bool operator<=(C const *a, S const &b) { return b.Compare(a) >= 0; }                     \
    bool operator>(S const &a, S const &b) { return a.Compare(b.GetString()) > 0; }           \
    bool operator>(S const &a, C const *b) { return a.Compare(b) > 0; }                       \
    bool operator>(C const *a, S const &b) { return b.Compare(a) < 0; }                       \
    bool operator>=(S const &a, S const &b) { return a.Compare(b.GetString()) >= 0; }         \
    bool operator>=(S const &a, C const *b) { return a.Compare(b) >= 0; }                     \
    bool operator>=(C const *a, S const &b) { return b.Compare(a) <= 0; }                     \
                                                                                              \
    S operator+(S const &a, S const &b) {                                                     \
        return S::concat(a.m_str.data(), a.m_str.size(), b.m_str.data(), b.m_str.size());     \
    }                                                                                         \
    S operator+(S const &a, C b) { return S::concat(a.m_str.data(), a.m_str.size(), &b, 1); } \
    S operator+(S const &a, C const *b) {                                                     \
        return S::concat(a.m_str.data(), a.m_str.size(), b ? b : emptyText<C>(),              \
                         b ? textLength(b) : 0);                                              \
    }                                                                                         \
    S operator+(C a, S const &b) { return S::concat(&a, 1, b.m_str.data(), b.m_str.size()); } \
    S operator+(C const *a, S const &b) {                                                     \
        return S::concat(a ? a : emptyText<C>(), a ? textLength(a) : 0, b.m_str.data(),       \
                         b.m_str.size());                                                     \
    }                                                                                         \
    S operator+(S &&a, S const &b) {                                                          \
        return S::concat(std::move(a), b.m_str.data(), b.m_str.size());                       \
    }                                                                                         \
    S operator+(S &&a, C b) { return S::concat(std::move(a), &b, 1); }                        \
    S operator+(S &&a, C const *b) {                                                          \
        return S::concat(std::move(a), b ? b : emptyText<C>(), b ? textLength(b) : 0);        \
    }

ORVIK_STRING_FREE_OPERATORS(CKrStringA, char)
ORVIK_STRING_FREE_OPERATORS(CKrStringW, wchar_t)

#undef ORVIK_STRING_FREE_OPERATORS
