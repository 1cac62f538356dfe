// From a local date and time of day to a point in time.
#include <algorithm>

#include "time/local_time.h"
#include "time/time_value.h"

using namespace qz::detail;

namespace {

int knownYear(int year) {
  if (year < 0) return 2014;
  if (year < 100) return year + 2000;
  return std::min(year, 3000);
}

int knownDay(int day) { return std::clamp(day, 1, 31); }
int knownMonth(int month) { return std::clamp(month, 1, 12); }

void setFields(std::tm& local, std::tm const& fields) {
  local.tm_sec = fields.tm_sec;
  local.tm_min = fields.tm_min;
  local.tm_hour = fields.tm_hour;
  local.tm_mday = fields.tm_mday;
  local.tm_mon = fields.tm_mon;
  local.tm_year = fields.tm_year;
}

// Asks twice: the first pass finds out whether summer time is in force, and only with that known
// the second one has the hour that was meant. The first one asks for standard time, and not for
// what mktime thinks best: that depends on its earlier calls where an hour exists twice.
long long secondsOf(std::tm const& fields) {
  std::tm local = fields;
  long long const seconds = std::mktime(&local);
  if (local.tm_isdst == fields.tm_isdst) return seconds;  // the second pass would ask the same
  setFields(local, fields);
  return std::mktime(&local);
}

long long secondsOfDateTime(int second, int minute, int hour, int day, int month, int year) {
  int const known = knownYear(year);
  std::tm fields{};
  fields.tm_sec = second;
  fields.tm_min = minute;
  fields.tm_hour = hour;
  fields.tm_mday = knownDay(day);
  fields.tm_mon = knownMonth(month) - 1;
  // Required: 1900 is this year, and the first day of 1900 today; 1901 to 1989 are 2001 to 2089.
  if (known == 1900) {
    std::tm const today = localTime(_qzTime::currentTime());
    fields.tm_year = today.tm_year;
    if (fields.tm_mday == 1 && fields.tm_mon == 0) {
      fields.tm_mday = today.tm_mday;
      fields.tm_mon = today.tm_mon;
    }
  } else {
    fields.tm_year = known - (known < 1990 ? 1800 : 1900);
  }
  return secondsOf(fields);
}

}  // namespace

void _qzTime::fromDateTime(int second, int minute, int hour, int day, int month, int year) {
  value = secondsOfDateTime(second, minute, hour, day, month, year);
}

void _qzTime32::fromDateTime(int second, int minute, int hour, int day, int month, int year) {
  value = static_cast<std::uint32_t>(secondsOfDateTime(second, minute, hour, day, month, year));
}

void _qzTime::fromDate(int day, int month, int year) {
  std::tm fields{};
  fields.tm_mday = knownDay(day);
  fields.tm_mon = knownMonth(month) - 1;
  fields.tm_year = knownYear(year) - 1900;
  value = secondsOf(fields);
}

void _qzTime::fromDate(int day, int month, int year, bool const& wrapMonth) {
  if (wrapMonth) {
    int const years = month <= -12 ? -2 : month <= 0 ? -1 : month <= 12 ? 0 : month <= 24 ? 1 : 2;
    month -= 12 * years;
    year = low32(static_cast<long long>(year) + years);
  }
  fromDate(day, month, year);
}
