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
int toInt(text_view<char> text, bool* ok);
int toInt(text_view<unsigned short> text, bool* ok);
long long toInt64(text_view<char> text, bool* ok);

// Reads the field at the front of `text` out of `copy`, a copy of its characters with room for the
// capacity and a terminator, which is written to.
long long toIntFromHex(text_slot<char> text, char* copy, int bits, bool signedValue, bool consume,
                       bool* ok);

}  // namespace qz::detail

#endif  // QZ_STRINGS_NUMBER_CORE_H_
