// The fast element callback of the XML-form reader against the public callbacks of CKrXMLAPI
// (the reference path): the input, and a document built from it out of the form's own words
// (run types of every kind, registered and unknown records, attribute names in any case, values
// with references and escaped control characters), are read both ways.  Results, the trees
// (names, run types, values to the bit) and the target's type-change permission must agree.
// The one-pass decoding of attribute values is also run against the pass-per-reference rule on
// texts made of references, their pieces and escaped control characters.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "FuzzInput.h"
#include "serializerxml/internal/SxReadState.h"
#include "variant/CKrVariant.h"
#include "variant/internal/VariantXmlForm.h"

namespace {

void registerRecord() {
    static bool const done = [] {
        CKrVariant sample(CKrListVariant(), L"RKrFuzzPaths");
        sample.Append(CKrVariant(7, L"x"));
        sample.Append(CKrVariant(L"y0", L"y"));
        sample.Append(CKrVariant(CKrListVariant(), L"l"));
        CKrVariant::RegisterRunType(sample);
        // Two members of one name (the first is the one a reading finds) and a nested record.
        CKrVariant twice(CKrListVariant(), L"RKrFuzzTwice");
        twice.Append(CKrVariant(1, L"x"));
        twice.Append(CKrVariant(2, L"x"));
        CKrVariant nested(CKrListVariant(), L"p");
        nested.SetRunType(CKrVariantRunType("RKrFuzzPaths"));
        twice.Append(nested);
        twice.Append(CKrVariant(L"z0", L"y"));
        CKrVariant::RegisterRunType(twice);
        return true;
    }();
    (void)done;
}

template <size_t N>
char const *pick(FuzzInput &in, char const *const (&words)[N]) {
    return words[in.byte() % N];
}

constexpr char const *kNames[] = {"x", "y", "l", "a", "b", "9lives", "\xC3\x84", "x", "y", "p"};
constexpr char const *kAttributes[] = {"runtype", "RunType", "RUNTYPE", "value",
                                       "Value",   "VALUE",   "other",   "r\xC4\xB0ntype"};
constexpr char const *kRunTypes[] = {
    "",           "CKrStringW",   "kr_int32",       "kr_uint32",    "kr_int64",
    "kr_uint64",  "double",       "bool",           "voidPtr",      "CKrByteArray",
    "unknown",    "UNKNOWN",      "CKrListVariant", "RKrFuzzPaths", "RKrNotRegistered",
    "CKrStringw", "RKrFuzzTwice", "RKrFuzzTwice"};
constexpr char const *kValues[] = {"",
                                   "12",
                                   "-3.5",
                                   "1e308",
                                   "true",
                                   "TRUE",
                                   "&amp;#x003C;x&amp;#x0026;#x0022;",
                                   "a&amp;b&amp;",
                                   "\xF3\xB0\x80\x81z\xF3\xB0\x80\x89",
                                   "QUJD",
                                   "0x10",
                                   "&#10;&#13;&#9;",
                                   "caf\xC3\xA9 \xF0\x9F\x98\x80"};

std::string document(FuzzInput &in) {
    std::string doc = "<variant version=\"1.0\">";
    std::vector<std::string> open;
    for (int steps = 0; steps < 48 && in.n > 0; ++steps) {
        uint8_t op = in.byte() % 5;
        if (op == 0 && !open.empty()) {
            doc += "</" + open.back() + ">";
            open.pop_back();
            continue;
        }
        std::string name = pick(in, kNames);
        doc += "<" + name;
        uint8_t used = 0;  // attribute names are distinct within an element
        for (int a = in.byte() % 4; a > 0; --a) {
            uint8_t k = in.byte() % (sizeof kAttributes / sizeof kAttributes[0]);
            if (used & (1u << k)) continue;
            used |= static_cast<uint8_t>(1u << k);
            bool type = std::strchr("rR", kAttributes[k][0]) != nullptr;
            doc += std::string(" ") + kAttributes[k] + "=\"" +
                   (type ? pick(in, kRunTypes) : pick(in, kValues)) + "\"";
        }
        if (op == 1 || op == 2) {
            doc += ">";
            open.push_back(name);
        } else {
            doc += "/>";
        }
    }
    while (!open.empty()) {
        doc += "</" + open.back() + ">";
        open.pop_back();
    }
    return doc + "</variant>";
}

bool sameValue(CKrVariant const &a, CKrVariant const &b) {
    if (a.IsNull() || b.IsNull()) return a.IsNull() && b.IsNull();
    if (a.GetRunType() != b.GetRunType()) return false;
    if (a.GetCount() >= 0) return true;  // lists: compared child by child
    if (a.GetRunType() == CKrVariantRunType("double"))
        return std::memcmp(a.GetValueVoidPtr(), b.GetValueVoidPtr(), sizeof(double)) == 0;
    return a.GetCKrStringW().GetStdString() == b.GetCKrStringW().GetStdString();
}

bool sameTree(CKrVariant const &a, CKrVariant const &b) {
    std::vector<std::pair<CKrVariant const *, CKrVariant const *>> stack{{&a, &b}};
    while (!stack.empty()) {
        auto [x, y] = stack.back();
        stack.pop_back();
        if (!x || !y) return x == y;
        if (x->GetName().GetStdString() != y->GetName().GetStdString()) return false;
        if (!sameValue(*x, *y) || x->GetCount() != y->GetCount()) return false;
        for (int i = 0; i < x->GetCount(); ++i) stack.push_back({x->IndexPtr(i), y->IndexPtr(i)});
    }
    return true;
}

void compare(std::string const &doc) {
    CKrVariant fast(1, L"before"), ref(1, L"before");
    int rf = orvik::detail::SxReadUtf8(fast, doc.data(), doc.size(), false);
    int rr = orvik::detail::SxReadUtf8(ref, doc.data(), doc.size(), true);
    FUZZ_CHECK(rf == rr);
    FUZZ_CHECK(fast.IsEnabledTypeChange() == ref.IsEnabledTypeChange());
    FUZZ_CHECK(sameTree(fast, ref));
}

void compareDecoding(FuzzInput &in) {
    static wchar_t const *const kPieces[] = {L"&#x003C;", L"&#x0022;", L"&#x000d;", L"&#x000a;",
                                             L"&#x0026;", L"&",        L"&#x00",    L"3C;",
                                             L"26;",      L"0d",       L"#x00",     L"\xDB80",
                                             L"\xDC01",   L"\xDC0A",   L"a",        L";"};
    std::wstring text;
    for (int i = in.byte() % 24; i > 0 && in.n > 0; --i)
        text += kPieces[in.byte() % (sizeof kPieces / sizeof kPieces[0])];
    std::wstring fast = text, ref = text;
    orvik::detail::RevalidateAttValue(fast);
    orvik::detail::RevalidateAttValueRef(ref);
    FUZZ_CHECK(fast == ref);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    registerRecord();
    compare(std::string(reinterpret_cast<char const *>(data), size));
    FuzzInput in{data, size};
    compare(document(in));
    FuzzInput again{data, size};
    compareDecoding(again);
    return 0;
}
