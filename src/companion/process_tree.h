// The descendants of this process, by the snapshot of all processes. Complete as long as this
// process is the reaper of its descendants: none can slip away to process 1.
#ifndef QZ_COMPANION_PROCESS_TREE_H_
#define QZ_COMPANION_PROCESS_TREE_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace qz::companion {

struct descendant {
  pid_t pid;
  pid_t parentPid;
  std::string name;  // as in the snapshot: upper case
};

// All that live, parents in front of their children; without `leftOut` and what descends from it.
// Empty also if the processes can't be listed.
std::vector<descendant> descendants(pid_t leftOut);

// One line on what a process is doing: state, CPU time, memory, what it waits for in the kernel as
// far as this user may see it, and its command line.
std::string describeProcess(descendant const& one);

}  // namespace qz::companion

#endif  // QZ_COMPANION_PROCESS_TREE_H_
