// Between 8-bit and 16-bit text. One byte is one unit in both directions; no text is decoded.
#include <algorithm>

#include "strings/text_core.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

// Function objects and not functions, so that the loops over them are compiled for each.
constexpr auto withSign = [](char c) {
  return static_cast<unsigned short>(unit_rules<char>::weight(c));
};
constexpr auto withZeros = [](char c) -> unsigned short { return static_cast<unsigned char>(c); };
constexpr auto lowByte = [](unsigned short unit) { return static_cast<char>(unit & 0xFF); };

template <class Widen>
void putAt(text_slot<unsigned short> text, int start, unit_run<char> source, Widen widen) {
  int const count = std::min(source.count, text.capacity - start);
  changeUnits(source.units, text.units + start, count, widen);
  text.setUsedAndEnd(start + count);
}

}  // namespace

int narrowInto(char* buffer, int room, unit_run<unsigned short> source) {
  int const count = std::min(source.count, room);
  changeUnits(source.units, buffer, count, lowByte);
  buffer[count] = 0;
  return count;
}

void assignNarrowed(text_slot<char> text, unit_run<unsigned short> source) {
  text.setUsed(narrowInto(text.units, text.capacity, source));
}

void assignWidenedWithSign(text_slot<unsigned short> text, unit_run<char> source) {
  putAt(text, 0, source, withSign);
}

void appendWidenedWithSign(text_slot<unsigned short> text, unit_run<char> source) {
  putAt(text, text.used(), source, withSign);
}

void assignWidenedWithZeros(text_slot<unsigned short> text, unit_run<char> source) {
  putAt(text, 0, source, withZeros);
}

void appendWidenedWithZeros(text_slot<unsigned short> text, unit_run<char> source) {
  putAt(text, text.used(), source, withZeros);
}

bool equalWithZeros(text_view<unsigned short> a, unit_run<char> b) {
  return a.lengthField() == b.count &&
         std::equal(a.units, a.units + a.used(), b.units,
                    [](unsigned short unit, char c) { return unit == withZeros(c); });
}

}  // namespace qz::detail
