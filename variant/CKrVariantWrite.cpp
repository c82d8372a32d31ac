// CKrVariant: the XML text form (Write, Trace) and the hook through which the XML serialiser
// provides Read.
#include <atomic>
#include <string>

#include "platform/KrPlatform.h"
#include "variant/CKrVariant.h"
#include "variant/internal/VariantTree.h"
#include "variant/internal/VariantXmlForm.h"

namespace {

constexpr wchar_t kRootStart[] = L"<variant version=\"1.0\">";

std::atomic<CKrVariant::XmlReader> s_xmlReader{nullptr};

}  // namespace

// The element of `v` after what `out` holds, then the root's end tag.  `indent` selects the
// Trace layout over the compact Write form; both come from the one element writer.
void CKrVariant::TraceLow(CKrStringW &out, CKrVariant const &v, bool indent) {
    // Built in one standard string and handed over once: large trees give texts of many
    // megabytes, and every extra copy or regrowth of those costs more than the walk itself.
    std::wstring text;
    text.reserve(out.GetLength() + 4096);
    text = out.GetStdString();
    orvik::detail::AppendElementW(text, v, indent);
    text += indent ? L"</variant>\r\n" : L"</variant>";
    out = std::move(text);
}

void CKrVariant::Trace(CKrStringW &out, CKrVariant const &v) {
    out = std::wstring(kRootStart) + L"\r\n";
    TraceLow(out, v, true);  // closes the root element too
}

void CKrVariant::Trace(CKrVariant const &v) {
    CKrStringW text;
    Trace(text, v);
    DiagOutputExW(KR_VARIANT_SOURCE, __LINE__, L"%s", text.GetString());
}

int CKrVariant::Write(CKrStringW &out) const {
    out = kRootStart;
    TraceLow(out, *this, false);  // closes the root element too
    return 0;
}

int CKrVariant::Read(wchar_t const *text) {
    XmlReader reader = s_xmlReader.load();
    if (reader == nullptr) {
        KR_REPORTW(L"s_xmlReader == nullptr", KR_VARIANT_SOURCE,
                   L"Error: CKrVariant::Read(), reading the XML form is not supported!");
        return -2;
    }
    if (!text) text = L"";
    return reader(*this, text, std::char_traits<wchar_t>::length(text));
}

int CKrVariant::Read(CKrStringW const &text) { return Read(text.GetString()); }

CKrVariant::XmlReader CKrVariant::SetXmlReader(XmlReader reader) {
    return s_xmlReader.exchange(reader);
}
