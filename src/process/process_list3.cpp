#include "process/process_list3.h"

#include <sys/time.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "process/platform_use.h"
#include "tool/system_services.h"

using qz::detail::process_entry;
using qz::detail::process_figures;
using qz::detail::query_answer;

// A flag behind the base class's last byte: the compilers say that this layout is their own choice,
// and this is the check that it is the one wanted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(_qzProcessList3, cpuInfoReady) == 321051 &&
              offsetof(_qzProcessList3, collected) == 321052 &&
              offsetof(_qzProcessList3, timer) == 321056 &&
              offsetof(_qzProcessList3, reservedBytes) == 321064 &&
              sizeof(_qzProcessList3) == 321104 && std::is_trivially_copyable_v<_qzProcessList3>);
#pragma GCC diagnostic pop

namespace {

// Owners of processes with more memory than this are important.
constexpr int kImportantMB = 2000;

void logStep(_qzProcessList3& list, char const* step) {
  list.collectLog += step;
  list.collectLog += list.timer.restartAndString8().asChar();
}

// `code` belongs to the current errno. Required: it is called task_for_pid whichever step failed.
void reportFault(_qzProcessList3& list, int code) {
  _qzString8_allSize<250> const cause = qzLastOSError8(-1);
  list.error += " task_for_pid failed. kr:";
  list.error.addNr(code);
  list.error += ". ";
  list.error += cause.asChar();
}

// What getProcessInfoMemCPUOnly promises; `figures` lends its memory.
bool fetchFigures(_qzProcessList3& list, int idx, process_figures& figures) {
  if (!list.cpuInfoReady) list.initGetCPUInfo();
  auto& record = list.records[idx];
  query_answer const answer = qz::detail::queryProcess(record.pid, figures);
  if (answer.outcome != query_answer::answered) {
    bool const isRefused = answer.code == qz::detail::kRefusedCode;
    if (!isRefused) reportFault(list, answer.code);
    record.cpuSeconds = answer.outcome == query_answer::access_refused ? -answer.code : 0;
    record.memoryMB = 0;
    return isRefused;
  }
  record.cpuSeconds = cpuSecondsOf(figures);
  record.memoryMB = memoryMBOf(figures);
  // Required: it is the list's last record that never shows 0 after this, whichever record is asked
  // for and however little memory it has.
  if (list.count > 0 && list.records[list.count - 1].memoryMB == 0)
    list.records[list.count - 1].memoryMB = 1;
  return true;
}

}  // namespace

_qzProcessList3::_qzProcessList3(bool const& fetchCpuMem)
    : _qzProcessList3_data(fetchCpuMem), cpuInfoReady(false), collected(false) {
  count = 0;
  initGetCPUInfo();
  clearDeltaInfo();
}

void _qzProcessList3::creator_sharedOS() {
  error.clear();
  count = 0;
  cpuInfoReady = false;
  collected = false;
  initGetCPUInfo();
  clearDeltaInfo();
}

bool _qzProcessList3::collectAllProcesses2() {
  timer.restart();
  collectLog.clear();
  error.clear();
  cpuInfoReady = false;
  collected = true;
  count = 0;

  time.setCurrentTime(0);
  timeMS = qzTimer::currentMillSeconds();
  collectAllProcesses_OS();
  // The stamp lies a quarter of the way through the collection.
  time.value += (_qzTime::currentTime() - time.value) / 4;
  timeMS += (qzTimer::currentMillSeconds() - timeMS) / 4;
  return true;
}

bool _qzProcessList3::collectAllProcesses_allInfo() {
  collectAllProcesses2();
  if (!getCpuMem) return true;
  process_figures figures;
  for (int idx = 0; idx < count; ++idx)
    if (!fetchFigures(*this, idx, figures)) return false;
  logStep(*this, "; CPU+Mem: ");
  collectOwner(true);
  return true;
}

bool _qzProcessList3::collectAllProcesses_OS() {
  qz::detail::all_processes all;
  if (!enumerateAll(all)) {
    error += " sysctl:";
    error += qzLastOSError8(-1).asChar();
    all.count = 0;
  }
  for (int i = 0; i < all.count && count < kMostRecords; ++i, ++count) {
    process_entry const& entry = all.entries[static_cast<std::size_t>(i)];
    _prcInfo& record = records[count];
    record.pid = entry.pid;
    record.parentPid = entry.parentPid;
    record.uid = entry.uid;
    record.name = entry.name;
    record.name.makeUpper();
    record.ownerText.clear();
    record.memoryMB = 0;
    record.cpuSeconds = 0;
  }
  logStep(*this, "CollectAllProcesses_OS: ");
  collectLog += "; procCount: ";
  collectLog.addNr(int{count});
  return true;
}

void _qzProcessList3::initGetCPUInfo() {
  cpuInfoReady = true;
  timeval now{};
  gettimeofday(&now, nullptr);
  double const seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 1e-6;
  cpuDeltaValue = seconds - cpuTicksValue;
  cpuTicksValue = seconds;
  logStep(*this, "; init: ");
}

bool _qzProcessList3::getProcessInfoMemCPUOnly(int const& idx) {
  process_figures figures;
  return fetchFigures(*this, idx, figures);
}

bool _qzProcessList3::getProcessInfo(int const& idx) {
  // Required: slot 0 is never asked for here.
  if (idx == 0) return true;
  if (idx < 0 || idx > count) return false;
  return getCpuMemAtOnce || getProcessInfoMemCPUOnly(idx);
}

_qzString8_allSize<25> _qzProcessList3::getProcessOwner(int const& uid) {
  _prcInfo record;
  record.uid = uid;
  return record.owner();
}

void _qzProcessList3::collectOwner(bool const& importantOnly) {
  for (int idx = 0; idx < count; ++idx) {
    _prcInfo& record = records[idx];
    // FINDER is the desktop shell, which runs as the user who is logged in.
    if (!importantOnly || record.memoryMB > kImportantMB || record.name == "FINDER")
      record.ownerText = record.owner();
  }
  logStep(*this, importantOnly ? "; OwnerList important: " : "; OwnerList All: ");
}

void _qzProcessList3::addErrorListCount() {
  error += "(pCount:";
  error.addNr(int{count});
  error += ")  ";
}

void _qzProcessList3::copyFromExternal(_qzProcessList3_data const* source) {
  // The bytes and not the object, whose last byte is not its own.
  std::memmove(reinterpret_cast<unsigned char*>(this), source, sizeof(_qzProcessList3_data));
}

int _qzProcessList3::classMemDataSize() { return sizeof(_qzProcessList3); }

void _qzProcessList3::set_getCpuMemAtOnce(bool const& /*ignored*/) {
  // Required: the flag can only be cleared.
  getCpuMemAtOnce = false;
}

void _qzProcessList3::set_getCpuMem_keepMemory(bool const& value) { getCpuMem_keepMemory = value; }
