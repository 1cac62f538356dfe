// What a snapshot is measured against, and the crowd of processes that it is measured on.
#ifndef QZ_BENCH_SNAPSHOT_RIVALS_H_
#define QZ_BENCH_SNAPSHOT_RIVALS_H_

#include <sys/types.h>

#include <vector>

// How many of a crowd have used the processor for a moment: one in so many, or none.
struct busy_share {
  int oneIn = 0;
};

// Idle processes that exist as long as the object does, or as its creator if that ends first.
struct process_crowd {
  std::vector<pid_t> children;

  // Forks until the machine has `total` processes, if it has not that many already.
  explicit process_crowd(int total, busy_share busy = {});
  ~process_crowd();
  process_crowd(process_crowd const&) = delete;
  process_crowd& operator=(process_crowd const&) = delete;
};

// The cheapest correct loop over /proc: the calls without which nobody learns id, parent, name and
// owner of every process. Understands nothing of what it reads. Returns the number of processes.
int loopOverProc();

#endif  // QZ_BENCH_SNAPSHOT_RIVALS_H_
