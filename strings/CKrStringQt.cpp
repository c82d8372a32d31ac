// The QString members of the string classes: the only translation unit of the string classes
// that includes Qt.
//
// The 8-bit string exchanges UTF-8 with QString.  The wide string holds one UTF-16 unit per
// wchar_t, which is exactly QString's own representation, so units are copied one for one
// (QString::toStdWString / fromStdWString would use UTF-32 on a platform with a 32-bit wchar_t
// and so combine or expect surrogate pairs).
#include <QString>

#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

// QString text in each width's own form: UTF-8 bytes for the 8-bit string, units one for one for
// the wide string.
std::string fromQString(QString const &text, char) { return text.toStdString(); }

std::wstring fromQString(QString const &text, wchar_t) {
    const qsizetype n = text.size();
    std::wstring out(static_cast<size_t>(n), L'\0');
    auto const *units = text.utf16();
    for (qsizetype i = 0; i < n; ++i) out[static_cast<size_t>(i)] = static_cast<wchar_t>(units[i]);
    return out;
}

QString toQString(std::string const &text) { return QString::fromStdString(text); }

QString toQString(std::wstring const &text) {
    QString out(static_cast<qsizetype>(text.size()), Qt::Uninitialized);
    QChar *units = out.data();
    // Units are 16-bit by construction; anything wider is cut to its low 16 bits.
    for (size_t i = 0; i < text.size(); ++i)
        units[i] = QChar(static_cast<char16_t>(static_cast<uint32_t>(text[i]) & 0xFFFFu));
    return out;
}

}  // namespace

template <class C>
auto CKrStringT<C>::operator=(QString const &text) -> String const & {
    m_str = fromQString(text, C());
    return self();
}

template <class C>
QString CKrStringT<C>::GetQString() const {
    return toQString(m_str);
}

template <class C>
auto CKrStringT<C>::AddString(QString const &text) -> String & {
    m_str.append(fromQString(text, C()));
    return self();
}

template CKrStringA const &CKrStringT<char>::operator=(QString const &);
template CKrStringW const &CKrStringT<wchar_t>::operator=(QString const &);
template QString CKrStringT<char>::GetQString() const;
template QString CKrStringT<wchar_t>::GetQString() const;
template CKrStringA &CKrStringT<char>::AddString(QString const &);
template CKrStringW &CKrStringT<wchar_t>::AddString(QString const &);

CKrStringA::CKrStringA(QString const &text) : CKrStringT(fromQString(text, char())) {}
CKrStringW::CKrStringW(QString const &text) : CKrStringT(fromQString(text, wchar_t())) {}

void CKrStringW::operator+=(QString const &text) { m_str.append(fromQString(text, wchar_t())); }
