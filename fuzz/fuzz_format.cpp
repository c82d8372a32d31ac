// Generates printf formats from the input, renders each in both widths with arguments of exactly
// the types the format asks for, and checks the formatter of the platform layer and the string
// classes' Format / AppendFormat over it:
//  - success or failure is what the dialect's rules predict (a bad directive, a width above
//    INT_MAX, a text that does not convert fail; everything else succeeds);
//  - a result never exceeds the bound the format allows (literal text, widths, precisions,
//    argument lengths), and a call returns within two seconds;
//  - a failed Format or AppendFormat leaves the string as it was, a successful AppendFormat adds
//    exactly what Format gives;
//  - where a format stays inside what glibc's printf does identically (no Windows sizes, no
//    text of the other width, no "%p", no null texts), the result equals glibc's.
#include <chrono>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>
#include <vector>

#include "FuzzInput.h"
#include "platform/KrPlatform.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"

namespace {

using Input = FuzzInput;

// ---- the abstract format -----------------------------------------------------------------------

enum Width { kNone, kDigits, kStar, kHuge, kStarMin };
enum Prec { pNone, pEmpty, pDigits, pStar, pHuge };

struct Item {
    bool literal = false;
    std::string bytes;   // literal: 8-bit text (no '%', no zero)
    std::wstring units;  // literal: wide text (no '%', no zero)
    std::string flags;
    Width width = kNone;
    int widthValue = 0;
    Prec prec = pNone;
    int precValue = 0;
    std::string size;  // as written in the Windows dialect
    char conv = 'd';
    int intValue = 0;
    long long llValue = 0;
    double dValue = 0;
    bool nullText = false;
    uintptr_t pointer = 0;
};

const char *const kSizes[] = {"",  "",  "",  "h", "hh", "l",   "ll",  "L",
                              "j", "z", "t", "q", "w",  "I64", "I32", "I"};
const char kConvs[] = "diuoxXfeEgGaAcCsSpdiucsfgx%n y$";

std::vector<Item> generate(Input &in, std::string &narrowText, std::wstring &wideText) {
    // The texts that %s arguments point at: bytes and units from the input, zero-terminated.
    for (size_t k = in.byte() % 40; k > 0; --k) {
        uint8_t b = in.byte();
        narrowText += char(b ? b : 'a');
    }
    for (size_t k = in.byte() % 40; k > 0; --k) {
        unsigned u = in.u16();
        wideText += wchar_t(u ? u : 'b');
    }
    std::vector<Item> items;
    int args = 0;
    while (in.n && items.size() < 12 && args + 3 <= 5) {  // each item takes up to 3 arguments
        Item it;
        uint8_t const kind = in.byte();
        if (kind % 3 == 0) {
            it.literal = true;
            for (size_t k = in.byte() % 6 + 1; k > 0; --k) {
                uint8_t b = in.byte();
                it.bytes += char(b == 0 || b == '%' ? 'z' : b);
                unsigned u = in.u16();
                it.units += wchar_t(u == 0 || u == '%' ? 'z' : u);
            }
            items.push_back(it);
            continue;
        }
        uint8_t const f = in.byte();
        const char flagChars[] = "-+ #0'";
        for (int b = 0; b < 6; ++b)  // half the directives without flags (the plain ones)
            if ((f & 1) && (f & (2 << b))) it.flags += flagChars[b];
        uint8_t const w = in.byte();
        it.width = w % 16 < 10   ? kNone
                   : w % 16 < 13 ? kDigits
                   : w % 16 < 15 ? kStar
                   : (w & 16)    ? kStarMin
                                 : kHuge;
        it.widthValue =
            it.width == kStar ? int(in.byte()) - 128 : int(in.byte()) + (w & 32 ? 1000 : 0);
        uint8_t const pr = in.byte();
        it.prec = pr % 16 < 9    ? pNone
                  : pr % 16 < 10 ? pEmpty
                  : pr % 16 < 13 ? pDigits
                  : pr % 16 < 15 ? pStar
                                 : pHuge;
        it.precValue = it.prec == pStar ? int(in.byte() % 64) - 8 : int(in.byte() % 200);
        it.size = kSizes[in.byte() % (sizeof kSizes / sizeof kSizes[0])];
        it.conv = kConvs[in.byte() % (sizeof kConvs - 1)];
        it.intValue = int(in.u16() | in.u16() << 16);
        it.llValue = (long long)(uint64_t(in.u16()) << 48 | uint64_t(in.u16()) << 24 | in.u16());
        uint64_t bits = 0;
        for (int b = 0; b < 8; ++b) bits = bits << 8 | in.byte();
        std::memcpy(&it.dValue, &bits, sizeof bits);
        it.nullText = in.byte() % 16 == 0;
        it.pointer = uintptr_t(it.llValue);
        args += 1 + (it.width == kStar || it.width == kStarMin) + (it.prec == pStar);
        items.push_back(it);
    }
    return items;
}

// ---- rendering in one width ------------------------------------------------------------------

enum class Kind : uint8_t { Int, LongLong, Double, Pointer };
struct Arg {
    Kind kind;
    long long i;
    double d;
    const void *p;
};

template <class C>
struct Rendered {
    std::basic_string<C> format;     // the Windows dialect
    std::basic_string<C> reference;  // the same in glibc's dialect, when comparable
    std::vector<Arg> args;
    size_t bound = 0;
    bool expectOk = true;
    bool comparable = true;
};

template <class C>
void put(std::basic_string<C> &s, const std::string &ascii) {
    for (char c : ascii) s += C(c);
}

bool isInt(char c) { return std::strchr("diuoxX", c) != nullptr; }
bool isFloat(char c) { return std::strchr("feEgGaA", c) != nullptr; }

template <class C>
Rendered<C> render(const std::vector<Item> &items, const std::string &narrowText,
                   const std::wstring &wideText) {
    constexpr bool kWide = sizeof(C) == sizeof(wchar_t);
    Rendered<C> r;
    for (const Item &it : items) {
        if (!r.expectOk) break;  // nothing after the first failure is looked at
        if (it.literal) {
            if constexpr (kWide)
                r.format += it.units, r.reference += it.units, r.bound += it.units.size();
            else
                r.format += it.bytes, r.reference += it.bytes, r.bound += it.bytes.size();
            continue;
        }
        std::string head = "%" + it.flags;  // flags, width, precision as written
        int width = 0, prec = -1;
        switch (it.width) {
            case kNone:
                break;
            case kDigits:
                head += std::to_string(it.widthValue), width = it.widthValue;
                break;
            case kStar:
                head += "*", width = it.widthValue < 0 ? -it.widthValue : it.widthValue;
                r.args.push_back({Kind::Int, it.widthValue, 0, nullptr});
                break;
            case kStarMin:
                head += "*", r.expectOk = false;
                r.args.push_back({Kind::Int, INT_MIN, 0, nullptr});
                break;
            case kHuge:
                head += "2147483648", r.expectOk = false;
                break;
        }
        switch (it.prec) {
            case pNone:
                break;
            case pEmpty:
                head += ".", prec = 0;
                break;
            case pDigits:
                head += "." + std::to_string(it.precValue), prec = it.precValue;
                break;
            case pStar:
                head += ".*", prec = it.precValue < 0 ? -1 : it.precValue;
                r.args.push_back({Kind::Int, it.precValue, 0, nullptr});
                break;
            case pHuge:
                head += ".99999999999", r.expectOk = false;
                break;
        }
        char const conv = it.conv;
        // No long double arguments are generated: "%Lf" is left out rather than given a double.
        std::string const size = isFloat(conv) && it.size == "L" ? std::string() : it.size;
        put(r.format, head + size + (conv == ' ' ? std::string() : std::string(1, conv)));
        if (!r.expectOk) break;
        // The glibc spelling of the size, and whether glibc reads it the same way.
        std::string glibcSize = size == "I64" || size == "q" ? "ll"
                                : size == "I32"              ? ""
                                : size == "I"                ? "z"
                                : size == "w"                ? "l"
                                                             : size;
        bool const windowsSize =
            size == "I64" || size == "I32" || size == "I" || size == "w" || size == "q";
        size_t const pad = size_t(width);
        if (isInt(conv)) {
            if (size == "L") {
                r.expectOk = false;
                break;
            }
            bool const small = size.empty() || size == "h" || size == "hh" || size == "I32";
            r.args.push_back(small ? Arg{Kind::Int, it.intValue, 0, nullptr}
                                   : Arg{Kind::LongLong, it.llValue, 0, nullptr});
            r.bound += pad + size_t(prec < 0 ? 0 : prec) + 32;
            put(r.reference, head + glibcSize + conv);
        } else if (isFloat(conv)) {
            if (!(size.empty() || size == "l" || size == "I32")) {
                r.expectOk = false;
                break;
            }
            r.args.push_back({Kind::Double, 0, it.dValue, nullptr});
            r.bound += pad + size_t(prec < 0 ? 6 : prec) + 400;
            put(r.reference, head + glibcSize + conv);
        } else if (conv == 'c' || conv == 'C' || conv == 's' || conv == 'S') {
            bool const upper = conv == 'C' || conv == 'S';
            bool wideArg;
            if (size == "h")
                wideArg = false;
            else if (size == "l" || size == "w")
                wideArg = true;
            else if (size.empty() || size == "I32")
                wideArg = kWide ? !upper : upper;
            else {
                r.expectOk = false;
                break;
            }
            bool const sameWidth = wideArg == kWide;
            if (!sameWidth || upper || windowsSize) r.comparable = false;
            if (conv == 'c' || conv == 'C') {
                // A unit the narrow result cannot hold fails ("C" locale: above 0xFF).
                unsigned v = unsigned(it.intValue) & (wideArg ? 0xFFFFu : 0xFFu);
                if (wideArg && !kWide && v > 0xFF) r.expectOk = false;
                r.args.push_back({Kind::Int, (long long)v, 0, nullptr});
                r.bound += pad + 1;
                put(r.reference, head + (kWide ? "lc" : "c"));
            } else {
                const void *text = wideArg ? static_cast<const void *>(wideText.c_str())
                                           : static_cast<const void *>(narrowText.c_str());
                size_t length = wideArg ? wideText.size() : narrowText.size();
                if (it.nullText) text = nullptr, length = 6, r.comparable = false;
                if (prec >= 0 && size_t(prec) < length) length = size_t(prec);
                if (wideArg && !kWide && text)
                    for (size_t k = 0; k < length; ++k)
                        if (unsigned(wideText[k]) > 0xFF) r.expectOk = false;
                r.args.push_back({Kind::Pointer, 0, 0, text});
                r.bound += (pad > length ? pad : length);
                put(r.reference, head + (kWide ? "ls" : "s"));
            }
        } else if (conv == 'p') {
            if (!(size.empty() || size == "I32")) {
                r.expectOk = false;
                break;
            }
            r.args.push_back({Kind::Pointer, 0, 0, reinterpret_cast<const void *>(it.pointer)});
            r.bound += pad + 16;
            r.comparable = false;
        } else if (conv == '%') {
            r.bound += 1;
            r.comparable = false;  // "%5%" is ours; glibc's reading differs
        } else {
            r.expectOk = false;  // %n, unknown letters, a format ending inside the directive
        }
    }
    return r;
}

// ---- calling a variadic function with a run-time argument list ---------------------------------

constexpr size_t kMaxArgs = 5;

template <class F, class... A>
int dispatch(F &f, const Arg *args, size_t n, A... a) {
    if constexpr (sizeof...(A) >= kMaxArgs) {
        return f(a...);
    } else {
        if (n == 0) return f(a...);
        switch (args->kind) {
            case Kind::Int:
                return dispatch(f, args + 1, n - 1, a..., int(args->i));
            case Kind::LongLong:
                return dispatch(f, args + 1, n - 1, a..., args->i);
            case Kind::Double:
                return dispatch(f, args + 1, n - 1, a..., args->d);
            case Kind::Pointer:
                break;
        }
        return dispatch(f, args + 1, n - 1, a..., args->p);
    }
}

int scratchW(const wchar_t **out, const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    int n = KR_FormatScratchW(out, format, args);
    va_end(args);
    return n;
}
int scratchA(const char **out, const char *format, ...) {
    va_list args;
    va_start(args, format);
    int n = KR_FormatScratchA(out, format, args);
    va_end(args);
    return n;
}

template <class C>
void check(const Rendered<C> &r) {
    constexpr bool kWide = sizeof(C) == sizeof(wchar_t);
    using S = std::conditional_t<kWide, CKrStringW, CKrStringA>;
    using Std = std::basic_string<C>;
    const C *format = r.format.c_str();
    Std previous;
    put(previous, "previous");

    int mode = 0;
    const C *text = nullptr;
    S s(previous.c_str());
    Std glibc(r.bound + 1, C(0));
    auto call = [&](auto... a) -> int {
        switch (mode) {
            case 0:
                if constexpr (kWide)
                    return scratchW(&text, format, a...);
                else
                    return scratchA(&text, format, a...);
            case 1:
                s.Format(format, a...);
                return 0;
            case 2:
                s.AppendFormat(format, a...);
                return 0;
            default:
                if constexpr (kWide)
                    return std::swprintf(glibc.data(), glibc.size(), r.reference.c_str(), a...);
                else
                    return std::snprintf(glibc.data(), glibc.size(), r.reference.c_str(), a...);
        }
    };
    FUZZ_CHECK(r.args.size() <= kMaxArgs);
    auto const began = std::chrono::steady_clock::now();
    int const n = dispatch(call, r.args.data(), r.args.size());
    if ((n >= 0) != r.expectOk) {
        std::fprintf(stderr, "wide=%d n=%d fmt=", int(kWide), n);
        for (C c : r.format)
            std::fprintf(stderr, unsigned(c) < 128 && unsigned(c) >= 32 ? "%c" : "\\x%x",
                         unsigned(c));
        std::fprintf(stderr, "\n");
    }
    FUZZ_CHECK((n >= 0) == r.expectOk);
    Std result;
    if (n >= 0) {
        FUZZ_CHECK(text != nullptr && size_t(n) <= r.bound && text[n] == C(0));
        result.assign(text, size_t(n));
    } else {
        FUZZ_CHECK(text == nullptr);
    }
    mode = 1;
    dispatch(call, r.args.data(), r.args.size());
    FUZZ_CHECK(s.GetStdString() == (n >= 0 ? result : previous));
    mode = 2;
    dispatch(call, r.args.data(), r.args.size());
    FUZZ_CHECK(s.GetStdString() == (n >= 0 ? result + result : previous));
    FUZZ_CHECK(std::chrono::steady_clock::now() - began < std::chrono::seconds(2));
    if (n >= 0 && r.comparable) {
        mode = 3;
        int const m = dispatch(call, r.args.data(), r.args.size());
        FUZZ_CHECK(m == n && Std(glibc.data(), size_t(m)) == result);
    }
    KR_FormatScratchTrim();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in{data, size};
    std::string narrowText;
    std::wstring wideText;
    std::vector<Item> items = generate(in, narrowText, wideText);
    check(render<wchar_t>(items, narrowText, wideText));
    check(render<char>(items, narrowText, wideText));
    return 0;
}
