// The simplest way to leave a line in a text file: open it, write the line, close it. No handle, no
// level, no limit on the file's size and no lock; lines of several writers meet in the file as far
// as the system's append keeps them apart. files/lock_file.h is there for file systems that do not.
#ifndef QZ_FILES_LOG_FILE_H_
#define QZ_FILES_LOG_FILE_H_

#include "strings/string8.h"

// Writes `text` and a line feed to the end of `fileName`, which is made if it does not exist; with
// `overwrite` in place of all that is in it. `withTime` puts local time in front,
// "11.16. 05:07.57: ". The line is cut at 5000 characters with all of that, the line feed first;
// and at its first zero byte, without a line feed.
// False only if the file cannot be opened; errno then says why. A failing write goes unseen.
bool writeToLogFile(_qzString8_allSize<250> const& fileName, _qzString8_allSize<5000> text,
                    bool overwrite, bool withTime);

// Returns "/tmp/", the folder for temporary files. No environment variable is asked.
_qzString8_allSize<250> qzGetTempDir();

#endif  // QZ_FILES_LOG_FILE_H_
