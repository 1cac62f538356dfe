// The launcher with real processes, each case on a node of its own.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tool/tool_driver.h"

namespace {

// A folder with a renderer in it, which bears the name "renderapp" and sleeps.
struct scratch {
  std::string folder = testing::TempDir() + "quazen_run_XXXXXX";

  scratch() {
    EXPECT_NE(mkdtemp(folder.data()), nullptr);
    addScript("renderapp", "sleep \"$1\"");
  }
  ~scratch() { std::filesystem::remove_all(folder); }

  void addScript(char const* name, std::string const& text) const {
    auto const path = std::filesystem::path(folder) / name;
    std::ofstream(path) << "#!/bin/sh\n" << text << "\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }
};

driver::running_tool start(scratch const& place, driver::arguments options, std::string command,
                           std::function<void()> const& prepare = {}) {
  options.insert(options.begin(), "run");
  options.insert(options.end(), {"--", "sh", "-c", "cd '" + place.folder + "';" + command});
  return driver::startProgram(QZ_FRAME, options, prepare);
}

std::string readUntil(driver::running_tool const& running, std::string const& words) {
  std::string seen;
  for (char one; seen.find(words) == std::string::npos && read(running.output, &one, 1) == 1;)
    seen += one;
  return seen;
}

// Everything has been reaped: this is process 1, to which a process left behind would have come.
void expectNobodyLeft() {
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

std::string returned(int code) { return "Executable returned " + std::to_string(code) + " "; }

constexpr char kWaits[] = "||CheckExitcode|| waiting for executable to close... (cmd pID ";

TEST(FrameRun, FindsWhatAWrapperLeavesBehind) {
  driver::inOwnPidNamespace([] {
    scratch const place;
    driver::arguments const named = {"--process", "RenderApp", "--frame", "7"};
    driver::running_tool const all[] = {
        // Below another process that was left behind, and late: the check would not find it there.
        start(place, named, "(sh -c 'sleep 0.1; ./renderapp 3; true' &); exit 4"),
        start(place, named, "./renderapp 3 & exit 4"),
        start(place, named, "(setsid sh -c './renderapp 3 & exit' &); exit 4"),
    };
    for (auto const& running : all) {
      SCOPED_TRACE(&running - all);
      auto const run = driver::finish(running);
      EXPECT_EQ(WEXITSTATUS(run.status), 4);
      std::string const first = &running == all ? "qzframe: waiting for RenderApp below"
                                                : kWaits + std::to_string(running.pid);
      // In front of it the launcher may say that it saw the process below another one for a moment.
      EXPECT_NE(run.output.find(first), std::string::npos) << run.output;
      EXPECT_NE(run.output.find(returned(4)), std::string::npos) << run.output;
      EXPECT_GE(run.seconds, 3);
    }
    expectNobodyLeft();
  });
}

TEST(FrameRun, EndsTheWholeTreeAtTheDeadline) {
  driver::inOwnPidNamespace([] {
    scratch const place;
    driver::arguments const short_ = {"--deadline", "1", "--grace", "1"};
    struct row {
      char const* command;
      int code;
      char const* told;
    } const rows[] = {
        {"trap '' TERM; while :; do sleep 1; done", 137, "trap"},
        {"kill -STOP $$; sleep 60", 143, "stopped"},
        {"setsid ./renderapp 60; exit 3", 143, "RENDERAPP, sleeping"},
        // 50 children that don't listen, and that start others all the time.
        {"trap '' TERM; i=0; while [ $i -lt 50 ]; do (while :; do sleep 0.1; done) & i=$((i+1));"
         "done; kill -STOP $$; wait",
         137, "stopped"},
    };
    for (auto const& [command, code, told] : rows) {
      SCOPED_TRACE(command);
      auto const run = driver::finish(start(place, short_, command));
      EXPECT_EQ(WEXITSTATUS(run.status), code);
      EXPECT_TRUE(run.output.find("deadline of 1 seconds") < run.output.find(told)) << run.output;
      EXPECT_NE(run.output.find(returned(code)), std::string::npos) << run.output;
      expectNobodyLeft();
    }
    // It passes while the check waits for an orphan that doesn't listen either.
    place.addScript("renderapp", "trap '' TERM; while :; do sleep 1; done");
    auto const run =
        driver::finish(start(place, {"--deadline", "2", "--grace", "1", "--process", "renderapp"},
                             "./renderapp & exit 0"));
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find(kWaits), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("Executable finished"), std::string::npos) << run.output;
    expectNobodyLeft();
  });
}

TEST(FrameRun, ReportsHowTheCommandEnded) {
  driver::inOwnPidNamespace([] {
    scratch const place;
    struct row {
      char const* command;
      int code;
    } const rows[] = {
        {"exit 5", 5},
        {"kill -SEGV $$", 139},
        {"exec /nonexistent", 127},
        {"exec 1>&- 2>&-; exit 6", 6},
        // The zombie of that name belongs to an orphan, and holds nothing up.
        {"(sh -c './renderapp 0 & exec sleep 4' &); sleep 1; exit 7", 7},
    };
    for (auto const& [command, code] : rows) {
      SCOPED_TRACE(command);
      auto const run = driver::finish(start(place, {"--process", "renderapp"}, command));
      EXPECT_EQ(WEXITSTATUS(run.status), code);
      EXPECT_EQ(run.output.find(kWaits), std::string::npos) << run.output;
      EXPECT_NE(run.output.find(returned(code)), std::string::npos) << run.output;
    }
    // A starter that ignores SIGCHLD, and a log that nobody reads.
    auto const careless = start(place, {}, "exit 5", [] { std::signal(SIGCHLD, SIG_IGN); });
    close(careless.output);
    int status = 0;
    waitpid(careless.pid, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 5);
    while (wait(nullptr) > 0) continue;
  });
}

TEST(FrameRun, PassesSignalsOnInEveryPhase) {
  driver::inOwnPidNamespace([] {
    scratch const place;
    auto const rendering = start(place, {}, "echo begun; kill -STOP $$; sleep 60");
    readUntil(rendering, "begun");
    kill(rendering.pid, SIGINT);
    auto const run = driver::finish(rendering);
    EXPECT_EQ(WEXITSTATUS(run.status), 130);
    EXPECT_NE(run.output.find(returned(130)), std::string::npos) << run.output;
    // The command has ended, and what the check waits for is in a group of its own.
    auto const checking =
        start(place, {"--process", "renderapp"}, "setsid ./renderapp 60 & sleep 0.5; exit 3");
    readUntil(checking, kWaits);
    kill(checking.pid, SIGTERM);
    EXPECT_EQ(WEXITSTATUS(driver::finish(checking).status), 3);
    expectNobodyLeft();
  });
}

// A group in the background that read from the terminal would be stopped.
TEST(FrameRun, KeepsTheCommandFromATerminalsInput) {
  driver::inOwnPidNamespace([] {
    auto const shown = driver::onTerminal("'" QZ_FRAME "' run -- cat; echo status $?");
    EXPECT_NE(shown.find("status 0"), std::string::npos) << shown;
  });
}

TEST(FrameRun, PassesWordsOnUntouched) {
  scratch const place;
  place.addScript("check", "printf '<%s>' \"$@\"");
  driver::arguments words = {"run",
                             "--check",
                             place.folder + "/check",
                             "--frame",
                             "-5",
                             "--process",
                             "A_long_render_name",
                             "--ignore",
                             "7",
                             "--ignore",
                             "3221225477",
                             "--thread",
                             "2",
                             "--instance",
                             "1",
                             "--",
                             "printf",
                             "<%s>",
                             "[a,b]",
                             "",
                             "--",
                             "--help",
                             "-5"};
  auto const run = driver::finish(driver::startProgram(QZ_FRAME, words));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output,
            "<[a,b]><><--><--help><-5><0><1><2><-5><A_long_render_n><ignore=7>"
            "<ignore=-1073741819>");
}

}  // namespace
