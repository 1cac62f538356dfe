// The copy and the lock on a file system in memory, so that no disk decides the race. FILES_BENCH
// names another folder.
#include <fcntl.h>
#include <lockfile.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "files/file_operations.h"
#include "files/lock_file.h"
#include "race.h"

namespace {

struct scene {
  std::string folder, from, to;

  explicit scene(std::size_t bytes) {
    char const* const wanted = std::getenv("FILES_BENCH");
    folder = std::string(wanted != nullptr ? wanted : "/dev/shm") + "/files_bench_XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) std::abort();
    from = folder + "/from";
    to = folder + "/to";
    std::ofstream(from) << std::string(bytes, 'x');
  }
  ~scene() { std::filesystem::remove_all(folder); }
};

// What a user writes by hand: the same buffer, and nothing but the bytes; or with the looks and the
// times as well.
void copyInALoop(scene const& files, bool withLooksAndTimes) {
  struct stat status;
  if (withLooksAndTimes)
    for (auto const* name : {&files.to, &files.to, &files.from}) stat(name->c_str(), &status);
  unlink(files.to.c_str());
  int const source = open(files.from.c_str(), O_RDONLY);
  int const target = open(files.to.c_str(), O_WRONLY | O_CREAT, 0664);
  fstat(source, &status);
  std::size_t const wanted = (static_cast<std::size_t>(status.st_size) + 4096) / 4096 * 4096;
  std::size_t const size = std::min<std::size_t>(wanted, 0x80000);
  char* const buffer = static_cast<char*>(std::aligned_alloc(4096, size));
  for (ssize_t count; (count = read(source, buffer, size)) > 0;)
    if (write(target, buffer, static_cast<std::size_t>(count)) != count) std::abort();
  std::free(buffer);
  utimbuf const times = {status.st_atime, status.st_mtime};
  if (withLooksAndTimes) utime(files.to.c_str(), &times);
  close(target);
  close(source);
}

void copyWithCp(scene const& files) {
  unlink(files.to.c_str());
  char const* const words[] = {"cp", "--reflink=never", files.from.c_str(), files.to.c_str(),
                               nullptr};
  pid_t child;
  if (posix_spawnp(&child, "cp", nullptr, nullptr, const_cast<char**>(words), environ) == 0)
    waitpid(child, nullptr, 0);
}

// Another program's run cools the caches for what comes next, so cp races by itself.
void copyFile(benchmark::State& state, std::size_t bytes, bool besideCp) {
  scene const files(bytes);
  _qzString8_allSize<500> const from = files.from.c_str(), to = files.to.c_str();
  auto const ours = [&] {
    if (!qzCopyFile(from, to, true, 0, nullptr)) std::abort();
  };
  auto const standard = [&] {
    unlink(files.to.c_str());
    std::filesystem::copy_file(files.from, files.to);
  };
  if (besideCp)
    race(state, ours, contestant{"cp", [&] { copyWithCp(files); }});
  else
    race(state, ours, contestant{"loop", [&] { copyInALoop(files, false); }},
         contestant{"same calls", [&] { copyInALoop(files, true); }},
         contestant{"copy_file", standard});
}
#define RACE_COPY(size, bytes, turns)             \
  BENCHMARK_CAPTURE(copyFile, size, bytes, false) \
      ->Name("copy of " size)                     \
      ->Iterations(turns)                         \
      ->UseManualTime();                          \
  BENCHMARK_CAPTURE(copyFile, size, bytes, true)  \
      ->Name("copy of " size)                     \
      ->Iterations(turns)                         \
      ->UseManualTime()
RACE_COPY("4 KiB", 4 << 10, 401);
RACE_COPY("64 KiB", 64 << 10, 401);
RACE_COPY("1 MiB", 1 << 20, 401);
RACE_COPY("16 MiB", 16 << 20, 41);
RACE_COPY("256 MiB", 256 << 20, 11);

void lockAndUnlock(benchmark::State& state) {
  scene const files(1);
  _qzFileLocker2 locker(files.to.c_str());
  race(
      state,
      [&] {
        if (!locker.lock(1000, "bench", nullptr, false)) std::abort();
        locker.unlock();
      },
      contestant{"create+unlink",
                 [&] {
                   close(open(files.to.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666));
                   unlink(files.to.c_str());
                 }},
      contestant{"with look and write",
                 [&] {
                   struct stat status;
                   stat(files.to.c_str(), &status);
                   int const file = open(files.to.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
                   if (write(file, files.to.data(), files.to.size()) < 0) std::abort();
                   close(file);
                   unlink(files.to.c_str());
                 }},
      contestant{"liblockfile",
                 [&] {
                   if (lockfile_create(files.to.c_str(), 0, 0) != L_SUCCESS) std::abort();
                   lockfile_remove(files.to.c_str());
                 }},
      contestant{"flock", [&] {
                   int const file = open(files.from.c_str(), O_RDONLY);
                   flock(file, LOCK_EX);
                   close(file);
                 }});
}
BENCHMARK(lockAndUnlock)->Name("lock and unlock")->Apply(inTurns);

}  // namespace
