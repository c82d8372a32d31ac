// The UTF-8 reader of the XML form of a variant on arbitrary bytes: a result code (0 or -9),
// never a crash or a leak; what it accepted is stable under writing and reading again.
#include <cstdint>

#include "VariantXmlFuzzCheck.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    CKrVariant target(1, L"before");
    int rc = CKrSerializerXMLString::VariantFromXML_UTF8(
        target, reinterpret_cast<char const *>(data), static_cast<unsigned>(size));
    sxfuzz::checkStable(rc, target);
    return 0;
}
