// The library's lock file, copy and log line.
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <utime.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "faults/scenes.h"
#include "files/file_operations.h"
#include "files/lock_file.h"
#include "files/log_file.h"

namespace faults {
namespace {

std::string folder;

std::string contentsOf(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What a function left, in memory that the traced process shares.
struct file_facts {
  bool ok, wasThere;
  int error, waitedMs, openBefore, openAfter;
  long long lockBytes;
};
file_facts* shared = nullptr;

int countOpenFiles() {
  auto const files = std::filesystem::directory_iterator("/proc/self/fd");
  return static_cast<int>(std::distance(begin(files), end(files)));
}

struct file_scene {
  char const* name;
  void (*prepare)();
  void (*body)();
  void (*judge)(fault const& injected, outcome& got);
};

std::string at(char const* name) { return folder + "/" + name; }
bool isThere(char const* name) { return std::filesystem::exists(at(name)); }

constexpr char kLock[] = "target_lock.txt";

void lockAndUnlock() {
  _qzFileLocker2 locker(at("target").c_str());
  mark();
  shared->ok = locker.lock(1000, "faults", &shared->waitedMs, false);
  mark();
  shared->error = locker.lastError;
  shared->wasThere = isThere(kLock);
  shared->lockBytes = static_cast<long long>(contentsOf(at(kLock)).size());
  mark();
  locker.unlock();
  mark();
}

std::string errorText(fault const& injected, int error) {
  if (error == injected.error && error != 0) return "*errno*";
  return error == 0 ? "0" : strerrorname_np(error);
}

void judgeLock(fault const& injected, outcome& got) {
  bool const isLeft = isThere(kLock);
  if (!shared->ok) {
    add(got.sees, shared->waitedMs > 0
                      ? "`lock` gives false: held for the whole wait"
                      : "`lock` gives false; `lastError` is " + errorText(injected, shared->error));
    if (shared->waitedMs <= 0 && shared->error == 0) add(got.broken, "no reason told");
  }
  if (shared->ok && !shared->wasThere) add(got.broken, "locked without a lock file");
  if (shared->ok && shared->lockBytes == 0)
    add(got.sees, "the lock file does not tell who holds it");
  if (isThere("target_lock.txt.none")) add(got.sees, "`unlock` leaves the file as `.none`");
  if (isLeft && shared->ok) add(got.broken, "the lock file is left");
}

// Somebody else has the lock.
void judgeHeldLock(fault const& injected, outcome& got) {
  if (!shared->ok && isThere(kLock)) return;
  // Required: a file whose age can't be told is as stale as can be.
  add(got.sees, shared->ok ? "takes the lock from its holder" : "removes the lock of its holder");
  if (injected.number != SYS_newfstatat) add(got.broken, "the holder's lock has gone");
}

void makeStaleLock() {
  writeFile(at(kLock), "stale");
  utimbuf const old = {1000, 1000};
  utime(at(kLock).c_str(), &old);
}

constexpr int kCopied = 600000;  // two chunks
std::string copiedText() {
  std::string text(kCopied, 'x');
  for (std::size_t i = 0; i < text.size(); i += 97) text[i] = static_cast<char>(i);
  return text;
}

void copy() {
  _qzString8_allSize<500> const from(at("source").c_str());
  _qzString8_allSize<500> const to(at("copy").c_str());
  int const pause = 5;
  errno = 0;
  mark();
  shared->ok = qzCopyFile(from, to, true, pause, nullptr);
  mark();
  shared->error = errno;
}

void judgeCopy(fault const& injected, outcome& got) {
  std::string const text = copiedText();
  if (contentsOf(at("source")) != text) add(got.broken, "the source changed");
  if (got.run.isEndless) {
    // Required: see writeChunk.
    add(got.sees, "the copy writes the same bytes without end");
    if (injected.error != EINTR) add(got.broken, "endless");
    return;
  }
  std::string const copied = contentsOf(at("copy"));
  if (shared->ok) {
    if (injected.number == SYS_read && injected.error == kShort) {
      // Required: a short read is the end of a regular file.
      add(got.sees, copied == text ? "" : "true, but the copy ends there");
      return;
    }
    struct stat one, other;
    stat(at("source").c_str(), &one);
    stat(at("copy").c_str(), &other);
    if (copied != text) add(got.broken, "true, but the copy differs");
    if (one.st_mtime != other.st_mtime) add(got.broken, "true, but the time differs");
    return;
  }
  std::string const left = !isThere("copy")         ? "no copy"
                           : copied == text         ? "a whole copy stays"
                           : copied == "old target" ? "the old target stays"
                                                    : "a part of the copy stays";
  add(got.sees, "false, `errno` " + errorText(injected, shared->error) + "; " + left);
}

void prepareCopy() {
  writeFile(at("source"), copiedText());
  utimbuf const times = {2000000, 3000000};
  utime(at("source").c_str(), &times);
}

void prepareCopyOver() {
  prepareCopy();
  writeFile(at("copy"), "old target");
}

void logLine() {
  _qzString8_allSize<250> const name(at("log").c_str());
  mark();
  shared->ok = writeToLogFile(name, "a line", false, false);
  mark();
  shared->error = errno;
}

void judgeLog(fault const& injected, outcome& got) {
  std::string const log = contentsOf(at("log"));
  bool const isWhole = log == "first\na line\n";
  if (!log.starts_with("first\n")) add(got.broken, "an earlier line is lost");
  if (!shared->ok) add(got.sees, "false, `errno` " + errorText(injected, shared->error));
  std::string const result = shared->ok ? "true, but " : "";
  if (!isWhole)
    add(got.sees, result + (log == "first\n" ? "the line is lost" : "the line is torn"));
  if (shared->ok && !isWhole && injected.number != SYS_write && injected.number != SYS_close)
    add(got.broken, "true, but the line is lost");
}

file_scene const kFileScenes[] = {
    {"lock", [] {}, lockAndUnlock, judgeLock},
    {"held lock", [] { writeFile(at(kLock), "held"); }, lockAndUnlock, judgeHeldLock},
    {"stale lock", makeStaleLock, lockAndUnlock, judgeLock},
    {"copy", prepareCopy, copy, judgeCopy},
    {"copy over", prepareCopyOver, copy, judgeCopy},
    {"log line", [] { writeFile(at("log"), "first\n"); }, logLine, judgeLog},
};

outcome runFiles(file_scene const& scene, fault const& injected) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  scene.prepare();
  *shared = {};
  outcome got;
  got.run = trace(
      [&] {
        shared->openBefore = countOpenFiles();
        scene.body();
        shared->openAfter = countOpenFiles();
      },
      injected, {[](int) { return "a process"; }, [](long) {}});
  if (!got.run.isEndless && got.run.status != 0) add(got.broken, "ended by a signal");
  if (shared->openAfter > shared->openBefore && injected.number != SYS_close)
    add(got.broken, "a descriptor is left open");
  scene.judge(injected, got);
  return got;
}

}  // namespace

std::vector<scene> fileScenes(std::string const& ownFolder) {
  folder = ownFolder;
  void* const memory =
      mmap(nullptr, sizeof(file_facts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  shared = static_cast<file_facts*>(memory);
  std::vector<scene> all;
  for (file_scene const& one : kFileScenes)
    all.push_back({one.name, [=](fault const& injected) { return runFiles(one, injected); }});
  return all;
}

}  // namespace faults
