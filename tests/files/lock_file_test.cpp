#include "files/lock_file.h"

#include <fcntl.h>
#include <utime.h>

#include "files/scene.h"

// Stands in front of the C library's.
bool refuseUnlink = false;
extern "C" int unlink(char const* name) {
  return refuseUnlink ? errno = EPERM, -1 : unlinkat(AT_FDCWD, name, 0);
}

namespace {

_qzString<250> w(std::string const& text) { return text.c_str(); }

struct FileLocker : files_scene {
  std::string target = at("target"), file = at("target_lock.txt"), gone = at("gone");
  _qzFileLocker2 locker{w(target)}, elsewhere{w(gone + "/target")};
  int waited = 99, sleeps = 0;

  FileLocker() { refuseUnlink = false, atSleep(0, {}); }
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
    mountSmall(gone);
    makeFile(gone + "/fill", std::string(70000, 'x'));
    EXPECT_TRUE(lock(elsewhere, 0) && textOf(gone + "/target_lock.txt").empty());
    EXPECT_TRUE(setuid(65534) == 0 && !lock(locker, 0) && locker.lastError == EACCES);
    EXPECT_TRUE(locker.errorString() == "Permission denied");
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
  std::pair<std::size_t, std::string> const rows[] = {
      {240, "_lock.txt"}, {241, "_lock.txt"}, {246, "_loc"}, {249, "_"}, {250, ""}};
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
  refuseUnlink = true;
  EXPECT_TRUE(lock(locker, 0));
  locker.unlock();
  EXPECT_TRUE(!isThere(file) && isThere(file + ".none") && locker.errorString() == "No Error.");
  EXPECT_TRUE(lock(locker, 0));  // the earlier one is in the way, and can't be deleted either
  locker.unlock();
  EXPECT_TRUE(isThere(file) && isThere(file + ".none"));
}

TEST_F(FileLocker, NeverHasTwoHolders) {
  // Two hundred rounds of eight, forty at a time, since a loser sleeps a quarter of a second.
  insteadOfSleeping = nullptr;
  // Nobody may wait out the timeout: that is where two waiters can meet.
  auto const holdsAlone = [](auto&& one, char const* mark) {
    return one.lock(1000000, {}, nullptr, false) && mkdir(mark, 0) == 0 && sched_yield() == 0 &&
           rmdir(mark) == 0;
  };
  int gate[2] = {};
  EXPECT_EQ(pipe(gate), 0);
  for (int i = 0; i < 8 * 40; ++i)
    if (auto const name = at(std::to_string(i % 40)), mark = name + "_held"; fork() == 0) {
      close(gate[1]);  // all begin when the last one is there, and meet again with every sleep
      bool alone = read(gate[0], &waited, 1) == 0;
      for (int round = 0; round < 5; ++round, usleep(250000))
        alone &= i % 3 == 0 ? holdsAlone(_qzFileLocker(w(name)), mark.c_str())
                            : holdsAlone(_qzFileLocker2(w(name)), mark.c_str());
      _exit(!alone);
    }
  close(gate[0]), close(gate[1]);
  for (int status = 0; wait(&status) > 0;) EXPECT_EQ(status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

}  // namespace
