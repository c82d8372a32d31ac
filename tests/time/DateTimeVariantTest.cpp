// Storing a date-time in a variant node and reading it back.
#include <gtest/gtest.h>

#include "common/DiagCapture.h"
#include "time/KrDateTime.h"
#include "variant/CKrVariant.h"

namespace {

using DT = CKrDateTime;

TEST(DateTimeVariant, SaveAndLoadRoundTrip) {
    CKrVariant settings = CKrVariant::CreateStruct(CKrStringW(L"settings"), {});
    CKrVariant &node = settings.Append(CKrVariant(static_cast<kr_int64>(7), CKrStringW(L"stamp")));
    const bool typeChangeBefore = node.IsEnabledTypeChange();

    for (long long v : {0LL, -62135596800000LL, 253402300799999LL, static_cast<long long>(INT64_MAX)}) {
        const DT saved = DT().SetValue(v);
        ASSERT_EQ(saved.SaveToVariant(node), 0);
        EXPECT_STREQ(node.GetRunType().GetName().GetString(), "RKrDateTime");
        EXPECT_EQ(node.IsEnabledTypeChange(), typeChangeBefore);  // permission restored
        ASSERT_NE(node.SearchFixedOneLevel(L"time"), nullptr);
        EXPECT_EQ(node.SearchFixedOneLevel(L"time")->GetKr_int64(), v);

        DT loaded;
        EXPECT_EQ(loaded.LoadFromVariant(node), 0);
        EXPECT_EQ(loaded.IsValid(), v != INT64_MAX);
        if (loaded.IsValid()) {
            EXPECT_EQ(loaded.GetValue(), v);
        }
    }
}

TEST(DateTimeVariant, LoadRefusesOtherRunTypes) {
    DT dt = DT().SetValue(12345);
    CKrVariant plain(static_cast<kr_int64>(99), CKrStringW(L"time"));
    EXPECT_EQ(dt.LoadFromVariant(plain), -4);
    CKrVariant list = CKrVariant::CreateStruct(
        CKrStringW(L"list"), {CKrVariant(static_cast<kr_int64>(99), CKrStringW(L"time"))});
    EXPECT_EQ(dt.LoadFromVariant(list), -4);
    EXPECT_EQ(dt.GetValue(), 12345);
}

}  // namespace
