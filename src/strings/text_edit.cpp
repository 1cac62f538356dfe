#include <algorithm>

#include "strings/text_core.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

// Required: where an edit leaves nothing, no terminator is written and the old text stays visible
// through a bare pointer.
template <class Unit>
void endEdit(text_slot<Unit> text, int end) {
  if (end == 0) return text.setUsed(0);
  text.setUsedAndEnd(end);
}

// Puts `source`, cut to the room, in the place of `dropped` units; what no longer fits of the tail
// is lost. `source` may be the front of the text itself, up to `position`.
template <class Unit>
void splice(text_slot<Unit> text, int position, int dropped, unit_run<Unit> source) {
  int const inserted = std::min(source.count, text.capacity - position);
  int const tail = std::min(text.used() - position - dropped, text.capacity - position - inserted);
  copyUnits(text.units + position + inserted, text.units + position + dropped, tail);
  copyUnits(text.units + position, source.units, inserted);
  endEdit(text, position + inserted + tail);
}

template <class Unit>
bool sameString(text_slot<Unit> text, text_view<Unit> argument) {
  return text.units == argument.units;
}

// An edit gives the text back piece by piece, so a string that is its own argument holds, by the
// time that the argument is read, no more than what stands before `position`.
template <class Unit>
unit_run<Unit> readDuringEdit(text_slot<Unit> text, int position, text_view<Unit> argument) {
  if (sameString(text, argument)) return {text.units, position};
  return argument.run();
}

// The visible bytes of one replacement after the other, each cutting the text at the capacity
// before the next search, in a single pass.
template <class Unit, class Find>
void replaceEach(text_slot<Unit> text, text_view<Unit> from, text_view<Unit> to, Unit* lent,
                 Find findNext) {
  unit_run<Unit> const needle = from.run();
  int hit = findNext(text.run(), needle, 0);
  if (hit < 0) return;
  unit_run<Unit> const replacement = readDuringEdit(text, hit, to);
  // With the string as its own argument no second match is possible: the needle is the new text,
  // or the search would begin behind it.
  if (sameString(text, from) || sameString(text, to))
    return splice(text, hit, needle.count, replacement);

  Unit const* source = text.units;
  int end = text.used();
  if (replacement.count > needle.count) {
    copyUnits(lent + hit, text.units + hit, end - hit);
    source = lent;
  }
  int in = hit;   // source[in..end) is still to come
  int out = hit;  // text.units[0..out) is done
  int lastHit;
  for (;;) {
    lastHit = in;
    int const inserted = std::min(replacement.count, text.capacity - out);
    copyUnits(text.units + out, replacement.units, inserted);
    out += inserted;
    in += needle.count;
    end = std::min(end, in + text.capacity - out);  // what is pushed out is lost for good
    hit = findNext(unit_run<Unit>{source + in, end - in}, needle, 0);
    int const kept = hit < 0 ? end - in : hit;
    copyUnits(text.units + out, source + in, kept);
    out += kept;
    in += kept;
    if (hit < 0) break;
  }
  if (out == 0 && lastHit > 0) {  // what the last removal of the whole string leaves visible
    copyUnits(text.units, text.units + lastHit, needle.count);
    text.units[needle.count] = 0;
  }
  endEdit(text, out);
}

template <class Unit, class Find>
void removeEach(text_slot<Unit> text, text_view<Unit> needle, Find findNext) {
  text_view<Unit> const nothing{needle.units, needle.lengthOffset, 0};
  replaceEach(text, needle, nothing, static_cast<Unit*>(nullptr), findNext);
}

constexpr auto exactly = [](auto text, auto needle, int start) {
  return find(text, needle, start);
};
constexpr auto anyCase = [](auto text, auto needle, int start) {
  return findFolded(text, needle, start);
};

template <class Unit>
bool isTrimmed(Unit unit) {
  return unit == 0 || unit == '\t' || unit == '\n' || unit == '\r' || unit == ' ';
}

// Fills the zeroed string `piece` of the same capacity as the text that the units are the front of.
template <class Unit>
void fillPiece(text_slot<Unit> piece, unit_run<Unit> front) {
  // A word, as most pieces are: two steps of a fixed size copy its room whatever the count, and
  // zero what was too much.
  constexpr int kWord = 16;
  if (front.count > kWord || piece.capacity < 2 * kWord) return assign(piece, front);
  std::memcpy(piece.units, front.units, kWord * sizeof(Unit));
  std::memset(piece.units + front.count, 0, kWord * sizeof(Unit));
  piece.setUsed(front.count);
}

// Fills the empty string `piece` with what stands before the `unit` at `position`.
template <class Unit>
void takeBefore(text_view<Unit> text, int position, Unit unit, bool keep, text_slot<Unit> piece) {
  if (position > 0) {
    fillPiece(piece, unit_run<Unit>{text.units, position + (keep ? 1 : 0)});
  } else if (!keep) {
    // Required: at position 0 the sense of `keep` is reversed, and the argument's own case counts.
    assign(piece, unit_run<Unit>{&unit, 1});
  }
}

}  // namespace

template <class Unit>
void foldUpper(text_slot<Unit> text) {
  changeUnits(text.units, text.units, text.used(), to_upper{});
}

template <class Unit>
void foldLower(text_slot<Unit> text) {
  changeUnits(text.units, text.units, text.used(), to_lower{});
}

template <class Unit>
void trim(text_slot<Unit> text) {
  int end = text.used();
  while (end > 0 && isTrimmed(text.units[end - 1])) --end;
  int begin = 0;
  while (begin < end && isTrimmed(text.units[begin])) ++begin;
  copyUnits(text.units, text.units + begin, end - begin);
  text.setUsedAndEnd(end - begin);
}

template <class Unit>
void insertAt(text_slot<Unit> text, int position, text_view<Unit> source) {
  // Required: a negative position counts as the capacity. The array comes back whole.
  if (position < 0) return text.setUsedAndEnd(text.capacity);
  int const at = std::min(position, text.used());
  splice(text, at, 0, readDuringEdit(text, at, source));
}

template <class Unit>
void removeRange(text_slot<Unit> text, int start, int count) {
  auto const capacity = static_cast<unsigned>(text.capacity);
  unsigned const kept = std::min(static_cast<unsigned>(start), capacity);
  unsigned const behind = static_cast<unsigned>(start) + static_cast<unsigned>(count);
  // A range outside the text wraps and brings back what lies in the array; nothing catches it but
  // the end of the array.
  unsigned const tail = std::min(static_cast<unsigned>(text.used()) - behind, capacity - kept);
  unsigned const readable = behind <= capacity ? capacity + 1 - behind : 0;
  copyUnits(text.units + kept, text.units + (readable != 0 ? behind : 0),
            static_cast<int>(std::min(tail, readable)));
  endEdit(text, static_cast<int>(kept + tail));
}

template <class Unit>
void removeUnitFolded(text_slot<Unit> text, Unit unit) {
  int const count = text.used();
  Unit const wanted = unit_rules<Unit>::upper(unit);
  int out = 0;
  for (int i = 0; i < count; ++i)
    if (unit_rules<Unit>::upper(text.units[i]) != wanted) text.units[out++] = text.units[i];
  // What removing from the last character to the first leaves visible when all of them go.
  if (out == 0 && count > 1) std::fill_n(text.units + 1, count - 1, Unit{0});
  endEdit(text, out);
}

template <class Unit>
void replaceUnitFolded(text_slot<Unit> text, Unit from, Unit to) {
  Unit const wanted = unit_rules<Unit>::upper(from);
  std::replace_if(
      text.units, text.units + text.used(),
      [wanted](Unit unit) { return unit_rules<Unit>::upper(unit) == wanted; }, to);
}

template <class Unit>
void replaceAll(text_slot<Unit> text, text_view<Unit> from, text_view<Unit> to, Unit* lent) {
  replaceEach(text, from, to, lent, exactly);
}

template <class Unit>
void replaceAllFolded(text_slot<Unit> text, text_view<Unit> from, text_view<Unit> to, Unit* lent) {
  replaceEach(text, from, to, lent, anyCase);
}

template <class Unit>
void removeAll(text_slot<Unit> text, text_view<Unit> needle) {
  removeEach(text, needle, exactly);
}

template <class Unit>
void removeAllFolded(text_slot<Unit> text, text_view<Unit> needle) {
  removeEach(text, needle, anyCase);
}

template <class Unit>
void takeRange(text_view<Unit> text, int start, int count, text_slot<Unit> piece) {
  int const wanted = count < 0 ? text.capacity : std::min(count, text.capacity);
  int const readable = std::clamp(text.capacity + 1 - start, 0, wanted);
  copyUnits(piece.units, text.units + (readable != 0 ? start : 0), readable);
  piece.setUsedAndEnd(wanted);
}

template <class Unit>
void takeFront(text_view<Unit> text, int count, text_slot<Unit> piece) {
  takeRange(text, 0, std::min(count, text.used()), piece);
}

template <class Unit>
bool takeLeft(text_view<Unit> text, Unit unit, bool keep, text_slot<Unit> piece) {
  int const position = findUnitFolded(text, unit, 0);
  if (position >= 0) takeBefore(text, position, unit, keep, piece);
  return position >= 0;
}

template <class Unit>
void cutLeft(text_slot<Unit> text, Unit unit, bool keep, text_slot<Unit> piece) {
  int const position = findUnitFolded(text.view(), unit, 0);
  if (position < 0) {
    piece.setUsed(text.lengthField());
    copyUnits(piece.units, text.units, text.capacity + 1);
    return zeroAll(text);
  }
  takeBefore(text.view(), position, unit, keep, piece);
  dropFront(text, position + 1);
}

template <class Unit>
void dropFront(text_slot<Unit> text, int count) {
  int const tail = text.used() - count;
  copyUnits(text.units, text.units + count, tail);
  endEdit(text, tail);
}

#define QZ_INSTANTIATE(Unit)                                                                \
  template void foldUpper(text_slot<Unit>);                                                 \
  template void foldLower(text_slot<Unit>);                                                 \
  template void trim(text_slot<Unit>);                                                      \
  template void insertAt(text_slot<Unit>, int, text_view<Unit>);                            \
  template void removeRange(text_slot<Unit>, int, int);                                     \
  template void removeUnitFolded(text_slot<Unit>, Unit);                                    \
  template void replaceUnitFolded(text_slot<Unit>, Unit, Unit);                             \
  template void replaceAll(text_slot<Unit>, text_view<Unit>, text_view<Unit>, Unit*);       \
  template void replaceAllFolded(text_slot<Unit>, text_view<Unit>, text_view<Unit>, Unit*); \
  template void removeAll(text_slot<Unit>, text_view<Unit>);                                \
  template void removeAllFolded(text_slot<Unit>, text_view<Unit>);                          \
  template void takeRange(text_view<Unit>, int, int, text_slot<Unit>);                      \
  template void takeFront(text_view<Unit>, int, text_slot<Unit>);                           \
  template bool takeLeft(text_view<Unit>, Unit, bool, text_slot<Unit>);                     \
  template void cutLeft(text_slot<Unit>, Unit, bool, text_slot<Unit>);                      \
  template void dropFront(text_slot<Unit>, int)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

}  // namespace qz::detail
