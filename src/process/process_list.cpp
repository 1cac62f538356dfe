#include "process/process_list.h"

#include <cstddef>
#include <memory>
#include <new>

#include "process/platform.h"
#include "tool/system_services.h"

using qz::detail::cpu_time;
using qz::detail::enumeration;
using qz::detail::process_entry;
using qz::detail::query_answer;

namespace {

using record = _qzProcessList::_prcInfo;
static_assert(offsetof(record, owner) == 28 && offsetof(record, pid) == 56 &&
              offsetof(record, parentPid) == 60 && offsetof(record, memoryMB) == 64 &&
              offsetof(record, cpuSeconds) == 72 && offsetof(record, uid) == 80 &&
              sizeof(record) == 88);

double secondsOf(cpu_time const& time) {
  return static_cast<double>(time.seconds) + static_cast<double>(time.microseconds) * 1e-6;
}

std::int32_t roundedMB(unsigned long long bytes) {
  unsigned long long const kilobytes = (bytes + 512) >> 10;
  return static_cast<std::int32_t>((kilobytes + 512) >> 10);
}

}  // namespace

_qzProcessList::_qzProcessList() : collected(false) {}

bool _qzProcessList::collectAllProcesses2() {
  error.clear();
  collected = true;
  count = 0;

  std::unique_ptr<process_entry[]> entries;
  int delivered = 0;
  enumeration answer;
  do {
    entries.reset();
    answer = qz::detail::enumerateProcesses(nullptr, delivered);
    if (answer != enumeration::complete) break;
    entries.reset(new (std::nothrow) process_entry[static_cast<std::size_t>(delivered)]);
    if (entries == nullptr) {
      answer = enumeration::failed;
      break;
    }
    answer = qz::detail::enumerateProcesses(entries.get(), delivered);
  } while (answer == enumeration::grew);

  if (answer != enumeration::complete) {
    error += " sysctl:";
    error += qzLastOSError8(-1).asChar();
    return true;
  }
  for (; count < delivered && count < kMostRecords; ++count) {
    process_entry const& entry = entries[static_cast<std::size_t>(count)];
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

  // Required: of the ended threads the system time alone; their user time is left out.
  record.cpuSeconds = secondsOf(figures.endedSystem);
  record.memoryMB = roundedMB(figures.residentBytes);
  // Required: it is the list's last record that shows 1 for less than half a MiB, whichever record
  // is asked for.
  if (figures.residentBytes != 0 && count > 0 && records[count - 1].memoryMB == 0)
    records[count - 1].memoryMB = 1;
  for (auto const& thread : figures.threads) {
    if (thread.idle) continue;
    record.cpuSeconds += secondsOf(thread.user);
    record.cpuSeconds += secondsOf(thread.system);
  }
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
