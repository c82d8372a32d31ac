// reformat: the fixed layout, strict output from lenient input, failures, limits.  (Idempotence
// and reading back are the json_reformat fuzz target's, over its corpus.)
#include <gtest/gtest.h>

#include <string>

#include "json/CKrJsonObject.h"

static std::wstring reformat(std::wstring const &text, int indent, std::wstring *error = nullptr) {
    CKrStringW err;
    std::wstring out = CKrJson::reformat(text, &err, indent).GetStdString();
    if (error) *error = err.GetStdString();
    return out;
}

TEST(JsonReformat, Layout) {
    EXPECT_EQ(reformat(L"{\"b\":[1,{\"d\":0}],\"a\":{\"c\":[2]}}", 2),
              L"{\r\n  \"b\" : [\r\n    1,\r\n    {\r\n      \"d\" : 0\r\n    }\r\n  ],\r\n"
              L"  \"a\" : {\r\n    \"c\" : [\r\n      2\r\n    ]\r\n  }\r\n}");
    EXPECT_EQ(reformat(L"[1,[2]]", 0), L"[\r\n1,\r\n[\r\n2\r\n]\r\n]");
    EXPECT_EQ(reformat(L"[1,[2]]", -5), reformat(L"[1,[2]]", 0));
    EXPECT_EQ(reformat(L"  \"scalar\"  ", 4), L"\"scalar\"");
}

TEST(JsonReformat, OutputIsStrictJson) {
    struct Case {
        std::wstring in, out;
    } const cases[] = {
        {L"NULL", L"null"},
        {L"[TRUE,False]", L"[\r\ntrue,\r\nfalse\r\n]"},
        {L"-007.50E+01", L"-7.50E+01"},
        {L"000", L"0"},
        {L"-0", L"-0"},
        {L"\"tab\there\x01\"", L"\"tab\\u0009here\\u0001\""},
        {L"\"\\u00e9\\n\"", L"\"\\u00e9\\n\""},  // valid escapes stay as written
        {L"\t\r\n [true, -0.0, \"\\/\"]\n", L"[\r\ntrue,\r\n-0.0,\r\n\"\\/\"\r\n]"},
    };
    for (auto const &c : cases) EXPECT_EQ(reformat(c.in, 0), c.out) << c.in;
}

TEST(JsonReformat, FailuresGiveEmptyTextAndAMessage) {
    std::wstring const kValue = L"Expected value while reformatting!",
                       kAfter = L"Unexpected text after the end of the document!",
                       kArrayValue = L"Expected value while parsing Array!",
                       kName = L"Expected '\"' while parsing Object!";
    struct Case {
        std::wstring in, error;
    } const cases[] = {
        {L"", kValue},
        {L"   ", kValue},
        {L"nope", kValue},
        {L"1 2", kAfter},
        {L"{\"a\":1}}", kAfter},
        {L"{\"a\":{\"b\" 1}}", L"Expected ':' while parsing Object!"},  // checked at every level
        {L"[[1,]]", kArrayValue},
        {L"{\"a\":[{\"q\":1,}]}", kName},
        {L"{\"a\":[1}", L"Expected ',' or ']' while parsing Array!"},
        {L"[{\"a\":1]", L"Expected ',' or '}' while parsing Object!"},
        {L"[{\"a\":1,\"b\":2,\"a\":3}]", L"Duplicate member name while parsing Object!"},
        {L"[\"\\z\"]", L"Unrecognized escape sequence"},
        {L"[1.]", L"Number parse erorr: a number must follow decimal point!"},
        {L"[\"open", L"Unballanced quotation marks"},
        {L"[", kArrayValue},
        // No empty containers, at any depth.
        {L"{ }", kName},
        {L"[1,[2,{}]]", kName},
        {L"{\"a\":[ ]}", kArrayValue},
    };
    for (auto const &c : cases) {
        std::wstring err;
        EXPECT_EQ(reformat(c.in, 2, &err), L"") << c.in;
        EXPECT_EQ(err, c.error) << c.in;
    }
}

TEST(JsonReformat, NestingIsBoundedNotRecursed) {
    int const limit = CKrJson::kMaxDepth;
    std::wstring ok = std::wstring(size_t(limit), L'[') + L"1" + std::wstring(size_t(limit), L']');
    std::wstring err;
    std::wstring out = reformat(ok, 0, &err);
    EXPECT_FALSE(out.empty()) << err;
    std::wstring tooDeep = L"[" + ok + L"]";
    EXPECT_EQ(reformat(tooDeep, 0, &err), L"");
    EXPECT_EQ(err, L"Nesting too deep while reformatting!");
    std::wstring huge(100000, L'{');
    EXPECT_EQ(reformat(huge, 2, &err), L"");
    EXPECT_EQ(err, L"Expected '\"' while parsing Object!");  // the empty name fails first
    huge.assign(100000, L'[');
    EXPECT_EQ(reformat(huge, 2, &err), L"");
    EXPECT_EQ(err, L"Nesting too deep while reformatting!");
    // A wide indentation that would need more than the output limit fails instead of allocating.
    EXPECT_EQ(reformat(L"[[[[1]]]]", INT_MAX, &err), L"");
    EXPECT_EQ(err, L"Output too large while reformatting!");
}
