// The texts of a point in time. They are written digit by digit: their numbers have two digits but
// for the odd year, and printf(3) would take most of the time.
#include <charconv>
#include <cstring>

#include "strings/formatted_text.h"
#include "time/local_time.h"
#include "time/time_value.h"

using namespace qz::detail;

char const* const month_names[13] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",  "Jul",
                                     "Aug", "Sep", "Oct", "Nov", "Dec", nullptr};

namespace {

constexpr char kNoTime[] = "-.-";

// Writes into a text that is all zeros, which makes its terminator; none gets near its capacity.
struct text_pen {
  char* at;

  text_pen& mark(char c) {
    *at++ = c;
    return *this;
  }
  // What "%02d" prints of any number; those outside 0..99 have two characters without a zero.
  text_pen& two(int number) {
    constexpr int kMostCharacters = 11;
    if (number < 0 || number > 99) {
      at = std::to_chars(at, at + kMostCharacters, number).ptr;
      return *this;
    }
    return mark(digit(number / 10)).mark(digit(number % 10));
  }
  text_pen& monthName(int month) {
    std::memcpy(at, month_names[month], 3);
    at += 3;
    return *this;
  }
  text_pen& hourMinuteSecond(int hour, int minute, int second) {
    return two(hour).mark(':').two(minute).mark('.').two(second);
  }

  static char digit(int number) { return static_cast<char>('0' + number); }
};

template <int N>
void endAt(_qzString8_allSize<N>& text, text_pen const& pen) {
  text.length = static_cast<unsigned short>(pen.at - text.data);
}

line_text monthDayTime(std::tm const& local) {
  line_text text;
  text_pen pen{text.data};
  pen.two(local.tm_mon + 1).mark('.').two(local.tm_mday).mark('.').mark(' ');
  pen.hourMinuteSecond(local.tm_hour, local.tm_min, local.tm_sec);
  endAt(text, pen);
  return text;
}

// "16.Nov."
text_pen& putDayMonth(text_pen& pen, std::tm const& local) {
  return pen.two(local.tm_mday).mark('.').monthName(local.tm_mon).mark('.');
}

// "1116_0507", the part that the file names share.
text_pen& putFileMinute(text_pen& pen, std::tm const& local) {
  return pen.two(local.tm_mon + 1)
      .two(local.tm_mday)
      .mark('_')
      .two(local.tm_hour)
      .two(local.tm_min);
}

// Years since 2000; in the year's own width, since no int may overflow on the way.
int yearOfCentury(std::tm const& local) { return low32(local.tm_year - 100LL); }

}  // namespace

_qzString8_allSize<250> _qzTime::asQZ8StringMt() const {
  if (value < 1) return kNoTime;
  std::tm const local = localTime(value);
  line_text text;
  text_pen pen{text.data};
  pen.monthName(local.tm_mon < 0 ? 0 : local.tm_mon).mark(' ').two(local.tm_mday);
  pen.mark('.').mark(' ').hourMinuteSecond(local.tm_hour, local.tm_min, local.tm_sec);
  endAt(text, pen);
  return text;
}

_qzString8_allSize<250> _qzTime::asStringMt() const { return asQZ8StringMt(); }

_qzString8_allSize<250> _qzTime::asQZ8String() const { return monthDayTime(localTime(value)); }

_qzString8_allSize<250> _qzTime::asString() const { return asQZ8String(); }

_qzString8_allSize<250> _qzTime32::asQZ8String() const { return monthDayTime(localTime(value)); }

_qzString8_allSize<250> _qzTime::asQZ8StringDateMonth() const {
  if (value < 1) return kNoTime;
  line_text text;
  text_pen pen{text.data};
  endAt(text, putDayMonth(pen, localTime(value)).mark(' '));
  return text;
}

_qzString8_allSize<250> _qzTime::asQZ8StringDateMonthYear() const {
  if (value < 1) return kNoTime;
  std::tm const local = localTime(value);
  line_text text;
  text_pen pen{text.data};
  endAt(text, putDayMonth(pen, local).two(low32(local.tm_year + 1900LL)).mark(' '));
  return text;
}

_qzString<50> _qzTime::asStringYear3_qzs() const {
  if (value < 1) return kNoTime;
  std::tm const local = localTime(value);
  char text[24];
  text_pen pen{text};
  putDayMonth(pen, local).two(yearOfCentury(local));
  return _qzString<50>(text, static_cast<int>(pen.at - text));
}

_qzString<50> _qzTime::asStringYear3() const { return asStringYear3_qzs(); }

_qzString8_allSize<50> _qzTime::asQZ8StringHourMinSec() const {
  long long const local = addWrapping(value, getTime_Start_OffSet());
  _qzString8_allSize<50> text;
  text_pen pen{text.data};
  endAt(text, pen.hourMinuteSecond(low32(local / 3600 % 24), low32(local / 60 % 60),
                                   low32(local % 60)));
  return text;
}

_qzString8_allSize<250> _qzTime::asStringFileName_TruncSec() const {
  if (value == 0) return "000000_000";
  std::tm const local = localTime(value);
  line_text text;
  text_pen pen{text.data};
  endAt(text, putFileMinute(pen, local).mark(text_pen::digit(local.tm_sec / 10)));
  return text;
}

_qzString8_allSize<250> _qzTime::asStringFileName() const {
  if (value == 0) return "000000_0000";
  std::tm const local = localTime(value);
  line_text text;
  text_pen pen{text.data};
  endAt(text, putFileMinute(pen, local).two(local.tm_sec));
  return text;
}

_qzString8_allSize<250> _qzTime::asStringFileNameYearMinute() const {
  if (value == 0) return "000000_0000";
  std::tm const local = localTime(value);
  line_text text;
  text_pen pen{text.data};
  endAt(text, putFileMinute(pen.two(yearOfCentury(local)), local));
  return text;
}
