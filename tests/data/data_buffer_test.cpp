#include "data/data_buffer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <string>

using view = std::string_view;

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
      EXPECT_EQ(buffer.capacity + buffer.lastError, std::max(capacity, 100)) << size << maxMiB;
      bool const isNew = capacity > 100 && grow == &_QZ_DataBuffer::newsize;
      EXPECT_EQ(view(buffer.data, 100), std::string(100, isNew ? '\0' : 'x'));
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
  EXPECT_TRUE(expected == view(exact.data, expected.size()) &&
              expected == view(reserving.data, expected.size()));
  exact.lastError = 7;
  EXPECT_TRUE(exact.append("b", 0) && exact.append("b", -1) && exact.lastError == 7);
  int const most = 2147483647, tooMuch[][2] = {{QZ_MaxBufferBytes, 1}, {most, most}, {-1, 5}};
  for (auto const& [size, count] : tooMuch) {
    exact.dataSize = exact.lastError = size;
    EXPECT_FALSE(exact.append(expected.data(), count) || exact.lastError != 0);
    exact.write(expected.data(), count);
    EXPECT_TRUE(exact.dataSize == size && exact.lastError == 0);
  }
  reserving.dataSize = QZ_MaxBufferBytes - 10240;  // the reserve would pass the limit
  reserving.write("x", 1);
  EXPECT_EQ(reserving.dataSize, QZ_MaxBufferBytes - 10240);
}

TEST(DataBuffer, ReadsInSequenceAndClonesBehindAGap) {
  _QZ_DataBuffer buffer, target;
  char piece[4] = {};
  EXPECT_TRUE(buffer.read(piece, 0) && buffer.append("abcde", 5) && buffer.read(piece, 2));
  EXPECT_FALSE(buffer.read(piece, 4) || buffer.read(piece, -1));
  EXPECT_TRUE(target.copyFromBuffer("12345678", buffer.sizeField = 8));
  buffer.copyTo(target, 1);
  EXPECT_EQ(view(target.data, 8), "1abcde78");
  EXPECT_EQ(target.headerAsString().indexOf("00060000000000000009000000000000000000000002"), 12);
  EXPECT_TRUE(buffer.read(piece, 3) && buffer.read(piece, 0) && buffer.readPosition == 5);
  buffer.copyToBuffer(piece, 2);
  EXPECT_STREQ(piece, "abe");
  buffer.dataSize = 2147483647;  // counted, but not there
  EXPECT_FALSE(buffer.read(piece, 2));
  buffer.fillZero();
  EXPECT_EQ(view(buffer.data, 5), std::string(5, 0));
}

TEST(DataBuffer, SaysErrorsInWords) {
  std::string shown;
  for (int const code : {0, -100, -102, -103, -104, -105, -106, -107, -1000, -1001, -999, 5, -101})
    shown += _QZ_DataBuffer::errorString((errno = 2, code)).asChar() + std::string("|");
  EXPECT_EQ(shown,
            "No Error|Unable to allocate memory|Wrong File Header|CRC Error, data corrupt!|"
            "Unable to read data from file!|Unable to write data into file!|"
            "Decompression error, wrong result size|File does not exists!|"
            "File error: End of file reached!|File error 1.|unknown error -999.|"
            "unknown error 5.|System error: No such file or directory|");
  _QZ_DataBuffer buffer;
  buffer.lastError = -103;
  EXPECT_STREQ(buffer.errorString().asChar(), "CRC Error, data corrupt!");
}

TEST(DataBufferDeathTest, HoldsNothingWithoutMemory) {
  auto const useUpMemory = [] {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit const limit = {pages * 4096 + (64 << 20), RLIM_INFINITY};
    if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(1);
    for (int round = 0, much = 128 << 20; round < 12; ++round) {
      _QZ_DataBuffer buffer, empty;
      char const* const source = round % 2 == 0 && buffer.append("abc", 3) ? buffer.data : "";
      bool const said = round / 2 == 0   ? buffer.resize(much, 1000)
                        : round / 2 == 1 ? buffer.newsize(much, 1000)
                        : round / 2 == 2 ? buffer.copyFromBuffer(source, much)
                        : round / 2 == 3 ? buffer.append(source, much)
                        : round / 2 == 4 ? (buffer.write(source, much), false)
                                         : (empty.copyTo(buffer, much), false);
      if (said || buffer.data != nullptr || buffer.capacity + buffer.lastError != -100) _exit(2);
    }
    _exit(0);
  };
  EXPECT_EXIT(useUpMemory(), testing::ExitedWithCode(0), "");
}
