// The item scanners: lengths, "no item" versus "malformed", exact messages, never past the text.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "json/CKrJsonValue.h"

namespace {
struct Scan : CKrJsonValue {
    using CKrJson::parseArray;
    using CKrJson::parseFinalBool;
    using CKrJson::parseFinalNull;
    using CKrJson::parseFinalNumber;
    using CKrJson::parseFinalString;
    using CKrJson::parseObject;
    using CKrJson::parseValue;
    using CKrJson::parseWhitespaces;
};

struct ValueCase {
    std::wstring text;
    int pos;
    int length;
    std::wstring error;  // expected message when length is -1
};
}  // namespace

TEST(JsonScan, ParseValueLengthsAndMessages) {
    std::wstring const kPoint = L"Number parse erorr: a number must follow decimal point!",
                       kExponent = L"Number parse error: a number must follow exponent sign!",
                       kEscape = L"Unrecognized escape sequence",
                       kQuotes = L"Unballanced quotation marks";
    ValueCase const cases[] = {
        {L"null", 0, 4, L""},
        {L"NuLl,", 0, 4, L""},
        {L"nul", 0, 0, L""},
        {L"TRUE", 0, 4, L""},
        {L"fAlSe ", 0, 5, L""},
        {L"fals", 0, 0, L""},
        {L"x: -12.5e+3,", 3, 8, L""},
        {L"0", 0, 1, L""},
        {L"-", 0, 0, L""},
        {L"-a", 0, 0, L""},
        {L".5", 0, 0, L""},
        {L"+1", 0, 0, L""},
        {L"1.", 0, -1, kPoint},
        {L"1.e3", 0, -1, kPoint},
        {L"1e", 0, -1, kExponent},
        {L"1E-x", 0, -1, kExponent},
        {L"\"\"", 0, 2, L""},
        {L"\"a\\\"b\" tail", 0, 6, L""},
        {L"\"\\\\\"", 0, 4, L""},  // escaped backslash, then the closing quote
        {L"\"\\/\\b\\f\\n\\r\\t\\u00aF\"", 0, 20, L""},
        {L"\"x\\q\"", 0, -1, kEscape},
        {L"\"\\u12G4\"", 0, -1, kEscape},
        {L"\"\\u12", 0, -1, kQuotes},
        {L"\"abc", 0, -1, kQuotes},
        {L"\"abc\\", 0, -1, kQuotes},
        {L"{\"x\": \"}\"}", 0, 10, L""},
        {L"{{}{}} x", 0, 6, L""},
        {L"{[}", 0, 3, L""},  // contents are not checked, only braces count
        {L"{{}", 0, -1, L"Unballanced braces while parsing Object"},
        {L"{\"}", 0, -1, kQuotes},
        {L"[1,[2,\"]\"]]", 0, 11, L""},
        {L"x", 0, 0, L""},
        {L"[[]", 0, -1, L"Unballanced brackets while parsing Array"},
        {L"null", 4, 0, L""},
        {L"null", -1, 0, L""},
        {L"null", 99, 0, L""},
        {L"", 0, 0, L""},
    };
    for (auto const &c : cases) {
        CKrStringW value, error(L"untouched");
        int r = Scan::parseValue(c.text, c.pos, &value, &error);
        EXPECT_EQ(r, c.length) << c.text;
        if (r > 0) {
            EXPECT_EQ(value.GetStdString(), c.text.substr(size_t(c.pos), size_t(r))) << c.text;
        }
        EXPECT_EQ(error.GetStdString(), r < 0 ? c.error : L"untouched") << c.text;
    }
}

TEST(JsonScan, ScannerOutputs) {
    double d = 0;
    bool integer = false, b = true;
    EXPECT_EQ(Scan::parseFinalNumber(L"-0012", 0, &d, &integer, nullptr), 5);
    EXPECT_TRUE(integer);
    EXPECT_EQ(d, -12.0);
    EXPECT_EQ(Scan::parseFinalNumber(L"2e0", 0, &d, &integer, nullptr), 3);
    EXPECT_FALSE(integer);  // an exponent makes it a non-integer, whatever its value
    EXPECT_EQ(Scan::parseFinalNumber(L"0.1", 0, &d, nullptr, nullptr), 3);
    EXPECT_EQ(d, 0.1);  // correctly rounded
    EXPECT_EQ(Scan::parseFinalNumber(L"1e999", 0, &d, nullptr, nullptr), 5);
    EXPECT_EQ(d, HUGE_VAL);
    EXPECT_EQ(Scan::parseFinalNumber(L"-1e999", 0, &d, nullptr, nullptr), 6);
    EXPECT_EQ(d, -HUGE_VAL);
    EXPECT_EQ(Scan::parseFinalNumber(L"123456e-99999999999999", 0, &d, nullptr, nullptr), 22);
    EXPECT_EQ(d, 0.0);
    EXPECT_EQ(Scan::parseFinalBool(L"False", 0, &b, nullptr), 5);
    EXPECT_FALSE(b);
    EXPECT_EQ(Scan::parseFinalNull(L"xnull", 1, nullptr), 4);
    CKrStringW quoted, inner;
    EXPECT_EQ(Scan::parseFinalString(L"a \"q\\u0041\" b", 2, &quoted, &inner, nullptr), 9);
    EXPECT_EQ(quoted.GetStdString(), L"\"q\\u0041\"");
    EXPECT_EQ(inner.GetStdString(), L"q\\u0041");  // not decoded
    CKrStringW obj, arr;
    EXPECT_EQ(Scan::parseObject(L"[{}]", 0, &obj, nullptr), 0);
    EXPECT_EQ(Scan::parseArray(L"[{]}]", 0, &arr, nullptr), 3);  // only brackets nest
    EXPECT_EQ(arr.GetStdString(), L"[{]");
    EXPECT_EQ(Scan::parseWhitespaces(L" \t\r\n\v\fx ", 0), 6);
    EXPECT_EQ(Scan::parseWhitespaces(L"x", 0), 0);
    EXPECT_EQ(Scan::parseWhitespaces(L"  ", 2), 0);
}

TEST(JsonScan, TextEndsAtItsFirstZeroUnit) {
    std::wstring withZero(L"\"ab\0cd\"", 7);
    CKrStringW error;
    EXPECT_EQ(Scan::parseValue(CKrStringW(withZero), 0, nullptr, &error), -1);
    EXPECT_EQ(error.GetStdString(), L"Unballanced quotation marks");
    EXPECT_EQ(Scan::parseFinalNull(CKrStringW(std::wstring(L"nu\0l", 4)), 0, nullptr), 0);
}
