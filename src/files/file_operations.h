// The file calls of POSIX behind one thin, uniform layer: does a file exist, copy it at a pace,
// delete it, rename it, set its time, make a folder; and the statistics of a series of copies.
//
// A file here is a name for which stat(2) succeeds and the bit S_IFDIR (0x4000) of the mode is not
// set. It is that one bit and not the whole type field, so a socket and a block device, whose types
// contain it, count as no file. Symbolic links are followed.
//
// Asking for what is so already is success: an existing target without `overwrite` is left alone,
// what is not there counts as deleted. Nothing throws or prints. After a false result errno tells
// the cause, unless what was asked of was no file; look before the next call.
//
// Nothing is locked: between a test and the act that follows another process can step in.
// files/lock_file.h is there for that.
#ifndef QZ_FILES_FILE_OPERATIONS_H_
#define QZ_FILES_FILE_OPERATIONS_H_

#include <cstdint>

#include "strings/string16.h"
#include "strings/string8.h"
#include "time/time_value.h"

// True if `name` is a file. Then `*modified` becomes its time of modification and `*bytes` its
// size; otherwise both become 0. Either may be null. Of a 16-bit name 499 characters count, by
// their low bytes.
bool qzFileExists(_qzString8_allSize<500> const& name, _qzTime* modified, long long* bytes);
bool qzFileExists(_qzString8_allSize<250> const& name, _qzTime* modified, long long* bytes);
bool qzFileExists(_qzString<500> const& name, _qzTime* modified, long long* bytes);
bool qzFileExists(_qzString<500> const& name);

// Copies the bytes, the permissions and the times (in whole seconds) of `from` through one buffer
// of at most 512 KiB, and returns whether all of it succeeded. An existing file `to` is deleted
// first with `overwrite`, whatever comes of the copy, and without it the result is true and nothing
// happens. The mode of the copy is that of the source and 0664, less the umask. A partly written
// target stays behind; a write that a full disk cut short leaves errno as the look for `to` did.
// `to` must not name the same file as `from`: with `overwrite` that deletes it.
//
// After each full chunk the copy sleeps `sleepMs` milliseconds, if that is positive. It is read
// anew each time: another thread may change the pace of a copy that runs.
//
// `tailIsZero`, which may be null, tells of the last chunk whether some single bytes at its end are
// zero, a cheap sign of a block of zeros and no proof. Without a byte read it is not written.
//
// Set errno to 0 first if it may read EINTR, and let no signal be handled during a pause or a read
// from a pipe: an EINTR left in errno makes the copy write one chunk again and again, without end.
bool qzCopyFile(_qzString8_allSize<500> const& from, _qzString8_allSize<500> const& to,
                bool overwrite, int const& sleepMs, bool* tailIsZero);

// Unlinks `name`, whatever it is, and returns whether that succeeded; true as well for a name that
// stat(2) fails on. False for a folder, which stays.
bool qzDeleteFile(_qzString8_allSize<500> const& name);
// Returns an empty text on success, and also if `name` is no file: a folder stays, and is reported
// as done. On failure "Unable to delete file, " and the system's text.
_qzString<500> qzDeleteFile(_qzString<500> const& name);

// Renames the file `from`. An existing file `to` is deleted first with `overwrite`, and without it
// the result is true and nothing happens, `from` remains. False if `from` is no file; by then an
// existing `to` is gone. So is a file that both name.
bool qzRenameFile(_qzString8_allSize<500> const& from, _qzString8_allSize<500> const& to,
                  bool overwrite);

// Sets the times of access and modification to `*time`, or to the current time if that is null.
bool qzSetFileTime(_qzString8_allSize<500> const& name, _qzTime* time);

// Makes a folder with mode 0777, less the umask; with `recursive` those above it too. True for one
// that exists and for a path below 2 characters. False, although the folder is there, if another
// process makes it between the look and the call; and false with `recursive` for a path of 2
// characters, since nothing can be taken off it.
bool qzCreateFolder(_qzString8_allSize<500> const& path, bool recursive);

// The chunk, 1 MiB, for callers that pace a copy of their own and for statistics without one.
// qzCopyFile does not use it.
constexpr int copyFile_chunksize() { return 0x100000; }

// What a series of copies came to, and what their pauses cost. A new one is all zero; nothing
// clears it. The pauses are not measured but follow from bytes, chunk size and pause.
struct _copystats {
  std::int64_t totalBytes = 0;       // of all files added
  std::int16_t sleepPerChunkMs = 0;  // pause after a chunk; 0 means copied at full speed
  std::int32_t fileCount = 0;
  std::int64_t totalTimeMs = 0;  // of all files added
  std::uint16_t chunkCount = 0;  // pauses made; wraps at 65,536
  std::int32_t chunkSize = 0;    // bytes; below 1 it is repaired to 1 MiB where it is met

  // Adds a file; a negative argument makes the call do nothing. A file below a chunk adds no pause.
  void addFile(long long const& bytes, long long const& ms);
  // The same, and pause and chunk size become those given, for all files added so far as well. A
  // negative pause counts as 0, a chunk size below 1 as 1 MiB.
  void addFile(long long const& bytes, long long const& ms, short const& sleepMs,
               int const& chunkSizeBytes);

  // Share of the time not spent in pauses, in percent: 100 without a pause or a time, below 0 if
  // the pauses come to more than the time. Repairs chunkSize and a chunkCount of 0.
  float copySpeedpercentage();
  // MiB a second; 0 without a time.
  float copySpeedMiBs() const;

  // "2 files copied ( 3.00 MiB. 1.50s. 2.000 MiB/s. Copy speed setting: 90% )", with `aligned` in
  // columns. A time above a minute reads "2.05m.s", minutes and seconds. Repairs as
  // copySpeedpercentage does.
  _qzString8_allSize<500> asString() { return asString(false); }
  _qzString8_allSize<500> asString(bool const& aligned);
};

#endif  // QZ_FILES_FILE_OPERATIONS_H_
