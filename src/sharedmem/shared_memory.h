// A block of memory under a name, shared between processes, with a lock byte in it: System V shared
// memory (sysvipc(7)). A name becomes a numeric key, the same in every process; one process creates
// the segment, any number attach to it, and the last one to leave removes it.
//
// Segment layout, a format between processes:
//   offset 0   lock byte, 0 free, 1 held
//   offset 1   7 bytes reserved, never read or written
//   offset 8   the caller's data, size() bytes
//
// The lock is advisory, and a plain byte: it is tested and then written with no atomic operation
// and no fence, so that two processes can pass the test together, and it knows nothing of its
// holder. A process that dies with the lock leaves it held; only a new segment cures that. Hold it
// for a few writes only.
//
// Order of use: construct, attach (or create), size, data, lock, work on the data, unlock, detach.
// One object belongs to one thread. Nothing here throws: false says that a call failed, error() and
// errorString() say why.
#ifndef QZ_SHAREDMEM_SHARED_MEMORY_H_
#define QZ_SHAREDMEM_SHARED_MEMORY_H_

#include <cstdint>

#include "strings/string8.h"

struct qzSharedMemory {
  _qzString8_allSize<250> keyName;     // "QZ_", the given name, "_1234567": source of the key
  _qzString8_allSize<250> globalName;  // "Global\" and keyName; nothing here reads it
  _qzString8_allSize<250> errorText;   // text of the last error, empty if none
  std::int32_t errorCode;              // -1 misuse, 2, 4, 5 as in create and attach, else errno
  bool locked;                         // this object holds the lock
  bool attached;                       // this object is attached to the segment
  unsigned char* segment;              // where the segment is mapped, or null
  unsigned char volatile* lockByte;    // the same address while attached
  std::int32_t segmentSize;            // bytes with the header, -1 after construction; stays behind
                                       // when the object detaches
  std::int16_t initMark;               // 1; nothing reads it
  std::uint32_t key;                   // 0 when none is in use

  // Makes no system call. A name of more than 239 characters pushes the suffix out of keyName, or
  // part of it, and the key follows what is left.
  qzSharedMemory(_qzString8_allSize<250> const& name);
  qzSharedMemory(qzSharedMemory const&) = delete;
  qzSharedMemory& operator=(qzSharedMemory const&) = delete;
  ~qzSharedMemory();

  // Makes a new segment with room for `dataBytes` bytes, zeroed by the system, open to every user,
  // and attaches. Below 1 byte it returns false with no error. Error 4 if the segment exists,
  // whatever its size, 2 if the system refuses the size. The two switches have no effect.
  // A segment that exists, or that cannot be mapped, leaves the key set: create then fails until
  // detach or clearAll, while attach works.
  bool create(int dataBytes, bool, bool);

  // Attaches to a segment that exists, for reading and writing, after giving up the one before.
  // Error 5 if there is none. If only the query of the size fails, returns false but stays
  // attached, with a size() of -8.
  bool attach();

  // Clears the error and gives up everything. Always true; the error tells what went wrong.
  bool detach();

  // Gives up lock and mapping, and removes the segment if nobody is attached to it any more. This
  // holds for every object with a key, also for one whose create or attach failed. A segment that
  // has gone already is no error.
  void clearAll();

  // Takes the lock: at once if it is free, else by 25 looks, 100 ms apart. False after that, and
  // at once if this object holds it or is not attached.
  bool lock();

  // Gives the lock back. False if this object does not hold it; the byte then keeps its value.
  bool unlock();

  // Returns the address of the data, or null with error -1 if not attached. Keeps an earlier error.
  void* data();

  // Returns the size of the data in bytes: what create asked for or attach found; -9 before that.
  int size() const { return segmentSize - 8; }

  _qzString8_allSize<250> errorString() const { return errorText; }
  int error() const { return errorCode; }
  void clearError();
  // Takes errno as the code, and `prefix`, ": " and the system's text of it as the text.
  void setError(_qzString8_allSize<250> prefix);
};

namespace qz::detail {

// The System V key of the segment with this `keyName`: 24 bits of its CRC, so two names may share
// one, and nothing tests for that.
std::uint32_t segmentKey(_qzString8_allSize<250> const& keyName);

}  // namespace qz::detail

#endif  // QZ_SHAREDMEM_SHARED_MEMORY_H_
