#include "process/proc_text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

// Memory that ends where the text ends, so that the address sanitizer sees a step too far.
std::vector<char> exactly(std::string const& text) { return {text.begin(), text.end()}; }

std::string const kStat =
    "4711 (a) S 4294967295 5 6 7 8 69238880 10 11 12 13 18446744073709551615 15 16 17 18 -19 20 21";

TEST(ProcessText, StatLineIsReadWholeOrRefused) {
  // Whatever stands in place of the name is read as the name, all else makes the line no good.
  std::pair<std::string, char const*> const rows[] = {
      {"a", "a"},
      {"a", ""},
      {"a", ")"},
      {"a", "("},
      {"a", "a) R 1 (b"},
      {"a", "\n"},
      {"a", "\x80\xFF)\t"},
      {"a", "kworker/0:0H-events"},
      {"(", ""},
      {")", ""},
      {"(a)", ")("},
      {") S", ")S"},
      {" S ", " SS "},
      {"S 4", "S -4"},
      {"S 4", "S  4"},
      {"8 6", "8 x6"},
      {"5 15", "5 15x"},
      {" 20 ", " -20 "},
      {" 20 ", " 20\n"},
      {" 20 ", " 4294967316 "},
      {"09551615", "09551616"},  // one more than 64 bits hold
  };
  for (auto const& [part, instead] : rows) {
    auto const memory = exactly(std::string(kStat).replace(kStat.find(part), part.size(), instead));
    SCOPED_TRACE(std::string(memory.begin(), memory.end()));
    qz::detail::stat_line line;
    ASSERT_EQ(parseStatLine(memory.data(), memory.size(), &line), part == "a");
    if (part != "a") continue;
    EXPECT_EQ(std::string(line.name, line.nameSize), instead);
    EXPECT_EQ(std::tuple(line.state, line.parentPid, line.flags, line.threads),
              std::tuple('S', ~0u, 69238880u, 20u));
    EXPECT_EQ(std::tuple(line.userTicks, line.systemTicks), std::tuple(~0ul, 15u));
  }
}

TEST(ProcessText, CutAtEveryLengthIsRefusedOrWhole) {
  for (std::size_t size = 0; size <= kStat.size(); ++size) {
    SCOPED_TRACE(size);
    auto const memory = exactly(kStat.substr(0, size));
    qz::detail::stat_line line;
    EXPECT_EQ(parseStatLine(memory.data(), size, &line), size >= kStat.find("21"));
    std::uint64_t pages = 4;
    auto const statm = exactly(std::string("3133440 414 300").substr(0, size));
    EXPECT_EQ(qz::detail::parseResidentPages(statm.data(), statm.size(), &pages), size >= 12);
    EXPECT_EQ(pages, size >= 12 ? 414u : 4u);
    EXPECT_EQ(qz::detail::parseRunTime(statm.data(), statm.size(), &pages), size >= 8);
    EXPECT_EQ(pages, size >= 8 ? 3133440u : 4u);
  }
}

TEST(ProcessText, IdsAreAllDigits) {
  std::uint32_t id = 0;
  for (auto const* name : {"", "..", "self", "12a", "-1", " 1", "1 ", "4294967297", "4194304"})
    EXPECT_EQ(qz::detail::parseId(name, &id), std::string(name) == "4194304") << name;
  EXPECT_EQ(id, 4194304u);
}

}  // namespace
