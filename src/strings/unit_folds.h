// How the algorithms look at a unit: as it is, or folded. And the loops that compare two rows of
// units so, or change a row, block by block: within a block nothing branches, and the compiler
// makes vector code of it.
#ifndef QZ_STRINGS_UNIT_FOLDS_H_
#define QZ_STRINGS_UNIT_FOLDS_H_

#include <cstring>
#include <type_traits>

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

struct to_lower {
  template <class Unit>
  constexpr Unit operator()(Unit unit) const {
    return unit_rules<Unit>::lower(unit);
  }
};

inline constexpr int kFoldBlock = 16;

// A unit of another text, as one of this text's.
template <class Unit>
constexpr Unit unitOf(Unit unit) {
  return unit;
}
template <class Unit>
requires(!std::is_same_v<Unit, char>) constexpr Unit unitOf(char c) {
  return unit_rules<Unit>::widened(c);
}

// Zero for units that are the same, each folded by its own function.
template <class Unit, class FoldA, class FoldB>
constexpr Unit difference(Unit a, Unit b, FoldA foldA, FoldB foldB) {
  return static_cast<Unit>(foldA(a) ^ foldB(b));
}
// With both sides folded one test for a letter serves: it may differ from the other in its case.
template <class Unit>
constexpr Unit difference(Unit a, Unit b, to_upper, to_upper) {
  auto const lower = static_cast<Unit>(a | caseBit(true));
  return static_cast<Unit>((a ^ b) & ~caseBit(lower >= 'a' && lower <= 'z'));
}

template <int Size, class Unit, class Other, class FoldA, class FoldB>
bool sameBlock(Unit const* a, Other const* b, FoldA foldA, FoldB foldB) {
  Unit all = 0;
  for (int i = 0; i < Size; ++i)
    all = static_cast<Unit>(all | difference(a[i], unitOf<Unit>(b[i]), foldA, foldB));
  return all == 0;
}

// Returns how many units at the front are the same, each side folded by its own function.
template <class Unit, class Other, class FoldA, class FoldB>
int sameCount(Unit const* a, Other const* b, int count, FoldA foldA, FoldB foldB) {
  constexpr int kLong = 4 * kFoldBlock;
  int i = 0;
  if (count >= kFoldBlock) {
    int const last = count - kFoldBlock;
    while (i + kLong <= last && sameBlock<kLong>(a + i, b + i, foldA, foldB)) i += kLong;
    while (i < last && sameBlock<kFoldBlock>(a + i, b + i, foldA, foldB)) i += kFoldBlock;
    // The last block overlaps the one before, which spares going through the rest one by one.
    if (i >= last && sameBlock<kFoldBlock>(a + last, b + last, foldA, foldB)) return count;
  }
  while (i < count && difference(a[i], unitOf<Unit>(b[i]), foldA, foldB) == 0) ++i;
  return i;
}

template <class Unit, class Other, class FoldA, class FoldB>
bool allSame(Unit const* a, Other const* b, int count, FoldA foldA, FoldB foldB) {
  return sameCount(a, b, count, foldA, foldB) == count;
}
template <class Unit>
bool allSame(Unit const* a, Unit const* b, int count, as_it_is, as_it_is) {
  return sameUnits(a, b, count);
}

// Writes what `change` makes of each unit. Source and target are one place, or apart.
template <class From, class To, class Change>
void changeUnits(From const* from, To* to, int count, Change change) {
  int i = 0;
  for (; count - i >= kFoldBlock; i += kFoldBlock) {
    To block[kFoldBlock];
    for (int k = 0; k < kFoldBlock; ++k) block[k] = change(from[i + k]);
    std::memcpy(to + i, block, sizeof block);
  }
  for (; i < count; ++i) to[i] = change(from[i]);
}

}  // namespace qz::detail

#endif  // QZ_STRINGS_UNIT_FOLDS_H_
