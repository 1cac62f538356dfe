// The list of 16-bit text.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <initializer_list>
#include <string>

#include "strings/string_list.h"

// Lets the sanitizer's allocator fail as the system's does.
extern "C" char const* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using S500 = _qzString<500>;

struct filled_list : _qzStringList {
  filled_list(std::initializer_list<S500> texts) {
    for (auto const& text : texts) append(text, false, false);
  }
};

std::string shown(_qzStringList const& list) { return list.asString8().asChar(); }

TEST(StringList, EditsKeepTheOrder) {
  struct {
    void (*edit)(_qzStringList&);
    char const* result;
  } const rows[] = {
      {[](auto& list) { list.insert(0, "x"); }, "'x' 'a' 'b' "},
      {[](auto& list) { list.insert(1, "x"); }, "'a' 'x' 'b' "},
      {[](auto& list) { list.insert(99, "x"), list.insert(-1, "y"); }, "'a' 'b' 'x' "},
      {[](auto& list) { list.removeAt(2), list.removeAt(-1); }, "'a' 'b' "},
      {[](auto& list) { list.removeAt(0), list.append("c", true, true); }, "'b' 'c' "},
      {[](auto& list) { list.append("A", true, false); }, "'a' 'b' "},
      {[](auto& list) { list.append("A", true, true); }, "'a' 'b' 'A' "},
      {[](auto& list) { list.insert(0, *list.at(1)); }, "'b' 'a' 'b' "},
      {[](auto& list) {
         list.init(), list.append({"d\0e", 3}, true, true);
       },
       "'d' "},
  };
  for (auto const& row : rows) {
    filled_list list = {"a", "b"};
    row.edit(list);
    EXPECT_EQ(shown(list), row.result) << "row " << &row - rows;
  }
  filled_list list = {"a", "b"};
  for (int i = 2; i < 500; ++i) list.append(*list.at(i - 1), false, false);  // the block moves
  EXPECT_EQ(*list.at(499), "b");
}

TEST(StringList, FindsTheFirst) {
  filled_list const list = {"abc", "B", "", "b"};
  EXPECT_EQ(list.find("ABC", false), 0);
  EXPECT_EQ(list.find("ABC", true), -1);
  EXPECT_EQ(list.find("b", false), 1);
  EXPECT_EQ(list.find("", false), 2);
  EXPECT_EQ(list.findContains("B", false), 0);
  EXPECT_EQ(list.findContains("B", true), 1);
  EXPECT_EQ(list.findContains("", false), -1);
  EXPECT_EQ(list.at(3), list.items + 3);
  EXPECT_EQ(list.at(4), list.items);  // Required: element 0
  EXPECT_STREQ(list.atAsChar(-1), "abc");
  EXPECT_EQ(_qzStringList().find("", true), -1);
  EXPECT_EQ(_qzStringList().at(0), nullptr);
}

TEST(StringList, SortsWithoutCaseAndStably) {
  filled_list list = {"b", "A", "c", "ab", "a", "B"};
  list.sort(false);
  EXPECT_EQ(shown(list), "'A' 'a' 'ab' 'b' 'B' 'c' ");
  list.sort(true);
  EXPECT_EQ(shown(list), "'c' 'b' 'B' 'ab' 'A' 'a' ");
}

TEST(StringList, NarrowedTextIsCut) {
  S500 const text = std::string(200, 'x').c_str();
  filled_list list = {text, text, text, text, text, text};
  std::string const quoted = "'" + std::string(200, 'x') + "' ";
  EXPECT_EQ(shown(list), (quoted + quoted + quoted + quoted + quoted).substr(0, 1000));
  *list.at(0) = std::string(500, 'y');
  EXPECT_EQ(list.atAsChar(0), std::string(499, 'y'));
  list.at(0)->length = 600;
  EXPECT_EQ(list.atAsChar(0), std::string(499, 'y'));
}

TEST(StringList, OnlyCopyFromCarriesReservedWords) {
  S500 marked("a");
  marked.reserved = 7;
  filled_list list = {marked}, copy = {"x", "y"};
  EXPECT_EQ(list.at(0)->reserved, 0);
  list.at(0)->reserved = 8;
  copy.copyFrom(list);
  copy.copyFrom(copy);
  *list.at(0) = "b";
  EXPECT_EQ(shown(copy), "'a' ");
  EXPECT_EQ(copy.at(0)->reserved, 8);
}

TEST(StringList, TheEndKeepsTheCountAndNoBlock) {
  alignas(_qzStringList) unsigned char storage[sizeof(_qzStringList)];
  (new (storage) filled_list{"a"})->~filled_list();
  EXPECT_EQ(std::memcmp(storage, "\0\0\0\0\0\0\0\0\1\0\0", 12), 0);
}

// Appends until the memory that is left to this process is used up.
bool losesAllWithoutMemory() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  rlimit const limit = {pages * 4096 + (4 << 20), RLIM_INFINITY};
  filled_list list = {"a"};
  if (setrlimit(RLIMIT_AS, &limit) != 0) return false;
  int most = 0;
  for (; list.count > most && most < 100000; list.append("a", false, false)) most = list.count;
  return most > 10 && list.count == 0 && list.items == nullptr;
}

TEST(StringListDeathTest, LosesAllWithoutMemory) {  // Required
  EXPECT_EXIT(_exit(losesAllWithoutMemory() ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
