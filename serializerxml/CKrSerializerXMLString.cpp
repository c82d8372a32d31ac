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
    if (CKrVariant const *item = parameter(parameters, L"string")) {
        auto *out = static_cast<CKrStringW *>(pointerOf(*item));
        if (!out) {
            KR_ASSERTW(out != nullptr, KR_SERIALIZERXML_SOURCE,
                       L"Error: CKrSerializerXMLString::Save(), \"string\" holds no pointer!");
            return -4;
        }
        std::wstring text(kWideHead);
        orvik::detail::AppendElementW(text, source, false);
        text += kRootEndW;
        *out = std::move(text);
        return 0;
    }
    if (CKrVariant const *item = parameter(parameters, L"stringUTF8")) {
        auto *out = static_cast<CKrStringA *>(pointerOf(*item));
        if (!out) {
            KR_ASSERTW(out != nullptr, KR_SERIALIZERXML_SOURCE,
                       L"Error: CKrSerializerXMLString::Save(), \"stringUTF8\" holds no pointer!");
            return -4;
        }
        std::string text(kUtf8Head);
        orvik::detail::AppendElementUtf8(text, source);
        text += kRootEnd;
        *out = std::move(text);
        return 0;
    }
    KR_REPORTW(
        L"true", KR_SERIALIZERXML_SOURCE,
        L"Error: CKrSerializerXMLString::Save(), no \"string\" or \"stringUTF8\" parameter!");
    return -4;
}

int CKrSerializerXMLString::Load(CKrVariant &target, CKrVariant const &parameters) {
    static wchar_t const *const kNoPointer =
        L"Error: CKrSerializerXMLString::Load(), \"%s\" holds no pointer!";
    auto rawLength = [&parameters](kr_uint32 &length) {
        CKrVariant const *item = parameter(parameters, L"rawStringLen");
        bool ok = false;
        if (item) length = item->GetKr_uint32(&ok);
        return ok;
    };
    static wchar_t const *const kSources[] = {L"string", L"rawString", L"stringUTF8",
                                              L"rawStringUTF8"};
    for (int which = 0; which < 4; ++which) {
        CKrVariant const *item = parameter(parameters, kSources[which]);
        if (!item) continue;
        void *p = pointerOf(*item);
        if (!p) {
            KR_REPORTW(L"p == nullptr", KR_SERIALIZERXML_SOURCE, kNoPointer, kSources[which]);
            return -4;
        }
        kr_uint32 length = 0;
        if ((which == 1 || which == 3) && !rawLength(length)) {
            KR_REPORTW(L"rawStringLen", KR_SERIALIZERXML_SOURCE,
                       L"Error: CKrSerializerXMLString::Load(), \"%s\" without \"rawStringLen\"!",
                       kSources[which]);
            return -9;
        }
        switch (which) {
            case 0:
                return VariantFromXML(target, *static_cast<CKrStringW const *>(p));
            case 1:
                return VariantFromXML(target, static_cast<wchar_t const *>(p), length);
            case 2:
                return VariantFromXML_UTF8(target, *static_cast<CKrStringA const *>(p));
            default:
                return VariantFromXML_UTF8(target, static_cast<char const *>(p), length);
        }
    }
    KR_REPORTW(L"true", KR_SERIALIZERXML_SOURCE,
               L"Error: CKrSerializerXMLString::Load(), no text parameter!");
    return -4;
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
