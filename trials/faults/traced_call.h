// Runs a process under ptrace(2) and lets exactly one of its system calls fail: the n-th one of its
// kind, which is never made. A preloaded library would not do, since the tool is linked fully
// static. Sleeps are not slept. x86-64 only, as the registers of a call are the processor's.
#ifndef QZ_TESTS_FAULTS_TRACED_CALL_H_
#define QZ_TESTS_FAULTS_TRACED_CALL_H_

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace faults {

// Instead of an errno: the read or write is made, with half its size.
constexpr int kShort = 0;

struct fault {
  long number = -1;  // of the system call; -1 for none
  int nth = 0;       // from 1
  int error = 0;     // errno or kShort
};

struct call {
  long number;
  int nth;
  std::string name;    // "openat"
  std::string target;  // what it is about, "/proc" for instance; may be empty
  bool creates;        // a file
};

struct traced_run {
  int status = 0;  // as waitpid gives it
  bool isEndless = false;
  bool wasDelivered = false;  // the fault
  std::vector<call> calls;
};

struct observer {
  std::function<std::string(int pid)> roleOf;  // who a process is, for the targets of calls
  std::function<void(long seconds)> onSleep;
};

// Starts `body` in a new process, which is traced from its first exec on, or between two calls of
// mark() each. Kills it after some thousand calls, since one that goes on then has no end.
traced_run trace(std::function<void()> const& body, fault const& injected, observer const& seen);

// Begins and ends what is traced in a process that does not exec.
void mark();

// What the manual pages tell that the call can fail with, as far as it makes sense there; null for
// a call that the table does not know. Empty for those that can't fail.
std::vector<int> const* errnosOf(call const& made);
std::string errorName(int error);

}  // namespace faults

#endif  // QZ_TESTS_FAULTS_TRACED_CALL_H_
