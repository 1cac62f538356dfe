#include "strings/number_core.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace qz::detail {
namespace {

template <class Number>
int writeDecimal(char (&text)[24], Number value) {
  char* const end = std::to_chars(text, text + sizeof text - 1, value).ptr;
  *end = 0;
  return static_cast<int>(end - text);
}

template <class Read>
auto readChecked(unit_run<char> text, bool* ok, Read read) -> decltype(read(text.units)) {
  if (ok != nullptr) {
    *ok = isNumber(text);
    if (!*ok) return 0;
  }
  return read(text.units);
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

template <class Unit>
void appendDigits(text_slot<Unit> text, decimal_text const& digits) {
  Unit lent[sizeof digits.text];
  append(text,
         unit_run<Unit>{unit_rules<Unit>::spell(digits.text, digits.count, lent), digits.count});
}

void appendDecimalPadded(text_slot<char> text, long long value, int minDigits) {
  decimal_text const digits(value);
  for (int i = digits.count; i < minDigits; ++i) appendUnit(text, '0');
  appendDigits(text, digits);
}

void appendHex(text_slot<char> text, unsigned value, int minDigits, int mostKept) {
  char digits[8];
  int count = 0;
  for (int shift = 28; shift >= 0; shift -= 4) {
    unsigned const digit = value >> shift & 0xF;
    if (digit == 0 && count == 0 && shift / 4 >= minDigits) continue;
    digits[count++] = "0123456789ABCDEF"[digit];
  }
  count = std::min(count, text.capacity);
  int const kept = std::min(count, mostKept);
  append(text, unit_run<char>{digits + count - kept, kept});
}

template <class Unit>
bool isNumber(unit_run<Unit> text) {
  for (int i = 0; i < text.count; ++i) {
    Unit const c = text.units[i];
    if ((c < '0' || c > '9') && !(i == 0 && c == '-')) return false;
  }
  return true;
}

int toInt(unit_run<char> text, bool* ok) { return readChecked(text, ok, std::atoi); }

long long toInt64(unit_run<char> text, bool* ok) { return readChecked(text, ok, std::atoll); }

long long toIntFromHex(text_slot<char> text, char* copy, int bits, bool signedValue, bool consume,
                       bool* ok) {
  int const digits = std::clamp(bits / 4, 0, text.capacity);
  copy[digits] = 0;
  if (consume) dropFront(text, std::min(digits, text.used()));

  bool unused;
  bool& valid = ok != nullptr ? *ok : unused;
  valid = true;
  if (!signedValue) return std::strtoll(copy, nullptr, 16);
  unsigned value = 0;
  valid = std::sscanf(copy, "%X", &value) == 1 && isSignedWidth(bits);
  return valid ? withSign(value, bits) : 0;
}

template void appendDigits(text_slot<char>, decimal_text const&);
template void appendDigits(text_slot<unsigned short>, decimal_text const&);
template bool isNumber(unit_run<char>);
template bool isNumber(unit_run<unsigned short>);

}  // namespace qz::detail
