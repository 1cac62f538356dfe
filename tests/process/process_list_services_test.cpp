// The light list on a machine that is played: faults, sizes and figures that no real one offers.
#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "process/played_machine.h"
#include "process/process_list.h"

namespace {

using qz::detail::query_answer;

std::unique_ptr<_qzProcessList2> collected(played_machine const& machine) {
  played = machine;
  auto list = std::make_unique<_qzProcessList2>(false);
  EXPECT_TRUE(!list->collected && list->collectAllProcesses2() && list->collected);
  return list;
}

TEST(PlayedProcessList, ACollectionIsWholeOrAnErrorAndEmpty) {
  std::tuple<played_machine, int, char const*> const rows[] = {
      {{.processes = 0}, 0, ""},
      {{.processes = 3999}, 3999, ""},
      {{.processes = 4000}, 3999, ""},
      {{.processes = 5, .growths = 2}, 5, ""},
      {{.sizeFailure = EACCES}, 0, " sysctl:Permission denied"},
      {{.growths = 1, .fillFailure = ENOMEM}, 0, " sysctl:Cannot allocate memory"},
      {{.fillFailure = 12345}, 0, " sysctl:Error 12345."}};
  for (auto const& [machine, count, error] : rows) {
    SCOPED_TRACE(testing::Message() << count << error);
    auto const list = collected(machine);
    EXPECT_STREQ(list->error.asChar(), error);
    ASSERT_EQ(list->count, count);
    for (int i = 0; i < count; ++i) ASSERT_EQ(list->records[i].uid, i - 2);
  }
}

TEST(PlayedProcessList, ACollectionReplacesAllButTheOwner) {
  auto const list = collected({.fillFailure = EIO});
  list->records[1] = {"before", "owner", 1, 1, 12, 3.5, -2};
  list->getProcessInfo(1);
  EXPECT_TRUE(list->infoRequested);
  played = {.processes = 2};
  list->collectAllProcesses2();
  EXPECT_FALSE(list->infoRequested);
  auto const& record = list->records[1];
  EXPECT_EQ(std::tuple(record.pid, record.parentPid, record.uid), std::tuple(101u, 51u, -1));
  EXPECT_EQ(std::tuple(record.memoryMB, record.cpuSeconds), std::tuple(0, 0.0));
  EXPECT_STREQ(record.name.asChar(), "TWENTY-FIVE (\xE4) BYTES....");
  EXPECT_STREQ(record.owner.asChar(), "-2");  // Required: outlives the collection
}

// Required: whichever record is asked for, the last one of the list never shows 0 afterwards.
TEST(PlayedProcessList, MemoryIsRoundedInTwoStepsAndOneAtLeastInTheLastRecord) {
  std::array<int, 5> const rows[] = {
      {0, 0, 0, 0, 0},       {1, 0, 0, 0, 1},       {523775, 0, 0, 0, 1}, {523776, 0, 0, 1, 1},
      {1572351, 0, 0, 1, 1}, {1572352, 0, 0, 2, 1}, {1000, 2, 0, 1, 1},   {1000, 0, 9, 0, 9},
      {0, 2, 9, 0, 0},       {5 << 20, 2, 0, 5, 5},
  };
  for (auto const& [bytes, asked, before, ofAsked, ofLast] : rows) {
    SCOPED_TRACE(bytes);
    auto const list = collected({.processes = 3});
    list->records[2].memoryMB = before;
    played.figures.residentBytes = static_cast<unsigned>(bytes);
    list->getProcessInfoMemCPUOnly(asked);
    EXPECT_EQ(list->records[asked].memoryMB, ofAsked);
    EXPECT_EQ(list->records[2].memoryMB, ofLast);
  }
}

// The figures are chosen so that every other order of adding gives another last bit.
TEST(PlayedProcessList, CpuTimeIsAddedInItsOrderOrRefused) {
  auto const list = collected({.processes = 1});
  // Required: the user time of ended threads is left out, and so is the idle thread.
  played.figures = {5ull << 30, {1000, 5}, {1, 377750}, {}};
  played.figures.threads = {{{21, 801782}, {0, 463765}, false},
                            {{500, 1}, {500, 1}, true},
                            {{14, 185342}, {4, 779715}, false},
                            {{3, 310780}, {4, 265973}, false}};
  std::tuple<query_answer, int, double> const rows[] = {
      {{query_answer::answered, 0}, 5120, 0x1.917b1960fa15dp+5},
      {{query_answer::access_refused, 1005}, 0, -1005},
      {{query_answer::figures_refused, 5}, 0, 0}};
  for (auto const& [answer, memory, seconds] : rows) {
    played.answer = answer;
    list->getProcessInfoMemCPUOnly(0);
    EXPECT_EQ(list->records[0].memoryMB, memory);
    EXPECT_EQ(list->records[0].cpuSeconds, seconds);
  }
}

}  // namespace
