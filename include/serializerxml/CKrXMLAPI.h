// CKrXMLAPI: the element callbacks that rebuild a variant from its XML form, and the escaping of
// attribute values (the one rule the variant's writers use too).
//
// Reading state: a stack of (item, mark) entries, a depth counter starting at -1, a state word
// (0 reading, 100 finished, negative: structure error), the target and its saved type-change
// permission.  StartElement and EndElement do nothing once the state word is not 0.
//   - The root must be "variant" with version="1.0" (names compared without regard to case,
//     KR_wcsicmp); otherwise the state word becomes -100 (name) or -101 (version) and the
//     target is made Null.
//   - The element inside the root is the target: type change is switched on, its value
//     replaced by an empty value of the element's "runtype" (absent: "CKrStringW"; "unknown":
//     Null; not registered: "CKrListVariant"; a record type: the record with its members),
//     named by the element (unchanged).
//   - Deeper elements: inside a plain list a new child is appended (or, when the list had
//     children when it opened, the first child of that name is reused); inside anything else
//     (a record, a scalar, Null) the first member of that name is reused, and an element that
//     names none is read into a scratch node (mark -2) that is dropped at its end tag with
//     everything inside.  New children are named by the element, validated as by
//     CKrVariant::ValidateName.
//   - A "value" attribute is read by the item's own text reading (CKrVariantData::SetString):
//     a string after RevalidateXML_AttValue, anything else as it is (text that does not scan
//     leaves the value unchanged; Null ignores it).
//   - The end tag of the target restores its type-change permission and finishes (100): later
//     elements are ignored.
// The callbacks take the state made by CKrSerializerXMLString's readers as `userData`; they are
// public so that the reading can be followed element by element, not to be driven with any
// other user data.
#ifndef ORVIK_SERIALIZERXML_CKRXMLAPI_H
#define ORVIK_SERIALIZERXML_CKRXMLAPI_H

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"

class ORVIK_API CKrXMLAPI {
public:
    // `attributes`: name, value, name, value, ..., null.  Null arguments are ignored.
    static void StartElement(void *userData, wchar_t const *name, wchar_t const **attributes);
    static void EndElement(void *userData, wchar_t const *name);
    // Escapes `text` in place as attribute text:
    //   "<" -> "&#x003C;", '"' -> "&#x0022;", CR -> "&#x000d;", LF -> "&#x000a;",
    //   "&" followed by a character other than "#" -> "&#x0026;"; "&#" and a final "&" stay
    //   (existing character references pass through); tab, ">" and everything else stay;
    //   any other control character c below 32 -> the pair U+DB80, U+DC00 + c, which survives
    //   the XML parser where c itself would not.
    static void ValidateXML_AttValue(CKrStringW &text);
    // The reverse on text as the parser delivers it: U+DB80, U+DC00 + c becomes c (c below 32
    // except tab, LF, CR); then, when the text holds "&", "&#x003C;", "&#x0022;", "&#x000d;",
    // "&#x000a;" and last "&#x0026;" become their characters, in that order.
    static void RevalidateXML_AttValue(CKrStringW &text);
};

#endif
