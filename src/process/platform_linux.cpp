// The two services on Linux, out of /proc. Whatever they cost is the kernel's time for opening and
// reading small files, so they open no more of them than they must. Enumerating costs four system
// calls a process (open, read and close of its stat file, stat of its directory) and no heap, no
// stream and no library state: nearly all of its time is the kernel's. A kernel thread costs three,
// since they all have one owner.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

#include "process/platform.h"
#include "process/proc_text.h"

namespace qz::detail {

namespace {

// What a list keeps; entries beyond that would never be used. Nobody touches more of the buffer
// than is filled.
constexpr int kRoom = 3999;
// The stat line up to its 20th field at the longest: a name of 64 bytes and 20 digits a field.
constexpr std::size_t kStatSize = 1024;
// PF_KTHREAD of the kernel's include/linux/sched.h.
constexpr std::uint32_t kKernelThread = 0x00200000;
constexpr std::size_t kNameSize = sizeof process_entry::name - 1;
constexpr int kScans = 3;

bool hasVanished(int code) { return code == ENOENT || code == ESRCH; }
bool isShortage(int code) { return code == EMFILE || code == ENFILE || code == ENOMEM; }

void closeKeepingErrno(int descriptor) {
  int const cause = errno;
  (void)close(descriptor);  // nothing was written, so nothing can be lost
  errno = cause;
}

// Returns the bytes read by one read, or -1 with errno.
ssize_t readFile(int directory, char const* path, char* buffer, std::size_t size) {
  int const file = openat(directory, path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  ssize_t got = -1;
  do got = read(file, buffer, size);
  while (got < 0 && errno == EINTR);
  closeKeepingErrno(file);
  return got;
}

// Closes itself, also when an allocation fails.
struct descriptor {
  int number;

  ~descriptor() {
    if (number >= 0) closeKeepingErrno(number);
  }
};

int openDirectory(char const* path) { return open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }

// Calls `visit(id, text of the id)` for every entry of the directory that is a number, until one
// call gives false. Returns true if it came to the end; otherwise errno is what that call left, or
// tells why the directory can't be read.
template <class Visit>
bool forEachId(int directory, Visit visit) {
  alignas(dirent64) char buffer[32 * 1024];
  for (;;) {
    ssize_t const got = getdents64(directory, buffer, sizeof buffer);
    if (got <= 0) return got == 0;
    for (ssize_t at = 0; at < got;) {
      auto const* entry = reinterpret_cast<dirent64 const*>(buffer + at);
      at += entry->d_reclen;
      std::uint32_t id = 0;
      if (parseId(entry->d_name, &id) && !visit(id, entry->d_name)) return false;
    }
  }
}

// A process that has ended and only waits to be reaped, or a thread that has ended while others
// run.
bool hasEnded(stat_line const& line) { return line.state == 'Z' || line.state == 'X'; }
bool isGone(stat_line const& line) { return hasEnded(line) && line.threads <= 1; }
bool isKernelThread(stat_line const& line) { return (line.flags & kKernelThread) != 0; }
// A thread that calls exec takes the place and the id of the first one. What is read in that very
// moment tells of the old one, which has no threads; a second look sees the successor.
bool isReleased(stat_line const& line) { return hasEnded(line) && line.threads == 0; }

// The id of a process or a thread, and a file in its directory.
struct task_path {
  char text[24];

  // `id` is one that parseId took, of ten digits at most; `file` is "/stat" or "/statm".
  task_path(char const* id, char const* file) {
    std::size_t const length = std::strlen(id);
    std::memcpy(text, id, length);
    std::memcpy(text + length, file, std::strlen(file) + 1);
  }
};

// --- enumerate all processes ---

struct process_scan {
  process_entry* entries;
  int room;
  std::uint32_t ownPid;
  int proc = -1;  // descriptor of /proc
  int count = 0;
  bool sawOwn = false;
  bool knowsKernelOwner = false;
  int kernelOwner = 0;
  int lastRefusal = ENOENT;  // why a directory was left out that may not be looked at

  bool isFull() const { return count == room; }
};

void setName(process_entry& entry, char const* name, std::size_t size) {
  if (size > kNameSize) size = kNameSize;
  std::memcpy(entry.name, name, size);
  entry.name[size] = 0;
}

// Adds the process unless it has gone. Returns false if the scan is over, because it is full or,
// with errno, because it can't go on.
bool addProcess(process_scan& scan, std::uint32_t pid, char const* pidText) {
  char text[kStatSize];
  stat_line line;
  bool known = false;  // what the file does not tell, because it is forbidden, is left empty
  for (int look = 1; look <= 2; ++look) {
    ssize_t const got = readFile(scan.proc, task_path(pidText, "/stat").text, text, sizeof text);
    if (got < 0 && hasVanished(errno)) return true;
    if (got < 0 && isShortage(errno)) return false;
    known = got >= 0 && parseStatLine(text, static_cast<std::size_t>(got), &line);
    if (!known || !isReleased(line)) break;
  }
  if (known && isGone(line)) return true;
  bool const isKernels = known && isKernelThread(line);

  process_entry& entry = scan.entries[scan.count];
  if (isKernels && scan.knowsKernelOwner) {
    entry.uid = scan.kernelOwner;
  } else {
    // The directory and not the file, which belongs to root where a process is not dumpable.
    struct stat directory;
    if (fstatat(scan.proc, pidText, &directory, 0) != 0) {
      if (!hasVanished(errno)) scan.lastRefusal = errno;
      return !isShortage(errno);
    }
    entry.uid = static_cast<int>(directory.st_uid);
    if (isKernels) {
      scan.kernelOwner = entry.uid;
      scan.knowsKernelOwner = true;
    }
  }
  entry.pid = pid;
  entry.parentPid = known ? line.parentPid : 0;
  setName(entry, known ? line.name : "", known ? line.nameSize : 0);
  if (pid == scan.ownPid) scan.sawOwn = true;
  ++scan.count;
  return !scan.isFull();
}

// False with errno if it can't be done.
bool scanAll(process_scan& scan) {
  scan.proc = openDirectory("/proc");
  if (scan.proc < 0) return false;
  bool const toTheEnd = forEachId(scan.proc, [&scan](std::uint32_t pid, char const* pidText) {
    return addProcess(scan, pid, pidText);
  });
  closeKeepingErrno(scan.proc);
  return toTheEnd || scan.isFull();
}

// --- query one process ---

// The code for the current errno.
int queryCode() {
  int const code = errno;
  if (hasVanished(code) || code == EPERM || code == EACCES) return kRefusedCode;
  return code == kRefusedCode ? 1000 + kRefusedCode : code;  // EIO has the number of a refusal
}

// "/proc/PID" and something behind it.
struct process_path {
  char text[32] = "/proc/";

  process_path(std::uint32_t pid, char const* rest) {
    constexpr int kPrefix = 6;
    char* const end = std::to_chars(text + kPrefix, text + sizeof text, pid).ptr;
    std::memcpy(end, rest, std::strlen(rest) + 1);
  }
};

// False with errno; a text that makes no sense is an input error.
bool readStat(int directory, char const* path, stat_line* line) {
  char text[kStatSize];
  ssize_t const got = readFile(directory, path, text, sizeof text);
  if (got < 0) return false;
  if (parseStatLine(text, static_cast<std::size_t>(got), line)) return true;
  errno = EIO;
  return false;
}

// Out of statm, although stat has the resident pages as well: there the kernel tells them from
// counters that each processor keeps for itself, without adding these up. With two processors that
// was up to 81 pages beside the truth, and more processors allow more.
bool readResidentBytes(int directory, char const* path, unsigned long long* bytes) {
  char text[256];
  ssize_t const got = readFile(directory, path, text, sizeof text);
  if (got < 0) return false;
  std::uint64_t pages = 0;
  if (!parseResidentPages(text, static_cast<std::size_t>(got), &pages)) {
    errno = EIO;
    return false;
  }
  *bytes = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return true;
}

cpu_time cpuTime(std::int64_t ticks) {
  long const rate = sysconf(_SC_CLK_TCK);
  return {ticks / rate, static_cast<int>(ticks % rate * 1000000 / rate)};
}

struct cpu_ticks {
  std::int64_t user = 0;
  std::int64_t system = 0;
};

cpu_ticks ticksOf(stat_line const& line) {
  return {static_cast<std::int64_t>(line.userTicks), static_cast<std::int64_t>(line.systemTicks)};
}

void addThread(process_figures* figures, cpu_ticks* live, cpu_ticks const& own) {
  figures->threads.push_back({cpuTime(own.user), cpuTime(own.system), false});
  live->user += own.user;
  live->system += own.system;
}

bool hasOneThread(stat_line const& whole) { return whole.threads == 1 && !hasEnded(whole); }

// Whether the first thread has, to the tick, all the time that the process ever ran, so that no
// other one has ended. The thread's time is read first: what the process runs in between can only
// make it seem that there was another one. False also where the kernel does not tell, for
// schedstat is an option of its build.
bool firstThreadHasAllTime(std::uint32_t pid, cpu_ticks const& all) {
  char text[128];
  ssize_t const got = readFile(AT_FDCWD, process_path(pid, "/schedstat").text, text, sizeof text);
  std::uint64_t nanoseconds = 0;
  if (got < 0 || !parseRunTime(text, static_cast<std::size_t>(got), &nanoseconds)) return false;
  // The id that clock_getcpuclockid(3) gives, without its look whether the process is there.
  auto const clock = static_cast<clockid_t>(~pid << 3 | 2);
  timespec time;
  if (clock_gettime(clock, &time) != 0) return false;
  constexpr std::int64_t kSecond = 1'000'000'000;
  auto const ofThread = static_cast<std::int64_t>(nanoseconds);
  std::int64_t const ofOthers = time.tv_sec * kSecond + time.tv_nsec - ofThread;
  std::int64_t const tick = kSecond / sysconf(_SC_CLK_TCK);
  // A /proc of another process namespace has other ids than the clock, whose time may then be that
  // of a stranger; what the process is known to have run must be the thread's all the same.
  return -tick < ofOthers && ofOthers < tick && ofThread >= (all.user + all.system) * tick;
}

// Fills memory and threads, and adds up the threads' times. A thread that has ended (the first one
// stays visible), or may not be looked at, is left out. With none left the process has vanished.
bool readThreads(std::uint32_t pid, process_figures* figures, cpu_ticks* live) {
  descriptor const tasks = {openDirectory(process_path(pid, "/task").text)};
  if (tasks.number < 0) return false;
  bool const toTheEnd = forEachId(tasks.number, [&](std::uint32_t, char const* tid) {
    stat_line line;
    // Any live thread's file tells the memory of the whole. It tells nothing once its thread has
    // ended, be it that very moment.
    bool const wasRead =
        readStat(tasks.number, task_path(tid, "/stat").text, &line) &&
        (hasEnded(line) || figures->residentBytes != 0 ||
         readResidentBytes(tasks.number, task_path(tid, "/statm").text, &figures->residentBytes));
    if (!wasRead) {
      bool const isLeftOut = queryCode() == kRefusedCode;
      return isLeftOut;
    }
    if (!hasEnded(line)) addThread(figures, live, ticksOf(line));
    return true;
  });
  if (toTheEnd && figures->threads.empty()) errno = ESRCH;
  return toTheEnd && !figures->threads.empty();
}

// The same for a process with one thread alive, without a look at the list of its threads.
bool readOnlyThread(std::uint32_t pid, cpu_ticks const& all, process_figures* figures,
                    cpu_ticks* live) {
  cpu_ticks own = all;
  bool const ranAtAll = all.user != 0 || all.system != 0;
  if (ranAtAll && !firstThreadHasAllTime(pid, all)) {
    char path[48];
    (void)std::snprintf(path, sizeof path, "/proc/%u/task/%u/stat", pid, pid);
    stat_line line;
    if (!readStat(AT_FDCWD, path, &line)) return false;
    if (hasEnded(line)) return readThreads(pid, figures, live);  // another one may have come up
    own = ticksOf(line);
  }
  if (!readResidentBytes(AT_FDCWD, process_path(pid, "/statm").text, &figures->residentBytes))
    return false;
  if (figures->residentBytes == 0) return readThreads(pid, figures, live);  // it may have ended
  addThread(figures, live, own);
  return true;
}

}  // namespace

enumeration enumerateProcesses(process_entry* entries, int& count) {
  if (entries == nullptr) {
    count = kRoom;
    return enumeration::complete;
  }
  int const room = count;
  if (room <= 0) return enumeration::complete;
  // A directory that changes while it is read can hide a process that was there all the time. The
  // own one is known to be there, so its absence tells such a scan.
  int refusal = ENOENT;
  for (int number = 1; number <= kScans; ++number) {
    process_scan scan = {entries, room, static_cast<std::uint32_t>(getpid())};
    count = 0;
    if (!scanAll(scan)) return enumeration::failed;
    count = scan.count;
    refusal = scan.lastRefusal;
    if (scan.sawOwn || scan.isFull()) break;
  }
  if (count > 0) return enumeration::complete;
  // Not a single process: an empty directory and not a mounted /proc, or one that is closed to us.
  errno = refusal;
  return enumeration::failed;
}

query_answer queryProcess(unsigned pid, process_figures& figures) {
  figures.residentBytes = 0;
  figures.threads.clear();
  // Enumerating has read this file too, but its figures would be older than the caller's look at
  // the clock. The times of the whole are read before those of the threads, so that a thread that
  // ends in between counts as ended.
  stat_line whole;
  for (int look = 1; look <= 2; ++look) {
    if (!readStat(AT_FDCWD, process_path(pid, "/stat").text, &whole))
      return {query_answer::access_refused, queryCode()};
    if (!isReleased(whole)) break;
  }
  if (isGone(whole)) return {query_answer::access_refused, kRefusedCode};
  cpu_ticks const all = ticksOf(whole);
  cpu_ticks live;
  if (isKernelThread(whole)) {
    addThread(&figures, &live, all);  // it is its own only thread and has no memory
  } else {
    bool isRead = hasOneThread(whole) ? readOnlyThread(pid, all, &figures, &live)
                                      : readThreads(pid, &figures, &live);
    // With none left, one that calls exec may just have changed its id.
    if (!isRead && errno == ESRCH) isRead = readThreads(pid, &figures, &live);
    if (!isRead) return {query_answer::figures_refused, queryCode()};
  }
  // Live threads have gone on running since, so they can come out above the whole. And the kernel
  // splits the whole into user and system time apart from each thread, by a count of its own, so
  // one kind alone can seem to leave time that no thread has had.
  std::int64_t const ended =
      std::max<std::int64_t>(all.user + all.system - live.user - live.system, 0);
  std::int64_t const system = std::clamp<std::int64_t>(all.system - live.system, 0, ended);
  figures.endedUser = cpuTime(ended - system);
  figures.endedSystem = cpuTime(system);
  return {query_answer::answered, 0};
}

}  // namespace qz::detail
