// Unit factors, conversion between units and between pixels and calibrated units, automatic
// unit choice and the time calibration text.  Every factor is a lookup in the unit table.
#include <cmath>

#include "strings/CKrStringW.h"
#include "units/KrUnits.h"
#include "units/internal/UnitTable.h"

using namespace orvik::detail;

namespace {

// Calibration factor for the pixel conversions: micrometers per pixel, squared for areas and
// cubed for volumes.
double pixelFactor(int type, double calibration) {
    if (type == kTypeArea) return calibration * calibration;
    if (type == kTypeVolume) return calibration * calibration * calibration;
    return calibration;
}

double convertTemperature(double value, int from, int to) {
    // The kelvin signs are inverted relative to physics; stored values depend on them.
    double t = value;
    if (from == kUnitKelvins)
        t = value + 273.15;
    else if (from == kUnitFahrenheit)
        t = (value - 32.0) * 5.0 / 9.0;
    if (to == kUnitKelvins) return t - 273.15;
    if (to == kUnitFahrenheit) return t * 9.0 / 5.0 + 32.0;
    return t;
}

double convertVelocity(double value, int from, int to) {
    // A length part of pixels has no micrometer factor (NaN); the time parts always have one.
    const double micronsFrom = Get_Unit_MulFactor(kTypeLength, velocityLength(from));
    const double micronsTo = Get_Unit_MulFactor(kTypeLength, velocityLength(to));
    const double secondsFrom = factorWithin(kTypeTime, velocityTime(from));
    const double secondsTo = factorWithin(kTypeTime, velocityTime(to));
    if (!std::isnan(micronsFrom) && !std::isnan(micronsTo))
        return (micronsFrom / secondsFrom) * value / (micronsTo / secondsTo);
    return value / secondsFrom * secondsTo;
}

}  // namespace

extern "C" {

double HowManyMicronsAmI(int unit) {
    // Pixels count as one micrometer here (Get_Unit_MulFactor gives NaN for them).
    return unit == kUnitPixels ? 1.0 : factorWithin(kTypeLength, unit);
}

double HowManyMillisecondsAmI(int unit) {
    // Seconds per unit over seconds per millisecond: exact for every time unit of the table.
    if (unitRow(unit).type != kTypeTime) return 1.0;
    return unitRow(unit).factor / kUnitRows[kUnitMilliseconds].factor;
}

double Get_Unit_MulFactor(int type, int unit) {
    switch (type) {
        case kTypeArea: {
            const double f = factorWithin(kTypeLength, unit);
            return f * f;
        }
        case kTypeVolume: {
            const double f = factorWithin(kTypeLength, unit);
            return f * f * f;
        }
        case kTypeRatio:
            // Any unit other than "val" is taken as percent, whatever its own type: kept, since
            // stored ratios were converted that way.
            return unit == kUnitValue ? 1.0 : kUnitRows[kUnitPercents].factor;
        case kTypeVelocity:
            return factorWithin(kTypeLength, velocityLength(unit)) /
                   factorWithin(kTypeTime, velocityTime(unit));
        default:
            // A unit of another type, and every type without units of its own (wavelength,
            // custom, pressure, any ID outside the table), counts as 1.
            return factorWithin(static_cast<UnitTypeId>(type), unit);
    }
}

double Convert_Unit_To_Unit(double value, int type, int from, int to) {
    if (from == to) return value;
    if (type == kTypeTemperature) return convertTemperature(value, from, to);
    if (type == kTypeVelocity) return convertVelocity(value, from, to);
    const double fFrom = Get_Unit_MulFactor(type, from);
    const double fTo = Get_Unit_MulFactor(type, to);
    if (std::isnan(fFrom) || std::isnan(fTo)) return value;
    return fFrom * value / fTo;
}

double Convert_Pixels_To_Unit(double value, int type, int unit, double calibration) {
    if (unit == kUnitPixels) return value;
    return Convert_Unit_To_Unit(value * pixelFactor(type, calibration), type, kUnitMicrometers,
                                unit);
}

double Convert_Unit_To_Pixels(double value, int type, int unit, double calibration) {
    if (unit == kUnitPixels) return value;
    // Only this direction guards against a zero calibration; callers rely on the asymmetry.
    if (calibration == 0.0) calibration = 1.0;
    return Convert_Unit_To_Unit(value, type, unit, kUnitMicrometers) /
           pixelFactor(type, calibration);
}

double Convert_Unit_To_Unit_Cal(double value, int type, int from, int to, double calibration) {
    if (from != kUnitPixels && to != kUnitPixels)
        return Convert_Unit_To_Unit(value, type, from, to);
    if (from == kUnitPixels && to != kUnitPixels)
        return Convert_Pixels_To_Unit(value, type, to, calibration);
    if (from != kUnitPixels && to == kUnitPixels)
        return Convert_Unit_To_Pixels(value, type, from, calibration);
    return value;
}

int Calc_Auto_Units(double value, int *unit, int current) {
    if (unitRow(current).type == kTypeTime) {
        // The value is in milliseconds; the first time unit (largest first) in which it exceeds
        // one wins.
        for (const UnitRow &row : kUnitRows) {
            if (row.type == kTypeTime && value / HowManyMillisecondsAmI(row.id) > 1.0) {
                if (unit) *unit = row.id;
                return row.id;
            }
        }
        // Nothing fits: milliseconds are stored but the time type is returned; existing callers
        // depend on this pair of results, so it is kept.
        if (unit) *unit = kUnitMilliseconds;
        return kTypeTime;
    }

    // The imperial group chooses among mils and inches, on the value taken as inches.
    const bool imperial = GetUnitGroup(current) == 1;
    const AutoScale scale = imperial ? AutoScale::Imperial : AutoScale::Metric;
    // log10 of zero is -inf and of a negative or NaN value NaN: no candidate is then nearer
    // than the starting difference and 0 is chosen.
    const double e = std::floor(std::log10(imperial ? value * kUnitRows[kUnitMils].factor : value));
    double best = 1e7;
    int chosen = kUnitPixels;
    for (const UnitRow &row : kUnitRows) {
        if (row.scale != scale) continue;
        const double d = std::fabs(static_cast<double>(row.exponent) - e);
        if (d < best) {  // strictly nearer: the earlier candidate wins a tie
            best = d;
            chosen = row.id;
        }
    }
    if (unit) *unit = chosen;
    return chosen;
}

int FormatTimeCalibration(double *value, CKrStringW *unitText) {
    if (value == nullptr || unitText == nullptr) return 0;
    if (*value > 900.0) {
        *value /= 1000.0;
        *unitText = L"s";
    } else {
        *unitText = L"ms";
    }
    return 0;
}

}  // extern "C"
