// The table's sorts beside std::sort and Boost's pdqsort with the same order test, on the same
// records, shuffled (0), in order (1) and in the order that the required pivot is slowest on (2);
// and the look-up across two snapshots beside a hash map. Every turn of a sort begins with a copy
// of the records, for all alike.
#include <algorithm>
#include <boost/sort/pdqsort/pdqsort.hpp>
#include <cstdio>
#include <memory>
#include <numeric>
#include <random>
#include <unordered_map>
#include <utility>
#include <vector>

#include "process/process_table.h"
#include "race.h"

namespace {

using record = _qzProcessList3_data::_prcInfo;

enum order { shuffled, ordered, worst };

// Gives every pivot that the sort meets the smallest value that is left.
std::vector<int> worstOrder(int count) {
  std::vector<int> value(static_cast<std::size_t>(count)), slot(value.size());
  std::iota(slot.begin(), slot.end(), 0);
  auto const at = [&](int i) -> int& { return slot[static_cast<std::size_t>(i)]; };
  for (int left = 0, right = count - 1; left < count; ++left) {
    int const mid = (left + right) / 2;
    value[static_cast<std::size_t>(at(mid))] = left;
    std::swap(at(mid), at(right));
    std::swap(at(left), at(right));
  }
  return value;
}

// Ten processes to a name, and both in the same order.
std::vector<record> recordsOf(int count, order wanted) {
  std::vector<int> ids(static_cast<std::size_t>(count));
  std::iota(ids.begin(), ids.end(), 0);
  if (wanted == shuffled) std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
  if (wanted == worst) ids = worstOrder(count);
  std::vector<record> records;
  for (int const id : ids) {
    record item = {};
    char name[26];
    std::snprintf(name, sizeof name, "%s-%05d", id < count / 3 ? "KWORKER" : "RENDERAPP", id / 10);
    item.name = name;
    item.pid = static_cast<unsigned>(id);
    records.push_back(item);
  }
  return records;
}

template <bool withName>
bool comesBefore(record const& a, record const& b) {
  if (withName) {
    int order = a.name.compareSameCase(b.name);
    if (order == 0) order = a.name.length - b.name.length;
    if (order != 0) return order < 0;
  }
  return a.pid < b.pid;
}

template <bool withName>
void sorting(benchmark::State& state) {
  auto const records =
      recordsOf(static_cast<int>(state.range(0)), static_cast<order>(state.range(1)));
  auto work = records;
  auto const turn = [&](auto sort) {
    std::copy(records.begin(), records.end(), work.begin());
    sort();
    seen(work.front());
  };
  race(
      state,
      [&] {
        turn([&] {
          auto const count = static_cast<int>(work.size());
          (withName ? qzQuicksort_2_plist : qzQuicksort_1_plist)(work.data(), count, false);
        });
      },
      contestant{
          "std::sort",
          [&] { turn([&] { std::sort(work.begin(), work.end(), comesBefore<withName>); }); }},
      contestant{"pdqsort", [&] {
                   turn([&] {
                     boost::sort::pdqsort(work.begin(), work.end(), comesBefore<withName>);
                   });
                 }});
}

void eachSort(benchmark::internal::Benchmark* benchmark) {
  for (int const how : {shuffled, ordered, worst})
    for (int const count : {250, 1000, 3999}) benchmark->Args({count, how});
  benchmark->Iterations(21)->UseManualTime();
}
BENCHMARK_TEMPLATE(sorting, false)->Name("sortByID")->Apply(eachSort);
BENCHMARK_TEMPLATE(sorting, true)->Name("sortByNameAndID")->Apply(eachSort);

// The usage of all processes between two snapshots of the same ones in another order.
void lookingUp(benchmark::State& state) {
  auto const count = static_cast<int>(state.range(0));
  auto const before = std::make_unique<_qzProcessList3_data>(true);
  auto const after = std::make_unique<_qzProcessList3_data>(true);
  auto const fill = [count](_qzProcessList3_data& block, order how) {
    auto const records = recordsOf(count, how);
    std::copy(records.begin(), records.end(), block.records);
    for (int i = 0; i < count; ++i) block.records[i].cpuSeconds = 1;
    block.count = count;
    block.cpuDeltaValue = 1;
  };
  fill(*before, ordered);
  fill(*after, shuffled);
  race(
      state,
      [&] {
        for (int i = 0; i < count; ++i) {
          float usage;
          after->calcCPUUsage(usage, i, before.get(), 2);
          benchmark::DoNotOptimize(usage);
        }
      },
      contestant{"hash map", [&] {
                   std::unordered_map<unsigned, int> slots;
                   slots.reserve(static_cast<std::size_t>(count));
                   for (int i = 0; i < count; ++i)
                     slots.emplace(unsigned{before->records[i].pid}, i);
                   for (int i = 0; i < count; ++i) {
                     record const& old = before->records[slots.find(after->records[i].pid)->second];
                     benchmark::DoNotOptimize((after->records[i].cpuSeconds - old.cpuSeconds) *
                                              200.0 / before->cpuDeltaValue);
                   }
                 }});
}
BENCHMARK(lookingUp)->Arg(250)->Arg(1000)->Arg(3999)->Iterations(21)->UseManualTime();

}  // namespace
