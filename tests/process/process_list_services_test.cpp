// The lists on a machine that is played: faults, sizes, figures, clocks and users that no real one
// offers.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>

#include "process/platform.h"
#include "process/process_list.h"
#include "process/process_list3.h"

namespace {

using qz::detail::query_answer;

struct played_machine {
  int processes = 0;
  int growths = 0;      // filling answers so many times that there are more by now
  int sizeFailure = 0;  // errno of the size question
  int fillFailure = 0;  // errno of filling
  query_answer answer = {query_answer::answered, 0};
  qz::detail::process_figures figures = {};
  bool hasMemory = true;                           // for the buffer of a collection
  std::map<unsigned, query_answer> gone = {};      // answers for single processes
  long long enumerationTakes = 0, queryTakes = 0;  // microseconds; below 0 the clock is set back
  long long clock = 1'000'000'000'250'003;         // microseconds since the epoch
} played;

std::unique_ptr<_qzProcessList2> collected(played_machine const& machine) {
  played = machine;
  auto list = std::make_unique<_qzProcessList2>(false);
  EXPECT_TRUE(!list->collected && list->collectAllProcesses2() && list->collected);
  return list;
}

std::unique_ptr<_qzProcessList3> newList3(played_machine const& machine) {
  played = machine;
  return std::make_unique<_qzProcessList3>(true);
}

TEST(PlayedProcessList, ACollectionIsWholeOrAnErrorAndEmpty) {
  std::tuple<played_machine, int, char const*> const rows[] = {
      {{.processes = 0}, 0, ""},
      {{.processes = 3999}, 3999, ""},
      {{.processes = 4000}, 3999, ""},
      {{.processes = 5, .growths = 2}, 5, ""},
      {{.sizeFailure = EACCES}, 0, " sysctl:Permission denied"},
      {{.processes = 3, .hasMemory = false}, 0, " sysctl:Cannot allocate memory"},
      {{.growths = 1, .fillFailure = ENOMEM}, 0, " sysctl:Cannot allocate memory"},
      {{.fillFailure = 12345}, 0, " sysctl:Error 12345."}};
  for (auto const& [machine, count, error] : rows) {
    SCOPED_TRACE(testing::Message() << count << error);
    auto const list = collected(machine);
    EXPECT_STREQ(list->error.asChar(), error);
    ASSERT_EQ(list->count, count);
    auto const full = newList3(machine);
    full->records[0].ownerText = "before";
    full->records[3999].uid = 77;
    EXPECT_TRUE(!full->collected && full->collectAllProcesses2() && full->collected);
    EXPECT_STREQ(full->error.asChar(), error);
    EXPECT_EQ(full->collectLog.asChar(),
              "CollectAllProcesses_OS: .00s.ms; procCount: " + std::to_string(count));
    for (int i = 0; i < count; ++i)
      ASSERT_TRUE(list->records[i].uid == i - 2 && full->records[i].uid == i - 2);
    EXPECT_TRUE(full->records[3999].uid == 77 &&
                full->records[0].ownerText.isEmpty() == (count > 0));
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

TEST(PlayedProcessList3, StampsLieAQuarterOfTheWayAndTheLogTellsEachStep) {
  auto list = newList3({.processes = 2, .enumerationTakes = 7'000'007, .queryTakes = 510'000});
  auto const samples = [&] { return std::pair(list->cpuTicks(), list->cpuDelta()); };
  auto const stamps = [&] { return std::pair(list->time.value + 0, list->timeMS + 0); };
  EXPECT_EQ(samples(), std::pair(0x1.dcd6500200019p+29, 0.0));
  EXPECT_TRUE(list->collectAllProcesses_allInfo());
  EXPECT_STREQ(list->collectLog.asChar(),
               "CollectAllProcesses_OS: 7.00s.ms; procCount: 2; init: .00s.ms; CPU+Mem: 1.02s.ms"
               "; OwnerList important: .00s.ms");
  EXPECT_EQ(stamps(), std::pair(1000000001L, 1000000002000L));
  list->getProcessInfoMemCPUOnly(1);  // the first since the collection alone takes a sample
  EXPECT_EQ(samples(), std::pair(0x1.dcd6503a00054p+29, 0x1.c0001d8p+2));
  list->addErrorListCount();
  EXPECT_STREQ(list->error.asChar(), "(pCount:2)  ");
  list->creator_sharedOS();
  EXPECT_TRUE(list->error.isEmpty() && list->count == 0 && list->cpuDelta() == 0);
  EXPECT_TRUE(list->cpuInfoReady && !list->collected);

  // Set back by 7001 ms: both quarters are cut toward zero.
  list = newList3({.processes = 2, .enumerationTakes = -7'001'000});
  list->getCpuMem = false;
  EXPECT_TRUE(list->collectAllProcesses_allInfo());
  EXPECT_STREQ(list->collectLog.asChar(), "CollectAllProcesses_OS: 2147476.64s.ms; procCount: 2");
  EXPECT_EQ(stamps(), std::pair(999999999L, 999999998500L));
}

// Required: a fault has the same words whichever step failed. Slot 0 is never asked for, the slot
// behind the last one is, and the last record never shows 0 after an answer.
TEST(PlayedProcessList3, ARefusalIsNoFaultAndAFaultEndsTheRun) {
  std::tuple<query_answer, double, std::string> const rows[] = {
      {{query_answer::access_refused, 5}, -5, ""},
      {{query_answer::figures_refused, 5}, 0, ""},
      {{query_answer::access_refused, EMFILE}, -EMFILE, "24. Too many open files"},
      {{query_answer::figures_refused, 1005}, 0, "1005. Error 1005."}};
  for (auto const& [answer, seconds, error] : rows) {
    SCOPED_TRACE(error);
    auto const list = newList3({.processes = 4, .gone = {{101, answer}}});
    // The user time of ended threads is left out.
    played.figures = {3000ull << 20, {1000, 0}, {1, 500000}, {{{2, 0}, {4, 0}, false}}};
    bool const goesOn = error.empty();
    auto const shows = [&](int slot, double cpu, int memory, char const* owner) {
      auto const& r = list->records[slot];
      EXPECT_TRUE(r.cpuSeconds == cpu && r.memoryMB == memory && r.ownerText == owner) << slot;
    };
    EXPECT_EQ(list->collectAllProcesses_allInfo(), goesOn);
    EXPECT_EQ(list->error.asChar(), goesOn ? "" : " task_for_pid failed. kr:" + error);
    shows(0, 7.5, 3000, goesOn ? "-2" : "");
    shows(1, seconds, 0, "");
    goesOn ? shows(3, 7.5, 3000, "abcdefghijklmnopqrstuvwxy") : shows(3, 0, 1, "");
    list->set_getCpuMemAtOnce(true);  // Required: can only be cleared
    for (int i = 0; i < 40; ++i) EXPECT_EQ(list->getProcessInfo(1), goesOn);
    EXPECT_EQ(list->error.length, goesOn ? 0 : 500);
    list->records[0] = list->records[4] = {};
    EXPECT_TRUE(list->getProcessInfo(0) && list->getProcessInfo(4));
    EXPECT_FALSE(list->getProcessInfo(-1) || list->getProcessInfo(5));
    shows(0, 0, 0, ""), shows(4, 7.5, 3000, "");
  }
}

TEST(PlayedProcessList3, OwnersAreThoseOfTheSystemAndOnlyTheImportantOnes) {
  char const cut[] = "abcdefghijklmnopqrstuvwxy";
  std::tuple<int, int, char const*, std::string> const rows[] = {
      {1, 2000, "FINDE", cut}, {2, 2001, "A", ""}, {3, 2001, "B", "mia"},
      {1, 0, "FINDER", cut},   {-2, 0, "C", "-2"}, {4, 2001, "D", "4"}};
  for (bool const importantOnly : {true, false}) {
    auto const list = newList3({});
    for (auto const& [uid, memory, name, owner] : rows)
      list->records[list->count++] = {name, "", 0, 0, memory, 0, uid};
    list->records[6] = {"FINDER", "stored", 0, 0, 0, 0, 3}, list->count = 7;
    list->collectOwner(importantOnly);
    for (int i = 0; auto const& [uid, memory, name, owner] : rows) {
      bool const isAsked = !importantOnly || memory > 2000 || i == 3;
      EXPECT_EQ(list->records[i++].ownerText.asChar(), isAsked ? owner : "") << name;
      EXPECT_EQ(_qzProcessList3::getProcessOwner(uid).asChar(), owner);
    }
    EXPECT_STREQ(list->records[6].ownerText.asChar(), "stored");
    EXPECT_STREQ(list->collectLog.asChar(), importantOnly
                                                ? "; init: .00s.ms; OwnerList important: .00s.ms"
                                                : "; init: .00s.ms; OwnerList All: .00s.ms");
  }
}

}  // namespace

qz::detail::enumeration qz::detail::enumerateProcesses(process_entry* entries, int& count) {
  bool const isQuestion = entries == nullptr;
  if (!isQuestion && --played.growths >= 0) return enumeration::grew;
  errno = isQuestion ? played.sizeFailure : played.fillFailure;
  if (errno != 0) return enumeration::failed;
  if (!isQuestion) played.clock += played.enumerationTakes;
  // As long as the machine grows it tells too small a size.
  count = std::min(isQuestion ? 9999 : count, played.growths > 0 ? 1 : played.processes);
  for (unsigned i = 0; !isQuestion && i < static_cast<unsigned>(count); ++i)
    entries[i] = {i + 100, i + 50, static_cast<int>(i) - 2, "Twenty-five (\xE4) bytes...."};
  return enumeration::complete;
}

query_answer qz::detail::queryProcess(unsigned pid, process_figures& figures) {
  played.clock += played.queryTakes;
  figures = played.figures;
  auto const answer = played.gone.contains(pid) ? played.gone[pid] : played.answer;
  errno = answer.code;
  return answer;
}

void* operator new[](std::size_t size, std::nothrow_t const& /*tag*/) noexcept {
  errno = ENOMEM;
  return played.hasMemory ? operator new[](size) : nullptr;
}

extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept {
  *now = {played.clock / 1'000'000, played.clock % 1'000'000};
  return 0;
}

extern "C" time_t time(time_t* /*now*/) noexcept { return played.clock / 1'000'000; }

extern "C" passwd* getpwuid(uid_t user) {
  static char longName[] = "abcdefghijklmnopqrstuvwxyzABCD", shortName[] = "mia";
  static passwd found = {};
  found.pw_name = user == 1 ? longName : user == 3 ? shortName : nullptr;
  return user >= 1 && user <= 3 ? &found : nullptr;
}
