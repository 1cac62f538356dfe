// System calls that the tests can make fail. call_faults.cpp stands in front of the C library's
// getdents64 and read in this test program; without a fault set they do what they always do.
#ifndef QZ_TESTS_PROCESS_CALL_FAULTS_H_
#define QZ_TESTS_PROCESS_CALL_FAULTS_H_

#include <sys/types.h>

#include <string>

struct call_faults {
  // Reading a directory doesn't give `hiddenPid` until it was read to its end `hiddenScans` times.
  pid_t hiddenPid = 0;
  int hiddenScans = 0;
  int scans = 0;  // how often a directory was read to its end

  // Reading a file whose path ends in `failingPath` fails with `failure` this many times. With a
  // failure of 0 it gives an empty text.
  std::string failingPath;
  int failure = 0;
  int failureTimes = 0;

  call_faults();
  ~call_faults();
  call_faults(call_faults const&) = delete;
  call_faults& operator=(call_faults const&) = delete;
};

#endif  // QZ_TESTS_PROCESS_CALL_FAULTS_H_
