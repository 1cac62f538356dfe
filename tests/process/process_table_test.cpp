#include "process/process_table.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <utility>

namespace {

using block = _qzProcessList3_data;
using record = block::_prcInfo;

// The sort step by step, with every swap.
void modelStep(record* list, int left, int right,
               std::function<bool(record const&, record const&)> const& before, record& scratch) {
  if (right <= left) return;
  auto const swap = [&](int a, int b) { scratch = list[a], list[a] = list[b], list[b] = scratch; };
  swap(right, (left + right) / 2);
  int store = left;
  for (int i = left; i < right; ++i)
    if (before(list[i], list[right])) swap(store++, i);
  swap(store, right);
  modelStep(list, left, store - 1, before, scratch);
  modelStep(list, store + 1, right, before, scratch);
}

// Required: equal records come out as these very swaps leave them.
TEST(ProcessTable, SortsSwapAsTheModelDoes) {
  std::mt19937 random(1);
  auto const table = std::make_unique<block>(true), model = std::make_unique<block>(true);
  char const* const names[] = {"", "A", "ABC", "ABCD", "ABD", "ABC\x80", "\xFF", "Z"};
  for (int round = 0; round < 400; ++round) {
    int const count = table->count = round < 16 ? round / 4 : static_cast<int>(random() % 120);
    bool const descending = round % 2 != 0, withName = round % 4 > 1;
    SCOPED_TRACE(testing::Message() << count << descending << withName);
    for (int i = 0; i < count; ++i) {
      auto const id = random() % 2 << 31 | random() % 9;  // ids are unsigned
      table->records[i] = {names[random() % 8], "", static_cast<unsigned>(id), 0, 0, 0, i};
      model->records[i] = table->records[i];
    }
    record scratch = {}, modelScratch = {};
    auto const key = [withName](record const& r) {
      return std::pair(withName ? std::string(r.name.asChar()) : "", unsigned{r.pid});
    };
    auto const before = [&](record const& x, record const& y) {
      return descending ? key(y) < key(x) : key(x) < key(y);
    };
    modelStep(model->records, 0, count - 1, before, modelScratch);
    bool const bare = round % 3 == 0;
    if (bare)
      (withName ? qzQuicksort_2_plist_sub : qzQuicksort_1_plist_sub)(table->records, 0, count - 1,
                                                                     descending, scratch);
    else if (descending)
      (withName ? qzQuicksort_2_plist : qzQuicksort_1_plist)(table->records, count, true);
    else
      withName ? table->sortByNameAndID() : table->sortByID();
    for (int i = 0; i < count; ++i)
      ASSERT_EQ(int{table->records[i].uid}, int{model->records[i].uid}) << i;
    EXPECT_EQ(int{scratch.uid}, bare ? int{modelScratch.uid} : 0);
  }
}

TEST(ProcessTable, UsageHasExactBitsOrIsRefused) {
  double const infinite = std::numeric_limits<double>::infinity();
  // Seconds now and before, delta of the older and of the newer block, cores, and the usage, which
  // is 0 if it is refused. In doubles throughout, the first five would have another last bit.
  std::array<double, 6> const rows[] = {
      {547.488834, 342.57488, 0.663822, 1, 0, 0x1.e2534p+14},
      {547.488834, 342.57488, 0.663822, 1, -1, 0x1.e2534p+14},
      {547.488834, 342.57488, 0.663822, 1, 1, 0x1.e2534p+14},
      {645.57524, 594.638493, 1.487409, 1, 8, 0x1.ac10ecp+14},
      {203.118378, 196.10676, 1.590405, 1, 16777217, 0x1.b8deb6p+32},
      {1.5, 2.25, 0.7, 2, 0, -0x1.ac924ap+6},  // fell
      {2, 1, 0, 1, 0, infinite},               // Required: it is the older delta that divides
      {2, 1, 1, 0, 0, 0},
      {2, 1, 1, -1, 0, 0},
      {0, -1, 1, 1, 0, 0},
      {-5, -6, 1, 1, 0, 0},
  };
  auto const previous = std::make_unique<block>(true), current = std::make_unique<block>(true);
  for (auto const& [now, before, delta, ownDelta, cores, expected] : rows) {
    SCOPED_TRACE(testing::Message() << now << " " << cores);
    previous->count = 3;
    previous->records[0].pid = 8;
    previous->records[1].pid = previous->records[2].pid = current->records[3].pid = 7;
    previous->records[1].cpuSeconds = before;  // the first one counts
    previous->records[2].cpuSeconds = 100;
    current->records[3].cpuSeconds = now;
    previous->cpuDeltaValue = delta;
    current->cpuDeltaValue = ownDelta;
    float usage = 9;
    auto const compute = [&, cores = static_cast<int>(cores)] {
      return current->calcCPUUsage(usage, 3, previous.get(), cores);
    };
    EXPECT_EQ(compute(), expected != 0);
    EXPECT_EQ(double{usage}, expected);
    previous->count = 1;  // no such process
    EXPECT_FALSE(compute() || usage != 0);
  }
}

}  // namespace
