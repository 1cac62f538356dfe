#include "data/checksums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

// The check column of the catalogue of parametrised CRC algorithms, and the first, second and last
// entries of the tables that belong to it. No bytes give 0.
TEST(Checksums, GiveTheCatalogueValues) {
  unsigned char const digits[] = "123456789";
  for (unsigned const count : {0u, 9u}) {
    SCOPED_TRACE(count);
    EXPECT_EQ(qzCRCCalc(digits, count), count == 0 ? 0 : 0xCBF43926u);
    EXPECT_EQ(qzCRCCalc64(digits, count), count == 0 ? 0 : 0xE9C6D914C4B8D9CAu);
    EXPECT_EQ(qzCRCCalc16(digits, count), count == 0 ? 0 : 0x31C3);
    EXPECT_EQ(qzCRCCalc8(digits, count, false), count == 0 ? 0 : 0x31);
  }
  EXPECT_EQ(std::vector({qzCRCulTable[0], qzCRCulTable[1], qzCRCulTable[255]}),
            std::vector({0u, 0x77073096u, 0x2D02EF8Du}));
  EXPECT_EQ(std::vector({crctab64[0], crctab64[1], crctab64[255]}),
            (std::vector<std::uint64_t>{0, 0x7AD870C830358979, 0x29B7D047EFEC8728}));
  EXPECT_EQ(std::vector({crc16tab[0], crc16tab[1], crc16tab[255]}),
            (std::vector<std::uint16_t>{0, 0x1021, 0x1EF0}));
}

TEST(Checksums, PiecesOfAnySizeGiveTheWhole) {
  std::vector<unsigned char> bytes(67);
  for (std::size_t i = 0; i < 67; ++i) bytes[i] = static_cast<unsigned char>(i * 37 + 250);
  for (unsigned piece = 1; piece <= 67; ++piece) {
    SCOPED_TRACE(piece);
    qzCRCInitialize();  // a table that is built again keeps its values
    unsigned int running = 0xFFFFFFFF;
    for (unsigned at = 0; at < 67; at += piece)
      qzCRCPartial(&running, &bytes[at], std::min(piece, 67 - at));
    EXPECT_EQ(~running, qzCRCCalc(bytes.data(), 67));
  }
}

TEST(Checksums, EverySecondByteNeverReadsTheOddOnes) {
  std::vector<unsigned char> const bytes = {'1', 'x', '3', 'x', '5'};  // and nothing behind it
  EXPECT_EQ(qzCRCCalc8(bytes.data(), 3, true), '1' ^ '3' ^ '5');
}

TEST(Checksums, ReflectTurnsTheLowBitsRound) {
  struct {
    unsigned int value;
    char bits;
    unsigned int expected;
  } const rows[] = {{1, 8, 0x80},
                    {0x80000000, 32, 1},
                    {0xFF, 4, 0xF},
                    {0x101, 8, 0x80},
                    {5, 0, 0},
                    {5, -128, 0},
                    {2, 33, 0x40000000},
                    {2, 127, 0x40000000},
                    {0x12345678, 32, 0x1E6A2C48}};
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.value << ", " << +row.bits);
    EXPECT_EQ(qzCRCReflect(row.value, row.bits), row.expected);
  }
}

}  // namespace
