#include "tools/ToolInput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "json/CKrVariantJson.h"
#include "serializerxml/CKrSerializerXMLString.h"
#include "tools/ToolText.h"
#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"

namespace orvik::tool {
namespace {

constexpr wchar_t kRunTypeItem[] = L"__m_runType";

kr_uint64 readLE(unsigned char const *p, int bytes) {
    kr_uint64 v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

// The byte offset in a UTF-8 text of the character at UTF-16 unit `unit` (for messages).
kr_uint64 byteOffsetOfUnit(Input const &in, CKrStringW const &text, kr_uint64 unit) {
    std::wstring const &s = text.GetStdString();
    if (in.format.encoding != EKrTextEncoding::Utf8) return in.format.markSize + 2 * unit;
    std::string prefix;
    KrDataFormat::EncodeUtf8(s.data(), static_cast<size_t>(std::min<kr_uint64>(unit, s.size())),
                             prefix);
    return in.format.markSize + prefix.size();
}

CKrVariant scalarOf(unsigned char const *b, LvItem const &it) {
    unsigned char const *p = b + it.valueOffset;
    switch (it.code) {
        case 1:
            return CKrVariant(p[0] != 0);
        case 2:
            return CKrVariant(static_cast<int>(readLE(p, 4)));
        case 3:
            return CKrVariant(static_cast<unsigned int>(readLE(p, 4)));
        case 4:
            return CKrVariant(static_cast<kr_int64>(readLE(p, 8)));
        case 5:
            return CKrVariant(static_cast<kr_uint64>(readLE(p, 8)));
        case 6: {
            kr_uint64 const bits = readLE(p, 8);
            double d;
            std::memcpy(&d, &bits, sizeof d);
            return CKrVariant(d);
        }
        case 7:
            return CKrVariant(reinterpret_cast<void *>(static_cast<uintptr_t>(readLE(p, 8))));
        case 8: {
            std::wstring text;
            for (kr_uint64 i = 0; i + 2 < it.valueSize; i += 2)
                text += static_cast<wchar_t>(readLE(p + i, 2));
            return CKrVariant(CKrStringW(std::move(text)));
        }
        default:
            return CKrVariant(CKrByteArray(p, static_cast<size_t>(it.valueSize), 1024));
    }
}

// The tree of a decoded, well-formed layout.  Items come in writing order with their parent's
// index, so every parent exists before its children.
CKrVariant variantOfLayout(unsigned char const *b, LvLayout const &layout) {
    std::vector<LvItem> const &items = layout.items;
    // A level whose first child is the string "__m_runType" is a record of that run type.
    std::vector<std::string> recordType(items.size());
    std::vector<bool> skip(items.size(), false), seenChild(items.size(), false);
    for (size_t i = 0; i < items.size(); ++i) {
        long const p = items[i].parent;
        if (p < 0 || seenChild[p]) continue;
        seenChild[p] = true;
        if (items[i].code == 8 && items[i].name == kRunTypeItem) {
            std::string type = utf8(scalarOf(b, items[i]).GetCKrStringW());
            if (!type.empty()) {
                recordType[p] = std::move(type);
                skip[i] = true;
            }
        }
    }
    std::vector<CKrVariant *> nodes(items.size(), nullptr);
    std::vector<std::unique_ptr<CKrVariant>> top;
    for (size_t i = 0; i < items.size(); ++i) {
        if (skip[i]) continue;
        LvItem const &it = items[i];
        std::unique_ptr<CKrVariant> v;
        if (it.code == 11) {
            char const *type = recordType[i].empty() ? "CKrListVariant" : recordType[i].c_str();
            v = std::make_unique<CKrVariant>(CKrVariant::CreateStructNamed(
                CKrVariantRunType(type), CKrStringW(), std::initializer_list<CKrVariant>{}));
        } else {
            v = std::make_unique<CKrVariant>(scalarOf(b, it));
        }
        v->SetName(CKrStringW(it.name));
        nodes[i] = v.get();
        if (it.parent < 0) {
            top.push_back(std::move(v));
        } else {
            nodes[it.parent]->GetCKrListVariant().Append(v.release());
        }
    }
    bool const single = top.size() == 1;
    if (single && !(top[0]->GetCount() >= 0 && top[0]->GetName().GetLength() == 0 &&
                    top[0]->GetRunType().GetName() == "CKrListVariant")) {
        return CKrVariant(std::move(*top[0]));
    }
    CKrVariant root = CKrVariant::CreateStruct(CKrStringW(), std::initializer_list<CKrVariant>{});
    root.SetName(CKrStringW());
    for (std::unique_ptr<CKrVariant> &v : top) root.GetCKrListVariant().Append(v.release());
    return root;
}

}  // namespace

std::string &lastDiagnostic() {
    static std::string message;
    return message;
}

std::string displayName(std::string const &path) { return path == "-" ? "standard input" : path; }

Input readInput(std::string const &path, std::string const &from) {
    Input in;
    in.path = path;
    FILE *f = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (!f) throw ToolError(kExitIo, "cannot open " + path + ": " + std::strerror(errno));
    unsigned char buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0)
        in.bytes.insert(in.bytes.end(), buf, buf + n);
    bool const failed = std::ferror(f);
    if (f != stdin) std::fclose(f);
    if (failed) throw ToolError(kExitIo, "cannot read " + displayName(path));
    in.format = KrDataFormat::Detect(in.bytes.data(), in.bytes.size());
    if (!from.empty()) {
        EKrDataFormat forced;
        if (!KrDataFormat::FromName(from.c_str(), &forced))
            throw ToolError(kExitUsage, "unknown format \"" + from +
                                            "\" (lv, lvz, xml-variant, xml, json-variant, json)");
        if (forced != in.format.format) {
            bool const text =
                forced != EKrDataFormat::LiteVariant && forced != EKrDataFormat::LiteVariantZ;
            bool const wasText = in.format.encoding != EKrTextEncoding::None;
            if (text && !wasText)
                in.format.encoding = EKrTextEncoding::Utf8, in.format.markSize = 0;
            if (!text) in.format.encoding = EKrTextEncoding::None, in.format.markSize = 0;
            in.format.format = forced;
        }
    }
    return in;
}

CKrStringW inputText(Input const &in) {
    CKrStringW text;
    kr_uint64 fault = 0;
    size_t const mark = in.format.markSize;
    if (in.bytes.size() < mark) return text;
    int const rc = KrDataFormat::DecodeText(in.bytes.data() + mark, in.bytes.size() - mark,
                                            in.format.encoding, text, &fault);
    if (rc != 0)
        throw ToolError(kExitMalformed,
                        displayName(in.path) + ": invalid " +
                            (in.format.encoding == EKrTextEncoding::Utf8 ? "UTF-8" : "UTF-16") +
                            " text at offset " + std::to_string(fault + mark));
    return text;
}

LvLayout const &layoutOf(Input &in) {
    if (!in.layout)
        in.layout = std::make_unique<LvLayout>(decodeLvLayout(in.bytes.data(), in.bytes.size()));
    return *in.layout;
}

CKrVariant loadVariant(Input &in) {
    std::string const name = displayName(in.path);
    switch (in.format.format) {
        case EKrDataFormat::LiteVariant:
        case EKrDataFormat::LiteVariantZ: {
            LvLayout const &layout = layoutOf(in);
            if (!layout.wellFormed)
                throw ToolError(kExitMalformed,
                                name + ": malformed lite variant at offset " +
                                    std::to_string(layout.faultOffset) + layout.faultWhere() +
                                    ": " + layout.fault.substr(layout.fault.find(' ') + 1));
            return variantOfLayout(layout.buffer(in.bytes.data()), layout);
        }
        case EKrDataFormat::VariantJson: {
            CKrStringW const text = inputText(in);
            CKrVariant v;
            CKrStringW error;
            kr_uint64 at = 0;
            if (CKrVariantJson::VariantFromJson(v, text, &error, &at) != 0)
                throw ToolError(kExitMalformed, name + ": " + utf8(error) + " at offset " +
                                                    std::to_string(byteOffsetOfUnit(in, text, at)));
            return v;
        }
        case EKrDataFormat::VariantXml: {
            CKrStringW const text = inputText(in);
            CKrVariant v;
            lastDiagnostic().clear();
            if (CKrSerializerXMLString::VariantFromXML(
                    v, text.GetString(), static_cast<unsigned int>(text.GetLength())) != 0)
                throw ToolError(
                    kExitMalformed,
                    name + ": not a well-formed XML form of a variant" +
                        (lastDiagnostic().empty() ? "" : " (" + lastDiagnostic() + ")"));
            return v;
        }
        case EKrDataFormat::Xml:
            throw ToolError(kExitMalformed,
                            name + ": an XML document, not the XML form of a variant");
        case EKrDataFormat::Json:
            throw ToolError(kExitMalformed,
                            name + ": a JSON document, not the JSON form of a variant");
        case EKrDataFormat::Unknown:
            break;
    }
    throw ToolError(kExitMalformed,
                    name + ": unrecognised data at offset 0 (not a lite variant, XML or JSON)");
}

void writeOutput(std::string const &path, std::string const &bytes) {
    FILE *f = path == "-" ? stdout : std::fopen(path.c_str(), "wb");
    if (!f) throw ToolError(kExitIo, "cannot create " + path + ": " + std::strerror(errno));
    bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    ok = (f == stdout ? std::fflush(f) == 0 : std::fclose(f) == 0) && ok;
    if (!ok)
        throw ToolError(kExitIo,
                        "cannot write " + (path == "-" ? std::string("standard output") : path));
}

}  // namespace orvik::tool
