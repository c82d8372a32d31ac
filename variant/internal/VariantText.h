// Internal: text helpers of the variant (number formatting through the platform's Windows-style
// printf).  The XML form is written by internal/VariantXmlForm.h.
#ifndef ORVIK_VARIANT_CKRVARIANTTEXT_H
#define ORVIK_VARIANT_CKRVARIANTTEXT_H

#include <string>

// Appends the printf-style text to `out` (Windows wide conventions, see KR_vswprintf).
void krVariantAppendFormat(std::wstring &out, wchar_t const *format, ...);

#endif
