// Byte arrays, Base64 and typed vectors, side by side with memcpy, libb64 and std::vector.
// Sizes are the raw byte counts; SetBytesProcessed uses them for every coder, so the MB/s
// columns compare directly.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <b64/cdecode.h>
#include <b64/cencode.h>
}

#include "types/Base64Coder.h"
#include "types/CKrByteArray.h"
#include "types/CKrVector.h"

namespace {

std::vector<unsigned char> randomBytes(size_t n) {
    std::mt19937 rng(42);
    std::vector<unsigned char> v(n);
    for (auto &b : v) b = static_cast<unsigned char>(rng());
    return v;
}

std::string encodeText(std::vector<unsigned char> const &raw) {
    Base64Coder c;
    c.Encode(raw.data(), raw.size());
    unsigned int n = 0;
    auto const *p = c.EncodedBuffer(&n);
    return std::string(reinterpret_cast<char const *>(p), n);
}

void SizeArgs(benchmark::internal::Benchmark *b) { b->Arg(64)->Arg(4096)->Arg(1 << 20); }

// ---- Base64 encode ---------------------------------------------------------------------------

void BM_Types_Memcpy(benchmark::State &state) {
    size_t const n = static_cast<size_t>(state.range(0));
    auto const src = randomBytes(n);
    std::vector<unsigned char> dst(n);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), n);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(n));
}
BENCHMARK(BM_Types_Memcpy)->Apply(SizeArgs);

void BM_Types_Base64Encode_Orvik(benchmark::State &state) {
    size_t const n = static_cast<size_t>(state.range(0));
    auto const src = randomBytes(n);
    Base64Coder coder;
    for (auto _ : state) {
        coder.Encode(src.data(), n);
        benchmark::DoNotOptimize(coder.EncodedBuffer(nullptr));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(n));
}
BENCHMARK(BM_Types_Base64Encode_Orvik)->Apply(SizeArgs);

void BM_Types_Base64Encode_Libb64(benchmark::State &state) {
    size_t const n = static_cast<size_t>(state.range(0));
    auto const src = randomBytes(n);
    std::vector<char> out(2 * n + 16);
    for (auto _ : state) {
        base64_encodestate s;
        base64_init_encodestate(&s);
        int len = base64_encode_block(reinterpret_cast<char const *>(src.data()),
                                      static_cast<int>(n), out.data(), &s);
        len += base64_encode_blockend(out.data() + len, &s);
        benchmark::DoNotOptimize(len);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(n));
}
BENCHMARK(BM_Types_Base64Encode_Libb64)->Apply(SizeArgs);

// ---- Base64 decode ---------------------------------------------------------------------------

void BM_Types_Base64DecodeA_Orvik(benchmark::State &state) {
    size_t const n = static_cast<size_t>(state.range(0));
    std::string const text = encodeText(randomBytes(n));
    Base64Coder coder;
    for (auto _ : state) {
        coder.DecodeA(reinterpret_cast<unsigned char const *>(text.data()),
                      static_cast<unsigned>(text.size()));
        benchmark::DoNotOptimize(coder.DecodedBuffer(nullptr));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(n));
}
BENCHMARK(BM_Types_Base64DecodeA_Orvik)->Apply(SizeArgs);

void BM_Types_Base64Decode_Libb64(benchmark::State &state) {
    size_t const n = static_cast<size_t>(state.range(0));
    std::string const text = encodeText(randomBytes(n));
    std::vector<char> out(n + 16);
    for (auto _ : state) {
        base64_decodestate s;
        base64_init_decodestate(&s);
        int const len =
            base64_decode_block(text.data(), static_cast<int>(text.size()), out.data(), &s);
        benchmark::DoNotOptimize(len);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(n));
}
BENCHMARK(BM_Types_Base64Decode_Libb64)->Apply(SizeArgs);

// ---- appending 1 MiB in 64-byte pieces ---------------------------------------------------------

constexpr size_t kAppendTotal = 1 << 20;
constexpr size_t kPiece = 64;

void BM_Types_ByteArrayAppend64(benchmark::State &state) {
    size_t const increment = static_cast<size_t>(state.range(0));
    auto const piece = randomBytes(kPiece);
    for (auto _ : state) {
        CKrByteArray a(increment);
        for (size_t done = 0; done < kAppendTotal; done += kPiece)
            a.SetData(piece.data(), kPiece, CKrByteArray::ModeOpAppend,
                      CKrByteArray::ModeAllocIncrement);
        benchmark::DoNotOptimize(a.GetData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kAppendTotal));
}
BENCHMARK(BM_Types_ByteArrayAppend64)->Arg(1024)->Arg(65536);

void BM_Types_StdVectorAppend64(benchmark::State &state) {
    auto const piece = randomBytes(kPiece);
    for (auto _ : state) {
        std::vector<uint8_t> v;
        for (size_t done = 0; done < kAppendTotal; done += kPiece)
            v.insert(v.end(), piece.begin(), piece.end());
        benchmark::DoNotOptimize(v.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kAppendTotal));
}
BENCHMARK(BM_Types_StdVectorAppend64);

// ---- vector push_back ------------------------------------------------------------------------

constexpr int kPushCount = 100000;

void BM_Types_VectorPushBack_Orvik(benchmark::State &state) {
    for (auto _ : state) {
        CKrVector_kr_int32 v;
        for (int i = 0; i < kPushCount; ++i) v.push_back(i);
        benchmark::DoNotOptimize(v.at(0));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPushCount);
}
BENCHMARK(BM_Types_VectorPushBack_Orvik);

void BM_Types_VectorPushBack_Std(benchmark::State &state) {
    for (auto _ : state) {
        std::vector<kr_int32> v;
        v.reserve(128);  // same starting capacity
        for (int i = 0; i < kPushCount; ++i) v.push_back(i);
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPushCount);
}
BENCHMARK(BM_Types_VectorPushBack_Std);

void BM_Types_VectorPushBackStringW_Orvik(benchmark::State &state) {
    CKrStringW const s(L"element");
    for (auto _ : state) {
        CKrVector_CKrStringW v;
        for (int i = 0; i < 10000; ++i) v.push_back(s);
        benchmark::DoNotOptimize(v.at(0));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
}
BENCHMARK(BM_Types_VectorPushBackStringW_Orvik);

void BM_Types_VectorPushBackStringW_Std(benchmark::State &state) {
    CKrStringW const s(L"element");
    for (auto _ : state) {
        std::vector<CKrStringW> v;
        v.reserve(128);
        for (int i = 0; i < 10000; ++i) v.push_back(s);
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
}
BENCHMARK(BM_Types_VectorPushBackStringW_Std);

}  // namespace
