#include "files/file_operations.h"

#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <cstdio>

#include "files/paths.h"
#include "tool/application.h"

namespace {

// The one test behind all overloads.
bool fileExists(char const* name, _qzTime* modified, long long* bytes) {
  struct stat status;
  bool const exists = stat(name, &status) == 0 && (status.st_mode & S_IFDIR) == 0;
  if (modified != nullptr)
    modified->value = exists ? _qzTime::convertStatFileTime(status.st_mtime) : 0;
  if (bytes != nullptr) *bytes = exists ? status.st_size : 0;
  return exists;
}

}  // namespace

bool qzFileExists(_qzString8_allSize<500> const& name, _qzTime* modified, long long* bytes) {
  return fileExists(name.asChar(), modified, bytes);
}

bool qzFileExists(_qzString8_allSize<250> const& name, _qzTime* modified, long long* bytes) {
  return fileExists(name.asChar(), modified, bytes);
}

bool qzFileExists(_qzString<500> const& name, _qzTime* modified, long long* bytes) {
  return fileExists(name.to_qzString8_500().asChar(), modified, bytes);
}

bool qzFileExists(_qzString<500> const& name) { return qzFileExists(name, nullptr, nullptr); }

bool qzDeleteFile(_qzString8_allSize<500> const& name) {
  struct stat status;
  return stat(name.asChar(), &status) != 0 || unlink(name.asChar()) == 0;
}

_qzString<500> qzDeleteFile(_qzString<500> const& name) {
  if (!qzFileExists(name) || unlink(name.to_qzString8_500().asChar()) == 0) return {};
  _qzString<500> failure("Unable to delete file, ");
  failure.add(qzLastOSError(-1));
  return failure;
}

bool qzRenameFile(_qzString8_allSize<500> const& from, _qzString8_allSize<500> const& to,
                  bool overwrite) {
  if (qzFileExists(to, nullptr, nullptr)) {
    if (!overwrite) return true;
    if (!qzDeleteFile(to)) return false;
  }
  return qzFileExists(from, nullptr, nullptr) && std::rename(from.asChar(), to.asChar()) == 0;
}

bool qzSetFileTime(_qzString8_allSize<500> const& name, _qzTime* time) {
  auto const seconds = time != nullptr ? time->value : _qzTime::currentTime();
  utimbuf const times = {seconds, seconds};
  return utime(name.asChar(), &times) == 0;
}

bool qzCreateFolder(_qzString8_allSize<500> const& path, bool recursive) {
  if (path.length < 2) return true;
  if (path.length > 2 && qzDirectoryExists(path)) return true;
  if (recursive) {
    auto const above = qzGetDirName(path);
    if (above == path || !qzCreateFolder(above, true)) return false;
  }
  // Required: mkdir(2) leaves EEXIST in errno and never returns it, so a folder that another
  // process has just made gives false.
  int const result = mkdir(path.asChar(), 0777);
  return result == 0 || result == EEXIST;
}
