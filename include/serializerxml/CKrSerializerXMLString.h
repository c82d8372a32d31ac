// CKrSerializerXMLString: the XML form of a variant, written to and read from text in memory.
//
// The form (no line breaks, no indentation):
//   [<?xml version="1.0" encoding="UTF-16"?> or encoding="UTF-8"]
//   <variant version="1.0">  the element of the variant  </variant>
// A leaf is <name runtype="t" value="text"/>, a list <name runtype="t"> children </name>, where
// the name is the variant's name written as it is (a name that is no XML name makes a document
// that does not read back), t the run-type name ("CKrListVariant" for a free list, the record's
// type for a record) and text the value (CKrVariant::GetCKrStringW text; doubles "%.15g" in
// UTF-8), escaped as CKrXMLAPI::ValidateXML_AttValue says except for byte arrays (Base64).
// CKrVariant::Write and VariantToXML give the same text character for character.
//
// What the form cannot carry (callers rely on these staying as they are):
//   - a tab in a string value comes back as a space (the XML parser normalises attribute
//     values; CR and LF are escaped and survive);
//   - a zero unit ends a string value: whatever follows it is lost on reading;
//   - "&#" in a string is written unchanged so that character references pass through: "&#65;"
//     comes back as "A", and "&#" that is no valid reference (or a final "&") makes the document
//     unreadable (-9);
//   - a surrogate without its partner: the wide form writes it as it is and the reader refuses
//     the document (-9); the UTF-8 form writes U+FFFD instead;
//   - U+FFFE and U+FFFF are no XML characters: written as they are, the document is refused;
//   - the private-use characters U+F0000..U+F001F (except those of tab, LF, CR) come back as
//     the control characters whose escape they are;
//   - Null reads back as Null ("unknown"); a "value" on such an element is ignored;
//   - doubles: the wide form keeps 15 digits after the point ("%.15f", so tiny values become
//     0), the UTF-8 form 15 significant digits.
//
// Reading (VariantFromXML*): one expat parser over the whole text; see CKrXMLAPI for how the
// elements rebuild the tree.  A record type registered with CKrVariant::RegisterRunType comes
// back as that record at any depth: its members are filled by name, elements that name no
// member are read and dropped with everything inside them.  Run types that are not registered
// become plain lists ("CKrListVariant").
// Results: 0 on success (also when the root holds no element: the target is untouched); -9 for
// malformed XML (a failed read keeps what was built so far), and -9 after the report "Error:
// structure of the data inside XML not valid" (source serializerxml/CKrSerializerXMLString)
// for a root that is not <variant version="1.0"> (the target is then made Null); -4 for a null
// text with a non-zero length.  The target's type-change permission is restored in every case.
//
// Hostile input: the reader never fetches anything (no external entity handler, parameter
// entities off) and relies on expat (2.4 or later, checked at build time) for protection
// against entity amplification ("billion laughs"): its defaults stop a document whose entity
// expansion grows beyond 100 times its size once more than 8 MiB were expanded; the read then
// fails with -9.  Nesting depth is limited only by memory: no part of the reader or writer
// recurses.  Wide text holds UTF-16 units, one per wchar_t; a unit above 0xFFFF is read as the
// surrogate pair of that code point and one above 0x10FFFF fails the read (-9).  Invalid UTF-8
// and unpaired surrogates fail it too (-9), and so does a text given as UTF-8 that holds a zero
// byte or starts with a UTF-16 byte-order mark (expat would otherwise read it as UTF-16).
//
// The object itself is the run-time class of the same name (created by name with
// KR_CreateObject("CKrSerializerXMLString")); the static members need no object.  No member
// locks: one thread uses one target at a time (the trees' own list lock still applies).
#ifndef ORVIK_SERIALIZERXML_CKRSERIALIZERXMLSTRING_H
#define ORVIK_SERIALIZERXML_CKRSERIALIZERXMLSTRING_H

#include "platform/KrTypes.h"
#include "serializerxml/CKrClass.h"
#include "serializerxml/IKrSerializer.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"
#include "variant/CKrVariant.h"

class ORVIK_API CKrSerializerXMLString : public IKrSerializer, public virtual CKrClass {
public:
    CKrSerializerXMLString();
    ~CKrSerializerXMLString() override;

    // Writes `source` as a whole document into a string named by `parameters`:
    //   item "string" (voidPtr to a CKrStringW): replaced by U+FEFF, the UTF-16 declaration, the
    //       root start tag, the element of `source` and the root end tag;
    //   else item "stringUTF8" (voidPtr to a CKrStringA): replaced by the UTF-8 declaration, the
    //       root and the element in UTF-8, without a byte-order mark.
    // 0 on success; -4 (nothing written) when neither item is present or its pointer is null.
    int Save(CKrVariant const &source, CKrVariant const &parameters) override;
    // Reads a whole document into `target` from the first item present in `parameters`:
    //   "string" (voidPtr to a CKrStringW); "rawString" (voidPtr to wide characters) with
    //   "rawStringLen" (kr_uint32 count of characters); "stringUTF8" (voidPtr to a CKrStringA);
    //   "rawStringUTF8" (voidPtr to bytes) with "rawStringLen" (count of bytes).
    // The reader's result (see above); -9 for a raw pointer without "rawStringLen"; -4 when no
    // source item is present or its pointer is null.
    int Load(CKrVariant &target, CKrVariant const &parameters) override;

    // Appends the element of `v` (without the root) to `out`; always 0.
    static int VariantToXML(CKrStringW &out, CKrVariant const &v);
    // The same in UTF-8, appended to `out`; always 0.
    static int VariantToXML_UTF8(CKrStringA &out, CKrVariant const &v);
    // Parses a whole document of wide text (`length` units; the string's whole length) into
    // `target`.  A leading U+FEFF is accepted; a declaration's encoding is ignored.
    static int VariantFromXML(CKrVariant &target, CKrStringW const &text);
    static int VariantFromXML(CKrVariant &target, wchar_t const *text, unsigned int length);
    // Parses a whole UTF-8 document (`length` bytes) into `target`.
    static int VariantFromXML_UTF8(CKrVariant &target, CKrStringA const &text);
    static int VariantFromXML_UTF8(CKrVariant &target, char const *text, unsigned int length);

    // Run-time class: "CKrSerializerXMLString", its record (implements "IKrSerializer"), and
    // the interfaces "IKrSerializer", "CKrClass", "IKrInterface", "CKrSerializerXMLString".
    char const *GetClass() const override;
    CKrVariant GetCKrClassInfo() const override;
    void *QueryInterface(char const *interfaceName) override;
};

// A new CKrSerializerXMLString as its CKrClass; the caller deletes it.
ORVIK_API CKrClass *KR_ConstructorForCKrSerializerXMLString();

#endif
