#include "process/process_list.h"

#include <cstddef>

#include "process/platform_use.h"
#include "tool/system_services.h"

using qz::detail::process_entry;
using qz::detail::query_answer;

namespace {

using record = _qzProcessList::_prcInfo;
static_assert(offsetof(record, owner) == 28 && offsetof(record, pid) == 56 &&
              offsetof(record, parentPid) == 60 && offsetof(record, memoryMB) == 64 &&
              offsetof(record, cpuSeconds) == 72 && offsetof(record, uid) == 80 &&
              sizeof(record) == 88);

}  // namespace

_qzProcessList::_qzProcessList() : collected(false) {}

bool _qzProcessList::collectAllProcesses2() {
  error.clear();
  collected = true;
  count = 0;

  qz::detail::all_processes all;
  if (!enumerateAll(all)) {
    error += " sysctl:";
    error += qzLastOSError8(-1).asChar();
    return true;
  }
  for (; count < all.count && count < kMostRecords; ++count) {
    process_entry const& entry = all.entries[static_cast<std::size_t>(count)];
    _prcInfo& record = records[count];
    record.pid = entry.pid;
    record.parentPid = entry.parentPid;
    record.uid = entry.uid;
    record.name = entry.name;
    record.name.makeUpper();
    record.memoryMB = 0;
    record.cpuSeconds = 0;
    // Required: `owner` stays, and can name the owner of the process that was in this slot before.
  }
  return true;
}

void _qzProcessList::getProcessInfoMemCPUOnly(int idx) {
  _prcInfo& record = records[idx];
  record.memoryMB = 0;
  record.cpuSeconds = 0;

  qz::detail::process_figures figures;
  query_answer const answer = qz::detail::queryProcess(record.pid, figures);
  if (answer.outcome == query_answer::access_refused) record.cpuSeconds = -answer.code;
  if (answer.outcome != query_answer::answered) return;

  record.cpuSeconds = cpuSecondsOf(figures);
  record.memoryMB = memoryMBOf(figures);
  // Required: it is the list's last record that shows 1 for less than half a MiB, whichever record
  // is asked for.
  if (figures.residentBytes != 0 && count > 0 && records[count - 1].memoryMB == 0)
    records[count - 1].memoryMB = 1;
}

_qzProcessList2::_qzProcessList2(bool const& /*ignored*/) : infoRequested(false) {}

bool _qzProcessList2::collectAllProcesses2() {
  infoRequested = false;
  return _qzProcessList::collectAllProcesses2();
}

void _qzProcessList2::getProcessInfoMemCPUOnly(int idx) {
  infoRequested = true;
  _qzProcessList::getProcessInfoMemCPUOnly(idx);
}
