// Internal: reading the value text of the numeric holders (SetString).  The C-library readings
// (swscanf with "%d", "%u", "%lld", "%llu", and atof of the text narrowed to 8 bits) are the
// rule; the fast readers answer the plain decimal texts the XML form writes, and defer to the
// rule for everything else, so their result is the rule's for every text.
#ifndef ORVIK_VARIANT_INTERNAL_VARIANTVALUESCAN_H
#define ORVIK_VARIANT_INTERNAL_VARIANTVALUESCAN_H

namespace orvik::detail {

// The rule.  The Scan* readers return true and store the value when the text scans, else
// return false and leave `value` untouched; a null text never scans.  ReadDoubleRef is atof of
// the text with every unit above 255 narrowed to "?" (null reads as 0.0).
bool ScanInt32Ref(wchar_t const *text, int &value);
bool ScanUInt32Ref(wchar_t const *text, unsigned int &value);
bool ScanInt64Ref(wchar_t const *text, long long &value);
bool ScanUInt64Ref(wchar_t const *text, unsigned long long &value);
double ReadDoubleRef(wchar_t const *text);

// The same results, fast for texts that are only an optional "-" (signed types) and decimal
// digits that cannot overflow, or (doubles) an optional "-", digits with an optional fraction
// and exponent, in a locale whose decimal point is ".".
bool ScanInt32(wchar_t const *text, int &value);
bool ScanUInt32(wchar_t const *text, unsigned int &value);
bool ScanInt64(wchar_t const *text, long long &value);
bool ScanUInt64(wchar_t const *text, unsigned long long &value);
double ReadDouble(wchar_t const *text);

}  // namespace orvik::detail

#endif
