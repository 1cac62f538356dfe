// A folder of the test's own, and child processes in which things go wrong for real.
#ifndef QZ_TESTS_FILES_SCENE_H_
#define QZ_TESTS_FILES_SCENE_H_

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>

#include "tool/sleep_hook.h"
#include "tool/tool_driver.h"

struct files_scene : testing::Test {
  std::string folder = "/tmp/qz_files_XXXXXX";
  mode_t const maskBefore = umask(022);
  files_scene() { EXPECT_EQ(chmod(mkdtemp(folder.data()), 0755), 0); }
  ~files_scene() override {
    insteadOfSleeping = {}, umask(maskBefore), std::filesystem::remove_all(folder);
  }
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

// Runs `body` in a child that SIGALRM ends after so many seconds, and expects it to end with this
// status; EXPECT failures in it are printed and make that 256.
inline void inChild(std::function<void()> const& body, int expected = 0, unsigned seconds = 60) {
  int status = 0;
  if (pid_t const pid = fork(); pid != 0) {
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, expected);
    return;
  }
  alarm(seconds);
  body();
  std::fflush(stdout);
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

// For such children: a file system of 64 KiB with the file "kept", by `flags` made read-only.
inline std::string mountSmall(std::string const& path, unsigned long flags = 0) {
  if (flags == 0) driver::enterOwnMountNamespace(), mkdir(path.c_str(), 0755);
  EXPECT_EQ(mount("none", path.c_str(), "tmpfs", flags, "size=64k"), 0);
  return flags == 0 ? makeFile(path + "/kept", "kept") : "";
}

#endif  // QZ_TESTS_FILES_SCENE_H_
