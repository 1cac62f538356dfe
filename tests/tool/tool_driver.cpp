#include "tool/tool_driver.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <regex>

#include "node/own_node.h"

namespace driver {
namespace {

std::string withFixedStamps(std::string const& output) {
  static std::regex const stamp("[A-Z][a-z]{2} [0-9]{2}\\. [0-9]{2}:[0-9]{2}\\.[0-9]{2}");
  return std::regex_replace(output, stamp, "Jan 01. 00:00.00");
}

void execProgram(char const* path, arguments const& args) {
  std::vector<char*> argv{const_cast<char*>(path)};
  for (auto const& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  execv(path, argv.data());
  std::perror(path);
  _exit(127);
}

}  // namespace

double now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void enterOwnIpcNamespace() { node::enterNamespaces(CLONE_NEWIPC); }

void enterOwnMountNamespace() {
  node::enterNamespaces(CLONE_NEWNS);
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) std::abort();
}

running_tool startProgram(char const* path, arguments const& args,
                          std::function<void()> const& prepare) {
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) std::abort();
  double const started = now();
  pid_t const pid = fork();
  if (pid == 0) {
    dup2(output[1], STDOUT_FILENO);
    dup2(output[1], STDERR_FILENO);
    if (prepare) prepare();
    execProgram(path, args);
  }
  close(output[1]);
  return {pid, output[0], started};
}

running_tool startTool(arguments const& args, std::function<void()> const& prepare) {
  return startProgram(QZ_TOOL_PATH, args, prepare);
}

tool_run finish(running_tool const& tool) {
  tool_run run{};
  char buffer[4096];
  for (ssize_t count; (count = read(tool.output, buffer, sizeof buffer)) > 0;)
    run.output.append(buffer, static_cast<std::size_t>(count));
  close(tool.output);
  waitpid(tool.pid, &run.status, 0);
  run.seconds = now() - tool.started;
  run.output = withFixedStamps(run.output);
  return run;
}

tool_run runTool(arguments const& args, std::function<void()> const& prepare) {
  return finish(startTool(args, prepare));
}

std::string onTerminal(std::string const& command, std::string const& answer) {
  int terminal = -1;
  pid_t const pid = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (pid == 0) {
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  EXPECT_EQ(write(terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
  std::string shown;
  for (char one; read(terminal, &one, 1) == 1;) shown += one;
  close(terminal);
  reap(pid);
  return shown;
}

void inOwnPidNamespace(std::function<void()> const& body, int orphans,
                       std::function<void()> const& outside) {
  // This process makes the namespace; its first child is process 1 in there, and further children
  // are in there too, but with their parent outside.
  pid_t const maker = fork();
  if (maker == 0) {
    node::enterNamespaces(CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWIPC);
    int ready[2];
    if (pipe(ready) != 0) _exit(2);
    pid_t const first = fork();
    if (first == 0) {
      char go;
      close(ready[1]);
      (void)!read(ready[0], &go, 1);
      if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          mount("proc", "/proc", "proc", 0, nullptr) != 0) {
        std::perror("mount /proc");
        _exit(2);
      }
      body();
      std::fflush(stdout);
      _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    for (int i = 0; i < orphans; ++i) {
      if (fork() == 0) {
        close(ready[1]);
        outside();
        _exit(0);
      }
    }
    close(ready[1]);
    // Process 1 ends only after all others have been reaped, so any of them may come first.
    int status = 1;
    int ended = 0;
    for (pid_t pid; (pid = wait(&ended)) > 0;)
      if (pid == first) status = ended;
    _exit(status == 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(maker, &status, 0);
  EXPECT_EQ(status, 0) << "in the PID namespace, see above";
}

pid_t startRender(std::string const& name, int milliseconds) {
  pid_t const pid = fork();
  if (pid == 0) {
    prctl(PR_SET_NAME, name.c_str());
    usleep(static_cast<useconds_t>(milliseconds) * 1000);
    _exit(0);
  }
  usleep(50 * 1000);  // until it bears its name
  return pid;
}

void reap(pid_t pid) { waitpid(pid, nullptr, 0); }

std::string framed(bool isError, std::string const& text) {
  std::string line = text.empty() ? "" : "  " + text + "    ";
  if (line.size() < 100) line.append(100 - line.size(), isError ? '+' : '_');
  return "++" + line + "\n";
}

std::string report(bool isError, std::string const& lines) {
  return framed(isError, "") + framed(isError, "Jan 01. 00:00.00  Render executable closed") +
         lines;
}

}  // namespace driver
