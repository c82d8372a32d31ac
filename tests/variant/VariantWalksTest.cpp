// Whole-tree walks on irregular shapes: deep copies, destruction, list equality checked against
// a naive model of the pairing rule, and the text form of doubles checked against swprintf.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cwchar>
#include <random>
#include <string>

#include "variant/CKrVariant.h"

namespace {

CKrVariantRunType const kRecord("RKrShape");

std::wstring text(CKrVariant const &v) { return v.GetCKrStringW().GetStdString(); }
std::string runType(CKrVariant const &v) { return v.GetRunType().GetName().GetStdString(); }

// A random tree mixing every holder, sublists, records, Null children, repeated names and
// unnamed children; list sizes straddle the short/long boundary of the equality scan.
void fill(CKrVariant &list, std::mt19937 &rng, int depth) {
    static wchar_t const *const names[] = {L"a",     L"ab",      L"abc", L"gain",
                                           L"gains", L"no_name", L"x.1", L"_"};
    int count = static_cast<int>(rng() % (depth == 0 ? 40 : 20));
    for (int i = 0; i < count; ++i) {
        CKrStringW name = (rng() % 3 == 0) ? CKrStringW(names[rng() % 8])
                                           : CKrStringW(L"n" + std::to_wstring(rng() % 1000));
        switch (rng() % 9) {
            case 0:
                list.Append(CKrVariant(static_cast<int>(rng()), name));
                break;
            case 1:
                list.Append(CKrVariant(static_cast<double>(rng() % 1000) / 8.0, name));
                break;
            case 2:
                list.Append(CKrVariant(L"s<\"&\n" + std::to_wstring(rng() % 50), name));
                break;
            case 3:
                list.Append(CKrVariant(rng() % 2 == 0, name));
                break;
            case 4:
                list.Append(CKrVariant(kr_uint64(rng()) << 20, name));
                break;
            case 5:
                list.Append(CKrVariant()).SetName(name);
                break;
            case 6:
                list.Append(CKrVariant(CKrByteArray("\x01\x02\x03", 3, 8), name));
                break;
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
    [[maybe_unused]] static int const registered =
        CKrVariant::RegisterRunType(CKrVariant::CreateStruct(L"RKrShape", {}));
    std::mt19937 rng(seed);
    CKrVariant root(CKrListVariant(), L"root");
    fill(root, rng, 0);
    return root;
}

// Exact sameness: names, run types, texts, flags and the order of children, with no child
// shared (recursive; the test trees are shallow).
::testing::AssertionResult sameTree(CKrVariant const &a, CKrVariant const &b,
                                    std::wstring const &path = L"") {
    std::wstring here = path + L"/" + a.GetName().GetStdString();
    bool same =
        a.GetName().GetStdString() == b.GetName().GetStdString() && runType(a) == runType(b) &&
        a.IsNull() == b.IsNull() && a.IsEnabledTypeChange() == b.IsEnabledTypeChange() &&
        a.GetCount() == b.GetCount() && (a.GetCount() >= 0 || a.IsNull() || text(a) == text(b));
    for (int i = 0; same && i < a.GetCount(); ++i) {
        if (a.IndexPtr(i) == b.IndexPtr(i))
            same = false;
        else if (auto r = sameTree(*a.IndexPtr(i), *b.IndexPtr(i), here); !r)
            return r;
    }
    if (same) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "differs at " << ::testing::PrintToString(here);
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
                if (b.IndexPtr(k)->GetName().GetStdString() == ca.GetName().GetStdString())
                    partner = b.IndexPtr(k);
        }
        if (!partner || !modelEqual(ca, *partner)) return false;
    }
    return true;
}

// A copy of `tree` with one random change somewhere (or none): a value, a name, an order.
void mutate(CKrVariant &tree, std::mt19937 &rng) {
    CKrVariant *node = &tree;
    while (node->GetCount() > 0 && rng() % 3 != 0)
        node = node->IndexPtr(static_cast<int>(rng() % node->GetCount()));
    switch (rng() % 4) {
        case 0:
            break;
        case 1:
            node->SetName(CKrStringW(node->GetName().GetStdString() + L"s"));
            break;
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
        for (int i = 0; i < children.Number(); ++i)
            EXPECT_TRUE(sameTree(*tree.IndexPtr(i), *children.GetAt(i)));

        // Every copied list still grows in order, whatever room the copy gave it.
        std::vector<CKrVariant *> lists{&copy};
        for (size_t k = 0; k < lists.size(); ++k)
            for (int i = 0; i < lists[k]->GetCount(); ++i)
                if (CKrVariant *child = lists[k]->IndexPtr(i); child->GetCount() >= 0) {
                    child->EnableTypeChange(true);
                    lists.push_back(child);
                }
        for (CKrVariant *l : lists) {
            int before = l->GetCount();
            for (int i = 0; i < 20; ++i) l->Append(CKrVariant(i, L"added"));
            ASSERT_EQ(l->GetCount(), before + 20);
            EXPECT_EQ(l->IndexPtr(before + 19)->GetKr_int32(), 19);
        }
        EXPECT_FALSE(copy == tree);
        copy.ClearList();
        EXPECT_TRUE(sameTree(tree, randomTree(seed)));  // the original is untouched by all this
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
    using V = CKrVariant;
    V inner = V::CreateStruct(L"inner", {V(1, L"gain"), V(2, L"gains")});
    V swapped = V::CreateStruct(L"inner", {V(2, L"gains"), V(1, L"gain")});
    V x = V::CreateStruct(L"l", {inner, V(3, L"gai"), V(4, L"gain"), V(5, L"niag")});
    V y = V::CreateStruct(L"l", {V(5, L"niag"), V(4, L"gain"), swapped, V(3, L"gai")});
    EXPECT_TRUE(x == y);
    y[L"gai"] = 33;
    EXPECT_FALSE(x == y);
}

TEST(VariantWalks, NumbersAreWrittenExactlyLikePrintf) {
    double const doubles[] = {0.1,
                              -0.0,
                              2.5,
                              1.0 / 3.0,
                              std::ldexp(1.0, -16),
                              std::ldexp(3.0, -17),
                              1e300,
                              -1e-300,
                              DBL_MAX,
                              -DBL_MAX,
                              DBL_MIN,
                              5e-324,
                              123456789.987654321,
                              0.5e-15,
                              1.5e-15,
                              -2.5e-15,
                              INFINITY,
                              -INFINITY,
                              NAN};
    for (double d : doubles) {
        SCOPED_TRACE(d);
        std::wstring expected(512, L'\0');
        expected.resize(
            static_cast<size_t>(std::swprintf(expected.data(), expected.size(), L"%.15f", d)));
        EXPECT_EQ(text(CKrVariant(d)), expected);
    }
}
