#include "data/data_buffer_header.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

static std::string textOf(_QZ_DataBuffer_Header const& h) { return h.headerAsString().asChar(); }

TEST(DataBufferHeader, EveryFieldGoesThroughTheText) {
  std::string const fromDocs = "0000000100000100FFFFFFFF0000010C00000000DEADBEEF00000010FF0300FF";
  std::string const limits = "89ABCDEFFFFFFFFF800000007FFFFFFFFFFFFFFF00000007800000000004FE01";
  std::string const cleared = std::string(56, '0') + "00010000";
  EXPECT_EQ(textOf({1, 256, -1, 268, 0, 0xDEADBEEF, 16, true, 3, 0, 255}), fromDocs);
  _QZ_DataBuffer_Header read;
  for (auto const& text : {cleared, fromDocs, limits}) {
    EXPECT_TRUE(read.headerFromString(text.c_str()));
    EXPECT_FALSE(read.headerFromString((text + '1').c_str()) ||
                 read.headerFromString(text.c_str() + 1));
    EXPECT_EQ(textOf(read), text);
  }
  read.headerClear();
  EXPECT_EQ(textOf(read), cleared);
}

TEST(DataBufferHeader, OddTextIsReadAsTheScannersReadIt) {  // Required
  std::tuple<unsigned, std::string, std::string> const rows[] = {
      {0, "xy", "00000000999"},      {0, "12xy", "00000012"},
      {0, "0x1234", "00123499"},     {0, "      -1", "FFFFFFFF"},
      {8, "-0000001", "FFFFFFFF"},   {8, "0x0abc1F", "000ABC1F"},
      {8, "xy", "00000000DEADBEEF"}, {24, "        ", "00000000DEADBEEF"},
      {56, "7F0z", "FF00"},          {56, "-1-1", "00FF"}};
  for (auto const& [position, put, expected] : rows) {
    std::string text(64, '9');
    text.replace(position, put.size(), put);
    _QZ_DataBuffer_Header fields{0, 0, -559038737, 0,
                                 0xDEADBEEF};  // kept behind what cannot be read
    EXPECT_EQ(fields.headerFromString(text.c_str()), expected.find("BEEF") == std::string::npos);
    EXPECT_EQ(textOf(fields).substr(position, expected.size()), expected) << put;
  }
}
