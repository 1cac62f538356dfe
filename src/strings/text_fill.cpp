#include <algorithm>

#include "strings/text_core.h"

namespace qz::detail {
namespace {

template <class Unit>
void zeroUnits(Unit* units, int count) {
  std::memset(units, 0, static_cast<std::size_t>(count) * sizeof(Unit));
}

template <class Unit>
void fillBlanks(text_slot<Unit> text, int& end, int count) {
  if (count <= 0) return;
  std::fill_n(text.units + end, count, Unit{' '});
  end += count;
}

}  // namespace

template <class Unit>
void zeroAll(text_slot<Unit> text) {
  text.setUsed(0);
  zeroUnits(text.units, text.capacity + 1);
}

template <class Unit>
void zeroUnused(text_slot<Unit> text) {
  zeroUnits(text.units + text.used(), text.capacity + 1 - text.used());
}

template <class Unit>
void assign(text_slot<Unit> text, unit_run<Unit> source) {
  int const count = std::min(source.count, text.capacity);
  copyUnits(text.units, source.units, count);
  text.setUsedAndEnd(count);
}

template <class Unit>
void setLength(text_slot<Unit> text, short wanted) {
  text.setUsedAndEnd(std::clamp<int>(wanted, 0, text.capacity));
}

template <class Unit>
void measure(text_slot<Unit> text) {
  Unit const* const zero = std::find(text.units, text.units + text.capacity, Unit{0});
  text.setUsedAndEnd(static_cast<int>(zero - text.units));
}

template <class Unit>
void append(text_slot<Unit> text, unit_run<Unit> source) {
  int const used = text.used();
  int const count = std::min(source.count, text.capacity - used);
  copyUnits(text.units + used, source.units, count);
  text.setUsedAndEnd(used + count);
}

template <class Unit>
void appendLive(text_slot<Unit> text, text_view<Unit> source) {
  if (source.units != text.units) return append(text, source.run());
  // Required: the end is read again after each unit, so a string appended to itself never comes to
  // its own end and repeats until it is full.
  int const period = text.used();
  if (period == 0) return text.setUsedAndEnd(0);
  for (int end = period; end < text.capacity; ++end) text.units[end] = text.units[end - period];
  text.setUsedAndEnd(text.capacity);
}

template <class Unit>
void appendColumn(text_slot<Unit> text, unit_run<Unit> source, int field, bool rightAligned) {
  int end = text.used();
  int const count = std::min(source.count, text.capacity - end);
  int const blanks = field - count;
  if (rightAligned) fillBlanks(text, end, blanks);
  copyUnits(text.units + end, source.units, count);
  end += count;
  if (!rightAligned) fillBlanks(text, end, blanks);
  text.setUsedAndEnd(end);
}

#define QZ_INSTANTIATE(Unit)                                  \
  template void zeroAll(text_slot<Unit>);                     \
  template void zeroUnused(text_slot<Unit>);                  \
  template void assign(text_slot<Unit>, unit_run<Unit>);      \
  template void setLength(text_slot<Unit>, short);            \
  template void measure(text_slot<Unit>);                     \
  template void append(text_slot<Unit>, unit_run<Unit>);      \
  template void appendLive(text_slot<Unit>, text_view<Unit>); \
  template void appendColumn(text_slot<Unit>, unit_run<Unit>, int, bool)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

}  // namespace qz::detail
