#include "strings/string16.h"

#include <type_traits>

namespace qz::detail {
namespace {

// The image, for every capacity: a different number here is a different format.
template <int N>
constexpr bool hasString16Image() {
  using string = _qzString<N>;
  return sizeof(string) == std::size_t{2 * N + 6} && alignof(string) == 2 &&
         std::is_standard_layout_v<string> && !std::is_trivially_copyable_v<string> &&
         offsetof(string, length) == offsetof(_qzString_Uni_pointer, length) &&
         offsetof(string, reserved) == offsetof(_qzString_Uni_pointer, reserved) &&
         offsetof(string, data) == sizeof(_qzString_Uni_pointer);
}

template <int... N>
constexpr bool haveString16Images() {
  return (hasString16Image<N>() && ...);
}

static_assert(haveString16Images<10, 15, 25, 30, 48, 50, 75, 100>());
static_assert(haveString16Images<125, 150, 200, 225, 250, 500, 1000, 2500>());

}  // namespace
}  // namespace qz::detail
