#include "time/stopwatch.h"
#include "zone_fixture.h"

namespace {

struct TimeText : in_zones {};
struct CompileStamp : in_zones {};

// Every form by localtime_r(3) of one moment, each behind a bar.
std::string allForms(long long value) {
  _qzTime const time(value, true);
  std::string all;
  for (auto const& text :
       {time.asQZ8StringMt(), time.asStringMt(), time.asQZ8String(), time.asString(),
        time.asQZ8StringDateMonth(), time.asQZ8StringDateMonthYear(),
        time.asStringYear3_qzs().to_qzString8_250(), time.asStringYear3().to_qzString8_250(),
        time.asStringFileName(), time.asStringFileNameYearMinute(),
        time.asStringFileName_TruncSec()})
    all += '|' + std::string(text.asChar(), text.length);
  return all;
}

TEST_F(TimeText, OfThisCenturyHasTheBytesOfStrftime) {
  for (auto const* rules : {kUtc, kBerlin, kNewYork, kKolkata, kLordHowe}) {
    setZone(rules);
    for (long long value = 946800000; value < 4102300000; value += 9'876'543) {
      std::tm const local = _qzTime(value, true);
      char text[250];
      std::strftime(text, sizeof text,
                    "|%b %d. %H:%M.%S|%b %d. %H:%M.%S|%m.%d. %H:%M.%S|%m.%d. %H:%M.%S|%d.%b. "
                    "|%d.%b.%Y |%d.%b.%y|%d.%b.%y|%m%d_%H%M%S|%y%m%d_%H%M|%m%d_%H%M",
                    &local);
      ASSERT_EQ(allForms(value), text + std::to_string(local.tm_sec / 10)) << rules;
    }
  }
}

TEST_F(TimeText, KeepsItsFormForEveryValue) {
  setZone(kUtc);
  EXPECT_EQ(allForms(0),
            "|-.-|-.-|01.01. 00:00.00|01.01. 00:00.00|-.-|-.-|-.-|-.-|000000_0000|000000_0000"
            "|000000_000");
  EXPECT_EQ(allForms(946684799),
            "|Dec 31. 23:59.59|Dec 31. 23:59.59|12.31. 23:59.59|12.31. 23:59.59|31.Dec. "
            "|31.Dec.1999 |31.Dec.-1|31.Dec.-1|1231_235959|-11231_2359|1231_23595");
  constexpr long long kLast = 67768036191676799;  // that localtime_r(3) takes: its year wraps
  EXPECT_EQ(_qzTime(kLast, true).asQZ8StringDateMonthYear(), "31.Dec.-2147481749 ");
  EXPECT_EQ(_qzTime(kLast, true).asQZ8StringMt(), "Dec 31. 23:59.59");
  EXPECT_EQ(_qzTime(kLast, true).asStringYear3(), "31.Dec.2147483547");
  EXPECT_EQ(_qzTime(kLast + 1, true).asString(), "01.00. 00:00.00");
  EXPECT_EQ(_qzTime(-5LL, true).asQZ8StringMt(), "-.-");
  EXPECT_EQ(_qzTime(-5LL, true).asStringFileName(), "1231_235955");
  EXPECT_EQ(_qzTime32{1794802077}.asQZ8String(), "11.16. 04:07.57");
  EXPECT_EQ(month_names[12], nullptr);
}

TEST_F(CompileStamp, SetsTheTime) {
  struct {
    char const *date, *time, *name;
  } const rows[] = {
      {"Nov 16 2026", "05:07:57", "261116_0507"}, {"nov  6 2026", "05:07:57", "261106_0507"},
      {"Jan  1 26", " 5:07:57", "260101_0507"},   {"Dec 31 2026", "-1:00:00", "261230_2300"},
      {"Nov", nullptr, "001101_0000"},            {"Nov    2026", "05", "261101_0500"},
      {"Foo 16 2026", "05:07:57", "000000_0000"}, {"Nov 1x 2026", "05:07:57", "000000_0000"},
      {"Nov 16 2x26", "05:07:57", "000000_0000"}, {"Nov 16 2026", "5:07:57", "000000_0000"},
      {"Nov 16 2026", "05: 7:57", "000000_0000"}, {"Nov 16 2026", "05:07:+7", "000000_0000"},
      {nullptr, "05:07:57", "000000_0000"}};
  setZone(kBerlin);
  for (auto const& row : rows) {
    SCOPED_TRACE(std::string(row.date ? row.date : "null") + ' ' + (row.time ? row.time : "null"));
    _qzTime time(true);
    EXPECT_EQ(time.fromStringCompileDate2(row.date, row.time), time.value);
    EXPECT_STREQ(time.asStringFileNameYearMinute().asChar(), row.name);
  }
}

TEST(Stopwatch, WritesSecondsWithTwoDecimals) {  // Required: seconds from 1001 ms on
  for (auto const& [milliseconds, text] :
       {std::pair{0, ".00s.ms"}, {999, ".99s.ms"}, {1000, ".00s.ms"}, {1001, "1.00s.ms"},
        {12345, "12.34s.ms"}, {61050, "61.05s.ms"}, {2147483647, "2147483.64s.ms"}})
    EXPECT_STREQ(qz::detail::elapsedText(milliseconds).asChar(), text);
}

TEST(Stopwatch, CountsIn31Bits) {
  auto const startedAgo = [](long long milliseconds) {
    qzTimer timer;
    timer.startMs -= static_cast<unsigned long long>(milliseconds);
    return timer;
  };
  EXPECT_NEAR(startedAgo((1LL << 31) + 1'000'000).elapsed(), 1'030'000, 30'000);
  EXPECT_GT(startedAgo(-1'000'000).elapsed(), 2'146'000'000);  // the clock was set back
  EXPECT_EQ(startedAgo(1'000'000).restartAndString8().indexOf("s.ms"), 7);
  auto timer = startedAgo(1'000'000);
  EXPECT_NEAR(timer.restart(), 1'030'000, 30'000);
  EXPECT_LT(timer.elapsed(), 60'000);
}

}  // namespace
