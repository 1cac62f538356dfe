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

template <class Widen>
void putAt(text_slot<unsigned short> text, int start, unit_run<char> source, Widen widen) {
  int const count = std::min(source.count, text.capacity - start);
  changeUnits(source.units, text.units + start, count, widen);
  text.setUsedAndEnd(start + count);
}

unit_run<char> runOf(char const* text) { return {text, unit_rules<char>::count(text)}; }

int narrow(char* buffer, int room, unit_run<unsigned short> source) {
  int const count = std::min(source.count, room);
  changeUnits(source.units, buffer, count, [](unsigned short unit) { return lowByte(unit); });
  buffer[count] = 0;
  return count;
}

}  // namespace

void assignNarrowed(text_slot<char> text, unsigned short const* source) {
  if (source == nullptr) return;
  int const count = unit_rules<unsigned short>::count(source);
  text.setUsed(narrow(text.units, text.capacity, {source, count}));
}

void narrowKeepingLength(text_slot<char> text, text_view<unsigned short> source) {
  narrow(text.units, text.capacity - 1, source.run());
  text.setUsed(source.lengthField());
}

void narrowInto(char* buffer, int room, text_view<unsigned short> source) {
  narrow(buffer, room, source.run());
}

void assignWidenedWithSign(text_slot<unsigned short> text, unit_run<char> source) {
  putAt(text, 0, source, withSign);
}

void assignWidenedWithSign(text_slot<unsigned short> text, char const* source) {
  if (source != nullptr) putAt(text, 0, runOf(source), withSign);
}

void appendWidenedWithSign(text_slot<unsigned short> text, char const* source) {
  if (source != nullptr) putAt(text, text.used(), runOf(source), withSign);
}

void assignWidenedWithZeros(text_slot<unsigned short> text, char const* source) {
  if (source != nullptr) putAt(text, 0, runOf(source), withZeros);
}

void appendWidenedWithZeros(text_slot<unsigned short> text, unit_run<char> source) {
  putAt(text, text.used(), source, withZeros);
}

void appendWidenedWithZeros(text_slot<unsigned short> text, char const* source) {
  if (source != nullptr && *source != 0) appendWidenedWithZeros(text, runOf(source));
}

bool equalWithZeros(text_view<unsigned short> a, char const* b) {
  return b != nullptr && a.lengthField() == unit_rules<char>::count(b) &&
         std::equal(a.units, a.units + a.used(), b,
                    [](unsigned short unit, char c) { return unit == withZeros(c); });
}

}  // namespace qz::detail
