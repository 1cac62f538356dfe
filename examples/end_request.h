// How the examples that run until they are told to end hear of it.
#ifndef QZ_EXAMPLES_END_REQUEST_H_
#define QZ_EXAMPLES_END_REQUEST_H_

#include <signal.h>

#include <algorithm>

#include "tool/system_services.h"

namespace example {

inline volatile sig_atomic_t endRequested = 0;

// From here on `signal` only sets `endRequested`. The `flags` are those of sigaction(2): with
// SA_RESTART a system call that it interrupts goes on.
inline void endOn(int signal, int flags) {
  struct sigaction action = {};
  action.sa_flags = flags;
  action.sa_handler = [](int) { endRequested = 1; };
  sigaction(signal, &action, nullptr);
}

// Sleeps for so many milliseconds, or until an end is requested.
inline void sleepUntilDue(int milliseconds) {
  constexpr int kSlice = 100;  // how late a signal is seen that arrives just before the sleep
  for (; milliseconds > 0 && endRequested == 0; milliseconds -= kSlice)
    qzSleep(std::min(milliseconds, kSlice));
}

}  // namespace example

#endif  // QZ_EXAMPLES_END_REQUEST_H_
