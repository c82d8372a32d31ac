// Trees of variants: children operations, records, list equality, searches, structure
// comparison, the run-type registry and the XML text form.  Refused operations are in the
// misuse table of the value tests; copies and equality on random trees in the fuzz target
// variant_tree.
#include <gtest/gtest.h>

#include "common/DiagCapture.h"
#include "variant/CKrVariant.h"

namespace {

std::string runType(CKrVariant const &v) { return v.GetRunType().GetName().GetStdString(); }

// The names of the children, separated by spaces.
std::wstring names(CKrVariant const &v) {
    std::wstring out;
    for (int i = 0; i < v.GetCount(); ++i)
        out += (i ? L" " : L"") + v.IndexPtr(i)->GetName().GetStdString();
    return out;
}

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

CKrVariant list(std::initializer_list<CKrVariant> items) {
    return CKrVariant::CreateStruct(L"l", items);
}

CKrVariantRunType const kPoint("RKrPoint");

}  // namespace

TEST(VariantChildren, AppendInsertIndexAndLookup) {
    CKrVariant v;  // Null becomes a list
    CKrVariant &first = v.Append(CKrVariant(1, L"a"));
    EXPECT_EQ(&first, v.IndexPtr(0));
    EXPECT_EQ(&v.Insert(CKrVariant(0, L"z"), 0), &CKrVariant::GetNullVariant());  // even on success
    v.Insert(CKrVariant(2, L"b"), 2);  // at the end (count inclusive)
    EXPECT_EQ(names(v), L"z a b");
    CKrVariant s(5, L"s");
    s.EnableTypeChange(true);
    s.Append(CKrVariant(1));  // the scalar is discarded
    EXPECT_EQ(s.GetCount(), 1);
    // Appending a variant to itself copies its state before the change.
    CKrVariant self;
    self.Append(CKrVariant(1, L"x"));
    self.Append(self);
    ASSERT_EQ(self.GetCount(), 2);
    EXPECT_EQ(self[1].GetCount(), 1);
    // Moving a variant into its own descendant copies it the same way: the tree stays a tree.
    CKrVariant nest;
    nest.Append(CKrVariant(1, L"x"));
    nest.Append(CKrVariant()).Append(CKrVariant(2, L"y"));
    nest[1].Append(std::move(nest));
    ASSERT_EQ(nest.GetCount(), 2);
    ASSERT_EQ(nest[1].GetCount(), 2);
    EXPECT_EQ(nest[1][1].GetCount(), 2);  // nest as it was before the append
    EXPECT_EQ(nest[1][1][1].GetCount(), 1);
    CKrVariant moved(3, L"m");
    nest[1].Append(std::move(moved));  // an unrelated item is still moved
    EXPECT_EQ(nest[1].GetCount(), 3);

    CKrVariant tree = sampleTree();
    EXPECT_EQ(tree.IndexOf(L"flags"), 2);
    EXPECT_EQ(tree.IndexOf(L"FLAGS"), -1);  // case-sensitive
    EXPECT_EQ(CKrVariant(1).IndexOf(L"x"), -1);
    EXPECT_EQ(tree.IndexPtr(3), nullptr);
    EXPECT_EQ(tree.IndexPtr(-1), nullptr);
    for (CKrVariant *missing : {&tree[L"missing"], &tree[99], &tree[-1]})
        EXPECT_EQ(missing, &CKrVariant::GetNullVariant());
    EXPECT_EQ(tree[L"exposure"][L"unit"].GetCKrStringW().GetStdString(), L"ms");
    EXPECT_EQ(CKrVariant(1).GetCount(), -1);
    EXPECT_EQ(CKrVariant().GetCount(), -1);
    {
        DiagCapture diag;  // storing into the shared Null through a failed lookup is refused
        tree[L"missing"] = 5;
    }
    EXPECT_TRUE(CKrVariant::GetNullVariant().IsNull());
}

TEST(VariantChildren, SetOrAppendMemberDeleteAndClearList) {
    CKrVariant v;
    EXPECT_EQ(v.SetOrAppend(L"a", CKrVariant(1)), -1);  // appended: -1, deliberately
    EXPECT_EQ(v.SetOrAppend(L"b c", CKrVariant(2)), -1);
    EXPECT_EQ(v.SetOrAppend(L"a", CKrVariant(10)), 0);  // replaced: its index
    EXPECT_EQ(names(v), L"a b_c");                      // validated
    EXPECT_EQ(v[0].GetKr_int32(), 10);
    {
        DiagCapture diag;  // the existing child keeps its type rule
        EXPECT_EQ(v.SetOrAppend(L"a", CKrVariant(1.5)), 0);
        EXPECT_EQ(v[0].GetKr_int32(), 10);
        EXPECT_EQ(diag.count(), 1u);
    }
    v.Append(CKrVariant());
    v.Append(sampleTree());
    EXPECT_TRUE(v.Member(CKrVariant(10, L"other")));  // values, not names
    EXPECT_FALSE(v.Member(CKrVariant(10u)));          // another run type
    EXPECT_TRUE(v.Member(CKrVariant()));
    EXPECT_TRUE(v.Member(sampleTree()));
    EXPECT_TRUE(v.Delete(0));
    EXPECT_EQ(names(v), L"b_c no_name settings");
    v.ClearList();
    EXPECT_EQ(v.GetCount(), 0);
    CKrVariant n;
    n.ClearList();
    EXPECT_TRUE(n.IsNull());
}

TEST(VariantRecords, FactoriesAndTheRecordStateOfCopies) {
    CKrVariant rec = CKrVariant::CreateStructNamed(kPoint, L"pt", {CKrVariant(1, L"x")});
    EXPECT_EQ(runType(rec), "RKrPoint");
    EXPECT_EQ(rec.GetName().GetStdString(), L"pt");
    EXPECT_FALSE(rec.IsEnabledTypeChange());
    CKrVariant a(1, L"a"), b(2, L"b");
    EXPECT_EQ(names(CKrVariant::CreateStruct(L"s", &a, &b, nullptr)), L"a b");
    EXPECT_EQ(runType(CKrVariant::CreateStructNamed(kPoint, L"n", &a, nullptr)), "RKrPoint");
    EXPECT_EQ(CKrVariant::CreateStruct(L"e", nullptr).GetCount(), 0);

    // Copies and lists assigned a record keep its state: they refuse new members too.
    CKrVariant copy(rec), assigned = CKrVariant::CreateStructNamed(kPoint, L"o", {});
    assigned = rec;
    for (CKrVariant *r : {&copy, &assigned}) {
        DiagCapture diag;
        EXPECT_EQ(runType(*r), "RKrPoint");
        EXPECT_TRUE(*r == rec);
        EXPECT_TRUE(r->Append(CKrVariant(2, L"y")).IsNull());
        EXPECT_EQ(diag.assertionsContaining(L"(RKrPoint) for array operation"), 1u);
    }
    EXPECT_FALSE(list({CKrVariant(1, L"x")}) == rec);  // the record type counts
    // Named back to the plain list type by a run type object of its own (not the shared one).
    copy.EnableTypeChange(true);
    EXPECT_EQ(copy.SetRunTypeCompatible(CKrVariantRunType("CKrListVariant")), 0);
    copy.EnableTypeChange(false);
    EXPECT_EQ(copy.Append(CKrVariant(2, L"y")).GetKr_int32(), 2);

    // With type change every change of the members makes a record a plain list; ClearList
    // only drops the record name.
    auto point = [] {
        CKrVariant r =
            CKrVariant::CreateStructNamed(kPoint, L"p", {CKrVariant(1, L"x"), CKrVariant(2, L"y")});
        r.EnableTypeChange(true);
        return r;
    };
    CKrVariant appended = point(), deleted = point(), cleared = point();
    appended.Append(CKrVariant(3, L"z"));
    deleted.Delete(0);
    cleared.ClearList();
    EXPECT_EQ(names(appended) + L"|" + names(deleted) + L"|" + names(cleared), L"x y z|y|x y");
    for (CKrVariant *r : {&appended, &deleted, &cleared}) EXPECT_EQ(runType(*r), "CKrListVariant");
}

TEST(VariantEquality, NamedChildrenPairByNameUnnamedByPosition) {
    using V = CKrVariant;
    using Items = std::vector<V>;
    auto inner = [](std::initializer_list<V> items) { return V::CreateStruct(L"inner", items); };
    struct {
        Items a, b;
        bool equal;
    } cases[] = {
        {{V(1, L"a"), V(2, L"b")}, {V(2, L"b"), V(1, L"a")}, true},  // any order
        {{V(1), V(2)}, {V(2), V(1)}, false},                         // unnamed: by position
        {{V(1), V(2)}, {V(1), V(2)}, true},
        {{V(1, L"a")}, {V(1, L"b")}, false},  // name missing on the other side
        {{V(1, L"a")}, {V(1, L"a"), V(1, L"b")}, false},
        {{V(1, L"a")}, {V(2, L"a")}, false},
        {{V()}, {V()}, true},
        {{V()}, {V(0)}, false},
        {{}, {}, true},
        // Duplicate names: every same-named child meets the first one of the other list.
        {{V(1, L"d"), V(2, L"d")}, {V(1, L"d"), V(2, L"d")}, false},
        {{V(1, L"d"), V(1, L"d")}, {V(1, L"d"), V(2, L"d")}, true},
        // Names that share a prefix or a length never pair; a later name is still found after
        // the walk came back from a nested short list.
        {{inner({V(1, L"gain"), V(2, L"gains")}), V(3, L"gai"), V(4, L"gain"), V(5, L"niag")},
         {V(5, L"niag"), V(4, L"gain"), inner({V(2, L"gains"), V(1, L"gain")}), V(3, L"gai")},
         true},
        {{inner({}), V(3, L"gai"), V(4, L"gain")}, {V(4, L"gain"), inner({}), V(9, L"gai")}, false},
        {{inner({V(1, L"x")})}, {inner({})}, false},  // nested lists of other sizes
    };
    // Each pair again with 16 more distinct members: long lists pair through a name index.
    auto make = [](Items const &items, bool padded) {
        V l(CKrListVariant(), L"l");
        for (V const &item : items) l.Append(item);
        for (int i = 0; padded && i < 16; ++i)
            l.Append(V(i, CKrStringW(L"pad" + std::to_wstring(i))));
        return l;
    };
    for (auto &c : cases) {
        for (bool padded : {false, true}) {
            SCOPED_TRACE(::testing::Message() << "row " << &c - cases << (padded ? " padded" : ""));
            EXPECT_EQ(make(c.a, padded) == make(c.b, padded), c.equal);
        }
    }
    EXPECT_FALSE(CKrVariant::CreateStructNamed(kPoint, L"l", {}) ==
                 list({}));  // record type counts
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
    EXPECT_EQ(CKrVariant::CompareStructure(a, b, false), 0);  // same counts on this level
    EXPECT_EQ(CKrVariant::CompareStructure(CKrVariant(1), CKrVariant(2), true), 0);
    EXPECT_EQ(CKrVariant::CompareStructure(CKrVariant(1), CKrVariant(2.0), true), -1);
    EXPECT_EQ(CKrVariant::CompareStructure(CKrVariant(), CKrVariant(), false), 0);
    CKrVariant rec = CKrVariant::CreateStructNamed(kPoint, L"r", {});
    EXPECT_EQ(CKrVariant::CompareStructure(rec, list({}), true), 0);  // own run types not compared
    EXPECT_EQ(CKrVariant::CompareStructure(rec, list({}), false), -1);
}

TEST(VariantRegistry, KnownTypesRecordsAndSetRunType) {
    CKrVariant::RegisterKnownTypes();
    CKrVariant::RegisterKnownTypes();  // idempotent
    for (char const *name : {"kr_int32", "kr_uint32", "kr_int64", "kr_uint64", "double", "bool",
                             "voidPtr", "CKrStringW", "CKrByteArray", "CKrListVariant"}) {
        CKrVariant const &sample = CKrVariant::GetRunTypeSample(CKrVariantRunType(name));
        EXPECT_EQ(runType(sample), name);
        EXPECT_EQ(CKrStringA(sample.GetName().GetString()).GetStdString(), name);
        EXPECT_GE(CKrVariant::GetRunTypeIndex(CKrVariantRunType(name)), 0);
        EXPECT_EQ(runType(CKrVariant(CKrVariantRunType(name), L"e")), name);
    }
    EXPECT_LT(CKrVariant::GetRunTypeIndex(CKrVariantRunType("CKrByteArray")),
              CKrVariant::GetRunTypeIndex(CKrVariantRunType("double")));  // ordinal order

    CKrVariant point =
        CKrVariant::CreateStruct(L"RKrTestPoint2", {CKrVariant(0, L"x"), CKrVariant(0.5, L"y")});
    ASSERT_EQ(CKrVariant::RegisterRunType(point), 0);
    EXPECT_EQ(CKrVariant::RegisterRunType(point), 0);  // same definition again
    CKrVariantRunType const type("RKrTestPoint2");
    CKrVariant v;
    v.EnableTypeChange(true);
    EXPECT_EQ(v.SetRunType(type), 0);
    EXPECT_EQ(runType(v), "RKrTestPoint2");
    EXPECT_EQ(names(v), L"x y");
    EXPECT_EQ(v[L"y"].GetDouble(), 0.5);

    // A plain list takes the record name, keeps its children, gains the missing members.
    CKrVariant plain = list({CKrVariant(7, L"x"), CKrVariant(1, L"extra")});
    EXPECT_EQ(plain.SetRunType(type), 0);
    EXPECT_EQ(runType(plain), "RKrTestPoint2");
    EXPECT_EQ(names(plain), L"x extra y");
    EXPECT_EQ(plain[L"x"].GetKr_int32(), 7);

    // Compatible: scalar conversion keeps the value; records keep matching members only.
    CKrVariant n(L"42", L"n");
    n.EnableTypeChange(true);
    EXPECT_EQ(n.SetRunTypeCompatible(CKrVariantRunType("kr_int64")), 0);
    EXPECT_EQ(runType(n), "kr_int64");
    EXPECT_EQ(n.GetKr_int64(), 42);
    CKrVariant old = list({CKrVariant(L"3", L"y"), CKrVariant(5, L"x"), CKrVariant(1, L"z")});
    EXPECT_EQ(old.SetRunTypeCompatible(type), 0);
    EXPECT_EQ(names(old), L"x y");
    EXPECT_EQ(old[L"x"].GetKr_int32(), 5);
    EXPECT_EQ(old[L"y"].GetDouble(), 3.0);
    EXPECT_EQ(runType(old[L"y"]), "double");
}

TEST(VariantText, WriteAndTraceForms) {
    CKrVariant tree = sampleTree();
    // Escapes at both ends of plain runs; entities kept; a last '&' stays as it is.
    tree[L"name"] = L"<a\"b\"&c&#65;&#x41;\r\n\t\x01tail&";
    tree.Append(CKrVariant(CKrByteArray("Man", 3, 4), L"raw"));
    tree.Append(CKrVariant(CKrListVariant(), L"empty"));
    tree.Append(CKrVariant());
    CKrStringW out(L"old");
    EXPECT_EQ(tree.Write(out), 0);
    EXPECT_EQ(out.GetStdString(),
              L"<variant version=\"1.0\"><settings runtype=\"CKrListVariant\">"
              L"<name runtype=\"CKrStringW\" value=\"&#x003C;a&#x0022;b&#x0022;&#x0026;c&#65;"
              L"&#x41;&#x000d;&#x000a;\t\xDB80\xDC01tail&\"/>"
              L"<exposure runtype=\"CKrListVariant\"><value runtype=\"double\" "
              L"value=\"1.500000000000000\"/><unit runtype=\"CKrStringW\" value=\"ms\"/></exposure>"
              L"<flags runtype=\"CKrListVariant\"><a runtype=\"bool\" value=\"true\"/></flags>"
              L"<raw runtype=\"CKrByteArray\" value=\"TWFu\"/>"
              L"<empty runtype=\"CKrListVariant\"></empty>"
              L"<no_name runtype=\"unknown\" value=\"\"/>"
              L"</settings></variant>");

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
}
