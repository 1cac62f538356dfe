// Copies a file at a pace, so that the farm's network and disks have room for others, shows how far
// it is on a terminal, and ends in the sentence of the statistics.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include "files/file_operations.h"
#include "time/stopwatch.h"
#include "tool/system_services.h"

namespace {

using path = _qzString8_allSize<500>;

constexpr int kChunkBytes = 0x80000;  // after as many bytes the copy pauses
constexpr int kMostSleepMs = 10000;

struct options {
  bool onlyHelp = false;
  bool overwrite = false;
  short sleepMs = 0;
  path names[2];  // from, to
  int nameCount = 0;
};

bool readOptions(int argc, char** argv, options& chosen);
void printHelp();

int refuse(char const* what, path const& name) {
  std::fprintf(stderr, "paced_copy: %s %s\n", name.asChar(), what);
  return 1;
}

void drawBar(long long done, long long all) {
  constexpr int kWidth = 40;
  constexpr double kMiB = 1024 * 1024;
  double const share = all > 0 ? static_cast<double>(done) / static_cast<double>(all) : 1;
  auto const filled = static_cast<std::size_t>(share < 1 ? share * kWidth : kWidth);
  std::printf("\r[%s%s] %3d %%  %.1f of %.1f MiB", std::string(filled, '#').c_str(),
              std::string(kWidth - filled, '.').c_str(), static_cast<int>(share * 100),
              static_cast<double>(done) / kMiB, static_cast<double>(all) / kMiB);
  std::fflush(stdout);
}

// Watches how the target grows, on a thread of its own, since the copy keeps the caller's.
struct progress_bar {
  std::atomic<bool> ended = false;
  std::thread watcher;

  progress_bar(path const& target, long long all) {
    watcher = std::thread([this, target, all] {
      for (long long done = 0; !ended; qzSleep(100))
        if (qzFileExists(target, nullptr, &done)) drawBar(done, all);
    });
  }
  void end() {
    ended = true;
    watcher.join();
  }
};

int explain(path const& to, long long all, int cause) {
  long long done = 0;
  bool const begun = qzFileExists(to, nullptr, &done);
  // A write that takes only a part leaves no cause but that of the look for an earlier target.
  if (begun && (cause == 0 || cause == ENOENT)) cause = ENOSPC;
  std::fprintf(stderr, "paced_copy: cannot write %s: %s", to.asChar(),
               qzLastOSError8(cause).asChar());
  if (begun) std::fprintf(stderr, "; %lld of %lld bytes are there", done, all);
  std::fputs(".\n", stderr);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  options chosen;
  if (!readOptions(argc, argv, chosen)) return 2;
  if (chosen.onlyHelp) {
    printHelp();
    return 0;
  }
  auto const& from = chosen.names[0];
  auto const& to = chosen.names[1];
  long long bytes = 0;
  if (!qzFileExists(from, nullptr, &bytes)) return refuse("is no file.", from);
  if (access(from.asChar(), R_OK) != 0) return refuse("can't be read.", from);
  if (!chosen.overwrite && qzFileExists(to, nullptr, nullptr))
    return refuse("exists already; --overwrite replaces it.", to);

  std::error_code ignored;
  if (std::filesystem::equivalent(from.asChar(), to.asChar(), ignored))
    return refuse("is the same file.", to);

  bool const onTerminal = isatty(STDOUT_FILENO) == 1;
  std::optional<progress_bar> bar;
  if (onTerminal) bar.emplace(to, bytes);
  qzTimer timer;
  errno = 0;
  bool const copied = qzCopyFile(from, to, chosen.overwrite, chosen.sleepMs, nullptr);
  int const cause = errno;
  int const elapsed = timer.elapsed();
  if (onTerminal) {
    bar->end();
    if (copied) drawBar(bytes, bytes);
    std::putchar('\n');
  }
  if (!copied) return explain(to, bytes, cause);

  _copystats stats;
  stats.addFile(bytes, elapsed, chosen.sleepMs, kChunkBytes);
  std::printf("%s\n", stats.asString().asChar());
  if (std::fflush(stdout) == 0) return 0;
  std::fprintf(stderr, "paced_copy: copied, but cannot write to standard output: %s.\n",
               qzLastOSError8(-1).asChar());
  return 1;
}

namespace {

void printHelp() {
  std::printf(
      "Usage: paced_copy FROM TO [--sleep MS] [--overwrite]\n"
      "\n"
      "Copies the file FROM to TO with its permissions and times, and tells how long it took and\n"
      "which share of that was not spent in pauses. On a terminal it shows how far it is. A copy\n"
      "that is interrupted leaves what it has written.\n"
      "\n"
      "  --sleep MS    pause after each 512 KiB, 0 to %d milliseconds (0)\n"
      "  --overwrite   delete TO first if it exists\n"
      "  -h, --help    print this and end\n"
      "\n"
      "Exit status: 0 after a copy, 1 after a failure, 2 for wrong options.\n",
      kMostSleepMs);
}

bool readSleep(char const* value, short& sleepMs) {
  if (value != nullptr) {
    char const* const end = value + std::strlen(value);
    auto const [rest, failure] = std::from_chars(value, end, sleepMs);
    if (failure == std::errc() && rest == end && sleepMs >= 0 && sleepMs <= kMostSleepMs)
      return true;
  }
  std::fprintf(stderr, "paced_copy: --sleep needs a number from 0 to %d", kMostSleepMs);
  if (value != nullptr) std::fprintf(stderr, ", not \"%s\"", value);
  std::fputs(".\n", stderr);
  return false;
}

bool readOptions(int argc, char** argv, options& chosen) {
  for (int i = 1; i < argc; ++i) {
    char const* const option = argv[i];
    if (std::strcmp(option, "-h") == 0 || std::strcmp(option, "--help") == 0) {
      chosen.onlyHelp = true;
      return true;
    }
    if (std::strcmp(option, "--overwrite") == 0) {
      chosen.overwrite = true;
    } else if (std::strcmp(option, "--sleep") == 0) {
      if (!readSleep(argv[++i], chosen.sleepMs)) return false;
    } else if (option[0] == '-' || chosen.nameCount == 2) {
      std::fprintf(stderr, "paced_copy: unknown option \"%s\"; --help lists them.\n", option);
      return false;
    } else if (option[0] == 0 || std::strlen(option) > path::kCapacity) {
      std::fprintf(stderr, "paced_copy: a name has 1 to %d characters.\n", path::kCapacity);
      return false;
    } else {
      chosen.names[chosen.nameCount++] = option;
    }
  }
  if (chosen.nameCount == 2) return true;
  std::fputs("paced_copy: needs the names of two files; --help tells more.\n", stderr);
  return false;
}

}  // namespace
