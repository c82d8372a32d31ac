// String classes side by side with the plain standard-library way of doing the same work:
// Format vs one snprintf into a stack buffer, Replace vs a find-and-append loop, concatenation
// vs std::string, UTF-8 decoding vs a hand-written decoder.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

// ---- Format ---------------------------------------------------------------------------------

void BM_StringA_Format(benchmark::State &state) {
    CKrStringA s;
    int i = 0;
    for (auto _ : state) {
        s.Format("Image %d of %d: %s (%.2f ms)", ++i, 500, "channel-DAPI", 12.345);
        benchmark::DoNotOptimize(s.GetString());
    }
}
BENCHMARK(BM_StringA_Format);

void BM_Std_SnprintfStackBuffer(benchmark::State &state) {
    char buf[256];
    int i = 0;
    for (auto _ : state) {
        int n = std::snprintf(buf, sizeof buf, "Image %d of %d: %s (%.2f ms)", ++i, 500,
                              "channel-DAPI", 12.345);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_Std_SnprintfStackBuffer);

void BM_StringW_Format(benchmark::State &state) {
    CKrStringW s;
    int i = 0;
    for (auto _ : state) {
        s.Format(L"Image %d of %d: %s (%.2f ms)", ++i, 500, L"channel-DAPI", 12.345);
        benchmark::DoNotOptimize(s.GetString());
    }
}
BENCHMARK(BM_StringW_Format);

void BM_Std_SwprintfStackBuffer(benchmark::State &state) {
    wchar_t buf[256];
    int i = 0;
    for (auto _ : state) {
        int n = std::swprintf(buf, 256, L"Image %d of %d: %ls (%.2f ms)", ++i, 500, L"channel-DAPI",
                              12.345);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_Std_SwprintfStackBuffer);

// 1000 appended lines per iteration.
void BM_StringA_AppendFormatLoop(benchmark::State &state) {
    for (auto _ : state) {
        CKrStringA s;
        for (int i = 0; i < 1000; ++i) s.AppendFormat("%d;%s\n", i, "value");
        benchmark::DoNotOptimize(s.GetString());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_StringA_AppendFormatLoop);

void BM_Std_AppendSnprintfLoop(benchmark::State &state) {
    for (auto _ : state) {
        std::string s;
        char buf[64];
        for (int i = 0; i < 1000; ++i) {
            int n = std::snprintf(buf, sizeof buf, "%d;%s\n", i, "value");
            s.append(buf, static_cast<size_t>(n));
        }
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_Std_AppendSnprintfLoop);

// ---- Replace ----------------------------------------------------------------------------------

// About 1 MiB of text with one "needle" every ~300 bytes (about 3500 hits).
std::string const &replaceInput() {
    static const std::string text = [] {
        std::string t;
        const std::string filler =
            "The quick brown fox jumps over the lazy dog while the microscope scans the plate. ";
        int k = 0;
        while (t.size() < (1u << 20)) {
            t += filler;
            if (++k % 4 == 0)
                t += "needle ";
            else
                t += filler.substr(0, 20);
        }
        return t;
    }();
    return text;
}

void BM_StringA_Replace(benchmark::State &state) {
    const std::string &input = replaceInput();
    int64_t hits = 0;
    for (auto _ : state) {
        CKrStringA s(input);
        hits = s.Replace("needle", "pin-cushion");
        benchmark::DoNotOptimize(s.GetString());
    }
    state.counters["hits"] = static_cast<double>(hits);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(input.size()));
}
BENCHMARK(BM_StringA_Replace);

void BM_Std_FindAppendReplace(benchmark::State &state) {
    const std::string &input = replaceInput();
    const std::string from = "needle", to = "pin-cushion";
    for (auto _ : state) {
        std::string s(input);  // same starting point: a string that is edited
        std::string out;
        out.reserve(s.size() + s.size() / 8);
        size_t done = 0, pos;
        while ((pos = s.find(from, done)) != std::string::npos) {
            out.append(s, done, pos - done);
            out += to;
            done = pos + from.size();
        }
        out.append(s, done, std::string::npos);
        s.swap(out);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(input.size()));
}
BENCHMARK(BM_Std_FindAppendReplace);

// ---- Concatenation ------------------------------------------------------------------------

void BM_StringW_Concat(benchmark::State &state) {
    CKrStringW dir(L"C:\\Data\\Experiments\\2024"), name(L"plate_07_well_B3"), ext(L".tif");
    for (auto _ : state) {
        CKrStringW path = dir + L"\\" + name + ext;
        benchmark::DoNotOptimize(path.GetString());
    }
}
BENCHMARK(BM_StringW_Concat);

void BM_Std_WStringConcat(benchmark::State &state) {
    std::wstring dir(L"C:\\Data\\Experiments\\2024"), name(L"plate_07_well_B3"), ext(L".tif");
    for (auto _ : state) {
        std::wstring path = dir + L"\\" + name + ext;
        benchmark::DoNotOptimize(path.data());
    }
}
BENCHMARK(BM_Std_WStringConcat);

void BM_StringA_Concat(benchmark::State &state) {
    CKrStringA a("channel"), b("DAPI");
    for (auto _ : state) {
        CKrStringA r = a + '-' + b + ".ome";
        benchmark::DoNotOptimize(r.GetString());
    }
}
BENCHMARK(BM_StringA_Concat);

void BM_Std_StringConcat(benchmark::State &state) {
    std::string a("channel"), b("DAPI");
    for (auto _ : state) {
        std::string r = a + '-' + b + ".ome";
        benchmark::DoNotOptimize(r.data());
    }
}
BENCHMARK(BM_Std_StringConcat);

// ---- UTF-8 ----------------------------------------------------------------------------------

// 1 MiB, mostly ASCII with an accented letter or CJK character now and then.
std::string const &utf8Input() {
    static const std::string text = [] {
        std::string t;
        int k = 0;
        while (t.size() < (1u << 20)) {
            t += "Sample acquisition with exposure 120 ms, gain 2.0; ";
            t += (++k % 3 == 0) ? "\xE4\xB8\xAD\xE6\x96\x87 " : "r\xC3\xA9sum\xC3\xA9 ";
        }
        return t;
    }();
    return text;
}

void BM_StringW_FromStdStringUtf8(benchmark::State &state) {
    const std::string &input = utf8Input();
    for (auto _ : state) {
        CKrStringW w = CKrStringW::FromStdStringUtf8(input);
        benchmark::DoNotOptimize(w.GetString());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(input.size()));
}
BENCHMARK(BM_StringW_FromStdStringUtf8);

// A straightforward hand-written decoder (no validation beyond the lead byte) for comparison.
void BM_HandWrittenUtf8Decoder(benchmark::State &state) {
    const std::string &input = utf8Input();
    for (auto _ : state) {
        std::wstring out;
        out.resize(input.size());
        size_t o = 0;
        const auto *p = reinterpret_cast<unsigned char const *>(input.data());
        const auto *end = p + input.size();
        while (p < end) {
            unsigned c = *p;
            if (c < 0x80) {
                out[o++] = static_cast<wchar_t>(c);
                ++p;
            } else if (c < 0xE0) {
                out[o++] = static_cast<wchar_t>(((c & 0x1F) << 6) | (p[1] & 0x3F));
                p += 2;
            } else if (c < 0xF0) {
                out[o++] =
                    static_cast<wchar_t>(((c & 0x0F) << 12) | ((p[1] & 0x3F) << 6) | (p[2] & 0x3F));
                p += 3;
            } else {
                unsigned cp = ((c & 0x07) << 18) | ((p[1] & 0x3F) << 12) | ((p[2] & 0x3F) << 6) |
                              (p[3] & 0x3F);
                cp -= 0x10000;
                out[o++] = static_cast<wchar_t>(0xD800 + (cp >> 10));
                out[o++] = static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
                p += 4;
            }
        }
        out.resize(o);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(input.size()));
}
BENCHMARK(BM_HandWrittenUtf8Decoder);

void BM_StringW_ToStdStringUtf8(benchmark::State &state) {
    CKrStringW w = CKrStringW::FromStdStringUtf8(utf8Input());
    for (auto _ : state) {
        std::string s = w.ToStdStringUtf8();
        benchmark::DoNotOptimize(s.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(utf8Input().size()));
}
BENCHMARK(BM_StringW_ToStdStringUtf8);

}  // namespace
