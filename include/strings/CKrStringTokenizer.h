// CKrStringTokenizer: splits a wide string at any character of a delimiter set (each character
// is a delimiter on its own), either sequentially or by token index.
//
// Sequentially, adjacent delimiters give empty tokens but a trailing delimiter gives no empty
// final token; Size() counts 1 + the number of delimiters, so "a,b," has Size() 3 while
// GetNextToken yields two tokens.  Callers rely on that difference.
#ifndef ORVIK_STRINGS_CKRSTRINGTOKENIZER_H
#define ORVIK_STRINGS_CKRSTRINGTOKENIZER_H

#include <cstddef>
#include <cstdint>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"

class ORVIK_API CKrStringTokenizer {
public:
    // Null pointers give empty strings; the position starts at 0.
    CKrStringTokenizer(wchar_t const *text, wchar_t const *delimiters);
    CKrStringTokenizer(CKrStringTokenizer const &other);
    CKrStringTokenizer(CKrStringTokenizer &&other);  // copies, like the copy constructor
    CKrStringTokenizer &operator=(CKrStringTokenizer const &other);
    CKrStringTokenizer &operator=(CKrStringTokenizer &&other);  // copies
    ~CKrStringTokenizer();

    // The text from the position up to the next delimiter (the rest when there is none);
    // empty once no tokens are left.
    CKrStringW GetNextToken();
    bool HasMoreTokens() const;  // position < length
    size_t GetPosition() const;
    // The token with that 0-based index, counted as GetNextToken cuts them; empty for a
    // negative or too large index.  Does not move the position.
    CKrStringW GetToken(int index);
    // 0 for an empty text, else 1 + the number of delimiter characters.
    int Size() const;

private:
    CKrStringW m_text;
    CKrStringW m_delimiters;
    uint64_t m_position;
};

#endif
