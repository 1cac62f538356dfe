#include "files/lock_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "files/file_operations.h"
#include "strings/string8.h"
#include "time/time_value.h"
#include "tool/application.h"
#include "tool/system_services.h"

// The protocol, once for both classes. `lastError` is null for the class that has none.
namespace {

constexpr int kPollMs = 250;
constexpr long long kStaleSeconds = 10800;

using lock_text = _qzString8_allSize<500>;

bool isThere(char const* name) {
  struct stat status;
  return stat(name, &status) == 0;
}

void note(std::int32_t* lastError, int value) {
  if (lastError != nullptr) *lastError = value;
}

_qzString<250> nameOfLock(_qzString<250> const& target) {
  _qzString<250> name = target;
  name.add("_lock.txt");
  return name;
}

void addLine(lock_text& text, char const* what, char const* value) {
  text.add(what);
  text.add(value);
  text += '\n';
}

// What people read in the lock file.
lock_text contentsFor(_qzString<250> const& lockedBy) {
  lock_text text;
  addLine(text, "", "");
  addLine(text, " File locked by: ", lockedBy.to_qzString8_250().asChar());
  addLine(text, " Time locked: ", _qzTime(true).asQZ8StringMt().asChar());
  addLine(text, "Info: This lock file should only exist a few seconds.", "");
  addLine(text, "", "");
  return text;
}

// Removes a stale lock file and returns whether the name is free.
bool clearStale(_qzString<250> const& lockFileName) {
  auto const name = lockFileName.to_qzString8_500();  // all of it, unlike everywhere else
  _qzTime modified(false);
  qzFileExists(name, &modified, nullptr);
  // What is no file, or has just gone, is of time 0 and so as stale as can be.
  if (modified.waitTimeIsOver(kStaleSeconds, nullptr) && isThere(name.asChar()))
    (void)unlink(name.asChar());  // the next look tells
  return !qzFileExists(name, nullptr, nullptr);
}

bool takeLock(_qzString<250> const& lockFileName, std::FILE*& lockFile, std::int32_t* lastError,
              int const& timeoutMs, _qzString<250> const& lockedBy, int* waitedMs, bool testOnly) {
  // Required: before the timeout is read. A caller who gives one variable for both gets one look.
  if (waitedMs != nullptr) *waitedMs = 1;
  auto const name = lockFileName.to_qzString8_250();
  int const tries = std::max(timeoutMs / kPollMs, 1);
  int looks = 0;
  // Required: a create that finds the name taken starts over without a sleep. With a directory in
  // the lock file's place, which the looks above it take for free, that goes on without end.
  for (;;) {
    for (; looks < tries && isThere(name.asChar()); ++looks) qzSleep(kPollMs);
    if (waitedMs != nullptr) *waitedMs = looks * kPollMs;
    if (looks == tries && !clearStale(lockFileName)) return false;
    if (testOnly) return true;

    lockFile = std::fopen(name.asChar(), "wx");
    note(lastError, 0);
    if (lockFile != nullptr) break;
    note(lastError, errno);
    if (errno == EEXIST) continue;
    if (waitedMs != nullptr) *waitedMs = -*waitedMs;
    return false;
  }

  // Nothing is buffered: a buffer would cost a block of memory and, to find its size, a look at the
  // file.
  (void)std::setvbuf(lockFile, nullptr, _IONBF, 0);
  auto const text = contentsFor(lockedBy);
  // The file's existence is the lock; whether anybody can read in it is not looked at.
  (void)std::fwrite(text.asChar(), 1, text.length, lockFile);
  (void)std::fflush(lockFile);
  return true;
}

void giveBack(_qzString<250> const& lockFileName, std::FILE*& lockFile) {
  if (lockFile == nullptr) return;
  (void)std::fclose(lockFile);
  lockFile = nullptr;

  auto const name = lockFileName.to_qzString8_250();
  if (unlink(name.asChar()) == 0) return;
  auto aside = name;
  aside.add(".none");
  (void)qzRenameFile(name.asUni(), aside.asUni(), true);  // nothing is left to be tried
}

}  // namespace

_qzFileLocker::_qzFileLocker(_qzString<250> const& fileName)
    : lockFileName(nameOfLock(fileName)), lockFile(nullptr) {}

_qzFileLocker::~_qzFileLocker() { unlock(); }

bool _qzFileLocker::lock(int const& timeoutMs, _qzString<250> const& lockedBy, int* waitedMs,
                         bool testOnly) {
  return takeLock(lockFileName, lockFile, nullptr, timeoutMs, lockedBy, waitedMs, testOnly);
}

bool _qzFileLocker::isFree(int const& timeoutMs, int* waitedMs) {
  return lock(timeoutMs, {}, waitedMs, true);
}

void _qzFileLocker::unlock() { giveBack(lockFileName, lockFile); }

_qzFileLocker2::_qzFileLocker2(_qzString<250> const& fileName)
    : lockFileName(nameOfLock(fileName)), lockFile(nullptr), lastError(0), timedOut(false) {}

_qzFileLocker2::~_qzFileLocker2() { unlock(); }

bool _qzFileLocker2::lock(int const& timeoutMs, _qzString<250> const& lockedBy, int* waitedMs,
                          bool testOnly) {
  lastError = 0;
  timedOut = false;
  return takeLock(lockFileName, lockFile, &lastError, timeoutMs, lockedBy, waitedMs, testOnly);
}

bool _qzFileLocker2::isFree(int const& timeoutMs, int* waitedMs) {
  return lock(timeoutMs, {}, waitedMs, true);
}

void _qzFileLocker2::unlock() {
  lastError = 0;
  giveBack(lockFileName, lockFile);
}

_qzString<250> _qzFileLocker2::errorString() {
  // Required: nothing sets timedOut, so this text is never seen.
  if (timedOut) return "File still locked, timeout reached.";
  return qzLastOSError(lastError).asUni();
}
