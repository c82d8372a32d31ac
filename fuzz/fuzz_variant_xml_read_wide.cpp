// The wide reader of the XML form of a variant on arbitrary UTF-16 units (two bytes each, low
// byte first; a leading 0xFF byte widens the first unit beyond 0xFFFF): a result code, never a
// crash or a leak; what it accepted is stable under writing and reading again.
#include <cstdint>
#include <vector>

#include "VariantXmlFuzzCheck.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    std::vector<wchar_t> units;
    size_t i = 0;
    bool wideFirst = size > 0 && data[0] == 0xFF;
    if (wideFirst) i = 1;
    for (; i + 1 < size; i += 2)
        units.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    if (wideFirst && !units.empty()) units[0] += 0x10000 * (1 + data[size - 1] % 32);
    CKrVariant target(1, L"before");
    int rc = CKrSerializerXMLString::VariantFromXML(target, units.data(),
                                                    static_cast<unsigned>(units.size()));
    sxfuzz::checkStable(rc, target);
    return 0;
}
