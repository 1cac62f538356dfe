// Hardened headers define read as an inline function, which leaves no room for another one.
#undef _FORTIFY_SOURCE
#include "process/call_faults.h"

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace {

call_faults* faults = nullptr;

bool hasFailingPath(int descriptor) {
  char path[256];
  std::string const link = "/proc/self/fd/" + std::to_string(descriptor);
  ssize_t const size = readlink(link.c_str(), path, sizeof path);
  return size > 0 &&
         std::string_view(path, static_cast<std::size_t>(size)).ends_with(faults->failingPath);
}

}  // namespace

call_faults::call_faults() { faults = this; }
call_faults::~call_faults() { faults = nullptr; }

extern "C" ssize_t getdents64(int descriptor, void* buffer, std::size_t size) noexcept {
  ssize_t const got = syscall(SYS_getdents64, descriptor, buffer, size);
  if (faults == nullptr || got < 0) return got;
  if (got == 0) ++faults->scans;
  for (ssize_t at = 0; at < got;) {
    auto* entry = reinterpret_cast<dirent64*>(static_cast<char*>(buffer) + at);
    at += entry->d_reclen;
    if (faults->scans < faults->hiddenScans && entry->d_name == std::to_string(faults->hiddenPid))
      entry->d_name[0] = 'x';
  }
  return got;
}

extern "C" ssize_t read(int descriptor, void* buffer, std::size_t size) {
  if (faults != nullptr && faults->failureTimes > 0 && hasFailingPath(descriptor)) {
    --faults->failureTimes;
    errno = faults->failure;
    return faults->failure == 0 ? 0 : -1;
  }
  return syscall(SYS_read, descriptor, buffer, size);
}
