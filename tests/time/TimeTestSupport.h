// Helpers for the date-time tests: a fixed time zone per test, expected values computed with
// the C++20 civil calendar (independent of the code under test), and short ways to build and
// show a date-time.
#ifndef ORVIK_TESTS_TIME_TIMETESTSUPPORT_H
#define ORVIK_TESTS_TIME_TIMETESTSUPPORT_H

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "time/KrDateTime.h"

// Sets TZ for the life of the object (and the country cache back to "detect").
class ZoneScope {
public:
    explicit ZoneScope(const char *zone) {
        if (const char *old = std::getenv("TZ")) old_ = old;
        set(zone);
    }
    ~ZoneScope() { set(old_ ? old_->c_str() : nullptr); }
    ZoneScope(const ZoneScope &) = delete;
    ZoneScope &operator=(const ZoneScope &) = delete;

private:
    static void set(const char *zone) {
        if (zone)
            setenv("TZ", zone, 1);
        else
            unsetenv("TZ");
        tzset();
        CKrDateTime::SetCountry(CKrDateTime::Country_Unknown);
    }
    std::optional<std::string> old_;
};

// Milliseconds of a civil date-time given in a zone `offsetSeconds` east of UTC.
inline long long civilMs(int y, int m, int d, int h = 0, int mi = 0, int s = 0, int ms = 0,
                         long long offsetSeconds = 0) {
    using namespace std::chrono;
    const long long days =
        sys_days(year{y} / month{static_cast<unsigned>(m)} / day{static_cast<unsigned>(d)})
            .time_since_epoch()
            .count();
    return (((days * 24 + h) * 60 + mi) * 60 + s - offsetSeconds) * 1000 + ms;
}

inline CKrDateTime at(long long ms) { return CKrDateTime().SetValue(ms); }

// Fields composed (with a 1-based month) over the value `start`, which a refusal keeps.
inline CKrDateTime compose(int d, int m, int y, int h = 0, int mi = 0, int s = 0, int ms = 0,
                           long long start = 42) {
    using US = unsigned short;
    CKrDateTime dt = at(start);
    dt.Set(static_cast<US>(d), static_cast<CKrDateTime::Month>(m - 1), y, static_cast<US>(h),
           static_cast<US>(mi), static_cast<US>(s), static_cast<US>(ms));
    return dt;
}

// "y-mm-dd hh:mm:ss.mmm" of broken-down fields, to compare them all in one expectation.
inline std::string show(const CKrDateTime::Tm &t) {
    char buf[128];
    std::snprintf(buf, sizeof buf, "%d-%02d-%02d %02d:%02d:%02d.%03d", static_cast<int>(t.year),
                  static_cast<int>(t.mon) + 1, t.mday, t.hour, t.min, t.sec, t.msec);
    return buf;
}

#endif
