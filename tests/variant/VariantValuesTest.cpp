// Values of the variant: holders and their text forms, names, misuse reports, type change,
// assignment, comparison and the converting getters.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>

#include "common/DiagCapture.h"
#include "variant/CKrVariant.h"

namespace {

std::wstring const kSource = L"variant/CKrVariant";

std::wstring text(CKrVariant const &v) { return v.GetCKrStringW().GetStdString(); }
std::wstring runType(CKrVariant const &v) {
    return CKrStringW(v.GetRunType().GetName().GetString()).GetStdString();
}

// Feeds texts one after another to the same holder; each row gives the text it writes then,
// into a reused string that must be replaced, never appended to.
void expectReads(CKrVariantData &holder,
                 std::initializer_list<std::pair<wchar_t const *, wchar_t const *>> rows) {
    CKrStringW written(L"a long previous content of the string");
    for (auto const &[in, out] : rows) {
        holder.SetString(in);
        holder.GetString(written);
        EXPECT_EQ(written.GetStdString(), out) << "after reading " << (in ? in : L"(null)");
    }
}

CKrVariantRunType const kPoint("RKrPoint");

}  // namespace

TEST(VariantHolders, TextFormsWrittenAndReadBack) {
    int anchor = 0;
    struct Case {
        CKrVariant value;
        wchar_t const *runType, *written;
    } cases[] = {
        {CKrVariant(INT_MIN), L"kr_int32", L"-2147483648"},
        {CKrVariant(0), L"kr_int32", L"0"},
        {CKrVariant(UINT_MAX), L"kr_uint32", L"4294967295"},
        {CKrVariant(kr_int64(INT64_MIN)), L"kr_int64", L"-9223372036854775808"},
        {CKrVariant(kr_uint64(UINT64_MAX)), L"kr_uint64", L"18446744073709551615"},
        {CKrVariant(2.5), L"double", L"2.500000000000000"},
        {CKrVariant(true), L"bool", L"true"},
        {CKrVariant(false), L"bool", L"false"},
        {CKrVariant(L"a<b"), L"CKrStringW", L"a<b"},
        {CKrVariant(CKrByteArray("Man", 3, 16)), L"CKrByteArray", L"TWFu"},
        {CKrVariant(static_cast<void *>(&anchor)), L"voidPtr", nullptr},
    };
    for (Case &c : cases) {
        SCOPED_TRACE(c.runType);
        EXPECT_EQ(runType(c.value), c.runType);
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
    CKrVariantDataVoidPtr holder(nullptr);
    expectReads(holder, {{L"ABCDEF0123456789", L"ABCDEF0123456789"}});
    EXPECT_EQ(holder.GetValue(), reinterpret_cast<void *>(0xABCDEF0123456789ULL));
}

TEST(VariantHolders, ParsingKeepsValueOnGarbageAndFollowsReadRules) {
    CKrVariantDataKr_int32 i(7);
    expectReads(i, {{L"abc", L"7"}, {L"  -12xyz", L"-12"}, {nullptr, L"-12"}});
    CKrVariantDataBool b;  // alternating results, so that "unchanged" cannot pass for "read"
    expectReads(b, {{L"TRUE", L"true"},
                    {L"yes", L"false"},
                    {L"TrUe", L"true"},
                    {L"1", L"false"},
                    {L"true", L"true"},
                    {L"true ", L"false"}});
    CKrVariantDataDouble d(1.0);
    expectReads(d, {{L"3.25", L"3.250000000000000"}, {L"\u0100", L"0.000000000000000"}});  // '?'

    // Byte arrays: Base64 both ways; an empty array gives no text and leaves the output alone.
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
        std::unique_ptr<CKrVariantData> source;
        wchar_t const *name;  // as written in the message, irregular on purpose
    } cases[] = {
        {std::make_unique<CKrVariantDataKr_int32>(5), L"CKrVariantDataKr_int32::GetValueCopy()"},
        {std::make_unique<CKrVariantDataKr_uint32>(5u), L"CKrVariantDataKr_uint32::GetValueCopy"},
        {std::make_unique<CKrVariantDataKr_int64>(5), L"CKrVariantDataKr_int64::GetValueCopy"},
        {std::make_unique<CKrVariantDataKr_uint64>(5u), L"CKrVariantDataKr_uint64::GetValueCopy"},
        {std::make_unique<CKrVariantDataDouble>(5.0), L"CKrVariantDataDouble::GetValueCopy"},
        {std::make_unique<CKrVariantDataBool>(true), L"CKrVariantDataBool::GetValueCopy"},
        {std::make_unique<CKrVariantDataVoidPtr>(nullptr), L"CKrVariantVoidPtr::GetValueCopy"},
        {std::make_unique<CKrVariantDataCKrStringW>(CKrStringW(L"x")),
         L"CKrVariantCKrStringW::GetValueCopy"},
        {std::make_unique<CKrVariantDataCKrByteArray>(), L"CKrVariantCKrByteAray::GetValueCopy"},
    };
    for (Case &c : cases) {
        DiagCapture diag;
        CKrVariantDataCKrListVariant list;  // a target of another run type for every scalar
        c.source->GetValueCopy(list);
        EXPECT_TRUE(expectReport(diag, L"Error: " + std::wstring(c.name) + L", incompatible types!",
                                 L"(data.GetRunType() != GetRunType())", kSource));
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
}

TEST(VariantNames, ValidationTable) {
    struct {
        std::wstring in, out;
        bool changed;
    } cases[] = {
        {L"", L"no_name", true},
        {L"9lives", L"_lives", true},
        {L"9 lives", L"__lives", true},
        {L"a b", L"a_b", true},
        {L"_ok-1.x", L"_ok-1.x", false},
        {L"-x", L"_x", true},
        {L"\u00e9t\u00e9", L"_t_", true},
        {L"Name", L"Name", false},
        {L"a/b<c>", L"a_b_c_", true},
        // The name ends at a zero unit: a clean part before it is kept as it is.
        {std::wstring(L"ok\0 bad", 7), std::wstring(L"ok\0 bad", 7), false},
        {std::wstring(L"9k\0x", 4), L"_k", true},
        {std::wstring(L"\0a", 2), L"no_name", true},
    };
    for (auto &c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.in));
        CKrStringW name(c.in), given(c.in);
        EXPECT_EQ(CKrVariant::ValidateName(name), c.changed);
        EXPECT_EQ(name.GetStdString(), c.out);
        std::wstring const stored = c.out.substr(0, c.out.find(L'\0'));
        EXPECT_EQ(CKrVariant(1, given).GetName().GetStdString(), stored);
        EXPECT_EQ(CKrVariant(L"t", given).GetName().GetStdString(), stored);
        EXPECT_EQ(given.GetStdString(), c.in);  // constructors validate their own copy
    }
    CKrVariant v(1, L"ok");
    v.SetName(L"not valid");                                          // stored as given
    EXPECT_EQ(CKrVariant(v).GetName().GetStdString(), L"not valid");  // copies keep it too
}

// Every refused operation reports one assertion with exact texts and leaves the value alone:
// each row works on a fresh scalar `s` (5) and list `l` {a=1, b=2}, checked unchanged after it.
TEST(VariantMisuse, ReportedOnceAndValueKept) {
    using V = CKrVariant;
    using RT = CKrVariantRunType;
    V::RegisterRunType(V::CreateStruct(L"RKrTestPoint", {V(0, L"x"), V(0, L"y")}));
    static auto pair = [] { return V::CreateStruct(L"l", {V(1, L"a"), V(2, L"b")}); };
    wchar_t const *refused = L"!m_enabledTypeChange", *unknown = L"it == samples.end()",
                  *notList = L"(!m_pData || !m_pData->IsArray())",
                  *notListType =
                      L"(!m_enabledTypeChange && GetRunType() != "
                      L"CKrVariantDataCKrListVariant::GetOrigRunType() )",
                  *off =
                      L"Error: CKrVariant::operator=, can't do assignment - type change "
                      L"not enabled",
                  *badIndex = L"((signed)item >= list.Number())";
    struct Case {
        char const *what;
        bool (*fallbackHolds)(V &s, V &l);
        wchar_t const *condition, *message;
    } cases[] = {
        {"value into Null", [](V &, V &) { return V().operator=(5).IsNull(); }, refused, off},
        {"value of another type", [](V &s, V &) { return s = 2.5, true; }, refused, off},
        {"MakeNull", [](V &s, V &) { return s.MakeNull(), true; }, refused,
         L"Error: CKrVariant::MakeNull()), type change not enabled!"},
        {"variant of another type", [](V &s, V &) { return s = V(1.5), true; }, refused,
         L"Error: can't do assignment from type: double to: kr_int32, type change not enabled!"},
        {"variant into Null", [](V &, V &l) { return V().operator=(l).IsNull(); }, refused,
         L"Error: can't do assignment from type: CKrListVariant to: unknown, type change not "
         L"enabled!"},
        {"Null into a value", [](V &s, V &) { return s = V(), true; },
         L"m_pData && !m_enabledTypeChange",
         L"Error: can't do assignment, type change not enabled!"},
        {"list holder into a scalar holder",
         [](V &, V &) {
             CKrVariantDataKr_int32 i(5);
             CKrVariantDataCKrListVariant().GetValueCopy(i);
             return i.GetValue() == 5;
         },
         L"(GetRunType() != data.GetRunType())",
         L"Error: CKrVariantDataCKrListVariant::GetValueCopy, can't get to this type of data!"},
        {"holder SetRunType, same type or not",  // -9 either way, reported only for another type
         [](V &, V &) {
             CKrVariantDataKr_int32 i(5);
             return i.SetRunType(RT("kr_int32")) == -9 && i.SetRunType(RT("double")) == -9;
         },
         L"arg != GetRunType()", L"Error: CKrVariantData::SetRunType(), can't set runtype!"},
        {"insert at -1", [](V &, V &l) { return l.Insert(pair(), -1), true; }, L"iIdx < 0", L""},
        {"append to a scalar", [](V &s, V &l) { return s.Append(l).IsNull(); }, L"true",
         L"Error: invalid variant type (kr_int32) for array operation."},
        {"insert into a scalar", [](V &s, V &l) { return s.Insert(l, 0), true; },
         L"(m_pData && !m_enabledTypeChange && GetRunType() != "
         L"CKrVariantDataCKrListVariant::GetOrigRunType() )",
         L"Error: invalid variant type for array operation."},
        {"append to a record",
         [](V &, V &) {
             V r = V::CreateStructNamed(kPoint, L"p", {V(1, L"x")});
             return r.Append(V(2, L"y")).IsNull() && r.GetCount() == 1;
         },
         L"true", L"Error: invalid variant type (RKrPoint) for array operation."},
        {"index into a scalar", [](V &s, V &) { return !s.IndexPtr(0); }, notList,
         L"Error: invalid variant runtype for array operation."},
        {"member of a scalar", [](V &s, V &) { return !s.Member(V(5)); }, notList,
         L"Error: invalid variant type for array operation."},
        {"fixed search into a leaf", [](V &, V &l) { return !l.SearchFixed(L"a", L"x", nullptr); },
         notList, L"Error: invalid variant runtype for array operation."},
        {"delete at the count", [](V &, V &l) { return !l.Delete(2); }, badIndex,
         L"Error: invalid index to delete!"},
        {"delete at an index negative once signed",
         [](V &, V &l) { return !l.Delete(0x80000000u); }, badIndex,
         L"Error: invalid index to delete!"},
        {"delete in a scalar", [](V &s, V &) { return !s.Delete(0); }, notListType,
         L"Error: can't delete member in this runtype."},
        {"clear a scalar", [](V &s, V &) { return s.ClearList(), true; }, notListType,
         L"Error: can't ClearList in this runtype."},
        {"register another definition",
         [](V &, V &) {
             return V::RegisterRunType(V::CreateStruct(L"RKrTestPoint", {V(0, L"x")})) == -9 &&
                    V::GetRunTypeSample(RT("RKrTestPoint")).GetCount() == 2;
         },
         L"CompareStructure(*it->second, sample, true) != 0",
         L"Error: same Runtype already registered with different definition!"},
        {"variant of an unknown type", [](V &, V &) { return V(RT("RKrNope"), L"n").IsNull(); },
         unknown, L"Error: CKrVariant::GetRunTypeSample(), can't find: 'RKrNope' runtype!"},
        {"index of an unknown type",
         [](V &, V &) { return V::GetRunTypeIndex(RT("RKrNope")) == -1; }, unknown,
         L"Error: CKrVariant::GetRunTypeIndex(), can't find: 'RKrNope' runtype!"},
        {"SetRunType without type change",
         [](V &s, V &) { return s.SetRunType(RT("RKrTestPoint")) == -9; }, refused,
         L"Error: CKrVariant::SetRunType(), type change not enabled!"},
        {"scalar to a record",
         [](V &s, V &) {
             s.EnableTypeChange(true);
             return s.SetRunTypeCompatible(RT("RKrTestPoint")) == -9;
         },
         L"(GetCount() < 0) != (sample.GetCount() < 0)",
         L"Error: CKrVariant::SetRunTypeCompatible(), can't convert!"},
        {"compatible type without type change",
         [](V &s, V &) { return s.SetRunTypeCompatible(RT("double")) == -9; }, refused,
         L"Error: CKrVariant::SetRunTypeCompatible(), type change not enabled!"},
        {"unregistered type",
         [](V &s, V &) {
             s.EnableTypeChange(true);
             return s.SetRunTypeCompatible(RT("RKrUnregistered")) == -9;
         },
         unknown, L"Error: CKrVariant::GetRunTypeSample(), can't find: 'RKrUnregistered' runtype!"},
        {"reading text", [](V &, V &l) { return l.Read(L"<variant/>") == -2; },
         L"s_xmlReader == nullptr",
         L"Error: CKrVariant::Read(), reading the XML form is not supported!"},
    };
    for (Case const &c : cases) {
        SCOPED_TRACE(c.what);
        V s(5), l = pair();
        DiagCapture diag;
        EXPECT_TRUE(c.fallbackHolds(s, l));
        EXPECT_TRUE(expectReport(diag, c.message, c.condition, kSource));
        EXPECT_TRUE(s == V(5));
        EXPECT_TRUE(l == pair());
        EXPECT_EQ(l.GetCount(), 2);
    }
    // Quiet variants of the same calls.  (Under AddressSanitizer the rows above and this also
    // show that every refused or discarded copy of a list is freed.)
    DiagCapture diag;
    EXPECT_EQ(V::GetRunTypeIndex(RT("RKrNope"), false), -1);
    V l = pair();
    l.Insert(pair(), 3);  // above the count: silently nothing
    EXPECT_EQ(l.GetCount(), 2);
    EXPECT_EQ(diag.count(), 0u);
}

TEST(VariantAssignment, TypeChangeAndTheCasesBetweenVariants) {
    CKrVariant v;
    EXPECT_FALSE(v.EnableTypeChange(true));  // returns the previous setting
    v = 5;
    EXPECT_EQ(runType(v), L"kr_int32");
    v = 2.5;  // another type, allowed now
    EXPECT_EQ(v.GetDouble(), 2.5);
    EXPECT_TRUE(v.EnableTypeChange(false));
    v = 3.0;  // same type: stored in place
    EXPECT_EQ(v.GetDouble(), 3.0);
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

    DiagCapture diag;
    CKrVariant a(1, L"a"), d(1.5, L"d");
    a = CKrVariant(2, L"b");  // same run type: value copied, name kept
    EXPECT_EQ(a.GetKr_int32(), 2);
    EXPECT_EQ(a.GetName().GetStdString(), L"a");
    CKrVariant none;
    none = CKrVariant();  // Null into Null is fine
    EXPECT_TRUE(none.IsNull());
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
    EXPECT_EQ(CKrVariant(L"42").GetKr_int32(), 42);
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
    {
        DiagCapture diag;
        EXPECT_EQ(CKrVariant(CKrByteArray(raw, 3, 16)).GetKr_int32(&ok), -1);
        EXPECT_FALSE(ok);
        EXPECT_EQ(diag.count(), 0u);  // short arrays are not reported
    }
    // Null and lists: the fallback, ok false and the getter's own report.
    using V = CKrVariant const &;
    struct {
        std::function<bool(V, bool *)> givesFallback;
        wchar_t const *message;
    } failing[] = {
        {[](V v, bool *o) { return v.GetKr_int32(o) == -1; }, L"Can't convert to kr_int32!"},
        {[](V v, bool *o) { return v.GetKr_uint32(o) == ~0u; }, L"Can't convert to kr_uint32!"},
        {[](V v, bool *o) { return v.GetKr_int64(o) == -1; }, L"Can't convert to kr_int64!"},
        {[](V v, bool *o) { return v.GetKr_uint64(o) == ~0ULL; }, L"Can't convert to kr_uint64!"},
        {[](V v, bool *o) { return v.GetDouble(o) == -1.0; }, L"Can't convert to double!"},
        {[](V v, bool *o) { return !v.GetBool(o); }, L"Can't convert to bool!"},
        {[](V v, bool *o) { return v.GetVoidPtr(o) == reinterpret_cast<void *>(~uintptr_t(0)); },
         L"Can't convert to void*!"},
        {[](V v, bool *o) { return v.GetCKrByteArray(o).GetSize() == 0u; },
         L"Can't convert to CKrByteArray!"},
    };
    for (auto &f : failing) {
        for (CKrVariant const &subject : {CKrVariant(), CKrVariant(CKrListVariant())}) {
            SCOPED_TRACE(::testing::PrintToString(f.message));
            DiagCapture diag;
            ok = true;
            EXPECT_TRUE(f.givesFallback(subject, &ok));
            EXPECT_FALSE(ok);
            EXPECT_TRUE(expectReport(diag, f.message, L"true", kSource));
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
    scalar.GetCKrListVariant(&ok).Append(new CKrVariant(1));
    EXPECT_FALSE(ok);
    EXPECT_EQ(scalar.GetCKrListVariant().Number(), 0);
    EXPECT_EQ(CKrVariant().GetValueVoidPtr(), nullptr);
    CKrVariant number(5);
    EXPECT_EQ(*static_cast<kr_int32 *>(number.GetValueVoidPtr()), 5);
}

// Doubles are written with "%.15f" exactly as the C library writes them, extremes included.
TEST(VariantHolders, DoublesAreWrittenExactlyLikePrintf) {
    double const third = 1.0 / 3;
    double const doubles[] = {0.1,     -0.0,    2.5,      0x1p-16,  0x3p-17,   1e300,
                              -1e-300, DBL_MAX, -DBL_MAX, DBL_MIN,  5e-324,    123456789.987654321,
                              0.5e-15, 1.5e-15, -2.5e-15, INFINITY, -INFINITY, NAN,
                              third};
    for (double d : doubles) {
        std::wstring expected(512, L'\0');
        expected.resize(
            static_cast<size_t>(std::swprintf(expected.data(), expected.size(), L"%.15f", d)));
        EXPECT_EQ(text(CKrVariant(d)), expected) << d;
    }
}
