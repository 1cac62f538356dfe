// The light list's snapshot beside the cheapest loop over /proc and beside the library that the
// usual process tools are built on, on the same processes. The three take turns within each
// iteration, so that whatever else the machine does meets all of them, and the ratios of their
// medians are what counts: list:loop and list:libproc2.
#include <benchmark/benchmark.h>
#include <libproc2/pids.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "process/process_list.h"
#include "snapshot_rivals.h"

namespace {

struct proc_library {
  pids_info* info = nullptr;

  proc_library() {
    pids_item items[] = {PIDS_ID_PID, PIDS_ID_PPID, PIDS_CMD, PIDS_ID_EUID};
    procps_pids_new(&info, items, 4);
  }
  ~proc_library() { procps_pids_unref(&info); }
  int collect() {
    pids_fetch const* fetched = procps_pids_reap(info, PIDS_FETCH_TASKS_ONLY);
    return fetched == nullptr ? 0 : fetched->counts->total;
  }
};

template <class Action>
double secondsOf(Action action) {
  auto const start = std::chrono::steady_clock::now();
  benchmark::DoNotOptimize(action());
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(std::vector<double> values) {
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void snapshot(benchmark::State& state) {
  process_crowd const crowd(static_cast<int>(state.range(0)));
  auto const list = std::make_unique<_qzProcessList>();
  proc_library library;
  std::vector<double> ofList, ofLoop, ofLibrary;
  for (auto _ : state) {
    ofList.push_back(secondsOf([&] { return list->collectAllProcesses2(); }));
    ofLoop.push_back(secondsOf(loopOverProc));
    ofLibrary.push_back(secondsOf([&] { return library.collect(); }));
    state.SetIterationTime(ofList.back());
  }
  state.counters["processes"] = list->count;
  state.counters["list:loop"] = medianOf(ofList) / medianOf(ofLoop);
  state.counters["list:libproc2"] = medianOf(ofList) / medianOf(ofLibrary);
}
BENCHMARK(snapshot)->Arg(200)->Arg(1000)->Arg(4000)->UseManualTime()->MinTime(2)->Unit(
    benchmark::kMillisecond);

}  // namespace
