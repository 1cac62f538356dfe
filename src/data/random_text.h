// A small repeatable generator of numbers, and short strings made with it. There is no state but
// the caller's seed: the same seed gives the same text on every machine. Not for secrets.
//
// The generator is the minimal standard one of S. K. Park and K. W. Miller, "Random Number
// Generators: Good Ones Are Hard to Find", Communications of the ACM 31 (10), 1988: multiplier
// 16807, modulus 2^31 - 1. Required: a value of 0 steps to 2^31 - 1 and stays there.
#ifndef QZ_DATA_RANDOM_TEXT_H_
#define QZ_DATA_RANDOM_TEXT_H_

#include "strings/string8.h"

// The characters of mode 1, 68. Some of them are not legal in a file name.
inline constexpr char qzLetters[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ1234567890_!/()=abcdefghijklmnopqrstuvwxyz";
// The characters of mode 2, 10.
inline constexpr char qzNumbers[] = "1234567890";

// Steps `seed` on and returns it divided by 2^31: above 0, and up to 1, to which the highest values
// round.
float qzRand(unsigned int& seed);

// Returns a repeatable number made of `count` bytes and their places. Required: the first byte has
// no weight. No bytes give 2^31 - 1.
unsigned int qzRandCalc(unsigned char const* bytes, unsigned int const& count);

// Return 10, 9 and 20 characters, the first one made of the value behind `seed`. Mode 0 takes the
// low byte of the generator's value, whatever it is, a zero byte too; mode 1 takes qzLetters, mode
// 2 qzNumbers. Any other mode gives an empty string. The strings of one seed begin alike.
_qzString8_allSize<10> qzRandString(unsigned int seed, int mode);
_qzString8_allSize<10> qzRandString9(unsigned int seed, int mode);
_qzString8_allSize<20> qzRandString20(unsigned int seed, int mode);

#endif  // QZ_DATA_RANDOM_TEXT_H_
