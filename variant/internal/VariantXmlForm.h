// Internal: the XML form of a variant, written once for the whole library.  The variant's Write
// and Trace and the XML serialiser's writers all emit elements through AppendElementW /
// AppendElementUtf8, and every attribute value passes the one escaper, AppendAttValueEscaped.
// The reader helpers give the serialiser what it needs of a variant's private parts without a
// registry lookup or a copy per element.
#ifndef ORVIK_VARIANT_INTERNAL_VARIANTXMLFORM_H
#define ORVIK_VARIANT_INTERNAL_VARIANTXMLFORM_H

#include <string>

#include "variant/CKrVariant.h"
#include "variant/internal/VariantTree.h"

namespace orvik::detail {

// The escaping rule of attribute values, applied to `length` units of `text` and appended:
//   "<" -> "&#x003C;", '"' -> "&#x0022;", CR -> "&#x000d;", LF -> "&#x000a;",
//   "&" followed by a unit other than "#" -> "&#x0026;" ("&#..." and a final "&" pass as they
//   are, so that character references written by callers survive),
//   tab and every unit from 32 up unchanged,
//   any other unit c below 32 -> the pair U+DB80, U+DC00 + c (the private-use character
//   U+F0000 + c), which the XML parser delivers intact where it would refuse c itself.
void AppendAttValueEscaped(std::wstring &out, wchar_t const *text, size_t length);

// The reverse of the escaper on text that an XML parser has already delivered: pairs U+DB80,
// U+DC00 + c (c below 32, except tab, LF and CR) become c; then, when the text holds "&", the
// literal references "&#x003C;", "&#x0022;", "&#x000d;", "&#x000a;" and last "&#x0026;" become
// their characters, in that order.
void RevalidateAttValue(std::wstring &text);
// The same on `n` units in place; returns the new length (never more than `n`).
size_t RevalidateAttValue(wchar_t *text, size_t n);
// The same, one pass per reference as the rule above reads; a fuzz target compares the two.
void RevalidateAttValueRef(std::wstring &text);

// Appends the element of `v` with its whole subtree: a leaf as <name runtype="t" value="v"/>, a
// list as <name runtype="t"> children </name>.  Names and run-type names are written as they
// are; values go through the escaper, except byte arrays (Base64 needs none).  With `indent`
// every element starts a line of its own, indented by two spaces per level below the root
// element, and ends with "\r\n" (the Trace layout).  Walks with an explicit stack.
void AppendElementW(std::wstring &out, CKrVariant const &v, bool indent);
// The same element in UTF-8.  Doubles are written with "%.15g" (at most 15 significant digits)
// where the wide form uses the variant's "%.15f"; callers rely on the shorter form in files.
// A surrogate pair becomes one four-byte sequence; a surrogate without its partner cannot be
// carried by UTF-8 and is written as U+FFFD.
void AppendElementUtf8(std::string &out, CKrVariant const &v);
// The plain reference form of AppendElementUtf8 (the generic element walk over a UTF-8 sink):
// same output, kept so that a fuzz target can compare the two.
void AppendElementUtf8Ref(std::string &out, CKrVariant const &v);

// ---- reader support --------------------------------------------------------------------------
// Replaces the value of `v` by an empty value of `sample`'s run type (a record brings copies of
// its members); a null sample makes `v` Null.  Ignores the type-change permission: the reader
// builds nodes that nobody else has seen yet.
void ResetToSample(CKrVariant &v, CKrVariant const *sample);
// Appends to `list` (which must hold a list) a new child named `name` (validated like every
// constructor's name) holding an empty value of `sample`'s run type (null: Null); returns it.
// A record keeps its run type: the reader fills fixed members, it never adds new ones.
CKrVariant &AppendChild(CKrVariant &list, wchar_t const *name, CKrVariant const *sample);
// A free-standing node made the same way; the caller owns it.
CKrVariant *NewNode(wchar_t const *name, CKrVariant const *sample);
// The holder's text reading (SetString) of `text`; does nothing for a Null variant.
void SetValueText(CKrVariant &v, wchar_t const *text);
// True when `v` holds a "CKrStringW" value.
bool HoldsStringW(CKrVariant const &v);
// True when `v` holds a list whose run type is the plain list type.
inline bool IsPlainList(CKrVariant const &v) {
    CKrVariantDataCKrListVariant const *list = CKrVariantAccess::ListOf(v);
    return list && list->IsPlainList();
}
// With the list lock held by the caller (so that a reader takes it once per element):
// SearchFixedOneLevel for a list `v` (first child of exactly that name, null children skipped;
// null when none or `v` is no list, without a report), for a zero-terminated name of UTF-16
// units (as the XML parser hands names over), compared unit by unit without widening it first.
// With `hint` not negative, the caller knows that no two children of `v` share a name: the
// child at *hint is tried first, and *hint is set past the child found.
CKrVariant *FindChildLocked(CKrVariant const &v, char16_t const *name, kr_int32 *hint);
// GetCount, with the list lock held by the caller.
inline int CountLocked(CKrVariant const &v) {
    CKrVariantDataCKrListVariant *list = CKrVariantAccess::ListOf(v);
    return list ? static_cast<int>(CKrVariantAccess::ItemsOf(list->GetList()).size()) : -1;
}
// True when no list in the tree of `v` has two children of one name.
bool NamesDistinct(CKrVariant const &v);

}  // namespace orvik::detail

#endif
