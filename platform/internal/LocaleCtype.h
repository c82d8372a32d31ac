// The one test of the platform layer for "the default C locale", shared by the locale shims and
// the formatter so that both copy bytes and units one for one in exactly the same situations.
#ifndef ORVIK_PLATFORM_INTERNAL_LOCALECTYPE_H
#define ORVIK_PLATFORM_INTERNAL_LOCALECTYPE_H

namespace orvik::detail {

// True when the calling thread's LC_CTYPE is the plain "C"/"POSIX" locale (codeset
// ANSI_X3.4-1968): text then converts byte for unit, 0x00..0xFF.
bool isClassicCtype();

}  // namespace orvik::detail

#endif
