#include "PyDiag.h"

namespace orvik::py {

namespace {
DiagCapture *g_innermost = nullptr;
}

DiagCapture::DiagCapture() : m_outer(g_innermost) {
    if (m_outer == nullptr) m_previous = KR_SetDiagHandler(&DiagCapture::Handle, nullptr);
    g_innermost = this;
}

DiagCapture::~DiagCapture() {
    g_innermost = m_outer;
    if (m_outer == nullptr) KR_SetDiagHandler(m_previous, nullptr);
}

void DiagCapture::Handle(void *, int, wchar_t const *, wchar_t const *message, wchar_t const *,
                         int) {
    if (g_innermost != nullptr) g_innermost->m_messages.emplace_back(message ? message : L"");
}

std::string DiagCapture::Joined() const {
    std::string out;
    for (std::wstring const &message : m_messages) {
        if (!out.empty()) out += "; ";
        out += Utf8(message);
    }
    return out;
}

std::string Utf8(std::wstring const &units) {
    if (units.empty()) return {};
    int const length = static_cast<int>(units.size());
    int const needed = KR_WChar2Char(units.data(), length, nullptr, 0, true);
    std::string out(static_cast<std::size_t>(needed), '\0');
    int const written = KR_WChar2Char(units.data(), length, out.data(), needed, true);
    out.resize(static_cast<std::size_t>(written));
    return out;
}

}  // namespace orvik::py
