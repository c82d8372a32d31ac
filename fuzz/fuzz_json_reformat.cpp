// Fuzzes reformat: its output is stable (reformat(reformat(x)) == reformat(x)), reads back with
// the same members, and a failure always names its error.  The first byte picks the indent.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "JsonFuzzInput.h"
#include "json/CKrJsonObject.h"

static std::wstring escapeControls(std::wstring const &s) {
    static wchar_t const hex[] = L"0123456789abcdef";
    std::wstring out;
    for (wchar_t c : s) {
        if (c >= 0 && c < 0x20) {
            out += L"\\u00";
            out.push_back(hex[c >> 4]);
            out.push_back(hex[c & 15]);
        } else {
            out.push_back(c);
        }
    }
    return out;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    int indent = size > 0 ? int(data[0] % 11) - 2 : 2;  // -2 .. 8
    std::wstring wide = jsonFuzzText(size > 0 ? data + 1 : data, size > 0 ? size - 1 : 0);
    CKrStringW text(wide);
    CKrStringW error;
    CKrStringW once = CKrJson::reformat(text, &error, indent);
    if (once.IsEmpty()) {
        JSON_FUZZ_CHECK(!error.IsEmpty());
        return 0;
    }
    CKrStringW error2;
    CKrStringW twice = CKrJson::reformat(once, &error2, indent);
    JSON_FUZZ_CHECK(twice == once);
    // Output holds no raw control character other than the line ends it writes itself.
    std::wstring const &out = once.GetStdString();
    for (wchar_t c : out) JSON_FUZZ_CHECK(c >= 0x20 || c == L'\r' || c == L'\n');

    if (out[0] == L'{') {
        CKrJsonObject a, b;
        JSON_FUZZ_CHECK(CKrJson::readObjectFromString(text, &a, nullptr));
        JSON_FUZZ_CHECK(CKrJson::readObjectFromString(once, &b, nullptr));
        std::vector<CKrStringW> na, nb;
        a.isObject(&na);
        b.isObject(&nb);
        JSON_FUZZ_CHECK(na.size() == nb.size());
        // Same names, once the raw control characters reformat escapes are escaped alike.
        std::vector<std::wstring> ea, eb;
        for (auto const &n : na) ea.push_back(escapeControls(n.GetStdString()));
        for (auto const &n : nb) eb.push_back(n.GetStdString());
        std::sort(ea.begin(), ea.end());
        JSON_FUZZ_CHECK(ea == eb);
    } else if (out[0] == L'[') {
        JSON_FUZZ_CHECK(CKrJson::readArrayFromString(text, nullptr, nullptr));
        JSON_FUZZ_CHECK(CKrJson::readArrayFromString(once, nullptr, nullptr));
    }
    return 0;
}
