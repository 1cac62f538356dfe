#include "companion/exit_codes.h"

#include <gtest/gtest.h>

namespace {

using qz::companion::parseExitCode;
using qz::companion::readingsOf;

TEST(ExitCodes, ReadsBothDecimalFormsAndHexadecimal) {
  int const accessViolation = static_cast<int>(0xC0000005);
  for (auto const* text : {"3221225477", "-1073741819", "0xC0000005", "0xc0000005"})
    EXPECT_EQ(parseExitCode(text), accessViolation) << text;
  EXPECT_EQ(parseExitCode("4294967295"), -1);
  EXPECT_EQ(parseExitCode("-2147483648"), std::numeric_limits<int>::min());
  for (auto const* text : {"", "-", "+5", "0x", "0x-1", "12a", " 1", "4294967296", "-2147483649",
                           "0x100000000", "99999999999999999999"})
    EXPECT_EQ(parseExitCode(text), std::nullopt) << text;
}

TEST(ExitCodes, NamesEveryReadingOfANumber) {
  struct row {
    int code;
    char const* source;
    char const* name;
  } const rows[] = {
      {137, "shell", "SIGKILL"},
      {139, "shell", "SIGSEGV"},
      {139, "raw wait status", "SIGSEGV"},
      {127, "shell", ""},
      {-9, "Python's subprocess", "SIGKILL"},
      {64, "sysexits", "EX_USAGE"},
      {256, "raw wait status", ""},
      {static_cast<int>(0xC0000135), "Windows", "STATUS_DLL_NOT_FOUND"},
      {static_cast<int>(0xE06D7363), "Windows", "C++ exception"},
  };
  for (auto const& [code, source, name] : rows) {
    SCOPED_TRACE(code);
    bool found = false;
    for (auto const& one : readingsOf(code)) found |= one.source == source && one.name == name;
    EXPECT_TRUE(found);
  }
  // A killed process leaves no core file, so 137 is no raw status; 129 to 192 are signals, no more.
  EXPECT_EQ(readingsOf(137).size(), 1U);
  EXPECT_TRUE(readingsOf(193).empty());
  EXPECT_TRUE(readingsOf(std::numeric_limits<int>::min()).empty());  // which can't be negated
}

}  // namespace
