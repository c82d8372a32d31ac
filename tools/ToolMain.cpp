// orvik: inspect, verify and convert the library's files (lite variants, the XML and JSON forms
// of a variant, XML documents, JSON documents).  See `orvik --help` and README.md.
// expat as the library uses it (libexpatw, XML_UNICODE set by the orvik_expatw target).
#include <expat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "json/CKrJson.h"
#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrVariantJson.h"
#include "platform/KrPlatform.h"
#include "serializerxml/CKrSerializerXMLString.h"
#include "strings/CKrAlloc.h"
#include "tools/ToolInput.h"
#include "tools/ToolLvLayout.h"
#include "tools/ToolText.h"
#include "tools/ToolTree.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"
#include "xmltree/CKrXMLTree.h"

using namespace orvik::tool;

namespace {

bool isLite(EKrDataFormat f) {
    return f == EKrDataFormat::LiteVariant || f == EKrDataFormat::LiteVariantZ;
}
bool isVariantForm(EKrDataFormat f) {
    return isLite(f) || f == EKrDataFormat::VariantXml || f == EKrDataFormat::VariantJson;
}
bool isXml(EKrDataFormat f) { return f == EKrDataFormat::Xml || f == EKrDataFormat::VariantXml; }

void out(std::string const &text) { writeOutput("-", text); }

// ---- XML and JSON documents -------------------------------------------------------------------

// Where expat stops in a document the XML tree refused: "line L, column C (offset N): message".
std::string xmlFault(Input const &in) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    if (!parser) throw ToolError(kExitIo, "out of memory");
    std::string where = "not well formed";
    // Fed in pieces that fit expat's int lengths.
    constexpr size_t kPiece = size_t(1) << 30;
    size_t done = 0;
    do {
        size_t const n = std::min(kPiece, in.bytes.size() - done);
        bool const last = done + n == in.bytes.size();
        if (XML_Parse(parser, reinterpret_cast<char const *>(in.bytes.data() + done),
                      static_cast<int>(n), last) == XML_STATUS_ERROR) {
            where = "line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ", column " +
                    std::to_string(XML_GetCurrentColumnNumber(parser) + 1) + " (offset " +
                    std::to_string(XML_GetCurrentByteIndex(parser)) +
                    "): " + XML_ErrorString(XML_GetErrorCode(parser));
            break;
        }
        done += n;
    } while (done < in.bytes.size());
    XML_ParserFree(parser);
    return where;
}

void loadXml(Input const &in, CKrXMLTree &tree) {
    std::vector<char> copy(in.bytes.begin(), in.bytes.end());
    // The file loader also converts the code pages some instrument files declare; it takes
    // the path as wide text, so only a plain ASCII path is handed to it.
    bool const ascii =
        std::all_of(in.path.begin(), in.path.end(), [](char ch) { return ch > 0 && ch < 0x7F; });
    int const rc = in.path == "-" || !ascii ? tree.SetValue(copy.data(), copy.size(), true)
                                            : tree.LoadFromFile(CKrStringW(in.path.c_str()), true);
    if (rc == -2) throw ToolError(kExitMalformed, displayName(in.path) + ": unsupported encoding");
    if (rc == -3) throw ToolError(kExitIo, displayName(in.path) + ": too large");
    if (rc != 0) throw ToolError(kExitMalformed, displayName(in.path) + ": " + xmlFault(in));
}

// The JSON text of a plain JSON document, checked at every level (reformat also bounds the
// nesting, so later walks stay cheap).
CKrStringW loadJson(Input const &in) {
    CKrStringW const text = inputText(in);
    CKrStringW error;
    CKrJson::reformat(text, &error, 0);
    if (error.GetLength() > 0)
        throw ToolError(kExitMalformed, displayName(in.path) + ": " + utf8(error));
    return text;
}

// ---- variant paths ------------------------------------------------------------------------------

// "\a\b\c": the first component names the root (or, for a lite variant with several top-level
// items, one of them), each further one a child; the first child of that exact name is taken.
CKrVariant const *findPath(CKrVariant const &root, std::string const &path) {
    std::vector<std::wstring> parts;
    CKrStringW const wide = CKrStringW::FromStdStringUtf8(path);
    std::wstring part;
    for (wchar_t c : wide.GetStdString()) {
        if (c == L'\\') {
            if (!part.empty()) parts.push_back(part);
            part.clear();
        } else {
            part += c;
        }
    }
    if (!part.empty()) parts.push_back(part);
    bool const wrapper = root.GetCount() >= 0 && root.GetName().GetLength() == 0;
    CKrVariant const *node = &root;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i == 0 && !wrapper) {
            if (root.GetName().GetStdString() != parts[0]) return nullptr;
            continue;
        }
        CKrVariant const *next = nullptr;
        for (int k = 0; k < node->GetCount() && !next; ++k)
            if (node->IndexPtr(k)->GetName().GetStdString() == parts[i]) next = node->IndexPtr(k);
        if (!next) return nullptr;
        node = next;
    }
    return node;
}

// ---- commands ---------------------------------------------------------------------------------

struct Common {
    std::string file;
    std::string from;
};

int runTree(Common const &c, int depth, bool json, bool full) {
    Input in = readInput(c.file, c.from);
    TreeOptions options;
    options.maxDepth = depth;
    options.full = full;
    std::vector<TreeRow> rows;
    EKrDataFormat const f = in.format.format;
    if (isLite(f)) {
        CKrVariant const check = loadVariant(in);  // refuses a damaged buffer with its fault
        (void)check;
        LvLayout const &layout = layoutOf(in);
        layoutRows(layout, layout.buffer(in.bytes.data()), options, rows);
    } else if (isVariantForm(f)) {
        variantRows(loadVariant(in), options, rows);
    } else if (f == EKrDataFormat::Xml) {
        CKrXMLTree tree;
        loadXml(in, tree);
        xmlRows(&tree, options, rows);
    } else if (f == EKrDataFormat::Json) {
        jsonRows(loadJson(in), "/", options, rows);
    } else {
        loadVariant(in);  // throws the message for unrecognised data
    }
    out(json ? printRowsJson(rows) : printRows(rows));
    return kExitOk;
}

int getXml(Input const &in, std::string const &path, bool json) {
    CKrXMLTree tree;
    loadXml(in, tree);
    CKrStringW const wide = CKrStringW::FromStdStringUtf8(path);
    std::wstring nodePath = wide.GetStdString(), attribute;
    size_t const at = nodePath.rfind(L'@');
    if (at != std::wstring::npos && (at == 0 || nodePath[at - 1] == L'/')) {
        attribute = nodePath.substr(at + 1);
        nodePath.erase(at == 0 ? 0 : at - 1);
        if (nodePath.empty()) nodePath = L".";
    }
    CKrXMLNodeSet set;
    int const rc = tree.XPathGetNodeSet(CKrStringW(nodePath), set);
    if (rc != 0) throw ToolError(kExitUsage, "unsupported or invalid XML path \"" + path + "\"");
    std::vector<std::string> values;
    for (CKrXMLNode *node : set) {
        if (!node) continue;
        CKrStringW value;
        if (!attribute.empty()) {
            if (node->GetAttr(CKrStringW(attribute), value) != 0) continue;
        } else if (node->NodeType() == krXML_ELEMENT) {
            node->GetValue(value, true, true);
        } else {
            value = node->Text();
        }
        values.push_back(utf8(value));
    }
    if (values.empty())
        throw ToolError(kExitNotFound, path + " not found in " + displayName(in.path));
    std::string text;
    if (json) {
        text = "[";
        for (size_t i = 0; i < values.size(); ++i) {
            CKrStringW escaped = CKrJson::escapeString(CKrStringW::FromStdStringUtf8(values[i]));
            text += (i ? ", \"" : "\"") + utf8(escaped) + "\"";
        }
        text += "]\n";
    } else {
        for (std::string const &v : values) text += v + (v.empty() || v.back() != '\n' ? "\n" : "");
    }
    out(text);
    return kExitOk;
}

int getJson(Input const &in, std::string const &path, bool json) {
    CKrStringW value;
    if (!jsonAtPath(loadJson(in), path, value))
        throw ToolError(kExitNotFound, path + " not found in " + displayName(in.path));
    CKrJsonArray holder;
    CKrStringW s;
    if (!json && CKrJson::readArrayFromString(L"[" + value + L"]", &holder, nullptr) &&
        holder.isItemAtIndexString(0, &s)) {
        out(utf8(s) + "\n");
        return kExitOk;
    }
    std::wstring text = CKrJson::reformat(value, nullptr, 2).GetStdString();
    std::string lines;
    for (wchar_t ch : text)
        if (ch != L'\r') lines += utf8(std::wstring_view(&ch, 1));
    out(lines + "\n");
    return kExitOk;
}

int runGet(Common const &c, std::string const &path, bool json, bool full) {
    Input in = readInput(c.file, c.from);
    EKrDataFormat const f = in.format.format;
    if (f == EKrDataFormat::Xml) return getXml(in, path, json);
    if (f == EKrDataFormat::Json) return getJson(in, path, json);
    CKrVariant const root = loadVariant(in);
    CKrVariant const *node = findPath(root, path);
    if (!node) throw ToolError(kExitNotFound, path + " not found in " + displayName(in.path));
    if (json) {
        CKrStringW text;
        CKrVariantJson::VariantToJson(text, *node, 2);
        out(utf8(text) + "\n");
    } else if (node->GetCount() >= 0) {
        std::vector<TreeRow> rows;
        TreeOptions options;
        options.full = full;
        variantRows(*node, options, rows);
        out(printRows(rows));
    } else {
        out(variantValueText(*node) + "\n");
    }
    return kExitOk;
}

int runVerify(Common const &c) {
    Input in = readInput(c.file, c.from);
    std::string const name = displayName(in.path);
    EKrDataFormat const f = in.format.format;
    std::string detail;
    if (isLite(f)) {
        LvLayout const &layout = layoutOf(in);
        // Refused when the reader's own check or the layout decoder finds a fault; the
        // decoder's message (which names the field) is preferred.
        CKrLiteVariantR reader;
        // A saved file is handed over without its head; an envelope as it is.
        bool const saved = layout.headed && layout.payloadName == "saved buffer";
        unsigned char const *bytes = saved ? layout.payload.data() : in.bytes.data();
        size_t const n = saved ? layout.payload.size() : in.bytes.size();
        void *copy = n ? CKrAlloc::Alloc(0, n) : nullptr;
        if (n && !copy) throw ToolError(kExitIo, "out of memory");
        if (n) std::memcpy(copy, bytes, n);
        reader.SetPointer(copy, n, n);
        kr_uint64 fault = 0;
        if (reader.Validate(&fault) != 0 && layout.wellFormed)
            throw ToolError(kExitMalformed, name + ": malformed lite variant at offset " +
                                                std::to_string(fault) + layout.where() +
                                                ": refused by the reader");
        if (!layout.wellFormed)
            throw ToolError(kExitMalformed, name + ": malformed lite variant at offset " +
                                                std::to_string(layout.faultOffset) +
                                                layout.faultWhere() + ": " +
                                                layout.fault.substr(layout.fault.find(' ') + 1));
        detail = std::to_string(layout.items.size()) + " items";
    } else if (isXml(f)) {
        CKrXMLTree tree;
        loadXml(in, tree);
        if (f == EKrDataFormat::VariantXml) loadVariant(in);
    } else if (f == EKrDataFormat::VariantJson) {
        loadVariant(in);
    } else if (f == EKrDataFormat::Json) {
        loadJson(in);
    } else {
        loadVariant(in);  // throws the message for unrecognised data
    }
    out(name + ": well-formed " + KrDataFormat::Name(f) +
        (detail.empty() ? "" : " (" + detail + ")") + "\n");
    return kExitOk;
}

int runAnnotate(Common const &c) {
    Input in = readInput(c.file, "lv");
    LvLayout const &layout = layoutOf(in);
    std::string text = "offset    bytes                                            field\n";
    for (size_t i = 0; i < layout.fields.size(); ++i) {
        if (layout.headed && i == layout.payloadFrom && !layout.payload.empty())
            text += "-- " + layout.payloadName + ", " + std::to_string(layout.payload.size()) +
                    " bytes; offsets below count from its start\n";
        LvField const &f = layout.fields[i];
        unsigned char const *base =
            layout.headed && i >= layout.payloadFrom && !layout.payload.empty()
                ? layout.payload.data()
                : in.bytes.data();
        kr_uint64 done = 0;
        do {
            kr_uint64 const n = std::min<kr_uint64>(16, f.size - done);
            char head[16];
            std::snprintf(head, sizeof head, "%08llx  ",
                          static_cast<unsigned long long>(f.offset + done));
            std::string hex = hexBytes(base + f.offset + done, static_cast<size_t>(n), 0);
            hex.resize(49, ' ');
            text += head + hex;
            if (done == 0) text += indentFor(f.depth) + f.text;
            while (!text.empty() && text.back() == ' ') text.pop_back();
            text += '\n';
            done += n;
        } while (done < f.size);
    }
    if (!layout.wellFormed)
        text += "-- not well formed: first fault at offset " + std::to_string(layout.faultOffset) +
                "\n";
    out(text);
    return kExitOk;
}

std::string utf16le(std::wstring const &text) {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (wchar_t c : text) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>((c >> 8) & 0xFF);
    }
    return bytes;
}

int runConvert(Common const &c, std::string const &outPath, std::string to) {
    if (to.empty()) {
        static constexpr std::pair<char const *, char const *> kExtensions[] = {
            {".lv", "lv"}, {".lvz", "lvz"}, {".xml", "xml"}, {".json", "json"}};
        for (auto const &[ext, fmt] : kExtensions) {
            std::string const e = ext;
            if (outPath.size() > e.size() &&
                outPath.compare(outPath.size() - e.size(), e.size(), e) == 0)
                to = fmt;
        }
        if (to.empty())
            throw ToolError(kExitUsage,
                            "give --to (lv, lvz, xml, xml8, json) for " +
                                (outPath == "-" ? std::string("standard output") : outPath));
    }
    Input in = readInput(c.file, c.from);
    CKrVariant const v = loadVariant(in);
    std::string bytes;
    if (to == "json") {
        CKrStringW text;
        CKrVariantJson::VariantToJson(text, v, 2);
        bytes = utf8(text) + "\n";
    } else if (to == "xml") {
        CKrStringW text;
        v.Write(text);
        bytes = utf16le(L"\uFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + text.GetStdString());
    } else if (to == "xml8") {
        CKrStringA text;
        CKrVariant parameters = CKrVariant::CreateStruct(
            CKrStringW(L"parameters"), {CKrVariant(static_cast<void *>(&text), L"stringUTF8")});
        CKrSerializerXMLString serializer;
        serializer.Save(v, parameters);
        bytes.assign(text.GetString(), text.GetLength());
    } else if (to == "lv" || to == "lvz") {
        CKrLiteVariantW writer;
        bool const wrapper = v.GetCount() >= 0 && v.GetName().GetLength() == 0 &&
                             v.GetRunType().GetName() == "CKrListVariant";
        if (wrapper) {
            for (int i = 0; i < v.GetCount(); ++i)
                writer.Set(*v.IndexPtr(i), v.IndexPtr(i)->GetName().GetString());
        } else {
            writer.Set(v, v.GetName().GetString());
        }
        // A Null item has no lite-variant form: say how many are left out.
        int nulls = 0;
        std::vector<CKrVariant const *> walk{&v};
        while (!walk.empty()) {
            CKrVariant const *n = walk.back();
            walk.pop_back();
            nulls += n->IsNull();
            for (int i = 0; i < n->GetCount(); ++i) walk.push_back(n->IndexPtr(i));
        }
        if (nulls > 0)
            std::fprintf(
                stderr,
                "orvik: warning: %d item%s of type unknown left out (a lite variant has no Null)\n",
                nulls, nulls == 1 ? "" : "s");
        CKrLiteVariantR reader;
        if (!writer.Finalize(reader, to == "lvz" ? 1 : 0))
            throw ToolError(kExitIo, "the data does not shrink: no compressed form (use --to lv)");
        // A plain buffer is written in the file form CKrLiteVariantR::SaveToFile writes and
        // LoadFromFile reads: "LV00", the buffer size (8 bytes, little-endian), the buffer.  The
        // envelope is its own file form.
        if (to == "lv") {
            bytes = "LV00";
            for (int k = 0; k < 8; ++k)
                bytes += static_cast<char>((reader.GetSize() >> (8 * k)) & 0xFF);
        }
        bytes.append(static_cast<char const *>(reader.GetPointer()), reader.GetSize());
    } else {
        throw ToolError(kExitUsage,
                        "unknown output format \"" + to + "\" (lv, lvz, xml, xml8, json)");
    }
    writeOutput(outPath, bytes);
    return kExitOk;
}

// Diagnostics of the library are kept, not printed: a command reports one line, and a library
// message that explains a refusal becomes part of it (lastDiagnostic()).
void keepDiagnostic(void *, int, wchar_t const *, wchar_t const *message, wchar_t const *, int) {
    lastDiagnostic() = utf8(std::wstring_view(message ? message : L""));
}

}  // namespace

int main(int argc, char **argv) {
    KR_SetDiagHandler(keepDiagnostic, nullptr);
    CLI::App app{
        "orvik: inspect, verify and convert lite variants, the XML and JSON forms of a "
        "variant, XML and JSON documents.\nFILE may be - for standard input. The format "
        "is detected from the content; --from overrides it.\nExit codes: 0 success, 1 not "
        "found, 2 malformed input, 3 usage error, 4 input/output error.",
        "orvik"};
    app.require_subcommand(1);
    app.fallthrough();
    Common common;
    app.add_option("--from", common.from,
                   "input format: lv, lvz, xml-variant, xml, json-variant, json");

    int depth = -1;
    bool json = false, full = false;
    auto *tree = app.add_subcommand(
        "tree",
        "show the tree: names, types, values or sizes (and byte offsets of a lite variant)");
    tree->add_option("FILE", common.file, "input file")->required();
    tree->add_option("--depth", depth, "show N levels below the top only")
        ->check(CLI::NonNegativeNumber);
    tree->add_flag("--json", json, "rows as a JSON array");
    tree->add_flag("--full", full,
                   "whole strings and blobs (by default the first 64 units / 16 bytes)");

    std::string path;
    auto *get =
        app.add_subcommand("get", "print one value or subtree (exit 1 when it is not there)");
    get->add_option("FILE", common.file, "input file")->required();
    get->add_option(
           "PATH", path,
           "\\a\\b\\c for variants and lite variants, a path query (a/b[@k='v']/@attr) for XML, "
           "/member/0/member for JSON")
        ->required();
    get->add_flag("--json", json, "as JSON (a variant subtree in the JSON form of a variant)");
    get->add_flag("--full", full, "whole strings and blobs in a subtree listing");

    auto *verify = app.add_subcommand(
        "verify", "exit 0 when well formed, else exit 2 with the fault and its offset");
    verify->add_option("FILE", common.file, "input file")->required();

    auto *annotate =
        app.add_subcommand("annotate", "hex listing of a lite variant with every field decoded");
    annotate
        ->add_option("FILE", common.file, "input file (any bytes; undecodable bytes are marked)")
        ->required();

    std::string outPath, to;
    auto *convert = app.add_subcommand(
        "convert", "convert between the lite variant and the XML and JSON forms of a variant");
    convert->add_option("IN", common.file, "input file")->required();
    convert->add_option("OUT", outPath, "output file (- for standard output)")->required();
    convert
        ->add_option(
            "--to", to,
            "lv, lvz (compressed), xml (UTF-16), xml8 (UTF-8), json; default from OUT's extension")
        ->check(CLI::IsMember({"lv", "lvz", "xml", "xml8", "json"}));

    try {
        app.parse(argc, argv);
    } catch (CLI::CallForHelp const &e) {
        return app.exit(e);
    } catch (CLI::CallForAllHelp const &e) {
        return app.exit(e);
    } catch (CLI::ParseError const &e) {
        std::string message = e.what();
        while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
            message.pop_back();
        for (char &ch : message)
            if (ch == '\n') ch = ' ';
        std::fprintf(stderr, "orvik: %s (see orvik --help)\n", message.c_str());
        return kExitUsage;
    }
    try {
        if (*tree) return runTree(common, depth, json, full);
        if (*get) return runGet(common, path, json, full);
        if (*verify) return runVerify(common);
        if (*annotate) return runAnnotate(common);
        if (*convert) return runConvert(common, outPath, to);
    } catch (ToolError const &e) {
        std::fprintf(stderr, "orvik: %s\n", e.what());
        return e.code;
    } catch (std::exception const &e) {
        std::fprintf(stderr, "orvik: %s\n", e.what());
        return kExitMalformed;
    }
    return kExitUsage;
}
