// Keyed list against std::list / std::vector with the same items and sizes.  The list locks on
// every operation and searches linearly by design; these numbers show what that costs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <vector>

#include "variant/CKrList.h"

namespace {

std::vector<int> MakeValues(int n) {
    std::vector<int> v(static_cast<size_t>(n));
    unsigned x = 12345;
    for (int &e : v) {
        x = x * 1103515245u + 12345u;
        e = static_cast<int>((x >> 8) % 1000000);
    }
    return v;
}

int compareSlots(void *a, void *b) {
    const int x = **static_cast<int **>(a), y = **static_cast<int **>(b);
    return (x > y) - (x < y);
}

void BM_List_AppendClear_KrList(benchmark::State &state) {
    std::vector<int> values = MakeValues(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CKrList list(krKEY_NONE);
        for (int &v : values) list.Append(&v);
        benchmark::DoNotOptimize(list.GetLast());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_List_AppendClear_StdList(benchmark::State &state) {
    std::vector<int> values = MakeValues(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::list<void *> list;
        for (int &v : values) list.push_back(&v);
        benchmark::DoNotOptimize(list.back());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_List_FindIntKey_KrList(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<int> values = MakeValues(n);
    CKrList list(krKEY_INT);
    for (int i = 0; i < n; ++i) list.Append(i, &values[static_cast<size_t>(i)]);
    int k = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.Find(CKrList::CKrKey(k)));
        k = (k + 7) % n;
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_List_FindIntKey_StdList(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<int> values = MakeValues(n);
    std::list<std::pair<int, void *>> list;
    for (int i = 0; i < n; ++i) list.emplace_back(i, &values[static_cast<size_t>(i)]);
    int k = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            std::find_if(list.begin(), list.end(), [k](const auto &e) { return e.first == k; }));
        k = (k + 7) % n;
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_List_Sort_KrList(benchmark::State &state) {
    std::vector<int> values = MakeValues(static_cast<int>(state.range(0)));
    CKrList list(krKEY_NONE);
    for (int &v : values) list.Append(&v);
    for (auto _ : state) {
        state.PauseTiming();
        int i = 0;  // restore the unsorted order
        for (auto *n = list.GetFirst(); n; n = n->GetNext())
            n->GetItemRef() = &values[static_cast<size_t>(i++)];
        state.ResumeTiming();
        list.Sort(&compareSlots);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_List_Sort_StdList(benchmark::State &state) {
    std::vector<int> values = MakeValues(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        std::list<int *> list;
        for (int &v : values) list.push_back(&v);
        state.ResumeTiming();
        list.sort([](int *a, int *b) { return *a < *b; });
        benchmark::DoNotOptimize(list.front());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(BM_List_AppendClear_KrList)->Arg(1000)->Arg(100000);
BENCHMARK(BM_List_AppendClear_StdList)->Arg(1000)->Arg(100000);
BENCHMARK(BM_List_FindIntKey_KrList)->Arg(100)->Arg(10000);
BENCHMARK(BM_List_FindIntKey_StdList)->Arg(100)->Arg(10000);
BENCHMARK(BM_List_Sort_KrList)->Arg(1000)->Arg(100000);
BENCHMARK(BM_List_Sort_StdList)->Arg(1000)->Arg(100000);
