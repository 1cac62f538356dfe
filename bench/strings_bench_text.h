// The texts that the string races run on.
#ifndef QZ_BENCH_STRINGS_BENCH_TEXT_H_
#define QZ_BENCH_STRINGS_BENCH_TEXT_H_

#include <cstddef>
#include <string>

// Returns words of a render log's kind, without a match for anything that the races look for.
inline std::string wordsOf(int count) {
  std::string const words =
      "node render shader cache miss texture bucket sample noise layer camera light job pool ";
  std::string text;
  while (text.size() < static_cast<std::size_t>(count)) text += words;
  text.resize(static_cast<std::size_t>(count));
  return text;
}

inline std::string repeated(std::string const& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) result += text;
  return result;
}

#endif  // QZ_BENCH_STRINGS_BENCH_TEXT_H_
