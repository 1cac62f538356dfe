// Lets every system call of the tool, of the lock file, of the copy and of the log line fail once,
// at each place where it is made and with each errno that its manual page tells, and checks what
// then must hold. Prints what a user sees as a table in Markdown. See scripts/faults.
#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/personality.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "faults/traced_call.h"
#include "files/file_operations.h"
#include "files/lock_file.h"
#include "files/log_file.h"
#include "node/own_node.h"
#include "tool/client_block.h"

namespace {

using faults::call;
using faults::fault;

char const* toolPath = nullptr;
std::string folder;  // of this run, and removed with it
int violations = 0;

// What one run came to. `sees` is empty if nobody sees anything.
struct outcome {
  faults::traced_run run;
  std::string sees;
  std::string broken;  // what must hold and did not
};

void add(std::string& text, std::string const& more) {
  if (!text.empty() && !more.empty()) text += "; ";
  text += more;
}

std::string contentsOf(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void write(std::string const& path, std::string const& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string replaced(std::string text, std::string const& from, std::string const& to) {
  for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
       at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

// --- the tool beside a client's block ---

enum class client { attached, died };

struct tool_scene {
  char const* name;
  client keeper;
  bool rendersLinger;
  std::vector<char const*> args;
};

tool_scene const kToolScenes[] = {
    {"posts", client::attached, false, {"0", "1", "3", "7"}},
    {"finds no process", client::attached, false, {"0", "1", "3", "7", "nosuch"}},
    {"waits", client::attached, true, {"0", "1", "3", "7", "renderapp"}},
    {"last one out", client::died, false, {"0", "1", "3", "7"}},
};

constexpr key_t kKey = 0x78D311;
constexpr int kSegmentBytes = kClientBlockBytes + 8;

std::string imageBefore() {
  std::string image(kSegmentBytes, '\xA5');
  auto& block = *reinterpret_cast<client_block*>(image.data() + 8);
  image[0] = 0;
  block.blockMagic = kClientBlockMagic;
  block.blockVersion = kClientBlockVersion;
  block.blockReady = 1;
  block.messageCount = 4;
  return image;
}

std::string imageAfter() {
  std::string image = imageBefore();
  auto& block = *reinterpret_cast<client_block*>(image.data() + 8);
  block.messageCount = 5;
  block.messageKind[4] = 0;
  block.messageIsError[4] = 0;
  block.messageFrame[4] = 7;
  block.messageJobThread[4] = 3;
  block.messageRenderInstance[4] = 1;
  return image;
}

// The client's side: a segment, and the address where this process has it.
struct segment {
  int id;
  char* bytes;

  segment() : id(shmget(kKey, kSegmentBytes, IPC_CREAT | IPC_EXCL | 0666)) {
    bytes = static_cast<char*>(shmat(id, nullptr, 0));
    std::memcpy(bytes, imageBefore().data(), kSegmentBytes);
  }
  std::string image() const { return {bytes, kSegmentBytes}; }
  bool isFound() const { return shmget(kKey, 0, 0) == id; }
  void leave() {
    if (bytes != nullptr) shmdt(bytes);
    bytes = nullptr;
  }
  void remove() {
    leave();
    shmctl(id, IPC_RMID, nullptr);
  }
};

pid_t startRender() {
  int ready[2];
  if (pipe2(ready, O_CLOEXEC) != 0) std::abort();
  pid_t const pid = fork();
  if (pid == 0) {
    prctl(PR_SET_NAME, "renderapp");
    (void)!::write(ready[1], "", 1);
    for (;;) pause();
  }
  char byte;
  (void)!read(ready[0], &byte, 1);
  close(ready[0]);
  close(ready[1]);
  return pid;
}

void endRender(pid_t& pid) {
  if (pid <= 0) return;
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  pid = -1;
}

std::string framed(char fill, std::string const& text) {
  std::string line = text.empty() ? "" : "  " + text + "    ";
  line.resize(std::max<std::size_t>(line.size(), 100), fill);
  return "++" + line + "\n";
}

// The report of a good frame, with the stamp given.
std::string verdict(std::string const& stamp) {
  return framed('_', "") + framed('_', stamp + "  Render executable closed") +
         framed('_', "Quazen checks the return code of the executable or the OS") +
         framed('_', "Executable returned 0 (0x0) as exit code for frame 7 (jobthread 3).") +
         framed('_', "Executable finished");
}

// A zone of its own five hours east of UTC, so that a lost zone shows.
std::string zoneFile() {
  std::string const head(
      "TZif2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0\4", 44);
  std::string const zone("\0\0\x46\x50\0\0+05\0", 10);
  return head + zone + head + zone + "\n<+05>-5\n";
}

std::string stampOf(std::time_t time) {
  std::tm parts;
  gmtime_r(&time, &parts);
  char text[64];
  std::strftime(text, sizeof text, "%b %d. %H:%M.%S", &parts);
  return text;
}

// Splits off what the report says of a posting that failed, which its last lines do.
bool takeReason(std::string& output, std::string& reason) {
  std::string const end = framed('+', " 8.3.05") + framed('+', "");
  if (!output.ends_with(end)) return false;
  output.resize(output.size() - end.size());
  auto const start = output.rfind('\n', output.size() - 2) + 1;
  std::string line = output.substr(start);
  output.resize(start);
  if (!line.starts_with("++  ")) return false;
  reason = line.substr(4, line.find_last_not_of("+ \n") - 3);
  return true;
}

struct tool_facts {
  std::string output;
  std::time_t started, ended;
  bool waitedOut;  // the render process was gone before the end
  segment const* block;
};

// What the report tells; true if it tells why there is no message.
bool readReport(tool_scene const& scene, fault const& injected, tool_facts const& facts,
                outcome& got) {
  std::string output = facts.output;
  if (scene.rendersLinger) {
    auto const lineEnd = output.find('\n') + 1;
    bool const waited = output.starts_with("||CheckExitcode|| waiting");
    if (waited) output.erase(0, lineEnd);
    if (!facts.waitedOut)
      add(got.sees, waited ? "stops waiting while the process is there" : "does not wait");
    else if (!waited)
      add(got.sees, "the line about the wait is lost");
  }
  std::string reason;
  bool const told = takeReason(output, reason);
  if (told) {
    add(got.sees, "\"" + replaced(reason, strerror(injected.error), "*error text*") + "\"");
  } else if (output.ends_with(framed('_', ""))) {
    output.resize(output.size() - framed('_', "").size());
  } else {
    add(got.sees, "the last line of the report is lost");
  }

  constexpr int kZone = 5 * 3600;
  for (std::time_t second = facts.started; second <= facts.ended; ++second) {
    if (output == verdict(stampOf(second + kZone))) return told;
    if (output == verdict(stampOf(second))) {
      add(got.sees, "the stamp is in UTC");
      return told;
    }
  }
  add(got.sees, output.empty() ? "the verdict's lines are lost" : "the report is cut");
  return told;
}

// Whether the fault hit the C library's own start, before main and its first call.
bool isInStart(faults::traced_run const& run, fault const& injected) {
  for (call const& made : run.calls) {
    if (made.number == SYS_rt_sigaction) return false;
    if (made.number == injected.number && made.nth == injected.nth) return true;
  }
  return false;
}

void judgeTool(tool_scene const& scene, fault const& injected, tool_facts const& facts,
               outcome& got) {
  if (got.run.status != 0) {
    std::string const how = WIFSIGNALED(got.run.status)
                                ? std::string("SIG") + sigabbrev_np(WTERMSIG(got.run.status))
                                : "status " + std::to_string(WEXITSTATUS(got.run.status));
    add(got.sees, "the C library ends the tool with " + how + ", without a message");
    if (!isInStart(got.run, injected)) add(got.broken, "ended with " + how + ": " + facts.output);
    if (scene.keeper == client::attached && facts.block->image() != imageBefore())
      add(got.broken, "the block changed");
    return;
  }
  bool const told = readReport(scene, injected, facts, got);
  bool const isOutput = injected.number == SYS_write;
  if (got.sees.find("lost") != std::string::npos && !isOutput) add(got.broken, "report incomplete");
  if (got.sees.find("cut") != std::string::npos) add(got.broken, "report damaged");

  bool const isFound = facts.block->isFound();
  if (scene.keeper == client::died) {
    if (isFound) add(got.sees, "the segment stays");
    if (isFound && injected.number != SYS_shmctl && injected.number != SYS_shmget &&
        injected.number != SYS_shmdt && injected.number != SYS_shmat)
      add(got.broken, "the segment stays");
    return;
  }
  if (!isFound) {
    // Required: a failed count of the users passes for none.
    add(got.sees, "the segment is removed under the client, which has to start again");
    if (injected.number != SYS_shmctl) add(got.broken, "segment removed");
  }
  if (facts.block->image() != (told ? imageBefore() : imageAfter()))
    add(got.broken, told ? "the block changed" : "the block is not as before with one message");
}

outcome runTool(tool_scene const& scene, fault const& injected) {
  outcome got;
  segment block;
  if (scene.keeper == client::died) block.leave();
  pid_t render = scene.rendersLinger ? startRender() : -1;
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) std::abort();

  tool_facts facts = {};
  facts.started = time(nullptr);
  int sleeps = 0;
  got.run = faults::trace(
      [&] {
        dup2(output[1], STDOUT_FILENO);
        dup2(output[1], STDERR_FILENO);
        personality(ADDR_NO_RANDOMIZE);  // the C library's calls for memory are always the same
        auto args = scene.args;
        args.insert(args.begin(), "qzCheckExitcode");
        args.push_back(nullptr);
        execv(toolPath, const_cast<char**>(args.data()));
        _exit(126);
      },
      injected,
      {[&](int pid) {
         return pid == render ? "the render process" : pid == 1 ? "its parent" : "the tool";
       },
       [&](long) {
         // Two of 350 ms and, for each poll, six that make 5 s: the process is still there after
         // the first poll, and has gone after the second. A wait cut short has twelve in all.
         if (++sleeps == 14) endRender(render);
       }});
  facts.ended = time(nullptr);
  close(output[1]);
  char buffer[8192];
  for (ssize_t count; (count = read(output[0], buffer, sizeof buffer)) > 0;)
    facts.output.append(buffer, static_cast<std::size_t>(count));
  close(output[0]);
  facts.waitedOut = scene.rendersLinger && render == -1;
  facts.block = &block;
  endRender(render);
  judgeTool(scene, injected, facts, got);
  if (waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD) add(got.broken, "a process is left");
  block.remove();
  return got;
}

// --- the library's functions on files ---

// What a function left, in memory that the traced process shares.
struct file_facts {
  bool ok, wasThere;
  int error, waitedMs, openBefore, openAfter;
};
file_facts* shared = nullptr;

int countOpenFiles() {
  auto const files = std::filesystem::directory_iterator("/proc/self/fd");
  return static_cast<int>(std::distance(begin(files), end(files)));
}

struct file_scene {
  char const* name;
  void (*prepare)();
  void (*body)();
  void (*judge)(fault const& injected, outcome& got);
};

std::string at(char const* name) { return folder + "/" + name; }
bool isThere(char const* name) { return std::filesystem::exists(at(name)); }

constexpr char kLock[] = "target_lock.txt";

void lockAndUnlock() {
  _qzFileLocker2 locker(at("target").c_str());
  faults::mark();
  shared->ok = locker.lock(1000, "faults", &shared->waitedMs, false);
  faults::mark();
  shared->error = locker.lastError;
  shared->wasThere = isThere(kLock);
  faults::mark();
  locker.unlock();
  faults::mark();
}

std::string errorText(fault const& injected, int error) {
  if (error == injected.error && error != 0) return "*errno*";
  return error == 0 ? "0" : strerrorname_np(error);
}

void judgeLock(fault const& injected, outcome& got) {
  bool const isLeft = isThere(kLock);
  if (!shared->ok) {
    add(got.sees, shared->waitedMs > 0
                      ? "`lock` gives false: held for the whole wait"
                      : "`lock` gives false; `lastError` is " + errorText(injected, shared->error));
    if (shared->waitedMs <= 0 && shared->error == 0) add(got.broken, "no reason told");
  }
  if (shared->ok && !shared->wasThere) add(got.broken, "locked without a lock file");
  if (isThere("target_lock.txt.none")) add(got.sees, "`unlock` leaves the file as `.none`");
  if (isLeft && shared->ok) add(got.broken, "the lock file is left");
}

// Somebody else has the lock.
void judgeHeldLock(fault const& injected, outcome& got) {
  if (!shared->ok && isThere(kLock)) return;
  // Required: a file whose age can't be told is as stale as can be.
  add(got.sees, shared->ok ? "takes the lock from its holder" : "removes the lock of its holder");
  if (injected.number != SYS_newfstatat) add(got.broken, "the holder's lock has gone");
}

void makeStaleLock() {
  write(at(kLock), "stale");
  utimbuf const old = {1000, 1000};
  utime(at(kLock).c_str(), &old);
}

constexpr int kCopied = 600000;  // two chunks
std::string copiedText() {
  std::string text(kCopied, 'x');
  for (std::size_t i = 0; i < text.size(); i += 97) text[i] = static_cast<char>(i);
  return text;
}

void copy() {
  _qzString8_allSize<500> const from(at("source").c_str());
  _qzString8_allSize<500> const to(at("copy").c_str());
  int const pause = 5;
  errno = 0;
  faults::mark();
  shared->ok = qzCopyFile(from, to, true, pause, nullptr);
  faults::mark();
  shared->error = errno;
}

void judgeCopy(fault const& injected, outcome& got) {
  std::string const text = copiedText();
  if (contentsOf(at("source")) != text) add(got.broken, "the source changed");
  if (got.run.isEndless) {
    // Required: see writeChunk.
    add(got.sees, "the copy writes the same bytes without end");
    if (injected.error != EINTR) add(got.broken, "endless");
    return;
  }
  std::string const copied = contentsOf(at("copy"));
  if (shared->ok) {
    if (injected.number == SYS_read && injected.error == faults::kShort) {
      // Required: a short read is the end of a regular file.
      add(got.sees, copied == text ? "" : "true, but the copy ends there");
      return;
    }
    struct stat one, other;
    stat(at("source").c_str(), &one);
    stat(at("copy").c_str(), &other);
    if (copied != text) add(got.broken, "true, but the copy differs");
    if (one.st_mtime != other.st_mtime) add(got.broken, "true, but the time differs");
    return;
  }
  std::string const left = !isThere("copy")         ? "no copy"
                           : copied == text         ? "a whole copy stays"
                           : copied == "old target" ? "the old target stays"
                                                    : "a part of the copy stays";
  add(got.sees, "false, `errno` " + errorText(injected, shared->error) + "; " + left);
}

void prepareCopy() {
  write(at("source"), copiedText());
  utimbuf const times = {2000000, 3000000};
  utime(at("source").c_str(), &times);
}

void prepareCopyOver() {
  prepareCopy();
  write(at("copy"), "old target");
}

void logLine() {
  _qzString8_allSize<250> const name(at("log").c_str());
  faults::mark();
  shared->ok = writeToLogFile(name, "a line", false, false);
  faults::mark();
  shared->error = errno;
}

void judgeLog(fault const& injected, outcome& got) {
  std::string const log = contentsOf(at("log"));
  bool const isWhole = log == "first\na line\n";
  if (!log.starts_with("first\n")) add(got.broken, "an earlier line is lost");
  if (!shared->ok) add(got.sees, "false, `errno` " + errorText(injected, shared->error));
  std::string const result = shared->ok ? "true, but " : "";
  if (!isWhole)
    add(got.sees, result + (log == "first\n" ? "the line is lost" : "the line is torn"));
  if (shared->ok && !isWhole && injected.number != SYS_write && injected.number != SYS_close)
    add(got.broken, "true, but the line is lost");
}

file_scene const kFileScenes[] = {
    {"lock", [] {}, lockAndUnlock, judgeLock},
    {"held lock", [] { write(at(kLock), "held"); }, lockAndUnlock, judgeHeldLock},
    {"stale lock", makeStaleLock, lockAndUnlock, judgeLock},
    {"copy", prepareCopy, copy, judgeCopy},
    {"copy over", prepareCopyOver, copy, judgeCopy},
    {"log line", [] { write(at("log"), "first\n"); }, logLine, judgeLog},
};

outcome runFiles(file_scene const& scene, fault const& injected) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  scene.prepare();
  *shared = {};
  outcome got;
  got.run = faults::trace(
      [&] {
        shared->openBefore = countOpenFiles();
        scene.body();
        shared->openAfter = countOpenFiles();
      },
      injected, {[](int) { return "a process"; }, [](long) {}});
  if (!got.run.isEndless && got.run.status != 0) add(got.broken, "ended by a signal");
  if (shared->openAfter > shared->openBefore && injected.number != SYS_close)
    add(got.broken, "a descriptor is left open");
  scene.judge(injected, got);
  return got;
}

// --- all faults of a scene ---

struct row {
  std::string call, sees;
  std::vector<std::string> scenes, errors;
};
using table = std::vector<row>;

int faultCount = 0;

void addOnce(std::vector<std::string>& list, std::string const& text) {
  if (std::find(list.begin(), list.end(), text) == list.end()) list.push_back(text);
}

std::string joined(std::vector<std::string> const& list) {
  std::string text;
  for (auto const& item : list) text += (text.empty() ? "" : ", ") + item;
  return text;
}

void note(table& rows, std::string const& what, std::string const& scene, fault const& injected,
          std::string const& sees) {
  auto found = std::find_if(rows.begin(), rows.end(), [&](row const& known) {
    return known.call == what && known.sees == sees;
  });
  if (found == rows.end()) found = rows.insert(rows.end(), {what, sees, {}, {}});
  addOnce(found->scenes, scene);
  addOnce(found->errors, faults::errorName(injected.error));
}

void complain(char const* scene, call const& place, fault const& injected,
              std::string const& what) {
  ++violations;
  std::fprintf(stderr, "%s: %s %s, number %d, %s: %s\n", scene, place.name.c_str(),
               place.target.c_str(), place.nth, faults::errorName(injected.error).c_str(),
               what.c_str());
}

// What a row says of the place. Where nobody sees anything, the call alone tells enough.
std::string describe(call const& place, bool isStart, std::string const& sees) {
  std::string text = "`" + place.name + "`";
  std::string file = replaced(place.target, folder + ".zone", "the time zone");
  file = replaced(file, folder + "/", "the file ");
  if (isStart) return text + " in the start of the C library";
  if (sees.empty() || file.empty()) return text;
  if (place.number == SYS_shmget || place.number == SYS_shmctl) return text + " " + file;
  return text + (place.number == SYS_write ? " to " : " of ") + file;
}

// Each place in turn with each errno, or in the short form with one of them.
template <class Scene>
void runScene(Scene const& scene, outcome (*run)(Scene const&, fault const&), table& rows,
              bool isShort) {
  outcome const clean = run(scene, fault{});
  if (!clean.sees.empty() || !clean.broken.empty())
    complain(scene.name, {}, {}, "without a fault: " + clean.sees + " / " + clean.broken);
  constexpr bool kIsTool = std::is_same_v<Scene, tool_scene>;
  std::size_t turn = 0;
  for (call const& place : clean.run.calls) {
    auto const* const errnos = faults::errnosOf(place);
    if (errnos == nullptr) {
      complain(scene.name, place, {}, "no errno is known for this call");
      continue;
    }
    ++turn;
    for (std::size_t i = 0; i < errnos->size(); ++i) {
      if (isShort && i != turn % errnos->size()) continue;
      fault const injected = {place.number, place.nth, (*errnos)[i]};
      outcome got = run(scene, injected);
      ++faultCount;
      if (place.number == SYS_clock_nanosleep) add(got.sees, "the sleep is cut short");
      if (!got.run.wasDelivered) complain(scene.name, place, injected, "the call did not come");
      if (!got.broken.empty()) complain(scene.name, place, injected, got.broken);
      bool const isStart = kIsTool && isInStart(clean.run, injected);
      note(rows, describe(place, isStart, got.sees), scene.name, injected, got.sees);
    }
  }
}

void print(table const& rows) {
  std::printf("| Call | errno | In | What the user sees |\n|---|---|---|---|\n");
  for (row const& line : rows)
    std::printf("| %s | %s | %s | %s |\n", line.call.c_str(), joined(line.errors).c_str(),
                joined(line.scenes).c_str(), line.sees.empty() ? "nothing" : line.sees.c_str());
}

int runAll(bool isShort) {
  auto const started = std::chrono::steady_clock::now();
  void* const memory =
      mmap(nullptr, sizeof(file_facts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);  // a large block is always mapped, whatever came before
  shared = static_cast<file_facts*>(memory);
  folder = node::makeScratchFolder();
  std::string const zone = folder + ".zone";
  write(zone, zoneFile());
  setenv("TZ", (":" + zone).c_str(), 1);

  table ofTool, ofFiles;
  for (auto const& scene : kToolScenes) runScene(scene, runTool, ofTool, isShort);
  for (auto const& scene : kFileScenes) runScene(scene, runFiles, ofFiles, isShort);
  std::filesystem::remove_all(folder);
  std::filesystem::remove(zone);

  std::printf("The tool:\n\n");
  print(ofTool);
  std::printf("\nThe library's lock file, copy and log line:\n\n");
  print(ofFiles);
  std::printf("\n%d faults, %d violations.\n", faultCount, violations);
  std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - started;
  std::fprintf(stderr, "%d faults in %.0f s, %d violations\n", faultCount, taken.count(),
               violations);
  return violations == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  bool const isShort = argc == 3 && std::strcmp(argv[1], "--short") == 0;
  if (argc != 2 && !isShort) {
    std::fprintf(stderr, "Usage: fault_runner [--short] TOOL\n");
    return 2;
  }
  toolPath = argv[argc - 1];
  return node::awaitNode(node::startNode([&] { return runAll(isShort); }));
}
