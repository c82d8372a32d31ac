// Fuzzes parsing of byte input.  Checks: no crash; whatever parses serialises to text that
// parses again (compact and pretty); the text content survives the round trip (CR excepted, which
// parsing normalises to LF); a second round trip is stable.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"
#include "xmltree/CKrXMLTree.h"

namespace {

void Quiet(void *, int, const wchar_t *, const wchar_t *, const wchar_t *, int) {}

std::wstring Compact(CKrXMLTree &t) {
    t.SetPrettyXML(false);
    t.SetUseXMLHeader(false);
    CKrStringW out;
    if (t.GetValue(out, false, false) != 0) abort();
    return out.GetStdString();
}

// Line-end normalisation as the parser applies it: CR LF and a lone CR become LF.
std::wstring CrToLf(std::wstring const &s) {
    std::wstring out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == L'\r') {
            out += L'\n';
            if (i + 1 < s.size() && s[i + 1] == L'\n') ++i;
        } else {
            out += s[i];
        }
    }
    return out;
}

// All text in document order, each run of adjacent text siblings line-end normalised on its own
// (a CR and an LF in different runs are separated by markup and are not joined).  Recursive:
// fuzz inputs are a few KiB, so the depth stays small.
void NormalizedText(CKrXMLNode *n, std::wstring &all) {
    std::wstring run;
    for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling()) {
        if (c->NodeType() == krXML_TEXT) {
            run += c->Text().GetStdString();
            continue;
        }
        all += CrToLf(run);
        run.clear();
        NormalizedText(c, all);
    }
    all += CrToLf(run);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static bool once = (KR_SetDiagHandler(&Quiet, nullptr), true);
    (void)once;
    if (size == 0) return 0;
    uint8_t flags = data[0];
    std::vector<char> bytes(data + 1, data + size);
    CKrXMLTree first;
    first.SetKeepAttribsOrder(flags & 1);
    int rc = first.SetValue(bytes.data(), bytes.size(), (flags & 2) != 0);
    if (rc != 0 && rc != -9) abort();
    if (rc != 0) {
        // What was built before the error must still serialise without failing.
        CKrStringW out;
        if (first.GetValue(out, true, true) != 0) abort();
        return 0;
    }

    std::wstring s1 = Compact(first);
    CKrXMLTree second;
    if (second.SetValue(CKrStringW(s1), false) != 0) __builtin_trap();  // our output must parse
    std::wstring expected;
    NormalizedText(&first, expected);
    if (expected != second.Text().GetStdString()) __builtin_trap();
    std::wstring s2 = Compact(second);
    CKrXMLTree third;
    if (third.SetValue(CKrStringW(s2), false) != 0) __builtin_trap();
    if (Compact(third) != s2) __builtin_trap();

    // Pretty output parses too.
    first.SetPrettyXML(true);
    first.SetUseXMLHeader(true);
    CKrStringW pretty;
    first.GetValue(pretty, (flags & 4) != 0, true);
    CKrXMLTree fourth;
    if (fourth.SetValue(pretty, true) != 0) __builtin_trap();
    return 0;
}
