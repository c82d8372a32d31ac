// Unit lookup and conversion on arbitrary input: IDs, numbers and UTF-16 text.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "units/KrUnits.h"

namespace {

void check(bool ok) {
    if (!ok) abort();
}

bool validUnit(int id) { return id >= 0 && id <= 30; }

size_t textLength(const wchar_t *p) {
    check(p != nullptr);
    return wcslen(p);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    int32_t a = 0, b = 0;
    double v = 0, cal = 0;
    if (size < 24) return 0;
    std::memcpy(&a, data, 4);
    std::memcpy(&b, data + 4, 4);
    std::memcpy(&v, data + 8, 8);
    std::memcpy(&cal, data + 16, 8);
    std::wstring text;
    for (size_t i = 24; i + 1 < size; i += 2) {
        const wchar_t unit = static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
        if (unit != 0) text.push_back(unit);
    }

    // Lookups always land inside the tables, and names resolve back to their unit.
    const int id = Get_Unit_ID(text.c_str());
    check(validUnit(id));
    check(Get_Unit_ID(Get_Unit_Name(id)) == id);
    check(textLength(Get_Unit_Name(a)) <= 31 && textLength(Get_Unit_ShortName(a)) <= 31 &&
          textLength(Get_Unit_LongName(a)) <= 31);
    check(textLength(Get_UnitType_Name(a)) <= 31);
    check(textLength(Get_UnitType_LongName(a, b)) <= 32);
    check(textLength(Get_UnitType_ShortName(a, b)) <= 32);

    const int typed = Get_UnitType_ID(a, text.c_str());
    if (a == 11)
        check(typed == 10 || (validUnit(typed / 100 - 1) && validUnit(typed % 100)));
    else
        check(validUnit(typed));

    // Automatic choice gives a length, a time unit or the time type.
    int stored = -1;
    const int chosen = Calc_Auto_Units(v, &stored, b);
    check(chosen == stored ? (chosen >= 0 && chosen <= 9) || (chosen >= 14 && chosen <= 19)
                           : (chosen == 6 && stored == 17));

    // Pixels -> unit -> pixels keeps the value for every length, area and volume unit.  With a
    // positive calibration the value in the unit is the pixel value times (calibration / size of
    // the unit)^dimension, and the calibrated unit-to-unit conversion gives the same both ways.
    const double av = std::fabs(v), ac = std::fabs(cal);
    if (av > 1e-100 && av < 1e100 && ac > 1e-30 && ac < 1e30) {
        const int type = 1 + static_cast<int>(static_cast<uint32_t>(a) % 3);
        const int unit = static_cast<int>(static_cast<uint32_t>(b) % 10);
        const double inUnit = Convert_Pixels_To_Unit(v, type, unit, cal);
        const double back = Convert_Unit_To_Pixels(inUnit, type, unit, cal);
        check(std::fabs(back - v) <= av * 1e-9);
        if (cal > 0) {
            const double want = unit == 0 ? v : v * std::pow(cal / HowManyMicronsAmI(unit), type);
            check(std::fabs(inUnit - want) <= std::fabs(want) * 1e-12);
            check(Convert_Unit_To_Unit_Cal(v, type, 0, unit, cal) == inUnit);
            check(std::fabs(Convert_Unit_To_Unit_Cal(inUnit, type, unit, 0, cal) - v) <= av * 1e-9);
        }
    }
    return 0;
}
