// A list of chosen processes that is taken through many snapshots and gives each of them a figure
// of CPU usage. Where _qzProcessList3_data::calcCPUUsage needs two whole snapshots side by side,
// this list remembers the last CPU time of each process, and the clock of the last two snapshots
// for all of them.
//
// One pass, for each new snapshot whose CPU times are filled:
//   setTotalTicks(data), once;
//   calcCPUUsage(entry, &data, record), for each entry whose process is in the snapshot.
// The first pass only learns; figures come from the second one on. Which processes are watched,
// and what becomes of those that end, is the caller's choice.
//
// The list owns one heap block and never grows. Nothing is reported, and no index is tested. One
// thread uses a list at a time.
#ifndef QZ_PROCESS_PROCESS_WATCH_H_
#define QZ_PROCESS_PROCESS_WATCH_H_

#include <cstdint>

#include "process/process_table.h"
#include "strings/string8.h"
#include "time/time_value.h"

struct _ProcessWatch {
  std::uint32_t pid;            // key of the list; no value until the caller gives one
  std::uint32_t tag = 0;        // the caller's
  _qzString8_allSize<25> name;  // the caller's
  float cpuUsage = 0;           // of the last pass, in percent of one core, 0..102400
  double cpuSeconds = 0;        // CPU time at the last pass; 0 until the first

  // Makes the CPU time of `record` the base of the next figure, without a figure now.
  void setCpuTicks(_qzProcessList3_data::_prcInfo const& record);
};

struct _ProcessWatch_List3 {
  _ProcessWatch* entries;  // owned
  std::int32_t count;      // entries in use
  _qzTime time;            // stamp of the snapshot last taken over; 0 if there was none
  std::int64_t timeMS;     // the same in milliseconds
  std::int32_t coreCount;  // 1 until set; kept for the caller, no figure here depends on it
  std::int32_t capacity;   // entries that exist
  double prevTicks;        // clock of the snapshot before the last, in seconds; 0 if there was none
  double ticks;            // clock of the last snapshot
  double deltaTicks;       // seconds between the two, 0 if there is no valid pair

  // Makes room for `capacity` entries, which must not be negative. To add an entry, write it at
  // slot `count` and raise `count`; nothing stops that at the capacity.
  explicit _ProcessWatch_List3(int const& entryCount);
  // Copying would share the block.
  _ProcessWatch_List3(_ProcessWatch_List3 const&) = delete;
  _ProcessWatch_List3& operator=(_ProcessWatch_List3 const&) = delete;
  ~_ProcessWatch_List3();

  // Forgets entries, stamps and clock. What the entries hold stays, and is what a slot shows when
  // it is used again.
  void clear();
  // Stores the number in `coreCount`, for the caller's own use.
  void setCoreCount(int const& n);

  // Whether `data` is newer than what the list took over last: by the stamp, then by tenths of a
  // second, then by the clock of the CPU times. A list that took over nothing yet is never older.
  bool isOlderThan(_qzProcessList3_data& data) const;
  // Takes over clock and stamps of `data`. The same clock again, or an earlier one, leaves no valid
  // pair, so that the next figures are 0.
  void setTotalTicks(_qzProcessList3_data& data);
  // Takes over the stamps alone.
  void setUpdateTime(_qzProcessList3_data& data);

  // Any entry that exists, in use or not.
  _ProcessWatch& operator[](int const& idx);
  // Moves what stands behind the entry down by one.
  void deleteAt(int const& idx);
  // The slot of the process, or -1.
  int getListIdxByPID(unsigned int const& pid) const;

  // The usage of entry `idx` since the last pass, from record `recordIdx` of `data`, whose CPU time
  // becomes the new base. 0 without a valid pair of snapshots, without a positive base (after a
  // refused query, say), and for a CPU time that went down.
  void calcCPUUsage(int idx, _qzProcessList3_data const* data, int const& recordIdx);
};

#endif  // QZ_PROCESS_PROCESS_WATCH_H_
