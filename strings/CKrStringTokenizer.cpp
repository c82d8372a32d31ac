// Splitting a wide string at delimiter characters.
#include "strings/CKrStringTokenizer.h"

CKrStringTokenizer::CKrStringTokenizer(wchar_t const *text, wchar_t const *delimiters)
    : m_text(text), m_delimiters(delimiters), m_position(0) {}

CKrStringTokenizer::CKrStringTokenizer(CKrStringTokenizer const &other) = default;

// Moving copies: the tokenizer is small and callers may keep using the source.
CKrStringTokenizer::CKrStringTokenizer(CKrStringTokenizer &&other)
    : m_text(other.m_text), m_delimiters(other.m_delimiters), m_position(other.m_position) {}

CKrStringTokenizer &CKrStringTokenizer::operator=(CKrStringTokenizer const &other) = default;

CKrStringTokenizer &CKrStringTokenizer::operator=(CKrStringTokenizer &&other) {
    const CKrStringTokenizer &source = other;
    return *this = source;
}

CKrStringTokenizer::~CKrStringTokenizer() = default;

CKrStringW CKrStringTokenizer::GetNextToken() {
    const size_t length = m_text.GetLength();
    if (m_position >= length) {
        m_position = length;
        return CKrStringW();
    }
    const int delimiter = m_text.FindOneOf(m_delimiters.GetString(), m_position);
    CKrStringW token;
    if (delimiter < 0) {
        token = m_text.Mid(m_position, static_cast<int>(length - m_position));
        m_position = length;
    } else {
        token = m_text.Mid(m_position, static_cast<int>(delimiter - m_position));
        m_position = static_cast<uint64_t>(delimiter) + 1;
    }
    return token;
}

bool CKrStringTokenizer::HasMoreTokens() const { return m_position < m_text.GetLength(); }

size_t CKrStringTokenizer::GetPosition() const { return m_position; }

CKrStringW CKrStringTokenizer::GetToken(int index) {
    if (index < 0) return CKrStringW();
    const size_t length = m_text.GetLength();
    size_t position = 0;
    for (int count = 0; position < length; ++count) {
        const int delimiter = m_text.FindOneOf(m_delimiters.GetString(), position);
        if (delimiter < 0) {
            // Past the last delimiter the rest of the text is the next token.
            return count == index ? m_text.Mid(position, static_cast<int>(length - position))
                                  : CKrStringW();
        }
        if (count == index) return m_text.Mid(position, static_cast<int>(delimiter - position));
        position = static_cast<size_t>(delimiter) + 1;
    }
    return CKrStringW();
}

int CKrStringTokenizer::Size() const {
    const size_t length = m_text.GetLength();
    if (length == 0) return 0;
    int count = 1;
    const wchar_t *text = m_text.GetString();
    for (size_t i = 0; i < length; ++i) {
        if (m_delimiters.Find(text[i]) >= 0) ++count;
    }
    return count;
}
