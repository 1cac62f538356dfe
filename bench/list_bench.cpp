// The list of text as it grows, beside a vector of std::string: every append may move the whole
// block, and the sort is quadratic.
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "race.h"
#include "strings/string_list.h"

namespace {

// Longer than what std::string keeps in place.
std::vector<std::string> names(int count) {
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) {
    char text[40];
    std::snprintf(text, sizeof text, "beauty_render_%05d.exr", i);
    texts.emplace_back(text);
  }
  std::shuffle(texts.begin(), texts.end(), std::mt19937(1));
  return texts;
}

std::vector<_qzString<500>> ourNames(std::vector<std::string> const& texts) {
  std::vector<_qzString<500>> ours;
  for (auto const& text : texts) ours.emplace_back(text.c_str());
  return ours;
}

void append(benchmark::State& state) {
  auto texts = names(static_cast<int>(state.range(0)));
  auto ours = ourNames(texts);
  seen(texts, ours);
  race(
      state,
      [&] {
        _qzStringList list;
        for (auto const& text : ours) list.append(text, false, false);
        seen(list);
      },
      contestant{"std::vector", [&] {
                   std::vector<std::string> list;
                   for (auto const& text : texts) list.push_back(text);
                   seen(list);
                 }});
}

bool comesBefore(std::string const& a, std::string const& b) {
  return strcasecmp(a.c_str(), b.c_str()) < 0;
}

// Every turn begins with a copy of the list, for both alike.
void sort(benchmark::State& state) {
  auto const texts = names(static_cast<int>(state.range(0)));
  _qzStringList ours;
  for (auto const& text : ourNames(texts)) ours.append(text, false, false);
  race(
      state,
      [&] {
        _qzStringList list;
        list.copyFrom(ours);
        list.sort(false);
        seen(list);
      },
      contestant{"std::stable_sort", [&] {
                   auto list = texts;
                   std::stable_sort(list.begin(), list.end(), comesBefore);
                   seen(list);
                 }});
}

void few(benchmark::internal::Benchmark* benchmark) { benchmark->Iterations(11)->UseManualTime(); }
BENCHMARK(append)->Apply(few)->Arg(10)->Arg(30)->Arg(100)->Arg(300)->Arg(1000)->Arg(3000);
BENCHMARK(sort)->Apply(few)->Arg(10)->Arg(30)->Arg(100)->Arg(300)->Arg(1000);

}  // namespace
