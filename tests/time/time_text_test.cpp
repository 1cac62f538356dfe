#include "time/stopwatch.h"
#include "zone_fixture.h"

namespace {

using TimeText = in_zones;

TEST_F(TimeText, OfThisCenturyHasTheBytesOfStrftime) {
  for (auto const* rules : {kUtc, kBerlin, kNewYork, kKolkata, kLordHowe}) {
    setZone(rules);
    for (long long value = 946800000; value < 4102300000; value += 9'876'543) {
      _qzTime const time(value, true);
      std::tm const local = time;
      auto const shortName = "%m%d_%H%M" + std::to_string(local.tm_sec / 10);
      std::pair<char const*, _qzString8_allSize<250>> const forms[] = {
          {"%b %d. %H:%M.%S", time.asStringMt()},
          {"%m.%d. %H:%M.%S", time.asString()},
          {"%d.%b. ", time.asQZ8StringDateMonth()},
          {"%d.%b.%Y ", time.asQZ8StringDateMonthYear()},
          {"%d.%b.%y", time.asStringYear3()},
          {"%m%d_%H%M%S", time.asStringFileName()},
          {"%y%m%d_%H%M", time.asStringFileNameYearMinute()},
          {shortName.c_str(), time.asStringFileName_TruncSec()}};
      for (auto const& [format, form] : forms) {
        char text[50];
        std::strftime(text, sizeof text, format, &local);
        ASSERT_EQ(form, text) << rules << ' ' << value;
      }
    }
  }
}

TEST_F(TimeText, KeepsItsFormForEveryValue) {
  setZone(kUtc);
  constexpr long long kLast = 67768036191676799;  // that localtime_r(3) takes: its year wraps
  EXPECT_EQ(_qzTime(kLast, true).asQZ8StringDateMonthYear(), "31.Dec.-2147481749 ");
  EXPECT_EQ(_qzTime(kLast + 1, true).asQZ8String(), "01.00. 00:00.00");
  EXPECT_EQ(_qzTime(946684799LL, true).asStringFileNameYearMinute(), "-11231_2359");
  EXPECT_EQ(_qzTime(4102444800LL, true).asStringYear3(), "01.Jan.100");
  EXPECT_EQ(_qzTime(-5LL, true).asStringFileName(), "1231_235955");
  EXPECT_EQ(_qzTime(-5LL, true).asStringFileName_TruncSec(), "1231_23595");
  EXPECT_EQ(_qzTime(-5LL, true).asQZ8StringMt(), "-.-");
  EXPECT_EQ(_qzTime(-5LL, true).asQZ8StringDateMonth(), "-.-");
  EXPECT_EQ(_qzTime().asQZ8StringDateMonthYear(), "-.-");
  EXPECT_EQ(_qzTime().asStringYear3_qzs(), "-.-");
  EXPECT_EQ(_qzTime().asString(), "01.01. 00:00.00");
  EXPECT_EQ(_qzTime().asStringFileName(), "000000_0000");
  EXPECT_EQ(_qzTime().asStringFileName_TruncSec(), "000000_000");
  EXPECT_EQ(_qzTime32{1794802077}.asQZ8String(), "11.16. 04:07.57");
  EXPECT_EQ(month_names[12], nullptr);
}

TEST_F(TimeText, OfACompilerSetsTheTime) {
  struct {
    char const *date, *time, *name;
  } const rows[] = {
      {"Nov 16 2026", "05:07:57", "261116_0507"}, {"nov  6 26", " 5:07x57", "261106_0507"},
      {"Dec 31 2026", "-1:00:00", "261230_2300"}, {"Nov", nullptr, "001101_0000"},
      {"Foo 16 2026", "05:07:57", "000000_0000"}, {"Nov 1x 2026", "05:07:57", "000000_0000"},
      {"Nov 16 2026", "05: 7:57", "000000_0000"}, {nullptr, "05:07:57", "000000_0000"}};
  setZone(kBerlin);
  for (auto const& row : rows) {
    _qzTime time(true);
    EXPECT_EQ(time.fromStringCompileDate2(row.date, row.time), time.value);
    EXPECT_EQ(time.asStringFileNameYearMinute(), row.name);
  }
}

TEST(Stopwatch, CountsIn31BitsAndWritesTwoDecimals) {
  EXPECT_EQ(qz::detail::elapsedText(999), ".99s.ms");
  EXPECT_EQ(qz::detail::elapsedText(1000), ".00s.ms");  // Required: seconds from 1001 on
  EXPECT_EQ(qz::detail::elapsedText(1001), "1.00s.ms");
  EXPECT_EQ(qz::detail::elapsedText(61050), "61.05s.ms");
  qzTimer timer;
  timer.startMs -= (1ULL << 31) + 1'000'000;
  EXPECT_NEAR(timer.elapsed(), 1'030'000, 30'000);
  EXPECT_EQ(timer.elapsedString8().indexOf("s.ms"), 7);
  EXPECT_NEAR(timer.restart(), 1'030'000, 30'000);
  EXPECT_LT(timer.elapsed(), 60'000);
  timer.startMs += 1'000'000;  // as after setting the clock back
  EXPECT_GT(timer.elapsed(), 2'146'000'000);
}

}  // namespace
