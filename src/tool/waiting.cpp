#include "tool/waiting.h"

#include <unistd.h>

#include <cstdio>
#include <memory>

#include "tool/output.h"
#include "tool/system_services.h"

namespace qz::detail {
namespace {

constexpr int kNobody = -1;
constexpr int kPollMilliseconds = 5000;
constexpr int kSettleMilliseconds = 3000;  // for the files that the process has just let go

int pidOf(_qzProcessList::_prcInfo const& record) { return static_cast<int>(record.pid); }
int parentOf(_qzProcessList::_prcInfo const& record) { return static_cast<int>(record.parentPid); }

// The slot of the process, or -1.
int slotOf(_qzProcessList const& list, int pid) {
  for (int i = 0; i < list.count; ++i)
    if (pidOf(list.records[i]) == pid) return i;
  return -1;
}

// No process is the child of kNobody.
int findChild(_qzProcessList const& list, int parentPid, _qzString8_allSize<25> const& name) {
  for (int i = 0; i < list.count; ++i) {
    auto const& record = list.records[i];
    if (parentOf(record) == parentPid && record.name == name) return pidOf(record);
  }
  return kNobody;
}

bool isOrphan(_qzProcessList const& list, int slot) {
  for (int i = 0; i < list.count; ++i)
    if (i != slot && list.records[i].pid == list.records[slot].parentPid) return false;
  return true;
}

// With more than one of them nobody can tell which is meant.
int findOnlyOrphan(_qzProcessList const& list, _qzString8_allSize<25> const& name) {
  int found = kNobody;
  for (int i = list.count - 1; i >= 0; --i) {
    if (list.records[i].name != name || !isOrphan(list, i)) continue;
    if (found != kNobody) return kNobody;
    found = pidOf(list.records[i]);
  }
  return found;
}

}  // namespace

render_search findRenderProcess(_qzProcessList const& list, int ownPid,
                                _qzString8_allSize<25> const& name) {
  int const own = slotOf(list, ownPid);
  int const cmdPid = own < 0 ? kNobody : parentOf(list.records[own]);
  int const sibling = findChild(list, cmdPid, name);
  return {cmdPid, sibling != kNobody ? sibling : findOnlyOrphan(list, name)};
}

void waitForRenderProcess(_qzString8_allSize<25> const& name) {
  auto const list = std::make_unique<_qzProcessList2>(false);
  list->collectAllProcesses2();
  if (list->count <= 0) return;

  auto const [cmdPid, renderPid] = findRenderProcess(*list, getpid(), name);
  if (renderPid <= 0) return;

  std::printf("||CheckExitcode|| waiting for executable to close... (cmd pID %d render pID %d)\n",
              cmdPid, renderPid);
  flushOutput();
  do {
    qzSleep(kPollMilliseconds);
    list->collectAllProcesses2();
  } while (slotOf(*list, renderPid) >= 0);
  flushOutput();
  qzSleep(kSettleMilliseconds);
}

}  // namespace qz::detail
