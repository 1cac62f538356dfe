#include "time/time_value.h"

#include <limits>
#include <tuple>

#include "zone_fixture.h"

namespace {

constexpr auto kMax = std::numeric_limits<long long>::max();
constexpr char kMidnight[] = "CST5CDT,M3.2.0/0,M11.1.0/1";  // changes around it
constexpr int kMinInt = std::numeric_limits<int>::min();

using TimeValue = in_zones;

_qzTime at(long long seconds) { return {seconds, true}; }

std::string shown(std::tm const& local) {
  char text[60];
  std::strftime(text, sizeof text, "%Y-%m-%d %T %z", &local);
  return text;
}

TEST_F(TimeValue, MeasuresTheOffsetOnce) {
  for (auto const* zone :
       {kUtc, kBerlin, kNewYork, kLordHowe, kKolkata, "AAA-11:59", "AAA11:59", "AAA-13"}) {
    SCOPED_TRACE(zone);
    setZone(zone);
    std::tm const now = _qzTime(true);
    auto const offset = now.tm_gmtoff - (now.tm_gmtoff > 43230 ? 86400 : 0);  // Required
    EXPECT_EQ(_qzTime::testIfOfsetIsRight(false), offset + 1);
    EXPECT_EQ(_qzTime::qzTime_Start_OffSet, -1);
    EXPECT_EQ(_qzTime::getTime_Start_OffSet(), offset);
    EXPECT_EQ(_qzTime::isSummertime(), now.tm_isdst > 0);
    setZone("BBB-1", static_cast<int>(offset));
    EXPECT_EQ(_qzTime::testIfOfsetIsRight(true), 0);
    EXPECT_EQ((_qzTime::qzTime_Start_OffSet - 3600) % 86400, 0);
  }
}

TEST_F(TimeValue, TakesTheOffsetOffLocalSeconds) {
  setZone("CET-1");
  EXPECT_EQ(_qzTime(1000u, false).value, 1001);  // Required: measures at 99 alone, not at -1
  setZone("CET-1", 99);
  EXPECT_EQ(_qzTime(4000'000'000u, false).value, 3'999'996'400);
  setZone("CET-1");
  auto time = at(5000);
  time.convertFromLocalTime();
  EXPECT_EQ(time.value, 1400);
  setZone("CET-1");
  time.fromTotalDays(20773);
  EXPECT_EQ(time.value, 20773 * 86400LL - 3600);
  EXPECT_EQ(time.daysTo(at(time.value - 1)), -1);
  EXPECT_EQ(time.daysDifference(at(time.value - 1)), 1);
}

TEST_F(TimeValue, AnswersByTheOffset) {
  struct {
    int offset;
    long long value;
    int localTime, days, hour, seconds, minutes;
    char const* text;
  } const rows[] = {{1, 86399, 86400, 1, 0, 0, 0, "00:00.00"},
                    {19800, 1794802077, 1794821877, 20773, 9, 34677, 577, "09:37.57"},
                    {-18000, 3600, -14400, 0, -4, -14400, -240, "-4:00.00"},
                    {0, -90001, -90001, -1, -1, -3601, -60, "-1:00.-1"},
                    {0, 1LL << 32, 0, 49710, 6, 23296, 388, "06:28.16"},
                    {3600, kMax, 3599, -579025220, -14, -52209, -870, "-14:-30.-9"}};
  for (auto const& row : rows) {
    setZone(kUtc, row.offset);
    EXPECT_EQ(at(row.value).toLocalTime(), row.localTime);
    EXPECT_EQ(at(row.value - 1000).getTotalDays(1000), row.days);
    EXPECT_EQ(at(row.value).getDayHour(), row.hour);
    EXPECT_EQ(at(row.value - 1000).getDaySeconds(1000), row.seconds);
    EXPECT_EQ(at(row.value).getDayMinutes(), row.minutes);
    EXPECT_STREQ(at(row.value).asQZ8StringHourMinSec().asChar(), row.text);
  }
}

TEST_F(TimeValue, AnswersByTheRulesOfTheMoment) {
  struct {
    char const* zone;
    long long value;
    int weekDay, nextDay;
    char const* local;
  } const rows[] = {{kBerlin, 1774745999, 6, 30, "2026-03-29 01:59:59 +0100"},
                    {kBerlin, 1774746000, 6, 30, "2026-03-29 03:00:00 +0200"},
                    {kNewYork, 1793512799, 6, 2, "2026-11-01 01:59:59 -0400"},
                    {kNewYork, 1793512800, 6, 2, "2026-11-01 01:00:00 -0500"},
                    {kLordHowe, 1775314799, 6, 6, "2026-04-05 01:59:59 +1100"},
                    {kLordHowe, 1775314800, 6, 6, "2026-04-05 01:30:00 +1030"},
                    {kKolkata, 1798741799, 3, 1, "2026-12-31 23:59:59 +0530"},
                    {kUtc, 1794787200, 0, 17, "2026-11-16 00:00:00 +0000"}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.local);
    setZone(row.zone);
    _qzTime const time = at(row.value);
    _qzTime32 const small{static_cast<std::uint32_t>(row.value)};
    std::tm parts[5] = {std::tm(small)};
    small.to_tm(parts[1]), time.to_tm(parts[2]), time.to_tm_Offset(parts[3], 0);
    _qzTime32{500}.to_tm_Offset(parts[4], row.value - 500);
    EXPECT_EQ(shown(time), row.local);
    for (auto const& part : parts) EXPECT_EQ(shown(part), row.local);
    EXPECT_EQ(time.weekDay(), row.weekDay);
    EXPECT_EQ(time.dayOfMonth(1), row.nextDay);
    EXPECT_EQ(time.month(), std::atoi(row.local + 5));
    EXPECT_EQ(time.year(), std::atoi(row.local));
  }
  EXPECT_EQ(at(kMax).year(), 1900);  // no int can hold the year
}

TEST_F(TimeValue, CountsIntervalsIn32Bits) {
  EXPECT_EQ(at(7199).hoursTo(at(0)), -1);
  EXPECT_EQ(at(0).secsDifference(at(1LL << 31)), kMinInt);
  EXPECT_EQ(at(-2).secsTo(at(kMax)), 1);
  EXPECT_EQ(_qzTime::d2sec(30000), -1702967296);
  _qzTime32 soon;
  long long const before = _qzTime::currentTime();
  soon.setCurrentTime(-7);
  EXPECT_TRUE(soon.value + 7LL >= before && soon.value + 7LL <= _qzTime::currentTime());
  _qzTime const end = at(110), later = at(111);
  _qzTime time = at(100);
  EXPECT_EQ(time.waitTimeDifference(10, &later), -1);
  EXPECT_TRUE(time.waitTimeIsOver(10, nullptr) && !time.waitTimeIsOver(10, &end));
  EXPECT_FALSE(time.waitTimeIsOver(10, true, &end));
  EXPECT_TRUE(time.waitTimeIsOver(10, false, &later));
  EXPECT_EQ(time.value, 100);
  EXPECT_TRUE(time.waitTimeIsOver(10, true, &later));
  EXPECT_EQ(time.value, 111);
}

TEST_F(TimeValue, IsMadeOfDateAndTime) {
  struct {
    char const* zone;
    int second, minute, hour, day, month, year;
    char const *local, *start;  // what fromDateTime and fromDate make of it
  } const rows[] = {
      {kUtc, 0, 0, 0, 1, 1, 0, "2000-01-01 00:00:00 +0000", "2000-01-01 00:00:00 +0000"},
      {kUtc, 0, 0, 1, 9, 9, -1, "2014-09-09 01:00:00 +0000", "2014-09-09 00:00:00 +0000"},
      {kUtc, 0, 0, 1, 9, 9, 3001, "3000-09-09 01:00:00 +0000", "3000-09-09 00:00:00 +0000"},
      // Required: a century ahead
      {kUtc, 0, 0, 1, 9, 9, 100, "200-09-09 01:00:00 +0000", "100-09-09 00:00:00 +0000"},
      {kUtc, 0, 0, 1, 9, 9, 1989, "2089-09-09 01:00:00 +0000", "1989-09-09 00:00:00 +0000"},
      {kUtc, 0, 0, 1, 9, 9, 1990, "1990-09-09 01:00:00 +0000", "1990-09-09 00:00:00 +0000"},
      {kUtc, 61, -1, 25, 40, 13, 26, "2027-01-01 01:00:01 +0000", "2026-12-31 00:00:00 +0000"},
      {kKolkata, 0, 0, 1, 31, 2, 2026, "2026-03-03 01:00:00 +0530", "2026-03-03 00:00:00 +0530"},
      {kBerlin, 1, 2, 12, 0, 7, 2026, "2026-07-01 12:02:01 +0200", "2026-07-01 00:00:00 +0200"},
      {kBerlin, 0, 30, 2, 29, 3, 2026, "2026-03-29 01:30:00 +0100", "2026-03-29 00:00:00 +0100"},
      {kBerlin, 0, 30, 2, 25, 10, 2026, "2026-10-25 02:30:00 +0100", "2026-10-25 00:00:00 +0200"},
      {kMidnight, 0, 30, 0, 1, 11, 2026, "2026-11-01 00:30:00 -0500", "2026-11-01 00:00:00 -0500"},
      {kLordHowe, 0, 0, 12, 1, 0, 2026, "2026-01-01 12:00:00 +1100", "2026-01-01 00:00:00 +1100"}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.local);
    setZone(row.zone);
    _qzTime time, start;
    _qzTime32 small{};
    time.fromDateTime(row.second, row.minute, row.hour, row.day, row.month, row.year);
    small.fromDateTime(row.second, row.minute, row.hour, row.day, row.month, row.year);
    start.fromDate(row.day, row.month, row.year);
    EXPECT_EQ(shown(time), row.local);
    EXPECT_EQ(small.value, static_cast<std::uint32_t>(time.value));
    EXPECT_EQ(shown(start), row.start);
  }
  _qzTime today(true), time;
  time.fromDateTime(0, 0, 12, 0, 0, 1900);  // Required: the first day of 1900 is today
  EXPECT_EQ(shown(time).substr(0, 10), shown(today).substr(0, 10));
  time.fromDateTime(0, 0, 12, 2, 1, 1900);  // Required: 1900 is this year
  EXPECT_EQ(shown(time).substr(0, 10), shown(today).substr(0, 5) + "01-02");
}

TEST_F(TimeValue, OfADateRunsOverTwoYearsAtMost) {
  std::tuple<int, int, int> const rows[] = {
      {0, 2025, 12}, {-11, 2025, 1}, {-12, 2024, 12}, {-40, 2024, 1}, {kMinInt, 2024, 1},
      {13, 2027, 1}, {24, 2027, 12}, {25, 2028, 1},   {40, 2028, 12}, {12, 2026, 12}};
  for (auto const& [given, year, month] : rows) {
    _qzTime time;
    time.fromDate(1, given, 2026, true);
    EXPECT_EQ(time.year() * 100 + time.month(), year * 100 + month) << given;
  }
}

}  // namespace
