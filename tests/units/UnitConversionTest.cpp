// Factors, conversions, automatic unit choice and the time calibration text.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <iomanip>
#include <limits>
#include <string>

#include "strings/CKrStringW.h"
#include "units/KrUnits.h"

namespace {

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Relative comparison; zero and the infinities must match exactly, NaN matches NaN.
void expectNear(double actual, double expected) {
    const bool ok = std::isnan(expected) ? std::isnan(actual)
                                         : actual == expected || std::fabs(actual - expected) <=
                                                                     std::fabs(expected) * 1e-12;
    EXPECT_TRUE(ok) << std::setprecision(17) << actual << " instead of " << expected;
}

}  // namespace

TEST(UnitFactors, EveryTypeAndUnit) {
    // Micrometers per length unit, milliseconds per time unit; pixels and base units give 1.
    const double microns[] = {1, 0.001, 1, 1e3, 1e4, 1e5, 1e6, 1e9, 25.4, 25400};
    for (int u = 0; u <= 9; ++u) {
        EXPECT_EQ(HowManyMicronsAmI(u), microns[u]) << u;
        expectNear(Get_Unit_MulFactor(1, u), u == 0 ? kNaN : microns[u]);
    }
    const double millis[] = {3.6e6, 6e4, 1e3, 1, 1e-3, 1e-6};
    for (int u = 14; u <= 19; ++u) EXPECT_EQ(HowManyMillisecondsAmI(u), millis[u - 14]) << u;

    const struct {
        int type, unit;
        double factor;
    } cases[] = {
        {2, 0, kNaN},   {3, 0, kNaN},
        {2, 1, 1e-6},   {2, 3, 1e6},
        {3, 4, 1e12},   {4, 11, 0.017453292519943334},
        {4, 12, 1},     {4, 13, 0.015707963267949},
        {6, 14, 3600},  {6, 15, 60},
        {6, 16, 1},     {6, 17, 1e-3},
        {6, 18, 1e-6},  {6, 19, 1e-9},
        {7, 20, 1},     {7, 21, 0.01},
        {7, 3, 0.01},  // not "val": percent
        {10, 25, 1},    {10, 26, 1e3},
        {10, 27, 1e6},  {10, 28, 1e9},
        {11, 416, 1e3}, {11, 714, 1e6 / 3600},
        {11, 217, 1},   {11, 116, kNaN},  // px per second
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << " unit " << c.unit);
        expectNear(Get_Unit_MulFactor(c.type, c.unit), c.factor);
    }
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
        {1.0, 1, 3, 2, 1000.0},
        {1.0, 3, 4, 3, 1000.0},
        {2.5, 1, 9, 8, 2500.0},
        {5.0, 1, 0, 2, 5.0},
        {5.0, 1, 2, 0, 5.0},  // pixels have no factor: unchanged
        {180.0, 4, 11, 12, 3.1415926535897998},
        {200.0, 4, 13, 12, 3.1415926535898},
        {2.0, 6, 14, 15, 120.0},
        {1.0, 6, 17, 19, 1e6},
        {50.0, 7, 21, 20, 0.5},
        {3.0, 10, 26, 27, 0.003},
        {7.0, 12, 29, 30, 7.0},
        {7.0, 0, 10, 29, 7.0},
        // Temperatures keep their inverted kelvin signs: stored values depend on them.
        {0.0, 8, 22, 23, -273.15},
        {0.0, 8, 23, 22, 273.15},
        {100.0, 8, 22, 24, 212.0},
        {32.0, 8, 24, 22, 0.0},
        {212.0, 8, 24, 23, 100.0 - 273.15},
        {0.0, 8, 23, 24, 273.15 * 9.0 / 5.0 + 32.0},
        {10.0, 8, 2, 24, 50.0},
        {10.0, 8, 23, 23, 10.0},  // unknown as celsius; equal units
        // Velocities; a pixel length on either side converts only the time part.
        {1000.0, 11, 316, 416, 1.0},
        {1.0, 11, 316, 314, 3600.0},
        {1.0, 11, 714, 316, 1e6 / 3600},
        {1.0, 11, 317, 316, 1000.0},
        {1.0, 11, 116, 114, 3600.0},
        {2.0, 11, 116, 416, 2.0},
        {2.0, 11, 415, 114, 2.0 / 60.0 * 3600.0},
        // Non-finite values propagate; IDs outside the tables have factor 1.
        {kNaN, 1, 3, 2, kNaN},
        {kNaN, 8, 22, 23, kNaN},
        {kInf, 1, 3, 2, kInf},
        {-kInf, 11, 316, 416, -kInf},
        {3.0, 1, -1, 2, 3.0},
        {3.0, 1, INT_MIN, 2, 3.0},
        {5.0, 1, 99, 2, 5.0},
        {3.0, INT_MAX, 3, 2, 3.0},
        {3.0, -1, 3, 2, 3.0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.value << " type " << c.type << " " << c.from << "->" << c.to);
        expectNear(Convert_Unit_To_Unit(c.value, c.type, c.from, c.to), c.expected);
    }
    for (int id : {-1, 31, INT_MIN, INT_MAX})
        EXPECT_TRUE(std::isfinite(Convert_Unit_To_Unit(3.0, 11, id, 316))) << id;
}

TEST(UnitConversion, PixelsWithCalibration) {
    // A zero calibration is "uncalibrated" only on the way back to pixels.
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(10.0, 1, 2, 0.0), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Pixels(1.0, 2, 3, 0.0), 1e6);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(10.0, 1, 2, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(10.0, 3, 3, 0.0), 0.0);
    // Dispatch without pixels on either side, or with pixels on both.
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(10.0, 1, 0, 0, 0.5), 10.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(1.0, 1, 3, 2, 0.5), 1000.0);
    EXPECT_DOUBLE_EQ(Convert_Unit_To_Unit_Cal(1.0, 1, 3, 0, 0.0), 1000.0);
    EXPECT_DOUBLE_EQ(Convert_Pixels_To_Unit(-2.0, 1, 2, 1.5), -3.0);
    EXPECT_TRUE(std::isnan(Convert_Pixels_To_Unit(1.0, 1, 3, kNaN)));
    EXPECT_TRUE(std::isnan(Convert_Unit_To_Pixels(kNaN, 2, 3, 1.0)));
    // From pixels and back, 0.5 micrometers a pixel: an area in mm\u00b2, a volume in mm\u00b3.
    // (Every length, area and volume unit against the calibration: the units fuzz target.)
    expectNear(Convert_Unit_To_Unit_Cal(2.0, 2, 0, 3, 0.5), 5e-7);
    expectNear(Convert_Unit_To_Unit_Cal(2.5e-10, 3, 3, 0, 0.5), 2.0);
    EXPECT_EQ(Convert_Pixels_To_Unit(3.0, 2, 0, 0.5), 3.0);  // pixels stay pixels
    EXPECT_EQ(Convert_Unit_To_Pixels(3.0, 2, 0, 0.5), 3.0);
}

TEST(UnitAutoChoice, ChoosesAndStoresTheUnit) {
    const struct {
        double value;
        int current, unit;
    } cases[] = {
        // Lengths: the unit nearest by decimal exponent of its size in micrometers.
        {0.005, 2, 1},
        {0.05, 2, 1},
        {0.5, 2, 2},
        {1.0, 2, 2},
        {50.0, 2, 2},
        {500.0, 2, 3},
        {5e3, 2, 3},
        {5e4, 2, 4},
        {5e5, 2, 5},
        {5e6, 2, 6},
        {5e7, 2, 6},
        {5e8, 2, 7},
        {5e12, 2, 7},
        {1e-300, 0, 1},
        {99.9, 22, 2},
        {100.0, 5, 3},
        {100.0, 30, 3},
        // Mils or inches from 8, 9 and 24.
        {1.0, 8, 8},
        {4.0, 9, 8},
        {40.0, 9, 9},
        {1000.0, 24, 9},
        {0.01, 8, 8},
        // No exponent: 0.
        {0.0, 2, 0},
        {-1.0, 2, 0},
        {kNaN, 2, 0},
        {kInf, 2, 0},
        {-kInf, 8, 0},
        {0.0, 8, 0},
        {kNaN, 9, 0},
    };
    for (const auto &c : cases) {
        int stored = -99;
        SCOPED_TRACE(testing::Message() << c.value << " from " << c.current);
        EXPECT_EQ(Calc_Auto_Units(c.value, &stored, c.current), c.unit);
        EXPECT_EQ(stored, c.unit);
    }

    // From a time unit the value is in milliseconds; the largest unit in which it exceeds 1.
    const struct {
        double ms;
        int unit;
    } times[] = {
        {3600001.0, 14},
        {3600000.0, 15},
        {60001.0, 15},
        {60000.0, 16},
        {1001.0, 16},
        {1000.0, 17},
        {1.5, 17},
        {1.0, 18},
        {0.0011, 18},
        {0.001, 19},
        {2e-6, 19},
        {kInf, 14},
        // Nothing fits: milliseconds are stored and the time type 6 is returned.
        {5e-7, 6},
        {1e-6, 6},
        {0.0, 6},
        {-5.0, 6},
        {kNaN, 6},
        {-kInf, 6},
    };
    for (const auto &c : times) {
        for (int current = 14; current <= 19; ++current) {
            int stored = -99;
            EXPECT_EQ(Calc_Auto_Units(c.ms, &stored, current), c.unit) << c.ms << " " << current;
            EXPECT_EQ(stored, c.unit == 6 ? 17 : c.unit) << c.ms << " " << current;
        }
    }
    // A null unit pointer only skips the store.
    EXPECT_EQ(Calc_Auto_Units(500.0, nullptr, 2), 3);
    EXPECT_EQ(Calc_Auto_Units(1e-9, nullptr, 16), 6);
}

TEST(UnitTimeCalibration, ScalesAboveNineHundredMilliseconds) {
    const struct {
        double in, out;
        const wchar_t *text;
    } cases[] = {{900.0, 900.0, L"ms"}, {900.5, 0.9005, L"s"}, {kNaN, kNaN, L"ms"}};
    for (const auto &c : cases) {
        CKrStringW text(L"unchanged");
        double v = c.in;
        EXPECT_EQ(FormatTimeCalibration(&v, &text), 0);
        expectNear(v, c.out);
        EXPECT_EQ(std::wstring(text.GetString()), c.text);
    }
    // Either pointer null: nothing is touched.
    CKrStringW text(L"keep");
    double v = 5000.0;
    EXPECT_EQ(FormatTimeCalibration(&v, nullptr), 0);
    EXPECT_EQ(FormatTimeCalibration(nullptr, &text), 0);
    EXPECT_EQ(v, 5000.0);
    EXPECT_EQ(std::wstring(text.GetString()), L"keep");
}
