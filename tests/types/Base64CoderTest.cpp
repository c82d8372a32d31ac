#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "strings/CKrStringA.h"
#include "types/Base64Coder.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Independent reference encoder (RFC 4648, with padding).
std::string referenceEncode(Bytes const &in) {
    static const char *A = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t i = 0;
    for (; i + 3 <= in.size(); i += 3) {
        uint32_t v = (in[i] << 16) | (in[i + 1] << 8) | in[i + 2];
        for (int s = 18; s >= 0; s -= 6) out += A[(v >> s) & 63];
    }
    if (size_t rest = in.size() - i) {
        uint32_t v = (in[i] << 16) | (rest == 2 ? in[i + 1] << 8 : 0);
        out += A[(v >> 18) & 63];
        out += A[(v >> 12) & 63];
        out += rest == 2 ? A[(v >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

Bytes randomBytes(std::mt19937 &rng, size_t n) {
    Bytes b(n);
    for (auto &x : b) x = static_cast<uint8_t>(rng());
    return b;
}

std::string encoded(Base64Coder &c) {
    unsigned int n = 0;
    auto const *p = c.EncodedBuffer(&n);
    return p ? std::string(reinterpret_cast<char const *>(p), n) : std::string();
}

Bytes decoded(Base64Coder &c) {
    size_t n = 0;
    auto const *p = c.DecodedBuffer(&n);
    return p ? Bytes(p, p + n) : Bytes();
}

Bytes decodeA(std::string const &text) {
    Base64Coder c;
    c.DecodeA(reinterpret_cast<unsigned char const *>(text.data()), static_cast<unsigned>(text.size()));
    return decoded(c);
}

Bytes B(std::string const &s) { return Bytes(s.begin(), s.end()); }

// A coder that is not exactly a Base64Coder: every step goes through the virtual calls.
class VirtualPathCoder : public Base64Coder {};

// Exposes the buffer bookkeeping.
class InspectCoder : public Base64Coder {
public:
    kr_uint64 encodeCapacity() const { return m_nEBufLen; }
    kr_uint64 decodeCapacity() const { return m_nDBufLen; }
};

TEST(Base64Encode, KnownTexts) {
    const std::pair<const char *, const char *> cases[] = {
        {"", ""}, {"M", "TQ=="}, {"Ma", "TWE="}, {"Man", "TWFu"},
        {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
        {"\xff\xfe\xfd", "//79"}, {"\xfb\xef\xbe", "++++"},
    };
    for (auto const &[raw, text] : cases) {
        Base64Coder c;
        c.Encode(reinterpret_cast<unsigned char const *>(raw), std::strlen(raw));
        EXPECT_EQ(encoded(c), text) << raw;
        EXPECT_EQ(decoded(c), B(raw)) << "the input stays in the decoded buffer";
    }
}

struct DecodeCase {
    const char *name;
    std::string text;
    Bytes bytes;  // the first `length` bytes of the decoded buffer
};

TEST(Base64Decode, DeliberateRules) {
    const DecodeCase cases[] = {
        {"plain group", "TWFu", B("Man")},
        {"space skipped", "TW Fu", B("Man")},
        {"CR LF skipped", "TW\r\nFu", B("Man")},
        {"all of 7..13 skipped", std::string("T\a\b\t\n\v\f\rWFu"), B("Man")},
        {"two pads", "TQ==", B("M")},
        {"one pad", "TWE=", B("Ma")},
        {"leftover counts characters", "TWE", Bytes{'M', 'a', 0}},
        {"single leftover", "T", Bytes{0x4C}},
        {"pad count kept across groups", "TQ==TWFu", Bytes{'M', 0, 0, 'M'}},
        {"later one-pad group overrides", "TQ==TWE=", Bytes{'M', 0, 0, 'M', 'a'}},
        {"bit-7 twins", "\xD4\xD7\xC6\xF5", B("Man")},
        {"unknown characters act as 62", "****", Bytes{0xFB, 0xEF, 0xBE}},
        {"bytes 6 and 14 are not skipped", std::string("\x06\x0e++"), Bytes{0xFB, 0xEF, 0xBE}},
        {"pad in a leftover is 0", "TQ=", Bytes{'M', 0, 0}},
        {"empty", "", Bytes{}},
    };
    for (auto const &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(decodeA(c.text), c.bytes);
    }
}

TEST(Base64Decode, WideAndStringForms) {
    Base64Coder c;
    c.DecodeW(L"TW\r\nFu");
    EXPECT_EQ(decoded(c), B("Man"));
    // Only the low byte of a unit counts: U+0154 reads as "T", U+010A as a skipped line feed.
    const wchar_t units[] = {0x0154, L'W', 0x010A, L'F', L'u', 0};
    c.DecodeW(units);
    EXPECT_EQ(decoded(c), B("Man"));
    c.DecodeW(nullptr);
    EXPECT_EQ(decoded(c), Bytes{});
    c.DecodeA(CKrStringA("Zm9v YmFy"));
    EXPECT_EQ(decoded(c), B("foobar"));
    c.DecodeA(nullptr, 12);
    EXPECT_EQ(decoded(c), Bytes{});
    c.Encode(nullptr, 12);
    EXPECT_EQ(encoded(c), "");
}

TEST(Base64Buffers, WholeBlocksZeroedNeverShrinking) {
    InspectCoder c;
    EXPECT_EQ(c.EncodedBuffer(nullptr), nullptr);
    c.AllocEncode(0);
    EXPECT_EQ(c.encodeCapacity(), 4096u);
    c.AllocEncode(4095);
    EXPECT_EQ(c.encodeCapacity(), 4096u);
    c.AllocEncode(4096);
    EXPECT_EQ(c.encodeCapacity(), 4096u);
    c.AllocEncode(4097);
    EXPECT_EQ(c.encodeCapacity(), 8192u);
    c.AllocEncode(10);
    EXPECT_EQ(c.encodeCapacity(), 8192u);

    std::mt19937 rng(7);
    auto big = randomBytes(rng, 5000);
    c.Encode(big.data(), big.size());
    EXPECT_EQ(c.encodeCapacity(), 12288u);  // 2 * 5000 rounded down to blocks, plus one
    EXPECT_EQ(c.decodeCapacity(), 8192u);
    c.Encode(reinterpret_cast<unsigned char const *>("M"), 1);
    unsigned int n = 0;
    auto const *text = c.EncodedBuffer(&n);
    ASSERT_EQ(n, 4u);
    for (size_t i = n; i < c.encodeCapacity(); ++i) ASSERT_EQ(text[i], 0) << "stale text at " << i;
    auto const *raw = c.DecodedBuffer(nullptr);
    for (size_t i = 1; i < c.decodeCapacity(); ++i) ASSERT_EQ(raw[i], 0) << "stale byte at " << i;
    EXPECT_EQ(c.encodeCapacity(), 12288u);
}

TEST(Base64Buffers, OperandsInsideTheCodersOwnBuffers) {
    std::mt19937 rng(3);
    auto const data = randomBytes(rng, 3000);
    Base64Coder c;
    c.Encode(data.data(), data.size());
    unsigned int n = 0;
    auto const *text = c.EncodedBuffer(&n);
    std::string const expected = referenceEncode(data);
    c.DecodeA(text, n);  // its own encoded buffer as input
    EXPECT_EQ(decoded(c), data);
    size_t m = 0;
    auto const *raw = c.DecodedBuffer(&m);
    c.Encode(raw, m);  // its own decoded buffer as input
    EXPECT_EQ(encoded(c), expected);
}

TEST(Base64RoundTrip, EveryLengthUpTo4096AgainstReference) {
    std::mt19937 rng(12345);
    Base64Coder fast;
    VirtualPathCoder slow;
    for (size_t len = 0; len <= 4096; ++len) {
        auto const data = randomBytes(rng, len);
        std::string const ref = referenceEncode(data);
        fast.Encode(data.data(), data.size());
        ASSERT_EQ(encoded(fast), ref) << "length " << len;
        if (len % 37 == 0) {  // the general path is slower; a spread of lengths suffices
            slow.Encode(data.data(), data.size());
            ASSERT_EQ(encoded(slow), ref) << "length " << len;
        }
        Base64Coder back;
        back.DecodeA(reinterpret_cast<unsigned char const *>(ref.data()), static_cast<unsigned>(ref.size()));
        ASSERT_EQ(decoded(back), data) << "length " << len;
    }
}

TEST(Base64RoundTrip, MimeLinesOf76Characters) {
    std::mt19937 rng(99);
    auto const data = randomBytes(rng, 5700);
    std::string const flat = referenceEncode(data);
    std::string mime, wide;
    for (size_t i = 0; i < flat.size(); i += 76) mime += flat.substr(i, 76) + "\r\n";
    EXPECT_EQ(decodeA(mime), data);
    Base64Coder c;
    std::wstring w(mime.begin(), mime.end());
    c.DecodeW(w.c_str());
    EXPECT_EQ(decoded(c), data);
}

// The fast path of an exact Base64Coder and the virtual path must agree byte for byte, also on
// garbage: same lengths and same decoded buffer contents (including the bytes just past the
// length, which callers of the leftover rule read).
TEST(Base64RoundTrip, FastAndVirtualPathsAgree) {
    std::mt19937 rng(2024);
    const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=== \r\n\t*\xC1\xBD\x80\x06";
    for (int round = 0; round < 1500; ++round) {
        size_t const len = rng() % 300;
        Bytes text(len);
        bool const anyByte = round % 3 == 0;
        for (auto &ch : text)
            ch = anyByte ? static_cast<uint8_t>(rng()) : static_cast<uint8_t>(alphabet[rng() % (sizeof alphabet - 1)]);
        Base64Coder fast;
        VirtualPathCoder slow;
        fast.DecodeA(text.data(), static_cast<unsigned>(len));
        slow.DecodeA(text.data(), static_cast<unsigned>(len));
        size_t nf = 0, ns = 0;
        auto const *pf = fast.DecodedBuffer(&nf);
        auto const *ps = slow.DecodedBuffer(&ns);
        ASSERT_EQ(nf, ns) << "round " << round;
        ASSERT_EQ(0, std::memcmp(pf, ps, nf + 8)) << "round " << round;
        ASSERT_EQ(encoded(fast), encoded(slow)) << "round " << round;

        fast.Encode(text.data(), len);
        slow.Encode(text.data(), len);
        ASSERT_EQ(encoded(fast), encoded(slow)) << "round " << round;
    }
}

// Derived coders replace single steps and the public operations honour them.
class DashSkippingCoder : public Base64Coder {
protected:
    bool _IsBadMimeChar(unsigned char c) const override { return c == '-' || Base64Coder::_IsBadMimeChar(c); }
};
class UpperOnlyEncoder : public Base64Coder {
protected:
    void _EncodeRaw(TempBucket &six, TempBucket const &raw) override {
        Base64Coder::_EncodeRaw(six, raw);
        for (auto &v : six.nData) v %= 26;
    }
};

TEST(Base64Derived, StepsAreReachedVirtually) {
    DashSkippingCoder d;
    d.DecodeA(reinterpret_cast<unsigned char const *>("TW-Fu"), 5);
    EXPECT_EQ(decoded(d), B("Man"));
    d.DecodeW(L"T-W-F-u");
    EXPECT_EQ(decoded(d), B("Man"));
    UpperOnlyEncoder u;
    u.Encode(reinterpret_cast<unsigned char const *>("foobar"), 6);
    EXPECT_EQ(encoded(u), "ZMJVYMFY");  // "Zm9vYmFy" with every value taken modulo 26
}

TEST(Base64Copy, CopySharesTheBuffers) {
    Base64Coder a;
    a.Encode(reinterpret_cast<unsigned char const *>("Man"), 3);
    alignas(Base64Coder) unsigned char storage[sizeof(Base64Coder)];
    // Never destroyed: the buffers belong to `a`.
    auto *copy = new (storage) Base64Coder(a);
    unsigned int n = 0;
    EXPECT_EQ(copy->EncodedBuffer(&n), a.EncodedBuffer(nullptr));
    EXPECT_EQ(n, 4u);
    Base64Coder empty;
    *copy = empty;
    EXPECT_EQ(copy->EncodedBuffer(nullptr), nullptr);
}

// Several coders decoding for the first time at once (each ctest entry is its own process, so
// here the table really is filled concurrently; the thread sanitizer build checks the fill).
TEST(Base64Threads, ConcurrentFirstDecodes) {
    std::vector<std::thread> threads;
    std::vector<int> ok(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&ok, t] {
            Base64Coder c;
            for (int i = 0; i < 200; ++i) {
                c.DecodeA(reinterpret_cast<unsigned char const *>("Zm9vYmFy"), 8);
                size_t n = 0;
                auto const *p = c.DecodedBuffer(&n);
                if (n != 6 || std::memcmp(p, "foobar", 6) != 0) return;
            }
            ok[t] = 1;
        });
    for (auto &th : threads) th.join();
    EXPECT_EQ(ok, std::vector<int>(4, 1));
}

}  // namespace
