// The light list's snapshot beside the cheapest loop over /proc, beside the library that the usual
// process tools are built on and beside two of these tools, on the same processes.
#include <fcntl.h>
#include <libproc2/pids.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "process/process_list.h"
#include "race.h"
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

// Runs a command that prints into nothing.
void runCommand(char const* const* words) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child;
  if (posix_spawnp(&child, words[0], &actions, nullptr, const_cast<char**>(words), environ) == 0)
    waitpid(child, nullptr, 0);
  posix_spawn_file_actions_destroy(&actions);
}

void snapshot(benchmark::State& state) {
  process_crowd const crowd(static_cast<int>(state.range(0)));
  auto const list = std::make_unique<_qzProcessList>();
  proc_library library;
  race(
      state, [&] { return list->collectAllProcesses2(); }, contestant{"C loop", loopOverProc},
      contestant{"libproc2", [&] { return library.collect(); }});
}
BENCHMARK(snapshot)->Arg(200)->Iterations(201)->UseManualTime();
BENCHMARK(snapshot)->Arg(500)->Iterations(101)->UseManualTime();
BENCHMARK(snapshot)->Arg(1000)->Iterations(101)->UseManualTime();
BENCHMARK(snapshot)->Arg(2000)->Iterations(51)->UseManualTime();
BENCHMARK(snapshot)->Arg(4000)->Iterations(51)->UseManualTime();

// Another program's run cools the caches for what comes next, so the commands race by themselves.
void commands(benchmark::State& state) {
  process_crowd const crowd(static_cast<int>(state.range(0)));
  auto const list = std::make_unique<_qzProcessList>();
  char const* const ps[] = {"ps", "-eo", "pid,ppid,comm,euid", nullptr};
  char const* const pgrep[] = {"pgrep", "-x", "renderapp", nullptr};
  race(
      state, [&] { return list->collectAllProcesses2(); },
      contestant{"ps", [&] { runCommand(ps); }}, contestant{"pgrep", [&] { runCommand(pgrep); }});
}
BENCHMARK(commands)->Arg(200)->Arg(1000)->Arg(4000)->Iterations(21)->UseManualTime();

}  // namespace
