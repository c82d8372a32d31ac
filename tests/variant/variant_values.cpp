// Values of the variant: holders and their text forms, names, type change, assignment,
// comparison and the converting getters.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "common/DiagCapture.h"
#include "variant/CKrVariant.h"

namespace {

// The single assertion recorded by `diag`, checked for source, condition and message.
void expectOneAssert(DiagCapture const &diag, std::wstring const &condition, std::wstring const &message) {
    auto records = diag.records();
    ASSERT_EQ(records.size(), 1u) << "expected exactly one diagnostic";
    EXPECT_EQ(records[0].kind, 0);
    EXPECT_EQ(records[0].source, L"variant/CKrVariant");
    EXPECT_EQ(records[0].condition, condition);
    EXPECT_EQ(records[0].message, message);
}

std::wstring text(CKrVariant const &v) { return v.GetCKrStringW().GetStdString(); }

}  // namespace

TEST(VariantHolders, TextFormsWrittenAndReadBack) {
    struct Case {
        CKrVariant value;
        wchar_t const *runType;
        wchar_t const *written;
    };
    int anchor = 0;
    Case cases[] = {
        {CKrVariant(-42), L"kr_int32", L"-42"},
        {CKrVariant(4000000000u), L"kr_uint32", L"4000000000"},
        {CKrVariant(kr_int64(-9000000000LL)), L"kr_int64", L"-9000000000"},
        {CKrVariant(kr_uint64(18000000000000000000ULL)), L"kr_uint64", L"18000000000000000000"},
        {CKrVariant(2.5), L"double", L"2.500000000000000"},
        {CKrVariant(true), L"bool", L"true"},
        {CKrVariant(false), L"bool", L"false"},
        {CKrVariant(L"a<b"), L"CKrStringW", L"a<b"},
        {CKrVariant(CKrByteArray("Man", 3, 16)), L"CKrByteArray", L"TWFu"},
        {CKrVariant(static_cast<void *>(&anchor)), L"voidPtr", nullptr},
    };
    for (Case &c : cases) {
        SCOPED_TRACE(c.runType);
        EXPECT_EQ(CKrStringW(c.value.GetRunType().GetName().GetString()).GetStdString(), c.runType);
        bool ok = false;
        CKrStringW written = c.value.GetCKrStringW(&ok);
        EXPECT_TRUE(ok);
        if (c.written) {
            EXPECT_EQ(written.GetStdString(), c.written);
        }
        // The written text converted back to the run type restores the value.
        CKrVariant back(written, L"back");
        back.EnableTypeChange(true);
        EXPECT_EQ(back.SetRunTypeCompatible(c.value.GetRunType()), 0);
        EXPECT_TRUE(back == c.value);
    }
    // %p: 16 upper-case hex digits that scan back to the same pointer.
    void *p = reinterpret_cast<void *>(0xABCDEF0123456789ULL);
    CKrStringW ptrText = CKrVariant(p).GetCKrStringW();
    EXPECT_EQ(ptrText.GetStdString(), L"ABCDEF0123456789");
    CKrVariantDataVoidPtr holder;
    holder.SetString(ptrText);
    EXPECT_EQ(holder.GetValue(), p);
}

TEST(VariantHolders, ParsingKeepsValueOnGarbageAndFollowsReadRules) {
    CKrVariantDataKr_int32 i(7);
    EXPECT_TRUE(i.SetString(L"abc"));
    EXPECT_EQ(i.GetValue(), 7);  // does not scan: unchanged
    i.SetString(L"  -12xyz");
    EXPECT_EQ(i.GetValue(), -12);
    i.SetString(static_cast<wchar_t const *>(nullptr));
    EXPECT_EQ(i.GetValue(), -12);

    CKrVariantDataBool b;
    struct {
        wchar_t const *text;
        bool expected;
    } boolCases[] = {{L"TRUE", true}, {L"true", true}, {L"TrUe", true}, {L"yes", false}, {L"1", false}, {L"true ", false}};
    for (auto &c : boolCases) {
        b.SetValue(!c.expected);
        b.SetString(c.text);
        EXPECT_EQ(b.GetValue(), c.expected) << c.text;
    }

    CKrVariantDataDouble d(1.0);
    d.SetString(L"3.25");
    EXPECT_EQ(d.GetValue(), 3.25);
    d.SetString(L"\u0100");  // narrowed to '?': atof gives 0
    EXPECT_EQ(d.GetValue(), 0.0);

    // A large double is written in full, not cut at a fixed buffer size.
    CKrStringW big;
    CKrVariantDataDouble(1e300).GetString(big);
    EXPECT_GT(big.GetLength(), 300u);
    EXPECT_EQ(big.GetStdString().substr(big.GetLength() - 16), L".000000000000000");

    // Byte arrays: Base64 both ways; empty array gives no text and leaves the output alone.
    CKrVariantDataCKrByteArray bytes;
    CKrStringW out(L"untouched");
    EXPECT_FALSE(bytes.GetString(out));
    EXPECT_EQ(out.GetStdString(), L"untouched");
    bytes.SetString(L"TWE=");
    ASSERT_EQ(bytes.GetValue().GetSize(), 2u);
    EXPECT_EQ(std::memcmp(bytes.GetValue().GetData(), "Ma", 2), 0);
    bytes.SetString(L"");
    EXPECT_EQ(bytes.GetValue().GetSize(), 0u);
}

TEST(VariantHolders, GetValueCopyAcrossTypesReportsExactMessages) {
    struct Case {
        CKrVariantData *source;
        wchar_t const *message;
    };
    CKrVariantDataKr_int32 i32(5);
    CKrVariantDataKr_uint32 u32(5);
    CKrVariantDataKr_int64 i64(5);
    CKrVariantDataKr_uint64 u64(5);
    CKrVariantDataDouble dbl(5);
    CKrVariantDataBool bl(true);
    CKrVariantDataVoidPtr ptr(nullptr);
    CKrVariantDataCKrStringW str(CKrStringW(L"x"));
    CKrVariantDataCKrByteArray arr;
    Case cases[] = {
        {&i32, L"Error: CKrVariantDataKr_int32::GetValueCopy(), incompatible types!"},
        {&u32, L"Error: CKrVariantDataKr_uint32::GetValueCopy, incompatible types!"},
        {&i64, L"Error: CKrVariantDataKr_int64::GetValueCopy, incompatible types!"},
        {&u64, L"Error: CKrVariantDataKr_uint64::GetValueCopy, incompatible types!"},
        {&dbl, L"Error: CKrVariantDataDouble::GetValueCopy, incompatible types!"},
        {&bl, L"Error: CKrVariantDataBool::GetValueCopy, incompatible types!"},
        {&ptr, L"Error: CKrVariantVoidPtr::GetValueCopy, incompatible types!"},
        {&str, L"Error: CKrVariantCKrStringW::GetValueCopy, incompatible types!"},
        {&arr, L"Error: CKrVariantCKrByteAray::GetValueCopy, incompatible types!"},
    };
    for (Case &c : cases) {
        DiagCapture diag;
        CKrVariantDataCKrListVariant list;  // a target of another run type for every scalar
        c.source->GetValueCopy(list);
        expectOneAssert(diag, L"(data.GetRunType() != GetRunType())", c.message);
    }
    {
        DiagCapture diag;
        CKrVariantDataCKrListVariant list;
        list.GetValueCopy(i32);
        expectOneAssert(diag, L"(GetRunType() != data.GetRunType())",
                        L"Error: CKrVariantDataCKrListVariant::GetValueCopy, can't get to this type of data!");
    }
    // Numeric targets of another type still receive the value (and a bool stays a valid bool).
    DiagCapture diag;
    CKrVariantDataKr_int64 wide(-1);
    CKrVariantDataKr_int32(77).GetValueCopy(wide);
    EXPECT_EQ(static_cast<kr_uint64>(wide.GetValue()) & 0xffffffffULL, 77u);
    CKrVariantDataBool flag(false);
    CKrVariantDataKr_int32(2).GetValueCopy(flag);
    EXPECT_TRUE(flag.GetValue());
    EXPECT_EQ(diag.count(), 2u);
    // Base class SetRunType refuses any other run type and returns -9 either way.
    diag.clear();
    EXPECT_EQ(i32.SetRunType(CKrVariantRunType("double")), -9);
    EXPECT_EQ(i32.SetRunType(CKrVariantRunType("kr_int32")), -9);
    expectOneAssert(diag, L"arg != GetRunType()", L"Error: CKrVariantData::SetRunType(), can't set runtype!");
}

TEST(VariantNames, ValidationTable) {
    struct {
        wchar_t const *in;
        wchar_t const *out;
        bool changed;
    } cases[] = {
        {L"", L"no_name", true},        {L"9lives", L"_lives", true},    {L"a b", L"a_b", true},
        {L"_ok-1.x", L"_ok-1.x", false}, {L"-x", L"_x", true},            {L"\u00e9t\u00e9", L"_t_", true},
        {L"Name", L"Name", false},      {L"a/b<c>", L"a_b_c_", true},
    };
    for (auto &c : cases) {
        CKrStringW name(c.in);
        EXPECT_EQ(CKrVariant::ValidateName(name), c.changed) << c.in;
        EXPECT_EQ(name.GetStdString(), c.out);
        EXPECT_EQ(CKrVariant(1, CKrStringW(c.in)).GetName().GetStdString(), c.out);
    }
    EXPECT_EQ(CKrVariant().GetName().GetStdString(), L"no_name");
    CKrVariant v(1, L"ok");
    v.SetName(L"not valid");  // stored as given
    EXPECT_EQ(v.GetName().GetStdString(), L"not valid");
    EXPECT_EQ(CKrVariant(v).GetName().GetStdString(), L"not valid");  // copies keep it too
}

TEST(VariantTypeChange, NullRefusesValueUntilEnabled) {
    DiagCapture diag;
    CKrVariant v;
    v = 5;
    EXPECT_TRUE(v.IsNull());
    expectOneAssert(diag, L"!m_enabledTypeChange",
                    L"Error: CKrVariant::operator=, can't do assignment - type change not enabled");
    EXPECT_FALSE(v.EnableTypeChange(true));
    v = 5;
    EXPECT_EQ(CKrStringW(v.GetRunType().GetName().GetString()).GetStdString(), L"kr_int32");
    v = 2.5;  // another type, allowed now
    EXPECT_EQ(v.GetDouble(), 2.5);
    EXPECT_TRUE(v.EnableTypeChange(false));

    diag.clear();
    v = 7;  // kr_int32 into a double without type change: refused, value kept
    EXPECT_EQ(v.GetDouble(), 2.5);
    EXPECT_EQ(diag.count(), 1u);
    v = 3.0;  // same type: stored in place
    EXPECT_EQ(v.GetDouble(), 3.0);

    diag.clear();
    v.MakeNull();
    EXPECT_FALSE(v.IsNull());
    expectOneAssert(diag, L"!m_enabledTypeChange", L"Error: CKrVariant::MakeNull()), type change not enabled!");
    v.EnableTypeChange(true);
    v.MakeNull();
    EXPECT_TRUE(v.IsNull());
    EXPECT_EQ(v.GetRunType(), CKrVariantRunType::GetUnknown());

    // A string literal stores a string, not a bool.
    CKrVariant s(L"", L"s");
    s = L"text";
    EXPECT_EQ(text(s), L"text");
    s = "narrow";
    EXPECT_EQ(text(s), L"narrow");
}

TEST(VariantAssignment, FourCasesBetweenVariants) {
    CKrVariant a(1, L"a"), b(2, L"b");
    a = b;  // same run type: value copied, name kept
    EXPECT_EQ(a.GetKr_int32(), 2);
    EXPECT_EQ(a.GetName().GetStdString(), L"a");

    DiagCapture diag;
    CKrVariant d(1.5, L"d");
    a = d;  // other run type, no type change
    EXPECT_EQ(a.GetKr_int32(), 2);
    expectOneAssert(diag, L"!m_enabledTypeChange",
                    L"Error: can't do assignment from type: double to: kr_int32, type change not enabled!");

    diag.clear();
    CKrVariant n;
    n = a;  // Null target is named "unknown"
    expectOneAssert(diag, L"!m_enabledTypeChange",
                    L"Error: can't do assignment from type: kr_int32 to: unknown, type change not enabled!");
    EXPECT_TRUE(n.IsNull());

    diag.clear();
    a = CKrVariant();  // Null source into a value without type change
    expectOneAssert(diag, L"m_pData && !m_enabledTypeChange", L"Error: can't do assignment, type change not enabled!");
    EXPECT_FALSE(a.IsNull());
    CKrVariant none;
    none = CKrVariant();  // Null into Null is fine
    EXPECT_TRUE(none.IsNull());

    diag.clear();
    a.EnableTypeChange(true);
    a = d;
    EXPECT_EQ(a.GetDouble(), 1.5);
    a = CKrVariant();
    EXPECT_TRUE(a.IsNull());
    a = a;  // self
    EXPECT_EQ(diag.count(), 0u);

    // A list assigned from one of its own children keeps a consistent copy.
    CKrVariant tree;
    tree.Append(CKrVariant(1, L"x"));
    CKrVariant &inner = tree.Append(CKrVariant());
    inner.Append(CKrVariant(2, L"y"));
    inner.Append(CKrVariant(3, L"z"));
    tree = inner;
    ASSERT_EQ(tree.GetCount(), 2);
    EXPECT_EQ(tree[0].GetKr_int32(), 2);
    EXPECT_EQ(tree[1].GetKr_int32(), 3);
    // And a child assigned its parent.
    CKrVariant parent;
    parent.Append(CKrVariant());
    parent.Append(CKrVariant(9, L"v"));
    parent[0].EnableTypeChange(true);  // a Null child takes a list only with type change
    parent[0] = parent;
    ASSERT_EQ(parent[0].GetCount(), 2);
    EXPECT_EQ(parent[0][1].GetKr_int32(), 9);
}

TEST(VariantComparison, ConvertsBeforeComparing) {
    EXPECT_TRUE(CKrVariant(2.5) == 2);
    EXPECT_TRUE(CKrVariant(L"7") == 7);
    EXPECT_FALSE(CKrVariant(L"7") == 8);
    EXPECT_TRUE(CKrVariant(true) == 1);
    EXPECT_TRUE(CKrVariant(3) == 3.0);
    EXPECT_TRUE(CKrVariant(3) != 4);
    EXPECT_TRUE(CKrVariant(L"abc") == L"abc");
    EXPECT_TRUE(CKrVariant(12) == L"12");
    {
        DiagCapture diag;  // conversion fails: false, not equal to the fallback -1
        EXPECT_FALSE(CKrVariant() == -1);
        EXPECT_FALSE(CKrVariant(CKrListVariant()) == -1);
    }
    // Between variants: names never count, run types do.
    EXPECT_TRUE(CKrVariant(5, L"a") == CKrVariant(5, L"b"));
    EXPECT_FALSE(CKrVariant(5) == CKrVariant(5u));
    EXPECT_TRUE(CKrVariant() == CKrVariant());
    EXPECT_FALSE(CKrVariant() == CKrVariant(0));
    double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(CKrVariant(nan) == CKrVariant(nan));
}

TEST(VariantGetters, ConversionRuleAndFallbacks) {
    bool ok = false;
    EXPECT_EQ(CKrVariant(2.9).GetKr_int32(&ok), 2);
    EXPECT_TRUE(ok);
    EXPECT_EQ(CKrVariant(-2.9).GetKr_int32(), -2);
    EXPECT_EQ(CKrVariant(L"42").GetKr_int32(&ok), 42);
    EXPECT_TRUE(ok);
    EXPECT_EQ(CKrVariant(L"x").GetKr_int32(&ok), 0);  // does not scan: the sample's 0
    EXPECT_TRUE(ok);
    EXPECT_EQ(CKrVariant(kr_int64(0x1234567890LL)).GetKr_int32(), 0x34567890);  // truncated bits
    EXPECT_EQ(CKrVariant(-1).GetKr_uint32(), 0xffffffffu);
    EXPECT_EQ(CKrVariant(true).GetKr_int64(), 1);
    EXPECT_EQ(CKrVariant(1e30).GetKr_int32(), std::numeric_limits<kr_int32>::min());
    EXPECT_EQ(CKrVariant(std::nan("")).GetKr_int64(), std::numeric_limits<kr_int64>::min());
    EXPECT_EQ(CKrVariant(-1.0).GetKr_uint64(), 0x8000000000000000ULL);
    EXPECT_EQ(CKrVariant(7).GetDouble(), 7.0);
    EXPECT_EQ(CKrVariant(L"2.5").GetDouble(), 2.5);
    EXPECT_TRUE(CKrVariant(L"TRUE").GetBool());
    EXPECT_FALSE(CKrVariant(L"yes").GetBool());
    EXPECT_TRUE(CKrVariant(3).GetBool());

    // Byte arrays: first bytes in machine order when long enough.
    kr_uint8 raw[8] = {0x78, 0x56, 0x34, 0x12, 1, 0, 0, 0};
    CKrVariant bytes(CKrByteArray(raw, 8, 16));
    EXPECT_EQ(bytes.GetKr_int32(&ok), 0x12345678);
    EXPECT_TRUE(ok);
    EXPECT_EQ(bytes.GetKr_uint64(), 0x0000000112345678ULL);
    CKrVariant shortBytes(CKrByteArray(raw, 3, 16));
    {
        DiagCapture diag;
        EXPECT_EQ(shortBytes.GetKr_int32(&ok), -1);
        EXPECT_FALSE(ok);
        EXPECT_EQ(diag.count(), 0u);  // short arrays are not reported
    }
    // Null and lists: -1, ok false and the getter's own report.
    struct {
        std::function<void(CKrVariant const &, bool *)> read;
        wchar_t const *message;
    } failing[] = {
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetKr_int32(o), -1); }, L"Can't convert to kr_int32!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetKr_uint32(o), 0xffffffffu); }, L"Can't convert to kr_uint32!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetKr_int64(o), -1); }, L"Can't convert to kr_int64!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetKr_uint64(o), ~0ULL); }, L"Can't convert to kr_uint64!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetDouble(o), -1.0); }, L"Can't convert to double!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_FALSE(v.GetBool(o)); }, L"Can't convert to bool!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetVoidPtr(o), reinterpret_cast<void *>(~uintptr_t(0))); },
         L"Can't convert to void*!"},
        {[](CKrVariant const &v, bool *o) { EXPECT_EQ(v.GetCKrByteArray(o).GetSize(), 0u); },
         L"Can't convert to CKrByteArray!"},
    };
    CKrVariant subjects[] = {CKrVariant(), CKrVariant(CKrListVariant())};
    for (auto &f : failing) {
        for (CKrVariant const &subject : subjects) {
            DiagCapture diag;
            ok = true;
            f.read(subject, &ok);
            EXPECT_FALSE(ok) << f.message;
            expectOneAssert(diag, L"true", f.message);
        }
    }
    // Strings: every run type has text; Null and an empty byte array do not.
    EXPECT_EQ(CKrVariant().GetCKrStringW(&ok).GetLength(), 0u);
    EXPECT_FALSE(ok);
    CKrVariant(CKrByteArray()).GetCKrStringW(&ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(CKrVariant(L"TWFu").GetCKrByteArray().GetSize(), 3u);
    CKrByteArray intBytes = CKrVariant(0x01020304).GetCKrByteArray();
    ASSERT_EQ(intBytes.GetSize(), 4u);
    EXPECT_EQ(static_cast<kr_uint8 const *>(intBytes.GetData())[0], 4);

    // The scratch list of a failed list read is empty each time.
    DiagCapture diag;
    CKrVariant scalar(1);
    CKrListVariant &scratch = scalar.GetCKrListVariant(&ok);
    EXPECT_FALSE(ok);
    scratch.Append(new CKrVariant(1));
    EXPECT_EQ(scalar.GetCKrListVariant().Number(), 0);
    EXPECT_EQ(CKrVariant().GetValueVoidPtr(), nullptr);
    CKrVariant number(5);
    EXPECT_EQ(*static_cast<kr_int32 *>(number.GetValueVoidPtr()), 5);
}
