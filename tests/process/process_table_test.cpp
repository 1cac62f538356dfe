#include "process/process_table.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

namespace {

using block = _qzProcessList3_data;
using record = block::_prcInfo;

std::unique_ptr<block> filledBlock(int count, std::mt19937& random) {
  static char const* const names[] = {"", "A", "ABC", "ABCD", "ABD", "ABC\x80", "\xFF", "Z"};
  auto filled = std::make_unique<block>(true);
  filled->count = count;
  for (int i = 0; i < count; ++i) {
    auto const high = random() % 2 << 31;  // ids are unsigned
    filled->records[i] = {
        names[random() % 8], "", static_cast<unsigned>(high + random() % 9), 0, 0, 0, i};
  }
  return filled;
}

// The sort step by step, with every swap.
void modelStep(std::vector<record>& list, int left, int right,
               std::function<bool(record const&, record const&)> const& before, record& scratch) {
  if (right <= left) return;
  auto const swap = [&](int a, int b) {
    auto const [at, with] = std::pair(static_cast<std::size_t>(a), static_cast<std::size_t>(b));
    scratch = list[at], list[at] = list[with], list[with] = scratch;
  };
  swap(right, (left + right) / 2);
  record const pivot = list[static_cast<std::size_t>(right)];
  int store = left;
  for (int i = left; i < right; ++i)
    if (before(list[static_cast<std::size_t>(i)], pivot)) swap(store++, i);
  swap(store, right);
  modelStep(list, left, store - 1, before, scratch);
  modelStep(list, store + 1, right, before, scratch);
}

auto keyOf(record const& r, bool withName) {
  return std::pair(withName ? std::string(r.name.asChar()) : "", unsigned{r.pid});
}

// Required: equal records come out as these very swaps leave them.
TEST(ProcessTable, SortsSwapAsTheModelDoes) {
  std::mt19937 random(1);
  for (int round = 0; round < 400; ++round) {
    int const count = round < 4 ? round : static_cast<int>(random() % 120);
    bool const descending = round % 2 != 0, withName = round % 4 > 1;
    SCOPED_TRACE(testing::Message() << count << descending << withName);
    auto const table = filledBlock(count, random);
    record* const list = table->records;
    std::vector<record> model(list, list + count);
    record scratch = {}, modelScratch = {};
    auto const before = [&](record const& a, record const& b) {
      return descending ? keyOf(b, withName) < keyOf(a, withName)
                        : keyOf(a, withName) < keyOf(b, withName);
    };
    modelStep(model, 0, count - 1, before, modelScratch);
    if (round % 3 == 0) {
      (withName ? qzQuicksort_2_plist_sub : qzQuicksort_1_plist_sub)(list, 0, count - 1, descending,
                                                                     scratch);
      EXPECT_EQ(std::tuple(scratch.uid, scratch.name),
                std::tuple(modelScratch.uid, modelScratch.name));
    } else if (descending) {
      (withName ? qzQuicksort_2_plist : qzQuicksort_1_plist)(list, count, true);
    } else {
      withName ? table->sortByNameAndID() : table->sortByID();
    }
    for (int i = 0; i < count; ++i)
      ASSERT_EQ(int{list[i].uid}, int{model[static_cast<std::size_t>(i)].uid}) << i;
  }
}

struct usage_row {
  double now, before, delta;
  int cores;
  float usage;
  bool computed = true;
  unsigned pid = 7;
  int previousCount = 2;
  double ownDelta = 1;
};

TEST(ProcessTable, UsageHasExactBitsOrIsRefused) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  float const infinite = std::numeric_limits<float>::infinity();
  usage_row const rows[] = {
      // In doubles throughout every one of these would have another last bit.
      {547.488834, 342.57488, 0.663822, 0, 0x1.e2534p+14F},
      {547.488834, 342.57488, 0.663822, -1, 0x1.e2534p+14F},
      {547.488834, 342.57488, 0.663822, 1, 0x1.e2534p+14F},
      {645.57524, 594.638493, 1.487409, 8, 0x1.ac10ecp+14F},
      {203.118378, 196.10676, 1.590405, 16777217, 0x1.b8deb6p+32F},
      {1.5, 2.25, 0.7, 0, -0x1.ac924ap+6F},  // fell: below zero and true
      {2, 1, 0, 0, infinite},                // Required: divides by the delta of `previous`
      {2, 1, 1, 0, 0, false, 7, 2, 0},
      {2, 1, 1, 0, 0, false, 7, 2, -1},
      {2, 1, 1, 0, 0, false, 7, 2, nan},
      {0, 1, 1, 0, 0, false},
      {-5, 1, 1, 0, 0, false},
      {2, 1, 1, 0, 0, false, 8},     // new in this snapshot
      {2, 1, 1, 0, 0, false, 7, 0},  // empty
  };
  auto const previous = std::make_unique<block>(true), current = std::make_unique<block>(true);
  EXPECT_EQ(std::tuple(previous->cpuTicks(), previous->cpuDelta()), std::tuple(0.0, 0.0));
  for (auto const& row : rows) {
    SCOPED_TRACE(&row - rows);
    previous->records[0].pid = previous->records[1].pid = 7;  // the first one counts
    previous->records[0].cpuSeconds = row.before;
    previous->records[1].cpuSeconds = 100;
    previous->count = row.previousCount;
    previous->cpuDeltaValue = row.delta;
    current->records[3].pid = row.pid;
    current->records[3].cpuSeconds = row.now;
    current->cpuDeltaValue = row.ownDelta;
    float usage = 9;
    EXPECT_EQ(current->calcCPUUsage(usage, 3, previous.get(), row.cores), row.computed);
    EXPECT_EQ(std::bit_cast<unsigned>(usage), std::bit_cast<unsigned>(row.usage)) << usage;
    EXPECT_EQ(previous->getListIdxByPID(row.pid), row.pid == 7 && row.previousCount > 0 ? 0 : -1);
  }
  current->clearDeltaInfo();
  float usage = 9;
  EXPECT_FALSE(current->calcCPUUsage(usage, 3, previous.get(), 1));
  EXPECT_EQ(usage, 0);
}

// A whole image of a small block but for the slots in between: what another program sees.
TEST(ProcessTable, NewBlockHasItsImage) {
  std::vector<unsigned char> memory(sizeof(block), 0xEE);
  new (memory.data()) block(true);
  auto const bytes = [&](std::size_t from, std::size_t to) {
    return std::vector<unsigned char>(memory.begin() + static_cast<std::ptrdiff_t>(from),
                                      memory.begin() + static_cast<std::ptrdiff_t>(to));
  };
  EXPECT_EQ(bytes(0, 22), (std::vector<unsigned char>{0xCD, 0xAB, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                      0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(bytes(524, 526), (std::vector<unsigned char>{0, 0}));
  for (std::size_t slot : {0u, 1u, 3999u})
    EXPECT_EQ(bytes(1032 + slot * 80, 1032 + slot * 80 + 54), std::vector<unsigned char>(54, 0));
  std::vector<unsigned char> end(20, 0);
  end[16] = 1;
  EXPECT_EQ(bytes(321032, 321052), end);
}

}  // namespace
