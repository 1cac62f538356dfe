// Everyday text: a plain record of a 16-bit length and N + 1 characters, held by value, with no
// heap and no failure. Records in files and in shared memory hold it as it stands, so its byte
// image is a format. The length stands in front of the characters, at one place for every N, and
// so one view fits every capacity.
//
// Text is bytes: nothing here knows an encoding, and bytes of 128 and above are like any other.
// Bytes behind the terminator have no meaning. A zero byte inside the text is legal; it arrives
// through the forms that take a count.
//
// A string belongs to one thread at a time; there is no shared state.
#ifndef QZ_STRINGS_STRING8_H_
#define QZ_STRINGS_STRING8_H_

#include <cstddef>
#include <cstring>
#include <string>

#include "strings/number_core.h"
#include "strings/string8_members.h"

// Returns the number of units before the first zero unit, at most 1024: the count stops there even
// if the text goes on. Every operation that takes a bare 16-bit pointer sees no more than that. The
// pointer is not tested.
int qzCharLen(unsigned short const* units);

// The earlier layouts, in strings/legacy.h.
template <int N>
struct _qzString8_evenSize_old;
template <int N>
struct _qzString8_UnevenSize_old;

namespace qz::detail {

constexpr bool isString8Capacity(int n) {
  for (int const listed : {6,  7,  8,   10,  12,  14,  15,  20,  25,   29,   30,   40,
                           50, 75, 100, 125, 150, 200, 250, 500, 1000, 2000, 3000, 5000})
    if (n == listed) return true;
  return false;
}

}  // namespace qz::detail

// The capacity-free view: the head that all 8-bit strings share, seen through a pointer that
// asUni() gives. Text passes between capacities through it. Marked as an alias because it looks at
// the fields of another type.
struct [[gnu::may_alias]] _qzString8_Uni_pointer {
  unsigned short length;  // characters in use

  // The characters, which follow the length; the one at `length` is zero.
  char const* characters() const {
    return reinterpret_cast<char const*>(this) + sizeof(unsigned short);
  }

  _qzString8_Uni_pointer() = delete;
  _qzString8_Uni_pointer(_qzString8_Uni_pointer const&) = delete;
  _qzString8_Uni_pointer& operator=(_qzString8_Uni_pointer const&) = delete;
};

// Byte image, little-endian, 2-byte aligned:
//   offset 0   length   16 bits, characters in use, 0..N
//   offset 2   data     N + 1 characters, the one at `length` is zero
// sizeof is N + 3 rounded up to an even number. The spare byte of an even N is declared as the end
// of `data`, so that a copy of the object carries it; clear() and the constructors leave it alone.
// So `sizeof data` is not the capacity: that is kCapacity. string8.cpp asserts the image of every
// capacity; the type is standard-layout and trivially copyable.
//
// See text_members.h for the members that all string forms share and for the terms used here, and
// string8_members.h for those of the 8-bit forms.
template <int N>
struct _qzString8_allSize : qz::detail::string8_members<_qzString8_allSize<N>> {
  using members = qz::detail::string8_members<_qzString8_allSize<N>>;
  static_assert(qz::detail::isString8Capacity(N),
                "the 8-bit string exists for a fixed list of capacities only, because its byte "
                "image is a stored format: take the next larger one of isString8Capacity");

  static constexpr int kCapacity = N;

  unsigned short length;
  char data[N + 1 + (N % 2 == 0)];

  // --- construction: all of it zeroes what the text does not fill, up to data[N] ---

  _qzString8_allSize() { this->clear(); }
  _qzString8_allSize(std::nullptr_t) { this->clear(); }
  // Null gives an empty string. The byte count is cut.
  _qzString8_allSize(char const* text) { assignTextAndZeros(slotOf(*this), text); }
  // `count` bytes whatever they are; the count is cut, so a negative one reads as a large one. The
  // pointer is not tested.
  _qzString8_allSize(char const* text, int count) {
    assignCutAndZeros(slotOf(*this), text, static_cast<std::size_t>(count));
  }
  // Keeps the low byte of each unit, of 1024 units at most (qzCharLen). Null gives an empty string.
  _qzString8_allSize(unsigned short const* wide) {
    this->clear();
    assignNarrowed(slotOf(*this), wide);
  }
  // The caller guarantees that the source fits: this constructor, unlike the assignment, does not
  // cut, and a longer source is written past the string. The pointer is not tested.
  _qzString8_allSize(_qzString8_Uni_pointer const* source) {
    this->clear();
    length = source->length;
    std::memcpy(data, source->characters(), length);
    data[length] = 0;
  }

  // From the earlier layouts of the same capacity, with strings/legacy.h included: their length,
  // untested, and N characters. A length above N is taken over; then no terminator is written.
  _qzString8_allSize(_qzString8_evenSize_old<N> const& old);
  _qzString8_allSize(_qzString8_UnevenSize_old<N> const& old);

  // --- assignment; copying a string is the implicit copy of all bytes ---

  using members::operator=;
  _qzString8_allSize& operator=(std::string const& text) {
    assignCut(slotOf(*this), text.data(), text.size());
    return *this;
  }
  // Cuts at N. The pointer is not tested.
  _qzString8_allSize& operator=(_qzString8_Uni_pointer const* source) {
    assign(slotOf(*this), qz::detail::unit_run<char>{source->characters(), source->length});
    return *this;
  }
  // As construction, but required: no terminator is written, and data[N] keeps what it held.
  _qzString8_allSize& operator=(_qzString8_evenSize_old<N> const& old);
  _qzString8_allSize& operator=(_qzString8_UnevenSize_old<N> const& old);
  // `count` bytes whatever they are, the count cut; null makes the length 0 and no more.
  void fromChar(char const* text, int const& count) {
    if (text == nullptr)
      length = 0;
    else
      assignCut(slotOf(*this), text, static_cast<std::size_t>(count));
  }

  // --- appending ---

  using members::operator+=;
  // Appends the low byte of the unit.
  _qzString8_allSize& operator+=(unsigned short const& wideUnit) {
    return *this += qz::detail::lowByte(wideUnit);
  }

  // --- numbers; see number_core.h for the rules ---

  // Appends the decimal text. What does not fit is cut from the right, so that a number can lose
  // its low digits without notice.
  void addNr(int const& value) { appendDecimal(slotOf(*this), value); }
  void addNr(long long const& value) { appendDecimal(slotOf(*this), value); }
  void addNr(unsigned long long const& value) { appendDecimal(slotOf(*this), value); }
  // Appends at least `minDigits` characters: zeros come first, in front of a minus sign as well, so
  // that -5 with 3 gives "0-5".
  void addNr(int const& value, unsigned char const& minDigits) {
    appendDecimalPadded(slotOf(*this), value, minDigits);
  }
  void addNr(long long const& value, unsigned char const& minDigits) {
    appendDecimalPadded(slotOf(*this), value, minDigits);
  }
  // A new string with the decimal text, cut.
  static _qzString8_allSize fromNr(long long const& value) {
    _qzString8_allSize text;
    text.addNr(value);
    return text;
  }
  // Appends capital hexadecimal digits, at least two for each byte of the value. A signed value is
  // widened with its sign first, so that short(-1) appends "FFFFFFFF"; of an 8-bit value only the
  // last two of the digits are appended that fit into N.
  void addHexCode(signed char const& value) { appendHex(slotOf(*this), value, 2, 2); }
  void addHexCode(unsigned char const& value) { appendHex(slotOf(*this), value, 2, 2); }
  void addHexCode(short const& value) { appendHex(slotOf(*this), value, 4, N); }
  void addHexCode(unsigned short const& value) { appendHex(slotOf(*this), value, 4, N); }
  void addHexCode(int const& value) { appendHex(slotOf(*this), value, 8, N); }
  void addHexCode(unsigned int const& value) {
    appendHex(slotOf(*this), static_cast<int>(value), 8, N);
  }

  // The number that the text begins with, as atoi(3) and atoll(3) read it. With `ok` the whole text
  // has to be digits with an optional minus sign in front, else `*ok` is false and the result 0;
  // an empty text and a lone minus sign are numbers and give 0. The number is read up to the first
  // zero byte: of a string that an edit left without a terminator it is what asChar() still shows.
  int toInt(bool* ok = nullptr) const { return qz::detail::toInt(viewOf(*this), ok); }
  long long toInt64(bool* ok = nullptr) const { return qz::detail::toInt64(viewOf(*this), ok); }
  // Reads a field of `bits` / 4 hexadecimal digits from the front, and with `consume` removes it. A
  // signed field has 8, 16 or 32 bits; other widths and a text without a number make `*ok` false
  // and the result 0. An unsigned field has any width, and `*ok` becomes true whatever the text is.
  // `ok` may be null.
  long long toIntFromHex(int const& bits, bool const& signedValue, bool const& consume, bool* ok) {
    _qzString8_allSize field = *this;
    return qz::detail::toIntFromHex(slotOf(*this), field.data, bits, signedValue, consume, ok);
  }

  // --- comparing ---

  // Exact. The first characters of both arrays must be equal, also when both texts are empty: a
  // string emptied by assigning null is not equal to a cleared one.
  bool operator==(_qzString8_allSize const& other) const {
    return equal(viewOf(*this), viewOf(other));
  }
  bool operator!=(_qzString8_allSize const& other) const { return !(*this == other); }
  // Null is not equal to anything, an empty string included.
  bool operator==(char const* text) const { return equalText(viewOf(*this), text); }
  bool operator!=(char const* text) const { return !(*this == text); }
  // As with a new form made of it.
  bool operator==(_qzString8_evenSize_old<N> const& old) const;
  bool operator==(_qzString8_UnevenSize_old<N> const& old) const;

  // --- searching ---

  using members::indexOf;
  // The low byte of the unit, exact, unlike the form for a character; a start outside the text
  // begins at the front.
  int indexOf(unsigned short const& wideUnit, int start = 0) const {
    return this->indexOfCaseSen(qz::detail::lowByte(wideUnit), start);
  }
  using members::lastIndexOf;
  // Exact; a start outside the text begins at the end.
  int lastIndexOf(unsigned short const& wideUnit, int start = -1) const {
    return this->lastIndexOf(qz::detail::lowByte(wideUnit), start);
  }

  // --- raw access ---

  // The characters, for reading and writing; they end in a zero byte. After writing to them
  // directly, call calcLength().
  char* asChar() { return data; }
  char const* asChar() const { return data; }
  char* toChar() { return data; }
  char const* toChar() const { return data; }
  // This string as a view without capacity. Belongs to the string.
  _qzString8_Uni_pointer const* asUni() const {
    return reinterpret_cast<_qzString8_Uni_pointer const*>(this);
  }
};

#endif  // QZ_STRINGS_STRING8_H_
