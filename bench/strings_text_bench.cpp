// Filling, comparing and editing strings of small, common and the largest capacity, beside
// std::string, static_string with its string algorithms, Abseil and the C library.
#include <absl/strings/ascii.h>
#include <absl/strings/match.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <strings.h>

#include <boost/algorithm/string.hpp>
#include <boost/static_string.hpp>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "race.h"
#include "strings/string16.h"
#include "strings/string8.h"
#include "strings_bench_text.h"

namespace {

template <int N>
using string8 = _qzString8_allSize<N>;
template <int N>
using boost_string = boost::static_string<N>;

template <int N>
struct c_string {
  char text[N + 1];
};

// --- filling ---

template <int N>
void raceConstruction(benchmark::State& state, std::string const& source) {
  char const* text = source.c_str();
  seen(text);
  race(
      state, [&] { return string8<N>(text); },
      contestant{"std::string", [&] { return std::string(text); }},
      contestant{"boost", [&] { return boost_string<N>(text); }},
      contestant{"strncpy", [&] {
                   c_string<N> s;
                   std::strncpy(s.text, text, N);
                   s.text[N] = 0;
                   seen(s);
                 }});
}

template <int N>
void construct(benchmark::State& state) {
  raceConstruction<N>(state, wordsOf(N));
}
QZ_RACE_TEXTS(construct);

template <int N>
void constructOf12(benchmark::State& state) {
  raceConstruction<N>(state, wordsOf(12));
}
QZ_RACE_TEXTS(constructOf12);

template <int N>
void assignText(benchmark::State& state) {
  std::string const source = wordsOf(N);
  char const* text = source.c_str();
  string8<N> ours;
  std::string standard;
  boost_string<N> fixed;
  c_string<N> plain;
  seen(text);
  race(
      state,
      [&] {
        ours = text;
        seen(ours);
      },
      contestant{"std::string",
                 [&] {
                   standard = text;
                   seen(standard);
                 }},
      contestant{"boost",
                 [&] {
                   fixed = text;
                   seen(fixed);
                 }},
      contestant{"strcpy", [&] {
                   std::strcpy(plain.text, text);
                   seen(plain);
                 }});
}
QZ_RACE_TEXTS(assignText);

// Appends words of ten letters until the string is full.
template <int N>
void appendText(benchmark::State& state) {
  std::string const source = wordsOf(10);
  char const* text = source.c_str();
  constexpr int kWords = N / 10;
  string8<N> ours;
  std::string standard, abseil;
  standard.reserve(N);
  abseil.reserve(N);
  boost_string<N> fixed;
  c_string<N> plain;
  seen(text);
  race(
      state,
      [&] {
        ours.setLength(0);
        for (int i = 0; i < kWords; ++i) ours += text;
        seen(ours);
      },
      contestant{"std::string",
                 [&] {
                   standard.clear();
                   for (int i = 0; i < kWords; ++i) standard += text;
                   seen(standard);
                 }},
      contestant{"boost",
                 [&] {
                   fixed.clear();
                   for (int i = 0; i < kWords; ++i) fixed += text;
                   seen(fixed);
                 }},
      contestant{"absl",
                 [&] {
                   abseil.clear();
                   for (int i = 0; i < kWords; ++i) absl::StrAppend(&abseil, text);
                   seen(abseil);
                 }},
      contestant{"stpcpy", [&] {
                   char* end = plain.text;
                   for (int i = 0; i < kWords; ++i) end = stpcpy(end, text);
                   seen(plain);
                 }});
}
QZ_RACE_TEXTS(appendText);

template <int N>
void appendCharacters(benchmark::State& state) {
  char c = 'x';
  string8<N> ours;
  std::string standard;
  standard.reserve(N);
  boost_string<N> fixed;
  seen(c);
  race(
      state,
      [&] {
        ours.setLength(0);
        for (int i = 0; i < N; ++i) ours += c;
        seen(ours);
      },
      contestant{"std::string",
                 [&] {
                   standard.clear();
                   for (int i = 0; i < N; ++i) standard += c;
                   seen(standard);
                 }},
      contestant{"boost", [&] {
                   fixed.clear();
                   for (int i = 0; i < N; ++i) fixed += c;
                   seen(fixed);
                 }});
}
QZ_RACE_TEXTS(appendCharacters);

template <int N>
void copyOf12(benchmark::State& state) {
  std::string standard = wordsOf(12);
  string8<N> ours(standard.c_str());
  boost_string<N> fixed(standard.c_str());
  seen(ours, standard, fixed);
  race(
      state, [&] { return ours; }, contestant{"std::string", [&] { return standard; }},
      contestant{"boost", [&] { return fixed; }});
}
QZ_RACE_TEXTS(copyOf12);

// --- comparing equal texts, which is the longest way ---

template <int N>
void equality(benchmark::State& state) {
  std::string const source = wordsOf(N);
  string8<N> ours(source.c_str()), ourOther = ours;
  boost_string<N> fixed(source.c_str()), fixedOther = fixed;
  std::string standard = source, standardOther = source;
  std::string_view view = standard, viewOther = standardOther;
  seen(ours, ourOther, fixed, fixedOther, standard, standardOther, view, viewOther);
  race(
      state, [&] { return ours == ourOther; },
      contestant{"std::string", [&] { return standard == standardOther; }},
      contestant{"string_view", [&] { return view == viewOther; }},
      contestant{"boost", [&] { return fixed == fixedOther; }},
      contestant{"strcmp",
                 [&] { return std::strcmp(standard.c_str(), standardOther.c_str()) == 0; }});
}
QZ_RACE_TEXTS(equality);

template <int N>
struct folded_pair {
  std::string standard = wordsOf(N), standardOther = absl::AsciiStrToUpper(standard);
  string8<N> ours = standard.c_str(), ourOther = standardOther.c_str();
  boost_string<N> fixed{standard.c_str()}, fixedOther{standardOther.c_str()};

  folded_pair() { seen(*this); }
};

template <int N>
void compareFolded(benchmark::State& state) {
  folded_pair<N> pair;
  race(
      state, [&] { return pair.ours.compare(pair.ourOther); },
      contestant{"strcasecmp",
                 [&] { return strcasecmp(pair.standard.c_str(), pair.standardOther.c_str()); }},
      contestant{"boost", [&] {
                   return boost::algorithm::ilexicographical_compare(pair.fixed, pair.fixedOther);
                 }});
}
QZ_RACE_TEXTS(compareFolded);

template <int N>
void equalityFolded(benchmark::State& state) {
  folded_pair<N> pair;
  race(
      state, [&] { return pair.ours.isEqual(pair.ourOther); },
      contestant{
          "strcasecmp",
          [&] { return strcasecmp(pair.standard.c_str(), pair.standardOther.c_str()) == 0; }},
      contestant{"boost", [&] { return boost::algorithm::iequals(pair.fixed, pair.fixedOther); }},
      contestant{"absl",
                 [&] { return absl::EqualsIgnoreCase(pair.standard, pair.standardOther); }});
}
QZ_RACE_TEXTS(equalityFolded);

// --- editing; each contestant edits a fresh copy ---

template <int N>
void trimEnds(benchmark::State& state) {
  std::string standard = " \t " + wordsOf(N - 6) + "  \n";
  string8<N> ours(standard.c_str());
  boost_string<N> fixed(standard.c_str());
  seen(standard, ours, fixed);
  race(
      state,
      [&] {
        string8<N> s = ours;
        s.trim();
        seen(s);
      },
      contestant{"std::string",
                 [&] {
                   std::string s = standard;
                   s.erase(s.find_last_not_of(" \t\r\n") + 1);
                   s.erase(0, s.find_first_not_of(" \t\r\n"));
                   seen(s);
                 }},
      contestant{"boost",
                 [&] {
                   boost_string<N> s = fixed;
                   boost::algorithm::trim(s);
                   seen(s);
                 }},
      contestant{"absl", [&] {
                   std::string s = standard;
                   absl::StripAsciiWhitespace(&s);
                   seen(s);
                 }});
}
QZ_RACE_TEXTS(trimEnds);

// 5000 characters with 330 hits.
struct replace_input {
  std::string standard = repeated("some Frame 0042", 330);
  std::string from, to;
  string8<5000> ours = standard.c_str();
  string8<5000> ourFrom, ourTo;

  replace_input(char const* f, char const* t) : from(f), to(t), ourFrom(f), ourTo(t) {
    seen(*this);
  }
};

std::string foldAndReplace(std::string const& text, std::string const& from,
                           std::string const& to) {
  std::string const folded = absl::AsciiStrToLower(text);
  std::string const needle = absl::AsciiStrToLower(from);
  std::string result;
  std::size_t done = 0;
  for (;;) {
    std::size_t const hit = folded.find(needle, done);
    result.append(text, done, hit - done);
    if (hit == std::string::npos) return result;
    result += to;
    done = hit + needle.size();
  }
}

void raceReplaceFolded(benchmark::State& state, char const* to) {
  replace_input input("fRAME", to);
  race(
      state,
      [&] {
        string8<5000> s = input.ours;
        s.replace(input.ourFrom, input.ourTo);
        seen(s);
      },
      contestant{"fold and find",
                 [&] { return foldAndReplace(input.standard, input.from, input.to); }},
      contestant{"boost", [&] {
                   std::string s = input.standard;
                   boost::algorithm::ireplace_all(s, input.from, input.to);
                   seen(s);
                 }});
}
void replaceBySame(benchmark::State& state) { raceReplaceFolded(state, "Slice"); }
BENCHMARK(replaceBySame)->Apply(inTurns);
void replaceByShorter(benchmark::State& state) { raceReplaceFolded(state, "Run"); }
BENCHMARK(replaceByShorter)->Apply(inTurns);
void replaceByLonger(benchmark::State& state) { raceReplaceFolded(state, "Slices"); }
BENCHMARK(replaceByLonger)->Apply(inTurns);

void replaceExact(benchmark::State& state) {
  replace_input input("Frame", "Slice");
  race(
      state,
      [&] {
        string8<5000> s = input.ours;
        s.replaceCaseSen(input.ourFrom, input.ourTo);
        seen(s);
      },
      contestant{"boost",
                 [&] {
                   std::string s = input.standard;
                   boost::algorithm::replace_all(s, input.from, input.to);
                   seen(s);
                 }},
      contestant{"absl", [&] {
                   return absl::StrReplaceAll(input.standard, {{input.from, input.to}});
                 }});
}
BENCHMARK(replaceExact)->Apply(inTurns);

// --- splitting a list of words ---

template <int N>
void split(benchmark::State& state) {
  std::string standard = wordsOf(N);
  std::replace(standard.begin(), standard.end(), ' ', ',');
  string8<N> ours(standard.c_str());
  seen(standard, ours);
  race(
      state,
      [&] {
        string8<N> rest = ours;
        while (rest.hasData()) {
          auto piece = rest.leftNCut(',', false);
          seen(piece);
        }
      },
      contestant{"string_view",
                 [&] {
                   std::string_view rest = standard;
                   while (!rest.empty()) {
                     auto const comma = rest.find(',');
                     std::string_view piece = rest.substr(0, comma);
                     seen(piece);
                     rest.remove_prefix(comma == rest.npos ? rest.size() : comma + 1);
                   }
                 }},
      contestant{"std::string",
                 [&] {
                   std::size_t begin = 0;
                   while (begin < standard.size()) {
                     auto const comma = std::min(standard.find(',', begin), standard.size());
                     std::string piece = standard.substr(begin, comma - begin);
                     seen(piece);
                     begin = comma + 1;
                   }
                 }},
      contestant{"boost",
                 [&] {
                   std::vector<std::string> pieces;
                   boost::algorithm::split(pieces, standard, [](char c) { return c == ','; });
                   seen(pieces);
                 }},
      contestant{"absl",
                 [&] {
                   for (absl::string_view piece : absl::StrSplit(standard, ',')) seen(piece);
                 }},
      contestant{"strsep", [&] {
                   std::string copy = standard;
                   char* rest = copy.data();
                   while (rest != nullptr) {
                     char* piece = strsep(&rest, ",");
                     seen(piece);
                   }
                 }});
}
QZ_RACE_TEXTS(split);

// --- between 8 and 16 bits ---

template <int N>
void widen(benchmark::State& state) {
  std::string standard = wordsOf(N);
  char const* text = standard.c_str();
  seen(text, standard);
  race(
      state, [&] { return _qzString<N>(text); },
      contestant{"u16string loop",
                 [&] {
                   std::u16string s;
                   s.reserve(standard.size());
                   for (char const c : standard) s += static_cast<char16_t>(c);
                   seen(s);
                 }},
      contestant{"u16string range",
                 [&] { return std::u16string(standard.begin(), standard.end()); }});
}
BENCHMARK_TEMPLATE(widen, 25)->Apply(inTurns);
BENCHMARK_TEMPLATE(widen, 250)->Apply(inTurns);
BENCHMARK_TEMPLATE(widen, 2500)->Apply(inTurns);

template <int N>
void narrow(benchmark::State& state) {
  std::string const narrowText = wordsOf(N);
  std::u16string standard(narrowText.begin(), narrowText.end());
  _qzString<N> ours(narrowText.c_str());
  seen(standard, ours);
  race(
      state, [&] { return ours.to_qzString8_250(); },
      contestant{"string loop",
                 [&] {
                   std::string s;
                   s.reserve(standard.size());
                   for (char16_t const c : standard) s += static_cast<char>(c);
                   seen(s);
                 }},
      contestant{"string range", [&] {
                   std::string s(standard.size(), '\0');
                   std::transform(standard.begin(), standard.end(), s.begin(),
                                  [](char16_t c) { return static_cast<char>(c); });
                   seen(s);
                 }});
}
BENCHMARK_TEMPLATE(narrow, 25)->Apply(inTurns);
BENCHMARK_TEMPLATE(narrow, 250)->Apply(inTurns);

}  // namespace
