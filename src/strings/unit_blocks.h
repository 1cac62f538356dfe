// Sixteen bytes of units at a time, and the loop that compares two rows of units so.
#ifndef QZ_STRINGS_UNIT_BLOCKS_H_
#define QZ_STRINGS_UNIT_BLOCKS_H_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "strings/text_core.h"
#include "strings/unit_folds.h"

namespace qz::detail {

// Sixteen bytes of units, on which operators work lane by lane and wrap around.
template <class Unit>
struct block_of {
  using lane = std::make_unsigned_t<Unit>;
  using lanes [[gnu::vector_size(16)]] = lane;
  static constexpr int kLanes = 16 / sizeof(Unit);
  using lane_numbers = std::make_index_sequence<kLanes>;

  static lanes filledWith(lane value) { return value - lanes{}; }

  template <class Other, class Fold>
  static lanes load(Other const* units, Fold fold) {
    lane folded[kLanes];
    for (int i = 0; i < kLanes; ++i) folded[i] = static_cast<lane>(fold(unitOf<Unit>(units[i])));
    lanes block;
    std::memcpy(&block, folded, sizeof block);
    return block;
  }

  template <class Lanes>
  static bool anySet(Lanes set) {
    auto const words = std::bit_cast<std::array<std::uint64_t, 2>>(set);
    return (words[0] | words[1]) != 0;
  }
  // The number of the first lane that is not zero, of some that are not.
  template <class Lanes>
  static int firstSet(Lanes set) {
    auto const words = std::bit_cast<std::array<std::uint64_t, 2>>(set);
    std::uint64_t const word = words[0] != 0 ? words[0] : words[1];
    bool const lowFirst = std::endian::native == std::endian::little;
    int const bits = lowFirst ? std::countr_zero(word) : std::countl_zero(word);
    return (words[0] != 0 ? 0 : kLanes / 2) + bits / (8 * static_cast<int>(sizeof(Unit)));
  }

  // Each lane goes to the one `Distance` further up, and zeros come in below.
  template <int Distance, std::size_t... Lane>
  static lanes movedUp(lanes block, std::index_sequence<Lane...>) {
    return __builtin_shufflevector(lanes{}, block, (kLanes - Distance + Lane)...);
  }
  // Each lane becomes the sum of itself and all lanes before it: of up to 2 lanes after the first
  // step, of up to 4 after the second, and so on.
  static lanes runningSums(lanes block) {
    block += movedUp<1>(block, lane_numbers{});
    block += movedUp<2>(block, lane_numbers{});
    block += movedUp<4>(block, lane_numbers{});
    if constexpr (kLanes > 8) block += movedUp<8>(block, lane_numbers{});
    return block;
  }
  template <std::size_t... Lane>
  static lanes filledWithLast(lanes block, std::index_sequence<Lane...>) {
    return __builtin_shufflevector(block, block, (kLanes - 1 + 0 * Lane)...);
  }
};

// Zero where the units are the same, each folded by its own function.
template <class Unit, class Other, class FoldA, class FoldB>
auto differences(Unit const* a, Other const* b, FoldA foldA, FoldB foldB) {
  return block_of<Unit>::load(a, foldA) ^ block_of<Unit>::load(b, foldB);
}
// With both sides folded one test for a letter serves: it may differ from the other in its case.
template <class Unit, class Other>
auto differences(Unit const* a, Other const* b, to_upper, to_upper) {
  using block = block_of<Unit>;
  using lane = std::make_signed_t<Unit>;
  using signed_lanes [[gnu::vector_size(16)]] = lane;
  // A shift puts the letters, and them alone, to the upper end of the signed numbers: one
  // comparison instead of two.
  constexpr lane kMost = std::numeric_limits<lane>::max();
  auto const left = block::load(a, as_it_is{});
  auto const shifted = reinterpret_cast<signed_lanes>((left | caseBit(true)) + (kMost - 'z'));
  auto const letters = reinterpret_cast<typename block::lanes>(shifted >= kMost - ('z' - 'a'));
  return (left ^ block::load(b, as_it_is{})) & ~(letters & caseBit(true));
}
// What `differences` tells, for one unit.
constexpr bool same(auto a, auto b, auto foldA, auto foldB) { return foldA(a) == foldB(b); }
template <class Unit>
constexpr bool same(Unit a, Unit b, to_upper, to_upper) {
  auto const lower = static_cast<Unit>(a | caseBit(true));
  return ((a ^ b) & ~caseBit(lower >= 'a' && lower <= 'z')) == 0;
}

// Returns how many units at the front are the same, each side folded by its own function.
template <class Unit, class Other, class FoldA, class FoldB>
int sameCount(Unit const* a, Other const* b, int count, FoldA foldA, FoldB foldB) {
  using block = block_of<Unit>;
  constexpr int kBlock = block::kLanes;
  constexpr int kLong = 4 * kBlock;
  auto const different = [&](int at) { return differences(a + at, b + at, foldA, foldB); };
  int i = 0;
  if (count >= kBlock) {
    int const last = count - kBlock;
    while (i + kLong <= last &&
           !block::anySet((different(i) | different(i + kBlock)) |
                          (different(i + 2 * kBlock) | different(i + 3 * kBlock))))
      i += kLong;
    for (; i < last; i += kBlock) {
      auto const found = different(i);
      if (block::anySet(found)) return i + block::firstSet(found);
    }
    // The last block overlaps the one before, which spares going through the rest one by one.
    auto const found = different(last);
    return block::anySet(found) ? last + block::firstSet(found) : count;
  }
  while (i < count && same(a[i], unitOf<Unit>(b[i]), foldA, foldB)) ++i;
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

}  // namespace qz::detail

#endif  // QZ_STRINGS_UNIT_BLOCKS_H_
