// The members that only the 16-bit strings have, or have with a rule of their own, whatever their
// layout: an empty base on top of text_members.h, where the shared members and the terms are.
//
// Bare pointers to units are counted by qzCharLen: 1024 units at most. Bytes become units in one of
// two ways, with their sign (0xE4 becomes 0xFFE4) or with zeros (0x00E4); each member says which.
#ifndef QZ_STRINGS_STRING16_MEMBERS_H_
#define QZ_STRINGS_STRING16_MEMBERS_H_

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "strings/number_core.h"
#include "strings/string8.h"
#include "strings/text_members.h"

namespace qz::detail {

template <class Self>
struct string16_members : text_members<Self, unsigned short> {
  using shared = text_members<Self, unsigned short>;
  using unit = unsigned short;

  // --- assignment ---

  // Null changes nothing, the length included. With zeros; the byte count is cut.
  Self& operator=(char const* text) {
    if (text != nullptr) assignWidenedWithZeros(slotOf(self()), cutRun(text));
    return self();
  }
  Self& operator=(std::nullptr_t) { return self(); }
  // Null: only the length becomes 0.
  Self& operator=(unit const* units) {
    if (units == nullptr)
      self().length = 0;
    else
      assign(slotOf(self()), runOf(units));
    return self();
  }
  // Required: the low byte of the unit alone.
  Self& operator=(unit const& c) {
    unit const low = c & 0xFF;
    assign(slotOf(self()), unit_run<unit>{&low, 1});
    return self();
  }

  // --- appending ---

  using shared::operator+=;
  using shared::operator+;
  using shared::add;

  // Null appends nothing.
  Self& operator+=(unit const* units) {
    if (units != nullptr) append(slotOf(self()), runOf(units));
    return self();
  }
  // With sign. Null appends nothing; the byte count is taken by its low 16 bits.
  Self& operator+=(char const* text) {
    if (text != nullptr) appendWidenedWithSign(slotOf(self()), lowRun(text));
    return self();
  }
  Self& operator+=(char const& c) {
    appendUnit(slotOf(self()), static_cast<unit>(unit_rules<char>::weight(c)));
    return self();
  }
  Self operator+(char const& c) const {
    Self sum = self();
    sum += c;
    return sum;
  }
  // With zeros. Null and an empty text change nothing at all.
  void add(char const* text) {
    if (text != nullptr && *text != 0) appendWidenedWithZeros(slotOf(self()), lowRun(text));
  }
  // Appends the low byte of each unit in a column of |width| units, with zeros: left-aligned, or
  // right-aligned if `width` is negative. The text is cut at the room; the blanks are not limited,
  // and the caller has to prevent that they are written past the string. Null counts as empty.
  void addSpacing(unit const* units, int const& width) {
    unit lent[Self::kCapacity];
    auto const source = units == nullptr ? unit_run<unit>{lent, 0} : runOf(units);
    int const count = std::min(source.count, Self::kCapacity);
    for (int i = 0; i < count; ++i) lent[i] = source.units[i] & 0xFF;
    addColumn({lent, count}, width, width < 0 ? -width : width);
  }
  // The same with bytes, with zeros, and with the column limited to the room.
  void addSpacingC(char const* text, int const& width) {
    unit lent[Self::kCapacity];
    int const room = slotOf(self()).room();
    int const count = text == nullptr ? 0 : std::min(lowRun(text).count, Self::kCapacity);
    for (int i = 0; i < count; ++i) lent[i] = static_cast<unsigned char>(text[i]);
    addColumn({lent, count}, width, width < 0 ? -std::max(width, -room) : std::min(width, room));
  }

  // --- numbers ---

  // Appends the decimal text, cut from the right.
  void addNr(long long const& value) { appendDecimal(slotOf(self()), value); }
  // Appends at least `minDigits` units: zeros come first, in front of a minus sign as well. Zeros
  // and digits together are cut at 20.
  void addNr(long long const& value, unsigned char const& minDigits) {
    _qzString8_allSize<20> digits;
    digits.addNr(value, minDigits);
    appendWidenedWithZeros(slotOf(self()), viewOf(digits).run());
  }
  static Self fromNr(long long const& value) {
    Self text;
    text.addNr(value);
    return text;
  }
  // Appends the decimal text in a column, as addSpacingC does.
  void addNrSpacing(long long const& value, signed char const& width) {
    addSpacingC(decimal_text(value).text, width);
  }
  // The number that the text begins with, as atoi(3) reads its first 249 units. With `ok` the whole
  // text has to be digits with an optional minus sign in front, else `*ok` is false and the result
  // 0; an empty text and a lone minus sign are numbers and give 0.
  int toInt(bool* ok = nullptr) const {
    if (ok != nullptr) {
      *ok = isNumber(viewOf(self()).run());
      if (!*ok) return 0;
    }
    return to_qzString8_250().toInt();
  }

  // --- comparing ---

  // Exact, with zeros. Null is not equal to anything.
  bool operator==(char const* text) const {
    return text != nullptr && equalWithZeros(viewOf(self()), lowRun(text));
  }
  // Required: compares as many bytes as the text has units, which is the first half of it.
  bool operator==(unit const* units) const {
    if (units == nullptr || qzCharLen(units) != self().length) return false;
    return std::memcmp(self().data, units, static_cast<std::size_t>(viewOf(self()).used())) == 0;
  }
  bool operator==(std::nullptr_t) const { return false; }

  // --- searching ---

  using shared::indexOf;
  int indexOf(char const* text) { return indexOf(Self(text), 0); }
  using shared::containsCaseSen;
  // The first `count` bytes of `text`, the count cut; null is never contained.
  bool containsCaseSen(char const* text, int const& count) const {
    return text != nullptr && this->indexOfCaseSen(Self(text, count), 0) >= 0;
  }
  using shared::startsWithCaseSen;
  // `text` is cut.
  bool startsWithCaseSen(char const* text) const { return this->startsWithCaseSen(Self(text)); }
  using shared::endsWith;
  // Exact; a byte of 128 and above never matches.
  bool endsWith(char const& c) const {
    int const value = unit_rules<char>::weight(c);
    return value >= 0 && this->endsWith(static_cast<unit>(value));
  }

  // --- in 8 bits: the low byte of each unit ---

  // At most 249 (499) characters. Required: the length of the result is that of this string all the
  // same, also where it is above what was copied or above the capacity.
  _qzString8_allSize<250> to_qzString8_250() const { return narrowed<250>(); }
  _qzString8_allSize<500> to_qzString8_500() const { return narrowed<500>(); }
  operator _qzString8_allSize<250>() const { return narrowed<250>(); }
  operator _qzString8_allSize<500>() const { return narrowed<500>(); }
  // Fills `buffer` of `size` bytes, the terminator among them. A size of 0 reads as 65535.
  void toChar(char* buffer, unsigned short size) const {
    narrowInto(buffer, static_cast<unsigned short>(size - 1), viewOf(self()).run());
  }

 protected:
  static unit_run<unit> runOf(unit const* units) { return {units, qzCharLen(units)}; }
  static unit_run<char> lowRun(char const* text) {
    return {text, static_cast<unsigned short>(std::strlen(text))};
  }
  static unit_run<char> cutRun(char const* text) {
    return {text, cutCount(std::strlen(text), Self::kCapacity)};
  }

 private:
  Self& self() { return static_cast<Self&>(*this); }
  Self const& self() const { return static_cast<Self const&>(*this); }
  void addColumn(unit_run<unit> source, int width, int field) {
    if (width != 0 || source.count != 0) appendColumn(slotOf(self()), source, field, width < 0);
  }
  template <int M>
  _qzString8_allSize<M> narrowed() const {
    _qzString8_allSize<M> text;
    narrowInto(text.data, M - 1, viewOf(self()).run());
    text.length = self().length;
    return text;
  }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_STRING16_MEMBERS_H_
