#include "data/checksums.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace {

unsigned char const* bytesOf(char const* text) {
  return reinterpret_cast<unsigned char const*>(text);
}

// The check column of the catalogue of parametrised CRC algorithms, and the first, second and last
// entries of the tables that belong to it.
TEST(Checksums, GiveTheCatalogueValues) {
  unsigned char const* const digits = bytesOf("123456789");
  EXPECT_EQ(qzCRCCalc(digits, 9), 0xCBF43926u);
  EXPECT_EQ(qzCRCCalc64(digits, 9), 0xE9C6D914C4B8D9CAu);
  EXPECT_EQ(qzCRCCalc16(digits, 9), 0x31C3u);
  EXPECT_EQ(qzCRCCalc8(digits, 9, false), 0x31u);
  EXPECT_EQ(qzCRCCalc(bytesOf("QZ_qzClientSharedMemory_1234567"), 31), 0x0678D311u);

  EXPECT_EQ(qzCRCulTable[0], 0u);
  EXPECT_EQ(qzCRCulTable[1], 0x77073096u);
  EXPECT_EQ(qzCRCulTable[255], 0x2D02EF8Du);
  EXPECT_EQ(crctab64[0], 0u);
  EXPECT_EQ(crctab64[1], 0x7AD870C830358979u);
  EXPECT_EQ(crctab64[2], 0xF5B0E190606B12F2u);
  EXPECT_EQ(crctab64[255], 0x29B7D047EFEC8728u);
  EXPECT_EQ(crc16tab[0], 0u);
  EXPECT_EQ(crc16tab[1], 0x1021u);
  EXPECT_EQ(crc16tab[2], 0x2042u);
  EXPECT_EQ(crc16tab[255], 0x1EF0u);
}

TEST(Checksums, NoBytesGiveZeroAndStillBuildTheTable) {
  std::memset(qzCRCulTable, 0, sizeof qzCRCulTable);
  qzCRCulTableInitialized = false;
  EXPECT_EQ(qzCRCCalc(nullptr, 0), 0u);
  EXPECT_TRUE(qzCRCulTableInitialized);
  EXPECT_EQ(qzCRCulTable[255], 0x2D02EF8Du);

  EXPECT_EQ(qzCRCCalc64(nullptr, 0), 0u);
  EXPECT_EQ(qzCRCCalc16(nullptr, 0), 0u);
  EXPECT_EQ(qzCRCCalc8(nullptr, 0, false), 0u);
  EXPECT_EQ(qzCRCCalc8(nullptr, 0, true), 0u);
  unsigned int running = 0x12345678;
  qzCRCPartial(&running, nullptr, 0);
  EXPECT_EQ(running, 0x12345678u);
}

TEST(Checksums, PiecesOfAnySizeGiveTheWhole) {
  std::string text(67, '\0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 37 + 250);
  unsigned char const* const bytes = bytesOf(text.data());
  auto const size = static_cast<unsigned>(text.size());
  for (unsigned piece = 1; piece <= size; ++piece) {
    SCOPED_TRACE(piece);
    qzCRCInitialize();  // a table that is built again keeps its values
    unsigned int running = 0xFFFFFFFF;
    for (unsigned at = 0; at < size; at += piece)
      qzCRCPartial(&running, bytes + at, at + piece > size ? size - at : piece);
    EXPECT_EQ(~running, qzCRCCalc(bytes, size));
  }
}

TEST(Checksums, PartialOverTheUnbuiltTableOnlyShifts) {  // Required: the caller builds it
  std::memset(qzCRCulTable, 0, sizeof qzCRCulTable);
  qzCRCulTableInitialized = false;
  unsigned int running = 0x12345678;
  qzCRCPartial(&running, bytesOf("ab"), 2);
  EXPECT_EQ(running, 0x1234u);
  EXPECT_FALSE(qzCRCulTableInitialized);
}

TEST(Checksums, EverySecondByteNeverReadsTheOddOnes) {
  EXPECT_EQ(qzCRCCalc8(bytesOf("1234567"), 4, true), 0u);  // '1' ^ '3' ^ '5' ^ '7'
  EXPECT_EQ(qzCRCCalc8(bytesOf("12345"), 2, true), '1' ^ '3');

  // The last even byte is the last one that may be touched.
  auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* const mapped =
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mapped, MAP_FAILED);
  auto* const end = static_cast<unsigned char*>(mapped) + page;
  ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
  std::memset(end - 5, 0x0F, 5);
  EXPECT_EQ(qzCRCCalc8(end - 5, 3, true), 0x0Fu);
  munmap(mapped, 2 * page);
}

TEST(Checksums, ReflectTurnsTheLowBitsRound) {
  struct {
    unsigned int value;
    int bits;
    unsigned int expected;
  } const rows[] = {
      {1, 8, 0x80},
      {0x80000000, 32, 1},
      {0xFF, 4, 0xF},
      {0x101, 8, 0x80},
      {5, 0, 0},
      {5, -1, 0},
      {5, -128, 0},
      {0x80000001, 33, 0x80000001},
      {2, 33, 0x40000000},
      {2, 127, 0x40000000},
      {0x12345678, 32, 0x1E6A2C48},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.value << ", " << row.bits);
    EXPECT_EQ(qzCRCReflect(row.value, static_cast<char>(row.bits)), row.expected);
  }
}

}  // namespace
