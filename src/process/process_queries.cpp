// The queries and signals of the process lists. They stand apart because they look users up, which
// a fully static program must not pull in; see process_owner.cpp.
//
// The lists have no base in common, so what they share are these templates over either of them.
#include <csignal>

#include "process/process_list.h"
#include "process/process_list3.h"

namespace {

using short_text = _qzString8_allSize<25>;

template <class List>
void collectOnce(List& list, bool refresh) {
  if (refresh || !list.collected) list.collectAllProcesses2();
}

// --- what matches; the lists hold their names in upper case ---

// Over the bytes in use alone, unlike operator==, so that empty texts are equal however they came
// about.
bool isSame(short_text const& a, short_text const& b) {
  return a.isEqualSameCase(b.data, b.length);
}

short_text upper(short_text text) {
  text.makeUpper();
  return text;
}

// The light list asks the system each time and keeps the answer.
short_text ownerOf(_qzProcessList& list, int slot) {
  list.getProcessInfoOwnerOnly(slot);
  return list.records[slot].owner;
}

// The full list takes what is stored, and stores nothing.
short_text ownerOf(_qzProcessList3 const& list, int slot) { return list.records[slot].owner(); }

struct has_name {
  short_text name;

  explicit has_name(short_text const& wanted) : name(upper(wanted)) {}

  template <class List>
  bool operator()(List const& list, int slot) const {
    return isSame(list.records[slot].name, name);
  }
};

struct has_name_and_user {
  has_name hasName;
  short_text user;

  has_name_and_user(short_text const& name, short_text const& wanted)
      : hasName(name), user(upper(wanted)) {}

  template <class List>
  bool operator()(List& list, int slot) const {
    return hasName(list, slot) && isSame(upper(ownerOf(list, slot)), user);
  }
};

// --- questions ---

template <class List, class Matches>
bool existsAny(List& list, short_text const& name, bool refresh, long long* pid,
               Matches const& matches) {
  if (name.isEmpty()) return false;
  if (pid != nullptr) *pid = 0;
  collectOnce(list, refresh);
  for (int slot = 0; slot < list.count; ++slot) {
    if (!matches(list, slot)) continue;
    if (pid != nullptr) *pid = list.records[slot].pid;
    return true;
  }
  return false;
}

template <class List, class Matches>
int countAll(List& list, long long* pid, Matches const& matches) {
  if (pid != nullptr) *pid = 0;
  collectOnce(list, false);
  int matching = 0;
  for (int slot = 0; slot < list.count; ++slot) {
    if (!matches(list, slot)) continue;
    ++matching;
    if (pid != nullptr) *pid = list.records[slot].pid;
  }
  return matching;
}

template <class List>
int slotOfPID(List& list, unsigned pid, bool refresh) {
  collectOnce(list, refresh);
  for (int slot = 0; slot < list.count; ++slot)
    if (list.records[slot].pid == pid) return slot;
  return -1;
}

// --- signals ---

void send(unsigned pid, int signal) {
  (void)kill(static_cast<pid_t>(pid), signal);  // a process that has gone meanwhile needs none
}

template <class List>
void sendToAll(List& list, short_text const& name, int signal) {
  collectOnce(list, false);
  has_name const matches(name);
  for (int slot = 0; slot < list.count; ++slot)
    if (matches(list, slot)) send(list.records[slot].pid, signal);
}

}  // namespace

// --- the light list ---

bool _qzProcessList::processExists(short_text name, bool refresh, long long* pid) {
  return existsAny(*this, name, refresh, pid, has_name(name));
}

bool _qzProcessList::doesProcessExistTwice(short_text name, long long* pid) {
  return countAll(*this, pid, has_name(name)) > 1;
}

int _qzProcessList::doesProcessExistCount(short_text name, long long* pid) {
  return countAll(*this, pid, has_name(name));
}

bool _qzProcessList::processExists_SameUser(short_text name, short_text user, bool refresh,
                                            long long* pid) {
  return existsAny(*this, name, refresh, pid, has_name_and_user(name, user));
}

bool _qzProcessList::doesProcessExistTwice_SameUser(short_text name, short_text user,
                                                    long long* pid) {
  return countAll(*this, pid, has_name_and_user(name, user)) > 1;
}

bool _qzProcessList::processExistsPID(unsigned int pid, bool refresh) {
  return slotOfPID(*this, pid, refresh) >= 0;
}

int _qzProcessList::getListIDByPID(unsigned int pid, bool refresh) {
  return slotOfPID(*this, pid, refresh);
}

void _qzProcessList::killProcess(unsigned int const& pid) { send(pid, SIGTERM); }

void _qzProcessList::killProcess(short_text name) { sendToAll(*this, name, SIGTERM); }

void _qzProcessList::INTProcess(short_text name) { sendToAll(*this, name, SIGINT); }

// Required: whatever the name says, children get no signal.
void _qzProcessList::killProcessTree(short_text name) { killProcess(name); }

// --- the full list ---

bool _qzProcessList3::processExists(short_text name, bool refresh, long long* pid) {
  return existsAny(*this, name, refresh, pid, has_name(name));
}

bool _qzProcessList3::doesProcessExistTwice(short_text name, long long* pid) {
  return countAll(*this, pid, has_name(name)) > 1;
}

int _qzProcessList3::doesProcessExistCount(short_text name, long long* pid) {
  return countAll(*this, pid, has_name(name));
}

bool _qzProcessList3::processExists_SameUser(short_text name, short_text user, bool refresh,
                                             long long* pid) {
  return existsAny(*this, name, refresh, pid, has_name_and_user(name, user));
}

bool _qzProcessList3::doesProcessExistTwice_SameUser(short_text name, short_text user,
                                                     long long* pid) {
  return countAll(*this, pid, has_name_and_user(name, user)) > 1;
}

bool _qzProcessList3::processExistsPID(unsigned int pid, bool refresh) {
  return slotOfPID(*this, pid, refresh) >= 0;
}

int _qzProcessList3::getListIdxByPID(unsigned int pid, bool refresh) {
  return slotOfPID(*this, pid, refresh);
}

void _qzProcessList3::killProcess(unsigned int const& pid) { send(pid, SIGTERM); }

void _qzProcessList3::killProcess(short_text name) { sendToAll(*this, name, SIGTERM); }

void _qzProcessList3::INTProcess(short_text name) { sendToAll(*this, name, SIGINT); }
