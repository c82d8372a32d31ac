// Unit and unit-type tables, name lookup and composed names.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "units/KrUnits.h"

namespace {

std::wstring str(const wchar_t *p) { return p ? std::wstring(p) : std::wstring(L"<null>"); }

}  // namespace

// The texts that do not follow the pattern "abbreviation twice, plural long name" (other
// symbols, shared or empty short names, signs outside ASCII, the unknown row), typed
// independently of the library's table: they are shown to users and stored in settings.  The
// regular rows are pinned by the lookups below, which must find every unit by its own names.
TEST(UnitTables, IrregularTexts) {
    // clang-format off
    const struct { int id; const wchar_t *name, *shortName, *longName; } rows[] = {
        {0, L"pixels", L"px", L"Pixels"},             {2, L"\u00b5m", L"\u00b5m", L"Micrometers"},
        {9, L"inch", L"in", L"Inches"},               {10, L"unknown", L"??", L"Unknown"},
        {13, L"grad", L"grad", L"grad"},              {14, L"hour", L"h", L"Hours"},
        {15, L"min", L"m", L"Minutes"},               {18, L"\u00b5s", L"\u00b5s", L"Microseconds"},
        {20, L"val", L"", L"Value"},                  {21, L"percent", L"%", L"Percents"},
        {22, L"celsius", L"\u00b0C", L"Degrees Celsius"}, {23, L"kelvin", L"K", L"Kelvins"},
        {24, L"fahrenheit", L"\u00b0F", L"Degrees Fahrenheit"},
        {26, L"\u00b5mol", L"\u00b5M", L"Micromoles"}, {28, L"mol", L"M", L"Moles"},
        {29, L"mBar", L"mBar", L"Millibars"},
    };
    // clang-format on
    for (const auto &r : rows) {
        SCOPED_TRACE(r.id);
        EXPECT_EQ(str(Get_Unit_Name(r.id)), r.name);
        EXPECT_EQ(str(Get_Unit_ShortName(r.id)), r.shortName);
        EXPECT_EQ(str(Get_Unit_LongName(r.id)), r.longName);
    }
}

TEST(UnitTables, EveryTypeRowMatches) {
    const struct {
        int type;
        const wchar_t *name;
        int count, first, byDefault;
    } types[] = {
        {0, L"No unit", 0, 10, 10},  {1, L"Length", 10, 0, 2},   {2, L"Area", 10, 0, 2},
        {3, L"Volume", 10, 0, 2},    {4, L"Angle", 3, 11, 11},   {5, L"Wavelength", 1, 1, 1},
        {6, L"Time", 6, 14, 16},     {7, L"Ratio", 2, 20, 21},   {8, L"Temperature", 3, 22, 22},
        {9, L"Custom", 0, 10, 10},   {10, L"Amount", 4, 25, 25}, {11, L"Velocity", 0, 0, 316},
        {12, L"Pressure", 0, 0, 10},
    };
    for (const auto &t : types) {
        SCOPED_TRACE(t.type);
        EXPECT_EQ(str(Get_UnitType_Name(t.type)), t.name);
        EXPECT_EQ(Get_UnitType_NumUnits(t.type), t.count);
        EXPECT_EQ(Get_Unit_Default(t.type), t.byDefault);
        EXPECT_EQ(Get_UnitType_Unit(t.type, 0), t.first);
        // Areas and volumes list lengths, wavelengths list nanometers.
        const int unitType = (t.type == 2 || t.type == 3 || t.type == 5) ? 1 : t.type;
        for (int i = 0; i < t.count; ++i) {
            EXPECT_EQ(Get_UnitType_Unit(t.type, i), t.first + i);
            EXPECT_EQ(Get_Unit_Type(t.first + i), unitType);
        }
    }
    // Listed nowhere: type 0, the pressure units included (stored settings rely on it).
    for (int u : {10, 29, 30}) EXPECT_EQ(Get_Unit_Type(u), 0) << u;
}

TEST(UnitTables, IdsOutsideTheTablesFallBack) {
    for (int id : {-1, 31, 100, 316, INT_MIN, INT_MAX}) {
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
    const int pastTheEnd[][2] = {{4, 3}, {5, 1}, {8, 3}, {1, -1}, {6, INT_MAX}};
    for (const auto &p : pastTheEnd) EXPECT_EQ(Get_UnitType_Unit(p[0], p[1]), 10) << p[0];

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
        {L"um", 2}, {L"UM", 2},   {L"MICROMETERS", 2}, {L"m", 6},    {L"M", 6},        {L"h", 14},
        {L"in", 9}, {L"INCH", 9}, {L"px", 0},          {L"%", 21},   {L"\u00b0C", 22}, {L"k", 23},
        {L"nM", 1}, {L"mM", 3},   {L"mbar", 29},       {L"xyz", 10}, {L"", 20},        {L"m ", 10},
    };
    for (const auto &c : cases) EXPECT_EQ(Get_Unit_ID(c.text), c.id) << str(c.text);
    EXPECT_EQ(Get_Unit_ID(nullptr), 10);

    // Every lookup name and every long name finds its own unit.
    for (int u = 0; u <= 30; ++u) {
        EXPECT_EQ(Get_Unit_ID(Get_Unit_Name(u)), u) << u;
        EXPECT_EQ(Get_Unit_ID(Get_Unit_LongName(u)), u) << u;
    }
}

TEST(UnitLookup, ComposedNames) {
    const struct {
        bool isLong;
        int type, unit;
        const wchar_t *text;
    } cases[] = {
        {false, 2, 3, L"mm\u00b2"},
        {true, 2, 3, L"Millimeters\u00b2"},
        {false, 1, 40, L"??"},
        {false, 3, 2, L"\u00b5m\u00b3"},
        {true, 3, 99, L"Unknown\u00b3"},
        {false, -7, 20, L""},
        {true, 11, 316, L"Micrometers/Seconds"},
        {false, 11, 416, L"mm/s"},
        {false, 11, 114, L"px/h"},
        {false, 11, INT_MIN, L"?\?/?\?"},
        {true, 6, 17, L"Milliseconds"},
        {true, 11, 2524, L"Degrees Fahrenheit/Degrees Fahre"},  // cut to 32 characters
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.isLong << " " << c.type << "/" << c.unit);
        EXPECT_EQ(str(c.isLong ? Get_UnitType_LongName(c.type, c.unit)
                               : Get_UnitType_ShortName(c.type, c.unit)),
                  c.text);
    }

    // Each function has its own buffer; the same function's buffer is overwritten.
    const wchar_t *a = Get_UnitType_LongName(2, 6);
    const wchar_t *b = Get_UnitType_ShortName(2, 6);
    Get_UnitType_LongName(3, 7);
    EXPECT_EQ(str(a), L"Kilometers\u00b3");
    EXPECT_EQ(str(b), L"m\u00b2");
}

TEST(UnitLookup, TypedIdsInvertComposedNames) {
    for (int u = 0; u <= 9; ++u) {
        for (int type : {2, 3}) {
            EXPECT_EQ(Get_UnitType_ID(type, Get_UnitType_ShortName(type, u)), u) << type << u;
            EXPECT_EQ(Get_UnitType_ID(type, Get_UnitType_LongName(type, u)), u) << type << u;
        }
        for (int time = 14; time <= 19; ++time) {
            const int id = (u + 1) * 100 + time;
            EXPECT_EQ(Get_UnitType_ID(11, Get_UnitType_LongName(11, id)), id) << id;
            // "mm/m" reads back as millimeters per meter: the short name "m" is ambiguous.
            const int shortId = Get_UnitType_ID(11, Get_UnitType_ShortName(11, id));
            EXPECT_EQ(shortId, time == 15 ? (u + 1) * 100 + 6 : id) << id;
        }
    }
    const struct {
        int type;
        const wchar_t *text;
        int id;
    } cases[] = {
        {11, L"mm/s", 416}, {11, L"mm", 10},   {11, L"xx/s", 10},
        {6, L"ms", 17},     {11, L"mm/", 420}, {11, L"/s", 2116},  // an empty half is "val" (20)
        {2, L"", 20},       {2, L"mm", 6},     {3, L"m", 20},      // the last character is dropped
    };
    for (const auto &c : cases) EXPECT_EQ(Get_UnitType_ID(c.type, c.text), c.id) << str(c.text);
    for (int type : {2, 3, 6, 11, -1}) EXPECT_EQ(Get_UnitType_ID(type, nullptr), 10);

    // A text longer than the shared buffer is cut, not copied past its end.
    std::wstring longText(200, L'x');
    EXPECT_EQ(Get_UnitType_ID(2, longText.c_str()), 10);
}
