// What both families of process lists do with the two services of platform.h, and all that they
// share.
#ifndef QZ_PROCESS_PLATFORM_USE_H_
#define QZ_PROCESS_PLATFORM_USE_H_

#include <cstdint>
#include <memory>

#include "process/platform.h"

namespace qz::detail {

struct all_processes {
  std::unique_ptr<process_entry[]> entries;
  int count = 0;
};

// Enumerates into a buffer of its own, as often as the machine grows meanwhile. Returns false, with
// the cause in errno, if the system refuses or there is no memory for the buffer.
bool enumerateAll(all_processes& all);

// The system time of ended threads plus both times of the live ones, in seconds.
double cpuSecondsOf(process_figures const& figures);

// Resident memory in MiB, rounded in two steps: 523,776 bytes and more give at least 1.
std::int32_t memoryMBOf(process_figures const& figures);

}  // namespace qz::detail

#endif  // QZ_PROCESS_PLATFORM_USE_H_
