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
  void print(char const* format, int number) {
    used = 5 + std::snprintf(text + 5, sizeof text - 5, format, number);
  }
};

// What a number is appended to.
struct targets {
  string8 ours = "frame";
  std::string standard = "frame", abseil = "frame";
  buffer plain, printed;

  targets() {
    standard.reserve(50);
    abseil.reserve(50);
  }
};

void raceDecimal(benchmark::State& state, int number) {
  targets target;
  seen(number);
  race(
      state,
      [&] {
        target.ours.length = 5;
        target.ours.addNr(number);
        seen(target.ours);
      },
      contestant{"to_chars",
                 [&] {
                   char* const end =
                       std::to_chars(target.plain.text + 5, target.plain.end() - 1, number).ptr;
                   *end = 0;
                   target.plain.used = static_cast<int>(end - target.plain.text);
                   seen(target.plain);
                 }},
      contestant{"to_string",
                 [&] {
                   target.standard.resize(5);
                   target.standard += std::to_string(number);
                   seen(target.standard);
                 }},
      contestant{"absl",
                 [&] {
                   target.abseil.resize(5);
                   absl::StrAppend(&target.abseil, number);
                   seen(target.abseil);
                 }},
      contestant{"snprintf", [&] {
                   target.printed.print("%d", number);
                   seen(target.printed);
                 }});
}
void addNrOf2(benchmark::State& state) { raceDecimal(state, 42); }
BENCHMARK(addNrOf2)->Apply(inTurns);
void addNrOf8(benchmark::State& state) { raceDecimal(state, -1234567); }
BENCHMARK(addNrOf8)->Apply(inTurns);

void addHexCode(benchmark::State& state) {
  int number = 0x1A2B3C;
  targets target;
  seen(number);
  race(
      state,
      [&] {
        target.ours.length = 5;
        target.ours.addHexCode(number);
        seen(target.ours);
      },
      contestant{"absl::Hex",
                 [&] {
                   target.abseil.resize(5);
                   absl::StrAppend(&target.abseil, absl::Hex(number, absl::kZeroPad8));
                   seen(target.abseil);
                 }},
      contestant{"to_chars",  // digits in lower case
                 [&] {
                   char digits[8];
                   auto const end =
                       std::to_chars(digits, digits + 8, static_cast<unsigned>(number), 16).ptr;
                   auto const count = end - digits;
                   std::memset(target.plain.text + 5, '0', static_cast<std::size_t>(8 - count));
                   std::memcpy(target.plain.text + 13 - count, digits,
                               static_cast<std::size_t>(count));
                   target.plain.text[13] = 0;
                   target.plain.used = 13;
                   seen(target.plain);
                 }},
      contestant{"snprintf", [&] {
                   target.printed.print("%08X", number);
                   seen(target.printed);
                 }});
}
BENCHMARK(addHexCode)->Apply(inTurns);

void raceReading(benchmark::State& state, char const* text) {
  string8 ours(text);
  std::string standard(text);
  seen(ours, standard);
  race(
      state,
      [&] {
        bool ok;
        int number = ours.toInt(&ok);
        seen(ok, number);
      },
      contestant{"from_chars",
                 [&] {
                   int number = 0;
                   char const* const end = standard.data() + standard.size();
                   auto const read = std::from_chars(standard.data(), end, number);
                   bool ok = read.ec == std::errc() && read.ptr == end;
                   seen(ok, number);
                 }},
      contestant{"strtol",
                 [&] {
                   char* end;
                   auto number = std::strtol(standard.c_str(), &end, 10);
                   bool ok = *end == 0;
                   seen(ok, number);
                 }},
      contestant{"absl",
                 [&] {
                   int number;
                   bool ok = absl::SimpleAtoi(standard, &number);
                   seen(ok, number);
                 }},
      contestant{"boost", [&] {
                   int number;
                   bool ok = boost::conversion::try_lexical_convert(standard, number);
                   seen(ok, number);
                 }});
}
void toIntOf2(benchmark::State& state) { raceReading(state, "42"); }
BENCHMARK(toIntOf2)->Apply(inTurns);
void toIntOf8(benchmark::State& state) { raceReading(state, "-1234567"); }
BENCHMARK(toIntOf8)->Apply(inTurns);
void toIntOfNoNumber(benchmark::State& state) { raceReading(state, "1234frame"); }
BENCHMARK(toIntOfNoNumber)->Apply(inTurns);

}  // namespace
