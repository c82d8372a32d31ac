// Date-time values: store one in a settings variant, read it back, move it by a calendar span
// and by a time span, and print week numbers.
#include <cstdio>

#include "time/KrDateTime.h"
#include "variant/CKrVariant.h"

namespace {

void print(const char *label, const CKrDateTime &dt) {
    const CKrDateTime::Tm tm = dt.GetTm();
    std::printf("%-28s %04d-%02d-%02d %02d:%02d:%02d.%03d (weekday %d, day %d of the year)\n",
                label, tm.year, tm.mon + 1, tm.mday, tm.hour, tm.min, tm.sec, tm.msec,
                static_cast<int>(dt.GetWeekDay()), dt.GetDayOfYear());
}

}  // namespace

int main() {
    // 31 January 2024, 18:30 local time.
    const CKrDateTime start(31, CKrDateTime::Jan, 2024, 18, 30);
    print("start", start);

    // Keep it in a settings tree as a node of run type "RKrDateTime".
    CKrVariant settings = CKrVariant::CreateStruct(CKrStringW(L"settings"), {});
    CKrVariant &stamp =
        settings.Append(CKrVariant(static_cast<kr_int64>(0), CKrStringW(L"lastRun")));
    if (start.SaveToVariant(stamp) != 0) return 1;
    CKrStringW xml;
    settings.Write(xml);
    std::printf("settings as XML: %s\n", CKrStringA(xml.GetString()).GetString());

    CKrDateTime loaded;
    if (loaded.LoadFromVariant(settings[L"lastRun"]) != 0 || !loaded.IsEqualTo(start)) return 1;
    print("read back", loaded);

    // One calendar month later is the last day of February (2024 is a leap year) ...
    CKrDateTime moved = loaded;
    moved += CKrDateSpan::Month();
    print("+ 1 month", moved);
    // ... and a time span is plain milliseconds.
    moved += CKrTimeSpan(36, 15, 0, 0);
    print("+ 36 h 15 min", moved);
    std::printf(
        "%-28s %s\n", "elapsed since start",
        CKrStringA(moved.Subtract(start).Format(L"%D days (%H hours)").GetString()).GetString());

    // Week numbers: Monday-first weeks, and the days before the first week are week 0.
    const int years[] = {2015, 2016, 2021, 2024};
    for (int y : years) {
        const CKrDateTime jan1(1, CKrDateTime::Jan, y), dec31(31, CKrDateTime::Dec, y);
        std::printf("%d: 1 January is in week %d, 31 December in week %d\n", y,
                    jan1.GetWeekOfYear(CKrDateTime::Monday_First),
                    dec31.GetWeekOfYear(CKrDateTime::Monday_First));
    }
    return 0;
}
