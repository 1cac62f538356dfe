#include "process/proc_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

using qz::detail::stat_line;

std::string nameOf(stat_line const& line) { return {line.name, line.nameSize}; }

// Parses a copy that ends where the text ends, so that the address sanitizer sees a step too far.
template <class Result>
bool parsed(bool (*parse)(char const*, std::size_t, Result*), std::string const& text,
            Result* result) {
  auto const copy = std::make_unique<char[]>(text.size());
  std::memcpy(copy.get(), text.data(), text.size());
  bool const good = parse(copy.get(), text.size(), result);
  if constexpr (std::is_same_v<Result, stat_line>)
    if (good) result->name = text.data() + (result->name - copy.get());
  return good;
}

std::string statText(std::string const& name) {
  return "4711 (" + name + ") S 815 4711 4711 34816 -1 4194560 1 2 3 4 56 78 9 10 -20 -5 13 0 8\n";
}

TEST(StatLine, ReadsItsFields) {
  std::string const text =
      "4294967295 (kworker/0:0H-events_highpri) I 2 0 0 0 -1 69238880 0 0 0 0 "
      "18446744073709551615 42 0 0 0 -20 4294967295 0 13 0\n";
  stat_line line;
  ASSERT_TRUE(parsed(qz::detail::parseStatLine, text, &line));
  EXPECT_EQ(nameOf(line), "kworker/0:0H-events_highpri");
  EXPECT_EQ(line.state, 'I');
  EXPECT_EQ(line.parentPid, 2u);
  EXPECT_EQ(line.flags, 69238880u);
  EXPECT_EQ(line.userTicks, 18446744073709551615u);
  EXPECT_EQ(line.systemTicks, 42u);
  EXPECT_EQ(line.threads, 4294967295u);
}

TEST(StatLine, TakesAnyNameUpToTheLastBracket) {
  for (std::string const name :
       {"", " ", ")", "(", "))", "a) R 1 1 1 (b", ") S 1 ", "two words", "line\nfeed\n",
        "\x80\xFF)\t", "(sd-pam)",
        "a name longer than any that the kernel keeps for a program of ours (64)"}) {
    SCOPED_TRACE(name);
    std::string const text = statText(name);
    stat_line line;
    ASSERT_TRUE(parsed(qz::detail::parseStatLine, text, &line));
    EXPECT_EQ(nameOf(line), name);
    EXPECT_EQ(line.state, 'S');
    EXPECT_EQ(line.parentPid, 815u);
    EXPECT_EQ(line.flags, 4194560u);
    EXPECT_EQ(line.userTicks, 56u);
    EXPECT_EQ(line.systemTicks, 78u);
    EXPECT_EQ(line.threads, 13u);
  }
}

TEST(StatLine, CutAnywhereIsRefusedOrWhole) {
  std::string const text = statText("a) b");
  std::size_t const enough = text.find(" 13 ") + std::strlen(" 13 ");
  for (std::size_t size = 0; size <= text.size(); ++size) {
    SCOPED_TRACE(size);
    stat_line line;
    ASSERT_EQ(parsed(qz::detail::parseStatLine, text.substr(0, size), &line), size >= enough);
    if (size >= enough) {
      EXPECT_EQ(line.threads, 13u);
    }
  }
}

TEST(StatLine, RefusesWhatIsNone) {
  std::string const good = "1 (a) S 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21\n";
  stat_line any;
  ASSERT_TRUE(parsed(qz::detail::parseStatLine, good, &any));
  struct {
    char const* part;
    char const* instead;
  } const rows[] = {
      {"(", ""},      {")", ""},        {"(a)", ")("},     {") S", ")S"},     {" S ", " SS "},
      {"S 4", "S "},  {" 4 ", " -4 "},  {" 4 ", " x4 "},   {" 4 ", " 4x "},   {" 9 ", " +9 "},
      {" 14 ", "  "}, {" 15 ", " -1 "}, {" 20 ", " -20 "}, {" 20 ", " 20\n"},
  };
  for (auto const& row : rows) {
    std::string text = good;
    text.replace(text.find(row.part), std::strlen(row.part), row.instead);
    SCOPED_TRACE(text);
    stat_line line;
    EXPECT_FALSE(parsed(qz::detail::parseStatLine, text, &line));
  }
}

TEST(ResidentPages, AreTheSecondNumber) {
  struct {
    char const* text;
    bool good;
    std::uint64_t pages;
  } const rows[] = {
      {"3133440 414 300 10 0 500 0\n", true, 414},
      {"0 0 0 0 0 0 0\n", true, 0},
      {"1 99999999999 ", true, 99999999999},
      {"3133440 414", false, 0},
      {"3133440 4x14 ", false, 0},
      {"3133440", false, 0},
      {" ", false, 0},
      {"", false, 0},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.text);
    std::uint64_t pages = 0;
    EXPECT_EQ(parsed(qz::detail::parseResidentPages, row.text, &pages), row.good);
    EXPECT_EQ(pages, row.pages);
  }
}

TEST(DirectoryNames, AreIdsIfAllDigits) {
  std::uint32_t id = 0;
  EXPECT_TRUE(qz::detail::parseId("4194304", &id));
  EXPECT_EQ(id, 4194304u);
  for (char const* name : {"", ".", "..", "self", "12a", "-1", " 1", "1 ", "thread-self"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(qz::detail::parseId(name, &id));
  }
}

}  // namespace
