#include "tools/ToolTree.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrJsonValue.h"
#include "tools/ToolText.h"
#include "types/CKrByteArray.h"
#include "xmltree/CKrXMLNode.h"

namespace orvik::tool {
namespace {

constexpr size_t kShownUnits = 64;  // of a string, unless --full
constexpr size_t kShownBytes = 16;  // of a blob, unless --full

bool deeper(TreeOptions const &o, int depth) { return o.maxDepth >= 0 && depth > o.maxDepth; }

std::string count(size_t n, char const *one, char const *many) {
    return "(" + std::to_string(n) + " " + (n == 1 ? one : many) + ")";
}

std::string scalarDetail(CKrVariant const &v, TreeOptions const &o) {
    std::string const type = v.GetRunType().GetName().GetString();
    if (type == "CKrStringW")
        return quoted(v.GetCKrStringW().GetStdString(), o.full ? 0 : kShownUnits);
    if (type == "CKrByteArray") {
        auto const *bytes = static_cast<CKrByteArray const *>(v.GetValueVoidPtr());
        size_t const n = bytes ? bytes->GetSize() : 0;
        std::string out = count(n, "byte", "bytes");
        if (n)
            out += " " + hexBytes(static_cast<unsigned char const *>(bytes->GetData()), n,
                                  o.full ? 0 : kShownBytes);
        return out;
    }
    return variantValueText(v);
}

// JSON string of UTF-8 text (for the --json rows).
std::string jsonQuote(std::string const &s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += buf;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

// A name as shown in a row: as it is, or quoted when it is empty or holds blanks, quotes or
// control characters.
std::string shownName(std::string const &name) {
    bool plain = !name.empty();
    for (unsigned char c : name) plain = plain && c > 0x20 && c != '"';
    return plain ? name : jsonQuote(name);
}

}  // namespace

std::string variantValueText(CKrVariant const &v) {
    std::string const type = v.GetRunType().GetName().GetString();
    if (type == "double") return shortestDouble(v.GetDouble());
    if (type == "voidPtr") {
        char buf[24];
        std::snprintf(buf, sizeof buf, "0x%016llX",
                      static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(v.GetVoidPtr())));
        return buf;
    }
    if (v.IsNull() || v.GetCount() >= 0) return "";
    return utf8(v.GetCKrStringW());  // integers, bool, strings, byte arrays (Base64)
}

void variantRows(CKrVariant const &root, TreeOptions const &o, std::vector<TreeRow> &rows,
                 int depth) {
    std::vector<std::pair<CKrVariant const *, int>> stack{{&root, depth}};
    while (!stack.empty()) {
        auto const [v, d] = stack.back();
        stack.pop_back();
        TreeRow row;
        row.depth = d;
        row.name = utf8(v->GetName());
        row.type = v->GetRunType().GetName().GetString();
        int const n = v->GetCount();
        row.detail = n >= 0 ? count(static_cast<size_t>(n), "item", "items") : scalarDetail(*v, o);
        rows.push_back(std::move(row));
        if (deeper(o, d + 1)) continue;
        for (int i = n - 1; i >= 0; --i) stack.emplace_back(v->IndexPtr(i), d + 1);
    }
}

void layoutRows(LvLayout const &layout, unsigned char const *buffer, TreeOptions const &o,
                std::vector<TreeRow> &rows) {
    for (LvItem const &it : layout.items) {
        if (deeper(o, it.depth)) continue;
        TreeRow row;
        row.depth = it.depth;
        row.hasOffset = true;
        row.offset = it.offset;
        row.name = utf8(it.name);
        row.type = lvTypeName(it.code);
        row.detail = lvValueText(buffer, it, o.full ? 0 : kShownBytes, o.full ? 0 : kShownUnits);
        rows.push_back(std::move(row));
    }
}

void xmlRows(CKrXMLNode *node, TreeOptions const &o, std::vector<TreeRow> &rows, int depth) {
    std::vector<std::pair<CKrXMLNode *, int>> stack;
    if (node->NodeType() == krXML_DOCUMENT) {
        std::vector<CKrXMLNode *> top;
        for (CKrXMLNode *c = node->FirstChild(); c; c = c->Sibling()) top.push_back(c);
        for (size_t i = top.size(); i-- > 0;) stack.emplace_back(top[i], depth);
    } else {
        stack.emplace_back(node, depth);
    }
    while (!stack.empty()) {
        auto const [n, d] = stack.back();
        stack.pop_back();
        TreeRow row;
        row.depth = d;
        switch (n->NodeType()) {
            case krXML_ELEMENT: {
                row.name = utf8(n->TagName());
                row.type = "element";
                CKrStringW name, value;
                for (unsigned k = 0; n->GetAttrAt(k, name, value) == 0; ++k) {
                    if (!row.detail.empty()) row.detail += ' ';
                    row.detail +=
                        utf8(name) + "=" + quoted(value.GetStdString(), o.full ? 0 : kShownUnits);
                }
                break;
            }
            case krXML_TEXT:
                row.name = "#text";
                row.type = "text";
                row.detail = quoted(n->Text().GetStdString(), o.full ? 0 : kShownUnits);
                break;
            case krXML_COMMENT:
                row.name = "#comment";
                row.type = "comment";
                break;
            default:
                row.name = "#pi";
                row.type = "processing-instruction";
                break;
        }
        rows.push_back(std::move(row));
        if (deeper(o, d + 1) || n->NodeType() != krXML_ELEMENT) continue;
        std::vector<CKrXMLNode *> children;
        for (CKrXMLNode *c = n->FirstChild(); c; c = c->Sibling()) children.push_back(c);
        for (size_t i = children.size(); i-- > 0;) stack.emplace_back(children[i], d + 1);
    }
}

namespace {

// One JSON value on its way to becoming a row: its kind and, for objects and arrays, the
// container to descend into.
struct JsonEntry {
    std::string name;
    int depth = 0;
    std::string type;
    std::string detail;
    CKrJsonObject object;
    CKrJsonArray array;
};

// Classifies the value that the queries of `q` answer for (an array item or an object member).
template <class Query>
JsonEntry classify(Query const &q, TreeOptions const &o) {
    JsonEntry e;
    bool b = false;
    double d = 0;
    CKrStringW s;
    if (q.object(&e.object)) {
        std::vector<CKrStringW> names;
        e.object.isObject(&names);
        e.type = "object";
        e.detail = count(names.size(), "member", "members");
    } else if (q.array(&e.array)) {
        int n = 0;
        e.array.isArray(&n);
        e.type = "array";
        e.detail = count(static_cast<size_t>(n), "item", "items");
    } else if (q.null()) {
        e.type = "null";
    } else if (q.boolean(&b)) {
        e.type = "bool";
        e.detail = b ? "true" : "false";
    } else if (q.string(&s)) {
        e.type = "string";
        e.detail = quoted(s.GetStdString(), o.full ? 0 : kShownUnits);
    } else if (q.number(&d)) {
        e.type = "number";
        e.detail = shortestDouble(d);
    }
    return e;
}

struct ItemQuery {
    CKrJsonArray const &a;
    int i;
    bool object(CKrJsonObject *v) const { return a.isItemAtIndexObject(i, v); }
    bool array(CKrJsonArray *v) const { return a.isItemAtIndexArray(i, v); }
    bool null() const { return a.isItemAtIndexNull(i); }
    bool boolean(bool *v) const { return a.isItemAtIndexBool(i, v); }
    bool string(CKrStringW *v) const { return a.isItemAtIndexString(i, v); }
    bool number(double *v) const { return a.isItemAtIndexDouble(i, v); }
};

struct MemberQuery {
    CKrJsonObject const &o;
    CKrStringW const &name;
    bool object(CKrJsonObject *v) const { return o.isItemWithNameObject(name, v); }
    bool array(CKrJsonArray *v) const { return o.isItemWithNameArray(name, v); }
    bool null() const { return o.isItemWithNameNull(name); }
    bool boolean(bool *v) const { return o.isItemWithNameBool(name, v); }
    bool string(CKrStringW *v) const { return o.isItemWithNameString(name, v); }
    bool number(double *v) const { return o.isItemWithNameDouble(name, v); }
};

// The JSON text of the value the queries answer for.
template <class Query>
CKrStringW textOf(Query const &q) {
    CKrJsonObject object;
    CKrJsonArray array;
    bool b = false;
    double d = 0;
    CKrStringW s;
    if (q.object(&object)) return object.isEmpty() ? CKrStringW(L"{}") : object.toString();
    if (q.array(&array)) return array.isEmpty() ? CKrStringW(L"[]") : array.toString();
    if (q.null()) return CKrStringW(L"null");
    if (q.boolean(&b)) return CKrStringW(b ? L"true" : L"false");
    if (q.string(&s)) return L"\"" + CKrJson::escapeString(s) + L"\"";
    if (q.number(&d)) return CKrStringW::FromStdStringUtf8(shortestDouble(d));
    return CKrStringW(L"null");
}

}  // namespace

bool jsonAtPath(CKrStringW const &json, std::string const &path, CKrStringW &text) {
    text = json;
    std::wstring const wide = CKrStringW::FromStdStringUtf8(path).GetStdString() + L"/";
    std::wstring part;
    for (wchar_t c : wide) {
        if (c != L'/') {
            part += c;
            continue;
        }
        if (part.empty()) continue;
        CKrJsonArray holder;
        if (!CKrJson::readArrayFromString(L"[" + text + L"]", &holder, nullptr)) return false;
        CKrJsonObject object;
        CKrJsonArray array;
        if (holder.isItemAtIndexObject(0, &object)) {
            CKrStringW const name = CKrJson::escapeString(CKrStringW(part));
            std::vector<CKrStringW> names;
            object.isObject(&names);
            if (std::find(names.begin(), names.end(), name) == names.end()) return false;
            text = textOf(MemberQuery{object, name});
        } else if (holder.isItemAtIndexArray(0, &array)) {
            std::string const digits = utf8(part);
            if (digits.empty() || digits.size() > 9 ||
                digits.find_first_not_of("0123456789") != std::string::npos)
                return false;
            int const index = std::stoi(digits);
            if (index >= array.itemCount()) return false;
            text = textOf(ItemQuery{array, index});
        } else {
            return false;
        }
        part.clear();
    }
    return true;
}

void jsonRows(CKrStringW const &json, std::string const &name, TreeOptions const &o,
              std::vector<TreeRow> &rows, int depth) {
    // The document is read as the one item of an array, so that a scalar document, an object and
    // an array take the same path.
    CKrJsonArray top;
    CKrStringW wrapped(L"[");
    wrapped += json;
    wrapped += L"]";
    if (!CKrJson::readArrayFromString(wrapped, &top, nullptr)) return;
    std::vector<JsonEntry> stack;
    stack.push_back(classify(ItemQuery{top, 0}, o));
    stack.back().name = name;
    stack.back().depth = depth;
    while (!stack.empty()) {
        JsonEntry e = std::move(stack.back());
        stack.pop_back();
        rows.push_back(TreeRow{e.depth, false, 0, e.name, e.type, e.detail});
        if (deeper(o, e.depth + 1)) continue;
        std::vector<JsonEntry> children;
        if (e.type == "object") {
            std::vector<CKrStringW> names;
            e.object.isObject(&names);
            for (CKrStringW const &member : names) {
                children.push_back(classify(MemberQuery{e.object, member}, o));
                CKrStringW plain;
                children.back().name =
                    utf8(CKrJson::unescapeString(member, &plain) ? plain : member);
            }
        } else if (e.type == "array") {
            for (int i = 0; i < e.array.itemCount(); ++i) {
                children.push_back(classify(ItemQuery{e.array, i}, o));
                children.back().name = std::to_string(i);
            }
        }
        for (size_t i = children.size(); i-- > 0;) {
            children[i].depth = e.depth + 1;
            stack.push_back(std::move(children[i]));
        }
    }
}

std::string printRows(std::vector<TreeRow> const &rows) {
    std::string out;
    for (TreeRow const &row : rows) {
        if (row.hasOffset) {
            char buf[32];
            std::snprintf(buf, sizeof buf, "%08llx  ", static_cast<unsigned long long>(row.offset));
            out += buf;
        }
        out += indentFor(row.depth);
        out += shownName(row.name) + "  " + row.type;
        if (!row.detail.empty()) out += "  " + row.detail;
        out += '\n';
    }
    return out;
}

std::string printRowsJson(std::vector<TreeRow> const &rows) {
    std::string out = "[";
    for (size_t i = 0; i < rows.size(); ++i) {
        TreeRow const &row = rows[i];
        out += i ? ",\n " : "\n ";
        out += "{\"depth\": " + std::to_string(row.depth);
        if (row.hasOffset) out += ", \"offset\": " + std::to_string(row.offset);
        out += ", \"name\": " + jsonQuote(row.name) + ", \"type\": " + jsonQuote(row.type) +
               ", \"detail\": " + jsonQuote(row.detail) + "}";
    }
    return out + (rows.empty() ? "]\n" : "\n]\n");
}

}  // namespace orvik::tool
