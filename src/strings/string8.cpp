#include "strings/string8.h"

#include <type_traits>

namespace qz::detail {
namespace {

// The image, for every capacity: a different number here is a different format.
template <int N>
constexpr bool hasString8Image() {
  using string = _qzString8_allSize<N>;
  return sizeof(string) == std::size_t{N + 4} / 2 * 2 && alignof(string) == 2 &&
         std::is_standard_layout_v<string> && std::is_trivially_copyable_v<string> &&
         offsetof(string, length) == offsetof(_qzString8_Uni_pointer, length) &&
         offsetof(string, data) == sizeof(_qzString8_Uni_pointer);
}

template <int... N>
constexpr bool haveString8Images() {
  return (hasString8Image<N>() && ...);
}

static_assert(haveString8Images<6, 7, 8, 10, 12, 14, 15, 20, 25, 29, 30, 40>());
static_assert(haveString8Images<50, 75, 100, 125, 150, 200, 250, 500, 1000, 2000, 3000, 5000>());

}  // namespace
}  // namespace qz::detail

int qzCharLen(unsigned short const* units) {
  return qz::detail::unit_rules<unsigned short>::count(units);
}
