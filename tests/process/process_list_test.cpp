// The lists against the real system and its faults.
#undef _FORTIFY_SOURCE  // hardened headers define read inline and leave no room for the one below
#include "process/process_list.h"

#include <dirent.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "process/platform_use.h"
#include "process/process_list3.h"

namespace {

using qz::detail::process_figures;
using qz::detail::query_answer;

// What this program's getdents64 and read, at the end of this file, do wrong.
struct call_faults {
  int hiddenScans = 0;           // no directory shows this process until it was read so many times
  int scans = 0;                 // how often directories were read to their end
  std::string failingPath = {};  // reading a file whose path ends so
  int failure = 0;               // fails with this or, if it is 0, gives the text,
  int failures = 0;              // so many times
  std::string text = {};
} faults;

// A child that runs `body` and then stands still. The constructor returns when it does.
struct still_child {
  pid_t const pid = fork();

  explicit still_child(std::function<void()> const& body) {
    if (pid == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      body();
      for (;;) raise(SIGSTOP);
    }
    waitpid(pid, nullptr, WUNTRACED);
  }
  ~still_child() { kill(pid, SIGKILL), waitpid(pid, nullptr, 0); }
};

constexpr char kNoFiles[] = " sysctl:Too many open files", kGone[] = "left out", kHidden[] = "",
               kNoMemory[] = " sysctl:Cannot allocate memory",
               kNoProc[] = " sysctl:No such file or directory";

struct snapshot {
  std::unique_ptr<_qzProcessList> list = std::make_unique<_qzProcessList>();
  int slot;
  std::string shown;  // name of the process, or why there is none

  explicit snapshot(pid_t pid) {
    list->collectAllProcesses2();
    for (slot = list->count - 1; slot >= 0 && (*this)->pid != static_cast<unsigned>(pid);) --slot;
    shown = slot >= 0 ? (*this)->name.asChar() : list->count > 0 ? kGone : list->error.asChar();
  }
  _qzProcessList::_prcInfo* operator->() const { return &list->records[slot]; }
};

// Uses up 0.4 seconds of user time of this thread, by the system's own count.
void burn() {
  rusage used;
  while (getrusage(RUSAGE_THREAD, &used) == 0 && used.ru_utime.tv_usec < 400000)
    for (int volatile i = 0; i < 1000000;) i = i + 1;
}

// The same in another thread, which the system has forgotten when this returns.
void burnInThread() {
  std::thread(burn).join();
  using entries = std::filesystem::directory_iterator;
  while (std::distance(entries("/proc/self/task"), entries()) > 1) continue;
}

query_answer query(pid_t pid, process_figures& figures) {
  return qz::detail::queryProcess(static_cast<unsigned>(pid), figures);
}

TEST(ProcessList, HasAChildUntilItEnds) {
  uid_t const user = geteuid() == 0 ? 65534 : geteuid();
  for (auto const* name : {"", "A) R 1 2 (B", "LINE\nFEED\\N", "\x80\xE4\xFF"}) {
    SCOPED_TRACE(name);
    still_child const child([&] {
      prctl(PR_SET_NAME, setuid(user) == 0 ? name : "failed");
      prctl(PR_SET_DUMPABLE, 0);  // its files belong to root now
    });
    snapshot const living(child.pid);
    ASSERT_EQ(living.shown, name);
    EXPECT_EQ(living->parentPid, static_cast<unsigned>(getpid()));
    EXPECT_EQ(living->uid, static_cast<int>(user));
    kill(child.pid, SIGKILL);
    waitid(P_PID, static_cast<id_t>(child.pid), nullptr, WEXITED | WNOWAIT);
    EXPECT_EQ(snapshot(child.pid).shown, kGone);  // a zombie by now
    living.list->getProcessInfoMemCPUOnly(living.slot);
    EXPECT_EQ(living->cpuSeconds, -5.0);
  }
}

TEST(ProcessList, IsWholeWhileProcessesVanish) {
  std::jthread const churn([](std::stop_token stop) {
    for (pid_t pid; !stop.stop_requested(); waitpid(pid, nullptr, 0))
      if ((pid = fork()) == 0) _exit(0);
  });
  still_child const child([] { prctl(PR_SET_NAME, "steady"); });
  for (int i = 0; i < 200; ++i) ASSERT_EQ(snapshot(child.pid).shown, "STEADY");
}

// Required: the user time of ended threads does not count, that of live ones does.
TEST(ProcessInfo, TellsLiveAndEndedThreadsApartAndReadsNoMoreThanItMust) {
  bool const tellsTime = access("/proc/self/schedstat", R_OK) == 0;
  still_child const live([] {
    static std::string const memory(64 << 20, 'x');
    burn();
  });
  still_child const ended(burnInThread);
  still_child const headless([] {
    static std::string const memory(64 << 20, 'x');
    std::thread([first = pthread_self()] {
      pthread_join(first, nullptr);
      raise(SIGSTOP);
    }).detach();
    burn();
    syscall(SYS_exit, 0);  // ends this thread alone
  });
  int inherited = 0;
  for (pid_t const pid : {ended.pid, live.pid, headless.pid}) {
    SCOPED_TRACE(pid - live.pid);
    process_figures figures;
    int tries = 0;  // a thread can be seen for a moment after it has ended
    do query(pid, figures);
    while (figures.threads.size() > 1 && ++tries < 10000 && usleep(1000) == 0);
    faults = {.failingPath = "/task/" + std::to_string(pid) + "/stat", .failures = 1};
    faults.failure = EINTR;
    query(pid, figures);
    EXPECT_EQ(faults.failures == 0, pid != live.pid || !tellsTime);
    EXPECT_EQ(faults.scans, pid == headless.pid);
    ASSERT_EQ(figures.threads.size(), 1u);
    EXPECT_EQ(figures.threads[0].user.microseconds > 200000, pid == live.pid);
    EXPECT_EQ(figures.endedUser.microseconds > 200000, pid != live.pid);
    snapshot const all(pid);
    ASSERT_GE(all.slot, 0);
    all.list->getProcessInfo(all.slot);
    EXPECT_EQ(all->cpuSeconds > 0.2, pid == live.pid);
    if (pid == ended.pid) inherited = all->memoryMB - 16;
    EXPECT_EQ((all->memoryMB - inherited) / 64, pid != ended.pid);
    EXPECT_STREQ(all->owner.asChar(), getpwuid(geteuid())->pw_name);
  }
}

TEST(ProcessList3, AFullRunInAnotherProcessIsCopiedWhole) {
  auto const size = static_cast<std::size_t>(_qzProcessList3::classMemDataSize());
  auto* const shared = static_cast<_qzProcessList3*>(
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  still_child const finder([] { prctl(PR_SET_NAME, "Finder"), burn(); });
  still_child const collector([shared] {
    (new (shared) _qzProcessList3(true))->creator_sharedOS();
    shared->collectAllProcesses_allInfo();
  });
  auto const list = std::make_unique<_qzProcessList3>(false);
  list->cpuInfoReady = false;
  list->copyFromExternal(shared);
  EXPECT_EQ(std::memcmp(list.get(), shared, 321052), 0);
  munmap(shared, size);
  EXPECT_TRUE(list->cpuInfoReady && !list->collected && list->error.isEmpty());
  auto const& found = list->records[list->getListIdxByPID(static_cast<unsigned>(finder.pid))];
  EXPECT_STREQ(found.name.asChar(), "FINDER");
  EXPECT_STREQ(found.ownerText.asChar(), getpwuid(geteuid())->pw_name);
  EXPECT_NEAR(double{found.cpuSeconds}, 0.5, 0.2);
}

TEST(ProcessInfo, EndedThreadsGetNoMoreThanIsLeftOver) {
  still_child const busy(burn), pair([] { std::thread(pause).detach(); });
  // Far less user and more system time than its thread has: the kernel splits either on its own.
  faults = {.failingPath = "/proc/" + std::to_string(busy.pid) + "/stat",
            .failures = 1,
            .text = "1 (a) S 2 3 4 5 6 0 7 8 9 10 10 50 11 12 13 14 1 2"};
  process_figures figures;
  query(busy.pid, figures);
  EXPECT_NEAR(cpuSecondsOf(figures), 0.6, 1e-6);
  EXPECT_GT(figures.threads[0].user.microseconds, 200000);
  // A thread that ends before its statm is read has no memory, but the others have.
  faults = {.failingPath = "/statm", .failures = 1, .text = "0 0 0"};
  query(pair.pid, figures);
  EXPECT_GT(figures.residentBytes, 0u);
  // The only one can be gone because another one has taken its place.
  faults = {.failingPath = "/statm", .failure = ESRCH, .failures = 1};
  EXPECT_EQ(query(busy.pid, figures).code, 0);
}

// One descriptor opens /proc, but not a file in it. The second round with two would miss those that
// were not given back.
TEST(ProcessFaults, NoDescriptorsLeftIsAnErrorAndNoEmptyMachine) {
  still_child const child([] { prctl(PR_SET_NAME, "seen"); });
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  int const lowest = dup(STDIN_FILENO);
  close(lowest);
  for (int const left : {0, 1, 2, 2}) {
    rlimit const limits = {static_cast<rlim_t>(lowest + left), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &limits);
    snapshot const all(child.pid);
    if (all.slot >= 0) all.list->getProcessInfoMemCPUOnly(all.slot);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(all.shown, left < 2 ? kNoFiles : "SEEN") << left;
  }
}

// Process 1 of its own process namespace looks at a neighbour.
TEST(ProcessFaults, ProcHidesNamesOrProcessesOrAll) {
  std::string const options[] = {"hidepid=0", "hidepid=1", "hidepid=2", "size=4k"};
  char const* const shown[] = {"HERMIT", kHidden, kGone, kNoProc};
  uid_t const user = geteuid();
  int const spaces = CLONE_NEWNS | CLONE_NEWPID | (user == 0 ? 0 : CLONE_NEWUSER);
  for (int i = 0; i < 4; ++i) {
    auto const child = static_cast<pid_t>(syscall(SYS_clone, spaces | SIGCHLD, 0, 0, 0, 0));
    if (child == 0) {
      std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
      auto const* type = i < 3 ? "proc" : "tmpfs";
      EXPECT_TRUE(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  mount(type, "/proc", type, 0, options[i].c_str()) == 0);
      still_child const hermit([] { prctl(PR_SET_NAME, "hermit"), prctl(PR_SET_DUMPABLE, 0); });
      // Gives up what lets a user look into the processes of others.
      EXPECT_TRUE((setgroups(0, nullptr) == 0 && setgid(65534) == 0 && setuid(65534) == 0) ||
                  unshare(CLONE_NEWUSER) == 0);
      EXPECT_EQ(snapshot(hermit.pid).shown, shown[i]);
      auto const full = std::make_unique<_qzProcessList3>(true);
      EXPECT_TRUE(full->collectAllProcesses_allInfo());
      EXPECT_STREQ(full->error.asChar(), i == 3 ? kNoProc : "");
      EXPECT_EQ(full->count > 1 && full->records[1].cpuSeconds == -5, i == 1);
      _exit(HasFailure());
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << options[i];
  }
}

TEST(ProcessFaults, AScanWithoutTheOwnProcessIsRepeatedTwice) {
  for (int const hidden : {0, 1, 2, 3}) {
    faults = {.hiddenScans = hidden};
    EXPECT_EQ(snapshot(getpid()).slot < 0, hidden == 3) << hidden;
    EXPECT_EQ(faults.scans, hidden == 3 ? 3 : hidden + 1);
  }
}

TEST(ProcessFaults, AnUnreadableFileDecidesByItsCause) {
  auto const named = [] { prctl(PR_SET_NAME, "faulty"), burnInThread(); };
  still_child const alone(named), pair([named] { named(), std::thread(pause).detach(); });
  std::tuple<int, int, char const*> const rows[] = {
      {EINTR, 0, "FAULTY"}, {ESRCH, 5, kGone},           {ENOENT, 5, kGone},
      {EACCES, 5, kHidden}, {EPERM, 5, kHidden},         {EIO, 1005, kHidden},
      {0, 1005, kHidden},   {ENOMEM, ENOMEM, kNoMemory}, {EMFILE, EMFILE, kNoFiles},
  };
  for (auto const& [failure, code, shown] : rows)
    for (pid_t const pid : {alone.pid, pair.pid}) {
      std::string const id = "/" + std::to_string(pid), first = "/proc" + id + "/stat";
      faults = {.failingPath = id + "/stat", .failure = failure, .failures = 1};
      EXPECT_EQ(snapshot(pid).shown, shown);
      for (auto const& path : {first, id + "/schedstat", id + "/statm", "/task" + id + "/stat"}) {
        SCOPED_TRACE(path + " " + std::to_string(failure));
        faults = {.failingPath = path, .failure = failure, .failures = 2};
        process_figures figures;
        auto const answer = query(pid, figures);
        bool const isLeftOut = pid == pair.pid && code == 5 && path != first;  // that thread alone
        EXPECT_EQ(answer.code, isLeftOut || path.ends_with("schedstat") ? 0 : code);
        EXPECT_EQ(answer.outcome == query_answer::access_refused, code != 0 && path == first);
      }
    }
}

}  // namespace

extern "C" ssize_t getdents64(int descriptor, void* buffer, std::size_t size) noexcept {
  ssize_t const got = syscall(SYS_getdents64, descriptor, buffer, size);
  if (got == 0) ++faults.scans;
  for (ssize_t at = 0; at < got && faults.scans < faults.hiddenScans;) {
    auto* entry = reinterpret_cast<dirent64*>(static_cast<char*>(buffer) + at);
    at += entry->d_reclen;
    if (entry->d_name == std::to_string(getpid())) entry->d_name[0] = 'x';
  }
  return got;
}

extern "C" ssize_t read(int descriptor, void* buffer, std::size_t size) {
  std::filesystem::path const link = "/proc/self/fd/" + std::to_string(descriptor);
  if (faults.failures == 0 || !read_symlink(link).native().ends_with(faults.failingPath))
    return syscall(SYS_read, descriptor, buffer, size);
  --faults.failures;
  errno = faults.failure;
  return faults.failure == 0
             ? static_cast<ssize_t>(faults.text.copy(static_cast<char*>(buffer), size))
             : -1;
}
