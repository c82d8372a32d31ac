// Unit and unit-type tables, name lookup and the composed names of area, volume and velocity
// units.
#include "units/KrUnits.h"

#include <string>

#include "platform/KrPlatform.h"

namespace {

constexpr int kUnitCount = 31;
constexpr int kUnknownUnit = 10;
constexpr int kTypeCount = 13;
constexpr int kVelocityType = 11;
// Every table text has at most 31 characters; composed texts at most 32.
constexpr int kTextSize = 32;
constexpr int kComposedSize = 33;

struct UnitRow {
    wchar_t name[kTextSize];
    wchar_t shortName[kTextSize];
    wchar_t longName[kTextSize];
};

// Constant-initialised: ready before any constructor of the process runs.
constexpr UnitRow kUnits[kUnitCount] = {
    {L"pixels", L"px", L"Pixels"},
    {L"nm", L"nm", L"Nanometers"},
    {L"\u00b5m", L"\u00b5m", L"Micrometers"},
    {L"mm", L"mm", L"Millimeters"},
    {L"cm", L"cm", L"Centimeters"},
    {L"dm", L"dm", L"Decimeters"},
    {L"m", L"m", L"Meters"},
    {L"km", L"km", L"Kilometers"},
    {L"mil", L"mil", L"Mils"},
    {L"inch", L"in", L"Inches"},
    {L"unknown", L"??", L"Unknown"},
    {L"deg", L"deg", L"Degrees"},
    {L"rad", L"rad", L"Radians"},
    {L"grad", L"grad", L"grad"},
    {L"hour", L"h", L"Hours"},
    {L"min", L"m", L"Minutes"},
    {L"s", L"s", L"Seconds"},
    {L"ms", L"ms", L"Milliseconds"},
    {L"\u00b5s", L"\u00b5s", L"Microseconds"},
    {L"ns", L"ns", L"Nanoseconds"},
    {L"val", L"", L"Value"},
    {L"percent", L"%", L"Percents"},
    {L"celsius", L"\u00b0C", L"Degrees Celsius"},
    {L"kelvin", L"K", L"Kelvins"},
    {L"fahrenheit", L"\u00b0F", L"Degrees Fahrenheit"},
    {L"nmol", L"nM", L"Nanomoles"},
    {L"\u00b5mol", L"\u00b5M", L"Micromoles"},
    {L"mmol", L"mM", L"Millimoles"},
    {L"mol", L"M", L"Moles"},
    {L"mBar", L"mBar", L"Millibars"},
    {L"Bar", L"Bar", L"Bars"},
};

struct TypeRow {
    wchar_t name[kTextSize];
    int numUnits;
    int firstUnit;  // Get_UnitType_Unit(type, i) == firstUnit + i for i < numUnits
    int defaultUnit;
};

constexpr TypeRow kTypes[kTypeCount] = {
    {L"No unit", 0, 10, 10},    {L"Length", 10, 0, 2},   {L"Area", 10, 0, 2},
    {L"Volume", 10, 0, 2},      {L"Angle", 3, 11, 11},   {L"Wavelength", 1, 1, 1},
    {L"Time", 6, 14, 16},       {L"Ratio", 2, 20, 21},   {L"Temperature", 3, 22, 22},
    {L"Custom", 0, 10, 10},     {L"Amount", 4, 25, 25},  {L"Velocity", 0, 0, 316},
    {L"Pressure", 0, 0, 10},
};

// Row of a unit ID; IDs outside the table (negative ones included) map to "unknown".
inline const UnitRow &unitRow(int unit) {
    return static_cast<unsigned>(unit) < static_cast<unsigned>(kUnitCount) ? kUnits[unit]
                                                                           : kUnits[kUnknownUnit];
}

inline bool typeInTable(int type) {
    return static_cast<unsigned>(type) < static_cast<unsigned>(kTypeCount);
}

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
        case 2:
        case 3: {
            wchar_t text[2 * kTextSize];
            if (KR_swprintf(text, sizeof text / sizeof text[0], L"%s%s", nameOf(unit),
                            type == 2 ? L"\u00b2" : L"\u00b3") < 0)
                text[0] = 0;
            copyCut(buffer, text);
            return buffer;
        }
        case kVelocityType: {
            // Long names reach 18 characters, so "<length>/<time>" may need cutting.
            wchar_t text[3 * kTextSize];
            if (KR_swprintf(text, sizeof text / sizeof text[0], L"%s/%s", nameOf(unit / 100 - 1),
                            nameOf(unit % 100)) < 0)
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

int Get_Unit_Type(int unit) {
    if (unit >= 0 && unit <= 9) return 1;
    if (unit >= 11 && unit <= 13) return 4;
    if (unit >= 14 && unit <= 19) return 6;
    if (unit >= 20 && unit <= 21) return 7;
    if (unit >= 22 && unit <= 24) return 8;
    if (unit >= 25 && unit <= 28) return 10;
    return 0;
}

int Get_Unit_ID(const wchar_t *text) {
    if (text == nullptr) return kUnknownUnit;
    if (same(text, L"um")) return 2;
    // Lengths come first in every step, so that shared short names ("m") resolve to lengths.
    for (int u = 0; u <= 9; ++u)
        if (same(text, kUnits[u].name)) return u;
    for (int u = 11; u < kUnitCount; ++u)
        if (same(text, kUnits[u].name)) return u;
    for (int u = 0; u <= 9; ++u)
        if (same(text, kUnits[u].shortName)) return u;
    for (int u = 0; u <= 9; ++u)
        if (same(text, kUnits[u].longName)) return u;
    for (int u = 11; u < kUnitCount; ++u)
        if (same(text, kUnits[u].shortName) || same(text, kUnits[u].longName)) return u;
    return kUnknownUnit;
}

const wchar_t *Get_UnitType_Name(int type) {
    return typeInTable(type) ? kTypes[type].name : kTypes[0].name;
}

int Get_UnitType_NumUnits(int type) { return typeInTable(type) ? kTypes[type].numUnits : 0; }

int Get_UnitType_Unit(int type, int index) {
    if (!typeInTable(type)) return 0;
    const TypeRow &row = kTypes[type];
    if (row.numUnits == 0) return row.firstUnit;
    return static_cast<unsigned>(index) < static_cast<unsigned>(row.numUnits)
               ? row.firstUnit + index
               : kUnknownUnit;
}

int Get_Unit_Default(int type) { return typeInTable(type) ? kTypes[type].defaultUnit : 10; }

const wchar_t *Get_UnitType_LongName(int type, int unit) {
    return typedName(g_longNameBuffer, type, unit, &Get_Unit_LongName);
}

const wchar_t *Get_UnitType_ShortName(int type, int unit) {
    return typedName(g_shortNameBuffer, type, unit, &Get_Unit_ShortName);
}

int Get_UnitType_ID(int type, const wchar_t *text) {
    if (text == nullptr) return kUnknownUnit;
    if (type == 2 || type == 3) {
        copyCut(g_idBuffer, text);
        size_t n = wcslen(g_idBuffer);
        if (n > 0) g_idBuffer[n - 1] = 0;  // the power sign
        return Get_Unit_ID(g_idBuffer);
    }
    if (type == kVelocityType) {
        const wchar_t *slash = wcschr(text, L'/');
        if (slash == nullptr) return kUnknownUnit;
        const std::wstring length(text, slash);
        const int lengthUnit = Get_Unit_ID(length.c_str());
        const int timeUnit = Get_Unit_ID(slash + 1);
        if (lengthUnit == kUnknownUnit || timeUnit == kUnknownUnit) return kUnknownUnit;
        return (lengthUnit + 1) * 100 + timeUnit;
    }
    return Get_Unit_ID(text);
}

int GetUnitGroup(int unit) {
    switch (unit) {
        case 5:
            return 2;
        case 8:
        case 9:
        case 24:
            return 1;
        default:
            return 6;
    }
}

}  // extern "C"
