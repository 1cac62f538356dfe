// The paced copy.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>
#include <numeric>

#include "files/file_operations.h"
#include "tool/system_services.h"

namespace {

constexpr std::size_t kLargestBuffer = 0x80000;
constexpr std::size_t kSmallestBuffer = 4096;
constexpr mode_t kExtraMode = 0664;

// Always greater than a small file, so that one read takes it whole and comes back short.
std::size_t bufferSizeFor(struct stat const& source) {
  if (!S_ISREG(source.st_mode) || source.st_size >= static_cast<off_t>(kLargestBuffer))
    return kLargestBuffer;
  return (static_cast<std::size_t>(source.st_size) + kSmallestBuffer) & ~(kSmallestBuffer - 1);
}

// A buffer that begins on a page. `start` is null if there is no memory.
struct page_buffer {
  std::unique_ptr<char[]> block;
  char* start = nullptr;

  explicit page_buffer(std::size_t bytes) {
    auto const multiple = std::lcm(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), std::size_t{8});
    block.reset(new (std::nothrow) char[bytes + multiple + 7]);
    if (block == nullptr) return;
    auto const address = reinterpret_cast<std::uintptr_t>(block.get());
    start = block.get() + (multiple - address % multiple) % multiple;
  }
};

// Looks at single bytes, given by their distance from the end of the chunk.
bool endsInZeros(char const* chunk, std::size_t count) {
  auto const allZero = [end = chunk + count](std::initializer_list<int> offsets) {
    for (int const offset : offsets)
      if (end[-offset] != 0) return false;
    return true;
  };
  if (count > 500) return allZero({1, 50, 200, 201, 202, 500, 501});
  if (count > 300) return allZero({1, 50, 300});
  if (count > 10) return allZero({1, 7, 10});
  return allZero({1});
}

ssize_t readChunk(int source, char* buffer, std::size_t size) {
  ssize_t count;
  do count = read(source, buffer, size);
  while (count < 0 && errno == EINTR);
  return count;
}

bool writeChunk(int target, char const* chunk, ssize_t count) {
  // Required: errno is looked at after a success as well, which leaves it alone. An EINTR from a
  // read that was repeated, from a pause or from before makes this write the same bytes without
  // end.
  ssize_t written;
  do written = write(target, chunk, static_cast<std::size_t>(count));
  while (errno == EINTR);
  return written == count;
}

// Copies until the end of the source; false leaves errno as the failed call did.
bool copyChunks(int source, int target, struct stat const& status, int const& sleepMs,
                bool* tailIsZero) {
  auto const size = bufferSizeFor(status);
  page_buffer const buffer(size);
  if (buffer.start == nullptr) return false;
  for (;;) {
    ssize_t const count = readChunk(source, buffer.start, size);
    if (count <= 0) return count == 0;
    auto const bytes = static_cast<std::size_t>(count);
    if (tailIsZero != nullptr) *tailIsZero = endsInZeros(buffer.start, bytes);
    if (!writeChunk(target, buffer.start, count)) return false;
    if (bytes < size && S_ISREG(status.st_mode)) return true;
    // Another thread may change the pace meanwhile.
    int const pause = __atomic_load_n(&sleepMs, __ATOMIC_RELAXED);
    if (pause > 0) qzSleep(pause);
  }
}

}  // namespace

bool qzCopyFile(_qzString8_allSize<500> const& from, _qzString8_allSize<500> const& to,
                bool overwrite, int const& sleepMs, bool* tailIsZero) {
  if (qzFileExists(to, nullptr, nullptr)) {
    if (!overwrite) return true;
    if (!qzDeleteFile(to)) return false;
  }
  if (!qzFileExists(from, nullptr, nullptr)) return false;

  int const source = open(from.asChar(), O_RDONLY);
  if (source < 0) return false;
  struct stat status;
  if (fstat(source, &status) != 0) {
    close(source);
    return false;
  }
  // Without O_TRUNC: an earlier file is gone by now, and what is no file keeps its end.
  int const target = open(to.asChar(), O_WRONLY | O_CREAT, status.st_mode | kExtraMode);
  if (target < 0) {
    close(source);
    return false;
  }

  bool ok = copyChunks(source, target, status, sleepMs, tailIsZero);
  if (ok) {
    utimbuf const times = {status.st_atime, status.st_mtime};
    ok = utime(to.asChar(), &times) == 0;
  }
  if (close(target) != 0) ok = false;
  return close(source) == 0 && ok;
}
