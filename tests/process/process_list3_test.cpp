// The full list against the real system, on a machine of its own: a PID namespace.
#include "process/process_list3.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "tool/tool_driver.h"

namespace {

// A child that does `work` and then stands still; ends with its creator.
pid_t stillChild(char const* name, std::function<void()> const& work = {}) {
  pid_t const pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, name);
    if (work) work();
    for (;;) raise(SIGSTOP);
  }
  waitpid(pid, nullptr, WUNTRACED);
  return pid;
}

// Uses up half a second of processor time.
void burn() {
  timespec used{};
  while (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used) == 0 && used.tv_nsec < 500'000'000)
    continue;
}

int slotOf(_qzProcessList3 const& list, pid_t pid) {
  int const slot = list.getListIdxByPID(static_cast<unsigned>(pid));
  EXPECT_GE(slot, 0) << "no " << pid;
  return slot < 0 ? 0 : slot;
}

TEST(ProcessList3, AFullRunTellsFiguresAndImportantOwners) {
  driver::inOwnPidNamespace([] {
    pid_t const finder = stillChild("Finder"), burner = stillChild("burner", burn);
    auto const list = std::make_unique<_qzProcessList3>(true);
    ASSERT_TRUE(list->collectAllProcesses_allInfo());
    EXPECT_TRUE(list->error.isEmpty()) << list->error.asChar();
    EXPECT_EQ(int{list->count}, 3);
    EXPECT_STREQ(list->records[slotOf(*list, finder)].ownerText.asChar(),
                 _qzProcessList3::getProcessOwner(static_cast<int>(getuid())).asChar());
    auto const& burnt = list->records[slotOf(*list, burner)];
    EXPECT_TRUE(burnt.ownerText.isEmpty());
    EXPECT_STREQ(burnt.name.asChar(), "BURNER");
    EXPECT_NEAR(double{burnt.cpuSeconds}, 0.5, 0.06);
    EXPECT_GE(list->records[2].memoryMB + 0, 1);

    // A process that vanishes after the snapshot stops nothing.
    list->collectAllProcesses2();
    kill(burner, SIGKILL);
    waitpid(burner, nullptr, 0);
    EXPECT_TRUE(list->getProcessInfo(slotOf(*list, burner)));
    EXPECT_EQ(list->records[slotOf(*list, burner)].cpuSeconds + 0, -5.0);
    EXPECT_TRUE(list->error.isEmpty());
    EXPECT_GT(list->cpuDelta(), 0);
  });
}

TEST(ProcessList3, TheBlockIsCopiedWholeBetweenProcesses) {
  driver::inOwnPidNamespace([] {
    void* const memory = mmap(nullptr, sizeof(_qzProcessList3), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_EQ(_qzProcessList3::classMemDataSize(), 321104);
    pid_t const collector = stillChild("collector", [memory] {
      auto* const shared = new (memory) _qzProcessList3(true);
      shared->creator_sharedOS();
      shared->collectAllProcesses_allInfo();
      shared->set_getCpuMem_keepMemory(true);
    });
    auto const* const shared = static_cast<_qzProcessList3 const*>(memory);
    auto const list = std::make_unique<_qzProcessList3>(false);
    list->cpuInfoReady = false;
    std::memset(list->reservedBytes, 7, sizeof list->reservedBytes);
    list->copyFromExternal(shared);
    EXPECT_EQ(std::memcmp(list.get(), memory, 321052), 0);
    EXPECT_TRUE(list->cpuInfoReady && list->getCpuMem && list->getCpuMem_keepMemory);
    EXPECT_FALSE(list->collected);  // what lies behind the block stays
    EXPECT_EQ(list->reservedBytes[39], 7);
    EXPECT_STREQ(list->records[slotOf(*list, collector)].name.asChar(), "COLLECTOR");
    munmap(memory, sizeof(_qzProcessList3));
  });
}

// One descriptor less than collecting needs, then none at all for the queries.
TEST(ProcessList3, NoDescriptorsLeftIsAFaultWithItsNumber) {
  auto const list = std::make_unique<_qzProcessList3>(true);
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  list->collectAllProcesses2();
  rlimit const none = {0, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  bool const result = list->getProcessInfo(1);
  std::string const ofQuery = list->error.asChar();
  list->collectAllProcesses_allInfo();
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_FALSE(result);
  EXPECT_EQ(ofQuery, " task_for_pid failed. kr:24. Too many open files");
  EXPECT_EQ(list->records[1].cpuSeconds + 0, -24.0);
  EXPECT_STREQ(list->error.asChar(), " sysctl:Too many open files");
  EXPECT_EQ(int{list->count}, 0);
}

TEST(ProcessList3, WhatProcHidesIsRefusedWithoutAnError) {
  driver::inOwnPidNamespace([] {
    pid_t const hermit = stillChild("hermit");
    ASSERT_EQ(mount("proc", "/proc", "proc", MS_REMOUNT, "hidepid=1"), 0);
    ASSERT_TRUE(setgid(65534) == 0 && setuid(65534) == 0);
    auto const list = std::make_unique<_qzProcessList3>(true);
    EXPECT_TRUE(list->collectAllProcesses_allInfo());
    EXPECT_TRUE(list->error.isEmpty()) << list->error.asChar();
    EXPECT_EQ(list->records[slotOf(*list, hermit)].cpuSeconds + 0, -5.0);
    EXPECT_GE(list->records[slotOf(*list, getpid())].cpuSeconds + 0, 0.0);
  });
}

}  // namespace
