#include "files/lock_file.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <utime.h>

#include <atomic>
#include <regex>

#include "files/scene.h"

namespace {

_qzString<250> w(std::string const& text) { return text.c_str(); }

struct FileLocker : files_scene {
  std::string target = at("target"), file = at("target_lock.txt"), gone = at("gone");
  _qzFileLocker2 locker{w(target)}, elsewhere{w(gone + "/target")};
  int waited = 99, sleeps = 0;

  FileLocker() { atSleep(0, {}); }
  // Sleeps take no time; at the end of number `which` something happens.
  void atSleep(int which, std::function<void()> const& event) {
    sleeps = 0;
    insteadOfSleeping = [=, this](useconds_t microseconds) {
      EXPECT_EQ(microseconds, 250000u);
      if (++sleeps == which) event();
    };
  }
  bool lock(_qzFileLocker2& one, int timeout) { return one.lock(timeout, w("me"), &waited, false); }
  bool says(int error, char const* text) {
    return locker.lastError == error && locker.errorString() == text;
  }
};

TEST_F(FileLocker, HoldsAFileThatTellsWhoHoldsIt) {
  EXPECT_TRUE(locker.lock(0, w("node 7, J\xF6rg"), &waited, false) && waited == 0 && sleeps == 0);
  EXPECT_TRUE(std::regex_match(
      textOf(file),
      std::regex("\n File locked by: node 7, J\xF6rg\n Time locked: [A-Z][a-z]{2} [0-9]{2}\\. "
                 "[0-9]{2}:[0-9]{2}\\.[0-9]{2}\nInfo: This lock file should only exist a few "
                 "seconds\\.\n\n")))
      << textOf(file);
  _qzFileLocker other(w(target));
  other.unlock();
  EXPECT_FALSE(other.isFree(0, nullptr));
  locker.unlock();
  EXPECT_FALSE(isThere(file));
  makeFile(file);  // what another party has made meanwhile
  locker.unlock();
  EXPECT_TRUE(isThere(file));
  unlink(file.c_str());
  EXPECT_TRUE(other.lock(0, {}, nullptr, true) && !isThere(file));
  EXPECT_TRUE(_qzFileLocker(w(target)).lock(0, {}, nullptr, false));
  EXPECT_FALSE(isThere(file));
}

TEST_F(FileLocker, WaitsInQuartersOfASecond) {
  makeFile(file);
  struct {
    int timeout, looks;
  } const rows[] = {{-5, 1}, {0, 1}, {499, 1}, {500, 2}, {1000, 4}, {10249, 40}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.timeout);
    sleeps = 0;
    EXPECT_FALSE(_qzFileLocker(w(target)).lock(row.timeout, {}, nullptr, false));
    EXPECT_FALSE(lock(locker, row.timeout) || locker.isFree(row.timeout, nullptr));
    EXPECT_EQ(sleeps, 3 * row.looks);
    EXPECT_EQ(waited, 250 * row.looks);
  }
  atSleep(2, [&] { unlink(file.c_str()); });
  EXPECT_TRUE(lock(locker, 1000) && waited == 500);
  EXPECT_TRUE(!lock(locker, 1000) && waited == 1000);  // waits for itself
  // Required: the time waited is written first, so one variable for both means one look.
  EXPECT_FALSE(locker.lock(waited, {}, &waited, false) || waited != 250);
  inChild([&] {  // signals shorten the sleeps and not the count
    insteadOfSleeping = nullptr;
    startSignals(SA_RESTART);
    auto const start = driver::now();
    EXPECT_TRUE(!lock(locker, 100000) && waited == 100000 && driver::now() - start < 50);
  });
}

TEST_F(FileLocker, OnlyAWholeWaitClearsAStaleFile) {
  for (bool const testOnly : {false, true})
    for (int age = 10800; age < 10802; ++age)
      for (std::time_t start = 0; start != std::time(nullptr);) {  // again if a second passes
        start = std::time(nullptr);
        utimbuf const times = {start - age, start - age};
        utime(makeFile(file).c_str(), &times);
        bool const result = locker.lock(1000, {}, &waited, testOnly);
        if (start != std::time(nullptr)) continue;
        EXPECT_EQ(result, age > 10800);
        EXPECT_EQ(isThere(file), !(result && testOnly));
        EXPECT_EQ(waited, 1000);
        locker.unlock();
      }
}

TEST_F(FileLocker, ACreateThatFailsTellsWhy) {
  EXPECT_TRUE(elsewhere.isFree(1000, nullptr));
  EXPECT_TRUE(!lock(elsewhere, 1000) && waited == 0 && elsewhere.lastError == ENOENT);
  std::filesystem::create_directory(gone);
  makeFile(gone + "/target_lock.txt");
  atSleep(3, [&] { std::filesystem::remove_all(gone); });
  EXPECT_TRUE(!lock(elsewhere, 1000) && waited == -750 && errno == ENOENT);
  inChild([&] {
    EXPECT_EQ(setuid(65534), 0);
    EXPECT_TRUE(!lock(locker, 0) && says(EACCES, "Permission denied"));
  });
  inChild([&] {
    mountSmall(gone);
    makeFile(gone + "/fill", std::string(70000, 'x'));
    EXPECT_TRUE(lock(elsewhere, 0) && textOf(gone + "/target_lock.txt").empty());
    elsewhere.unlock();
    makeReadOnly(gone);
    EXPECT_TRUE(!lock(elsewhere, 0) && elsewhere.lastError == EROFS);
  });
  // A link to nothing is free to the look and taken to the create, until the signal.
  ASSERT_EQ(symlink("other", file.c_str()), 0);
  inChild([&] {
    static std::string const other = at("other");
    signal(SIGPROF, [](int) { close(creat(other.c_str(), 0666)); });
    itimerval const soon = {{}, {0, 50000}};
    setitimer(ITIMER_PROF, &soon, nullptr);
    EXPECT_TRUE(!lock(locker, 500) && waited == 500 && says(EEXIST, "File exists"));
  });
}

TEST_F(FileLocker, ADirectoryInItsPlaceIsTriedWithoutEnd) {  // Required
  std::filesystem::create_directory(file);
  EXPECT_TRUE(locker.isFree(1000, &waited) && waited == 1000);
  EXPECT_FALSE(endsWithin(1, [&] { lock(locker, 1000); }));
}

TEST_F(FileLocker, LongNamesLoseTheSuffix) {
  struct {
    std::size_t size;
    char const* suffix;
    bool isFreeWhileHeld;
  } const rows[] = {{240, "_lock.txt", false}, {241, "_lock.txt", true}, {242, "_lock.tx", true},
                    {246, "_loc", true},       {249, "_", true},         {250, "", true}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.size);
    auto const name = at(std::string(row.size - at("").size(), 't')), full = name + row.suffix;
    _qzFileLocker2 holder(w(name)), other(w(name));
    EXPECT_TRUE(holder.lockFileName == full.c_str());
    // Required: of 250 characters the system sees 249.
    EXPECT_TRUE(lock(holder, 0) && isThere(full.substr(0, 249)));
    EXPECT_EQ(other.isFree(0, nullptr), row.isFreeWhileHeld);
    holder.unlock();
    EXPECT_TRUE(std::filesystem::is_empty(folder));
  }
}

// From here on the system refuses unlink(2), and nothing else.
void refuseUnlink() {
  sock_filter program[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_unlink, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  sock_fprog const filter = {4, program};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  EXPECT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

TEST_F(FileLocker, AFileThatCannotBeDeletedStepsAside) {
  inChild([&] {
    refuseUnlink();
    EXPECT_TRUE(lock(locker, 0));
    locker.unlock();
    EXPECT_TRUE(!isThere(file) && isThere(file + ".none") && says(0, "No Error."));
    EXPECT_TRUE(lock(locker, 0));  // the earlier one is in the way, and can't be deleted either
    locker.unlock();
    EXPECT_TRUE(isThere(file) && isThere(file + ".none"));
  });
}

// What the eight processes of a race share.
struct race_lane {
  std::atomic<int> arrived, holders, faults;
};

template <class Locker>
void race(race_lane& lane, int rounds, _qzString<250> const& target) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  for (int round = 1; round <= rounds; ++round) {
    for (++lane.arrived; lane.arrived < 8 * round;) usleep(1000);
    Locker locker(target);
    // Nobody may wait out the timeout: that is where two waiters can meet.
    if (!locker.lock(1000000, target, nullptr, false) || ++lane.holders != 1) ++lane.faults;
    sched_yield();
    --lane.holders;
  }
  _exit(0);
}

TEST_F(FileLocker, NeverHasTwoHolders) {
  // Two hundred rounds, forty at a time, since a loser sleeps a quarter of a second.
  constexpr int kLanes = 40, kRounds = 5;
  insteadOfSleeping = nullptr;
  auto* const lanes =
      static_cast<race_lane*>(mmap(nullptr, sizeof(race_lane) * kLanes, PROT_READ | PROT_WRITE,
                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  EXPECT_TRUE(endsWithin(120, [&] {
    for (int i = 0; i < 8 * kLanes; ++i)
      if (int const lane = i % kLanes; fork() == 0)
        (i % 3 == 0 ? race<_qzFileLocker> : race<_qzFileLocker2>)(lanes[lane], kRounds,
                                                                  w(at(std::to_string(lane))));
    while (wait(nullptr) > 0) continue;
  }));
  for (int i = 0; i < kLanes; ++i)
    EXPECT_EQ(lanes[i].faults * 1000 + lanes[i].arrived, 8 * kRounds);
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  munmap(lanes, sizeof(race_lane) * kLanes);
}

}  // namespace
