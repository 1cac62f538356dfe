// The client's side of the simulated node.
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <string>

#include "sharedmem/shared_memory.h"
#include "soak/soak_state.h"
#include "tool/client_block.h"

namespace soak {
namespace {

constexpr int kHeaderBytes = 8;
constexpr int kMappedBytes = 24576;  // the segment's pages

client_block& blockOf(std::string& image) {
  return *reinterpret_cast<client_block*>(image.data() + kHeaderBytes);
}

std::string startImage(block_kind kind) {
  std::string image(kMappedBytes, '\xA5');
  image[0] = 0;
  client_block& block = blockOf(image);
  block.blockMagic = kind == block_kind::magic ? 518 : kClientBlockMagic;
  block.blockVersion = kind == block_kind::version ? 1 : kClientBlockVersion;
  block.blockReady = kind == block_kind::notReady ? 0 : 1;
  block.messageCount = kind == block_kind::full ? 30 : kind == block_kind::overfull ? 200 : 0;
  return image;
}

// The image with everything that a tool may write put back.
std::string withoutTable(std::string image, std::string const& start) {
  client_block& block = blockOf(image);
  client_block const& before = *reinterpret_cast<client_block const*>(start.data() + kHeaderBytes);
  image[0] = start[0];
  block.messageCount = before.messageCount;
  std::memcpy(block.messageKind, before.messageKind, sizeof block.messageKind);
  std::memcpy(block.messageIsError, before.messageIsError, sizeof block.messageIsError);
  for (int i = 0; i < kClientBlockSlots; ++i) block.messageFrame[i] = before.messageFrame[i];
  std::memcpy(block.messageJobThread, before.messageJobThread, sizeof block.messageJobThread);
  std::memcpy(block.messageRenderInstance, before.messageRenderInstance,
              sizeof block.messageRenderInstance);
  return image;
}

long countChanges(std::string const& image, std::string const& start) {
  long changes = 0;
  for (std::size_t i = 0; i < image.size(); ++i)
    if (image[i] != start[i]) ++changes;
  return changes;
}

void receive(state& all, client_block const& block) {
  int const count = block.messageCount;
  if (count > kClientBlockSlots) ++all.countsAbove30;
  for (int i = 0; i < count && i < kClientBlockSlots; ++i) {
    ++all.drained;
    long long const frame = block.messageFrame[i];
    if (frame < 0 || frame >= kMostFrames) {
      ++all.strange;
      continue;
    }
    int const number = static_cast<int>(frame);
    if (block.messageKind[i] != 0 || block.messageIsError[i] != exitCodeOf(number) ||
        block.messageJobThread[i] != jobThreadOf(number) ||
        block.messageRenderInstance[i] != instanceOf(number))
      ++all.mixed;
    ++all.runs[number].received;
  }
}

}  // namespace

int keepBlock(state& all, block_kind kind) {
  std::string const start = startImage(kind);
  qzSharedMemory memory(kClientBlockName);
  bool const isSmall = kind == block_kind::small;
  if (!memory.create(isSmall ? kClientBlockBytes - 1 : kClientBlockBytes, false, false)) return 3;
  auto* const segment = memory.segment;
  // The marks make the block known, so they come last; readiness is among the first bytes.
  std::copy(start.begin() + 1024, start.end(), segment + 1024);
  std::copy(start.begin() + 1, start.begin() + 1024, segment + 1);
  all.isClientReady = true;

  std::minstd_rand chance(static_cast<unsigned>(getpid()));
  for (bool last = false; !last;) {
    last = all.stopClient;
    if (!memory.lock()) {
      ++all.lockTimeouts;
      return 4;
    }
    std::string image(reinterpret_cast<char*>(segment), kMappedBytes);
    if (kind == block_kind::good) {
      receive(all, blockOf(image));
      static_cast<client_block volatile*>(memory.data())->messageCount = 0;
      all.changedBytes += countChanges(withoutTable(image, start), start);
    } else {
      image[0] = 0;
      all.changedBytes += countChanges(image, start);
    }
    memory.unlock();
    ++all.drains;
    if (shmget(static_cast<key_t>(memory.key), 0, 0) == -1) {
      ++all.blocksRemoved;
      return 5;
    }
    pauseFor(0.02 + 0.001 * static_cast<double>(chance() % 130));
  }
  return 0;
}

void dieWithLock() {
  qzSharedMemory memory(kClientBlockName);
  if (!memory.attach() || !memory.lock()) return;
  kill(getpid(), SIGKILL);
}

void raceForLock(lock_race& race, int processes, double seconds) {
  qzSharedMemory block("qzSoakLockRace");
  if (!block.create(8, false, false)) return;
  double const end = now() + seconds;
  for (int i = 0; i < processes; ++i) {
    if (fork() != 0) continue;
    qzSharedMemory own("qzSoakLockRace");
    long taken = 0, overlapped = 0;
    while (own.attach() && now() < end)
      while (now() < end && own.lock()) {
        ++taken;
        race.inside.fetch_add(1);
        for (int volatile work = 0; work < 50;) work = work + 1;  // as long as a message takes
        if (race.inside.fetch_sub(1) > 1) ++overlapped;
        own.unlock();
      }
    race.taken += taken;
    race.overlapped += overlapped;
    own.detach();
    _exit(0);
  }
  for (int i = 0; i < processes; ++i) wait(nullptr);
}

}  // namespace soak
