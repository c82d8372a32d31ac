// The XML form of lite variant buffers, through CKrVariant::Write and CKrVariant::Read.  This
// program links the shared library: reading needs the XML serialiser, which installs itself as
// the variant's reader when the library loads.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "common/LiteVariantTestUtil.h"
#include "variant/CKrVariant.h"

namespace {

CKrLiteVariantR record() {
    CKrLiteVariantW w;
    w.LevelBegin(L"acq");
    w.Set(12.5, L"exposure");
    w.Set(L"DAPI <blue> & \"more\"", L"channel");
    w.Set("\x01\x02\x03", 3, L"thumb");
    w.LevelBegin(L"calibration");
    w.Set(kr_int64(-7), L"offset");
    w.Set(true, L"valid");
    w.LevelEnd();
    w.LevelEnd();
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    return r;
}

TEST(LiteVariantXml, WritesTheVariantForm) {
    CKrLiteVariantR r = record();
    CKrStringW xml;
    ASSERT_EQ(r.LiteVariantToXML(xml), 0);
    CKrVariant v;
    ASSERT_EQ(r.Get(L"\\acq", v), 0);
    CKrStringW expected;
    v.Write(expected);
    EXPECT_EQ(xml.GetStdString(), expected.GetStdString());
    EXPECT_NE(xml.GetStdString().find(L"<acq runtype=\"CKrListVariant\">"), std::wstring::npos);

    // Several top-level items: a list named "LiteVariant".
    CKrLiteVariantW w;
    w.Set(1, L"a");
    w.Set(2, L"b");
    CKrLiteVariantR flat;
    w.Finalize(flat, 0);
    ASSERT_EQ(flat.LiteVariantToXML(xml), 0);
    EXPECT_NE(xml.GetStdString().find(L"<LiteVariant runtype=\"CKrListVariant\">"),
              std::wstring::npos);
}

// Text and file forms read back to the same bytes; bad text leaves the buffer as it was.
TEST(LiteVariantXml, RoundTripsThroughTextAndFile) {
    CKrLiteVariantR r = record(), fromText, fromFile;
    CKrStringW xml;
    ASSERT_EQ(r.LiteVariantToXML(xml), 0);
    ASSERT_EQ(fromText.LiteVariantFromXML(xml), 0);
    EXPECT_EQ(bytesOf(fromText), bytesOf(r));
    EXPECT_EQ(fromText.GetCKrStringW(L"\\acq\\channel", L"").GetStdString(),
              L"DAPI <blue> & \"more\"");

    std::string const narrow = ::testing::TempDir() + "lv_xml_file.xml";
    std::wstring const path(narrow.begin(), narrow.end());
    ASSERT_EQ(r.SaveToXMLFile(path.c_str()), 0);
    std::ifstream in(narrow, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}).substr(0, 3), "\xEF\xBB\xBF");
    ASSERT_EQ(fromFile.LoadFromXMLFile(path.c_str()), 0);
    EXPECT_EQ(bytesOf(fromFile), bytesOf(r));
    std::remove(narrow.c_str());

    Bytes const before = bytesOf(r);
    EXPECT_LT(r.LiteVariantFromXML(CKrStringW(L"<variant version=\"1.0\"><a runtype=")), 0);
    EXPECT_EQ(bytesOf(r), before);
}

}  // namespace
