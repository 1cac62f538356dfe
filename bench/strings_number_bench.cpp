// Numbers as text and back: appended behind a short text, and read with the check that the whole
// text is a number.
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "race.h"
#include "strings/string8.h"

namespace {

using string8 = _qzString8_allSize<250>;

struct buffer {
  char text[251] = "frame";
  int used = 5;
  char* end() { return text + sizeof text; }
};

void raceDecimal(benchmark::State& state, int number) {
  string8 ours("frame");
  std::string standard = "frame", abseil = standard;
  standard.reserve(50);
  abseil.reserve(50);
  buffer plain, printed;
  seen(number);
  race(
      state,
      [&] {
        ours.length = 5;
        ours.addNr(number);
        seen(ours);
      },
      contestant{"to_chars",
                 [&] {
                   char* const end = std::to_chars(plain.text + 5, plain.end() - 1, number).ptr;
                   *end = 0;
                   plain.used = static_cast<int>(end - plain.text);
                   seen(plain);
                 }},
      contestant{"to_string",
                 [&] {
                   standard.resize(5);
                   standard += std::to_string(number);
                   seen(standard);
                 }},
      contestant{"absl",
                 [&] {
                   abseil.resize(5);
                   absl::StrAppend(&abseil, number);
                   seen(abseil);
                 }},
      contestant{"snprintf", [&] {
                   printed.used =
                       5 + std::snprintf(printed.text + 5, sizeof printed.text - 5, "%d", number);
                   seen(printed);
                 }});
}
void addNrOf2(benchmark::State& state) { raceDecimal(state, 42); }
BENCHMARK(addNrOf2)->Apply(inTurns);
void addNrOf8(benchmark::State& state) { raceDecimal(state, -1234567); }
BENCHMARK(addNrOf8)->Apply(inTurns);

void addHexCode(benchmark::State& state) {
  int number = 0x1A2B3C;
  string8 ours("frame");
  std::string abseil = "frame";
  abseil.reserve(50);
  buffer plain, printed;
  seen(number);
  race(
      state,
      [&] {
        ours.length = 5;
        ours.addHexCode(number);
        seen(ours);
      },
      contestant{"absl::Hex",
                 [&] {
                   abseil.resize(5);
                   absl::StrAppend(&abseil, absl::Hex(number, absl::kZeroPad8));
                   seen(abseil);
                 }},
      contestant{"to_chars",  // digits in lower case
                 [&] {
                   char digits[8];
                   auto const end =
                       std::to_chars(digits, digits + 8, static_cast<unsigned>(number), 16).ptr;
                   auto const count = end - digits;
                   std::memset(plain.text + 5, '0', static_cast<std::size_t>(8 - count));
                   std::memcpy(plain.text + 13 - count, digits, static_cast<std::size_t>(count));
                   plain.text[13] = 0;
                   plain.used = 13;
                   seen(plain);
                 }},
      contestant{"snprintf", [&] {
                   printed.used = 5 + std::snprintf(printed.text + 5, sizeof printed.text - 5,
                                                    "%08X", static_cast<unsigned>(number));
                   seen(printed);
                 }});
}
BENCHMARK(addHexCode)->Apply(inTurns);

void raceReading(benchmark::State& state, char const* text) {
  string8 ours(text);
  std::string standard(text);
  seen(ours);
  seen(standard);
  race(
      state,
      [&] {
        bool ok;
        int number = ours.toInt(&ok);
        seen(ok);
        seen(number);
      },
      contestant{"from_chars",
                 [&] {
                   int number = 0;
                   char const* const end = standard.data() + standard.size();
                   auto const read = std::from_chars(standard.data(), end, number);
                   bool ok = read.ec == std::errc() && read.ptr == end;
                   seen(ok);
                   seen(number);
                 }},
      contestant{"strtol",
                 [&] {
                   char* end;
                   auto number = std::strtol(standard.c_str(), &end, 10);
                   bool ok = *end == 0;
                   seen(ok);
                   seen(number);
                 }},
      contestant{"absl",
                 [&] {
                   int number;
                   bool ok = absl::SimpleAtoi(standard, &number);
                   seen(ok);
                   seen(number);
                 }},
      contestant{"boost", [&] {
                   int number;
                   bool ok = boost::conversion::try_lexical_convert(standard, number);
                   seen(ok);
                   seen(number);
                 }});
}
void toIntOf2(benchmark::State& state) { raceReading(state, "42"); }
BENCHMARK(toIntOf2)->Apply(inTurns);
void toIntOf8(benchmark::State& state) { raceReading(state, "-1234567"); }
BENCHMARK(toIntOf8)->Apply(inTurns);
void toIntOfNoNumber(benchmark::State& state) { raceReading(state, "1234frame"); }
BENCHMARK(toIntOfNoNumber)->Apply(inTurns);

}  // namespace
