// The XML form of a variant: escaping, the writers, the readers (structure rules, records,
// hostile input), Save/Load parameters and the run-time class plumbing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/DiagCapture.h"
#include "serializerxml/CKrSerializerXMLString.h"
#include "serializerxml/CKrXMLAPI.h"
#include "serializerxml/KrCreateObject.h"
#include "variant/CKrVariant.h"

namespace {

std::wstring const kSource = L"serializerxml/CKrSerializerXMLString";
std::wstring const kStructureError = L"Error: structure of the data inside XML not valid";

std::string runType(CKrVariant const &v) { return v.GetRunType().GetName().GetStdString(); }

std::wstring writeW(CKrVariant const &v) {
    CKrStringW out;
    v.Write(out);
    return out.GetStdString();
}

std::string writeUtf8(CKrVariant const &v) {
    CKrStringA out;
    CKrSerializerXMLString::VariantToXML_UTF8(out, v);
    return out.GetStdString();
}

int readW(CKrVariant &target, std::wstring const &text) {
    return CKrSerializerXMLString::VariantFromXML(target, text.data(),
                                                  static_cast<unsigned>(text.size()));
}

int readUtf8(CKrVariant &target, std::string const &text) {
    return CKrSerializerXMLString::VariantFromXML_UTF8(target, text.data(),
                                                       static_cast<unsigned>(text.size()));
}

// The UTF-8 writer gives the element only; the reader wants the whole document.
std::string docUtf8(CKrVariant const &v) {
    return "<variant version=\"1.0\">" + writeUtf8(v) + "</variant>";
}

std::wstring doc(std::wstring const &inner) {
    return L"<variant version=\"1.0\">" + inner + L"</variant>";
}

// A tree with every holder type, nesting, empty lists, Null and text that needs escaping.
CKrVariant mixedTree() {
    CKrVariant root(CKrListVariant(), L"settings");
    root.Append(CKrVariant(-7, L"i32"));
    root.Append(CKrVariant(4000000000u, L"u32"));
    root.Append(CKrVariant(kr_int64(-1) << 40, L"i64"));
    root.Append(CKrVariant(~kr_uint64(0), L"u64"));
    root.Append(CKrVariant(0.5, L"half"));
    root.Append(CKrVariant(true, L"flag"));
    root.Append(CKrVariant(CKrStringW(L"<a \"b\" & c>\r\n\x01\x1f \xe9\xD83D\xDE00"), L"text"));
    root.Append(CKrVariant(CKrByteArray("\x00\xff\x10", 3, 4), L"raw"));
    CKrVariant &sub = root.Append(CKrVariant(CKrListVariant(), L"sub"));
    sub.Append(CKrVariant(CKrListVariant(), L"empty"));
    sub.Append(CKrVariant(L"", L"blank"));
    root.Append(CKrVariant());
    return root;
}

// Registers RKrTestInner { a: kr_int32, b: CKrStringW } and RKrTestOuter { inner: RKrTestInner,
// n: double } once.
void registerTestRecords() {
    static bool const done = [] {
        CKrVariant inner(CKrListVariant(), L"RKrTestInner");
        inner.Append(CKrVariant(0, L"a"));
        inner.Append(CKrVariant(L"", L"b"));
        CKrVariant::RegisterRunType(inner);
        CKrVariant outer(CKrListVariant(), L"RKrTestOuter");
        CKrVariant innerMember(CKrVariantRunType("RKrTestInner"), L"inner");
        innerMember.SetRunType(CKrVariantRunType("RKrTestInner"));
        outer.Append(innerMember);
        outer.Append(CKrVariant(0.0, L"n"));
        return CKrVariant::RegisterRunType(outer) == 0;
    }();
    ASSERT_TRUE(done);
}

}  // namespace

// ---- escaping --------------------------------------------------------------------------------

TEST(SerializerXmlEscaping, TableBothWays) {
    struct Row {
        std::wstring raw, escaped;  // and RevalidateXML_AttValue(escaped) gives raw back
    };
    std::wstring const ctl1 = {wchar_t(0xDB80), wchar_t(0xDC01)};
    std::wstring const ctl31 = {wchar_t(0xDB80), wchar_t(0xDC1F)};
    std::wstring const pairTab = {wchar_t(0xDB80), wchar_t(0xDC09)};
    std::vector<Row> const rows = {
        {L"plain > text", L"plain > text"},
        {L"<", L"&#x003C;"},
        {L"\"", L"&#x0022;"},
        {L"\r\n", L"&#x000d;&#x000a;"},
        {L"a&b", L"a&#x0026;b"},
        {L"&&", L"&#x0026;&"},  // a final "&" stays
        {L"&#65;", L"&#65;"},   // an existing reference passes through
        {L"\t", L"\t"},
        {std::wstring(1, L'\x01'), ctl1},
        {std::wstring(1, L'\x1f'), ctl31},
        {L"x\x0e", L"x" + std::wstring{wchar_t(0xDB80), wchar_t(0xDC0E)}},
        // Pairs for tab, LF and CR are never produced and not decoded either.
        {pairTab, pairTab},
    };
    for (Row const &r : rows) {
        CKrStringW s(r.raw);
        CKrXMLAPI::ValidateXML_AttValue(s);
        EXPECT_EQ(s.GetStdString(), r.escaped) << std::string(r.raw.begin(), r.raw.end());
        CKrXMLAPI::RevalidateXML_AttValue(s);
        EXPECT_EQ(s.GetStdString(), r.raw);
    }
    // The reverse replaces literal references in its fixed order: "&#x0026;" last, so an
    // escaped reference becomes the reference text, never its character.
    CKrStringW s(L"&#x0026;#x003C; &#x0022;");
    CKrXMLAPI::RevalidateXML_AttValue(s);
    EXPECT_EQ(s.GetStdString(), L"&#x003C; \"");
}

// ---- writers ---------------------------------------------------------------------------------

TEST(SerializerXmlWrite, WideWriterIsTheVariantsWriter) {
    CKrVariant tree = mixedTree();
    CKrStringW element(L"prefix:");
    EXPECT_EQ(CKrSerializerXMLString::VariantToXML(element, tree), 0);
    EXPECT_EQ(doc(element.GetStdString().substr(7)), writeW(tree));
    EXPECT_EQ(element.GetStdString().substr(0, 7), L"prefix:");
}

TEST(SerializerXmlWrite, Utf8WriterDoublesAndCharacters) {
    struct Row {
        double value;
        char const *text;
    };
    for (Row r : {Row{0.1, "0.1"}, Row{1.0 / 3, "0.333333333333333"}, Row{-2.5e-300, "-2.5e-300"},
                  Row{123456789012345678.0, "1.23456789012346e+17"}}) {
        std::string out = writeUtf8(CKrVariant(r.value, L"d"));
        EXPECT_EQ(out, std::string("<d runtype=\"double\" value=\"") + r.text + "\"/>");
    }
    // The wide form keeps the variant's own "%.15f".
    EXPECT_EQ(writeW(CKrVariant(0.1, L"d")),
              doc(L"<d runtype=\"double\" value=\"0.100000000000000\"/>"));
    // A pair is one four-byte sequence, a control character the pair U+DB80 U+DC00+c, a lone
    // surrogate U+FFFD.
    CKrVariant s(CKrStringW(std::wstring{L'\xe9', wchar_t(0xD83D), wchar_t(0xDE00), L'\x02',
                                         wchar_t(0xDC00)}),
                 L"s");
    EXPECT_EQ(writeUtf8(s),
              "<s runtype=\"CKrStringW\" "
              "value=\"\xC3\xA9\xF0\x9F\x98\x80\xF3\xB0\x80\x82\xEF\xBF\xBD\"/>");
}

// ---- round trips -----------------------------------------------------------------------------

TEST(SerializerXmlRead, RoundTripsEveryHolderBothForms) {
    CKrVariant tree = mixedTree();
    CKrVariant wide, utf8, viaRead;
    ASSERT_EQ(readW(wide, writeW(tree)), 0);
    ASSERT_EQ(readUtf8(utf8, docUtf8(tree)), 0);
    CKrStringW text;
    tree.Write(text);
    ASSERT_EQ(viaRead.Read(text), 0);  // installed when the library loaded
    for (CKrVariant *back : {&wide, &utf8, &viaRead}) {
        EXPECT_TRUE(*back == tree) << std::string(writeUtf8(*back));
        EXPECT_EQ(back->GetName().GetStdString(), L"settings");
        EXPECT_FALSE(back->IsEnabledTypeChange());
        EXPECT_TRUE((*back)[L"no_name"].IsNull());
        EXPECT_EQ(runType((*back)[L"sub"][L"empty"]), "CKrListVariant");
    }
    // Values of several MiB and a tab (normalised to a space by the parser).
    std::wstring big(3u << 20, L'x');
    big[5] = L'\t';
    big[6] = L'<';
    CKrVariant large(CKrStringW(big), L"big"), back;
    ASSERT_EQ(readW(back, writeW(large)), 0);
    big[5] = L' ';
    EXPECT_EQ(back.GetCKrStringW().GetStdString(), big);
    // A zero unit ends a string value.
    CKrVariant zero(CKrStringW(std::wstring(L"ab\0cd", 5)), L"z");
    ASSERT_EQ(readW(back, writeW(zero)), 0);
    EXPECT_EQ(back.GetCKrStringW().GetStdString(), L"ab");
}

TEST(SerializerXmlRead, StructureRules) {
    registerTestRecords();
    struct Row {
        char const *what;
        std::wstring text;
        int result;
        std::wstring expectedWrite;  // of the target afterwards; empty: target Null
    };
    std::wstring const untouched = doc(L"<old runtype=\"kr_int32\" value=\"1\"/>");
    std::vector<Row> const rows = {
        {"upper-case root and version name",
         L"<VARIANT VERSION=\"1.0\"><a runtype=\"kr_int32\" value=\"5\"/></VARIANT>", 0,
         doc(L"<a runtype=\"kr_int32\" value=\"5\"/>")},
        {"attribute names ignore case", doc(L"<a RunType=\"bool\" VALUE=\"TRUE\"/>"), 0,
         doc(L"<a runtype=\"bool\" value=\"true\"/>")},
        {"leaf without runtype is a string", doc(L"<V value=\"1, 0, 0, 0\"/>"), 0,
         doc(L"<V runtype=\"CKrStringW\" value=\"1, 0, 0, 0\"/>")},
        {"unknown stays Null", doc(L"<n runtype=\"unknown\" value=\"x\"/>"), 0, L""},
        {"unregistered run type is a plain list",
         doc(L"<l runtype=\"RKrNoSuchType\"><x runtype=\"kr_int32\" value=\"2\"/></l>"), 0,
         doc(L"<l runtype=\"CKrListVariant\"><x runtype=\"kr_int32\" value=\"2\"/></l>")},
        {"empty list takes duplicates",
         doc(L"<l runtype=\"CKrListVariant\"><x value=\"1\"/><x value=\"2\"/></l>"), 0,
         doc(L"<l runtype=\"CKrListVariant\"><x runtype=\"CKrStringW\" value=\"1\"/><x "
             L"runtype=\"CKrStringW\" value=\"2\"/></l>")},
        {"unknown member of a record is skipped with its content",
         doc(L"<r runtype=\"RKrTestInner\"><zz runtype=\"CKrListVariant\"><a runtype=\"kr_int32\" "
             L"value=\"9\"/></zz>"
             L"<a runtype=\"kr_int32\" value=\"3\"/></r>"),
         0,
         doc(L"<r runtype=\"RKrTestInner\"><a runtype=\"kr_int32\" value=\"3\"/><b "
             L"runtype=\"CKrStringW\" value=\"\"/></r>")},
        {"children of a leaf are dropped",
         doc(L"<a runtype=\"kr_int32\" value=\"4\"><b value=\"x\"/></a>"), 0,
         doc(L"<a runtype=\"kr_int32\" value=\"4\"/>")},
        {"value that does not scan keeps zero", doc(L"<a runtype=\"kr_int32\" value=\"abc\"/>"), 0,
         doc(L"<a runtype=\"kr_int32\" value=\"0\"/>")},
        {"only the first element counts", doc(L"<a value=\"1\"/><b value=\"2\"/>"), 0,
         doc(L"<a runtype=\"CKrStringW\" value=\"1\"/>")},
        {"empty root leaves the target", doc(L""), 0, untouched},
        {"reference in a string decodes", doc(L"<s value=\"&#65;&amp;&#x003C;\"/>"), 0,
         doc(L"<s runtype=\"CKrStringW\" value=\"A&#x0026;&#x003C;\"/>")},
        {"wrong version", L"<variant version=\"2.0\"><a value=\"1\"/></variant>", -9, L""},
        {"missing version", L"<variant><a value=\"1\"/></variant>", -9, L""},
        {"wrong root", L"<varianty version=\"1.0\"><a value=\"1\"/></varianty>", -9, L""},
        {"malformed keeps what was read", doc(L"<l runtype=\"CKrListVariant\"><x value=\"1\"/><y"),
         -9, doc(L"<l runtype=\"CKrListVariant\"><x runtype=\"CKrStringW\" value=\"1\"/></l>")},
        {"empty text", L"", -9, untouched},
        {"byte-order mark and declaration",
         L"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + doc(L"<a value=\"\"/>"), 0,
         doc(L"<a runtype=\"CKrStringW\" value=\"\"/>")},
    };
    for (Row const &r : rows) {
        SCOPED_TRACE(r.what);
        CKrVariant target(1, L"old");
        DiagCapture diag;
        EXPECT_EQ(readW(target, r.text), r.result);
        bool structural = r.result != 0 && r.expectedWrite.empty();
        if (structural)
            EXPECT_TRUE(expectReport(diag, kStructureError, L"state.state >= 0", kSource));
        else
            EXPECT_EQ(diag.count(), 0u);
        EXPECT_FALSE(target.IsEnabledTypeChange());
        if (r.expectedWrite.empty())
            EXPECT_TRUE(target.IsNull());
        else
            EXPECT_EQ(writeW(target), r.expectedWrite);
    }
}

TEST(SerializerXmlRead, RecordsInsideRecordsAtAnyDepth) {
    registerTestRecords();
    CKrVariant root(CKrListVariant(), L"root");
    CKrVariant &level = root.Append(CKrVariant(CKrListVariant(), L"level"));
    CKrVariant outer(CKrVariantRunType("RKrTestOuter"), L"outer");
    outer.SetRunType(CKrVariantRunType("RKrTestOuter"));
    outer[L"inner"][L"a"] = 42;
    outer[L"inner"][L"b"] = L"deep";
    outer[L"n"] = 2.5;
    level.Append(outer);
    CKrVariant back;
    ASSERT_EQ(readW(back, writeW(root)), 0);
    EXPECT_TRUE(back == root);
    CKrVariant &o = back[L"level"][L"outer"];
    EXPECT_EQ(runType(o), "RKrTestOuter");
    EXPECT_EQ(runType(o[L"inner"]), "RKrTestInner");
    EXPECT_EQ(o[L"inner"][L"b"].GetCKrStringW().GetStdString(), L"deep");
    // A record element that lacks members still gets them (with the sample's values).
    ASSERT_EQ(
        readW(back, doc(L"<o runtype=\"RKrTestOuter\"><n runtype=\"double\" value=\"1\"/></o>")),
        0);
    EXPECT_EQ(back[L"inner"][L"a"].GetKr_int32(), 0);
    EXPECT_EQ(runType(back[L"inner"]), "RKrTestInner");
}

TEST(SerializerXmlRead, DeepNestingWithoutRecursion) {
    constexpr int kDepth = 100000;
    CKrVariant root(CKrListVariant(), L"d");
    CKrVariant *cur = &root;
    for (int i = 1; i < kDepth; ++i) cur = &cur->Append(CKrVariant(CKrListVariant(), L"d"));
    cur->Append(CKrVariant(7, L"leaf"));
    for (int form = 0; form < 2; ++form) {
        CKrVariant back;
        int rc = form == 0 ? readW(back, writeW(root)) : readUtf8(back, docUtf8(root));
        ASSERT_EQ(rc, 0);
        int depth = 1;
        CKrVariant *node = &back;
        while (node->GetCount() == 1 && node->IndexPtr(0)->GetCount() >= 0) {
            node = node->IndexPtr(0);
            ++depth;
        }
        EXPECT_EQ(depth, kDepth);
        EXPECT_EQ((*node)[L"leaf"].GetKr_int32(), 7);
    }
}

// ---- hostile input ---------------------------------------------------------------------------

TEST(SerializerXmlRead, EveryPrefixOfADocumentFailsCleanly) {
    registerTestRecords();
    CKrVariant tree = mixedTree();
    CKrVariant rec(CKrVariantRunType("RKrTestOuter"), L"rec");
    rec.SetRunType(CKrVariantRunType("RKrTestOuter"));
    tree.Append(rec);
    std::wstring const text = writeW(tree);
    std::string const utf8 = docUtf8(tree);
    DiagCapture quiet;
    for (size_t n = 0; n < text.size(); ++n) {
        CKrVariant target(1, L"t");
        ASSERT_EQ(readW(target, text.substr(0, n)), -9) << n;
        ASSERT_FALSE(target.IsEnabledTypeChange()) << n;
    }
    for (size_t n = 0; n < utf8.size(); ++n) {
        CKrVariant target;
        ASSERT_EQ(readUtf8(target, utf8.substr(0, n)), -9) << n;
    }
}

TEST(SerializerXmlRead, HostileDocumentsGiveResultCodes) {
    // Ten entities, each ten times the one before: 10^10 expansions of 40 bytes if unchecked.
    std::string laughs = "<!DOCTYPE variant [<!ENTITY e0 \"" + std::string(40, 'a') + "\">";
    for (int i = 1; i < 10; ++i) {
        laughs += "<!ENTITY e" + std::to_string(i) + " \"";
        for (int k = 0; k < 10; ++k) laughs += "&e" + std::to_string(i - 1) + ";";
        laughs += "\">";
    }
    laughs += "]><variant version=\"1.0\"><s value=\"&e9;\"/></variant>";
    std::string const external =
        "<!DOCTYPE variant [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>"
        "<variant version=\"1.0\"><s>&x;</s></variant>";
    std::string const externalInValue =
        "<!DOCTYPE variant [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>"
        "<variant version=\"1.0\"><s value=\"&x;\"/></variant>";
    struct Row {
        char const *what;
        std::string text;
        int result;
    };
    std::vector<Row> const rows = {
        {"entity amplification", laughs, -9},
        {"external entity in content is not fetched", external, 0},
        {"external entity in a value", externalInValue, -9},
        {"invalid UTF-8", "<variant version=\"1.0\"><s value=\"\xC3\x28\"/></variant>", -9},
        {"encoded surrogate", "<variant version=\"1.0\"><s value=\"\xED\xA0\x80\"/></variant>", -9},
        {"truncated sequence", "<variant version=\"1.0\"><s value=\"\xE2\x82\"/></variant>", -9},
        {"zero byte", std::string("<variant version=\"1.0\"><s value=\"a\0b\"/></variant>", 47),
         -9},
    };
    for (Row const &r : rows) {
        SCOPED_TRACE(r.what);
        CKrVariant target;
        EXPECT_EQ(readUtf8(target, r.text), r.result);
        if (r.result == 0) {
            EXPECT_EQ(target.GetCKrStringW().GetStdString(), L"");
        }
    }
    CKrVariant target;
    // The value's two units replaced: lone surrogates (a high one before a non-surrogate slips
    // through expat's UTF-16 decoder), no character at all, a code point beyond the BMP held in
    // one wchar_t.
    auto withUnit = [](wchar_t unit, wchar_t after = L'a') {
        std::wstring text = doc(L"<s value=\"ab\"/>");
        size_t const at = text.find(L"\"ab\"") + 1;
        text[at] = unit;
        text[at + 1] = after;
        return text;
    };
    EXPECT_EQ(readW(target, withUnit(wchar_t(0xD800))), -9);
    EXPECT_EQ(readW(target, withUnit(wchar_t(0xDB80), wchar_t(0xDB80))), -9);
    EXPECT_EQ(readW(target, withUnit(wchar_t(0xDC00))), -9);
    EXPECT_EQ(readW(target, withUnit(static_cast<wchar_t>(0x110000))), -9);
    EXPECT_EQ(readW(target, withUnit(static_cast<wchar_t>(-1))), -9);
    ASSERT_EQ(readW(target, withUnit(static_cast<wchar_t>(0x1F600))), 0);
    EXPECT_EQ(target.GetCKrStringW().GetStdString(),
              (std::wstring{wchar_t(0xD83D), wchar_t(0xDE00), L'a'}));
    // Every unit above 0xFFFF doubles: the text grows while it is handed to the parser.
    std::wstring const supplementary(5000, static_cast<wchar_t>(0x1F600));
    ASSERT_EQ(readW(target, doc(L"<s value=\"" + supplementary + L"\"/>")), 0);
    EXPECT_EQ(target.GetCKrStringW().GetLength(), 10000u);
    DiagCapture diag;
    EXPECT_EQ(
        CKrSerializerXMLString::VariantFromXML(target, static_cast<wchar_t const *>(nullptr), 3),
        -4);
    EXPECT_EQ(diag.count(), 1u);
}

// ---- Save / Load and the run-time class --------------------------------------------------------

TEST(SerializerXmlObject, ClassRecordTextByteForByte) {
    std::wstring expected =
        L"<variant version=\"1.0\"><CKrSerializerXMLString runtype=\"RKrRttiClass\">"
        L"<m_parent1 runtype=\"CKrStringW\" value=\"IKrSerializer\"/>";
    for (int i = 2; i <= 9; ++i)
        expected += L"<m_parent" + std::to_wstring(i) + L" runtype=\"CKrStringW\" value=\"\"/>";
    expected += L"</CKrSerializerXMLString></variant>";
    CKrClass *object = KR_CreateObject("CKrSerializerXMLString");
    ASSERT_NE(object, nullptr);
    EXPECT_STREQ(object->GetClass(), "CKrSerializerXMLString");
    auto *serializer = static_cast<IKrSerializer *>(object->QueryInterface("IKrSerializer"));
    ASSERT_NE(serializer, nullptr);
    EXPECT_EQ(object->QueryInterface("IKrNothing"), nullptr);
    CKrVariant record = object->GetCKrClassInfo();
    CKrStringW wide;
    CKrStringA utf8;
    CKrVariant params(CKrListVariant(), L"p");
    params.Append(CKrVariant(static_cast<void *>(&wide), L"string"));
    ASSERT_EQ(serializer->Save(record, params), 0);
    EXPECT_EQ(wide.GetStdString(), L"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + expected);
    CKrVariant other(CKrListVariant(), L"p");
    other.Append(CKrVariant(static_cast<void *>(&utf8), L"stringUTF8"));
    ASSERT_EQ(serializer->Save(record, other), 0);
    EXPECT_EQ(utf8.GetStdString(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" +
                                       std::string(expected.begin(), expected.end()));
    // Read back, the record is a record again (its run type is registered).
    CKrVariant back;
    ASSERT_EQ(serializer->Load(back, params), 0);
    EXPECT_TRUE(back == record);
    EXPECT_EQ(runType(back), "RKrRttiClass");
    delete object;
    EXPECT_EQ(KR_CreateObject("NoSuchClass"), nullptr);
    EXPECT_EQ(KR_CreateObject(nullptr), nullptr);
}

TEST(SerializerXmlObject, SaveAndLoadParameterForms) {
    CKrVariant tree = mixedTree();
    CKrStringW wide;
    tree.Write(wide);
    std::string const utf8Doc = docUtf8(tree);
    auto ptr = [](void const *p, wchar_t const *name) {
        return CKrVariant(const_cast<void *>(p), name);
    };
    auto length = [](size_t n) { return CKrVariant(static_cast<unsigned>(n), L"rawStringLen"); };
    CKrVariant const raw = ptr(wide.GetString(), L"rawString");
    CKrVariant const rawUtf8 = ptr(utf8Doc.data(), L"rawStringUTF8");
    struct Row {
        char const *what;
        std::vector<CKrVariant> items;
        int result;
    };
    std::vector<Row> const rows = {
        {"string", {ptr(&wide, L"string")}, 0},
        {"rawString", {raw, length(wide.GetLength())}, 0},
        {"rawString without length", {raw}, -9},
        {"rawString cut short", {raw, length(wide.GetLength() - 1)}, -9},
        {"rawStringUTF8", {rawUtf8, length(utf8Doc.size())}, 0},
        {"rawStringUTF8 without length", {rawUtf8}, -9},
        {"first source wins", {ptr(&wide, L"string"), ptr(nullptr, L"stringUTF8")}, 0},
        {"null pointer", {ptr(nullptr, L"string")}, -4},
        {"no source", {CKrVariant(1, L"other")}, -4},
        {"no parameters at all", {}, -4},
    };
    CKrSerializerXMLString serializer;
    for (Row const &r : rows) {
        SCOPED_TRACE(r.what);
        CKrVariant params(CKrListVariant(), L"p");
        for (CKrVariant const &item : r.items) params.Append(item);
        CKrVariant target;
        DiagCapture quiet;
        EXPECT_EQ(serializer.Load(target, params), r.result);
        if (r.result == 0) {
            EXPECT_TRUE(target == tree);
        }
    }
    CKrVariant utf8Params(CKrListVariant(), L"p");
    CKrStringA utf8Text(utf8Doc);
    utf8Params.Append(ptr(&utf8Text, L"stringUTF8"));
    CKrVariant target;
    EXPECT_EQ(serializer.Load(target, utf8Params), 0);
    EXPECT_TRUE(target == tree);

    DiagCapture diag;
    EXPECT_EQ(serializer.Save(tree, CKrVariant()), -4);
    EXPECT_EQ(serializer.Save(tree, CKrVariant::CreateStruct(L"p", {ptr(nullptr, L"stringUTF8")})),
              -4);
    EXPECT_EQ(diag.count(), 2u);
}
