// Documents this library did not write (tests/xmltree/data): loaded, saved as UTF-16 and as
// UTF-8, loaded again and compared with the first load; the in-memory text form agrees.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/XmlTreeSignature.h"
#include "xmltree/CKrXMLTree.h"

namespace {

namespace fs = std::filesystem;

// Loads `file` into a fresh compact tree; its signature.
std::wstring LoadSignature(fs::path const &file) {
    CKrXMLTree t;
    EXPECT_EQ(t.LoadFromFile(CKrStringW(file.wstring()), false), 0) << file;
    return Signature(&t);
}

}  // namespace

TEST(XmlDocuments, LoadSaveLoadKeepsTheDocument) {
    struct Case {
        char const *file;
        wchar_t const *path;  // a value the load must have decoded
        wchar_t const *value;
    } const cases[] = {
        {"acquisition-utf8.xml", L"acquisition/@operator", L"Zo\u00EB M\u00FCller"},
        {"acquisition-utf8.xml", L"acquisition/plate/well/image", L"A1 \u2013 nuclei"},
        {"calibration-cp1250.xml", L"kalibrace/@autor", L"Ji\u0159\u00ED \u0160\u0165astn\u00FD"},
    };
    fs::path dir = fs::temp_directory_path() / ("orvik_xmldocs_" + std::to_string(getpid()));
    fs::create_directories(dir);
    for (Case const &c : cases) {
        fs::path file = fs::path(ORVIK_TEST_DATA) / c.file;
        CKrXMLTree t;
        ASSERT_EQ(t.LoadFromFile(CKrStringW(file.wstring()), false), 0) << c.file;
        CKrStringW value;
        ASSERT_EQ(t.XPathGetNodeValue(CKrStringW(c.path), value, true), 0) << c.path;
        EXPECT_EQ(value.GetStdString(), c.value) << c.path;

        std::wstring const original = Signature(&t);
        ASSERT_GT(original.size(), 100u);
        t.SetPrettyXML(false);  // pretty output would add white-space text
        for (bool utf8 : {false, true}) {
            fs::path saved = dir / (utf8 ? "u8.xml" : "u16.xml");
            ASSERT_EQ(t.SaveToFile(CKrStringW(saved.wstring()), false, utf8), 0);
            EXPECT_EQ(LoadSignature(saved), original) << c.file << (utf8 ? " UTF-8" : " UTF-16");
        }
        CKrStringW text;
        ASSERT_EQ(t.GetValue(text, false, false), 0);
        CKrXMLTree again;
        ASSERT_EQ(again.SetValue(text, false), 0) << c.file;
        EXPECT_EQ(Signature(&again), original) << c.file;
    }
    fs::remove_all(dir);
}
