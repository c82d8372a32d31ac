// Internal: text helpers of the variant (number formatting through the platform's Windows-style
// printf, attribute-value escaping of the XML form).
#ifndef ORVIK_VARIANT_CKRVARIANTTEXT_H
#define ORVIK_VARIANT_CKRVARIANTTEXT_H

#include <string>

// Appends the printf-style text to `out` (Windows wide conventions, see KR_vswprintf).
void krVariantAppendFormat(std::wstring &out, wchar_t const *format, ...);
// Appends `value` escaped as XML attribute text: "<" "&#x003C;", '"' "&#x0022;", CR "&#x000d;",
// LF "&#x000a;", "&" not followed by "#" "&#x0026;", other control characters below 32 except
// tab as the pair U+DB80, U+DC00 + c.
void krVariantAppendEscaped(std::wstring &out, std::wstring const &value);

#endif
