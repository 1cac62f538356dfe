// What every word of qzframe does with a bad command line, and what its help shows.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tool/tool_driver.h"

namespace {

TEST(FrameCommandLine, RefusesBadInputWithOneSentence) {
  driver::arguments const wrong[] = {
      {},
      {"nonsense"},
      {"run"},
      {"run", "--"},
      {"run", "--frame", "x", "--", "true"},
      {"run", "--deadline", "nan", "--", "true"},
      {"run", "--ignore", "4294967296", "--", "true"},
      {"run", "--process", "ignore=5", "--", "true"},
      {"run", "--process", "QZcheckexitcode", "--", "true"},
      {"run", "true"},
      {"block"},
      {"block", "check", "--warning", "-1"},
      {"explain"},
      {"explain", "12a"},
      {"why", ""},
      {"report", "--bogus"},
  };
  for (auto const& words : wrong) {
    SCOPED_TRACE(testing::PrintToString(words));
    auto const run = driver::finish(driver::startProgram(QZ_FRAME, words));
    EXPECT_EQ(WEXITSTATUS(run.status), 2);
    EXPECT_TRUE(run.output.starts_with("qzframe: ")) << run.output;
    EXPECT_EQ(run.output.find('\n'), run.output.size() - 1) << run.output;
  }
}

TEST(FrameCommandLine, HelpHasAnExample) {
  for (auto const* words :
       {"run", "block", "explain", "why", "report", "block show", "block watch", "block check",
        "block drain", "block unlock", "block hold", "block create"}) {
    SCOPED_TRACE(words);
    FILE* const help = popen(("'" QZ_FRAME "' " + std::string(words) + " --help").c_str(), "r");
    char text[4096];
    std::string const shown(text, fread(text, 1, sizeof text, help));
    EXPECT_EQ(pclose(help), 0);
    EXPECT_NE(shown.find("Example: "), std::string::npos) << shown;
  }
}

TEST(FrameCommandLine, SaysThatTheOutputCanNotBeWritten) {
  EXPECT_EQ(WEXITSTATUS(system("'" QZ_FRAME "' explain 5 2>&1 >/dev/full | grep -q 'No space' && "
                               "exit 7")),
            7);
}

}  // namespace
