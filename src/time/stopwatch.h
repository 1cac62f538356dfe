// A millisecond stopwatch on the system's clock. It tells 24.8 days apart, then starts over from 0;
// a clock that is set back makes it jump far ahead. It never gives a negative number.
#ifndef QZ_TIME_STOPWATCH_H_
#define QZ_TIME_STOPWATCH_H_

#include <cstdint>

#include "strings/string8.h"

struct qzTimer {
  std::uint64_t startMs;  // milliseconds since 1 January 1970 UTC, at the start

  qzTimer() { start(); }

  void start();
  // Milliseconds since 1 January 1970 UTC, of gettimeofday(2).
  static long long currentMillSeconds();

  // Milliseconds since the start, 0 to 2147483647. The second form starts anew at the same reading
  // of the clock.
  int elapsed() const;
  int restart();

  // The same as seconds with two cut decimals, "12.34s.ms". Required: up to 1000 ms nothing stands
  // in front of the point, ".50s.ms", and so 1000 ms is ".00s.ms".
  _qzString8_allSize<50> elapsedString8() const;
  _qzString8_allSize<50> restartAndString8();
};

namespace qz::detail {

// What elapsedString8 makes of so many milliseconds.
_qzString8_allSize<50> elapsedText(int milliseconds);

}  // namespace qz::detail

#endif  // QZ_TIME_STOPWATCH_H_
