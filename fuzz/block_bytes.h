// A client's block of any content, as bytes.
#ifndef QZ_FUZZ_BLOCK_BYTES_H_
#define QZ_FUZZ_BLOCK_BYTES_H_

#include "fuzz/input.h"
#include "tool/client_block.h"

using block_bytes = std::vector<std::uint8_t>;

// Any bytes, mostly with the marks of a block that is in use. The table lies far behind the front,
// so its bytes are taken from the input one by one.
inline block_bytes anyBlock(fuzz_input& in) {
  block_bytes bytes(kClientBlockBytes, static_cast<std::uint8_t>(in.byte()));
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

// The number of `count` bytes at an offset of docs/formats.md.
inline std::uint64_t numberAt(block_bytes const& bytes, std::size_t offset, std::size_t count) {
  std::uint64_t number = 0;
  for (std::size_t i = count; i-- > 0;) number = number << 8 | bytes[offset + i];
  return number;
}

#endif  // QZ_FUZZ_BLOCK_BYTES_H_
