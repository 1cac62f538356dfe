// Points in time: seconds since the epoch, in UTC; texts show local time.
#ifndef QZ_TIME_TIME_VALUE_H_
#define QZ_TIME_TIME_VALUE_H_

#include <cstdint>

#include "strings/string8.h"

// "Jan" to "Dec", indexed by tm_mon, and a null behind them.
extern char const* const month_names[13];

// 4-byte aligned, because the process table holds one at such a place.
#pragma pack(push, 4)
struct _qzTime {
  std::int64_t value;  // seconds since 1 January 1970 UTC; 0 means no time set

  // The current time, or no time.
  explicit _qzTime(bool now);

  // The stamp of a report line in local time, "Nov 16. 05:07.57", with a full stop in front of the
  // seconds; "-.-" if no time is set. Negative values count as unset.
  _qzString8_allSize<250> asQZ8StringMt() const;
};
#pragma pack(pop)

#endif  // QZ_TIME_TIME_VALUE_H_
