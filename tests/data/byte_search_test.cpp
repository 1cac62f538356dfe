// The search for bytes: its tables, and what it finds beside a plain search.
#include "data/byte_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <random>
#include <string>

#include "data/data_buffer.h"

namespace {

using qz::detail::search_text;

std::string uppered(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

// The suffix table by trial.
int suffixEntry(std::string const& text, int matches) {
  int const n = static_cast<int>(text.size());
  if (matches == 0) return 1;
  for (int c = n; c >= 2; --c) {
    int same = 0;
    while (same < matches && (c - 2 - same < 0 || text[static_cast<std::size_t>(n - 1 - same)] ==
                                                      text[static_cast<std::size_t>(c - 2 - same)]))
      ++same;
    if (same == matches) return n - c + 1;
  }
  return n;
}

// Data and texts of every kind that is hard for a search.
struct random_bytes {
  std::mt19937 numbers{20};
  unsigned below(unsigned limit) { return static_cast<unsigned>(numbers() % limit); }

  std::string make(std::size_t count) {
    std::string const alphabets[] = {"a", "ab", "aB", "abAB", std::string("\0a\xff", 3), "az[{@`"};
    std::string text(count, 0);
    unsigned const kind = below(9), period = 1 + below(7);
    for (std::size_t i = 0; i < count; ++i) {
      if (kind < 6) text[i] = alphabets[kind][below(static_cast<unsigned>(alphabets[kind].size()))];
      if (kind == 6) text[i] = static_cast<char>(below(256));
      if (kind == 7) text[i] = static_cast<char>('a' + i % period);
      if (kind == 8) text[i] = below(20) == 0 ? 'b' : 'a';
    }
    return text;
  }
};

TEST(ByteSearch, TablesAreThoseByTrial) {  // Required
  random_bytes bytes;
  for (int round = 0; round < 600; ++round) {
    std::string const text = bytes.make(1 + bytes.below(round % 50 == 0 ? 250 : 24));
    SCOPED_TRACE(testing::PrintToString(text));
    int const count = static_cast<int>(text.size());
    for (bool const folded : {false, true}) {
      search_text upper(text.data(), count), lower = upper;
      if (folded) upper.makeUpper(), lower.makeLower();
      auto const tables = qz::detail::makeSearchTables(upper, lower);
      std::string const compared = folded ? uppered(text) : text;
      for (int matches = 0; matches <= count; ++matches)
        ASSERT_EQ(tables.goodSuffix[matches], suffixEntry(compared, matches)) << matches;
      for (int byte = 0; byte < 256; ++byte) {
        std::string const wanted(1, static_cast<char>(byte));
        auto const last = folded ? uppered(text).rfind(uppered(wanted)) : text.rfind(wanted);
        ASSERT_EQ(tables.badCharacter[byte],
                  last == std::string::npos ? count : count - 1 - static_cast<int>(last));
      }
    }
  }
}

TEST(ByteSearch, FindsWhatAPlainSearchFinds) {
  random_bytes bytes;
  for (int round = 0; round < 20000; ++round) {
    std::string data = bytes.make(bytes.below(round % 10 == 0 ? 700 : 150));
    std::string text = bytes.make(1 + bytes.below(round % 10 == 0 ? 250 : 12));
    if (data.size() > text.size() && bytes.below(3) != 0) {  // a place where it stands, or nearly
      auto const at = bytes.below(static_cast<unsigned>(data.size() - text.size() + 1));
      if (bytes.below(2) != 0) text = data.substr(at, text.size());
      data.replace(at, text.size(), text);
      if (bytes.below(4) == 0) data[at + bytes.below(static_cast<unsigned>(text.size()))] ^= 0x20;
    }
    // In memory of its own size, so that the sanitizer sees a read beside it.
    std::unique_ptr<char[]> const held(new char[data.size()]);
    std::copy(data.begin(), data.end(), held.get());
    search_text const wanted(text.data(), static_cast<int>(text.size()));
    auto const plain = [](auto const& in, auto const& what) {
      auto const at = in.find(what);
      return at == std::string::npos ? -1 : static_cast<int>(at);
    };
    int const count = static_cast<int>(data.size());
    ASSERT_EQ(qz::detail::findBytes(held.get(), count, wanted), plain(data, text))
        << testing::PrintToString(text) << " in " << testing::PrintToString(data);
    ASSERT_EQ(qz::detail::findBytesIgnCase(held.get(), count, wanted),
              plain(uppered(data), uppered(text)))
        << testing::PrintToString(text) << " in " << testing::PrintToString(data);
  }
}

TEST(ByteSearch, EveryPlaceAndEveryEnd) {
  for (int size = 1; size <= 150; ++size) {
    for (int textSize : {1, 2, 5, 17}) {
      search_text const text = std::string(static_cast<std::size_t>(textSize), 'X').c_str();
      for (int at = 0; at + textSize <= size; ++at) {
        std::string data(static_cast<std::size_t>(size), 'o');
        data.replace(static_cast<std::size_t>(at), text.length, text.data, text.length);
        ASSERT_EQ(qz::detail::findBytes(data.data(), size, text), at);
        ASSERT_EQ(qz::detail::findBytesIgnCase(data.data(), size, text), at);
        ASSERT_EQ(qz::detail::findBytes(data.data(), at + textSize - 1, text), -1);
      }
    }
  }
}

TEST(ByteSearch, TheBufferCountsFromItsStart) {
  _QZ_DataBuffer buffer;
  EXPECT_EQ(buffer.indexOf("a", 0), -1);
  buffer.dataSize = 5;  // without a block
  EXPECT_EQ(buffer.indexOf("a", 0), -1);
  EXPECT_EQ(buffer.indexOfIgnCase("a", 2), -1);
  buffer.dataSize = 0;
  ASSERT_TRUE(buffer.append("aBc\0aBcABC", 10));
  struct {
    search_text text;
    int start, exact, folded;
  } const rows[] = {{"aBc", 0, 0, 0},      {"aBc", -7, 0, 0},     {"aBc", 1, 4, 4},
                    {"ABC", 0, 7, 0},      {"abc", 5, -1, 7},     {"ABC", 8, -1, -1},
                    {"C", 9, 9, 9},        {"C", 10, -1, -1},     {"C", 2147483647, -1, -1},
                    {"", 0, -1, -1},       {{"\0a", 2}, 0, 3, 3}, {{"\0", 1}, 3, 3, 3},
                    {{"c\0", 2}, 0, 2, 2}, {"aBcABCa", 4, -1, -1}};
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text.asChar() << " from " << row.start);
    EXPECT_EQ(buffer.indexOf(row.text, row.start), row.exact);
    EXPECT_EQ(buffer.indexOfIgnCase(row.text, row.start), row.folded);
  }
  buffer.dataSize = 9;  // what lies behind it is not looked at
  EXPECT_EQ(buffer.indexOf("ABC", 0), -1);
}

}  // namespace
