// Substring search, exact and case-blind, with the match in front, at the end and nowhere.
#include <absl/strings/ascii.h>
#include <absl/strings/match.h>

#include <boost/algorithm/string.hpp>
#include <boost/static_string.hpp>
#include <cstring>
#include <string>

#include "race.h"
#include "strings/string8.h"
#include "strings_bench_text.h"

namespace {

enum class place { early, late, nowhere };

template <int N>
struct search_input {
  std::string needle = "shadow";
  std::string text = wordsOf(N);
  _qzString8_allSize<N> ourText, ourNeedle;
  boost::static_string<N> fixed;

  explicit search_input(place where) {
    auto const at = where == place::early ? text.size() / 10 : text.size() - needle.size();
    if (where != place::nowhere) text.replace(at, needle.size(), needle);
    ourText = text.c_str();
    ourNeedle = needle.c_str();
    fixed = text.c_str();
    seen(*this);
  }
};

template <int N>
void raceExact(benchmark::State& state, place where) {
  search_input<N> input(where);
  race(
      state, [&] { return input.ourText.indexOfCaseSen(input.ourNeedle); },
      contestant{"memmem",
                 [&] {
                   return memmem(input.text.data(), input.text.size(), input.needle.data(),
                                 input.needle.size());
                 }},
      contestant{"strstr", [&] { return std::strstr(input.text.c_str(), input.needle.c_str()); }},
      contestant{"std::string", [&] { return input.text.find(input.needle); }},
      contestant{"boost", [&] { return boost::algorithm::find_first(input.fixed, input.needle); }},
      contestant{"absl", [&] { return absl::StrContains(input.text, input.needle); }});
}

template <int N>
void raceFolded(benchmark::State& state, place where) {
  search_input<N> input(where);
  std::string needle = "sHADOW";
  _qzString8_allSize<N> ourNeedle(needle.c_str());
  seen(needle, ourNeedle);
  race(
      state, [&] { return input.ourText.indexOf(ourNeedle); },
      contestant{"strcasestr", [&] { return strcasestr(input.text.c_str(), needle.c_str()); }},
      contestant{"boost", [&] { return boost::algorithm::ifind_first(input.fixed, needle); }},
      contestant{"absl fold, find", [&] {
                   return absl::AsciiStrToLower(input.text).find(absl::AsciiStrToLower(needle));
                 }});
}

template <int N>
void findEarly(benchmark::State& state) {
  raceExact<N>(state, place::early);
}
QZ_RACE_TEXTS(findEarly);
template <int N>
void findLate(benchmark::State& state) {
  raceExact<N>(state, place::late);
}
QZ_RACE_TEXTS(findLate);
template <int N>
void findNothing(benchmark::State& state) {
  raceExact<N>(state, place::nowhere);
}
QZ_RACE_TEXTS(findNothing);

// Half of the text fits everywhere but in its last character.
template <int N>
void findHostile(benchmark::State& state) {
  std::string text(N, 'a'), needle = std::string(N / 2 - 1, 'a') + 'b';
  _qzString8_allSize<N> ourText(text.c_str()), ourNeedle(needle.c_str());
  seen(text, needle, ourText, ourNeedle);
  race(
      state, [&] { return ourText.indexOfCaseSen(ourNeedle); },
      contestant{"memmem",
                 [&] { return memmem(text.data(), text.size(), needle.data(), needle.size()); }},
      contestant{"std::string", [&] { return text.find(needle); }});
}
QZ_RACE_TEXTS(findHostile);

template <int N>
void findFoldedEarly(benchmark::State& state) {
  raceFolded<N>(state, place::early);
}
QZ_RACE_TEXTS(findFoldedEarly);
template <int N>
void findFoldedLate(benchmark::State& state) {
  raceFolded<N>(state, place::late);
}
QZ_RACE_TEXTS(findFoldedLate);
template <int N>
void findFoldedNothing(benchmark::State& state) {
  raceFolded<N>(state, place::nowhere);
}
QZ_RACE_TEXTS(findFoldedNothing);

}  // namespace
