// The members that only the 8-bit strings have, or have with a rule of their own, whatever their
// layout: an empty base on top of text_members.h, where the shared members and the terms are.
#ifndef QZ_STRINGS_STRING8_MEMBERS_H_
#define QZ_STRINGS_STRING8_MEMBERS_H_

#include <cstddef>

#include "strings/number_core.h"
#include "strings/text_members.h"

namespace qz::detail {

template <class Self>
struct string8_members : text_members<Self, char> {
  using shared = text_members<Self, char>;

  // --- assignment ---

  // Null: only the length becomes 0, the characters stay and no terminator is written.
  Self& operator=(std::nullptr_t) {
    selfOf(*this).length = 0;
    return selfOf(*this);
  }
  // Null as above. The byte count is cut; what lies behind the new text stays.
  Self& operator=(char const* text) {
    assignText(slotOf(*this), text);
    return selfOf(*this);
  }
  Self& operator=(char const& c) {
    assign(slotOf(*this), unit_run<char>{&c, 1});
    return selfOf(*this);
  }

  // --- appending ---

  using shared::operator+=;
  using shared::add;

  // Null appends nothing. The byte count is taken by its low 16 bits, then cut at the room.
  Self& operator+=(char const* text) {
    appendText(slotOf(*this), text);
    return selfOf(*this);
  }
  // As operator+=, but an empty text changes nothing at all, the terminator included.
  void add(char const* text) {
    if (text != nullptr && *text != 0) appendText(slotOf(*this), text);
  }
  // Appends `text` in a column of |width| characters: left-aligned, or right-aligned if `width` is
  // negative. A wider text is not shortened to the column, only cut at the room. addSpacing does
  // not limit the blanks: a column that does not fit is written past the string, and the caller
  // has to prevent that. addSpacingC limits the column to the room. Null counts as empty.
  void addSpacing(char const* text, int const& width) { appendColumn(slotOf(*this), text, width); }
  void addSpacingC(char const* text, int const& width) {
    appendColumnInRoom(slotOf(*this), text, width);
  }
  // Appends the decimal text in a column, as addSpacingC does.
  void addNrSpacing(long long const& value, signed char const& width) {
    appendDecimalColumn(slotOf(*this), value, width);
  }

  // --- searching ---

  using shared::containsCaseSen;
  // The first `count` bytes of `text`, the count cut. The pointer is not tested.
  bool containsCaseSen(char const* text, int const& count) const {
    return find(viewOf(*this), text, count) >= 0;
  }

  using shared::startsWithCaseSen;
  // Exact over the whole text, which is not cut: a text longer than the string is no prefix.
  bool startsWithCaseSen(char const* text) const { return beginsWithWhole(viewOf(*this), text); }
};

}  // namespace qz::detail

#endif  // QZ_STRINGS_STRING8_MEMBERS_H_
