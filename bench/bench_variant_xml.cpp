// The XML form of a variant on a settings tree of about 100,000 nodes (groups of channel
// records with nested point records, strings that need escaping, every scalar type), side by
// side with the floor (raw expat over the same bytes, empty callbacks, the same wide build) and
// two peers: Boost.PropertyTree read_xml / write_xml on the same document, nlohmann::json dump()
// of the same tree.  Compare bytes_per_second (or time) of the cases of one run.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "serializerxml/CKrSerializerXMLString.h"
#include "variant/CKrVariant.h"

namespace {

constexpr int kGroups = 100;
constexpr int kChannels = 100;  // per group; 10 nodes per channel

void registerRecords() {
    static bool const done = [] {
        CKrVariant point(CKrListVariant(), L"RKrBenchPoint");
        point.Append(CKrVariant(0.0, L"x"));
        point.Append(CKrVariant(0.0, L"y"));
        CKrVariant::RegisterRunType(point);
        CKrVariant channel(CKrListVariant(), L"RKrBenchChannel");
        channel.Append(CKrVariant(L"", L"name"));
        channel.Append(CKrVariant(0.0, L"exposure"));
        channel.Append(CKrVariant(0, L"gain"));
        channel.Append(CKrVariant(false, L"enabled"));
        channel.Append(CKrVariant(kr_uint64(0), L"id"));
        channel.Append(CKrVariant(L"", L"note"));
        CKrVariant pos(CKrListVariant(), L"pos");
        pos.SetRunType(CKrVariantRunType("RKrBenchPoint"));
        channel.Append(pos);
        return CKrVariant::RegisterRunType(channel) == 0;
    }();
    (void)done;
}

CKrVariant const &Tree() {
    static CKrVariant const tree = [] {
        registerRecords();
        CKrVariant root(CKrListVariant(), L"settings");
        for (int g = 0; g < kGroups; ++g) {
            CKrVariant &group =
                root.Append(CKrVariant(CKrListVariant(), L"group" + std::to_wstring(g)));
            for (int c = 0; c < kChannels; ++c) {
                CKrVariant ch(CKrVariantRunType("RKrBenchChannel"),
                              L"channel" + std::to_wstring(c));
                ch.SetRunType(CKrVariantRunType("RKrBenchChannel"));
                ch[L"name"] = CKrStringW(L"Channel " + std::to_wstring(c) + L" caf\xe9");
                ch[L"exposure"] = 0.5 + c * 0.25;
                ch[L"gain"] = c * 3 - 100;
                ch[L"enabled"] = c % 3 != 0;
                ch[L"id"] = kr_uint64(g) * 1000003u + c;
                ch[L"note"] = CKrStringW(L"<filter \"A&B\">\r\nline " + std::to_wstring(c));
                ch[L"pos"][L"x"] = c * 1.5;
                ch[L"pos"][L"y"] = g * -2.25;
                group.Append(std::move(ch));
            }
        }
        return root;
    }();
    return tree;
}

std::string const &Utf8Document() {
    static std::string const doc = [] {
        CKrStringA text;
        CKrSerializerXMLString::VariantToXML_UTF8(text, Tree());
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><variant version=\"1.0\">" +
               text.GetStdString() + "</variant>";
    }();
    return doc;
}

// The same tree as JSON: lists as objects keyed by child name, scalars as JSON values.
nlohmann::json const &Json() {
    static nlohmann::json const json = [] {
        nlohmann::json root = nlohmann::json::object();
        CKrVariant &tree = const_cast<CKrVariant &>(Tree());
        for (int g = 0; g < tree.GetCount(); ++g) {
            CKrVariant &group = *tree.IndexPtr(g);
            nlohmann::json &jg = root[std::string(group.GetName().GetStdString().begin(),
                                                  group.GetName().GetStdString().end())];
            for (int c = 0; c < group.GetCount(); ++c) {
                CKrVariant &ch = *group.IndexPtr(c);
                nlohmann::json j;
                j["name"] = ch[L"name"].GetCKrStringW().ToStdStringUtf8();
                j["exposure"] = ch[L"exposure"].GetDouble();
                j["gain"] = ch[L"gain"].GetKr_int32();
                j["enabled"] = ch[L"enabled"].GetBool();
                j["id"] = ch[L"id"].GetKr_uint64();
                j["note"] = ch[L"note"].GetCKrStringW().ToStdStringUtf8();
                j["pos"] = {{"x", ch[L"pos"][L"x"].GetDouble()},
                            {"y", ch[L"pos"][L"y"].GetDouble()}};
                jg["channel" + std::to_string(c)] = j;
            }
        }
        return root;
    }();
    return json;
}

boost::property_tree::ptree const &PropertyTree() {
    static boost::property_tree::ptree const tree = [] {
        boost::property_tree::ptree t;
        std::istringstream in(Utf8Document());
        boost::property_tree::read_xml(in, t);
        return t;
    }();
    return tree;
}

void setBytes(benchmark::State &state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(Utf8Document().size()));
}

void BM_VariantXml_Read_Utf8(benchmark::State &state) {
    std::string const &doc = Utf8Document();
    for (auto _ : state) {
        CKrVariant target;
        int rc = CKrSerializerXMLString::VariantFromXML_UTF8(target, doc.data(),
                                                             static_cast<unsigned>(doc.size()));
        if (rc != 0) state.SkipWithError("read failed");
        benchmark::DoNotOptimize(target);
    }
    setBytes(state);
}

void XMLCALL emptyStart(void *, XML_Char const *, XML_Char const **) {}
void XMLCALL emptyEnd(void *, XML_Char const *) {}

void BM_VariantXml_Read_RawExpat(benchmark::State &state) {
    std::string const &doc = Utf8Document();
    static constexpr XML_Char kUtf8[] = {'U', 'T', 'F', '-', '8', 0};
    for (auto _ : state) {
        XML_Parser p = XML_ParserCreate(kUtf8);
        XML_SetElementHandler(p, &emptyStart, &emptyEnd);
        if (XML_Parse(p, doc.data(), static_cast<int>(doc.size()), XML_TRUE) != XML_STATUS_OK)
            state.SkipWithError("expat failed");
        XML_ParserFree(p);
    }
    setBytes(state);
}

void BM_VariantXml_Read_PropertyTree(benchmark::State &state) {
    std::string const &doc = Utf8Document();
    for (auto _ : state) {
        boost::property_tree::ptree t;
        std::istringstream in(doc);
        boost::property_tree::read_xml(in, t);
        benchmark::DoNotOptimize(t);
    }
    setBytes(state);
}

void BM_VariantXml_Write_Utf8(benchmark::State &state) {
    CKrVariant const &tree = Tree();
    for (auto _ : state) {
        CKrStringA out;
        CKrSerializerXMLString::VariantToXML_UTF8(out, tree);
        benchmark::DoNotOptimize(out);
    }
    setBytes(state);
}

void BM_VariantXml_Write_Wide(benchmark::State &state) {
    CKrVariant const &tree = Tree();
    for (auto _ : state) {
        CKrStringW out;
        CKrSerializerXMLString::VariantToXML(out, tree);
        benchmark::DoNotOptimize(out);
    }
    setBytes(state);
}

void BM_VariantXml_Write_PropertyTree(benchmark::State &state) {
    boost::property_tree::ptree const &t = PropertyTree();
    for (auto _ : state) {
        std::ostringstream out;
        boost::property_tree::write_xml(out, t);
        benchmark::DoNotOptimize(out);
    }
    setBytes(state);
}

void BM_VariantXml_Write_NlohmannDump(benchmark::State &state) {
    nlohmann::json const &j = Json();
    for (auto _ : state) {
        std::string out = j.dump();
        benchmark::DoNotOptimize(out);
    }
    setBytes(state);
}

}  // namespace

BENCHMARK(BM_VariantXml_Read_Utf8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantXml_Read_RawExpat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantXml_Read_PropertyTree)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantXml_Write_Utf8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantXml_Write_Wide)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantXml_Write_PropertyTree)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantXml_Write_NlohmannDump)->Unit(benchmark::kMillisecond);
