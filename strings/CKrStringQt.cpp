// The QString members of CKrStringA and CKrStringW: the only translation unit of the string
// classes that includes Qt.
//
// The 8-bit string exchanges UTF-8 with QString.  The wide string holds one UTF-16 unit per
// wchar_t, which is exactly QString's own representation, so units are copied one for one
// (QString::toStdWString / fromStdWString would use UTF-32 on a platform with a 32-bit wchar_t
// and so combine or expect surrogate pairs).
#include <QString>

#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

std::wstring unitsFromQString(QString const &text) {
    const qsizetype n = text.size();
    std::wstring out(static_cast<size_t>(n), L'\0');
    auto const *units = text.utf16();
    for (qsizetype i = 0; i < n; ++i) out[static_cast<size_t>(i)] = static_cast<wchar_t>(units[i]);
    return out;
}

}  // namespace

// ---- CKrStringA -------------------------------------------------------------------------

CKrStringA::CKrStringA(QString const &text) : m_str(text.toStdString()) {}

CKrStringA const &CKrStringA::operator=(QString const &text) {
    m_str = text.toStdString();
    return *this;
}

QString CKrStringA::GetQString() const { return QString::fromStdString(m_str); }

CKrStringA &CKrStringA::AddString(QString const &text) {
    m_str.append(text.toStdString());
    return *this;
}

// ---- CKrStringW -------------------------------------------------------------------------

CKrStringW::CKrStringW(QString const &text) : m_str(unitsFromQString(text)) {}

CKrStringW const &CKrStringW::operator=(QString const &text) {
    m_str = unitsFromQString(text);
    return *this;
}

QString CKrStringW::GetQString() const {
    QString out(static_cast<qsizetype>(m_str.size()), Qt::Uninitialized);
    QChar *units = out.data();
    // Units are 16-bit by construction; anything wider is cut to its low 16 bits.
    for (size_t i = 0; i < m_str.size(); ++i)
        units[i] = QChar(static_cast<char16_t>(static_cast<uint32_t>(m_str[i]) & 0xFFFFu));
    return out;
}

void CKrStringW::operator+=(QString const &text) { m_str.append(unitsFromQString(text)); }

CKrStringW &CKrStringW::AddString(QString const &text) {
    m_str.append(unitsFromQString(text));
    return *this;
}
