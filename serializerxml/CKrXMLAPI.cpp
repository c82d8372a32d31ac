// CKrXMLAPI: the element callbacks of the reader and the attribute-value escaping.
#include "serializerxml/CKrXMLAPI.h"

#include "platform/KrPlatform.h"
#include "serializerxml/internal/SxReadState.h"
#include "variant/internal/VariantXmlForm.h"

using orvik::detail::SxReadState;

namespace {

// KR_wcsicmp(name, expected) == 0 for a lower-case ASCII `expected`.  Names of pure ASCII are
// folded here (towlower folds ASCII the same way); any other unit defers to KR_wcsicmp, whose
// folding of non-ASCII characters decides.
bool nameIs(wchar_t const *name, wchar_t const *expected) {
    for (size_t i = 0;; ++i) {
        wchar_t c = name[i];
        if (static_cast<kr_uint32>(c) >= 0x80) return KR_wcsicmp(name, expected) == 0;
        if (c >= L'A' && c <= L'Z') c += L'a' - L'A';
        if (c != expected[i]) return false;
        if (c == 0) return true;
    }
}

// The target made Null with type change switched on for the call only.
void clearTarget(CKrVariant &target) {
    bool previous = target.EnableTypeChange(true);
    target.MakeNull();
    target.EnableTypeChange(previous);
}

void startRoot(SxReadState &s, wchar_t const *name, wchar_t const **attributes) {
    if (!nameIs(name, L"variant")) {
        s.state = SxReadState::kBadRoot;
        clearTarget(*s.target);
        return;
    }
    bool versionOk = false;
    for (wchar_t const **a = attributes; a && a[0] && a[1]; a += 2) {
        if (nameIs(a[0], L"version")) {
            versionOk = wcscmp(a[1], L"1.0") == 0;
            break;
        }
    }
    if (!versionOk) {
        s.state = SxReadState::kBadVersion;
        clearTarget(*s.target);
        return;
    }
    s.depth = 0;
}

// True when RevalidateAttValue could change `value`: it holds "&" or U+DB80.
bool needsRevalidation(wchar_t const *value) {
    for (; *value; ++value)
        if (*value == L'&' || *value == 0xDB80) return true;
    return false;
}

void readValue(SxReadState &s, CKrVariant &item, wchar_t const *value) {
    if (orvik::detail::HoldsStringW(item) && needsRevalidation(value)) {
        s.value.assign(value);
        orvik::detail::RevalidateAttValue(s.value);
        orvik::detail::SetValueText(item, s.value.c_str());
    } else {
        orvik::detail::SetValueText(item, value);
    }
}

}  // namespace

void CKrXMLAPI::StartElement(void *userData, wchar_t const *name, wchar_t const **attributes) {
    auto *s = static_cast<SxReadState *>(userData);
    if (!s || !name || s->state != 0) return;
    if (s->depth < 0) {
        startRoot(*s, name, attributes);
        return;
    }
    wchar_t const *runType = nullptr;
    wchar_t const *value = nullptr;
    for (wchar_t const **a = attributes; a && a[0] && a[1]; a += 2) {
        if (!runType && nameIs(a[0], L"runtype"))
            runType = a[1];
        else if (!value && nameIs(a[0], L"value"))
            value = a[1];
    }
    CKrVariant const *sample = s->SampleFor(runType ? runType : L"");
    CKrVariant *item = nullptr;
    kr_int32 mark = 0;
    if (s->depth == 0) {
        CKrVariant &t = *s->target;
        s->savedTypeChange = t.EnableTypeChange(true);
        s->targetOpen = true;
        t.MakeNull();
        orvik::detail::ResetToSample(t, sample);
        t.SetName(CKrStringW(name));
        item = &t;
        mark = t.GetCount();
    } else {
        if (s->stack.empty()) {  // cannot happen while depth and stack move together
            s->state = -1;
            return;
        }
        SxReadState::Entry const &top = s->stack.back();
        CKrVariant &parent = *top.item;
        if (orvik::detail::IsPlainList(parent)) {
            if (top.mark != 0) item = parent.SearchFixedOneLevel(name);
            if (!item) item = &orvik::detail::AppendChild(parent, name, sample);
            mark = item->GetCount();
        } else {
            // A record keeps its members; anything else has none to reuse.
            if (parent.GetCount() >= 0) item = parent.SearchFixedOneLevel(name);
            if (item) {
                mark = item->GetCount();
            } else {
                item = orvik::detail::NewNode(name, sample);
                mark = SxReadState::kScratch;
            }
        }
    }
    if (value) readValue(*s, *item, value);
    s->stack.push_back({item, mark});
    ++s->depth;
}

void CKrXMLAPI::EndElement(void *userData, wchar_t const *) {
    auto *s = static_cast<SxReadState *>(userData);
    if (!s || s->state != 0) return;
    --s->depth;
    if (s->depth >= 1) {
        if (s->stack.empty()) return;
        SxReadState::Entry top = s->stack.back();
        s->stack.pop_back();
        if (top.mark == SxReadState::kScratch) delete top.item;
    } else if (s->depth == 0 && !s->stack.empty()) {
        s->target->EnableTypeChange(s->savedTypeChange);
        s->targetOpen = false;
        s->state = SxReadState::kFinished;
    }
}

void CKrXMLAPI::ValidateXML_AttValue(CKrStringW &text) {
    std::wstring const &in = text.GetStdString();
    std::wstring out;
    out.reserve(in.size() + 16);
    orvik::detail::AppendAttValueEscaped(out, in.data(), in.size());
    text = std::move(out);
}

void CKrXMLAPI::RevalidateXML_AttValue(CKrStringW &text) {
    std::wstring s = text.GetStdString();
    orvik::detail::RevalidateAttValue(s);
    text = std::move(s);
}
