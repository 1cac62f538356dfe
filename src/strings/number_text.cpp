#include "strings/number_text.h"

#include <climits>

namespace {

// What does not fit into the type, and what is no number, becomes the least value.
template <class Whole, class Real>
Whole truncated(Real value, Whole least) {
  auto const limit = -static_cast<Real>(least);
  return value >= -limit && value < limit ? static_cast<Whole>(value) : least;
}

float powerOfTen(int exponent) {
  float power = 1;
  for (int i = 0; i < exponent; ++i) power *= 10;
  return power;
}

}  // namespace

_qzString<25> int2Str(int const& value) {
  _qzString<25> text;
  text.addNr(value);
  return text;
}

_qzString<25> float2Str(float value, int const& decimals, unsigned short const& separator) {
  int const whole = truncated(value, INT_MIN);
  float const fraction = (value - static_cast<float>(whole)) * powerOfTen(decimals);
  double const half = fraction < 0 ? -0.5 : 0.5;
  qz::detail::decimal_text const digits(truncated(static_cast<double>(fraction) + half, LLONG_MIN));

  _qzString<25> text = int2Str(whole);
  text += separator;
  for (int i = digits.count; i < decimals && text.length < text.kCapacity; ++i) text += '0';
  text += digits.text;
  return text;
}

_qzString<500> bool2str(bool const& value, bool const& asWord) {
  if (asWord) return value ? "true" : "false";
  return value ? "1" : "0";
}

bool qzIsDigit(unsigned short const& unit) { return (unit >= '0' && unit <= '9') || unit == '-'; }
