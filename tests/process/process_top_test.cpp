// The example as a program, beside processes whose figures are known.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <regex>

#include "tool/tool_driver.h"

namespace {

constexpr double kBurnt = 0.3;

std::string outputOf(std::string const& options, int* status) {
  FILE* const program =
      popen(("exec timeout 20 '" QZ_PROCESS_TOP "' 2>&1 " + options).c_str(), "r");
  std::string output;
  for (int c; (c = std::fgetc(program)) != EOF;) output += static_cast<char>(c);
  *status = pclose(program);
  return output;
}

// Returns when the child stands still for the first time.
template <class Body>
pid_t start(char const* name, Body body) {
  pid_t const pid = fork();
  if (pid == 0) {
    prctl(PR_SET_NAME, name);
    body();
    _exit(0);
  }
  waitpid(pid, nullptr, WUNTRACED);
  return pid;
}

double cpuSecondsOf(pid_t pid) {
  clockid_t clock;
  timespec time{};
  clock_getcpuclockid(pid, &clock);
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// A busy process and one with much memory, in a namespace where few others are. No figure depends
// on how much of the second the machine gave to the busy one.
TEST(ProcessTop, JsonTellsTheFiguresOfAKnownLoad) {
  driver::inOwnPidNamespace([] {
    pid_t const busy = start("spinner", [] {
      while (cpuSecondsOf(getpid()) < kBurnt) continue;
      for (raise(SIGSTOP);;) continue;
    });
    pid_t const bulky = start("b\"g\\\x1b\xff", [] {
      static std::string const memory(200 << 20, 'x');
      raise(SIGSTOP);
    });
    kill(busy, SIGCONT);
    int status = -1;
    auto const output = outputOf("--once --json", &status);
    double const busySeconds = cpuSecondsOf(busy);
    EXPECT_EQ(status, 0);
    std::smatch whole, figures;
    ASSERT_TRUE(std::regex_search(
        output, whole, std::regex(R"(^\{"timeMS":\d+,"seconds":([.\d]+),"count":\d,"steps":"Col)")))
        << output;

    std::string const rest = R"(,"owner":"root","cpuPercent":([.\d]+),"cpuSeconds":([.\d]+),)"
                             R"("memoryMB":(\d+)\})";
    auto const parent = R"(,"parentPid":1,"name":)";
    auto const id = [](pid_t pid) { return R"(\{"pid":)" + std::to_string(pid); };
    // The busiest one stands first.
    ASSERT_TRUE(std::regex_search(
        output, figures,
        std::regex(R"("processes":\[\s+)" + id(busy) + parent + R"("SPINNER")" + rest)))
        << output;
    double const percent = std::stod(figures[1]), seconds = std::stod(figures[2]);
    constexpr double kTick = 0.02;
    EXPECT_GT(percent, 0);
    EXPECT_LE(percent / 100 * std::stod(whole[1]), seconds - kBurnt + kTick);
    EXPECT_GE(seconds, kBurnt - kTick);
    EXPECT_LE(seconds, busySeconds + kTick);

    ASSERT_TRUE(std::regex_search(
        output, figures, std::regex(id(bulky) + parent + R"("B\\"G\\\\\\u001b\\u00ff")" + rest)))
        << output;
    EXPECT_EQ(std::stod(figures[1]), 0);
    long pages = 0, residentPages = 0;
    std::ifstream("/proc/" + std::to_string(bulky) + "/statm") >> pages >> residentPages;
    EXPECT_NEAR(std::stod(figures[3]),
                static_cast<double>(residentPages * getpagesize()) / (1 << 20), 1);
    EXPECT_GE(std::stoi(figures[3]), 200);
    for (pid_t const pid : {busy, bulky}) kill(pid, SIGKILL), waitpid(pid, nullptr, 0);
  });
}

TEST(ProcessTop, RefusesWrongOptions) {
  for (std::string const option : {"--twice", "-x", "20", "--json=1"}) {
    int status = 0;
    EXPECT_EQ(outputOf("--once " + option, &status),
              "process_top: unknown option \"" + option + "\"; --help lists them.\n");
    EXPECT_EQ(status, 2 << 8);
  }
}

}  // namespace
