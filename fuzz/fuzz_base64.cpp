// Feeds arbitrary bytes to the Base64 decoders (8-bit and wide forms, fast and virtual paths)
// and checks what must hold for any input:
//   - both paths give the same length and bytes;
//   - the wide form, fed the same bytes as units, gives the same result as the 8-bit form;
//   - the decoded length stays within what the filtered text can produce;
//   - encoding the input gives the text of an independent RFC 4648 encoder, on both paths, and
//     decoding that text (also cut into MIME lines of 76 characters) gives the input back;
//   - the decoded buffers of both paths agree also on the 8 bytes past the length, which
//     callers of the leftover rule read.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "types/Base64Coder.h"

namespace {

// Not exactly a Base64Coder, so every step goes through the virtual calls.
class VirtualPathCoder : public Base64Coder {};

// Independent reference encoder (RFC 4648, with padding).
std::string referenceEncode(const uint8_t *in, size_t size) {
    static const char A[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < size; i += 3) {
        const size_t rest = size - i < 3 ? size - i : 3;
        const uint32_t v = uint32_t(in[i]) << 16 | (rest > 1 ? uint32_t(in[i + 1]) << 8 : 0) |
                           (rest > 2 ? in[i + 2] : 0);
        for (size_t k = 0; k < 4; ++k) out += k <= rest ? A[(v >> (18 - 6 * k)) & 63] : '=';
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > (1u << 20)) return 0;
    auto const n = static_cast<unsigned int>(size);

    Base64Coder fast;
    VirtualPathCoder slow;
    fast.DecodeA(data, n);
    slow.DecodeA(data, n);
    size_t nf = 0, ns = 0;
    unsigned char const *pf = fast.DecodedBuffer(&nf);
    unsigned char const *ps = slow.DecodedBuffer(&ns);
    if (pf == nullptr || ps == nullptr || nf != ns || std::memcmp(pf, ps, nf + 8) != 0)
        __builtin_trap();
    unsigned int kept = 0;
    fast.EncodedBuffer(&kept);
    if (kept > size || nf > size_t(kept) / 4 * 3 + 3) __builtin_trap();

    // The wide form reads the low byte of each unit; a zero byte ends its text.
    size_t const wideLen = strnlen(reinterpret_cast<char const *>(data), size);
    std::vector<wchar_t> wide(wideLen + 1, 0);
    for (size_t i = 0; i < wideLen; ++i)
        wide[i] = static_cast<wchar_t>(data[i] | (i % 5 == 0 ? 0x300 : 0));
    Base64Coder w, a;
    w.DecodeW(wide.data());
    a.DecodeA(data, static_cast<unsigned int>(wideLen));
    size_t nw = 0, na = 0;
    unsigned char const *pw = w.DecodedBuffer(&nw);
    unsigned char const *pa = a.DecodedBuffer(&na);
    if (nw != na || std::memcmp(pw, pa, nw) != 0) __builtin_trap();

    Base64Coder enc, dec;
    enc.Encode(data, size);
    unsigned int tn = 0;
    unsigned char const *text = enc.EncodedBuffer(&tn);
    const std::string ref = referenceEncode(data, size);
    if (tn != ref.size() || std::memcmp(text, ref.data(), tn) != 0) __builtin_trap();
    VirtualPathCoder encSlow;
    encSlow.Encode(data, size);
    unsigned int sn = 0;
    unsigned char const *slowText = encSlow.EncodedBuffer(&sn);
    if (sn != tn || std::memcmp(slowText, text, tn) != 0) __builtin_trap();
    dec.DecodeA(text, tn);
    size_t back = 0;
    unsigned char const *raw = dec.DecodedBuffer(&back);
    if (back != size || (size && std::memcmp(raw, data, size) != 0)) __builtin_trap();

    std::string mime;
    for (size_t i = 0; i < ref.size(); i += 76) mime += ref.substr(i, 76) + "\r\n";
    dec.DecodeA(reinterpret_cast<unsigned char const *>(mime.data()),
                static_cast<unsigned int>(mime.size()));
    raw = dec.DecodedBuffer(&back);
    if (back != size || (size && std::memcmp(raw, data, size) != 0)) __builtin_trap();
    std::wstring wideMime(mime.begin(), mime.end());
    dec.DecodeW(wideMime.c_str());
    raw = dec.DecodedBuffer(&back);
    if (back != size || (size && std::memcmp(raw, data, size) != 0)) __builtin_trap();
    return 0;
}
