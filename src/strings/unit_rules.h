// Everything in which 8-bit and 16-bit text differ at the level of one unit, side by side. The
// algorithms of text_core.h take these rules by their unit type and know no other difference;
// what differs for a whole member stands in the struct that has the member.
//
//   rule      char                              unsigned short
//   upper     a-z to A-Z, all others stay       a-z to A-Z, all others stay
//   lower     A-Z to a-z, all others stay       A-Z to a-z, all others stay
//   order     as an unsigned byte               low byte first, as the bytes lie in memory
//   widened   a character as it is              a character with its sign
//   count     to the first zero byte; the low   to the first zero unit, 1024 at most
//             16 bits of that
//
// Folding is ASCII only: what toupper and tolower do in the "C" locale, whichever locale the
// program sets. Bytes of 128 and above stay.
#ifndef QZ_STRINGS_UNIT_RULES_H_
#define QZ_STRINGS_UNIT_RULES_H_

#include <cstring>

namespace qz::detail {

// What a letter differs in from the same letter in the other case.
constexpr int caseBit(bool changes) { return changes ? 0x20 : 0; }

constexpr char lowByte(unsigned short unit) { return static_cast<char>(unit & 0xFF); }

template <class Unit>
struct unit_rules;

template <>
struct unit_rules<char> {
  static constexpr char upper(char c) {
    return static_cast<char>(c ^ caseBit(c >= 'a' && c <= 'z'));
  }
  static constexpr char lower(char c) {
    return static_cast<char>(c ^ caseBit(c >= 'A' && c <= 'Z'));
  }
  // The character with its sign.
  static constexpr int weight(char c) { return static_cast<signed char>(c); }
  static constexpr int order(char c) { return static_cast<unsigned char>(c); }
  static constexpr char widened(char c) { return c; }
  static int count(char const* text) { return static_cast<unsigned short>(std::strlen(text)); }
};

template <>
struct unit_rules<unsigned short> {
  static constexpr unsigned short upper(unsigned short c) {
    return static_cast<unsigned short>(c ^ caseBit(c >= 'a' && c <= 'z'));
  }
  static constexpr unsigned short lower(unsigned short c) {
    return static_cast<unsigned short>(c ^ caseBit(c >= 'A' && c <= 'Z'));
  }
  static constexpr int order(unsigned short c) { return ((c & 0xFF) << 8) | (c >> 8); }
  static constexpr unsigned short widened(char c) {
    return static_cast<unsigned short>(unit_rules<char>::weight(c));
  }
  static int count(unsigned short const* units) {
    int count = 0;
    while (count < 1024 && units[count] != 0) ++count;
    return count;
  }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_UNIT_RULES_H_
