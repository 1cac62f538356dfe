// A cooperative lock between processes, also on different machines, that needs nothing but a shared
// file system. Whoever creates the file <target>_lock.txt, by an exclusive create, holds the lock
// on the target; whoever finds that file looks again every 250 ms until it has gone. The target
// itself is never opened.
//
// The lock file, at most 500 bytes, tells people who look into the share who holds it; no code
// reads it. The protocol rests on its existence and its time of modification alone:
//
//   (empty line)
//    File locked by: <lockedBy>
//    Time locked: Nov 16. 05:07.57
//   Info: This lock file should only exist a few seconds.
//   (empty line)
//
// A crash leaves the lock file behind. It is stale once it is older than 10,800 seconds by the
// clock of the looker, and a party that has waited out its whole timeout then removes it; isFree is
// such a party too. A party whose timeout has run out can also remove a lock file made in the very
// moment of its look. docs/files.md draws the protocol and tells its gaps.
//
// Long names. The lock file's name holds 250 characters, so that of a target of 242 and more the
// suffix is cut, and of 250 none is left. The system is asked for the first 249 of them, which for
// a target of 249 is the target itself; only the look for a stale lock uses all 250. So from 241
// characters of target on a lock is never found stale, isFree returns true after its wait although
// the lock is held, and lock, once its timeout has run out, tries to create the file without a
// pause until the holder gives way. For a target of 250 that look finds the target, and deletes it
// if it is older than three hours. Keep targets to 240 characters.
//
// A directory in the lock file's place counts as a lock during the wait and as free after it:
// isFree returns true, and lock does not return as long as the directory is there.
//
// A handled signal cuts short the pause that it meets, so the wait may take less time than it
// tells. One object belongs to one thread. Nothing here throws, prints or uses the heap, but for
// the stream of the C library. Copying an object would give the lock back twice, so it cannot be
// copied.
#ifndef QZ_FILES_LOCK_FILE_H_
#define QZ_FILES_LOCK_FILE_H_

#include <cstdint>
#include <cstdio>

#include "strings/string16.h"

struct _qzFileLocker {
  _qzString<250> lockFileName;  // full name, set once
  std::FILE* lockFile;          // open while this object holds the lock, else null

  // Forms the name of the lock file. Touches no file.
  _qzFileLocker(_qzString<250> const& fileName);
  _qzFileLocker(_qzFileLocker const&) = delete;
  _qzFileLocker& operator=(_qzFileLocker const&) = delete;
  // Gives the lock back.
  ~_qzFileLocker();

  // Takes the lock and returns whether this object holds it now; waits `timeoutMs` milliseconds for
  // it, in steps of 250 and at least one. With `testOnly` true tells whether the lock was free, and
  // no file is created. `lockedBy` goes into the lock file, by the low bytes.
  //
  // `*waitedMs`, which may be null, becomes the time waited. After a false result it tells why:
  // positive, the lock was held all the time; zero or negative, the lock file could not be created
  // (no folder, no right), and errno says why.
  //
  // An object that holds the lock waits for itself, and fails; a create that fails for another
  // reason than existence then loses its stream, and unlock does nothing any more.
  bool lock(int const& timeoutMs, _qzString<250> const& lockedBy, int* waitedMs, bool testOnly);

  // True if the lock is free or was freed within `timeoutMs`. Creates no file. True at once as well
  // for a folder that does not exist.
  bool isFree(int const& timeoutMs, int* waitedMs);

  // Deletes the lock file. If that fails it is renamed to <lock file>.none, over an earlier one.
  // Does nothing for an object that does not hold the lock.
  void unlock();
};

// The same lock, and what the last create failed with.
struct _qzFileLocker2 {
  _qzString<250> lockFileName;  // full name, set once
  std::FILE* lockFile;          // open while this object holds the lock, else null
  std::int32_t lastError;       // errno after the latest failed create, 0 for none
  bool timedOut;                // selects a text of errorString; nothing sets it

  _qzFileLocker2(_qzString<250> const& fileName);
  _qzFileLocker2(_qzFileLocker2 const&) = delete;
  _qzFileLocker2& operator=(_qzFileLocker2 const&) = delete;
  ~_qzFileLocker2();

  // As above. lastError is that of a create that failed for good; EEXIST if one lost a race and the
  // lock was held from then on.
  bool lock(int const& timeoutMs, _qzString<250> const& lockedBy, int* waitedMs, bool testOnly);
  bool isFree(int const& timeoutMs, int* waitedMs);
  void unlock();

  // The system's text for lastError, "No Error." for 0. A timeout is not told here: lock returns
  // false with a positive time waited.
  _qzString<250> errorString();
};

#endif  // QZ_FILES_LOCK_FILE_H_
