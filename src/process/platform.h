// The two services that process inspection asks of the operating system, and all that it asks:
// enumerate all processes, and query one. One source file for each system stands behind them,
// chosen by the build; a program that defines both functions itself, as tests do, gets its own.
#ifndef QZ_PROCESS_PLATFORM_H_
#define QZ_PROCESS_PLATFORM_H_

#include <vector>

namespace qz::detail {

struct process_entry {
  unsigned pid;
  unsigned parentPid;
  int uid;        // effective user
  char name[26];  // short command name as the system has it, cut to 25 bytes, zero-terminated
};

enum class enumeration {
  complete,
  grew,    // there is no room for all that exist by now: ask for the size again
  failed,  // the cause is in errno
};

// With null `entries`: stores in `count` the number of entries to make room for. Otherwise fills at
// most `count` entries in the order in which the system delivers the processes, and stores in
// `count` how many there are.
enumeration enumerateProcesses(process_entry* entries, int& count);

struct cpu_time {
  long long seconds;
  int microseconds;  // 0 to 999,999
};

struct thread_times {
  cpu_time user;
  cpu_time system;
  bool idle;  // the kernel's own idle thread, whose time is no load
};

struct process_figures {
  unsigned long long residentBytes;
  cpu_time endedUser;  // of the threads that have ended
  cpu_time endedSystem;
  std::vector<thread_times> threads;  // those that live
};

struct query_answer {
  enum { answered, access_refused, figures_refused } outcome;
  int code;  // 0 if answered; kRefusedCode where inspection is refused, else the system's number
};

// The code of a process that has gone or that this user may not inspect.
constexpr int kRefusedCode = 5;

// Fills `figures` for one process. What it holds after a refusal has no meaning.
query_answer queryProcess(unsigned pid, process_figures& figures);

}  // namespace qz::detail

#endif  // QZ_PROCESS_PLATFORM_H_
