// The members that every fixed-capacity string has with one meaning, whatever its layout and its
// unit: an empty base that forwards to the algorithms of text_core.h. A member whose rule differs
// between two forms is not here but in the struct of each form.
//
// Terms. N is the capacity. To cut a count means to take its low 16 bits, then the smaller of that
// and N. Room is N minus the length. Positions are counted from 0; -1 means not found. Text that
// does not fit is cut without a word, at the end; nothing here fails or reports.
//
// Case. A name without a marker is case-blind (a-z only); `CaseSen`, `CaseSens` and `SameCase` mean
// exact. Exceptions that stay: startsWith, endsWith and lastIndexOf of one unit are exact.
//
// A string may be its own argument. Where a member reads its argument live, during the edit, the
// comment says so; everywhere else the argument counts as it was on entry. A column with blanks in
// front is read live as well, which shows where a string that null has emptied is its own argument.
//
// `char const*` arguments end at the first zero byte; null is allowed unless a comment says that
// the pointer is not tested. In the 16-bit form they are widened byte by byte, with their sign.
#ifndef QZ_STRINGS_TEXT_MEMBERS_H_
#define QZ_STRINGS_TEXT_MEMBERS_H_

#include <new>

#include "strings/text_core.h"

namespace qz::detail {

template <class Self, class Unit>
struct text_members;

// The string that a base belongs to.
template <class Self, class Unit>
Self& selfOf(text_members<Self, Unit>& members) {
  return static_cast<Self&>(members);
}
template <class Self, class Unit>
Self const& selfOf(text_members<Self, Unit> const& members) {
  return static_cast<Self const&>(members);
}

// The distance in bytes from one field of a string to another.
inline int offsetOf(void const* field, void const* from) {
  return static_cast<int>(static_cast<char const*>(field) - static_cast<char const*>(from));
}

// The units are reached from the string as a whole, not from its array: the length lies outside of
// the array.
template <class Self, class Unit>
text_slot<Unit> slotOf(text_members<Self, Unit>& members) {
  Self& string = selfOf(members);
  auto* const object = reinterpret_cast<char*>(&string);
  return {reinterpret_cast<Unit*>(object + offsetOf(string.data, object)),
          offsetOf(&string.length, string.data), Self::kCapacity};
}
template <class Self, class Unit>
text_view<Unit> viewOf(text_members<Self, Unit> const& members) {
  Self const& string = selfOf(members);
  auto* const object = reinterpret_cast<char const*>(&string);
  return {reinterpret_cast<Unit const*>(object + offsetOf(string.data, object)),
          offsetOf(&string.length, string.data), Self::kCapacity};
}

template <class Self, class Unit>
struct text_members {
  using unit = Unit;

  // --- state ---

  // Length and all N + 1 units become zero.
  void clear() { zeroAll(slotOf(*this)); }
  // Everything behind the text becomes zero; two strings of one text then have one byte image.
  void clearUnused() { zeroUnused(slotOf(*this)); }
  // The length becomes `wanted`, limited to 0..N, and the text is ended there. Growing a string
  // exposes whatever lies in the array.
  void setLength(short const& wanted) { qz::detail::setLength(slotOf(*this), wanted); }
  // The length becomes the place of the first zero unit, or N: to be called after the array was
  // written to directly.
  void calcLength() { measure(slotOf(*this)); }
  bool isEmpty() const { return selfOf(*this).length == 0; }
  bool hasData() const { return selfOf(*this).length != 0; }

  // --- appending ---

  Self& operator+=(Unit const& c) {
    Self& self = selfOf(*this);
    appendUnitTo(self.data, self.length, Self::kCapacity, c);
    return self;
  }
  // Reads the end of `other` again after each unit: `s += s` repeats the text until s is full.
  Self& operator+=(Self const& other) {
    appendLive(slotOf(*this), viewOf(other));
    return selfOf(*this);
  }
  Self operator+(Unit const& c) const {
    Self sum = selfOf(*this);
    sum += c;
    return sum;
  }
  // The length of `other` is taken once: `s + s` is the text twice.
  Self operator+(Self const& other) const {
    Self sum = selfOf(*this);
    append(slotOf(sum), viewOf(other));
    return sum;
  }
  // Appends `count` units whatever they are, zero units included; null appends nothing. The count
  // is not reduced to 16 bits.
  void add(Unit const* units, unsigned int count) { append(slotOf(*this), units, count); }
  // The length of `s` is taken once: a string added to itself doubles.
  void add(Self const& s) {
    if (s.length != 0) append(slotOf(*this), viewOf(s));
  }
  // A copy with add() applied to it.
  Self combined(char const* text) const {
    Self sum = selfOf(*this);
    sum.add(text);
    return sum;
  }
  Self combined(Self const& s) const { return *this + s; }

  // A new string of `count` copies of `c`. The count is cut; below 1 gives an empty string.
  static Self createCharString(Unit const& c, int const& count) {
    Self line;
    repeat(slotOf(line), c, count);
    return line;
  }

  // --- comparing ---

  // By the bytes of the units over the shorter length, then the shorter text first. Case counts.
  bool operator<(Self const& other) const { return lessThan(viewOf(*this), viewOf(other)); }
  bool operator>(Self const& other) const { return lessThan(viewOf(other), viewOf(*this)); }
  // Case-blind order: negative, 0 or positive, the shorter first on a tie.
  int compare(Self const& other) const { return compareFolded(viewOf(*this), viewOf(other)); }
  // Exact order over the shorter length and nothing more. Required: a string and its own prefix
  // compare as 0.
  int compareSameCase(Self const& other) const {
    return comparePrefix(viewOf(*this), viewOf(other));
  }
  bool isEqual(Self const& other) const { return isEqual(other.data, other.length); }
  // The pointer is not tested; `count` must equal the length.
  bool isEqual(Unit const* units, int count) const {
    return equalFolded(viewOf(*this), unit_run<Unit>{units, count});
  }
  // The first unit of the array counts even when both are empty, as in operator==.
  bool isEqualSameCase(Self const& other) const { return equal(viewOf(*this), viewOf(other)); }
  // The pointer is not tested; `count` must equal the length. The first unit of an empty text
  // does not count here.
  bool isEqualSameCase(Unit const* units, int count) const {
    return equal(viewOf(*this), unit_run<Unit>{units, count});
  }
  // Folds this string alone: the argument is expected in upper (lower) case already.
  bool isEqualUpperCaseInput(Self const& upper) const {
    return equalUpperInput(viewOf(*this), viewOf(upper));
  }
  bool isEqualLowerCaseInput(Self const& lower) const {
    return equalLowerInput(viewOf(*this), viewOf(lower));
  }

  // --- searching ---

  // From `start` if 1 <= start < length, otherwise from 0: a start behind the end begins again at
  // the front.
  int indexOf(Unit const& c, int start = 0) const {
    return findUnitFolded(viewOf(*this), c, start);
  }
  int indexOfCaseSen(Unit const& c, int start = 0) const {
    return findUnit(viewOf(*this), c, start);
  }
  // Exact, backward from `start` if 0 <= start < length, otherwise from the end.
  int lastIndexOf(Unit const& c, int start = -1) const {
    return findLastUnit(viewOf(*this), c, start);
  }
  // The first position >= `start`. An empty `s` is never found. `start` must not be negative:
  // nothing tests it.
  int indexOf(Self const& s, int start = 0) const {
    return findFolded(viewOf(*this), viewOf(s), start);
  }
  int indexOfCaseSen(Self const& s, int start = 0) const {
    return find(viewOf(*this), viewOf(s), start);
  }
  // Tries the candidates in their order, case-blind. One at position 0 ends the search; otherwise
  // the last one found wins, even where it stands further right. `which` may be null; it becomes
  // the candidate's number from 0, or -1.
  int indexOfFirstOcc(Self const& a, Self const& b, int* which) const {
    Unit const* const candidates[] = {viewOf(a).units, viewOf(b).units};
    return findFirstCandidate(viewOf(*this), candidates, 2, which);
  }
  int indexOfFirstOcc(Self const& a, Self const& b, Self const& c, Self const& d, Self const& e,
                      Self const& f, int* which) const {
    Unit const* const candidates[] = {viewOf(a).units, viewOf(b).units, viewOf(c).units,
                                      viewOf(d).units, viewOf(e).units, viewOf(f).units};
    return findFirstCandidate(viewOf(*this), candidates, 6, which);
  }
  int count(char c) const { return countUnitFolded(viewOf(*this), c); }
  int countCaseSen(char const& c) const { return countUnit(viewOf(*this), c); }

  // Empty text is never contained. `text` is cut.
  bool contains(char const* text) const { return findFolded(viewOf(*this), text) >= 0; }
  bool contains(Self const& s) const { return indexOf(s, 0) >= 0; }
  bool contains(Unit const& c) const { return indexOf(c, 0) >= 0; }
  bool containsCaseSen(char const* text) const { return find(viewOf(*this), text) >= 0; }
  bool containsCaseSen(Self const& s) const { return indexOfCaseSen(s, 0) >= 0; }
  // Folds this string alone: the argument is expected in upper case already.
  bool containsUpperCaseInput(char const* text) const {
    return findUpperInput(viewOf(*this), text) >= 0;
  }
  bool containsUpperCaseInput(Self const& s) const {
    return findUpperInput(viewOf(*this), viewOf(s)) >= 0;
  }

  // --- prefix and suffix; an empty prefix or suffix is never there ---

  // Exact, unlike the forms that take text.
  bool startsWith(Unit const& c) const { return hasData() && selfOf(*this).data[0] == c; }
  // `text` is cut.
  bool startsWith(char const* text) const { return beginsWithFolded(viewOf(*this), text); }
  // The first `count` bytes of `text` (cut), whether or not the text is that long; `count` must
  // not be above the length.
  bool startsWith(char const* text, int count) const {
    return beginsWithFolded(viewOf(*this), text, count);
  }
  bool startsWith(Self const& s) const { return beginsWithFolded(viewOf(*this), viewOf(s)); }
  bool startsWithCaseSen(Self const& s) const { return beginsWith(viewOf(*this), viewOf(s)); }
  // Exact, unlike the forms that take text.
  bool endsWith(Unit const& c) const {
    int const end = viewOf(*this).used();
    return end > 0 && selfOf(*this).data[end - 1] == c;
  }
  // `text` is cut.
  bool endsWith(char const* text) const { return endsWithFolded(viewOf(*this), text); }
  // `count` only guards: 0 and a count above the length give false, and then the whole of `text`
  // (cut) is compared. Callers pass the text's own length.
  bool endsWith(char const* text, int count) const {
    return endsWithFolded(viewOf(*this), text, count);
  }
  bool endsWith(Self const& s) const { return endsWithFolded(viewOf(*this), viewOf(s)); }

  // --- editing in place ---

  void makeUpper() { foldUpper(slotOf(*this)); }
  void makeLower() { foldLower(slotOf(*this)); }
  // Removes zero units, tabs, line feeds, carriage returns and blanks from both ends, and nothing
  // else that is white.
  void trim() { qz::detail::trim(slotOf(*this)); }
  // Inserts `s` before `position`; behind the end it appends. The old tail is lost first. A
  // negative position fills the length up to N. `s` is read during the edit: `s.insert(p, s)`
  // repeats the first p units, and `s.insert(0, s)` changes nothing.
  void insert(int const& position, Self const& s) { insertAt(slotOf(*this), position, viewOf(s)); }

  // Every unit that folds to the fold of `from` becomes `to`, in the case of `to`.
  Self& replace(Unit const& from, Unit const& to) {
    replaceUnitFolded(slotOf(*this), from, to);
    return selfOf(*this);
  }
  // Replaces each match, going on behind the replacement; what the capacity pushes out is lost.
  // When everything goes, the length is 0 and no terminator is written. Both arguments are read
  // during the edit: `s.replace(s, x)` gives x, and a `to` that is the string itself stands for
  // what precedes the first match.
  Self& replace(Self const& from, Self const& to) {
    Unit lent[Self::kCapacity];
    replaceAllFolded(slotOf(*this), viewOf(from), viewOf(to), lent);
    return selfOf(*this);
  }
  Self& replaceCaseSen(Self const& from, Self const& to) {
    Unit lent[Self::kCapacity];
    replaceAll(slotOf(*this), viewOf(from), viewOf(to), lent);
    return selfOf(*this);
  }
  // Removes `count` units from `start` on. `start` + `count` must not pass the end of the text:
  // nothing catches it, and remains of the array come back. With nothing left no terminator is
  // written; the same holds for all forms of remove.
  void remove(int const& start, int const& count) { removeRange(slotOf(*this), start, count); }
  // Removes each match. The next search starts where the last one was cut out: a match that the
  // removal brings together further left is not seen.
  Self& remove(Self const& s) {
    removeAllFolded(slotOf(*this), viewOf(s));
    return selfOf(*this);
  }
  Self& removeCaseSens(Self const& s) {
    removeAll(slotOf(*this), viewOf(s));
    return selfOf(*this);
  }
  // Unlike the other forms this one returns a copy of the changed string.
  Self remove(Unit const& c) {
    removeUnitFolded(slotOf(*this), c);
    return selfOf(*this);
  }

  // --- pieces ---

  // `count` units from `start` on, limited to N; a negative count gives N. The length is not
  // consulted: a range behind the text gives what lies in the array, and the result has that many
  // units all the same (zeros for what lies outside the array). `start` must not be negative.
  Self mid(int const& start, int const& count) const {
    Self piece;
    takeRange(viewOf(*this), start, count, slotOf(piece));
    return piece;
  }
  // The first `count` units, or all of a shorter text. A negative count gives N units of the array.
  Self left(int count) const {
    Self piece;
    takeFront(viewOf(*this), count, slotOf(piece));
    return piece;
  }
  // What stands before the first c (case-blind), with `keep` the c as well; without a c the whole
  // string. Required: with c at position 0 the sense of `keep` is reversed, so that `keep` false
  // gives the string c, in the case of the argument, and `keep` true an empty one.
  Self left(Unit const& c, bool const& keep) const {
    Self piece;
    if (!takeLeft(viewOf(*this), c, keep, slotOf(piece)))
      ::new (static_cast<void*>(&piece)) Self(selfOf(*this));
    return piece;
  }
  // Gives left(c, keep) and keeps what follows the first c, whatever `keep` is; without a c this
  // string is cleared. Repeated calls walk a delimited list. With nothing left the length is 0 and
  // no terminator is written.
  Self leftNCut(Unit const& c, bool const& keep) {
    Self piece;
    cutLeft(slotOf(*this), c, keep, slotOf(piece));
    return piece;
  }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_TEXT_MEMBERS_H_
