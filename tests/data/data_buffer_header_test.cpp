// The header's text form.
#include "data/data_buffer_header.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using header = _QZ_DataBuffer_Header;

std::string textOf(header const& fields) { return fields.headerAsString().asChar(); }

std::string const kDefault = std::string(56, '0') + "00010000";
// The example of docs/formats.md.
std::string const kExample = "0000000100000100FFFFFFFF0000010C00000000DEADBEEF00000010FF0300FF";
header const kExampleFields{1, 256, -1, 268, 0, 0xDEADBEEF, 16, true, 3, 0, 255};

TEST(DataBufferHeader, EveryFieldGoesThroughTheText) {
  EXPECT_EQ(textOf(header()), kDefault);
  EXPECT_EQ(textOf(kExampleFields), kExample);
  header const fields{
      0x89ABCDEF, -1, -2147483647 - 1, 2147483647, 0xFFFFFFFF, 7, 0x80000000, false, 4, 254, 1};
  std::string const text = "89ABCDEFFFFFFFFF800000007FFFFFFFFFFFFFFF00000007800000000004FE01";
  EXPECT_EQ(textOf(fields), text);
  header read = kExampleFields;
  EXPECT_TRUE(read.headerFromString(text.c_str()));
  EXPECT_EQ(textOf(read), text);
  EXPECT_EQ(read.dataSize, -1);
  EXPECT_TRUE(
      read.headerFromString("0000000100000100ffffffff0000010c00000000deadbeef00000010ff0300ff"));
  EXPECT_EQ(textOf(read), kExample);
  read.headerClear();
  EXPECT_EQ(textOf(read), kDefault);
}

TEST(DataBufferHeader, OtherLengthsChangeNothing) {
  for (std::size_t const length : {0u, 63u, 65u, 200u}) {
    header fields = kExampleFields;
    EXPECT_FALSE(fields.headerFromString(std::string(length, '1').c_str()));
    EXPECT_EQ(textOf(fields), kExample) << length;
  }
}

TEST(DataBufferHeader, OddTextIsReadByTheScanners) {  // Required
  std::string const nines(64, '9');
  struct {
    unsigned position;
    char const* put;
    bool good;
    unsigned from;  // the part of the text form that shows what became of it
    char const* expected;
  } const rows[] = {
      {0, "xy", true, 0, "00000000"},        // an unsigned field has no failure
      {0, "12xy", true, 0, "00000012"},      // the digits in front
      {0, "0x1234", true, 0, "00123499"},    // a prefix
      {0, "      -1", true, 0, "FFFFFFFF"},  // a sign behind blanks
      {8, "0x00001F", true, 8, "0000001F"},
      {8, "-0000001", true, 8, "FFFFFFFF"},
      {8, "1zzzzzzz", true, 8, "00000001"},
      {8, "xy", false, 0, "9999999900000000DEADBEEF"},  // new, zero, and what was there
      {24, "        ", false, 16, "9999999900000000DEADBEEF"},
      {56, "7F", true, 56, "FF999999"},
      {56, "0z", true, 56, "00999999"},
      {56, "-1", true, 56, "00999999"},  // not greater than zero
      {58, "-1", true, 56, "FFFF9999"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.put);
    std::string text = nines;
    text.replace(row.position, std::string(row.put).size(), row.put);
    header fields;
    fields.headerWord2 = -559038737;
    fields.headerWord4 = 0xDEADBEEF;
    EXPECT_EQ(fields.headerFromString(text.c_str()), row.good);
    std::string const expected = row.expected;
    EXPECT_EQ(textOf(fields).substr(row.from, expected.size()), expected);
  }
}

}  // namespace
