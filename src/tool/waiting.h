// The wait until the render process has really gone, so that the client never hears of a finished
// frame while the application still holds its files.
#ifndef QZ_TOOL_WAITING_H_
#define QZ_TOOL_WAITING_H_

#include "process/process_list.h"
#include "strings/string8.h"

namespace qz::detail {

struct render_search {
  int cmdPid;     // parent of the tool, the script that started it; -1 if the tool isn't listed
  int renderPid;  // the process to wait for; -1 if there is none, or more than one orphan
};

// Looks in a snapshot for the process `name` (upper case): first among the children of the process
// that started `ownPid`, then among the orphans of that name, whose parents are not in the list.
render_search findRenderProcess(_qzProcessList const& list, int ownPid,
                                _qzString8_allSize<25> const& name);

// Waits without limit until the render process has gone, polling every 5 seconds, and 3 seconds
// more. Returns at once if no such process is found, if several orphans bear the name, or if the
// system's processes can't be listed. Says in one line on standard output that it waits.
void waitForRenderProcess(_qzString8_allSize<25> const& name);

}  // namespace qz::detail

#endif  // QZ_TOOL_WAITING_H_
