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

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "strings/text_members.h"

// Returns the number of units before the first zero unit, at most 1024: the count stops there even
// if the text goes on. Every operation that takes a bare 16-bit pointer sees no more than that. The
// pointer is not tested.
int qzCharLen(unsigned short const* units);

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
// See text_members.h for the members that all string forms share, and for the terms used here.
template <int N>
struct _qzString8_allSize : qz::detail::text_members<_qzString8_allSize<N>, char> {
  using shared = qz::detail::text_members<_qzString8_allSize<N>, char>;
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
  _qzString8_allSize(char const* text) {
    this->clear();
    if (text != nullptr) fill(text, std::strlen(text));
  }
  // `count` bytes whatever they are; the count is cut, so a negative one reads as a large one. The
  // pointer is not tested.
  _qzString8_allSize(char const* text, int count) {
    this->clear();
    fill(text, static_cast<std::size_t>(count));
  }
  // Keeps the low byte of each unit, of 1024 units at most (qzCharLen). Null gives an empty string.
  _qzString8_allSize(unsigned short const* wide) {
    this->clear();
    if (wide != nullptr) assignNarrowed(slotOf(*this), {wide, qzCharLen(wide)});
  }
  // The caller guarantees that the source fits: this constructor, unlike the assignment, does not
  // cut, and a longer source is written past the string. The pointer is not tested.
  _qzString8_allSize(_qzString8_Uni_pointer const* source) {
    this->clear();
    length = source->length;
    std::memcpy(data, source->characters(), length);
    data[length] = 0;
  }

  // --- assignment; copying a string is the implicit copy of all bytes ---

  // Null: only the length becomes 0, the characters stay and no terminator is written.
  _qzString8_allSize& operator=(std::nullptr_t) {
    length = 0;
    return *this;
  }
  // Null as above. The byte count is cut; what lies behind the new text stays.
  _qzString8_allSize& operator=(char const* text) {
    if (text == nullptr) return *this = nullptr;
    return fill(text, std::strlen(text));
  }
  _qzString8_allSize& operator=(char const& c) {
    char const only = c;  // c may be a character of this very string
    return fill(&only, 1);
  }
  _qzString8_allSize& operator=(std::string const& text) { return fill(text.data(), text.size()); }
  // Cuts at N. The pointer is not tested.
  _qzString8_allSize& operator=(_qzString8_Uni_pointer const* source) {
    assign(slotOf(*this), {source->characters(), source->length});
    return *this;
  }
  // `count` bytes whatever they are, the count cut; null makes the length 0 and no more.
  void fromChar(char const* text, int const& count) {
    if (text == nullptr)
      length = 0;
    else
      fill(text, static_cast<std::size_t>(count));
  }

  // --- appending ---

  using shared::operator+=;
  using shared::add;
  using shared::indexOf;
  using shared::lastIndexOf;

  // Appends the low byte of the unit.
  _qzString8_allSize& operator+=(unsigned short const& wideUnit) {
    appendUnit(slotOf(*this), lowByte(wideUnit));
    return *this;
  }
  // Null appends nothing. The byte count is taken by its low 16 bits, then cut at the room.
  _qzString8_allSize& operator+=(char const* text) {
    if (text != nullptr) append(slotOf(*this), {text, cutLength(text)});
    return *this;
  }
  // As operator+=, but an empty text changes nothing at all, the terminator included.
  void add(char const* text) {
    if (text != nullptr && *text != 0) *this += text;
  }
  // Appends `text` in a column of |width| characters: left-aligned, or right-aligned if `width` is
  // negative. A wider text is not shortened to the column, only cut at the room. addSpacing does
  // not limit the blanks: a column that does not fit is written past the string, and the caller
  // has to prevent that. addSpacingC limits the column to the room. Null counts as empty.
  void addSpacing(char const* text, int const& width) {
    addColumn(text, width, width < 0 ? -width : width);
  }
  void addSpacingC(char const* text, int const& width) {
    int const room = slotOf(*this).room();
    addColumn(text, width, width < 0 ? -std::max(width, -room) : std::min(width, room));
  }
  // Appends the decimal text. What does not fit is cut from the right, so that a number can lose
  // its low digits without notice.
  void addNr(int const& value) { addNr(static_cast<long long>(value)); }
  void addNr(long long const& value) {
    auto const bits = static_cast<unsigned long long>(value);
    appendDecimal(slotOf(*this), value < 0 ? 0 - bits : bits, value < 0);
  }
  void addNr(unsigned long long const& value) { appendDecimal(slotOf(*this), value, false); }

  // --- comparing ---

  // Exact. The first characters of both arrays must be equal, also when both texts are empty: a
  // string emptied by assigning null is not equal to a cleared one.
  bool operator==(_qzString8_allSize const& other) const {
    return data[0] == other.data[0] && equal(viewOf(*this), viewOf(other));
  }
  bool operator!=(_qzString8_allSize const& other) const { return !(*this == other); }
  // Null is not equal to anything, an empty string included.
  bool operator==(char const* text) const {
    return text != nullptr && data[0] == text[0] &&
           equal(viewOf(*this), {text, static_cast<unsigned short>(std::strlen(text))});
  }
  bool operator!=(char const* text) const { return !(*this == text); }

  // --- searching ---

  // The low byte of the unit, exact, unlike the form for a character; a start outside the text
  // begins at the front.
  int indexOf(unsigned short const& wideUnit, int start = 0) const {
    return this->indexOfCaseSen(lowByte(wideUnit), start);
  }
  // Exact; a start outside the text begins at the end.
  int lastIndexOf(unsigned short const& wideUnit, int start = -1) const {
    return this->lastIndexOf(lowByte(wideUnit), start);
  }
  using shared::containsCaseSen;
  // The first `count` bytes of `text`, the count cut. The pointer is not tested.
  bool containsCaseSen(char const* text, int const& count) const {
    return find(viewOf(*this).run(), {text, qz::detail::cutCount(count, N)}, 0) >= 0;
  }

  // --- prefix ---

  using shared::startsWithCaseSen;
  // Exact over the whole text, which is not cut: a text longer than the string is no prefix.
  bool startsWithCaseSen(char const* text) const {
    if (text == nullptr || *text == 0) return false;
    std::size_t const count = std::strlen(text);
    auto const own = viewOf(*this).run();
    return count <= static_cast<std::size_t>(own.count) && std::memcmp(own.units, text, count) == 0;
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

 private:
  static char lowByte(unsigned short wideUnit) { return static_cast<char>(wideUnit & 0xFF); }
  static int cutLength(char const* text) { return static_cast<unsigned short>(std::strlen(text)); }

  _qzString8_allSize& fill(char const* text, std::size_t count) {
    assign(slotOf(*this), {text, qz::detail::cutCount(count, N)});
    return *this;
  }
  void addColumn(char const* text, int width, int field) {
    int const count = text == nullptr ? 0 : cutLength(text);
    if (width != 0 || count != 0)
      appendColumn(slotOf(*this), {text == nullptr ? "" : text, count}, field, width < 0);
  }
};

#endif  // QZ_STRINGS_STRING8_H_
