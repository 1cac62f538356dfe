// How the algorithms look at a unit: as it is, or folded. And the loops that compare two rows of
// units so, or change a row, block by block: within a block nothing branches, and the compiler
// makes vector code of it.
#ifndef QZ_STRINGS_UNIT_FOLDS_H_
#define QZ_STRINGS_UNIT_FOLDS_H_

#include <cstring>
#include <type_traits>

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

template <int Size, class Unit, class Other, class FoldA, class FoldB>
bool sameBlock(Unit const* a, Other const* b, FoldA foldA, FoldB foldB) {
  Unit difference = 0;
  for (int i = 0; i < Size; ++i)
    difference = static_cast<Unit>(difference | (foldA(a[i]) ^ foldB(unitOf<Unit>(b[i]))));
  return difference == 0;
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
  while (i < count && foldA(a[i]) == foldB(unitOf<Unit>(b[i]))) ++i;
  return i;
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
