// The lite variant's text and file forms: the plain file ("LV00"), the compressed envelope as
// a file ("LV0Z"), the XML form through CKrVariant, the Trace dump.
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"
#include "strings/CKrAlloc.h"
#include "variant/internal/LvReader.h"

using namespace orvik::detail;

namespace {

// Condition text of the unconditional "not supported" report (fixed: callers filter on it).
constexpr wchar_t kConditionUnsupported[] = L"true";
constexpr wchar_t kTopListName[] =
    L"LiteVariant";  // the XML root of a buffer without one top level
constexpr unsigned char kUtf8Bom[3] = {0xEF, 0xBB, 0xBF};

// Whole-file helpers: 0 or the results documented at SaveToFile / LoadFromFile.
class File {
public:
    File(wchar_t const *path, int mode) : m_handle(path ? KR_OpenFile(path, mode) : -1) {}
    ~File() {
        if (m_handle >= 0) KR_CloseFile(m_handle);
    }
    File(File const &) = delete;
    File &operator=(File const &) = delete;
    bool IsOpen() const { return m_handle >= 0; }
    kr_int64 Size() const { return KR_GetFileSize(m_handle); }
    bool Read(void *p, kr_uint64 n) { return KR_ReadFile(m_handle, p, kr_int64(n)) == kr_int64(n); }
    bool Write(void const *p, kr_uint64 n) {
        return n == 0 || KR_WriteFile(m_handle, p, kr_int64(n)) == kr_int64(n);
    }

private:
    int m_handle;
};

// Reads `size` bytes of the open file into a new CKrAlloc block.
int readBlock(File &file, kr_uint64 size, void *&block) {
    block = nullptr;
    if (size == 0) return 0;
    if (size > kLvMaxBufferSize) return -3;
    block = CKrAlloc::Alloc(CKrAlloc::kZeroFill, size_t(size), 16);
    if (!block) return -3;
    if (!file.Read(block, size)) {
        CKrAlloc::Free(block);
        block = nullptr;
        return -8;
    }
    return 0;
}

}  // namespace

int CKrLiteVariantR::SaveToFile(wchar_t const *path) {
    if (!path) return -4;
    File file(path, KR_FILE_WRITE);
    if (!file.IsOpen()) return -4;
    bool const envelope = m_size > 4 && std::memcmp(m_pData, kLvEnvelopeMark, 4) == 0;
    if (envelope) return file.Write(m_pData, m_size) ? 0 : -9;
    kr_uint8 head[kLvEnvelopeHeadBytes];
    std::memcpy(head, kLvPlainFileMark, 4);
    std::memcpy(head + 4, &m_size, 8);
    return file.Write(head, sizeof head) && file.Write(m_pData, m_size) ? 0 : -9;
}

int CKrLiteVariantR::LoadFromFile(wchar_t const *path) {
    if (!path) return -4;
    File file(path, KR_FILE_READ);
    if (!file.IsOpen()) return -4;
    kr_int64 const fileSize = file.Size();
    if (fileSize < 0) return -4;
    if (fileSize < 4) return fileSize == 0 ? -9 : -8;
    char mark[4];
    if (!file.Read(mark, 4)) return -8;
    CKrLiteVariantR loaded;
    void *block = nullptr;
    int r;
    if (std::memcmp(mark, kLvPlainFileMark, 4) == 0) {
        kr_uint8 sizeField[8];
        if (fileSize < kr_int64(kLvEnvelopeHeadBytes) || !file.Read(sizeField, 8)) return -8;
        kr_uint64 const declared = lvLoad64(sizeField);
        kr_uint64 const available = kr_uint64(fileSize) - kLvEnvelopeHeadBytes;
        if (declared > available) return -8;
        if (declared < available) return -9;  // trailing bytes: not a file this library wrote
        r = readBlock(file, declared, block);
        if (r != 0) return r;
        loaded.SetPointer(block, declared, declared);
    } else if (std::memcmp(mark, kLvEnvelopeMark, 4) == 0) {
        // The whole file is the envelope; Validate inflates it (refusing lying sizes).
        if (kr_uint64(fileSize) > kLvMaxBufferSize) return -3;
        block = CKrAlloc::Alloc(CKrAlloc::kZeroFill, size_t(fileSize), 16);
        if (!block) return -3;
        std::memcpy(block, mark, 4);
        if (!file.Read(static_cast<char *>(block) + 4, kr_uint64(fileSize) - 4)) {
            CKrAlloc::Free(block);
            return -8;
        }
        loaded.SetPointer(block, kr_uint64(fileSize), kr_uint64(fileSize));
    } else {
        return -9;
    }
    r = loaded.Validate(nullptr);
    if (r != 0) return r;
    *this = std::move(loaded);
    return 0;
}

// ---- XML form ------------------------------------------------------------------------------

int CKrLiteVariantR::LiteVariantToXML(CKrStringW &out) {
    if (!plain()) return -9;
    LvItem first;
    CKrVariant root;
    if (lvParseItem(m_pData, m_size, 0, first) && first.type == krLVT_LEVEL &&
        first.end == m_size) {
        if (!lvItemToVariant(m_pData, first, root)) return -9;
    } else {
        CKrVariant list{CKrListVariant(), CKrStringW(kTopListName)};
        for (kr_uint64 pos = 0; pos < m_size;) {
            LvItem item;
            CKrVariant value;
            if (!lvParseItem(m_pData, m_size, pos, item) || !lvItemToVariant(m_pData, item, value))
                return -9;
            list.Append(std::move(value));
            pos = item.end;
        }
        lvTakeVariant(root, list);
    }
    return root.Write(out);
}

int CKrLiteVariantR::LiteVariantFromXML(CKrStringW const &text) {
    CKrVariant root;
    int const r = root.Read(text);
    if (r != 0) return r;
    CKrLiteVariantW w;
    int const written = w.Set(root, root.GetName().GetString());
    if (written != 0) return written;
    CKrLiteVariantR result;
    if (!w.Finalize(result, 0)) return -9;
    *this = std::move(result);
    return 0;
}

int CKrLiteVariantR::SaveToXMLFile(wchar_t const *path) {
    if (!path) return -4;
    CKrStringW text;
    int const r = LiteVariantToXML(text);
    if (r != 0) return r;
    std::string utf8;
    try {
        utf8 = text.ToStdStringUtf8();
    } catch (std::exception const &) {
        return -9;  // a lone surrogate in a name or value
    }
    File file(path, KR_FILE_WRITE);
    if (!file.IsOpen()) return -4;
    return file.Write(kUtf8Bom, 3) && file.Write(utf8.data(), utf8.size()) ? 0 : -9;
}

int CKrLiteVariantR::LoadFromXMLFile(wchar_t const *path) {
    if (!path) return -4;
    File file(path, KR_FILE_READ);
    if (!file.IsOpen()) return -4;
    kr_int64 const size = file.Size();
    if (size < 0) return -4;
    if (kr_uint64(size) > kLvMaxBufferSize) return -3;
    std::string bytes(size_t(size), '\0');
    if (size && !file.Read(bytes.data(), kr_uint64(size))) return -8;
    if (bytes.size() >= 3 && std::memcmp(bytes.data(), kUtf8Bom, 3) == 0) bytes.erase(0, 3);
    CKrStringW text;
    try {
        text = CKrStringW::FromStdStringUtf8(bytes);
    } catch (std::exception const &) {
        return -9;  // not UTF-8
    }
    return LiteVariantFromXML(text);
}

// ---- Trace -----------------------------------------------------------------------------------

int CKrLiteVariantR::Trace(CKrStringW &out) {
    out.Empty();
    if (!plain()) return -9;
    std::wstring text;
    struct Range {
        kr_uint64 pos, end;
    };
    std::vector<Range> stack{{0, m_size}};
    while (!stack.empty()) {
        Range &r = stack.back();
        if (r.pos == r.end) {
            stack.pop_back();
            continue;
        }
        std::wstring const indent(2 * (stack.size() - 1), L' ');
        LvItem item;
        if (!lvParseItem(m_pData, r.end, r.pos, item)) {
            text += indent + L"damaged item at offset " + std::to_wstring(r.pos) + L"\r\n";
            out = CKrStringW(std::move(text));
            return -9;
        }
        r.pos = item.end;
        text += indent + lvName(m_pData, item) + L" (" + std::to_wstring(item.type) + L")";
        if (item.type == krLVT_LEVEL) {
            text += L" [" + std::to_wstring(item.count) + L"]\r\n";
            stack.push_back({item.valueOffset, item.valueOffset + item.valueBytes});
            continue;
        }
        if (item.type == krLVT_BLOB) {
            text += L" <" + std::to_wstring(item.valueBytes) + L" bytes>\r\n";
            continue;
        }
        CKrVariant value;
        lvScalarToVariant(m_pData, item, value);
        text += L" = " + value.GetCKrStringW().GetStdString() + L"\r\n";
    }
    out = CKrStringW(std::move(text));
    return 0;
}

void CKrLiteVariantR::Trace() {
    CKrStringW text;
    Trace(text);
    DiagOutputExW(KR_LITEVARIANT_SOURCE, __LINE__, L"%s", text.GetString());
}

int CKrLiteVariantR::ConvertLV31toLV32() {
    KR_REPORTW(kConditionUnsupported, KR_LITEVARIANT_SOURCE,
               L"Error: CKrLiteVariantR::ConvertLV31toLV32(), not supported!");
    return -2;
}
