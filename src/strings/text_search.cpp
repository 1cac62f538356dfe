#include <algorithm>
#include <type_traits>

#include "strings/text_core.h"
#include "strings/unit_blocks.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

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

template <class Unit, class Fold>
int findForward(text_view<Unit> text, Unit wanted, int start, Fold fold) {
  using block = block_of<Unit>;
  int const count = text.used();
  // Required: a start outside the text begins again at the front.
  int i = start >= 1 && start < count ? start : 0;
  auto const sought = block::filledWith(static_cast<typename block::lane>(wanted));
  for (; count - i >= block::kLanes; i += block::kLanes) {
    auto const hits = block::load(text.units + i, fold) == sought;
    if (block::anySet(hits)) return i + block::firstSet(hits);
  }
  for (; i < count; ++i)
    if (fold(text.units[i]) == wanted) return i;
  return -1;
}

// Returns the first position >= `start` at which `needle` stands in `text`, each side folded by
// its own function, or -1. An empty needle is never found. `start` must not be negative, unless
// both texts are of one length: then it is not looked at.
//
// A rolling sum over the span under test stands in front of the comparison, so that most positions
// cost one addition. It is only a filter, and so it may wrap around; the answer is the first match
// in the ordinary sense.
template <class Unit, class Other, class FoldText, class FoldNeedle>
int filteredFind(unit_run<Unit> text, unit_run<Other> needle, int start, FoldText foldText,
                 FoldNeedle foldNeedle) {
  using block = block_of<Unit>;
  using lane = typename block::lane;
  int const last = text.count - needle.count;
  if (needle.count == 0 || start > last) return -1;
  int position = last == 0 ? 0 : start;
  // What matches is also the same to the filter, which folds in one step, and perhaps too much.
  static_assert(std::is_same_v<FoldNeedle, FoldText> || std::is_same_v<FoldNeedle, as_it_is>);
  auto const filter = filterOf(foldText);
  auto const weigh = [&](auto unit) { return static_cast<lane>(filter(unitOf<Unit>(unit))); };

  lane missing = 0;  // what the span at `position` lacks in the sum of the needle
  for (int i = 0; i < needle.count; ++i)
    missing = static_cast<lane>(missing + weigh(needle.units[i]) - weigh(text.units[position + i]));
  auto const matchesAt = [&](int i) {
    return allSame(text.units + i, needle.units, needle.count, foldText, foldNeedle);
  };
  if (missing == 0 && matchesAt(position)) return position;

  // The positions behind `position`, a block of them at a time. A step forward takes the unit
  // behind the span in and the first one out, so lane i of `gained` is what the span at position +
  // 1 + i has more than the one at `position`; it is a hit where that is just what was missing.
  // With the first unit of the needle as a second filter there is hardly a block to look into.
  auto missingInBlock = block::filledWith(missing);
  auto const first = block::filledWith(weigh(needle.units[0]));
  for (; last - position >= block::kLanes; position += block::kLanes) {
    Unit const* const span = text.units + position;
    auto const gained =
        block::runningSums(block::load(span + needle.count, filter) - block::load(span, filter));
    auto const hits = (gained == missingInBlock) & (block::load(span + 1, filter) == first);
    if (block::anySet(hits))
      for (int i = 0; i < block::kLanes; ++i)
        if (hits[i] != 0 && matchesAt(position + i + 1)) return position + i + 1;
    missingInBlock -= block::filledWithLast(gained, typename block::lane_numbers{});
  }
  // The rest, one at a time.
  for (missing = missingInBlock[0]; position < last; ++position) {
    missing = static_cast<lane>(missing - weigh(text.units[position + needle.count]) +
                                weigh(text.units[position]));
    if (missing == 0 && matchesAt(position + 1)) return position + 1;
  }
  return -1;
}

}  // namespace

template <class Unit>
int findUnit(text_view<Unit> text, Unit unit, int start) {
  return findForward(text, unit, start, as_it_is{});
}

template <class Unit>
int findUnitFolded(text_view<Unit> text, Unit unit, int start) {
  Unit const lower = unit_rules<Unit>::lower(unit);
  // What is no letter, as most delimiters, has one form only.
  if (unit_rules<Unit>::upper(lower) == lower) return findUnit(text, lower, start);
  return findForward(text, lower, start, to_lower_or_more{});
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
