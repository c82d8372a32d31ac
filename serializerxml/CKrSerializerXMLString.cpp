// CKrSerializerXMLString: Save and Load through named parameters, the writers and readers of
// the XML form, the run-time class members, and the installation of the reader behind
// CKrVariant::Read when the library loads.
#include "serializerxml/CKrSerializerXMLString.h"

#include <cstring>
#include <string>

#include "platform/KrPlatform.h"
#include "serializerxml/KrCreateObject.h"
#include "serializerxml/internal/SxReadState.h"
#include "variant/internal/VariantXmlForm.h"

namespace {

constexpr wchar_t kWideHead[] =
    L"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?><variant version=\"1.0\">";
constexpr char kUtf8Head[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><variant version=\"1.0\">";
constexpr wchar_t kRootEndW[] = L"</variant>";
constexpr char kRootEnd[] = "</variant>";

// The parameter item `name`, or null (also when the parameters are no list).
CKrVariant const *parameter(CKrVariant const &parameters, wchar_t const *name) {
    return parameters.GetCount() < 0 ? nullptr : parameters.SearchFixedOneLevel(name);
}

void *pointerOf(CKrVariant const &item) {
    bool ok = false;
    void *p = item.GetVoidPtr(&ok);
    return ok ? p : nullptr;
}

int readForVariant(CKrVariant &target, wchar_t const *text, size_t length) {
    return orvik::detail::SxReadWide(target, text, length);
}

// Makes CKrVariant::Read parse this form, registers the class for KR_CreateObject and the class
// record's run type, as soon as the library (or the program holding this folder) loads.
struct SelfInstall {
    SelfInstall() {
        CKrVariant::SetXmlReader(&readForVariant);
        KR_RegisterConstructor("CKrSerializerXMLString", &KR_ConstructorForCKrSerializerXMLString);
        CKrClass::RegisterClassRecordType();
    }
};
SelfInstall const s_selfInstall;

}  // namespace

CKrSerializerXMLString::CKrSerializerXMLString() = default;
CKrSerializerXMLString::~CKrSerializerXMLString() = default;

int CKrSerializerXMLString::Save(CKrVariant const &source, CKrVariant const &parameters) {
    CKrVariant const *wide = parameter(parameters, L"string");
    CKrVariant const *utf8 = wide ? nullptr : parameter(parameters, L"stringUTF8");
    void *out = wide ? pointerOf(*wide) : utf8 ? pointerOf(*utf8) : nullptr;
    KR_ASSERTW(
        out != nullptr, KR_SERIALIZERXML_SOURCE,
        L"Error: CKrSerializerXMLString::Save(), no pointer in \"string\" or \"stringUTF8\"!");
    if (!out) return -4;
    if (wide) {
        std::wstring text(kWideHead);
        orvik::detail::AppendElementW(text, source, false);
        text += kRootEndW;
        *static_cast<CKrStringW *>(out) = std::move(text);
    } else {
        std::string text(kUtf8Head);
        orvik::detail::AppendElementUtf8(text, source);
        text += kRootEnd;
        *static_cast<CKrStringA *>(out) = std::move(text);
    }
    return 0;
}

int CKrSerializerXMLString::Load(CKrVariant &target, CKrVariant const &parameters) {
    // The text sources in the order they are looked for; the raw ones need "rawStringLen".
    static wchar_t const *const kSources[] = {L"string", L"rawString", L"stringUTF8",
                                              L"rawStringUTF8"};
    int which = 0;
    CKrVariant const *item = nullptr;
    for (; which < 4 && !item; ++which) item = parameter(parameters, kSources[which]);
    --which;
    void *text = item ? pointerOf(*item) : nullptr;
    KR_ASSERTW(text != nullptr, KR_SERIALIZERXML_SOURCE,
               L"Error: CKrSerializerXMLString::Load(), no pointer to a text!");
    if (!text) return -4;
    bool const raw = which == 1 || which == 3;
    kr_uint32 length = 0;
    bool hasLength = false;
    if (raw) {
        if (CKrVariant const *len = parameter(parameters, L"rawStringLen"))
            length = len->GetKr_uint32(&hasLength);
        KR_ASSERTW(hasLength, KR_SERIALIZERXML_SOURCE,
                   L"Error: CKrSerializerXMLString::Load(), \"%s\" without \"rawStringLen\"!",
                   kSources[which]);
        if (!hasLength) return -9;
    }
    switch (which) {
        case 0:
            return VariantFromXML(target, *static_cast<CKrStringW const *>(text));
        case 1:
            return VariantFromXML(target, static_cast<wchar_t const *>(text), length);
        case 2:
            return VariantFromXML_UTF8(target, *static_cast<CKrStringA const *>(text));
        default:
            return VariantFromXML_UTF8(target, static_cast<char const *>(text), length);
    }
}

int CKrSerializerXMLString::VariantToXML(CKrStringW &out, CKrVariant const &v) {
    std::wstring text;
    text.reserve(out.GetLength() + 4096);
    text = out.GetStdString();
    orvik::detail::AppendElementW(text, v, false);
    out = std::move(text);
    return 0;
}

int CKrSerializerXMLString::VariantToXML_UTF8(CKrStringA &out, CKrVariant const &v) {
    std::string text;
    text.reserve(out.GetLength() + 4096);
    text.assign(out.GetString(), out.GetLength());
    orvik::detail::AppendElementUtf8(text, v);
    out = std::move(text);
    return 0;
}

int CKrSerializerXMLString::VariantFromXML(CKrVariant &target, CKrStringW const &text) {
    std::wstring const &s = text.GetStdString();
    return orvik::detail::SxReadWide(target, s.data(), s.size());
}

int CKrSerializerXMLString::VariantFromXML(CKrVariant &target, wchar_t const *text,
                                           unsigned int length) {
    return orvik::detail::SxReadWide(target, text, length);
}

int CKrSerializerXMLString::VariantFromXML_UTF8(CKrVariant &target, CKrStringA const &text) {
    return orvik::detail::SxReadUtf8(target, text.GetString(), text.GetLength());
}

int CKrSerializerXMLString::VariantFromXML_UTF8(CKrVariant &target, char const *text,
                                                unsigned int length) {
    return orvik::detail::SxReadUtf8(target, text, length);
}

char const *CKrSerializerXMLString::GetClass() const { return "CKrSerializerXMLString"; }

CKrVariant CKrSerializerXMLString::GetCKrClassInfo() const {
    return MakeClassRecord(L"CKrSerializerXMLString", {L"IKrSerializer"});
}

void *CKrSerializerXMLString::QueryInterface(char const *interfaceName) {
    if (!interfaceName) return nullptr;
    if (std::strcmp(interfaceName, "IKrSerializer") == 0) return static_cast<IKrSerializer *>(this);
    if (std::strcmp(interfaceName, "CKrClass") == 0) return static_cast<CKrClass *>(this);
    if (std::strcmp(interfaceName, "IKrInterface") == 0) return static_cast<IKrInterface *>(this);
    if (std::strcmp(interfaceName, "CKrSerializerXMLString") == 0) return this;
    return nullptr;
}

CKrClass *KR_ConstructorForCKrSerializerXMLString() { return new CKrSerializerXMLString(); }
