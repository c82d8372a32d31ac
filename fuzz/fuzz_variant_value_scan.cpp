// The fast readers of numeric value texts against the C-library rule: every input is read by
// both and the results (scanned or not, the value, the bits of a double) must be identical.
// Bytes map onto texts twice: ASCII as it is, and onto an alphabet of number-like units.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "variant/internal/VariantValueScan.h"

namespace {

constexpr wchar_t kAlphabet[] = {L'0', L'1', L'2', L'5', L'7',  L'8',   L'9',   L'9', L'-', L'+',
                                 L'.', L'e', L'E', L' ', L'\t', L'x',   L'a',   L'n', L'i', L'f',
                                 L'0', L'9', L',', 0xE9, 0x660, 0x3000, 0xFF10, L'3'};

[[noreturn]] void fail(char const *what, std::wstring const &text) {
    std::fprintf(stderr, "%s differs for \"%ls\"\n", what, text.c_str());
    std::abort();
}

template <class T>
void compare(char const *what, bool (*fast)(wchar_t const *, T &),
             bool (*ref)(wchar_t const *, T &), std::wstring const &text) {
    T a = T(12345), b = T(12345);  // untouched when the text does not scan
    bool fa = fast(text.c_str(), a), fb = ref(text.c_str(), b);
    if (fa != fb || a != b) fail(what, text);
}

}  // namespace

void check(std::wstring const &text) {
    using namespace orvik::detail;
    compare<int>("%d", &ScanInt32, &ScanInt32Ref, text);
    compare<unsigned int>("%u", &ScanUInt32, &ScanUInt32Ref, text);
    compare<long long>("%lld", &ScanInt64, &ScanInt64Ref, text);
    compare<unsigned long long>("%llu", &ScanUInt64, &ScanUInt64Ref, text);
    double x = ReadDouble(text.c_str()), y = ReadDoubleRef(text.c_str());
    if (std::memcmp(&x, &y, sizeof x) != 0) fail("atof", text);
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    constexpr size_t kAlphabetSize = sizeof kAlphabet / sizeof kAlphabet[0];
    // ASCII bytes as they are (seeds stay readable), others onto the alphabet.
    std::wstring text;
    for (size_t i = 0; i < size && i < 400; ++i)
        text.push_back(data[i] < 0x80 ? static_cast<wchar_t>(data[i])
                                      : kAlphabet[data[i] % kAlphabetSize]);
    check(text);
    // Every byte onto the alphabet, short: number-like texts even from random bytes.
    text.clear();
    for (size_t i = 0; i < size && i < 24; ++i) text.push_back(kAlphabet[data[i] % kAlphabetSize]);
    check(text);
    // Digit runs of every length around the limits of each type (9 to 20 digits), signed or not.
    if (size > 1) {
        text.assign(data[0] & 1 ? L"-" : L"");
        for (size_t i = 1; i < size && i < 22; ++i)
            text.push_back(static_cast<wchar_t>(L'0' + (data[i] & 0x80 ? 9 : data[i] % 10)));
        check(text);
    }
    return 0;
}
