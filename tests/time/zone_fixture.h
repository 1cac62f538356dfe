#ifndef QZ_TESTS_TIME_ZONE_FIXTURE_H_
#define QZ_TESTS_TIME_ZONE_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "time/time_value.h"

// Rules instead of names, so that no zone files are needed.
constexpr char kUtc[] = "UTC0", kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3",
               kNewYork[] = "EST5EDT,M3.2.0,M11.1.0", kKolkata[] = "IST-5:30",
               kLordHowe[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";

struct in_zones : testing::Test {
  bool const hadZone = std::getenv("TZ") != nullptr;
  std::string const oldZone = hadZone ? std::getenv("TZ") : "";
  std::int32_t const oldOffset = _qzTime::qzTime_Start_OffSet;
  static void setZone(char const* rules, std::int32_t offset = -1) {
    setenv("TZ", rules, 1);
    tzset();
    _qzTime::qzTime_Start_OffSet = offset;
  }
  ~in_zones() override {
    setZone(oldZone.c_str(), oldOffset);
    if (!hadZone) unsetenv("TZ"), tzset();
  }
};

#endif  // QZ_TESTS_TIME_ZONE_FIXTURE_H_
