// The machine that service tests play: its two services, its clock and its users, which the test
// program defines itself.
#ifndef QZ_TESTS_PROCESS_PLAYED_MACHINE_H_
#define QZ_TESTS_PROCESS_PLAYED_MACHINE_H_

#include <map>

#include "process/platform.h"

struct played_machine {
  int processes = 0;    // with the ids 100, 101 and so on
  int growths = 0;      // filling answers so many times that there are more by now
  int sizeFailure = 0;  // errno of the size question
  int fillFailure = 0;  // errno of filling
  qz::detail::query_answer answer = {qz::detail::query_answer::answered, 0};
  qz::detail::process_figures figures = {};
  std::map<unsigned, qz::detail::query_answer> otherAnswers = {};  // by process id
  // What a step takes on the wall clock, in microseconds; below 0 the clock is set back meanwhile.
  long long enumerationTakes = 0;
  long long queryTakes = 0;
  bool hasMemory = true;  // for the buffer of a collection
};
extern played_machine played;

// Microseconds since the epoch; runs only by the steps above.
extern long long playedClock;
constexpr long long kPlayedStart = 1'000'000'000'250'003;

// User 1 is "abcdefghijklmnopqrstuvwxyzABCD", user 2 has no name, user 3 is "mia"; there is no
// other one.

#endif  // QZ_TESTS_PROCESS_PLAYED_MACHINE_H_
