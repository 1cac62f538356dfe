// The render scripts of examples/scripts with a stand-in for the renderer and the real check.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tool/tool_driver.h"

namespace {

// The renderer says what it was told and ends as CODE wants, with a signal if that is a name.
class RenderScripts : public testing::Test {
 protected:
  RenderScripts() {
    EXPECT_NE(mkdtemp(folder.data()), nullptr);
    std::string const renderer = folder + "/renderapp";
    std::ofstream(renderer) << "#!/bin/sh\necho \"args: $*\"\n[ -z \"$SAY\" ] || echo \"$SAY\"\n"
                               "case $CODE in [A-Z]*) kill -$CODE $$ ;; *) exit $CODE ;; esac\n";
    std::filesystem::permissions(renderer, std::filesystem::perms::owner_all);
    setenv("RENDERAPP", renderer.c_str(), 1);
    setenv("QZ_CHECK", QZ_TOOL_PATH, 1);
    unsetenv("SAY");
    driver::enterOwnIpcNamespace();
  }
  ~RenderScripts() override { std::filesystem::remove_all(folder); }

  static driver::tool_run run(std::string const& script, driver::arguments const& args) {
    return driver::finish(driver::startProgram((QZ_SCRIPTS "/" + script).c_str(), args));
  }

  std::string folder = testing::TempDir() + "quazen_scripts_XXXXXX";
};

bool holds(std::string const& output, std::string const& words) {
  return output.find(words) != std::string::npos;
}

std::string returned(int code) { return "Executable returned " + std::to_string(code) + " (0x"; }

TEST_F(RenderScripts, PassTheCodeOn) {
  for (auto const* script : {"render.sh", "render_pipe.bash", "render.py", "no_licence.sh"})
    for (auto const& [code, status] : {std::pair("0", 0), {"5", 5}, {"KILL", 137}}) {
      SCOPED_TRACE(std::string(script) + " " + code);
      setenv("CODE", code, 1);
      auto const result = run(script, {"1", "3", "7", "a scene"});
      EXPECT_EQ(WEXITSTATUS(result.status), status);
      EXPECT_TRUE(holds(result.output, "args: -frame 7 a scene")) << result.output;
      EXPECT_TRUE(holds(result.output, returned(status))) << result.output;
      EXPECT_TRUE(holds(result.output, "for frame 7 (jobthread 3)")) << result.output;
      // A process named by an "ignore=" would not be found, and a missing argument says so.
      auto const missing = run(script, {"1", "3", "7"});
      EXPECT_NE(missing.status, 0);
      EXPECT_FALSE(holds(missing.output, "Executable returned")) << missing.output;
    }
}

TEST_F(RenderScripts, OutliveALogThatNobodyReads) {
  setenv("CODE", "5", 1);
  for (auto const* script : {"render.sh", "render_pipe.bash", "render.py", "no_licence.sh"}) {
    SCOPED_TRACE(script);
    auto const running = driver::startProgram((QZ_SCRIPTS "/" + std::string(script)).c_str(),
                                              {"1", "3", "7", "scene"}, [] { usleep(100 * 1000); });
    close(running.output);
    int status = 0;
    waitpid(running.pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 0) << status;
  }
}

TEST_F(RenderScripts, ForgiveAMissingLicence) {
  setenv("CODE", "1", 1);
  setenv("SAY", "ERROR: No license found", 1);
  auto const result = run("no_licence.sh", {"1", "3", "7", "scene"});
  EXPECT_EQ(WEXITSTATUS(result.status), 211);
  EXPECT_TRUE(holds(result.output, returned(211))) << result.output;
  EXPECT_TRUE(holds(result.output, "Executable finished")) << result.output;
}

TEST_F(RenderScripts, TheUnitFileNamesAScriptThatKnowsSignals) {
  std::ifstream unit(QZ_SCRIPTS "/render@.service");
  std::string stopPost;
  for (std::string line; std::getline(unit, line);)
    if (line.starts_with("ExecStopPost=")) stopPost = line.substr(line.find('=') + 1);
  std::string const script =
      std::filesystem::path(stopPost.substr(0, stopPost.find(' '))).filename();
  for (auto const& [status, code] : {std::pair("KILL", 137), {"5", 5}, {"0", 0}}) {
    SCOPED_TRACE(status);
    setenv("EXIT_STATUS", status, 1);
    auto const result = run(script, {"7"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(holds(result.output, returned(code))) << result.output;
  }
  if (system("command -v systemd-analyze >/dev/null") != 0) return;
  // It also complains of programs that this machine doesn't have; syntax is what counts.
  EXPECT_NE(system("systemd-analyze verify '" QZ_SCRIPTS "/render@.service' 2>&1 |"
                   " grep -E 'Unknown|Failed to parse|Invalid|Missing'"),
            0);
}

}  // namespace
