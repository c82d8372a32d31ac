// Helpers for the date-time tests: a fixed time zone per test and expected values computed with
// the C++20 civil calendar (independent of the code under test).
#ifndef ORVIK_TESTS_TIME_TIMETESTSUPPORT_H
#define ORVIK_TESTS_TIME_TIMETESTSUPPORT_H

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>

#include "time/KrDateTime.h"

// Sets TZ for the life of the object (and the country cache back to "detect").
class ZoneScope {
public:
    explicit ZoneScope(const char *zone) {
        const char *old = std::getenv("TZ");
        hadOld_ = old != nullptr;
        if (old) old_ = old;
        setenv("TZ", zone, 1);
        tzset();
        CKrDateTime::SetCountry(CKrDateTime::Country_Unknown);
    }
    ~ZoneScope() {
        if (hadOld_) setenv("TZ", old_.c_str(), 1);
        else unsetenv("TZ");
        tzset();
        CKrDateTime::SetCountry(CKrDateTime::Country_Unknown);
    }
    ZoneScope(const ZoneScope &) = delete;
    ZoneScope &operator=(const ZoneScope &) = delete;

private:
    bool hadOld_ = false;
    std::string old_;
};

// Milliseconds of a civil date-time given in a zone `offsetSeconds` east of UTC.
inline long long civilMs(int y, unsigned m, unsigned d, int h = 0, int mi = 0, int s = 0,
                         int ms = 0, long long offsetSeconds = 0) {
    using namespace std::chrono;
    const long long days = sys_days(year{y} / month{m} / day{d}).time_since_epoch().count();
    return (((days * 24 + h) * 60 + mi) * 60 + s - offsetSeconds) * 1000 + ms;
}

#endif
