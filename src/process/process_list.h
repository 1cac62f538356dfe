// The light process list: a snapshot of all processes of the machine in one plain object, with what
// the system tells of all of them in one go. It answers whether a process is still there and who
// its parent is. Owner names, memory and CPU time are asked for one record at a time.
//
// The object has several hundred kilobytes: allocate it with new, never on the stack. It owns no
// other memory between calls. It has no lock; one thread uses it at a time.
//
// Names are upper case. On Linux the kernel keeps only the first 15 bytes of a program's name, so a
// longer name is found by those alone. A process that has ended and waits to be reaped is not in
// the list.
#ifndef QZ_PROCESS_PROCESS_LIST_H_
#define QZ_PROCESS_PROCESS_LIST_H_

#include <cstdint>

#include "strings/string8.h"

struct _qzProcessList {
  struct _prcInfo {
    _qzString8_allSize<25> name;   // the system's short command name in upper case, cut
    _qzString8_allSize<25> owner;  // login name, case kept, or the decimal user id; see below
    std::uint32_t pid;
    std::uint32_t parentPid;  // 0 if there is none, or none that can be seen from here
    std::int32_t memoryMB;    // resident memory in MiB; 0 until asked for
    double cpuSeconds;        // CPU time; 0 until asked for, below 0 the negated code of a refusal
    std::int32_t uid;         // numeric effective user id
  };

  static constexpr int kSlots = 4000;
  // Most records that a collection keeps; the last slot is never used.
  static constexpr int kMostRecords = kSlots - 1;

  std::int32_t count;  // valid records, 0..3999; no value before the first collection
  // Slots 0..count-1 are valid, in the order in which the system delivers the processes.
  _prcInfo records[kSlots];
  _qzString8_allSize<500> error;  // of the last collection; empty if it went well
  bool collected;                 // a collection has run, whatever came of it

  // Clears the texts; makes no system call.
  _qzProcessList();
  ~_qzProcessList() = default;

  // Takes a new snapshot in place of the old one. Always true: a failure shows in `error` and in an
  // empty list. Beyond 3999 processes the later ones are dropped without a word. A slot keeps its
  // `owner` from before, whichever process it holds now: ask for owners after the collection.
  bool collectAllProcesses2();

  // The following fill one record. `idx` is not tested: it must be a valid slot. They refresh
  // nothing and leave `error` alone.

  // Fills `owner`: the login name, or the decimal `uid` if the system knows no such user.
  void getProcessInfoOwnerOnly(int idx);
  // Fills `memoryMB` and `cpuSeconds`. A process that has gone or may not be looked into gives a
  // negative `cpuSeconds` or zeros. CPU time is the system time of ended threads plus both times of
  // the live ones; the user time of ended threads is left out.
  void getProcessInfoMemCPUOnly(int idx);
  // Does both, the owner first.
  void getProcessInfo(int idx);

  // --- questions and signals ---
  //
  // They take a snapshot if there was none yet or if `refresh` is true, and else answer from the
  // old one for as long as the object lives. If that fails the list is empty: nothing is found,
  // and `error` tells why.
  //
  // A process matches if its whole name is `name`, in any case. On Linux a name of more than 15
  // bytes never matches. `pid` may be null; it becomes 0 if nothing is found.

  // Whether a process matches; `pid` gets the first one's id. An empty `name` gives false, and
  // then nothing is collected and `pid` stays.
  bool processExists(_qzString8_allSize<25> name, bool refresh, long long* pid);
  // Whether more than one matches, and how many do; `pid` gets the last one's id, also if there is
  // only one. An empty `name` counts the processes whose name is not known.
  bool doesProcessExistTwice(_qzString8_allSize<25> name, long long* pid);
  int doesProcessExistCount(_qzString8_allSize<25> name, long long* pid);

  // The same among the processes of one user: a login name in any case, cut at 25 characters, or
  // the decimal user id where the system knows no such user. The `owner` of each process that
  // matches by its name is looked up again and stored.
  bool processExists_SameUser(_qzString8_allSize<25> name, _qzString8_allSize<25> user,
                              bool refresh, long long* pid);
  bool doesProcessExistTwice_SameUser(_qzString8_allSize<25> name, _qzString8_allSize<25> user,
                                      long long* pid);

  // Whether a process has this id.
  bool processExistsPID(unsigned int pid, bool refresh);
  // The slot of the process, or -1.
  int getListIDByPID(unsigned int pid, bool refresh);

  // SIGTERM to this id, whether or not it is in the list, which is not collected. As kill(2) reads
  // it: 0 is the caller's own process group, and an id above 2147483647 is a group or everybody.
  void killProcess(unsigned int const& pid);
  // SIGTERM or SIGINT to every process that matches. The list is not changed: the next call sends
  // to the same ids again, whoever has them by then. What becomes of a signal is not told. An empty
  // `name` means the processes whose name is not known.
  void killProcess(_qzString8_allSize<25> name);
  void INTProcess(_qzString8_allSize<25> name);
  // The same as killProcess(name): children are left alone.
  void killProcessTree(_qzString8_allSize<25> name);
};

struct _qzProcessList2 : _qzProcessList {
  bool infoRequested;  // memory and CPU time were asked for since the last collection

  // The argument changes nothing.
  explicit _qzProcessList2(bool const& ignored);

  bool collectAllProcesses2();
  void getProcessInfoMemCPUOnly(int idx);
  void getProcessInfo(int idx);
};

#endif  // QZ_PROCESS_PROCESS_LIST_H_
