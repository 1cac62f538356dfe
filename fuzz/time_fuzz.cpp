// A compiler's date and time stamps beside the steps one by one, and every text and question of any
// moment, which must only not go wrong.
#include <strings.h>

#include <ctime>
#include <optional>

#include "fuzz/input.h"
#include "time/time_value.h"

namespace {

std::string trimmed(std::string text) {
  std::string const white("\0\t\n\r ", 5);
  text.erase(text.find_last_not_of(white) + 1);
  return text.erase(0, std::min(text.size(), text.find_first_not_of(white)));
}

// `count` characters from `start` on, as far as there are so many.
std::string part(std::string const& text, std::size_t start, std::size_t count) {
  return text.substr(std::min(start, text.size()), count);
}

std::optional<int> numberIn(std::string const& text) {
  for (std::size_t i = 0; i < text.size(); ++i)
    if ((text[i] < '0' || text[i] > '9') && !(i == 0 && text[i] == '-')) return {};
  return std::atoi(text.c_str());
}

int monthAtFront(std::string const& date) {
  for (int i = 0; i < 12; ++i)
    if (date.size() >= 3 && strncasecmp(date.c_str(), month_names[i], 3) == 0) return i + 1;
  return 0;
}

long long stampValue(std::string const& date, std::string const& time) {
  int const month = monthAtFront(date);
  auto const day = numberIn(trimmed(part(date, 4, 2)));
  auto const year = numberIn(trimmed(part(date, 7, 4)));
  auto const hour = numberIn(trimmed(part(time, 0, 2)));
  auto const minute = numberIn(part(time, 3, 2)), second = numberIn(part(time, 6, 2));
  if (month == 0 || !day || !year || !hour || !minute || !second) return 0;
  _qzTime moment;
  moment.fromDateTime(*second, *minute, *hour, *day, month, *year);
  return moment.value;
}

// Texts of zero bytes end there, and 50 characters are taken.
std::string taken(std::string const& text) { return std::string(text.c_str()).substr(0, 50); }

void askEverything(_qzTime const& moment, _qzTime const& other, long long seconds) {
  int const month = moment.month(), weekDay = moment.weekDay(), day = moment.dayOfMonth(seconds);
  expect(month >= 1 && month <= 12 && weekDay >= 0 && weekDay <= 6 && day >= 0 && day <= 31);
  std::tm local;
  moment.to_tm(local);
  moment.to_tm_Offset(local, seconds);
  (void)moment.year();
  (void)moment.toLocalTime();
  (void)moment.getTotalDays(seconds);
  (void)moment.getDayHour();
  (void)moment.getDaySeconds(seconds);
  (void)moment.getDayMinutes();
  (void)moment.daysTo(other);
  (void)moment.daysDifference(other);
  (void)moment.secsTo(other);
  (void)moment.hoursTo(other);
  (void)moment.secsDifference(other);
  (void)moment.waitTimeIsOver(seconds, &other);
  (void)moment.waitTimeDifference(seconds, &other);
  for (auto const& text :
       {moment.asQZ8StringMt(), moment.asQZ8String(), moment.asQZ8StringDateMonth(),
        moment.asQZ8StringDateMonthYear(), moment.asStringFileName_TruncSec(),
        moment.asStringFileName(), moment.asStringFileNameYearMinute()})
    expect(text.length == std::strlen(text.asChar()) && text.hasData());
  expect(moment.asStringYear3().hasData() && moment.asQZ8StringHourMinSec().hasData());
}

void setEveryWay(fuzz_input& in) {
  int numbers[6];
  for (int& each : numbers) each = in.anyOrSmall<int>();
  bool const wrap = in.coin();
  auto const seconds = in.anyOrSmall<long long>();
  _qzTime moment;
  moment.fromDateTime(numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]);
  _qzTime other = moment;
  askEverything(moment, other, seconds);
  other.fromDate(numbers[3], numbers[4], numbers[5], wrap);
  askEverything(other, moment, seconds);
  moment.fromTotalDays(seconds);
  askEverything(moment, other, seconds);
  moment.value = in.number<std::int64_t>();
  askEverything(moment, other, seconds);
  moment.convertFromLocalTime();
  (void)_qzTime::d2sec(numbers[0]);
  _qzTime32 shortTime;
  shortTime.fromDateTime(numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]);
  expect(shortTime.asQZ8String().hasData());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  _qzTime::testIfOfsetIsRight(true);
  return 0;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  if (in.coin()) {
    setEveryWay(in);
    return 0;
  }
  // "Nov 16 2026|05:07:57", where the first bar counts.
  std::string const both = in.rest();
  std::size_t const bar = std::min(both.find('|'), both.size());
  std::string const date = both.substr(0, bar);
  std::string const time = both.substr(std::min(bar + 1, both.size()));
  auto const dateMemory = exactly(date + '\0'), timeMemory = exactly(time + '\0');
  _qzTime moment;
  moment.value = 7;
  // Before and after, because a stamp of the year 1900 stands for today.
  long long const before = stampValue(taken(date), taken(time));
  long long const value = moment.fromStringCompileDate2(dateMemory.data(), timeMemory.data());
  expect(value == moment.value);
  expect(value == before || value == stampValue(taken(date), taken(time)));
  return 0;
}
