// Runs a piece of a test where no other process has System V segments, so that tests of the block's
// real name neither meet each other nor a client that works on this machine.
#ifndef QZ_TESTS_SHAREDMEM_OWN_IPC_NAMESPACE_H_
#define QZ_TESTS_SHAREDMEM_OWN_IPC_NAMESPACE_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

// Only for a process that the test forked: the namespaces stay changed. A container may forbid this
// but is an IPC namespace of its own; there the tests take turns.
inline bool enterOwnIpcNamespace() {
  if (unshare(CLONE_NEWIPC) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0) return true;
  int const turn = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
  return turn >= 0 && flock(turn, LOCK_EX) == 0;  // held until the process ends
}

// Runs `body`, with its expectations, in a child with a namespace of its own.
template <class Body>
void inOwnIpcNamespace(Body body) {
  std::fflush(nullptr);
  pid_t const child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    if (enterOwnIpcNamespace())
      body();
    else
      ADD_FAILURE() << "no IPC namespace";
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << "what failed stands above";
}

#endif  // QZ_TESTS_SHAREDMEM_OWN_IPC_NAMESPACE_H_
