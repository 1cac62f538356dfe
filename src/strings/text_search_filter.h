// The substring search behind the searching and the editing members: a rolling sum over the span
// under test stands in front of the comparison, so that most positions cost one addition and one
// subtraction. The sum is only a filter; the answer is the first match in the ordinary sense.
#ifndef QZ_STRINGS_TEXT_SEARCH_FILTER_H_
#define QZ_STRINGS_TEXT_SEARCH_FILTER_H_

#include <cstddef>
#include <cstring>

#include "strings/text_core.h"
#include "strings/unit_rules.h"

namespace qz::detail {

struct as_it_is {
  template <class Unit>
  constexpr Unit operator()(Unit unit) const {
    return unit;
  }
};

struct to_upper {
  template <class Unit>
  constexpr Unit operator()(Unit unit) const {
    return unit_rules<Unit>::upper(unit);
  }
};

template <class Unit, class FoldText, class FoldNeedle>
bool spanMatches(Unit const* span, unit_run<Unit> needle, FoldText foldText,
                 FoldNeedle foldNeedle) {
  for (int i = 0; i < needle.count; ++i)
    if (foldText(span[i]) != foldNeedle(needle.units[i])) return false;
  return true;
}

template <class Unit>
bool spanMatches(Unit const* span, unit_run<Unit> needle, as_it_is, as_it_is) {
  return std::memcmp(span, needle.units, static_cast<std::size_t>(needle.count) * sizeof(Unit)) ==
         0;
}

// Returns the first position >= `start` at which `needle` stands in `text`, each side folded by
// its own function, or -1. An empty needle is never found. `start` must not be negative, unless
// both texts are of one length: then it is not looked at.
template <class Unit, class FoldText, class FoldNeedle>
int filteredFind(unit_run<Unit> text, unit_run<Unit> needle, int start, FoldText foldText,
                 FoldNeedle foldNeedle) {
  int const last = text.count - needle.count;
  if (needle.count == 0 || start > last) return -1;
  if (last == 0) start = 0;
  auto const weigh = [&](int i) { return unit_rules<Unit>::weight(foldText(text.units[i])); };

  int wanted = 0;
  int sum = 0;
  for (int i = 0; i < needle.count; ++i) {
    wanted += unit_rules<Unit>::weight(foldNeedle(needle.units[i]));
    sum += weigh(start + i);
  }
  for (int position = start;; ++position) {
    if (sum == wanted && spanMatches(text.units + position, needle, foldText, foldNeedle))
      return position;
    if (position == last) return -1;
    sum += weigh(position + needle.count) - weigh(position);
  }
}

}  // namespace qz::detail

#endif  // QZ_STRINGS_TEXT_SEARCH_FILTER_H_
