#include "data/a85.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstring>
#include <random>
#include <string>

#include "data/data_buffer.h"

namespace {

TEST(A85, WritesAndReadsWords) {
  struct {
    unsigned int word;
    std::string text;
  } const rows[] = {{0, "z"},      {0xFFFFFFFF, "^"},     {1, "#!!!!"},       {84, "}!!!!"},
                    {85, "!#!!!"}, {0xFFFFFFFE, "}/];{"}, {52200625, "!!!!#"}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.text);
    char out[5];
    EXPECT_EQ(std::string(out, static_cast<std::size_t>(toA85(row.word, out))), row.text);
    int const count = static_cast<int>(row.text.size());
    for (int available = -1; available <= 6; ++available) {
      unsigned int word = 7;
      EXPECT_EQ(fromA85(row.text.data(), word, available), available < count ? 0 : count);
      EXPECT_EQ(word, available < count ? 7 : row.word);
    }
  }
  std::mt19937 random(85);
  for (unsigned int i = 1, back = 0; i < 200'000; ++i) {
    auto const word = static_cast<unsigned int>(i % 2 != 0 ? random() : i);
    char out[5] = {};
    ASSERT_TRUE(toA85(word, out) == 5 && fromA85(out, back, 5) == 5 && back == word) << word;
  }
}

TEST(A85, OtherCharactersCountAsTheDigit0) {  // Required
  for (char const c : std::string("z^~\"'<>\\`\r \x7F\x80\xFF\0!", 15)) {
    unsigned int word = 7;
    char const text[] = {'#', c, '}', c, '!'};
    EXPECT_EQ(qzA85index(c), 0);
    EXPECT_EQ(fromA85(text, word, 5), 5);
    EXPECT_EQ(word, 1u + 84 * 7225) << +c;
  }
  unsigned int word = 0;
  EXPECT_TRUE(fromA85("}}}}}", word, 5) == 5 && word == 4437053124 % 4294967296);
}

std::string const kMarkLine = "\r\n~~~~~~~~~~~\r\n";

struct text_buffer : _QZ_DataBuffer {
  explicit text_buffer(std::string const& text) {
    EXPECT_TRUE(append(text.data(), static_cast<int>(text.size())));
    isEncoded = true;
    encodedForm = 3;
    lastError = -7;
  }
  std::string text() const { return {data, static_cast<std::size_t>(dataSize)}; }
  std::string formatted(bool withMarks) { return A85_formatForFile(withMarks), text(); }
  std::string cleaned(bool stripMarks) { return A85_cleantext(stripMarks), text(); }
};

TEST(A85FileForm, HasLinesOf100BetweenMarks) {
  for (int const size : {0, 1, 99, 100, 101, 200, 250, 12'345}) {
    for (int const spare : {-1, 0, 5}) {
      SCOPED_TRACE(testing::Message() << size << ", room and " << spare);
      std::string plain, lines;
      for (int i = 0; i < size; ++i) plain += qzA85Lookup[i * 7 % 85];
      for (int i = 0; i < size; i += 100)
        lines += plain.substr(std::size_t(i), 100) + (size - i < 100 ? "" : "\r\n");
      text_buffer bare(plain), marked(plain);
      int const room = size + size / 100 * 2 + 72;
      ASSERT_TRUE(marked.resize(room + spare, 1));
      char const* const before = marked.data;
      auto const form = kMarkLine + lines + kMarkLine;
      EXPECT_EQ(marked.formatted(true), form);
      EXPECT_EQ(marked.capacity, room + (spare < 0 ? 0 : spare));
      EXPECT_TRUE((marked.data == before) == (spare >= 0) && marked.lastError == 0);
      EXPECT_EQ(marked.formatted(true), form);  // Required: nothing changes the second time
      bare.encodedForm = 4;
      EXPECT_EQ(bare.formatted(false), lines);
      EXPECT_EQ(bare.cleaned(true), plain);
      EXPECT_EQ(text_buffer(form).cleaned(false), plain);
      EXPECT_EQ(text_buffer("a b" + form + "c").cleaned(true), plain);
    }
  }
}

TEST(A85FileForm, LeavesAloneWhatIsNotPlainText) {
  struct {
    char const* text;
    bool isEncoded;
    std::uint8_t form;
  } const rows[] = {{"a b", false, 3},
                    {"a b", true, 2},
                    {"a b", true, 5},
                    {"~~~~~~~~~~~x", true, 3},
                    {"\r\n~~~~~~~~~~~x", true, 4}};
  for (auto const& row : rows) {
    text_buffer buffer(row.text);
    buffer.isEncoded = row.isEncoded;
    buffer.encodedForm = row.form;
    EXPECT_EQ(buffer.formatted(true), row.text);
    EXPECT_EQ(row.text[0] == 'a' ? buffer.cleaned(true) : row.text, row.text);
    EXPECT_EQ(buffer.lastError, -7);
  }
}

bool isEmptyWithoutMemory() {
  text_buffer buffer("abc");
  bool good = buffer.resize(buffer.dataSize = 100 << 20, 1000);
  rlimit const limit = {1 << 20, RLIM_INFINITY};  // less than is in use
  good = good && setrlimit(RLIMIT_AS, &limit) == 0;
  buffer.A85_formatForFile(true);
  good = good && buffer.data == nullptr && buffer.capacity == 0 && buffer.lastError == -100;
  buffer.A85_cleantext(true);  // `dataSize` stood, without a block
  return good && buffer.dataSize == 0;
}

TEST(A85FileFormDeathTest, KeepsTheTextAtTheLimitAndLosesItWithoutMemory) {  // Required
  EXPECT_EXIT(_exit(isEmptyWithoutMemory() ? 0 : 1), testing::ExitedWithCode(0), "");
  text_buffer buffer("abc");
  ASSERT_TRUE(buffer.resize(buffer.dataSize = 1'542'023'500, 1500));
  buffer.A85_formatForFile(true);
  EXPECT_TRUE(buffer.dataSize == 1'542'023'500 && buffer.lastError == 0);
}

TEST(A85FileForm, CleansWhatAnybodyMadeOfIt) {
  std::mt19937 random(7);
  for (int i = 0; i < 20'000; ++i) {
    std::string text, kept;
    for (auto pieces = random() % 12; pieces > 0; --pieces) {
      if (random() % 2 == 0) text.append(random() % 14, '~');
      for (auto k = random() % 24, c = random(); k > 0; --k) text += static_cast<char>(c + k);
    }
    std::size_t const count = text.size();
    auto const padded = "     " + text + "     ";
    auto const findMark = [&](std::size_t at) {
      auto const has = [&](std::size_t from) { return padded.compare(from, 6, "~~~~~~") == 0; };
      while (at < count && !has(at) && !has(at + 5)) at += 10;
      return std::min(at, count);
    };
    std::size_t const start = findMark(0);
    std::size_t const first =
        std::min(start < count ? text.find_first_not_of('~', start) : 0, count);
    std::size_t const mark = findMark(first);
    std::size_t const end = mark < count ? text.find_last_not_of('~', mark) + 1 : count;
    for (std::size_t k = first; k < end; ++k)
      if (text[k] > 0x20 && text[k] < 0x7E && !std::strchr("\"'<>\\`", text[k])) kept += text[k];
    ASSERT_EQ(text_buffer(text).cleaned(true), kept) << testing::PrintToString(text);
  }
}

}  // namespace
