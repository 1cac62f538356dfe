// Numbers as text, for all string forms: the decimal digits that are appended, hexadecimal fields,
// and the check that decides whether a text is a number. Locales play no part.
#ifndef QZ_STRINGS_NUMBER_CORE_H_
#define QZ_STRINGS_NUMBER_CORE_H_

#include "strings/text_core.h"

namespace qz::detail {

// The decimal text of any 64-bit number, with a minus sign where it belongs and a terminator.
struct decimal_text {
  char text[24];
  int count;

  explicit decimal_text(long long value);
  explicit decimal_text(unsigned long long value);
  explicit decimal_text(int value) : decimal_text(static_cast<long long>(value)) {}
};

// Appends what fits of the digits, of an int or a 64-bit number.
template <class Unit, class Number>
void appendDecimal(text_slot<Unit> text, Number value);

// The decimal text in a column, as appendColumnInRoom makes it.
template <class Unit>
void appendDecimalColumn(text_slot<Unit> text, long long value, int width);

// Zeros first, up to `minDigits` characters in all, the minus sign among them and behind the zeros.
// In 16 bits zeros and digits together are cut at 20.
void appendDecimalPadded(text_slot<char> text, long long value, int minDigits);
void appendDecimalPadded(text_slot<unsigned short> text, long long value, int minDigits);

// Appends the capital digits, at least `minDigits`; of those that fit into the capacity, the last
// `mostKept`.
void appendHex(text_slot<char> text, int value, int minDigits, int mostKept);

// Digits, and a minus sign in front. An empty text and a lone minus sign are numbers.
template <class Unit>
bool isNumber(unit_run<Unit> text);

// With `ok`, `*ok` tells whether the text is a number, and the result is 0 if not. 8-bit texts must
// have a terminator; of 16-bit texts 249 units are read.
long long toInt64(text_view<char> text, bool* ok);
int toInt(text_view<char> text, bool* ok);
int toInt(text_view<unsigned short> text, bool* ok);

// The same for every text, a very long one and one without a terminator among them.
long long readAnyNumber(unit_run<char> text, bool* ok);

// What has its terminator, and few enough digits to fit, is checked and read in one pass. The
// terminator ends the loop, also where the text is empty; what else is not a digit ends it too
// soon. Inline, since a call costs as much as reading a short number.
inline long long toInt64(text_view<char> text, bool* ok) {
  constexpr int kSafeCount = 18;
  int const count = text.used();
  if (ok == nullptr || count > kSafeCount || text.units[count] != 0)
    return readAnyNumber(text.run(), ok);
  char const* at = text.units;
  bool const negative = *at == '-';
  if (negative) ++at;
  long long value = 0;
  for (unsigned digit; (digit = static_cast<unsigned>(*at) - '0') <= 9; ++at)
    value = value * 10 + digit;
  *ok = at == text.units + count;
  if (!*ok) return 0;
  return negative ? -value : value;
}
// Of the 64-bit number the low 32 bits, as atoi(3) does here.
inline int toInt(text_view<char> text, bool* ok) { return static_cast<int>(toInt64(text, ok)); }

// Reads the field at the front of `text` out of `copy`, a copy of its characters with room for the
// capacity and a terminator, which is written to.
long long toIntFromHex(text_slot<char> text, char* copy, int bits, bool signedValue, bool consume,
                       bool* ok);

}  // namespace qz::detail

#endif  // QZ_STRINGS_NUMBER_CORE_H_
