// XML tree benchmarks beside the floor (raw expat, the same wide build) and two peers (pugixml,
// tinyxml2), on one generated 10 MiB document.  Ratios are reported by comparing the
// bytes_per_second of the cases in one run.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <tinyxml2.h>

#include <pugixml.hpp>
#include <string>

#include "xmltree/CKrXMLTree.h"

namespace {

// About 10 MiB of UTF-8: records with attributes, short texts, entities, non-ASCII, comments.
std::string const &Document() {
    static std::string const doc = [] {
        std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<dataset version=\"2\">\n";
        for (int i = 0; s.size() < (10u << 20); ++i) {
            std::string n = std::to_string(i);
            s += "  <image id=\"" + n + "\" channel=\"" + (i % 3 ? "FITC" : "DAPI") + "\" x=\"" +
                 std::to_string(i * 7 % 1000) + "\" y=\"" + std::to_string(i * 13 % 1000) + "\">\n";
            s += "    <name>Image " + n + " of plate &amp; well caf\xC3\xA9</name>\n";
            s += "    <exposure unit=\"ms\">" + std::to_string(50 + i % 200) + "</exposure>\n";
            s += "    <objective magnification=\"" + std::to_string(10 * (1 + i % 6)) +
                 "\" na=\"0.75\"/>\n";
            if (i % 10 == 0) s += "    <!-- calibration run " + n + " -->\n";
            s += "  </image>\n";
        }
        s += "</dataset>\n";
        return s;
    }();
    return doc;
}

CKrStringW const &DocumentUtf16() {
    static CKrStringW const text =
        CKrStringW::FromStdStringUtf8(Document().substr(Document().find("?>") + 2));
    return text;
}

// ---- building
// ------------------------------------------------------------------------------------

void BM_Xml_Parse_ExpatRaw(benchmark::State &state) {
    std::string const &doc = Document();
    size_t events = 0;
    for (auto _ : state) {
        XML_Parser p = XML_ParserCreate(nullptr);
        XML_SetUserData(p, &events);
        XML_SetElementHandler(
            p, [](void *u, XML_Char const *, XML_Char const **) { ++*static_cast<size_t *>(u); },
            [](void *, XML_Char const *) {});
        XML_SetCharacterDataHandler(
            p, [](void *u, XML_Char const *, int) { ++*static_cast<size_t *>(u); });
        XML_SetCommentHandler(p, [](void *u, XML_Char const *) { ++*static_cast<size_t *>(u); });
        if (XML_Parse(p, doc.data(), static_cast<int>(doc.size()), XML_TRUE) != XML_STATUS_OK)
            state.SkipWithError("expat failed");
        XML_ParserFree(p);
    }
    benchmark::DoNotOptimize(events);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_Xml_Parse_ExpatRaw)->Unit(benchmark::kMillisecond);

// Arg 1: the tree's destruction is timed too (the peers' documents are always destroyed inside
// the loop); arg 0: building only.
void BM_Xml_Parse_CKrXMLTree_Bytes(benchmark::State &state) {
    std::string doc = Document();
    bool timeDestruction = state.range(0) != 0;
    for (auto _ : state) {
        auto *tree = new CKrXMLTree;
        if (tree->SetValue(doc.data(), doc.size(), true) != 0) state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(tree->FirstChild());
        if (!timeDestruction) state.PauseTiming();
        delete tree;
        if (!timeDestruction) state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_Parse_CKrXMLTree_Bytes)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_Xml_Parse_CKrXMLTree_String(benchmark::State &state) {
    CKrStringW const &text = DocumentUtf16();
    for (auto _ : state) {
        CKrXMLTree tree;
        if (tree.SetValue(text, true) != 0) state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(tree.FirstChild());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_Parse_CKrXMLTree_String)->Unit(benchmark::kMillisecond);

void BM_Xml_Parse_Pugixml(benchmark::State &state) {
    std::string const &doc = Document();
    for (auto _ : state) {
        pugi::xml_document d;
        if (!d.load_buffer(doc.data(), doc.size(), pugi::parse_default | pugi::parse_comments))
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(d.first_child());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_Xml_Parse_Pugixml)->Unit(benchmark::kMillisecond);

void BM_Xml_Parse_Tinyxml2(benchmark::State &state) {
    std::string const &doc = Document();
    for (auto _ : state) {
        tinyxml2::XMLDocument d;
        if (d.Parse(doc.data(), doc.size()) != tinyxml2::XML_SUCCESS)
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(d.FirstChild());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}
BENCHMARK(BM_Xml_Parse_Tinyxml2)->Unit(benchmark::kMillisecond);

// ---- serialisation
// -------------------------------------------------------------------------------

void BM_Xml_Write_CKrXMLTree(benchmark::State &state) {
    CKrXMLTree tree;
    std::string doc = Document();
    tree.SetValue(doc.data(), doc.size(), true);
    tree.SetPrettyXML(state.range(0) != 0);
    size_t units = 0;
    for (auto _ : state) {
        CKrStringW out;
        tree.GetValue(out, true, true);
        units = out.GetLength();
        benchmark::DoNotOptimize(out.GetString());
    }
    state.counters["out_units"] = static_cast<double>(units);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_Write_CKrXMLTree)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_Xml_Write_Tinyxml2(benchmark::State &state) {
    tinyxml2::XMLDocument d;
    d.Parse(Document().data(), Document().size());
    bool compact = state.range(0) == 0;
    for (auto _ : state) {
        tinyxml2::XMLPrinter printer(nullptr, compact);
        d.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_Write_Tinyxml2)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// The same with the output buffer kept from one call to the next (the tree empties the string
// and reuses its memory; tinyxml2's printer keeps its buffer through ClearBuffer).  Beside the
// cases above this separates the cost of fresh output memory, which is four times larger for
// the tree's wide text than for tinyxml2's UTF-8, from the cost of writing.
void BM_Xml_WriteReused_CKrXMLTree(benchmark::State &state) {
    CKrXMLTree tree;
    std::string doc = Document();
    tree.SetValue(doc.data(), doc.size(), true);
    tree.SetPrettyXML(state.range(0) != 0);
    CKrStringW out;
    for (auto _ : state) {
        tree.GetValue(out, true, true);
        benchmark::DoNotOptimize(out.GetString());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_WriteReused_CKrXMLTree)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_Xml_WriteReused_Tinyxml2(benchmark::State &state) {
    tinyxml2::XMLDocument d;
    d.Parse(Document().data(), Document().size());
    tinyxml2::XMLPrinter printer(nullptr, state.range(0) == 0);
    for (auto _ : state) {
        printer.ClearBuffer();
        d.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_WriteReused_Tinyxml2)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_Xml_Write_Pugixml(benchmark::State &state) {
    pugi::xml_document d;
    d.load_buffer(Document().data(), Document().size(), pugi::parse_default | pugi::parse_comments);
    unsigned int flags = state.range(0) ? pugi::format_default : pugi::format_raw;
    for (auto _ : state) {
        struct Writer : pugi::xml_writer {
            std::string out;
            void write(void const *data, size_t size) override {
                out.append(static_cast<char const *>(data), size);
            }
        } w;
        d.save(w, "   ", flags);
        benchmark::DoNotOptimize(w.out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_Xml_Write_Pugixml)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// ---- queries
// -------------------------------------------------------------------------------------

char const *const kQueries[] = {
    "dataset/image",
    "dataset/image[@channel='DAPI']/name",
    "dataset/image[@channel!='DAPI'][@x='7']/exposure",
    "dataset/image[5000]/objective",  // positional filters are per parent
    "dataset/image/*",
};

void BM_Xml_Query_CKrXMLTree(benchmark::State &state) {
    CKrXMLTree tree;
    std::string doc = Document();
    tree.SetValue(doc.data(), doc.size(), true);
    std::vector<CKrStringW> paths;
    for (char const *q : kQueries) paths.emplace_back(CKrStringW::FromStdStringUtf8(q));
    size_t found = 0;
    for (auto _ : state) {
        for (CKrStringW const &p : paths) {
            CKrXMLNodeSet set;
            tree.XPathGetNodeSet(p, set);
            found += set.size();
        }
    }
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * std::size(kQueries)));
}
BENCHMARK(BM_Xml_Query_CKrXMLTree)->Unit(benchmark::kMillisecond);

void BM_Xml_Query_Pugixml(benchmark::State &state) {
    pugi::xml_document d;
    d.load_buffer(Document().data(), Document().size(), pugi::parse_default | pugi::parse_comments);
    // The same selections in full XPath ("[n]" there is also per parent for a child step).
    std::vector<pugi::xpath_query> queries;
    for (char const *q : kQueries) queries.emplace_back(q);
    size_t found = 0;
    for (auto _ : state)
        for (auto const &q : queries) found += q.evaluate_node_set(d).size();
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * std::size(kQueries)));
}
BENCHMARK(BM_Xml_Query_Pugixml)->Unit(benchmark::kMillisecond);

}  // namespace
