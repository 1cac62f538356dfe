// The two services that process inspection asks of the operating system, and all that it asks:
// enumerate all processes, and query one. One source file for each system stands behind them,
// chosen by the build; a program that defines both functions itself, as tests do, gets its own.
// platform_unsupported.cpp shows the seam with constant answers.
//
// The services keep no state between calls, write no text, and leave the cause of a failure in
// errno.
#ifndef QZ_PROCESS_PLATFORM_H_
#define QZ_PROCESS_PLATFORM_H_

#include <vector>

namespace qz::detail {

struct process_entry {
  unsigned pid;
  unsigned parentPid;  // 0: none, or none that can be seen from here
  int uid;             // effective user
  char name[26];       // short command name as the system has it, cut to 25 bytes, zero-terminated;
                       // empty where the system does not tell it
};

enum class enumeration {
  complete,
  grew,    // there is no room for all that exist by now: ask for the size again
  failed,  // the cause is in errno
};

// With null `entries`: stores in `count` the number of entries to make room for. Otherwise fills at
// most `count` entries in the order in which the system delivers the processes, and stores in
// `count` how many it filled. A process that ends meanwhile is left out; one that has ended and
// only waits to be reaped has gone. A list that shortage would leave with holes is a failure.
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
  std::vector<thread_times> threads;  // those that live; reusing the object reuses their memory
};

struct query_answer {
  enum {
    answered,
    access_refused,  // at the first look, when nothing was known of the process
    figures_refused  // later: it could be looked at, but not be read to the end
  } outcome;
  int code;  // 0 if answered; kRefusedCode where inspection is refused, else the system's number
};

// The code of a process that has gone or that this user may not inspect.
constexpr int kRefusedCode = 5;

// Fills `figures` for one process. What it holds after a refusal has no meaning; a process whose
// threads can't be listed is refused as a whole. The list of threads is the one allocation here,
// and its failure passes through as std::bad_alloc.
query_answer queryProcess(unsigned pid, process_figures& figures);

}  // namespace qz::detail

#endif  // QZ_PROCESS_PLATFORM_H_
