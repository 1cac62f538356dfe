// The tool and the render process: whom it waits for, and for how long. Every run is on a node of
// its own, a PID namespace in which only the processes of the test exist.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tool/tool_driver.h"

namespace {

constexpr char kWaits[] = "||CheckExitcode|| waiting for executable to close... (cmd pID ";

std::string waitLine(pid_t cmd, pid_t render) {
  return kWaits + std::to_string(cmd) + " render pID " + std::to_string(render) + ")\n";
}

void expectNoWait(driver::tool_run const& run) {
  // Where there is no /proc, a sanitized build fails in its own look for leaks, after the end.
  bool const isSanitizersOwn = run.output.find("LeakSanitizer") != std::string::npos;
  EXPECT_TRUE(run.status == 0 || isSanitizersOwn) << run.status;
  EXPECT_EQ(run.output.find(kWaits), std::string::npos) << run.output;
  EXPECT_NE(run.output.find(driver::report(false, "")), std::string::npos) << run.output;
  EXPECT_LT(run.seconds, 5);
}

void bearName(char const* name, int seconds) {
  prctl(PR_SET_NAME, name);
  sleep(static_cast<unsigned>(seconds));
}

TEST(ToolWaiting, WaitsForASiblingUntilItHasGone) {
  driver::inOwnPidNamespace([] {
    // Longer than one poll and shorter than two: 5 + 5 + 3 seconds of waiting.
    pid_t const render = driver::startRender("Render_App", 7000);
    auto const tool = driver::startTool({"0", "1", "3", "7", "render_APP"});
    driver::reap(render);
    auto const run = driver::finish(tool);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.output.starts_with(waitLine(getpid(), render) + driver::report(false, "")))
        << run.output;
    EXPECT_GE(run.seconds, 13.7);
    EXPECT_LT(run.seconds, 30);
  });
}

// A parent that reaps late must not make the tool wait: what is a zombie has gone.
TEST(ToolWaiting, TakesAZombieForGone) {
  driver::inOwnPidNamespace([] {
    pid_t const gone = driver::startRender("renderapp", 0);
    expectNoWait(driver::runTool({"0", "1", "3", "7", "renderapp"}));
    pid_t const ending = driver::startRender("renderapp", 2000);
    auto const run = driver::runTool({"0", "1", "3", "7", "renderapp"});
    EXPECT_TRUE(run.output.starts_with(waitLine(getpid(), ending))) << run.output;
    EXPECT_LT(run.seconds, 12);
    driver::reap(gone);
    driver::reap(ending);
  });
}

TEST(ToolWaiting, LooksForTheExactShortName) {
  driver::inOwnPidNamespace([] {
    // The kernel keeps 15 bytes: "a_long_render_n" is all there is to find.
    pid_t const render = driver::startRender("a_long_render_name", 60000);
    auto const whole = driver::startTool({"0", "1", "3", "7", "a_long_render_name"});
    auto const part = driver::startTool({"0", "1", "3", "7", "a_long_render"});
    auto const none = driver::startTool({"0", "1", "3", "7", ""});
    auto const code = driver::startTool({"0", "1", "3", "7", "ignore=5", "a_long_render_n"});
    expectNoWait(driver::finish(whole));
    expectNoWait(driver::finish(part));
    expectNoWait(driver::finish(none));
    expectNoWait(driver::finish(code));
    auto const cut = driver::startTool({"0", "1", "3", "7", "a_long_render_n"});
    sleep(2);
    kill(render, SIGKILL);
    driver::reap(render);
    auto const run = driver::finish(cut);
    EXPECT_TRUE(run.output.starts_with(waitLine(getpid(), render))) << run.output;
  });
}

TEST(ToolWaiting, WaitsForAnOnlyOrphan) {
  driver::inOwnPidNamespace(
      [] {
        sleep(1);
        auto const run = driver::runTool({"0", "1", "3", "7", "orphan"});
        EXPECT_NE(run.output.find(kWaits + std::to_string(getpid())), std::string::npos)
            << run.output;
        EXPECT_GE(run.seconds, 8.7);
      },
      1, [] { bearName("orphan", 4); });
}

TEST(ToolWaiting, DoesNotChooseAmongOrphans) {
  driver::inOwnPidNamespace(
      [] {
        sleep(1);
        expectNoWait(driver::runTool({"0", "1", "3", "7", "orphan"}));
        // A sibling wins over any number of them.
        pid_t const sibling = driver::startRender("orphan", 2000);
        auto const tool = driver::startTool({"0", "1", "3", "7", "orphan"});
        driver::reap(sibling);
        EXPECT_TRUE(driver::finish(tool).output.starts_with(waitLine(getpid(), sibling)));
      },
      2, [] { bearName("orphan", 30); });
}

TEST(ToolWaiting, GoesOnWithoutAProcessList) {
  driver::inOwnPidNamespace([] {
    pid_t const render = driver::startRender("renderapp", 60000);
    ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
    expectNoWait(driver::runTool({"0", "1", "3", "7", "renderapp"}));
    kill(render, SIGKILL);
    driver::reap(render);
  });
}

}  // namespace
