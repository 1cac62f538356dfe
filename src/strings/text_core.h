// The algorithms of all fixed-capacity text, written once over (units, length field, capacity) and
// compiled once for `char` and once for `unsigned short`. The string templates only point a slot at
// their fields and forward; see text_members.h for what each operation means to a caller.
//
// Three ways to pass text, and the difference decides what happens when a string is handed to its
// own member:
//   text_slot   the string that is changed
//   text_view   a string whose length is read live, again at each step
//   unit_run    units and a count taken once
//
// A conversion can leave a length above the capacity. `used()` is the length that the fields can
// answer for, and nothing here reads or writes behind the array for such a string.
//
// Nothing allocates, throws or reports. Where scratch room is needed the caller lends it, since
// only the caller knows the capacity at compile time.
#ifndef QZ_STRINGS_TEXT_CORE_H_
#define QZ_STRINGS_TEXT_CORE_H_

#include <cstddef>
#include <cstring>

#include "strings/unit_rules.h"

namespace qz::detail {

template <class Unit>
struct unit_run {
  Unit const* units;
  int count;
};

// The place of the length is kept as its distance from the units: a slot with a pointer in its
// place would have three words, which pass in memory, and that stalled every call by some 15 ns.
// The way from the units to the length is defined well enough: both are fields of one
// standard-layout object, and slotOf and viewOf come to the units through the bytes of that whole
// object.
template <class Unit>
struct text_view {
  Unit const* units;
  int lengthOffset;  // bytes
  int capacity;

  unsigned short const& lengthField() const {
    return *reinterpret_cast<unsigned short const*>(reinterpret_cast<char const*>(units) +
                                                    lengthOffset);
  }
  int used() const { return lengthField() < capacity ? lengthField() : capacity; }
  unit_run<Unit> run() const { return {units, used()}; }
};

template <class Unit>
struct text_slot {
  Unit* units;
  int lengthOffset;  // bytes
  int capacity;

  unsigned short& lengthField() const {
    return *reinterpret_cast<unsigned short*>(reinterpret_cast<char*>(units) + lengthOffset);
  }
  int used() const { return lengthField() < capacity ? lengthField() : capacity; }
  int room() const { return capacity - used(); }
  unit_run<Unit> run() const { return {units, used()}; }
  text_view<Unit> view() const { return {units, lengthOffset, capacity}; }
  void setUsed(int count) const { lengthField() = static_cast<unsigned short>(count); }
  void setUsedAndEnd(int count) const {
    setUsed(count);
    units[count] = 0;
  }
};

// Source and target may overlap.
template <class Unit>
inline void copyUnits(Unit* to, Unit const* from, int count) {
  std::memmove(to, from, static_cast<std::size_t>(count) * sizeof(Unit));
}

template <class Unit>
inline bool sameUnits(Unit const* a, Unit const* b, int count) {
  return std::memcmp(a, b, static_cast<std::size_t>(count) * sizeof(Unit)) == 0;
}

// What a count from outside becomes: its low 16 bits, at most the capacity. The reduction comes
// first, so 65,540 characters give 4 and a negative count gives, as a rule, the capacity.
constexpr int cutCount(std::size_t count, int capacity) {
  auto const low = static_cast<unsigned short>(count);
  return low < capacity ? low : capacity;
}
constexpr int cutCount(int count, int capacity) {
  return cutCount(static_cast<std::size_t>(static_cast<unsigned short>(count)), capacity);
}

// The bytes up to the first zero byte, their count cut. Null counts as empty.
inline unit_run<char> cutText(char const* text, int capacity) {
  if (text == nullptr) return {"", 0};
  return {text, cutCount(std::strlen(text), capacity)};
}

// --- filling (text_fill.cpp) ---

// Length and all capacity + 1 units become zero.
template <class Unit>
void zeroAll(text_slot<Unit> text);
// Everything behind the text becomes zero, the terminator included.
template <class Unit>
void zeroUnused(text_slot<Unit> text);
// Copies at most the capacity, and ends the text. The source may lie in the text itself.
template <class Unit>
void assign(text_slot<Unit> text, unit_run<Unit> source);
// The count is cut. The second form zeroes what the text does not fill.
template <class Unit>
void assignCut(text_slot<Unit> text, Unit const* source, std::size_t count);
template <class Unit>
void assignCutAndZeros(text_slot<Unit> text, Unit const* source, std::size_t count);
// Up to the first zero unit, as unit_rules counts. Null: only the length becomes 0. The second form
// zeroes what the text does not fill.
template <class Unit>
void assignText(text_slot<Unit> text, Unit const* source);
template <class Unit>
void assignTextAndZeros(text_slot<Unit> text, Unit const* source);
// The length of `old`, untested, and capacity units; the second form ends a text that fits.
template <class Unit>
void takeOver(text_slot<Unit> text, text_view<Unit> old);
template <class Unit>
void takeOverAndEnd(text_slot<Unit> text, text_view<Unit> old);
template <class Unit>
void setLength(text_slot<Unit> text, short wanted);
// The length becomes the place of the first zero unit, or the capacity.
template <class Unit>
void measure(text_slot<Unit> text);
// `count` copies of `unit` into an empty string, the count cut; below 1 none.
template <class Unit>
void repeat(text_slot<Unit> text, Unit unit, int count);
// Appends what fits and ends the text.
template <class Unit>
void append(text_slot<Unit> text, unit_run<Unit> source);
template <class Unit>
void append(text_slot<Unit> text, text_view<Unit> source);
// Null and a count of 0 change nothing at all.
template <class Unit>
void append(text_slot<Unit> text, Unit const* source, unsigned count);
// Up to the first zero unit, as unit_rules counts. Null changes nothing.
template <class Unit>
void appendText(text_slot<Unit> text, Unit const* source);
// Appends unit by unit and reads the end of `source` again after each one, so that a string
// appended to itself repeats until it is full.
template <class Unit>
void appendLive(text_slot<Unit> text, text_view<Unit> source);
// Appends the low byte of each unit in a column of |width| units: blanks behind the text, or before
// it if `width` is negative. The text is cut at the room; the blanks are not. Null counts as empty.
template <class Unit>
void appendColumn(text_slot<Unit> text, Unit const* source, int width);
// The same with bytes, and with the column limited to the room.
template <class Unit>
void appendColumnInRoom(text_slot<Unit> text, char const* source, int width);

// `units` is an array or a pointer. Through the array itself the compiler sees that no unit can be
// the length, and keeps that in a register while a loop appends; through a pointer it cannot.
template <class Units, class Unit>
inline void appendUnitTo(Units& units, unsigned short& lengthField, int capacity, Unit unit) {
  unsigned end = lengthField;
  if (end < static_cast<unsigned>(capacity)) {
    units[end++] = unit;
    units[end] = 0;
  }
  lengthField = static_cast<unsigned short>(end);
}
template <class Unit>
inline void appendUnit(text_slot<Unit> text, Unit unit) {
  appendUnitTo(text.units, text.lengthField(), text.capacity, unit);
}

// --- between 8 and 16 bits (text_width.cpp) ---

// Keeps the low byte of each unit, up to the first zero unit. Null changes nothing.
void assignNarrowed(text_slot<char> text, unsigned short const* source);
// As many low bytes as fit below the capacity, a terminator, and the length of `source` all the
// same.
void narrowKeepingLength(text_slot<char> text, text_view<unsigned short> source);
// As many low bytes as `room` allows, and a terminator behind them.
void narrowInto(char* buffer, int room, text_view<unsigned short> source);
// Each byte becomes a unit with its sign: 0xE4 becomes 0xFFE4. Null changes nothing.
void assignWidenedWithSign(text_slot<unsigned short> text, unit_run<char> source);
void assignWidenedWithSign(text_slot<unsigned short> text, char const* source);
void appendWidenedWithSign(text_slot<unsigned short> text, char const* source);
// Each byte becomes a unit with zeros: 0xE4 becomes 0x00E4. Null changes nothing.
void assignWidenedWithZeros(text_slot<unsigned short> text, char const* source);
void appendWidenedWithZeros(text_slot<unsigned short> text, unit_run<char> source);
// An empty text changes nothing either.
void appendWidenedWithZeros(text_slot<unsigned short> text, char const* source);

// --- comparing (text_compare.cpp) ---

// Exact. The first unit of the arrays counts even when both texts are empty.
template <class Unit>
inline bool equal(text_view<Unit> a, text_view<Unit> b) {
  return a.units[0] == b.units[0] && a.lengthField() == b.lengthField() &&
         sameUnits(a.units, b.units, a.used());
}
template <class Unit>
bool equal(text_view<Unit> a, unit_run<Unit> b);
// With a bare pointer; null is not equal to anything. In 8 bits the first character counts.
bool equalText(text_view<char> a, char const* b);
// Exact over as many bytes as the text has units, which is the first half of it.
bool equalHalf(text_view<unsigned short> a, unsigned short const* b);
bool equalWithZeros(text_view<unsigned short> a, char const* b);
template <class Unit>
bool equalFolded(text_view<Unit> a, unit_run<Unit> b);
// Folds `a` alone; `b` is expected in that case already.
template <class Unit>
bool equalUpperInput(text_view<Unit> a, text_view<Unit> b);
template <class Unit>
bool equalLowerInput(text_view<Unit> a, text_view<Unit> b);
// memcmp over the shorter length, without a decision on a tie.
template <class Unit>
int comparePrefix(text_view<Unit> a, text_view<Unit> b);
template <class Unit>
bool lessThan(text_view<Unit> a, text_view<Unit> b);
template <class Unit>
int compareFolded(text_view<Unit> a, text_view<Unit> b);

// A prefix or a suffix that is empty or null is never there. A bare text is cut; the members tell
// what its count means.
template <class Unit>
bool beginsWith(text_view<Unit> text, text_view<Unit> prefix);
template <class Unit>
bool beginsWith(text_view<Unit> text, char const* prefix);
// Not cut: a text longer than the string is no prefix.
bool beginsWithWhole(text_view<char> text, char const* prefix);
template <class Unit>
bool beginsWithFolded(text_view<Unit> text, text_view<Unit> prefix);
template <class Unit>
bool beginsWithFolded(text_view<Unit> text, char const* prefix);
template <class Unit>
bool beginsWithFolded(text_view<Unit> text, char const* prefix, int count);
template <class Unit>
bool endsWithFolded(text_view<Unit> text, text_view<Unit> suffix);
template <class Unit>
bool endsWithFolded(text_view<Unit> text, char const* suffix);
template <class Unit>
bool endsWithFolded(text_view<Unit> text, char const* suffix, int count);

// --- searching (text_search.cpp); all give -1 for not found ---

// Forward from `start` if 1 <= start < length, else from 0.
template <class Unit>
int findUnit(text_view<Unit> text, Unit unit, int start);
template <class Unit>
int findUnitFolded(text_view<Unit> text, Unit unit, int start);
// Exact, backward from `start` if 0 <= start < length, else from the end.
template <class Unit>
int findLastUnit(text_view<Unit> text, Unit unit, int start);
template <class Unit>
int find(unit_run<Unit> text, unit_run<Unit> needle, int start);
template <class Unit>
int find(text_view<Unit> text, text_view<Unit> needle, int start);
template <class Unit>
int findFolded(unit_run<Unit> text, unit_run<Unit> needle, int start);
template <class Unit>
int findFolded(text_view<Unit> text, text_view<Unit> needle, int start);
// Folds `text` alone; `needle` is expected in upper case already.
template <class Unit>
int findUpperInput(text_view<Unit> text, text_view<Unit> needle);
// A bare text, cut; null is never found.
template <class Unit>
int find(text_view<Unit> text, char const* needle);
template <class Unit>
int findFolded(text_view<Unit> text, char const* needle);
template <class Unit>
int findUpperInput(text_view<Unit> text, char const* needle);
// The first `count` bytes of `needle`, the count cut. The pointer is not tested.
template <class Unit>
int find(text_view<Unit> text, char const* needle, int count);
// The candidates are the units of strings of the same form as `text`.
template <class Unit>
int findFirstCandidate(text_view<Unit> text, Unit const* const* candidates, int candidateCount,
                       int* which);
template <class Unit>
int countUnit(text_view<Unit> text, char unit);
template <class Unit>
int countUnitFolded(text_view<Unit> text, char unit);

// --- editing (text_edit.cpp) ---

template <class Unit>
void foldUpper(text_slot<Unit> text);
template <class Unit>
void foldLower(text_slot<Unit> text);
template <class Unit>
void trim(text_slot<Unit> text);
template <class Unit>
void insertAt(text_slot<Unit> text, int position, text_view<Unit> source);
template <class Unit>
void removeRange(text_slot<Unit> text, int start, int count);
template <class Unit>
void removeUnitFolded(text_slot<Unit> text, Unit unit);
template <class Unit>
void replaceUnitFolded(text_slot<Unit> text, Unit from, Unit to);
// `lent` has room for capacity units; it is used only where `to` is longer than `from`.
template <class Unit>
void replaceAll(text_slot<Unit> text, text_view<Unit> from, text_view<Unit> to, Unit* lent);
template <class Unit>
void replaceAllFolded(text_slot<Unit> text, text_view<Unit> from, text_view<Unit> to, Unit* lent);
template <class Unit>
void removeAll(text_slot<Unit> text, text_view<Unit> needle);
template <class Unit>
void removeAllFolded(text_slot<Unit> text, text_view<Unit> needle);
// Fills the empty string `piece` with `count` units of the array, whatever the length is.
template <class Unit>
void takeRange(text_view<Unit> text, int start, int count, text_slot<Unit> piece);
// The same from the front, with no more than the length.
template <class Unit>
void takeFront(text_view<Unit> text, int count, text_slot<Unit> piece);
// Fills the empty string `piece` with what stands before the first folded `unit`, or gives false
// and leaves it alone.
template <class Unit>
bool takeLeft(text_view<Unit> text, Unit unit, bool keep, text_slot<Unit> piece);
// The same, with the whole of the string without a `unit`, and takes that away from the text.
template <class Unit>
void cutLeft(text_slot<Unit> text, Unit unit, bool keep, text_slot<Unit> piece);
// Drops the first `count` units. With nothing left no terminator is written.
template <class Unit>
void dropFront(text_slot<Unit> text, int count);

}  // namespace qz::detail

#endif  // QZ_STRINGS_TEXT_CORE_H_
