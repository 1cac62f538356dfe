// The 16-bit twin of the 8-bit string: a plain record of a length and N + 1 units of 16 bits. Units
// are numbers: no UTF-16, no UTF-8, no code page. Between the two forms a byte is a unit.
//
// All limits are in units. Orders are those of the bytes in memory, low byte of a unit first.
#ifndef QZ_STRINGS_STRING16_H_
#define QZ_STRINGS_STRING16_H_

#include <cstddef>
#include <cstring>
#include <string>

#include "strings/string16_members.h"

// The earlier layout, in strings/legacy.h.
template <int N>
struct _qzString_old;

namespace qz::detail {

constexpr bool isString16Capacity(int n) {
  for (int const listed :
       {10, 15, 25, 30, 48, 50, 75, 100, 125, 150, 200, 225, 250, 500, 1000, 2500})
    if (n == listed) return true;
  return false;
}

}  // namespace qz::detail

// The capacity-free view of the 16-bit strings; see _qzString8_Uni_pointer.
struct [[gnu::may_alias]] _qzString_Uni_pointer {
  unsigned short length;  // units in use
  unsigned short reserved;

  // The units, which follow the head; the one at `length` is zero.
  unsigned short const* units() const {
    return reinterpret_cast<unsigned short const*>(reinterpret_cast<char const*>(this) +
                                                   2 * sizeof(unsigned short));
  }

  _qzString_Uni_pointer() = delete;
  _qzString_Uni_pointer(_qzString_Uni_pointer const&) = delete;
  _qzString_Uni_pointer& operator=(_qzString_Uni_pointer const&) = delete;
};

// Byte image, little-endian, 2-byte aligned:
//   offset 0   length     16 bits, units in use, 0..N
//   offset 2   reserved   16 bits, never read
//   offset 4   data       N + 1 units, the one at `length` is zero
// sizeof is 2N + 6. The default constructor and those from `char` text zero the reserved word; the
// other constructors, clear() and every assignment leave it as it is, copying a string into another
// one included. So the type is not trivially copyable, although building a copy takes all bytes
// along. string16.cpp asserts the image of every capacity.
//
// See text_members.h for the members that all string forms share and for the terms used here, and
// string16_members.h for those of the 16-bit forms.
template <int N>
struct _qzString : qz::detail::string16_members<_qzString<N>> {
  using members = qz::detail::string16_members<_qzString<N>>;
  static_assert(qz::detail::isString16Capacity(N),
                "the 16-bit string exists for a fixed list of capacities only, because its byte "
                "image is a stored format: take the next larger one of isString16Capacity");

  static constexpr int kCapacity = N;

  unsigned short length;
  unsigned short reserved;
  unsigned short data[N + 1];

  // --- construction: all of it zeroes what the text does not fill ---

  _qzString() : reserved(0) { this->clear(); }
  _qzString(std::nullptr_t) : _qzString() {}
  _qzString(_qzString const&) = default;
  // With sign. Null gives an empty string. The byte count is cut.
  _qzString(char const* text) : _qzString() { assignWidenedWithSign(slotOf(*this), text); }
  // `count` bytes whatever they are, with sign; the count is cut. The pointer is not tested.
  _qzString(char const* text, int count) : _qzString() {
    assignWidenedWithSign(slotOf(*this),
                          qz::detail::unit_run<char>{text, qz::detail::cutCount(count, N)});
  }
  _qzString(char const& c) : _qzString() { *this += c; }
  // Null gives an empty string.
  _qzString(unsigned short const* units) { assignTextAndZeros(slotOf(*this), units); }
  // `count` units whatever they are; the count is cut. The pointer is not tested.
  _qzString(unsigned short const* units, int count) {
    assignCutAndZeros(slotOf(*this), units, static_cast<std::size_t>(count));
  }
  // The caller guarantees that the source fits: nothing cuts, and a longer source is written past
  // the string. The pointer is not tested.
  _qzString(_qzString_Uni_pointer const* source) {
    this->clear();
    *this = source;
  }
  // With sign, cut at N. Null gives an empty string.
  _qzString(_qzString8_Uni_pointer const* source) {
    this->clear();
    if (source != nullptr)
      assignWidenedWithSign(slotOf(*this),
                            qz::detail::unit_run<char>{source->characters(), source->length});
  }

  // From the earlier layout of the same capacity, with strings/legacy.h included: its length,
  // untested, and N units. A length above N is taken over; then no terminator is written.
  _qzString(_qzString_old<N> const& old);

  // --- assignment ---

  using members::operator=;
  _qzString& operator=(_qzString const& other) {
    length = other.length;
    qz::detail::copyUnits(data, other.data, N + 1);
    return *this;
  }
  // With sign. The size is cut.
  _qzString& operator=(std::string const& text) {
    assignWidenedWithSign(slotOf(*this), qz::detail::unit_run<char>{
                                             text.data(), qz::detail::cutCount(text.size(), N)});
    return *this;
  }
  // Unlike that of the 8-bit form this assignment does not cut either: the caller guarantees that
  // the source fits. The pointer is not tested.
  _qzString& operator=(_qzString_Uni_pointer const* source) {
    length = source->length;
    qz::detail::copyUnits(data, source->units(), length);
    data[length] = 0;
    return *this;
  }
  _qzString& operator=(_qzString_old<N> const& old);

  // --- numbers ---

  using members::addNr;
  void addNr(unsigned long long const& value) { appendDecimal(slotOf(*this), value); }
  void addNr(int const& value) { appendDecimal(slotOf(*this), value); }
  void addNr(unsigned int const& value) { addNr(static_cast<unsigned long long>(value)); }
  void addNr(unsigned char const& value) { addNr(static_cast<unsigned long long>(value)); }

  // --- comparing ---

  using members::operator==;
  // Required: null is not unequal to anything, as it is not equal to anything.
  bool operator!=(char const* text) const { return text != nullptr && !(*this == text); }
  bool operator!=(std::nullptr_t) const { return false; }
  // Exact. The first units of both arrays must be equal, also when both texts are empty.
  bool operator==(_qzString const& other) const { return equal(viewOf(*this), viewOf(other)); }
  bool operator!=(_qzString const& other) const { return !(*this == other); }

  // This string as a view without capacity. Belongs to the string.
  _qzString_Uni_pointer const* asUni() const {
    return reinterpret_cast<_qzString_Uni_pointer const*>(this);
  }
};

#endif  // QZ_STRINGS_STRING16_H_
