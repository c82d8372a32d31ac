// Uses a few exported symbols of each library; exits non-zero when something is off.
#include <expat.h>

#include <cstdio>

#include "orvik_base.h"

int main() {
    CKrStringW text;
    text.Format(L"%s-%d", L"ok", 7);
    CKrStringA utf8 = CKrStringA::Utf8FromUtf16(text.GetString());
    CKrStringTokenizer tokens(text.GetString(), L"-");
    // expat's C interface (wide build) comes with orvik::base.
    static_assert(sizeof(XML_Char) == 2, "orvik::base brings expat built for UTF-16");
    XML_Parser parser = XML_ParserCreate(nullptr);
    const bool expatOk = parser && XML_Parse(parser, "<a/>", 4, XML_TRUE) == XML_STATUS_OK;
    if (parser) XML_ParserFree(parser);
    // The shared library installs the XML form's reader behind CKrVariant::Read when it loads.
    CKrVariant v;
    const bool readOk =
        v.Read(L"<variant version=\"1.0\"><n runtype=\"kr_int32\" value=\"5\"/></variant>") == 0 &&
        v.GetKr_int32() == 5;
    const bool good = utf8 == "ok-7" && tokens.Size() == 2 &&
                      KR_WChar2Char(L"ab", -1, nullptr, 0, true) == 3 && expatOk && readOk;
    std::printf("%s\n", good ? "consumer ok" : "consumer FAILED");
    return good ? 0 : 1;
}
