// A farm node for minutes on end: a client that drains, is killed and started again; up to 64 runs
// of the tool at once; render processes of every kind; locks left held; blocks that are none.
// Counts what came of it and checks what must hold. See scripts/soak.
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "node/own_node.h"
#include "soak/soak_state.h"

namespace soak {

double now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void pauseFor(double seconds) {
  if (seconds > 0) usleep(static_cast<useconds_t>(seconds * 1e6));
}

namespace {

constexpr key_t kKey = 0x78D311;
constexpr std::size_t kMostWaiting = 40;  // scripts with a render process

struct life {
  double begun, ended;
};

// Process 1 of the node.
struct director {
  state& all;
  char const* tool;
  int requests;
  std::mt19937 chance;
  double deadline;

  pid_t client = -1;
  block_kind kind = block_kind::good;
  double clientBegun = 0;
  std::vector<life> goodLives = {};
  std::set<pid_t> plain = {}, waiting = {};  // scripts
  int frames = 0;
  long clients = 0, killed = 0, holders = 0, lastOneOut = 0, leftByKill = 0, replaced = 0;

  int roll(int below) { return static_cast<int>(chance() % static_cast<unsigned>(below)); }
  bool isOver() const { return now() > deadline || frames + 64 > kMostFrames; }
};

template <class Body>
pid_t startProcess(char const* name, Body body) {
  std::fflush(nullptr);
  pid_t const pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_NAME, name);
  body();
  _exit(0);
}

void noteClientsEnd(director& at) {
  if (at.kind == block_kind::good) at.goodLives.push_back({at.clientBegun, now()});
  at.client = -1;
}

// Reaps all that have ended, adopted render processes too.
void reapAll(director& at) {
  for (pid_t pid; (pid = waitpid(-1, nullptr, WNOHANG)) > 0;) {
    if (pid == at.client) noteClientsEnd(at);
    at.plain.erase(pid);
    at.waiting.erase(pid);
  }
}

void startClient(director& at, block_kind kind) {
  // A block that a killed client has left is in the way once; who looks removes it.
  for (int tries = 0; tries < 100 && at.client < 0; ++tries) {
    at.all.isClientReady = false;
    at.all.stopClient = false;
    at.kind = kind;
    at.client = startProcess("client", [&] { _exit(keepBlock(at.all, kind)); });
    while (at.client > 0 && !at.all.isClientReady) {
      pauseFor(0.005);
      int status = 0;
      if (waitpid(at.client, &status, WNOHANG) != at.client) continue;
      at.client = -1;
      ++at.replaced;
      pauseFor(0.1);
    }
  }
  at.clientBegun = now();
  ++at.clients;
}

void keepClient(director& at) {
  reapAll(at);
  if (at.client < 0) startClient(at, block_kind::good);
}

void stopClient(director& at) {
  at.all.stopClient = true;
  while (at.client > 0) {
    pauseFor(0.01);
    reapAll(at);
  }
}

void killClient(director& at) {
  if (at.client <= 0) return;
  kill(at.client, SIGKILL);
  while (at.client > 0) {
    reapAll(at);
    pauseFor(0.001);
  }
  ++at.killed;
}

void startScripts(director& at, int count) {
  double const start = now() + 0.02 + 0.004 * count;
  int named = at.roll(4) == 0 ? 4 : 1;  // of a batch
  for (int i = 0; i < count; ++i) {
    int const frame = at.frames++;
    bool const mayWait = named > 0 && at.waiting.size() < kMostWaiting;
    auto const kind = mayWait
                          ? static_cast<render>(1 + at.roll(static_cast<int>(render::count) - 1))
                          : render::none;
    if (mayWait) --named;
    at.all.runs[frame].kind = kind;
    pid_t const pid =
        startProcess("script", [&] { runScript(at.all, frame, start, at.tool, at.requests); });
    (kind == render::none ? at.plain : at.waiting).insert(pid);
  }
}

void awaitPlain(director& at) {
  for (double const limit = now() + 60; !at.plain.empty() && now() < limit;) {
    pauseFor(0.005);
    reapAll(at);
  }
}

int batchSize(director& at) { return 1 << at.roll(7); }

// Nobody is killed: what is lost here is lost in the race for the lock. Batch upon batch, so that
// tools post beside others that only start.
void calmRound(director& at) {
  for (double const end = now() + 10; now() < end && !at.isOver();) {
    keepClient(at);
    int const size = batchSize(at);
    while (at.plain.size() + static_cast<std::size_t>(size) > 64) {
      pauseFor(0.01);
      reapAll(at);
    }
    startScripts(at, size);
    pauseFor(0.02);
  }
  awaitPlain(at);
  pauseFor(0.5);
}

void killRound(director& at) {
  keepClient(at);
  startScripts(at, std::max(8, batchSize(at)));
  pauseFor(0.001 * at.roll(1200));
  killClient(at);
  if (at.roll(2) == 0) {
    awaitPlain(at);
    // With no tool behind the kill the block stays for the next client.
    (shmget(kKey, 0, 0) == -1 ? at.lastOneOut : at.leftByKill)++;
  }
  keepClient(at);
  awaitPlain(at);
}

void heldLockRound(director& at) {
  keepClient(at);
  pid_t const holder = startProcess("holder", dieWithLock);
  startScripts(at, std::min(16, batchSize(at)));
  int status = 0;
  waitpid(holder, &status, 0);
  if (WIFSIGNALED(status)) ++at.holders;
  awaitPlain(at);
  keepClient(at);  // it ended when it could not get the lock
}

void wrongBlockRound(director& at) {
  stopClient(at);
  startClient(at, static_cast<block_kind>(1 + at.roll(static_cast<int>(block_kind::count) - 1)));
  startScripts(at, std::min(16, batchSize(at)));
  awaitPlain(at);
  stopClient(at);
}

// --- what came of it ---

int violations = 0;

void mustBeZero(char const* what, long count) {
  std::printf("| %s | %ld |\n", what, count);
  if (count == 0) return;
  ++violations;
  std::fprintf(stderr, "must be zero: %s is %ld\n", what, count);
}

// Whether a client that drains was there before and after the message came.
bool hadClient(director const& at, double posted) {
  constexpr double kBefore = 2, kAfter = 1;
  return std::any_of(at.goodLives.begin(), at.goodLives.end(), [&](life const& one) {
    return one.begun < posted - kBefore && posted + kAfter < one.ended;
  });
}

struct counts {
  long results[static_cast<int>(posting::count)] = {};
  long kinds[static_cast<int>(render::count)] = {};
  long received, doubled, lostElsewhere, calm, lostInRace;
  long badStatus, badReport, wrongWaits, tooEarly, notDone;
};

counts countAll(director const& at) {
  counts sum = {};
  for (int frame = 0; frame < at.frames; ++frame) {
    frame_run const& run = at.all.runs[frame];
    ++sum.kinds[static_cast<int>(run.kind)];
    if (!run.isDone) {
      ++sum.notDone;
      continue;
    }
    ++sum.results[static_cast<int>(run.result)];
    sum.badStatus += run.status != 0;
    sum.badReport += !run.isReportWhole;
    sum.wrongWaits += run.waited != isWaitedFor(run.kind);
    sum.tooEarly += run.waited && run.ended < run.renderEnded + 3;
    sum.received += run.received > 0;
    sum.doubled += run.received > 1;
    if (run.result != posting::posted) continue;
    bool const isCalm = hadClient(at, run.ended);
    sum.calm += isCalm;
    if (run.received == 0) ++(isCalm ? sum.lostInRace : sum.lostElsewhere);
  }
  return sum;
}

long countProcesses() {
  long count = 0;
  for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
    auto const name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") == std::string::npos && name != "1") ++count;
  }
  return count;
}

long countSegments() {
  std::ifstream file("/proc/sysvipc/shm");
  long lines = -1;  // the head
  for (std::string line; std::getline(file, line);) ++lines;
  return lines;
}

void report(director const& at, std::string const& folder, double minutes, unsigned seed) {
  counts const sum = countAll(at);
  auto const of = [&](posting result) { return sum.results[static_cast<int>(result)]; };
  std::printf("%.1f minutes, seed %u: %d runs of the tool, %ld clients.\n\n", minutes, seed,
              at.frames, at.clients);
  std::printf("| What | Count |\n|---|---:|\n");
  std::printf("| Messages posted | %ld |\n", of(posting::posted));
  std::printf("| of them received by the client | %ld |\n", sum.received);
  std::printf("| lost with a client that was killed or had gone | %ld |\n", sum.lostElsewhere);
  std::printf(
      "| lost in the race for the lock byte, of %ld posted while a client was there | %ld |\n",
      sum.calm, sum.lostInRace);
  std::printf("| received twice; with fields of two messages; of no frame | %ld; %ld; %ld |\n",
              sum.doubled, at.all.mixed.load(), at.all.strange.load());
  std::printf("| Refused: lock not got in 2.5 s | %ld |\n", of(posting::lockTimedOut));
  std::printf("| Refused: table full | %ld |\n", of(posting::full));
  std::printf("| Refused: no segment, or it went while attaching | %ld |\n",
              of(posting::attachFailed));
  std::printf("| Refused: wrong marks; wrong size | %ld; %ld |\n", of(posting::wrongMarks),
              of(posting::wrongSize));
  std::printf("| Clients killed | %ld |\n", at.killed);
  std::printf(
      "| Blocks of killed clients: removed with the last one out; left to the next client | "
      "%ld; %ld |\n",
      at.lastOneOut, at.leftByKill);
  std::printf("| Holders killed with the lock; clients that gave up on it | %ld; %ld |\n",
              at.holders, at.all.lockTimeouts.load());
  std::printf("| Blocks removed under a client that had just made them | %ld |\n",
              at.all.blocksRemoved.load());
  for (int kind = 1; kind < static_cast<int>(render::count); ++kind)
    std::printf("| Render process: %s (%s) | %ld |\n", kRenderNames[kind],
                isWaitedFor(static_cast<render>(kind)) ? "waited for" : "no wait", sum.kinds[kind]);
  std::printf("| Drains, each with a look at all bytes | %ld |\n", at.all.drains.load());
  std::printf("\n| What must be zero | Count |\n|---|---:|\n");
  mustBeZero("Bytes changed outside the table, or in a block with wrong marks",
             at.all.changedBytes);
  mustBeZero("Counts above 30", at.all.countsAbove30);
  mustBeZero("Exit statuses other than 0", sum.badStatus);
  mustBeZero("Reports not whole, or with an unknown line", sum.badReport + of(posting::unknown));
  mustBeZero("Waits that should not be, or are missing", sum.wrongWaits);
  mustBeZero("Waits that ended before the process, or without 3 s to settle", sum.tooEarly);
  mustBeZero("Runs that did not end", sum.notDone);
  mustBeZero("Segments left", countSegments());
  mustBeZero("Processes left", countProcesses());
  mustBeZero("Files left", std::distance(std::filesystem::directory_iterator(folder),
                                         std::filesystem::directory_iterator()));
}

double perMillion(long part, long whole) {
  return whole > 0 ? 1e6 * static_cast<double>(part) / static_cast<double>(whole) : 0;
}

// Not asserted: the lock is a plain byte, which two may take in the same instant.
void reportLockByte(director const& at, double seconds) {
  counts const sum = countAll(at);
  std::printf(
      "\nThe weakness of the lock byte: %.0f messages lost of a million posted, with up to 64 "
      "tools in the\nsame instant.",
      perMillion(sum.lostInRace, sum.calm));
  if (sum.calm > 0 && sum.lostInRace == 0)
    std::printf(" None of %ld: with 95 %% confidence less than %.0f of a million.", sum.calm,
                3e6 / static_cast<double>(sum.calm));
  void* const memory =
      mmap(nullptr, sizeof(lock_race), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return;
  auto& race = *static_cast<lock_race*>(memory);
  raceForLock(race, 8, std::min(3.0, seconds / 60));
  std::printf(
      "\nAt worst, with 8 processes that do nothing but take the lock: %.2f of a million "
      "(%ld of %ld) held\ntogether with another one.\n",
      perMillion(race.overlapped, race.taken), race.overlapped.load(), race.taken.load());
}

int direct(state& all, char const* tool, int requests, double seconds, unsigned seed) {
  std::string const folder = node::makeScratchFolder();
  if (chdir(folder.c_str()) != 0) return 1;
  setenv("TMPDIR", folder.c_str(), 1);
  director at = {all, tool, requests, std::mt19937(seed), now() + seconds};
  while (!at.isOver()) {
    calmRound(at);
    if (!at.isOver()) killRound(at);
    if (!at.isOver()) killRound(at);
    if (!at.isOver()) heldLockRound(at);
    if (!at.isOver()) wrongBlockRound(at);
  }
  for (double const limit = now() + 60; !at.waiting.empty() && now() < limit;) {
    keepClient(at);
    pauseFor(0.02);
  }
  pauseFor(0.5);
  stopClient(at);
  for (double const limit = now() + 20; countProcesses() > 0 && now() < limit; reapAll(at))
    pauseFor(0.1);  // orphans are reaped outside
  report(at, folder, seconds / 60, seed);
  reportLockByte(at, seconds);
  (void)!chdir("/");
  std::filesystem::remove_all(folder);
  return violations == 0 ? 0 : 1;
}

// --- outside the node: the parent of the orphans ---

void startOrphans(state& all, int frame) {
  frame_run& run = all.runs[frame];
  for (int i = 0; i < (run.kind == render::twins ? 2 : 1); ++i)
    startProcess(("r" + std::to_string(frame)).c_str(), [&] {
      for (int file = 0; file < 3; ++file) close(file);
      run.orphans[i] = getpid();
      for (;;) pause();
    });
}

int runNode(char const* tool, double seconds, unsigned seed) {
  // Zero pages, touched as frames come.
  void* const memory = mmap(nullptr, sizeof(state), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  int requests[2];
  if (memory == MAP_FAILED || pipe2(requests, O_CLOEXEC) != 0) {
    std::perror("soak_node");
    return 1;
  }
  auto& all = *static_cast<state*>(memory);
  pid_t const first =
      node::startNode([&] { return direct(all, tool, requests[1], seconds, seed); });
  for (;;) {
    pollfd ready = {requests[0], POLLIN, 0};
    int frame;
    if (poll(&ready, 1, 50) > 0 && read(requests[0], &frame, sizeof frame) == sizeof frame)
      startOrphans(all, frame);
    int status = 0;
    for (pid_t pid; (pid = waitpid(-1, &status, WNOHANG)) > 0;)
      if (pid == first) return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  }
}

}  // namespace
}  // namespace soak

int main(int argc, char** argv) {
  char const* const usage = "Usage: soak_node TOOL SECONDS [SEED]\n";
  double const seconds = argc > 2 ? std::atof(argv[2]) : 0;
  if (argc > 4 || seconds <= 0) {
    std::fputs(usage, stderr);
    return 2;
  }
  unsigned const seed = argc > 3 ? static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10))
                                 : static_cast<unsigned>(time(nullptr));
  std::string const tool = std::filesystem::absolute(argv[1]).string();
  if (access(tool.c_str(), X_OK) != 0) {
    std::perror(tool.c_str());
    return 2;
  }
  return soak::runNode(tool.c_str(), seconds, seed);
}
