// What the tool does to a client's block of any content: one message or none, and no other byte.
#include "fuzz/block_bytes.h"
#include "tool/posting.h"

namespace {

// By the offsets of docs/formats.md. False if the block takes no message.
bool post(block_bytes& bytes, qz::detail::run_state const& run) {
  int const slot = bytes[2001];
  if (numberAt(bytes, 0, 4) != 517 || numberAt(bytes, 928, 2) != 3077 ||
      numberAt(bytes, 930, 2) == 0 || slot >= 30)
    return false;
  auto const put = [&](int offset, long long value, int count) {
    for (int i = 0; i < count; ++i)
      bytes[static_cast<std::size_t>(offset + i)] = static_cast<std::uint8_t>(value >> (8 * i));
  };
  put(2001, slot + 1, 1);
  put(2002 + slot, 0, 1);
  put(2032 + slot, run.isError ? 1 : 0, 1);
  put(2124 + 8 * slot, run.frameNumber, 8);
  put(7435 + slot, run.jobThreadId, 1);
  put(7465 + slot, run.renderInstance, 1);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  expect(std::freopen("/dev/null", "w", stdout) != nullptr);
  return 0;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  qz::detail::run_state run;
  run.renderInstance = in.anyOrSmall<int>();
  run.jobThreadId = in.anyOrSmall<int>();
  run.frameNumber = in.anyOrSmall<long long>();
  run.isError = in.coin();
  block_bytes block = anyBlock(in);
  block_bytes expected = block;
  bool const takes = post(expected, run);
  bool const wasError = run.isError;
  postInto(*reinterpret_cast<client_block*>(block.data()), run);
  expect(block == expected);
  expect(run.isError == (wasError || !takes));
  return 0;
}
