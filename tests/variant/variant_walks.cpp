// Whole-tree walks on irregular shapes: deep copies, destruction, list equality checked against
// a naive model of the pairing rule, the text form of numbers and escaping, and the record
// state that the children operations rely on.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cwchar>
#include <random>
#include <string>

#include "common/DiagCapture.h"
#include "variant/CKrVariant.h"

namespace {

CKrVariantRunType const kRecord("RKrShape");

std::wstring text(CKrVariant const &v) { return v.GetCKrStringW().GetStdString(); }
std::string runType(CKrVariant const &v) { return v.GetRunType().GetName().GetStdString(); }

// A random tree mixing every holder, sublists, records, Null children, repeated names and
// unnamed children; list sizes straddle the short/long boundary of the equality scan.
void fill(CKrVariant &list, std::mt19937 &rng, int depth) {
    static wchar_t const *const names[] = {L"a", L"ab", L"abc", L"gain", L"gains", L"no_name", L"x.1", L"_"};
    int count = static_cast<int>(rng() % (depth == 0 ? 40 : 20));
    for (int i = 0; i < count; ++i) {
        CKrStringW name = (rng() % 3 == 0) ? CKrStringW(names[rng() % 8])
                                           : CKrStringW(L"n" + std::to_wstring(rng() % 1000));
        switch (rng() % 9) {
        case 0: list.Append(CKrVariant(static_cast<int>(rng()), name)); break;
        case 1: list.Append(CKrVariant(static_cast<double>(rng() % 1000) / 8.0, name)); break;
        case 2: list.Append(CKrVariant(L"s<\"&\n" + std::to_wstring(rng() % 50), name)); break;
        case 3: list.Append(CKrVariant(rng() % 2 == 0, name)); break;
        case 4: list.Append(CKrVariant(kr_uint64(rng()) << 20, name)); break;
        case 5: {
            CKrVariant nul;
            nul.SetName(name);
            list.Append(nul);
            break;
        }
        case 6: list.Append(CKrVariant(CKrByteArray("\x01\x02\x03", 3, 8), name)); break;
        default:
            if (depth < 4) {
                CKrVariant sub(CKrListVariant(), name);
                fill(sub, rng, depth + 1);
                if (rng() % 3 == 0) sub.SetRunType(kRecord);  // a record with the same children
                list.Append(std::move(sub));
            } else {
                list.Append(CKrVariant(CKrListVariant(), name));
            }
        }
    }
}

CKrVariant randomTree(unsigned seed) {
    static int const registered = CKrVariant::RegisterRunType(CKrVariant::CreateStruct(L"RKrShape", {}));
    (void)registered;
    std::mt19937 rng(seed);
    CKrVariant root(CKrListVariant(), L"root");
    fill(root, rng, 0);
    return root;
}

// Exact sameness: names, run types, texts, flags and the order of children (recursive; the
// test trees are shallow).
::testing::AssertionResult sameTree(CKrVariant const &a, CKrVariant const &b, std::wstring const &path = L"") {
    std::wstring here = path + L"/" + a.GetName().GetStdString();
    if (a.GetName().GetStdString() != b.GetName().GetStdString())
        return ::testing::AssertionFailure() << "name differs at " << ::testing::PrintToString(here);
    if (runType(a) != runType(b) || a.IsNull() != b.IsNull() || a.IsEnabledTypeChange() != b.IsEnabledTypeChange())
        return ::testing::AssertionFailure() << "type or flag differs at " << ::testing::PrintToString(here);
    if (a.GetCount() != b.GetCount())
        return ::testing::AssertionFailure() << "count differs at " << ::testing::PrintToString(here);
    if (a.GetCount() < 0) {
        if (!a.IsNull() && text(a) != text(b))
            return ::testing::AssertionFailure() << "value differs at " << ::testing::PrintToString(here);
        return ::testing::AssertionSuccess();
    }
    for (int i = 0; i < a.GetCount(); ++i) {
        if (a.IndexPtr(i) == b.IndexPtr(i)) return ::testing::AssertionFailure() << "shared child at " << ::testing::PrintToString(here);
        auto r = sameTree(*a.IndexPtr(i), *b.IndexPtr(i), here);
        if (!r) return r;
    }
    return ::testing::AssertionSuccess();
}

// The pairing rule of list equality written out naively.
bool modelEqual(CKrVariant const &a, CKrVariant const &b) {
    if (a.IsNull() || b.IsNull()) return a.IsNull() && b.IsNull();
    if (runType(a) != runType(b)) return false;
    if (a.GetCount() < 0 || b.GetCount() < 0) return a == b;  // scalars: holder equality
    if (a.GetCount() != b.GetCount()) return false;
    for (int i = 0; i < a.GetCount(); ++i) {
        CKrVariant const &ca = *a.IndexPtr(i);
        CKrVariant const *partner = nullptr;
        if (ca.GetName().GetStdString() == L"no_name") {
            partner = b.IndexPtr(i);
        } else {
            for (int k = 0; k < b.GetCount() && !partner; ++k)
                if (b.IndexPtr(k)->GetName().GetStdString() == ca.GetName().GetStdString()) partner = b.IndexPtr(k);
        }
        if (!partner || !modelEqual(ca, *partner)) return false;
    }
    return true;
}

// A copy of `tree` with one random change somewhere (or none): a value, a name, an order.
void mutate(CKrVariant &tree, std::mt19937 &rng) {
    CKrVariant *node = &tree;
    while (node->GetCount() > 0 && rng() % 3 != 0) node = node->IndexPtr(static_cast<int>(rng() % node->GetCount()));
    switch (rng() % 4) {
    case 0: break;
    case 1: node->SetName(CKrStringW(node->GetName().GetStdString() + L"s")); break;
    case 2:
        if (node->GetCount() >= 2) {
            node->EnableTypeChange(true);
            CKrVariant first(*node->IndexPtr(0));
            node->Delete(0);
            node->Append(first);  // the first child moves to the end (a record becomes plain)
        }
        break;
    default:
        node->EnableTypeChange(true);
        if (node->GetCount() < 0) *node = 12345;
        break;
    }
}

}  // namespace

TEST(VariantWalks, CopiesOfIrregularTreesAreExactAndIndependent) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        CKrVariant tree = randomTree(seed);
        CKrVariant copy(tree);
        EXPECT_TRUE(sameTree(tree, copy));
        // Repeated names with different values make even a tree and its copy unequal.
        EXPECT_EQ(copy == tree, modelEqual(copy, tree));

        CKrVariant assigned(CKrListVariant(), L"target");
        assigned.Append(CKrVariant(1, L"old"));
        assigned = tree;  // children replaced by copies, name kept
        EXPECT_EQ(assigned.GetName().GetStdString(), L"target");
        assigned.SetName(L"root");
        EXPECT_TRUE(sameTree(tree, assigned));

        CKrListVariant children(tree.GetCKrListVariant());
        ASSERT_EQ(children.Number(), tree.GetCount());
        for (int i = 0; i < children.Number(); ++i) EXPECT_TRUE(sameTree(*tree.IndexPtr(i), *children.GetAt(i)));

        // Every copied list still grows in order, whatever room the copy gave it.
        std::vector<CKrVariant *> lists{&copy};
        for (size_t k = 0; k < lists.size(); ++k)
            for (int i = 0; i < lists[k]->GetCount(); ++i)
                if (lists[k]->IndexPtr(i)->GetCount() >= 0) lists[k]->IndexPtr(i)->EnableTypeChange(true), lists.push_back(lists[k]->IndexPtr(i));
        for (CKrVariant *l : lists) {
            int before = l->GetCount();
            for (int i = 0; i < 20; ++i) l->Append(CKrVariant(i, L"added"));
            ASSERT_EQ(l->GetCount(), before + 20);
            EXPECT_EQ(l->IndexPtr(before + 19)->GetKr_int32(), 19);
        }
        EXPECT_FALSE(copy == tree);
        copy.ClearList();
        EXPECT_TRUE(sameTree(tree, randomTree(seed)));  // the original is untouched by the copy's changes
    }
}

TEST(VariantWalks, WideListsCopyAndCompareInOrder) {
    // More entries than the copy keeps in reserve between calls; every entry a small list.
    constexpr int kCount = 70000;
    CKrVariant wide(CKrListVariant(), L"wide");
    for (int i = 0; i < kCount; ++i) {
        CKrVariant &item = wide.Append(CKrVariant(CKrListVariant(), L"item"));
        item.Append(CKrVariant(i, L"i"));
        item.Append(CKrVariant(kCount - i, L"j"));
    }
    for (int round = 0; round < 2; ++round) {
        CKrVariant copy(wide);
        ASSERT_EQ(copy.GetCount(), kCount);
        for (int i : {0, 1, kCount / 2, kCount - 1}) {
            EXPECT_EQ((*copy.IndexPtr(i))[L"i"].GetKr_int32(), i);
            EXPECT_EQ((*copy.IndexPtr(i))[L"j"].GetKr_int32(), kCount - i);
        }
        // All children are named "item": each meets the first "item" of the other list.
        EXPECT_FALSE(copy == wide);
        CKrVariant same(CKrListVariant(), L"same");
        for (int i = 0; i < 3; ++i) same.Append(*wide.IndexPtr(0));
        CKrVariant sameCopy(same);
        EXPECT_TRUE(sameCopy == same);
    }
}

TEST(VariantWalks, EqualityFollowsThePairingRuleOnRandomPairs) {
    std::mt19937 rng(7);
    int equal = 0, unequal = 0;
    for (unsigned seed = 100; seed < 160; ++seed) {
        SCOPED_TRACE(seed);
        CKrVariant a = randomTree(seed);
        CKrVariant b(a);
        mutate(b, rng);
        bool model = modelEqual(a, b);
        EXPECT_EQ(a == b, model);
        EXPECT_EQ(b == a, modelEqual(b, a));
        (model ? equal : unequal) += 1;
    }
    // The generator must produce both outcomes, or the comparison above proves little.
    EXPECT_GT(equal, 5);
    EXPECT_GT(unequal, 5);

    // Names that share a prefix or a length never pair; a later name is still found after the
    // walk came back from a nested short list.
    auto list = [](std::initializer_list<CKrVariant> items) { return CKrVariant::CreateStruct(L"l", items); };
    CKrVariant inner = list({CKrVariant(1, L"gain"), CKrVariant(2, L"gains")});
    inner.SetName(L"inner");
    CKrVariant x = list({inner, CKrVariant(3, L"gai"), CKrVariant(4, L"gain"), CKrVariant(5, L"niag")});
    CKrVariant innerSwapped = list({CKrVariant(2, L"gains"), CKrVariant(1, L"gain")});
    innerSwapped.SetName(L"inner");
    CKrVariant y = list({CKrVariant(5, L"niag"), CKrVariant(4, L"gain"), innerSwapped, CKrVariant(3, L"gai")});
    EXPECT_TRUE(x == y);
    y[L"gai"] = 33;
    EXPECT_FALSE(x == y);
}

TEST(VariantWalks, NumbersAreWrittenExactlyLikePrintf) {
    double const doubles[] = {0.1, -0.0, 2.5, 1.0 / 3.0, std::ldexp(1.0, -16), std::ldexp(3.0, -17), 1e300,
                              -1e-300, DBL_MAX, -DBL_MAX, DBL_MIN, 5e-324, 123456789.987654321, 0.5e-15,
                              1.5e-15, -2.5e-15, INFINITY, -INFINITY, NAN};
    for (double d : doubles) {
        SCOPED_TRACE(d);
        std::wstring expected(512, L'\0');
        expected.resize(static_cast<size_t>(std::swprintf(expected.data(), expected.size(), L"%.15f", d)));
        EXPECT_EQ(text(CKrVariant(d)), expected);
    }
    EXPECT_EQ(text(CKrVariant(INT_MIN)), L"-2147483648");
    EXPECT_EQ(text(CKrVariant(0)), L"0");
    EXPECT_EQ(text(CKrVariant(UINT_MAX)), L"4294967295");
    EXPECT_EQ(text(CKrVariant(kr_int64(INT64_MIN))), L"-9223372036854775808");
    EXPECT_EQ(text(CKrVariant(kr_uint64(UINT64_MAX))), L"18446744073709551615");

    // A reused output string is replaced, never appended to.
    CKrStringW out(L"a long previous content of the string");
    CKrVariantDataKr_int32(7).GetString(out);
    EXPECT_EQ(out.GetStdString(), L"7");
    CKrVariantDataBool(false).GetString(out);
    EXPECT_EQ(out.GetStdString(), L"false");
    CKrVariantDataDouble(-1.25).GetString(out);
    EXPECT_EQ(out.GetStdString(), L"-1.250000000000000");
}

TEST(VariantWalks, AttributeEscapingAroundRuns) {
    std::wstring value = L"<a\"b&c&#x41;\r\n\t";
    value += static_cast<wchar_t>(1);
    value += L"tail&";
    CKrVariant v(value.c_str(), L"s");
    CKrStringW out;
    v.Write(out);
    EXPECT_EQ(out.GetStdString(), std::wstring(L"<variant version=\"1.0\"><s runtype=\"CKrStringW\" value=\"") +
                                      L"&#x003C;a&#x0022;b&#x0026;c&#x41;&#x000d;&#x000a;\t\xDB80\xDC01tail&\"/></variant>");
    CKrVariant plain(L"nothing to escape", L"p");
    plain.Write(out);
    EXPECT_EQ(out.GetStdString(),
              L"<variant version=\"1.0\"><p runtype=\"CKrStringW\" value=\"nothing to escape\"/></variant>");
}

TEST(VariantWalks, ConstructorsValidateTheirOwnCopyOfTheName) {
    CKrStringW name(L"9 lives");
    CKrVariant v(1, name);
    EXPECT_EQ(v.GetName().GetStdString(), L"__lives");
    EXPECT_EQ(name.GetStdString(), L"9 lives");  // the caller's string is left alone
    CKrVariant w(L"text", name);
    EXPECT_EQ(w.GetName().GetStdString(), L"__lives");
    EXPECT_EQ(name.GetStdString(), L"9 lives");

    // The name ends at a zero unit: a clean part before it is kept as it is.
    CKrStringW zero(std::wstring(L"ok\0 bad", 7));
    EXPECT_FALSE(CKrVariant::ValidateName(zero));
    CKrStringW dirty(std::wstring(L"9k\0x", 4));
    EXPECT_TRUE(CKrVariant::ValidateName(dirty));
    EXPECT_EQ(dirty.GetStdString(), L"_k");
    EXPECT_EQ(CKrVariant(1, CKrStringW(std::wstring(L"\0a", 2))).GetName().GetStdString(), L"no_name");
}

TEST(VariantWalks, RecordStateFollowsTheRunTypeName) {
    CKrVariant record = CKrVariant::CreateStructNamed(kRecord, L"r", {CKrVariant(1, L"x")});
    CKrVariant copy(record);
    EXPECT_EQ(runType(copy), "RKrShape");
    {
        DiagCapture diag;
        EXPECT_TRUE(copy.Append(CKrVariant(2, L"y")).IsNull());
        ASSERT_EQ(diag.count(), 1u);
        EXPECT_EQ(diag.records()[0].message, L"Error: invalid variant type (RKrShape) for array operation.");
    }
    // Named back to the plain list type by a run type object of its own (not the shared one).
    CKrVariantRunType plain("CKrListVariant");
    copy.EnableTypeChange(true);
    EXPECT_EQ(copy.SetRunTypeCompatible(plain), 0);
    copy.EnableTypeChange(false);
    EXPECT_EQ(copy.Append(CKrVariant(2, L"y")).GetKr_int32(), 2);
    EXPECT_EQ(copy.GetCount(), 2);

    // A record and a plain list with the same children are not equal; two records are.
    CKrVariant plainList = CKrVariant::CreateStruct(L"r", {CKrVariant(1, L"x")});
    EXPECT_FALSE(plainList == record);
    EXPECT_TRUE(CKrVariant(record) == record);
    // Assignment carries the record name to a list of the same run type.
    CKrVariant other = CKrVariant::CreateStructNamed(kRecord, L"o", {});
    other = record;
    EXPECT_EQ(runType(other), "RKrShape");
    EXPECT_TRUE(other == record);
    DiagCapture diag;
    EXPECT_TRUE(other.Append(CKrVariant(3, L"z")).IsNull());
    EXPECT_EQ(diag.count(), 1u);
}
