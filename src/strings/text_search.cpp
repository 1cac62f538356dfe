#include <algorithm>
#include <type_traits>

#include "strings/text_core.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

template <class Unit, class Same>
int findForward(text_view<Unit> text, int start, Same same) {
  int const count = text.used();
  // Required: a start outside the text begins again at the front.
  for (int i = start >= 1 && start < count ? start : 0; i < count; ++i)
    if (same(text.units[i])) return i;
  return -1;
}

template <class Unit>
auto exactly(Unit unit) {
  return [unit](Unit other) { return other == unit; };
}

template <class Unit>
auto folded(Unit unit) {
  return [wanted = unit_rules<Unit>::upper(unit)](Unit other) {
    return unit_rules<Unit>::upper(other) == wanted;
  };
}

template <class Unit, class Other, class FoldText, class FoldNeedle>
bool spanMatches(Unit const* span, unit_run<Other> needle, FoldText foldText,
                 FoldNeedle foldNeedle) {
  return sameCount(span, needle.units, needle.count, foldText, foldNeedle) == needle.count;
}

template <class Unit>
bool spanMatches(Unit const* span, unit_run<Unit> needle, as_it_is, as_it_is) {
  return sameUnits(span, needle.units, needle.count);
}

// Returns the first position >= `start` at which `needle` stands in `text`, each side folded by
// its own function, or -1. An empty needle is never found. `start` must not be negative, unless
// both texts are of one length: then it is not looked at.
//
// A rolling sum over the span under test stands in front of the comparison, so that most positions
// cost one addition. It is only a filter; the answer is the first match in the ordinary sense.
template <class Unit, class Other, class FoldText, class FoldNeedle>
int filteredFind(unit_run<Unit> text, unit_run<Other> needle, int start, FoldText foldText,
                 FoldNeedle foldNeedle) {
  int const last = text.count - needle.count;
  if (needle.count == 0 || start > last) return -1;
  int position = last == 0 ? 0 : start;
  auto const weigh = [&](int i) { return unit_rules<Unit>::weight(foldText(text.units[i])); };
  // What going on from a position adds to the sum.
  auto const step = [&](int from) { return weigh(from + needle.count) - weigh(from); };

  int wanted = 0;
  int sum = 0;
  for (int i = 0; i < needle.count; ++i) {
    wanted += unit_rules<Unit>::weight(foldNeedle(unitOf<Unit>(needle.units[i])));
    sum += weigh(position + i);
  }
  auto const matchesAt = [&](int i) {
    return sum == wanted && spanMatches(text.units + i, needle, foldText, foldNeedle);
  };
  // Folding is what costs. The steps of a block of positions do not depend on each other, and the
  // compiler makes vector code of them.
  if constexpr (!std::is_same_v<FoldText, as_it_is>) {
    int steps[kFoldBlock];
    for (; last - position >= kFoldBlock; position += kFoldBlock) {
      for (int i = 0; i < kFoldBlock; ++i) steps[i] = step(position + i);
      for (int i = 0; i < kFoldBlock; ++i) {
        if (matchesAt(position + i)) return position + i;
        sum += steps[i];
      }
    }
  }
  for (;; ++position) {
    if (matchesAt(position)) return position;
    if (position == last) return -1;
    sum += step(position);
  }
}

}  // namespace

template <class Unit>
int findUnit(text_view<Unit> text, Unit unit, int start) {
  return findForward(text, start, exactly(unit));
}

template <class Unit>
int findUnitFolded(text_view<Unit> text, Unit unit, int start) {
  return findForward(text, start, folded(unit));
}

template <class Unit>
int findLastUnit(text_view<Unit> text, Unit unit, int start) {
  int const count = text.used();
  int i = start >= 0 && start < count ? start : count - 1;
  while (i >= 0 && text.units[i] != unit) --i;
  return i;
}

template <class Unit>
int find(unit_run<Unit> text, unit_run<Unit> needle, int start) {
  return filteredFind(text, needle, start, as_it_is{}, as_it_is{});
}

template <class Unit>
int find(text_view<Unit> text, text_view<Unit> needle, int start) {
  return find(text.run(), needle.run(), start);
}

template <class Unit>
int find(text_view<Unit> text, char const* needle) {
  auto const cut = cutText(needle, text.capacity);
  return filteredFind(text.run(), cut, 0, as_it_is{}, as_it_is{});
}

template <class Unit>
int find(text_view<Unit> text, char const* needle, int count) {
  unit_run<char> const cut{needle, cutCount(count, text.capacity)};
  return filteredFind(text.run(), cut, 0, as_it_is{}, as_it_is{});
}

template <class Unit>
int findFolded(unit_run<Unit> text, unit_run<Unit> needle, int start) {
  return filteredFind(text, needle, start, to_upper{}, to_upper{});
}

template <class Unit>
int findFolded(text_view<Unit> text, text_view<Unit> needle, int start) {
  return findFolded(text.run(), needle.run(), start);
}

template <class Unit>
int findFolded(text_view<Unit> text, char const* needle) {
  return filteredFind(text.run(), cutText(needle, text.capacity), 0, to_upper{}, to_upper{});
}

template <class Unit>
int findUpperInput(text_view<Unit> text, text_view<Unit> needle) {
  return filteredFind(text.run(), needle.run(), 0, to_upper{}, as_it_is{});
}

template <class Unit>
int findUpperInput(text_view<Unit> text, char const* needle) {
  return filteredFind(text.run(), cutText(needle, text.capacity), 0, to_upper{}, as_it_is{});
}

template <class Unit>
int findFirstCandidate(text_view<Unit> text, Unit const* const* candidates, int candidateCount,
                       int* which) {
  int held = -1;
  if (which != nullptr) *which = -1;
  for (int i = 0; i < candidateCount; ++i) {
    text_view<Unit> const candidate{candidates[i], text.lengthOffset, text.capacity};
    int const position = findFolded(text, candidate, 0);
    if (position < 0) continue;
    // Required: a later candidate wins over an earlier one even where it stands further right.
    held = position;
    if (which != nullptr) *which = i;
    if (position == 0) break;
  }
  return held;
}

template <class Unit>
int countUnit(text_view<Unit> text, char unit) {
  return static_cast<int>(std::count_if(text.units, text.units + text.used(),
                                        exactly(unit_rules<Unit>::widened(unit))));
}

template <class Unit>
int countUnitFolded(text_view<Unit> text, char unit) {
  return static_cast<int>(
      std::count_if(text.units, text.units + text.used(), folded(unit_rules<Unit>::widened(unit))));
}

#define QZ_INSTANTIATE(Unit)                                                       \
  template int findUnit(text_view<Unit>, Unit, int);                               \
  template int findUnitFolded(text_view<Unit>, Unit, int);                         \
  template int findLastUnit(text_view<Unit>, Unit, int);                           \
  template int find(unit_run<Unit>, unit_run<Unit>, int);                          \
  template int find(text_view<Unit>, text_view<Unit>, int);                        \
  template int find(text_view<Unit>, char const*);                                 \
  template int find(text_view<Unit>, char const*, int);                            \
  template int findFolded(unit_run<Unit>, unit_run<Unit>, int);                    \
  template int findFolded(text_view<Unit>, text_view<Unit>, int);                  \
  template int findFolded(text_view<Unit>, char const*);                           \
  template int findUpperInput(text_view<Unit>, text_view<Unit>);                   \
  template int findUpperInput(text_view<Unit>, char const*);                       \
  template int findFirstCandidate(text_view<Unit>, Unit const* const*, int, int*); \
  template int countUnit(text_view<Unit>, char);                                   \
  template int countUnitFolded(text_view<Unit>, char)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

}  // namespace qz::detail
