// What the tests of the 8-bit string look at: the text, what a bare pointer shows, and the bytes.
#ifndef QZ_TESTS_STRINGS_STRING8_TESTING_H_
#define QZ_TESTS_STRINGS_STRING8_TESTING_H_

#include <algorithm>
#include <cstring>
#include <string>

#include "strings/string8.h"

template <int N>
std::string textOf(_qzString8_allSize<N> const& s) {
  return {s.data, static_cast<std::size_t>(std::min<int>(s.length, N))};
}

// What asChar() gives to a reader that stops at the first zero byte.
template <int N>
std::string shownBy(_qzString8_allSize<N> const& s) {
  return {s.data, strnlen(s.data, N + 1)};
}

// The length and all N + 1 characters in hexadecimal; the spare byte of an even N is left out.
template <int N>
std::string imageOf(_qzString8_allSize<N> const& s) {
  std::string image;
  auto const* const bytes = reinterpret_cast<unsigned char const*>(&s);
  for (int i = 0; i < N + 3; ++i) {
    if (i == 2) image += ' ';
    for (int const digit : {bytes[i] >> 4, bytes[i] & 15}) image += "0123456789abcdef"[digit];
  }
  return image;
}

#endif  // QZ_TESTS_STRINGS_STRING8_TESTING_H_
