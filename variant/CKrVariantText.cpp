#include <cstdarg>

#include "platform/KrPlatform.h"
#include "variant/internal/VariantText.h"

void krVariantAppendFormat(std::wstring &out, wchar_t const *format, ...) {
    va_list args;
    va_start(args, format);
    wchar_t const *text = nullptr;
    int n = KR_FormatScratchW(&text, format, args);
    va_end(args);
    if (n > 0 && text) out.append(text, static_cast<size_t>(n));
}
