// Every editing and searching member of the earlier string layouts beside a plain model.
#include "strings/legacy.h"

#include "fuzz/string16_steps.h"
#include "fuzz/string8_steps.h"

namespace {

template <int N>
using even8 = string8_steps<_qzString8_evenSize_old<N>>;
template <int N>
using uneven8 = string8_steps<_qzString8_UnevenSize_old<N>>;
template <int N>
using old16 = string16_steps<_qzString_old<N>>;

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  runOneOf<even8<6>, even8<100>, uneven8<7>, uneven8<25>, old16<10>, old16<75>>(in);
  return 0;
}
