// Shared check of the XML-form readers' fuzz targets: whatever a reader accepted must write and
// read back to the same text (the form is stable after one reading), and a reader must leave
// the target's type-change permission as it found it.
#ifndef ORVIK_FUZZ_VARIANTXMLFUZZCHECK_H
#define ORVIK_FUZZ_VARIANTXMLFUZZCHECK_H

#include <cstdlib>
#include <string>

#include "serializerxml/CKrSerializerXMLString.h"
#include "variant/CKrVariant.h"

namespace sxfuzz {

// True when some string of the tree holds "&#" or ends with "&": such text is written as it is
// and read back as a character reference (or refused), a documented limit of the form.
inline bool holdsReferenceText(CKrVariant const &v) {
    bool found = false;
    CKrVariant const *hit =
        const_cast<CKrVariant &>(v).SearchRecursive([&found](CKrVariant const *n) {
            if (n->GetRunType() != CKrVariantRunType("CKrStringW")) return false;
            CKrStringW const text = n->GetCKrStringW();
            std::wstring const &s = text.GetStdString();
            found = s.find(L"&#") != std::wstring::npos || (!s.empty() && s.back() == L'&');
            return found;
        });
    return hit != nullptr;
}

// `result` is what the reader gave for `target`, which had type change off before the call.
inline void checkStable(int result, CKrVariant &target) {
    if (result != 0 && result != -9) abort();
    if (target.IsEnabledTypeChange()) abort();
    if (result != 0 || holdsReferenceText(target)) return;
    CKrStringW wide;
    target.Write(wide);
    CKrVariant again;
    if (again.Read(wide) != 0) abort();
    CKrStringW wide2;
    again.Write(wide2);
    if (!(wide2 == wide)) abort();
    CKrStringA utf8;
    CKrSerializerXMLString::VariantToXML_UTF8(utf8, target);
    std::string doc = "<variant version=\"1.0\">" + utf8.GetStdString() + "</variant>";
    CKrVariant fromUtf8;
    if (CKrSerializerXMLString::VariantFromXML_UTF8(fromUtf8, doc.data(),
                                                    static_cast<unsigned>(doc.size())) != 0)
        abort();
    CKrStringA utf8Again;
    CKrSerializerXMLString::VariantToXML_UTF8(utf8Again, fromUtf8);
    if (!(utf8Again.GetStdString() == utf8.GetStdString())) abort();
}

}  // namespace sxfuzz

#endif
