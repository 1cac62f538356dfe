#include "data/checksums.h"

#include <cstddef>
#include <cstring>

namespace {

// Entry i is i, taken through eight steps of the reflected polynomial 0xAD93D23594C935A9.
constexpr std::array<std::uint64_t, 256> makeTable64() {
  std::array<std::uint64_t, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    std::uint64_t entry = i;
    for (int step = 0; step < 8; ++step)
      entry = (entry >> 1) ^ ((entry & 1) != 0 ? 0x95AC9329AC4BC9B5 : 0);
    table[i] = entry;
  }
  return table;
}

// Entry i is i as the high byte, taken through eight steps of the polynomial 0x1021.
constexpr std::array<std::uint16_t, 256> makeTable16() {
  std::array<std::uint16_t, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    std::size_t entry = i << 8;
    for (int step = 0; step < 8; ++step)
      entry = (entry << 1) ^ ((entry & 0x8000) != 0 ? 0x1021 : 0);
    table[i] = static_cast<std::uint16_t>(entry & 0xFFFF);
  }
  return table;
}

}  // namespace

unsigned int qzCRCulTable[256];
bool qzCRCulTableInitialized = false;
constinit std::array<std::uint64_t, 256> const crctab64 = makeTable64();
constinit std::array<std::uint16_t, 256> const crc16tab = makeTable16();

unsigned int qzCRCReflect(unsigned int value, char bits) {
  int const wanted = static_cast<signed char>(bits);  // plain char has no sign on some machines
  int const count = wanted > 32 ? 32 : wanted;
  unsigned int reflected = 0;
  for (int i = 0; i < count; ++i)
    if ((value >> i & 1) != 0) reflected |= 1u << (count - 1 - i);
  return reflected;
}

void qzCRCInitialize() {
  std::memset(qzCRCulTable, 0, sizeof qzCRCulTable);
  // An entry is the exclusive-or of the entries of its index's bits, and the entry of a bit is one
  // step of the division away from that of the next higher bit. A short-lived program pays for the
  // table each time that it runs.
  unsigned int const polynomial = qzCRCReflect(0x04C11DB7, 32);
  unsigned int entry = 1;
  for (unsigned int bit = 128; bit != 0; bit >>= 1) {
    entry = (entry >> 1) ^ ((entry & 1) != 0 ? polynomial : 0);
    for (unsigned int i = 0; i < 256; i += 2 * bit) qzCRCulTable[bit + i] = entry ^ qzCRCulTable[i];
  }
  qzCRCulTableInitialized = true;
}

void qzCRCPartial(unsigned int* crc, unsigned char const* bytes, unsigned int count) {
  unsigned int value = *crc;
  for (std::size_t i = 0; i < count; ++i)
    value = (value >> 8) ^ qzCRCulTable[(value ^ bytes[i]) & 0xFF];
  *crc = value;
}

unsigned int qzCRCCalc(unsigned char const* bytes, unsigned int const& count) {
  if (!qzCRCulTableInitialized) qzCRCInitialize();
  unsigned int value = 0xFFFFFFFF;
  qzCRCPartial(&value, bytes, count);
  return ~value;
}

std::uint64_t qzCRCCalc64(void const* bytes, unsigned long count) {
  auto const* const source = static_cast<unsigned char const*>(bytes);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < count; ++i)
    value = (value >> 8) ^ crctab64[(value & 0xFF) ^ source[i]];
  return value;
}

std::uint16_t qzCRCCalc16(unsigned char const* bytes, unsigned long count) {
  std::uint16_t value = 0;
  for (std::size_t i = 0; i < count; ++i)
    value = static_cast<std::uint16_t>((value << 8) ^ crc16tab[bytes[i] ^ (value >> 8)]);
  return value;
}

std::uint8_t qzCRCCalc8(unsigned char const* bytes, unsigned long count, bool everySecondByte) {
  std::size_t const stride = everySecondByte ? 2 : 1;
  std::uint8_t sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum ^= bytes[i * stride];
  return sum;
}
