// Reports in logs as they are found in the field, cut at every place.
#include "companion/report_reader.h"

#include <gtest/gtest.h>

#include "tool/tool_driver.h"

namespace {

using driver::framed;
using driver::report;
using qz::companion::found_report;

std::string told(found_report const& one) {
  auto const number = [](std::optional<int> value) { return value ? std::to_string(*value) : "-"; };
  constexpr char const* kPosting[] = {"posted", "not posted", "goes on", "unknown"};
  return std::to_string(one.offset) + " " + (one.isError ? "error " : "good ") + number(one.code) +
         " " + number(one.frame) + " " + number(one.jobThread) +
         (one.wasForgiven ? " forgiven" : "") + (one.hasWaited ? " waited " : " ") +
         kPosting[one.message] + (one.reason.empty() ? "" : ": ") + one.reason + "\n";
}

// What the reader gives for a log that comes in parts of at most `partBytes`.
std::string read(std::string const& log, std::size_t partBytes) {
  std::string all, held;
  qz::companion::report_reader reader([&](found_report const& one) { all += told(one); });
  for (std::size_t at = 0; at < log.size(); at += partBytes) {
    held += log.substr(at, partBytes);
    held.erase(0, reader.feed(held));
  }
  reader.finish(held);
  return all;
}

std::string const kReturned = "Executable returned 5 (0x5) as exit code for frame 7 (jobthread 3).";
std::string const kGood =
    report(false, framed(false, kReturned) + framed(true, "5") +
                      framed(false, "Executable finished") + framed(false, ""));
std::string const kLost = report(
    true, framed(true, "Executable returned -1 (0xffffffff) as exit code (jobthread 0).") +
              framed(true, "=> Executable returned with an error code") +
              framed(true, "Message buffer is full!") + framed(true, " 8.3.05") + framed(true, ""));
std::string const kKilled = report(false, framed(false, kReturned));
std::string const kNoCode =
    report(true, framed(true, "No exit code as parameter 1") + framed(true, ""));
std::string const kWaits =
    "||CheckExitcode|| waiting for executable to close... (cmd pID 1 render pID 2)\n";

TEST(ReportReader, FindsWhatTheCheckWrote) {
  struct row {
    char const* what;
    std::string log, found;
  } const rows[] = {
      {"nothing", "++\n+++\nRender executable\n", ""},
      {"forgiven, behind a wait", "x\n" + kWaits + kGood,
       "183 good 5 7 3 forgiven waited posted\n"},
      {"two in a row", kLost + kGood,
       "103 error -1 - 0 not posted: Message buffer is full!\n824 good 5 7 3 forgiven posted\n"},
      {"one whose tool was killed", kKilled + kGood,
       "103 good 5 7 3 unknown\n412 good 5 7 3 forgiven posted\n"},
      {"the log ends in the middle", kKilled, "103 good 5 7 3 unknown\n"},
      {"a wrong argument", kNoCode + kLost,
       "103 error - - - goes on: No exit code as parameter 1\n"
       "515 error -1 - 0 not posted: Message buffer is full!\n"},
  };
  for (auto const& [what, log, found] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(read(log, log.size()), found);
  }
}

TEST(ReportReader, DoesNotDependOnHowTheLogIsCut) {
  std::string const log = "noise\n" + kWaits + kGood + kKilled + "noise" + kLost + kNoCode + kLost;
  std::string const whole = read(log, log.size());
  EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 5);
  for (std::size_t partBytes = 1; partBytes < log.size(); ++partBytes)
    ASSERT_EQ(read(log, partBytes), whole) << partBytes;
}

TEST(ReportReader, LooksBehindTheWordsOfALoggerAndPastLineEndsOfWindows) {
  std::string log;
  for (char const one : kGood)
    log += one == '\n' ? std::string("\r\n12:00 c++ INFO ") : std::string(1, one);
  EXPECT_EQ(read(log, log.size()), "104 good 5 7 3 forgiven posted\n");
}

}  // namespace
