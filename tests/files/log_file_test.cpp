#include "files/log_file.h"

#include "files/scene.h"

namespace {

using LogFile = files_scene;

TEST_F(LogFile, TakesOneLineAtATime) {
  _qzString8_allSize<250> const log = at("log").c_str(), nowhere = at("no/log").c_str();
  EXPECT_TRUE(writeToLogFile(log, "one", false, false) && writeToLogFile(log, "two", false, false));
  EXPECT_EQ(textOf(at("log")), "one\ntwo\n");
  EXPECT_TRUE(writeToLogFile(log, _qzString8_allSize<5000>("a\0b", 3), true, false));
  EXPECT_EQ(textOf(at("log")), "a");  // Required: no line feed behind a zero byte
  std::string const full(5000, 'x');
  EXPECT_TRUE(writeToLogFile(log, full.c_str(), true, false) && textOf(at("log")) == full);
  EXPECT_TRUE(writeToLogFile(log, full.c_str(), true, true) && textOf(at("log")).size() == 5000);
  EXPECT_EQ(textOf(at("log")).find(": xx"), 15u);
  EXPECT_TRUE(!writeToLogFile(nowhere, "x", true, true) && errno == ENOENT && !isThere(at("no")));
  EXPECT_TRUE(writeToLogFile("/dev/full", "x", false, false));  // a failing write goes unseen
  EXPECT_STREQ(qzGetTempDir().asChar(), "/tmp/");
}

}  // namespace
