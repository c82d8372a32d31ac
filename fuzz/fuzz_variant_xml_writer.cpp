// The fast UTF-8 writer of the XML form against its plain reference (the generic element walk
// over a UTF-8 sink): any tree the input builds, with names and strings of arbitrary units (lone
// surrogates, control characters, units above 0xFFFF or negative), every holder type, Null
// children, records and nested lists, must give the same bytes from both.
#include <cstring>
#include <string>

#include "FuzzInput.h"
#include "variant/CKrVariant.h"
#include "variant/internal/VariantXmlForm.h"

namespace {

// Units that exercise the escaper and the encoder; any other byte pair is taken as it is.
constexpr wchar_t kUnits[] = {L'<',   L'"',   L'&',   L'#',   L'\r',  L'\n',  L'\t',   0,
                              1,      31,     L'a',   0x7F,   0xE9,   0x7FF,  0x800,   0xD800,
                              0xDBFF, 0xDC00, 0xDFFF, 0xFFFD, 0xFFFF, 0xDB80, 0x10041, -1};

std::wstring text(FuzzInput &in) {
    std::wstring s;
    for (size_t len = in.byte() % 10; len > 0; --len) {
        uint8_t b = in.byte();
        if (b < 128)
            s += kUnits[b % (sizeof kUnits / sizeof kUnits[0])];
        else if (b < 192)
            s += static_cast<wchar_t>(L' ' + b % 95);
        else
            s += static_cast<wchar_t>(in.u16());
    }
    return s;
}

// Doubles near the edges of the writer's shortcut for short decimals: digit counts around 15,
// exponents around -5 and 15, subnormals, zeros, and decimals scaled by powers of ten.
double decimal(FuzzInput &in) {
    static constexpr double kEdges[] = {5e-324,
                                        2.2250738585072014e-308,
                                        2.225073858507201e-308,
                                        1e15,
                                        1e14,
                                        999999999999999.0,
                                        9999999999999998.0,
                                        1e-4,
                                        1e-5,
                                        0.00012345,
                                        123456789012345.0,
                                        1234567890123456.0,
                                        -0.0,
                                        0.1,
                                        1.0 / 3,
                                        1.7976931348623157e308};
    uint8_t k = in.byte();
    if (k < 64) return kEdges[k % (sizeof kEdges / sizeof kEdges[0])] * (k & 16 ? -1 : 1);
    double mantissa = static_cast<double>(
        static_cast<kr_int64>(kr_uint64(in.u16()) << 32 | kr_uint64(in.u16()) << 16 | in.u16()));
    double scale = 1;
    for (int e = in.byte() % 24; e > 0; --e) scale *= 10;
    return k & 1 ? mantissa / scale : mantissa * scale;
}

void registerRecords() {
    static bool const done = [] {
        CKrVariant a(CKrListVariant(), L"RKrFuzzWriter");
        a.Append(CKrVariant(0, L"x"));
        CKrVariant::RegisterRunType(a);
        return true;
    }();
    (void)done;
}

CKrVariant leaf(FuzzInput &in) {
    switch (in.byte() % 11) {
        case 0:
            return CKrVariant(static_cast<int>(in.u16() | in.u16() << 16));
        case 1:
            return CKrVariant(static_cast<unsigned>(in.u16() | in.u16() << 16));
        case 2:
            return CKrVariant(static_cast<kr_int64>((kr_uint64(in.u16()) << 48 | in.u16()) * 7));
        case 3:
            return CKrVariant(kr_uint64(in.u16()) << 48 | kr_uint64(in.u16()) << 16 | in.u16());
        case 4: {
            kr_uint64 bits = 0;
            for (int i = 0; i < 8; ++i) bits = bits << 8 | in.byte();
            double d;
            std::memcpy(&d, &bits, sizeof d);
            return CKrVariant(d);
        }
        case 5:
            if (in.byte() % 2) return CKrVariant(in.byte() % 2 == 0);
            return CKrVariant(decimal(in));
        case 6:
            return CKrVariant(reinterpret_cast<void *>(uintptr_t(in.u16()) << 20));
        case 7: {
            std::string bytes(in.byte() % 7, '\0');
            for (char &c : bytes) c = static_cast<char>(in.byte());
            return CKrVariant(CKrByteArray(bytes.data(), bytes.size(), 16));
        }
        case 8:
            return CKrVariant();
        default:
            return CKrVariant(CKrStringW(text(in)));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    registerRecords();
    FuzzInput in{data, size};
    CKrVariant root(CKrListVariant(), L"root");
    root.SetName(CKrStringW(text(in)));
    // Builds into the current list; a list child may become current (bounded depth).
    CKrVariant *stack[8] = {&root};
    int depth = 0;
    for (int steps = 0; steps < 64 && in.n > 0; ++steps) {
        uint8_t op = in.byte() % 8;
        CKrVariant &list = *stack[depth];
        if (op == 0 && depth > 0) {
            --depth;
        } else if (op == 1 && depth < 7) {
            CKrVariant &child = list.Append(CKrVariant(CKrListVariant()));
            child.SetName(CKrStringW(text(in)));
            // A record keeps its members: it is written, not built into.
            if (in.byte() % 2)
                child.SetRunType(CKrVariantRunType("RKrFuzzWriter"));
            else
                stack[++depth] = &child;
        } else {
            CKrVariant &child = list.Append(leaf(in));
            child.SetName(CKrStringW(text(in)));
        }
    }
    std::string fast = "prefix", ref = "prefix";
    orvik::detail::AppendElementUtf8(fast, root);
    orvik::detail::AppendElementUtf8Ref(ref, root);
    FUZZ_CHECK(fast == ref);
    return 0;
}
