// The tool on a node without a client: every report it can write, compared whole.
#include <gtest/gtest.h>

#include "tool/tool_driver.h"

namespace {

using driver::framed;
using driver::report;

constexpr char kChecks[] = "Quazen checks the return code of the executable or the OS";

std::string rejected(std::string const& text) {
  return report(true, framed(true, text) + framed(true, ""));
}

// The end of every report here: there is no block to leave a message in.
std::string notPosted() {
  return framed(true, "Unable to attach shared memory!  Shared Memory does not exist.") +
         framed(true, " 8.3.05") + framed(true, "");
}

std::string failed(std::string const& returned, std::string const& words) {
  return report(true, framed(true, kChecks) + framed(true, returned) + words + notPosted());
}

std::string finished(std::string const& returned, std::string const& forgiven = "") {
  return report(false, framed(false, kChecks) + framed(false, returned) +
                           (forgiven.empty() ? "" : framed(true, forgiven)) +
                           framed(false, "Executable finished") + notPosted());
}

std::string returned(std::string const& code, std::string const& thread = "3") {
  return "Executable returned " + code + " as exit code for frame 7 (jobthread " + thread + ").";
}

std::string const kCrashed = framed(true, "=> Executable crashed");
std::string const kReturnedError = framed(true, "=> Executable returned with an error code");
std::string const kMissingReturned =
    "Executable returned -30000 (0xffff8ad0) as exit code (jobthread 0).";
std::string const kMissingWords = framed(true, "Error COULD be:   Error -30000.") + kCrashed;
std::string const kNoInstance = rejected("No render instance as parameter 2!");

struct row {
  driver::arguments args;
  std::string output;
};

// All rows run at once: each run sleeps most of its time.
void expectOutputs(std::vector<row> const& rows) {
  driver::enterOwnIpcNamespace();
  std::vector<driver::running_tool> tools;
  for (auto const& row : rows) tools.push_back(driver::startTool(row.args));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(testing::PrintToString(rows[i].args));
    auto const run = driver::finish(tools[i]);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, rows[i].output);
  }
}

TEST(ToolReport, SaysNothingWithoutArguments) {
  driver::enterOwnIpcNamespace();
  auto const run = driver::runTool({});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "");
  EXPECT_GE(run.seconds, 0.7);
}

TEST(ToolReport, ClassifiesExitCodes) {
  std::string const hint = "Error COULD be:   ";
  expectOutputs({
      {{"0", "1", "3", "7"}, finished(returned("0 (0x0)"))},
      {{"1", "1", "3", "7"}, failed(returned("1 (0x1)"), kReturnedError)},
      {{"11", "1", "3", "7"}, failed(returned("11 (0xb)"), kReturnedError)},
      {{"-11", "1", "3", "7"}, failed(returned("-11 (0xfffffff5)"), kReturnedError)},
      {{"12", "1", "3", "7"},
       failed(returned("12 (0xc)"),
              framed(true, hint + "Cannot allocate memory") + kReturnedError)},
      {{"-12", "1", "3", "7"},
       failed(returned("-12 (0xfffffff4)"), framed(true, hint + "Error -12.") + kReturnedError)},
      {{"149", "1", "3", "7"},
       failed(returned("149 (0x95)"), framed(true, hint + "Error 149.") + kReturnedError)},
      {{"150", "1", "3", "7"},
       failed(returned("150 (0x96)"), framed(true, hint + "Error 150.") + kCrashed)},
      {{"-150", "1", "3", "7"},
       failed(returned("-150 (0xffffff6a)"), framed(true, hint + "Error -150.") + kCrashed)},
      {{"-1073741515", "1", "3", "7"},
       failed(
           returned("-1073741515 (0xc0000135)"),
           framed(true, "Error: Unable to locate a component. (probably a .dll file)") + kCrashed)},
      {{"-1073741819", "1", "3", "7"},
       failed(returned("-1073741819 (0xc0000005)"),
              framed(true,
                     "Error: Application or plugin contains a bug. (Crash was caused by a "
                     "NULL pointer memory access).") +
                  kCrashed)},
  });
}

TEST(ToolReport, ReadsThePositionalArguments) {
  std::string const huge(100000, '7');
  expectOutputs({
      {{"-QZROOT", "value"},
       rejected("No exit code as parameter 1") + kNoInstance +
           failed(kMissingReturned, kMissingWords)},
      {{"-qzroot", "1", "0", "1", "3", "7"}, finished(returned("0 (0x0)"))},
      {{"-qzRoot"},
       rejected("No exit code as parameter 1") + kNoInstance +
           failed(kMissingReturned, kMissingWords)},
      {{"0"}, kNoInstance + finished("Executable returned 0 (0x0) as exit code (jobthread 0).")},
      {{"", "1", "3", "7"}, finished(returned("0 (0x0)"))},
      {{"-", "-", "-", "7"}, finished(returned("0 (0x0)", "0"))},
      {{"12a", "x"},
       rejected("'  12a  ' is not a valid exit code!") +
           rejected("'  x  ' is not a valid render instance!") +
           failed(kMissingReturned, kMissingWords)},
      {{"+5", "1", "1-2"},
       rejected("'  +5  ' is not a valid exit code!") +
           rejected("'  1-2  ' is not a valid threadID!")},
      {{"\xB2", "1", "3", "7.5"},
       rejected("'  \xB2  ' is not a valid exit code!") +
           rejected("'  7.5  ' is not a valid frame number!")},
      {{"0", "1", "1000", "7"}, finished(returned("0 (0x0)", "1000"))},
      {{"0", "1", "3", "-30000"},
       finished("Executable returned 0 (0x0) as exit code (jobthread 3).")},
      {{"0", "1", "3", "4294967303"}, finished(returned("0 (0x0)"))},
      {{huge, huge, huge, "7", huge}, failed(returned("-1 (0xffffffff)", "-1"), kReturnedError)},
  });
}

TEST(ToolReport, ForgivesIgnoredCodes) {
  driver::arguments many = {"16", "1", "3", "7", "none"};
  for (int i = 1; i <= 16; ++i) many.push_back("ignore=" + std::to_string(i));
  driver::arguments manyAndWrong = many;
  manyAndWrong.push_back("ignore=x");
  std::string const sixteen =
      failed(returned("16 (0x10)"),
             framed(true, "Error COULD be:   Device or resource busy") + kReturnedError);
  expectOutputs({
      {{"5", "1", "3", "7", "none", "ignore=5"}, finished(returned("5 (0x5)"), "5")},
      {{"-5", "1", "3", "7", "none", "IGNORE=4", "Ignore=-5"},
       finished(returned("-5 (0xfffffffb)"), "-5")},
      {{"7", "1", "3", "7", "ignore=ignore=7"}, finished(returned("7 (0x7)"), "7")},
      {{"7", "1", "3", "7", "none", "ignore=7ignore="}, finished(returned("7 (0x7)"), "7")},
      {{"0", "1", "3", "7", "none", "ignore=0"}, finished(returned("0 (0x0)"))},
      {{"5", "1", "3", "7", "none", "ignore=", "ignore=4"},
       failed(returned("5 (0x5)"), kReturnedError)},
      {{"5", "1", "3", "7", "none", "ignore=5a"},
       rejected("'  5a  ' is not a valid ignore number!")},
      {many, sixteen},
      {manyAndWrong, rejected("'  x  ' is not a valid ignore number!")},
      {driver::arguments(3000, "1"), failed("Executable returned 1 (0x1) as exit code for frame 1 "
                                            "(jobthread 1).",
                                            kReturnedError)},
  });
}

// A text that passes the width has no fill, and one that passes 250 characters loses its end.
TEST(ToolReport, CutsLongLines) {
  std::string const tail = "  ' is not a valid threadID!";
  auto const lineOf = [&](std::string const& arg) { return "++  '  " + arg + tail + "    "; };
  std::string const closing = framed(true, "");
  std::string const fits(63, 'x');
  std::string const full(300, 'x');
  expectOutputs({
      {{"0", "1", fits}, report(true, lineOf(fits) + "\n" + closing)},
      {{"0", "1", fits + "x"}, report(true, lineOf(fits + "x") + "\n" + closing)},
      {{"0", "1", full}, report(true, "++  '  " + std::string(243, 'x') + closing)},
  });
}

}  // namespace
