// Escaping and the special characters of path names.
#include <cwchar>

#include "xmltree/XmlInternal.h"

namespace orvik_xml {

void AppendEscaped(std::wstring &out, wchar_t const *text, size_t length) {
    size_t start = 0;  // first unit not yet copied
    for (size_t i = 0; i < length; ++i) {
        wchar_t const c = text[i];
        if (c > L'>') continue;  // most characters: no test below can match
        wchar_t const *entity;
        size_t n;
        switch (c) {
            case L'"': entity = L"&quot;"; n = 6; break;
            case L'<': entity = L"&lt;"; n = 4; break;
            case L'>': entity = L"&gt;"; n = 4; break;
            case L'&': entity = L"&amp;"; n = 5; break;
            default: continue;
        }
        out.append(text + start, i - start);  // the unescaped run in one piece
        out.append(entity, n);
        start = i + 1;
    }
    out.append(text + start, length - start);
}

bool IsSpecialPathChar(wchar_t c) {
    static wchar_t const kSpecial[] = L"\"()'%{}*+<>!@&#~,:;\u00DF|[]=^$";
    return c != 0 && std::wcschr(kSpecial, c) != nullptr;
}

}  // namespace orvik_xml
