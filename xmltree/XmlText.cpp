// Escaping and the special characters of path names.
#include "xmltree/internal/XmlText.h"

#include <cwchar>

namespace orvik::detail {

void AppendEscaped(std::wstring &out, wchar_t const *text, size_t length) {
    ForEachEscapedPiece(text, length,
                        [&out](wchar_t const *piece, size_t n) { out.append(piece, n); });
}

bool IsSpecialPathChar(wchar_t c) {
    static wchar_t const kSpecial[] = L"\"()'%{}*+<>!@&#~,:;\u00DF|[]=^$";
    return c != 0 && std::wcschr(kSpecial, c) != nullptr;
}

}  // namespace orvik::detail
