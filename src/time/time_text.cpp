// The texts of a point in time. They are written digit by digit: their numbers have two digits but
// for the odd year, and printf(3) would take most of the time.
#include <cstring>

#include "strings/formatted_text.h"
#include "strings/number_core.h"
#include "time/local_time.h"
#include "time/time_value.h"

using namespace qz::detail;

char const* const month_names[13] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",  "Jul",
                                     "Aug", "Sep", "Oct", "Nov", "Dec", nullptr};

namespace {

constexpr char kNoTime[] = "-.-";

// What "%02d" prints of a number that has more than two digits or a minus sign: there is no zero to
// put in front. Kept out of the way of the others, which are all of them but odd years.
[[gnu::noinline, gnu::cold]] char* putWide(char* at, int number) {
  decimal_text const digits(number);
  std::memcpy(at, digits.text, static_cast<std::size_t>(digits.count));
  return at + digits.count;
}

// Writes into a text that is all zeros, which makes its terminator; none gets near its capacity.
struct text_pen {
  char* at;

  text_pen& mark(char c) {
    *at++ = c;
    return *this;
  }
  // What "%02d" prints.
  text_pen& two(int number) {
    if (number < 0 || number > 99) {
      at = putWide(at, number);
      return *this;
    }
    return mark(digit(number / 10)).mark(digit(number % 10));
  }
  text_pen& monthName(int month) {
    std::memcpy(at, month_names[month], 3);
    at += 3;
    return *this;
  }
  text_pen& timeOfDay(std::tm const& local) {
    return two(local.tm_hour).mark(':').two(local.tm_min).mark('.').two(local.tm_sec);
  }

  static char digit(int number) { return static_cast<char>('0' + number); }
};

// The text that `write` puts down. It is built where the caller wants it: a copy of 250 characters
// would take as long as writing them.
template <int N, class Write>
_qzString8_allSize<N> written(Write write) {
  _qzString8_allSize<N> text;
  text_pen pen{text.data};
  write(pen);
  text.length = static_cast<unsigned short>(pen.at - text.data);
  return text;
}

// The text that `write` puts down of the local time, or `unset`.
template <class Write>
line_text localText(std::int64_t value, bool isSet, char const* unset, Write write) {
  return written<250>([&](text_pen& pen) {
    if (isSet)
      write(pen, localTime(value));
    else
      while (*unset != 0) pen.mark(*unset++);
  });
}

void putMonthDayTime(text_pen& pen, std::tm const& local) {
  pen.two(local.tm_mon + 1).mark('.').two(local.tm_mday).mark('.').mark(' ').timeOfDay(local);
}

// "16.Nov."
text_pen& putDayMonth(text_pen& pen, std::tm const& local) {
  return pen.two(local.tm_mday).mark('.').monthName(local.tm_mon).mark('.');
}

// "1116_0507", the part that the file names share.
text_pen& putFileMinute(text_pen& pen, std::tm const& local) {
  pen.two(local.tm_mon + 1).two(local.tm_mday).mark('_');
  return pen.two(local.tm_hour).two(local.tm_min);
}

// Years since 2000.
int shortYear(std::tm const& local) { return low32(local.tm_year - 100LL); }

}  // namespace

_qzString8_allSize<250> _qzTime::asQZ8StringMt() const {
  return localText(value, value >= 1, kNoTime, [](text_pen& pen, std::tm const& local) {
    pen.monthName(local.tm_mon < 0 ? 0 : local.tm_mon).mark(' ').two(local.tm_mday);
    pen.mark('.').mark(' ').timeOfDay(local);
  });
}

_qzString8_allSize<250> _qzTime::asStringMt() const { return asQZ8StringMt(); }

_qzString8_allSize<250> _qzTime::asQZ8String() const {
  return localText(value, true, "", putMonthDayTime);
}

_qzString8_allSize<250> _qzTime::asString() const { return asQZ8String(); }

_qzString8_allSize<250> _qzTime32::asQZ8String() const {
  return localText(value, true, "", putMonthDayTime);
}

_qzString8_allSize<250> _qzTime::asQZ8StringDateMonth() const {
  return localText(value, value >= 1, kNoTime,
                   [](text_pen& pen, std::tm const& local) { putDayMonth(pen, local).mark(' '); });
}

_qzString8_allSize<250> _qzTime::asQZ8StringDateMonthYear() const {
  return localText(value, value >= 1, kNoTime, [](text_pen& pen, std::tm const& local) {
    putDayMonth(pen, local).two(low32(local.tm_year + 1900LL)).mark(' ');
  });
}

_qzString<50> _qzTime::asStringYear3_qzs() const {
  if (value < 1) return kNoTime;
  std::tm const local = localTime(value);
  char text[24];
  text_pen pen{text};
  putDayMonth(pen, local).two(shortYear(local));
  return _qzString<50>(text, static_cast<int>(pen.at - text));
}

_qzString<50> _qzTime::asStringYear3() const { return asStringYear3_qzs(); }

_qzString8_allSize<50> _qzTime::asQZ8StringHourMinSec() const {
  long long const local = addWrapping(value, getTime_Start_OffSet());
  return written<50>([local](text_pen& pen) {
    pen.two(low32(local / 3600 % 24)).mark(':').two(low32(local / 60 % 60));
    pen.mark('.').two(low32(local % 60));
  });
}

_qzString8_allSize<250> _qzTime::asStringFileName_TruncSec() const {
  return localText(value, value != 0, "000000_000", [](text_pen& pen, std::tm const& local) {
    putFileMinute(pen, local).mark(text_pen::digit(local.tm_sec / 10));
  });
}

_qzString8_allSize<250> _qzTime::asStringFileName() const {
  return localText(value, value != 0, "000000_0000", [](text_pen& pen, std::tm const& local) {
    putFileMinute(pen, local).two(local.tm_sec);
  });
}

_qzString8_allSize<250> _qzTime::asStringFileNameYearMinute() const {
  return localText(value, value != 0, "000000_0000", [](text_pen& pen, std::tm const& local) {
    putFileMinute(pen.two(shortYear(local)), local);
  });
}
