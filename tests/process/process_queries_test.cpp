// Questions and signals of both lists, and the self-check, on real processes. Every test is process
// 1 of a namespace of its own: no signal can leave it, and nobody else bears a name in it.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <list>
#include <memory>
#include <type_traits>

#include "process/process_list.h"
#include "process/process_list3.h"
#include "process/self_check.h"
#include "tool/tool_driver.h"

namespace {

constexpr uid_t kNobody = 65534, kNoUser = 54321;

// A process of a name and a user that does nothing, after it did `body`. Made when it stands still.
struct child {
  pid_t const pid = fork();

  explicit child(std::string const& name, std::function<void()> const& body = {}, uid_t user = 0) {
    if (pid == 0) {
      if (body) body();
      prctl(PR_SET_NAME, setuid(user) == 0 ? name.c_str() : "failed");
      for (raise(SIGSTOP);;) pause();
    }
    waitpid(pid, nullptr, WUNTRACED);
    kill(pid, SIGCONT);
  }
  ~child() { kill(pid, SIGKILL), waitpid(pid, nullptr, 0); }

  // The signal that ended or stopped it, or 0 if none does within ten seconds.
  int nextSignal() const {
    int status = 0;
    for (int i = 0; i < 1000 && waitpid(pid, &status, WNOHANG | WUNTRACED) == 0; ++i) usleep(10000);
    return WIFSTOPPED(status) ? WSTOPSIG(status) : WTERMSIG(status);
  }
};

std::unique_ptr<_qzProcessList> make(_qzProcessList*) { return std::make_unique<_qzProcessList>(); }
int slotOf(_qzProcessList& list, pid_t pid, bool refresh) {
  return list.getListIDByPID(static_cast<unsigned>(pid), refresh);
}

std::unique_ptr<_qzProcessList3> make(_qzProcessList3*) {
  return std::make_unique<_qzProcessList3>(false);
}
int slotOf(_qzProcessList3& list, pid_t pid, bool refresh) {
  int const slot = list.getListIdxByPID(static_cast<unsigned>(pid), refresh);
  EXPECT_EQ(list.getListIdxByPID(static_cast<unsigned>(pid)), slot);
  return slot;
}

template <class List>
struct ProcessQueries : testing::Test {};
using both_lists = testing::Types<_qzProcessList, _qzProcessList3>;
TYPED_TEST_SUITE(ProcessQueries, both_lists);

TYPED_TEST(ProcessQueries, MatchWholeNamesInAnyCase) {
  driver::inOwnPidNamespace([] {
    child const some[] = {child("Render"), child("RENDER2"), child("fifteen-bytes-and-more"),
                          child("rendeR"), child(""),        child("render")};
    struct {
      char const* name;
      int count;
      long long first, last;
    } const rows[] = {
        {"render", 3, some[0].pid, some[5].pid},
        {"RendeR2", 1, some[1].pid, some[1].pid},
        {"rende", 0, 0, 0},
        {"render*", 0, 0, 0},
        {"fifteen-bytes-a", 1, some[2].pid, some[2].pid},
        {"fifteen-bytes-an", 0, 0, 0},
        {"fifteen-bytes-and-more", 0, 0, 0},
        {"", 1, 0, some[4].pid},
    };
    for (auto const& [name, count, first, last] : rows) {
      SCOPED_TRACE(name);
      auto const list = make(static_cast<TypeParam*>(nullptr));
      bool const isNamed = *name != 0;
      long long pid = -7;
      EXPECT_EQ(list->processExists(name, true, &pid), isNamed && count > 0);
      EXPECT_EQ(pid, isNamed ? first : -7);
      EXPECT_EQ(list->collected, isNamed);
      EXPECT_EQ(list->processExists(name, false, nullptr), isNamed && count > 0);
      EXPECT_EQ(list->doesProcessExistCount(name, &(pid = -7)), count);
      EXPECT_EQ(pid, last);
      EXPECT_EQ(list->doesProcessExistTwice(name, &(pid = -7)), count > 1);
      EXPECT_EQ(pid, last);
    }
    // A name that lost its length alone, and keeps its characters, is empty too.
    _qzString8_allSize<25> emptied("render");
    emptied = nullptr;
    EXPECT_EQ(make(static_cast<TypeParam*>(nullptr))->doesProcessExistCount(emptied, nullptr), 1);
  });
}

TYPED_TEST(ProcessQueries, AnswerFromTheOldSnapshotUntilAskedToRefresh) {
  driver::inOwnPidNamespace([] {
    child const a("twin"), b("twin");
    auto const id = static_cast<unsigned>(a.pid);
    using question = std::function<bool(TypeParam&, bool)>;
    std::pair<bool, question> const rows[] = {
        {true, [](auto& l, bool r) { return l.processExists("twin", r, nullptr); }},
        {true,
         [](auto& l, bool r) { return l.processExists_SameUser("twin", "root", r, nullptr); }},
        {true, [id](auto& l, bool r) { return l.processExistsPID(id, r); }},
        {true, [&a](auto& l, bool r) { return slotOf(l, a.pid, r) >= 0; }},
        {false, [](auto& l, bool) { return l.doesProcessExistTwice("twin", nullptr); }},
        {false, [](auto& l, bool) { return l.doesProcessExistCount("twin", nullptr) == 2; }},
        {false,
         [](auto& l, bool) { return l.doesProcessExistTwice_SameUser("twin", "root", nullptr); }},
    };
    for (auto const& [refreshes, ask] : rows) {
      SCOPED_TRACE(&ask - &rows[0].second);
      auto const list = make(static_cast<TypeParam*>(nullptr));
      EXPECT_TRUE(ask(*list, false));  // was not collected
      list->count = 0;                 // a snapshot of an empty machine
      EXPECT_FALSE(ask(*list, false));
      EXPECT_EQ(ask(*list, true), refreshes);
    }
    auto const list = make(static_cast<TypeParam*>(nullptr));
    int const slot = slotOf(*list, b.pid, false);
    ASSERT_GE(slot, 0);
    EXPECT_EQ(list->records[slot].pid, static_cast<unsigned>(b.pid));
    EXPECT_EQ(slotOf(*list, 0, false), -1);
    EXPECT_FALSE(list->processExistsPID(0, true));
  });
}

TYPED_TEST(ProcessQueries, OfOneUserCompareTheLoginNameOrTheBareNumber) {
  driver::inOwnPidNamespace([] {
    child const some[] = {child("mine", {}, kNobody), child("mine"), child("other", {}, kNobody),
                          child("Mine", {}, kNoUser), child("mine", {}, kNobody)};
    struct {
      char const* user;
      int count;
      long long first, last;
    } const rows[] = {
        {"NoBody", 2, some[0].pid, some[4].pid},
        {"root", 1, some[1].pid, some[1].pid},
        {"54321", 1, some[3].pid, some[3].pid},
        {"65534", 0, 0, 0},
        {"nobod", 0, 0, 0},
        {"", 0, 0, 0},
    };
    for (auto const& [user, count, first, last] : rows) {
      SCOPED_TRACE(user);
      auto const list = make(static_cast<TypeParam*>(nullptr));
      long long pid = -7;
      EXPECT_FALSE(list->processExists_SameUser("", user, true, &pid));
      EXPECT_FALSE(list->collected);
      EXPECT_EQ(pid, -7);
      EXPECT_EQ(list->processExists_SameUser("MINE", user, true, &pid), count > 0);
      EXPECT_EQ(pid, first);
      EXPECT_EQ(list->doesProcessExistTwice_SameUser("mine", user, &(pid = -7)), count > 1);
      EXPECT_EQ(pid, last);
    }
  });
}

TEST(ProcessOwners, AreAskedAnewByTheLightListAndTakenAsStoredFromTheFullOne) {
  driver::inOwnPidNamespace([] {
    child const mine("mine", {}, kNobody), other("other", {}, kNobody);
    auto const light = make(static_cast<_qzProcessList*>(nullptr));
    auto const full = make(static_cast<_qzProcessList3*>(nullptr));
    int slot = slotOf(*light, mine.pid, false);
    int beside = slotOf(*light, other.pid, false);
    light->records[slot].owner = light->records[beside].owner = "Stored";
    EXPECT_FALSE(light->processExists_SameUser("mine", "stored", false, nullptr));
    EXPECT_STREQ(light->records[slot].owner.asChar(), "nobody");
    EXPECT_STREQ(light->records[beside].owner.asChar(), "Stored");

    slot = slotOf(*full, mine.pid, false);
    EXPECT_TRUE(full->processExists_SameUser("mine", "nobody", false, nullptr));
    EXPECT_TRUE(full->records[slot].ownerText.isEmpty());
    full->records[slot].ownerText = "Stored";
    EXPECT_TRUE(full->processExists_SameUser("mine", "stored", false, nullptr));
    EXPECT_FALSE(full->processExists_SameUser("mine", "nobody", false, nullptr));
  });
}

TYPED_TEST(ProcessQueries, SignalsReachAllOfTheNameAndNobodyElse) {
  using text = _qzString8_allSize<25>;
  std::pair<int, void (*)(TypeParam&)> const rows[] = {
      {SIGTERM, [](TypeParam& list) { list.killProcess(text("TARget")); }},
      {SIGINT, [](TypeParam& list) { list.INTProcess("target"); }},
      {SIGTERM,
       [](TypeParam& list) {
         if constexpr (std::is_same_v<TypeParam, _qzProcessList>)
           list.killProcessTree("target");  // Required: not the children
         else
           list.killProcess("target");
       }},
  };
  for (auto const& [signal, send] : rows) {
    SCOPED_TRACE(&send - &rows[0].second);
    driver::inOwnPidNamespace([signal = signal, send = send] {
      child const first("target", [] { static child const kid("kid"); });
      child const beside("target2"), second("Target");
      auto const list = make(static_cast<TypeParam*>(nullptr));
      send(*list);
      EXPECT_EQ(first.nextSignal(), signal);
      EXPECT_EQ(second.nextSignal(), signal);
      EXPECT_FALSE(list->processExists("target", true, nullptr));
      EXPECT_TRUE(list->processExists("kid", false, nullptr));
      EXPECT_TRUE(list->processExists("target2", false, nullptr));
    });
  }
}

// Required: the second call sends to the same id again, although nobody bears the name any more.
TYPED_TEST(ProcessQueries, SignalsFollowTheOldSnapshot) {
  driver::inOwnPidNamespace([] {
    child const stubborn("target", [] {
      std::signal(SIGTERM, [](int) { prctl(PR_SET_NAME, "renamed"), raise(SIGSTOP); });
    });
    auto const list = make(static_cast<TypeParam*>(nullptr));
    for (int round = 0; round < 2; ++round) {
      list->killProcess("target");
      EXPECT_EQ(stubborn.nextSignal(), SIGSTOP);
      EXPECT_FALSE(make(static_cast<TypeParam*>(nullptr))->processExists("target", true, nullptr));
      kill(stubborn.pid, SIGCONT);
    }
    auto const unused = make(static_cast<TypeParam*>(nullptr));
    child const late("late");
    unused->killProcess(static_cast<unsigned>(late.pid));
    EXPECT_FALSE(unused->collected);
    EXPECT_EQ(late.nextSignal(), SIGTERM);
  });
}

TYPED_TEST(ProcessQueries, FindNobodyWhereTheSystemRefusesTheList) {
  driver::inOwnPidNamespace([] {
    child const twins[] = {child("twin"), child("twin")};
    rlimit const none = {0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    auto const list = make(static_cast<TypeParam*>(nullptr));
    long long pid = -7;
    EXPECT_FALSE(list->processExists("twin", false, &pid));
    EXPECT_EQ(pid, 0);
    EXPECT_EQ(list->doesProcessExistCount("twin", nullptr), 0);
    EXPECT_EQ(slotOf(*list, twins[0].pid, true), -1);
    EXPECT_STREQ(list->error.asChar(), " sysctl:Too many open files");
    EXPECT_FALSE(ourProcessAlreadyExists("twin", true, true, nullptr));
  });
}

// --- the self-check ---

TEST(SelfCheck, TellsAnotherInstanceFromTheCaller) {
  struct {
    int plain, console;
    bool oneForm, fromPlain, fromConsole, twiceOneForm, twiceBoth;
  } const rows[] = {
      {0, 0, false, false, false, false, false}, {1, 0, false, false, true, false, false},
      {2, 0, true, true, true, false, false},    {3, 0, true, true, true, true, true},
      {0, 1, false, true, false, false, false},  {0, 2, false, true, true, false, false},
      {0, 3, false, true, true, false, true},    {1, 1, false, true, true, false, false},
      {2, 1, true, true, true, false, true},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.plain << " plain, " << row.console << " console");
    driver::inOwnPidNamespace([&row] {
      std::list<child> all;
      for (int i = 0; i < row.plain; ++i) all.emplace_back("Farm");
      long long const firstId = all.empty() ? 0 : all.front().pid;
      long long const lastId = all.empty() ? 0 : all.back().pid;
      for (int i = 0; i < row.console; ++i) all.emplace_back("FarmConsole");
      EXPECT_EQ(ourProcessAlreadyExistsTwice("FARM", false), row.twiceOneForm);
      EXPECT_EQ(ourProcessAlreadyExistsTwice("FARM", true), row.twiceBoth);
      for (bool const oneUser : {false, true}) {
        if (oneUser) {  // another user's are not counted any more
          all.emplace_back("farmconsole", nullptr, kNobody);
          all.emplace_back("farm", nullptr, kNobody);
        }
        for (bool const isConsole : {false, true}) {
          long long pid = -7;
          auto const asked = [&](bool both) {
            return oneUser ? ourProcessAlreadyExists_SameUser("farm", "ROOT", isConsole, both, &pid)
                           : ourProcessAlreadyExists("farm", isConsole, both, &pid);
          };
          EXPECT_EQ(asked(false), row.oneForm);
          EXPECT_EQ(pid, lastId);
          EXPECT_EQ(asked(true), isConsole ? row.fromConsole : row.fromPlain);
          EXPECT_EQ(pid, isConsole ? firstId : lastId);
        }
      }
    });
  }
}

// The system keeps 15 bytes of a name, and "console" takes 7.
TEST(SelfCheck, APlainNameOfNineCharactersHasNoConsoleForm) {
  driver::inOwnPidNamespace([] {
    for (std::string const name : {"eightcha", "ninechars"}) {
      child const plain(name), console(name + "console");
      EXPECT_EQ(ourProcessAlreadyExists(name.c_str(), false, true, nullptr), name.size() == 8);
    }
  });
}

}  // namespace
