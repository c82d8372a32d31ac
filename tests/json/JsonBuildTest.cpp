// Building documents: scalar texts, member order and duplicates, the fixed output layouts.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "common/DiagCapture.h"
#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrJsonValue.h"

static std::wstring str(CKrJson const &j) { return j.toString().GetStdString(); }

TEST(JsonValue, ConstructorsProduceTheirFixedTexts) {
    EXPECT_EQ(str(CKrJsonValue()), L"null");
    EXPECT_EQ(str(CKrJsonValue(nullptr)), L"null");
    EXPECT_EQ(str(CKrJsonValue(static_cast<wchar_t const *>(nullptr))), L"null");
    EXPECT_EQ(str(CKrJsonValue(-7)), L"-7");
    EXPECT_EQ(str(CKrJsonValue(INT_MIN)), L"-2147483648");
    EXPECT_EQ(str(CKrJsonValue(1.5)), L"1.500000");
    EXPECT_EQ(str(CKrJsonValue(-0.0000004)), L"-0.000000");
    EXPECT_EQ(str(CKrJsonValue(1e20)), L"100000000000000000000.000000");
    EXPECT_EQ(str(CKrJsonValue(true)), L"true");
    EXPECT_EQ(str(CKrJsonValue(false)), L"false");
    EXPECT_EQ(str(CKrJsonValue(L"a\u00e9")), L"\"a\u00e9\"");
    // Not escaped: callers pass escaped text.
    EXPECT_EQ(str(CKrJsonValue(L"x\\\"y")), L"\"x\\\"y\"");
    EXPECT_EQ(CKrJsonValue(1e308).toString().GetLength(), 316u);  // no truncation of huge values
}

TEST(JsonValue, QueriesAnswerFromTheText) {
    int i = 0;
    double d = 0;
    bool b = false;
    CKrStringW s;
    EXPECT_TRUE(CKrJsonValue(42).isInteger(&i));
    EXPECT_EQ(i, 42);
    EXPECT_FALSE(CKrJsonValue(1.5).isInteger(&i));  // written with a fraction
    EXPECT_TRUE(CKrJsonValue(1.5).isDouble(&d));
    EXPECT_EQ(d, 1.5);
    EXPECT_TRUE(CKrJsonValue(false).isBool(&b));
    EXPECT_FALSE(b);
    EXPECT_FALSE(CKrJsonValue(false).isNull());
    EXPECT_TRUE(CKrJsonValue().isNull());
    EXPECT_TRUE(CKrJsonValue(L"a\\nb").isString(&s));
    EXPECT_EQ(s.GetStdString(), L"a\nb");
    EXPECT_FALSE(CKrJsonValue(L"x").isObject(nullptr));
    EXPECT_FALSE(CKrJsonValue(L"x").isArray(nullptr));
    EXPECT_FALSE(CKrJsonValue(3).isItemAtIndexNull(0));
    EXPECT_FALSE(CKrJsonValue(3).isItemWithNameNull(L"a"));

    CKrJsonValue moved(7), target;
    target = std::move(moved);
    EXPECT_EQ(str(target), L"7");
    EXPECT_TRUE(moved.isEmpty());  // NOLINT(bugprone-use-after-move): defined moved-from state
    EXPECT_FALSE(target.isEmpty());
}

TEST(JsonObject, MembersComeOutInNameOrderAndFirstValueWins) {
    CKrJsonObject o;
    EXPECT_TRUE(o.addItem(L"b", CKrJsonValue(1)));
    EXPECT_TRUE(o.addItem(L"a", CKrJsonValue(2)));
    EXPECT_TRUE(o.addItem(L"B", CKrJsonValue(3)));  // upper case sorts before lower case
    EXPECT_FALSE(o.addItem(L"a", CKrJsonValue(9)));
    EXPECT_EQ(str(o), L"{\r\n\"B\" : 3,\r\n\"a\" : 2,\r\n\"b\" : 1\r\n}");
    std::vector<CKrStringW> names;
    ASSERT_TRUE(o.isObject(&names));
    ASSERT_EQ(names.size(), 3u);
    EXPECT_EQ(names[0].GetStdString(), L"B");
    EXPECT_EQ(names[2].GetStdString(), L"b");

    CKrJsonObject pairs(L"x", CKrJsonValue(1), L"x", CKrJsonValue(2), L"w", CKrJsonValue(true));
    EXPECT_EQ(str(pairs), L"{\r\n\"w\" : true,\r\n\"x\" : 1\r\n}");
}

TEST(JsonLayout, ObjectAndArrayToStringLayouts) {
    struct Case {
        CKrJson const &json;
        std::wstring expected;
    };
    CKrJsonArray empty, one, two, three, multiLineItem;
    one.addItem(CKrJsonValue(1));
    two.addItem(CKrJsonValue(1));
    two.addItem(CKrJsonValue(2));
    three.addItem(CKrJsonValue(L"a"));
    three.addItem(CKrJsonValue());
    three.addItem(two);
    multiLineItem.addItem(two);
    CKrJsonObject emptyObj, oneObj(L"n", CKrJsonValue(1)), nested(L"n", two);
    Case cases[] = {
        {empty, L""},
        {one, L"[1]"},
        {two, L"[\r\n1,\r\n 2\r\n]"},
        {three, L"[\r\n\"a\",\r\n null,\r\n [\r\n1,\r\n 2\r\n]\r\n]"},
        {multiLineItem, L"[\r\n[\r\n1,\r\n 2\r\n]\r\n]"},
        {emptyObj, L""},
        {oneObj, L"{\"n\" : 1}"},
        {nested, L"{\r\n\"n\" : [\r\n1,\r\n 2\r\n]\r\n}"},
    };
    for (auto const &c : cases) EXPECT_EQ(str(c.json), c.expected);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_TRUE(emptyObj.isEmpty());
    EXPECT_FALSE(one.isEmpty());
    int count = -1;
    EXPECT_TRUE(three.isArray(&count));
    EXPECT_EQ(count, 3);
    EXPECT_EQ(three.itemCount(), 3);
}

TEST(JsonLayout, BuiltDocumentsReadBack) {
    CKrJsonArray list;
    list.addItem(CKrJsonValue(1.25));
    list.addItem(CKrJsonValue(L"q"));
    CKrJsonObject inner(L"k", CKrJsonValue(false));
    CKrJsonObject doc(L"list", list, L"inner", inner, L"n", CKrJsonValue(-3));
    CKrJsonObject back;
    CKrStringW err;
    ASSERT_TRUE(CKrJson::readObjectFromString(doc.toString(), &back, &err)) << err.GetString();
    EXPECT_EQ(str(back), str(doc));
    double d = 0;
    CKrJsonArray l2;
    CKrJsonObject i2;
    bool b = true;
    int n = 0;
    EXPECT_TRUE(back.isItemWithNameArray(L"list", &l2));
    EXPECT_TRUE(l2.isItemAtIndexDouble(0, &d));
    EXPECT_EQ(d, 1.25);
    EXPECT_TRUE(back.isItemWithNameObject(L"inner", &i2));
    EXPECT_TRUE(i2.isItemWithNameBool(L"k", &b));
    EXPECT_FALSE(b);
    EXPECT_TRUE(back.isItemWithNameInteger(L"n", &n));
    EXPECT_EQ(n, -3);
}

TEST(JsonText, EscapeAndUnescapeRoundTrip) {
    std::wstring plain = L"q\"b\\s/\b\f\n\r\t\x01\x1f\u00e9";
    CKrStringW escaped = CKrJson::escapeString(plain);
    EXPECT_EQ(escaped.GetStdString(), L"q\\\"b\\\\s/\\b\\f\\n\\r\\t\\u0001\\u001f\u00e9");
    CKrStringW back;
    ASSERT_TRUE(CKrJson::unescapeString(escaped, &back));
    EXPECT_EQ(back.GetStdString(), plain);
    back = L"unchanged";
    for (wchar_t const *bad : {L"\\", L"\\x", L"\\u12", L"\\u12G4"}) {
        EXPECT_FALSE(CKrJson::unescapeString(bad, &back)) << bad;
        EXPECT_EQ(back.GetStdString(), L"unchanged");
    }
}

TEST(JsonText, MakeIndentWithSpaces) {
    EXPECT_EQ(CKrJson::makeIndentWithSpaces(3, 2).GetStdString(), L"      ");
    EXPECT_TRUE(CKrJson::makeIndentWithSpaces(0, 4).IsEmpty());
    EXPECT_EQ(CKrJson::makeIndentWithSpaces(-2, -3).GetLength(), 6u);  // the product counts
    EXPECT_TRUE(CKrJson::makeIndentWithSpaces(2, -3).IsEmpty());
    DiagCapture diag;
    EXPECT_TRUE(CKrJson::makeIndentWithSpaces(INT_MAX, INT_MAX).IsEmpty());  // no overflow
    ASSERT_EQ(diag.count(), 1u);
    EXPECT_EQ(diag.records()[0].source, L"json/CKrJson");
}

TEST(JsonObject, ManyMembersStayFindableAndOrderedAcrossReadAndAdd) {
    CKrJsonObject o;
    ASSERT_TRUE(CKrJson::readObjectFromString(L"{\"m500\": 500, \"m250\": 250}", &o, nullptr));
    // Descending insertion: every add lands before the previous ones in name order.
    for (int i = 999; i >= 0; --i) {
        std::wstring name = L"m" + std::to_wstring(i);
        EXPECT_EQ(o.addItem(name, CKrJsonValue(i)), i != 500 && i != 250) << i;
    }
    std::vector<CKrStringW> names;
    ASSERT_TRUE(o.isObject(&names));
    ASSERT_EQ(names.size(), 1000u);
    for (size_t k = 1; k < names.size(); ++k) EXPECT_TRUE(names[k - 1] < names[k]) << k;
    for (int i = 0; i < 1000; ++i) {
        int v = -1;
        ASSERT_TRUE(o.isItemWithNameInteger(L"m" + std::to_wstring(i), &v)) << i;
        EXPECT_EQ(v, i);
    }
    CKrJsonObject copy = o;
    EXPECT_TRUE(copy.addItem(L"m", CKrJsonValue()));
    EXPECT_TRUE(copy.isItemWithNameNull(L"m"));
    EXPECT_FALSE(o.isItemWithNameNull(L"m"));  // copies are independent
    EXPECT_EQ(copy.toString().GetStdString().substr(0, 16), L"{\r\n\"m\" : null,\r\n");
}
