// The repeatable generator and its strings.
#include "data/random_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

TEST(RandomText, TheGeneratorIsTheMinimalStandardOne) {
  unsigned seed = 1;
  EXPECT_FLOAT_EQ(qzRand(seed), 16807 / 2147483648.0F);
  EXPECT_EQ(seed, 16807u);
  (void)qzRand(seed);
  EXPECT_EQ(seed, 282475249u);
  for (int i = 2; i < 10000; ++i) (void)qzRand(seed);
  EXPECT_EQ(seed, 1043618065u);  // the check value of Park and Miller
  // Seeds above the modulus are stepped in the same wrapping arithmetic.
  struct {
    unsigned seed, next;
    float value;
  } const rows[] = {{0, 0x7FFFFFFF, 1},  // Required
                    {0x7FFFFFFF, 0x7FFFFFFF, 1},
                    {0x80000000, 16807, 16807 / 2147483648.0F},
                    {0xFFFFFFFF, 16807, 16807 / 2147483648.0F}};
  for (auto const& row : rows) {
    seed = row.seed;
    EXPECT_FLOAT_EQ(qzRand(seed), row.value) << row.seed;
    EXPECT_EQ(seed, row.next) << row.seed;
  }
}

TEST(RandomText, TheFirstByteHasNoWeight) {  // Required
  unsigned char const bytes[] = {200, 1, 2};
  EXPECT_EQ(qzRandCalc(bytes, 0), 0x7FFFFFFFu);
  EXPECT_EQ(qzRandCalc(bytes, 1), 0x7FFFFFFFu);
  EXPECT_EQ(qzRandCalc(bytes, 2), 282475249u);  // two steps from 1
  EXPECT_EQ(qzRandCalc(bytes, 3), 5 * 282475249u % 0x7FFFFFFF);
}

TEST(RandomText, StringsOfOneSeedBeginAlike) {
  EXPECT_STREQ(qzRandString(0, 2).asChar(), "8888888888");
  for (int mode = -1; mode <= 3; ++mode) {
    SCOPED_TRACE(mode);
    std::string expected;
    for (unsigned seed = 4711, i = 0; i < 20; ++i) {
      (void)qzRand(seed);
      if (mode == 0) expected += static_cast<char>(seed & 0xFF);
      if (mode == 1) expected += qzLetters[seed % 68];
      if (mode == 2) expected += qzNumbers[seed % 10];
    }
    auto const ten = qzRandString(4711, mode), nine = qzRandString9(4711, mode);
    auto const twenty = qzRandString20(4711, mode);
    EXPECT_EQ(std::string(ten.data, ten.length), expected.substr(0, 10));
    EXPECT_EQ(std::string(nine.data, nine.length), expected.substr(0, 9));
    EXPECT_EQ(std::string(twenty.data, twenty.length), expected);
  }
  // The zero byte counts: seed 256's first value, 4302592, ends in one.
  EXPECT_EQ(qzRandString(256, 0).length, 10);
  EXPECT_EQ(qzRandString(256, 0).data[0], 0);
}

}  // namespace
