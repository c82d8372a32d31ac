// Factors, conversions, automatic unit choice and the time calibration text.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>

#include "strings/CKrStringW.h"
#include "units/KrUnits.h"

namespace {

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Relative comparison for values that pass through several multiplications.
void expectNear(double actual, double expected, const char *what) {
    EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-12 + 1e-300) << what;
}

}  // namespace

TEST(UnitFactors, DerivedTypes) {
    EXPECT_EQ(HowManyMicronsAmI(0), 1.0);  // pixels have no size of their own here
    EXPECT_EQ(HowManyMillisecondsAmI(17), 1.0);
    EXPECT_EQ(HowManyMillisecondsAmI(14), 3.6e6);
    EXPECT_EQ(HowManyMillisecondsAmI(19), 1e-6);
    EXPECT_EQ(HowManyMillisecondsAmI(-1), 1.0);
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(2, 3), 1e6);
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(3, 4), 1e12);
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(2, 1), 1e-6);
    EXPECT_TRUE(std::isnan(Get_Unit_MulFactor(2, 0)));
    EXPECT_TRUE(std::isnan(Get_Unit_MulFactor(3, 0)));
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(11, 416), 1000.0);       // mm/s
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(11, 714), 1e6 / 3600);   // m/h
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(11, 217), 1e-3 / 1e-3);  // nm/ms
    EXPECT_TRUE(std::isnan(Get_Unit_MulFactor(11, 116)));        // pixels per second
    // Ratio: anything but "val" counts as percent.
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(7, 20), 1.0);
    EXPECT_DOUBLE_EQ(Get_Unit_MulFactor(7, 3), 0.01);
    // Types without factors and types outside the table.
    for (int type : {0, 5, 8, 9, 12, 13, -1, INT_MAX})
        for (int unit : {0, 2, 22, 29, -4}) EXPECT_EQ(Get_Unit_MulFactor(type, unit), 1.0);
}

TEST(UnitConversion, BetweenUnitsOfOneType) {
    const struct {
        double value;
        int type, from, to;
        double expected;
    } cases[] = {
        {1.0, 1, 3, 2, 1000.0},     {1.0, 2, 3, 2, 1e6},       {1.0, 3, 4, 3, 1000.0},
        {5.0, 1, 0, 2, 5.0},        {5.0, 1, 2, 0, 5.0},       {2.5, 1, 9, 8, 2500.0},
        {-1.0, 1, 3, 2, -1000.0},   {1.0, 1, 7, 1, 1e12},      {180.0, 4, 11, 12, 3.1415926535897998},
        {200.0, 4, 13, 12, 3.1415926535898},                   {2.0, 6, 14, 15, 120.0},
        {1.0, 6, 16, 17, 1000.0},   {1.0, 6, 17, 19, 1e6},     {50.0, 7, 21, 20, 0.5},
        {1.0, 7, 20, 21, 100.0},    {1.0, 10, 28, 25, 1e9},    {3.0, 10, 26, 27, 0.003},
        {7.0, 12, 29, 30, 7.0},     {7.0, 0, 10, 29, 7.0},     {7.0, -3, 1, 2, 7.0},
        {5.0, 1, 99, 2, 5.0},       // unknown length IDs have factor 1
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.value << " type " << c.type << " " << c.from << "->" << c.to);
        expectNear(Convert_Unit_To_Unit(c.value, c.type, c.from, c.to), c.expected, "unit to unit");
    }
}

TEST(UnitConversion, TemperaturesKeepTheirKelvinSigns) {
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(0.0, 8, 22, 23), -273.15);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(0.0, 8, 23, 22), 273.15);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(100.0, 8, 22, 24), 212.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(32.0, 8, 24, 22), 0.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(212.0, 8, 24, 23), 100.0 - 273.15);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(0.0, 8, 23, 24), 273.15 * 9.0 / 5.0 + 32.0);
    // Unknown temperature units are treated as celsius; equal units short-circuit.
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(10.0, 8, 2, 24), 50.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(10.0, 8, 23, 23), 10.0);
    // Round trips through every pair are exact up to rounding.
    for (int a = 22; a <= 24; ++a)
        for (int b = 22; b <= 24; ++b)
            EXPECT_NEAR(Convert_Unit_To_Unit(Convert_Unit_To_Unit(36.6, 8, a, b), 8, b, a), 36.6, 1e-12);
}

TEST(UnitConversion, Velocities) {
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(1000.0, 11, 316, 416), 1.0);   // um/s -> mm/s
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(1.0, 11, 316, 314), 3600.0);   // um/s -> um/h
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(1.0, 11, 714, 316), 1e6 / 3600.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(1.0, 11, 317, 316), 1000.0);   // um/ms -> um/s
    // A pixel length on either side converts only the time part.
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(1.0, 11, 116, 114), 3600.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(2.0, 11, 116, 416), 2.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit(2.0, 11, 415, 114), 2.0 / 60.0 * 3600.0);
}

TEST(UnitConversion, PixelsWithCalibration) {
    const double cal = 0.5;  // micrometers per pixel
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(10.0, 1, 3, cal), 0.005);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(100.0, 2, 3, cal), 25e-6);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(8.0, 3, 2, cal), 1.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(0.005, 1, 3, cal), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(1.0, 3, 2, cal), 8.0);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(10.0, 1, 0, cal), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(10.0, 1, 0, cal), 10.0);

    // A zero calibration is "uncalibrated" only on the way back to pixels.
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(10.0, 1, 2, 0.0), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(1.0, 2, 3, 0.0), 1e6);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(10.0, 1, 2, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(10.0, 3, 3, 0.0), 0.0);

    // Dispatch on pixels.
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(10.0, 1, 0, 3, cal), 0.005);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(0.005, 1, 3, 0, cal), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(10.0, 1, 0, 0, cal), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(1.0, 1, 3, 2, cal), 1000.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(1.0, 1, 3, 0, 0.0), 1000.0);
}

TEST(UnitConversion, PixelRoundTripsForEveryLengthAreaAndVolumeUnit) {
    const double calibrations[] = {0.645, 1.0, 12.5};
    const double values[] = {0.25, 1.0, 123.456, 4096.0};
    for (int type = 1; type <= 3; ++type)
        for (int unit = 0; unit <= 9; ++unit)
            for (double cal : calibrations)
                for (double v : values) {
                    const double inUnit = Convert_Pixels_To_Unit(v, type, unit, cal);
                    // The unit value itself must be right, not only the round trip.
                    const double c = type == 1 ? cal : type == 2 ? cal * cal : cal * cal * cal;
                    const double f = unit == 0 ? 1.0 : std::pow(HowManyMicronsAmI(unit), type);
                    const double expected = unit == 0 ? v : v * c / f;
                    SCOPED_TRACE(testing::Message() << "type " << type << " unit " << unit
                                                    << " cal " << cal << " value " << v);
                    expectNear(inUnit, expected, "pixels to unit");
                    expectNear(Convert_Unit_To_Pixels(inUnit, type, unit, cal), v, "back to pixels");
                    expectNear(Convert_Unit_To_Unit_Cal(
                                   Convert_Unit_To_Unit_Cal(v, type, 0, unit, cal), type, unit, 0, cal),
                               v, "through the dispatcher");
                }
}

TEST(UnitConversion, NonFiniteAndOutOfTableInputsPropagate) {
    EXPECT_TRUE(std::isnan(Convert_Unit_To_Unit(kNaN, 1, 3, 2)));
    EXPECT_TRUE(std::isnan(Convert_Unit_To_Unit(kNaN, 8, 22, 23)));
    EXPECT_TRUE(std::isnan(Convert_Pixels_To_Unit(1.0, 1, 3, kNaN)));
    EXPECT_TRUE(std::isnan(Convert_Unit_To_Pixels(kNaN, 2, 3, 1.0)));
    EXPECT_EQ(Convert_Unit_To_Unit(kInf, 1, 3, 2), kInf);
    EXPECT_EQ(Convert_Unit_To_Unit(-kInf, 11, 316, 416), -kInf);
    EXPECT_EQ(Convert_Pixels_To_Unit(-2.0, 1, 2, 1.5), -3.0);
    for (int id : {-1, 31, INT_MIN, INT_MAX}) {
        EXPECT_EQ(Convert_Unit_To_Unit(3.0, 1, id, 2), 3.0) << id;
        EXPECT_EQ(Convert_Unit_To_Unit(3.0, id, 3, 2), 3.0) << id;
        EXPECT_TRUE(std::isfinite(Convert_Unit_To_Unit(3.0, 11, id, 316))) << id;
    }
}

TEST(UnitAutoChoice, TimeInMilliseconds) {
    const struct {
        double ms;
        int unit;
    } cases[] = {
        {3600001.0, 14}, {3600000.0, 15}, {60001.0, 15}, {60000.0, 16}, {1001.0, 16}, {1000.0, 17},
        {1.5, 17},       {1.0, 18},       {0.0011, 18},  {0.001, 19},   {2e-6, 19},   {kInf, 14},
    };
    for (const auto &c : cases) {
        for (int current = 14; current <= 19; ++current) {
            int stored = -99;
            EXPECT_EQ(Calc_Auto_Units(c.ms, &stored, current), c.unit) << c.ms;
            EXPECT_EQ(stored, c.unit) << c.ms;
        }
    }
    // Nothing fits: milliseconds stored, the time type returned.
    for (double ms : {5e-7, 1e-6, 0.0, -5.0, kNaN, -kInf}) {
        int stored = -99;
        EXPECT_EQ(Calc_Auto_Units(ms, &stored, 17), 6) << ms;
        EXPECT_EQ(stored, 17) << ms;
    }
}

TEST(UnitAutoChoice, LengthsByDecimalExponent) {
    const struct {
        double value;
        int current;
        int unit;
    } cases[] = {
        {0.005, 2, 1},  {0.05, 2, 1},   {0.5, 2, 2},    {1.0, 2, 2},    {50.0, 2, 2},
        {500.0, 2, 3},  {5e3, 2, 3},    {5e4, 2, 4},    {5e5, 2, 5},    {5e6, 2, 6},
        {5e7, 2, 6},    {5e8, 2, 7},    {5e12, 2, 7},   {1e-300, 0, 1}, {99.9, 22, 2},
        {100.0, 5, 3},  {1.0, 8, 8},    {4.0, 9, 8},    {40.0, 9, 9},    {1000.0, 24, 9},
        {0.01, 8, 8},   {100.0, 30, 3},
    };
    for (const auto &c : cases) {
        int stored = -99;
        EXPECT_EQ(Calc_Auto_Units(c.value, &stored, c.current), c.unit) << c.value << " from " << c.current;
        EXPECT_EQ(stored, c.unit) << c.value;
    }
    for (double v : {0.0, -1.0, kNaN, kInf, -kInf}) {
        for (int current : {2, 8}) {
            int stored = -99;
            EXPECT_EQ(Calc_Auto_Units(v, &stored, current), 0) << v;
            EXPECT_EQ(stored, 0) << v;
        }
    }
    // A null unit pointer only skips the store.
    EXPECT_EQ(Calc_Auto_Units(500.0, nullptr, 2), 3);
    EXPECT_EQ(Calc_Auto_Units(1e-9, nullptr, 16), 6);
}

TEST(UnitTimeCalibration, ScalesAboveNineHundredMilliseconds) {
    CKrStringW text(L"unchanged");
    double v = 900.0;
    EXPECT_EQ(FormatTimeCalibration(&v, &text), 0);
    EXPECT_EQ(v, 900.0);
    EXPECT_EQ(std::wstring(text.GetString()), L"ms");

    v = 900.5;
    EXPECT_EQ(FormatTimeCalibration(&v, &text), 0);
    EXPECT_DOUBLE_EQ(v, 0.9005);
    EXPECT_EQ(std::wstring(text.GetString()), L"s");

    v = kNaN;
    EXPECT_EQ(FormatTimeCalibration(&v, &text), 0);
    EXPECT_TRUE(std::isnan(v));
    EXPECT_EQ(std::wstring(text.GetString()), L"ms");

    // Either pointer null: nothing is touched.
    v = 5000.0;
    EXPECT_EQ(FormatTimeCalibration(&v, nullptr), 0);
    EXPECT_EQ(v, 5000.0);
    text = L"keep";
    EXPECT_EQ(FormatTimeCalibration(nullptr, &text), 0);
    EXPECT_EQ(std::wstring(text.GetString()), L"keep");
}
