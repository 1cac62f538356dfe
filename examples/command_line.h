// What the examples share in reading their command lines and in saying what is wrong.
#ifndef QZ_EXAMPLES_COMMAND_LINE_H_
#define QZ_EXAMPLES_COMMAND_LINE_H_

#include <charconv>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "tool/system_services.h"

namespace example {

inline bool isHelp(char const* option) {
  return std::strcmp(option, "-h") == 0 || std::strcmp(option, "--help") == 0;
}

// Reads the whole value as a number from `least` to `most`. Otherwise says what is wrong with it,
// null if it is missing, and returns false.
template <class Number>
bool readNumber(char const* program, char const* option, char const* value, int least, int most,
                Number& number) {
  if (value != nullptr) {
    char const* const end = value + std::strlen(value);
    auto const [rest, failure] = std::from_chars(value, end, number);
    if (failure == std::errc() && rest == end && number >= least && number <= most) return true;
  }
  std::fprintf(stderr, "%s: %s needs a number from %d to %d", program, option, least, most);
  if (value != nullptr) std::fprintf(stderr, ", not \"%s\"", value);
  std::fputs(".\n", stderr);
  return false;
}

// The exit status.
inline int explainNoOutput(char const* program) {
  std::fprintf(stderr, "%s: cannot write to standard output: %s.\n", program,
               qzLastOSError8(-1).asChar());
  return 1;
}

}  // namespace example

#endif  // QZ_EXAMPLES_COMMAND_LINE_H_
