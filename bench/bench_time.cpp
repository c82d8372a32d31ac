// Date-time calendar conversions side by side with std::chrono's civil calendar (own path,
// outside the standard range) and with one localtime_r / mktime call (runtime path).
// Every case converts the same 4096 values per iteration batch.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <random>
#include <vector>

#include "time/KrDateTime.h"

namespace {

using DT = CKrDateTime;
constexpr size_t kCount = 4096;
constexpr long long kDay = 86400000;

void fixZone() {
    static const bool once = [] {
        setenv("TZ", "Europe/Prague", 1);
        tzset();
        return true;
    }();
    (void)once;
}

// Values outside the standard range (years -4000..1969 and 2039..9999), or inside it.
const std::vector<long long> &values(bool inside) {
    static std::vector<long long> own, std;
    if (own.empty()) {
        std::mt19937_64 rng(42);
        std::uniform_int_distribution<long long> wide(-188395804800000LL, 253402300799999LL);
        std::uniform_int_distribution<long long> range(0, 2147483646999LL);
        while (own.size() < kCount) {
            long long v = wide(rng);
            if (v < -kDay || v > 2209075200000LL) own.push_back(v);  // clear of 1969..2039
        }
        while (std.size() < kCount) std.push_back(range(rng));
    }
    return inside ? std : own;
}

const std::vector<DT::Tm> &tms(bool inside) {
    static std::vector<DT::Tm> own, std;
    std::vector<DT::Tm> &out = inside ? std : own;
    if (out.empty())
        for (long long v : values(inside)) out.push_back(DT().SetValue(v).GetTm());
    return out;
}

void BM_Time_GetTm_Own(benchmark::State &state) {
    fixZone();
    const auto &v = values(false);
    for (auto _ : state)
        for (long long x : v) benchmark::DoNotOptimize(DT().SetValue(x).GetTm());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Chrono_CivilFromMs(benchmark::State &state) {
    fixZone();
    using namespace std::chrono;
    const auto &v = values(false);
    const long long offset = -timezone * 1000LL;
    for (auto _ : state)
        for (long long x : v) {
            const sys_time<milliseconds> t{milliseconds{x + offset}};
            const sys_days d = floor<days>(t);
            const year_month_day ymd{d};
            const hh_mm_ss<milliseconds> hms{t - d};
            benchmark::DoNotOptimize(ymd);
            benchmark::DoNotOptimize(hms);
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Time_Set7_Own(benchmark::State &state) {
    fixZone();
    const auto &t = tms(false);
    DT dt;
    for (auto _ : state)
        for (const DT::Tm &tm : t) {
            dt.Set(tm.mday, tm.mon, tm.year, tm.hour, tm.min, tm.sec, tm.msec);
            benchmark::DoNotOptimize(dt);
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Chrono_MsFromCivil(benchmark::State &state) {
    fixZone();
    using namespace std::chrono;
    const auto &t = tms(false);
    const long long offset = -timezone * 1000LL;
    for (auto _ : state)
        for (const DT::Tm &tm : t) {
            const sys_days d{year{tm.year} / month{static_cast<unsigned>(tm.mon) + 1} /
                             day{tm.mday}};
            long long ms = d.time_since_epoch().count() * kDay +
                           ((tm.hour * 60LL + tm.min) * 60 + tm.sec) * 1000 + tm.msec - offset;
            benchmark::DoNotOptimize(ms);
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Time_GetTm_Runtime(benchmark::State &state) {
    fixZone();
    const auto &v = values(true);
    for (auto _ : state)
        for (long long x : v) benchmark::DoNotOptimize(DT().SetValue(x).GetTm());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Libc_localtime_r(benchmark::State &state) {
    fixZone();
    const auto &v = values(true);
    struct tm out;
    for (auto _ : state)
        for (long long x : v) {
            time_t t = static_cast<time_t>(x / 1000);
            benchmark::DoNotOptimize(localtime_r(&t, &out));
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Time_Set7_Runtime(benchmark::State &state) {
    fixZone();
    const auto &t = tms(true);
    DT dt;
    for (auto _ : state)
        for (const DT::Tm &tm : t) {
            dt.Set(tm.mday, tm.mon, tm.year, tm.hour, tm.min, tm.sec, tm.msec);
            benchmark::DoNotOptimize(dt);
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

void BM_Libc_mktime(benchmark::State &state) {
    fixZone();
    const auto &t = tms(true);
    for (auto _ : state)
        for (const DT::Tm &tm : t) {
            struct tm r {};
            r.tm_year = tm.year - 1900;
            r.tm_mon = tm.mon;
            r.tm_mday = tm.mday;
            r.tm_hour = tm.hour;
            r.tm_min = tm.min;
            r.tm_sec = tm.sec;
            r.tm_isdst = -1;
            benchmark::DoNotOptimize(mktime(&r));
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

}  // namespace

BENCHMARK(BM_Time_GetTm_Own);
BENCHMARK(BM_Chrono_CivilFromMs);
BENCHMARK(BM_Time_Set7_Own);
BENCHMARK(BM_Chrono_MsFromCivil);
BENCHMARK(BM_Time_GetTm_Runtime);
BENCHMARK(BM_Libc_localtime_r);
BENCHMARK(BM_Time_Set7_Runtime);
BENCHMARK(BM_Libc_mktime);
