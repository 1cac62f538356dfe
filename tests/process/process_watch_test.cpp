#include "process/process_watch.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

namespace {

// A snapshot of one process.
std::unique_ptr<_qzProcessList3_data> snapshotOf(double clock, double cpuSeconds,
                                                 std::int64_t time = 0, std::int64_t timeMS = 0) {
  auto block = std::make_unique<_qzProcessList3_data>(true);
  block->time.value = time;
  block->timeMS = timeMS;
  block->cpuTicksValue = clock;
  block->count = 1;
  block->records[0].cpuSeconds = cpuSeconds;
  return block;
}

TEST(ProcessWatch, IsOlderByStampThenTenthsThenClock) {
  struct stamps {
    std::int64_t time, timeMS;
    double ticks;
  };
  std::tuple<stamps, stamps, bool> const rows[] = {
      {{0, 0, 0}, {9, 9000, 9}, false},        // a list that took over nothing is never older
      {{-3, 1, 1}, {9, 9000, 9}, false},       //
      {{5, 0, 0}, {6, 0, 0}, true},            //
      {{5, 0, 0}, {4, 9999, 9}, false},        //
      {{5, 9000, 9}, {6, 1, 1}, true},         //
      {{5, 1050, 7}, {5, 1099, 7}, false},     // the same tenth
      {{5, 1099, 7}, {5, 1100, 7}, true},      //
      {{5, 1100, 7}, {5, 1099, 7.5}, true},    // then the clock decides
      {{5, 0, 7}, {5, 9000, 7}, false},        // stamp 0: only the clock
      {{5, 0, 7}, {5, 0, 7.000001}, true},     //
      {{5, 1050, 0}, {5, 1099, 7}, false},     // no clock yet
      {{5, -150, 7}, {5, -99, 7}, true},       // -1 and 0, truncated
      {{5, -99, 7}, {5, 99, 7}, false},        // both 0
      {{5, 1050, -1}, {5, 1099, -0.5}, true},  // any clock but 0
  };
  for (auto const& [list, data, isOlder] : rows) {
    SCOPED_TRACE(testing::Message() << list.timeMS << " " << data.timeMS << " " << data.ticks);
    _ProcessWatch_List3 watch(0);
    auto const before = snapshotOf(list.ticks, 0, list.time, list.timeMS);
    auto const now = snapshotOf(data.ticks, 0, data.time, data.timeMS);
    watch.setTotalTicks(*before);
    EXPECT_EQ(watch.isOlderThan(*now), isOlder);
  }
}

TEST(ProcessWatch, FiguresFollowTheClockOfTheLastTwoPasses) {
  struct pass {
    double clock, cpuSeconds, delta;
    float usage;
  };
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  std::vector<pass> const runs[] = {
      {{100, 5, 0, 0}, {102, 6, 2, 50}, {102, 7, 0, 0}, {106, 7.125, 4, 3.125}},
      {{100, 5, 0, 0}, {99, 6, 0, 0}, {101, 7, 2, 50}},  // a clock set back
      {{0, 5, 0, 0}, {100, 6, 0, 0}, {101, 7, 1, 100}},  // blocks without a clock
      {{100, 5, 0, 0}, {0, 6, 0, 0}, {101, 7, 0, 0}, {102, 8, 1, 100}},
      {{-3, 5, 0, 0}, {-2, 6, 0, 0}, {2, 7, 0, 0}},                 // never a valid pair
      {{1, 0, 0, 0}, {2, 3, 1, 0}, {3, 5, 1, 200}},                 // no positive base
      {{1, 4, 0, 0}, {2, -5, 1, 0}, {3, 6, 1, 0}, {4, 7, 1, 100}},  // refused in between
      {{1, 4, 0, 0}, {2, 3.5, 1, 0}, {3, 4, 1, 50}},                // the time went down
      {{1, 1, 0, 0}, {2, 1025, 1, 102400}, {3, 2050, 1, 102400}, {4, kInfinite, 1, 102400}},
      {{1, 1, 0, 0}, {1 + 0x1p-40, 4e15, 0x1p-40, 102400}},
      // 32-bit floats up to the division: doubles, or floats alone, give 45 exactly.
      {{3.9, 2.85, 0, 0}, {6.3, 3.93, 0x1.3333333333333p+1, 0x1.680002p+5F}},
  };
  for (auto const& run : runs) {
    _ProcessWatch_List3 watch(1);
    watch.setCoreCount(8);  // plays no part
    watch.count = 1;
    for (auto const& step : run) {
      SCOPED_TRACE(testing::Message() << step.clock << " " << step.cpuSeconds);
      auto const data = snapshotOf(step.clock, step.cpuSeconds);
      watch.setTotalTicks(*data);
      watch.calcCPUUsage(0, data.get(), 0);
      EXPECT_EQ(watch.deltaTicks, step.delta);
      EXPECT_EQ(watch[0].cpuUsage, step.usage);
      EXPECT_EQ(watch[0].cpuSeconds, step.cpuSeconds);
    }
  }
}

TEST(ProcessWatch, StampsAndBasesMoveWithoutAFigure) {
  _ProcessWatch_List3 watch(1);
  auto const first = snapshotOf(10, 3, 7, 7100), second = snapshotOf(12, 5, 9, 9200);
  watch.setTotalTicks(*first);
  watch.setUpdateTime(*second);
  EXPECT_EQ(std::tuple(+watch.time.value, watch.timeMS, watch.ticks), std::tuple(9, 9200, 10.0));
  watch[0].setCpuTicks(first->records[0]);
  EXPECT_EQ(std::tuple(watch[0].cpuSeconds, watch[0].cpuUsage), std::tuple(3.0, 0.0F));
  watch.setTotalTicks(*second);
  watch.calcCPUUsage(0, second.get(), 0);
  EXPECT_EQ(watch[0].cpuUsage, 100);

  watch.count = 1;
  watch.setCoreCount(4);
  watch.clear();
  EXPECT_EQ(std::tuple(watch.count, +watch.time.value, watch.timeMS), std::tuple(0, 0, 0));
  EXPECT_EQ(std::tuple(watch.prevTicks, watch.ticks, watch.deltaTicks), std::tuple(0., 0., 0.));
  EXPECT_EQ(std::tuple(watch.coreCount, watch.capacity), std::tuple(4, 1));
  EXPECT_EQ(watch[0].cpuUsage, 100);  // Required: what the entries hold stays
}

TEST(ProcessWatch, DeletingKeepsTheOrderAndTheFirstOfAnIdIsFound) {
  _ProcessWatch_List3 watch(5);
  EXPECT_EQ(std::tuple(watch.capacity, watch.coreCount, watch.count), std::tuple(5, 1, 0));
  for (unsigned const pid : {7u, 8u, 9u, 8u}) {
    EXPECT_EQ(watch[watch.count].tag, 0u);
    EXPECT_TRUE(watch[watch.count].name.isEmpty());
    watch[watch.count++].pid = pid;
  }
  watch[4].pid = 6;  // behind the count
  EXPECT_EQ(watch.getListIdxByPID(6), -1);
  EXPECT_EQ(watch.getListIdxByPID(8), 1);
  watch.deleteAt(1);
  EXPECT_EQ(watch.getListIdxByPID(9), 1);
  EXPECT_EQ(watch.getListIdxByPID(8), 2);
  watch.deleteAt(2);
  EXPECT_EQ(watch.count, 2);
  EXPECT_EQ(watch.getListIdxByPID(8), -1);
  watch.deleteAt(0);
  EXPECT_EQ(watch[0].pid, 9u);
}

}  // namespace
