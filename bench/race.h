// Races one operation of ours against what a user would pick instead, on the same input. The
// contestants take turns, so that whatever else the machine does meets all of them, and each
// counter is the ratio of our median turn to a rival's: below 1 means ahead.
#ifndef QZ_BENCH_RACE_H_
#define QZ_BENCH_RACE_H_

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <type_traits>
#include <vector>

// Tells the compiler that the values may be read and changed from outside, here and at every later
// call for anything. Meant for inputs before the race and for results in it.
template <class Value>
inline void reachable(Value& value) {
  auto* place = &value;
  benchmark::DoNotOptimize(place);
}
template <class... Values>
inline void seen(Values&... values) {
  (reachable(values), ...);
  benchmark::ClobberMemory();
}

// What the action returns is seen.
template <class Action>
struct contestant {
  char const* name;
  Action run;
  int times = 1;  // how often a turn runs it
  std::vector<double> turns{};

  double nanosecondsOfTurn() {
    auto const start = std::chrono::steady_clock::now();
    for (int i = 0; i < times; ++i) {
      if constexpr (std::is_void_v<decltype(run())>) {
        run();
      } else {
        auto result = run();
        seen(result);
      }
    }
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
        .count();
  }
  // Makes a turn long enough to be measured.
  void warmUp() {
    constexpr double kTurn = 40'000;  // nanoseconds
    while (nanosecondsOfTurn() < kTurn) times *= 2;
  }
  void takeTurn() { turns.push_back(nanosecondsOfTurn() / times); }
  double median() {
    auto const middle = turns.begin() + static_cast<std::ptrdiff_t>(turns.size() / 2);
    std::nth_element(turns.begin(), middle, turns.end());
    return *middle;
  }
};
template <class Action>
contestant(char const*, Action) -> contestant<Action>;

template <class Ours, class... Rivals>
void race(benchmark::State& state, Ours operation, contestant<Rivals>... rivals) {
  contestant<Ours> ours{"", operation};
  ours.warmUp();
  (rivals.warmUp(), ...);
  for (auto _ : state) {
    ours.takeTurn();
    (rivals.takeTurn(), ...);
    state.SetIterationTime(ours.turns.back() * 1e-9);
  }
  double const median = ours.median();
  state.counters["median ns"] = median;
  ((state.counters[rivals.name] = median / rivals.median()), ...);
}

inline void inTurns(benchmark::internal::Benchmark* benchmark) {
  benchmark->Iterations(201)->UseManualTime();
}

// The capacities that the races of texts are run for.
#define QZ_RACE_TEXTS(function)                      \
  BENCHMARK_TEMPLATE(function, 25)->Apply(inTurns);  \
  BENCHMARK_TEMPLATE(function, 250)->Apply(inTurns); \
  BENCHMARK_TEMPLATE(function, 5000)->Apply(inTurns)

#endif  // QZ_BENCH_RACE_H_
