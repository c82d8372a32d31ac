// Converts a length, an area and a time measured on an image into calibrated units, letting the
// library choose a readable unit for each.
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/KrPlatform.h"
#include "strings/CKrStringW.h"
#include "units/KrUnits.h"

namespace {

std::string utf8(const wchar_t *text) {
    char buffer[128];
    return KR_WChar2Char(text, -1, buffer, sizeof buffer, true) > 0 ? buffer : "?";
}

void show(const char *what, double pixels, int type, double calibration) {
    // Pick the unit from the value in micrometers (the base of lengths); areas and volumes are
    // chosen by their side length.
    const double side = type == 2 ? std::sqrt(pixels) : type == 3 ? std::cbrt(pixels) : pixels;
    const double microns = Convert_Pixels_To_Unit(side, 1, 2, calibration);
    int unit = 0;
    Calc_Auto_Units(microns, &unit, 2);
    const double value = Convert_Pixels_To_Unit(pixels, type, unit, calibration);
    std::printf("%-8s %12.1f px  = %10.6g %s (%s)\n", what, pixels, value,
                utf8(Get_UnitType_ShortName(type, unit)).c_str(),
                utf8(Get_UnitType_LongName(type, unit)).c_str());
    const double back = Convert_Unit_To_Pixels(value, type, unit, calibration);
    std::printf("%-8s back to %.1f px\n", "", back);
}

}  // namespace

int main() {
    const double calibration = 0.645;  // micrometers per pixel (a 10x objective)
    std::printf("calibration: %.3f %s/px\n", calibration, utf8(Get_Unit_ShortName(2)).c_str());
    show("length", 1840.0, 1, calibration);
    show("length", 3.0e6, 1, calibration);
    show("area", 52000.0, 2, calibration);

    // A frame interval in milliseconds, shown in the unit that suits it.
    const double intervalMs = 125000.0;
    int timeUnit = 0;
    Calc_Auto_Units(intervalMs, &timeUnit, 17);
    std::printf("interval %.0f ms = %.3f %s\n", intervalMs,
                Convert_Unit_To_Unit(intervalMs, 6, 17, timeUnit),
                utf8(Get_Unit_LongName(timeUnit)).c_str());

    double exposure = 1500.0;
    CKrStringW unitText;
    FormatTimeCalibration(&exposure, &unitText);
    std::printf("exposure: %.2f %s\n", exposure, utf8(unitText.GetString()).c_str());

    std::printf("unit for \"mm/s\": %d (%s)\n", Get_UnitType_ID(11, L"mm/s"),
                utf8(Get_UnitType_LongName(11, Get_UnitType_ID(11, L"mm/s"))).c_str());
    return 0;
}
