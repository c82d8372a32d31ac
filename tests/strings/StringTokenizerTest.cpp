// Sequential and indexed tokenizing agree on the cuts; Size() deliberately counts a trailing
// delimiter that GetNextToken never yields.
#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <utility>
#include <vector>

#include "strings/CKrStringTokenizer.h"

namespace {
using Tokens = std::vector<std::wstring>;

Tokens sequential(CKrStringTokenizer &t) {
    Tokens out;
    while (t.HasMoreTokens()) out.push_back(t.GetNextToken().GetStdString());
    return out;
}
}  // namespace

TEST(Tokenizer, SequentialIndexedAndSizeAgree) {
    struct Case {
        wchar_t const *text, *delimiters;
        int size;
        Tokens tokens;
    } const cases[] = {
        {L"a,,b", L",", 3, {L"a", L"", L"b"}},  // adjacent delimiters: an empty token
        {L"one two  three", L" ", 4, {L"one", L"two", L"", L"three"}},
        {L"a,b,", L",", 3, {L"a", L"b"}},  // trailing delimiter: counted, not yielded
        {L"k=v;x=y", L"=;", 4, {L"k", L"v", L"x", L"y"}},  // every character of the set delimits
        {L";a", L";", 2, {L"", L"a"}},                     // a leading delimiter: an empty token
        {L"a,b", nullptr, 1, {L"a,b"}},
        {L"", L",", 0, {}},
        {nullptr, nullptr, 0, {}},
    };
    for (auto const &c : cases) {
        SCOPED_TRACE(c.text ? c.text : L"(null)");
        CKrStringTokenizer t(c.text, c.delimiters);
        EXPECT_EQ(t.Size(), c.size);
        // Indexed: the same tokens, then empty ones (also past a trailing delimiter).  Asking by
        // index never moves the position, before or after the sequential run.
        const int n = static_cast<int>(c.tokens.size());
        for (int i = -1; i <= n; ++i) {
            EXPECT_EQ(t.GetToken(i).GetStdString(), i >= 0 && i < n ? c.tokens[size_t(i)] : L"");
        }
        EXPECT_EQ(sequential(t), c.tokens);
        const size_t length = c.text ? std::wcslen(c.text) : 0;
        EXPECT_EQ(t.GetPosition(), length);
        t.GetToken(0);
        EXPECT_EQ(t.GetPosition(), length);
        EXPECT_EQ(t.GetNextToken().GetStdString(), L"");  // past the end
        EXPECT_EQ(t.GetPosition(), length);
    }
}

TEST(Tokenizer, CopiesAndMovesCarryThePosition) {
    CKrStringTokenizer t(L"a|b|c", L"|");
    t.GetNextToken();
    CKrStringTokenizer copy(t);
    CKrStringTokenizer moved(std::move(t));
    EXPECT_EQ(copy.GetNextToken().GetStdString(), L"b");
    EXPECT_EQ(moved.GetNextToken().GetStdString(), L"b");
    // The source of a move is still usable: the move copies.
    EXPECT_EQ(t.GetNextToken().GetStdString(), L"b");  // NOLINT(bugprone-use-after-move)
    CKrStringTokenizer assigned(L"", L"");
    assigned = copy;
    EXPECT_EQ(assigned.GetNextToken().GetStdString(), L"c");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.GetNextToken().GetStdString(), L"c");
}
