#include "process/process_table.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

using block = _qzProcessList3_data;
using record = block::_prcInfo;

// The sort step by step, with every swap.
void modelStep(record* list, int left, int right, auto const& before) {
  if (right <= left) return;
  std::swap(list[right], list[(left + right) / 2]);
  int store = left;
  for (int i = left; i < right; ++i)
    if (before(list[i], list[right])) std::swap(list[store++], list[i]);
  std::swap(list[store], list[right]);
  modelStep(list, left, store - 1, before);
  modelStep(list, store + 1, right, before);
}

// Required: equal records come out as these very swaps leave them.
TEST(ProcessTable, SortsSwapAsTheModelDoes) {
  std::mt19937 random(1);
  auto const table = std::make_unique<block>(true);
  std::vector<record> model(120);
  char const* const names[] = {"", "A", "ABC", "ABCD", "ABD", "ABC\x80", "\xFF", "Z"};
  for (int round = 0; round < 400; ++round) {
    int const count = table->count = round < 16 ? round / 4 : static_cast<int>(random() % 120);
    bool const descending = round % 2 != 0, withName = round % 4 > 1;
    SCOPED_TRACE(testing::Message() << count << descending << withName);
    for (unsigned i = 0; i < 120; ++i) {
      auto const id = static_cast<unsigned>(random() % 2 << 31 | random() % 9);  // no sign
      table->records[i] = model[i] = {names[random() % 8], "", id, 0, 0, 0, static_cast<int>(i)};
    }
    auto const key = [withName](record const& r) {
      return std::pair(withName ? std::string(r.name.asChar()) : "", unsigned{r.pid});
    };
    modelStep(model.data(), 0, count - 1, [&](record const& x, record const& y) {
      return descending ? key(y) < key(x) : key(x) < key(y);
    });
    auto const sort = withName ? qzQuicksort_2_plist : qzQuicksort_1_plist;
    auto const step = withName ? qzQuicksort_2_plist_sub : qzQuicksort_1_plist_sub;
    record scratch;
    if (round % 3 == 0)
      step(table->records, 0, count - 1, descending, scratch);
    else if (descending)
      sort(table->records, count, true);
    else
      withName ? table->sortByNameAndID() : table->sortByID();
    for (unsigned i = 0; i < 120; ++i) ASSERT_EQ(table->records[i].uid + 0, model[i].uid + 0) << i;
    sort(nullptr, std::numeric_limits<int>::min() + round % 2, descending);  // nothing to sort
  }
}

TEST(ProcessTable, UsageHasExactBitsOrIsRefused) {
  double const infinite = std::numeric_limits<double>::infinity();
  // Seconds now and before, delta of the older and of the newer block, cores, and the usage, which
  // is 0 if it is refused. In doubles throughout, the first four would have another last bit.
  std::array<double, 6> const rows[] = {
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
  previous->records[0].pid = 8;
  previous->records[1].pid = previous->records[2].pid = current->records[3].pid = 7;
  previous->records[2].cpuSeconds = 100;  // the first one of its id counts
  for (auto const& [now, before, delta, ownDelta, cores, expected] : rows) {
    SCOPED_TRACE(testing::Message() << now << " " << cores);
    previous->records[1].cpuSeconds = before;
    current->records[3].cpuSeconds = now;
    previous->cpuDeltaValue = delta;
    current->cpuDeltaValue = ownDelta;
    for (int const count : {3, 1}) {  // among one it does not stand
      previous->count = count;
      float usage = 9;
      bool const isComputed = current->calcCPUUsage(usage, 3, previous.get(), int(cores));
      EXPECT_EQ(isComputed, count == 3 && expected != 0);
      EXPECT_EQ(double{usage}, count == 3 ? expected : 0);
    }
  }
}

}  // namespace
