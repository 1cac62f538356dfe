// The search for bytes in 1 MiB and in 4 KiB, and the buffer filled piece by piece.
#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "data/data_buffer.h"
#include "race.h"

namespace {

enum class kind { random, english, letters };

std::mt19937 numbers(1);

std::string bytesOf(kind what, std::size_t count) {
  static char const* const words[] = {
      "the",     "of",      "and",  "to",   "in",     "that",  "is",    "was",    "he",    "for",
      "it",      "with",    "as",   "his",  "on",     "be",    "at",    "by",     "had",   "not",
      "but",     "from",    "have", "are",  "which",  "this",  "they",  "one",    "were",  "their",
      "picture", "evening", "sea",  "path", "window", "quiet", "light", "shadow", "frame", "every"};
  std::string text;
  while (text.size() < count) {
    if (what == kind::random) text += static_cast<char>(1 + numbers() % 255);
    if (what == kind::letters) text += "ACGT"[numbers() % 4];
    if (what == kind::english) {
      text += words[std::min(numbers() % 40, numbers() % 40)];
      text += numbers() % 9 == 0 ? ", " : " ";
    }
  }
  text.resize(count);
  return text;
}

struct search_input {
  std::string text, needle;
  _QZ_DataBuffer buffer;
  _qzString8_allSize<250> wanted;

  // The needle is of the same kind as the text, and stands at the end of it alone.
  search_input(kind what, std::size_t size, std::size_t needleSize) {
    do {
      text = bytesOf(what, size);
      needle = bytesOf(what, needleSize);
      if (needleSize < 10) needle.back() = 'q';
      text.replace(size - needleSize, needleSize, needle);
    } while (text.find(needle) + needleSize < size);
    (void)buffer.append(text.data(), static_cast<int>(size));
    wanted.fromChar(needle.data(), static_cast<int>(needleSize));
    seen(*this);
  }
};

void exact(benchmark::State& state, kind what, std::size_t size, std::size_t needleSize) {
  search_input input(what, size, needleSize);
  race(
      state,
      [&] {
        int place = input.buffer.indexOf(input.wanted, 0);
        seen(place);
      },
      contestant{"memmem",
                 [&] {
                   void* hit = memmem(input.text.data(), input.text.size(), input.needle.data(),
                                      input.needle.size());
                   seen(hit);
                 }},
      contestant{"std::string",
                 [&] {
                   auto place = input.text.find(input.needle);
                   seen(place);
                 }},
      contestant{"std searcher", [&] {
                   std::boyer_moore_searcher const searcher(input.needle.begin(),
                                                            input.needle.end());
                   auto hit = std::search(input.text.begin(), input.text.end(), searcher);
                   seen(hit);
                 }});
}

void folded(benchmark::State& state, kind what, std::size_t size, std::size_t needleSize) {
  search_input input(what, size, needleSize);
  auto const fold = [](std::string text) {
    for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    return text;
  };
  race(
      state,
      [&] {
        int place = input.buffer.indexOfIgnCase(input.wanted, 0);
        seen(place);
      },
      contestant{"strcasestr",
                 [&] {
                   char const* hit = strcasestr(input.text.c_str(), input.needle.c_str());
                   seen(hit);
                 }},
      contestant{"fold, memmem",
                 [&] {
                   std::string const text = fold(input.text), needle = fold(input.needle);
                   void* hit = memmem(text.data(), text.size(), needle.data(), needle.size());
                   seen(hit);
                 }},
      contestant{"boost", [&] {
                   auto hit = boost::algorithm::ifind_first(input.text, input.needle);
                   seen(hit);
                 }});
}

#define QZ_RACE_SEARCH(function)                                                             \
  BENCHMARK_CAPTURE(function, random 4, kind::random, 1 << 20, 4)->Apply(few);               \
  BENCHMARK_CAPTURE(function, random 16, kind::random, 1 << 20, 16)->Apply(few);             \
  BENCHMARK_CAPTURE(function, random 250, kind::random, 1 << 20, 250)->Apply(few);           \
  BENCHMARK_CAPTURE(function, english 4, kind::english, 1 << 20, 4)->Apply(few);             \
  BENCHMARK_CAPTURE(function, english 16, kind::english, 1 << 20, 16)->Apply(few);           \
  BENCHMARK_CAPTURE(function, english 250, kind::english, 1 << 20, 250)->Apply(few);         \
  BENCHMARK_CAPTURE(function, four letters 4, kind::letters, 1 << 20, 4)->Apply(few);        \
  BENCHMARK_CAPTURE(function, four letters 16, kind::letters, 1 << 20, 16)->Apply(few);      \
  BENCHMARK_CAPTURE(function, four letters 250, kind::letters, 1 << 20, 250)->Apply(few);    \
  BENCHMARK_CAPTURE(function, random 200 in 4 KiB, kind::random, 4096, 200)->Apply(inTurns); \
  BENCHMARK_CAPTURE(function, english 200 in 4 KiB, kind::english, 4096, 200)->Apply(inTurns)

void few(benchmark::internal::Benchmark* benchmark) { benchmark->Iterations(21)->UseManualTime(); }
QZ_RACE_SEARCH(exact);
QZ_RACE_SEARCH(folded);

// The cost over the length of the text that is looked for.
void lengthInData(benchmark::State& state) {
  exact(state, kind::english, 1 << 20, static_cast<std::size_t>(state.range(0)));
}
void lengthInPage(benchmark::State& state) {
  exact(state, kind::english, 4 << 10, static_cast<std::size_t>(state.range(0)));
}
void lengths(benchmark::internal::Benchmark* benchmark) {
  benchmark->Apply(few)->Arg(2)->Arg(4)->Arg(8)->Arg(16)->Arg(32)->Arg(64)->Arg(128)->Arg(250);
}
BENCHMARK(lengthInData)->Apply(lengths);
BENCHMARK(lengthInPage)->Apply(lengths);

// Fills an empty one with `total` bytes in pieces.
template <class Add>
void fill(std::size_t total, std::size_t piece, Add add) {
  for (std::size_t done = 0; done < total; done += piece) add();
}

void raceFill(benchmark::State& state, bool (*add)(_QZ_DataBuffer&, char const*, int)) {
  auto const piece = static_cast<std::size_t>(state.range(0));
  auto const total = static_cast<std::size_t>(state.range(1));
  std::string source(piece, 'x');
  seen(source);
  race(
      state,
      [&] {
        _QZ_DataBuffer buffer;
        fill(total, piece, [&] { add(buffer, source.data(), static_cast<int>(piece)); });
        seen(buffer);
      },
      contestant{"std::vector",
                 [&] {
                   std::vector<char> bytes;
                   fill(total, piece,
                        [&] { bytes.insert(bytes.end(), source.begin(), source.end()); });
                   seen(bytes);
                 }},
      contestant{"std::string", [&] {
                   std::string bytes;
                   fill(total, piece, [&] { bytes.append(source.data(), source.size()); });
                   seen(bytes);
                 }});
}

void write(benchmark::State& state) {
  raceFill(state, [](_QZ_DataBuffer& buffer, char const* source, int count) {
    buffer.write(source, count);
    return true;
  });
}
void append(benchmark::State& state) {
  raceFill(state, [](_QZ_DataBuffer& buffer, char const* source, int count) {
    return buffer.append(source, count);
  });
}

void pieces(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"piece", "total"})->Apply(few);
}
BENCHMARK(write)->Apply(pieces)->ArgsProduct({{1, 16, 256, 4096}, {1 << 20}});
BENCHMARK(write)->Apply(pieces)->ArgsProduct({{1000},
                                              {1000, 64'000, 1'000'000, 8'000'000, 64'000'000}});
BENCHMARK(append)->Apply(pieces)->ArgsProduct({{16, 256, 4096}, {1 << 20}});
BENCHMARK(append)->Apply(pieces)->ArgsProduct({{1000},
                                               {1000, 64'000, 1'000'000, 8'000'000, 64'000'000}});

}  // namespace
