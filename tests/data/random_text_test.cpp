#include "data/random_text.h"

#include <gtest/gtest.h>

#include <string>

TEST(RandomText, StepsLikeTheMinimalStandardGenerator) {
  unsigned seed = 0;
  EXPECT_EQ(qzRand(seed), 1.0F);  // Required: 0 steps to the modulus, which stays
  EXPECT_STREQ(qzRandString(0, 2).asChar(), "8888888888");
  seed = 1;
  for (int i = 0; i < 10000; ++i) (void)qzRand(seed);
  EXPECT_EQ(seed, 1043618065u);  // the check value of Park and Miller
  unsigned char const bytes[] = {200, 1, 2};
  EXPECT_EQ(qzRandCalc(bytes, 1), qzRandCalc(bytes, 0));  // Required: the first byte does not count
  EXPECT_EQ(qzRandCalc(bytes, 3), 1412376245u);           // 5 * 16807^2 modulo 2^31 - 1
  for (int mode = -1; mode <= 3; ++mode) {
    std::string all;
    for (unsigned value = 256, i = 0; i < 20 && mode >= 0 && mode <= 2; ++i) {
      (void)qzRand(value);  // the first value ends in a zero byte
      all += mode == 1   ? qzLetters[value % 68]
             : mode == 2 ? qzNumbers[value % 10]
                         : char(value & 0xFF);
    }
    auto const show = [](auto const& text) { return std::string(text.data, text.length); };
    EXPECT_EQ(show(qzRandString20(256, mode)), all);
    EXPECT_EQ(show(qzRandString(256, mode)) + show(qzRandString9(256, mode)),
              all.substr(0, 10) + all.substr(0, 9));
  }
}
