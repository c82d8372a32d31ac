// Unit and unit-type tables, name lookup and composed names.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

#include "units/KrUnits.h"

namespace {

struct UnitExpect {
    int id;
    const wchar_t *name;
    const wchar_t *shortName;
    const wchar_t *longName;
    int type;
    double factor;  // to the base of its type; NaN for pixels; 1 for temperatures
};

// Typed independently of the library's table.
const UnitExpect kUnitTable[] = {
    {0, L"pixels", L"px", L"Pixels", 1, NAN},
    {1, L"nm", L"nm", L"Nanometers", 1, 0.001},
    {2, L"\u00b5m", L"\u00b5m", L"Micrometers", 1, 1},
    {3, L"mm", L"mm", L"Millimeters", 1, 1000},
    {4, L"cm", L"cm", L"Centimeters", 1, 10000},
    {5, L"dm", L"dm", L"Decimeters", 1, 100000},
    {6, L"m", L"m", L"Meters", 1, 1e6},
    {7, L"km", L"km", L"Kilometers", 1, 1e9},
    {8, L"mil", L"mil", L"Mils", 1, 25.4},
    {9, L"inch", L"in", L"Inches", 1, 25400},
    {10, L"unknown", L"??", L"Unknown", 0, 1},
    {11, L"deg", L"deg", L"Degrees", 4, 0.017453292519943334},
    {12, L"rad", L"rad", L"Radians", 4, 1},
    {13, L"grad", L"grad", L"grad", 4, 0.015707963267949},
    {14, L"hour", L"h", L"Hours", 6, 3600},
    {15, L"min", L"m", L"Minutes", 6, 60},
    {16, L"s", L"s", L"Seconds", 6, 1},
    {17, L"ms", L"ms", L"Milliseconds", 6, 0.001},
    {18, L"\u00b5s", L"\u00b5s", L"Microseconds", 6, 1e-6},
    {19, L"ns", L"ns", L"Nanoseconds", 6, 1e-9},
    {20, L"val", L"", L"Value", 7, 1},
    {21, L"percent", L"%", L"Percents", 7, 0.01},
    {22, L"celsius", L"\u00b0C", L"Degrees Celsius", 8, 1},
    {23, L"kelvin", L"K", L"Kelvins", 8, 1},
    {24, L"fahrenheit", L"\u00b0F", L"Degrees Fahrenheit", 8, 1},
    {25, L"nmol", L"nM", L"Nanomoles", 10, 1},
    {26, L"\u00b5mol", L"\u00b5M", L"Micromoles", 10, 1000},
    {27, L"mmol", L"mM", L"Millimoles", 10, 1e6},
    {28, L"mol", L"M", L"Moles", 10, 1e9},
    {29, L"mBar", L"mBar", L"Millibars", 0, 1},
    {30, L"Bar", L"Bar", L"Bars", 0, 1},
};

struct TypeExpect {
    int type;
    const wchar_t *name;
    int numUnits;
    int firstUnit;
    int defaultUnit;
};

const TypeExpect kTypeTable[] = {
    {0, L"No unit", 0, 10, 10},     {1, L"Length", 10, 0, 2},   {2, L"Area", 10, 0, 2},
    {3, L"Volume", 10, 0, 2},       {4, L"Angle", 3, 11, 11},   {5, L"Wavelength", 1, 1, 1},
    {6, L"Time", 6, 14, 16},        {7, L"Ratio", 2, 20, 21},   {8, L"Temperature", 3, 22, 22},
    {9, L"Custom", 0, 10, 10},      {10, L"Amount", 4, 25, 25}, {11, L"Velocity", 0, 0, 316},
    {12, L"Pressure", 0, 0, 10},
};

std::wstring str(const wchar_t *p) { return p ? std::wstring(p) : std::wstring(L"<null>"); }

const int kOutsideIds[] = {-1, 31, 100, 316, INT_MIN, INT_MAX};

}  // namespace

TEST(UnitTables, EveryUnitRowMatches) {
    for (const auto &u : kUnitTable) {
        SCOPED_TRACE(u.id);
        EXPECT_EQ(str(Get_Unit_Name(u.id)), u.name);
        EXPECT_EQ(str(Get_Unit_ShortName(u.id)), u.shortName);
        EXPECT_EQ(str(Get_Unit_LongName(u.id)), u.longName);
        EXPECT_EQ(Get_Unit_Type(u.id), u.type);
        const double f = Get_Unit_MulFactor(u.type, u.id);
        if (std::isnan(u.factor)) {
            EXPECT_TRUE(std::isnan(f));
        } else if (u.type != 8) {
            EXPECT_DOUBLE_EQ(f, u.factor);
        }
    }
}

TEST(UnitTables, EveryTypeRowMatches) {
    for (const auto &t : kTypeTable) {
        SCOPED_TRACE(t.type);
        EXPECT_EQ(str(Get_UnitType_Name(t.type)), t.name);
        EXPECT_EQ(Get_UnitType_NumUnits(t.type), t.numUnits);
        EXPECT_EQ(Get_Unit_Default(t.type), t.defaultUnit);
        EXPECT_EQ(Get_UnitType_Unit(t.type, 0), t.firstUnit);
        for (int i = 0; i < t.numUnits; ++i) {
            const int unit = Get_UnitType_Unit(t.type, i);
            EXPECT_EQ(unit, t.firstUnit + i);
            // Each listed unit belongs to its type, except that areas and volumes list lengths
            // and wavelengths list nanometers.
            const int expectedType = (t.type == 2 || t.type == 3 || t.type == 5) ? 1 : t.type;
            EXPECT_EQ(Get_Unit_Type(unit), expectedType);
        }
    }
}

TEST(UnitTables, IdsOutsideTheTablesFallBack) {
    for (int id : kOutsideIds) {
        SCOPED_TRACE(id);
        EXPECT_EQ(str(Get_Unit_Name(id)), L"unknown");
        EXPECT_EQ(str(Get_Unit_ShortName(id)), L"??");
        EXPECT_EQ(str(Get_Unit_LongName(id)), L"Unknown");
        EXPECT_EQ(Get_Unit_Type(id), 0);
        EXPECT_EQ(str(Get_UnitType_Name(id)), L"No unit");
        EXPECT_EQ(Get_UnitType_NumUnits(id), 0);
        EXPECT_EQ(Get_UnitType_Unit(id, 0), 0);
        EXPECT_EQ(Get_Unit_Default(id), 10);
        EXPECT_EQ(GetUnitGroup(id), 6);
    }
    // An index past the units of a type gives the unknown unit, not a unit of the next type.
    EXPECT_EQ(Get_UnitType_Unit(4, 3), 10);
    EXPECT_EQ(Get_UnitType_Unit(1, -1), 10);
    EXPECT_EQ(Get_UnitType_Unit(6, INT_MAX), 10);
}

TEST(UnitTables, GroupsOfUnits) {
    for (int u = -2; u <= 32; ++u) {
        const int expected = u == 5 ? 2 : (u == 8 || u == 9 || u == 24) ? 1 : 6;
        EXPECT_EQ(GetUnitGroup(u), expected) << u;
    }
}

TEST(UnitLookup, SearchOrderAndAliases) {
    const struct {
        const wchar_t *text;
        int id;
    } cases[] = {
        {L"um", 2},          {L"UM", 2},          {L"\u00b5m", 2},    {L"Micrometers", 2},
        {L"MICROMETERS", 2}, {L"m", 6},           {L"M", 6},          {L"Meters", 6},
        {L"h", 14},          {L"hour", 14},       {L"Hours", 14},     {L"min", 15},
        {L"Minutes", 15},    {L"in", 9},          {L"INCH", 9},       {L"px", 0},
        {L"Pixels", 0},      {L"%", 21},          {L"\u00b0C", 22},   {L"Kelvins", 23},
        {L"k", 23},          {L"nM", 1},          {L"Nanomoles", 25}, {L"mM", 3},
        {L"mbar", 29},       {L"Bars", 30},       {L"grad", 13},      {L"s", 16},
        {L"unknown", 10},    {L"xyz", 10},        {L"", 20},          {L"m ", 10},
    };
    for (const auto &c : cases) EXPECT_EQ(Get_Unit_ID(c.text), c.id) << str(c.text);
    EXPECT_EQ(Get_Unit_ID(nullptr), 10);

    // Every unit's lookup name finds the unit itself (except "unknown", which is the no-match
    // result anyway).
    for (const auto &u : kUnitTable) EXPECT_EQ(Get_Unit_ID(u.name), u.id) << u.id;
}

TEST(UnitLookup, ComposedNames) {
    EXPECT_EQ(str(Get_UnitType_ShortName(2, 3)), L"mm\u00b2");
    EXPECT_EQ(str(Get_UnitType_LongName(2, 3)), L"Millimeters\u00b2");
    EXPECT_EQ(str(Get_UnitType_ShortName(3, 2)), L"\u00b5m\u00b3");
    EXPECT_EQ(str(Get_UnitType_LongName(3, 99)), L"Unknown\u00b3");
    EXPECT_EQ(str(Get_UnitType_LongName(11, 316)), L"Micrometers/Seconds");
    EXPECT_EQ(str(Get_UnitType_ShortName(11, 416)), L"mm/s");
    EXPECT_EQ(str(Get_UnitType_ShortName(11, 114)), L"px/h");
    EXPECT_EQ(str(Get_UnitType_ShortName(11, -5)), L"?\?/?\?");
    EXPECT_EQ(str(Get_UnitType_ShortName(11, INT_MIN)), L"?\?/?\?");
    // Composed long names are cut to 32 characters.
    EXPECT_EQ(str(Get_UnitType_LongName(11, 2524)), L"Degrees Fahrenheit/Degrees Fahre");
    // Other types give the table text.
    EXPECT_EQ(str(Get_UnitType_LongName(6, 17)), L"Milliseconds");
    EXPECT_EQ(str(Get_UnitType_ShortName(1, 40)), L"??");
    EXPECT_EQ(str(Get_UnitType_ShortName(-7, 20)), L"");

    // Each function has its own buffer; the same function's buffer is overwritten.
    const wchar_t *a = Get_UnitType_LongName(2, 6);
    const wchar_t *b = Get_UnitType_ShortName(2, 6);
    EXPECT_EQ(str(a), L"Meters\u00b2");
    EXPECT_EQ(str(b), L"m\u00b2");
    Get_UnitType_LongName(3, 7);
    EXPECT_EQ(str(a), L"Kilometers\u00b3");
    EXPECT_EQ(str(b), L"m\u00b2");
}

TEST(UnitLookup, TypedIdsInvertComposedNames) {
    for (int type : {2, 3}) {
        for (int u = 0; u <= 9; ++u) {
            EXPECT_EQ(Get_UnitType_ID(type, Get_UnitType_ShortName(type, u)), u) << type << "/" << u;
            EXPECT_EQ(Get_UnitType_ID(type, Get_UnitType_LongName(type, u)), u) << type << "/" << u;
        }
    }
    for (int length = 0; length <= 9; ++length) {
        for (int time = 14; time <= 19; ++time) {
            const int id = (length + 1) * 100 + time;
            // "m/min" reads back as meters per meter: the short name "m" is ambiguous.
            if (time != 15) {
                EXPECT_EQ(Get_UnitType_ID(11, Get_UnitType_ShortName(11, id)), id) << id;
            }
            EXPECT_EQ(Get_UnitType_ID(11, Get_UnitType_LongName(11, id)), id) << id;
        }
    }
    EXPECT_EQ(Get_UnitType_ID(11, L"mm/s"), 416);
    EXPECT_EQ(Get_UnitType_ID(11, L"mm/m"), 406);
    EXPECT_EQ(Get_UnitType_ID(11, L"mm"), 10);
    EXPECT_EQ(Get_UnitType_ID(11, L"mm/"), 420);  // empty half is "val"
    EXPECT_EQ(Get_UnitType_ID(11, L"xx/s"), 10);
    EXPECT_EQ(Get_UnitType_ID(11, L"/s"), (20 + 1) * 100 + 16);  // empty half is "val"
    EXPECT_EQ(Get_UnitType_ID(2, L""), 20);
    EXPECT_EQ(Get_UnitType_ID(2, L"mm"), 6);  // the last character is always dropped
    EXPECT_EQ(Get_UnitType_ID(6, L"ms"), 17);
    for (int type : {2, 3, 6, 11, -1}) EXPECT_EQ(Get_UnitType_ID(type, nullptr), 10);

    // A text longer than the shared buffer is cut, not copied past its end.
    std::wstring longText(200, L'x');
    EXPECT_EQ(Get_UnitType_ID(2, longText.c_str()), 10);
}
