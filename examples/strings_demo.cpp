// A tour of the string layer: formatting, searching and editing, UTF-8 round trips and
// tokenizing, as callers of the library use them every day.
#include <cstdio>
#include <string>

#include "orvik_base.h"

int main() {
    // Formatting follows the Windows wide conventions: "%s" takes a wide string.
    CKrStringW line;
    line.Format(L"%s: %d frames at %.2f fps", L"Channel DAPI", 120, 29.97);
    std::printf("Format        -> %s\n", line.ToStdStringUtf8().c_str());

    // Searching and editing are tolerant: out-of-range arguments clamp instead of failing.
    CKrStringW path(L"  C:\\Data\\Experiment 7  ");
    path.Trim();
    path.EndInSlash();
    path.Replace(L"Experiment", L"Run");
    std::printf("Trim/Replace  -> %s (Find(\"Data\") = %d, Mid(100) empty: %s)\n",
                path.ToStdStringUtf8().c_str(), path.Find(L"Data"),
                path.Mid(100).IsEmpty() ? "yes" : "no");

    // UTF-8 in and out: the standard code conversion and the hand-written coders.
    const std::string utf8 =
        "Scale bar 10 \xC2\xB5m, 20 \xC2\xB0"
        "C, \xE4\xB8\xAD";
    CKrStringW wide = CKrStringW::FromStdStringUtf8(utf8);
    CKrStringA back;
    CKrStringUtils::WtoUTF8(wide.GetString(), back);
    std::printf("UTF-8 trip    -> %zu bytes -> %zu units -> %zu bytes, identical: %s\n",
                utf8.size(), wide.GetLength(), back.GetLength(),
                back.GetStdString() == utf8 ? "yes" : "no");
    try {
        CKrStringW::FromStdStringUtf8("\xFF");
    } catch (const std::range_error &e) {
        std::printf("Bad UTF-8     -> std::range_error(\"%s\")\n", e.what());
    }

    // Tokenizing: every character of the set is a delimiter of its own.
    CKrStringTokenizer tokens(L"x=12;y=7;;z=3", L";=");
    std::printf("Tokens (%d)   ->", tokens.Size());
    while (tokens.HasMoreTokens())
        std::printf(" [%s]", tokens.GetNextToken().ToStdStringUtf8().c_str());
    std::printf("\n");

    // Comparisons stop at the first zero; a null pointer equals only the empty string.
    CKrStringA a("abc");
    std::printf(
        "Compare       -> \"abc\" == nullptr: %s, \"\" == nullptr: %s, \"abc\" < nullptr: %s\n",
        a == nullptr ? "true" : "false", CKrStringA("") == nullptr ? "true" : "false",
        a < nullptr ? "true" : "false");
    return 0;
}
