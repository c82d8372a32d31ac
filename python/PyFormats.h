// Reading and writing records in the two file forms of a variant, through the library:
// the lite variant (CKrLiteVariantR / CKrLiteVariantW, plain or in its "LV0Z" envelope, or as
// the "LV00" file) and the XML form (CKrSerializerXMLString, UTF-16 or UTF-8).
//
// Shape of a loaded file: when its top holds exactly one list (the usual case), the result is
// that list; otherwise (several top-level items, or one scalar) it is a document record of the
// top-level items, without a name or run type of its own, written back as those items.
#ifndef ORVIK_PYTHON_PYFORMATS_H
#define ORVIK_PYTHON_PYFORMATS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "PyRecord.h"

namespace orvik::py {

// A damaged or unrecognised input.  `offset` is the byte offset of the fault in the input when
// it is known (the lite variant's first fault, the XML parser's position).
class FormatFault : public std::runtime_error {
public:
    FormatFault(std::string const &message, std::optional<std::uint64_t> offset)
        : std::runtime_error(message), m_offset(offset) {}
    std::optional<std::uint64_t> Offset() const { return m_offset; }

private:
    std::optional<std::uint64_t> m_offset;
};

enum class FileForm {
    LiteCompressed,  // "lvz": the "LV0Z" envelope; plain when zlib cannot shrink the data
    Lite,            // "lv": the plain buffer
    Xml,             // "xml": UTF-16 little-endian with byte-order mark and declaration
    Xml8,            // "xml8": UTF-8 with declaration, no byte-order mark
};

// The form named `name`; throws std::invalid_argument for any other name.
FileForm ParseFileForm(std::string const &name);

// Reads `size` bytes, detecting the form from the content; throws FormatFault.
RecordView Load(unsigned char const *data, std::size_t size);
// The bytes of `record` in `form`.  Data the form cannot hold (a name it cannot carry, None in
// a lite variant, several top-level items in XML) throws std::invalid_argument naming the item.
std::string Dump(RecordView const &record, FileForm form);

// Lite variant and XML halves of the above.
RecordView LoadLite(unsigned char const *data, std::size_t size);
std::string DumpLite(RecordView const &record, bool compress);
// The file form of a lite variant buffer from DumpLite: a plain buffer behind the "LV00" mark
// and its size (what CKrLiteVariantR::SaveToFile writes); an envelope as it is.
std::string LiteFileForm(std::string buffer);
RecordView LoadXml(unsigned char const *data, std::size_t size);
std::string DumpXml(RecordView const &record, bool utf8);

// The record for the top-level items of a file (see the shape above).
RecordView TopOf(std::shared_ptr<Level> top);

}  // namespace orvik::py

#endif
