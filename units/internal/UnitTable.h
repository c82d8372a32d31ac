// The unit and unit-type tables: one constexpr row per unit and per unit type.  Every name,
// type and factor query of units/ is a lookup here.  Private to units/; never exported.
#ifndef ORVIK_UNITS_INTERNAL_UNITTABLE_H
#define ORVIK_UNITS_INTERNAL_UNITTABLE_H

#include <limits>

namespace orvik::detail {

// Unit IDs as stored in settings; the numbers are part of the interface.
enum UnitId : int {
    kUnitPixels = 0,
    kUnitNanometers = 1,
    kUnitMicrometers = 2,
    kUnitMillimeters = 3,
    kUnitCentimeters = 4,
    kUnitDecimeters = 5,
    kUnitMeters = 6,
    kUnitKilometers = 7,
    kUnitMils = 8,
    kUnitInches = 9,
    kUnitUnknown = 10,
    kUnitDegrees = 11,
    kUnitRadians = 12,
    kUnitGrad = 13,
    kUnitHours = 14,
    kUnitMinutes = 15,
    kUnitSeconds = 16,
    kUnitMilliseconds = 17,
    kUnitMicroseconds = 18,
    kUnitNanoseconds = 19,
    kUnitValue = 20,
    kUnitPercents = 21,
    kUnitCelsius = 22,
    kUnitKelvins = 23,
    kUnitFahrenheit = 24,
    kUnitNanomoles = 25,
    kUnitMicromoles = 26,
    kUnitMillimoles = 27,
    kUnitMoles = 28,
    kUnitMillibars = 29,
    kUnitBars = 30,
    kUnitCount = 31,
};

// Unit type IDs; the numbers are part of the interface.
enum UnitTypeId : int {
    kTypeNone = 0,
    kTypeLength = 1,
    kTypeArea = 2,
    kTypeVolume = 3,
    kTypeAngle = 4,
    kTypeWavelength = 5,
    kTypeTime = 6,
    kTypeRatio = 7,
    kTypeTemperature = 8,
    kTypeCustom = 9,
    kTypeAmount = 10,
    kTypeVelocity = 11,
    kTypePressure = 12,
    kTypeCount = 13,
};

// Which candidate list of the automatic length choice a unit belongs to.
enum class AutoScale : unsigned char { None, Metric, Imperial };

// Every table text has at most 31 characters.
constexpr int kUnitTextSize = 32;

struct UnitRow {
    UnitId id;                    // equal to the row's index (checked below)
    wchar_t name[kUnitTextSize];  // lookup name
    wchar_t shortName[kUnitTextSize];
    wchar_t longName[kUnitTextSize];
    UnitTypeId type;
    double factor;  // to the type's base unit; NaN for pixels, 1 where a formula converts
    AutoScale scale;
    int exponent;  // with a scale: decimal exponent of the unit's size in micrometers
};

constexpr double kNoFactor = std::numeric_limits<double>::quiet_NaN();
constexpr AutoScale kNo = AutoScale::None, kMetric = AutoScale::Metric,
                    kImperial = AutoScale::Imperial;

// The minute's short name "m" equals the meter's, the pressure units report type 0 although a
// "Pressure" type exists, and grad's long name is "grad": stored settings rely on all three.
// Temperatures convert by formula (their factor is never a ratio).
inline constexpr UnitRow kUnitRows[kUnitCount] = {
    {kUnitPixels, L"pixels", L"px", L"Pixels", kTypeLength, kNoFactor, kNo, 0},
    {kUnitNanometers, L"nm", L"nm", L"Nanometers", kTypeLength, 0.001, kMetric, -3},
    {kUnitMicrometers, L"\u00b5m", L"\u00b5m", L"Micrometers", kTypeLength, 1.0, kMetric, 0},
    {kUnitMillimeters, L"mm", L"mm", L"Millimeters", kTypeLength, 1000.0, kMetric, 3},
    {kUnitCentimeters, L"cm", L"cm", L"Centimeters", kTypeLength, 10000.0, kMetric, 4},
    {kUnitDecimeters, L"dm", L"dm", L"Decimeters", kTypeLength, 100000.0, kMetric, 5},
    {kUnitMeters, L"m", L"m", L"Meters", kTypeLength, 1e6, kMetric, 6},
    {kUnitKilometers, L"km", L"km", L"Kilometers", kTypeLength, 1e9, kMetric, 9},
    {kUnitMils, L"mil", L"mil", L"Mils", kTypeLength, 25.4, kImperial, 1},
    {kUnitInches, L"inch", L"in", L"Inches", kTypeLength, 25400.0, kImperial, 4},
    {kUnitUnknown, L"unknown", L"??", L"Unknown", kTypeNone, 1.0, kNo, 0},
    {kUnitDegrees, L"deg", L"deg", L"Degrees", kTypeAngle, 0.017453292519943334, kNo, 0},
    {kUnitRadians, L"rad", L"rad", L"Radians", kTypeAngle, 1.0, kNo, 0},
    {kUnitGrad, L"grad", L"grad", L"grad", kTypeAngle, 0.015707963267949, kNo, 0},
    {kUnitHours, L"hour", L"h", L"Hours", kTypeTime, 3600.0, kNo, 0},
    {kUnitMinutes, L"min", L"m", L"Minutes", kTypeTime, 60.0, kNo, 0},
    {kUnitSeconds, L"s", L"s", L"Seconds", kTypeTime, 1.0, kNo, 0},
    {kUnitMilliseconds, L"ms", L"ms", L"Milliseconds", kTypeTime, 0.001, kNo, 0},
    {kUnitMicroseconds, L"\u00b5s", L"\u00b5s", L"Microseconds", kTypeTime, 1e-6, kNo, 0},
    {kUnitNanoseconds, L"ns", L"ns", L"Nanoseconds", kTypeTime, 1e-9, kNo, 0},
    {kUnitValue, L"val", L"", L"Value", kTypeRatio, 1.0, kNo, 0},
    {kUnitPercents, L"percent", L"%", L"Percents", kTypeRatio, 0.01, kNo, 0},
    {kUnitCelsius, L"celsius", L"\u00b0C", L"Degrees Celsius", kTypeTemperature, 1.0, kNo, 0},
    {kUnitKelvins, L"kelvin", L"K", L"Kelvins", kTypeTemperature, 1.0, kNo, 0},
    {kUnitFahrenheit, L"fahrenheit", L"\u00b0F", L"Degrees Fahrenheit", kTypeTemperature, 1.0, kNo,
     0},
    {kUnitNanomoles, L"nmol", L"nM", L"Nanomoles", kTypeAmount, 1.0, kNo, 0},
    {kUnitMicromoles, L"\u00b5mol", L"\u00b5M", L"Micromoles", kTypeAmount, 1000.0, kNo, 0},
    {kUnitMillimoles, L"mmol", L"mM", L"Millimoles", kTypeAmount, 1e6, kNo, 0},
    {kUnitMoles, L"mol", L"M", L"Moles", kTypeAmount, 1e9, kNo, 0},
    {kUnitMillibars, L"mBar", L"mBar", L"Millibars", kTypeNone, 1.0, kNo, 0},
    {kUnitBars, L"Bar", L"Bar", L"Bars", kTypeNone, 1.0, kNo, 0},
};

constexpr bool rowsInIdOrder() {
    for (int i = 0; i < kUnitCount; ++i)
        if (kUnitRows[i].id != i) return false;
    return true;
}
static_assert(rowsInIdOrder(), "a unit's row index is its ID");

// Row of a unit ID; IDs outside the table (negative ones included) read as "unknown".
constexpr const UnitRow &unitRow(int unit) {
    return static_cast<unsigned>(unit) < static_cast<unsigned>(kUnitCount)
               ? kUnitRows[unit]
               : kUnitRows[kUnitUnknown];
}

// A unit's factor within `type`; a unit of another type (or outside the table) counts as 1.
constexpr double factorWithin(UnitTypeId type, int unit) {
    const UnitRow &row = unitRow(unit);
    return row.type == type ? row.factor : 1.0;
}

struct UnitTypeRow {
    UnitTypeId id;
    wchar_t name[kUnitTextSize];
    int numUnits;
    int firstUnit;  // Get_UnitType_Unit(type, i) == firstUnit + i for i < numUnits
    int defaultUnit;
};

// Areas and volumes list the lengths, wavelengths the nanometers; velocities are composite IDs
// (length + 1) * 100 + time, 316 being micrometers per second.
inline constexpr UnitTypeRow kUnitTypeRows[kTypeCount] = {
    {kTypeNone, L"No unit", 0, kUnitUnknown, kUnitUnknown},
    {kTypeLength, L"Length", 10, kUnitPixels, kUnitMicrometers},
    {kTypeArea, L"Area", 10, kUnitPixels, kUnitMicrometers},
    {kTypeVolume, L"Volume", 10, kUnitPixels, kUnitMicrometers},
    {kTypeAngle, L"Angle", 3, kUnitDegrees, kUnitDegrees},
    {kTypeWavelength, L"Wavelength", 1, kUnitNanometers, kUnitNanometers},
    {kTypeTime, L"Time", 6, kUnitHours, kUnitSeconds},
    {kTypeRatio, L"Ratio", 2, kUnitValue, kUnitPercents},
    {kTypeTemperature, L"Temperature", 3, kUnitCelsius, kUnitCelsius},
    {kTypeCustom, L"Custom", 0, kUnitUnknown, kUnitUnknown},
    {kTypeAmount, L"Amount", 4, kUnitNanomoles, kUnitNanomoles},
    {kTypeVelocity, L"Velocity", 0, kUnitPixels, (kUnitMicrometers + 1) * 100 + kUnitSeconds},
    {kTypePressure, L"Pressure", 0, kUnitPixels, kUnitUnknown},
};

constexpr bool typeRowsInIdOrder() {
    for (int i = 0; i < kTypeCount; ++i)
        if (kUnitTypeRows[i].id != i) return false;
    return true;
}
static_assert(typeRowsInIdOrder(), "a unit type's row index is its ID");

constexpr bool isUnitType(int type) {
    return static_cast<unsigned>(type) < static_cast<unsigned>(kTypeCount);
}

// The parts of a composite velocity ID.
constexpr int velocityLength(int unit) { return unit / 100 - 1; }
constexpr int velocityTime(int unit) { return unit % 100; }

}  // namespace orvik::detail

#endif
