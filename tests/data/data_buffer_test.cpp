#include "data/data_buffer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

static std::string contentOf(_QZ_DataBuffer const& buffer, int count) {
  return {buffer.data, static_cast<std::size_t>(count)};
}

TEST(DataBuffer, GrowsWithinTheLimitAndKeepsOrDropsTheBytes) {
  int const rows[][3] = {{100, 1, 100},    {50, 1, 100},  {1 << 20, 1, 1 << 20},  // -1: refused
                         {1048577, 1, -1}, {-1, 1, -1},   {1048577, 4097, -1},
                         {0, 0, 100},      {0, 2048, -1}, {0, -1, -1}};
  for (auto const grow : {&_QZ_DataBuffer::resize, &_QZ_DataBuffer::newsize}) {
    for (auto const& [size, maxMiB, capacity] : rows) {  // Required: 4097 MiB are 1, 2048 none
      _QZ_DataBuffer buffer;
      EXPECT_TRUE((buffer.*grow)(0, 0) && buffer.data != nullptr && buffer.capacity == 0);
      EXPECT_TRUE(buffer.copyFromBuffer(std::string(100, 'x').data(), 100));
      buffer.lastError = 7;
      EXPECT_EQ((buffer.*grow)(size, maxMiB), capacity >= 0) << size << " of " << maxMiB;
      EXPECT_EQ(buffer.capacity, capacity < 0 ? 100 : capacity) << size << " of " << maxMiB;
      EXPECT_TRUE(buffer.lastError == 0 && buffer.dataSize == 0);
      bool const isNew = capacity > 100 && grow == &_QZ_DataBuffer::newsize;
      EXPECT_EQ(contentOf(buffer, 100), std::string(100, isNew ? '\0' : 'x'));
      EXPECT_FALSE(buffer.copyFromBuffer("", -1) || buffer.copyFromBuffer("", 1'572'864'001));
    }
  }
}

TEST(DataBuffer, AppendsExactlyAndWritesWithReserve) {  // Required
  _QZ_DataBuffer exact, reserving;
  std::string expected = "a";
  EXPECT_TRUE(exact.append("a", 1));
  for (reserving.write("a", 1); expected.size() < 100'000; expected += expected) {
    EXPECT_TRUE(exact.append(exact.data, exact.dataSize));  // the block moves under its own bytes
    int const needed = exact.capacity, before = reserving.capacity;
    reserving.write(reserving.data, reserving.dataSize);
    EXPECT_EQ(reserving.capacity, needed <= before ? before : needed + 10240);
    EXPECT_TRUE(needed == exact.dataSize && before >= 10241);
  }
  EXPECT_EQ(contentOf(exact, exact.dataSize), expected);
  EXPECT_EQ(contentOf(reserving, reserving.dataSize), expected);
  exact.lastError = 7;
  EXPECT_TRUE(exact.append("b", 0) && exact.append("b", -1) && exact.lastError == 7);
  for (int const size : {QZ_MaxBufferBytes, 2147483647, -1}) {  // nothing beyond the limit
    for (int const count : {1, 5, 2147483647}) {
      exact.dataSize = exact.lastError = size;
      EXPECT_FALSE(exact.append(expected.data(), count) || exact.lastError != 0);
      exact.write(expected.data(), count);
      EXPECT_TRUE(exact.dataSize == size && exact.lastError == 0);
    }
  }
  reserving.dataSize = QZ_MaxBufferBytes - 10240;  // the reserve would pass the limit
  reserving.write("x", 1);
  EXPECT_EQ(reserving.dataSize, QZ_MaxBufferBytes - 10240);
}

TEST(DataBuffer, ReadsInSequenceAndClonesBehindAGap) {
  _QZ_DataBuffer buffer, target;
  char piece[4] = {};
  EXPECT_TRUE(buffer.read(piece, 0) && buffer.append("abcde", 5));
  EXPECT_TRUE(buffer.read(piece, 2) && target.copyFromBuffer("12345678", 8));
  EXPECT_FALSE(buffer.read(piece, 4) || buffer.read(piece, -1));
  EXPECT_STREQ(piece, "ab");
  buffer.sizeField = 2147483647;
  buffer.copyTo(target, 1);
  EXPECT_EQ(contentOf(target, 8), "1abcde78");
  EXPECT_EQ(target.headerAsString().indexOf("0000000600000000800000000000000000000000000000020"),
            8);
  EXPECT_TRUE(buffer.read(piece, 3) && buffer.read(piece, 0) && buffer.readPosition == 5);
  EXPECT_STREQ(piece, "cde");
  buffer.copyTo(buffer, 1);
  EXPECT_EQ(contentOf(buffer, buffer.dataSize), "aabcde");
  buffer.dataSize = 2147483647;
  buffer.readPosition = 0xFFFFFFFF;
  EXPECT_FALSE(buffer.read(piece, 1));
  buffer.readPosition = 6;
  EXPECT_FALSE(buffer.read(piece, 1));  // counted, but not there
  buffer.fillZero();
  buffer.copyToBuffer(piece, 3);
  EXPECT_STREQ(piece, "");
}

TEST(DataBuffer, SaysErrorsInWords) {
  std::string shown;
  for (int const code : {0, -100, -101, -102, -103, -104, -105, -106, -107, -1000, -1001,
                         -2147483647 - 1, -99, -999, 5}) {
    errno = ENOENT;
    shown += _QZ_DataBuffer::errorString(code).asChar() + std::string("|");
  }
  EXPECT_EQ(shown,
            "No Error|Unable to allocate memory|System error: No such file or directory|"
            "Wrong File Header|CRC Error, data corrupt!|Unable to read data from file!|"
            "Unable to write data into file!|Decompression error, wrong result size|"
            "File does not exists!|File error: End of file reached!|File error 1.|"
            "File error 2147482648.|unknown error -99.|unknown error -999.|unknown error 5.|");
}

// Asks for more memory than is left to this process, in every way, with and without a block.
static bool isEmptyWithoutMemory() {
  constexpr int kTooMuch = 128 << 20;
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  rlimit const limit = {pages * 4096 + (64 << 20), RLIM_INFINITY};
  bool good = setrlimit(RLIMIT_AS, &limit) == 0;
  for (int round = 0; good && round < 12; ++round) {
    _QZ_DataBuffer buffer, empty;
    if (round % 2 == 0) good = buffer.append("abc", 3);
    char const* const source = buffer.data;
    if (round / 2 == 0) good = good && !buffer.resize(kTooMuch, 1000);
    if (round / 2 == 1) good = good && !buffer.newsize(kTooMuch, 1000);
    if (round / 2 == 2) good = good && !buffer.copyFromBuffer(source, kTooMuch);
    if (round / 2 == 3) good = good && !buffer.append(source, kTooMuch);
    if (round / 2 == 4) buffer.write(source, kTooMuch);
    if (round / 2 == 5) empty.copyTo(buffer, kTooMuch);
    good = good && buffer.data == nullptr && buffer.capacity == 0 && buffer.lastError == -100;
  }
  return good;
}

TEST(DataBufferDeathTest, HoldsNothingWithoutMemory) {
  EXPECT_EXIT(_exit(isEmptyWithoutMemory() ? 0 : 1), testing::ExitedWithCode(0), "");
}
