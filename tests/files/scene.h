// A folder of the test's own, and child processes in which things go wrong for real.
#ifndef QZ_TESTS_FILES_SCENE_H_
#define QZ_TESTS_FILES_SCENE_H_

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tool/sleep_hook.h"
#include "tool/tool_driver.h"

struct files_scene : testing::Test {
  std::string folder = "/tmp/qz_files_XXXXXX";
  files_scene() { EXPECT_EQ(chmod(mkdtemp(folder.data()), 0755), 0); }
  ~files_scene() override { insteadOfSleeping = {}, std::filesystem::remove_all(folder); }
  std::string at(std::string const& name) const { return folder + "/" + name; }
};

inline std::string makeFile(std::string const& path, std::string const& text = "x") {
  std::ofstream(path) << text;
  return path;
}
inline std::string textOf(std::string const& path) {
  return (std::stringstream() << std::ifstream(path).rdbuf()).str();
}
inline bool isThere(std::string const& path) { return access(path.c_str(), F_OK) == 0; }

// Runs `body` in a child, which is ended after so many seconds; returns whether it had ended by
// itself. EXPECT failures in it are printed and fail the calling test.
inline bool endsWithin(unsigned seconds, std::function<void()> const& body) {
  pid_t const pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (fork() != 0) {  // the guard: its alarm ends it, and with it what it waits for
      int status = 0;
      alarm(seconds);
      _exit(wait(&status) > 0 && status == 0 ? 0 : 1);
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    body();
    std::fflush(stdout);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) || status == 0) << "in the child, see above";
  return !WIFSIGNALED(status);
}
inline void inChild(std::function<void()> const& body) { EXPECT_TRUE(endsWithin(60, body)); }

// For children only: 64 KiB with the file "kept", and a handled signal every two milliseconds.
inline std::string mountSmall(std::string const& path) {
  driver::enterOwnMountNamespace();
  EXPECT_EQ(mkdir(path.c_str(), 0755) + mount("none", path.c_str(), "tmpfs", 0, "size=64k"), 0);
  return makeFile(path + "/kept", "kept");
}
inline void makeReadOnly(std::string const& path) {
  EXPECT_EQ(mount(nullptr, path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}
inline void startSignals(int flags, int microseconds = 2000) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  action.sa_flags = flags;
  itimerval const period = {{0, microseconds}, {0, microseconds}};
  EXPECT_EQ(sigaction(SIGALRM, &action, nullptr) + setitimer(ITIMER_REAL, &period, nullptr), 0);
}

#endif  // QZ_TESTS_FILES_SCENE_H_
