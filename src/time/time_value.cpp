#include "time/time_value.h"

#include <ctime>
#include <type_traits>

#include "strings/formatted_text.h"

static_assert(sizeof(_qzTime) == 8 && alignof(_qzTime) == 4 && std::is_standard_layout_v<_qzTime>);

char const* const month_names[13] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",  "Jul",
                                     "Aug", "Sep", "Oct", "Nov", "Dec", nullptr};

_qzTime::_qzTime(bool now) : value(now ? std::time(nullptr) : 0) {}

_qzString8_allSize<250> _qzTime::asQZ8StringMt() const {
  if (value < 1) return "-.-";

  std::time_t const seconds = value;
  std::tm local{};
  localtime_r(&seconds, &local);
  if (local.tm_mon < 0) local.tm_mon = 0;

  return qz::detail::formattedText("%s %02d. %02d:%02d.%02d", month_names[local.tm_mon],
                                   local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}
