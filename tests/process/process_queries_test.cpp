// Both lists and the self-check on real processes. Every test is process 1 of a namespace of its
// own, which no signal leaves; its children have the ids 2, 3, 4... and end with it.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>

#include "process/process_list.h"
#include "process/process_list3.h"
#include "process/self_check.h"
#include "tool/tool_driver.h"

namespace {

// Starts a process that calls `body` and then does nothing. Returns when it bears its name.
void start(
    std::string const& name, uid_t user = 0, void (*body)() = [] {}) {
  pid_t const pid = fork();
  if (pid == 0) {
    body();
    prctl(PR_SET_NAME, setuid(user) == 0 ? name.c_str() : "failed");
    for (raise(SIGSTOP);;) pause();
  }
  waitpid(pid, nullptr, WUNTRACED), kill(pid, SIGCONT);
}

// The signal that ended the child: the one from here comes too late, unless there was none.
int signalAt(pid_t pid) {
  int status = 0;
  return kill(pid, SIGKILL), waitpid(pid, &status, 0), WTERMSIG(status);
}

// With the light list's way to be made, and its names.
struct full_list : _qzProcessList3 {
  full_list() : _qzProcessList3(false) {}
  int getListIDByPID(unsigned pid, bool refresh) { return getListIdxByPID(pid, refresh); }
  void killProcessTree(char const* name) { killProcess(name); }
};

template <class List>
struct ProcessQueries : testing::Test {};
using both_lists = testing::Types<_qzProcessList, full_list>;
TYPED_TEST_SUITE(ProcessQueries, both_lists);

TYPED_TEST(ProcessQueries, MatchWholeNamesAndUsersInAnyCaseUntilAskedToRefresh) {
  constexpr char k15[] = "fifteen-bytes-a", k16[] = "fifteen-bytes-an";
  struct {
    char const *name, *user;  // "*" is any
    long long count, first, last;
  } const rows[] = {
      {"render", "*", 4, 2, 8},     {"RendeR2", "*", 1, 3, 3},
      {"rende", "*", 0, 0, 0},      {"render*", "*", 0, 0, 0},
      {"", "*", 1, 0, 6},           {k15, "*", 1, 4, 4},
      {k16, "*", 0, 0, 0},          {"render", "NoBody", 2, 2, 7},
      {"render", "root", 1, 5, 5},  {"render", "65534", 0, 0, 0},
      {"render", "54321", 1, 8, 8}, {"", "root", 1, 0, 6},
      {"render", "", 0, 0, 0},      {"render2", "nobody", 0, 0, 0},
  };
  driver::inOwnPidNamespace([&rows] {
    start("Render", 65534), start("RENDER2"), start("fifteen-bytes-and-more"), start("rendeR");
    start(""), start("render", 65534), start("RENDER", 54321);
    for (auto const& [name, user, count, first, last] : rows) {
      SCOPED_TRACE(testing::Message() << name << " of " << user);
      auto const list = std::make_unique<TypeParam>();
      bool const isAny = *user == '*', isNamed = *name != 0;
      _qzString8_allSize<25> given("kept behind an empty text");
      given = nullptr, given.add(name);
      long long pid = -7;
      EXPECT_EQ(isAny ? list->processExists(given, false, &pid)
                      : list->processExists_SameUser(name, user, false, &pid),
                isNamed && count > 0);
      EXPECT_TRUE(pid == (isNamed ? first : -7) && list->collected == isNamed);
      EXPECT_EQ(isAny ? list->doesProcessExistTwice(name, &pid)
                      : list->doesProcessExistTwice_SameUser(name, user, &pid),
                count > 1);
      EXPECT_TRUE(pid == last && (!isAny || list->doesProcessExistCount(given, nullptr) == count));
      list->count = 0;  // the snapshot of an empty machine
      EXPECT_EQ(list->doesProcessExistCount("render", nullptr), 0);
      EXPECT_TRUE(!list->processExistsPID(3, false) && list->processExistsPID(3, true));
      list->count = 0;
      EXPECT_TRUE(list->getListIDByPID(3, false) == -1 && list->getListIDByPID(3, true) == 2);
      list->count = 0;
      EXPECT_EQ(isAny ? list->processExists(name, true, nullptr)
                      : list->processExists_SameUser(name, user, true, nullptr),
                isNamed && count > 0);
    }
  });
}

TEST(ProcessOwners, AreAskedAnewByTheLightListAndTakenAsStoredFromTheFullOne) {
  driver::inOwnPidNamespace([] {
    start("mine", 65534), start("other", 65534);
    auto const light = std::make_unique<_qzProcessList>();
    auto const full = std::make_unique<full_list>();
    auto& anew = light->records[light->getListIDByPID(2, false)].owner;
    auto& beside = light->records[light->getListIDByPID(3, false)].owner;
    auto& stored = full->records[full->getListIDByPID(2, false)].ownerText;
    EXPECT_TRUE(full->processExists_SameUser("mine", "nobody", false, nullptr) && stored.isEmpty());
    anew = beside = stored = "Stored";
    EXPECT_FALSE(light->processExists_SameUser("mine", "stored", false, nullptr));
    EXPECT_TRUE(anew == "nobody" && beside == "Stored");
    EXPECT_TRUE(full->processExists_SameUser("mine", "stored", false, nullptr));
  });
}

TYPED_TEST(ProcessQueries, SignalsReachAllOfTheNameAndNobodyElse) {
  std::pair<int, void (*)(TypeParam&)> const rows[] = {
      {SIGTERM, [](auto& list) { list.killProcess("TARget"); }},
      {SIGINT, [](auto& list) { list.INTProcess("target"); }},
      {SIGTERM, [](auto& list) { list.killProcessTree("target"); }}};  // Required: not the children
  for (auto const& [signal, send] : rows) {
    driver::inOwnPidNamespace([signal = signal, send = send] {
      start("target", 0, [] { start("kid"); }), start("target2"), start("Target"), start("other");
      auto const list = std::make_unique<TypeParam>(), unused = std::make_unique<TypeParam>();
      // Required: the old snapshot decides, not what the process is called by now.
      list->records[list->getListIDByPID(6, false)].name = "TARGET";
      send(*list);
      for (pid_t const pid : {2, 5, 6}) EXPECT_EQ(signalAt(pid), signal) << pid;
      EXPECT_TRUE(list->processExistsPID(3, true) && list->processExistsPID(4, false));
      unused->killProcess(4u);
      EXPECT_TRUE(signalAt(4) == SIGTERM && !unused->collected);
    });
  }
}

TEST(SelfCheck, TellsAnotherInstanceFromTheCaller) {
  struct {
    int plain, console, oneForm, fromPlain, fromConsole, twiceOneForm, twiceBoth;
  } const rows[] = {{0, 0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 1, 0, 0}, {2, 0, 1, 1, 1, 0, 0},
                    {3, 0, 1, 1, 1, 1, 1}, {0, 1, 0, 1, 0, 0, 0}, {0, 2, 0, 1, 1, 0, 0},
                    {0, 3, 0, 1, 1, 0, 1}, {1, 1, 0, 1, 1, 0, 0}, {2, 1, 1, 1, 1, 0, 1}};
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.plain << " plain, " << row.console << " console");
    driver::inOwnPidNamespace([&row] {
      for (int i = 0; i < row.plain; ++i) start("Farm");
      for (int i = 0; i < row.console; ++i) start("FarmConsole");
      EXPECT_EQ(ourProcessAlreadyExistsTwice("FARM", false), row.twiceOneForm != 0);
      EXPECT_EQ(ourProcessAlreadyExistsTwice("FARM", true), row.twiceBoth != 0);
      long long pid = -7;
      for (int const i : {0, 1, 2, 3, 4, 5, 6, 7}) {
        bool const both = i % 2 != 0, isConsole = i / 2 % 2 != 0, ofRoot = i >= 4;
        if (i == 4) start("farm", 65534), start("farmconsole", 65534);
        EXPECT_EQ(ofRoot ? ourProcessAlreadyExists_SameUser("farm", "ROOT", isConsole, both, &pid)
                         : ourProcessAlreadyExists("farm", isConsole, both, &pid),
                  !both       ? row.oneForm
                  : isConsole ? row.fromConsole
                              : row.fromPlain);
        EXPECT_EQ(pid, row.plain == 0 ? 0 : both && isConsole ? 2 : row.plain + 1);
      }
    });
  }
}

TEST(SelfCheck, FindsNoConsoleFormOfAPlainNameOfNineBytes) {
  std::pair<char const*, bool> const rows[] = {{"eight-by", true}, {"nine-byte", false}};
  driver::inOwnPidNamespace([&rows] {
    for (auto const* name : {"eight-byconsole", "nine-byteconsole"}) start(name), start(name);
    for (auto const& [name, isFound] : rows)
      for (bool const isConsole : {false, true})
        EXPECT_EQ(ourProcessAlreadyExists(name, isConsole, true, nullptr), isFound) << name;
  });
}

}  // namespace
