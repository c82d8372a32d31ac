// Records in the XML form of a variant: written and read with CKrSerializerXMLString; a document
// it refuses is parsed once more by expat alone to find the position of the fault.
#include <expat.h>

#include <climits>
#include <cstring>

#include "PyDiag.h"
#include "PyFormats.h"
#include "serializerxml/CKrSerializerXMLString.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"
#include "variant/CKrVariant.h"

namespace orvik::py {

namespace {

bool IsHigh(wchar_t c) { return c >= 0xD800 && c < 0xDC00; }
bool IsLow(wchar_t c) { return c >= 0xDC00 && c < 0xE000; }

// Why the XML form would not give `text` back as it is, or null when it does.  The serializer
// documents these cases and keeps them (other readers of the form rely on them), so a record
// holding such text is refused rather than written into a file that reads back differently.
char const *XmlRefusal(std::wstring const &text) {
    for (std::size_t k = 0; k < text.size(); ++k) {
        wchar_t const c = text[k];
        if (c == L'\t') return "a tab would come back as a space";
        if (c == L'\0') return "U+0000 would end the text";
        if (c == L'&' && (k + 1 == text.size() || text[k + 1] == L'#'))
            return "'&#' would be read as a character reference";
        if (c == 0xFFFE || c == 0xFFFF) return "U+FFFE and U+FFFF are not XML characters";
        if (IsHigh(c)) {
            if (k + 1 == text.size() || !IsLow(text[k + 1])) return "an unpaired surrogate";
            // U+F0000 to U+F001F stand for the control characters in the written form.
            if (c == 0xDB80 && text[k + 1] < 0xDC20)
                return "U+F0000 to U+F001F stand for control characters";
            ++k;
        } else if (IsLow(c)) {
            return "an unpaired surrogate";
        }
    }
    return nullptr;
}

// Names, run types and texts the XML form cannot carry; throws std::invalid_argument.
void CheckTree(Item const &root) {
    std::vector<Item const *> pending{&root};
    while (!pending.empty()) {
        Item const *item = pending.back();
        pending.pop_back();
        std::string const where = "orvik: item '" + Utf8(item->name) + "': ";
        if (!IsVariantName(item->name))
            throw std::invalid_argument(where + "not a name the XML form can carry");
        if (item->kind == Kind::String) {
            if (char const *why = XmlRefusal(item->text))
                throw std::invalid_argument(where + "the XML form cannot carry this text: " + why);
        }
        if (item->kind == Kind::List) {
            if (!IsListRunType(item->level->runtype))
                throw std::invalid_argument(where + "run type '" + item->level->runtype +
                                            "' cannot be written");
            for (Item const &child : item->level->items) pending.push_back(&child);
        }
    }
}

// Parses the text with expat alone (the serializer's parser settings, no callbacks) and throws
// the first well-formedness fault with its byte offset; returns when the text is well formed.
void ThrowParserFault(char const *bytes, std::size_t size, bool utf16) {
    static constexpr XML_Char kUtf16[] = {'U', 'T', 'F', '-', '1', '6', 0};
    static constexpr XML_Char kUtf8[] = {'U', 'T', 'F', '-', '8', 0};
    XML_Parser parser = XML_ParserCreate(utf16 ? kUtf16 : kUtf8);
    if (parser == nullptr) throw std::bad_alloc();
    bool const ok = XML_Parse(parser, bytes, int(size), 1) == XML_STATUS_OK;
    if (ok) {
        XML_ParserFree(parser);
        return;
    }
    std::string message = std::string("orvik: XML: ") + XML_ErrorString(XML_GetErrorCode(parser)) +
                          " at line " + std::to_string(XML_GetCurrentLineNumber(parser)) +
                          ", column " + std::to_string(XML_GetCurrentColumnNumber(parser) + 1);
    XML_Index const index = XML_GetCurrentByteIndex(parser);
    XML_ParserFree(parser);
    throw FormatFault(message, index >= 0 ? std::optional<std::uint64_t>(index) : std::nullopt);
}

}  // namespace

RecordView LoadXml(unsigned char const *data, std::size_t size) {
    if (size > INT_MAX) throw FormatFault("orvik: XML text larger than 2 GiB", std::nullopt);
    CKrVariant target;
    target.SetName(CKrStringW());  // an element always names it: still empty means none
    DiagCapture diag;
    int result;
    bool const utf16 =
        size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
    std::vector<char16_t> little;  // the UTF-16 text in little-endian order, for expat alone
    if (utf16) {
        if (size % 2 != 0) throw FormatFault("orvik: UTF-16 text of odd length", size - 1);
        bool const big = data[0] == 0xFE;
        std::vector<wchar_t> units(size / 2);
        little.resize(size / 2);
        for (std::size_t k = 0; k < units.size(); ++k) {
            unsigned const a = data[2 * k], b = data[2 * k + 1];
            units[k] = wchar_t(big ? (a << 8 | b) : (b << 8 | a));
            little[k] = char16_t(units[k]);
        }
        result = CKrSerializerXMLString::VariantFromXML(target, units.data(),
                                                        static_cast<unsigned int>(units.size()));
    } else {
        result = CKrSerializerXMLString::VariantFromXML_UTF8(
            target, reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    }
    if (result != 0) {
        if (utf16) {
            ThrowParserFault(reinterpret_cast<char const *>(little.data()), size, true);
        } else {
            ThrowParserFault(reinterpret_cast<char const *>(data), size, false);
        }
        std::string why = diag.Joined();
        throw FormatFault("orvik: not the XML form of a variant" + (why.empty() ? "" : ": " + why),
                          std::nullopt);
    }
    auto top = std::make_shared<Level>();
    if (!target.GetName().IsEmpty()) top->items.push_back(ItemFromVariant(target));
    return TopOf(std::move(top));
}

std::string DumpXml(RecordView const &record, bool utf8) {
    if (record.document && record.level->items.size() != 1) {
        throw std::invalid_argument("orvik: the XML form holds exactly one top-level item, not " +
                                    std::to_string(record.level->items.size()));
    }
    Item const item = record.document ? record.level->items.front() : record.AsItem();
    CheckTree(item);
    CKrVariant const source = VariantFromItem(item);
    CKrSerializerXMLString serializer;
    CKrVariant parameters;
    if (utf8) {
        CKrStringA text;
        parameters.Append(CKrVariant(static_cast<void *>(&text), CKrStringW(L"stringUTF8")));
        if (serializer.Save(source, parameters) != 0)
            throw std::runtime_error("orvik: XML writer failed");
        return text.GetStdString();
    }
    CKrStringW text;
    parameters.Append(CKrVariant(static_cast<void *>(&text), CKrStringW(L"string")));
    if (serializer.Save(source, parameters) != 0)
        throw std::runtime_error("orvik: XML writer failed");
    std::wstring const &units = text.GetStdString();
    std::string bytes(units.size() * 2, '\0');
    for (std::size_t k = 0; k < units.size(); ++k) {
        bytes[2 * k] = char(units[k] & 0xFF);
        bytes[2 * k + 1] = char((units[k] >> 8) & 0xFF);
    }
    return bytes;
}

}  // namespace orvik::py
