// What the sources of the time values share: local time, and arithmetic that wraps instead of
// overflowing, since seconds and days come from records and from callers untested.
#ifndef QZ_TIME_LOCAL_TIME_H_
#define QZ_TIME_LOCAL_TIME_H_

#include <ctime>

namespace qz::detail {

constexpr long long kDaySeconds = 86400;

// Returns the broken-down local time; all zeros for a second whose year no int can hold.
inline std::tm localTime(long long seconds) {
  std::time_t const time = seconds;
  std::tm local;
  if (localtime_r(&time, &local) == nullptr) local = {};
  return local;
}

constexpr long long addWrapping(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) +
                                static_cast<unsigned long long>(b));
}
constexpr long long subtractWrapping(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) -
                                static_cast<unsigned long long>(b));
}
constexpr long long multiplyWrapping(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) *
                                static_cast<unsigned long long>(b));
}
// The low 32 bits, as a signed number.
constexpr int low32(long long value) { return static_cast<int>(value); }

}  // namespace qz::detail

#endif  // QZ_TIME_LOCAL_TIME_H_
