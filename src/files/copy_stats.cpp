// The statistics of a series of copies.
#include <algorithm>
#include <limits>

#include "files/file_operations.h"
#include "strings/formatted_text.h"

namespace {

using qz::detail::formattedText;

// Sums wrap instead of overflowing.
template <class Number>
Number wrappedSum(Number a, std::uint64_t b) {
  return static_cast<Number>(static_cast<std::uint64_t>(a) + b);
}

void addToTotals(_copystats& stats, long long bytes, long long ms) {
  stats.fileCount = wrappedSum(stats.fileCount, 1);
  stats.totalBytes = wrappedSum(stats.totalBytes, static_cast<std::uint64_t>(bytes));
  stats.totalTimeMs = wrappedSum(stats.totalTimeMs, static_cast<std::uint64_t>(ms));
}

void addChunks(_copystats& stats, long long bytes) {
  stats.chunkCount =
      wrappedSum(stats.chunkCount, static_cast<std::uint64_t>(bytes / stats.chunkSize));
}

int repaired(int chunkSize) { return chunkSize < 1 ? copyFile_chunksize() : chunkSize; }

float mebibytes(std::int64_t bytes) {
  return static_cast<float>(bytes) * (1.0f / 1024) * (1.0f / 1024);
}

// To the nearest number, a half away from zero; pauses far beyond the time give the least int.
int rounded(float value) {
  double const nearest = static_cast<double>(value < 0 ? value - 0.5f : value + 0.5f);
  constexpr double kLeast = std::numeric_limits<int>::min();
  constexpr double kMost = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(nearest, kLeast, kMost));
}

qz::detail::line_text timeText(std::int64_t ms) {
  constexpr std::int64_t kMinute = 60000;
  std::int64_t const seconds = ms / 1000;
  if (ms <= kMinute)
    return formattedText("%d.%02ds", static_cast<int>(seconds), static_cast<int>(ms % 1000 / 10));
  std::int64_t const minutes = ms / kMinute;
  return formattedText("%d.%02dm.s", static_cast<int>(minutes),
                       static_cast<int>(seconds - minutes * 60));
}

}  // namespace

void _copystats::addFile(long long const& bytes, long long const& ms) {
  if (bytes < 0 || ms < 0) return;
  addToTotals(*this, bytes, ms);
  if (chunkSize >= 1 && sleepPerChunkMs != 0) addChunks(*this, bytes);
}

void _copystats::addFile(long long const& bytes, long long const& ms, short const& sleepMs,
                         int const& chunkSizeBytes) {
  if (bytes < 0 || ms < 0) return;
  sleepPerChunkMs = std::max<short>(sleepMs, 0);
  chunkSize = repaired(chunkSizeBytes);
  addToTotals(*this, bytes, ms);
  if (sleepMs > 0) addChunks(*this, bytes);
}

float _copystats::copySpeedpercentage() {
  if (sleepPerChunkMs == 0 || totalTimeMs == 0) return 100;
  chunkSize = repaired(chunkSize);
  if (chunkCount == 0) chunkCount = static_cast<std::uint16_t>(totalBytes / chunkSize);
  int const pauses = chunkCount * sleepPerChunkMs;
  return (1 - static_cast<float>(pauses) / static_cast<float>(totalTimeMs)) * 100;
}

float _copystats::copySpeedMiBs() const {
  if (totalTimeMs == 0) return 0;
  return mebibytes(totalBytes) * 1000 / static_cast<float>(totalTimeMs);
}

_qzString8_allSize<500> _copystats::asString(bool const& aligned) {
  auto const time = timeText(totalTimeMs);
  auto const size = static_cast<double>(mebibytes(totalBytes));
  auto const speed = static_cast<double>(copySpeedMiBs());
  int const percent = rounded(copySpeedpercentage());
  _qzString8_allSize<500> text;
  text = (aligned ? formattedText("%4d files copied ( %7.2f MiB. %s. %7.3f MiB/s. "
                                  "Copy speed setting: %3d",
                                  fileCount, size, time.asChar(), speed, percent)
                  : formattedText("%d files copied ( %0.2f MiB. %s. %0.3f MiB/s. "
                                  "Copy speed setting: %d",
                                  fileCount, size, time.asChar(), speed, percent))
             .asUni();
  text.add("% )");
  return text;
}
