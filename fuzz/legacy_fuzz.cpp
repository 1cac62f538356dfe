// Every editing and searching member of the earlier string layouts beside a plain model.
#include "strings/legacy.h"

#include "fuzz/string16_steps.h"
#include "fuzz/string8_steps.h"

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  switch (in.byte() % 6) {
    case 0:
      runSteps<string8_steps<_qzString8_evenSize_old<6>>>(in);
      break;
    case 1:
      runSteps<string8_steps<_qzString8_evenSize_old<100>>>(in);
      break;
    case 2:
      runSteps<string8_steps<_qzString8_UnevenSize_old<7>>>(in);
      break;
    case 3:
      runSteps<string8_steps<_qzString8_UnevenSize_old<25>>>(in);
      break;
    case 4:
      runSteps<string16_steps<_qzString_old<10>>>(in);
      break;
    default:
      runSteps<string16_steps<_qzString_old<75>>>(in);
      break;
  }
  return 0;
}
