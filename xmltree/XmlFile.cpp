// CKrXMLTree file reading and writing: byte-order marks, the header's encoding, conversion.
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"
#include "xmltree/CKrXMLTree.h"
#include "xmltree/internal/XmlText.h"

using orvik::detail::kXmlTreeSource;

namespace {

// Closes a platform file handle on every path out.
class FileGuard {
public:
    explicit FileGuard(int handle) : m_handle(handle) {}
    ~FileGuard() {
        if (m_handle >= 0) KR_CloseFile(m_handle);
    }
    FileGuard(FileGuard const &) = delete;
    FileGuard &operator=(FileGuard const &) = delete;

private:
    int m_handle;
};

template <typename T>
size_t Find(T const *data, size_t size, char const *pattern, size_t from = 0) {
    size_t n = 0;
    while (pattern[n]) ++n;
    for (size_t i = from; i + n <= size; ++i) {
        size_t k = 0;
        while (k < n && data[i + k] == static_cast<T>(static_cast<unsigned char>(pattern[k]))) ++k;
        if (k == n) return i;
    }
    return static_cast<size_t>(-1);
}

// Locates the encoding declaration of the header: `first` is the "e" of "encoding=", `close`
// the quote that ends its value.  The header counts only when its "?>" comes before the first
// line break (CR, or LF when there is no CR at all), so a file without any line break never
// has its encoding read; files rely on that.  The value may be closed by either quote.
template <typename T>
bool FindEncoding(T const *data, size_t size, size_t &first, size_t &close) {
    constexpr size_t npos = static_cast<size_t>(-1);
    size_t end = Find(data, size, "?>");
    size_t lineBreak = Find(data, size, "\r");
    if (lineBreak == npos) lineBreak = Find(data, size, "\n");
    if (end == npos || lineBreak == npos || end > lineBreak) return false;
    size_t at = Find(data, size, "encoding=");
    if (at == npos || at > end) return false;
    size_t quote = at + 9;
    if (quote >= size || (data[quote] != T('"') && data[quote] != T('\''))) return false;
    size_t q = quote + 1;
    while (q < size && data[q] != T('"') && data[q] != T('\'')) ++q;
    if (q >= size || q > end || q == quote + 1) return false;  // an empty name is malformed too
    first = at;
    close = q;
    return true;
}

bool StartsWithMark(unsigned char const *b, size_t size) {
    if (size >= 2 && ((b[0] == 0xFF && b[1] == 0xFE) || (b[0] == 0xFE && b[1] == 0xFF)))
        return true;
    if (size >= 3 && ((b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) ||
                      (b[0] == '+' && b[1] == '/' && b[2] == 'v')))
        return true;
    return size >= 4 && b[0] == 0 && b[1] == 0 && b[2] == 0xFE && b[3] == 0xFF;
}

unsigned int CodePageOf(std::string const &name) {
    if (KR_stricmp(name.c_str(), "Windows-1250") == 0) return 1250;
    if (KR_stricmp(name.c_str(), "CP852") == 0) return 852;
    if (KR_stricmp(name.c_str(), "US-ASCII") == 0) return 20127;
    if (KR_stricmp(name.c_str(), "UTF-8") == 0) return 65001;
    return 0;
}

}  // namespace

int CKrXMLTree::LoadFromFile(CKrStringW path, bool dropWhitespace) {
    m_dropWhitespace = dropWhitespace;
    int handle = KR_OpenFile(path.GetString(), KR_FILE_READ);
    if (handle < 0) return handle;
    FileGuard guard(handle);
    kr_int64 size = KR_GetFileSize(handle);
    if (size < 0) return static_cast<int>(size);
    if (size > 0xFFFFFFFFll) return -3;
    std::unique_ptr<char, decltype(&std::free)> buffer(
        static_cast<char *>(std::malloc(static_cast<size_t>(size) + 1)), &std::free);
    if (!buffer) return -3;
    kr_int64 got = KR_ReadFile(handle, buffer.get(), size);
    if (got < 0) return static_cast<int>(got);
    size_t length = static_cast<size_t>(got);
    buffer.get()[length] = 0;

    auto const *bytes = reinterpret_cast<unsigned char const *>(buffer.get());
    size_t first = 0, close = 0;
    if (StartsWithMark(bytes, length) || !FindEncoding(bytes, length, first, close))
        return SetValue(buffer.get(), length, dropWhitespace);

    std::string name(buffer.get() + first + 10, close - first - 10);
    unsigned int codePage = CodePageOf(name);
    if (codePage == 0) {
        std::wstring wide(name.begin(), name.end());  // byte for unit, as the name was written
        for (wchar_t &c : wide) c &= 0xFF;
        DiagOutputExW(
            kXmlTreeSource, __LINE__,
            L"ERROR: CKrXMLTree::ConvertBuffer2UTF16 - file encoding %s is not implemented",
            wide.c_str());
        return -2;
    }
    std::vector<uint16_t> converted;
    try {
        converted.reserve(length + 1);
        converted.push_back(0xFEFF);
        orvik::detail::CodePageToUtf16(codePage, bytes, length, converted);
    } catch (std::bad_alloc const &) {
        return -3;
    }
    buffer.reset();
    if (converted.size() <= 1) {
        DiagOutputExW(
            kXmlTreeSource, __LINE__,
            L"ERROR: CKrXMLTree::ConvertBuffer2UTF16 - conversion from code page %u gave no text",
            codePage);
        return -9;
    }
    // expat must not meet a declaration that contradicts the UTF-16 it is given.
    if (FindEncoding(converted.data(), converted.size(), first, close))
        for (size_t i = first; i <= close; ++i) converted[i] = L' ';
    return SetValue(reinterpret_cast<char *>(converted.data()), converted.size() * 2,
                    dropWhitespace);
}

int CKrXMLTree::SaveToFile(CKrStringW path, bool indent, bool utf8) {
    int handle = KR_OpenFile(path.GetString(), KR_FILE_WRITE);
    if (handle < 0) return handle;
    FileGuard guard(handle);

    CKrStringW text;
    bool header = m_useXMLHeader;
    if (utf8) m_useXMLHeader = false;
    int rc = GetValue(text, indent, m_prettyXML);
    m_useXMLHeader = header;
    if (rc != 0) return rc;

    auto write = [handle](void const *data, size_t size) -> int {
        kr_int64 written = KR_WriteFile(handle, data, static_cast<kr_int64>(size));
        if (written < 0) return static_cast<int>(written);
        return static_cast<size_t>(written) == size ? 0 : -3;
    };
    std::wstring const &s = text.GetStdString();
    try {
        if (utf8) {
            std::string bytes;
            if (header) bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";
            orvik::detail::Utf16ToUtf8(s.data(), s.size(), bytes);
            rc = write("\xEF\xBB\xBF", 3);
            if (rc == 0) rc = write(bytes.data(), bytes.size());
            return rc;
        }
        std::vector<uint16_t> units;
        units.reserve(s.size() + 1);
        units.push_back(0xFEFF);
        for (wchar_t c : s) units.push_back(static_cast<uint16_t>(c));
        return write(units.data(), units.size() * 2);
    } catch (std::bad_alloc const &) {
        return -3;
    }
}
