// Reading objects and arrays, and querying what was read: a corpus of valid documents of every
// shape, a corpus of malformed ones with their messages, and hostile input.
#include <gtest/gtest.h>

#include <string>

#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrJsonValue.h"

namespace {
struct BadCase {
    std::wstring text;
    std::wstring error;
};
}  // namespace

TEST(JsonRead, ValidObjectCorpusReadsAndQueries) {
    std::wstring const doc =
        L" \r\n{ \"int\" : -42, \"big\":12345678901, \"dbl\":6.02E+23,\"neg0\":-0,\n"
        L"\t\"str\" : \"a\\\"b\\\\c\\/d\\n\\u00e9\\uD83D\\ude00\", \"nul\" : NULL, \"T\" : True,\n"
        L"  \"F\":FALSE, \"obj\" : {\"x\": \"}\", \"y\": [1, {\"z\": []}]}, \"arr\" : [ ],\n"
        L"  \"e\\u0073c\" : 1, \"emptyObj\":{}, \"\":\"unnamed\" }  \r\n";
    CKrJsonObject o;
    CKrStringW err;
    ASSERT_TRUE(CKrJson::readObjectFromString(doc, &o, &err)) << err.GetString();
    std::vector<CKrStringW> names;
    ASSERT_TRUE(o.isObject(&names));
    ASSERT_EQ(names.size(), 13u);
    EXPECT_EQ(names[0].GetStdString(), L"");  // name order, the empty name first
    EXPECT_EQ(names[1].GetStdString(), L"F");

    int i = 0;
    double d = 0;
    bool b = false;
    CKrStringW s;
    EXPECT_TRUE(o.isItemWithNameInteger(L"int", &i));
    EXPECT_EQ(i, -42);
    EXPECT_FALSE(o.isItemWithNameInteger(L"big", &i));  // beyond int: not an int ...
    EXPECT_TRUE(o.isItemWithNameDouble(L"big", &d));    // ... but a number
    EXPECT_EQ(d, 12345678901.0);
    EXPECT_TRUE(o.isItemWithNameDouble(L"dbl", &d));
    EXPECT_EQ(d, 6.02e23);
    EXPECT_FALSE(o.isItemWithNameInteger(L"dbl", nullptr));
    EXPECT_TRUE(o.isItemWithNameInteger(L"neg0", &i));
    EXPECT_EQ(i, 0);
    EXPECT_TRUE(o.isItemWithNameString(L"str", &s));
    EXPECT_EQ(s.GetStdString(),
              std::wstring(L"a\"b\\c/d\n\u00e9") + wchar_t(0xD83D) + wchar_t(0xDE00));
    EXPECT_TRUE(o.isItemWithNameNull(L"nul"));
    EXPECT_FALSE(o.isItemWithNameBool(L"nul", &b));
    EXPECT_TRUE(o.isItemWithNameBool(L"T", &b) && b);
    EXPECT_TRUE(o.isItemWithNameBool(L"F", &b) && !b);
    EXPECT_FALSE(o.isItemWithNameString(L"int", &s));
    EXPECT_TRUE(o.isItemWithNameString(L"", &s));
    EXPECT_EQ(s.GetStdString(), L"unnamed");
    EXPECT_TRUE(o.isItemWithNameInteger(L"e\\u0073c", &i));  // names keep their source form
    EXPECT_FALSE(o.isItemWithNameInteger(L"esc", &i));
    EXPECT_FALSE(o.isItemWithNameNull(L"absent"));
    EXPECT_FALSE(o.isItemAtIndexNull(0));  // not an array

    CKrJsonObject inner;
    CKrJsonArray arr;
    ASSERT_TRUE(o.isItemWithNameObject(L"obj", &inner));
    EXPECT_TRUE(inner.isItemWithNameString(L"x", &s));
    EXPECT_EQ(s.GetStdString(), L"}");
    ASSERT_TRUE(inner.isItemWithNameArray(L"y", &arr));
    EXPECT_EQ(arr.itemCount(), 2);
    EXPECT_TRUE(arr.isItemAtIndexInteger(0, &i));
    CKrJsonObject deepest;
    ASSERT_TRUE(arr.isItemAtIndexObject(1, &deepest));
    // Empty containers pass the shallow read as extents but do not read as values.
    EXPECT_FALSE(deepest.isItemWithNameArray(L"z", &arr));
    EXPECT_EQ(deepest.lastError().GetStdString(), L"Expected value while parsing Array!");
    EXPECT_EQ(arr.itemCount(), 2);  // left as it was
    EXPECT_FALSE(o.isItemWithNameObject(L"emptyObj", &inner));
    EXPECT_EQ(o.lastError().GetStdString(), L"Expected '\"' while parsing Object!");
    EXPECT_TRUE(inner.isItemWithNameString(L"x", nullptr));  // left as it was
}

TEST(JsonRead, ValidArrayCorpusAndIndexBounds) {
    CKrJsonArray a;
    CKrStringW err;
    ASSERT_TRUE(CKrJson::readArrayFromString(
        L"[1, -2.5e-3, \"s\", null, true, {\"a\":1}, [[]], \"\"]", &a, &err))
        << err.GetString();
    ASSERT_EQ(a.itemCount(), 8);
    int i = 0;
    double d = 0;
    CKrStringW s;
    EXPECT_TRUE(a.isItemAtIndexInteger(0, &i));
    EXPECT_TRUE(a.isItemAtIndexDouble(1, &d));
    EXPECT_EQ(d, -2.5e-3);
    EXPECT_TRUE(a.isItemAtIndexString(7, &s));
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(a.isItemAtIndexNull(3));
    EXPECT_TRUE(a.isItemAtIndexBool(4, nullptr));
    EXPECT_TRUE(a.isItemAtIndexObject(5, nullptr));
    EXPECT_TRUE(a.isItemAtIndexArray(6, nullptr));
    EXPECT_FALSE(a.isItemAtIndexArray(5, nullptr));
    for (int bad : {-1, 8, INT_MIN, INT_MAX}) {
        EXPECT_FALSE(a.isItemAtIndexNull(bad));
        EXPECT_FALSE(a.isItemAtIndexString(bad, &s));
        EXPECT_FALSE(a.isItemAtIndexObject(bad, nullptr));
    }
    // Reading an item of an array into that same array.
    ASSERT_TRUE(CKrJson::readArrayFromString(L"[[7, 8], 1]", &a, nullptr));
    ASSERT_TRUE(a.isItemAtIndexArray(0, &a));
    EXPECT_EQ(a.toString().GetStdString(), L"[\r\n7,\r\n 8\r\n]");
}

TEST(JsonRead, MalformedObjectsFailWithTheirMessageAndKeepTheTarget) {
    std::wstring const kBrace = L"Expected '{' while parsing Object!",
                       kName = L"Expected '\"' while parsing Object!",
                       kColon = L"Expected ':' while parsing Object!",
                       kValue = L"Expected value while parsing Object!",
                       kNext = L"Expected ',' or '}' while parsing Object!",
                       kEscape = L"Unrecognized escape sequence",
                       kAfter = L"Unexpected text after the end of Object!";
    BadCase const cases[] = {
        {L"", kBrace},
        {L"  [1]", kBrace},
        {L"{", kName},
        {L"{}", kName},
        {L" { \r\n} ", kName},
        {L"{\"a\":1,}", kName},
        {L"{a:1}", kName},
        {L"{\"a\" 1}", kColon},
        {L"{\"a\"", kColon},
        {L"{\"a\":}", kValue},
        {L"{\"a\":nul}", kValue},
        {L"{\"a\":1 \"b\":2}", kNext},
        {L"{\"a\":1", kNext},
        {L"{\"a\" : \"x\\q\"}", kEscape},
        {L"{\"a\\q\" : 1}", kEscape},
        {L"{\"a\" : \"x}", L"Unballanced quotation marks"},
        {L"{\"a\" : 1.}", L"Number parse erorr: a number must follow decimal point!"},
        {L"{\"a\" : 1e+}", L"Number parse error: a number must follow exponent sign!"},
        {L"{\"a\" : {\"b\":{}", L"Unballanced braces while parsing Object"},
        {L"{\"a\" : [1}", L"Unballanced brackets while parsing Array"},
        {L"{\"a\":1} x", kAfter},
        {L"{\"a\":1}{}", kAfter},
        {L"{\"a\":1,\"a\":2}", L"Duplicate member name while parsing Object!"},
    };
    for (auto const &c : cases) {
        CKrJsonObject target(L"keep", CKrJsonValue(1));
        CKrStringW err;
        EXPECT_FALSE(CKrJson::readObjectFromString(c.text, &target, &err)) << c.text;
        EXPECT_EQ(err.GetStdString(), c.error) << c.text;
        EXPECT_EQ(target.toString().GetStdString(), L"{\"keep\" : 1}") << c.text;
        EXPECT_FALSE(CKrJson::readObjectFromString(c.text, nullptr, nullptr));
    }
}

TEST(JsonRead, MalformedArraysFailWithTheirMessage) {
    std::wstring const kValue = L"Expected value while parsing Array!",
                       kNext = L"Expected ',' or ']' while parsing Array!";
    BadCase const cases[] = {
        {L"{}", L"Expected '[' while parsing Array!"},
        {L"[", kValue},
        {L"[]", kValue},
        {L"[ \t]", kValue},
        {L"[1,]", kValue},
        {L"[,1]", kValue},
        {L"[1 2]", kNext},
        {L"[1}", kNext},
        {L"[\"\\x\"]", L"Unrecognized escape sequence"},
        {L"[1] ]", L"Unexpected text after the end of Array!"},
    };
    for (auto const &c : cases) {
        CKrJsonArray target;
        target.addItem(CKrJsonValue(5));
        CKrStringW err;
        EXPECT_FALSE(CKrJson::readArrayFromString(c.text, &target, &err)) << c.text;
        EXPECT_EQ(err.GetStdString(), c.error) << c.text;
        EXPECT_EQ(target.itemCount(), 1) << c.text;
    }
}

TEST(JsonRead, MalformedNestedItemsAnswerNoAndLeaveTheirMessage) {
    CKrJsonObject o;
    // The reader is shallow: nested contents are checked when they are queried.
    ASSERT_TRUE(CKrJson::readObjectFromString(
        L"{\"o\": {\"b\" 1}, \"a\": [1 2], \"n\": 5, \"s\": \"x\"}", &o, nullptr));
    CKrJsonObject inner(L"keep", CKrJsonValue(1));
    EXPECT_FALSE(o.isItemWithNameObject(L"o", &inner));
    EXPECT_EQ(o.lastError().GetStdString(), L"Expected ':' while parsing Object!");
    EXPECT_EQ(inner.toString().GetStdString(), L"{\"keep\" : 1}");
    EXPECT_FALSE(o.isItemWithNameArray(L"a", nullptr));
    EXPECT_EQ(o.lastError().GetStdString(), L"Expected ',' or ']' while parsing Array!");
    o.clearLastError();
    EXPECT_FALSE(o.isItemWithNameString(L"n", nullptr));  // a plain "no": no message
    EXPECT_TRUE(o.lastError().IsEmpty());
}

TEST(JsonRead, DeepAndTruncatedInputNeverCrashes) {
    size_t const depth = 100000;
    std::wstring deep = L"{\"a\":" + std::wstring(depth, L'[') + std::wstring(depth, L']') + L"}";
    CKrJsonObject o;
    CKrStringW err;
    ASSERT_TRUE(CKrJson::readObjectFromString(deep, &o, &err));
    CKrJsonArray a;
    for (int level = 0; level < 3; ++level) {
        ASSERT_TRUE(level == 0 ? o.isItemWithNameArray(L"a", &a) : a.isItemAtIndexArray(0, &a));
        EXPECT_EQ(a.itemCount(), 1);
    }
    std::wstring open = L"{\"a\":" + std::wstring(depth, L'{');
    EXPECT_FALSE(CKrJson::readObjectFromString(open, &o, &err));
    EXPECT_EQ(err.GetStdString(), L"Unballanced braces while parsing Object");
    // Every prefix of a valid document fails cleanly.
    std::wstring const doc = L"{\"k\": [1, {\"x\": \"\\u0041\"}, -2.5e3, true], \"z\": null}";
    for (size_t n = 0; n < doc.size(); ++n)
        EXPECT_FALSE(CKrJson::readObjectFromString(doc.substr(0, n), nullptr, nullptr)) << n;
}
