// The light list on a machine that is played: faults, sizes and figures that no real one offers.
#include <gtest/gtest.h>
#include <pwd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "process/process_list.h"
#include "process/substitute_services.h"

namespace {

using qz::detail::query_answer;

passwd playedUser;
passwd* foundUser = nullptr;
uid_t askedUser = 0;

struct PlayedList : testing::Test {
  std::unique_ptr<_qzProcessList2> list = std::make_unique<_qzProcessList2>(false);

  PlayedList() {
    played = {};
    foundUser = nullptr;
  }
  ~PlayedList() override { played = {}; }

  void collect(int processes) {
    played.processes = processes;
    ASSERT_TRUE(list->collectAllProcesses2());
    ASSERT_STREQ(list->error.asChar(), "");
  }
};

// --- construction ---

TEST_F(PlayedList, ConstructionClearsTheTextsOfEverySlot) {
  for (bool const argument : {false, true}) {
    SCOPED_TRACE(argument);
    auto const memory = std::make_unique<std::byte[]>(sizeof(_qzProcessList2));
    std::memset(memory.get(), 0xEE, sizeof(_qzProcessList2));
    auto const* made = new (memory.get()) _qzProcessList2(argument);
    int cleared = 0;
    for (auto const& record : made->records)
      cleared += record.name.isEmpty() && record.name.data[0] == 0 && record.owner.isEmpty() &&
                 record.owner.data[0] == 0;
    EXPECT_EQ(cleared, 4000);
    EXPECT_STREQ(made->error.asChar(), "");
    EXPECT_FALSE(made->collected);
    EXPECT_FALSE(made->infoRequested);
    EXPECT_EQ(played.sizeQuestions, 0);
  }
}

// --- collection ---

TEST_F(PlayedList, FillsTheRecordsInDeliveredOrder) {
  collect(3);
  ASSERT_EQ(list->count, 3);
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    auto const& record = list->records[i];
    EXPECT_EQ(record.pid, processOf(i).pid);
    EXPECT_EQ(record.parentPid, processOf(i).parentPid);
    EXPECT_EQ(record.uid, processOf(i).uid);
    EXPECT_EQ(record.memoryMB, 0);
    EXPECT_EQ(record.cpuSeconds, 0.0);
  }
  EXPECT_STREQ(list->records[0].name.asChar(), "");
  EXPECT_STREQ(list->records[1].name.asChar(), "RENDER(1) \xE4.B");
  EXPECT_STREQ(list->records[2].name.asChar(), "EXACTLY TWENTY-FIVE BYTES");
  EXPECT_TRUE(list->collected);
}

TEST_F(PlayedList, KeepsTheFirst3999) {
  struct {
    int delivered;
    int kept;
  } const rows[] = {{0, 0}, {1, 1}, {3998, 3998}, {3999, 3999}, {4000, 3999}, {5000, 3999}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.delivered);
    list->records[3999].pid = 77;
    collect(row.delivered);
    EXPECT_EQ(list->count, row.kept);
    EXPECT_TRUE(list->collected);
    for (int i = 0; i < list->count; ++i) ASSERT_EQ(list->records[i].pid, processOf(i).pid);
    EXPECT_EQ(list->records[3999].pid, 77u);
  }
}

TEST_F(PlayedList, AsksForTheSizeAgainAsLongAsItGrows) {
  played.growths = 2;
  collect(5);
  EXPECT_EQ(list->count, 5);
  EXPECT_EQ(played.sizeQuestions, 3);
  EXPECT_EQ(played.fills, 3);
}

TEST_F(PlayedList, AFailureShowsInTheErrorAndAnEmptyList) {
  struct {
    char const* what;
    int sizeFailure, fillFailure, growths;
    bool noMemory;
    char const* error;
    int fills;
  } const rows[] = {
      {"size", EACCES, 0, 0, false, " sysctl:Permission denied", 0},
      {"fill", 0, ENOENT, 0, false, " sysctl:No such file or directory", 1},
      {"fill after a growth", 0, EIO, 1, false, " sysctl:Input/output error", 2},
      {"no memory to fill is no growth", 0, ENOMEM, 0, false, " sysctl:Cannot allocate memory", 1},
      {"no memory for the buffer", 0, 0, 0, true, " sysctl:Cannot allocate memory", 0},
      {"a number without a name", 0, 12345, 0, false, " sysctl:Error 12345.", 1},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.what);
    played = {};
    collect(4);
    played.fills = 0;
    played.sizeFailure = row.sizeFailure;
    played.fillFailure = row.fillFailure;
    played.growths = row.growths;
    played.noMemory = row.noMemory;
    EXPECT_TRUE(list->collectAllProcesses2());
    EXPECT_STREQ(list->error.asChar(), row.error);
    EXPECT_EQ(list->count, 0);
    EXPECT_TRUE(list->collected);
    EXPECT_EQ(played.fills, row.fills);
  }
  played = {};
  collect(4);
  EXPECT_EQ(list->count, 4);
}

TEST_F(PlayedList, ClearsTheFiguresAndNotTheOwner) {
  collect(2);
  list->records[1].memoryMB = 12;
  list->records[1].cpuSeconds = 3.5;
  list->getProcessInfoOwnerOnly(1);
  ASSERT_STREQ(list->records[1].owner.asChar(), "-1");
  collect(2);
  EXPECT_EQ(list->records[1].memoryMB, 0);
  EXPECT_EQ(list->records[1].cpuSeconds, 0.0);
  EXPECT_STREQ(list->records[1].owner.asChar(), "-1");  // Required: outlives the collection
}

// --- memory and CPU time of one record ---

TEST_F(PlayedList, MemoryIsRoundedInTwoSteps) {
  struct {
    unsigned long long bytes;
    int megabytes;
  } const rows[] = {
      {0, 0},       {1, 0},       {523775, 0},        {523776, 1},        {1048576, 1},
      {1572351, 1}, {1572352, 2}, {3ull << 30, 3072}, {5368709120, 5120}, {1ull << 40, 1 << 20},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.bytes);
    collect(2);
    played.figures.residentBytes = row.bytes;
    list->getProcessInfoMemCPUOnly(0);
    EXPECT_EQ(played.queriedPid, processOf(0).pid);
    EXPECT_EQ(list->records[0].memoryMB, row.megabytes);
  }
}

// Required: whichever record is asked for, the last one of the list never shows 0 afterwards.
TEST_F(PlayedList, TheLastRecordShowsOneMegabyteAtLeast) {
  struct {
    unsigned long long bytes;
    int asked;
    int lastBefore;
    int ofAsked;
    int ofLast;
  } const rows[] = {
      {1000, 0, 0, 0, 1}, {1000, 2, 0, 1, 1},    {1000, 0, 9, 0, 9}, {0, 0, 0, 0, 0},
      {0, 2, 9, 0, 0},    {5 << 20, 0, 0, 5, 1}, {1000, 2, 9, 1, 1}, {5 << 20, 2, 0, 5, 5},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.asked);
    SCOPED_TRACE(row.bytes);
    collect(3);
    list->records[2].memoryMB = row.lastBefore;
    played.figures.residentBytes = row.bytes;
    list->getProcessInfoMemCPUOnly(row.asked);
    EXPECT_EQ(list->records[row.asked].memoryMB, row.ofAsked);
    EXPECT_EQ(list->records[1].memoryMB, 0);
    EXPECT_EQ(list->records[2].memoryMB, row.ofLast);
  }
}

TEST_F(PlayedList, ARefusalGivesTheNegatedCodeOrZeros) {
  struct {
    query_answer answer;
    double seconds;
  } const rows[] = {
      {{query_answer::access_refused, 5}, -5.0},
      {{query_answer::access_refused, 1005}, -1005.0},
      {{query_answer::figures_refused, 5}, 0.0},
      {{query_answer::figures_refused, 12}, 0.0},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.answer.code);
    collect(2);
    list->records[0].memoryMB = 7;
    list->records[0].cpuSeconds = 7;
    played.answer = row.answer;
    played.figures.residentBytes = 1 << 30;
    played.figures.endedSystem = {9, 0};
    list->getProcessInfoMemCPUOnly(0);
    EXPECT_EQ(list->records[0].cpuSeconds, row.seconds);
    EXPECT_EQ(list->records[0].memoryMB, 0);
    EXPECT_EQ(list->records[1].memoryMB, 0);
    EXPECT_STREQ(list->error.asChar(), "");
  }
}

// The figures are chosen so that every other order of adding gives another last bit.
TEST_F(PlayedList, CpuTimeIsAddedInItsOrder) {
  collect(1);
  played.figures.endedUser = {1000, 5};  // Required: left out
  played.figures.endedSystem = {1, 377750};
  played.figures.threads = {{{21, 801782}, {0, 463765}, false},
                            {{500, 1}, {500, 1}, true},  // idle: left out
                            {{14, 185342}, {4, 779715}, false},
                            {{3, 310780}, {4, 265973}, false}};
  list->getProcessInfoMemCPUOnly(0);
  EXPECT_EQ(list->records[0].cpuSeconds, 0x1.917b1960fa15dp+5);
}

TEST_F(PlayedList, RemembersThatInfoWasRequested) {
  collect(1);
  list->getProcessInfoOwnerOnly(0);
  EXPECT_FALSE(list->infoRequested);
  list->getProcessInfoMemCPUOnly(0);
  EXPECT_TRUE(list->infoRequested);
  collect(1);
  EXPECT_FALSE(list->infoRequested);
  list->getProcessInfo(0);
  EXPECT_TRUE(list->infoRequested);
}

// --- the owner of one record ---

TEST_F(PlayedList, TheOwnerIsALoginNameOrTheId) {
  struct {
    int uid;
    bool known;
    char const* login;
    char const* owner;
  } const rows[] = {
      {0, true, "root", "root"},
      {1000, true, "Mixed-Case", "Mixed-Case"},
      {1000, true, "a name of twenty-six bytes", "a name of twenty-six byte"},
      {1000, true, "", ""},
      {1000, true, nullptr, ""},
      {1000, false, nullptr, "1000"},
      {2147483647, false, nullptr, "2147483647"},
      {-2, false, nullptr, "-2"},
  };
  collect(1);
  for (auto const& row : rows) {
    SCOPED_TRACE(row.owner);
    std::string login = row.login == nullptr ? "" : row.login;
    playedUser.pw_name = row.login == nullptr ? nullptr : login.data();
    foundUser = row.known ? &playedUser : nullptr;
    list->records[0].uid = row.uid;
    list->records[0].owner = "before";
    list->getProcessInfo(0);
    EXPECT_EQ(askedUser, static_cast<uid_t>(row.uid));
    EXPECT_STREQ(list->records[0].owner.asChar(), row.owner);
  }
}

}  // namespace

// Stands in front of the C library's.
extern "C" passwd* getpwuid(uid_t uid) {
  askedUser = uid;
  return foundUser;
}
