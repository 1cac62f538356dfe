// The members that only the 16-bit strings have, or have with a rule of their own, whatever their
// layout: an empty base on top of text_members.h, where the shared members and the terms are.
//
// Bare pointers to units are counted by qzCharLen: 1024 units at most. Bytes become units in one of
// two ways, with their sign (0xE4 becomes 0xFFE4) or with zeros (0x00E4); each member says which.
#ifndef QZ_STRINGS_STRING16_MEMBERS_H_
#define QZ_STRINGS_STRING16_MEMBERS_H_

#include <cstddef>

#include "strings/number_core.h"
#include "strings/string8.h"
#include "strings/text_members.h"

namespace qz::detail {

template <int M>
_qzString8_allSize<M> narrowed(text_view<unsigned short> source) {
  _qzString8_allSize<M> text;
  narrowKeepingLength(slotOf(text), source);
  return text;
}

template <class Self>
struct string16_members : text_members<Self, unsigned short> {
  using shared = text_members<Self, unsigned short>;
  using unit = unsigned short;

  // --- assignment ---

  // Null changes nothing, the length included. With zeros; the byte count is cut.
  Self& operator=(char const* text) {
    assignWidenedWithZeros(slotOf(*this), text);
    return selfOf(*this);
  }
  Self& operator=(std::nullptr_t) { return selfOf(*this); }
  // Null: only the length becomes 0.
  Self& operator=(unit const* units) {
    assignText(slotOf(*this), units);
    return selfOf(*this);
  }
  // Required: the low byte of the unit alone.
  Self& operator=(unit const& c) {
    unit const low = c & 0xFF;
    assign(slotOf(*this), unit_run<unit>{&low, 1});
    return selfOf(*this);
  }

  // --- appending ---

  using shared::operator+=;
  using shared::operator+;
  using shared::add;

  // Null appends nothing.
  Self& operator+=(unit const* units) {
    appendText(slotOf(*this), units);
    return selfOf(*this);
  }
  // With sign. Null appends nothing; the byte count is taken by its low 16 bits.
  Self& operator+=(char const* text) {
    appendWidenedWithSign(slotOf(*this), text);
    return selfOf(*this);
  }
  Self& operator+=(char const& c) { return *this += unit_rules<unit>::widened(c); }
  Self operator+(char const& c) const {
    Self sum = selfOf(*this);
    sum += c;
    return sum;
  }
  // With zeros. Null and an empty text change nothing at all.
  void add(char const* text) { appendWidenedWithZeros(slotOf(*this), text); }
  // Appends the low byte of each unit in a column of |width| units, with zeros: left-aligned, or
  // right-aligned if `width` is negative. The text is cut at the room; the blanks are not limited,
  // and the caller has to prevent that they are written past the string. Null counts as empty.
  void addSpacing(unit const* units, int const& width) {
    appendColumn(slotOf(*this), units, width);
  }
  // The same with bytes, with zeros, and with the column limited to the room.
  void addSpacingC(char const* text, int const& width) {
    appendColumnInRoom(slotOf(*this), text, width);
  }

  // --- numbers ---

  // Appends the decimal text, cut from the right.
  void addNr(long long const& value) { appendDecimal(slotOf(*this), value); }
  // Appends at least `minDigits` units: zeros come first, in front of a minus sign as well. Zeros
  // and digits together are cut at 20.
  void addNr(long long const& value, unsigned char const& minDigits) {
    appendDecimalPadded(slotOf(*this), value, minDigits);
  }
  static Self fromNr(long long const& value) {
    Self text;
    text.addNr(value);
    return text;
  }
  // Appends the decimal text in a column, as addSpacingC does.
  void addNrSpacing(long long const& value, signed char const& width) {
    appendDecimalColumn(slotOf(*this), value, width);
  }
  // The number that the text begins with, as atoi(3) reads its first 249 units. With `ok` the whole
  // text has to be digits with an optional minus sign in front, else `*ok` is false and the result
  // 0; an empty text and a lone minus sign are numbers and give 0.
  int toInt(bool* ok = nullptr) const { return qz::detail::toInt(viewOf(*this), ok); }

  // --- comparing ---

  // Exact, with zeros. Null is not equal to anything.
  bool operator==(char const* text) const { return equalWithZeros(viewOf(*this), text); }
  // Required: compares as many bytes as the text has units, which is the first half of it.
  bool operator==(unit const* units) const { return equalHalf(viewOf(*this), units); }
  bool operator==(std::nullptr_t) const { return false; }

  // --- searching ---

  using shared::indexOf;
  int indexOf(char const* text) { return findFolded(viewOf(*this), text); }
  using shared::containsCaseSen;
  // The first `count` bytes of `text`, the count cut; null is never contained.
  bool containsCaseSen(char const* text, int const& count) const {
    return text != nullptr && find(viewOf(*this), text, count) >= 0;
  }
  using shared::startsWithCaseSen;
  // `text` is cut.
  bool startsWithCaseSen(char const* text) const { return beginsWith(viewOf(*this), text); }
  using shared::endsWith;
  // Exact; a byte of 128 and above never matches.
  bool endsWith(char const& c) const {
    int const value = unit_rules<char>::weight(c);
    return value >= 0 && this->endsWith(static_cast<unit>(value));
  }

  // --- in 8 bits: the low byte of each unit ---

  // At most 249 (499) characters. Required: the length of the result is that of this string all the
  // same, also where it is above what was copied or above the capacity.
  _qzString8_allSize<250> to_qzString8_250() const { return narrowed<250>(viewOf(*this)); }
  _qzString8_allSize<500> to_qzString8_500() const { return narrowed<500>(viewOf(*this)); }
  operator _qzString8_allSize<250>() const { return narrowed<250>(viewOf(*this)); }
  operator _qzString8_allSize<500>() const { return narrowed<500>(viewOf(*this)); }
  // Fills `buffer` of `size` bytes, the terminator among them. A size of 0 reads as 65535.
  void toChar(char* buffer, unsigned short size) const {
    narrowInto(buffer, static_cast<unsigned short>(size - 1), viewOf(*this));
  }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_STRING16_MEMBERS_H_
