// UTF-8 coders over 1 MiB of mostly-ASCII text, beside a plain hand-written loop into a standard
// string doing the same work (the baseline a caller would write without the library).
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "strings/CKrStringUtils.h"

namespace {

// About 1 MiB of UTF-8: ASCII words with one accented or CJK character in every ~40 bytes.
const std::string &mostlyAsciiUtf8() {
    static const std::string text = [] {
        std::mt19937 rng(7);
        std::string s;
        while (s.size() < (1u << 20)) {
            for (int i = 0; i < 38; ++i) s += static_cast<char>('a' + rng() % 26);
            s += (rng() % 2) ? "\xC3\xA9" : "\xE4\xB8\xAD";
        }
        return s;
    }();
    return text;
}

const std::wstring &mostlyAsciiWide() {
    static const std::wstring text = [] {
        CKrStringW w;
        CKrStringUtils::UTF8toW(mostlyAsciiUtf8().c_str(), w);
        return w.GetStdString();
    }();
    return text;
}

void BM_UTF8toW(benchmark::State &state) {
    const std::string &in = mostlyAsciiUtf8();
    CKrStringW out;
    for (auto _ : state) {
        CKrStringUtils::UTF8toW(in.c_str(), out);
        benchmark::DoNotOptimize(out.GetString());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}
BENCHMARK(BM_UTF8toW);

void BM_UTF8toW_Baseline_HandLoop(benchmark::State &state) {
    const std::string &in = mostlyAsciiUtf8();
    std::wstring out;
    for (auto _ : state) {
        out.clear();
        const unsigned char *p = reinterpret_cast<const unsigned char *>(in.c_str());
        while (*p) {
            unsigned c = *p++;
            if (c < 0x80) {
                out.push_back(static_cast<wchar_t>(c));
            } else if ((c & 0xE0) == 0xC0) {
                out.push_back(static_cast<wchar_t>(((c & 0x1F) << 6) | (p[0] & 0x3F)));
                p += 1;
            } else {
                out.push_back(static_cast<wchar_t>(((c & 0x0F) << 12) | ((p[0] & 0x3F) << 6) |
                                                   (p[1] & 0x3F)));
                p += 2;
            }
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}
BENCHMARK(BM_UTF8toW_Baseline_HandLoop);

void BM_WtoUTF8(benchmark::State &state) {
    const std::wstring &in = mostlyAsciiWide();
    CKrStringA out;
    for (auto _ : state) {
        CKrStringUtils::WtoUTF8(in.c_str(), out);
        benchmark::DoNotOptimize(out.GetString());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(mostlyAsciiUtf8().size()));
}
BENCHMARK(BM_WtoUTF8);

void BM_WtoUTF8_Baseline_HandLoop(benchmark::State &state) {
    const std::wstring &in = mostlyAsciiWide();
    std::string out;
    for (auto _ : state) {
        out.clear();
        for (const wchar_t *p = in.c_str(); *p; ++p) {
            unsigned u = static_cast<unsigned>(*p);
            if (u < 0x80) {
                out.push_back(static_cast<char>(u));
            } else if (u < 0x800) {
                out.push_back(static_cast<char>(0xC0 | (u >> 6)));
                out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
            } else {
                out.push_back(static_cast<char>(0xE0 | (u >> 12)));
                out.push_back(static_cast<char>(0x80 | ((u >> 6) & 0x3F)));
                out.push_back(static_cast<char>(0x80 | (u & 0x3F)));
            }
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(mostlyAsciiUtf8().size()));
}
BENCHMARK(BM_WtoUTF8_Baseline_HandLoop);

void BM_Utf8CheckIsValid(benchmark::State &state) {
    const std::string &in = mostlyAsciiUtf8();
    for (auto _ : state) benchmark::DoNotOptimize(CKrStringUtils::utf8_check_is_valid(in.c_str()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}
BENCHMARK(BM_Utf8CheckIsValid);

}  // namespace
