// What explain, report and why tell, to a person and to a program.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tool/tool_driver.h"

namespace {

driver::tool_run frame(driver::arguments const& words, std::function<void()> const& prepare = {}) {
  return driver::finish(driver::startProgram(QZ_FRAME, words, prepare));
}

bool has(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

// --- explain ---

TEST(FrameExplain, ForetellsTheLinesOfTheCheck) {
  driver::enterOwnIpcNamespace();
  for (char const* code : {"0", "5", "137", "-11", "149", "150", "-1073741819"}) {
    SCOPED_TRACE(code);
    auto const check = driver::runTool({code, "1", "0"});
    auto const told = nlohmann::json::parse(frame({"explain", "--json", code}).output);
    EXPECT_EQ(told["code"], std::atoi(code));
    EXPECT_EQ(told["isError"], std::string(code) != "0");
    EXPECT_EQ(told.value("forgive", ""),
              std::string(code) == "0" ? "" : std::string("ignore=") + code);
    auto const text = frame({"explain", code}).output;
    ASSERT_FALSE(told["check"].empty());
    for (auto const& each : told["check"]) {
      auto const line = each.get<std::string>();
      EXPECT_TRUE(has(check.output, "++  " + line + "    ")) << line << '\n' << check.output;
      EXPECT_TRUE(has(text, "  " + line + "\n")) << text;
    }
    for (auto const& one : told["readings"])
      EXPECT_TRUE(has(text, one["meaning"].get<std::string>() + "\n")) << text;
  }
  EXPECT_TRUE(
      has(frame({"explain", "0xC0000005"}).output, "-1073741819 = 3221225477 = 0xC0000005"));
  EXPECT_TRUE(has(frame({"explain", "200000"}).output, "nothing that systems agree on"));
}

TEST(FrameTerminal, HasColoursThereAndOnlyThere) {
  std::string const explain = "'" QZ_FRAME "' explain 5";
  struct {
    std::string command;
    bool coloured;
  } const rows[] = {
      {"NO_COLOR= TERM=xterm " + explain, true},
      {"NO_COLOR=1 TERM=xterm " + explain, false},
      {"NO_COLOR= TERM=dumb " + explain, false},
      {"NO_COLOR= TERM=xterm " + explain + " | cat", false},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.command);
    std::string const shown = driver::onTerminal(row.command);
    EXPECT_EQ(has(shown, "\033[31m"), row.coloured) << shown;
    EXPECT_TRUE(has(shown, "ignore=5")) << shown;
  }
}

// --- report ---

// A folder that goes with the test.
struct scratch {
  std::filesystem::path folder = [] {
    std::string name = testing::TempDir() + "quazen_report_XXXXXX";
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    return name;
  }();
  ~scratch() { std::filesystem::remove_all(folder); }

  std::string add(char const* name, std::string const& text) const {
    std::ofstream(folder / name) << text;
    return folder / name;
  }
};

TEST(FrameReport, ListsWhatTheCheckWroteAndSumsItUpByCode) {
  driver::enterOwnIpcNamespace();
  scratch const logs;
  std::string const good = driver::runTool({"0", "1", "3", "101"}).output;
  std::string const bad = driver::runTool({"139", "1", "4", "102"}).output;
  std::string const wrong = driver::runTool({"0", "1", "x", "7"}).output;
  std::string const forgiven =
      driver::runTool({"211", "1", "3", "103", "none", "ignore=211"}).output;
  std::string const front = "[renderer] frame 101\n";
  // A line that is longer than what is read at once; and one that looks like a report's, cut off.
  std::string const longLine(3 << 20, '+');
  std::string const first = logs.add("first.log", front + good + longLine + "\n" + bad);
  std::string const second =
      logs.add("second.log", forgiven + wrong + good.substr(0, good.size() / 2));

  auto const table = frame({"report", first, logs.folder / "none.log", second});
  EXPECT_EQ(WEXITSTATUS(table.status), 1);
  EXPECT_TRUE(has(table.output, "qzframe: can't read '" + (logs.folder / "none.log").string() +
                                    "': No such file or directory\n"));
  for (char const* row : {
           "TIME              VERDICT        CODE       FRAME THREAD FORGIVEN WAITED POSTED\n",
           " good              0         101      3 no       no     no: Unable to attach",
           " error           139         102      4 no       no     no: Unable to attach",
           " good            211         103      3 yes      no     no: Unable to attach",
           " error             -           -      - no       no     ",
           "       CODE   REPORTS    ERRORS  FORGIVEN NOT POSTED\n",
           "        139         1         1         0          1\n",
           "        211         1         0         1          1\n",
       })
    EXPECT_TRUE(has(table.output, row)) << row << '\n' << table.output;

  auto const lines =
      frame({"report", "--json"}, [&] { dup2(open(first.c_str(), O_RDONLY), STDIN_FILENO); });
  EXPECT_EQ(lines.status, 0);
  std::istringstream rows(lines.output);
  std::string row;
  std::vector<nlohmann::json> found;
  while (std::getline(rows, row)) found.push_back(nlohmann::json::parse(row));
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0]["file"], "-");
  EXPECT_EQ(found[0]["offset"], (front + good).find("++  Jan "));
  EXPECT_EQ(found[1]["verdict"], "error");
  EXPECT_EQ(found[1]["frame"], 102);
  EXPECT_EQ(found[1]["posted"], "no");

  EXPECT_TRUE(has(frame({"report", logs.add("empty.log", "")}).output, "no report was found\n"));
  EXPECT_TRUE(has(frame({"report", logs.folder}).output, "Is a directory"));
}

// --- why ---

int namedProcesses(char const* front) {
  int found = 0;
  for (auto const& folder : std::filesystem::directory_iterator("/proc")) {
    std::string name;
    std::ifstream(folder.path() / "comm") >> name;
    found += name.starts_with(front);
  }
  return found;
}

TEST(FrameWhy, NamesTheProcessAndTheRule) {
  scratch const place;
  std::string const taken = place.folder / "lonely";
  driver::inOwnPidNamespace(
      [] {
        pid_t const render = driver::startRender("qzrender", 20000);
        pid_t const twin = driver::startRender("qztwin", 20000);
        pid_t const otherTwin = driver::startRender("qztwin", 20000);
        pid_t const zombie = driver::startRender("qzzombie", 0);
        siginfo_t ended;
        waitid(P_PID, static_cast<id_t>(zombie), &ended, WEXITED | WNOWAIT);
        // A child of another process than the one that asks.
        pid_t const wrapper = fork();
        if (wrapper == 0) {
          prctl(PR_SET_NAME, "qzwrapper");
          pid_t const inner = driver::startRender("qzinner", 20000);
          driver::reap(inner);
          _exit(0);
        }
        for (int tries = 0; namedProcesses("qz") < 9 && tries < 500; ++tries) usleep(20000);
        auto const inWords = [](pid_t pid, char const* name) {
          return std::to_string(pid) + " (" + name + ")";
        };
        struct {
          char const* name;
          int status;
          std::vector<std::string> parts;
        } const rows[] = {
            {"QzRender",
             0,
             {"children of that name: " + inWords(render, "QZRENDER"),
              "would wait for " + std::to_string(render) + ": it is the child"}},
            {"qztwin",
             0,
             {"of that name: " + inWords(twin, "QZTWIN") + "; " + inWords(otherTwin, "QZTWIN"),
              "it is the first"}},
            {"qzlonely",
             0,
             {"orphans of that name: ", "the only one of that name whose parent is not there"}},
            {"qzpair", 1, {"none can be told to be the one"}},
            {"qzinner", 1, {"child of " + inWords(wrapper, "QZWRAPPER"), "qzframe run"}},
            {"qzzombie",
             1,
             {"not yet reaped: " + std::to_string(zombie) + ", child of 1",
              "no process of that name is running"}},
            {"averylongrenderer", 1, {"pass 'averylongrender'"}},
            {"qzCheckExitcode", 0, {"for itself, without end"}},
        };
        for (auto const& row : rows) {
          SCOPED_TRACE(row.name);
          auto const why = frame({"why", row.name});
          EXPECT_EQ(WEXITSTATUS(why.status), row.status);
          for (auto const& part : row.parts)
            EXPECT_TRUE(has(why.output, part)) << part << '\n' << why.output;
        }
        EXPECT_TRUE(has(frame({"why", "qzrender"},
                              [] {
                                driver::enterOwnMountNamespace();
                                (void)mount("none", "/proc", "tmpfs", 0, nullptr);
                              })
                            .output,
                        "the check would not wait"));
        for (pid_t const each : {render, twin, otherTwin, wrapper}) kill(each, SIGKILL);
        for (pid_t const each : {render, twin, otherTwin, wrapper, zombie}) driver::reap(each);
      },
      3,
      [&] {  // one gets a name of its own
        prctl(PR_SET_NAME, mkdir(taken.c_str(), 0700) == 0 ? "qzlonely" : "qzpair");
        sleep(20);
      });
}

}  // namespace
