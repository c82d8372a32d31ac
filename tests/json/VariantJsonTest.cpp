// The JSON form of a variant: every run type and awkward name survives a round trip, the layout
// is fixed, and every malformed document is refused with its message and offset.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "json/CKrVariantJson.h"
#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"

namespace {

CKrVariant named(CKrVariant v, std::wstring const &name) {
    v.SetName(CKrStringW(name));
    return v;
}

// A record of run type `type` with the given members (records keep their type only while no
// member is added through the variant, so the members go straight into the list).
CKrVariant record(char const *type, std::wstring const &name,
                  std::initializer_list<CKrVariant> members) {
    CKrVariant r = CKrVariant::CreateStructNamed(CKrVariantRunType(type), CKrStringW(), {});
    for (CKrVariant const &m : members) r.GetCKrListVariant().Append(new CKrVariant(m));
    r.SetName(CKrStringW(name));
    return r;
}

std::wstring toJson(CKrVariant const &v, int indent = 2) {
    CKrStringW out;
    EXPECT_EQ(CKrVariantJson::VariantToJson(out, v, indent), 0);
    return out.GetStdString();
}

CKrVariant everyRunType() {
    unsigned char const bytes[] = {0, 1, 0xFE, 0xFF};
    std::wstring const lone{L'x', wchar_t(0xD800), L'y'};
    std::wstring const pair{wchar_t(0xD83D), wchar_t(0xDE00)};
    return record(
        "CKrListVariant", L"root",
        {named(CKrVariant(std::numeric_limits<int>::min()), L"i32"),
         named(CKrVariant(std::numeric_limits<unsigned int>::max()), L"u32"),
         named(CKrVariant(std::numeric_limits<kr_int64>::min()), L"i64"),
         named(CKrVariant(std::numeric_limits<kr_uint64>::max()), L"u64"),
         named(CKrVariant(0.1), L"d"),
         named(CKrVariant(-0.0), L"negzero"),
         named(CKrVariant(5e-324), L"tiny"),
         named(CKrVariant(std::numeric_limits<double>::infinity()), L"inf"),
         named(CKrVariant(-std::numeric_limits<double>::infinity()), L"minf"),
         named(CKrVariant(std::numeric_limits<double>::quiet_NaN()), L"nan"),
         named(CKrVariant(true), L"t"),
         named(CKrVariant(false), L"f"),
         named(CKrVariant(reinterpret_cast<void *>(uintptr_t(0xDEADBEEF))), L"p"),
         named(CKrVariant(CKrStringW(L"quote\" back\\ tab\t nl\n ctl\x01 \u00e9" + pair)), L"s"),
         named(CKrVariant(CKrStringW(lone)), lone),  // lone surrogates in name and value
         named(CKrVariant(CKrStringW(L"")), L"empty"),
         named(CKrVariant(CKrByteArray(bytes, sizeof bytes, 16)), L"bytes"),
         named(CKrVariant(CKrByteArray()), L"nobytes"),
         named(CKrVariant(), L"null"),
         named(CKrVariant(1), L""),     // empty name
         named(CKrVariant(2), L"a b"),  // not a valid variant name: kept as it is
         named(CKrVariant(3), L"dup"),
         named(CKrVariant(4), L"dup"),
         record("RKrStage", L"stage", {named(CKrVariant(kr_int64(-5)), L"x")}),
         record("CKrListVariant", L"emptylist", {})});
}

struct BadDoc {
    std::wstring text;
    std::wstring message;
    kr_uint64 offset;
};

}  // namespace

TEST(VariantJson, EveryRunTypeAndNameSurvivesARoundTrip) {
    CKrVariant const tree = everyRunType();
    for (int indent : {2, 0}) {
        std::wstring const text = toJson(tree, indent);
        CKrVariant back;
        CKrStringW error;
        ASSERT_EQ(CKrVariantJson::VariantFromJson(back, CKrStringW(text), &error, nullptr), 0)
            << error.GetString();
        EXPECT_EQ(toJson(back, indent), text);
        ASSERT_EQ(back.GetCount(), tree.GetCount());
        for (int i = 0; i < tree.GetCount(); ++i) {
            CKrVariant const &a = *tree.IndexPtr(i), &b = *back.IndexPtr(i);
            EXPECT_EQ(b.GetName().GetStdString(), a.GetName().GetStdString()) << i;
            EXPECT_EQ(b.GetRunType(), a.GetRunType()) << i;
            if (a.GetRunType().GetName() == "double") {
                double const x = a.GetDouble(), y = b.GetDouble();
                EXPECT_TRUE((std::isnan(x) && std::isnan(y)) ||
                            (x == y && std::signbit(x) == std::signbit(y)))
                    << i;
            } else {
                EXPECT_TRUE(a == b) << i;
            }
        }
    }
}

TEST(VariantJson, LayoutIsFixed) {
    CKrVariant const v =
        record("CKrListVariant", L"settings",
               {named(CKrVariant(1.5), L"gain"),
                record("RKrStage", L"stage", {named(CKrVariant(kr_int64(-120000)), L"x")}),
                record("CKrListVariant", L"none", {}), named(CKrVariant(), L"note")});
    EXPECT_EQ(toJson(v),
              L"{\"variant\": \"1.0\", \"root\": {\"name\": \"settings\", \"type\": "
              L"\"CKrListVariant\", \"items\": [\n"
              L"  {\"name\": \"gain\", \"type\": \"double\", \"value\": 1.5},\n"
              L"  {\"name\": \"stage\", \"type\": \"RKrStage\", \"items\": [\n"
              L"    {\"name\": \"x\", \"type\": \"kr_int64\", \"value\": -120000}\n"
              L"  ]},\n"
              L"  {\"name\": \"none\", \"type\": \"CKrListVariant\", \"items\": []},\n"
              L"  {\"name\": \"note\", \"type\": \"unknown\"}\n"
              L"]}}");
    EXPECT_EQ(toJson(named(CKrVariant(true), L"on"), 0),
              L"{\"variant\":\"1.0\",\"root\":{\"name\":\"on\",\"type\":\"bool\",\"value\":true}}");
    // NodeToJson appends only the node, at the given level.
    CKrStringW node(L">");
    CKrVariantJson::NodeToJson(node, named(CKrVariant(7), L"n"), 0);
    EXPECT_EQ(node.GetStdString(), L">{\"name\":\"n\",\"type\":\"kr_int32\",\"value\":7}");
}

TEST(VariantJson, ReaderAcceptsAnyMemberOrderAndWhiteSpace) {
    std::wstring const text =
        L" \r\n{\"variant\" :\"1.0\",\n\t\"root\":{ \"items\" : [ {\"value\":\"AA==\",\"type\":"
        L"\"CKrByteArray\",\"name\":\"b\"} ] , \"type\":\"RKrX\", \"name\":\"r\\u0041\" } } \n";
    CKrVariant v;
    ASSERT_EQ(CKrVariantJson::VariantFromJson(v, CKrStringW(text), nullptr, nullptr), 0);
    EXPECT_EQ(v.GetName().GetStdString(), L"rA");
    EXPECT_EQ(v.GetRunType().GetName(), CKrStringA("RKrX"));
    ASSERT_EQ(v.GetCount(), 1);
    EXPECT_EQ(v.IndexPtr(0)->GetCKrByteArray().GetSize(), 1u);
}

TEST(VariantJson, MalformedDocumentsAreRefusedWithMessageAndOffset) {
    std::wstring const head = L"{\"variant\":\"1.0\",\"root\":";  // 24 units
    auto node = [](std::wstring const &type, std::wstring const &rest) {
        return L"{\"name\":\"n\",\"type\":\"" + type + L"\"" + rest + L"}";
    };
    // A whole document whose root is that node.
    auto doc = [&](std::wstring const &type, std::wstring const &rest) {
        return head + node(type, rest) + L"}";
    };
    std::wstring const kFit = L"Value does not fit the item's type";
    std::wstring const list = L"{\"name\":\"n\",\"type\":\"RKrX\",\"items\":";
    BadDoc const cases[] = {
        {L"", L"Expected '{' at the start of the document", 0},
        {L"[]", L"Expected '{' at the start of the document", 0},
        {L"{\"root\":{}}", L"Expected the member \"variant\" first", 1},
        {L"{\"variant\":\"2.0\"}", L"Unsupported version (expected \"1.0\")", 11},
        {L"{\"variant\":\"1.0\"}", L"Missing member \"root\"", 17},
        {L"{\"variant\":\"1.0\",\"extra\":1}", L"Unknown member", 17},
        {doc(L"kr_int32", L",\"value\":1") + L" x",
         L"Unexpected text after the end of the document", 66},
        {head + node(L"kr_int32", L",\"value\":1") + L",\"root\":{}}", L"Repeated member", 65},
        {head + node(L"kr_int32", L",\"value\":1"), L"Expected ',' or '}'", 64},
        {head + L"{\"name\":\"n\"}}", L"Item without \"type\"", 24},
        {head + L"{\"type\":\"bool\",\"value\":true}}", L"Item without \"name\"", 24},
        {doc(L"kr_int32", L""), L"Item of a scalar type without \"value\"", 24},
        {doc(L"kr_int32", L",\"items\":[]"), L"Item of a scalar type with \"items\"", 24},
        {doc(L"RKrX", L""), L"Item of a list type without \"items\"", 24},
        {doc(L"RKrX", L",\"value\":1,\"items\":[]"), L"Item of a list type with a \"value\"", 58},
        {doc(L"unknown", L",\"value\":1"), L"Item of type \"unknown\" with a value", 24},
        {doc(L"kr_int32", L",\"value\":1,\"value\":2"), L"Repeated member", 64},
        {doc(L"kr_int32", L",\"size\":1"), L"Unknown member", 54},
        {doc(L"", L",\"value\":1"), L"Malformed type name", 43},
        {doc(L"kr\u00e9", L",\"value\":1"), L"Malformed type name", 43},
        {doc(L"kr_int32", L",\"value\":2147483648"), kFit, 62},
        {doc(L"kr_uint32", L",\"value\":-1"), kFit, 63},
        {doc(L"kr_uint64", L",\"value\":18446744073709551616"), kFit, 63},
        {doc(L"kr_int64", L",\"value\":1.0"), kFit, 62},
        {doc(L"double", L",\"value\":1e999"), kFit, 60},
        {doc(L"double", L",\"value\":\"nan\""), kFit, 60},
        {doc(L"bool", L",\"value\":1"), kFit, 58},
        {doc(L"voidPtr", L",\"value\":\"0x\""), kFit, 61},
        {doc(L"voidPtr", L",\"value\":\"0x00000000000000001\""), kFit, 61},
        {doc(L"CKrStringW", L",\"value\":null"), kFit, 64},
        {doc(L"CKrByteArray", L",\"value\":\"AA=\""), kFit, 66},
        {doc(L"CKrByteArray", L",\"value\":\"A A=\""), kFit, 66},
        {doc(L"double", L",\"value\":{}"), L"Expected a number, a string, true or false", 60},
        {doc(L"double", L",\"value\":1."),
         L"Number parse erorr: a number must follow decimal point!", 60},
        {doc(L"CKrStringW", L",\"value\":\"\\q\""), L"Unrecognized escape sequence", 64},
        {head + list + L"[1]}}", L"Expected '{' for an item", 59},
        {head + list + L"[{}}", L"Item without \"name\"", 59},
        {head + list + L"{}}}", L"Expected '[' for the items", 58},
        {head + L"{\"name\" 1}}", L"Expected ':'", 32},
        {head + L"{name:1}}", L"Expected a member name", 25},
        {head + L"{\"name\":\"unterminated", L"Unballanced quotation marks", 32},
    };
    for (BadDoc const &c : cases) {
        CKrVariant target(5, L"kept");
        CKrStringW error;
        kr_uint64 offset = 12345;
        EXPECT_EQ(CKrVariantJson::VariantFromJson(target, CKrStringW(c.text), &error, &offset), -9)
            << std::string(c.text.begin(), c.text.end());
        EXPECT_EQ(error.GetStdString(), c.message) << std::string(c.text.begin(), c.text.end());
        EXPECT_EQ(offset, c.offset) << std::string(c.text.begin(), c.text.end());
        EXPECT_TRUE(target == 5);  // untouched
        EXPECT_EQ(target.GetName().GetStdString(), L"kept");
    }
}

TEST(VariantJson, ReadingReplacesTheTargetAndKeepsItsTypeChangeSetting) {
    CKrVariant target(5, L"old");
    ASSERT_FALSE(target.IsEnabledTypeChange());
    std::wstring const text = toJson(record("RKrStage", L"stage", {named(CKrVariant(1), L"x")}));
    ASSERT_EQ(CKrVariantJson::VariantFromJson(target, CKrStringW(text), nullptr, nullptr), 0);
    EXPECT_FALSE(target.IsEnabledTypeChange());
    EXPECT_EQ(target.GetName().GetStdString(), L"stage");
    EXPECT_EQ(target.GetRunType().GetName(), CKrStringA("RKrStage"));
    EXPECT_EQ(toJson(target), text);
}

TEST(VariantJson, DeepTreesNeedNoRecursion) {
    constexpr int kDepth = 50000;
    std::wstring text = L"{\"variant\":\"1.0\",\"root\":";
    for (int i = 0; i < kDepth; ++i)
        text += L"{\"name\":\"l\",\"type\":\"CKrListVariant\",\"items\":[";
    for (int i = 0; i < kDepth; ++i) text += L"]}";
    text += L"}";
    CKrVariant v;
    ASSERT_EQ(CKrVariantJson::VariantFromJson(v, CKrStringW(text), nullptr, nullptr), 0);
    EXPECT_EQ(toJson(v, 0), text);
    // Indented output stops indenting deeper than 64 levels: it grows with the tree, not with
    // the square of its depth, and still reads back.
    std::wstring const indented = toJson(v, 2);
    EXPECT_LT(indented.size(), text.size() + size_t(kDepth) * 300);
    EXPECT_NE(indented.find(L"\n" + std::wstring(128, L' ') + L"{"), std::wstring::npos);
    EXPECT_EQ(indented.find(std::wstring(129, L' ')), std::wstring::npos);
    CKrVariant again;
    ASSERT_EQ(CKrVariantJson::VariantFromJson(again, CKrStringW(indented), nullptr, nullptr), 0);
    EXPECT_EQ(toJson(again, 0), text);
}
