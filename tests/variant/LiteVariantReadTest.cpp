// Lite variant reader: Find by name and by path, the fast path, navigation in writing order,
// typed access with conversion, variants in and out, and its result codes.
#include <gtest/gtest.h>

#include <QString>
#include <cmath>
#include <string>

#include "common/DiagCapture.h"
#include "common/LiteVariantTestUtil.h"
#include "variant/CKrVariant.h"

namespace {

// \rec { i=42, d=2.9, s="42", t="TRUE", blob=4 bytes, dup=1, dup=2, \inner { b=true, \deep { x=7 }
// } }
void writeRecord(CKrLiteVariantW &w) {
    w.LevelBegin(L"rec");
    w.Set(42, L"i");
    w.Set(2.9, L"d");
    w.Set(L"42", L"s");
    w.Set(L"TRUE", L"t");
    unsigned char const blob[] = {1, 2, 0, 0, 9};
    w.Set(blob, sizeof blob, L"blob");
    w.Set(1, L"dup");
    w.Set(2, L"dup");
    w.LevelBegin(L"inner");
    w.Set(true, L"b");
    w.LevelBegin(L"deep");
    w.Set(7, L"x");
    w.LevelEnd();
    w.LevelEnd();
    w.LevelEnd();
}

class LiteVariantRead : public ::testing::Test {
protected:
    void SetUp() override {
        CKrLiteVariantW w;
        writeRecord(w);
        ASSERT_NE(w.Finalize(r, 0), nullptr);
    }
    CKrLiteVariantR r;
};

TEST_F(LiteVariantRead, PathsFromAnyPosition) {
    EXPECT_EQ(r.Get(L"\\rec\\inner\\deep\\x", 0), 7);
    EXPECT_EQ(r.GetDepth(), 2);            // inside rec, inner, deep
    EXPECT_EQ(r.Get(L"\\rec\\i", 0), 42);  // a path resets first
    EXPECT_EQ(r.Get(L"\\rec\\inner\\b", false), true);
    // A missing component, a missing last name, a scalar used as a level: -9, state at the top.
    for (wchar_t const *bad :
         {L"\\rec\\nope\\x", L"\\rec\\inner\\nope", L"\\rec\\i\\x", L"\\nope", L"\\"}) {
        EXPECT_EQ(r.Find(bad), -9) << bad;
        EXPECT_EQ(r.GetDepth(), -1) << bad;
    }
    // Without a leading backslash a name is looked up in the current level only.
    r.Reset();
    EXPECT_EQ(r.Find(L"rec\\i"), -9);
    EXPECT_EQ(r.Find(L"i"), -9);  // the top has no index and the position is on "rec"
    EXPECT_GE(r.Find(L"rec"), 0);
}

TEST_F(LiteVariantRead, InOrderReadingUsesThePosition) {
    unsigned count = 0;
    ASSERT_EQ(r.LevelBegin(L"rec", &count), 0);
    EXPECT_EQ(count, 8u);
    EXPECT_EQ(r.GetCurrentName().GetStdString(), L"i");
    // Each by-name access leaves the position on the next item.
    EXPECT_EQ(r.Get(L"i", 0), 42);
    EXPECT_EQ(r.GetCurrentName().GetStdString(), L"d");
    // Equally named items: in order the position finds each; a search finds the first written.
    r.Get(L"blob", 0);
    EXPECT_EQ(r.Get(L"dup", 0), 1);
    EXPECT_EQ(r.Get(L"dup", 0), 2);
    EXPECT_EQ(r.Get(L"dup", 0), 1);  // position on "inner": searched
    std::wstring names;
    for (int res = r.FirstValue(); res == 0; res = r.NextValue())
        names +=
            r.GetCurrentName().GetStdString() + L"/" + std::to_wstring(r.GetCurrentType()) + L" ";
    EXPECT_EQ(names, L"i/2 d/6 s/8 t/8 blob/9 dup/2 dup/2 inner/11 ");
    EXPECT_FALSE(r.IsNextValue());
    EXPECT_EQ(r.NextValue(), -9);
    EXPECT_EQ(r.GetCurrentName().GetStdString(), L"inner");  // a failed NextValue does not move
    ASSERT_EQ(r.CurrentLevelBegin(&count), 0);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(r.LevelEnd(), 0);
    EXPECT_EQ(r.GetCurrentType(), krLVT_NONE);  // after the last item of rec
    EXPECT_EQ(r.LevelEnd(), 0);
    EXPECT_EQ(r.LevelEnd(), -9);
    EXPECT_EQ(r.CurrentLevelBegin(nullptr), -9);  // past the end of the top
    r.Reset();
    EXPECT_EQ(r.GetCurrentName().GetStdString(), L"rec");
    EXPECT_EQ(r.LevelBegin(L"nope", nullptr), -9);
    r.LevelBegin(L"rec");
    EXPECT_EQ(r.LevelBegin(L"i", &count), -9);  // not a level
}

TEST_F(LiteVariantRead, TypedAccessConvertsAsTheVariant) {
    r.LevelBegin(L"rec");
    EXPECT_EQ(r.Get(L"d", 0), 2);  // truncated toward zero
    EXPECT_EQ(r.Get(L"i", 0.0), 42.0);
    EXPECT_EQ(r.Get(L"s", 0), 42);  // text scanned
    EXPECT_EQ(r.Get(L"s", kr_int64(0)), 42);
    EXPECT_EQ(r.Get(L"t", false), true);   // "TRUE" ignoring case
    EXPECT_EQ(r.Get(L"blob", 0), 0x0201);  // first four bytes
    EXPECT_EQ(r.Get(L"i", kr_uint64(0)), 42u);
    EXPECT_EQ(r.Get(L"i", 1LL), 42LL);
    EXPECT_EQ(r.Get(L"inner", -5), -5);  // a level has no value
    EXPECT_EQ(r.Get(L"missing", -5), -5);
    EXPECT_EQ(r.Get(L"missing", static_cast<void *>(&r)), &r);
    EXPECT_EQ(r.GetCKrStringW(L"i", L"def").GetStdString(), L"42");
    EXPECT_EQ(r.GetCKrStringW(L"inner", L"def").GetStdString(), L"def");
    EXPECT_TRUE(r.IsValueSet(L"inner"));
    EXPECT_FALSE(r.IsValueSet(L"missing"));

    CKrByteArray bytes;
    EXPECT_EQ(r.Get(L"blob", bytes), 0);
    EXPECT_EQ(bytes.GetSize(), 5u);
    EXPECT_EQ(r.Get(L"inner", bytes), -9);
    EXPECT_EQ(bytes.GetSize(), 5u);  // unchanged on failure
    unsigned char raw[3] = {};
    EXPECT_EQ(r.Get(L"blob", raw, 3), -8);  // cut to the buffer
    EXPECT_EQ(raw[1], 2);
    EXPECT_EQ(r.Get(L"i", raw, 0), -8);
    EXPECT_EQ(r.Get(L"i", nullptr, 4), -4);
    wchar_t text[3];
    EXPECT_EQ(r.GetStringIntoBuffer(L"s", text, 3), 0);
    EXPECT_EQ(std::wstring(text), L"42");
    EXPECT_EQ(r.GetStringIntoBuffer(L"t", text, 3), -8);
    EXPECT_EQ(std::wstring(text), L"TR");
    EXPECT_EQ(r.GetStringIntoBuffer(L"t", nullptr, 3), -4);
    EXPECT_EQ(r.GetStringIntoBuffer(L"nope", text, 3), -9);
}

TEST(LiteVariantVariant, TreeRoundTrip) {
    CKrVariant rec = CKrVariant::CreateStruct(
        L"rec", {CKrVariant(1, L"i"), CKrVariant(2u, L"u"), CKrVariant(kr_int64(-3), L"l"),
                 CKrVariant(kr_uint64(4), L"ul"), CKrVariant(0.5, L"d"), CKrVariant(true, L"b"),
                 CKrVariant(static_cast<void *>(nullptr), L"p"), CKrVariant(L"text", L"s"),
                 CKrVariant(CKrByteArray("\0\1", 2, 16), L"bytes"),
                 CKrVariant::CreateStruct(L"list", {CKrVariant(5), CKrVariant(6)})});
    CKrVariant unnamed(7);
    unnamed.SetName(L"");
    rec.Append(unnamed);
    CKrVariant null;
    null.SetName(L"null");
    rec.Append(null);
    CKrLiteVariantW w;
    ASSERT_EQ(w.Set(rec, L"rec"), 0);
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    EXPECT_EQ(r.Validate(nullptr), 0);
    CKrVariant back;
    ASSERT_EQ(r.Get(L"\\rec", back), 0);
    EXPECT_EQ(back.GetName().GetStdString(), L"rec");
    EXPECT_EQ(back.GetCount(), rec.GetCount());
    EXPECT_TRUE(back[L"null"].IsNull());
    EXPECT_EQ(back.IndexPtr(10)->GetName().GetStdString(), L"no_name");  // the empty name
    back.IndexPtr(10)->SetName(L"");
    EXPECT_TRUE(back == rec);
    EXPECT_EQ(r.Get(L"\\rec\\list\\no_name", 0), 5);  // unnamed children are reachable by name
    EXPECT_EQ(r.Get(L"\\rec\\ul", kr_uint64(0)), 4u);

    CKrVariant scalar;  // type change off: Get replaces the value anyway, the flag stays
    EXPECT_EQ(r.Get(L"\\rec\\s", scalar), 0);
    EXPECT_EQ(scalar.GetCKrStringW().GetStdString(), L"text");
    EXPECT_FALSE(scalar.IsEnabledTypeChange());
    r.Reset();
    r.LevelBegin(L"rec");
    EXPECT_EQ(r.GetCurrentValue(scalar), 0);
    EXPECT_EQ(scalar.GetKr_int32(), 1);
    EXPECT_EQ(r.Get(L"missing", scalar), -9);
    EXPECT_EQ(scalar.GetName().GetStdString(), L"i");  // unchanged on failure
}

TEST(LiteVariantVariant, RecordsKeepTheirRunType) {
    CKrVariant sample =
        CKrVariant::CreateStruct(L"RLvTestPoint", {CKrVariant(0, L"x"), CKrVariant(0, L"y")});
    ASSERT_EQ(CKrVariant::RegisterRunType(sample), 0);
    CKrVariant point = CKrVariant::CreateStructNamed(CKrVariantRunType(CKrStringA("RLvTestPoint")),
                                                     L"pos", {CKrVariant(3, L"x")});
    CKrVariant other = CKrVariant::CreateStructNamed(
        CKrVariantRunType(CKrStringA("RLvUnregistered")), L"o", {CKrVariant(1, L"a")});
    CKrLiteVariantW w;
    w.LevelBegin(L"top");
    w.Set(point, L"pos");
    w.Set(other, L"o");
    w.LevelEnd();
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    EXPECT_EQ(r.GetCKrStringW(L"\\top\\pos\\__m_runType", L"").GetStdString(), L"RLvTestPoint");
    DiagCapture diag;
    CKrVariant back;
    ASSERT_EQ(r.Get(L"\\top\\pos", back), 0);
    EXPECT_EQ(back.GetRunType().GetName().GetStdString(), "RLvTestPoint");
    EXPECT_EQ(back[L"x"].GetKr_int32(), 3);
    EXPECT_EQ(back.IndexOf(L"y"), 1);  // the registered member it lacked
    EXPECT_EQ(back.IndexOf(L"__m_runType"), -1);
    ASSERT_EQ(r.Get(L"\\top\\o", back), 0);
    EXPECT_EQ(back.GetRunType().GetName().GetStdString(), "RLvUnregistered");
    EXPECT_EQ(back.GetCount(), 1);
    EXPECT_EQ(diag.count(), 0u);
}

// A QString is stored as a blob of its UTF-8 bytes and read back from blobs and strings alike.
TEST(LiteVariantReader, QStringValues) {
    QString const text = QString::fromUtf8("caf\xC3\xA9 \xE2\x82\xAC");
    CKrLiteVariantW w;
    w.Set(text, L"q");
    w.Set(L"caf\u00e9", L"w");
    w.Set(5, L"n");
    CKrLiteVariantR r;
    Bytes const b = finish(w, r);
    EXPECT_EQ(b[0], krLVT_BLOB);
    EXPECT_EQ(b[6], 9);  // the blob length after the name "q": 3 + 2 + 1 + 3 UTF-8 bytes
    QString out;
    EXPECT_EQ(r.Get(L"q", out), 0);
    EXPECT_EQ(out, text);
    EXPECT_EQ(r.Get(L"w", out), 0);
    EXPECT_EQ(out, QString::fromUtf8("caf\xC3\xA9"));
    EXPECT_EQ(r.Get(L"n", out), 0);
    EXPECT_EQ(out, QString("5"));
    EXPECT_EQ(r.Get(L"none", out), -9);
}

TEST(LiteVariantReader, ConvertLV31toLV32IsReportedAsUnsupported) {
    CKrLiteVariantR r;
    load(r, {2, 0, 5, 0, 0, 0});
    DiagCapture diag;
    EXPECT_EQ(r.ConvertLV31toLV32(), -2);
    EXPECT_TRUE(expectReport(diag, L"Error: CKrLiteVariantR::ConvertLV31toLV32(), not supported!",
                             L"true", L"variant/CKrLiteVariantR"));
    EXPECT_EQ(r.Get(L"", 0), 5);
}

TEST(LiteVariantReader, TraceListsEveryItem) {
    CKrLiteVariantW w;
    w.LevelBegin(L"a");
    w.Set(1, L"i");
    w.Set("xy", 2, L"b");
    w.LevelBegin(L"c");
    w.Set(L"t", L"s");
    w.LevelEnd();
    w.LevelEnd();
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    CKrStringW out;
    EXPECT_EQ(r.Trace(out), 0);
    EXPECT_EQ(
        out.GetStdString(),
        L"a (11) [3]\r\n  i (2) = 1\r\n  b (9) <2 bytes>\r\n  c (11) [1]\r\n    s (8) = t\r\n");
}

}  // namespace
