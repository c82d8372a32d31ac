// Sequential and indexed tokenizing agree on the cuts; Size() deliberately counts a trailing
// delimiter that GetNextToken never yields.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "strings/CKrStringTokenizer.h"

namespace {

std::vector<std::wstring> sequential(CKrStringTokenizer &t) {
    std::vector<std::wstring> out;
    while (t.HasMoreTokens()) out.push_back(t.GetNextToken().GetStdString());
    return out;
}

}  // namespace

TEST(Tokenizer, AdjacentDelimitersGiveEmptyTokens) {
    CKrStringTokenizer t(L"a,,b", L",");
    EXPECT_EQ(t.Size(), 3);
    EXPECT_EQ(sequential(t), (std::vector<std::wstring>{L"a", L"", L"b"}));
    EXPECT_EQ(t.GetPosition(), 4u);
}

TEST(Tokenizer, TrailingDelimiterCountedButNotYielded) {
    CKrStringTokenizer t(L"a,b,", L",");
    EXPECT_EQ(t.GetNextToken().GetStdString(), L"a");
    EXPECT_EQ(t.GetNextToken().GetStdString(), L"b");
    EXPECT_FALSE(t.HasMoreTokens());
    EXPECT_EQ(t.Size(), 3);
    EXPECT_EQ(t.GetToken(2).GetStdString(), L"");
    // Past the end: empty token, position stays at the length.
    EXPECT_EQ(t.GetNextToken().GetStdString(), L"");
    EXPECT_EQ(t.GetPosition(), 4u);
}

TEST(Tokenizer, EveryCharacterOfTheSetDelimits) {
    CKrStringTokenizer t(L"k=v;x=y", L"=;");
    EXPECT_EQ(t.Size(), 4);
    EXPECT_EQ(sequential(t), (std::vector<std::wstring>{L"k", L"v", L"x", L"y"}));
    // A leading delimiter gives a leading empty token.
    CKrStringTokenizer lead(L";a", L";");
    EXPECT_EQ(sequential(lead), (std::vector<std::wstring>{L"", L"a"}));
}

TEST(Tokenizer, IndexedAccessMatchesSequentialAndKeepsPosition) {
    CKrStringTokenizer t(L"one two  three", L" ");
    EXPECT_EQ(t.GetNextToken().GetStdString(), L"one");
    const size_t pos = t.GetPosition();
    EXPECT_EQ(t.GetToken(0).GetStdString(), L"one");
    EXPECT_EQ(t.GetToken(1).GetStdString(), L"two");
    EXPECT_EQ(t.GetToken(2).GetStdString(), L"");
    EXPECT_EQ(t.GetToken(3).GetStdString(), L"three");
    EXPECT_EQ(t.GetToken(4).GetStdString(), L"");
    EXPECT_EQ(t.GetToken(-1).GetStdString(), L"");
    EXPECT_EQ(t.GetPosition(), pos);
}

TEST(Tokenizer, EmptyTextNullPointersAndNoDelimiters) {
    CKrStringTokenizer empty(L"", L",");
    EXPECT_EQ(empty.Size(), 0);
    EXPECT_FALSE(empty.HasMoreTokens());
    EXPECT_EQ(empty.GetToken(0).GetStdString(), L"");
    CKrStringTokenizer nulls(nullptr, nullptr);
    EXPECT_EQ(nulls.Size(), 0);
    EXPECT_EQ(nulls.GetNextToken().GetStdString(), L"");
    CKrStringTokenizer whole(L"a,b", nullptr);
    EXPECT_EQ(whole.Size(), 1);
    EXPECT_EQ(whole.GetToken(0).GetStdString(), L"a,b");
    EXPECT_EQ(sequential(whole), (std::vector<std::wstring>{L"a,b"}));
}

TEST(Tokenizer, CopiesAndMovesCarryThePosition) {
    CKrStringTokenizer t(L"a|b|c", L"|");
    t.GetNextToken();
    CKrStringTokenizer copy(t);
    CKrStringTokenizer moved(std::move(t));
    EXPECT_EQ(copy.GetNextToken().GetStdString(), L"b");
    EXPECT_EQ(moved.GetNextToken().GetStdString(), L"b");
    // The source of a move is still usable: the move copies.
    EXPECT_EQ(t.GetNextToken().GetStdString(), L"b");
    CKrStringTokenizer assigned(L"", L"");
    assigned = copy;
    EXPECT_EQ(assigned.GetNextToken().GetStdString(), L"c");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.GetNextToken().GetStdString(), L"c");
}
