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

// Zeros first, up to `minDigits` characters in all, the minus sign among them and behind the zeros.
void appendDecimalPadded(text_slot<char> text, long long value, int minDigits);

// Appends the capital digits, at least `minDigits`; of those that fit into the capacity, the last
// `mostKept`.
void appendHex(text_slot<char> text, unsigned value, int minDigits, int mostKept);

// Digits, and a minus sign in front. An empty text and a lone minus sign are numbers.
template <class Unit>
bool isNumber(unit_run<Unit> text);

// The texts must have a terminator. With `ok` null nothing is checked.
int toInt(unit_run<char> text, bool* ok);
long long toInt64(unit_run<char> text, bool* ok);

// Reads the field at the front of `text` out of `copy`, a copy of its characters with room for the
// capacity and a terminator, which is written to.
long long toIntFromHex(text_slot<char> text, char* copy, int bits, bool signedValue, bool consume,
                       bool* ok);

}  // namespace qz::detail

#endif  // QZ_STRINGS_NUMBER_CORE_H_
