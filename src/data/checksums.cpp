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

// Folds the bytes into a running value, one table look-up for each. The value is kept mixed with
// the byte that comes next: a look-up waits for the one before it, and this mixing then does not
// wait.
template <class Value>
Value foldReflected(Value value, Value const* table, unsigned char const* bytes,
                    std::size_t count) {
  if (count == 0) return value;
  Value mixed = value ^ bytes[0];
  for (std::size_t i = 1; i < count; ++i) mixed = table[mixed & 0xFF] ^ (mixed >> 8 ^ bytes[i]);
  return table[mixed & 0xFF] ^ mixed >> 8;
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
  *crc = foldReflected(*crc, qzCRCulTable, bytes, count);
}

unsigned int qzCRCCalc(unsigned char const* bytes, unsigned int const& count) {
  if (!qzCRCulTableInitialized) qzCRCInitialize();
  unsigned int value = 0xFFFFFFFF;
  qzCRCPartial(&value, bytes, count);
  return ~value;
}

std::uint64_t qzCRCCalc64(void const* bytes, unsigned long count) {
  return foldReflected(std::uint64_t{0}, crctab64.data(), static_cast<unsigned char const*>(bytes),
                       count);
}

std::uint16_t qzCRCCalc16(unsigned char const* bytes, unsigned long count) {
  if (count == 0) return 0;
  // See foldReflected.
  unsigned int mixed = unsigned{bytes[0]} << 8;
  for (std::size_t i = 1; i < count; ++i)
    mixed = crc16tab[mixed >> 8 & 0xFF] ^ (mixed << 8 ^ unsigned{bytes[i]} << 8);
  return static_cast<std::uint16_t>(crc16tab[mixed >> 8 & 0xFF] ^ mixed << 8);
}

std::uint8_t qzCRCCalc8(unsigned char const* bytes, unsigned long count, bool everySecondByte) {
  std::size_t const stride = everySecondByte ? 2 : 1;
  std::uint8_t sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum ^= bytes[i * stride];
  return sum;
}
