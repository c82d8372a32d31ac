// Base64Coder: standard-alphabet Base64 with caller-visible buffers.  See
// include/types/Base64Coder.h for the contract and the deliberate decoding rules.
//
// Two paths produce every result:
//   - the general path goes group by group through the virtual steps, so derived coders can
//     replace any step;
//   - objects whose dynamic type is exactly Base64Coder take table-driven loops that produce
//     byte-for-byte the same buffers and lengths (the tests run both over the same inputs).
#include "types/Base64Coder.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <typeinfo>
#include <vector>

#include "strings/CKrStringA.h"

kr_uint8 Base64Coder::m_DecodeTable[256];
std::atomic<bool> Base64Coder::m_Init{false};

namespace {

constexpr size_t kBlock = 4096;
constexpr kr_uint8 kPad = 255;    // table value of "="
constexpr kr_uint8 kOther = 254;  // table value of characters outside the alphabet
// Largest input whose text length 4 * ceil(n / 3) still fits the 32-bit encoded length.
constexpr size_t kMaxEncodeInput = size_t(UINT32_MAX / 4) * 3;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Encoder table: a 12-bit value -> its two characters, as the bytes of one 16-bit store.
struct PairTable {
    uint16_t pair[4096];
    constexpr PairTable() : pair() {
        for (unsigned v = 0; v < 4096; ++v)
            pair[v] = static_cast<uint16_t>(static_cast<unsigned char>(kAlphabet[v >> 6]) |
                                            (static_cast<unsigned char>(kAlphabet[v & 63]) << 8));
    }
};
constexpr PairTable kPairs;

// Decoder tables for the fast path, derived from m_DecodeTable when it is filled: the
// contribution of a character at each position of a group to the 3 output bytes (little-endian
// in a 32-bit word).  _DecodeRaw keeps every result to 8 bits, which makes any table value v act
// as v & 63 (254 therefore decodes as 62).  Padding in the third or fourth position sets
// kPadFlag so the loop can hand that group to the exact padding rule.
constexpr uint32_t kPadFlag = 0x80000000u;
uint32_t g_pos0[256], g_pos1[256], g_pos2[256], g_pos3[256];
std::once_flag g_tableOnce;

inline bool isSkipped(unsigned char c) { return (c >= 7 && c <= 13) || c == 32; }

inline bool exactType(Base64Coder const *coder) { return typeid(*coder) == typeid(Base64Coder); }

inline bool pointsInto(void const *p, unsigned char const *block, size_t capacity) {
    auto const a = reinterpret_cast<uintptr_t>(p);
    auto const b = reinterpret_cast<uintptr_t>(block);
    return block != nullptr && a >= b && a < b + capacity;
}

// `data` itself, or a copy held in `keep` when `data` lies in `block`, which the caller is about
// to reallocate and wipe (a coder may be handed its own buffer).
unsigned char const *outsideOf(unsigned char const *data, size_t n, unsigned char const *block,
                               size_t capacity, std::vector<unsigned char> &keep) {
    if (n == 0 || !pointsInto(data, block, capacity)) return data;
    keep.assign(data, data + n);
    return keep.data();
}

// Resizes (when needed) and zeroes one buffer.  A failed allocation leaves it null.
void allocBuffer(unsigned char *&buffer, kr_uint64 &capacity, size_t n) {
    if (buffer == nullptr || capacity < n) {
        std::free(buffer);
        buffer = nullptr;
        capacity = 0;
        if (n > SIZE_MAX - kBlock) return;  // no such block can exist
        size_t const size = n / kBlock * kBlock + kBlock;
        buffer = static_cast<unsigned char *>(std::malloc(size));
        if (buffer == nullptr) return;
        capacity = size;
    }
    std::memset(buffer, 0, capacity);
}

// True when any byte of w is below 14 or equal to 32 (a superset of the skipped characters).
inline bool mayHoldSkipped(uint64_t w) {
    constexpr uint64_t ones = 0x0101010101010101ull, high = 0x8080808080808080ull;
    uint64_t const below14 = (w - ones * 14) & ~w & high;
    uint64_t const x = w ^ (ones * 0x20);
    uint64_t const space = (x - ones) & ~x & high;
    return (below14 | space) != 0;
}

// Copies the characters that are not skipped; returns their number.
size_t filterFast(unsigned char *out, unsigned char const *in, size_t n) {
    size_t k = 0, i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, in + i, 8);
        if (!mayHoldSkipped(w)) {
            std::memcpy(out + k, &w, 8);
            k += 8;
        } else {
            for (size_t j = 0; j < 8; ++j)
                if (!isSkipped(in[i + j])) out[k++] = in[i + j];
        }
    }
    for (; i < n; ++i)
        if (!isSkipped(in[i])) out[k++] = in[i];
    return k;
}

// The 3 bytes of _DecodeRaw for four table values (little-endian in the result).
inline uint32_t packValues(uint32_t c0, uint32_t c1, uint32_t c2, uint32_t c3) {
    uint32_t const b0 = ((c0 << 2) | ((c1 >> 4) & 3)) & 255;
    uint32_t const b1 = ((c1 << 4) | ((c2 >> 2) & 15)) & 255;
    uint32_t const b2 = ((c2 << 6) | (c3 & 63)) & 255;
    return b0 | (b1 << 8) | (b2 << 16);
}

inline void store3(unsigned char *out, uint32_t v) {
    out[0] = static_cast<unsigned char>(v);
    out[1] = static_cast<unsigned char>(v >> 8);
    out[2] = static_cast<unsigned char>(v >> 16);
}

}  // namespace

// ---- construction ---------------------------------------------------------------------------

Base64Coder::Base64Coder()
    : m_pDBuffer(nullptr),
      m_pEBuffer(nullptr),
      m_nDBufLen(0),
      m_nEBufLen(0),
      m_nDDataLen(0),
      m_nEDataLen(0) {}

Base64Coder::Base64Coder(Base64Coder const &other)
    : m_pDBuffer(other.m_pDBuffer),
      m_pEBuffer(other.m_pEBuffer),
      m_nDBufLen(other.m_nDBufLen),
      m_nEBufLen(other.m_nEBufLen),
      m_nDDataLen(other.m_nDDataLen),
      m_nEDataLen(other.m_nEDataLen) {}

Base64Coder &Base64Coder::operator=(Base64Coder const &other) {
    // Member-wise on purpose: the buffers are shared, not duplicated and not freed.
    m_pDBuffer = other.m_pDBuffer;
    m_pEBuffer = other.m_pEBuffer;
    m_nDBufLen = other.m_nDBufLen;
    m_nEBufLen = other.m_nEBufLen;
    m_nDDataLen = other.m_nDDataLen;
    m_nEDataLen = other.m_nEDataLen;
    return *this;
}

Base64Coder::~Base64Coder() {
    std::free(m_pDBuffer);
    std::free(m_pEBuffer);
}

void Base64Coder::initDecodeTable() {
    std::call_once(g_tableOnce, [] {
        std::memset(m_DecodeTable, kOther, sizeof m_DecodeTable);
        for (unsigned i = 0; i < 64; ++i) {
            auto const c = static_cast<unsigned char>(kAlphabet[i]);
            m_DecodeTable[c] = static_cast<kr_uint8>(i);
            m_DecodeTable[c | 0x80] = static_cast<kr_uint8>(i);  // bit-7 twin
        }
        m_DecodeTable[static_cast<unsigned char>('=')] = kPad;
        m_DecodeTable[static_cast<unsigned char>('=') | 0x80] = kPad;

        for (unsigned c = 0; c < 256; ++c) {
            uint32_t const v = m_DecodeTable[c] & 63u;
            g_pos0[c] = v << 2;
            g_pos1[c] = (v >> 4) | ((v & 15u) << 12);
            g_pos2[c] = ((v >> 2) << 8) | ((v & 3u) << 22);
            g_pos3[c] = v << 16;
            if (m_DecodeTable[c] == kPad) {
                g_pos2[c] |= kPadFlag;
                g_pos3[c] |= kPadFlag;
            }
        }
        m_Init.store(true, std::memory_order_release);
    });
}

// ---- public operations ----------------------------------------------------------------------

void Base64Coder::Encode(unsigned char const *data, size_t size) {
    if (data == nullptr) size = 0;
    if (size > kMaxEncodeInput) {  // the text length would not fit 32 bits
        AllocDecode(0);
        AllocEncode(0);
        return;
    }
    SetDecodeBuffer(data, size);
    AllocEncode(2 * size);
    if (m_pEBuffer == nullptr || m_pDBuffer == nullptr) return;

    size_t const length = m_nDDataLen;
    size_t const whole = length / 3 * 3;
    unsigned char const *in = m_pDBuffer;

    if (exactType(this)) {
        unsigned char *out = m_pEBuffer;
        size_t i = 0;
        for (; i < whole; i += 3, out += 4) {
            uint32_t const v = (uint32_t(in[i]) << 16) | (uint32_t(in[i + 1]) << 8) | in[i + 2];
            std::memcpy(out, &kPairs.pair[v >> 12], 2);
            std::memcpy(out + 2, &kPairs.pair[v & 0xFFF], 2);
        }
        m_nEDataLen = static_cast<kr_uint32>(whole / 3 * 4);
    } else {
        for (size_t i = 0; i < whole; i += 3) {
            TempBucket raw;
            raw.Clear();
            raw.nData[0] = in[i];
            raw.nData[1] = in[i + 1];
            raw.nData[2] = in[i + 2];
            raw.nSize = 3;
            _EncodeToBuffer(raw, m_pEBuffer + m_nEDataLen);
            m_nEDataLen += 4;
        }
    }

    if (whole < length) {
        TempBucket raw;
        raw.Clear();
        const size_t rest = length - whole;  // 1 or 2
        for (size_t i = 0; i < rest && i < 3; ++i) raw.nData[i] = in[whole + i];
        raw.nSize = static_cast<kr_uint8>(rest);
        _EncodeToBuffer(raw, m_pEBuffer + m_nEDataLen);
        m_nEDataLen += 4;
    }
}

void Base64Coder::DecodeA(unsigned char const *text, unsigned int length) {
    _DecodeA(text, text == nullptr ? 0u : length);
}

void Base64Coder::DecodeA(CKrStringA const &text) {
    size_t const n = text.GetLength();
    _DecodeA(reinterpret_cast<unsigned char const *>(text.GetString()),
             n > UINT_MAX ? UINT_MAX : static_cast<unsigned int>(n));
}

void Base64Coder::DecodeW(wchar_t const *text) {
    size_t const n = text == nullptr ? 0 : std::wcslen(text);
    _DecodeW(text, n > UINT_MAX ? UINT_MAX : static_cast<unsigned int>(n));
}

unsigned char const *Base64Coder::DecodedBuffer(size_t *length) const {
    if (length != nullptr) *length = m_nDDataLen;
    return m_pDBuffer;
}

unsigned char const *Base64Coder::EncodedBuffer(unsigned int *length) const {
    if (length != nullptr) *length = m_nEDataLen;
    return m_pEBuffer;
}

void Base64Coder::AllocEncode(size_t n) {
    allocBuffer(m_pEBuffer, m_nEBufLen, n);
    m_nEDataLen = 0;
}

void Base64Coder::AllocDecode(size_t n) {
    allocBuffer(m_pDBuffer, m_nDBufLen, n);
    m_nDDataLen = 0;
}

void Base64Coder::SetEncodeBufferA(unsigned char const *text, size_t n) {
    if (text == nullptr) n = 0;
    std::vector<unsigned char> copy;
    text = outsideOf(text, n, m_pEBuffer, m_nEBufLen, copy);
    AllocEncode(n);
    if (m_pEBuffer == nullptr || n == 0) return;

    if (n <= UINT32_MAX && exactType(this)) {
        m_nEDataLen = static_cast<kr_uint32>(filterFast(m_pEBuffer, text, n));
        return;
    }
    size_t kept = 0;
    for (size_t i = 0; i < n && kept < UINT32_MAX; ++i)
        if (!_IsBadMimeChar(text[i])) m_pEBuffer[kept++] = text[i];
    m_nEDataLen = static_cast<kr_uint32>(kept);
}

void Base64Coder::SetEncodeBufferW(wchar_t const *text, unsigned int n) {
    if (text == nullptr) n = 0;
    AllocEncode(n);
    if (m_pEBuffer == nullptr) return;
    kr_uint32 kept = 0;
    if (exactType(this)) {
        for (unsigned int i = 0; i < n; ++i) {
            auto const c = static_cast<unsigned char>(text[i] & 0xFF);
            if (!isSkipped(c)) m_pEBuffer[kept++] = c;
        }
    } else {
        for (unsigned int i = 0; i < n; ++i) {
            auto const c = static_cast<unsigned char>(text[i] & 0xFF);
            if (!_IsBadMimeChar(c)) m_pEBuffer[kept++] = c;
        }
    }
    m_nEDataLen = kept;
}

void Base64Coder::SetDecodeBuffer(unsigned char const *data, size_t n) {
    if (data == nullptr) n = 0;
    std::vector<unsigned char> copy;
    data = outsideOf(data, n, m_pDBuffer, m_nDBufLen, copy);
    AllocDecode(n);
    if (m_pDBuffer == nullptr || n == 0) return;
    std::memcpy(m_pDBuffer, data, n);
    m_nDDataLen = n;
}

// ---- steps ----------------------------------------------------------------------------------

void Base64Coder::_DecodeA(unsigned char const *text, unsigned int length) {
    if (!m_Init.load(std::memory_order_acquire)) initDecodeTable();
    SetEncodeBufferA(text, text == nullptr ? 0 : length);
    AllocDecode(length);
    decodeGroups();
}

void Base64Coder::_DecodeW(wchar_t const *text, unsigned int length) {
    if (!m_Init.load(std::memory_order_acquire)) initDecodeTable();
    SetEncodeBufferW(text, text == nullptr ? 0 : length);
    AllocDecode(length);
    decodeGroups();
}

void Base64Coder::decodeGroups() {
    if (!m_Init.load(std::memory_order_acquire))
        initDecodeTable();  // a derived _DecodeA may skip it
    if (m_pEBuffer == nullptr) return;
    size_t const chars = m_nEDataLen;
    size_t const whole = chars / 4 * 4;
    // A derived filter may have kept more characters than the decoded buffer was sized for.
    size_t const needed = chars / 4 * 3 + 4;
    if (m_pDBuffer == nullptr || m_nDBufLen < needed) AllocDecode(needed);
    if (m_pDBuffer == nullptr) return;

    unsigned char const *in = m_pEBuffer;
    unsigned int pad = 0;  // kept across groups on purpose: stored texts depend on it
    if (exactType(this)) {
        unsigned char *out = m_pDBuffer;
        for (size_t i = 0; i < whole; i += 4, out += 3) {
            uint32_t const v =
                g_pos0[in[i]] | g_pos1[in[i + 1]] | g_pos2[in[i + 2]] | g_pos3[in[i + 3]];
            if ((v & kPadFlag) == 0) {
                // The fourth byte stored is 0 and lies where the next group (or the zeroed
                // tail) belongs.
                std::memcpy(out, &v, 4);
                continue;
            }
            uint32_t c2 = m_DecodeTable[in[i + 2]], c3 = m_DecodeTable[in[i + 3]];
            if (c2 == kPad) {
                c2 = c3 = 0;
                pad = 2;
            } else {
                c3 = 0;
                pad = 1;
            }
            store3(out, packValues(m_DecodeTable[in[i]], m_DecodeTable[in[i + 1]], c2, c3));
        }
        m_nDDataLen = whole / 4 * 3;
    } else {
        for (size_t i = 0; i < whole; i += 4) {
            TempBucket bucket;
            bucket.Clear();
            for (int j = 0; j < 4; ++j) bucket.nData[j] = m_DecodeTable[in[i + j]];
            bucket.nSize = 4;
            if (bucket.nData[2] == kPad) {
                bucket.nData[2] = bucket.nData[3] = 0;
                pad = 2;
            } else if (bucket.nData[3] == kPad) {
                bucket.nData[3] = 0;
                pad = 1;
            }
            _DecodeToBuffer(bucket, m_pDBuffer + m_nDDataLen);
            m_nDDataLen += 3;
        }
    }
    m_nDDataLen -= pad;  // pad > 0 only after a group, so this never wraps

    size_t const rest = chars - whole;
    if (rest != 0) {
        TempBucket bucket;
        bucket.Clear();
        for (size_t j = 0; j < rest; ++j) {
            kr_uint8 const v = m_DecodeTable[in[whole + j]];
            bucket.nData[j] = v == kPad ? 0 : v;
        }
        bucket.nSize = static_cast<kr_uint8>(rest);
        _DecodeToBuffer(bucket, m_pDBuffer + m_nDDataLen);
        m_nDDataLen += rest;  // characters, not bytes: readers of old data rely on it
    }
}

void Base64Coder::_EncodeToBuffer(TempBucket const &raw, unsigned char *out) {
    TempBucket sixBits;
    sixBits.Clear();
    _EncodeRaw(sixBits, raw);
    for (int i = 0; i < 4; ++i)
        out[i] = static_cast<unsigned char>(kAlphabet[sixBits.nData[i] & 63]);
    if (raw.nSize == 1)
        out[2] = out[3] = '=';
    else if (raw.nSize == 2)
        out[3] = '=';
}

void Base64Coder::_DecodeToBuffer(TempBucket const &decoded, unsigned char *out) {
    TempBucket raw;
    raw.Clear();
    _DecodeRaw(raw, decoded);
    out[0] = raw.nData[0];
    out[1] = raw.nData[1];
    out[2] = raw.nData[2];
}

void Base64Coder::_EncodeRaw(TempBucket &sixBits, TempBucket const &raw) {
    kr_uint8 const b0 = raw.nData[0], b1 = raw.nData[1], b2 = raw.nData[2];
    sixBits.nData[0] = static_cast<kr_uint8>(b0 >> 2);
    sixBits.nData[1] = static_cast<kr_uint8>(((b0 << 4) | (b1 >> 4)) & 63);
    sixBits.nData[2] = static_cast<kr_uint8>(((b1 << 2) | (b2 >> 6)) & 63);
    sixBits.nData[3] = static_cast<kr_uint8>(b2 & 63);
    sixBits.nSize = 4;
}

void Base64Coder::_DecodeRaw(TempBucket &raw, TempBucket const &sixBits) {
    unsigned const c0 = sixBits.nData[0], c1 = sixBits.nData[1], c2 = sixBits.nData[2],
                   c3 = sixBits.nData[3];
    raw.nData[0] = static_cast<kr_uint8>((c0 << 2) | ((c1 >> 4) & 3));
    raw.nData[1] = static_cast<kr_uint8>((c1 << 4) | ((c2 >> 2) & 15));
    raw.nData[2] = static_cast<kr_uint8>((c2 << 6) | (c3 & 63));
    raw.nSize = 3;
}

bool Base64Coder::_IsBadMimeChar(unsigned char c) const { return isSkipped(c); }
