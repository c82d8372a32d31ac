// Tokenizer on arbitrary text and delimiter sets.  Invariants: sequential tokens joined with the
// delimiters that cut them give back the whole text; GetToken(i) is the
// i-th sequential token; Size() is at least the number of tokens and at most one more.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "strings/CKrStringTokenizer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const size_t delimiterCount = data[0] % 4;
    if (size < 1 + delimiterCount) return 0;
    std::wstring delimiters, text;
    for (size_t i = 0; i < delimiterCount; ++i)
        delimiters += static_cast<wchar_t>(data[1 + i] % 8 + 'a');
    for (size_t i = 1 + delimiterCount; i < size; ++i)
        text += static_cast<wchar_t>(data[i] % 8 + 'a');

    CKrStringTokenizer t(text.c_str(), delimiters.c_str());
    std::vector<std::wstring> tokens;
    std::wstring rebuilt;
    size_t lastPosition = 0;
    while (t.HasMoreTokens()) {
        std::wstring token = t.GetNextToken().GetStdString();
        rebuilt += token;
        if (t.GetPosition() <= lastPosition) std::abort();  // always makes progress
        lastPosition = t.GetPosition();
        if (lastPosition <= text.size() && lastPosition > 0 && rebuilt.size() < lastPosition)
            rebuilt += text[lastPosition - 1];  // the delimiter that ended this token
        tokens.push_back(token);
    }
    if (rebuilt != text) std::abort();
    for (size_t i = 0; i < tokens.size(); ++i)
        if (t.GetToken(static_cast<int>(i)).GetStdString() != tokens[i]) std::abort();
    if (!t.GetToken(static_cast<int>(tokens.size())).IsEmpty()) std::abort();
    const size_t sz = static_cast<size_t>(t.Size());
    if (sz < tokens.size() || sz > tokens.size() + 1) std::abort();
    return 0;
}
