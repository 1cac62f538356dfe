// Drives the built programs as a render script does, on a node of its own: System V segments and,
// where asked for, processes are those of a namespace, so that tests run side by side and beside
// a farm.
#ifndef QZ_TESTS_TOOL_TOOL_DRIVER_H_
#define QZ_TESTS_TOOL_TOOL_DRIVER_H_

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace driver {

struct tool_run {
  int status;          // as waitpid gives it; 0 is a clean end with status 0
  std::string output;  // both streams, with every time stamp read as "Jan 01. 00:00.00"
  double seconds;
};

struct running_tool {
  pid_t pid;
  int output;
  double started;
};

using arguments = std::vector<std::string>;

// Gives the calling process an IPC namespace of its own, without segments.
void enterOwnIpcNamespace();
// Gives the calling process mounts of its own.
void enterOwnMountNamespace();

// Starts a program, or the tool; `prepare` runs in the new process right before it, to close
// descriptors, change the user or hide a file system.
running_tool startProgram(char const* path, arguments const& args,
                          std::function<void()> const& prepare = {});
running_tool startTool(arguments const& args, std::function<void()> const& prepare = {});
tool_run finish(running_tool const& tool);
tool_run runTool(arguments const& args, std::function<void()> const& prepare = {});

// Runs a shell's command on a terminal of its own, types `answer` there, and returns what stands on
// it in the end.
std::string onTerminal(std::string const& command, std::string const& answer = "");

// Runs `body` as process 1 of a PID namespace with a /proc and segments of its own. EXPECT failures
// in it are printed and fail the calling test. `outside` runs meanwhile in a process that is a
// member of the namespace without a parent in it, once for each orphan asked for.
void inOwnPidNamespace(std::function<void()> const& body, int orphans = 0,
                       std::function<void()> const& outside = {});

// Starts a process under `name` that ends by itself after `milliseconds`. A child of the caller.
pid_t startRender(std::string const& name, int milliseconds);
// Reaps one child, whatever became of it.
void reap(pid_t pid);

double now();

// One line of the report as a reader sees it.
std::string framed(bool isError, std::string const& text);
// The two lines that open a report, and `lines` behind them.
std::string report(bool isError, std::string const& lines);

}  // namespace driver

#endif  // QZ_TESTS_TOOL_TOOL_DRIVER_H_
