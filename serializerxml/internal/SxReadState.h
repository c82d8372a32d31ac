// Internal: the state of one reading of the XML form of a variant (the user data of its expat
// parser) and the expat driver.
#ifndef ORVIK_SERIALIZERXML_INTERNAL_SXREADSTATE_H
#define ORVIK_SERIALIZERXML_INTERNAL_SXREADSTATE_H

#include <string>
#include <unordered_map>
#include <vector>

#include "platform/KrTypes.h"
#include "variant/CKrVariant.h"

#define KR_SERIALIZERXML_SOURCE L"serializerxml/CKrSerializerXMLString"

namespace orvik::detail {

struct SxReadState {
    struct Entry {
        CKrVariant *item;
        kr_int32 mark;  // child count when the element opened; -2: a scratch node owned here
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

    // Scratch buffers reused for every element.
    std::wstring name;
    std::wstring value;
    std::string narrow;
    std::vector<wchar_t> attrText;
    std::vector<wchar_t const *> attrs;
    std::unordered_map<std::string, CKrVariant const *> samples;
    std::wstring lastRunType;
    CKrVariant const *lastSample = nullptr;
    bool haveLast = false;
};

// Parses `length` UTF-16 units (one per wchar_t) or UTF-8 bytes into `target`: the readers
// behind VariantFromXML and VariantFromXML_UTF8 (results as documented there).
int SxReadWide(CKrVariant &target, wchar_t const *text, size_t length);
int SxReadUtf8(CKrVariant &target, char const *text, size_t length);

}  // namespace orvik::detail

#endif
