// The QString members of the lite variant: a QString is stored as a blob of its UTF-8 bytes.
#include <QString>

#include "variant/internal/LvReader.h"

using namespace orvik::detail;

int CKrLiteVariantW::Set(QString const &value, wchar_t const *name) {
    QByteArray const utf8 = value.toUtf8();
    return Set(static_cast<void const *>(utf8.constData()), kr_uint64(utf8.size()), name);
}

namespace {

// A blob as UTF-8, a string's units, any other scalar as its text form.
bool qtextOf(kr_uint8 const *data, LvItem const &item, QString &out) {
    kr_uint8 const *v = data + item.valueOffset;
    if (item.type == krLVT_BLOB) {
        if (item.valueBytes > kr_uint64(INT32_MAX)) return false;
        out = QString::fromUtf8(reinterpret_cast<char const *>(v), qsizetype(item.valueBytes));
        return true;
    }
    if (item.type == krLVT_STRING) {
        kr_uint64 const units = item.valueBytes / 2 - 1;
        QString text(qsizetype(units), Qt::Uninitialized);
        for (kr_uint64 i = 0; i < units; ++i)
            text[qsizetype(i)] = QChar(char16_t(v[2 * i] | (v[2 * i + 1] << 8)));
        out = text;
        return true;
    }
    CKrVariant value;
    if (!lvScalarToVariant(data, item, value)) return false;
    out = value.GetCKrStringW().GetQString();
    return true;
}

}  // namespace

int CKrLiteVariantR::Get(wchar_t const *name, QString &out) {
    kr_int64 const at = findValue(name);
    LvItem item;
    if (at < 0 || !lvParseItem(m_pData, m_size, kr_uint64(at), item)) return -9;
    return qtextOf(m_pData, item, out) ? 0 : -9;
}

int CKrLiteVariantR::GetCurrentValue(QString &out) {
    LvItem item;
    if (!plain() || !lvParseItem(m_pData, levelLimit(), m_pos, item)) return -9;
    return qtextOf(m_pData, item, out) ? 0 : -9;
}
