// The Windows runtime's 64-bit time functions (_time64, _localtime64, _gmtime64, _mktime64,
// _timezone) and GetLocalTime on glibc.  glibc extrapolates over the whole 64-bit range; the
// Windows functions refuse anything before the epoch or after the year 3000, and callers in
// this library choose their own calendar path from exactly those refusals.
#include <atomic>
#include <cerrno>
#include <ctime>

#include "platform/KrPlatform.h"

namespace {

bool inWindowsRange(kr_int64 t) { return t >= 0 && t <= KR_MAX_TIME64; }

// The zone is read once per process; later changes of TZ need the process's own tzset().  A
// race only calls tzset() twice.  (A plain atomic flag: this sits on every conversion.)
std::atomic<bool> g_tzInitialised{false};
inline void tzsetOnce() {
    if (!g_tzInitialised.load(std::memory_order_acquire)) {
        tzset();
        g_tzInitialised.store(true, std::memory_order_release);
    }
}

}  // namespace

extern "C" {

kr_int64 KR_time64(kr_int64 *out) {
    kr_int64 now = static_cast<kr_int64>(std::time(nullptr));
    if (out) *out = now;
    return now;
}

struct tm *KR_localtime64(const kr_int64 *t, struct tm *out) {
    if (!t || !out || !inWindowsRange(*t)) return nullptr;
    tzsetOnce();
    time_t tt = static_cast<time_t>(*t);
    // Cannot fail inside the range checked above, so out is never left half written.
    return localtime_r(&tt, out);
}

struct tm *KR_gmtime64(const kr_int64 *t, struct tm *out) {
    if (!t || !out || !inWindowsRange(*t)) return nullptr;
    time_t tt = static_cast<time_t>(*t);
    return gmtime_r(&tt, out);
}

kr_int64 KR_mktime64(struct tm *tm) {
    if (!tm) return -1;
    struct tm copy = *tm;
    errno = 0;
    time_t r = mktime(&copy);  // glibc re-reads TZ here, as the Windows function does
    // glibc answers -1 both for failure and for 1969-12-31 23:59:59 UTC; either is out of
    // the Windows range.
    if (!inWindowsRange(static_cast<kr_int64>(r))) return -1;
    *tm = copy;
    return static_cast<kr_int64>(r);
}

long KR_timezone(void) {
    tzsetOnce();
    return timezone;
}

const long *KR_timezoneAddress(void) {
    tzsetOnce();
    return &timezone;
}

void KR_GetLocalTime(KrSystemTime *out) {
    if (!out) return;
    struct timespec ts;
    clock_gettime(CLOCK_REALTIME, &ts);
    time_t tt = ts.tv_sec;
    struct tm lt;
    tzsetOnce();
    if (!localtime_r(&tt, &lt)) {
        *out = KrSystemTime{1970, 1, 4, 1, 0, 0, 0, 0};
        return;
    }
    out->wYear = static_cast<unsigned short>(lt.tm_year + 1900);
    out->wMonth = static_cast<unsigned short>(lt.tm_mon + 1);
    out->wDayOfWeek = static_cast<unsigned short>(lt.tm_wday);
    out->wDay = static_cast<unsigned short>(lt.tm_mday);
    out->wHour = static_cast<unsigned short>(lt.tm_hour);
    out->wMinute = static_cast<unsigned short>(lt.tm_min);
    out->wSecond = static_cast<unsigned short>(lt.tm_sec);
    out->wMilliseconds = static_cast<unsigned short>(ts.tv_nsec / 1000000);
}

}  // extern "C"
