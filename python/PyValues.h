// The mapping between Python values and record items.
//
//   item run type            Python value read         Python value written
//   "bool"                   bool                      bool
//   "kr_int32"               int                       int in [-2**31, 2**31)
//   "kr_int64"               int                       other int in [-2**63, 2**63)
//   "kr_uint64"              int                       int in [2**63, 2**64)
//   "kr_uint32", "voidPtr"   int                       (only from a Record)
//   "double"                 float                     float (subclasses included)
//   "CKrStringW"             str                       str (no U+0000; lone surrogates kept)
//   "CKrByteArray"           read-only memoryview      any C-contiguous buffer (bytes,
//                                                      bytearray, memoryview, numpy arrays)
//   "unknown" (Null)         None                      None
//   "CKrListVariant" or a    Record                    Record (keeps names, order and run
//   record type                                        types), a mapping with str keys, or a
//                                                      list/tuple (items named "no_name")
//
// Integers with __index__ (numpy integers) count as int.  Anything else raises TypeError,
// an int out of 64-bit range OverflowError, a string holding U+0000 ValueError.
#ifndef ORVIK_PYTHON_PYVALUES_H
#define ORVIK_PYTHON_PYVALUES_H

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

#include "PyRecord.h"

namespace orvik::py {

// The exporter behind the memoryviews of byte items: keeps the bytes' owner alive for as long
// as any view of them exists.
struct BlobExporter {
    Blob blob;
};

// The Python value of an item (None, bool, int, float, str, memoryview or Record).
pybind11::object ToPython(Item const &item);
// The item named `name` for a Python value; raises as described above.
Item FromPython(pybind11::handle value, std::wstring name);

// The item name of a str key; raises ValueError for the empty name and for U+0000, which no
// form keeps.
std::wstring ItemName(pybind11::handle key);

// Conversions between Python str and UTF-16 units held one per wchar_t.
pybind11::str StrFromUnits(std::wstring const &units);
std::wstring UnitsFromStr(pybind11::handle text);

}  // namespace orvik::py

#endif
