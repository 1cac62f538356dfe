// Real processes for the tests of the process lists.
#ifndef QZ_TESTS_PROCESS_TEST_PROCESSES_H_
#define QZ_TESTS_PROCESS_TEST_PROCESSES_H_

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <new>

#include "process/process_list.h"

// A child that runs `body` and then idles until the object goes. The constructor returns when the
// body is through.
struct idle_child {
  pid_t pid;

  template <class Body>
  explicit idle_child(Body body) {
    int ready[2];
    (void)!pipe(ready);
    pid = fork();
    if (pid == 0) {
      body();
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      (void)!write(ready[1], "", 1);
      for (;;) pause();
    }
    close(ready[1]);
    char ignored;
    (void)!read(ready[0], &ignored, 1);
    close(ready[0]);
  }
  ~idle_child() { end(); }
  idle_child(idle_child const&) = delete;
  idle_child& operator=(idle_child const&) = delete;

  void end() {
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    pid = -1;
  }
};

// Runs `body` in a child and waits for its end. Returns true if it came through without a failure
// of its own, which it reports by giving false.
template <class Body>
bool inChild(Body body) {
  pid_t const child = fork();
  if (child == 0) _exit(body() ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  return status == 0;
}

// A list in memory that children share, so that one can collect and the test look at the result.
struct shared_list {
  _qzProcessList* list;

  shared_list()
      : list(new (mmap(nullptr, sizeof(_qzProcessList), PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_ANONYMOUS, -1, 0)) _qzProcessList) {}
  ~shared_list() { munmap(list, sizeof *list); }
  shared_list(shared_list const&) = delete;
  shared_list& operator=(shared_list const&) = delete;
  _qzProcessList* operator->() const { return list; }
};

// The slot of a process id, or -1.
inline int slotOf(_qzProcessList const& list, pid_t pid) {
  for (int i = 0; i < list.count; ++i)
    if (list.records[i].pid == static_cast<unsigned>(pid)) return i;
  return -1;
}

#endif  // QZ_TESTS_PROCESS_TEST_PROCESSES_H_
