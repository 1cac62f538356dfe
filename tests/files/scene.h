// A folder of the test's own, and child processes in which things go wrong for real.
#ifndef QZ_TESTS_FILES_SCENE_H_
#define QZ_TESTS_FILES_SCENE_H_

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include "tool/sleep_hook.h"
#include "tool/tool_driver.h"

struct files_scene : testing::Test {
  std::string folder = "/tmp/qz_files_XXXXXX";

  files_scene() {
    EXPECT_NE(mkdtemp(folder.data()), nullptr);
    chmod(folder.c_str(), 0777);
    umask(022);
  }
  ~files_scene() override {
    insteadOfSleeping = nullptr;
    std::filesystem::remove_all(folder);
  }
  std::string at(std::string const& name) const { return folder + "/" + name; }
};

inline std::string const& makeFile(std::string const& path, std::string const& text = "x") {
  std::ofstream(path) << text;
  return path;
}
inline std::string textOf(std::string const& path) {
  return (std::stringstream() << std::ifstream(path).rdbuf()).str();
}
inline bool isThere(std::string const& path) {
  return std::filesystem::exists(std::filesystem::symlink_status(path));
}
inline void pauseFor(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// Runs `body` in a child, which is ended after so many milliseconds; returns whether it had ended
// by itself. EXPECT failures in it are printed and fail the calling test.
inline bool endsWithin(int milliseconds, std::function<void()> const& body) {
  pid_t const pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    body();
    std::fflush(stdout);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  pid_t ended = 0;
  for (; milliseconds > 0 && ended == 0; milliseconds -= 10) {
    pauseFor(10);
    ended = waitpid(pid, &status, WNOHANG);
  }
  if (ended == pid) {
    EXPECT_EQ(status, 0) << "in the child, see above";
    return true;
  }
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  return false;
}
inline void inChild(std::function<void()> const& body) { EXPECT_TRUE(endsWithin(60000, body)); }

// For children only.
inline void mountSmall(std::string const& folder) {
  driver::enterOwnMountNamespace();
  ASSERT_EQ(mount("none", folder.c_str(), "tmpfs", 0, "size=64k"), 0);
}
inline void makeReadOnly(std::string const& folder) {
  ASSERT_EQ(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}
inline void becomeNobody() { ASSERT_EQ(setuid(65534), 0); }
// A handled signal every two milliseconds.
inline void startSignals(int flags) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  action.sa_flags = flags;
  sigaction(SIGALRM, &action, nullptr);
  itimerval const period = {{0, 2000}, {0, 2000}};
  setitimer(ITIMER_REAL, &period, nullptr);
}

#endif  // QZ_TESTS_FILES_SCENE_H_
