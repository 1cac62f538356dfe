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
// comment says so; everywhere else the argument counts as it was on entry.
//
// `char const*` arguments end at the first zero byte; null is allowed unless a comment says that
// the pointer is not tested. In the 16-bit form they are widened byte by byte, with their sign.
#ifndef QZ_STRINGS_TEXT_MEMBERS_H_
#define QZ_STRINGS_TEXT_MEMBERS_H_

#include <cstring>

#include "strings/text_core.h"

namespace qz::detail {

template <class Self, class Unit>
struct text_members {
  using unit = Unit;

  // --- state ---

  // Length and all N + 1 units become zero.
  void clear() { zeroAll(slot()); }
  // Everything behind the text becomes zero; two strings of one text then have one byte image.
  void clearUnused() { zeroUnused(slot()); }
  // The length becomes `wanted`, limited to 0..N, and the text is ended there. Growing a string
  // exposes whatever lies in the array.
  void setLength(short const& wanted) { qz::detail::setLength(slot(), wanted); }
  // The length becomes the place of the first zero unit, or N: to be called after the array was
  // written to directly.
  void calcLength() { measure(slot()); }
  bool isEmpty() const { return self().length == 0; }
  bool hasData() const { return self().length != 0; }

  // --- appending ---

  Self& operator+=(Unit const& c) {
    appendUnit(slot(), c);
    return self();
  }
  // Reads the end of `other` again after each unit: `s += s` repeats the text until s is full.
  Self& operator+=(Self const& other) {
    appendLive(slot(), viewOf(other));
    return self();
  }
  Self operator+(Unit const& c) const {
    Self sum = self();
    appendUnit(slotOf(sum), c);
    return sum;
  }
  // The length of `other` is taken once: `s + s` is the text twice.
  Self operator+(Self const& other) const {
    Self sum = self();
    append(slotOf(sum), viewOf(other).run());
    return sum;
  }
  // Appends `count` units whatever they are, zero units included; null appends nothing. The count
  // is not reduced to 16 bits.
  void add(Unit const* units, unsigned int count) {
    if (units == nullptr || count == 0) return;
    auto const capacity = static_cast<unsigned>(Self::kCapacity);
    append(slot(), unit_run<Unit>{units, static_cast<int>(count < capacity ? count : capacity)});
  }
  // The length of `s` is taken once: a string added to itself doubles.
  void add(Self const& s) {
    if (s.length != 0) append(slot(), viewOf(s).run());
  }
  // A copy with add() applied to it.
  Self combined(char const* text) const {
    Self sum = self();
    sum.add(text);
    return sum;
  }
  Self combined(Self const& s) const { return *this + s; }

  // A new string of `count` copies of `c`. The count is cut; below 1 gives an empty string.
  static Self createCharString(Unit const& c, int const& count) {
    Self line;
    int const cut = count < 1 ? 0 : cutCount(count, Self::kCapacity);
    for (int i = 0; i < cut; ++i) line.data[i] = c;
    line.length = static_cast<unsigned short>(cut);
    return line;
  }

  // --- comparing ---

  // By the bytes of the units over the shorter length, then the shorter text first. Case counts.
  bool operator<(Self const& other) const { return lessThan(view(), viewOf(other)); }
  bool operator>(Self const& other) const { return lessThan(viewOf(other), view()); }
  // Case-blind order: negative, 0 or positive, the shorter first on a tie.
  int compare(Self const& other) const { return compareFolded(view(), viewOf(other)); }
  // Exact order over the shorter length and nothing more. Required: a string and its own prefix
  // compare as 0.
  int compareSameCase(Self const& other) const { return comparePrefix(view(), viewOf(other)); }
  bool isEqual(Self const& other) const { return isEqual(other.data, other.length); }
  // The pointer is not tested; `count` must equal the length.
  bool isEqual(Unit const* units, int count) const {
    return equalFolded(view(), unit_run<Unit>{units, count});
  }
  // The first unit of the array counts even when both are empty, as in operator==.
  bool isEqualSameCase(Self const& other) const { return equal(view(), viewOf(other)); }
  // The pointer is not tested; `count` must equal the length. The first unit of an empty text
  // does not count here.
  bool isEqualSameCase(Unit const* units, int count) const {
    return equal(view(), unit_run<Unit>{units, count});
  }
  // Folds this string alone: the argument is expected in upper (lower) case already.
  bool isEqualUpperCaseInput(Self const& upper) const {
    return equalUpperInput(view(), viewOf(upper));
  }
  bool isEqualLowerCaseInput(Self const& lower) const {
    return equalLowerInput(view(), viewOf(lower));
  }

  // --- searching ---

  // From `start` if 1 <= start < length, otherwise from 0: a start behind the end begins again at
  // the front.
  int indexOf(Unit const& c, int start = 0) const { return findUnitFolded(view(), c, start); }
  int indexOfCaseSen(Unit const& c, int start = 0) const { return findUnit(view(), c, start); }
  // Exact, backward from `start` if 0 <= start < length, otherwise from the end.
  int lastIndexOf(Unit const& c, int start = -1) const { return findLastUnit(view(), c, start); }
  // The first position >= `start`. An empty `s` is never found. `start` must not be negative:
  // nothing tests it.
  int indexOf(Self const& s, int start = 0) const {
    return findFolded(run(), viewOf(s).run(), start);
  }
  int indexOfCaseSen(Self const& s, int start = 0) const {
    return find(run(), viewOf(s).run(), start);
  }
  // Tries the candidates in their order, case-blind. One at position 0 ends the search; otherwise
  // the last one found wins, even where it stands further right. `which` may be null; it becomes
  // the candidate's number from 0, or -1.
  int indexOfFirstOcc(Self const& a, Self const& b, int* which) const {
    unit_run<Unit> const candidates[] = {viewOf(a).run(), viewOf(b).run()};
    return findFirstCandidate(view(), candidates, 2, which);
  }
  int indexOfFirstOcc(Self const& a, Self const& b, Self const& c, Self const& d, Self const& e,
                      Self const& f, int* which) const {
    unit_run<Unit> const candidates[] = {viewOf(a).run(), viewOf(b).run(), viewOf(c).run(),
                                         viewOf(d).run(), viewOf(e).run(), viewOf(f).run()};
    return findFirstCandidate(view(), candidates, 6, which);
  }
  int count(char c) const { return countUnitFolded(view(), widened(c)); }
  int countCaseSen(char const& c) const { return countUnit(view(), widened(c)); }

  // Empty text is never contained. `text` is cut.
  bool contains(char const* text) const {
    Unit lent[Self::kCapacity];
    return findFolded(run(), spelled(text, lent), 0) >= 0;
  }
  bool contains(Self const& s) const { return indexOf(s, 0) >= 0; }
  bool contains(Unit const& c) const { return indexOf(c, 0) >= 0; }
  bool containsCaseSen(char const* text) const {
    Unit lent[Self::kCapacity];
    return find(run(), spelled(text, lent), 0) >= 0;
  }
  bool containsCaseSen(Self const& s) const { return indexOfCaseSen(s, 0) >= 0; }
  // Folds this string alone: the argument is expected in upper case already.
  bool containsUpperCaseInput(char const* text) const {
    Unit lent[Self::kCapacity];
    return findUpperInput(run(), spelled(text, lent), 0) >= 0;
  }
  bool containsUpperCaseInput(Self const& s) const {
    return findUpperInput(run(), viewOf(s).run(), 0) >= 0;
  }

  // --- prefix and suffix; an empty prefix or suffix is never there ---

  // Exact, unlike the forms that take text.
  bool startsWith(Unit const& c) const { return hasData() && self().data[0] == c; }
  // `text` is cut.
  bool startsWith(char const* text) const {
    Unit lent[Self::kCapacity];
    auto const prefix = spelled(text, lent);
    return prefix.count != 0 && startsWithFolded(run(), prefix);
  }
  // The first `count` bytes of `text` (cut), whether or not the text is that long; `count` must
  // not be above the length.
  bool startsWith(char const* text, int count) const {
    if (text == nullptr || isEmpty() || count == 0 || self().length < count) return false;
    Unit lent[Self::kCapacity];
    auto const prefix = spelled(text, cutCount(count, Self::kCapacity), lent);
    return startsWithFolded(unit_run<Unit>{self().data, Self::kCapacity}, prefix);
  }
  bool startsWith(Self const& s) const {
    return s.length != 0 && startsWithFolded(run(), viewOf(s).run());
  }
  bool startsWithCaseSen(Self const& s) const {
    return s.length != 0 && qz::detail::startsWith(run(), viewOf(s).run());
  }
  // Exact, unlike the forms that take text.
  bool endsWith(Unit const& c) const {
    auto const text = run();
    return text.count > 0 && text.units[text.count - 1] == c;
  }
  // `text` is cut.
  bool endsWith(char const* text) const {
    Unit lent[Self::kCapacity];
    auto const suffix = spelled(text, lent);
    return suffix.count != 0 && endsWithFolded(run(), suffix);
  }
  // `count` only guards: 0 and a count above the length give false, and then the whole of `text`
  // (cut) is compared. Callers pass the text's own length.
  bool endsWith(char const* text, int count) const {
    if (text == nullptr || isEmpty() || count == 0 || self().length < count) return false;
    Unit lent[Self::kCapacity];
    return endsWithFolded(run(), spelled(text, lent));
  }
  bool endsWith(Self const& s) const {
    return s.length != 0 && endsWithFolded(run(), viewOf(s).run());
  }

  // --- editing in place ---

  void makeUpper() { foldUpper(slot()); }
  void makeLower() { foldLower(slot()); }
  // Removes zero units, tabs, line feeds, carriage returns and blanks from both ends, and nothing
  // else that is white.
  void trim() { qz::detail::trim(slot()); }
  // Inserts `s` before `position`; behind the end it appends. The old tail is lost first. A
  // negative position fills the length up to N. `s` is read during the edit: `s.insert(p, s)`
  // repeats the first p units, and `s.insert(0, s)` changes nothing.
  void insert(int const& position, Self const& s) { insertAt(slot(), position, viewOf(s)); }

  // Every unit that folds to the fold of `from` becomes `to`, in the case of `to`.
  Self& replace(Unit const& from, Unit const& to) {
    replaceUnitFolded(slot(), from, to);
    return self();
  }
  // Replaces each match, going on behind the replacement; what the capacity pushes out is lost.
  // When everything goes, the length is 0 and no terminator is written. Both arguments are read
  // during the edit: `s.replace(s, x)` gives x, and a `to` that is the string itself stands for
  // what precedes the first match.
  Self& replace(Self const& from, Self const& to) {
    Unit lent[Self::kCapacity];
    replaceAllFolded(slot(), viewOf(from), viewOf(to), lent);
    return self();
  }
  Self& replaceCaseSen(Self const& from, Self const& to) {
    Unit lent[Self::kCapacity];
    replaceAll(slot(), viewOf(from), viewOf(to), lent);
    return self();
  }
  // Removes `count` units from `start` on. `start` + `count` must not pass the end of the text:
  // nothing catches it, and remains of the array come back. With nothing left no terminator is
  // written; the same holds for all forms of remove.
  void remove(int const& start, int const& count) { removeRange(slot(), start, count); }
  // Removes each match. The next search starts where the last one was cut out: a match that the
  // removal brings together further left is not seen.
  Self& remove(Self const& s) {
    removeAllFolded(slot(), viewOf(s));
    return self();
  }
  Self& removeCaseSens(Self const& s) {
    removeAll(slot(), viewOf(s));
    return self();
  }
  // Unlike the other forms this one returns a copy of the changed string.
  Self remove(Unit const& c) {
    removeUnitFolded(slot(), c);
    return self();
  }

  // --- pieces ---

  // `count` units from `start` on, limited to N; a negative count gives N. The length is not
  // consulted: a range behind the text gives what lies in the array, and the result has that many
  // units all the same (zeros for what lies outside the array). `start` must not be negative.
  Self mid(int const& start, int const& count) const {
    Self piece;
    takeRange(view(), start, count, slotOf(piece));
    return piece;
  }
  // The first `count` units, or all of a shorter text. A negative count gives N units of the array.
  Self left(int count) const {
    auto const text = run();
    return mid(0, text.count < count ? text.count : count);
  }
  // What stands before the first c (case-blind), with `keep` the c as well; without a c the whole
  // string. Required: with c at position 0 the sense of `keep` is reversed, so that `keep` false
  // gives the string c, in the case of the argument, and `keep` true an empty one.
  Self left(Unit const& c, bool const& keep) const {
    Self piece;
    return takeLeft(view(), c, keep, slotOf(piece)) < 0 ? self() : piece;
  }
  // Gives left(c, keep) and keeps what follows the first c, whatever `keep` is; without a c this
  // string is cleared. Repeated calls walk a delimited list. With nothing left the length is 0 and
  // no terminator is written.
  Self leftNCut(Unit const& c, bool const& keep) {
    Self piece;
    int const position = takeLeft(view(), c, keep, slotOf(piece));
    if (position < 0) {
      piece = self();
      clear();
    } else {
      dropFront(slot(), position + 1);
    }
    return piece;
  }

 private:
  Self& self() { return static_cast<Self&>(*this); }
  Self const& self() const { return static_cast<Self const&>(*this); }
  text_slot<Unit> slot() { return slotOf(self()); }
  text_view<Unit> view() const { return viewOf(self()); }
  unit_run<Unit> run() const { return viewOf(self()).run(); }
  static Unit widened(char c) { return static_cast<Unit>(unit_rules<char>::weight(c)); }
  static unit_run<Unit> spelled(char const* text, int count, Unit* lent) {
    return {unit_rules<Unit>::spell(text, count, lent), count};
  }
  // Null gives an empty run, a text is cut.
  static unit_run<Unit> spelled(char const* text, Unit* lent) {
    return text == nullptr ? unit_run<Unit>{lent, 0}
                           : spelled(text, cutCount(std::strlen(text), Self::kCapacity), lent);
  }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_TEXT_MEMBERS_H_
