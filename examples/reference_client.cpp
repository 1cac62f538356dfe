// The least client that the tool needs: it makes the block of shared memory, stays attached, and
// prints the messages that the tool leaves there. A client of one's own starts from main(); see
// tool/client_block.h for the block and its rules.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "command_line.h"
#include "end_request.h"
#include "sharedmem/shared_memory.h"
#include "tool/client_block.h"

namespace {

using example::endRequested;
using example::isHelp;
using example::readNumber;

constexpr char kProgram[] = "reference_client";

using shared_block = client_block volatile;

struct options {
  bool onlyHelp = false;
  bool once = false;
  int intervalMs = 200;
  int blockBytes = kClientBlockBytes;
};

struct message {
  std::int64_t frame;
  int jobThread;
  int renderInstance;
  bool isError;
};

struct messages {
  int count = 0;
  message list[kClientBlockSlots];
};

bool readOptions(int argc, char** argv, options& chosen);
void printHelp();
void endOnSignals();
int explainNoBlock(qzSharedMemory const& memory);
int explainNoLock(qzSharedMemory const& memory);
bool printMessage(message const& posted, int slot);

// With the lock held. The marks come last: they tell the tools that the block is in order.
void setMarks(shared_block& block) {
  block.messageCount = 0;
  block.blockMagic = kClientBlockMagic;
  block.blockVersion = kClientBlockVersion;
  block.blockReady = 1;
}

// With the lock held. Only copies, so that no tool waits while this program prints.
messages drain(shared_block& block) {
  messages drained;
  drained.count = std::min<int>(block.messageCount, kClientBlockSlots);
  for (int slot = 0; slot < drained.count; ++slot)
    drained.list[slot] = {block.messageFrame[slot], block.messageJobThread[slot],
                          block.messageRenderInstance[slot], block.messageIsError[slot] != 0};
  block.messageCount = 0;
  return drained;
}

}  // namespace

int main(int argc, char** argv) {
  options chosen;
  if (!readOptions(argc, argv, chosen)) return 2;
  if (chosen.onlyHelp) {
    printHelp();
    return 0;
  }
  endOnSignals();

  // The segment goes when `memory` does, unless a tool is attached: then the tool takes it along.
  qzSharedMemory memory(kClientBlockName);
  if (!memory.create(chosen.blockBytes, false, false)) return explainNoBlock(memory);
  shared_block& block = *static_cast<shared_block*>(memory.data());

  if (!memory.lock()) return explainNoLock(memory);
  setMarks(block);
  memory.unlock();

  std::printf("Waiting for messages in shared memory, key 0x%08x, %d bytes.\n", memory.key,
              memory.size());
  if (std::fflush(stdout) != 0) return example::explainNoOutput(kProgram);

  for (;;) {
    bool const last = endRequested != 0;  // one more drain follows the request
    if (!memory.lock()) return endRequested != 0 ? 0 : explainNoLock(memory);
    messages const drained = drain(block);
    memory.unlock();

    for (int slot = 0; slot < drained.count; ++slot)
      if (!printMessage(drained.list[slot], slot)) return example::explainNoOutput(kProgram);
    if (last || (chosen.once && drained.count > 0)) return 0;
    example::sleepUntilDue(chosen.intervalMs);
  }
}

namespace {

// --- what the client says ---

void printHelp() {
  std::printf(
      "Usage: reference_client [--once] [--interval MS] [--size BYTES]\n"
      "\n"
      "Makes the block of shared memory in which qzCheckExitcode leaves its messages, and prints\n"
      "one line for each message until it gets SIGINT, SIGTERM or SIGHUP. It then removes the "
      "block.\n"
      "\n"
      "  --once          end after the first message, with those that wait beside it\n"
      "  --interval MS   look for messages every MS milliseconds, 1 to 3600000 (200)\n"
      "  --size BYTES    size of the block's data, %d at least (%d)\n"
      "  -h, --help      print this and end\n"
      "\n"
      "Exit status: 0 after a message with --once and after a signal, 1 after a failure, 2 for\n"
      "wrong options.\n",
      kClientBlockBytes, kClientBlockBytes);
}

bool printMessage(message const& posted, int slot) {
  char frame[32] = "no frame";
  if (posted.frame != kClientBlockNoFrame)
    std::snprintf(frame, sizeof frame, "frame %lld", static_cast<long long>(posted.frame));
  std::printf("slot %d: %s, job thread %d, render instance %d, %s\n", slot, frame, posted.jobThread,
              posted.renderInstance, posted.isError ? "error" : "ok");
  return std::fflush(stdout) == 0;
}

int explainNoBlock(qzSharedMemory const& memory) {
  constexpr int kExists = 4;
  if (memory.error() == kExists)
    std::fprintf(stderr,
                 "reference_client: shared memory with key 0x%08x exists already, because another "
                 "client runs or was killed: see who is attached with `ipcs -m`, remove it with "
                 "`ipcrm -M 0x%08x`, or just start again if nobody was.\n",
                 memory.key, memory.key);
  else
    std::fprintf(stderr, "reference_client: cannot make the shared memory: %s\n",
                 memory.errorString().asChar());
  return 1;
}

int explainNoLock(qzSharedMemory const& memory) {
  std::fprintf(
      stderr,
      "reference_client: the lock of the shared memory with key 0x%08x stays held, because "
      "a program hangs or was killed while it had it: end that program, then start this "
      "client again, which makes a new block.\n",
      memory.key);
  return 1;
}

// --- signals ---

// A reader of standard output that goes away shall not kill the client either: the block would
// stay behind.
void endOnSignals() {
  for (int const each : {SIGINT, SIGTERM}) example::endOn(each, SA_RESTART);
  struct sigaction action = {};
  sigaction(SIGHUP, nullptr, &action);
  if (action.sa_handler != SIG_IGN) example::endOn(SIGHUP, SA_RESTART);  // nohup(1) keeps it alive
  (void)signal(SIGPIPE, SIG_IGN);
}

// --- options ---

bool readOptions(int argc, char** argv, options& chosen) {
  for (int i = 1; i < argc; ++i) {
    char const* const option = argv[i];
    if (isHelp(option)) {
      chosen.onlyHelp = true;
    } else if (std::strcmp(option, "--once") == 0) {
      chosen.once = true;
    } else if (std::strcmp(option, "--interval") == 0) {
      if (!readNumber("reference_client", option, argv[++i], 1, 3600000, chosen.intervalMs))
        return false;
    } else if (std::strcmp(option, "--size") == 0) {
      constexpr int kMost = INT_MAX - 8;  // the segment's header comes on top
      if (!readNumber("reference_client", option, argv[++i], kClientBlockBytes, kMost,
                      chosen.blockBytes))
        return false;
    } else {
      std::fprintf(stderr, "reference_client: unknown option \"%s\"; --help lists them.\n", option);
      return false;
    }
  }
  return true;
}

}  // namespace
