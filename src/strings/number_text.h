// Numbers as wide text. The strings' own members for numbers are in their headers.
#ifndef QZ_STRINGS_NUMBER_TEXT_H_
#define QZ_STRINGS_NUMBER_TEXT_H_

#include "strings/string16.h"

// Returns the decimal text.
_qzString<25> int2Str(int const& value);

// Returns the whole part, the separator and `decimals` digits of the fraction, in single precision,
// cut at 25 units. Required: a carry out of the fraction does not reach the whole part (1.999 with
// 2 decimals gives "1.100"), a negative fraction keeps its minus sign behind the separator (-1.5
// with 1 decimal gives "-1.-5"), and without decimals the separator is followed by "0" or "1".
_qzString<25> float2Str(float value, int const& decimals, unsigned short const& separator);

// Returns "true" or "false" with `asWord`, else "1" or "0".
_qzString<500> bool2str(bool const& value, bool const& asWord);

// True for 0 to 9. Required: and for the minus sign.
bool qzIsDigit(unsigned short const& unit);

#endif  // QZ_STRINGS_NUMBER_TEXT_H_
