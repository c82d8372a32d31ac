// Text helpers shared by the commands of the tool: how values are shown to people.
#ifndef ORVIK_TOOLS_TOOLTEXT_H
#define ORVIK_TOOLS_TOOLTEXT_H

#include <string>
#include <string_view>

#include "strings/CKrStringW.h"

namespace orvik::tool {

// UTF-8 of UTF-16 units (a lone surrogate becomes U+FFFD).
std::string utf8(std::wstring_view text);
inline std::string utf8(std::wstring const &text) { return utf8(std::wstring_view(text)); }
inline std::string utf8(CKrStringW const &text) {
    return utf8(std::wstring_view(text.GetStdString()));
}

// A text in double quotes with \" \\ and control characters escaped as in JSON; cut after
// `maxUnits` units with "..." appended (0: never cut).
std::string quoted(std::wstring_view text, size_t maxUnits = 0);

// The shortest decimal text that reads back as the same double ("nan", "inf", "-inf" for the
// non-numbers).
std::string shortestDouble(double value);

// Up to `maxBytes` bytes (0: all) as two-digit lower-case hex separated by blanks, with " ..."
// when some were left out.
std::string hexBytes(unsigned char const *data, size_t size, size_t maxBytes);

// Two blanks per level; beyond 64 levels the indentation stops growing and "(depth N) " is
// written instead, so that a hostile deeply nested input cannot blow the output up by the
// square of its depth.
std::string indentFor(int depth);

}  // namespace orvik::tool

#endif
