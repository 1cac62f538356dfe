// The texts of a point in time, the parser of a compiler's stamps and the questions by the offset,
// beside the C library on the same second. A rival's time holds all that it takes to get from the
// second to its text, localtime_r(3) among it.
#include <ctime>

#include "race.h"
#include "time/time_value.h"

namespace {

constexpr long long kSecond = 1794802077;  // 16 November 2026

std::tm localTime(std::time_t second) {
  std::tm local;
  localtime_r(&second, &local);
  return local;
}

template <class OurText>
void raceText(benchmark::State& state, OurText ourText, char const* format) {
  _qzTime ours(kSecond, true);
  std::time_t theirs = kSecond;
  char text[251];
  seen(ours);
  seen(theirs);
  race(
      state,
      [&] {
        auto shown = ourText(ours);
        seen(shown);
      },
      contestant{"strftime", [&] {
                   std::tm const local = localTime(theirs);
                   std::strftime(text, sizeof text, format, &local);
                   seen(text);
                 }});
}

#define QZ_RACE_TEXT(name, format)                                       \
  void name(benchmark::State& state) {                                   \
    raceText(                                                            \
        state, [](_qzTime const& time) { return time.name(); }, format); \
  }                                                                      \
  BENCHMARK(name)->Apply(inTurns)

QZ_RACE_TEXT(asQZ8StringMt, "%b %d. %H:%M.%S");
QZ_RACE_TEXT(asQZ8String, "%m.%d. %H:%M.%S");
QZ_RACE_TEXT(asQZ8StringDateMonth, "%d.%b. ");
QZ_RACE_TEXT(asQZ8StringDateMonthYear, "%d.%b.%Y ");
QZ_RACE_TEXT(asStringYear3, "%d.%b.%y");
QZ_RACE_TEXT(asQZ8StringHourMinSec, "%H:%M.%S");
QZ_RACE_TEXT(asStringFileName, "%m%d_%H%M%S");
QZ_RACE_TEXT(asStringFileNameYearMinute, "%y%m%d_%H%M");

void getDayMinutes(benchmark::State& state) {
  _qzTime ours(kSecond, true);
  std::time_t theirs = kSecond;
  seen(ours);
  seen(theirs);
  race(
      state,
      [&] {
        int minutes = ours.getDayMinutes();
        seen(minutes);
      },
      contestant{"localtime_r", [&] {
                   std::tm const local = localTime(theirs);
                   int minutes = local.tm_hour * 60 + local.tm_min;
                   seen(minutes);
                 }});
}
BENCHMARK(getDayMinutes)->Apply(inTurns);

void fromStringCompileDate2(benchmark::State& state) {
  char const *date = "Nov 16 2026", *time = "05:07:57", *both = "Nov 16 2026 05:07:57";
  seen(date);
  seen(time);
  seen(both);
  race(
      state,
      [&] {
        _qzTime ours;
        ours.fromStringCompileDate2(date, time);
        seen(ours);
      },
      contestant{"strptime", [&] {
                   std::tm local{};
                   strptime(both, "%b %d %Y %H:%M:%S", &local);
                   local.tm_isdst = -1;
                   std::time_t theirs = std::mktime(&local);
                   seen(theirs);
                 }});
}
BENCHMARK(fromStringCompileDate2)->Apply(inTurns);

}  // namespace
