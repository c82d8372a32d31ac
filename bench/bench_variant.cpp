// Variant trees side by side with nlohmann::json on the same settings tree: build, deep copy,
// equality, a path lookup, a recursive search and the text form.  Each case runs at 10k and
// 100k nodes so that growth can be read off directly (a ratio near 10 is linear).
//
// The tree: a root list of groups; every group is a list of 9 settings (string, double,
// integers, bool), so nodes = groups * 10.
#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "variant/CKrVariant.h"

namespace {

std::vector<std::wstring> const &groupNamesW(int groups) {
    static std::vector<std::wstring> names;
    while (static_cast<int>(names.size()) < groups)
        names.push_back(L"group" + std::to_wstring(names.size()));
    return names;
}
std::vector<std::string> const &groupNamesA(int groups) {
    static std::vector<std::string> names;
    while (static_cast<int>(names.size()) < groups)
        names.push_back("group" + std::to_string(names.size()));
    return names;
}

CKrVariant buildVariant(int nodes) {
    int groups = nodes / 10;
    auto const &names = groupNamesW(groups);
    CKrVariant root(CKrListVariant(), L"settings");
    for (int g = 0; g < groups; ++g) {
        CKrVariant &group = root.Append(CKrVariant(CKrListVariant(), names[g]));
        group.Append(CKrVariant(L"Camera", L"device"));
        group.Append(CKrVariant(12.5 + g, L"exposure"));
        group.Append(CKrVariant(g, L"gain"));
        group.Append(CKrVariant(true, L"enabled"));
        group.Append(CKrVariant(kr_int64(g) * 1000, L"offset"));
        group.Append(CKrVariant(2u, L"binning"));
        group.Append(CKrVariant(0.25, L"gamma"));
        group.Append(CKrVariant(L"ms", L"unit"));
        group.Append(CKrVariant(g % 4, L"channel"));
    }
    return root;
}

nlohmann::json buildJson(int nodes) {
    int groups = nodes / 10;
    auto const &names = groupNamesA(groups);
    nlohmann::json root = nlohmann::json::object();
    for (int g = 0; g < groups; ++g) {
        nlohmann::json &group = root[names[g]];
        group["device"] = "Camera";
        group["exposure"] = 12.5 + g;
        group["gain"] = g;
        group["enabled"] = true;
        group["offset"] = static_cast<int64_t>(g) * 1000;
        group["binning"] = 2u;
        group["gamma"] = 0.25;
        group["unit"] = "ms";
        group["channel"] = g % 4;
    }
    return root;
}

void setItems(benchmark::State &state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Variant_Build(benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(buildVariant(static_cast<int>(state.range(0))));
    setItems(state);
}
void BM_Json_Build(benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(buildJson(static_cast<int>(state.range(0))));
    setItems(state);
}

void BM_Variant_Copy(benchmark::State &state) {
    CKrVariant tree = buildVariant(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CKrVariant copy(tree);
        benchmark::DoNotOptimize(copy);
    }
    setItems(state);
}
void BM_Json_Copy(benchmark::State &state) {
    nlohmann::json tree = buildJson(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        nlohmann::json copy(tree);
        benchmark::DoNotOptimize(copy);
    }
    setItems(state);
}

void BM_Variant_Equal(benchmark::State &state) {
    CKrVariant a = buildVariant(static_cast<int>(state.range(0)));
    CKrVariant b(a);
    for (auto _ : state) benchmark::DoNotOptimize(a == b);
    setItems(state);
}
void BM_Json_Equal(benchmark::State &state) {
    nlohmann::json a = buildJson(static_cast<int>(state.range(0)));
    nlohmann::json b(a);
    for (auto _ : state) benchmark::DoNotOptimize(a == b);
    setItems(state);
}

// A path to the middle group: the variant scans children in order (linear by design), the
// JSON object is a sorted map.
void BM_Variant_SearchFixed(benchmark::State &state) {
    int nodes = static_cast<int>(state.range(0));
    CKrVariant tree = buildVariant(nodes);
    std::wstring mid = groupNamesW(nodes / 10)[nodes / 20];
    for (auto _ : state)
        benchmark::DoNotOptimize(tree.SearchFixed(mid.c_str(), L"channel", nullptr));
}
void BM_Json_Path(benchmark::State &state) {
    int nodes = static_cast<int>(state.range(0));
    nlohmann::json tree = buildJson(nodes);
    std::string mid = groupNamesA(nodes / 10)[nodes / 20];
    for (auto _ : state) benchmark::DoNotOptimize(&tree.at(mid).at("channel"));
}

// A node that does not exist (gain == -1): both walks visit the whole tree.
void BM_Variant_SearchRecursive(benchmark::State &state) {
    CKrVariant tree = buildVariant(static_cast<int>(state.range(0)));
    int last = -1;  // never matches
    for (auto _ : state) {
        CKrVariant const *found = tree.SearchRecursive([last](CKrVariant const *n) {
            return n->GetRunType() == CKrVariantDataKr_int32::GetOrigRunType() &&
                   n->GetName() == L"gain" && n->GetKr_int32() == last;
        });
        benchmark::DoNotOptimize(found);
    }
    setItems(state);
}
void BM_Json_SearchRecursive(benchmark::State &state) {
    nlohmann::json tree = buildJson(static_cast<int>(state.range(0)));
    int last = -1;  // never matches
    for (auto _ : state) {
        nlohmann::json const *found = nullptr;
        std::vector<std::pair<std::string const *, nlohmann::json const *>> stack{{nullptr, &tree}};
        while (!stack.empty() && !found) {
            auto [key, node] = stack.back();
            stack.pop_back();
            if (key && node->is_number_integer() && *key == "gain" && node->get<int>() == last)
                found = node;
            if (node->is_object())
                for (auto it = node->begin(); it != node->end(); ++it)
                    stack.push_back({&it.key(), &*it});
        }
        benchmark::DoNotOptimize(found);
    }
    setItems(state);
}

void BM_Variant_Write(benchmark::State &state) {
    CKrVariant tree = buildVariant(static_cast<int>(state.range(0)));
    size_t bytes = 0;
    for (auto _ : state) {
        CKrStringW out;
        tree.Write(out);
        bytes = out.GetLength() * sizeof(wchar_t);
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    setItems(state);
}
void BM_Json_Dump(benchmark::State &state) {
    nlohmann::json tree = buildJson(static_cast<int>(state.range(0)));
    size_t bytes = 0;
    for (auto _ : state) {
        std::string out = tree.dump();
        bytes = out.size();
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    setItems(state);
}

}  // namespace

#define KR_VARIANT_BENCH(name) \
    BENCHMARK(name)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
KR_VARIANT_BENCH(BM_Variant_Build);
KR_VARIANT_BENCH(BM_Json_Build);
KR_VARIANT_BENCH(BM_Variant_Copy);
KR_VARIANT_BENCH(BM_Json_Copy);
KR_VARIANT_BENCH(BM_Variant_Equal);
KR_VARIANT_BENCH(BM_Json_Equal);
BENCHMARK(BM_Variant_SearchFixed)->Arg(10000)->Arg(100000);
BENCHMARK(BM_Json_Path)->Arg(10000)->Arg(100000);
KR_VARIANT_BENCH(BM_Variant_SearchRecursive);
KR_VARIANT_BENCH(BM_Json_SearchRecursive);
KR_VARIANT_BENCH(BM_Variant_Write);
KR_VARIANT_BENCH(BM_Json_Dump);
