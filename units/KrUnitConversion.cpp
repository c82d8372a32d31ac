// Unit factors, conversion between units and between pixels and calibrated units, automatic
// unit choice and the time calibration text.
#include <cmath>
#include <iterator>
#include <limits>

#include "strings/CKrStringW.h"
#include "units/KrUnits.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr int kPixels = 0;
constexpr int kMicrometers = 2;
constexpr int kMilliseconds = 17;
constexpr int kTimeType = 6;
constexpr int kTemperatureType = 8;
constexpr int kVelocityType = 11;

// Seconds per time unit, as used by the time type and by the time part of velocities.
double secondsPerUnit(int unit) {
    switch (unit) {
        case 14: return 3600.0;
        case 15: return 60.0;
        case 17: return 0.001;
        case 18: return 1e-6;
        case 19: return 1e-9;
        default: return 1.0;
    }
}

// Calibration factor for the pixel conversions: micrometers per pixel, squared for areas and
// cubed for volumes.
double pixelFactor(int type, double calibration) {
    if (type == 2) return calibration * calibration;
    if (type == 3) return calibration * calibration * calibration;
    return calibration;
}

double convertTemperature(double value, int from, int to) {
    // The kelvin signs are inverted relative to physics; stored values depend on them.
    double t = value;
    if (from == 23)
        t = value + 273.15;
    else if (from == 24)
        t = (value - 32.0) * 5.0 / 9.0;
    if (to == 23) return t - 273.15;
    if (to == 24) return t * 9.0 / 5.0 + 32.0;
    return t;
}

double convertVelocity(double value, int from, int to) {
    const int lengthFrom = from / 100, timeFrom = from % 100;
    const int lengthTo = to / 100, timeTo = to % 100;
    // Composite length part 1 is pixels (unit 0): it has no micrometer factor.
    const double micronsFrom = lengthFrom == 1 ? kNaN : HowManyMicronsAmI(lengthFrom - 1);
    const double micronsTo = lengthTo == 1 ? kNaN : HowManyMicronsAmI(lengthTo - 1);
    const double secondsFrom = secondsPerUnit(timeFrom);
    const double secondsTo = secondsPerUnit(timeTo);
    if (!std::isnan(micronsFrom) && !std::isnan(micronsTo))
        return (micronsFrom / secondsFrom) * value / (micronsTo / secondsTo);
    return value / secondsFrom * secondsTo;
}

struct Candidate {
    int unit;
    int exponent;  // decimal exponent of the unit's size in micrometers
};

constexpr Candidate kMetric[] = {{1, -3}, {2, 0}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 9}};
constexpr Candidate kImperial[] = {{8, 1}, {9, 4}};

}  // namespace

extern "C" {

double HowManyMicronsAmI(int unit) {
    switch (unit) {
        case 1: return 0.001;
        case 3: return 1000.0;
        case 4: return 10000.0;
        case 5: return 100000.0;
        case 6: return 1e6;
        case 7: return 1e9;
        case 8: return 25.4;
        case 9: return 25400.0;
        default: return 1.0;
    }
}

double HowManyMillisecondsAmI(int unit) {
    switch (unit) {
        case 14: return 3.6e6;
        case 15: return 60000.0;
        case 16: return 1000.0;
        case 18: return 0.001;
        case 19: return 1e-6;
        default: return 1.0;
    }
}

double Get_Unit_MulFactor(int type, int unit) {
    switch (type) {
        case 1:
            return unit == kPixels ? kNaN : HowManyMicronsAmI(unit);
        case 2: {
            const double f = Get_Unit_MulFactor(1, unit);
            return f * f;
        }
        case 3: {
            const double f = Get_Unit_MulFactor(1, unit);
            return f * f * f;
        }
        case 4:
            if (unit == 11) return 0.017453292519943334;
            if (unit == 13) return 0.015707963267949;
            return 1.0;
        case 6:
            return secondsPerUnit(unit);
        case 7:
            return unit == 20 ? 1.0 : 0.01;
        case 10:
            switch (unit) {
                case 26: return 1000.0;
                case 27: return 1e6;
                case 28: return 1e9;
                default: return 1.0;
            }
        case kVelocityType:
            return Get_Unit_MulFactor(1, unit / 100 - 1) / Get_Unit_MulFactor(kTimeType, unit % 100);
        default:  // 0, 5, 8, 9, 12 and every type outside the table
            return 1.0;
    }
}

double Convert_Unit_To_Unit(double value, int type, int from, int to) {
    if (from == to) return value;
    if (type == kTemperatureType) return convertTemperature(value, from, to);
    if (type == kVelocityType) return convertVelocity(value, from, to);
    const double fFrom = Get_Unit_MulFactor(type, from);
    const double fTo = Get_Unit_MulFactor(type, to);
    if (std::isnan(fFrom) || std::isnan(fTo)) return value;
    return fFrom * value / fTo;
}

double Convert_Pixels_To_Unit(double value, int type, int unit, double calibration) {
    if (unit == kPixels) return value;
    return Convert_Unit_To_Unit(value * pixelFactor(type, calibration), type, kMicrometers, unit);
}

double Convert_Unit_To_Pixels(double value, int type, int unit, double calibration) {
    if (unit == kPixels) return value;
    if (calibration == 0.0) calibration = 1.0;
    return Convert_Unit_To_Unit(value, type, unit, kMicrometers) / pixelFactor(type, calibration);
}

double Convert_Unit_To_Unit_Cal(double value, int type, int from, int to, double calibration) {
    if (from != kPixels && to != kPixels) return Convert_Unit_To_Unit(value, type, from, to);
    if (from == kPixels && to != kPixels)
        return Convert_Pixels_To_Unit(value, type, to, calibration);
    if (from != kPixels && to == kPixels)
        return Convert_Unit_To_Pixels(value, type, from, calibration);
    return value;
}

int Calc_Auto_Units(double value, int *unit, int current) {
    int chosen = 0;
    if (current >= 14 && current <= 19) {
        // The value is in milliseconds; the first unit in which it exceeds one wins.
        static constexpr struct { double divisor; int unit; } kTimes[] = {
            {3600000.0, 14}, {60000.0, 15}, {1000.0, 16}, {1.0, 17}, {0.001, 18}, {1e-6, 19}};
        for (const auto &t : kTimes) {
            if (value / t.divisor > 1.0) {
                if (unit) *unit = t.unit;
                return t.unit;
            }
        }
        // Nothing fits: milliseconds are stored but the time type is returned; existing callers
        // depend on this pair of results, so it is kept.
        if (unit) *unit = kMilliseconds;
        return kTimeType;
    }

    const bool imperial = current == 8 || current == 9 || current == 24;
    const Candidate *first = imperial ? std::begin(kImperial) : std::begin(kMetric);
    const Candidate *last = imperial ? std::end(kImperial) : std::end(kMetric);
    // log10 of zero is -inf and of a negative or NaN value NaN: no candidate is then nearer
    // than the starting difference and 0 is chosen.
    const double e = std::floor(std::log10(imperial ? value * 25.4 : value));
    double best = 1e7;
    for (const Candidate *c = first; c != last; ++c) {
        const double d = std::fabs(static_cast<double>(c->exponent) - e);
        if (d < best) {
            best = d;
            chosen = c->unit;
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
