#include "data/random_text.h"

#include <gtest/gtest.h>

#include <string>

TEST(RandomText, TheGeneratorIsTheMinimalStandardOne) {
  unsigned seed = 0;
  EXPECT_EQ(qzRand(seed), 1.0F);  // Required: 0 steps to the modulus, which stays
  EXPECT_STREQ(qzRandString(0, 2).asChar(), "8888888888");
  seed = 0xFFFFFFFF;  // as 1
  EXPECT_EQ(qzRand(seed), 16807 / 2147483648.0F);
  for (int i = 1; i < 10000; ++i) (void)qzRand(seed);
  EXPECT_EQ(seed, 1043618065u);  // the check value of Park and Miller
  unsigned char const bytes[] = {200, 1, 2};
  EXPECT_EQ(qzRandCalc(bytes, 1), qzRandCalc(bytes, 0));  // Required: the first byte does not count
  EXPECT_EQ(qzRandCalc(bytes, 3), 1412376245u);           // 5 * 16807^2 modulo 2^31 - 1
}

TEST(RandomText, StringsOfOneSeedBeginAlike) {
  for (int mode = -1; mode <= 3; ++mode) {
    std::string expected;
    for (unsigned seed = 256, i = 0; i < 20; ++i) {  // the first value ends in a zero byte
      (void)qzRand(seed);
      if (mode == 0) expected += static_cast<char>(seed & 0xFF);
      if (mode == 1 || mode == 2)
        expected += mode == 1 ? qzLetters[seed % 68] : qzNumbers[seed % 10];
    }
    auto const show = [](auto const& text) { return std::string(text.data, text.length); };
    EXPECT_EQ(show(qzRandString(256, mode)), expected.substr(0, 10)) << mode;
    EXPECT_EQ(show(qzRandString9(256, mode)), expected.substr(0, 9)) << mode;
    EXPECT_EQ(show(qzRandString20(256, mode)), expected) << mode;
  }
}
