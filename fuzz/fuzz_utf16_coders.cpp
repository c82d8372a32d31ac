// UTF-16 copying on arbitrary units.  Invariants: the result is true exactly when no surrogate
// comes before the end; the output never has more units than were read; WtoUTF16 measures and
// copies consistently.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "strings/CKrStringUtils.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const int count = static_cast<int8_t>(data[0]);  // -128..127, -1 means terminated
    std::vector<unsigned short> units((size - 1) / 2);
    if (!units.empty()) std::memcpy(units.data(), data + 1, units.size() * 2);
    if (count == -1) units.push_back(0);  // a terminated input must be terminated
    const size_t available = units.size();
    const int usable =
        count == -1 ? -1
                    : (count > static_cast<int>(available) ? static_cast<int>(available) : count);

    CKrStringW out;
    const bool ok = CKrStringUtils::UTF16toW(units.data(), usable, out);
    size_t end = 0;
    const size_t limit = usable < 0 ? available : static_cast<size_t>(usable);
    bool surrogate = false;
    while (end < limit && units[end] != 0) {
        if (units[end] >= 0xD800 && units[end] <= 0xDFFF) surrogate = true;
        ++end;
    }
    if (usable != -1 && usable < 1) end = 0, surrogate = false;  // nothing is read
    if (ok == surrogate) std::abort();
    if (out.GetLength() > end) std::abort();

    // WtoUTF16 of the copied text: measure, copy, compare.
    std::vector<wchar_t> wide;
    for (size_t i = 0; i < end; ++i) wide.push_back(units[i] ? units[i] : 1);
    wide.push_back(0);
    int needed = 0;
    CKrStringUtils::WtoUTF16(wide.data(), nullptr, needed);
    if (needed != static_cast<int>(wide.size())) std::abort();
    std::vector<unsigned short> back(static_cast<size_t>(needed) + 2, 0xFFFF);
    int room = needed + 2;
    if (!CKrStringUtils::WtoUTF16(wide.data(), back.data(), room)) std::abort();
    for (size_t i = 0; i < wide.size(); ++i)
        if (back[i] != static_cast<unsigned short>(wide[i])) std::abort();
    if (back[wide.size()] != 0 || back[wide.size() + 1] != 0) std::abort();
    return 0;
}
