#include "strings/number_core.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace qz::detail {
namespace {

constexpr int kMostDigits = 20;  // of a 64-bit number, the minus sign among them

template <class Number>
int writeDecimal(char (&text)[24], Number value) {
  char* const end = std::to_chars(text, text + sizeof text - 1, value).ptr;
  *end = 0;
  return static_cast<int>(end - text);
}

constexpr int kAllHexDigits = 8;

// All capital digits, the first one in the lowest byte, which is the first in memory.
static_assert(std::endian::native == std::endian::little);
std::uint64_t hexDigits(unsigned value) {
  using words [[gnu::vector_size(16)]] = unsigned;
  using lanes [[gnu::vector_size(16)]] = signed char;
  constexpr unsigned kHalves = 0x0F0F0F0F;
  unsigned const bytes = __builtin_bswap32(value);  // the first digits to the first byte
  auto const firsts = reinterpret_cast<lanes>(words{bytes >> 4 & kHalves});
  auto const seconds = reinterpret_cast<lanes>(words{bytes & kHalves});
  lanes digits = __builtin_shufflevector(firsts, seconds, 0, 16, 1, 17, 2, 18, 3, 19,  //
                                         4, 20, 5, 21, 6, 22, 7, 23);
  digits += (digits > 9) & ('A' - '9' - 1);
  digits += '0';
  std::uint64_t text;
  std::memcpy(&text, &digits, sizeof text);
  return text;
}

// What of the digits fits, where that is not all of them.
[[gnu::noinline]] void appendSomeHex(text_slot<char> text, unsigned value, int minDigits,
                                     int mostKept) {
  int const digits = std::max(static_cast<int>(std::bit_width(value) + 3) / 4, minDigits);
  int const fitting = std::min(digits, text.capacity);
  int const kept = std::min(fitting, mostKept);
  int const start = text.used();
  int const count = std::min(kept, text.capacity - start);
  std::uint64_t shown = hexDigits(value) >> (kAllHexDigits - digits + fitting - kept) * 8;
  for (int i = 0; i < count; ++i, shown >>= 8) text.units[start + i] = static_cast<char>(shown);
  text.setUsedAndEnd(start + count);
}

void appendDigits(text_slot<char> text, unit_run<char> digits) { append(text, digits); }
void appendDigits(text_slot<unsigned short> text, unit_run<char> digits) {
  appendWidenedWithZeros(text, digits);
}

bool isSignedWidth(int bits) { return bits == 8 || bits == 16 || bits == 32; }

long long withSign(unsigned value, int bits) {
  if (bits == 8) return static_cast<signed char>(value);
  if (bits == 16) return static_cast<short>(value);
  return static_cast<int>(value);
}

}  // namespace

decimal_text::decimal_text(long long value) : count(writeDecimal(text, value)) {}
decimal_text::decimal_text(unsigned long long value) : count(writeDecimal(text, value)) {}

template <class Unit, class Number>
void appendDecimal(text_slot<Unit> text, Number value) {
  if constexpr (std::is_same_v<Unit, char>) {
    if (text.room() >= kMostDigits) {
      char* const begin = text.units + text.used();
      char* const end = std::to_chars(begin, begin + kMostDigits, value).ptr;
      return text.setUsedAndEnd(static_cast<int>(end - text.units));
    }
  }
  decimal_text const digits(value);
  appendDigits(text, {digits.text, digits.count});
}

template <class Unit>
void appendDecimalColumn(text_slot<Unit> text, long long value, int width) {
  appendColumnInRoom(text, decimal_text(value).text, width);
}

void appendDecimalPadded(text_slot<char> text, long long value, int minDigits) {
  decimal_text const digits(value);
  for (int i = digits.count; i < minDigits; ++i) appendUnit(text, '0');
  append(text, unit_run<char>{digits.text, digits.count});
}

void appendDecimalPadded(text_slot<unsigned short> text, long long value, int minDigits) {
  decimal_text const digits(value);
  char padded[kMostDigits];
  int const zeros = std::clamp(minDigits - digits.count, 0, kMostDigits);
  int const shown = std::min(digits.count, kMostDigits - zeros);
  std::fill_n(padded, zeros, '0');
  std::copy_n(digits.text, shown, padded + zeros);
  appendWidenedWithZeros(text, unit_run<char>{padded, zeros + shown});
}

void appendHex(text_slot<char> text, int number, int minDigits, int mostKept) {
  auto const value = static_cast<unsigned>(number);
  int const start = text.used();
  if (minDigits < kAllHexDigits || mostKept < kAllHexDigits ||
      text.capacity - start < kAllHexDigits)
    return appendSomeHex(text, value, minDigits, mostKept);
  std::uint64_t const digits = hexDigits(value);  // by far the most, and a single store
  std::memcpy(text.units + start, &digits, kAllHexDigits);
  text.setUsedAndEnd(start + kAllHexDigits);
}

template <class Unit>
bool isNumber(unit_run<Unit> text) {
  for (int i = 0; i < text.count; ++i) {
    Unit const c = text.units[i];
    if ((c < '0' || c > '9') && !(i == 0 && c == '-')) return false;
  }
  return true;
}

long long readAnyNumber(unit_run<char> text, bool* ok) {
  if (ok != nullptr) {
    *ok = isNumber(text);
    if (!*ok) return 0;
  }
  return std::atoll(text.units);
}

int toInt(text_view<unsigned short> text, bool* ok) {
  if (ok != nullptr) {
    *ok = isNumber(text.run());
    if (!*ok) return 0;
  }
  char digits[250];
  narrowInto(digits, sizeof digits - 1, text);
  return std::atoi(digits);
}

long long toIntFromHex(text_slot<char> text, char* copy, int bits, bool signedValue, bool consume,
                       bool* ok) {
  int const digits = std::clamp(bits / 4, 0, text.capacity);
  copy[digits] = 0;
  if (consume) dropFront(text, std::min(digits, text.used()));

  bool unused = false;
  bool& valid = ok != nullptr ? *ok : unused;
  valid = true;
  if (!signedValue) return std::strtoll(copy, nullptr, 16);
  unsigned value = 0;
  valid = std::sscanf(copy, "%X", &value) == 1 && isSignedWidth(bits);
  return valid ? withSign(value, bits) : 0;
}

template void appendDecimal(text_slot<char>, int);
template void appendDecimal(text_slot<char>, long long);
template void appendDecimal(text_slot<char>, unsigned long long);
template void appendDecimal(text_slot<unsigned short>, int);
template void appendDecimal(text_slot<unsigned short>, long long);
template void appendDecimal(text_slot<unsigned short>, unsigned long long);
template bool isNumber(unit_run<char>);
template bool isNumber(unit_run<unsigned short>);
template void appendDecimalColumn(text_slot<char>, long long, int);
template void appendDecimalColumn(text_slot<unsigned short>, long long, int);

}  // namespace qz::detail
