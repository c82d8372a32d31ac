// Storing a date-time in a variant node and reading it back.
#include <gtest/gtest.h>

#include <climits>

#include "time/KrDateTime.h"
#include "variant/CKrVariant.h"

namespace {

using DT = CKrDateTime;

TEST(DateTimeVariant, SaveAndLoadRoundTripAndOtherRunTypes) {
    CKrVariant settings = CKrVariant::CreateStruct(CKrStringW(L"settings"), {});
    CKrVariant &node = settings.Append(CKrVariant(static_cast<kr_int64>(7), CKrStringW(L"stamp")));
    const bool typeChangeBefore = node.IsEnabledTypeChange();
    // Year 1 and the end of year 9999 in UTC, and the invalid value (saved as is).
    for (long long v : {0LL, -62135596800000LL, 253402300799999LL, LLONG_MAX}) {
        SCOPED_TRACE(v);
        ASSERT_EQ(DT().SetValue(v).SaveToVariant(node), 0);
        EXPECT_STREQ(node.GetRunType().GetName().GetString(), "RKrDateTime");
        EXPECT_EQ(node.IsEnabledTypeChange(), typeChangeBefore);  // permission restored
        ASSERT_NE(node.SearchFixedOneLevel(L"time"), nullptr);
        EXPECT_EQ(node.SearchFixedOneLevel(L"time")->GetKr_int64(), v);
        DT loaded;
        EXPECT_EQ(loaded.LoadFromVariant(node), 0);
        EXPECT_EQ(loaded.IsValid() ? loaded.GetValue() : LLONG_MAX, v);  // invalid stays invalid
    }
    // Anything but a saved date-time is refused and the value kept.
    DT dt = DT().SetValue(12345);
    EXPECT_EQ(dt.LoadFromVariant(CKrVariant(static_cast<kr_int64>(99), CKrStringW(L"time"))), -4);
    CKrVariant list = CKrVariant::CreateStruct(
        CKrStringW(L"list"), {CKrVariant(static_cast<kr_int64>(99), CKrStringW(L"time"))});
    EXPECT_EQ(dt.LoadFromVariant(list), -4);
    EXPECT_EQ(dt.GetValue(), 12345);
}

}  // namespace
