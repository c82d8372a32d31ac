// Date-time calendar under arbitrary input: any 64-bit value and any field values must neither
// crash nor overflow, and outside the standard range breaking a value down and composing it
// again must give the same value (the own calendar path is exact in a zone without daylight
// saving).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "strings/CKrStringW.h"
#include "time/KrDateTime.h"

namespace {

template <class T>
T take(const uint8_t *&data, size_t &size) {
    T v{};
    const size_t n = size < sizeof(T) ? size : sizeof(T);
    std::memcpy(&v, data, n);
    data += n;
    size -= n;
    return v;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool zoneSet = [] {
        setenv("TZ", "Asia/Kolkata", 1);
        tzset();
        return true;
    }();
    (void)zoneSet;
    using DT = CKrDateTime;

    const long long value = take<long long>(data, size);
    const int a = take<int>(data, size), b = take<int>(data, size);
    const unsigned short f = take<unsigned short>(data, size);

    DT dt = DT().SetValue(value);
    const DT::Tm tm = dt.GetTm();
    const bool ownPath = !(value >= 0 && value < 2147483647000LL);
    if (dt.IsValid() && ownPath && tm.IsValid() && (tm.year < 1970 || tm.year > 2037)) {
        DT back = DT().SetValue(0);
        back.Set(tm);
        if (back.GetValue() != value) __builtin_trap();
        // 1970-01-01 was a Thursday; the local day counts from there.
        const __int128 local = static_cast<__int128>(value) + 19800 * 1000;
        __int128 day = local / 86400000;
        if (local % 86400000 < 0) --day;
        const int weekday = static_cast<int>(((day + 4) % 7 + 7) % 7);
        if (tm.GetWeekDay() != weekday) __builtin_trap();
    }

    // Everything else only has to survive.
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
