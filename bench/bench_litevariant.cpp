// Lite variant buffers side by side with msgpack-c++ and FlexBuffers on one metadata record of
// about 100,000 items: scalars of every type, strings, blobs, and levels of 10 to 10,000
// children.  Each format replays the same plan of items, with names prepared beforehand in the
// form it stores (UTF-16 for the lite variant, UTF-8 for the peers).
//
// Cases: writing; lookup of one name in the 10,000-child level (found, as IsValueSet against
// IsNull, and with its integer value read on both sides) and of a four-level path;
// reading every item in writing order; Validate; Finalize compressed and the first access of a
// compressed buffer against direct zlib calls.  Counters: MB/s over the plain buffer where a
// whole buffer is read, and heap allocations (operator new) per iteration where reading must not
// allocate.
#include <benchmark/benchmark.h>
#include <flatbuffers/flexbuffers.h>
#include <zlib.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <msgpack.hpp>
#include <new>
#include <string>
#include <vector>

#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"

// ---- heap allocation counter (operator new, for the whole program) ---------------------------

namespace {
std::atomic<long> g_news{0};
}
void *operator new(std::size_t n) {
    g_news.fetch_add(1, std::memory_order_relaxed);
    if (void *p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }

namespace {

// ---- the record ------------------------------------------------------------------------------

enum Kind { kBegin, kEnd, kInt, kUInt, kInt64, kUInt64, kDouble, kBool, kString, kBlob };

struct Op {
    Kind kind;
    std::wstring wname;
    std::string name;  // UTF-8 (ASCII here)
    long long number;  // integers, bools; child count for kBegin
    double real;
    std::wstring wtext;
    std::string text;
    std::vector<unsigned char> blob;
};

struct Plan {
    std::vector<Op> ops;
    size_t items = 0;
};

Plan makePlan() {
    Plan plan;
    std::vector<size_t> open;  // indexes of kBegin ops, to fill in child counts
    auto add = [&](Op op) {
        if (!open.empty()) ++plan.ops[open.back()].number;
        if (op.kind != kEnd) ++plan.items;
        plan.ops.push_back(std::move(op));
    };
    auto begin = [&](std::string const &n) {
        add(Op{kBegin, std::wstring(n.begin(), n.end()), n, 0, 0, {}, {}, {}});
        open.push_back(plan.ops.size() - 1);
    };
    auto end = [&] {
        open.pop_back();
        plan.ops.push_back(Op{kEnd, {}, {}, 0, 0, {}, {}, {}});
    };
    // One scalar of a kind chosen by i, so every level mixes every type.
    auto scalar = [&](std::string const &n, int i) {
        Op op{Kind(kInt + i % 8),
              std::wstring(n.begin(), n.end()),
              n,
              i * 7919LL,
              i * 0.37,
              {},
              {},
              {}};
        if (op.kind == kString) {
            op.text = "value " + std::to_string(i) + " of the acquisition";
            op.wtext.assign(op.text.begin(), op.text.end());
        }
        if (op.kind == kBlob) op.blob.assign(16 + i % 48, static_cast<unsigned char>(i));
        add(std::move(op));
    };
    begin("meta");
    begin("big");  // 10,000 children
    for (int i = 0; i < 10000; ++i) scalar("key" + std::to_string(i * 37 % 100003), i);
    end();
    begin("channels");  // 100 levels of 10
    for (int c = 0; c < 100; ++c) {
        begin("channel" + std::to_string(c));
        for (int i = 0; i < 10; ++i) scalar("p" + std::to_string(i), c * 10 + i);
        end();
    }
    end();
    begin("planes");  // 88 levels of 1000
    for (int p = 0; p < 88; ++p) {
        begin("plane" + std::to_string(p));
        for (int i = 0; i < 1000; ++i) scalar("t" + std::to_string(i), p * 1000 + i);
        end();
    }
    end();
    begin("deep");  // the four-level path deep/l2/l3/v<i>
    begin("l2");
    begin("l3");
    for (int i = 0; i < 100; ++i) scalar("v" + std::to_string(i), i);
    end();
    end();
    end();
    begin("thumbs");
    for (int i = 0; i < 10; ++i) {
        Op op{kBlob, L"thumb" + std::to_wstring(i), "thumb" + std::to_string(i), 0, 0, {}, {}, {}};
        op.blob.assign(4096, static_cast<unsigned char>(i));
        add(std::move(op));
    }
    end();
    end();
    return plan;
}

Plan const &plan() {
    static Plan const p = makePlan();
    return p;
}

// ---- writers ---------------------------------------------------------------------------------

void writeLite(CKrLiteVariantW &w) {
    for (Op const &op : plan().ops) {
        wchar_t const *n = op.wname.c_str();
        switch (op.kind) {
            case kBegin:
                w.LevelBegin(n);
                break;
            case kEnd:
                w.LevelEnd();
                break;
            case kInt:
                w.Set(int(op.number), n);
                break;
            case kUInt:
                w.Set(unsigned(op.number), n);
                break;
            case kInt64:
                w.Set(kr_int64(op.number), n);
                break;
            case kUInt64:
                w.Set(kr_uint64(op.number), n);
                break;
            case kDouble:
                w.Set(op.real, n);
                break;
            case kBool:
                w.Set(op.number % 2 == 0, n);
                break;
            case kString:
                w.Set(op.wtext.c_str(), n);
                break;
            case kBlob:
                w.Set(op.blob.data(), op.blob.size(), n);
                break;
        }
    }
}

void writeMsgpack(msgpack::sbuffer &buf) {
    msgpack::packer<msgpack::sbuffer> pk(buf);
    for (Op const &op : plan().ops) {
        if (op.kind == kEnd) continue;
        if (!op.name.empty() && &op != &plan().ops[0]) pk.pack(op.name);
        switch (op.kind) {
            case kBegin:
                pk.pack_map(uint32_t(op.number));
                break;
            case kInt:
                pk.pack(int32_t(op.number));
                break;
            case kUInt:
                pk.pack(uint32_t(op.number));
                break;
            case kInt64:
                pk.pack(int64_t(op.number));
                break;
            case kUInt64:
                pk.pack(uint64_t(op.number));
                break;
            case kDouble:
                pk.pack(op.real);
                break;
            case kBool:
                pk.pack(op.number % 2 == 0);
                break;
            case kString:
                pk.pack(op.text);
                break;
            case kBlob:
                pk.pack_bin(uint32_t(op.blob.size()));
                pk.pack_bin_body(reinterpret_cast<char const *>(op.blob.data()),
                                 uint32_t(op.blob.size()));
                break;
            default:
                break;
        }
    }
}

void writeFlex(flexbuffers::Builder &fbb) {
    std::vector<size_t> starts;
    bool first = true;
    for (Op const &op : plan().ops) {
        char const *key = first ? nullptr : op.name.c_str();
        first = false;
        switch (op.kind) {
            case kBegin:
                starts.push_back(key ? fbb.StartMap(key) : fbb.StartMap());
                break;
            case kEnd:
                fbb.EndMap(starts.back());
                starts.pop_back();
                break;
            case kInt:
                fbb.Int(key, int32_t(op.number));
                break;
            case kUInt:
                fbb.UInt(key, uint32_t(op.number));
                break;
            case kInt64:
                fbb.Int(key, int64_t(op.number));
                break;
            case kUInt64:
                fbb.UInt(key, uint64_t(op.number));
                break;
            case kDouble:
                fbb.Double(key, op.real);
                break;
            case kBool:
                fbb.Bool(key, op.number % 2 == 0);
                break;
            case kString:
                fbb.String(key, op.text);
                break;
            case kBlob:
                fbb.Blob(key, op.blob.data(), op.blob.size());
                break;
        }
    }
    fbb.Finish();
}

struct Buffers {
    CKrLiteVariantR lite;
    std::vector<unsigned char> plainBytes;
    msgpack::sbuffer msgpack;
    std::vector<uint8_t> flex;
    Buffers() {
        CKrLiteVariantW w;
        writeLite(w);
        w.Finalize(lite, 0);
        auto const *p = static_cast<unsigned char const *>(lite.GetPointer());
        plainBytes.assign(p, p + lite.GetSize());
        writeMsgpack(msgpack);
        flexbuffers::Builder fbb;
        writeFlex(fbb);
        flex = fbb.GetBuffer();
    }
};

Buffers &buffers() {
    static Buffers b;
    return b;
}

void setBytes(benchmark::State &state, size_t bytes) {
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
    state.counters["MB"] = double(bytes) / 1e6;
}

// ---- writing ---------------------------------------------------------------------------------

void BM_LvWrite_Lite(benchmark::State &state) {
    for (auto _ : state) {
        CKrLiteVariantW w;
        writeLite(w);
        CKrLiteVariantR r;
        benchmark::DoNotOptimize(w.Finalize(r, 0));
    }
    state.counters["items"] = double(plan().items);
    setBytes(state, buffers().plainBytes.size());
}
void BM_LvWrite_Msgpack(benchmark::State &state) {
    for (auto _ : state) {
        msgpack::sbuffer buf;
        writeMsgpack(buf);
        benchmark::DoNotOptimize(buf.data());
    }
    setBytes(state, buffers().msgpack.size());
}
void BM_LvWrite_Flex(benchmark::State &state) {
    for (auto _ : state) {
        flexbuffers::Builder fbb;
        writeFlex(fbb);
        benchmark::DoNotOptimize(fbb.GetBuffer().data());
    }
    setBytes(state, buffers().flex.size());
}

// ---- lookup ----------------------------------------------------------------------------------

std::vector<Op const *> const &bigKeys() {
    static std::vector<Op const *> keys = [] {
        std::vector<Op const *> k;
        for (size_t i = 2; i < 2 + 10000; i += 41) k.push_back(&plan().ops[i]);
        return k;
    }();
    return keys;
}

void BM_LvLookup10k_Lite(benchmark::State &state) {
    CKrLiteVariantR &r = buffers().lite;
    r.Reset();
    r.LevelBegin(L"meta");
    r.LevelBegin(L"big");
    auto const &keys = bigKeys();
    size_t i = 0;
    long const before = g_news.load();
    for (auto _ : state) {
        benchmark::DoNotOptimize(r.IsValueSet(keys[i]->wname.c_str()));
        if (++i == keys.size()) i = 0;
    }
    state.counters["allocs"] = double(g_news.load() - before);
}
void BM_LvLookup10k_Flex(benchmark::State &state) {
    auto big = flexbuffers::GetRoot(buffers().flex).AsMap()["big"].AsMap();
    auto const &keys = bigKeys();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(big[keys[i]->name.c_str()].IsNull());
        if (++i == keys.size()) i = 0;
    }
}
void BM_LvLookup10k_Msgpack(benchmark::State &state) {
    msgpack::object_handle oh = msgpack::unpack(buffers().msgpack.data(), buffers().msgpack.size());
    msgpack::object_map const &meta = oh.get().via.map;
    msgpack::object_map const *big = nullptr;
    for (uint32_t k = 0; k < meta.size; ++k)
        if (meta.ptr[k].key.as<std::string>() == "big") big = &meta.ptr[k].val.via.map;
    auto const &keys = bigKeys();
    size_t i = 0;
    for (auto _ : state) {
        std::string const &want = keys[i]->name;
        msgpack::object const *hit = nullptr;
        for (uint32_t k = 0; k < big->size && !hit; ++k) {
            msgpack::object_str const &s = big->ptr[k].key.via.str;
            if (s.size == want.size() && std::memcmp(s.ptr, want.data(), s.size) == 0)
                hit = &big->ptr[k].val;
        }
        benchmark::DoNotOptimize(hit);
        if (++i == keys.size()) i = 0;
    }
}

// The same lookups with the found value read: integer items only (every eighth child), read as
// int on both sides.
std::vector<Op const *> const &bigIntKeys() {
    static std::vector<Op const *> keys = [] {
        std::vector<Op const *> k;
        for (size_t i = 2; i < 2 + 10000; i += 8 * 5) k.push_back(&plan().ops[i]);
        return k;
    }();
    return keys;
}

void BM_LvLookup10kValue_Lite(benchmark::State &state) {
    CKrLiteVariantR &r = buffers().lite;
    r.Reset();
    r.LevelBegin(L"meta");
    r.LevelBegin(L"big");
    auto const &keys = bigIntKeys();
    size_t i = 0;
    long sum = 0;
    long const before = g_news.load();
    for (auto _ : state) {
        sum += r.Get(keys[i]->wname.c_str(), 0);
        if (++i == keys.size()) i = 0;
    }
    benchmark::DoNotOptimize(sum);
    state.counters["allocs"] = double(g_news.load() - before);
}
void BM_LvLookup10kValue_Flex(benchmark::State &state) {
    auto big = flexbuffers::GetRoot(buffers().flex).AsMap()["big"].AsMap();
    auto const &keys = bigIntKeys();
    size_t i = 0;
    long sum = 0;
    for (auto _ : state) {
        sum += big[keys[i]->name.c_str()].AsInt32();
        if (++i == keys.size()) i = 0;
    }
    benchmark::DoNotOptimize(sum);
}

void BM_LvLookupPath_Lite(benchmark::State &state) {
    CKrLiteVariantR &r = buffers().lite;
    std::wstring paths[4];
    for (int k = 0; k < 4; ++k) paths[k] = L"\\meta\\deep\\l2\\l3\\v" + std::to_wstring(k * 31);
    int k = 0;
    long const before = g_news.load();
    for (auto _ : state) {
        benchmark::DoNotOptimize(r.IsValueSet(paths[k].c_str()));
        k = (k + 1) & 3;
    }
    state.counters["allocs"] = double(g_news.load() - before);
}
void BM_LvLookupPath_Flex(benchmark::State &state) {
    auto root = flexbuffers::GetRoot(buffers().flex).AsMap();
    std::string keys[4];
    for (int k = 0; k < 4; ++k) keys[k] = "v" + std::to_string(k * 31);
    int k = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            root["deep"].AsMap()["l2"].AsMap()["l3"].AsMap()[keys[k].c_str()].IsNull());
        k = (k + 1) & 3;
    }
}

// ---- reading in writing order ----------------------------------------------------------------

void BM_LvReadAll_Lite(benchmark::State &state) {
    CKrLiteVariantR &r = buffers().lite;
    wchar_t text[256];
    unsigned char blob[4096];
    long const before = g_news.load();
    for (auto _ : state) {
        r.Reset();
        unsigned count;
        double sum = 0;
        for (Op const &op : plan().ops) {
            wchar_t const *n = op.wname.c_str();
            switch (op.kind) {
                case kBegin:
                    r.LevelBegin(n, &count);
                    break;
                case kEnd:
                    r.LevelEnd();
                    break;
                case kInt:
                    sum += r.Get(n, 0);
                    break;
                case kUInt:
                    sum += r.Get(n, 0u);
                    break;
                case kInt64:
                    sum += double(r.Get(n, kr_int64(0)));
                    break;
                case kUInt64:
                    sum += double(r.Get(n, kr_uint64(0)));
                    break;
                case kDouble:
                    sum += r.Get(n, 0.0);
                    break;
                case kBool:
                    sum += r.Get(n, false);
                    break;
                case kString:
                    sum += r.GetStringIntoBuffer(n, text, 256);
                    break;
                case kBlob:
                    sum += r.Get(n, blob, sizeof blob);
                    break;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.counters["allocs"] = double(g_news.load() - before) / double(state.iterations());
    setBytes(state, buffers().plainBytes.size());
}
void BM_LvReadAll_Msgpack(benchmark::State &state) {
    for (auto _ : state) {
        msgpack::object_handle oh =
            msgpack::unpack(buffers().msgpack.data(), buffers().msgpack.size());
        benchmark::DoNotOptimize(oh.get().type);
    }
    setBytes(state, buffers().msgpack.size());
}
double walkFlex(flexbuffers::Reference ref) {
    if (ref.IsMap()) {
        auto map = ref.AsMap();
        auto keys = map.Keys();
        auto values = map.Values();
        double sum = 0;
        for (size_t i = 0; i < values.size(); ++i) sum += keys[i].AsKey()[0] + walkFlex(values[i]);
        return sum;
    }
    if (ref.IsString()) return double(ref.AsString().length());
    if (ref.IsBlob()) return double(ref.AsBlob().size());
    return ref.AsDouble();
}
void BM_LvReadAll_Flex(benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(walkFlex(flexbuffers::GetRoot(buffers().flex)));
    setBytes(state, buffers().flex.size());
}

void BM_LvValidate(benchmark::State &state) {
    CKrLiteVariantR &r = buffers().lite;
    for (auto _ : state) benchmark::DoNotOptimize(r.Validate(nullptr));
    setBytes(state, buffers().plainBytes.size());
}

// ---- the compressed envelope ------------------------------------------------------------------

void BM_LvFinalizeCompressed_Lite(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto *w = new CKrLiteVariantW;
        w->Append(buffers().lite);
        CKrLiteVariantR r;
        state.ResumeTiming();
        benchmark::DoNotOptimize(w->Finalize(r, 1));
        state.PauseTiming();
        delete w;
        state.ResumeTiming();
    }
    setBytes(state, buffers().plainBytes.size());
}
void BM_LvFinalizeCompressed_Zlib(benchmark::State &state) {
    auto const &plain = buffers().plainBytes;
    for (auto _ : state) {
        size_t const room = size_t(double(plain.size()) * 1.2 + 24);
        auto *out = static_cast<Bytef *>(std::malloc(room));
        uLongf packed = uLongf(plain.size());
        benchmark::DoNotOptimize(
            compress2(out + 12, &packed, plain.data(), uLong(plain.size()), 6));
        std::free(out);
    }
    setBytes(state, plain.size());
}

std::vector<unsigned char> const &envelope() {
    static std::vector<unsigned char> env = [] {
        CKrLiteVariantW w;
        w.Append(buffers().lite);
        CKrLiteVariantR r;
        w.Finalize(r, 1);
        auto const *p = static_cast<unsigned char const *>(r.GetPointer());
        return std::vector<unsigned char>(p, p + r.GetSize());
    }();
    return env;
}
void BM_LvFirstAccess_Lite(benchmark::State &state) {
    auto const &env = envelope();
    for (auto _ : state) {
        state.PauseTiming();
        CKrLiteVariantR r;
        void *p = CKrAlloc::Alloc(0, env.size(), 16);
        std::memcpy(p, env.data(), env.size());
        r.SetPointer(p, env.size(), env.size());
        state.ResumeTiming();
        benchmark::DoNotOptimize(r.Decompress());
        state.PauseTiming();
        r.Clear();
        state.ResumeTiming();
    }
    setBytes(state, buffers().plainBytes.size());
}
void BM_LvFirstAccess_Zlib(benchmark::State &state) {
    auto const &env = envelope();
    size_t const plain = buffers().plainBytes.size();
    for (auto _ : state) {
        auto *out = static_cast<Bytef *>(std::calloc(1, plain));
        uLongf produced = uLongf(plain);
        benchmark::DoNotOptimize(
            uncompress(out, &produced, env.data() + 12, uLong(env.size() - 12)));
        std::free(out);
    }
    setBytes(state, plain);
}

}  // namespace

BENCHMARK(BM_LvWrite_Lite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvWrite_Msgpack)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvWrite_Flex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvLookup10k_Lite);
BENCHMARK(BM_LvLookup10k_Flex);
BENCHMARK(BM_LvLookup10k_Msgpack);
BENCHMARK(BM_LvLookup10kValue_Lite);
BENCHMARK(BM_LvLookup10kValue_Flex);
BENCHMARK(BM_LvLookupPath_Lite);
BENCHMARK(BM_LvLookupPath_Flex);
BENCHMARK(BM_LvReadAll_Lite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvReadAll_Msgpack)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvReadAll_Flex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvValidate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvFinalizeCompressed_Lite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvFinalizeCompressed_Zlib)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvFirstAccess_Lite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvFirstAccess_Zlib)->Unit(benchmark::kMillisecond);
