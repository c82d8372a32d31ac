// The file forms of a record as the Python module reads and writes them: any input either loads
// or is refused with a FormatFault; what loads is written back and must read back.  The lite
// variant keeps a record exactly; the XML form may round doubles on its first writing, after
// which it is stable.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "PyFormats.h"

using namespace orvik::py;

namespace {

bool Same(RecordView const &a, RecordView const &b) {
    return a.document == b.document && Equal(a.AsItem(), b.AsItem());
}

RecordView Reload(std::string const &bytes) {
    return Load(reinterpret_cast<unsigned char const *>(bytes.data()), bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    RecordView record;
    try {
        record = Load(data, size);
    } catch (FormatFault const &) {
        return 0;
    }
    for (bool compress : {false, true}) {
        std::string bytes;
        try {
            bytes = DumpLite(record, compress);
        } catch (std::invalid_argument const &) {
            continue;  // names or a top the form cannot hold: refused, not written
        }
        if (!Same(Reload(bytes), record)) std::abort();
    }
    for (bool utf8 : {false, true}) {
        std::string bytes;
        try {
            bytes = DumpXml(record, utf8);
        } catch (std::invalid_argument const &) {
            continue;
        }
        RecordView const once = Reload(bytes);  // a FormatFault here escapes: a crash report
        RecordView const twice = Reload(DumpXml(once, utf8));
        if (!Same(once, twice)) std::abort();
    }
    return 0;
}
