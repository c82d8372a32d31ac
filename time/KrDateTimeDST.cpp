// CKrDateTime: country detection and the small daylight-saving model used outside the
// standard range (inside it the runtime's zone rules decide).
#include <atomic>
#include <cstring>
#include <ctime>

#include "time/internal/TimeCalendar.h"

using namespace orvik::detail;

namespace {

// Process-wide cache; written without a lock because every writer stores the same detection
// result (a race only repeats the work).
std::atomic<int> g_country{CKrDateTime::Country_Unknown};

CKrDateTime::Country detectCountry() {
    kr_int64 now = KR_time64(nullptr);
    struct tm t;
    char zone[64] = {0};
    if (KR_localtime64(&now, &t)) std::strftime(zone, sizeof zone, "%Z", &t);
    auto is = [&](const char *name) { return std::strcmp(zone, name) == 0; };
    if (is("WET") || is("WEST")) return CKrDateTime::Country_UK;
    if (is("CET") || is("CEST")) return CKrDateTime::Country_EEC;
    if (is("MSK") || is("MSD")) return CKrDateTime::Country_Russia;
    // Everything else, the North-American abbreviations included.
    return CKrDateTime::Country_USA;
}

CKrDateTime::Country resolve(CKrDateTime::Country country) {
    return country == CKrDateTime::Country_Default ? CKrDateTime::GetCountry() : country;
}

bool isEuropeanRule(CKrDateTime::Country c) {
    return c >= CKrDateTime::Country_WesternEurope_First && c <= CKrDateTime::Country_Russia;
}

// `dt` at the given local midnight plus `hours`; a date that cannot be composed gives the
// invalid value (already reported by the composing Set).
CKrDateTime at(unsigned short day, CKrDateTime::Month month, int year, int hours = 0) {
    CKrDateTime dt;
    dt.SetValue(0);
    dt.Set(day, month, year);
    if (hours) dt.Add(CKrTimeSpan::Hours(hours));
    return dt;
}

// Local midnight of the n-th (n < 1: from the end) Sunday of a month plus `hours`, read as
// UTC when `fromUtc`.  No such Sunday reports `message` and gives the invalid value.
CKrDateTime sunday(int n, CKrDateTime::Month month, int year, int hours, bool fromUtc,
                   const wchar_t *message) {
    CKrDateTime dt;
    dt.SetValue(0);
    const bool found = dt.SetToWeekDay(CKrDateTime::Sun, n, month, year);
    if (!KR_DT_CHECK(found, message)) return CKrDateTime();
    dt.Add(CKrTimeSpan::Hours(hours));
    // noDST: the offset of the rule's own instant must not be asked of this model again.
    if (fromUtc) dt.MakeTimezone(CKrDateTime::TimeZone(CKrDateTime::UTC), true);
    return dt;
}

}  // namespace

CKrDateTime::Country CKrDateTime::GetCountry() {
    int c = g_country.load(std::memory_order_relaxed);
    if (c == Country_Unknown || c == Country_Default) {
        c = detectCountry();
        g_country.store(c, std::memory_order_relaxed);
    }
    return static_cast<Country>(c);
}

void CKrDateTime::SetCountry(Country country) {
    g_country.store(country == Country_Default ? Country_Unknown : country,
                    std::memory_order_relaxed);
}

bool CKrDateTime::IsWestEuropeanCountry(Country country) {
    const Country c = resolve(country);
    return c >= Country_WesternEurope_First && c <= Country_WesternEurope_Last;
}

bool CKrDateTime::IsDSTApplicable(int year, Country country) {
    if (year == Inv_Year) year = GetCurrentYear();
    const Country c = resolve(country);
    if (c == Country_UK || c == Country_USA) {
        if (year < 1918) return false;
        return year == 1918 || year == 1919 || (year >= 1942 && year <= 1945) || year >= 1966;
    }
    return year > 1950;
}

CKrDateTime CKrDateTime::GetBeginDST(int year, Country country) {
    if (year == Inv_Year) year = GetCurrentYear();
    if (!IsDSTApplicable(year, country)) return CKrDateTime();
    const Country c = resolve(country);
    if (isEuropeanRule(c)) return sunday(-1, Mar, year, 1, true, L"no last Sunday in March?");
    if (c == Country_USA) {
        switch (year) {
            case 1918:
            case 1919:
            case 1943:
            case 1944:
            case 1945:
                return at(1, Jan, year);
            case 1942:
                return at(2, Feb, year);
            case 1974:
                return at(6, Jan, year);
            case 1975:
                return at(23, Feb, year);
            default:
                break;
        }
        if (year >= 1986) return sunday(1, Apr, year, 2, false, L"no first Sunday in April?");
        return sunday(-1, Apr, year, 2, false, L"no last Sunday in April?");
    }
    return at(30, Mar, year);
}

CKrDateTime CKrDateTime::GetEndDST(int year, Country country) {
    if (year == Inv_Year) year = GetCurrentYear();
    if (!IsDSTApplicable(year, country)) return CKrDateTime();
    const Country c = resolve(country);
    if (isEuropeanRule(c)) return sunday(-1, Oct, year, 1, true, L"no last Sunday in October?");
    if (c == Country_USA) {
        switch (year) {
            case 1918:
            case 1919:
            case 1943:
            case 1944:
                return at(31, Dec, year);
            case 1945:
                return at(30, Sep, year);
            default:
                break;
        }
        return sunday(-1, Oct, year, 2, false, L"no last Sunday in October?");
    }
    return at(26, Oct, year);
}

int CKrDateTime::IsDST(Country country) const {
    if (!KR_DT_CHECK(country == Country_Default, L"country support not implemented")) return -1;
    if (!checkValid()) return -1;
    if (isInStdRange(m_value)) {
        kr_int64 t = m_value / TIME_T_FACTOR;
        struct tm rt;
        if (!KR_localtime64(&t, &rt)) return -1;
        return rt.tm_isdst > 0 ? 1 : (rt.tm_isdst == 0 ? 0 : -1);
    }
    const int year = GetYear();
    if (!IsDSTApplicable(year)) return -1;
    const CKrDateTime begin = GetBeginDST(year), end = GetEndDST(year);
    if (!begin.IsValid() || !end.IsValid()) return -1;
    return IsBetween(begin, end) ? 1 : 0;
}
