// Input and output of the tool: reading a file or standard input, recognising its form, and
// turning the variant forms into a variant tree.  Failures are thrown as ToolError with the exit
// code the command ends with.
#ifndef ORVIK_TOOLS_TOOLINPUT_H
#define ORVIK_TOOLS_TOOLINPUT_H

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "strings/CKrStringW.h"
#include "tools/ToolLvLayout.h"
#include "variant/CKrVariant.h"
#include "variant/KrDataFormat.h"

namespace orvik::tool {

// Exit codes of every command.
enum ExitCode : int {
    kExitOk = 0,
    kExitNotFound = 1,
    kExitMalformed = 2,
    kExitUsage = 3,
    kExitIo = 4,
};

struct ToolError : std::runtime_error {
    ToolError(int code, std::string const &message) : std::runtime_error(message), code(code) {}
    int code;
};

struct Input {
    std::string path;  // as given ("-" for standard input)
    std::vector<unsigned char> bytes;
    SKrDataFormat format;
    // Lite variants: the decoded layout (items with their offsets).
    std::unique_ptr<LvLayout> layout;
};

// Reads the whole file (or standard input for "-") and recognises its form; `from` (a name of
// KrDataFormat::FromName, or empty) overrides the recognition.  Throws kExitIo when the input
// cannot be read, kExitUsage for an unknown `from`.
Input readInput(std::string const &path, std::string const &from);

// The text of a text form as UTF-16 units; throws kExitMalformed at a bad byte.
CKrStringW inputText(Input const &in);

// The variant tree of a variant form (lite variant plain or compressed, XML or JSON form).
// A lite variant holding exactly one top-level item gives that item; any other buffer gives a
// plain list with an empty name holding the top-level items (and an unnamed plain level alone at
// the top is wrapped the same way, so that writing the tree back gives the same buffer).
// Throws kExitMalformed (message with the offset) for a damaged input or a form that is not a
// variant form.
CKrVariant loadVariant(Input &in);

// The lite variant layout of the input, decoded once.
LvLayout const &layoutOf(Input &in);

// Writes bytes to the file (or standard output for "-"); throws kExitIo on failure.
void writeOutput(std::string const &path, std::string const &bytes);

// The last diagnostic the library reported (the tool keeps them instead of printing them).
std::string &lastDiagnostic();

// "FILE" or "standard input", for messages.
std::string displayName(std::string const &path);

}  // namespace orvik::tool

#endif
