// How the algorithms look at a unit: as it is, or folded. And the loop that changes a row of units
// so, block by block: within a block nothing branches, and the compiler makes vector code of it.
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

// A single step that makes one of both cases of a letter, but also of some units that are no
// letters: exact when compared with a lower-case letter; for all else only good for a filter.
struct to_lower_or_more {
  template <class Unit>
  constexpr Unit operator()(Unit unit) const {
    return static_cast<Unit>(unit | caseBit(true));
  }
};
constexpr as_it_is filterOf(as_it_is) { return {}; }
constexpr to_lower_or_more filterOf(to_upper) { return {}; }

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
