#include "time/time_value.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace {

void setZone(char const* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

TEST(TimeStamp, ShowsLocalTimeWithAFullStopBeforeTheSeconds) {
  struct {
    char const* zone;
    std::int64_t value;
    char const* stamp;
  } const rows[] = {
      {"UTC0", 1, "Jan 01. 00:00.01"},
      {"UTC0", 1794802077, "Nov 16. 04:07.57"},
      {"CET-1", 1794802077, "Nov 16. 05:07.57"},
      {"IST-5:30", 1794802077, "Nov 16. 09:37.57"},
      {"UTC0", 1767225599, "Dec 31. 23:59.59"},
      {"UTC0", 0, "-.-"},
      {"UTC0", -5, "-.-"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.stamp);
    setZone(row.zone);
    _qzTime time(false);
    time.value = row.value;
    EXPECT_STREQ(time.asQZ8StringMt().asChar(), row.stamp);
  }
}

TEST(TimeValue, IsNowOrUnset) {
  EXPECT_EQ(_qzTime(false).value, 0);
  auto const before = std::time(nullptr);
  auto const now = _qzTime(true).value;
  EXPECT_LE(before, now);
  EXPECT_LE(now, std::time(nullptr));
}

TEST(MonthNames, EndInANull) {
  EXPECT_STREQ(month_names[0], "Jan");
  EXPECT_STREQ(month_names[11], "Dec");
  EXPECT_EQ(month_names[12], nullptr);
}

}  // namespace
