// What the processes of a simulated node share: one record for each frame, which is one run of the
// tool, and what the client saw. Memory that is mapped before the first of them starts.
#ifndef QZ_TESTS_SOAK_SOAK_STATE_H_
#define QZ_TESTS_SOAK_SOAK_STATE_H_

#include <sys/types.h>

#include <atomic>
#include <random>

namespace soak {

constexpr int kMostFrames = 60000;

// What becomes of the render process of a frame.
enum class render { none, gone, lingers, renames, zombie, adopted, orphan, twins, count };
inline constexpr char const* kRenderNames[] = {"no name given", "gone",
                                               "lingers",       "renames itself",
                                               "zombie",        "adopted by process 1",
                                               "an orphan",     "two orphans of a name"};
inline bool isWaitedFor(render kind) {
  return kind == render::lingers || kind == render::renames || kind == render::zombie ||
         kind == render::orphan;
}

// What the report of a run says of its message.
enum class posting {
  unknown,
  posted,
  attachFailed,
  lockTimedOut,
  wrongSize,
  wrongMarks,
  full,
  count
};

struct frame_run {
  render kind;
  posting result;
  bool isDone, isReportWhole, waited;
  int status;                 // as waitpid gives it
  double ended, renderEnded;  // seconds
  std::atomic<int> received;  // how often the client drained it
  std::atomic<pid_t> orphans[2];
};

// How a client makes its block. All but the first make it wrong.
enum class block_kind { good, magic, version, notReady, small, full, overfull, count };

struct state {
  std::atomic<bool> isClientReady, stopClient;
  std::atomic<long> drains, drained, mixed, strange, changedBytes, countsAbove30, lockTimeouts,
      blocksRemoved;
  frame_run runs[kMostFrames];
};

// The bytes of a frame's message follow from its number, so that mixed messages show.
inline int exitCodeOf(int frame) { return frame % 3 == 0 ? 1 : 0; }
inline int jobThreadOf(int frame) { return frame & 0xFF; }
inline int instanceOf(int frame) { return frame >> 8 & 0xFF; }

double now();
void pauseFor(double seconds);

// Keeps a block until it is stopped, and drains it. Never changes its mind about a byte outside the
// table. Returns 0, or why it ended: 3 the segment exists, 4 the lock stays held, 5 somebody has
// removed the segment.
int keepBlock(state& all, block_kind kind);

// Takes the lock of the client's block and dies with it.
void dieWithLock();

// What `processes` did that took the lock of one block again and again for so many seconds.
struct lock_race {
  std::atomic<int> inside;
  std::atomic<long> taken, overlapped;  // overlapped: somebody else held it too
};
void raceForLock(lock_race& race, int processes, double seconds);

// A render script: starts the render process of the frame, the tool at the time `start`, and writes
// what came of it into the frame's record. `requests` takes the numbers of frames that need
// orphans.
void runScript(state& all, int frame, double start, char const* tool, int requests);

}  // namespace soak

#endif  // QZ_TESTS_SOAK_SOAK_STATE_H_
