// The data of the full process list: one flat block without pointers that holds a snapshot of all
// processes, when it was taken, what went wrong, how long each step took, and the stamps that CPU
// usage needs. It can be copied whole, and two blocks taken at different times can be compared.
// process_list3.h fills it.
//
// The block has several hundred kilobytes: allocate it with new, never on the stack. It has no
// lock; who shares one takes care of that.
#ifndef QZ_PROCESS_PROCESS_TABLE_H_
#define QZ_PROCESS_PROCESS_TABLE_H_

#include <cstdint>

#include "strings/string8.h"
#include "time/time_value.h"

// Byte image, little-endian, of 321,052 bytes, drawn in docs/formats.md. Packing to 4 bytes leaves
// no gap anywhere, so numbers of 8 bytes stand at places that 4 divides and 8 need not: read and
// write them by value, and take no pointer or reference to one, not even for a template's `T&&`.
#pragma pack(push, 4)

struct _qzProcessList3_data {
  // 80 bytes.
  struct _prcInfo {
    _qzString8_allSize<25> name;       // the system's short command name in upper case, cut
    _qzString8_allSize<25> ownerText;  // login name, case kept; empty until collected
    std::uint32_t pid = 0;
    std::uint32_t parentPid = 0;  // 0 if there is none, or none that can be seen from here
    std::int32_t memoryMB = 0;    // resident memory in MiB
    double cpuSeconds = 0;        // CPU time; below 0 the negated code of a refused query
    std::int32_t uid = 0;         // numeric effective user id

    // Returns `ownerText` or, if that is empty, the login name for `uid`, cut to 25 characters, or
    // the decimal `uid` if the system knows no such user. Stores nothing.
    _qzString8_allSize<25> owner() const;
  };

  static constexpr int kSlots = 4000;
  // Most records that a collection keeps; the last slot is never filled.
  static constexpr int kMostRecords = kSlots - 1;

  std::uint16_t magic;                 // 0xABCD; nothing reads it
  std::uint16_t reserved;              // 0 in a new block
  _qzTime time;                        // of the snapshot; 0 in a new block
  std::int64_t timeMS;                 // the same in milliseconds since the epoch
  _qzString8_allSize<500> error;       // of the collection and of queries since
  _qzString8_allSize<500> collectLog;  // the steps of the collection and their durations
  std::int32_t count;                  // valid records, 0..3999; no value in a new block
  _prcInfo records[kSlots];            // slots 0..count-1 are valid
  double cpuTicksValue;                // see cpuTicks
  double cpuDeltaValue;                // see cpuDelta
  bool getCpuMem;                      // collectAllProcesses_allInfo fetches CPU and memory
  bool getCpuMemAtOnce;                // getProcessInfo fetches nothing
  bool getCpuMem_keepMemory;           // nothing reads it
  // The byte behind is reserved for the first flag of _qzProcessList3; 0 in a new block.

  // Clears the texts of the block and all 4000 slots, and zeroes the rest but for `count`, which
  // has no value before a collection. Makes no system call.
  explicit _qzProcessList3_data(bool const& fetchCpuMem);

  // Makes usage impossible to compute until the next sample.
  void clearDeltaInfo();
  // Wall-clock time, in seconds since the epoch, at which the CPU values were sampled.
  double cpuTicks() const;
  // Seconds between that sample and the one before it; 0 if there was none.
  double cpuDelta() const;

  // Ascending, by name and then by id, or by id alone. Names compare as bytes, the shorter one
  // first if it is the other's front. Records that are equal under the test come out in any order.
  // Allocates one record. The time grows with the square of `count` for some orders.
  void sortByNameAndID();
  void sortByID();

  // Returns the first slot that holds this process id, or -1. Makes no use of a sorted order.
  int getListIdxByPID(unsigned int pid) const;

  // Gives in `usage` how many percent of a core the process in slot `idx` used between `previous`
  // and this newer block; with `coreCount` of at least 1, multiplied by it. Below 0 if its CPU time
  // fell. Returns false, with 0 in `usage`, if this block has no time base or no positive CPU time
  // for it, or if `previous` is empty or does not hold the process. A `previous` without a time
  // base gives an infinite or undefined usage and true: the caller prevents that.
  bool calcCPUUsage(float& usage, int const& idx, _qzProcessList3_data const* previous,
                    int const& coreCount) const;
};

#pragma pack(pop)

// The sorts by id (1) and by name and id (2): a quicksort with the middle record as pivot, not
// stable, without a guard against its worst case. They allocate one record; a `count` below 2
// changes nothing.
void qzQuicksort_1_plist(_qzProcessList3_data::_prcInfo* list, int const& count,
                         bool const& descending);
void qzQuicksort_2_plist(_qzProcessList3_data::_prcInfo* list, int const& count,
                         bool const& descending);
// Their recursive steps over slots `left` to `right`; `scratch` is overwritten.
void qzQuicksort_1_plist_sub(_qzProcessList3_data::_prcInfo* list, int const& left,
                             int const& right, bool const& descending,
                             _qzProcessList3_data::_prcInfo& scratch);
void qzQuicksort_2_plist_sub(_qzProcessList3_data::_prcInfo* list, int const& left,
                             int const& right, bool const& descending,
                             _qzProcessList3_data::_prcInfo& scratch);

#endif  // QZ_PROCESS_PROCESS_TABLE_H_
