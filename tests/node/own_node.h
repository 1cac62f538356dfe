// A farm node of the test's own: processes, System V segments and mounts that nobody else sees and
// that end with it, so that tests run side by side and beside a farm.
#ifndef QZ_TESTS_NODE_OWN_NODE_H_
#define QZ_TESTS_NODE_OWN_NODE_H_

#include <sys/types.h>

#include <functional>
#include <string>

namespace node {

// unshare(2). Root may make namespaces; anybody else takes a user namespace first and is root in
// there. Ends the program, with a word why, if neither is allowed.
void enterNamespaces(int flags);

// Moves the children that the caller makes from now on to a node of their own, and starts `body` as
// process 1 of it, with a /proc of its own. Process 1 ends with what `body` returns or with the
// caller, and all others with it. Further children are on the node too, but have no parent there.
pid_t startNode(std::function<int()> const& body);

// Waits for all children and returns the exit status of process 1, or 1 if a signal ended it.
int awaitNode(pid_t first);

// A new folder in that for temporary files. The caller removes it.
std::string makeScratchFolder();

}  // namespace node

#endif  // QZ_TESTS_NODE_OWN_NODE_H_
