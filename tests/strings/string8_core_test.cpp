#include <gtest/gtest.h>

#include "strings/string8.h"

namespace {

TEST(String8, AssigningNullKeepsTheCharacters) {  // Required: only the length goes
  _qzString8_allSize<250> text("abc");
  text = nullptr;
  EXPECT_TRUE(text.isEmpty());
  EXPECT_STREQ(text.asChar(), "abc");
}

}  // namespace
