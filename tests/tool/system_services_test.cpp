#include "tool/system_services.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "tool/sleep_hook.h"

std::function<void(useconds_t)> insteadOfSleeping;

extern "C" int usleep(useconds_t microseconds) {
  if (insteadOfSleeping) {
    insteadOfSleeping(microseconds);
    return 0;
  }
  timespec const duration = {microseconds / 1000000,
                             static_cast<long>(microseconds % 1000000) * 1000};
  return nanosleep(&duration, nullptr);
}

namespace {

std::vector<useconds_t> sleepsOf(int milliseconds) {
  std::vector<useconds_t> sleeps;
  insteadOfSleeping = [&](useconds_t microseconds) { sleeps.push_back(microseconds); };
  qzSleep(milliseconds);
  insteadOfSleeping = nullptr;
  return sleeps;
}

using Sleeps = std::vector<useconds_t>;

TEST(Sleep, ComesInChunksBelowASecond) {
  EXPECT_EQ(sleepsOf(-5), Sleeps{});
  EXPECT_EQ(sleepsOf(0), Sleeps{});
  EXPECT_EQ(sleepsOf(350), Sleeps{350000});
  EXPECT_EQ(sleepsOf(998), Sleeps{998000});
  EXPECT_EQ(sleepsOf(999), (Sleeps{999000, 0}));
  EXPECT_EQ(sleepsOf(2000), (Sleeps{999000, 999000, 2000}));
  EXPECT_EQ(sleepsOf(5000), (Sleeps{999000, 999000, 999000, 999000, 999000, 5000}));
}

TEST(OsErrorText, NamesKnownAndUnknownNumbers) {
  EXPECT_STREQ(qzLastOSError8(0).asChar(), "No Error.");
  EXPECT_STREQ(qzLastOSError8(ENOENT).asChar(), "No such file or directory");
  EXPECT_STREQ(qzLastOSError8(12345).asChar(), "Error 12345.");
  EXPECT_STREQ(qzLastOSError8(-2).asChar(), "Error -2.");
}

TEST(OsErrorText, MinusOneStandsForErrno) {
  errno = EACCES;
  EXPECT_STREQ(qzLastOSError8(-1).asChar(), "Permission denied");
  errno = 0;
  EXPECT_STREQ(qzLastOSError8(-1).asChar(), "No Error.");
}

}  // namespace
