// CKrVariant: the XML text form (Write, Trace) and the hook through which the XML serialiser
// provides Read.
#include <atomic>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"
#include "variant/CKrVariant.h"
#include "variant/CKrVariantText.h"
#include "variant/CKrVariantTree.h"

namespace {

constexpr wchar_t kRootStart[] = L"<variant version=\"1.0\">";
constexpr size_t kIndentStep = 2;

std::atomic<CKrVariant::XmlReader> s_xmlReader{nullptr};

void appendNarrow(std::wstring &out, char const *text) {
    for (; *text; ++text) out += static_cast<wchar_t>(static_cast<unsigned char>(*text));
}

}  // namespace

// One element per node; lists enclose their children.  `indent` selects the Trace layout (one
// element per line, two spaces per level below the root element) over the compact Write form.
void CKrVariant::TraceLow(CKrStringW &out, CKrVariant const &v, bool indent) {
    std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
    // Built in one standard string and handed over once: large trees give texts of many
    // megabytes, and every extra copy or regrowth of those costs more than the walk itself.
    std::wstring text;
    text.reserve(out.GetLength() + 4096);
    text = out.GetStdString();
    struct Entry {
        CKrVariant const *node;
        size_t depth;
        bool close;
    };
    std::vector<Entry> stack{{&v, 1, false}};
    CKrStringW value;
    while (!stack.empty()) {
        Entry e = stack.back();
        stack.pop_back();
        if (indent) text.append(e.depth * kIndentStep, L' ');
        std::wstring const &name = e.node->m_name.GetStdString();
        if (e.close) {
            text += L"</";
            text += name;
            text += L'>';
        } else {
            text += L'<';
            text += name;
            text += L" runtype=\"";
            appendNarrow(text, e.node->GetRunType().GetName().GetString());
            text += L'"';
            if (CKrVariantDataCKrListVariant *list = e.node->listHolder()) {
                text += L'>';
                stack.push_back({e.node, e.depth, true});
                CKrVariantAccess::Items const &items = CKrVariantAccess::ItemsOf(list->GetList());
                for (auto it = items.rbegin(); it != items.rend(); ++it)
                    if (*it) stack.push_back({*it, e.depth + 1, false});
            } else {
                text += L" value=\"";
                value.Empty();
                if (e.node->m_pData) e.node->m_pData->GetString(value);
                // Base64 needs no escaping, and large arrays are written as they are.
                if (e.node->m_pData &&
                    e.node->m_pData->GetKind() == CKrVariantData::krDATA_BYTEARRAY)
                    text += value.GetStdString();
                else
                    krVariantAppendEscaped(text, value.GetStdString());
                text += L"\"/>";
            }
        }
        if (indent) text += L"\r\n";
    }
    text += indent ? L"</variant>\r\n" : L"</variant>";
    out = text;
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
        DiagAssertW(L"s_xmlReader == nullptr", KR_VARIANT_SOURCE, __LINE__,
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
