// Date-time calendar under arbitrary input, checked against the C++20 civil calendar.
//
// The first byte picks a local zone (two without daylight saving, two with) and a value class
// (years -4000..9999, the seam 1968..2039, near 1970 and near the end of the runtime range, or
// any 64-bit value).  For values the civil calendar can express:
//   * outside the runtime range the own calendar breaks the value down exactly like
//     std::chrono (local standard time), weekday and day of year included;
//   * in a fixed zone other than the local one both paths agree with std::chrono;
//   * composing the broken-down fields again gives the value back wherever that is exact (own
//     path both ways, a zone without daylight saving, or outside a repeated local hour); for
//     any other 64-bit value wherever the own path is used both ways.
// Everything else (calendar spans, navigation, zones, formatting) has to survive any input.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "strings/CKrStringW.h"
#include "time/KrDateTime.h"
#include "time/internal/TimeCalendar.h"

namespace {

using DT = CKrDateTime;
using orvik::detail::isInStdRange;
using orvik::detail::kMsPerDay;
using orvik::detail::kStdRangeEnd;

template <class T>
T take(const uint8_t *&data, size_t &size) {
    T v{};
    const size_t n = size < sizeof(T) ? size : sizeof(T);
    std::memcpy(&v, data, n);
    data += n;
    size -= n;
    return v;
}

struct Zone {
    const char *name;
    bool daylightSaving;
};
constexpr Zone kZones[] = {
    {"UTC", false}, {"Asia/Kolkata", false}, {"America/New_York", true}, {"Europe/Prague", true}};

void useZone(unsigned index) {
    static int current = -1;
    if (current == static_cast<int>(index)) return;
    setenv("TZ", kZones[index].name, 1);
    tzset();
    current = static_cast<int>(index);
}

// Milliseconds of a civil date (1-based month) at local midnight in UTC.
long long civilMs(int y, unsigned m, unsigned d) {
    using namespace std::chrono;
    return sys_days(year{y} / month{m} / day{d}).time_since_epoch().count() * kMsPerDay;
}

// Maps raw bits into [lo, hi].
long long into(long long raw, long long lo, long long hi) {
    const unsigned long long span = static_cast<unsigned long long>(hi - lo) + 1;
    return lo + static_cast<long long>(static_cast<unsigned long long>(raw) % span);
}

// The broken-down fields of `ms` in the zone `offsetSeconds` east of UTC, by std::chrono.
bool sameAsCivil(const DT::Tm &tm, long long ms, long long offsetSeconds) {
    using namespace std::chrono;
    const long long local = ms + offsetSeconds * 1000;
    const long long dayCount = local / kMsPerDay - (local % kMsPerDay < 0 ? 1 : 0);
    const long long tod = local - dayCount * kMsPerDay;
    const sys_days sd{days{dayCount}};
    const year_month_day ymd{sd};
    const long long yday = (sd - sys_days{ymd.year() / January / 1}).count();
    return tm.year == static_cast<int>(ymd.year()) &&
           static_cast<unsigned>(tm.mon) + 1 == static_cast<unsigned>(ymd.month()) &&
           tm.mday == static_cast<unsigned>(ymd.day()) && tm.hour == tod / 3600000 &&
           tm.min == tod / 60000 % 60 && tm.sec == tod / 1000 % 60 && tm.msec == tod % 1000 &&
           static_cast<unsigned>(tm.GetWeekDay()) == weekday{sd}.c_encoding() && tm.yday == yday;
}

void checkAgainstCivil(long long v, const Zone &zone) {
    const long long stdOffset = DT::TimeZone(DT::Local).GetOffset();
    const DT dt = DT().SetValue(v);
    const DT::Tm tm = dt.GetTm();
    if (!isInStdRange(v) && !sameAsCivil(tm, v, stdOffset)) __builtin_trap();
    // A fixed zone other than the local standard one (which would mean local time).
    const DT::TimeZone fixed(stdOffset == -18000 ? DT::UTC_P9_30 : DT::UTC_M5);
    if (!sameAsCivil(dt.GetTm(fixed), v, fixed.GetOffset())) __builtin_trap();

    const bool ownYear = tm.year < 1970 || tm.year > 2037;
    bool exact = !isInStdRange(v) && ownYear;
    if (!zone.daylightSaving)
        exact = isInStdRange(v) || ownYear || stdOffset <= 0;
    else if (isInStdRange(v) && tm.year <= 2037)  // outside a repeated hour
        exact = DT().SetValue(v - 3600000).GetHour() != tm.hour &&
                DT().SetValue(v + 3600000).GetHour() != tm.hour;
    if (exact && DT(tm).GetValue() != v) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const uint8_t choice = take<uint8_t>(data, size);
    const Zone &zone = kZones[choice & 3];
    useZone(choice & 3);

    const long long raw = take<long long>(data, size);
    long long value = raw;
    bool civil = true;
    switch ((choice >> 2) & 7) {
        case 0:
        case 1:
            value = into(raw, civilMs(1968, 1, 1), civilMs(2040, 1, 1));
            break;
        case 2:
            value = into(raw, -3 * kMsPerDay, 3 * kMsPerDay);
            break;
        case 3:
            value = into(raw, kStdRangeEnd - 3 * kMsPerDay, kStdRangeEnd + 3 * kMsPerDay);
            break;
        case 4:
            civil = false;
            break;  // any 64-bit value: only has to survive
        default:
            value = into(raw, civilMs(-4000, 1, 1), civilMs(10000, 1, 1) - 1);
            break;
    }
    if (civil) {
        checkAgainstCivil(value, zone);
    } else {
        // Beyond the civil calendar's years the own path must still compose back exactly.
        const DT::Tm tm = DT().SetValue(value).GetTm();
        if (value != orvik::detail::kInvalidDateTime && !isInStdRange(value) && tm.IsValid() &&
            (tm.year < 1970 || tm.year > 2037) && DT(tm).GetValue() != value)
            __builtin_trap();
    }

    const int a = take<int>(data, size), b = take<int>(data, size);
    const unsigned short f = take<unsigned short>(data, size);
    DT dt = DT().SetValue(value);
    dt.GetWeekOfYear(static_cast<DT::WeekFlags>(a & 3));
    dt.GetWeekOfMonth();
    dt.GetDayOfYear(DT::TimeZone(static_cast<DT::TZ>(b % 40)));
    dt.IsDST();
    DT moved = dt;
    moved.Add(CKrDateSpan(a, b, a >> 8, b >> 8));
    moved.Add(CKrTimeSpan(static_cast<long long>(a) * b));
    moved.SetToWeekDay(static_cast<DT::WeekDay>(f % 9), a, static_cast<DT::Month>(b % 14), a >> 4);
    moved.SetToYearDay(f);
    moved.SetToTheWeek(f, static_cast<DT::WeekDay>(a % 8));
    moved.SetMillisecond(f);
    moved.MakeTimezone(DT::TimeZone(static_cast<DT::TZ>(a % 30)), b & 1);
    DT composed(static_cast<unsigned short>(f % 40), static_cast<DT::Month>(a % 14), b,
                static_cast<unsigned short>(f % 30), static_cast<unsigned short>(a & 63),
                static_cast<unsigned short>(b & 63), static_cast<unsigned short>(f % 1100));
    composed.IsSameDate(moved);
    composed.IsEqualUpTo(dt, CKrTimeSpan(static_cast<long long>(value)));
    DT(static_cast<double>(value) / 1000.0 + a).GetTm();
    CKrTimeSpan(value).Format(L"%D %E %H %M %S %l %% %Q");
    return 0;
}
