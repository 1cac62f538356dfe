// The earlier string layouts, with the characters first and the length behind them. The length's
// place depends on the capacity, so no view fits them all, and the 8-bit form came as two templates
// for even and for odd capacities. Text that is still stored in them is read through these types
// and taken over into the new forms, of the same capacity only; nothing leads back.
//
// What a member does is told in text_members.h, string8_members.h and string16_members.h. Missing,
// beside the new forms: for 8 bits the other unit, std::string, raw access and all numbers but
// addNrSpacing; for 16 bits the views, std::string and addNr of everything but long long.
//
// Byte images, little-endian, 2-byte aligned; docs/formats.md draws them. The other parity than the
// name's is good for taking over a text that was stored so.
#ifndef QZ_STRINGS_LEGACY_H_
#define QZ_STRINGS_LEGACY_H_

#include <cstddef>
#include <cstring>

#include "strings/string16.h"
#include "strings/string8.h"

//   offset 0       data       N + 1 characters
//   offset N + 1   reserved   1 byte: not touched by clear, assignment and construction
//   offset N + 2   length     16 bits; with an odd N at N + 3, behind a gap
template <int N>
struct _qzString8_evenSize_old : qz::detail::string8_members<_qzString8_evenSize_old<N>> {
  using members = qz::detail::string8_members<_qzString8_evenSize_old<N>>;
  static_assert(qz::detail::isString8Capacity(N), "there is no stored text of this capacity");

  static constexpr int kCapacity = N;

  char data[N + 1];
  char reserved;
  unsigned short length;

  _qzString8_evenSize_old() { this->clear(); }
  _qzString8_evenSize_old(char const* text) { assignTextAndZeros(slotOf(*this), text); }
  _qzString8_evenSize_old(char const* text, int count) {
    assignCutAndZeros(slotOf(*this), text, static_cast<std::size_t>(count));
  }
  _qzString8_evenSize_old(_qzString8_evenSize_old const&) = default;

  using members::operator=;
  _qzString8_evenSize_old& operator=(_qzString8_evenSize_old const& other) {
    std::memmove(data, other.data, sizeof data);
    length = other.length;
    return *this;
  }

  bool operator==(_qzString8_evenSize_old const& other) const {
    return equal(viewOf(*this), viewOf(other));
  }
  bool operator!=(_qzString8_evenSize_old const& other) const { return !(*this == other); }
  bool operator==(char const* text) const { return equalText(viewOf(*this), text); }
};

//   offset 0       data     N + 1 characters
//   offset N + 1   length   16 bits; with an even N at N + 2, behind a gap
template <int N>
struct _qzString8_UnevenSize_old : qz::detail::string8_members<_qzString8_UnevenSize_old<N>> {
  using members = qz::detail::string8_members<_qzString8_UnevenSize_old<N>>;
  static_assert(qz::detail::isString8Capacity(N), "there is no stored text of this capacity");

  static constexpr int kCapacity = N;

  char data[N + 1];
  unsigned short length;

  _qzString8_UnevenSize_old() { this->clear(); }
  _qzString8_UnevenSize_old(char const* text) { assignTextAndZeros(slotOf(*this), text); }
  _qzString8_UnevenSize_old(char const* text, int count) {
    assignCutAndZeros(slotOf(*this), text, static_cast<std::size_t>(count));
  }

  using members::operator=;

  bool operator==(_qzString8_UnevenSize_old const& other) const {
    return equal(viewOf(*this), viewOf(other));
  }
  bool operator!=(_qzString8_UnevenSize_old const& other) const { return !(*this == other); }
  bool operator==(char const* text) const { return equalText(viewOf(*this), text); }
};

//   offset 0        data       N + 1 units
//   offset 2N + 2   length     16 bits
//   offset 2N + 4   reserved   16 bits: zeroed by construction where the new form does, not touched
//                              by clear and assignment
template <int N>
struct _qzString_old : qz::detail::string16_members<_qzString_old<N>> {
  using members = qz::detail::string16_members<_qzString_old<N>>;
  static_assert(qz::detail::isString16Capacity(N), "there is no stored text of this capacity");

  static constexpr int kCapacity = N;

  unsigned short data[N + 1];
  unsigned short length;
  unsigned short reserved;

  _qzString_old() : reserved(0) { this->clear(); }
  _qzString_old(std::nullptr_t) : _qzString_old() {}
  _qzString_old(_qzString_old const&) = default;
  _qzString_old(char const* text) : _qzString_old() { assignWidenedWithSign(slotOf(*this), text); }
  _qzString_old(char const* text, int count) : _qzString_old() {
    assignWidenedWithSign(slotOf(*this),
                          qz::detail::unit_run<char>{text, qz::detail::cutCount(count, N)});
  }
  _qzString_old(char const& c) : _qzString_old() { *this += c; }
  _qzString_old(unsigned short const* units) { assignTextAndZeros(slotOf(*this), units); }
  _qzString_old(unsigned short const* units, int count) {
    assignCutAndZeros(slotOf(*this), units, static_cast<std::size_t>(count));
  }

  using members::operator=;
  _qzString_old& operator=(_qzString_old const& other) {
    qz::detail::copyUnits(data, other.data, N + 1);
    length = other.length;
    return *this;
  }

  using members::operator==;
  bool operator==(_qzString_old const& other) const { return equal(viewOf(*this), viewOf(other)); }
  bool operator!=(_qzString_old const& other) const { return !(*this == other); }

  using members::startsWith;
  // Exact; a byte of 128 and above never matches.
  bool startsWith(char const& c) const {
    int const value = qz::detail::unit_rules<char>::weight(c);
    return value >= 0 && this->startsWith(static_cast<unsigned short>(value));
  }
};

// --- the members of the new forms that take the earlier ones; see string8.h and string16.h ---

template <int N>
_qzString8_allSize<N>::_qzString8_allSize(_qzString8_evenSize_old<N> const& old) {
  this->clear();
  takeOverAndEnd(slotOf(*this), viewOf(old));
}
template <int N>
_qzString8_allSize<N>::_qzString8_allSize(_qzString8_UnevenSize_old<N> const& old) {
  this->clear();
  takeOverAndEnd(slotOf(*this), viewOf(old));
}

template <int N>
_qzString8_allSize<N>& _qzString8_allSize<N>::operator=(_qzString8_evenSize_old<N> const& old) {
  takeOver(slotOf(*this), viewOf(old));
  return *this;
}
template <int N>
_qzString8_allSize<N>& _qzString8_allSize<N>::operator=(_qzString8_UnevenSize_old<N> const& old) {
  takeOver(slotOf(*this), viewOf(old));
  return *this;
}

template <int N>
bool _qzString8_allSize<N>::operator==(_qzString8_evenSize_old<N> const& old) const {
  return *this == _qzString8_allSize(old);
}
template <int N>
bool _qzString8_allSize<N>::operator==(_qzString8_UnevenSize_old<N> const& old) const {
  return *this == _qzString8_allSize(old);
}

template <int N>
_qzString<N>::_qzString(_qzString_old<N> const& old) {
  this->clear();
  *this = old;
}

template <int N>
_qzString<N>& _qzString<N>::operator=(_qzString_old<N> const& old) {
  takeOverAndEnd(slotOf(*this), viewOf(old));
  return *this;
}

#endif  // QZ_STRINGS_LEGACY_H_
