// Fuzzes the format detection, the strict text coders and the JSON form of a variant:
//  - detection never reads past the input and reports a consistent encoding;
//  - UTF-8 that DecodeText accepts is given back byte for byte by EncodeUtf8;
//  - the fuzz bytes read as a JSON document: a refused one leaves the target alone, an accepted
//    one writes text that reads back to the same text (both layouts);
//  - the fuzz bytes also drive the building of a variant tree (every run type, awkward names,
//    duplicates, records, nesting): its JSON text reads back to a tree with the same text, and
//    the same names and run types.
#include <cstdint>
#include <cstring>
#include <string>

#include "JsonFuzzInput.h"
#include "json/CKrVariantJson.h"
#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"
#include "variant/KrDataFormat.h"

namespace {

class Bytes {
public:
    Bytes(uint8_t const *d, size_t n) : m_d(d), m_n(n) {}
    bool empty() const { return m_i >= m_n; }
    uint8_t next() { return m_i < m_n ? m_d[m_i++] : 0; }
    kr_uint64 next64() {
        kr_uint64 v = 0;
        for (int k = 0; k < 8; ++k) v = v << 8 | next();
        return v;
    }
    std::wstring text() {
        std::wstring s;
        for (uint8_t n = next() % 6; n > 0; --n) {
            uint8_t const c = next();
            // Mostly letters; sometimes a (lone) surrogate, a quote, or a control character
            // (zero included).
            if (c < 0xE0) {
                s += wchar_t(L'a' + c % 26);
            } else if (c < 0xF0) {
                s += wchar_t(0xD800 + (c & 0x0F) * 0x80);
            } else if (c == 0xFF) {
                s += L'"';
            } else {
                s += wchar_t(c & 0x0F);
            }
        }
        return s;
    }

private:
    uint8_t const *m_d;
    size_t m_n;
    size_t m_i = 0;
};

CKrVariant scalar(Bytes &b) {
    switch (b.next() % 10) {
        case 0:
            return CKrVariant(static_cast<int>(b.next64()));
        case 1:
            return CKrVariant(static_cast<unsigned int>(b.next64()));
        case 2:
            return CKrVariant(static_cast<kr_int64>(b.next64()));
        case 3:
            return CKrVariant(b.next64());
        case 4: {
            kr_uint64 const bits = b.next64();
            double d;
            std::memcpy(&d, &bits, sizeof d);
            return CKrVariant(d);
        }
        case 5:
            return CKrVariant((b.next() & 1) != 0);
        case 6:
            return CKrVariant(reinterpret_cast<void *>(static_cast<uintptr_t>(b.next64())));
        case 7:
            return CKrVariant(CKrStringW(b.text()));
        case 8: {
            std::string bytes;
            for (uint8_t n = b.next() % 7; n > 0; --n) bytes += static_cast<char>(b.next());
            return CKrVariant(CKrByteArray(bytes.data(), bytes.size(), 16));
        }
        default:
            return CKrVariant();
    }
}

CKrVariant tree(Bytes &b) {
    CKrVariant root =
        CKrVariant::CreateStructNamed(CKrVariantRunType("CKrListVariant"), CKrStringW(), {});
    std::vector<CKrVariant *> open{&root};
    while (!b.empty()) {
        uint8_t const op = b.next() % 8;
        CKrVariant *top = open.back();
        if (op == 0 && open.size() > 1) {
            open.pop_back();
            continue;
        }
        CKrVariant *child;
        if (op <= 2) {
            char const *type = op == 1 ? "RKrRecord" : "CKrListVariant";
            child = top->GetCKrListVariant().Append(new CKrVariant(
                CKrVariant::CreateStructNamed(CKrVariantRunType(type), CKrStringW(), {})));
            open.push_back(child);
        } else {
            child = top->GetCKrListVariant().Append(new CKrVariant(scalar(b)));
        }
        child->SetName(CKrStringW(b.text()));
    }
    return root;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    SKrDataFormat const f = KrDataFormat::Detect(data, size);
    JSON_FUZZ_CHECK(f.markSize <= size);
    JSON_FUZZ_CHECK((f.encoding == EKrTextEncoding::None) ==
                    (f.format == EKrDataFormat::Unknown || f.format == EKrDataFormat::LiteVariant ||
                     f.format == EKrDataFormat::LiteVariantZ));

    CKrStringW decoded;
    kr_uint64 fault = 0;
    if (KrDataFormat::DecodeText(data, size, EKrTextEncoding::Utf8, decoded, &fault) == 0) {
        std::string again;
        KrDataFormat::EncodeUtf8(decoded.GetString(), decoded.GetLength(), again);
        JSON_FUZZ_CHECK(again.size() == size && std::memcmp(again.data(), data, size) == 0);
    } else {
        JSON_FUZZ_CHECK(fault < size);
    }

    CKrStringW const text(jsonFuzzText(data, size));
    CKrVariant target(7, L"kept");
    CKrStringW error;
    kr_uint64 offset = 0;
    if (CKrVariantJson::VariantFromJson(target, text, &error, &offset) != 0) {
        JSON_FUZZ_CHECK(!error.IsEmpty() && offset <= text.GetLength());
        JSON_FUZZ_CHECK(target == 7 && target.GetName() == CKrStringW(L"kept"));
    } else {
        for (int indent : {2, 0}) {
            CKrStringW written, rewritten;
            CKrVariantJson::VariantToJson(written, target, indent);
            CKrVariant back;
            JSON_FUZZ_CHECK(CKrVariantJson::VariantFromJson(back, written, nullptr, nullptr) == 0);
            CKrVariantJson::VariantToJson(rewritten, back, indent);
            JSON_FUZZ_CHECK(rewritten == written);
        }
    }

    Bytes bytes(data, size);
    CKrVariant const built = tree(bytes);
    CKrStringW written, rewritten;
    CKrVariantJson::VariantToJson(written, built, size % 3);
    CKrVariant back;
    JSON_FUZZ_CHECK(CKrVariantJson::VariantFromJson(back, written, &error, nullptr) == 0);
    CKrVariantJson::VariantToJson(rewritten, back, size % 3);
    JSON_FUZZ_CHECK(rewritten == written);
    JSON_FUZZ_CHECK(back.GetCount() == built.GetCount());
    for (int i = 0; i < built.GetCount(); ++i) {
        JSON_FUZZ_CHECK(back.IndexPtr(i)->GetName().GetStdString() ==
                        built.IndexPtr(i)->GetName().GetStdString());
        JSON_FUZZ_CHECK(back.IndexPtr(i)->GetRunType() == built.IndexPtr(i)->GetRunType());
    }
    return 0;
}
