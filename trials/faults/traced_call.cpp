#include "faults/traced_call.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/ptrace.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>

namespace faults {
namespace {

constexpr std::size_t kMostCalls = 4000;
constexpr long kMarker = SYS_getppid;

struct known_call {
  char const* name;
  std::vector<int> errnos;
};

std::map<long, known_call> const kCalls = {
    {SYS_arch_prctl, {"arch_prctl", {EINVAL, EPERM}}},
    {SYS_brk, {"brk", {ENOMEM}}},
    {SYS_clock_nanosleep, {"clock_nanosleep", {EINTR, EINVAL}}},
    {SYS_close, {"close", {EINTR, EIO, ENOSPC, EDQUOT}}},
    {SYS_exit_group, {"exit_group", {}}},
    {SYS_fcntl, {"fcntl", {EINVAL}}},
    {SYS_futex, {"futex", {}}},
    {SYS_getdents64, {"getdents64", {EINVAL, ENOENT, ENOTDIR}}},
    {SYS_getpid, {"getpid", {}}},
    {SYS_getrandom, {"getrandom", {EAGAIN, EINTR, ENOSYS}}},
    {SYS_lseek, {"lseek", {EINVAL, ESPIPE}}},
    {SYS_mmap, {"mmap", {ENOMEM, EAGAIN, EPERM}}},
    {SYS_mprotect, {"mprotect", {ENOMEM, EACCES}}},
    {SYS_mremap, {"mremap", {ENOMEM, EAGAIN}}},
    {SYS_munmap, {"munmap", {EINVAL, ENOMEM}}},
    {SYS_newfstatat, {"fstatat", {EACCES, ENOENT, ENOMEM, ELOOP, ENOTDIR, EOVERFLOW}}},
    {SYS_openat, {"openat", {EACCES, EINTR, ELOOP, EMFILE, ENFILE, ENOENT, ENOMEM}}},
    {SYS_prlimit64, {"prlimit64", {EINVAL, EPERM}}},
    {SYS_read, {"read", {EINTR, EIO, EISDIR, ESRCH, kShort}}},
    {SYS_readlink, {"readlink", {EACCES, ENOENT, EINVAL}}},
    {SYS_rename, {"rename", {EACCES, EBUSY, ENOSPC, EPERM, EROFS, EXDEV}}},
    {SYS_rseq, {"rseq", {EINVAL, ENOSYS}}},
    {SYS_rt_sigaction, {"sigaction", {EINVAL}}},
    {SYS_set_robust_list, {"set_robust_list", {EINVAL, ENOSYS}}},
    {SYS_set_tid_address, {"set_tid_address", {}}},
    {SYS_shmat, {"shmat", {EACCES, EIDRM, EINVAL, ENOMEM}}},
    {SYS_shmctl, {"shmctl", {EACCES, EIDRM, EINVAL, EOVERFLOW, EPERM}}},
    {SYS_shmdt, {"shmdt", {EINVAL, ENOMEM}}},
    {SYS_shmget, {"shmget", {EACCES, EINVAL, ENFILE, ENOENT, ENOMEM}}},
    {SYS_unlink, {"unlink", {EACCES, EBUSY, EIO, ENOENT, EPERM, EROFS}}},
    {SYS_utime, {"utime", {EACCES, ENOENT, EPERM, EROFS}}},
    {SYS_utimensat, {"utimensat", {EACCES, ENOENT, EPERM, EROFS}}},
    {SYS_write, {"write", {EINTR, EIO, EAGAIN, EDQUOT, EFBIG, ENOSPC, EPIPE, kShort}}},
};

std::vector<int> const kCreationErrnos = {EACCES, EDQUOT, EEXIST, EINTR,  EISDIR, ELOOP,
                                          EMFILE, ENFILE, ENOENT, ENOMEM, ENOSPC, EROFS};

struct tracer {
  pid_t pid;
  fault injected;
  observer const& seen;
  traced_run run = {};
  bool counts = false;
  std::map<long, int> made = {};
  std::map<long, std::string> files = {
      {0, "standard input"}, {1, "standard output"}, {2, "standard error"}};
  std::string opening = {};  // target of the openat that has begun

  // What the call that has begun shall give when it ends, and the arguments to put back then.
  bool replacesResult = false;
  long result = 0;
  bool restoresArguments = false;
  unsigned long first = 0, third = 0;
};

std::string textAt(pid_t pid, std::uint64_t address) {
  char text[256] = {};
  iovec const here = {text, sizeof text - 1};
  // Up to the end of the page, behind which nothing may be mapped, and then as far as it goes.
  std::size_t const toPageEnd = 4096 - address % 4096;
  iovec const there = {reinterpret_cast<void*>(address),
                       toPageEnd < sizeof text ? toPageEnd : sizeof text - 1};
  if (process_vm_readv(pid, &here, 1, &there, 1, 0) <= 0) return "?";
  return text;
}

// "12/stat" below /proc becomes "/proc/PID/stat of the tool".
std::string targetOfPath(tracer const& at, std::uint64_t directory, std::string const& path) {
  if (path.empty()) {
    auto const file = at.files.find(static_cast<int>(directory));
    return file != at.files.end() ? file->second : "";
  }
  if (path[0] < '0' || path[0] > '9') return path;
  auto const slash = path.find('/');
  std::string const rest = slash == std::string::npos ? "" : path.substr(slash);
  return "/proc/PID" + rest + " of " + at.seen.roleOf(std::atoi(path.c_str()));
}

std::string targetOf(tracer& at, long number, int nth, std::uint64_t const* args) {
  switch (number) {
    case SYS_openat:
    case SYS_newfstatat:
      return targetOfPath(at, args[0], textAt(at.pid, args[1]));
    case SYS_utimensat:
      return textAt(at.pid, args[1]);
    case SYS_unlink:
    case SYS_rename:
    case SYS_readlink:
    case SYS_utime:
      return textAt(at.pid, args[0]);
    case SYS_read:
    case SYS_write:
    case SYS_close:
    case SYS_lseek:
    case SYS_getdents64:
      return targetOfPath(at, args[0], "");
    case SYS_shmget:
      return nth == 1 ? "to attach" : "on leaving";
    case SYS_shmctl:
      return args[1] == IPC_RMID ? "IPC_RMID"
             : nth == 1          ? "IPC_STAT to attach"
                                 : "IPC_STAT on leaving";
    default:
      return "";
  }
}

void setRegisters(pid_t pid, std::function<void(user_regs_struct&)> const& change) {
  user_regs_struct registers;
  ptrace(PTRACE_GETREGS, pid, nullptr, &registers);
  change(registers);
  ptrace(PTRACE_SETREGS, pid, nullptr, &registers);
}

// The call is not made, and gives `result`.
void replaceCall(tracer& at, long result) {
  at.replacesResult = true;
  at.result = result;
  setRegisters(at.pid,
               [](auto& registers) { registers.orig_rax = static_cast<unsigned long>(-1); });
}

// The call is made with other arguments. The C library counts on finding its own again.
void changeArguments(tracer& at, std::function<void(user_regs_struct&)> const& change) {
  at.restoresArguments = true;
  setRegisters(at.pid, [&](auto& registers) {
    at.first = registers.rdi;
    at.third = registers.rdx;
    change(registers);
  });
}

void inject(tracer& at) {
  at.run.wasDelivered = true;
  if (at.injected.error == kShort)
    changeArguments(at, [](auto& registers) { registers.rdx = (registers.rdx + 1) / 2; });
  else if (at.injected.number == SYS_brk)  // the kernel tells a failure by the heap's end as it was
    changeArguments(at, [](auto& registers) { registers.rdi = 0; });
  else
    replaceCall(at, -at.injected.error);
}

void enterCall(tracer& at, long number, std::uint64_t const* args) {
  if (number == kMarker) at.counts = !at.counts;
  if (!at.counts || number == kMarker) return;
  int const nth = ++at.made[number];
  auto const known = kCalls.find(number);
  call made = {number, nth, known != kCalls.end() ? known->second.name : std::to_string(number),
               targetOf(at, number, nth, args), number == SYS_openat && (args[2] & O_CREAT) != 0};
  if (number == SYS_openat) at.opening = made.target;
  at.run.calls.push_back(made);

  bool const isSleep = number == SYS_clock_nanosleep;
  if (isSleep) {
    timespec time = {};
    iovec const here = {&time, sizeof time};
    iovec const there = {reinterpret_cast<void*>(args[2]), sizeof time};
    process_vm_readv(at.pid, &here, 1, &there, 1, 0);
    at.seen.onSleep(time.tv_sec);
  }
  if (number == at.injected.number && nth == at.injected.nth)
    inject(at);
  else if (isSleep)
    replaceCall(at, 0);
}

void leaveCall(tracer& at, long result) {
  if (at.replacesResult) {
    result = at.result;
    at.replacesResult = false;
    setRegisters(at.pid,
                 [&](auto& registers) { registers.rax = static_cast<unsigned long>(result); });
  }
  if (at.restoresArguments) {
    at.restoresArguments = false;
    setRegisters(at.pid, [&](auto& registers) {
      registers.rdi = at.first;
      registers.rdx = at.third;
    });
  }
  if (!at.opening.empty() && result >= 0) at.files[result] = at.opening;
  at.opening.clear();
}

void handleCall(tracer& at) {
  __ptrace_syscall_info info;
  if (ptrace(PTRACE_GET_SYSCALL_INFO, at.pid, sizeof info, &info) <= 0) return;
  if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
    std::uint64_t args[6];
    for (int i = 0; i < 6; ++i) args[i] = info.entry.args[i];
    enterCall(at, static_cast<long>(info.entry.nr), args);
  } else if (info.op == PTRACE_SYSCALL_INFO_EXIT) {
    leaveCall(at, info.exit.rval);
  }
}

}  // namespace

traced_run trace(std::function<void()> const& body, fault const& injected, observer const& seen) {
  std::fflush(nullptr);
  pid_t const pid = fork();
  if (pid == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    body();
    _exit(0);
  }
  tracer at = {pid, injected, seen};
  waitpid(pid, &at.run.status, 0);
  ptrace(PTRACE_SETOPTIONS, pid, nullptr,
         PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
  for (long signal = 0;;) {
    ptrace(PTRACE_SYSCALL, pid, nullptr, signal);
    if (waitpid(pid, &at.run.status, 0) != pid || !WIFSTOPPED(at.run.status)) break;
    signal = 0;
    if (WSTOPSIG(at.run.status) == (SIGTRAP | 0x80))
      handleCall(at);
    else if (at.run.status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXEC << 8)))
      at.counts = true;
    else
      signal = WSTOPSIG(at.run.status);
    if (at.run.calls.size() > kMostCalls && !at.run.isEndless) {
      at.run.isEndless = true;
      kill(pid, SIGKILL);
    }
  }
  return at.run;
}

void mark() { (void)getppid(); }

std::vector<int> const* errnosOf(call const& made) {
  if (made.creates) return &kCreationErrnos;
  auto const known = kCalls.find(made.number);
  return known != kCalls.end() ? &known->second.errnos : nullptr;
}

std::string errorName(int error) { return error == kShort ? "short" : strerrorname_np(error); }

}  // namespace faults
