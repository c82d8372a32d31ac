// Internal: the state of one reading of the XML form of a variant (the user data of its expat
// parser) and the expat driver.
#ifndef ORVIK_SERIALIZERXML_INTERNAL_SXREADSTATE_H
#define ORVIK_SERIALIZERXML_INTERNAL_SXREADSTATE_H

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/KrTypes.h"
#include "variant/CKrVariant.h"

#define KR_SERIALIZERXML_SOURCE L"serializerxml/CKrSerializerXMLString"

namespace orvik::detail {

struct SxReadState {
    struct Entry {
        CKrVariant *item;
        kr_int32 mark;  // child count when the element opened; -2: a scratch node owned here
        // The fast callback's hint: where the next child is looked for first, when no two
        // children of any list below `item` share a name (a copy of a sample known for that;
        // a reading adds a child to a list that it searches only when the name is not there);
        // -1 when that is not known.
        kr_int32 next = -1;
    };
    static constexpr kr_int32 kFinished = 100;
    static constexpr kr_int32 kBadRoot = -100;
    static constexpr kr_int32 kBadVersion = -101;
    static constexpr kr_int32 kScratch = -2;

    explicit SxReadState(CKrVariant &t) : target(&t) {}
    // Drops scratch nodes left on the stack by a read that stopped early and gives the target
    // its type-change permission back.
    ~SxReadState();
    SxReadState(SxReadState const &) = delete;
    SxReadState &operator=(SxReadState const &) = delete;

    // The sample whose empty value an element of run type `runType` gets: "CKrStringW" when it
    // is empty, null ("unknown": Null), the registered sample, or the plain list's when the
    // name is not registered.  Remembered per reading, so the registry is asked once per name.
    CKrVariant const *SampleFor(wchar_t const *runType);
    CKrVariant const *lookUpSample(wchar_t const *runType);

    std::vector<Entry> stack;
    kr_int32 depth = -1;
    kr_int32 state = 0;
    CKrVariant *target;
    bool savedTypeChange = false;
    bool targetOpen = false;  // type change switched on and not yet restored
    bool reference = false;   // read through the public callbacks only (see SxReadUtf8)

    // Scratch buffers reused for every element.
    std::wstring name;
    std::wstring value;
    std::string narrow;
    std::vector<wchar_t> attrText;
    std::vector<wchar_t const *> attrs;
    std::unordered_map<std::string, CKrVariant const *> samples;
    // The run types met so far in this reading, as they stand in the text: documents use a
    // handful and alternate between them element by element.
    struct Recent {
        std::wstring runType;
        CKrVariant const *sample;
    };
    static constexpr size_t kRecentKept = 16;
    std::vector<Recent> recent;

    // The same for run-type texts as expat hands them over (UTF-16 units), so that the element
    // callback needs neither widening nor a length first; null: no "runtype" attribute.
    CKrVariant const *SampleFor16(unsigned short const *runType);
    struct Recent16 {
        std::u16string runType;
        CKrVariant const *sample;
    };
    std::vector<Recent16> recent16;
    // True when no list in `sample`'s tree has two children of one name (remembered per
    // sample; false for null).
    bool DistinctNames(CKrVariant const *sample);
    std::vector<std::pair<CKrVariant const *, bool>> distinct;
    CKrVariant const *noRunType = nullptr;
    bool noRunTypeKnown = false;
    std::wstring scratch;  // widened text for the fast element callback
    std::vector<wchar_t> nameText;
    std::vector<wchar_t> valueText;
};

// Parses `length` UTF-16 units (one per wchar_t) or UTF-8 bytes into `target`: the readers
// behind VariantFromXML and VariantFromXML_UTF8 (results as documented there).
// `reference` reads through the public element callbacks of CKrXMLAPI (every name and attribute
// widened first) instead of the fast element callback; the results are the same, and a fuzz
// target compares them.
int SxReadWide(CKrVariant &target, wchar_t const *text, size_t length, bool reference = false);
int SxReadUtf8(CKrVariant &target, char const *text, size_t length, bool reference = false);

}  // namespace orvik::detail

#endif
