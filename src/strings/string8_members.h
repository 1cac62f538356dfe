// The members that only the 8-bit strings have, or have with a rule of their own, whatever their
// layout: an empty base on top of text_members.h, where the shared members and the terms are.
#ifndef QZ_STRINGS_STRING8_MEMBERS_H_
#define QZ_STRINGS_STRING8_MEMBERS_H_

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "strings/number_core.h"
#include "strings/text_members.h"

namespace qz::detail {

template <class Self>
struct string8_members : text_members<Self, char> {
  using shared = text_members<Self, char>;

  // --- assignment ---

  // Null: only the length becomes 0, the characters stay and no terminator is written.
  Self& operator=(std::nullptr_t) {
    self().length = 0;
    return self();
  }
  // Null as above. The byte count is cut; what lies behind the new text stays.
  Self& operator=(char const* text) {
    if (text == nullptr) return *this = nullptr;
    return fill(text, std::strlen(text));
  }
  Self& operator=(char const& c) { return fill(&c, 1); }

  // --- appending ---

  using shared::operator+=;
  using shared::add;

  // Null appends nothing. The byte count is taken by its low 16 bits, then cut at the room.
  Self& operator+=(char const* text) {
    if (text != nullptr) append(slotOf(self()), {text, cutLength(text)});
    return self();
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
    int const room = slotOf(self()).room();
    addColumn(text, width, width < 0 ? -std::max(width, -room) : std::min(width, room));
  }
  // Appends the decimal text in a column, as addSpacingC does.
  void addNrSpacing(long long const& value, signed char const& width) {
    decimal_text const digits(value);
    addSpacingC(digits.text, width);
  }

  // --- searching ---

  using shared::containsCaseSen;
  // The first `count` bytes of `text`, the count cut. The pointer is not tested.
  bool containsCaseSen(char const* text, int const& count) const {
    return find(viewOf(self()).run(), {text, cutCount(count, Self::kCapacity)}, 0) >= 0;
  }

  using shared::startsWithCaseSen;
  // Exact over the whole text, which is not cut: a text longer than the string is no prefix.
  bool startsWithCaseSen(char const* text) const {
    if (text == nullptr || *text == 0) return false;
    std::size_t const count = std::strlen(text);
    auto const own = viewOf(self()).run();
    return count <= static_cast<std::size_t>(own.count) && std::memcmp(own.units, text, count) == 0;
  }

 protected:
  Self& fill(char const* text, std::size_t count) {
    assign(slotOf(self()), {text, cutCount(count, Self::kCapacity)});
    return self();
  }
  // operator== is the struct's own; this is its rule for a bare pointer.
  bool equalsText(char const* text) const {
    return text != nullptr && self().data[0] == text[0] &&
           equal(viewOf(self()), unit_run<char>{text, cutLength(text)});
  }

 private:
  Self& self() { return static_cast<Self&>(*this); }
  Self const& self() const { return static_cast<Self const&>(*this); }
  static int cutLength(char const* text) { return static_cast<unsigned short>(std::strlen(text)); }
  void addColumn(char const* text, int width, int field) {
    int const count = text == nullptr ? 0 : cutLength(text);
    if (width != 0 || count != 0)
      appendColumn(slotOf(self()), {text == nullptr ? "" : text, count}, field, width < 0);
  }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_STRING8_MEMBERS_H_
