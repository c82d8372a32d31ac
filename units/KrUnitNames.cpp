// Unit and unit-type tables, name lookup and the composed names of area, volume and velocity
// units.
#include <string>

#include "platform/KrPlatform.h"
#include "units/KrUnits.h"
#include "units/internal/UnitTable.h"

using namespace orvik::detail;

namespace {

// Composed texts (power signs, "<length>/<time>") have at most 32 characters.
constexpr int kComposedSize = 33;

inline bool same(const wchar_t *a, const wchar_t *b) { return KR_wcsicmp(a, b) == 0; }

// Copies at most kComposedSize - 1 characters of `text` into `buffer` and terminates it.
void copyCut(wchar_t (&buffer)[kComposedSize], const wchar_t *text) {
    int n = 0;
    for (; n < kComposedSize - 1 && text[n] != 0; ++n) buffer[n] = text[n];
    buffer[n] = 0;
}

// Writes the display text of `unit` within `type` into `buffer` when it has to be composed and
// returns the buffer; otherwise returns the table text itself.
const wchar_t *typedName(wchar_t (&buffer)[kComposedSize], int type, int unit,
                         const wchar_t *(*nameOf)(int)) {
    switch (type) {
        case kTypeArea:
        case kTypeVolume: {
            wchar_t text[2 * kUnitTextSize];
            if (KR_swprintf(text, sizeof text / sizeof text[0], L"%s%s", nameOf(unit),
                            type == kTypeArea ? L"\u00b2" : L"\u00b3") < 0)
                text[0] = 0;
            copyCut(buffer, text);
            return buffer;
        }
        case kTypeVelocity: {
            // Long names reach 18 characters, so "<length>/<time>" may need cutting.
            wchar_t text[3 * kUnitTextSize];
            if (KR_swprintf(text, sizeof text / sizeof text[0], L"%s/%s",
                            nameOf(velocityLength(unit)), nameOf(velocityTime(unit))) < 0)
                text[0] = 0;
            copyCut(buffer, text);
            return buffer;
        }
        default:
            return nameOf(unit);
    }
}

wchar_t g_longNameBuffer[kComposedSize];
wchar_t g_shortNameBuffer[kComposedSize];
wchar_t g_idBuffer[kComposedSize];

}  // namespace

extern "C" {

const wchar_t *Get_Unit_Name(int unit) { return unitRow(unit).name; }
const wchar_t *Get_Unit_ShortName(int unit) { return unitRow(unit).shortName; }
const wchar_t *Get_Unit_LongName(int unit) { return unitRow(unit).longName; }

int Get_Unit_Type(int unit) { return unitRow(unit).type; }

int Get_Unit_ID(const wchar_t *text) {
    if (text == nullptr) return kUnitUnknown;
    if (same(text, L"um")) return kUnitMicrometers;  // the micro sign typed as "u"
    // Lengths come first in every step, so that shared short names ("m") resolve to lengths.
    constexpr int kLastLength = kUnitInches;
    for (const UnitRow &row : kUnitRows)
        if (row.id != kUnitUnknown && same(text, row.name)) return row.id;
    for (int u = 0; u <= kLastLength; ++u)
        if (same(text, kUnitRows[u].shortName)) return u;
    for (int u = 0; u <= kLastLength; ++u)
        if (same(text, kUnitRows[u].longName)) return u;
    for (int u = kUnitUnknown + 1; u < kUnitCount; ++u)
        if (same(text, kUnitRows[u].shortName) || same(text, kUnitRows[u].longName)) return u;
    return kUnitUnknown;
}

const wchar_t *Get_UnitType_Name(int type) {
    return kUnitTypeRows[isUnitType(type) ? type : kTypeNone].name;
}

int Get_UnitType_NumUnits(int type) { return isUnitType(type) ? kUnitTypeRows[type].numUnits : 0; }

int Get_UnitType_Unit(int type, int index) {
    if (!isUnitType(type)) return kUnitPixels;
    const UnitTypeRow &row = kUnitTypeRows[type];
    if (row.numUnits == 0) return row.firstUnit;
    return static_cast<unsigned>(index) < static_cast<unsigned>(row.numUnits)
               ? row.firstUnit + index
               : kUnitUnknown;
}

int Get_Unit_Default(int type) {
    return isUnitType(type) ? kUnitTypeRows[type].defaultUnit : kUnitUnknown;
}

const wchar_t *Get_UnitType_LongName(int type, int unit) {
    return typedName(g_longNameBuffer, type, unit, &Get_Unit_LongName);
}

const wchar_t *Get_UnitType_ShortName(int type, int unit) {
    return typedName(g_shortNameBuffer, type, unit, &Get_Unit_ShortName);
}

int Get_UnitType_ID(int type, const wchar_t *text) {
    if (text == nullptr) return kUnitUnknown;
    if (type == kTypeArea || type == kTypeVolume) {
        copyCut(g_idBuffer, text);
        size_t n = wcslen(g_idBuffer);
        if (n > 0) g_idBuffer[n - 1] = 0;  // the power sign
        return Get_Unit_ID(g_idBuffer);
    }
    if (type == kTypeVelocity) {
        const wchar_t *slash = wcschr(text, L'/');
        if (slash == nullptr) return kUnitUnknown;
        const std::wstring length(text, slash);
        const int lengthUnit = Get_Unit_ID(length.c_str());
        const int timeUnit = Get_Unit_ID(slash + 1);
        if (lengthUnit == kUnitUnknown || timeUnit == kUnitUnknown) return kUnitUnknown;
        return (lengthUnit + 1) * 100 + timeUnit;
    }
    return Get_Unit_ID(text);
}

int GetUnitGroup(int unit) {
    // Decimeters form a group of their own, the imperial lengths and Fahrenheit another.
    switch (unit) {
        case kUnitDecimeters:
            return 2;
        case kUnitMils:
        case kUnitInches:
        case kUnitFahrenheit:
            return 1;
        default:
            return 6;
    }
}

}  // extern "C"
