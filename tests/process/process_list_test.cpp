// The light list against the real system.
#include "process/process_list.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "process/platform.h"
#include "process/test_processes.h"

namespace {

std::unique_ptr<_qzProcessList> collected() {
  auto list = std::make_unique<_qzProcessList>();
  EXPECT_TRUE(list->collectAllProcesses2());
  EXPECT_TRUE(list->collected);
  EXPECT_STREQ(list->error.asChar(), "");
  return list;
}

// The record of a process; one with the id 0 if there is none.
_qzProcessList::_prcInfo recordOf(_qzProcessList const& list, pid_t pid) {
  int const slot = slotOf(list, pid);
  if (slot >= 0) return list.records[slot];
  _qzProcessList::_prcInfo none;
  none.pid = 0;
  return none;
}

char stateOf(pid_t pid) {
  std::string const path = "/proc/" + std::to_string(pid) + "/stat";
  char state = '?';
  if (std::FILE* file = std::fopen(path.c_str(), "r")) {
    (void)!std::fscanf(file, "%*d (%*[^)]) %c", &state);
    std::fclose(file);
  }
  return state;
}

int volatile turn;

// Uses up CPU time of this thread, nearly all of it outside the kernel.
void burn(double seconds) {
  timespec used;
  do {
    for (int i = 0; i < 1000000; ++i) turn = i;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  } while (static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9 < seconds);
}

TEST(ProcessList, HoldsTheOwnProcess) {
  auto const list = collected();
  auto const own = recordOf(*list, getpid());
  ASSERT_EQ(own.pid, static_cast<unsigned>(getpid()));
  EXPECT_EQ(own.parentPid, static_cast<unsigned>(getppid()));
  EXPECT_EQ(own.uid, static_cast<int>(geteuid()));
  EXPECT_EQ(own.memoryMB, 0);
  EXPECT_EQ(own.cpuSeconds, 0.0);
}

TEST(ProcessList, FindsAChildUnderItsName) {
  struct {
    char const* name;
    char const* listed;
  } const rows[] = {
      {"qzRender", "QZRENDER"},
      {"", ""},
      {"two words", "TWO WORDS"},
      {"a) R 1 2 (b", "A) R 1 2 (B"},
      {"line\nfeed\\n", "LINE\nFEED\\N"},
      {"\x80\xE4z\xFF", "\x80\xE4Z\xFF"},
      {"fifteen bytes-xyz", "FIFTEEN BYTES-X"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.listed);
    idle_child const child([&row] { prctl(PR_SET_NAME, row.name); });
    auto const record = recordOf(*collected(), child.pid);
    ASSERT_EQ(record.pid, static_cast<unsigned>(child.pid));
    EXPECT_STREQ(record.name.asChar(), row.listed);
    EXPECT_EQ(record.parentPid, static_cast<unsigned>(getpid()));
  }
}

// The files of such a process belong to root, whoever runs it.
TEST(ProcessList, KnowsTheOwnerOfAProcessThatIsNotDumpable) {
  int const owner = geteuid() == 0 ? 65534 : static_cast<int>(geteuid());
  idle_child const child([owner] {
    if (geteuid() == 0 && setuid(static_cast<uid_t>(owner)) != 0) _exit(1);
    prctl(PR_SET_DUMPABLE, 0);
  });
  EXPECT_EQ(recordOf(*collected(), child.pid).uid, owner);
}

TEST(ProcessList, KnowsTheOwnerOfEveryProcess) {
  auto const list = collected();
  int seen = 0;
  for (int i = 0; i < list->count; ++i) {
    std::string const directory = "/proc/" + std::to_string(list->records[i].pid);
    SCOPED_TRACE(directory);
    struct stat status;
    if (stat(directory.c_str(), &status) != 0) continue;
    ++seen;
    EXPECT_EQ(list->records[i].uid, static_cast<int>(status.st_uid));
  }
  EXPECT_GE(seen, 2);
}

TEST(ProcessList, DeliversByRisingId) {
  auto const list = collected();
  ASSERT_GE(list->count, 2);
  for (int i = 1; i < list->count; ++i) EXPECT_LT(list->records[i - 1].pid, list->records[i].pid);
}

TEST(ProcessList, LeavesAZombieOutAndWhatHasVanished) {
  idle_child child([] {});
  EXPECT_GE(slotOf(*collected(), child.pid), 0);

  kill(child.pid, SIGKILL);
  siginfo_t info;
  waitid(P_PID, static_cast<id_t>(child.pid), &info, WEXITED | WNOWAIT);
  ASSERT_EQ(stateOf(child.pid), 'Z');
  auto const list = collected();
  EXPECT_EQ(slotOf(*list, child.pid), -1);
  qz::detail::process_figures figures;
  auto const answer = qz::detail::queryProcess(static_cast<unsigned>(child.pid), figures);
  EXPECT_EQ(answer.outcome, qz::detail::query_answer::access_refused);
  EXPECT_EQ(answer.code, qz::detail::kRefusedCode);

  pid_t const gone = child.pid;
  child.end();
  EXPECT_EQ(slotOf(*collected(), gone), -1);
}

TEST(ProcessList, KeepsAProcessWhoseFirstThreadHasEnded) {
  pid_t const child = fork();
  if (child == 0) {
    std::thread([] {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      for (;;) pause();
    }).detach();
    burn(0.3);
    syscall(SYS_exit, 0);  // ends this thread alone
  }
  while (stateOf(child) != 'Z') usleep(1000);
  EXPECT_EQ(recordOf(*collected(), child).pid, static_cast<unsigned>(child));
  qz::detail::process_figures figures;
  auto const answer = qz::detail::queryProcess(static_cast<unsigned>(child), figures);
  EXPECT_EQ(answer.outcome, qz::detail::query_answer::answered);
  EXPECT_EQ(figures.threads.size(), 1u);
  EXPECT_NEAR(figures.endedUser.microseconds * 1e-6, 0.3, 0.15);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST(ProcessList, IsWholeWhileProcessesVanish) {
  pid_t const churn = fork();
  if (churn == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
      pid_t const shortLived = fork();
      if (shortLived == 0) _exit(0);
      waitpid(shortLived, nullptr, 0);
    }
  }
  auto const list = std::make_unique<_qzProcessList>();
  for (int i = 0; i < 200; ++i) {
    list->collectAllProcesses2();
    ASSERT_STREQ(list->error.asChar(), "");
    ASSERT_GE(slotOf(*list, 1), 0);
    ASSERT_GE(slotOf(*list, getpid()), 0);
    ASSERT_GE(slotOf(*list, churn), 0);
  }
  kill(churn, SIGKILL);
  waitpid(churn, nullptr, 0);
}

// --- one record ---

TEST(ProcessInfo, GivesMemoryTimeAndOwnerOfTheOwnProcess) {
  burn(0.2);
  auto const list = collected();
  int const own = slotOf(*list, getpid());
  ASSERT_GE(own, 0);
  list->getProcessInfo(own);

  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  double const used = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                      static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
  EXPECT_NEAR(list->records[own].cpuSeconds, used, 0.05);
  EXPECT_GE(list->records[own].memoryMB, 1);
  EXPECT_STREQ(list->records[own].owner.asChar(), getpwuid(geteuid())->pw_name);
  EXPECT_STREQ(list->error.asChar(), "");
}

TEST(ProcessInfo, CountsResidentMemory) {
  constexpr std::size_t kSize = 64 << 20;
  idle_child const child([] {
    void* const memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory == MAP_FAILED) _exit(1);
  });
  idle_child const empty([] {});
  auto const list = collected();
  int const slots[] = {slotOf(*list, child.pid), slotOf(*list, empty.pid)};
  for (int const slot : slots) {
    ASSERT_GE(slot, 0);
    list->getProcessInfoMemCPUOnly(slot);
  }
  EXPECT_NEAR(list->records[slots[0]].memoryMB - list->records[slots[1]].memoryMB, 64, 2);
}

// Required: the user time of ended threads does not count, that of live ones does.
TEST(ProcessInfo, LeavesTheUserTimeOfEndedThreadsOut) {
  idle_child const ended([] { std::thread([] { burn(0.4); }).join(); });
  idle_child const live([] { burn(0.4); });
  auto const list = collected();
  for (auto const* child : {&ended, &live}) {
    int const slot = slotOf(*list, child->pid);
    ASSERT_GE(slot, 0);
    list->getProcessInfoMemCPUOnly(slot);
  }
  EXPECT_LT(recordOf(*list, ended.pid).cpuSeconds, 0.2);
  EXPECT_GT(recordOf(*list, live.pid).cpuSeconds, 0.3);
}

TEST(ProcessQuery, CountsTheTimeOfEndedThreadsApart) {
  idle_child const ended([] { std::thread([] { burn(0.4); }).join(); });
  idle_child const live([] { burn(0.4); });
  struct {
    pid_t pid;
    double ended, live;  // user time in seconds
  } const rows[] = {{ended.pid, 0.4, 0}, {live.pid, 0, 0.4}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.ended);
    qz::detail::process_figures figures;
    auto const answer = qz::detail::queryProcess(static_cast<unsigned>(row.pid), figures);
    ASSERT_EQ(answer.outcome, qz::detail::query_answer::answered);
    ASSERT_EQ(figures.threads.size(), 1u);
    EXPECT_FALSE(figures.threads[0].idle);
    EXPECT_EQ(figures.endedUser.seconds + figures.threads[0].user.seconds, 0);
    EXPECT_NEAR(figures.endedUser.microseconds * 1e-6, row.ended, 0.15);
    EXPECT_NEAR(figures.threads[0].user.microseconds * 1e-6, row.live, 0.15);
  }
}

TEST(ProcessInfo, OfAProcessThatHasGoneIsMinusFive) {
  idle_child child([] {});
  auto const list = collected();
  int const slot = slotOf(*list, child.pid);
  ASSERT_GE(slot, 0);
  child.end();
  list->getProcessInfoMemCPUOnly(slot);
  EXPECT_EQ(list->records[slot].cpuSeconds, -5.0);
  EXPECT_EQ(list->records[slot].memoryMB, 0);
  EXPECT_STREQ(list->error.asChar(), "");
}

}  // namespace
