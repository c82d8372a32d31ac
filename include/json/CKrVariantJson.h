// CKrVariantJson: the JSON form of a variant tree, lossless in both directions.
//
// The form keeps what the XML form and the lite variant keep, and nothing is guessed on the way
// back: names exactly as stored (no validation, duplicates allowed), child order, and the run
// type of every node, records included.  A document is one object whose first member is
// "variant" (the version, "1.0") and whose member "root" is the node of the tree:
//
//   {"variant": "1.0", "root": {"name": "settings", "type": "CKrListVariant", "items": [
//     {"name": "gain", "type": "double", "value": 1.5},
//     {"name": "stage", "type": "RKrStage", "items": [
//       {"name": "x", "type": "kr_int64", "value": -120000}
//     ]},
//     {"name": "note", "type": "unknown"}
//   ]}}
//
// A node is an object with "name" (string), "type" (its run-type name) and, by type:
//   kr_int32, kr_uint32, kr_int64, kr_uint64   "value": an integer, written and read exactly
//                                              (no fraction or exponent; out of range fails)
//   double                                     "value": the shortest number that reads back as
//                                              the same double; NaN and infinities as the
//                                              strings "NaN", "Infinity", "-Infinity"
//   bool                                       "value": true or false
//   voidPtr                                    "value": "0x" and 16 upper-case hex digits
//   CKrStringW                                 "value": a string
//   CKrByteArray                               "value": the bytes in Base64 (canonical, padded)
//   unknown                                    no value: a Null variant
//   any other type (CKrListVariant, records)   "items": an array of nodes, in child order
// Strings are UTF-16 units: a lone surrogate and a zero unit are written as \u escapes and read
// back as the same unit, so every name and string survives.  Type names are ASCII.  The reader
// accepts members in any order and any JSON white space, and refuses everything else:
// unknown or repeated members, a value that does not fit its type, a value on a list or items on
// a scalar, text after the document.
//
// The writer puts each node on its own line, indented by `indent` spaces per level up to level 64
// (deeper lines keep that indentation, so output stays proportional to the tree); indent <= 0
// writes the whole document on one line without blanks.  Neither direction recurses: a tree of any
// depth is safe.
#ifndef ORVIK_JSON_CKRVARIANTJSON_H
#define ORVIK_JSON_CKRVARIANTJSON_H

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "variant/CKrVariant.h"

class ORVIK_API CKrVariantJson {
public:
    // Appends the document of `v` to `out`; always 0.
    static int VariantToJson(CKrStringW &out, CKrVariant const &v, int indent = 2);
    // Appends only the node of `v` (no "variant"/"root" frame), at nesting level `level`.
    static int NodeToJson(CKrStringW &out, CKrVariant const &v, int indent = 2, int level = 0);

    // Reads a document.  0: `target` holds the tree (its value, run type and name replaced, its
    // type-change setting kept).  -9: the text is not a valid document; `target` is unchanged,
    // *error (when not null) gets a one-line message and *errorOffset (when not null) the offset
    // in UTF-16 units of the text where the fault was found.
    static int VariantFromJson(CKrVariant &target, CKrStringW const &text, CKrStringW *error,
                               kr_uint64 *errorOffset);
    static int VariantFromJson(CKrVariant &target, wchar_t const *text, size_t length,
                               CKrStringW *error, kr_uint64 *errorOffset);
};

#endif
