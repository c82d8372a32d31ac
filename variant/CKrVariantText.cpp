#include "variant/CKrVariantText.h"

#include <cstdarg>

#include "platform/KrPlatform.h"

void krVariantAppendFormat(std::wstring &out, wchar_t const *format, ...) {
    va_list args;
    va_start(args, format);
    wchar_t const *text = nullptr;
    int n = KR_FormatScratchW(&text, format, args);
    va_end(args);
    if (n > 0 && text) out.append(text, static_cast<size_t>(n));
}

void krVariantAppendEscaped(std::wstring &out, std::wstring const &value) {
    size_t const n = value.size();
    wchar_t const *p = value.data();
    size_t run = 0;  // start of the pending run of characters that need no escape
    for (size_t i = 0; i < n; ++i) {
        wchar_t c = p[i];
        bool plain = c >= 32 ? (c != L'<' && c != L'"' && c != L'&') : c == L'\t';
        if (c == L'&' && !(i + 1 < n && p[i + 1] != L'#')) plain = true;  // "&#..." and a final "&"
        if (plain) continue;
        out.append(p + run, i - run);
        run = i + 1;
        switch (c) {
            case L'<':
                out += L"&#x003C;";
                break;
            case L'"':
                out += L"&#x0022;";
                break;
            case L'\r':
                out += L"&#x000d;";
                break;
            case L'\n':
                out += L"&#x000a;";
                break;
            case L'&':
                out += L"&#x0026;";
                break;
            default:
                // Control characters survive the XML parser as a private-use supplementary
                // character: U+F0000 + c.
                out += static_cast<wchar_t>(0xDB80);
                out += static_cast<wchar_t>(0xDC00 + c);
        }
    }
    out.append(p + run, n - run);
}
