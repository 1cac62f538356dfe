// The tool beside a client's block.
#include <fcntl.h>
#include <sys/personality.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "faults/scenes.h"
#include "tool/client_block.h"

namespace faults {
namespace {

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
    (void)!write(ready[1], "", 1);
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

outcome runTool(char const* tool, tool_scene const& scene, fault const& injected) {
  outcome got;
  segment block;
  if (scene.keeper == client::died) block.leave();
  pid_t render = scene.rendersLinger ? startRender() : -1;
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) std::abort();

  tool_facts facts = {};
  facts.started = time(nullptr);
  int sleeps = 0;
  got.run = trace(
      [&] {
        dup2(output[1], STDOUT_FILENO);
        dup2(output[1], STDERR_FILENO);
        personality(ADDR_NO_RANDOMIZE);  // the C library's calls for memory are always the same
        auto args = scene.args;
        args.insert(args.begin(), "qzCheckExitcode");
        args.push_back(nullptr);
        execv(tool, const_cast<char**>(args.data()));
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

}  // namespace

std::string zoneFile() {
  std::string const head(
      "TZif2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0\4", 44);
  std::string const zone("\0\0\x46\x50\0\0+05\0", 10);
  return head + zone + head + zone + "\n<+05>-5\n";
}

bool isInStart(traced_run const& run, fault const& injected) {
  for (call const& made : run.calls) {
    if (made.number == SYS_rt_sigaction) return false;
    if (made.number == injected.number && made.nth == injected.nth) return true;
  }
  return false;
}

std::vector<scene> toolScenes(char const* tool) {
  std::vector<scene> all;
  for (tool_scene const& one : kToolScenes)
    all.push_back({one.name, [=](fault const& injected) { return runTool(tool, one, injected); }});
  return all;
}

}  // namespace faults
