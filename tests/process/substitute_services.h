// The two services of the platform as this test program defines them: they play what `played` says.
#ifndef QZ_TESTS_PROCESS_SUBSTITUTE_SERVICES_H_
#define QZ_TESTS_PROCESS_SUBSTITUTE_SERVICES_H_

#include <vector>

#include "process/platform.h"

struct played_services {
  // --- enumerate ---
  int processes = 0;      // so many are delivered, see processOf
  int sizeFailure = 0;    // errno of the size question
  int fillFailure = 0;    // errno of filling
  int growths = 0;        // filling answers so many times that there are more by now
  bool noMemory = false;  // new(std::nothrow) gives null
  int sizeQuestions = 0;
  int fills = 0;

  // --- query ---
  qz::detail::query_answer answer = {qz::detail::query_answer::answered, 0};
  qz::detail::process_figures figures = {};
  unsigned queriedPid = 0;
};

extern played_services played;

// Process number `index` of the machine that is played.
qz::detail::process_entry processOf(int index);

#endif  // QZ_TESTS_PROCESS_SUBSTITUTE_SERVICES_H_
