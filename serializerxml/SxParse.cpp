// The expat driver of the XML form of a variant: one parser per reading, the whole text in one
// final pass (fed in pieces that expat joins), element callbacks only.
#include <expat.h>

#include <bit>
#include <climits>
#include <cstring>
#include <mutex>
#include <string>

#include "platform/KrPlatform.h"
#include "serializerxml/CKrXMLAPI.h"
#include "serializerxml/internal/SxReadState.h"
#include "variant/internal/VariantXmlForm.h"

static_assert(sizeof(XML_Char) == 2, "the reader needs expat built for UTF-16 (libexpatw)");
// Entity amplification protection (XML_SetBillionLaughsAttackProtection*) arrived in 2.4.0;
// the reader's header promises it.
static_assert(XML_MAJOR_VERSION > 2 || (XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION >= 4),
              "expat 2.4 or later is required");

namespace orvik::detail {
namespace {

constexpr size_t kSamplesRemembered = 256;  // enough for any real document, bounded for others

// Hands expat's UTF-16 units to the public callbacks as wchar_t text.
void XMLCALL onStart(void *user, XML_Char const *name, XML_Char const **atts) {
    auto *s = static_cast<SxReadState *>(user);
    if (s->state != 0) return;
    // Widened into one buffer: the name, then each attribute name and value, each with its zero.
    size_t count = 0;
    size_t total = std::char_traits<XML_Char>::length(name) + 1;
    for (XML_Char const **a = atts; *a; ++a, ++count)
        total += std::char_traits<XML_Char>::length(*a) + 1;
    if (s->attrText.size() < total) s->attrText.resize(total);
    s->attrs.resize(count + 1);
    wchar_t *const base = s->attrText.data();
    wchar_t *dst = base;
    auto widen = [&dst](XML_Char const *src) {
        for (; *src; ++src) *dst++ = static_cast<wchar_t>(*src);
        *dst++ = 0;
    };
    widen(name);
    for (size_t i = 0; i < count; ++i) {
        s->attrs[i] = dst;
        widen(atts[i]);
    }
    s->attrs[count] = nullptr;
    CKrXMLAPI::StartElement(s, base, s->attrs.data());
}

// KR_wcsicmp(name, word) == 0 for a lower-case ASCII `word`, on expat's units: the rule of the
// public callback's attribute test (ASCII folded here, any other unit defers to KR_wcsicmp).
bool attributeIs(XML_Char const *name, wchar_t const *word, std::wstring &scratch) {
    for (size_t i = 0;; ++i) {
        kr_uint32 c = name[i];
        if (c >= 0x80) {
            scratch.clear();
            for (XML_Char const *p = name; *p; ++p) scratch.push_back(static_cast<wchar_t>(*p));
            return KR_wcsicmp(scratch.c_str(), word) == 0;
        }
        if (c >= 'A' && c <= 'Z') c += 'a' - 'A';
        if (c != static_cast<kr_uint32>(word[i])) return false;
        if (c == 0) return true;
    }
}

// True when `name` is `word` exactly (as the writer writes the attribute names); stops at the
// first difference, so it never reads past the end of `name`.
template <size_t N>
bool isExactly(XML_Char const *name, char const (&word)[N]) {
    for (size_t i = 0; i < N; ++i)
        if (name[i] != static_cast<unsigned char>(word[i])) return false;
    return true;
}

// Widens expat's units into `buffer` with a terminating zero (grown as needed, never shrunk);
// returns the length.  *decode: the text holds "&" or U+DB80 (units that the decoding of string
// values could change).
size_t widenInto(std::vector<wchar_t> &buffer, XML_Char const *text, bool *decode) {
    size_t n = 0;
    while (text[n]) ++n;
    if (buffer.size() <= n) buffer.resize(2 * n + 64);
    wchar_t *const dst = buffer.data();
    unsigned found = 0;
    for (size_t i = 0; i < n; ++i) {
        unsigned const c = text[i];
        found |= static_cast<unsigned>(c == u'&') | static_cast<unsigned>(c == 0xDB80);
        dst[i] = static_cast<wchar_t>(c);
    }
    dst[n] = 0;
    *decode = found != 0;
    return n;
}

// The element callback of the fast path: CKrXMLAPI::StartElement's rule for the elements below
// the target (the root and the target itself take the public callback), reading expat's units
// where they stand, widening only the element name and the value, taking the list lock once per
// element, and looking up the run type's sample only when a node is made (a record's members
// and the children of a list that is read again are found, not made).
void XMLCALL onStartFast(void *user, XML_Char const *name, XML_Char const **atts) {
    auto *s = static_cast<SxReadState *>(user);
    if (s->state != 0) return;
    if (s->depth < 1 || s->stack.empty()) return onStart(user, name, atts);
    XML_Char const *runType = nullptr;
    XML_Char const *value = nullptr;
    for (XML_Char const **a = atts; a[0] && a[1]; a += 2) {
        // Only a name that starts with r, v (either case) or a non-ASCII unit can match.
        XML_Char const first = a[0][0];
        bool const wide = first >= 0x80;
        if (!runType && (isExactly(a[0], "runtype") || ((wide || (first | 0x20) == 'r') &&
                                                        attributeIs(a[0], L"runtype", s->scratch))))
            runType = a[1];
        else if (!value && (isExactly(a[0], "value") || ((wide || (first | 0x20) == 'v') &&
                                                         attributeIs(a[0], L"value", s->scratch))))
            value = a[1];
    }
    bool decode = false;
    CKrVariant *item = nullptr;
    kr_int32 mark = 0;
    kr_int32 next = -1;
    SxReadState::Entry &top = s->stack.back();
    CKrVariant &parent = *top.item;
    bool plain;
    {
        std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
        plain = IsPlainList(parent);
        // A record keeps its members, a list read again its children; nothing else has any to
        // reuse.
        if (plain ? top.mark != 0 : CountLocked(parent) >= 0)
            item = FindChildLocked(parent, reinterpret_cast<char16_t const *>(name), &top.next);
        if (item) {
            mark = CountLocked(*item);
            // A record's member belongs to the record's tree; a child that a list gained in
            // this reading carries its own sample's answer, so list children do not inherit.
            next = !plain && top.next >= 0 ? 0 : -1;
        }
    }
    if (!item) {
        // The registry is asked outside the list lock: registering a type takes the registry's
        // lock first and the list lock inside it.
        CKrVariant const *sample = s->SampleFor16(runType);
        next = s->DistinctNames(sample) ? 0 : -1;
        widenInto(s->nameText, name, &decode);
        std::lock_guard<std::recursive_mutex> guard(CKrListVariant::GetLock());
        if (plain) {
            item = &AppendChild(parent, s->nameText.data(), sample);
            mark = CountLocked(*item);
        } else {
            item = NewNode(s->nameText.data(), sample);
            mark = SxReadState::kScratch;
        }
    }
    if (value) {
        size_t const length = widenInto(s->valueText, value, &decode);
        if (decode && HoldsStringW(*item)) {  // decoded only when that could change it
            s->valueText[RevalidateAttValue(s->valueText.data(), length)] = 0;
            SetValueText(*item, s->valueText.data());
        } else {
            SetValueText(*item, s->valueText.data());
        }
    }
    s->stack.push_back({item, mark, next});
    ++s->depth;
}

void XMLCALL onEnd(void *user, XML_Char const *) {
    auto *s = static_cast<SxReadState *>(user);
    if (s->state != 0) return;
    CKrXMLAPI::EndElement(s, nullptr);  // tags pair up already: the name is not needed
}

XML_Parser makeParser(XML_Char const *encoding, SxReadState &state) {
    XML_Parser parser = XML_ParserCreate(encoding);
    if (!parser) return nullptr;
    XML_SetUserData(parser, &state);
    XML_SetElementHandler(parser, state.reference ? &onStart : &onStartFast, &onEnd);
    // Nothing outside the text is ever read: no external entity handler is installed, and
    // parameter entities (the external DTD subset) stay off.
    XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_NEVER);
    return parser;
}

int finish(XML_Parser parser, SxReadState &state, bool parsed) {
    XML_ParserFree(parser);
    if (!parsed) return -9;
    if (state.state < 0) {
        KR_ASSERTW(state.state >= 0, KR_SERIALIZERXML_SOURCE,
                   L"Error: structure of the data inside XML not valid");
        return -9;
    }
    return 0;
}

}  // namespace

SxReadState::~SxReadState() {
    for (Entry const &e : stack)
        if (e.mark == kScratch) delete e.item;
    if (targetOpen) target->EnableTypeChange(savedTypeChange);
}

bool SxReadState::DistinctNames(CKrVariant const *sample) {
    if (!sample) return false;
    for (auto const &d : distinct)
        if (d.first == sample) return d.second;
    bool const yes = NamesDistinct(*sample);
    if (distinct.size() < kSamplesRemembered) distinct.emplace_back(sample, yes);
    return yes;
}

CKrVariant const *SxReadState::SampleFor(wchar_t const *runType) {
    // Documents repeat a few run types: the texts already met answer without narrowing the
    // name or asking the map.
    size_t const length = std::char_traits<wchar_t>::length(runType);
    for (Recent const &r : recent)
        if (r.runType.size() == length &&
            std::char_traits<wchar_t>::compare(r.runType.data(), runType, length) == 0)
            return r.sample;
    CKrVariant const *sample = lookUpSample(runType);
    if (recent.size() < kRecentKept) recent.push_back({std::wstring(runType, length), sample});
    return sample;
}

CKrVariant const *SxReadState::SampleFor16(unsigned short const *runType) {
    if (!runType) {
        if (!noRunTypeKnown) {
            noRunType = SampleFor(L"");
            noRunTypeKnown = true;
        }
        return noRunType;
    }
    for (Recent16 const &r : recent16) {
        size_t i = 0;
        while (i < r.runType.size() && r.runType[i] == runType[i]) ++i;
        if (i == r.runType.size() && runType[i] == 0) return r.sample;
    }
    scratch.clear();
    for (unsigned short const *p = runType; *p; ++p) scratch.push_back(static_cast<wchar_t>(*p));
    CKrVariant const *sample = SampleFor(scratch.c_str());
    if (recent16.size() < kRecentKept) {
        std::u16string key;
        for (unsigned short const *p = runType; *p; ++p) key.push_back(static_cast<char16_t>(*p));
        recent16.push_back({std::move(key), sample});
    }
    return sample;
}

CKrVariant const *SxReadState::lookUpSample(wchar_t const *runType) {
    narrow.clear();
    bool ascii = true;
    for (wchar_t const *p = runType; *p; ++p) {
        if (static_cast<unsigned>(*p) >= 0x80) ascii = false;
        narrow.push_back(static_cast<char>(*p));
    }
    if (!ascii) narrow = CKrStringA(runType).GetString();  // as the registry narrows names
    auto it = samples.find(narrow);
    if (it != samples.end()) return it->second;
    CKrVariant const *sample;
    if (narrow.empty()) {
        sample = &CKrVariant::GetRunTypeSample(CKrVariantRunType("CKrStringW"));
    } else if (KR_wcsicmp(runType, L"unknown") == 0) {
        sample = nullptr;
    } else {
        CKrVariantRunType type(narrow.c_str());
        if (CKrVariant::GetRunTypeIndex(type, false) >= 0)
            sample = &CKrVariant::GetRunTypeSample(type);
        else
            sample = &CKrVariant::GetRunTypeSample(CKrVariantRunType("CKrListVariant"));
    }
    if (samples.size() < kSamplesRemembered) samples.emplace(narrow, sample);
    return sample;
}

namespace {

bool looksLikeUtf16(char const *text, size_t length) {
    auto const *bytes = reinterpret_cast<unsigned char const *>(text);
    bool const mark = length >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) ||
                                      (bytes[0] == 0xFE && bytes[1] == 0xFF));
    return mark || std::memchr(text, 0, length) != nullptr;
}

}  // namespace

int SxReadUtf8(CKrVariant &target, char const *text, size_t length, bool reference) {
    if (!text && length) {
        KR_ASSERTW(text != nullptr, KR_SERIALIZERXML_SOURCE,
                   L"Error: VariantFromXML_UTF8(), no text!");
        return -4;
    }
    // Told the text is UTF-8, expat still switches to UTF-16 when the text starts the way UTF-16
    // does (a byte-order mark, or "<" as a 16-bit unit), and then takes a lone surrogate as a
    // character.  UTF-8 XML holds neither zero bytes nor those marks, so such a text is malformed
    // here, as expat would find it if it kept to UTF-8.
    if (text && looksLikeUtf16(text, length)) return -9;
    static constexpr XML_Char kUtf8[] = {'U', 'T', 'F', '-', '8', 0};
    SxReadState state(target);
    state.reference = reference;
    XML_Parser parser = makeParser(kUtf8, state);
    if (!parser) return -3;
    constexpr size_t kPiece = size_t(1) << 30;  // XML_Parse takes an int length
    bool ok = true;
    do {
        size_t piece = length < kPiece ? length : kPiece;
        length -= piece;
        ok = XML_Parse(parser, text ? text : "", static_cast<int>(piece), length == 0) ==
             XML_STATUS_OK;
        if (text) text += piece;
    } while (ok && length > 0);
    return finish(parser, state, ok);
}

int SxReadWide(CKrVariant &target, wchar_t const *text, size_t length, bool reference) {
    if (!text && length) {
        KR_ASSERTW(text != nullptr, KR_SERIALIZERXML_SOURCE, L"Error: VariantFromXML(), no text!");
        return -4;
    }
    // The units are narrowed into expat's own buffer in the machine's byte order.
    static constexpr XML_Char kLE[] = {'U', 'T', 'F', '-', '1', '6', 'L', 'E', 0};
    static constexpr XML_Char kBE[] = {'U', 'T', 'F', '-', '1', '6', 'B', 'E', 0};
    SxReadState state(target);
    state.reference = reference;
    XML_Parser parser = makeParser(std::endian::native == std::endian::little ? kLE : kBE, state);
    if (!parser) return -3;
    // The whole text goes to expat in one buffer: fed in pieces, an attribute value that spans
    // them would be scanned again from its start with every piece.  Only texts beyond expat's
    // int-sized buffers (2^28 units, each with room for two) are split.
    constexpr size_t kPiece = size_t(1) << 28;
    bool ok = true;
    size_t done = 0;
    do {
        size_t const want = length - done < kPiece ? length - done : kPiece;
        // Room for two units per unit (a code point above 0xFFFF becomes a pair) and for a pair
        // that ends just past the piece.
        auto *buffer = static_cast<XML_Char *>(
            XML_GetBuffer(parser, static_cast<int>((2 * want + 2) * sizeof(XML_Char))));
        if (!buffer) {
            ok = false;
            break;
        }
        size_t const end = done + want;
        size_t n = 0;
        while (done < end) {
            auto c = static_cast<kr_uint32>(text[done]);
            if (c >= 0xD800 && c <= 0xDFFF) {
                // expat takes any unit after a high surrogate as its partner: pairs are checked
                // here, so that a lone surrogate fails the read instead of entering the tree.
                auto next = done + 1 < length ? static_cast<kr_uint32>(text[done + 1]) : 0u;
                if (c >= 0xDC00 || next < 0xDC00 || next > 0xDFFF) {
                    ok = false;
                    break;
                }
                buffer[n++] = static_cast<XML_Char>(c);
                buffer[n++] = static_cast<XML_Char>(next);
                ++done;
            } else if (c <= 0xFFFF) {
                buffer[n++] = static_cast<XML_Char>(c);
            } else if (c <= 0x10FFFF) {
                c -= 0x10000;
                buffer[n++] = static_cast<XML_Char>(0xD800 + (c >> 10));
                buffer[n++] = static_cast<XML_Char>(0xDC00 + (c & 0x3FF));
            } else {
                ok = false;  // not a character at all
                break;
            }
            ++done;
        }
        if (!ok) break;
        ok = XML_ParseBuffer(parser, static_cast<int>(n * 2), done == length) == XML_STATUS_OK;
    } while (ok && done < length);
    return finish(parser, state, ok);
}

}  // namespace orvik::detail
