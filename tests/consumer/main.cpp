// Uses a few exported symbols of each library; exits non-zero when something is off.
#include <cstdio>

#include "orvik_base.h"

int main() {
    CKrStringW text;
    text.Format(L"%s-%d", L"ok", 7);
    CKrStringA utf8 = CKrStringA::Utf8FromUtf16(text.GetString());
    CKrStringTokenizer tokens(text.GetString(), L"-");
    const bool good = utf8 == "ok-7" && tokens.Size() == 2 && KR_WChar2Char(L"ab", -1, nullptr, 0, true) == 3;
    std::printf("%s\n", good ? "consumer ok" : "consumer FAILED");
    return good ? 0 : 1;
}
