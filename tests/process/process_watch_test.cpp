#include "process/process_watch.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <vector>

namespace {

auto snapshotOf(double clock, double cpuSeconds, double time = 0, double timeMS = 0) {
  auto block = std::make_unique<_qzProcessList3_data>(true);
  block->time.value = static_cast<std::int64_t>(time);
  block->timeMS = static_cast<std::int64_t>(timeMS);
  block->cpuTicksValue = clock;
  block->records[0].cpuSeconds = cpuSeconds;
  return block;
}

TEST(ProcessWatch, IsOlderByStampThenTenthsThenClock) {
  std::array<double, 7> const rows[] = {
      // stamps and clock taken over, those of the snapshot, the answer
      {0, 0, 0, 9, 9000, 9, 0},    {-3, 1, 1, 9, 9000, 9, 0},    {5, 9000, 9, 6, 1, 1, 1},
      {5, 1, 1, 4, 9999, 9, 0},    {5, 1050, 7, 5, 1099, 7, 0},  {5, 1099, 7, 5, 1100, 7, 1},
      {5, 1100, 7, 5, 1099, 8, 1}, {5, 0, 7, 5, 9000, 7, 0},     {5, 0, 7, 5, 0, 8, 1},
      {5, 1050, 0, 5, 1099, 7, 0}, {5, -150, 7, 5, -99, 7, 1},   {5, -99, 7, 5, 99, 7, 0},
      {5, 1050, 7, 5, 1050, 6, 0}, {5, 1050, -2, 5, 1050, -1, 1}};
  for (auto const& [time, timeMS, clock, newTime, newTimeMS, newClock, isOlder] : rows) {
    _ProcessWatch_List3 watch(0);
    watch.setTotalTicks(*snapshotOf(clock, 0, time, timeMS));
    auto const data = snapshotOf(newClock, 0, newTime, newTimeMS);
    EXPECT_EQ(watch.isOlderThan(*data), isOlder != 0) << timeMS << " " << newTimeMS;
    watch.setUpdateTime(*data);
    EXPECT_TRUE(watch.time.value == data->time.value && watch.timeMS == data->timeMS);
  }
}

TEST(ProcessWatch, FiguresFollowTheClockOfTheLastTwoPasses) {
  using pass = std::array<double, 4>;  // clock, CPU time, seconds between the clocks, usage
  std::vector<pass> const runs[] = {
      {{100, 5, 0, 0}, {102, 6, 2, 50}, {102, 7, 0, 0}, {106, 7.125, 4, 3.125}},
      {{100, 5, 0, 0}, {99, 6, 0, 0}, {101, 7, 2, 50}, {0, 6, 0, 0}, {2, 7, 0, 0}, {3, 8, 1, 100}},
      {{-3, 5, 0, 0}, {-2, 6, 0, 0}, {2, 7, 0, 0}, {3, 7.5, 1, 50}, {4, 7, 1, 0}, {5, 8, 1, 100}},
      {{1, 0, 0, 0}, {2, 3, 1, 0}, {3, -5, 1, 0}, {4, 5, 1, 0}, {5, 7, 1, 200}},  // without a base
      {{1, 1, 0, 0}, {2, 1025, 1, 102400}, {3, 2050, 1, 102400}, {4, 1e300, 1, 102400}},
      // 32-bit floats up to the division: doubles, or floats alone, give 45 exactly.
      {{3.9, 2.85, 0, 0}, {6.3, 3.93, 0x1.3333333333333p+1, 0x1.680002p+5}}};
  for (auto const& run : runs) {
    _ProcessWatch_List3 watch(1);
    watch.setCoreCount(8);  // plays no part
    for (auto const& [clock, cpuSeconds, delta, usage] : run) {
      auto const data = snapshotOf(clock, cpuSeconds, 4, 4567);
      watch.setTotalTicks(*data);
      watch.calcCPUUsage(0, data.get(), 0);
      EXPECT_EQ(watch.deltaTicks, delta) << clock << " " << cpuSeconds;
      EXPECT_EQ(static_cast<double>(watch[0].cpuUsage), usage) << clock << " " << cpuSeconds;
    }
    watch[0].setCpuTicks(snapshotOf(0, run.back()[1] - 1)->records[0]);
    auto const next = snapshotOf(run.back()[0] + 2, run.back()[1]);
    watch.setTotalTicks(*next);
    watch.calcCPUUsage(0, next.get(), 0);  // one second within two
    EXPECT_EQ(watch[0].cpuUsage > 49, run.back()[1] > 1 && run.back()[1] < 1e16);
    watch.clear();  // Required: the entries stay as they are
    EXPECT_TRUE(watch.time.value + watch.timeMS == 0 && watch.ticks + watch.deltaTicks == 0);
    EXPECT_TRUE(watch.coreCount == 8 && watch[0].cpuSeconds == run.back()[1]);
  }
}

TEST(ProcessWatch, DeletingKeepsTheOrderAndTheFirstOfAnIdIsFound) {
  _ProcessWatch_List3 watch(5);
  for (unsigned const pid : {7u, 8u, 9u, 8u}) watch[watch.count++].pid = pid;
  watch[4].pid = 6;  // behind the count
  EXPECT_TRUE(watch.getListIdxByPID(6) == -1 && watch.getListIdxByPID(8) == 1);
  watch.deleteAt(1), watch.deleteAt(2);
  EXPECT_TRUE(watch.count == 2 && watch[0].pid == 7 && watch.getListIdxByPID(9) == 1);
}

}  // namespace
