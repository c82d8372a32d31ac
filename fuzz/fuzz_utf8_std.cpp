// The UTF-8 members of CKrStringW against the standard converter they are specified by:
//  - FromStdStringUtf8 accepts exactly what std::wstring_convert accepts in full (an incomplete
//    final sequence, which the converter would drop silently, must be refused) and produces the
//    same units; it throws nothing but std::range_error("bad conversion").
//  - ToStdStringUtf8 likewise for the input read as UTF-16 units.
//  - Valid UTF-16 round-trips exactly, and the platform layer's converter (Utf8FromUtf16)
//    agrees with the facet on it.
#include <codecvt>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <stdexcept>
#include <string>

#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
using Reference = std::wstring_convert<std::codecvt_utf8_utf16<wchar_t>>;
#pragma GCC diagnostic pop

void check(bool ok) {
    if (!ok) abort();
}

// Result of the reference: true and `out` when the whole input converted.
bool referenceFrom(std::string const &in, std::wstring &out) {
    Reference ref;
    try {
        out = ref.from_bytes(in);
        return ref.converted() == in.size();
    } catch (std::range_error const &) {
        return false;
    }
}

bool referenceTo(std::wstring const &in, std::string &out) {
    Reference ref;
    try {
        out = ref.to_bytes(in);
        return ref.converted() == in.size();
    } catch (std::range_error const &) {
        return false;
    }
}

bool hasSurrogate(std::wstring const &w) {
    for (wchar_t u : w)
        if (u >= 0xD800 && u <= 0xDFFF) return true;
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // Bytes as UTF-8.
    const std::string bytes(reinterpret_cast<char const *>(data), size);
    std::wstring expected;
    const bool valid = referenceFrom(bytes, expected);
    try {
        CKrStringW w = CKrStringW::FromStdStringUtf8(bytes);
        check(valid);
        check(w.GetStdString() == expected);
        if (!hasSurrogate(expected)) check(w.ToStdStringUtf8() == bytes);
    } catch (std::range_error const &e) {
        check(!valid);
        check(std::strcmp(e.what(), "bad conversion") == 0);
    }

    // Byte pairs as UTF-16 units.
    std::wstring units;
    for (size_t i = 0; i + 1 < size; i += 2)
        units.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    std::string expectedBytes;
    const bool validUnits = referenceTo(units, expectedBytes);
    CKrStringW w(units);
    try {
        std::string out = w.ToStdStringUtf8();
        check(validUnits);
        check(out == expectedBytes);
        check(CKrStringW::FromStdStringUtf8(out).GetStdString() == units);
        // The platform converter stops at the first zero unit; compare up to there.
        const size_t zero = units.find(L'\0');
        const std::string head =
            zero == std::wstring::npos ? out : CKrStringW(units.substr(0, zero)).ToStdStringUtf8();
        check(CKrStringA::Utf8FromUtf16(units.c_str()).GetStdString() == head);
    } catch (std::range_error const &e) {
        check(!validUnits);
        check(std::strcmp(e.what(), "bad conversion") == 0);
    }
    return 0;
}
