#include "data/byte_search.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "data/data_buffer.h"

static int place(std::size_t i) { return static_cast<int>(i); }  // npos as -1
static std::size_t below(std::size_t limit) { return static_cast<unsigned>(std::rand()) % limit; }
static qz::detail::search_text textOf(std::string const& s) { return {s.data(), place(s.size())}; }
static std::string uppered(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}
static std::string make(std::size_t count) {  // mostly of a small alphabet, or with a period
  std::string text(count, 0), every(256, 0);
  for (char next = 0; char& c : every) c = next++;
  std::string const alphabets[] = {"a", "aB", "aaaaab", "abAB", {"\0a\xff", 3}, "az[{@`", every};
  std::string const& alphabet = alphabets[below(7)];
  std::size_t const period = below(2) == 0 ? count : 1 + below(7);
  for (std::size_t i = 0; i < count; ++i)
    text[i] = i < period ? alphabet[below(alphabet.size())] : text[i - period];
  return text;
}

TEST(ByteSearch, TablesAreThoseByTrial) {  // Required
  for (int round = 0; round < 1000; ++round) {
    auto const folded = round % 2 == 0 ? uppered : [](std::string text) { return text; };
    std::string const made = make(1 + below(round % 50 == 0 ? 250 : 24)), text = folded(made);
    auto lower = textOf(made);
    if (round % 2 == 0) lower.makeLower();
    auto const tables = qz::detail::makeSearchTables(textOf(text), lower);
    std::size_t const n = text.size();
    for (std::size_t matches = 0; matches <= n; ++matches) {
      std::size_t shift = 0, inside = 0;
      do inside = std::min(matches, n - ++shift);
      while (text.compare(n - shift - inside, inside, text, n - inside, inside) != 0);
      ASSERT_EQ(tables.goodSuffix[matches], place(shift)) << matches << " of " << text;
    }
    for (int byte = 0; byte < 256; ++byte)
      ASSERT_EQ(tables.badCharacter[byte],
                place(n - 1 - text.rfind(folded(std::string(1, static_cast<char>(byte))))));
  }
}

TEST(ByteSearch, FindsWhatAPlainSearchFinds) {
  for (int round = 0; round < 40000; ++round) {
    bool const much = round % 101 == 0, more = much || round % 10 == 0;
    std::string data = make(below(much ? 40000 : more ? 700 : 150));
    std::string text = make(1 + below(more ? 250 : 12));
    if (data.size() >= text.size() && round % 3 != 0) {  // put it there, or nearly, or at the end
      auto const end = data.size() - text.size(), at = round % 7 == 0 ? end : below(end + 1);
      data.replace(at, text.size(), text);
      if (round % 5 == 0) data[at + below(text.size())] ^= 0x20;
    }
    std::vector<char> const held(data.begin(), data.end());  // the sanitizer sees a read beside it
    int const exact = qz::detail::findBytes(held.data(), place(held.size()), textOf(text)),
              folded = qz::detail::findBytesIgnCase(held.data(), place(held.size()), textOf(text));
    ASSERT_EQ(exact, place(data.find(text))) << text << " in " << data;
    ASSERT_EQ(folded, place(uppered(data).find(uppered(text)))) << text << " in " << data;
  }
}

TEST(ByteSearch, FindsALongTextAtEveryPlace) {  // however far the jumps in front of it lead
  std::string plain(20000, 0), text(50, 0);
  for (char& c : plain) c = static_cast<char>(below(256));
  for (char& c : text) c = static_cast<char>('A' + below(26));
  for (std::size_t at = 0; at < 100; ++at) {
    std::string data = plain;
    data.replace(at, text.size(), text);
    EXPECT_EQ(qz::detail::findBytes(data.data(), place(data.size()), textOf(text)), place(at));
    data[at] = static_cast<char>(data[at] | 0x20);
    EXPECT_EQ(qz::detail::findBytesIgnCase(data.data(), place(data.size()), textOf(text)),
              place(at));
  }
}

TEST(ByteSearch, TheBufferCountsFromItsStart) {
  _QZ_DataBuffer buffer;
  buffer.dataSize = 5;  // without a block
  EXPECT_EQ(buffer.indexOf("a", 0), -1);
  ASSERT_TRUE(buffer.copyFromBuffer("aBc\0aBcABC!", 11));
  buffer.dataSize = 10;
  std::tuple<std::string, int, int, int> const rows[] = {
      {"aBc", -7, 0, 0}, {"aBc", 1, 4, 4},          {"abc", 5, -1, 7}, {"C", 9, 9, 9},
      {"C", 10, -1, -1}, {"C", 2147483647, -1, -1}, {"", 0, -1, -1},   {"C!", 0, -1, -1}};
  for (auto const& [text, start, exact, folded] : rows) {
    EXPECT_EQ(buffer.indexOf(textOf(text), start), exact) << text;
    EXPECT_EQ(buffer.indexOfIgnCase(textOf(text), start), folded) << text;
  }
}
