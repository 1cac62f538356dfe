// The full list on a machine that is played: faults, clocks, users and figures that no real one
// offers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>

#include "process/played_machine.h"
#include "process/process_list3.h"

namespace {

using qz::detail::query_answer;

std::unique_ptr<_qzProcessList3> newList(played_machine const& machine) {
  played = machine;
  playedClock = kPlayedStart;
  return std::make_unique<_qzProcessList3>(true);
}

// Number and texts of a record, by value: the numbers of a packed record take no reference.
auto figuresOf(_qzProcessList3 const& list, int slot) {
  auto const& record = list.records[slot];
  return std::tuple(double{record.cpuSeconds}, int{record.memoryMB},
                    std::string(record.ownerText.data));
}

TEST(PlayedProcessList3, ACollectionIsWholeOrAnErrorAndEmpty) {
  std::tuple<played_machine, int, char const*> const rows[] = {
      {{.processes = 0}, 0, ""},
      {{.processes = 4000, .growths = 2}, 3999, ""},
      {{.sizeFailure = EACCES}, 0, " sysctl:Permission denied"},
      {{.fillFailure = 12345}, 0, " sysctl:Error 12345."},
      {{.processes = 3, .hasMemory = false}, 0, " sysctl:Cannot allocate memory"}};
  for (auto const& [machine, count, error] : rows) {
    SCOPED_TRACE(testing::Message() << count << error);
    auto const list = newList(machine);
    list->records[0].ownerText = "before";
    list->records[3999].pid = 77;
    EXPECT_TRUE(!list->collected && list->collectAllProcesses2() && list->collected);
    EXPECT_EQ(std::tuple(int{list->count}, list->cpuInfoReady), std::tuple(count, false));
    EXPECT_STREQ(list->error.asChar(), error);
    EXPECT_EQ(list->collectLog.asChar(),
              "CollectAllProcesses_OS: .00s.ms; procCount: " + std::to_string(count));
    EXPECT_EQ(list->records[3999].pid + 0, 77u);
    list->addErrorListCount();
    EXPECT_EQ(list->error.asChar(), error + ("(pCount:" + std::to_string(count)) + ")  ");
    if (count == 0) continue;
    EXPECT_STREQ(list->records[0].name.asChar(), "TWENTY-FIVE (\xE4) BYTES....");
    EXPECT_EQ(figuresOf(*list, 0), std::tuple(0.0, 0, ""));
    EXPECT_EQ(list->records[3998].parentPid + 0, 4048u);
  }
}

TEST(PlayedProcessList3, StampsLieAQuarterOfTheWayAndTheLogTellsEachStep) {
  auto list = newList({.processes = 2, .enumerationTakes = 7'000'007, .queryTakes = 510'000});
  EXPECT_STREQ(list->collectLog.asChar(), "; init: .00s.ms");
  EXPECT_EQ(std::tuple(list->cpuTicks(), list->cpuDelta(), list->cpuInfoReady),
            std::tuple(0x1.dcd6500200019p+29, 0.0, true));
  EXPECT_TRUE(list->collectAllProcesses_allInfo());
  EXPECT_STREQ(list->collectLog.asChar(),
               "CollectAllProcesses_OS: 7.00s.ms; procCount: 2; init: .00s.ms; CPU+Mem: 1.02s.ms"
               "; OwnerList important: .00s.ms");
  EXPECT_EQ(std::tuple(list->time.value + 0, list->timeMS + 0),
            std::tuple(1'000'000'001, 1'000'000'002'000));
  EXPECT_EQ(std::tuple(list->cpuTicks(), list->cpuDelta()),
            std::tuple(0x1.dcd6503a00054p+29, 0x1.c0001d8p+2));
  list->getProcessInfoMemCPUOnly(1);  // the first since the collection alone takes a sample
  EXPECT_EQ(list->cpuDelta(), 0x1.c0001d8p+2);

  // Set back, by 7001 ms at a full second: both quarters are cut toward zero.
  list = newList({.processes = 2, .enumerationTakes = -7'001'000});
  list->getCpuMem = false;
  EXPECT_TRUE(list->collectAllProcesses_allInfo());
  EXPECT_STREQ(list->collectLog.asChar(), "CollectAllProcesses_OS: 2147476.64s.ms; procCount: 2");
  EXPECT_EQ(std::tuple(list->time.value + 0, list->timeMS + 0),
            std::tuple(999'999'999, 999'999'998'500));
}

TEST(PlayedProcessList3, ARefusalIsNoFaultAndAFaultEndsTheRun) {
  std::string const fault = " task_for_pid failed. kr:";  // Required: whichever step failed
  std::tuple<query_answer, double, std::string> const rows[] = {
      {{query_answer::access_refused, 5}, -5, ""},
      {{query_answer::figures_refused, 5}, 0, ""},
      {{query_answer::access_refused, EMFILE}, -EMFILE, fault + "24. Too many open files"},
      {{query_answer::figures_refused, 1005}, 0, fault + "1005. Error 1005."},
  };
  for (auto const& [answer, seconds, error] : rows) {
    SCOPED_TRACE(error);
    auto const list = newList({.processes = 4, .otherAnswers = {{101, answer}}});
    played.figures = {3000ull << 20, {1000, 0}, {1, 500000}, {{{2, 0}, {4, 0}, false}}};
    bool const wentOn = error.empty();
    EXPECT_EQ(list->collectAllProcesses_allInfo(), wentOn);
    EXPECT_EQ(list->error.asChar(), error);
    // The user time of ended threads is left out. Entry 100 is of user -2.
    EXPECT_EQ(figuresOf(*list, 0), std::tuple(7.5, 3000, wentOn ? "-2" : ""));
    EXPECT_EQ(figuresOf(*list, 1), std::tuple(seconds, 0, ""));
    EXPECT_EQ(std::get<0>(figuresOf(*list, 2)), wentOn ? 7.5 : 0);
    EXPECT_EQ(list->records[3].memoryMB + 0, wentOn ? 3000 : 1);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(list->getProcessInfo(1), wentOn);
    EXPECT_EQ(list->error.length, wentOn ? 0 : 500);
  }
}

// Required: slot 0 is never asked for, the slot behind the last is, the last never shows 0.
TEST(PlayedProcessList3, SlotsAreTestedOneTooFarAndNotAtAllForZero) {
  auto const list = newList({.processes = 3});
  list->collectAllProcesses2();
  played.figures.endedSystem = {3, 0};
  list->records[3].cpuSeconds = 0;
  std::tuple<int, bool, double> const rows[] = {
      {0, true, 0}, {-1, false, 0}, {4, false, 0}, {3, true, 3}, {1, true, 3}};
  for (auto const& [slot, result, seconds] : rows) {
    SCOPED_TRACE(slot);
    EXPECT_EQ(list->records[2].memoryMB + 0, slot == 1 ? 1 : 0);
    EXPECT_EQ(list->getProcessInfo(slot), result);
    EXPECT_EQ(std::get<0>(figuresOf(*list, std::max(slot, 0))), seconds);
  }
  EXPECT_EQ(list->records[1].memoryMB + 0, 0);
  list->getCpuMemAtOnce = true;
  EXPECT_TRUE(list->getProcessInfo(2));
  EXPECT_EQ(std::get<0>(figuresOf(*list, 2)), 0);
  list->set_getCpuMemAtOnce(true);  // Required: can only be cleared
  list->set_getCpuMem_keepMemory(true);
  EXPECT_EQ(std::tuple(list->getCpuMemAtOnce, list->getCpuMem_keepMemory), std::tuple(false, true));
  list->count = 0;
  list->collectLog = "kept";
  EXPECT_TRUE(list->getProcessInfoMemCPUOnly(0));  // no last record, and nothing before the first
  EXPECT_STREQ(list->collectLog.asChar(), "kept");
}

TEST(PlayedProcessList3, OwnersAreThoseOfTheSystemAndOnlyTheImportantOnes) {
  std::tuple<int, int, char const*, char const*> const rows[] = {
      {1, 2000, "FINDE", "abcdefghijklmnopqrstuvwxy"},
      {2, 2001, "A", ""},
      {3, 2001, "B", "mia"},
      {3, 0, "FINDER", "mia"},
      {-2, 0, "C", "-2"},
      {4, 2001, "D", "4"}};
  auto const list = newList({.processes = 6});
  for (bool const importantOnly : {true, false}) {
    list->collectAllProcesses2();
    for (int i = 0; i < 6; ++i) {
      auto& record = list->records[i];
      std::tie(record.uid, record.memoryMB, record.name, std::ignore) = rows[i];
    }
    list->records[3].ownerText = importantOnly ? "" : "stored";
    list->collectOwner(importantOnly);
    for (int i = 0; i < 6; ++i) {
      auto const& [uid, memory, name, owner] = rows[i];
      bool const isAsked = !importantOnly || memory > 2000 || i == 3;
      bool const isStored = i == 3 && !importantOnly;
      EXPECT_EQ(std::get<2>(figuresOf(*list, i)), isStored ? "stored" : isAsked ? owner : "") << i;
      EXPECT_STREQ(_qzProcessList3::getProcessOwner(uid).asChar(), owner);
    }
    EXPECT_STREQ(strrchr(list->collectLog.asChar(), ';'),
                 importantOnly ? "; OwnerList important: .00s.ms" : "; OwnerList All: .00s.ms");
  }
}

TEST(PlayedProcessList3, ASharedListIsSetUpByItsCreator) {
  auto const list = newList({.fillFailure = EIO});
  list->collectAllProcesses_allInfo();
  list->count = 3;
  list->creator_sharedOS();
  EXPECT_EQ(std::tuple(int{list->count}, list->error.length + 0, list->cpuDelta()),
            std::tuple(0, 0, 0.0));
  EXPECT_EQ(std::tuple(list->cpuInfoReady, list->collected), std::tuple(true, false));
}

}  // namespace
