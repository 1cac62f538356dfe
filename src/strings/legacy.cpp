#include "strings/legacy.h"

#include <type_traits>

namespace qz::detail {
namespace {

// The images, for every capacity and both parities: a different number here is a different format.
template <class String, int LengthAt, int Size>
constexpr bool hasLegacyImage() {
  return offsetof(String, data) == 0 && offsetof(String, length) == LengthAt &&
         sizeof(String) == Size && alignof(String) == 2 && std::is_standard_layout_v<String>;
}

template <int N>
constexpr bool have8BitImages() {
  constexpr int kEvenLengthAt = N % 2 == 0 ? N + 2 : N + 3;
  constexpr int kUnevenLengthAt = N % 2 == 0 ? N + 2 : N + 1;
  return hasLegacyImage<_qzString8_evenSize_old<N>, kEvenLengthAt, kEvenLengthAt + 2>() &&
         hasLegacyImage<_qzString8_UnevenSize_old<N>, kUnevenLengthAt, kUnevenLengthAt + 2>();
}

template <int... N>
constexpr bool haveAll8BitImages() {
  return (have8BitImages<N>() && ...);
}

template <int... N>
constexpr bool haveAll16BitImages() {
  return ((hasLegacyImage<_qzString_old<N>, 2 * N + 2, 2 * N + 6>() &&
           offsetof(_qzString_old<N>, reserved) == 2 * N + 4) &&
          ...);
}

static_assert(haveAll8BitImages<6, 7, 8, 10, 12, 14, 15, 20, 25, 29, 30, 40>());
static_assert(haveAll8BitImages<50, 75, 100, 125, 150, 200, 250, 500, 1000, 2000, 3000, 5000>());
static_assert(haveAll16BitImages<10, 15, 25, 30, 48, 50, 75, 100>());
static_assert(haveAll16BitImages<125, 150, 200, 225, 250, 500, 1000, 2500>());

}  // namespace
}  // namespace qz::detail
