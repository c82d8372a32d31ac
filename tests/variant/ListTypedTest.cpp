// CKrList_specI<T>: typed items and callbacks over the same list.
#include <gtest/gtest.h>

#include "ListTestSupport.h"
#include "common/DiagCapture.h"
#include "variant/CKrListTyped.h"

namespace {

int isLong(CKrStringW *s) { return s->GetLength() > 3; }
int byLength(CKrStringW **a, CKrStringW **b) {
    return static_cast<int>((*a)->GetLength()) - static_cast<int>((*b)->GetLength());
}
kr_uint64 g_sum = 0;
int addUp(kr_uint64 *v) {
    g_sum += *v;
    return 1;  // ignored by ForEach
}

}  // namespace

TEST(KrListTyped, TypedItemsCallbacksAndSort) {
    CKrStringW a(L"pear"), b(L"fig"), c(L"banana");
    CKrList_specI<CKrStringW> words(&a, &b, nullptr, &c);
    ASSERT_EQ(words.GetCount(), 2u);
    words.Insert(0, &c);
    EXPECT_EQ(words.IndexOf(&b), 2);
    EXPECT_EQ(words.FirstThat(&isLong), &c);
    EXPECT_EQ(words.LastThat(&isLong), &a);
    words.Sort(&byLength);
    EXPECT_EQ(words[0], &b);
    EXPECT_EQ(words.GetData(words.GetLast()), &c);

    kr_uint64 big[] = {1ull << 40, 7};
    kr_uint64 *ptrs[] = {&big[0], &big[1]};
    CKrList_specI<kr_uint64> numbers(2u, ptrs);
    g_sum = 0;
    numbers.ForEach(&addUp);
    EXPECT_EQ(g_sum, (1ull << 40) + 7);
}

TEST(KrListTyped, SameAssertionsAndItemsNeverDeleted) {
    int one = 1, two = 2;
    CKrList_specI<int> keyed(krKEY_INT);
    keyed.Append(10, &one);
    keyed.Append(20, &two);
    EXPECT_EQ(keyed.GetData(keyed.Find(20)), &two);
    DiagCapture diag;
    EXPECT_EQ(keyed.Append(&one), nullptr);
    EXPECT_EQ(diag.assertionsContaining(L"Error: Need a key for the object to append!"), 1u);
    CKrList_specI<int> assigned;
    assigned = keyed;
    EXPECT_EQ(assigned.GetData(assigned.Find(10)), &one);

    CKrList *base = new CKrList_specI<CKrStringA>();  // deleted through the base: no leak
    CKrStringA text("kept");
    static_cast<CKrList_specI<CKrStringA> *>(base)->Append(&text);
    delete base;
    EXPECT_EQ(text.GetLength(), 4u);

    CKrList_specI<SKrRTTICacheEntry> entries;  // pointers only: the type may stay incomplete
    auto *entry = reinterpret_cast<SKrRTTICacheEntry *>(&one);
    entries.Append(entry);
    EXPECT_EQ(entries.Find(entry), entries.GetFirst());
}
