// Shared by the JSON fuzz targets: turns fuzz bytes into wide text.  Each byte is one unit,
// except 0xFF which takes the next two bytes as one UTF-16 unit (so surrogates, zeros and
// characters beyond Latin-1 are reachable).
#ifndef ORVIK_FUZZ_JSONFUZZINPUT_H
#define ORVIK_FUZZ_JSONFUZZINPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

inline std::wstring jsonFuzzText(uint8_t const *data, size_t size) {
    std::wstring text;
    text.reserve(size);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF && i + 2 < size) {
            text.push_back(wchar_t((data[i + 1] << 8) | data[i + 2]));
            i += 2;
        } else {
            text.push_back(wchar_t(data[i]));
        }
    }
    return text;
}

#define JSON_FUZZ_CHECK(cond)      \
    do {                           \
        if (!(cond)) std::abort(); \
    } while (0)

#endif
