// What the tool does to a client's block of any content: one message or none, and no other byte.
#include "fuzz/input.h"
#include "tool/client_block.h"
#include "tool/posting.h"

namespace {

using image = std::vector<std::uint8_t>;

// Any bytes, mostly with the marks of a block that is in use. The table lies far behind the front,
// so its bytes are taken from the input one by one.
image anyBlock(fuzz_input& in) {
  image bytes(kClientBlockBytes, static_cast<std::uint8_t>(in.byte()));
  auto const put16 = [&](std::size_t offset, int value) {
    bytes[offset] = static_cast<std::uint8_t>(value & 0xFF);
    bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
  };
  int const wrong = in.byte();
  put16(0, kClientBlockMagic);
  put16(2, 0);
  put16(928, kClientBlockVersion);
  put16(930, 1);
  bytes[2001] = static_cast<std::uint8_t>(in.byte());
  if ((wrong & 1) != 0) put16(0, in.number<std::uint16_t>());
  if ((wrong & 2) != 0) put16(2, in.number<std::uint16_t>());
  if ((wrong & 4) != 0) put16(928, in.number<std::uint16_t>());
  if ((wrong & 8) != 0) put16(930, in.number<std::uint16_t>());
  while (in.left > 0) {
    std::size_t const offset = in.number<std::uint16_t>();
    bytes[offset % bytes.size()] = static_cast<std::uint8_t>(in.byte());
  }
  return bytes;
}

// By the offsets of docs/formats.md. False if the block takes no message.
bool post(image& bytes, qz::detail::run_state const& run) {
  auto const get16 = [&](std::size_t offset) { return bytes[offset] | bytes[offset + 1] << 8; };
  int const slot = bytes[2001];
  if (get16(0) != 517 || get16(2) != 0 || get16(928) != 3077 || get16(930) == 0 || slot >= 30)
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
  image block = anyBlock(in);
  image expected = block;
  bool const takes = post(expected, run);
  bool const wasError = run.isError;
  postInto(*reinterpret_cast<client_block*>(block.data()), run);
  expect(block == expected);
  expect(run.isError == (wasError || !takes));
  return 0;
}
