// Diagnostics: assertion reports and running messages, with a process-wide capture handler.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "platform/KrPlatform.h"
#include "platform/internal/KrUnicode.h"

namespace {

struct HandlerSlot {
    KrDiagHandler handler = nullptr;
    void *user = nullptr;
};

std::mutex g_handlerLock;
HandlerSlot g_slot;

enum class DiagMode { Normal, Quiet, Abort };

DiagMode diagMode() {
    // Read once: the environment is fixed for the life of a test or an application.
    static const DiagMode mode = [] {
        const char *v = std::getenv("ORVIK_DIAG");
        if (v && std::strcmp(v, "quiet") == 0) return DiagMode::Quiet;
        if (v && std::strcmp(v, "abort") == 0) return DiagMode::Abort;
        return DiagMode::Normal;
    }();
    return mode;
}

std::wstring formatMessage(const wchar_t *format, va_list args) {
    if (!format) return std::wstring();
    const wchar_t *text = nullptr;
    int n = KR_FormatScratchW(&text, format, args);
    if (n < 0) return std::wstring(format);  // keep the raw format rather than lose the report
    std::wstring message(text, static_cast<size_t>(n));
    KR_FormatScratchTrim();  // a long message leaves no scratch behind
    return message;
}

void writeDefault(int kind, const wchar_t *condition, const std::wstring &message,
                  const wchar_t *source, int line) {
    std::string out = "orvik: ";
    out += orvik::platform::utf16ToUtf8(source ? source : L"");
    out += '(';
    out += std::to_string(line);
    out += "): ";
    out += orvik::platform::utf16ToUtf8(message.c_str());
    if (kind == 0) {
        out += " [";
        out += orvik::platform::utf16ToUtf8(condition ? condition : L"");
        out += "]";
    }
    out += "\n";
    std::fwrite(out.data(), 1, out.size(), stderr);
}

void dispatch(int kind, const wchar_t *condition, const wchar_t *source, int line,
              const wchar_t *format, va_list args) {
    std::wstring message = formatMessage(format, args);
    HandlerSlot slot;
    {
        std::lock_guard<std::mutex> guard(g_handlerLock);
        slot = g_slot;
    }
    const wchar_t *cond = (kind == 0 && condition) ? condition : L"";
    if (slot.handler) {
        slot.handler(slot.user, kind, cond, message.c_str(), source ? source : L"", line);
    } else if (diagMode() != DiagMode::Quiet) {
        writeDefault(kind, cond, message, source, line);
    }
    if (kind == 0 && diagMode() == DiagMode::Abort) std::abort();
}

}  // namespace

extern "C" {

KrDiagHandler KR_SetDiagHandler(KrDiagHandler handler, void *user) {
    std::lock_guard<std::mutex> guard(g_handlerLock);
    KrDiagHandler previous = g_slot.handler;
    g_slot.handler = handler;
    g_slot.user = handler ? user : nullptr;
    return previous;
}

void DiagAssertW(const wchar_t *condition, const wchar_t *source, int line, const wchar_t *format,
                 ...) {
    va_list args;
    va_start(args, format);
    dispatch(0, condition, source, line, format, args);
    va_end(args);
}

void DiagOutputExW(const wchar_t *source, int line, const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    dispatch(1, nullptr, source, line, format, args);
    va_end(args);
}

}  // extern "C"
