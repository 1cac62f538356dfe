// The render scripts of the simulated node, each with its render process and its run of the tool.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "soak/soak_state.h"

namespace soak {
namespace {

std::string nameOf(int frame) { return "r" + std::to_string(frame); }

// Reads from a pipe that closes when all is ready.
void awaitEnd(int pipeEnd) {
  char byte;
  while (read(pipeEnd, &byte, 1) > 0) {
  }
  close(pipeEnd);
}

[[noreturn]] void render(std::string const& name) {
  signal(SIGUSR1, [](int) { prctl(PR_SET_NAME, "renamed"); });
  prctl(PR_SET_NAME, name.c_str());
  prctl(PR_SET_DUMPABLE, 0);  // as many a real one is not
  for (int i = 0; i < 3; ++i) close(i);
  close_range(3, ~0U, 0);
  for (;;) pause();
}

// Returns the new process, whose parent is this one or, if `isAdopted`, process 1.
pid_t startRender(std::string const& name, bool isAdopted) {
  int ready[2], told[2];
  if (pipe(ready) != 0 || pipe(told) != 0) std::abort();
  pid_t pid = fork();
  if (pid == 0) {
    if (isAdopted) {
      pid_t const child = fork();
      if (child != 0) {
        (void)!write(told[1], &child, sizeof child);
        _exit(0);
      }
    }
    render(name);
  }
  close(ready[1]);
  close(told[1]);
  awaitEnd(ready[0]);
  if (isAdopted) {
    waitpid(pid, nullptr, 0);
    (void)!read(told[0], &pid, sizeof pid);
  }
  close(told[0]);
  return pid;
}

struct running_tool {
  pid_t pid;
  int output;
};

running_tool startTool(char const* tool, int frame, bool named) {
  std::vector<std::string> words = {"qzCheckExitcode", std::to_string(exitCodeOf(frame)),
                                    std::to_string(instanceOf(frame)),
                                    std::to_string(jobThreadOf(frame)), std::to_string(frame)};
  if (named) words.push_back(nameOf(frame));
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) std::abort();
  pid_t const pid = fork();
  if (pid == 0) {
    dup2(output[1], STDOUT_FILENO);
    dup2(output[1], STDERR_FILENO);
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    execv(tool, argv.data());
    _exit(127);
  }
  close(output[1]);
  return {pid, output[0]};
}

// The line about the wait is off. All lines framed, the frame's own among them, the last one empty.
bool isWhole(std::string const& report, int frame) {
  int lines = 0;
  for (std::size_t at = 0; at < report.size(); ++lines) {
    auto const end = report.find('\n', at);
    if (end == std::string::npos || report.compare(at, 2, "++") != 0 || end - at < 102)
      return false;
    at = end + 1;
  }
  std::string const own = " as exit code for frame " + std::to_string(frame) + " (jobthread " +
                          std::to_string(jobThreadOf(frame)) + ").";
  std::string const end = report.size() < 101 ? "" : report.substr(report.size() - 101);
  bool const isClosed = end == std::string(100, '+') + "\n" || end == std::string(100, '_') + "\n";
  return lines >= 6 && isClosed && report.find(own) != std::string::npos;
}

posting resultIn(std::string const& report) {
  struct {
    char const* words;
    posting result;
  } const known[] = {{"Unable to attach shared memory!", posting::attachFailed},
                     {"Unable to lock shared memory data!", posting::lockTimedOut},
                     {"Shared memory has wrong data size!", posting::wrongSize},
                     {"Shared memory has wrong data format!", posting::wrongMarks},
                     {"Message buffer is full!", posting::full},
                     {"hared memory", posting::unknown}};
  for (auto const& row : known)
    if (report.find(row.words) != std::string::npos) return row.result;
  return posting::posted;
}

void endRender(frame_run& run, pid_t pid) {
  if (pid > 0) kill(pid, SIGKILL);
  run.renderEnded = now();
}

}  // namespace

void runScript(state& all, int frame, double start, char const* tool, int requests) {
  frame_run& run = all.runs[frame];
  std::minstd_rand chance(static_cast<unsigned>(frame) + 1);
  pid_t pid = 0;
  bool const isOwn =
      run.kind == render::lingers || run.kind == render::renames || run.kind == render::zombie;
  if (isOwn || run.kind == render::adopted)
    pid = startRender(nameOf(frame), run.kind == render::adopted);
  int const orphans = run.kind == render::orphan ? 1 : run.kind == render::twins ? 2 : 0;
  if (orphans > 0) {
    (void)!write(requests, &frame, sizeof frame);
    for (int i = 0; i < orphans; ++i)
      while (run.orphans[i] == 0) pauseFor(0.01);
    if (orphans == 1) pid = run.orphans[0];
  }

  pauseFor(start - now());
  running_tool const running = startTool(tool, frame, run.kind != render::none);
  std::string output;
  char buffer[4096];
  for (ssize_t count; (count = read(running.output, buffer, sizeof buffer)) > 0;) {
    output.append(buffer, static_cast<std::size_t>(count));
    if (run.waited || !output.starts_with("||CheckExitcode|| waiting")) continue;
    run.waited = true;
    if (run.kind == render::renames) kill(pid, SIGUSR1);
    pauseFor(0.1 * static_cast<double>(chance() % 60));
    endRender(run, pid);
    if (isOwn && run.kind != render::zombie) waitpid(pid, nullptr, 0);
  }
  close(running.output);
  waitpid(running.pid, &run.status, 0);
  run.ended = now();

  if (!run.waited) endRender(run, pid);
  if (isOwn && (!run.waited || run.kind == render::zombie)) waitpid(pid, nullptr, 0);
  for (auto const& orphan : run.orphans)
    if (orphan > 0) kill(orphan, SIGKILL);
  if (run.waited) output.erase(0, output.find('\n') + 1);
  run.isReportWhole = isWhole(output, frame);
  run.result = resultIn(output);
  run.isDone = true;
}

}  // namespace soak
