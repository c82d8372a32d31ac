// CKrJson::reformat: a full (not shallow) pass over a document that writes it again in one fixed
// layout.  Nesting is followed with an explicit stack bounded by kMaxDepth, never by recursion.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "json/CKrJson.h"
#include "json/internal/JsonScan.h"

namespace {

using jsd::Msg;
using jsd::Text;

struct Frame {
    bool object;
    std::vector<std::wstring_view> names;  // member names seen so far (objects only)
};

class Reformatter {
public:
    Reformatter(Text t, int indent) : m_t(t), m_width(indent > 0 ? size_t(indent) : 0) {}

    bool run(std::wstring &out, Msg *msg) {
        m_out.reserve(m_t.n + m_t.n / 2);
        bool ok = document();
        if (!ok)
            *msg = m_msg;
        else
            out.swap(m_out);
        return ok;
    }

private:
    Text m_t;
    size_t m_width;
    size_t m_i = 0;
    std::wstring m_out;
    std::vector<Frame> m_stack;
    Msg m_msg = nullptr;

    bool fail(Msg msg) {
        m_msg = msg;
        return false;
    }
    wchar_t at(size_t i) const { return i < m_t.n ? m_t.p[i] : L'\0'; }
    void skip() { m_i = jsd::skipSpace(m_t, m_i); }

    bool newline(size_t depth) {
        // depth <= kMaxDepth and width <= INT_MAX: the product fits in size_t.
        size_t count = depth * m_width;
        if (m_out.size() + 2 + count > CKrJson::kMaxOutput) return fail(jsd::kErrDocSize);
        m_out += L"\r\n";
        m_out.append(count, L' ');
        return true;
    }

    // A string accepted by scanString, written with raw control characters escaped.
    void writeString(size_t start, size_t len) {
        static wchar_t const hex[] = L"0123456789abcdef";
        for (size_t k = start; k < start + len; ++k) {
            wchar_t c = m_t.p[k];
            if (c >= 0 && c < 0x20) {
                m_out += L"\\u00";
                m_out.push_back(hex[(c >> 4) & 0xF]);
                m_out.push_back(hex[c & 0xF]);
            } else {
                m_out.push_back(c);
            }
        }
    }

    // A number accepted by scanNumber, without redundant leading zeros of its integer part.
    void writeNumber(size_t start, size_t len) {
        size_t k = start, end = start + len;
        if (m_t.p[k] == L'-') m_out.push_back(m_t.p[k++]);
        while (k + 1 < end && m_t.p[k] == L'0' && jsd::isDigit(m_t.p[k + 1])) ++k;
        m_out.append(m_t.p + k, end - k);
    }

    Msg expectedValue() const {
        if (m_stack.empty()) return jsd::kErrDocValue;
        return m_stack.back().object ? jsd::kErrObjValue : jsd::kErrArrValue;
    }

    // At a member name: writes "name" : and leaves m_i at the value.
    bool memberName() {
        ptrdiff_t len = jsd::scanString(m_t, m_i, &m_msg);
        if (len == 0) return fail(jsd::kErrObjName);
        if (len < 0) return false;
        m_stack.back().names.emplace_back(m_t.p + m_i + 1, size_t(len) - 2);
        writeString(m_i, size_t(len));
        m_i += size_t(len);
        skip();
        if (at(m_i) != L':' || m_i >= m_t.n) return fail(jsd::kErrObjColon);
        m_out += L" : ";
        ++m_i;
        skip();
        return true;
    }

    // One value at m_i.  Opening an object or array pushes a frame and returns with m_i at its
    // first member or item (*opened = true).
    bool value(bool *opened) {
        *opened = false;
        if (m_i >= m_t.n) return fail(expectedValue());
        wchar_t c = m_t.p[m_i];
        if (c == L'{' || c == L'[') {
            bool object = c == L'{';
            ++m_i;
            skip();
            // No empty containers, as in the readers: a closing brace here fails as a missing
            // member name, a closing bracket as a missing value.
            if (m_stack.size() >= size_t(CKrJson::kMaxDepth)) return fail(jsd::kErrDocDepth);
            m_out.push_back(c);
            m_stack.push_back(Frame{object, {}});
            if (!newline(m_stack.size())) return false;
            *opened = true;
            return object ? memberName() : true;
        }
        ptrdiff_t len = 0;
        switch (c) {
            case L'n':
            case L'N':
                len = jsd::scanNull(m_t, m_i);
                if (len > 0) m_out += L"null";
                break;
            case L't':
            case L'T':
            case L'f':
            case L'F': {
                bool b = false;
                len = jsd::scanBool(m_t, m_i, &b);
                if (len > 0) m_out += b ? L"true" : L"false";
                break;
            }
            case L'"':
                len = jsd::scanString(m_t, m_i, &m_msg);
                if (len > 0) writeString(m_i, size_t(len));
                break;
            default:
                len = jsd::scanNumber(m_t, m_i, nullptr, nullptr, &m_msg);
                if (len > 0) writeNumber(m_i, size_t(len));
                break;
        }
        if (len == 0) return fail(expectedValue());
        if (len < 0) return false;
        m_i += size_t(len);
        return true;
    }

    bool closeFrame() {
        Frame &f = m_stack.back();
        if (f.object) {
            std::sort(f.names.begin(), f.names.end());
            if (std::adjacent_find(f.names.begin(), f.names.end()) != f.names.end())
                return fail(jsd::kErrObjDup);
        }
        bool object = f.object;
        m_stack.pop_back();
        if (!newline(m_stack.size())) return false;
        m_out.push_back(object ? L'}' : L']');
        ++m_i;
        return true;
    }

    bool document() {
        skip();
        bool needValue = true;
        for (;;) {
            if (needValue) {
                bool opened = false;
                if (!value(&opened)) return false;
                if (opened) continue;  // at the first member or item of a new level
                needValue = false;
            }
            if (m_stack.empty()) {
                skip();
                return m_i < m_t.n ? fail(jsd::kErrDocTrail) : true;
            }
            skip();
            bool object = m_stack.back().object;
            wchar_t c = at(m_i);
            if (m_i < m_t.n && c == L',') {
                m_out.push_back(L',');
                if (!newline(m_stack.size())) return false;
                ++m_i;
                skip();
                if (object && !memberName()) return false;
                needValue = true;
            } else if (m_i < m_t.n && c == (object ? L'}' : L']')) {
                if (!closeFrame()) return false;
            } else {
                return fail(object ? jsd::kErrObjNext : jsd::kErrArrNext);
            }
        }
    }
};

}  // namespace

CKrStringW CKrJson::reformat(CKrStringW const &text, CKrStringW *error, int indent) {
    std::wstring out;
    Msg msg = nullptr;
    if (!Reformatter(jsd::textOf(text), indent).run(out, &msg)) {
        if (error && msg) *error = msg;
        return CKrStringW();
    }
    return CKrStringW(out);
}
