// Trees of variants: children operations, list equality, searches, structure comparison,
// record factories, the run-type registry and the XML text form.
#include <gtest/gtest.h>

#include "common/DiagCapture.h"
#include "variant/CKrVariant.h"

namespace {

void expectOneAssert(DiagCapture const &diag, std::wstring const &condition, std::wstring const &message) {
    auto records = diag.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].source, L"variant/CKrVariant");
    EXPECT_EQ(records[0].condition, condition);
    EXPECT_EQ(records[0].message, message);
}

std::string runType(CKrVariant const &v) { return v.GetRunType().GetName().GetStdString(); }

// settings { name="cam", exposure { value=1.5, unit="ms" }, flags { a=true } }
CKrVariant sampleTree() {
    CKrVariant root(CKrListVariant(), L"settings");
    root.Append(CKrVariant(L"cam", L"name"));
    CKrVariant &exposure = root.Append(CKrVariant(CKrListVariant(), L"exposure"));
    exposure.Append(CKrVariant(1.5, L"value"));
    exposure.Append(CKrVariant(L"ms", L"unit"));
    root.Append(CKrVariant(CKrListVariant(), L"flags")).Append(CKrVariant(true, L"a"));
    return root;
}

CKrVariantRunType const kPoint("RKrPoint");

}  // namespace

TEST(VariantChildren, AppendInsertAndTheirDeliberateResults) {
    CKrVariant v;  // Null becomes a list
    CKrVariant &first = v.Append(CKrVariant(1, L"a"));
    EXPECT_EQ(v.GetCount(), 1);
    EXPECT_EQ(&first, v.IndexPtr(0));
    EXPECT_EQ(&v.Insert(CKrVariant(0, L"z"), 0), &CKrVariant::GetNullVariant());  // even on success
    EXPECT_EQ(v[0].GetName().GetStdString(), L"z");
    v.Insert(CKrVariant(2, L"b"), 2);  // at the end (count inclusive)
    EXPECT_EQ(v[2].GetName().GetStdString(), L"b");
    {
        DiagCapture diag;
        v.Insert(CKrVariant(9), 4);  // above the count: silently nothing
        EXPECT_EQ(v.GetCount(), 3);
        EXPECT_EQ(diag.count(), 0u);
        v.Insert(CKrVariant(9), -1);
        EXPECT_EQ(v.GetCount(), 3);
        expectOneAssert(diag, L"iIdx < 0", L"");
    }
    {
        DiagCapture diag;  // a scalar refuses children without type change
        CKrVariant s(5, L"s");
        EXPECT_EQ(&s.Append(CKrVariant(1)), &CKrVariant::GetNullVariant());
        expectOneAssert(diag, L"true", L"Error: invalid variant type (kr_int32) for array operation.");
        diag.clear();
        s.Insert(CKrVariant(1), 0);
        expectOneAssert(diag,
                        L"(m_pData && !m_enabledTypeChange && GetRunType() != "
                        L"CKrVariantDataCKrListVariant::GetOrigRunType() )",
                        L"Error: invalid variant type for array operation.");
        EXPECT_EQ(s.GetKr_int32(), 5);
        s.EnableTypeChange(true);
        s.Append(CKrVariant(1));  // the scalar is discarded
        EXPECT_EQ(s.GetCount(), 1);
    }
    // Appending a variant to itself copies its state before the change.
    CKrVariant self;
    self.Append(CKrVariant(1, L"x"));
    self.Append(self);
    ASSERT_EQ(self.GetCount(), 2);
    EXPECT_EQ(self[1].GetCount(), 1);
}

TEST(VariantChildren, IndexingAndLookupFallbacks) {
    CKrVariant tree = sampleTree();
    EXPECT_EQ(tree.IndexOf(L"flags"), 2);
    EXPECT_EQ(tree.IndexOf(L"FLAGS"), -1);  // case-sensitive
    EXPECT_EQ(CKrVariant(1).IndexOf(L"x"), -1);
    EXPECT_EQ(tree.IndexPtr(3), nullptr);
    EXPECT_EQ(tree.IndexPtr(-1), nullptr);
    EXPECT_EQ(&tree[L"missing"], &CKrVariant::GetNullVariant());
    EXPECT_EQ(&tree[99], &CKrVariant::GetNullVariant());
    EXPECT_EQ(&tree[-1], &CKrVariant::GetNullVariant());
    EXPECT_EQ(tree[L"exposure"][L"unit"].GetCKrStringW().GetStdString(), L"ms");
    EXPECT_EQ(CKrVariant(1).GetCount(), -1);
    EXPECT_EQ(CKrVariant().GetCount(), -1);
    DiagCapture diag;
    EXPECT_EQ(CKrVariant(1).IndexPtr(0), nullptr);
    expectOneAssert(diag, L"(!m_pData || !m_pData->IsArray())", L"Error: invalid variant runtype for array operation.");
    // Storing into the shared Null through a failed lookup is refused (no type change).
    diag.clear();
    tree[L"missing"] = 5;
    EXPECT_TRUE(CKrVariant::GetNullVariant().IsNull());
}

TEST(VariantChildren, SetOrAppendDeleteAndClearList) {
    CKrVariant v;
    EXPECT_EQ(v.SetOrAppend(L"a", CKrVariant(1)), -1);  // appended: -1, deliberately
    EXPECT_EQ(v.SetOrAppend(L"b c", CKrVariant(2)), -1);
    EXPECT_EQ(v[1].GetName().GetStdString(), L"b_c");  // validated
    EXPECT_EQ(v.SetOrAppend(L"a", CKrVariant(10)), 0);  // replaced: its index
    EXPECT_EQ(v[0].GetKr_int32(), 10);
    EXPECT_EQ(v.GetCount(), 2);
    {
        DiagCapture diag;  // the existing child keeps its type rule
        EXPECT_EQ(v.SetOrAppend(L"a", CKrVariant(1.5)), 0);
        EXPECT_EQ(v[0].GetKr_int32(), 10);
        EXPECT_EQ(diag.count(), 1u);
    }

    DiagCapture diag;
    EXPECT_FALSE(v.Delete(2));
    expectOneAssert(diag, L"((signed)item >= list.Number())", L"Error: invalid index to delete!");
    diag.clear();
    EXPECT_FALSE(v.Delete(0x80000000u));  // negative once signed
    EXPECT_EQ(diag.count(), 1u);
    EXPECT_TRUE(v.Delete(0));
    EXPECT_EQ(v.GetCount(), 1);
    EXPECT_EQ(v[0].GetName().GetStdString(), L"b_c");

    diag.clear();
    CKrVariant s(3);
    EXPECT_FALSE(s.Delete(0));
    expectOneAssert(diag,
                    L"(!m_enabledTypeChange && GetRunType() != CKrVariantDataCKrListVariant::GetOrigRunType() )",
                    L"Error: can't delete member in this runtype.");
    diag.clear();
    s.ClearList();
    expectOneAssert(diag,
                    L"(!m_enabledTypeChange && GetRunType() != CKrVariantDataCKrListVariant::GetOrigRunType() )",
                    L"Error: can't ClearList in this runtype.");

    v.ClearList();
    EXPECT_EQ(v.GetCount(), 0);
    CKrVariant n;
    n.ClearList();
    EXPECT_TRUE(n.IsNull());

    // A record with type change: ClearList only drops the record name, Delete makes it plain too.
    CKrVariant rec = CKrVariant::CreateStructNamed(kPoint, L"p", {CKrVariant(1, L"x"), CKrVariant(2, L"y")});
    rec.EnableTypeChange(true);
    rec.ClearList();
    EXPECT_EQ(runType(rec), "CKrListVariant");
    EXPECT_EQ(rec.GetCount(), 2);
    CKrVariant rec2 = CKrVariant::CreateStructNamed(kPoint, L"p", {CKrVariant(1, L"x"), CKrVariant(2, L"y")});
    rec2.EnableTypeChange(true);
    EXPECT_TRUE(rec2.Delete(0));
    EXPECT_EQ(runType(rec2), "CKrListVariant");
    EXPECT_EQ(rec2[0].GetName().GetStdString(), L"y");
}

TEST(VariantChildren, RecordsBecomePlainListsWhenMembersAreAdded) {
    CKrVariant rec = CKrVariant::CreateStructNamed(kPoint, L"pt", {CKrVariant(1, L"x")});
    EXPECT_EQ(runType(rec), "RKrPoint");
    EXPECT_EQ(rec.GetName().GetStdString(), L"pt");
    EXPECT_FALSE(rec.IsEnabledTypeChange());
    {
        DiagCapture diag;  // without type change a record refuses new members
        rec.Append(CKrVariant(2, L"y"));
        expectOneAssert(diag, L"true", L"Error: invalid variant type (RKrPoint) for array operation.");
    }
    rec.EnableTypeChange(true);
    rec.Append(CKrVariant(2, L"y"));
    EXPECT_EQ(runType(rec), "CKrListVariant");
    EXPECT_EQ(rec.GetCount(), 2);

    CKrVariant a(1, L"a"), b(2, L"b");
    CKrVariant s = CKrVariant::CreateStruct(L"s", &a, &b, nullptr);
    ASSERT_EQ(s.GetCount(), 2);
    EXPECT_EQ(s[1].GetName().GetStdString(), L"b");
    CKrVariant named = CKrVariant::CreateStructNamed(kPoint, L"n", &a, nullptr);
    EXPECT_EQ(runType(named), "RKrPoint");
    EXPECT_EQ(CKrVariant::CreateStruct(L"e", nullptr).GetCount(), 0);
}

TEST(VariantChildren, MemberComparesValuesNotNames) {
    CKrVariant v;
    v.Append(CKrVariant(1, L"a"));
    v.Append(CKrVariant());
    v.Append(sampleTree());
    EXPECT_TRUE(v.Member(CKrVariant(1, L"other")));
    EXPECT_FALSE(v.Member(CKrVariant(1u)));  // another run type
    EXPECT_TRUE(v.Member(CKrVariant()));
    EXPECT_TRUE(v.Member(sampleTree()));
    DiagCapture diag;
    EXPECT_FALSE(CKrVariant(1).Member(CKrVariant(1)));
    expectOneAssert(diag, L"(!m_pData || !m_pData->IsArray())", L"Error: invalid variant type for array operation.");
}

TEST(VariantEquality, NamedChildrenPairByNameUnnamedByPosition) {
    auto list = [](std::initializer_list<CKrVariant> items) { return CKrVariant::CreateStruct(L"l", items); };
    // Named members in another order are equal.
    EXPECT_TRUE(list({CKrVariant(1, L"a"), CKrVariant(2, L"b")}) == list({CKrVariant(2, L"b"), CKrVariant(1, L"a")}));
    // Unnamed members compare by position.
    EXPECT_FALSE(list({CKrVariant(1), CKrVariant(2)}) == list({CKrVariant(2), CKrVariant(1)}));
    EXPECT_TRUE(list({CKrVariant(1), CKrVariant(2)}) == list({CKrVariant(1), CKrVariant(2)}));
    // A name missing on the other side, different counts, different values, Null pairs.
    EXPECT_FALSE(list({CKrVariant(1, L"a")}) == list({CKrVariant(1, L"b")}));
    EXPECT_FALSE(list({CKrVariant(1, L"a")}) == list({CKrVariant(1, L"a"), CKrVariant(1, L"b")}));
    EXPECT_FALSE(list({CKrVariant(1, L"a")}) == list({CKrVariant(2, L"a")}));
    EXPECT_TRUE(list({CKrVariant()}) == list({CKrVariant()}));
    EXPECT_FALSE(list({CKrVariant()}) == list({CKrVariant(0)}));
    EXPECT_TRUE(list({}) == list({}));
    // Duplicate names: every same-named child meets the first one of the other list.
    EXPECT_FALSE(list({CKrVariant(1, L"d"), CKrVariant(2, L"d")}) == list({CKrVariant(1, L"d"), CKrVariant(2, L"d")}));
    EXPECT_TRUE(list({CKrVariant(1, L"d"), CKrVariant(1, L"d")}) == list({CKrVariant(1, L"d"), CKrVariant(2, L"d")}));
    // Record run types count.
    EXPECT_FALSE(CKrVariant::CreateStructNamed(kPoint, L"l", {}) == list({}));

    // Long lists use a name index: same rules.
    CKrVariant a, b;
    for (int i = 0; i < 100; ++i) {
        a.Append(CKrVariant(i, CKrStringW(L"n") + CKrStringW(std::to_wstring(i))));
        b.Append(CKrVariant(99 - i, CKrStringW(L"n") + CKrStringW(std::to_wstring(99 - i))));
    }
    EXPECT_TRUE(a == b);
    b[50] = 1000;
    EXPECT_FALSE(a == b);
    b[50] = 49;
    EXPECT_TRUE(a == b);
    b[50].SetName(L"n49x");
    EXPECT_FALSE(a == b);
}

TEST(VariantSearch, BreadthFirstFixedAndRecursive) {
    CKrVariant tree = sampleTree();
    EXPECT_EQ(tree.Search(L"settings", nullptr), &tree);  // the node itself first
    EXPECT_EQ(tree.Search(L"settings", L"settings", nullptr), &tree);
    CKrVariant *unit = tree.Search(L"unit", nullptr);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(unit->GetCKrStringW().GetStdString(), L"ms");
    EXPECT_EQ(tree.Search(L"exposure", L"value", nullptr)->GetDouble(), 1.5);
    EXPECT_EQ(tree.Search(L"flags", L"value", nullptr), nullptr);  // not below flags
    EXPECT_EQ(tree.Search(nullptr), nullptr);

    // Level order: a shallow node wins over a deeper one that comes first in child order.
    CKrVariant bfs;
    bfs.Append(CKrVariant(CKrListVariant(), L"deep")).Append(CKrVariant(1, L"x"));
    bfs.Append(CKrVariant(2, L"x"));
    EXPECT_EQ(bfs.Search(L"x", nullptr)->GetKr_int32(), 2);
    // Pre-order: the deeper one wins for SearchRecursive.
    CKrVariant *pre = bfs.SearchRecursive([](CKrVariant const *n) { return n->GetName() == L"x"; });
    ASSERT_NE(pre, nullptr);
    EXPECT_EQ(pre->GetKr_int32(), 1);
    EXPECT_EQ(bfs.SearchRecursive([](CKrVariant const *) { return false; }), nullptr);
    EXPECT_EQ(bfs.SearchRecursive([](CKrVariant const *n) { return n->GetCount() == 2; }), &bfs);

    EXPECT_EQ(tree.SearchFixed(L"exposure", L"unit", nullptr), unit);
    EXPECT_EQ(tree.SearchFixed(L"unit", nullptr), nullptr);  // not a direct child
    EXPECT_EQ(tree.SearchFixedOneLevel(L"flags"), tree.IndexPtr(2));
    DiagCapture diag;  // descending into a leaf is an array operation on a non-list
    EXPECT_EQ(tree.SearchFixed(L"name", L"x", nullptr), nullptr);
    expectOneAssert(diag, L"(!m_pData || !m_pData->IsArray())", L"Error: invalid variant runtype for array operation.");
}

TEST(VariantStructure, CompareStructureIgnoresValuesAndNames) {
    CKrVariant a = sampleTree();
    CKrVariant b = sampleTree();
    b[L"exposure"][L"value"] = 99.0;
    b[1].SetName(L"renamed");
    EXPECT_EQ(CKrVariant::CompareStructure(a, b, true), 0);
    EXPECT_EQ(CKrVariant::CompareStructure(a, b, false), 0);
    b[L"flags"].Append(CKrVariant(false, L"b"));
    EXPECT_EQ(CKrVariant::CompareStructure(a, b, true), -1);  // a grandchild more
    EXPECT_EQ(CKrVariant::CompareStructure(a, b, false), 0);   // same counts on this level
    EXPECT_EQ(CKrVariant::CompareStructure(CKrVariant(1), CKrVariant(2), true), 0);
    EXPECT_EQ(CKrVariant::CompareStructure(CKrVariant(1), CKrVariant(2.0), true), -1);
    EXPECT_EQ(CKrVariant::CompareStructure(CKrVariant(), CKrVariant(), false), 0);
    CKrVariant rec = CKrVariant::CreateStructNamed(kPoint, L"r", {});
    CKrVariant plain = CKrVariant::CreateStruct(L"r", {});
    EXPECT_EQ(CKrVariant::CompareStructure(rec, plain, true), 0);   // own run types not compared
    EXPECT_EQ(CKrVariant::CompareStructure(rec, plain, false), -1);
}

TEST(VariantRegistry, KnownTypesRecordsAndReports) {
    CKrVariant::RegisterKnownTypes();
    CKrVariant::RegisterKnownTypes();  // idempotent
    for (char const *name : {"kr_int32", "kr_uint32", "kr_int64", "kr_uint64", "double", "bool", "voidPtr",
                             "CKrStringW", "CKrByteArray", "CKrListVariant"}) {
        CKrVariant const &sample = CKrVariant::GetRunTypeSample(CKrVariantRunType(name));
        EXPECT_EQ(runType(sample), name);
        EXPECT_EQ(CKrStringA(sample.GetName().GetString()).GetStdString(), name);
        EXPECT_GE(CKrVariant::GetRunTypeIndex(CKrVariantRunType(name)), 0);
        CKrVariant empty(CKrVariantRunType(name), L"e");
        EXPECT_EQ(runType(empty), name);
    }
    EXPECT_LT(CKrVariant::GetRunTypeIndex(CKrVariantRunType("CKrByteArray")),
              CKrVariant::GetRunTypeIndex(CKrVariantRunType("double")));  // ordinal order

    CKrVariant point = CKrVariant::CreateStruct(L"RKrTestPoint", {CKrVariant(0, L"x"), CKrVariant(0, L"y")});
    EXPECT_EQ(CKrVariant::RegisterRunType(point), 0);
    EXPECT_EQ(CKrVariant::RegisterRunType(point), 0);  // same definition again
    DiagCapture diag;
    CKrVariant other = CKrVariant::CreateStruct(L"RKrTestPoint", {CKrVariant(0, L"x")});
    EXPECT_EQ(CKrVariant::RegisterRunType(other), -9);
    expectOneAssert(diag, L"CompareStructure(*it->second, sample, true) != 0",
                    L"Error: same Runtype already registered with different definition!");
    EXPECT_EQ(CKrVariant::GetRunTypeSample(CKrVariantRunType("RKrTestPoint")).GetCount(), 2);

    diag.clear();
    EXPECT_TRUE(CKrVariant::GetRunTypeSample(CKrVariantRunType("RKrNope")).IsNull());
    ASSERT_EQ(diag.count(), 1u);
    EXPECT_EQ(diag.records()[0].message, L"Error: CKrVariant::GetRunTypeSample(), can't find: 'RKrNope' runtype!");
    diag.clear();
    EXPECT_EQ(CKrVariant::GetRunTypeIndex(CKrVariantRunType("RKrNope")), -1);
    EXPECT_EQ(diag.records().at(0).message, L"Error: CKrVariant::GetRunTypeIndex(), can't find: 'RKrNope' runtype!");
    diag.clear();
    EXPECT_EQ(CKrVariant::GetRunTypeIndex(CKrVariantRunType("RKrNope"), false), -1);
    EXPECT_EQ(diag.count(), 0u);
    EXPECT_TRUE(CKrVariant(CKrVariantRunType("RKrNope"), L"n").IsNull());
}

TEST(VariantRegistry, SetRunTypeAndCompatibleConversion) {
    CKrVariant point = CKrVariant::CreateStruct(L"RKrTestPoint2", {CKrVariant(0, L"x"), CKrVariant(0.5, L"y")});
    ASSERT_EQ(CKrVariant::RegisterRunType(point), 0);
    CKrVariantRunType const type("RKrTestPoint2");

    CKrVariant v;  // Null needs type change
    {
        DiagCapture diag;
        EXPECT_EQ(v.SetRunType(type), -9);
        expectOneAssert(diag, L"!m_enabledTypeChange", L"Error: CKrVariant::SetRunType(), type change not enabled!");
    }
    v.EnableTypeChange(true);
    EXPECT_EQ(v.SetRunType(type), 0);
    EXPECT_EQ(runType(v), "RKrTestPoint2");
    ASSERT_EQ(v.GetCount(), 2);
    EXPECT_EQ(v[L"y"].GetDouble(), 0.5);

    // A plain list takes the record name, keeps its children, gains the missing members.
    CKrVariant list = CKrVariant::CreateStruct(L"l", {CKrVariant(7, L"x"), CKrVariant(1, L"extra")});
    EXPECT_EQ(list.SetRunType(type), 0);
    EXPECT_EQ(runType(list), "RKrTestPoint2");
    EXPECT_EQ(list.GetCount(), 3);
    EXPECT_EQ(list[L"x"].GetKr_int32(), 7);

    // Compatible: scalar conversion keeps the value; records keep matching members only.
    CKrVariant n(L"42", L"n");
    n.EnableTypeChange(true);
    EXPECT_EQ(n.SetRunTypeCompatible(CKrVariantRunType("kr_int64")), 0);
    EXPECT_EQ(runType(n), "kr_int64");
    EXPECT_EQ(n.GetKr_int64(), 42);
    CKrVariant old = CKrVariant::CreateStruct(L"o", {CKrVariant(L"3", L"y"), CKrVariant(5, L"x"), CKrVariant(1, L"z")});
    EXPECT_EQ(old.SetRunTypeCompatible(type), 0);
    ASSERT_EQ(old.GetCount(), 2);
    EXPECT_EQ(old[0].GetName().GetStdString(), L"x");
    EXPECT_EQ(old[L"x"].GetKr_int32(), 5);
    EXPECT_EQ(old[L"y"].GetDouble(), 3.0);
    EXPECT_EQ(runType(old[L"y"]), "double");
    DiagCapture diag;
    CKrVariant scalar(1);
    scalar.EnableTypeChange(true);
    EXPECT_EQ(scalar.SetRunTypeCompatible(type), -9);
    EXPECT_EQ(scalar.GetKr_int32(), 1);
    EXPECT_EQ(diag.count(), 1u);
}

TEST(VariantText, WriteAndTraceForms) {
    CKrVariant tree = sampleTree();
    tree[L"name"] = L"a<\"b\"&c&#65;\r\n\x01";
    tree.Append(CKrVariant(CKrByteArray("Man", 3, 4), L"raw"));
    tree.Append(CKrVariant(CKrListVariant(), L"empty"));
    tree.Append(CKrVariant());
    CKrStringW out(L"old");
    EXPECT_EQ(tree.Write(out), 0);
    std::wstring expected =
        L"<variant version=\"1.0\"><settings runtype=\"CKrListVariant\">"
        L"<name runtype=\"CKrStringW\" value=\"a&#x003C;&#x0022;b&#x0022;&#x0026;c&#65;&#x000d;&#x000a;"
        L"\xDB80\xDC01\"/>"
        L"<exposure runtype=\"CKrListVariant\"><value runtype=\"double\" value=\"1.500000000000000\"/>"
        L"<unit runtype=\"CKrStringW\" value=\"ms\"/></exposure>"
        L"<flags runtype=\"CKrListVariant\"><a runtype=\"bool\" value=\"true\"/></flags>"
        L"<raw runtype=\"CKrByteArray\" value=\"TWFu\"/>"
        L"<empty runtype=\"CKrListVariant\"></empty>"
        L"<no_name runtype=\"unknown\" value=\"\"/>"
        L"</settings></variant>";
    EXPECT_EQ(out.GetStdString(), expected);

    CKrVariant small = CKrVariant::CreateStructNamed(kPoint, L"p", {CKrVariant(1, L"x")});
    CKrVariant::Trace(out, small);
    EXPECT_EQ(out.GetStdString(),
              L"<variant version=\"1.0\">\r\n"
              L"  <p runtype=\"RKrPoint\">\r\n"
              L"    <x runtype=\"kr_int32\" value=\"1\"/>\r\n"
              L"  </p>\r\n"
              L"</variant>\r\n");
    DiagCapture diag;
    CKrVariant::Trace(small);
    auto records = diag.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].kind, 1);
    EXPECT_EQ(records[0].message, out.GetStdString());

    diag.clear();
    EXPECT_EQ(small.Read(out), -2);
    EXPECT_EQ(small.GetCount(), 1);
    expectOneAssert(diag, L"s_xmlReader == nullptr",
                    L"Error: CKrVariant::Read(), reading the XML form is not supported!");
}
