#include "time/stopwatch.h"

#include <sys/time.h>

#include <type_traits>

static_assert(sizeof(qzTimer) == 8 && std::is_standard_layout_v<qzTimer>);

namespace {

// In the low 32 bits of both readings.
int millisecondsBetween(std::uint64_t start, std::uint64_t now) {
  return static_cast<int>((now - start) & 0x7FFFFFFF);
}

std::uint64_t currentReading() { return static_cast<std::uint64_t>(qzTimer::currentMillSeconds()); }

}  // namespace

void qzTimer::start() { startMs = currentReading(); }

long long qzTimer::currentMillSeconds() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return now.tv_sec * 1000LL + now.tv_usec / 1000;
}

int qzTimer::elapsed() const { return millisecondsBetween(startMs, currentReading()); }

int qzTimer::restart() {
  auto const now = currentReading();
  int const milliseconds = millisecondsBetween(startMs, now);
  startMs = now;
  return milliseconds;
}

_qzString8_allSize<50> qzTimer::elapsedString8() const {
  return qz::detail::elapsedText(elapsed());
}

_qzString8_allSize<50> qzTimer::restartAndString8() { return qz::detail::elapsedText(restart()); }

_qzString8_allSize<50> qz::detail::elapsedText(int milliseconds) {
  _qzString8_allSize<50> text;
  // Required: not from 1000 on.
  if (milliseconds >= 1001) text.addNr(milliseconds / 1000);
  text += '.';
  text.addNr(milliseconds % 1000 / 10, 2);
  text += "s.ms";
  return text;
}
