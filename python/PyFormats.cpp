#include "PyFormats.h"

#include <cstring>

namespace orvik::py {

namespace {

bool StartsWith(unsigned char const *data, std::size_t size, char const *mark) {
    std::size_t const length = std::strlen(mark);
    return size >= length && std::memcmp(data, mark, length) == 0;
}

bool IsXmlSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Text that can only be the XML form: a byte-order mark, or "<" after optional white space.
bool LooksLikeXml(unsigned char const *data, std::size_t size) {
    if (StartsWith(data, size, "\xEF\xBB\xBF") || StartsWith(data, size, "\xFF\xFE") ||
        StartsWith(data, size, "\xFE\xFF"))
        return true;
    std::size_t k = 0;
    while (k < size && IsXmlSpace(data[k])) ++k;
    return k < size && data[k] == '<';
}

// The first byte of a plain lite variant buffer is the type code of its first item (1 to 11).
bool LooksLikeLite(unsigned char const *data, std::size_t size) {
    return StartsWith(data, size, "LV0Z") || StartsWith(data, size, "LV00") ||
           (size > 0 && data[0] >= 1 && data[0] <= 11);
}

}  // namespace

FileForm ParseFileForm(std::string const &name) {
    if (name == "lvz") return FileForm::LiteCompressed;
    if (name == "lv") return FileForm::Lite;
    if (name == "xml") return FileForm::Xml;
    if (name == "xml8") return FileForm::Xml8;
    throw std::invalid_argument("orvik: unknown format '" + name +
                                "' (expected 'lvz', 'lv', 'xml' or 'xml8')");
}

RecordView TopOf(std::shared_ptr<Level> top) {
    if (top->items.size() == 1 && top->items.front().kind == Kind::List) {
        Item const &only = top->items.front();
        return RecordView{only.name, only.level, false};
    }
    return RecordView{std::wstring(), std::move(top), true};
}

RecordView Load(unsigned char const *data, std::size_t size) {
    if (size == 0) throw FormatFault("orvik: empty input", 0);
    // A plain buffer whose first item is a blob (code 9) starts like white space: when such
    // bytes pass the lite variant's validation they are one, otherwise they are read as XML.
    if (data[0] == '\t') {
        try {
            return LoadLite(data, size);
        } catch (FormatFault const &) {
            if (!LooksLikeXml(data, size)) throw;
        }
        return LoadXml(data, size);
    }
    if (LooksLikeXml(data, size)) return LoadXml(data, size);
    if (LooksLikeLite(data, size)) return LoadLite(data, size);
    throw FormatFault("orvik: neither a lite variant nor the XML form of a variant", 0);
}

std::string Dump(RecordView const &record, FileForm form) {
    switch (form) {
        case FileForm::LiteCompressed:
            return DumpLite(record, true);
        case FileForm::Lite:
            return DumpLite(record, false);
        case FileForm::Xml:
            return DumpXml(record, false);
        case FileForm::Xml8:
            return DumpXml(record, true);
    }
    throw std::invalid_argument("orvik: unknown format");
}

}  // namespace orvik::py
