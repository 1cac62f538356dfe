// Base-85 text: a 32-bit word as five characters, and two special words as one. The alphabet leaves
// out the quote marks, the angle brackets, the backslash and the backquote; docs/formats.md shows
// the form with an example, and the lines and marks that it has in a file.
//
// Here is what makes text of one word and a word of text. How bytes become words, and what becomes
// of a last word that they do not fill, is the caller's choice. The file form is made and taken
// apart by _QZ_DataBuffer::A85_formatForFile and A85_cleantext (data/data_buffer.h).
#ifndef QZ_DATA_A85_H_
#define QZ_DATA_A85_H_

#include <array>

// The alphabet: the place of a character is its value as a digit, 0 to 84.
inline constexpr char qzA85Lookup[] =
    "!#$%()*+,-./0123456789:;=?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]_abcdefghijklmnopqrstuvwxy&{|}";
static_assert(sizeof qzA85Lookup == 85 + 1);

// The mark in front of and behind a text in a file: eleven tildes.
inline constexpr char qzA85_StartEnd[] = "~~~~~~~~~~~";
static_assert(sizeof qzA85_StartEnd == 11 + 1);

namespace qz::detail {

inline constexpr char kA85Zero = 'z';  // the word 0
inline constexpr char kA85Ones = '^';  // the word 0xFFFFFFFF

// The value of every character as a digit, 0 for those outside the alphabet.
inline constexpr std::array<unsigned char, 256> kA85Digits = [] {
  std::array<unsigned char, 256> digits{};
  for (unsigned char i = 0; i < 85; ++i) digits[static_cast<unsigned char>(qzA85Lookup[i])] = i;
  return digits;
}();

}  // namespace qz::detail

// Returns the value of `c` as a digit; 0 for "!" and for every character outside the alphabet.
inline int qzA85index(char const& c) {
  return qz::detail::kA85Digits[static_cast<unsigned char>(c)];
}

// Writes the text of `value`, the least significant digit first, without a terminator. Returns the
// number of characters: 1 ("z" for 0, "^" for 0xFFFFFFFF) or 5. `out` must have room for 5.
inline int toA85(unsigned int value, char* out) {
  if (value == 0xFFFFFFFF || value == 0) {
    *out = value == 0 ? qz::detail::kA85Zero : qz::detail::kA85Ones;
    return 1;
  }
  // Two pairs of digits and the top one, so that no division waits for the one before it.
  unsigned int const upper = value / 7225;
  unsigned int const top = value / 52200625;
  unsigned int const low = value - upper * 7225;
  unsigned int const high = upper - top * 7225;
  out[0] = qzA85Lookup[low % 85];
  out[1] = qzA85Lookup[low / 85];
  out[2] = qzA85Lookup[high % 85];
  out[3] = qzA85Lookup[high / 85];
  out[4] = qzA85Lookup[top];
  return 5;
}

// Reads one word at `in` and returns the number of characters that it took, 1 or 5. With fewer than
// that `available` it returns 0 and leaves `value` alone. The first character is read in any case:
// it must be there. Nothing else is checked: a character outside the alphabet counts as the digit
// 0, and five digits that are too many for 32 bits wrap.
inline int fromA85(char const* in, unsigned int& value, int const& available) {
  if (*in == qz::detail::kA85Zero || *in == qz::detail::kA85Ones) {
    if (available < 1) return 0;
    value = *in == qz::detail::kA85Zero ? 0 : 0xFFFFFFFF;
    return 1;
  }
  if (available < 5) return 0;
  // Required: other characters are the digit 0 and too great a number wraps, so text is cleaned
  // before it is read.
  auto const digit = [in](int i) { return static_cast<unsigned int>(qzA85index(in[i])); };
  // Each digit with its own weight: the sum does not wait for one product after the other.
  value = digit(0) + digit(1) * 85 + digit(2) * 7225 + digit(3) * 614125 + digit(4) * 52200625;
  return 5;
}

#endif  // QZ_DATA_A85_H_
