// Points in time: seconds since the epoch, in UTC, held by value and stored in records as they
// stand. Calendar questions come in two kinds. Those of the first go through localtime_r(3) and
// follow the zone's rules for that very moment. Those of the second, marked "by the offset", are
// plain arithmetic with one offset that is measured at first need and then kept, so that they do
// not follow a change of summer time during the run.
//
// Nothing here fails or reports. Arithmetic wraps, and a result of type int is the low 32 bits.
// Division truncates, so that results for times before the epoch round toward zero. A moment whose
// year no int can hold is broken down into zeros.
//
// The offset is shared by all threads without a lock: two threads that measure it at once both add
// what they found.
#ifndef QZ_TIME_TIME_VALUE_H_
#define QZ_TIME_TIME_VALUE_H_

#include <cstdint>
#include <ctime>

#include "strings/string16.h"
#include "strings/string8.h"

// "Jan" to "Dec", indexed by tm_mon, and a null behind them.
extern char const* const month_names[13];

struct _qzTime {
  std::int64_t value;  // seconds since 1 January 1970 UTC; 0 means no time set

  // Seconds that local time is ahead of UTC, summer time included; -1 until it is measured. It
  // stays within half a day: 13 hours ahead count as 11 behind, and 12 hours as ahead or behind by
  // the time of day of the measurement.
  static std::int32_t qzTime_Start_OffSet;

  // --- construction and setting ---

  _qzTime() : value(0) {}
  // The current time, or no time.
  explicit _qzTime(bool now);
  // Seconds of UTC, or of local time by the offset. Required: this one takes 99, not -1, for an
  // offset that is to be measured; built from local seconds before anything else has measured it,
  // the time is one second late.
  _qzTime(long long seconds, bool isUtc);
  _qzTime(unsigned int seconds, bool isUtc);

  void setCurrentTime(long long addSeconds);

  // From local date and time. A year below 0 counts as 2014, 0 to 99 as 2000 to 2099, above 3000 as
  // 3000; then 1900 stands for the current year, and 1 January 1900 for today; other years below
  // 1990 are moved a century ahead. Day and month are limited to 1..31 and 1..12, and a date that
  // the calendar does not have runs over: 31 February is in March. Second, minute and hour are not
  // limited.
  void fromDateTime(int second, int minute, int hour, int day, int month, int year);
  // The start of a local date. Years count as above up to 3000, but none is moved or replaced; day
  // and month as above. Of two midnights it is the second one; where summer time begins at midnight
  // it is what mktime(3) makes of an hour that does not exist, in glibc 23:00 of the day before.
  void fromDate(int day, int month, int year);
  // The same; with `wrapMonth` a month outside 1..12 first runs over into the years beside, by two
  // years at most: 0 is December of the year before, 13 January of the next.
  void fromDate(int day, int month, int year, bool const& wrapMonth);
  // The start of a local day by the offset; the inverse of getTotalDays(0).
  void fromTotalDays(long long const& days);
  // Takes the offset off: `value` was seconds of local time.
  void convertFromLocalTime();

  // The seconds of `days` days, in 32 bits: from 24856 days on it wraps.
  static long long d2sec(int const& days);
  static long long currentTime();
  // A file's time of stat(2) as it is; the one place to change where files count otherwise.
  static long long convertStatFileTime(long const& t);
  // True if summer time is in force now.
  static bool isSummertime();

  // --- questions by the zone's rules ---

  int month() const;  // 1 to 12
  int year() const;   // four digits
  // The day of the month that many days of 86400 seconds later.
  int dayOfMonth(long long addDays) const;
  int weekDay() const;  // 0 is Monday, 6 is Sunday
  void to_tm(std::tm& local) const;
  void to_tm_Offset(std::tm& local, long long const& addSeconds) const;
  operator std::tm() const;

  // --- questions by the offset ---

  // Seconds since the epoch in local time.
  int toLocalTime() const;
  // Whole days since the epoch in local time.
  int getTotalDays(long long addSeconds) const;
  int getDayHour() const;
  int getDaySeconds(long long addSeconds) const;
  int getDayMinutes() const;
  // Days from the local date of this to that of `other`: moments on either side of midnight are one
  // day apart. The second form has no sign, but the smallest int stays as it is.
  int daysTo(_qzTime const& other) const;
  int daysDifference(_qzTime const& other) const;

  // --- intervals ---

  // Seconds from this to `other`.
  int secsTo(_qzTime const& other) const;
  // Those seconds / 3600.
  int hoursTo(_qzTime const& other) const;
  // Those seconds without sign, but the smallest int stays as it is.
  int secsDifference(_qzTime const& other) const;
  // True if `wait` seconds have passed since this and one more has begun; at that very second it is
  // false. `now` null means the current time. With `restart` this becomes now when it is true.
  bool waitTimeIsOver(long long const& wait, _qzTime const* now) const;
  bool waitTimeIsOver(long long const& wait, bool const& restart, _qzTime const* now);
  // The seconds still to wait, negative once it is over.
  int waitTimeDifference(long long const& wait, _qzTime const* now) const;

  // --- the offset ---

  // Measured first if it is -1.
  static int getTime_Start_OffSet();
  // Returns by how many seconds the offset is wrong at this moment, 0 if it is right. With `fix` it
  // is put right first, and the result is that of a second measurement.
  static int testIfOfsetIsRight(bool fix);

  // --- texts in local time; 16 November 2026, 05:07:57 as the example ---
  // A full stop stands in front of the seconds.

  // The stamp of a report line, "Nov 16. 05:07.57"; "-.-" below 1. Both names give the same.
  _qzString8_allSize<250> asQZ8StringMt() const;
  _qzString8_allSize<250> asStringMt() const;
  // "11.16. 05:07.57". No time set gives the epoch. Both names give the same.
  _qzString8_allSize<250> asQZ8String() const;
  _qzString8_allSize<250> asString() const;
  // "16.Nov. " with a blank at the end; "-.-" below 1.
  _qzString8_allSize<250> asQZ8StringDateMonth() const;
  // "16.Nov.2026 " with a blank at the end; "-.-" below 1.
  _qzString8_allSize<250> asQZ8StringDateMonthYear() const;
  // "16.Nov.26", years counted from 2000 and so negative before; "-.-" below 1. Both names give the
  // same.
  _qzString<50> asStringYear3_qzs() const;
  _qzString<50> asStringYear3() const;
  // "05:07.57" by the offset. No time set gives that of the epoch; before the epoch the numbers are
  // negative.
  _qzString8_allSize<50> asQZ8StringHourMinSec() const;

  // For file names. No time set gives zeros, in the same width; other values below 1 are dates.
  // "1116_05075", with the tens of the seconds; "000000_000".
  _qzString8_allSize<250> asStringFileName_TruncSec() const;
  // "1116_050757"; "000000_0000".
  _qzString8_allSize<250> asStringFileName() const;
  // "261116_0507", years counted from 2000; "000000_0000".
  _qzString8_allSize<250> asStringFileNameYearMinute() const;

  // From a compiler's stamps, __DATE__ "Nov 16 2026" and __TIME__ "05:07:57", by the rules of
  // fromDateTime. The month's case does not matter, a missing number counts as 0. Sets and returns
  // `value`: 0 if there is no such month or one of the five numbers is none. Null counts as empty.
  long long fromStringCompileDate2(char const* date, char const* time);
};

// The same seconds in 32 bits: up to 7 February 2106. A plain record, without a constructor; its
// members are those of _qzTime but for the width.
struct _qzTime32 {
  std::uint32_t value;  // seconds since 1 January 1970 UTC; 0 means no time set

  void setCurrentTime(long long addSeconds);
  void fromDateTime(int second, int minute, int hour, int day, int month, int year);
  void to_tm(std::tm& local) const;
  void to_tm_Offset(std::tm& local, long long const& addSeconds) const;
  operator std::tm() const;
  _qzString8_allSize<250> asQZ8String() const;
};

#endif  // QZ_TIME_TIME_VALUE_H_
