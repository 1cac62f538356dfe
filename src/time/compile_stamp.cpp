// A compiler's date and time stamps, read field by field from the front.
#include <algorithm>

#include "time/time_value.h"

namespace {

using stamp_text = _qzString8_allSize<50>;

// The month that the text begins with, from 1, or 0.
int monthAtFront(stamp_text const& text) {
  for (int i = 0; month_names[i] != nullptr; ++i)
    if (text.startsWith(month_names[i])) return i + 1;
  return 0;
}

void dropFront(stamp_text& text, int count) { text.remove(0, std::min<int>(count, text.length)); }

// Reads a field that the rest of the text may be too short for; an empty one reads as 0.
bool readNumber(stamp_text field, int& number) {
  bool valid;
  number = field.toInt(&valid);
  return valid;
}

bool readPaddedNumber(stamp_text field, int& number) {
  field.trim();
  return readNumber(field, number);
}

}  // namespace

long long _qzTime::fromStringCompileDate2(char const* date, char const* time) {
  value = 0;
  stamp_text dateLeft(date), timeLeft(time);
  int day, year, hour, minute, second;

  int const month = monthAtFront(dateLeft);
  if (month == 0) return 0;
  dropFront(dateLeft, 4);
  if (!readPaddedNumber(dateLeft.left(2), day)) return value;
  dropFront(dateLeft, 3);
  if (!readPaddedNumber(dateLeft.left(4), year)) return value;

  if (!readPaddedNumber(timeLeft.left(2), hour)) return value;
  dropFront(timeLeft, 3);
  if (!readNumber(timeLeft.left(2), minute)) return value;
  dropFront(timeLeft, 3);
  if (!readNumber(timeLeft.left(2), second)) return value;

  fromDateTime(second, minute, hour, day, month, year);
  return value;
}
