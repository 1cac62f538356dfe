// What the real system can do to a snapshot: no descriptors, no /proc, a /proc that hides, calls
// that fail in the middle.
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include "process/call_faults.h"
#include "process/platform.h"
#include "process/process_list.h"
#include "process/test_processes.h"
#include "tool/system_services.h"

namespace {

std::string failureText(int code) {
  return std::string(" sysctl:") + qzLastOSError8(code).asChar();
}

// --- descriptors ---

bool collectWithDescriptors(int number, _qzProcessList* list) {
  int const lowest = dup(STDIN_FILENO);
  close(lowest);
  rlim_t const limit = static_cast<rlim_t>(lowest) + static_cast<rlim_t>(number);
  rlimit const limits = {limit, limit};
  return setrlimit(RLIMIT_NOFILE, &limits) == 0 && list->collectAllProcesses2();
}

// With one descriptor /proc can be opened, but not a single file in it.
TEST(ProcessListFaults, NoDescriptorsLeftIsAnErrorAndNoEmptyMachine) {
  for (int const number : {0, 1}) {
    SCOPED_TRACE(number);
    shared_list const list;
    ASSERT_TRUE(inChild([&] { return collectWithDescriptors(number, list.list); }));
    EXPECT_EQ(list->error.asChar(), failureText(EMFILE));
    EXPECT_EQ(list->count, 0);
    EXPECT_TRUE(list->collected);
  }
  shared_list const list;
  ASSERT_TRUE(inChild([&] { return collectWithDescriptors(2, list.list); }));
  EXPECT_STREQ(list->error.asChar(), "");
}

TEST(ProcessListFaults, DescriptorsAreGivenBack) {
  auto const list = std::make_unique<_qzProcessList>();
  int const before = dup(STDIN_FILENO);
  close(before);
  list->collectAllProcesses2();
  ASSERT_GE(slotOf(*list, getpid()), 0);
  list->getProcessInfoMemCPUOnly(slotOf(*list, getpid()));
  int const after = dup(STDIN_FILENO);
  close(after);
  EXPECT_EQ(after, before);
}

// --- what is mounted at /proc ---

bool enterOwnNamespaces() {
  if (geteuid() == 0) return unshare(CLONE_NEWNS | CLONE_NEWPID) == 0;
  std::string const map = "0 " + std::to_string(geteuid()) + " 1";
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWPID) != 0) return false;
  std::FILE* file = std::fopen("/proc/self/uid_map", "w");
  return file != nullptr && std::fputs(map.c_str(), file) >= 0 && std::fclose(file) == 0;
}

// Gives up whatever lets a user look into the processes of others.
bool becomeNobody(bool isRoot) {
  if (isRoot) return setgroups(0, nullptr) == 0 && setgid(65534) == 0 && setuid(65534) == 0;
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct none[2] = {};
  return syscall(SYS_capset, &header, none) == 0;
}

// Collects in a new process namespace as process 1, whose only neighbour is one that nobody else
// may look into, with a file system of this type and these options at /proc.
bool collectUnder(char const* type, char const* options, _qzProcessList* list) {
  bool const isRoot = geteuid() == 0;
  if (!enterOwnNamespaces()) return false;
  return inChild([&] {
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    if (mount(type, "/proc", type, 0, options) != 0) return false;
    prctl(PR_SET_NAME, "looker");
    idle_child const neighbour([] {
      prctl(PR_SET_NAME, "neighbour");
      prctl(PR_SET_DUMPABLE, 0);
    });
    // Process 1 takes its neighbour along when it ends; signal it, it may no longer.
    _exit(becomeNobody(isRoot) && list->collectAllProcesses2() ? 0 : 1);
    return false;
  });
}

TEST(ProcessListFaults, AnEmptyProcIsAnErrorAndNoEmptyMachine) {
  shared_list const list;
  ASSERT_TRUE(inChild([&] { return collectUnder("tmpfs", "size=4k", list.list); }));
  EXPECT_EQ(list->error.asChar(), failureText(ENOENT));
  EXPECT_EQ(list->count, 0);
  EXPECT_TRUE(list->collected);
}

TEST(ProcessListFaults, HiddenProcessesHaveNoNameOrAreNotThere) {
  struct {
    char const* options;
    int count;
    char const* neighbour;
    unsigned parent;
  } const rows[] = {
      {"hidepid=0", 2, "NEIGHBOUR", 1},
      {"hidepid=1", 2, "", 0},
      {"hidepid=2", 1, nullptr, 0},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.options);
    shared_list const list;
    ASSERT_TRUE(inChild([&] { return collectUnder("proc", row.options, list.list); }));
    EXPECT_STREQ(list->error.asChar(), "");
    ASSERT_EQ(list->count, row.count);
    EXPECT_EQ(list->records[0].pid, 1u);
    EXPECT_STREQ(list->records[0].name.asChar(), "LOOKER");
    if (row.neighbour == nullptr) continue;
    EXPECT_EQ(list->records[1].pid, 2u);
    EXPECT_EQ(list->records[1].parentPid, row.parent);
    EXPECT_EQ(list->records[1].uid, 0);
    EXPECT_STREQ(list->records[1].name.asChar(), row.neighbour);
  }
}

// --- calls that fail in the middle ---

TEST(ProcessListFaults, AScanWithoutTheOwnProcessIsRepeatedTwice) {
  struct {
    int hiddenScans;
    int scans;
    bool found;
  } const rows[] = {{0, 1, true}, {1, 2, true}, {2, 3, true}, {3, 3, false}, {9, 3, false}};
  auto const list = std::make_unique<_qzProcessList>();
  for (auto const& row : rows) {
    SCOPED_TRACE(row.hiddenScans);
    call_faults faults;
    faults.hiddenPid = getpid();
    faults.hiddenScans = row.hiddenScans;
    list->collectAllProcesses2();
    EXPECT_EQ(faults.scans, row.scans);
    EXPECT_EQ(slotOf(*list, getpid()) >= 0, row.found);
    EXPECT_GE(slotOf(*list, 1), 0);
    EXPECT_STREQ(list->error.asChar(), "");
  }
}

TEST(ProcessListFaults, AFullBufferEndsTheScanForGood) {
  call_faults faults;
  qz::detail::process_entry entries[1];
  int count = 1;
  ASSERT_EQ(qz::detail::enumerateProcesses(entries, count), qz::detail::enumeration::complete);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(entries[0].pid, 1u);
  EXPECT_EQ(faults.scans, 0);
}

TEST(ProcessListFaults, OneUnreadableFileDecidesByItsCause) {
  idle_child const child([] { prctl(PR_SET_NAME, "faulty"); });
  struct {
    int failure;
    int times;
    char const* name;  // null: the process is left out
    int error;         // not 0: the whole collection fails
  } const rows[] = {
      {EINTR, 3, "FAULTY", 0},
      {ESRCH, 1, nullptr, 0},
      {ENOENT, 1, nullptr, 0},
      {EACCES, 1, "", 0},
      {EPERM, 1, "", 0},
      {EIO, 1, "", 0},
      {0, 1, "", 0},
      {ENOMEM, 1, nullptr, ENOMEM},
      {EMFILE, 1, nullptr, EMFILE},
      {ENFILE, 1, nullptr, ENFILE},
  };
  auto const list = std::make_unique<_qzProcessList>();
  for (auto const& row : rows) {
    SCOPED_TRACE(row.failure);
    call_faults faults;
    faults.failingPath = "/" + std::to_string(child.pid) + "/stat";
    faults.failure = row.failure;
    faults.failureTimes = row.times;
    list->collectAllProcesses2();
    EXPECT_EQ(faults.failureTimes, 0);
    EXPECT_EQ(list->error.asChar(), row.error == 0 ? "" : failureText(row.error));
    EXPECT_EQ(list->count == 0, row.error != 0);
    int const slot = slotOf(*list, child.pid);
    ASSERT_EQ(slot >= 0, row.name != nullptr);
    if (slot < 0) continue;
    EXPECT_STREQ(list->records[slot].name.asChar(), row.name);
    EXPECT_EQ(list->records[slot].parentPid, *row.name != 0 ? static_cast<unsigned>(getpid()) : 0u);
    EXPECT_EQ(list->records[slot].uid, static_cast<int>(geteuid()));
  }
}

TEST(ProcessQuery, GivesItsCodeByCauseAndStep) {
  using qz::detail::query_answer;
  idle_child const child([] {});
  std::string const pid = std::to_string(child.pid);
  std::string const first = "/proc/" + pid + "/stat";
  struct {
    std::string path;
    int failure;
    int outcome;
    int code;
  } const rows[] = {
      {"nothing", 0, query_answer::answered, 0},
      {first, ESRCH, query_answer::access_refused, 5},
      {first, ENOENT, query_answer::access_refused, 5},
      {first, EPERM, query_answer::access_refused, 5},
      {first, EACCES, query_answer::access_refused, 5},
      {first, EIO, query_answer::access_refused, 1005},
      {first, 0, query_answer::access_refused, 1005},
      {first, EMFILE, query_answer::access_refused, EMFILE},
      {"/statm", ESRCH, query_answer::figures_refused, 5},
      {"/statm", EIO, query_answer::figures_refused, 1005},
      {"/statm", 0, query_answer::figures_refused, 1005},
      {"/statm", ENOMEM, query_answer::figures_refused, ENOMEM},
      {"/task/" + pid + "/stat", EPERM, query_answer::figures_refused, 5},  // no thread is left
      {"/task/" + pid + "/stat", ENOMEM, query_answer::figures_refused, ENOMEM},
      {"/task/" + pid + "/stat", 0, query_answer::figures_refused, 1005},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.path + ", failure " + std::to_string(row.failure));
    call_faults faults;
    faults.failingPath = row.path;
    faults.failure = row.failure;
    faults.failureTimes = 1;
    qz::detail::process_figures figures;
    auto const answer = qz::detail::queryProcess(static_cast<unsigned>(child.pid), figures);
    EXPECT_EQ(answer.outcome, row.outcome);
    EXPECT_EQ(answer.code, row.code);
  }
}

}  // namespace
