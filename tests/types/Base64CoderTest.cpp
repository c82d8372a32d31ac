#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "strings/CKrStringA.h"
#include "types/Base64Coder.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes B(std::string const &s) { return Bytes(s.begin(), s.end()); }

std::string encoded(Base64Coder const &c) {
    unsigned int n = 0;
    auto const *p = c.EncodedBuffer(&n);
    return p ? std::string(reinterpret_cast<char const *>(p), n) : std::string();
}
Bytes decoded(Base64Coder const &c) {
    size_t n = 0;
    auto const *p = c.DecodedBuffer(&n);
    return p ? Bytes(p, p + n) : Bytes();
}
std::string encode(Base64Coder &c, Bytes const &raw) {
    c.Encode(raw.data(), raw.size());
    return encoded(c);
}
template <class Text>
Bytes decode(Base64Coder &c, Text const &text) {
    c.DecodeA(reinterpret_cast<unsigned char const *>(text.data()),
              static_cast<unsigned>(text.size()));
    return decoded(c);
}

// Not exactly a Base64Coder, so every step goes through the virtual calls.
class VirtualPathCoder : public Base64Coder {
public:
    kr_uint64 encodeCapacity() const { return m_nEBufLen; }
    kr_uint64 decodeCapacity() const { return m_nDBufLen; }
};

TEST(Base64Encode, KnownTexts) {
    const std::pair<const char *, const char *> cases[] = {
        {"", ""},
        {"M", "TQ=="},
        {"Ma", "TWE="},
        {"Man", "TWFu"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xff\xfe\xfd", "//79"},
        {"\xfb\xef\xbe", "++++"},
    };
    for (auto const &[raw, text] : cases) {
        SCOPED_TRACE(text);
        Base64Coder c;
        EXPECT_EQ(encode(c, B(raw)), text);
        EXPECT_EQ(decoded(c), B(raw)) << "the input stays in the decoded buffer";
        EXPECT_EQ(decode(c, std::string(text)), B(raw));
    }
}

TEST(Base64Decode, DeliberateRules) {
    // {what, text, the first `length` bytes of the decoded buffer}
    const std::tuple<const char *, std::string, Bytes> cases[] = {
        {"space skipped", "TW Fu", B("Man")},
        {"all of 7..13 skipped", std::string("T\a\b\t\n\v\f\rWFu"), B("Man")},
        {"leftover counts characters", "TWE", Bytes{'M', 'a', 0}},
        {"single leftover", "T", Bytes{0x4C}},
        {"pad count kept across groups", "TQ==TWFu", Bytes{'M', 0, 0, 'M'}},
        {"later one-pad group overrides", "TQ==TWE=", Bytes{'M', 0, 0, 'M', 'a'}},
        {"bit-7 twins", "\xD4\xD7\xC6\xF5", B("Man")},
        {"unknown characters act as 62", "****", Bytes{0xFB, 0xEF, 0xBE}},
        {"bytes 6 and 14 are not skipped", std::string("\x06\x0e++"), Bytes{0xFB, 0xEF, 0xBE}},
        {"pad in a leftover is 0", "TQ=", Bytes{'M', 0, 0}},
    };
    Base64Coder c;  // one coder for all: each decode starts from clean buffers
    for (auto const &[name, text, bytes] : cases) EXPECT_EQ(decode(c, text), bytes) << name;
}

TEST(Base64Decode, WideAndStringForms) {
    Base64Coder c;
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
    VirtualPathCoder c, steps;
    EXPECT_EQ(c.EncodedBuffer(nullptr), nullptr);
    for (auto [n, cap] : {std::pair<size_t, kr_uint64>{0, 4096},
                          {4095, 4096},
                          {4096, 4096},
                          {4097, 8192},
                          {10, 8192},
                          {12288, 16384}}) {
        steps.AllocEncode(n);
        EXPECT_EQ(steps.encodeCapacity(), cap) << n;
    }
    Bytes big(5000);
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<uint8_t>(i * 131 + i / 256);
    std::string const bigText = encode(c, big);
    EXPECT_EQ(c.encodeCapacity(), 12288u);  // 2 * 5000 rounded down to blocks, plus one
    EXPECT_EQ(c.decodeCapacity(), 8192u);
    // The coder's own buffers as operands, although each operation zeroes them first.
    unsigned int n = 0;
    auto const *text = c.EncodedBuffer(&n);
    c.DecodeA(text, n);
    EXPECT_EQ(decoded(c), big);
    size_t m = 0;
    auto const *raw = c.DecodedBuffer(&m);
    c.Encode(raw, m);
    EXPECT_EQ(encoded(c), bigText);
    // A short result after a long one: everything past it is zero again, nothing shrank.
    ASSERT_EQ(encode(c, B("M")), "TQ==");
    text = c.EncodedBuffer(nullptr);
    for (size_t i = 4; i < c.encodeCapacity(); ++i) ASSERT_EQ(text[i], 0) << "stale text at " << i;
    raw = c.DecodedBuffer(nullptr);
    for (size_t i = 1; i < c.decodeCapacity(); ++i) ASSERT_EQ(raw[i], 0) << "stale byte at " << i;
    EXPECT_EQ(c.encodeCapacity(), 12288u);
}

// Random inputs against an independent encoder, and the fast path against the virtual one,
// are the base64 fuzz target's (replayed by ctest with seeded random inputs).

// Derived coders replace single steps and the public operations honour them.
class DashSkippingCoder : public Base64Coder {
protected:
    bool _IsBadMimeChar(unsigned char c) const override {
        return c == '-' || Base64Coder::_IsBadMimeChar(c);
    }
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
    EXPECT_EQ(decode(d, std::string("TW-Fu")), B("Man"));
    d.DecodeW(L"T-W-F-u");
    EXPECT_EQ(decoded(d), B("Man"));
    UpperOnlyEncoder u;
    EXPECT_EQ(encode(u, B("foobar")), "ZMJVYMFY");  // "Zm9vYmFy" with every value taken modulo 26
}

TEST(Base64Copy, CopySharesTheBuffers) {
    Base64Coder a;
    encode(a, B("Man"));
    alignas(Base64Coder) unsigned char storage[sizeof(Base64Coder)];
    auto *copy = new (storage) Base64Coder(a);  // never destroyed: the buffers belong to `a`
    EXPECT_EQ(copy->EncodedBuffer(nullptr), a.EncodedBuffer(nullptr));
    EXPECT_EQ(encoded(*copy), "TWFu");
    *copy = Base64Coder();
    EXPECT_EQ(copy->EncodedBuffer(nullptr), nullptr);
}

// Several coders decoding for the first time at once (each ctest entry is its own process, so
// here the table really is filled concurrently; the thread sanitizer build checks the fill).
TEST(Base64Threads, ConcurrentFirstDecodes) {
    std::atomic<int> bad{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&bad] {
            Base64Coder c;
            for (int i = 0; i < 200; ++i) bad += decode(c, std::string("Zm9vYmFy")) != B("foobar");
        });
    for (auto &th : threads) th.join();
    EXPECT_EQ(bad.load(), 0);
}

}  // namespace
