// A full collection, with CPU time, memory and important owners, beside the cheapest correct loop
// in C and beside the library that the usual process tools are built on, on the same processes. The
// contestants take turns within each iteration; the ratios of their medians are what counts.
//
// The library needs two passes for the same figures, over processes for the times with ended
// threads and over threads for those of the live ones; "libproc2, threads" has the second one
// alone.
#include <benchmark/benchmark.h>
#include <libproc2/pids.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "figures_rival.h"
#include "process/process_list3.h"
#include "race.h"
#include "snapshot_rivals.h"

namespace {

constexpr int kThreads = 200;

struct proc_library {
  pids_info* processes = nullptr;
  pids_info* threads = nullptr;

  proc_library() {
    pids_item ofProcesses[] = {PIDS_ID_PID,    PIDS_ID_PPID,     PIDS_CMD,    PIDS_ID_EUID,
                               PIDS_TICS_USER, PIDS_TICS_SYSTEM, PIDS_MEM_RES};
    pids_item ofThreads[] = {PIDS_ID_TGID, PIDS_TICS_USER, PIDS_TICS_SYSTEM};
    procps_pids_new(&processes, ofProcesses, 7);
    procps_pids_new(&threads, ofThreads, 3);
  }
  ~proc_library() {
    procps_pids_unref(&processes);
    procps_pids_unref(&threads);
  }
  void readProcesses() {
    benchmark::DoNotOptimize(procps_pids_reap(processes, PIDS_FETCH_TASKS_ONLY));
  }
  void readThreads() {
    benchmark::DoNotOptimize(procps_pids_reap(threads, PIDS_FETCH_THREADS_TOO));
  }
};

void* stand(void* /*nothing*/) {
  for (;;) pause();
}

// A process of many threads, as long as the object exists.
struct threaded_process {
  pid_t const pid = fork();

  threaded_process() {
    if (pid != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pthread_t thread;
    for (int i = 1; i < kThreads; ++i) pthread_create(&thread, nullptr, stand, nullptr);
    stand(nullptr);
  }
  ~threaded_process() {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
};

// One turn is long enough to be measured alone, unlike those of race().
template <class... Contestants>
void runInTurns(benchmark::State& state, Contestants&... contestants) {
  for (auto _ : state) (contestants.takeTurn(), ...);
}

void collection(benchmark::State& state) {
  threaded_process const threaded;
  process_crowd const crowd(static_cast<int>(state.range(0)), busy_share{4});
  auto const list = std::make_unique<_qzProcessList3>(true);
  proc_library library;
  contestant ours{"", [&] { list->collectAllProcesses_allInfo(); }};
  contestant loop{"", [] { benchmark::DoNotOptimize(loopOverFigures()); }};
  contestant processes{"", [&] { library.readProcesses(); }};
  contestant threads{"", [&] { library.readThreads(); }};
  runInTurns(state, ours, loop, processes, threads);
  double const median = ours.median(), ofThreads = threads.median();
  state.counters["median ns"] = median;
  state.counters["C loop"] = median / loop.median();
  state.counters["libproc2"] = median / (processes.median() + ofThreads);
  state.counters["libproc2, threads"] = median / ofThreads;
}
BENCHMARK(collection)->Arg(200)->Arg(1000)->Arg(4000)->Iterations(21);

}  // namespace
