// The XML tree's writer.  The layout of every construct is written once, as a template over an
// output; the same code fills the result, bounds a construct before it is copied into the
// writer's buffer, and measures what is left to write when the result first runs short.
#include "xmltree/internal/XmlWriter.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/KrPlatform.h"
#include "xmltree/CKrXMLNode.h"
#include "xmltree/internal/XmlAttributeMap.h"
#include "xmltree/internal/XmlMemory.h"
#include "xmltree/internal/XmlText.h"

namespace orvik::detail {

namespace {

// Units one character can take once escaped ("&quot;").
constexpr size_t kMaxEscapeGrowth = 6;

// Blanks in front of a construct at `level`: 3 per level, in pretty output with indent only.
size_t IndentOf(bool indent, unsigned int level, bool pretty) {
    return (pretty && indent && level >= 1) ? size_t{3} * level : 0;
}

// ---- the layout -----------------------------------------------------------------------------
// Each writes into an output O with Put(c), Put(text, n), Put(std::wstring), PutBlanks(n) and
// PutEscaped(std::wstring).

// "<name" and the attributes (the attribute text verbatim when set, else the map in name order),
// then ">" and, when `lineBreak`, CRLF.
template <class O>
void StartTag(O &o, std::wstring const &name, XmlAttributeMap const &attributes,
              std::wstring const &attribsText, size_t indent, bool lineBreak) {
    o.PutBlanks(indent);
    o.Put(L'<');
    o.Put(name);
    if (!attribsText.empty()) {
        o.Put(attribsText);
    } else {
        for (auto const &attr : attributes) {
            o.Put(L' ');
            o.Put(attr.first.GetStdString());
            o.Put(L"=\"", 2);
            o.PutEscaped(attr.second.GetStdString());
            o.Put(L'"');
        }
    }
    if (lineBreak)
        o.Put(L">\r\n", 3);
    else
        o.Put(L'>');
}

// "</name>" and, when `lineBreak`, CRLF.
template <class O>
void EndTag(O &o, std::wstring const &name, size_t indent, bool lineBreak) {
    o.PutBlanks(indent);
    o.Put(L"</", 2);
    o.Put(name);
    o.Put(L'>');
    if (lineBreak) o.Put(L"\r\n", 2);
}

// An element whose children wrote nothing: its start tag, the last thing written, becomes an
// empty-element tag ("<a/>" compact, "<a />" and CRLF pretty).
template <class O>
void CloseEmpty(O &o, bool startTagBrokeLine, bool pretty) {
    if (startTagBrokeLine) {
        o.Unput(3);  // ">\r\n"
        o.Put(L" />\r\n", 5);
    } else {
        o.Unput(1);  // ">"
        o.Put(L"/>", 2);
        if (pretty) o.Put(L"\r\n", 2);
    }
}

// Text is never followed by a line break, not even in pretty output: callers rely on that.
template <class O>
void TextRun(O &o, std::wstring const &text, size_t indent) {
    o.PutBlanks(indent);
    o.PutEscaped(text);
}

// A comment or processing instruction; the body is written as it is (not escaped).
template <class O>
void Markup(O &o, bool comment, std::wstring const &body, size_t indent, bool lineBreak) {
    o.PutBlanks(indent);
    if (comment)
        o.Put(L"<!--", 4);
    else
        o.Put(L"<?", 2);
    o.Put(body);
    if (comment)
        o.Put(L"-->", 3);
    else
        o.Put(L"?>", 2);
    if (lineBreak) o.Put(L"\r\n", 2);
}

// ---- outputs --------------------------------------------------------------------------------

// Counts the units a layout would write.  Escaped text counts kUnitsPerEscaped units a
// character: 1 for the measure of the rest (escapes are left out, so no text is read),
// kMaxEscapeGrowth for an upper bound.
template <size_t kUnitsPerEscaped>
struct CountingSink {
    size_t count = 0;

    void Put(wchar_t) { ++count; }
    void Put(wchar_t const *, size_t n) { count += n; }
    void Put(std::wstring const &text) { count += text.size(); }
    void PutBlanks(size_t n) { count += n; }
    void PutEscaped(std::wstring const &text) { count += kUnitsPerEscaped * text.size(); }
    void Unput(size_t n) { count -= n; }

    size_t Length() const { return count; }
    template <class Layout>
    void Write(Layout &&layout) {
        layout(*this);
    }
    // A node of a derived class writes itself; it is counted by writing it aside.
    int Delegate(CKrXMLNode *node, unsigned int level, bool indent, bool pretty) {
        CKrStringW aside;
        int rc = node->GetValueInternal(aside, level, indent, pretty);
        count += static_cast<size_t>(aside.GetLength());
        return rc;
    }
};

// Memory the caller has made room in (an upper bound was counted first): no checks per piece.
// Most constructs are short, so copies are plain loops rather than library calls.
struct RawOut {
    wchar_t *p;

    void Put(wchar_t c) { *p++ = c; }
    void Put(wchar_t const *text, size_t n) {
        if (n > 16) {
            std::memcpy(p, text, n * sizeof(wchar_t));
        } else {
            for (size_t i = 0; i < n; ++i) p[i] = text[i];
        }
        p += n;
    }
    void Put(std::wstring const &text) { Put(text.data(), text.size()); }
    void PutBlanks(size_t n) {
        for (size_t i = 0; i < n; ++i) p[i] = L' ';
        p += n;
    }
    void PutEscaped(std::wstring const &text) {
        ForEachEscapedPiece(text.data(), text.size(),
                            [this](wchar_t const *piece, size_t n) { Put(piece, n); });
    }
};

// The result.  Output is collected in a bounded buffer (which stays in cache) and appended to
// `out` in pieces.  The buffer starts small, for the many short outputs, and doubles with every
// flush up to its full size.
class Sink {
public:
    static constexpr size_t kFirstChunk = 512;
    static constexpr size_t kChunk = 1 << 15;

    explicit Sink(CKrStringW &out)
        : m_out(out), m_outLength(static_cast<size_t>(out.GetLength())), m_buf(kFirstChunk) {}
    ~Sink() { Flush(); }
    Sink(Sink const &) = delete;
    Sink &operator=(Sink const &) = delete;

    size_t Length() const { return m_outLength + m_pos; }
    size_t BufferSize() const { return m_buf.size(); }
    // Units `out` can hold without moving.
    size_t OutCapacity() const { return m_out.GetStdString().capacity(); }
    void Flush() {
        if (m_pos == 0) return;
        m_out.AddChars(m_buf.data(), static_cast<int>(m_pos));
        m_outLength += m_pos;
        m_pos = 0;
        if (m_buf.size() < kChunk) m_buf.resize(m_buf.size() * 2);
    }
    // Makes `out` hold `more` units beyond everything written so far without moving.
    void Reserve(size_t more) {
        size_t want = Length() + more;
        if (want <= OutCapacity() || want > static_cast<size_t>(INT_MAX)) return;
        m_out.Preallocate(static_cast<int>(want));
        // All of it is likely to be written: fault it in by large pages where the system allows
        // (tens of megabytes for large documents).
        KR_AdviseLargeWrite(const_cast<wchar_t *>(m_out.GetString()) + m_outLength,
                            (want - m_outLength) * sizeof(wchar_t));
    }

    void Put(wchar_t c) {
        if (m_pos == m_buf.size()) Flush();
        m_buf[m_pos++] = c;
    }
    void Put(wchar_t const *text, size_t n) {
        if (n > m_buf.size() - m_pos) {
            Flush();
            if (n > m_buf.size()) {  // a piece larger than the buffer goes straight through
                AddLarge(text, n);
                return;
            }
        }
        std::memcpy(m_buf.data() + m_pos, text, n * sizeof(wchar_t));
        m_pos += n;
    }
    void Put(std::wstring const &text) { Put(text.data(), text.size()); }
    void PutBlanks(size_t n) {
        while (n > 0) {
            if (m_pos == m_buf.size()) Flush();
            size_t piece = std::min(n, m_buf.size() - m_pos);
            std::wmemset(m_buf.data() + m_pos, L' ', piece);
            m_pos += piece;
            n -= piece;
        }
    }
    void PutEscaped(std::wstring const &text) {
        ForEachEscapedPiece(text.data(), text.size(),
                            [this](wchar_t const *piece, size_t n) { Put(piece, n); });
    }
    // Takes back the last `n` units written (a few at most; never more than was written),
    // fetching them back from `out` when they were flushed already.
    void Unput(size_t n) {
        if (m_pos < n) {
            size_t missing = std::min({n - m_pos, m_outLength, m_buf.size() - m_pos});
            CKrStringW tail = m_out.Right(static_cast<int>(missing));
            m_out.DeleteRight(static_cast<int>(missing));
            m_outLength = static_cast<size_t>(m_out.GetLength());
            std::wstring const &t = tail.GetStdString();
            std::memmove(m_buf.data() + t.size(), m_buf.data(), m_pos * sizeof(wchar_t));
            std::memcpy(m_buf.data(), t.data(), t.size() * sizeof(wchar_t));
            m_pos += t.size();
        }
        m_pos -= std::min(n, m_pos);
    }

    // Runs `layout` on raw buffer memory when its upper bound fits there, else on the sink.
    template <class Layout>
    void Write(Layout &&layout) {
        CountingSink<kMaxEscapeGrowth> bound;
        layout(bound);
        if (bound.count > m_buf.size() - m_pos) {
            Flush();
            if (bound.count > m_buf.size()) {
                layout(*this);
                return;
            }
        }
        RawOut raw{m_buf.data() + m_pos};
        layout(raw);
        m_pos = static_cast<size_t>(raw.p - m_buf.data());
    }
    // A node of a derived class writes itself into `out`.
    int Delegate(CKrXMLNode *node, unsigned int level, bool indent, bool pretty) {
        Flush();
        int rc = node->GetValueInternal(m_out, level, indent, pretty);
        m_outLength = static_cast<size_t>(m_out.GetLength());
        return rc;
    }

private:
    void AddLarge(wchar_t const *text, size_t n) {
        while (n > 0) {
            size_t piece = std::min(n, static_cast<size_t>(INT_MAX));
            m_out.AddChars(text, static_cast<int>(piece));
            m_outLength += piece;
            text += piece;
            n -= piece;
        }
    }

    CKrStringW &m_out;
    size_t m_outLength;          // length of m_out, tracked to avoid a call per element
    std::vector<wchar_t> m_buf;  // fixed size; m_pos units are pending
    size_t m_pos = 0;
};

// ---- the walk ---------------------------------------------------------------------------------

// An open element (or a document-kind node, whose children stay at its own level).
struct Frame {
    CKrXMLNode *node;
    CKrXMLNode *next;  // next child to write
    size_t mark;       // output length after the start tag
    unsigned int level;
    bool pretty;
    bool textOnly;
    bool fragment;
};

}  // namespace

// Writes the tree in document order without recursion: `stack` holds the open elements.  The
// walk is a template over its output so that the measure of the rest runs exactly this code.
template <class Out>
struct XmlWriter::Walk {
    Out &out;
    bool indent;
    std::vector<Frame> stack;
    XmlStreamPrefetch prefetch;

    // Writes `n` (its start tag when it has children to come) at `level`.  Open and Step are
    // forced inline: left to the compiler they stay calls per node, some 4% more instructions.
    [[gnu::always_inline]] int Open(CKrXMLNode *n, unsigned int level, bool pretty, bool isRoot) {
        if (!isRoot && typeid(*n) != typeid(CKrXMLNode))
            return out.Delegate(n, level, indent, pretty);  // a derived node may write its own way
        std::wstring const &content = n->m_content.GetStdString();
        size_t const ind = IndentOf(indent, level, pretty);
        switch (n->m_type) {
            case krXML_ELEMENT: {
                // Only pretty output lays out text-only elements differently; compact output
                // does not look at the child.
                bool const textOnly = pretty && XmlWriter::IsTextOnly(n->m_pFirstChild);
                bool const lineBreak = pretty && !textOnly;
                // The map in place, without a call per element (Attrs() lives in another file).
                XmlAttributeMap const &attributes =
                    *std::launder(reinterpret_cast<XmlAttributeMap const *>(n->m_attributes));
                std::wstring const &attribsText = n->m_attribsText.GetStdString();
                out.Write([&](auto &o) {
                    StartTag(o, content, attributes, attribsText, ind, lineBreak);
                });
                stack.push_back(
                    {n, n->m_pFirstChild, out.Length(), level, pretty, textOnly, false});
                return 0;
            }
            case krXML_TEXT:
                if (!content.empty()) out.Write([&](auto &o) { TextRun(o, content, ind); });
                return 0;
            case krXML_COMMENT:
            case krXML_PROCESSING_INSTRUCTION:
                if (!content.empty()) {
                    bool const comment = n->m_type == krXML_COMMENT;
                    out.Write([&](auto &o) { Markup(o, comment, content, ind, pretty); });
                }
                return 0;
            case krXML_DOCUMENT:
                OpenFragment(n, level, pretty);
                return 0;
        }
        return -4;  // not a node kind
    }

    void OpenFragment(CKrXMLNode *n, unsigned int level, bool pretty) {
        stack.push_back({n, n->m_pFirstChild, out.Length(), level, pretty, false, true});
    }

    // Writes the next child of the innermost open element, or closes that element.
    [[gnu::always_inline]] int Step() {
        Frame &f = stack.back();
        if (CKrXMLNode *child = f.next) {
            prefetch.Ahead(child);
            f.next = child->m_pSibling;
            return Open(child, f.fragment ? f.level : f.level + 1, f.pretty && !f.textOnly, false);
        }
        if (!f.fragment) {
            if (out.Length() != f.mark) {
                size_t const ind = f.textOnly ? 0 : IndentOf(indent, f.level, f.pretty);
                std::wstring const &tag = f.node->m_content.GetStdString();
                bool const lineBreak = f.pretty;
                out.Write([&](auto &o) { EndTag(o, tag, ind, lineBreak); });
            } else {
                CloseEmpty(out, f.pretty && !f.textOnly, f.pretty);
            }
        }
        stack.pop_back();
        return 0;
    }
};

namespace {

// Room reserved for a rest measured at `measured` units.  The measure leaves escapes out (counting
// them means reading every text), so a quarter more is added for them, which covers ordinary
// documents.  Capacity that is never written is never touched, so the margin costs address space
// only; a document that escapes more than that grows its string by the usual doubling.
size_t RoomForRest(size_t measured) { return measured + measured / 4 + 64; }

// Units the rest of a walk standing at `stack` would write, escapes left out.
size_t MeasureRest(std::vector<Frame> const &stack, size_t length, bool indent) {
    CountingSink<1> counter;
    counter.count = length;  // the frames' marks are lengths of the real output
    XmlWriter::Walk<CountingSink<1>> walk{counter, indent, stack, {}};
    while (!walk.stack.empty())
        if (walk.Step() != 0) break;
    return counter.count - std::min(length, counter.count);
}

}  // namespace

bool XmlWriter::IsTextOnly(CKrXMLNode const *first) {
    return first && first->m_type == krXML_TEXT && !first->m_pSibling &&
           !first->m_content.IsEmpty();
}

int XmlWriter::Write(CKrXMLNode *root, CKrStringW &out, unsigned int level, bool indent,
                     bool pretty, bool asDocument) {
    Sink sink(out);
    Walk<Sink> walk{sink, indent, {}, {}};
    int rc = 0;
    if (asDocument)
        walk.OpenFragment(root, level, pretty);
    else
        rc = walk.Open(root, level, pretty, true);
    // The result is sized once instead of growing by doubling (each step copies it and touches
    // new pages): when `out` first lacks room for another buffer's worth, what is left to write
    // is measured and reserved.  A string kept from an earlier call of the same size is never
    // measured.
    bool sized = false;
    while (rc == 0 && !walk.stack.empty()) {
        if (!sized && sink.Length() + sink.BufferSize() > sink.OutCapacity()) {
            sized = true;
            sink.Reserve(RoomForRest(MeasureRest(walk.stack, sink.Length(), indent)));
        }
        rc = walk.Step();
    }
    return rc;
}

}  // namespace orvik::detail
