#include "companion/exit_codes.h"

#include <sys/wait.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <limits>

namespace qz::companion {
namespace {

struct entry {
  std::int64_t number;
  char const* name;
  char const* meaning;
};

// signal(7)
constexpr entry kSignals[] = {
    {SIGHUP, "SIGHUP", "the terminal or the session that it belonged to was closed"},
    {SIGINT, "SIGINT", "interrupted, as by Ctrl-C"},
    {SIGQUIT, "SIGQUIT", "told to quit with a core file, as by Ctrl-\\"},
    {SIGILL, "SIGILL",
     "an instruction that this processor doesn't know: often a build for a newer processor"},
    {SIGTRAP, "SIGTRAP", "a breakpoint, or an assertion of a browser engine"},
    {SIGABRT, "SIGABRT",
     "gave up by itself: a failed assertion, an uncaught C++ exception, or a damaged heap; the "
     "reason stands right above in the log"},
    {SIGBUS, "SIGBUS",
     "memory behind a mapped file was not there: a scene or texture was cut short or its share "
     "went "
     "away, or /dev/shm is full"},
    {SIGFPE, "SIGFPE", "a whole-number division by zero"},
    {SIGKILL, "SIGKILL",
     "killed with force. Most often the kernel's out-of-memory killer (look into dmesg or "
     "'journalctl -k' for \"Out of memory\"), a memory limit of its cgroup, or the farm's own time "
     "limit"},
    {SIGUSR1, "SIGUSR1", "a signal that only the application or the farm gives a meaning"},
    {SIGSEGV, "SIGSEGV",
     "touched memory that isn't its own: a bug in the application, a plugin or a driver, or a "
     "stack "
     "that ran over"},
    {SIGUSR2, "SIGUSR2", "a signal that only the application or the farm gives a meaning"},
    {SIGPIPE, "SIGPIPE", "wrote to a pipe that nobody reads any more, such as 'render | head'"},
    {SIGALRM, "SIGALRM", "a timer of its own ran out"},
    {SIGTERM, "SIGTERM", "asked to end: by the farm, by an operator, or by a shutdown"},
    {SIGXCPU, "SIGXCPU", "used up its limit of CPU time (ulimit -t)"},
    {SIGXFSZ, "SIGXFSZ", "a file grew over its limit (ulimit -f)"},
    {SIGSYS, "SIGSYS", "made a system call that a sandbox forbids, or that doesn't exist"},
};

// What a POSIX shell says of a command that did not run.
constexpr entry kShell[] = {
    {126, "",
     "the command was found but could not be started: not executable, or for another "
     "kind of machine"},
    {127, "",
     "the command was not found, or a shared library of it was not: look at PATH and at "
     "'ldd'"},
};

// sysexits.h
constexpr entry kSysexits[] = {
    {64, "EX_USAGE", "the command line was wrong"},
    {65, "EX_DATAERR", "the input data was wrong"},
    {66, "EX_NOINPUT", "an input file was missing or not readable"},
    {67, "EX_NOUSER", "a user doesn't exist"},
    {68, "EX_NOHOST", "a host doesn't exist"},
    {69, "EX_UNAVAILABLE", "a service was unavailable: a licence server, for instance"},
    {70, "EX_SOFTWARE", "an error inside the software"},
    {71, "EX_OSERR", "the system refused, such as a process or a pipe"},
    {72, "EX_OSFILE", "a file of the system was missing"},
    {73, "EX_CANTCREAT", "an output file could not be made"},
    {74, "EX_IOERR", "reading or writing failed"},
    {75, "EX_TEMPFAIL", "a failure for now: try again"},
    {76, "EX_PROTOCOL", "the other side of a connection spoke nonsense"},
    {77, "EX_NOPERM", "a right was missing"},
    {78, "EX_CONFIG", "a setting was wrong or missing"},
};

// NTSTATUS values, and a few HRESULTs, with which renderers on Windows end or which a compatibility
// layer passes through.
constexpr entry kWindows[] = {
    {0x40010004, "DBG_TERMINATE_PROCESS", "ended by a debugger, or with the session of its user"},
    {0x40010005, "DBG_CONTROL_C", "interrupted by Ctrl-C under a debugger"},
    {0x80000002, "STATUS_DATATYPE_MISALIGNMENT", "a misaligned memory access"},
    {0x80000003, "STATUS_BREAKPOINT", "a breakpoint or a failed assertion outside a debugger"},
    {0x80000004, "STATUS_SINGLE_STEP", "a debugger's single step without the debugger"},
    {0x80004005, "E_FAIL", "an unspecified failure"},
    {0x80070002, "ERROR_FILE_NOT_FOUND", "a file was not found"},
    {0x80070005, "E_ACCESSDENIED", "access denied"},
    {0x8007000E, "E_OUTOFMEMORY", "out of memory"},
    {0x80070057, "E_INVALIDARG", "a wrong argument"},
    {0x800700C1, "ERROR_BAD_EXE_FORMAT", "a program or library for another kind of machine"},
    {0xC0000001, "STATUS_UNSUCCESSFUL", "an unspecified failure"},
    {0xC0000005, "STATUS_ACCESS_VIOLATION",
     "touched memory that isn't its own: a bug in the application, a plugin or a driver"},
    {0xC0000006, "STATUS_IN_PAGE_ERROR",
     "memory behind a mapped file could not be read: the share or disk went away"},
    {0xC0000008, "STATUS_INVALID_HANDLE", "used a handle that was closed"},
    {0xC000000D, "STATUS_INVALID_PARAMETER", "a wrong argument to the system"},
    {0xC0000017, "STATUS_NO_MEMORY", "out of memory: memory and page file are used up"},
    {0xC000001D, "STATUS_ILLEGAL_INSTRUCTION",
     "an instruction that this processor doesn't know: often a build for a newer processor"},
    {0xC0000022, "STATUS_ACCESS_DENIED", "access denied"},
    {0xC0000025, "STATUS_NONCONTINUABLE_EXCEPTION", "went on after an exception that forbids it"},
    {0xC000008C, "STATUS_ARRAY_BOUNDS_EXCEEDED", "an index outside its array"},
    {0xC000008E, "STATUS_FLOAT_DIVIDE_BY_ZERO", "a floating-point division by zero"},
    {0xC0000094, "STATUS_INTEGER_DIVIDE_BY_ZERO", "a whole-number division by zero"},
    {0xC0000096, "STATUS_PRIVILEGED_INSTRUCTION", "an instruction that only the system may use"},
    {0xC000009A, "STATUS_INSUFFICIENT_RESOURCES", "the system ran out of a resource"},
    {0xC00000FD, "STATUS_STACK_OVERFLOW", "the stack ran over: endless or very deep recursion"},
    {0xC0000135, "STATUS_DLL_NOT_FOUND",
     "a library (.dll) was not found: an installation or PATH is incomplete"},
    {0xC0000138, "STATUS_ORDINAL_NOT_FOUND", "a library (.dll) of another version was found"},
    {0xC0000139, "STATUS_ENTRYPOINT_NOT_FOUND", "a library (.dll) of another version was found"},
    {0xC000013A, "STATUS_CONTROL_C_EXIT",
     "interrupted by Ctrl-C, a closed console window, or a logoff"},
    {0xC0000142, "STATUS_DLL_INIT_FAILED",
     "a library (.dll) could not start: often too many processes in a session without a desktop"},
    {0xC000014B, "STATUS_PIPE_BROKEN", "the other side of a pipe has gone"},
    {0xC0000185, "STATUS_IO_DEVICE_ERROR", "a disk or other device failed"},
    {0xC0000194, "STATUS_POSSIBLE_DEADLOCK", "waited for a lock for too long"},
    {0xC000026B, "STATUS_DLL_INIT_FAILED_LOGOFF", "started while the user was being logged off"},
    {0xC000035A, "STATUS_INVALID_IMAGE_WIN_64", "a 64-bit program on a 32-bit system"},
    {0xC0000374, "STATUS_HEAP_CORRUPTION",
     "the heap was found damaged: a bug in the application or a plugin"},
    {0xC0000409, "STATUS_STACK_BUFFER_OVERRUN",
     "gave up by itself: abort(), an uncaught exception, or a damaged stack"},
    {0xC0000417, "STATUS_INVALID_CRUNTIME_PARAMETER",
     "a wrong argument to the C runtime: a bug in the application"},
    {0xC0000420, "STATUS_ASSERTION_FAILURE", "a failed assertion"},
    {0xC06D007E, "VcppException(ERROR_MOD_NOT_FOUND)", "a library loaded on demand was not found"},
    {0xC06D007F, "VcppException(ERROR_PROC_NOT_FOUND)",
     "a library loaded on demand is of another version"},
    {0xE0434352, "CLR exception", "an uncaught exception of a .NET program"},
    {0xE06D7363, "C++ exception", "an uncaught C++ exception of a program built with MSVC"},
};

template <std::size_t size>
entry const* findIn(entry const (&table)[size], std::int64_t number) {
  auto const found = std::find_if(std::begin(table), std::end(table),
                                  [&](entry const& one) { return one.number == number; });
  return found == std::end(table) ? nullptr : found;
}

reading signalReading(std::string source, int number) {
  entry const* const known = findIn(kSignals, number);
  std::string const ended = "ended by signal " + std::to_string(number);
  if (known == nullptr) return {std::move(source), "", ended};
  return {std::move(source), known->name, ended + ": " + known->meaning};
}

template <std::size_t size>
void add(std::vector<reading>& all, char const* source, entry const (&table)[size],
         std::int64_t number) {
  entry const* const known = findIn(table, number);
  if (known != nullptr) all.push_back({source, known->name, known->meaning});
}

bool isSignal(std::int64_t number) { return number >= 1 && number <= 64; }

// Those of signal(7) whose action is to dump core.
bool leavesCore(int number) {
  constexpr int kLeaving[] = {SIGQUIT, SIGILL,  SIGTRAP, SIGABRT, SIGBUS,
                              SIGFPE,  SIGSEGV, SIGXCPU, SIGXFSZ, SIGSYS};
  return std::find(std::begin(kLeaving), std::end(kLeaving), number) != std::end(kLeaving);
}

// wait(2): the value that wait gives, passed on without WEXITSTATUS and the like.
void addWaitStatus(std::vector<reading>& all, int code) {
  constexpr char kSource[] = "raw wait status";
  if (code <= 0 || code > 0xFFFF) return;
  if (WIFEXITED(code)) {
    all.push_back({kSource, "",
                   "ended by itself with exit code " + std::to_string(WEXITSTATUS(code)) +
                       "; whoever passed it on forgot WEXITSTATUS"});
    return;
  }
  entry const* const known = code <= 0xFF ? findIn(kSignals, WTERMSIG(code)) : nullptr;
  if (known == nullptr || (WCOREDUMP(code) && !leavesCore(WTERMSIG(code)))) return;
  all.push_back({kSource, known->name,
                 "ended by signal " + std::to_string(WTERMSIG(code)) +
                     (WCOREDUMP(code) ? ", with a core file" : "")});
}

}  // namespace

std::optional<int> parseExitCode(std::string_view text) {
  bool const isHex = text.starts_with("0x") || text.starts_with("0X");
  std::string_view const digits = isHex ? text.substr(2) : text;
  if (isHex && digits.starts_with('-')) return std::nullopt;
  std::int64_t number = 0;
  auto const [end, cause] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, isHex ? 16 : 10);
  if (cause != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  if (number < std::numeric_limits<std::int32_t>::min() ||
      number > std::numeric_limits<std::uint32_t>::max())
    return std::nullopt;
  return static_cast<int>(static_cast<std::uint32_t>(number));
}

std::vector<reading> readingsOf(int code) {
  std::vector<reading> all;
  if (code == 0) return {{"every system", "", "ended well"}};
  add(all, "shell", kShell, code);
  if (code > 128 && isSignal(code - 128)) all.push_back(signalReading("shell", code - 128));
  if (isSignal(-std::int64_t{code})) all.push_back(signalReading("Python's subprocess", -code));
  add(all, "Windows", kWindows, static_cast<std::uint32_t>(code));
  add(all, "sysexits", kSysexits, code);
  if (code == -30000)
    all.push_back({"qzCheckExitcode", "", "no exit code was given, or one that is not a number"});
  if (code == 1) all.push_back({"most programs", "", "any failure: the log tells which"});
  if (code == 2) all.push_back({"most programs", "", "wrong options or arguments, as a rule"});
  if (code == 255)
    all.push_back({"most programs", "", "exit(-1); from ssh: the connection failed"});
  addWaitStatus(all, code);
  return all;
}

std::string_view signalName(int number) {
  entry const* const known = findIn(kSignals, number);
  return known == nullptr ? "" : known->name;
}

}  // namespace qz::companion
