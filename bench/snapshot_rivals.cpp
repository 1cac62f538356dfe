#include "snapshot_rivals.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

// Long enough to show in figures of 100 ticks a second.
constexpr std::clock_t kMoment = CLOCKS_PER_SEC / 50;

void runForAMoment() {
  while (std::clock() < kMoment) continue;
}

void waitUntilItRan(pid_t child) {
  clockid_t clock;
  timespec used{};
  while (clock_getcpuclockid(child, &clock) == 0 && clock_gettime(clock, &used) == 0 &&
         used.tv_sec == 0 && used.tv_nsec / 1000 < kMoment)
    usleep(1000);
}

}  // namespace

process_crowd::process_crowd(int total, busy_share busy) {
  for (int missing = total - loopOverProc(); missing > 0; --missing) {
    pid_t const parent = getpid();
    pid_t const child = fork();
    if (child < 0) {
      std::perror("fork");
      std::exit(1);
    }
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() != parent) _exit(0);
      if (busy.oneIn != 0 && missing % busy.oneIn == 0) runForAMoment();
      for (;;) pause();
    }
    children.push_back(child);
    if (busy.oneIn != 0 && missing % busy.oneIn == 0) waitUntilItRan(child);
  }
}

process_crowd::~process_crowd() {
  for (pid_t const child : children) kill(child, SIGKILL);
  for (pid_t const child : children) waitpid(child, nullptr, 0);
}

int loopOverProc() {
  alignas(dirent64) char names[32 * 1024];
  char text[1024];
  int processes = 0;
  int const proc = open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (ssize_t got; (got = getdents64(proc, names, sizeof names)) > 0;)
    for (ssize_t at = 0; at < got;) {
      auto const* entry = reinterpret_cast<dirent64 const*>(names + at);
      at += entry->d_reclen;
      if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
      char path[24];
      std::size_t const length = strnlen(entry->d_name, 16);
      std::memcpy(path, entry->d_name, length);
      std::memcpy(path + length, "/stat", 6);
      int const file = openat(proc, path, O_RDONLY | O_CLOEXEC);
      if (file < 0) continue;
      bool const alive = read(file, text, sizeof text) > 0;
      close(file);
      struct stat directory;
      if (alive && fstatat(proc, entry->d_name, &directory, 0) == 0) ++processes;
    }
  close(proc);
  return processes;
}
