// Fuzzes the item queries and the scanners: at most one kind answers yes for an item, integer
// answers agree with double answers, delivered objects and arrays write out readable text, and
// no scanner reports an item longer than the rest of the text.
#include <cstdint>

#include "JsonFuzzInput.h"
#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrJsonValue.h"

namespace {
struct Scan : CKrJsonValue {
    using CKrJson::parseArray;
    using CKrJson::parseFinalNumber;
    using CKrJson::parseFinalString;
    using CKrJson::parseObject;
    using CKrJson::parseValue;
    using CKrJson::parseWhitespaces;
};

void checkItem(CKrJsonArray const &a, int i) {
    bool isNull = a.isItemAtIndexNull(i);
    bool b = false;
    bool isBool = a.isItemAtIndexBool(i, &b);
    double d = 0;
    bool isDouble = a.isItemAtIndexDouble(i, &d);
    int n = 0;
    bool isInt = a.isItemAtIndexInteger(i, &n);
    CKrStringW s;
    bool isString = a.isItemAtIndexString(i, &s);
    CKrJsonObject o;
    bool isObject = a.isItemAtIndexObject(i, &o);
    CKrJsonArray arr;
    bool isArray = a.isItemAtIndexArray(i, &arr);
    JSON_FUZZ_CHECK(int(isNull) + isBool + isDouble + isString + isObject + isArray <= 1);
    if (isInt) JSON_FUZZ_CHECK(isDouble && double(n) == d);
    JSON_FUZZ_CHECK(isDouble == a.isItemAtIndexDouble(i, nullptr));
    JSON_FUZZ_CHECK(isObject == a.isItemAtIndexObject(i, nullptr));
    if (isObject && !o.isEmpty()) {
        CKrJsonObject back;
        JSON_FUZZ_CHECK(CKrJson::readObjectFromString(o.toString(), &back, nullptr));
    }
    if (isArray && !arr.isEmpty())
        JSON_FUZZ_CHECK(CKrJson::readArrayFromString(arr.toString(), nullptr, nullptr));
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    CKrStringW text(jsonFuzzText(data, size));
    int const n = int(text.GetLength());
    for (int pos = 0; pos < n && pos < 64; ++pos) {
        CKrStringW value, error;
        int r = Scan::parseValue(text, pos, &value, &error);
        JSON_FUZZ_CHECK(r >= -1 && r <= n - pos);
        if (r > 0) JSON_FUZZ_CHECK(int(value.GetLength()) <= r);
        if (r < 0) JSON_FUZZ_CHECK(!error.IsEmpty());
        JSON_FUZZ_CHECK(Scan::parseObject(text, pos, nullptr, nullptr) <= n - pos);
        JSON_FUZZ_CHECK(Scan::parseArray(text, pos, nullptr, nullptr) <= n - pos);
        JSON_FUZZ_CHECK(Scan::parseWhitespaces(text, pos) <= n - pos);
    }

    // Items of an array wrapped around the input, and members of the input read as an object.
    CKrJsonArray a;
    if (CKrJson::readArrayFromString(CKrStringW(L"[") + text + L"]", &a, nullptr) ||
        CKrJson::readArrayFromString(text, &a, nullptr)) {
        for (int i = -1; i <= a.itemCount(); ++i) checkItem(a, i);
    }
    CKrJsonObject o;
    if (CKrJson::readObjectFromString(text, &o, nullptr)) {
        std::vector<CKrStringW> names;
        o.isObject(&names);
        for (auto const &name : names) {
            double d = 0;
            int i = 0;
            if (o.isItemWithNameInteger(name, &i))
                JSON_FUZZ_CHECK(o.isItemWithNameDouble(name, &d) && d == i);
            o.isItemWithNameString(name, nullptr);
            o.isItemWithNameNull(name);
            JSON_FUZZ_CHECK(!o.isItemWithNameArray(name, nullptr) ||
                            !o.isItemWithNameObject(name, nullptr));
        }
    }
    return 0;
}
