// Files: saving in UTF-8 and UTF-16, loading with marks, header encodings and the code pages;
// documents this library did not write (tests/xmltree/data) survive a load-save-load.
#include <gtest/gtest.h>
#include <iconv.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "common/DiagCapture.h"
#include "common/XmlTreeSignature.h"
#include "xmltree/CKrXMLTree.h"

namespace {

namespace fs = std::filesystem;

class XmlFile : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() /
              ("orvik_xmlfile_" + std::to_string(getpid()) + "_" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }

    CKrStringW Path(char const *name) { return CKrStringW((dir / name).wstring()); }
    std::string Read(char const *name) {
        std::ifstream in(dir / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    // Writes `bytes` to a file, loads it and returns the text of the document ("!rc" on failure).
    std::wstring LoadText(char const *name, std::string const &bytes) {
        std::ofstream(dir / name, std::ios::binary) << bytes;
        CKrXMLTree t;
        int rc = t.LoadFromFile(Path(name), true);
        return rc != 0 ? L"!" + std::to_wstring(rc) : t.Text().GetStdString();
    }

    fs::path dir;
};

// What glibc's iconv makes of `bytes` in `charset`, as UTF-16 units (BMP only here).
std::wstring Iconv(char const *charset, std::string const &bytes) {
    iconv_t cd = iconv_open("WCHAR_T", charset);
    EXPECT_NE(cd, (iconv_t)-1) << charset;
    if (cd == (iconv_t)-1) return L"";
    std::wstring out(bytes.size(), L'\0');
    char *in = const_cast<char *>(bytes.data());
    size_t inLeft = bytes.size(), outLeft = out.size() * sizeof(wchar_t);
    char *o = reinterpret_cast<char *>(out.data());
    size_t rc = iconv(cd, &in, &inLeft, &o, &outLeft);
    iconv_close(cd);
    EXPECT_NE(rc, (size_t)-1) << charset;
    out.resize(out.size() - outLeft / sizeof(wchar_t));
    return out;
}

}  // namespace

TEST_F(XmlFile, SaveWritesMarkAndHeaderAndLoadsBack) {
    CKrXMLTree t;
    ASSERT_EQ(t.SetValue(CKrStringW(L"<r a=\"\u0161\"><x>\u20ac \xD83D\xDE00</x></r>"), true), 0);
    t.SetPrettyXML(false);

    ASSERT_EQ(t.SaveToFile(Path("u8.xml"), false, true), 0);
    EXPECT_EQ(Read("u8.xml"),
              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
              "<r a=\"\xC5\xA1\"><x>\xE2\x82\xAC \xF0\x9F\x98\x80</x></r>");
    EXPECT_TRUE(t.GetUseXMLHeader());  // restored after the UTF-8 header was written

    ASSERT_EQ(t.SaveToFile(Path("u16.xml"), false, false), 0);
    std::string u16 = Read("u16.xml");
    std::u16string expected =
        u"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<r a=\"\u0161\"><x>\u20ac "
        u"\xD83D\xDE00</x></r>";
    ASSERT_EQ(u16.size(), expected.size() * 2);
    EXPECT_EQ(std::memcmp(u16.data(), expected.data(), u16.size()), 0);

    t.SetUseXMLHeader(false);
    ASSERT_EQ(t.SaveToFile(Path("bare.xml"), false, true), 0);
    EXPECT_EQ(Read("bare.xml").substr(0, 5), "\xEF\xBB\xBF<r");

    for (char const *name : {"u8.xml", "u16.xml", "bare.xml"}) {
        CKrXMLTree back;
        ASSERT_EQ(back.LoadFromFile(Path(name), true), 0) << name;
        CKrStringW v;
        back.FirstChild()->GetAttr(L"a", v);
        EXPECT_EQ(v.GetStdString(), L"\u0161");
        EXPECT_EQ(back.Text().GetStdString(), L"\u20ac \xD83D\xDE00") << name;
    }
}

TEST_F(XmlFile, PlatformErrorsPassThrough) {
    CKrXMLTree t;
    EXPECT_EQ(t.LoadFromFile(Path("missing.xml"), true), -2);
    EXPECT_EQ(t.SaveToFile(Path("no/such/dir.xml"), false, true), -2);
    EXPECT_EQ(t.LoadFromFile(CKrStringW(L""), true), -1);
    EXPECT_EQ(LoadText("empty.xml", ""), L"!-9");
}

TEST_F(XmlFile, CodePagesMatchIconv) {
    // Every byte above 0x7F that both sides define, as element text.
    struct {
        char const *declared;
        char const *iconvName;
        bool skipUndefined1250;
    } const pages[] = {{"Windows-1250", "CP1250", true}, {"cp852", "CP852", false}};
    for (auto const &p : pages) {
        std::string body;
        for (int b = 0x80; b <= 0xFF; ++b) {
            if (p.skipUndefined1250 &&
                (b == 0x81 || b == 0x83 || b == 0x88 || b == 0x90 || b == 0x98))
                continue;
            body += static_cast<char>(b);
        }
        std::string file = std::string("<?xml version=\"1.0\" encoding=\"") + p.declared +
                           "\"?>\r\n<t>" + body + "</t>";
        std::wstring expected = Iconv(p.iconvName, body);
        ASSERT_EQ(expected.size(), body.size());
        EXPECT_EQ(LoadText("page.xml", file), expected) << p.declared;
    }
    // The unassigned bytes of 1250 map to the C1 control of the same value.
    EXPECT_EQ(
        LoadText("c1.xml", "<?xml version=\"1.0\" encoding=\"windows-1250\"?>\n<t>\x81\x98</t>"),
        L"\u0081\u0098");
}

TEST_F(XmlFile, HeaderEncodingRules) {
    DiagCapture diag;
    struct {
        std::string file;
        wchar_t const *result;
    } const cases[] = {
        // converted: the header ends before the first CR (or LF when there is no CR)
        {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<t>\xC3\xA9</t>", L"\u00e9"},
        {"<?xml version='1.0' encoding='US-ASCII'?>\r\n<t>a\xE9</t>", L"a\ufffd"},
        {"<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<t>\xC3(</t>", L"\ufffd("},
        {"<?xml version=\"1.0\" encoding=\"CP852'?>\r\n<t>\xA0</t>",
         L"\u00e1"},  // either quote closes
        // an LF before the declaration ends does not count when there is a CR later
        {"<?xml version=\"1.0\"\n encoding=\"CP852\"?>\r\n<t>\xA0</t>", L"\u00e1"},
        // not read: no line break at all, so expat sees the declaration (and refuses it)
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-2\"?><t/>", L"!-9"},
        {"<?xml version=\"1.0\" encoding=\"Windows-1250\"?><t>x</t>", L"!-9"},
        // not read: "?>" after the line break; a UTF-8 document then parses as it is
        {"<?xml version=\"1.0\"\r\n encoding=\"UTF-8\"?><t>\xC3\xA9</t>", L"\u00e9"},
        // no encoding at all
        {"<?xml version=\"1.0\"?>\r\n<t>\xC3\xA9</t>", L"\u00e9"},
        // a byte-order mark wins over the header
        {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"CP852\"?>\r\n<t>\xC3\xA9</t>", L"!-9"},
        {"\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<t>\xC3\xA9</t>", L"\u00e9"},
    };
    for (auto const &c : cases) EXPECT_EQ(LoadText("h.xml", c.file), c.result) << c.file;
    EXPECT_EQ(diag.count(), 0u);

    EXPECT_EQ(LoadText("h.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-2\"?>\r\n<t/>"), L"!-2");
    auto records = diag.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(
        records[0].message,
        L"ERROR: CKrXMLTree::ConvertBuffer2UTF16 - file encoding ISO-8859-2 is not implemented");
    EXPECT_EQ(records[0].source, L"xmltree/XmlTree");
}

// Each document is loaded, saved as UTF-16 and as UTF-8, loaded again and compared with the first
// load; the in-memory text form agrees too.
TEST_F(XmlFile, ForeignDocumentsSurviveLoadSaveLoad) {
    struct Case {
        char const *file;
        wchar_t const *path;  // a value the load must have decoded
        wchar_t const *value;
    } const cases[] = {
        {"acquisition-utf8.xml", L"acquisition/@operator", L"Zo\u00EB M\u00FCller"},
        {"acquisition-utf8.xml", L"acquisition/plate/well/image", L"A1 \u2013 nuclei"},
        {"calibration-cp1250.xml", L"kalibrace/@autor", L"Ji\u0159\u00ED \u0160\u0165astn\u00FD"},
    };
    for (Case const &c : cases) {
        CKrXMLTree t;
        ASSERT_EQ(t.LoadFromFile(CKrStringW((fs::path(ORVIK_TEST_DATA) / c.file).wstring()), false),
                  0)
            << c.file;
        CKrStringW value;
        ASSERT_EQ(t.XPathGetNodeValue(CKrStringW(c.path), value, true), 0) << c.path;
        EXPECT_EQ(value.GetStdString(), c.value) << c.path;

        std::wstring const original = Signature(&t);
        ASSERT_GT(original.size(), 100u);
        t.SetPrettyXML(false);  // pretty output would add white-space text
        for (bool utf8 : {false, true}) {
            ASSERT_EQ(t.SaveToFile(Path("saved.xml"), false, utf8), 0);
            CKrXMLTree back;
            EXPECT_EQ(back.LoadFromFile(Path("saved.xml"), false), 0);
            EXPECT_EQ(Signature(&back), original) << c.file << (utf8 ? " UTF-8" : " UTF-16");
        }
        CKrStringW text;
        ASSERT_EQ(t.GetValue(text, false, false), 0);
        CKrXMLTree again;
        ASSERT_EQ(again.SetValue(text, false), 0) << c.file;
        EXPECT_EQ(Signature(&again), original) << c.file;
    }
}
