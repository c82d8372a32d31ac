#include "tools/ToolText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "variant/KrDataFormat.h"

namespace orvik::tool {

std::string utf8(std::wstring_view text) {
    std::string out;
    KrDataFormat::EncodeUtf8(text.data(), text.size(), out);
    return out;
}

std::string quoted(std::wstring_view text, size_t maxUnits) {
    bool const cut = maxUnits > 0 && text.size() > maxUnits;
    if (cut) text = text.substr(0, maxUnits);
    std::wstring escaped;
    for (wchar_t c : text) {
        switch (c) {
            case L'"':
                escaped += L"\\\"";
                break;
            case L'\\':
                escaped += L"\\\\";
                break;
            case L'\n':
                escaped += L"\\n";
                break;
            case L'\r':
                escaped += L"\\r";
                break;
            case L'\t':
                escaped += L"\\t";
                break;
            default:
                if (static_cast<unsigned>(c) < 0x20) {
                    wchar_t buf[8];
                    std::swprintf(buf, 8, L"\\u%04x", static_cast<unsigned>(c));
                    escaped += buf;
                } else {
                    escaped += c;
                }
        }
    }
    return "\"" + utf8(escaped) + (cut ? "\"..." : "\"");
}

std::string shortestDouble(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char buf[64];
    auto const r = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, r.ptr);
}

std::string hexBytes(unsigned char const *data, size_t size, size_t maxBytes) {
    size_t const shown = maxBytes > 0 && size > maxBytes ? maxBytes : size;
    std::string out;
    static constexpr char kHex[] = "0123456789abcdef";
    for (size_t i = 0; i < shown; ++i) {
        if (i) out += ' ';
        out += kHex[data[i] >> 4];
        out += kHex[data[i] & 15];
    }
    if (shown < size) out += " ...";
    return out;
}

std::string indentFor(int depth) {
    constexpr int kMaxIndented = 64;
    if (depth <= kMaxIndented)
        return std::string(static_cast<size_t>(depth < 0 ? 0 : depth) * 2, ' ');
    return std::string(kMaxIndented * 2, ' ') + "(depth " + std::to_string(depth) + ") ";
}

}  // namespace orvik::tool
