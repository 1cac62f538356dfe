#include "process/process_watch.h"

#include <algorithm>
#include <cstddef>

namespace {

// The usage of 1024 cores, above which a figure is no measurement any more.
constexpr double kMostPercent = 102400;

// In 32-bit floats up to the division, which decides the last bits.
double percentOf(double seconds, double wallSeconds) {
  float const percentSeconds = static_cast<float>(seconds) * 100.0F;
  return static_cast<double>(percentSeconds) / wallSeconds;
}

}  // namespace

void _ProcessWatch::setCpuTicks(_qzProcessList3_data::_prcInfo const& record) {
  cpuSeconds = record.cpuSeconds;
}

_ProcessWatch_List3::_ProcessWatch_List3(int const& entryCount)
    : entries(new _ProcessWatch[static_cast<std::size_t>(entryCount)]),
      time(false),
      coreCount(1),
      capacity(entryCount) {
  clear();
}

_ProcessWatch_List3::~_ProcessWatch_List3() {
  delete[] entries;
  entries = nullptr;
}

void _ProcessWatch_List3::clear() {
  count = 0;
  time.value = 0;
  timeMS = 0;
  prevTicks = ticks = deltaTicks = 0;
}

void _ProcessWatch_List3::setCoreCount(int const& n) { coreCount = n; }

bool _ProcessWatch_List3::isOlderThan(_qzProcessList3_data& data) const {
  if (time.value <= 0) return false;
  if (time.value != data.time.value) return time.value < data.time.value;
  if (timeMS != 0 && timeMS / 100 < data.timeMS / 100) return true;
  return ticks != 0 && data.cpuTicks() > ticks;
}

void _ProcessWatch_List3::setTotalTicks(_qzProcessList3_data& data) {
  prevTicks = ticks;
  ticks = data.cpuTicks();
  deltaTicks = prevTicks > 0 && prevTicks < ticks ? ticks - prevTicks : 0;
  setUpdateTime(data);
}

void _ProcessWatch_List3::setUpdateTime(_qzProcessList3_data& data) {
  time = data.time;
  timeMS = data.timeMS;
}

_ProcessWatch& _ProcessWatch_List3::operator[](int const& idx) { return entries[idx]; }

void _ProcessWatch_List3::deleteAt(int const& idx) {
  for (int i = idx; i + 1 < count; ++i) entries[i] = entries[i + 1];
  --count;
}

int _ProcessWatch_List3::getListIdxByPID(unsigned int const& pid) const {
  for (int idx = 0; idx < count; ++idx)
    if (entries[idx].pid == pid) return idx;
  return -1;
}

void _ProcessWatch_List3::calcCPUUsage(int idx, _qzProcessList3_data const* data,
                                       int const& recordIdx) {
  _ProcessWatch& entry = entries[idx];
  double const before = entry.cpuSeconds;
  entry.cpuUsage = 0;
  entry.cpuSeconds = data->records[recordIdx].cpuSeconds;
  bool const hasPair = data->cpuTicks() != 0 && prevTicks != 0 && deltaTicks > 0;
  if (!hasPair || !(before > 0)) return;
  // Limited before it is rounded, since both limits are floats: no figure is too large for one.
  double const percent = percentOf(entry.cpuSeconds - before, deltaTicks);
  entry.cpuUsage = static_cast<float>(std::clamp(percent, 0.0, kMostPercent));
}
