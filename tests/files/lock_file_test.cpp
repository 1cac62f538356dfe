#include "files/lock_file.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <utime.h>

#include <atomic>

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
    insteadOfSleeping = [=, this](useconds_t pause) {
      EXPECT_EQ(pause, 250000u);
      if (++sleeps == which) event();
    };
  }
  bool lock(_qzFileLocker2& one, int timeout) { return one.lock(timeout, w("me"), &waited, false); }
};

TEST_F(FileLocker, HoldsAFileThatTellsWhoHoldsIt) {
  EXPECT_TRUE(lock(locker, 0) && waited == 0 && sleeps == 0);
  std::regex const stamp("[A-Z][a-z]{2} [0-9]{2}\\. [0-9:]{5}\\.[0-9]{2}");
  EXPECT_EQ(std::regex_replace(textOf(file), stamp, "STAMP"),
            "\n File locked by: me\n Time locked: STAMP\n"
            "Info: This lock file should only exist a few seconds.\n\n");
  _qzFileLocker other(w(target));
  other.unlock();
  EXPECT_TRUE(!other.isFree(0, nullptr) && isThere(file));
  locker.unlock();
  EXPECT_TRUE(other.lock(0, {}, nullptr, true) && !isThere(file));
  makeFile(file);  // another party's
  locker.unlock();
  EXPECT_EQ(unlink(file.c_str()), 0);
  EXPECT_TRUE(_qzFileLocker(w(target)).lock(0, {}, nullptr, false));
  EXPECT_FALSE(isThere(file));
}

TEST_F(FileLocker, WaitsInQuartersOfASecond) {
  makeFile(file);
  std::pair<int, int> const rows[] = {{-5, 1}, {0, 1}, {499, 1}, {500, 2}, {1000, 4}, {10249, 40}};
  for (auto const& [timeout, looks] : rows) {
    sleeps = 0;
    EXPECT_FALSE(_qzFileLocker(w(target)).lock(timeout, {}, nullptr, false));
    EXPECT_FALSE(lock(locker, timeout) || locker.isFree(timeout, nullptr));
    EXPECT_TRUE(sleeps == 3 * looks && waited == 250 * looks) << timeout;
  }
  atSleep(2, [&] { unlink(file.c_str()); });
  EXPECT_TRUE(lock(locker, 1000) && waited == 500);
  EXPECT_TRUE(!lock(locker, 1000) && waited == 1000);                      // waits for itself
  EXPECT_TRUE(!locker.lock(waited, {}, &waited, false) && waited == 250);  // Required: one variable
  inChild([&] {  // signals shorten the sleeps and not the count
    insteadOfSleeping = nullptr;
    signal(SIGALRM, [](int) {}), ualarm(2000, 2000);
    auto const start = driver::now();
    EXPECT_TRUE(!lock(locker, 100000) && waited == 100000 && driver::now() - start < 50);
  });
}

TEST_F(FileLocker, OnlyAWholeWaitClearsAStaleFile) {
  for (int i = 0; i < 4;) {
    bool const testOnly = i / 2 != 0, isStale = i % 2 != 0;
    auto const start = std::time(nullptr);
    utimbuf const times = {start - 10800 - isStale, start - 10800 - isStale};
    utime(makeFile(file).c_str(), &times);
    bool const result = locker.lock(1000, {}, &waited, testOnly);
    if (start != std::time(nullptr)) continue;  // again, since a second has passed
    EXPECT_TRUE(result == isStale && waited == 1000 && isThere(file) != (isStale && testOnly)) << i;
    locker.unlock();
    ++i;
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
    EXPECT_TRUE(setuid(65534) == 0 && !lock(locker, 0) && locker.lastError == EACCES);
    EXPECT_TRUE(locker.errorString() == "Permission denied");
  });
  inChild([&] {
    mountSmall(gone);
    makeFile(gone + "/fill", std::string(70000, 'x'));
    EXPECT_TRUE(lock(elsewhere, 0) && textOf(gone + "/target_lock.txt").empty());
    elsewhere.unlock();
    mountSmall(gone, MS_REMOUNT | MS_RDONLY);
    EXPECT_TRUE(!lock(elsewhere, 0) && elsewhere.lastError == EROFS);
  });
  inChild([&] {  // a link to nothing is free to the look and taken to the create, until the signal
    static std::string const other = at("other");
    EXPECT_EQ(symlink("other", file.c_str()), 0);
    signal(SIGALRM, [](int) { close(creat(other.c_str(), 0666)); }), ualarm(300000, 0);
    EXPECT_TRUE(!lock(locker, 500) && waited == 500 && locker.lastError == EEXIST);
  });
}

TEST_F(FileLocker, ADirectoryInItsPlaceIsTriedWithoutEnd) {  // Required
  std::filesystem::create_directory(file);
  EXPECT_TRUE(locker.isFree(1000, &waited) && waited == 1000);
  inChild([&] { lock(locker, 1000); }, SIGALRM, 1);
}

TEST_F(FileLocker, LongNamesLoseTheSuffix) {
  std::pair<std::size_t, std::string> const rows[] = {{240, "_lock.txt"}, {241, "_lock.txt"},
                                                      {242, "_lock.tx"},  {246, "_loc"},
                                                      {249, "_"},         {250, ""}};
  for (auto const& [size, suffix] : rows) {
    auto const name = at(std::string(size - at("").size(), 't'));
    _qzFileLocker2 holder(w(name)), other(w(name));
    EXPECT_TRUE(holder.lockFileName == (name + suffix).c_str());
    // Required: of 250 characters the system sees 249, but the last look before a result sees all.
    EXPECT_TRUE(lock(holder, 0) && isThere((name + suffix).substr(0, 249)));
    EXPECT_EQ(other.isFree(0, nullptr), size > 240);
    holder.unlock();
    EXPECT_TRUE(std::filesystem::is_empty(folder));
  }
}

TEST_F(FileLocker, AFileThatCannotBeDeletedStepsAside) {
  inChild([&] {
    sock_filter refuseUnlink[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0),
                                  BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_unlink, 0, 1),
                                  BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                                  BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    sock_fprog const filter = {4, refuseUnlink};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    EXPECT_TRUE(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 && lock(locker, 0));
    locker.unlock();
    EXPECT_TRUE(!isThere(file) && isThere(file + ".none") && locker.errorString() == "No Error.");
    EXPECT_TRUE(lock(locker, 0));  // the earlier one is in the way, and can't be deleted either
    locker.unlock();
    EXPECT_TRUE(isThere(file) && isThere(file + ".none"));
  });
}

struct race_lane {
  std::atomic<int> arrived, holders, faults;
};

template <class Locker>
void race(race_lane& lane, _qzString<250> const& target) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  for (int round = 1; round <= 5; ++round) {
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
  // Two hundred rounds of eight, forty at a time, since a loser sleeps a quarter of a second.
  insteadOfSleeping = nullptr;
  int const access = PROT_READ | PROT_WRITE, kind = MAP_SHARED | MAP_ANONYMOUS;
  auto* const lanes = static_cast<race_lane*>(mmap(nullptr, 4096, access, kind, -1, 0));
  inChild([&] {
    for (int i = 0; i < 8 * 40; ++i)
      if (auto const name = w(at(std::to_string(i % 40))); fork() == 0)
        (i % 3 == 0 ? race<_qzFileLocker> : race<_qzFileLocker2>)(lanes[i % 40], name);
    while (wait(nullptr) > 0) continue;
  });
  for (int i = 0; i < 40; ++i) EXPECT_EQ(lanes[i].faults * 1000 + lanes[i].arrived, 8 * 5);
  EXPECT_TRUE(std::filesystem::is_empty(folder) && munmap(lanes, 4096) == 0);
}

}  // namespace
