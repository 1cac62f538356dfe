// The full process list: fills the block of process_table.h from the operating system. Unlike the
// light list it stamps a snapshot with a time, keeps a log of how long each step took, reports
// queries that failed, fetches CPU time and memory of all processes in one run, and fetches owners
// selectively. The families share nothing but what asks the operating system; a program chooses
// one by the type that it declares.
//
// Three steps of growing cost: a snapshot, CPU time and memory per record, owners per record. For
// usage figures keep two lists, or blocks, and compare them with calcCPUUsage. The list never
// refreshes by itself.
//
// Allocate it with new, or place it in shared memory, never on the stack. It has no lock.
#ifndef QZ_PROCESS_PROCESS_LIST3_H_
#define QZ_PROCESS_PROCESS_LIST3_H_

#include "process/process_table.h"
#include "time/stopwatch.h"

// 321,104 bytes. What follows the block belongs to one program and is not exchanged.
struct _qzProcessList3 : _qzProcessList3_data {
  // cpuTicks has been sampled for this snapshot. Lies in the block's last byte, so that
  // copyFromExternal takes over the source's.
  bool cpuInfoReady;
  bool collected;                   // a collection has run, whatever came of it
  qzTimer timer;                    // of the steps in collectLog
  unsigned char reservedBytes[40];  // nothing touches them, construction included

  // `fetchCpuMem`: whether collectAllProcesses_allInfo fetches CPU time and memory. Takes a first
  // wall-clock sample, without a time base for usage yet.
  explicit _qzProcessList3(bool const& fetchCpuMem);

  // What construction does behind the block's own part, for a creator that placed the object in
  // shared memory. The log is not cleared.
  void creator_sharedOS();

  // Takes a new snapshot without CPU time, memory and owners. Always true: a failure shows in
  // `error` and in an empty list. Beyond 3999 processes the later ones are dropped without a word.
  bool collectAllProcesses2();
  // The same and, if `getCpuMem` is set, CPU time and memory of all records and the important
  // owners. False at the first query that failed for another reason than that the process has gone
  // or may not be looked into: the records behind it then keep zeros, and no owner is fetched.
  bool collectAllProcesses_allInfo();
  // The enumeration alone. Always true. `count` must be 0: records are added behind it.
  bool collectAllProcesses_OS();

  // Takes the wall-clock sample that usage is computed with.
  void initGetCPUInfo();
  // Fetches `memoryMB` and `cpuSeconds` of one record, and takes the wall-clock sample if it is the
  // first since the collection. `idx` is not tested: it must be a slot. A process that has gone or
  // may not be looked into gets -5 seconds, or zeros if it went in between, and true; a fault gets
  // the negated code or zeros, a text in `error`, and false. CPU time is the system time of ended
  // threads plus both times of the live ones; the user time of ended threads is left out.
  bool getProcessInfoMemCPUOnly(int const& idx);
  // The same for an `idx` from 1 to `count`, unless `getCpuMemAtOnce` is set; false for one outside
  // of 0 to `count`. Slot 0 is never asked for, and gives true; slot `count` is.
  bool getProcessInfo(int const& idx);

  // Returns the login name for `uid`, as _prcInfo::owner does for a record without text.
  static _qzString8_allSize<25> getProcessOwner(int const& uid);
  // Stores the owners of all records or, if `importantOnly`, of those with more than 2000 MiB and
  // of "FINDER"; the other records stay as they are.
  void collectOwner(bool const& importantOnly);

  // Appends the count to `error`: "(pCount:17)  ".
  void addErrorListCount();
  // Copies the 321,052 bytes of the block over this one: records, texts, stamps and flags. The
  // source is not tested.
  void copyFromExternal(_qzProcessList3_data const* source);
  // Bytes that an object of this class takes.
  static int classMemDataSize();

  // The flag can only be cleared; the argument changes nothing.
  void set_getCpuMemAtOnce(bool const& ignored);
  void set_getCpuMem_keepMemory(bool const& value);

  // --- questions and signals ---
  //
  // They take a snapshot as collectAllProcesses2 does, without CPU time and memory, if there was
  // none yet or if `refresh` is true, and else answer from the old one for as long as the object
  // lives. If that fails the list is empty: nothing is found, and `error` tells why.
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
  // the decimal user id where the system knows no such user. The owner is what _prcInfo::owner
  // gives: text that is stored already counts, and none is stored.
  bool processExists_SameUser(_qzString8_allSize<25> name, _qzString8_allSize<25> user,
                              bool refresh, long long* pid);
  bool doesProcessExistTwice_SameUser(_qzString8_allSize<25> name, _qzString8_allSize<25> user,
                                      long long* pid);

  // Whether a process has this id.
  bool processExistsPID(unsigned int pid, bool refresh);
  // The slot of the process, or -1. The block's own form never collects.
  int getListIdxByPID(unsigned int pid, bool refresh);
  using _qzProcessList3_data::getListIdxByPID;

  // SIGTERM to this id, whether or not it is in the list, which is not collected. As kill(2) reads
  // it: 0 is the caller's own process group, and an id above 2147483647 is a group or everybody.
  void killProcess(unsigned int const& pid);
  // SIGTERM or SIGINT to every process that matches. The list is not changed: the next call sends
  // to the same ids again, whoever has them by then. What becomes of a signal is not told. An empty
  // `name` means the processes whose name is not known.
  void killProcess(_qzString8_allSize<25> name);
  void INTProcess(_qzString8_allSize<25> name);
};

#endif  // QZ_PROCESS_PROCESS_LIST3_H_
