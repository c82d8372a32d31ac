// Diagnostics of the library while the `orvik` module calls it.
//
// The library reports misuse and broken input through the platform layer (one line on standard
// error by default).  Inside a module call those reports are collected instead, so that a
// failing call can put them into the Python exception, and a call that succeeds anyway can
// hand them to Python's warnings machinery rather than to the terminal.
#ifndef ORVIK_PYTHON_PYDIAG_H
#define ORVIK_PYTHON_PYDIAG_H

#include <string>
#include <vector>

#include "platform/KrPlatform.h"

namespace orvik::py {

// Collects every report made while it lives.  Captures nest (the innermost one collects); the
// handler that was installed before the outermost capture is restored when it ends.  Used only
// with the interpreter lock held, which serialises the module's calls.
class DiagCapture {
public:
    DiagCapture();
    ~DiagCapture();
    DiagCapture(DiagCapture const &) = delete;
    DiagCapture &operator=(DiagCapture const &) = delete;

    // The messages in the order they were reported.
    std::vector<std::wstring> const &Messages() const { return m_messages; }
    // The messages joined by "; ", empty when there were none.
    std::string Joined() const;

private:
    static void Handle(void *user, int kind, wchar_t const *condition, wchar_t const *message,
                       wchar_t const *source, int line);

    DiagCapture *m_outer;
    KrDiagHandler m_previous = nullptr;
    std::vector<std::wstring> m_messages;
};

// UTF-8 of UTF-16 units held one per wchar_t (lone surrogates become U+FFFD).
std::string Utf8(std::wstring const &units);

}  // namespace orvik::py

#endif
