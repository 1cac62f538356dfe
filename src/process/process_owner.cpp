// What looks users up stands apart: in a fully static program getpwuid(3) loads modules at run
// time, which can crash it, and the linker warns of it. So a program that only collects must not
// pull it in.
#include <pwd.h>
#include <sys/types.h>

#include "process/process_list.h"

void _qzProcessList::getProcessInfoOwnerOnly(int idx) {
  _prcInfo& record = records[idx];
  passwd const* const user = getpwuid(static_cast<uid_t>(record.uid));
  if (user == nullptr) {
    record.owner.clear();
    record.owner.addNr(record.uid);
  } else if (user->pw_name == nullptr) {
    record.owner.clear();
  } else {
    record.owner = user->pw_name;
  }
}

void _qzProcessList::getProcessInfo(int idx) {
  getProcessInfoOwnerOnly(idx);
  getProcessInfoMemCPUOnly(idx);
}

void _qzProcessList2::getProcessInfo(int idx) {
  infoRequested = true;
  _qzProcessList::getProcessInfo(idx);
}
