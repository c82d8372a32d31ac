// A variant tree built from the input (every holder type, nested lists, records of a registered
// type, text with markup, control characters and surrogate pairs) is written in both XML forms
// and read back: the result must equal the tree (operator==) and write the same text again.
// The builder keeps to what the form carries: no tab, no zero unit, no U+FFFE or U+FFFF, no "&#"
// or final "&", no private-use U+F0000..U+F001F, doubles that 15 digits hold exactly, unique
// names per list.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "serializerxml/CKrSerializerXMLString.h"
#include "variant/CKrVariant.h"

namespace {

struct Reader {
    uint8_t const *p;
    size_t n;
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    // Reads are sequenced explicitly so that every compiler builds the same tree from an input.
    wchar_t unit() {
        unsigned low = byte();
        return static_cast<wchar_t>(low | (byte() << 8));
    }
    std::wstring text() {
        size_t len = byte() % 12;
        std::wstring s;
        for (size_t i = 0; i < len; ++i) {
            wchar_t c = (byte() & 1) ? static_cast<wchar_t>(byte() % 0x80) : unit();
            if (c >= 0xD800 && c <= 0xDFFF) {  // only whole pairs, never the U+F0000 block
                wchar_t high = static_cast<wchar_t>(0xD800 + (c & 0x3FF));
                if (high == 0xDB80) high = 0xDB81;
                s += high;
                s += static_cast<wchar_t>(0xDC00 + (byte() & 0xFF));
                continue;
            }
            if (c == L'\t' || c == 0 || c == 0xFFFE || c == 0xFFFF) c = L'x';
            if (c == L'#' && !s.empty() && s.back() == L'&') c = L'y';
            s += c;
        }
        if (!s.empty() && s.back() == L'&') s.back() = L'z';
        return s;
    }
};

CKrVariantRunType const &recordType() {
    static CKrVariantRunType const type = [] {
        CKrVariant sample(CKrListVariant(), L"RKrFuzzRecord");
        sample.Append(CKrVariant(0, L"x"));
        sample.Append(CKrVariant(L"", L"y"));
        CKrVariant::RegisterRunType(sample);
        return CKrVariantRunType("RKrFuzzRecord");
    }();
    return type;
}

void check(CKrVariant const &tree, CKrStringW const &expected, int rc, CKrVariant const &back) {
    if (rc != 0) abort();
    if (!(back == tree)) abort();
    CKrStringW again;
    back.Write(again);
    if (!(again == expected)) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    Reader in{data, size};
    CKrVariant root(CKrListVariant(), L"root");
    std::vector<CKrVariant *> path{&root};
    int ops = 0;
    while (in.n && ++ops < 1000) {
        CKrVariant &cur = *path.back();
        uint8_t op = in.byte();
        // Unique names per list (list equality pairs children by name); "no_name" pairs by
        // position, so it may repeat.
        CKrStringW name(op & 0x80
                            ? std::wstring(L"no_name")
                            : L"n" + std::to_wstring(cur.GetCount() < 0 ? 0 : cur.GetCount()));
        switch (op % 14) {
            case 0: {
                int high = in.byte();
                cur.Append(CKrVariant(
                    static_cast<int>((static_cast<unsigned>(high) << 24 | in.byte()) - 77u), name));
                break;
            }
            case 1:
                cur.Append(CKrVariant(static_cast<unsigned>(in.byte()) << 24, name));
                break;
            case 2:
                cur.Append(CKrVariant(-(kr_int64(in.byte()) << 50), name));
                break;
            case 3:
                cur.Append(CKrVariant(~kr_uint64(0) - in.byte(), name));
                break;
            case 4: {
                int mantissa = static_cast<int>(in.byte()) - 128;
                cur.Append(CKrVariant(mantissa / 8.0 * (1 << (in.byte() % 20)), name));
                break;
            }
            case 5:
                cur.Append(CKrVariant(in.byte() % 2 == 0, name));
                break;
            case 6:
                cur.Append(
                    CKrVariant(reinterpret_cast<void *>(uintptr_t(in.byte()) << 40 | 0xABC), name));
                break;
            case 7:
                cur.Append(CKrVariant(CKrStringW(in.text()), name));
                break;
            case 8: {
                std::wstring t = in.text();
                std::string bytes(t.begin(), t.end());
                cur.Append(CKrVariant(CKrByteArray(bytes.data(), bytes.size(), 16), name));
                break;
            }
            case 9: {
                CKrVariant null;
                null.SetName(name);
                cur.Append(null);
                break;
            }
            case 10:
                if (path.size() < 200)
                    path.push_back(&cur.Append(CKrVariant(CKrListVariant(), name)));
                break;
            case 11:
                if (path.size() > 1) path.pop_back();
                break;
            case 12: {
                CKrVariant record(recordType(), name);
                record.SetRunType(recordType());
                record[L"x"] = static_cast<int>(in.byte());
                record[L"y"] = CKrStringW(in.text());
                cur.Append(record);
                break;
            }
            case 13:
                cur.Append(CKrVariant(CKrListVariant(), name));
                break;  // stays empty
        }
    }
    CKrStringW wide;
    root.Write(wide);
    CKrVariant back;
    check(root, wide, back.Read(wide), back);

    CKrStringA utf8;
    CKrSerializerXMLString::VariantToXML_UTF8(utf8, root);
    std::string doc = "<variant version=\"1.0\">" + utf8.GetStdString() + "</variant>";
    CKrVariant fromUtf8;
    check(root, wide,
          CKrSerializerXMLString::VariantFromXML_UTF8(fromUtf8, doc.data(),
                                                      static_cast<unsigned>(doc.size())),
          fromUtf8);
    return 0;
}
