// The check values beside Boost's table-driven forms of the same algorithms: one table, byte by
// byte, in order, for both.
#include <boost/crc.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "data/checksums.h"
#include "race.h"

namespace {

using boost_crc32 = boost::crc_optimal<32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true>;
using boost_crc64 = boost::crc_optimal<64, 0xAD93D23594C935A9, 0, 0, true, true>;
using boost_crc16 = boost::crc_optimal<16, 0x1021, 0, 0, false, false>;

std::vector<unsigned char> randomBytes(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  std::mt19937 random(1);
  for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

template <class Boost, class Ours>
void raceCrc(benchmark::State& state, Ours ours) {
  auto bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
  auto const boost = [&] {
    Boost crc;
    crc.process_bytes(bytes.data(), bytes.size());
    return crc.checksum();
  };
  if (ours(bytes) != boost()) std::abort();
  seen(bytes);
  race(
      state, [&] { return ours(bytes); }, contestant{"boost", boost});
}

void crc32(benchmark::State& state) {
  raceCrc<boost_crc32>(state, [](auto const& bytes) {
    return qzCRCCalc(bytes.data(), static_cast<unsigned>(bytes.size()));
  });
}
void crc64(benchmark::State& state) {
  raceCrc<boost_crc64>(state,
                       [](auto const& bytes) { return qzCRCCalc64(bytes.data(), bytes.size()); });
}
void crc16(benchmark::State& state) {
  raceCrc<boost_crc16>(state,
                       [](auto const& bytes) { return qzCRCCalc16(bytes.data(), bytes.size()); });
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(64)->Arg(4 << 10)->Arg(1 << 20)->Iterations(101)->UseManualTime();
}
BENCHMARK(crc32)->Apply(sizes);
BENCHMARK(crc64)->Apply(sizes);
BENCHMARK(crc16)->Apply(sizes);

}  // namespace
