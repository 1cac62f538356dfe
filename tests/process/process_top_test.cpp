// The example as a program, beside processes whose figures are known.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <regex>

#include "tool/tool_driver.h"

namespace {

// Process 2 is busy, 3 has much memory. What is asked of the figures does not depend on how much
// of the second the machine gave to the busy one.
TEST(ProcessTop, JsonTellsTheFiguresOfAKnownLoad) {
  driver::inOwnPidNamespace([] {
    for (auto const* name : {"spinner", "b\"g\\\x1b\xff"}) {
      bool const isBusy = *name == 's';
      if (fork() == 0) {
        prctl(PR_SET_NAME, name);
        static std::string const memory(isBusy ? 0 : 200 << 20, 'x');
        while (isBusy && clock() < CLOCKS_PER_SEC / 2) continue;
        for (raise(SIGSTOP);;) isBusy ? clock() : pause();
      }
      wait3(nullptr, WUNTRACED, nullptr);
    }
    kill(2, SIGCONT);
    auto const run = driver::runTool(
        {}, [] { execl(QZ_PROCESS_TOP, "process_top", "--once", "--json", nullptr); });
    std::regex const expected(
        R"(\{"timeMS":\d+,"seconds":([.\d]+),"count":\d,"steps":"Col[^"]*","processes":\[)"
        R"(\n \{"pid":2,"parentPid":1,"name":"SPINNER","owner":"root","cpuPercent":([.\d]+),)"
        R"("cpuSeconds":([.\d]+),[^]*\n \{"pid":3,"parentPid":1,"name":"B\\"G\\\\\\u001b\\u00ff",)"
        R"("owner":"root","cpuPercent":0.00,"cpuSeconds":[.\d]+,"memoryMB":2\d\d\}[^]*\]\}\n)");
    std::smatch figure;
    ASSERT_TRUE(std::regex_match(run.output, figure, expected) && run.status == 0) << run.output;
    double const used = std::stod(figure[1]) * std::stod(figure[2]) / 100;
    EXPECT_TRUE(used > 0 && used < std::stod(figure[3]) - 0.4) << run.output;
  });
}

TEST(ProcessTop, RefusesUnknownOptionsInOneSentence) {
  for (std::string const option : {"--bad", "-x", "once", "--once=1", "--oncejson", ""}) {
    auto const run = driver::runTool(
        {}, [&] { execl(QZ_PROCESS_TOP, "process_top", "--once", option.c_str(), nullptr); });
    EXPECT_EQ(run.output, "process_top: unknown option \"" + option + "\"; --help lists them.\n");
    EXPECT_TRUE(WIFEXITED(run.status) && WEXITSTATUS(run.status) == 2) << option;
  }
}

}  // namespace
