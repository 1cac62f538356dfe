#include <unistd.h>

#include "tool/system_services.h"

void qzSleep(int milliseconds) {
  constexpr int kChunk = 999;
  if (milliseconds < 1) return;
  for (; milliseconds >= kChunk; milliseconds -= kChunk) usleep(kChunk * 1000);
  usleep(static_cast<useconds_t>(milliseconds) * 1000);
}
