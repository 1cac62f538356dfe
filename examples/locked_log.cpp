// Tries the lock files on a folder, for instance a network share, before anybody trusts them there:
// many processes append lines to one log, each line under the lock, and in the end every line is
// looked for. Each line tells where in the file its writer saw the end, and closes with a CRC. So a
// line that another one was written into shows, and so do two writers that held the lock at once.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

#include "command_line.h"
#include "data/checksums.h"
#include "end_request.h"
#include "files/file_operations.h"
#include "files/lock_file.h"
#include "files/log_file.h"
#include "tool/system_services.h"

namespace {

using example::endRequested;
using example::isHelp;
using example::readNumber;

constexpr int kMostProcesses = 200;
constexpr int kMostLines = 100000;
constexpr std::size_t kLongestName =
    240;  // longer ones push the lock file's name out of its string

struct options {
  bool onlyHelp = false;
  char const* file = nullptr;
  int processes = 8;
  int lines = 25;
  int timeoutMs = 60000;
};

// What a writer leaves for its parent, in shared memory.
struct writer_result {
  int written, givenUp;
  long long waitedMs;
  int longestWaitMs;
  int error;  // errno of what ended the writer early, 0 for none
};

struct log_check {
  int own, torn, outOfPlace;
};

bool readOptions(int argc, char** argv, options& chosen);
void printHelp();

_qzString8_allSize<250> nameOf(options const& chosen) { return chosen.file; }
_qzString<250> lockTargetOf(options const& chosen) { return chosen.file; }

// --- lines ---

// Tells the lines of this run from those of earlier ones and of other machines.
std::string nameOfRun() {
  char host[64] = "";
  gethostname(host, sizeof host - 1);
  return std::string(host) + "-" + std::to_string(getpid()) + "-" + std::to_string(time(nullptr));
}

std::string crcOf(std::string const& text) {
  char hex[9];
  std::snprintf(hex, sizeof hex, "%08x",
                qzCRCCalc(reinterpret_cast<unsigned char const*>(text.data()),
                          static_cast<unsigned>(text.size())));
  return hex;
}

// "at 1234 by <run> writer 3 line 17 ........ #89abcdef"; the dots give the lines different sizes.
std::string lineFor(std::string const& run, long long offset, int writer, int line) {
  std::string text = "at " + std::to_string(offset) + " by " + run + " writer " +
                     std::to_string(writer) + " line " + std::to_string(line) + " ";
  text.append(static_cast<std::size_t>((writer * 37 + line * 13) % 150), '.');
  return text + " #" + crcOf(text);
}

bool isWhole(std::string const& line) {
  auto const mark = line.rfind(" #");
  return mark != std::string::npos && line.substr(mark + 2) == crcOf(line.substr(0, mark));
}

// --- the writers ---

void write(options const& chosen, std::string const& run, int writer, writer_result& result) {
  auto const name = nameOf(chosen);
  _qzFileLocker2 locker(lockTargetOf(chosen));
  for (int line = 0; line < chosen.lines && endRequested == 0; ++line) {
    int waited = 0;
    if (!locker.lock(chosen.timeoutMs, ("locked_log " + run).c_str(), &waited, false)) {
      if (waited <= 0) {
        result.error = locker.lastError;
        return;
      }
      ++result.givenUp;
    } else {
      long long end = 0;
      qzFileExists(name, nullptr, &end);
      if (!writeToLogFile(name, lineFor(run, end, writer, line).c_str(), false, false)) {
        result.error = errno;
        return;
      }
      locker.unlock();
      ++result.written;
    }
    result.waitedMs += waited;
    result.longestWaitMs = std::max(result.longestWaitMs, waited);
  }
}

// All begin at once, when the last one is there and the pipe is closed.
void startWriters(options const& chosen, std::string const& run, writer_result* results) {
  int gate[2] = {-1, -1};
  (void)!pipe(gate);  // without a gate they begin one after the other
  for (int writer = 0; writer < chosen.processes; ++writer) {
    pid_t const pid = fork();
    if (pid < 0) results[writer].error = errno;
    if (pid == 0) {
      char nothing;
      close(gate[1]);
      (void)!read(gate[0], &nothing, 1);
      write(chosen, run, writer, results[writer]);
      _exit(0);
    }
  }
  close(gate[0]);
  close(gate[1]);
}

// A signal meant for all ends the writers too; the parent waits until they have.
void awaitWriters() {
  while (wait(nullptr) > 0 || errno == EINTR) {
  }
}

// --- the reader ---

log_check checkLog(options const& chosen, std::string const& run) {
  log_check found = {};
  std::ifstream log(chosen.file);
  long long offset = 0;
  for (std::string line; std::getline(log, line); offset += static_cast<long long>(line.size()) + 1)
    if (!isWhole(line)) {
      ++found.torn;
    } else {
      if (std::atoll(line.c_str() + 3) != offset) ++found.outOfPlace;
      if (line.find(" by " + run + " writer ") != std::string::npos) ++found.own;
    }
  return found;
}

int explainNoLock(options const& chosen, _qzFileLocker2& locker, int waited) {
  if (waited > 0)
    std::fprintf(stderr,
                 "locked_log: %s_lock.txt stood for %d ms: it tells who made it; delete it if that "
                 "program has gone.\n",
                 chosen.file, waited);
  else
    std::fprintf(stderr, "locked_log: cannot create %s_lock.txt: %s.\n", chosen.file,
                 qzLastOSError8(locker.lastError).asChar());
  return 1;
}

// Returns whether all writers went through, and in `written` how many lines they left.
bool reportWriters(options const& chosen, writer_result const* results, int& written) {
  bool ok = true;
  written = 0;
  for (int i = 0; i < chosen.processes; ++i) {
    auto const& result = results[i];
    std::printf("writer %d: %d lines, waited %lld ms in all, %d ms at most", i, result.written,
                result.waitedMs, result.longestWaitMs);
    if (result.givenUp > 0) std::printf(", gave up %d lines", result.givenUp);
    if (result.error != 0) std::printf(", failed: %s", qzLastOSError8(result.error).asChar());
    std::putchar('\n');
    written += result.written;
    ok = ok && result.error == 0 && result.givenUp == 0;
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  options chosen;
  if (!readOptions(argc, argv, chosen)) return 2;
  if (chosen.onlyHelp) {
    printHelp();
    return 0;
  }
  int waited = 0;
  auto const run = nameOfRun();
  _qzFileLocker2 locker(lockTargetOf(chosen));
  if (!locker.lock(chosen.timeoutMs, "locked_log, first look", &waited, false))
    return explainNoLock(chosen, locker, waited);
  locker.unlock();

  // A writer that is killed leaves its lock file, so it ends between two lines. Only from here on:
  // a person must be able to end the wait above.
  for (int const each : {SIGINT, SIGTERM}) example::endOn(each, 0);

  void* const shared = mmap(nullptr, sizeof(writer_result) * kMostProcesses, PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) {
    std::fprintf(stderr, "locked_log: no memory: %s.\n", qzLastOSError8(-1).asChar());
    return 1;
  }
  auto const* const results = static_cast<writer_result*>(shared);
  startWriters(chosen, run, static_cast<writer_result*>(shared));
  awaitWriters();
  int written = 0;
  bool const went = reportWriters(chosen, results, written);

  // Under the lock, since another machine may still write.
  if (!locker.lock(chosen.timeoutMs, "locked_log, check", &waited, false))
    return explainNoLock(chosen, locker, waited);
  log_check const found = checkLog(chosen, run);
  locker.unlock();

  int const lost = written - found.own;
  std::printf("%s: %d lines of this run, %d lost, %d torn, %d out of place.\n", chosen.file,
              found.own, lost, found.torn, found.outOfPlace);
  if (std::fflush(stdout) != 0) return example::explainNoOutput("locked_log");
  return went && lost == 0 && found.torn == 0 && found.outOfPlace == 0 ? 0 : 1;
}

namespace {

// --- options ---

void printHelp() {
  std::printf(
      "Usage: locked_log FILE [--processes N] [--lines N] [--timeout MS]\n"
      "\n"
      "Starts processes that append lines to the log FILE, each line under the lock file\n"
      "FILE_lock.txt, and tells how long each waited. Then it checks that no line is lost, none "
      "is\n"
      "torn and each stands where its writer saw the end of the log. To try a network share, "
      "start\n"
      "it on several machines at once with one FILE. FILE holds nothing but such lines; it is "
      "made\n"
      "if it does not exist, and it stays.\n"
      "\n"
      "  --processes N   writers, 1 to %d (8)\n"
      "  --lines N       lines of each, 1 to %d (25)\n"
      "  --timeout MS    milliseconds to wait for the lock, 0 to 3600000 (60000). A writer that\n"
      "                  waits them out gives up its line, and can disturb another one\n"
      "  -h, --help      print this and end\n"
      "\n"
      "Exit status: 0 if all is well, 1 if a line is lost or wrong, or if a writer failed or gave\n"
      "up, 2 for wrong options.\n",
      kMostProcesses, kMostLines);
}

bool readOptions(int argc, char** argv, options& chosen) {
  for (int i = 1; i < argc; ++i) {
    char const* const option = argv[i];
    if (isHelp(option)) {
      chosen.onlyHelp = true;
      return true;
    }
    if (std::strcmp(option, "--processes") == 0) {
      if (!readNumber("locked_log", option, argv[++i], 1, kMostProcesses, chosen.processes))
        return false;
    } else if (std::strcmp(option, "--lines") == 0) {
      if (!readNumber("locked_log", option, argv[++i], 1, kMostLines, chosen.lines)) return false;
    } else if (std::strcmp(option, "--timeout") == 0) {
      if (!readNumber("locked_log", option, argv[++i], 0, 3600000, chosen.timeoutMs)) return false;
    } else if (option[0] == '-' || chosen.file != nullptr) {
      std::fprintf(stderr, "locked_log: unknown option \"%s\"; --help lists them.\n", option);
      return false;
    } else {
      chosen.file = option;
    }
  }
  if (chosen.file == nullptr || *chosen.file == 0 || std::strlen(chosen.file) > kLongestName) {
    std::fprintf(stderr, "locked_log: needs the name of the log, 1 to %zu characters.\n",
                 kLongestName);
    return false;
  }
  return true;
}

}  // namespace
