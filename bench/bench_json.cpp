// JSON values: reading a 1 MiB object of 10,000 members and querying every member, side by side
// with nlohmann::json and RapidJSON on the same document.  This library gets the document as
// wide text (its native form, four bytes a unit here); the peers get the same text as UTF-8.
// Bytes processed are counted in characters of the document for all three.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"

namespace {

constexpr int kMembers = 10000;
constexpr size_t kTargetSize = 1 << 20;

struct Doc {
    std::string utf8;
    CKrStringW wide;
    std::vector<std::string> names;  // in document order
    std::vector<CKrStringW> wideNames;
    std::vector<int> kinds;  // value kind of each member (index into makeValue)
};

std::string makeValue(int kind, int i, size_t pad) {
    char buf[256];
    switch (kind) {
        case 0:
            std::snprintf(buf, sizeof buf, "%d", i * 37 - 100000);
            return buf;
        case 1:
            std::snprintf(buf, sizeof buf, "%d.%03de-3", -i, i % 1000);
            return buf;
        case 2:
            return "\"text " + std::to_string(i) + " with \\\"escapes\\\" \\n and \\u00e9 " +
                   std::string(pad, 'x') + "\"";
        case 3:
            std::snprintf(buf, sizeof buf,
                          "{\"x\": %d, \"y\": \"abc}\", \"z\": [1, 2, 3], \"w\": {\"q\": null}}",
                          i);
            return buf;
        case 4:
            return "[1, 2.5, \"s]\", true, null, {\"a\": \"b\"}, []]";
        default:
            return i % 2 ? "true" : "null";
    }
}

Doc const &document() {
    static Doc const doc = [] {
        Doc d;
        std::vector<int> order(kMembers);
        for (int i = 0; i < kMembers; ++i) order[size_t(i)] = i;
        std::shuffle(order.begin(), order.end(), std::mt19937(12345));  // not in name order
        auto build = [&](size_t pad) {
            std::string s = "{\n";
            d.names.clear();
            d.kinds.clear();
            for (int k = 0; k < kMembers; ++k) {
                int i = order[size_t(k)];
                char name[32];
                std::snprintf(name, sizeof name, "member_%05d", i);
                d.names.push_back(name);
                d.kinds.push_back(i % 6);
                s += "  \"" + std::string(name) + "\": " + makeValue(i % 6, i, pad);
                s += k + 1 < kMembers ? ",\n" : "\n";
            }
            return s + "}\n";
        };
        std::string probe = build(0);
        size_t stringMembers = (kMembers + 5) / 6;
        d.utf8 =
            build(probe.size() < kTargetSize ? (kTargetSize - probe.size()) / stringMembers : 0);
        d.wide = CKrStringW(std::wstring(d.utf8.begin(), d.utf8.end()));  // ASCII only
        for (auto const &n : d.names) d.wideNames.emplace_back(std::wstring(n.begin(), n.end()));
        return d;
    }();
    return doc;
}

void setCounters(benchmark::State &state) {
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document().utf8.size()));
    state.counters["doc_bytes"] = double(document().utf8.size());
}

void BM_Json_Read_Orvik(benchmark::State &state) {
    Doc const &d = document();
    for (auto _ : state) {
        CKrJsonObject object;
        CKrStringW error;
        bool ok = CKrJson::readObjectFromString(d.wide, &object, &error);
        if (!ok) state.SkipWithError("read failed");
        benchmark::DoNotOptimize(object);
    }
    setCounters(state);
}

void BM_Json_Read_Nlohmann(benchmark::State &state) {
    Doc const &d = document();
    for (auto _ : state) {
        nlohmann::json j = nlohmann::json::parse(d.utf8);
        benchmark::DoNotOptimize(j);
    }
    setCounters(state);
}

void BM_Json_Read_RapidJson(benchmark::State &state) {
    Doc const &d = document();
    for (auto _ : state) {
        rapidjson::Document j;
        j.Parse(d.utf8.c_str(), d.utf8.size());
        if (j.HasParseError()) state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(j);
    }
    setCounters(state);
}

// Read, then ask every member for its value by name, as a caller that knows the schema would.
void BM_Json_ReadQuery_Orvik(benchmark::State &state) {
    Doc const &d = document();
    for (auto _ : state) {
        CKrJsonObject object;
        CKrJson::readObjectFromString(d.wide, &object, nullptr);
        size_t found = 0;
        double sum = 0;
        int n = 0;
        bool b = false;
        double v = 0;
        CKrStringW s;
        for (size_t k = 0; k < d.wideNames.size(); ++k) {
            CKrStringW const &name = d.wideNames[k];
            switch (d.kinds[k]) {
                case 0:
                    found += object.isItemWithNameInteger(name, &n);
                    sum += n;
                    break;
                case 1:
                    found += object.isItemWithNameDouble(name, &v);
                    sum += v;
                    break;
                case 2:
                    found += object.isItemWithNameString(name, &s);
                    sum += double(s.GetLength());
                    break;
                case 3:
                    found += object.isItemWithNameObject(name, nullptr);
                    break;
                case 4:
                    found += object.isItemWithNameArray(name, nullptr);
                    break;
                default:
                    found += object.isItemWithNameBool(name, &b) || object.isItemWithNameNull(name);
            }
        }
        if (found != d.wideNames.size()) state.SkipWithError("query failed");
        benchmark::DoNotOptimize(sum);
    }
    setCounters(state);
}

void BM_Json_ReadQuery_Nlohmann(benchmark::State &state) {
    Doc const &d = document();
    for (auto _ : state) {
        nlohmann::json j = nlohmann::json::parse(d.utf8);
        size_t found = 0;
        double sum = 0;
        for (size_t k = 0; k < d.names.size(); ++k) {
            auto it = j.find(d.names[k]);
            if (it == j.end()) continue;
            switch (d.kinds[k]) {
                case 0:
                    found += it->is_number_integer();
                    sum += it->get<int>();
                    break;
                case 1:
                    found += it->is_number();
                    sum += it->get<double>();
                    break;
                case 2:
                    found += it->is_string();
                    sum += double(it->get_ref<std::string const &>().size());
                    break;
                case 3:
                    found += it->is_object();
                    break;
                case 4:
                    found += it->is_array();
                    break;
                default:
                    found += it->is_boolean() || it->is_null();
            }
        }
        if (found != d.names.size()) state.SkipWithError("query failed");
        benchmark::DoNotOptimize(sum);
    }
    setCounters(state);
}

void BM_Json_ReadQuery_RapidJson(benchmark::State &state) {
    Doc const &d = document();
    for (auto _ : state) {
        rapidjson::Document j;
        j.Parse(d.utf8.c_str(), d.utf8.size());
        size_t found = 0;
        double sum = 0;
        for (size_t k = 0; k < d.names.size(); ++k) {
            rapidjson::Value key(rapidjson::StringRef(d.names[k].data(), d.names[k].size()));
            auto it = j.FindMember(key);
            if (it == j.MemberEnd()) continue;
            rapidjson::Value const &v = it->value;
            switch (d.kinds[k]) {
                case 0:
                    found += v.IsInt();
                    sum += v.GetInt();
                    break;
                case 1:
                    found += v.IsNumber();
                    sum += v.GetDouble();
                    break;
                case 2:
                    found += v.IsString();
                    sum += double(v.GetStringLength());
                    break;
                case 3:
                    found += v.IsObject();
                    break;
                case 4:
                    found += v.IsArray();
                    break;
                default:
                    found += v.IsBool() || v.IsNull();
            }
        }
        if (found != d.names.size()) state.SkipWithError("query failed");
        benchmark::DoNotOptimize(sum);
    }
    setCounters(state);
}

}  // namespace

BENCHMARK(BM_Json_Read_Orvik)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Json_Read_Nlohmann)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Json_Read_RapidJson)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Json_ReadQuery_Orvik)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Json_ReadQuery_Nlohmann)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Json_ReadQuery_RapidJson)->Unit(benchmark::kMillisecond);
