// UTF-8 check and decoders on arbitrary bytes.  Invariants: a string the check accepts decodes
// without a stray-byte failure; re-encoding what was decoded and decoding again is stable; the
// bounded decoder never reads past its limit (ASan) and agrees with the unbounded one when the
// limit covers the whole input.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "strings/CKrStringUtils.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // The decoders read up to a terminator: hand them an exact-size copy with one.
    std::string text(reinterpret_cast<const char *>(data), size);
    const char *z = text.c_str();
    const bool valid = CKrStringUtils::utf8_check_is_valid(z);

    CKrStringW decoded;
    const bool ok = CKrStringUtils::UTF8toW(z, decoded);
    if (valid && !ok) std::abort();

    CKrStringW bounded;
    const unsigned limit = size ? data[0] : 0;
    // An exact-size copy without a terminator: the bounded decoder must stop at its limit.
    std::vector<char> raw(data, data + size);
    if (limit <= size) CKrStringUtils::UTF8toWn(raw.data(), bounded, limit);
    CKrStringW whole;
    CKrStringUtils::UTF8toWn(z, whole, static_cast<unsigned>(size) + 1);
    if (whole.GetStdString() != decoded.GetStdString()) std::abort();

    CKrStringA reencoded;
    CKrStringUtils::WtoUTF8(decoded.GetString(), reencoded);
    if (!CKrStringUtils::utf8_check_is_valid(reencoded.GetString())) {
        // Only units in the surrogate range re-encode as ED A0..BF sequences.
        bool surrogate = false;
        for (size_t i = 0; i < decoded.GetLength(); ++i)
            if (decoded[i] >= 0xD800 && decoded[i] <= 0xDFFF) surrogate = true;
        if (!surrogate) std::abort();
    }
    CKrStringW again;
    if (!CKrStringUtils::UTF8toW(reencoded.GetString(), again)) std::abort();
    // Decoding stops at an embedded zero unit produced by an overlong zero; compare up to it.
    const std::wstring a = decoded.GetString(), b = again.GetString();
    if (a != b) std::abort();
    return 0;
}
