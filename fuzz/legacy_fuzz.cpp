#include "fuzz/input.h"
int LLVMFuzzerTestOneInput(std::uint8_t const*, std::size_t) { return 0; }
