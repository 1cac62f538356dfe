// The example as a program: files and pipes, there and back.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "data/data_buffer.h"

namespace {

struct A85Example : testing::Test {
  char folder[32] = "/tmp/qz_a85_XXXXXX";
  std::string said;  // what the last run wrote to standard error

  A85Example() { EXPECT_NE(mkdtemp(folder), nullptr); }
  ~A85Example() override { std::filesystem::remove_all(folder); }
  std::string path(char const* name) const { return std::string(folder) + "/" + name; }
  void put(char const* name, std::string const& bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
  }
  std::string get(char const* name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // Runs "a85" with these words, in the folder; returns its exit status.
  int run(std::string const& words) {
    auto const command = "cd " + path(".") + " && a85() { '" QZ_A85 "' \"$@\"; }; a85 " + words;
    int const status = std::system((command + " 2>said").c_str());
    said = get("said");
    return WEXITSTATUS(status);
  }
};

TEST_F(A85Example, BringsEverySizeBackAndWritesTheLibrarysForm) {
  std::mt19937 random(85);
  for (int const size : {0, 1, 3, 4, 5, 76, 79, 80, 81, 400, 5000, 1 << 20, 2'097'157}) {
    SCOPED_TRACE(size);
    std::string bytes(static_cast<std::size_t>(size), '\xFF');  // with words of ones and of zeros
    for (std::size_t i = size < 50 ? 0 : 40; i < bytes.size(); ++i)
      bytes[i] = static_cast<char>(random() % 8 < 3 ? 0 : random());
    put("in", bytes);
    EXPECT_EQ(run("encode - pipe <in && cat in | a85 encode >pipe && a85 decode <pipe >out"), 0);
    EXPECT_TRUE(get("out") == bytes);
    EXPECT_EQ(get("pipe").substr(24, 8) == "FFFFFFFF", size > 1 << 20) << "more parts follow";
    EXPECT_EQ(run("encode --marks in text && a85 decode --marks text out"), 0) << said;
    EXPECT_TRUE(get("out") == bytes);
    auto const text = get("text");
    _QZ_DataBuffer form;
    ASSERT_TRUE(form.headerFromString(text.substr(0, 64).c_str()));
    EXPECT_TRUE(form.dataSize == size && form.sizeField == size && form.isEncoded);
    form.dataSize = 0;
    ASSERT_TRUE(form.append(text.data() + 64, static_cast<int>(text.size()) - 64));
    for (int round = 0; round < 2; ++round) {  // in the form already, then made again
      form.A85_formatForFile(true);
      EXPECT_TRUE(std::string(form.data, std::size_t(form.dataSize)) == text.substr(64));
      form.A85_cleantext(true);
    }
  }
}

TEST_F(A85Example, RefusesInOneSentenceThatNamesTheOffset) {
  put("in", "hello world");
  ASSERT_EQ(run("encode --marks in text"), 0);
  std::string const digits = "000000000000000B000000000000000B000000000000000000000000FF030000";
  std::string const mark = "\r\n~~~~~~~~~~~\r\n", text = get("text");
  EXPECT_EQ(text, digits + mark + "&b!qHGB-oIlve.!l7(;(" + mark);
  auto const with = [&](std::size_t at, std::size_t count, char const* other) {
    return std::string(text).replace(at, count, other);
  };
  struct {
    std::string bad, sentence;
    char const* words = "decode bad out";
    int status = 1;
  } const rows[] = {{"", "0: it ends where a header"},
                    {text.substr(0, 91), "91: it ends before its data does"},
                    {text.substr(0, 110), "110: a mark of 11 tildes"},
                    {with(20, 1, "g"), "20: a header of 64"},
                    {with(8, 1, "F"), "8: the header's data size"},
                    {with(24, 8, "FFFFFFFF"), "114: it ends where a header"},
                    {with(90, 1, "\""), "90: this character does not belong"},
                    {with(90, 1, "~"), "90: a mark stands in front"},
                    {with(84, 0, "}}}}}"), "84: these five characters are no word"},
                    {with(79, 1, "a"), "77: the text from here to offset 94 does not match"},
                    {text + "x", "114: it goes on behind its end"},
                    {with(24, 8, "FFFFFFFF") + text,  // as if a part between them were lost
                     "191: the text from here to offset 208 does not match"},
                    {"", "unknown option \"--lines\"; --help", "--lines encode", 2},
                    {"", "in is the input and the output", "encode in in"},
                    {"", "cannot write to /dev/full: No space", "encode in /dev/full"}};
  for (auto const& row : rows) {
    bool const isDamage = std::strncmp(row.words, "decode", 6) == 0;
    put("bad", row.bad);
    EXPECT_EQ(run(row.words), row.status);
    auto const expected = (isDamage ? "a85: bad is damaged at offset " : "a85: ") + row.sentence;
    EXPECT_EQ(said.substr(0, expected.size()), expected);
    EXPECT_EQ(said.find('\n') + 1, said.size());
  }
  EXPECT_EQ(get("in"), "hello world");
}

}  // namespace
