#include "process/platform_use.h"

#include <cstddef>
#include <new>

namespace qz::detail {

namespace {

double secondsOf(cpu_time const& time) {
  return static_cast<double>(time.seconds) + static_cast<double>(time.microseconds) * 1e-6;
}

}  // namespace

bool enumerateAll(all_processes& all) {
  enumeration answer;
  do {
    all.entries.reset();
    answer = enumerateProcesses(nullptr, all.count);
    if (answer != enumeration::complete) return false;
    all.entries.reset(new (std::nothrow) process_entry[static_cast<std::size_t>(all.count)]);
    if (all.entries == nullptr) return false;
    answer = enumerateProcesses(all.entries.get(), all.count);
  } while (answer == enumeration::grew);
  return answer == enumeration::complete;
}

double cpuSecondsOf(process_figures const& figures) {
  // Required: of the ended threads the system time alone; their user time is left out.
  double seconds = secondsOf(figures.endedSystem);
  for (auto const& thread : figures.threads) {
    if (thread.idle) continue;
    seconds += secondsOf(thread.user);
    seconds += secondsOf(thread.system);
  }
  return seconds;
}

std::int32_t memoryMBOf(process_figures const& figures) {
  unsigned long long const kilobytes = (figures.residentBytes + 512) >> 10;
  return static_cast<std::int32_t>((kilobytes + 512) >> 10);
}

}  // namespace qz::detail
