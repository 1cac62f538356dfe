#include <algorithm>

#include "strings/text_core.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

template <class Unit>
void zeroUnits(Unit* units, int count) {
  std::memset(units, 0, static_cast<std::size_t>(count) * sizeof(Unit));
}

// What a column shows of its text: bytes with zeros in front, and of units the low byte.
void copyLowBytes(char* to, char const* from, int count) { copyUnits(to, from, count); }
void copyLowBytes(unsigned short* to, char const* from, int count) {
  changeUnits(from, to, count,
              [](char c) -> unsigned short { return static_cast<unsigned char>(c); });
}
void copyLowBytes(unsigned short* to, unsigned short const* from, int count) {
  copyUnits(to, from, count);  // first, since the two may overlap
  changeUnits(to, to, count, [](unsigned short unit) -> unsigned short { return unit & 0xFF; });
}

// A column of `field` units; with a negative width the blanks stand in front. Null counts as empty.
// Required: the blanks in front are written before the text is read. It shows where a string that
// null has emptied is its own argument: in "abc", a column of -5 gives four blanks and the c.
template <class Unit, class Source>
void putColumn(text_slot<Unit> text, Source const* source, int width, int field) {
  Source const nothing = 0;
  if (source == nullptr) source = &nothing;
  int const count = unit_rules<Source>::count(source);
  if (width == 0 && count == 0) return;
  Unit* end = text.units + text.used();
  int const shown = std::min(count, text.room());
  int const blanks = std::max(field - shown, 0);
  if (width < 0) end = std::fill_n(end, blanks, Unit{' '});
  copyLowBytes(end, source, shown);
  end += shown;
  if (width >= 0) end = std::fill_n(end, blanks, Unit{' '});
  text.setUsedAndEnd(static_cast<int>(end - text.units));
}

// Inline, since a call more shows in the short texts that are appended most.
template <class Unit>
inline void appendRun(text_slot<Unit> text, unit_run<Unit> source) {
  int const used = text.used();
  int const count = std::min(source.count, text.capacity - used);
  copyUnits(text.units + used, source.units, count);
  text.setUsedAndEnd(used + count);
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
void assignCut(text_slot<Unit> text, Unit const* source, std::size_t count) {
  assign(text, unit_run<Unit>{source, cutCount(count, text.capacity)});
}

template <class Unit>
void assignCutAndZeros(text_slot<Unit> text, Unit const* source, std::size_t count) {
  assignCut(text, source, count);
  zeroUnused(text);
}

template <class Unit>
void assignText(text_slot<Unit> text, Unit const* source) {
  if (source == nullptr) return text.setUsed(0);
  assign(text, unit_run<Unit>{source, unit_rules<Unit>::count(source)});
}

template <class Unit>
void assignTextAndZeros(text_slot<Unit> text, Unit const* source) {
  assignText(text, source);
  zeroUnused(text);
}

template <class Unit>
void takeOver(text_slot<Unit> text, text_view<Unit> old) {
  text.setUsed(old.lengthField());
  copyUnits(text.units, old.units, old.capacity);
}

template <class Unit>
void takeOverAndEnd(text_slot<Unit> text, text_view<Unit> old) {
  takeOver(text, old);
  if (text.lengthField() <= text.capacity) text.units[text.lengthField()] = 0;
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
void repeat(text_slot<Unit> text, Unit unit, int count) {
  int const cut = count < 1 ? 0 : cutCount(count, text.capacity);
  std::fill_n(text.units, cut, unit);
  text.setUsed(cut);
}

template <class Unit>
void append(text_slot<Unit> text, unit_run<Unit> source) {
  appendRun(text, source);
}

template <class Unit>
void append(text_slot<Unit> text, text_view<Unit> source) {
  append(text, source.run());
}

template <class Unit>
void append(text_slot<Unit> text, Unit const* source, unsigned count) {
  if (source == nullptr || count == 0) return;
  auto const capacity = static_cast<unsigned>(text.capacity);
  append(text, unit_run<Unit>{source, static_cast<int>(std::min(count, capacity))});
}

template <class Unit>
void appendText(text_slot<Unit> text, Unit const* source) {
  if (source != nullptr) appendRun(text, unit_run<Unit>{source, unit_rules<Unit>::count(source)});
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
void appendColumn(text_slot<Unit> text, Unit const* source, int width) {
  putColumn(text, source, width, width < 0 ? -width : width);
}

template <class Unit>
void appendColumnInRoom(text_slot<Unit> text, char const* source, int width) {
  int const room = text.room();
  putColumn(text, source, width, width < 0 ? -std::max(width, -room) : std::min(width, room));
}

#define QZ_INSTANTIATE(Unit)                                                  \
  template void zeroAll(text_slot<Unit>);                                     \
  template void zeroUnused(text_slot<Unit>);                                  \
  template void assign(text_slot<Unit>, unit_run<Unit>);                      \
  template void assignCut(text_slot<Unit>, Unit const*, std::size_t);         \
  template void assignCutAndZeros(text_slot<Unit>, Unit const*, std::size_t); \
  template void assignText(text_slot<Unit>, Unit const*);                     \
  template void assignTextAndZeros(text_slot<Unit>, Unit const*);             \
  template void takeOver(text_slot<Unit>, text_view<Unit>);                   \
  template void takeOverAndEnd(text_slot<Unit>, text_view<Unit>);             \
  template void setLength(text_slot<Unit>, short);                            \
  template void measure(text_slot<Unit>);                                     \
  template void repeat(text_slot<Unit>, Unit, int);                           \
  template void append(text_slot<Unit>, unit_run<Unit>);                      \
  template void append(text_slot<Unit>, text_view<Unit>);                     \
  template void append(text_slot<Unit>, Unit const*, unsigned);               \
  template void appendText(text_slot<Unit>, Unit const*);                     \
  template void appendLive(text_slot<Unit>, text_view<Unit>);                 \
  template void appendColumn(text_slot<Unit>, Unit const*, int);              \
  template void appendColumnInRoom(text_slot<Unit>, char const*, int)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

}  // namespace qz::detail
