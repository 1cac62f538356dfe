#include "node/own_node.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace node {
namespace {

void writeFile(char const* path, std::string const& text) {
  int const file = open(path, O_WRONLY | O_CLOEXEC);
  if (file < 0) return;
  (void)!write(file, text.data(), text.size());  // a failure shows in what follows
  close(file);
}

}  // namespace

void enterNamespaces(int flags) {
  if (unshare(flags) == 0) return;
  uid_t const user = getuid();
  gid_t const group = getgid();
  if (unshare(flags | CLONE_NEWUSER) != 0) {
    std::perror("these tests need namespaces: run them as root or allow user namespaces; unshare");
    std::abort();
  }
  writeFile("/proc/self/setgroups", "deny");
  writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
  writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

pid_t startNode(std::function<int()> const& body) {
  enterNamespaces(CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWIPC);
  std::fflush(nullptr);
  pid_t const first = fork();
  if (first != 0) return first;
  // Process 1 would outlive a Ctrl-C, which the kernel keeps from it.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("proc", "/proc", "proc", 0, nullptr) != 0) {
    std::perror("mount /proc");
    _exit(1);
  }
  int const status = body();
  std::fflush(nullptr);
  _exit(status);
}

std::string makeScratchFolder() {
  char const* const base = std::getenv("TMPDIR");
  std::string name = std::string(base != nullptr ? base : "/tmp") + "/quazen_XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    std::perror(name.c_str());
    std::exit(1);
  }
  return name;
}

int awaitNode(pid_t first) {
  // Process 1 ends only after all others have been reaped, so any of them may come first.
  int status = 1;
  int ended = 0;
  for (pid_t pid; (pid = wait(&ended)) > 0;)
    if (pid == first) status = ended;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace node
