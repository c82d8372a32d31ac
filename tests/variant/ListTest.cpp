// CKrList, its keys and nodes: construction, misuse reports and fallbacks, key lookup, node
// ownership.  Positional operations are covered by the model test.
#include <gtest/gtest.h>

#include <functional>

#include "ListTestSupport.h"
#include "common/DiagCapture.h"
#include "variant/CKrList.h"

using Key = CKrList::CKrKey;
using Node = CKrList::CKrNode;

TEST(KrList, ConstructorsKeepOrderAndStopAtFirstNull) {
    ItemPool p;
    EXPECT_EQ(Items(CKrList(p[1], p[2], nullptr, p[3], nullptr)),
              (std::vector<void *>{p[1], p[2]}));
    EXPECT_EQ(CKrList(static_cast<void *>(nullptr)).GetCount(), 0u);
    void *array[] = {p[4], nullptr, p[5]};  // null entries are items too
    EXPECT_EQ(Items(CKrList(3u, array)), (std::vector<void *>{p[4], nullptr, p[5]}));
    EXPECT_EQ(CKrList(5u, static_cast<void *const *>(nullptr)).GetCount(), 0u);
}

TEST(KrList, MisuseIsReportedAndFallsBack) {
    struct F {  // fresh for each row: an unkeyed list {p0, p1} and an empty int-keyed list
        ItemPool p;
        CKrList l{p[0], p[1], nullptr}, k{krKEY_INT};
    };
    const wchar_t *badIndex = L"Error: Invalid index in CKrList::GetNth()";
    struct Case {
        const char *what;
        bool (*fallbackHolds)(F &f);
        const wchar_t *condition, *message;
    } cases[] = {
        {"append without key", [](F &f) { return !f.k.Append(f.p[0]); }, L"m_keyType != krKEY_NONE",
         L"Error: Need a key for the object to append!"},
        {"insert without key", [](F &f) { return !f.k.Insert(f.p[0]); }, L"m_keyType != krKEY_NONE",
         L"Error: Need a key for the object to insert."},
        {"insert before foreign node",
         [](F &f) {
             return !f.l.Insert(CKrList(f.p[3], nullptr).GetFirst(), f.p[2]) && f.l.GetCount() == 2;
         },
         L"position && position->m_list != this",
         L"Error: Can't insert before a node from another list."},
        {"detach null", [](F &f) { return !f.l.DeleteNode(nullptr); }, L"!node",
         L"Error: Detaching NULL CKrNode."},
        {"detach twice",
         [](F &f) {
             std::unique_ptr<Node> n(f.l.DetachNode(f.l.GetFirst()));  // the caller owns it now
             return n && !f.l.DetachNode(n.get()) && !n->GetList() && f.l.GetCount() == 1;
         },
         L"node->m_list != this", L"Error: Detaching node which is not from this list."},
        {"index out of range", [](F &f) { return !f.l.GetNth(2); }, L"true", badIndex},
        {"insert beyond the count goes to the head",
         [](F &f) { return f.l.Insert(6, f.p[2]) == f.l.GetFirst(); }, L"true", badIndex},
        {"detached node index",
         [](F &f) {
             return std::unique_ptr<Node>(f.l.DetachNode(f.l.GetFirst()))->IndexOf() == -9;
         },
         L"!m_list", L"Node doesn't belong to a list in IndexOf()"},
        {"key type of a non-empty list",  // changed all the same
         [](F &f) { return f.l.SetKeyType(krKEY_INT), f.l.GetKeyType() == krKEY_INT; },
         L"m_count != 0", L""},
        {"find with a foreign key type", [](F &f) { return !f.k.Find(L"x"); },
         L"m_keyType != key.GetKeyType()",
         L"Error: This list is not keyed on the type of this key."},
        {"set key of another type",
         [](F &) {
             Key key(5);
             key.SetKey(Key(L"5"));
             return key.GetKeyType() == krKEY_INT && key.GetIntValue() == 5;
         },
         L"m_keyType != value.m_keyType", L"Error: Key type mismatch."},
        {"compare unkeyed keys", [](F &) { return !(Key() == Key()); }, L"true",
         L"Error: Bad key type."},
        {"null callback", [](F &f) { return !f.l.FirstThat(nullptr); }, L"!visit",
         L"Error: NULL callback."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        F f;
        DiagCapture diag;
        EXPECT_TRUE(c.fallbackHolds(f));
        EXPECT_TRUE(ListIsConsistent(f.l));
        EXPECT_EQ(f.k.GetCount(), 0u);
        EXPECT_TRUE(expectReport(diag, c.message, c.condition, L"variant/CKrList"));
    }
}

TEST(KrList, KeysCompareExactlyAndFindReturnsFirstMatch) {
    EXPECT_TRUE(Key(-3) == Key(-3));
    EXPECT_FALSE(Key(3) == Key(-3));
    EXPECT_TRUE(Key(L"") == Key(static_cast<const wchar_t *>(nullptr)));
    ItemPool p;
    CKrList byName(krKEY_STRING);
    byName.Append(L"alpha", p[0]);
    Node *first = byName.Append(L"beta", p[1]);
    byName.Append(L"beta", p[2]);  // duplicates are accepted
    DiagCapture diag;
    EXPECT_EQ(byName.Find(L"beta"), first);
    EXPECT_EQ(byName.Find(L"Beta"), nullptr);  // case-sensitive
    first->SetNodeKey(L"gamma");
    EXPECT_EQ(byName.Find(L"beta")->GetItem(), p[2]);
    EXPECT_EQ(diag.count(), 0u);

    // Mixed key types in one list: every compared node of another type reports a mismatch.
    CKrList byNumber(krKEY_INT);
    byNumber.Append(L"odd one", p[0]);
    byNumber.Append(0, p[1]);
    EXPECT_EQ(byNumber.Find(Key(0))->GetItem(), p[1]);
    EXPECT_EQ(diag.assertionsContaining(L"Error: Key type mismatch."), 1u);

    // An empty key never matches, not even in an unkeyed list: one report per node.
    diag.clear();
    EXPECT_EQ(CKrList(p[0], p[1], nullptr).Find(Key()), nullptr);
    EXPECT_EQ(diag.assertionsContaining(L"Error: Bad key type."), 2u);
}

TEST(KrList, NodeOwnershipAndCopies) {
    ItemPool p;
    CKrList list(p[0], p[1], p[2], nullptr);
    delete list.GetNth(1);  // a node still linked leaves its list first
    EXPECT_EQ(Items(list), (std::vector<void *>{p[0], p[2]}));
    {
        Node copy(*list.GetFirst());  // a snapshot: belongs to no list
        EXPECT_EQ(copy.GetList(), nullptr);
        EXPECT_EQ(copy.GetItem(), p[0]);
        copy.GetItemRef() = p[5];
        EXPECT_EQ(list[0], p[0]);
    }
    *list.GetLast() = Node(nullptr, nullptr, nullptr, p[7], Key());  // new payload, same place
    EXPECT_EQ(Items(list), (std::vector<void *>{p[0], p[7]}));
    EXPECT_TRUE(ListIsConsistent(list));

    CKrList keyed(krKEY_STRING);
    keyed.Append(L"a", p[3]);
    CKrList copy(keyed);
    EXPECT_EQ(copy.GetKeyType(), krKEY_STRING);
    EXPECT_EQ(copy.Find(L"a")->GetItem(), p[3]);  // same item, own node
    EXPECT_NE(copy.GetFirst(), keyed.GetFirst());
    copy = list;
    CKrList &alias = copy;
    copy = alias;  // self-assignment keeps the nodes
    EXPECT_EQ(Items(copy), Items(list));
    EXPECT_EQ(copy.GetKeyType(), krKEY_NONE);
}
