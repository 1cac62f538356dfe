// usleep(3) of the test program stands in front of the C library's: while `insteadOfSleeping` is
// set it is called in place of every sleep, so that a test sees the sleeps, acts during one, and
// need not wait for them.
#ifndef QZ_TESTS_TOOL_SLEEP_HOOK_H_
#define QZ_TESTS_TOOL_SLEEP_HOOK_H_

#include <unistd.h>

#include <functional>

extern std::function<void(useconds_t)> insteadOfSleeping;

#endif  // QZ_TESTS_TOOL_SLEEP_HOOK_H_
