#include "data/random_text.h"

#include <cstddef>

namespace {

constexpr unsigned kMultiplier = 16807;
constexpr unsigned kModulus = 0x7FFFFFFF;
// Schrage's method: the modulus divided by the multiplier, and the rest, so that no product needs
// more than 32 bits.
constexpr unsigned kQuotient = 127773;
constexpr unsigned kRest = 2836;

unsigned step(unsigned value) {
  unsigned const next =
      kMultiplier * (value % kQuotient) - kRest * (value / kQuotient);  // wraps below zero
  // Required: below 1 and not below 0, so that 0 becomes the modulus and the modulus itself.
  return static_cast<int>(next) < 1 ? next + kModulus : next;
}

template <int N>
_qzString8_allSize<N> randomText(unsigned value, int mode, int count) {
  _qzString8_allSize<N> text;
  for (int i = 0; i < count; ++i) {
    value = step(value);
    if (mode == 0) text += static_cast<char>(value & 0xFF);
    if (mode == 1) text += qzLetters[value % (sizeof qzLetters - 1)];
    if (mode == 2) text += qzNumbers[value % (sizeof qzNumbers - 1)];
  }
  return text;
}

}  // namespace

float qzRand(unsigned int& seed) {
  seed = step(seed);
  return static_cast<float>(seed) * 0x1p-31F;
}

unsigned int qzRandCalc(unsigned char const* bytes, unsigned int const& count) {
  unsigned const end = count;
  unsigned sum = 0;
  for (unsigned i = 0; i < end; ++i) sum += bytes[i] * i;
  return step(step(sum));
}

_qzString8_allSize<10> qzRandString(unsigned int seed, int mode) {
  return randomText<10>(seed, mode, 10);
}

_qzString8_allSize<10> qzRandString9(unsigned int seed, int mode) {
  return randomText<10>(seed, mode, 9);
}

_qzString8_allSize<20> qzRandString20(unsigned int seed, int mode) {
  return randomText<20>(seed, mode, 20);
}
