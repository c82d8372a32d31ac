// Fuzzes the XML tree's file round trip.  The first byte picks the header's encoding
// (Windows-1250, CP852, US-ASCII or UTF-8, converted by the tree before parsing) and the flags;
// the rest is the document body.  Checks: loading gives 0 or -9 and nothing else; whatever
// loads is saved in UTF-16, loads again and is saved to the same bytes (the same tree), and the
// same through a UTF-8 file; with white space kept, the reloaded tree reads as the first one
// through the node interface.
//
// Exceptions the tree documents, which the check allows for:
//  - tab, LF and CR in attribute values come back as blanks, CR in text as LF, and with
//    dropWhitespace white space next to an escaped character in text is trimmed away (expat
//    reports a piece at every reference): a tree holding one is only required to load again
//    and then to be stable;
//  - expat's name tables for UTF-8 input leave out U+00AA, U+00B5 and U+00BA, which its UTF-16
//    tables accept as name characters: a name holding one (possible after a code-page
//    conversion) makes the UTF-8 file fail to load (-9).
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"
#include "tests/common/XmlTreeSignature.h"
#include "xmltree/CKrXMLTree.h"

namespace {

void Quiet(void *, int, const wchar_t *, const wchar_t *, const wchar_t *, int) {}

char const *const kEncodings[] = {"Windows-1250", "CP852", "US-ASCII", "UTF-8"};

// A folder of its own for the files of one process, removed at exit (the name lives on the heap
// so that it outlasts the static destructors, which run before the exit handler).
std::string const &Folder() {
    static std::string const *const dir = [] {
        char const *tmp = std::getenv("TMPDIR");
        auto *name =
            new std::string(std::string(tmp && *tmp ? tmp : "/tmp") + "/orvik_fuzz_xml_XXXXXX");
        if (!mkdtemp(name->data())) abort();
        return name;
    }();
    static bool const cleanup =
        (std::atexit([] {
             for (char const *f : {"in.xml", "a.xml", "b.xml", "c.xml", "u8.xml"})
                 std::remove((*dir + "/" + f).c_str());
             rmdir(dir->c_str());
         }),
         true);
    (void)cleanup;
    return *dir;
}

CKrStringW PathOf(char const *name) {
    std::string p = Folder() + "/" + name;
    return CKrStringW(std::wstring(p.begin(), p.end()));
}

std::string Read(char const *name) {
    std::ifstream in(Folder() + "/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Flags {
    bool dropWhitespace;
    bool keepOrder;
};

// Loads `name` into a fresh tree and saves it as `to` in UTF-16; the load's result.
int LoadAndSave(char const *name, char const *to, Flags f, std::wstring *signature = nullptr) {
    CKrXMLTree t;
    t.SetKeepAttribsOrder(f.keepOrder);
    t.SetPrettyXML(false);  // pretty output adds white space that a reload does not give back
    int rc = t.LoadFromFile(PathOf(name), f.dropWhitespace);
    if (rc != 0) return rc;
    if (signature) *signature = Signature(&t);
    if (t.SaveToFile(PathOf(to), false, false) != 0) abort();
    return 0;
}

// Whether text `t` loses white space when loaded again with dropWhitespace: white space next
// to a character that is written as a reference.
bool TrimmedAtReferences(std::wstring const &t) {
    auto blank = [](wchar_t c) { return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r'; };
    auto escaped = [](wchar_t c) { return c == L'"' || c == L'<' || c == L'>' || c == L'&'; };
    for (size_t i = 0; i < t.size(); ++i)
        if (escaped(t[i]) && ((i > 0 && blank(t[i - 1])) || (i + 1 < t.size() && blank(t[i + 1]))))
            return true;
    return false;
}

// Whether the tree holds something its text form does not carry exactly (see above), and
// whether a name holds one of the three that expat's UTF-8 tables refuse.
void Scan(CKrXMLNode *root, bool dropWhitespace, bool &inexact, bool &utf8Names) {
    auto nameHit = [](std::wstring const &s) {
        return s.find_first_of(L"\u00AA\u00B5\u00BA") != std::wstring::npos;
    };
    std::vector<CKrXMLNode *> work{root};
    while (!work.empty()) {
        CKrXMLNode *n = work.back();
        work.pop_back();
        if (n->NodeType() == krXML_TEXT) {
            std::wstring const text = n->Text().GetStdString();
            if (text.find(L'\r') != std::wstring::npos) inexact = true;
            if (dropWhitespace && TrimmedAtReferences(text)) inexact = true;
        }
        if (nameHit(n->TagName().GetStdString())) utf8Names = true;
        CKrStringW name, value;
        for (unsigned int i = 0; n->GetAttrAt(i, name, value) == 0; ++i) {
            if (value.GetStdString().find_first_of(L"\t\n\r") != std::wstring::npos) inexact = true;
            if (nameHit(name.GetStdString())) utf8Names = true;
        }
        for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling()) work.push_back(c);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static bool once = (KR_SetDiagHandler(&Quiet, nullptr), true);
    (void)once;
    if (size == 0) return 0;
    uint8_t const bits = data[0];
    Flags const f{(bits & 4) != 0, (bits & 8) != 0};
    {
        std::ofstream out(Folder() + "/in.xml", std::ios::binary | std::ios::trunc);
        // The line break after the declaration makes the tree read its encoding.
        out << "<?xml version=\"1.0\" encoding=\"" << kEncodings[bits & 3] << "\"?>\r\n";
        out.write(reinterpret_cast<char const *>(data + 1), static_cast<std::streamsize>(size - 1));
    }

    CKrXMLTree first;
    first.SetKeepAttribsOrder(f.keepOrder);
    first.SetPrettyXML(false);
    int rc = first.LoadFromFile(PathOf("in.xml"), f.dropWhitespace);
    if (rc != 0 && rc != -9) abort();
    if (rc != 0) return 0;
    bool inexact = false, utf8Names = false;
    Scan(&first, f.dropWhitespace, inexact, utf8Names);

    // UTF-16: what was saved loads again and is saved to the same bytes.
    if (first.SaveToFile(PathOf("a.xml"), false, false) != 0) abort();
    std::wstring reloaded;
    if (LoadAndSave("a.xml", "b.xml", f, &reloaded) != 0) __builtin_trap();
    // Kept white space is carried exactly, so the reloaded tree reads as the first one did.
    if (!inexact && !f.dropWhitespace && reloaded != Signature(&first)) __builtin_trap();
    std::string const a = Read("a.xml"), b = Read("b.xml");
    if (inexact) {
        // Normalised once, the tree is stable from then on.
        if (LoadAndSave("b.xml", "c.xml", f) != 0) __builtin_trap();
        if (Read("c.xml") != b) __builtin_trap();
    } else if (a != b) {
        __builtin_trap();
    }

    // UTF-8: the same tree, unless a name holds a character expat's UTF-8 tables refuse.
    if (first.SaveToFile(PathOf("u8.xml"), false, true) != 0) abort();
    rc = LoadAndSave("u8.xml", "c.xml", f);
    if (rc != 0) {
        if (rc != -9 || !utf8Names) __builtin_trap();
        return 0;
    }
    if (Read("c.xml") != b) __builtin_trap();  // b is a when the tree is carried exactly
    return 0;
}
