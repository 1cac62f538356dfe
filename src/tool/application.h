// What a program of the farm asks about itself and its surroundings: where its executable lies, the
// environment, an OS error in wide text; and two small tables, the kinds of application and how
// much room compression needs.
//
// Free functions without state, safe on any thread as long as nobody changes the environment.
// Nothing fails loudly: what can't be told is empty or false.
#ifndef QZ_TOOL_APPLICATION_H_
#define QZ_TOOL_APPLICATION_H_

#include <cstdint>

#include "strings/string16.h"
#include "strings/string8.h"

// The kinds of application. The numbers are exchanged; 14 to 16 are not given to any.
enum class qz_AppType : int {
  None = 0,
  Server = 1,
  Client = 2,
  Submitter = 3,
  Control = 4,
  PostScript = 5,
  Test = 6,
  LogFile = 7,
  ClientWatch = 8,
  Config = 9,
  Viewer = 10,
  Installer = 11,
  HistoryDB = 12,
  PythonModule = 13,
  NodeJS = 17,
};

// Returns the name as the enumerator spells it; "unknown" for any other number.
_qzString<25> qz_AppType_asString(qz_AppType const& type);

// Returns how many bytes to reserve for the compressed form of `sourceLen` bytes: a little more
// than the input below 50 MiB, from there two thirds of it, from 100 MiB on half of it. So large
// data that does not compress does not fit.
std::uint64_t z_compressBound_copy(std::uint64_t sourceLen);

// As qzLastOSError8, which must run before anything else changes errno if `code` is -1. A byte
// becomes a unit, with its sign.
_qzString<500> qzLastOSError(int code);

// Returns the variable's value, its length cut at the capacity; empty if it is not set, so that an
// empty variable and a missing one can't be told apart. The length is reduced to 16 bits first: of
// 65,540 characters 4 are left.
_qzString8_allSize<250> qzGetEnvironmentVariable8(_qzString8_allSize<250> const& name);
_qzString8_allSize<5000> qzGetEnvironmentVariable8_long(_qzString8_allSize<250> const& name);

// Sets `path` to the folder of the running executable with a closing slash. The system is asked
// first; only where it can't tell, `argv0` counts, which may be null. Returns false with an empty
// `path` if neither helps.
//
// Two limits: a folder directly under the root is not cut off, so of "/tool" and "/usr/tool" come
// "/tool/" and "/usr/"; and a path of more than 250 characters is cut before its folder is taken,
// which then may be one further up.
bool qzApplicationPath(_qzString8_allSize<250>& path, char const* argv0);
// The same with the folder as the result, empty for false.
_qzString8_allSize<250> qzApplicationPath(char const* argv0);

namespace qz::detail {

// Returns the path of the running executable as the system knows it, cut at 250 characters, also
// after the file was renamed or deleted; empty where the system can't tell.
_qzString8_allSize<250> runningExecutable();

// Returns the path that `argv0` names, cut at 250: an absolute one and a bare name as they are, a
// relative one put behind the working folder, which goes up once for each "../" wherever it stands.
// What stands before the last "../" is dropped. Null and fewer than 4 characters give an empty
// result.
_qzString8_allSize<250> resolveArgv0(char const* argv0);

// Turns the path of an executable into its folder and drops one "./" at the end of it.
void toFolder(_qzString8_allSize<250>& path);

// Returns the folder that `path` lies in, with a closing slash unless there is no room for it: one
// folder up, but never above a folder under the root or the share of a network path. Fewer than 3
// characters come back as they are. Forward slashes only.
_qzString8_allSize<250> qzGetDirName_local(_qzString8_allSize<250> path);

}  // namespace qz::detail

#endif  // QZ_TOOL_APPLICATION_H_
