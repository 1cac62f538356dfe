#include "process/process_table.h"

#include <pwd.h>
#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <type_traits>

using record = _qzProcessList3_data::_prcInfo;

namespace {

using block = _qzProcessList3_data;
static_assert(offsetof(record, name) == 0 && offsetof(record, ownerText) == 28 &&
              offsetof(record, pid) == 56 && offsetof(record, parentPid) == 60 &&
              offsetof(record, memoryMB) == 64 && offsetof(record, cpuSeconds) == 68 &&
              offsetof(record, uid) == 76 && sizeof(record) == 80 && alignof(record) == 4);
static_assert(offsetof(block, magic) == 0 && offsetof(block, time) == 4 &&
              offsetof(block, timeMS) == 12 && offsetof(block, error) == 20 &&
              offsetof(block, collectLog) == 524 && offsetof(block, count) == 1028 &&
              offsetof(block, records) == 1032 && offsetof(block, cpuTicksValue) == 321032 &&
              offsetof(block, cpuDeltaValue) == 321040 && offsetof(block, getCpuMem) == 321048 &&
              offsetof(block, getCpuMemAtOnce) == 321049 &&
              offsetof(block, getCpuMem_keepMemory) == 321050 && sizeof(block) == 321052 &&
              alignof(block) == 4);
static_assert(std::is_standard_layout_v<block> && std::is_trivially_copyable_v<block>);

struct pivot_copy {
  _qzString8_allSize<25> name;
  std::uint32_t pid;
};

// Below 0 if the record comes first in ascending order, 0 if the test sees no difference.
struct id_order {
  static int compare(record const& item, pivot_copy const& pivot) {
    return (item.pid > pivot.pid) - (item.pid < pivot.pid);
  }
};
struct name_order {
  static int compare(record const& item, pivot_copy const& pivot) {
    int order = item.name.compareSameCase(pivot.name);
    if (order == 0) order = item.name.length - pivot.name.length;
    return order != 0 ? order : id_order::compare(item, pivot);
  }
};

void swapRecords(record& a, record& b, record& scratch) {
  scratch = a;
  a = b;
  b = scratch;
}

// Returns where the pivot, the middle record, has come to stand.
template <class Order>
int partition(record* list, int left, int right, bool descending, record& scratch) {
  swapRecords(list[right], list[(left + right) / 2], scratch);
  pivot_copy const pivot = {list[right].name, list[right].pid};
  int store = left;
  for (int i = left; i < right; ++i) {
    int const order = Order::compare(list[i], pivot);
    if (descending ? order <= 0 : order >= 0) continue;
    // A swap of a slot with itself can be left out: only `scratch` shows it, and the swap at the
    // end fills that anew.
    if (i != store) swapRecords(list[store], list[i], scratch);
    ++store;
  }
  swapRecords(list[store], list[right], scratch);
  return store;
}

// Required: which of several equal records comes first follows from these very swaps.
template <class Order>
void sortStep(record* list, int left, int right, bool descending, record& scratch) {
  if (right <= left) return;
  int const store = partition<Order>(list, left, right, descending, scratch);
  sortStep<Order>(list, left, store - 1, descending, scratch);
  sortStep<Order>(list, store + 1, right, descending, scratch);
}

template <class Order>
void sortWithScratch(record* list, int count, bool descending) {
  auto const scratch = std::make_unique<record>();
  if (count > 1) sortStep<Order>(list, 0, count - 1, descending, *scratch);
}

}  // namespace

_qzString8_allSize<25> _qzProcessList3_data::_prcInfo::owner() const {
  if (!ownerText.isEmpty()) return ownerText;
  _qzString8_allSize<25> text;
  passwd const* const user = getpwuid(static_cast<uid_t>(uid));
  if (user == nullptr)
    text.addNr(std::int32_t{uid});
  else if (user->pw_name != nullptr)
    text = user->pw_name;
  return text;
}

_qzProcessList3_data::_qzProcessList3_data(bool const& fetchCpuMem)
    : magic(0xABCD),
      reserved(0),
      time(),
      timeMS(0),
      cpuTicksValue(0),
      cpuDeltaValue(0),
      getCpuMem(fetchCpuMem),
      getCpuMemAtOnce(false),
      getCpuMem_keepMemory(false) {
  reinterpret_cast<unsigned char*>(this)[sizeof *this - 1] = 0;
}

void _qzProcessList3_data::clearDeltaInfo() { cpuDeltaValue = 0; }
double _qzProcessList3_data::cpuTicks() const { return cpuTicksValue; }
double _qzProcessList3_data::cpuDelta() const { return cpuDeltaValue; }

void _qzProcessList3_data::sortByNameAndID() { qzQuicksort_2_plist(records, count, false); }
void _qzProcessList3_data::sortByID() { qzQuicksort_1_plist(records, count, false); }

int _qzProcessList3_data::getListIdxByPID(unsigned int pid) const {
  for (int i = 0; i < count; ++i)
    if (records[i].pid == pid) return i;
  return -1;
}

bool _qzProcessList3_data::calcCPUUsage(float& usage, int const& idx,
                                        _qzProcessList3_data const* previous,
                                        int const& coreCount) const {
  usage = 0;
  if (!(cpuDeltaValue > 0)) return false;
  double const seconds = records[idx].cpuSeconds;
  if (!(seconds > 0)) return false;
  int const before = previous->getListIdxByPID(records[idx].pid);
  if (before < 0) return false;

  auto const used = static_cast<float>(seconds - previous->records[before].cpuSeconds);
  // Required: the test above is of this block's delta, the division is by that of `previous`.
  double percent = static_cast<double>(used * 100.0F) / previous->cpuDeltaValue;
  if (coreCount >= 1) percent *= static_cast<double>(static_cast<float>(coreCount));
  usage = static_cast<float>(percent);
  return true;
}

void qzQuicksort_1_plist(record* list, int const& count, bool const& descending) {
  sortWithScratch<id_order>(list, count, descending);
}

void qzQuicksort_2_plist(record* list, int const& count, bool const& descending) {
  sortWithScratch<name_order>(list, count, descending);
}

void qzQuicksort_1_plist_sub(record* list, int const& left, int const& right,
                             bool const& descending, record& scratch) {
  sortStep<id_order>(list, left, right, descending, scratch);
}

void qzQuicksort_2_plist_sub(record* list, int const& left, int const& right,
                             bool const& descending, record& scratch) {
  sortStep<name_order>(list, left, right, descending, scratch);
}
