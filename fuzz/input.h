// What the targets share: how the bytes of one input become arguments, and how a target says that
// an answer is wrong. An input is read from the front, and behind its end stand zeros, so that
// every input is a valid one and a seed can be written by hand.
#ifndef QZ_FUZZ_INPUT_H_
#define QZ_FUZZ_INPUT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

struct fuzz_input {
  std::uint8_t const* at;
  std::size_t left;

  template <class Number>
  Number number() {
    Number value = 0;
    std::size_t const count = std::min(left, sizeof value);
    std::memcpy(&value, at, count);
    at += count;
    left -= count;
    return value;
  }
  int byte() { return number<std::uint8_t>(); }
  bool coin() { return (byte() & 1) != 0; }
  // Below `limit`, which must not be 0.
  int below(int limit) {
    return limit <= 256 ? byte() % limit
                        : static_cast<int>(number<std::uint32_t>() % unsigned(limit));
  }
  // As a rule a small number, else any.
  template <class Number>
  Number anyOrSmall() {
    int const first = byte();
    return first < 224 ? static_cast<Number>(static_cast<signed char>(first)) : number<Number>();
  }
  std::string text(std::size_t count) {
    count = std::min(count, left);
    std::string taken(reinterpret_cast<char const*>(at), count);
    at += count;
    left -= count;
    return taken;
  }
  std::string rest() { return text(left); }
};

// Memory that ends where the text ends, so that the address sanitizer sees a step too far.
template <class Text>
std::vector<typename Text::value_type> exactly(Text const& text) {
  return {text.begin(), text.end()};
}

// A wrong answer ends the run and keeps the input.
inline void expect(bool good, int line = __builtin_LINE(), char const* file = __builtin_FILE()) {
  if (good) return;
  std::fprintf(stderr, "%s:%d: the answer is not the expected one\n", file, line);
  std::abort();
}

// What libFuzzer calls with every input.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size);

#endif  // QZ_FUZZ_INPUT_H_
