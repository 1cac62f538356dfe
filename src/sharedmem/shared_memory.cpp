#include "sharedmem/shared_memory.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstddef>

#include "data/checksums.h"
#include "tool/system_services.h"

namespace {

constexpr int kHeaderBytes = 8;  // the lock byte and seven reserved ones
constexpr int kLockPolls = 25;
constexpr int kLockPollMilliseconds = 100;

bool fail(qzSharedMemory& memory, int code, char const* text) {
  memory.errorCode = code;
  memory.errorText = text;
  return false;
}

int findSegment(std::uint32_t key, std::size_t bytes, int flags) {
  return shmget(static_cast<key_t>(key), bytes, flags);
}

// Maps the segment; on failure the object has a key but is not attached.
bool map(qzSharedMemory& memory, int id) {
  void* const address = shmat(id, nullptr, 0);
  if (address == reinterpret_cast<void*>(-1)) {
    memory.setError("attach (shmat)");
    memory.segment = nullptr;
    return false;
  }
  memory.segment = static_cast<unsigned char*>(address);
  memory.lockByte = memory.segment;
  memory.attached = true;
  return true;
}

}  // namespace

namespace qz::detail {

std::uint32_t segmentKey(_qzString8_allSize<250> const& keyName) {
  auto const* const bytes = reinterpret_cast<unsigned char const*>(keyName.asChar());
  return qzCRCCalc(bytes, keyName.length) & 0xFFFFFF;
}

}  // namespace qz::detail

using qz::detail::segmentKey;

qzSharedMemory::qzSharedMemory(_qzString8_allSize<250> const& name)
    : errorCode(0),
      locked(false),
      attached(false),
      segment(nullptr),
      lockByte(nullptr),
      segmentSize(-1),
      initMark(1),
      key(0) {
  keyName.add("QZ_");
  keyName.add(name);
  keyName.add("_1234567");
  globalName.add("Global\\");
  globalName.add(keyName);
}

qzSharedMemory::~qzSharedMemory() { clearAll(); }

bool qzSharedMemory::create(int dataBytes, bool, bool) {
  clearError();
  if (dataBytes < 1) return false;
  if (attached) return fail(*this, -1, "We are already attached to memory.");
  if (key != 0) return fail(*this, -1, "We have already created memory.");

  key = segmentKey(keyName);
  // The last eight sizes of an int wrap to a negative one, which the system refuses as too large.
  segmentSize = static_cast<std::int32_t>(static_cast<std::uint32_t>(dataBytes) + kHeaderBytes);
  int const id =
      findSegment(key, static_cast<std::size_t>(segmentSize), IPC_CREAT | IPC_EXCL | 0666);
  if (id == -1 && errno == EINVAL) {
    // Some systems say this of a smaller segment that exists. Required: attach gives up the key
    // first, and so removes a segment that nobody uses; only one in use is told as existing.
    if (!attach()) {
      fail(*this, 2, "Requested shared memory larger than system-imposed size restrictions.");
      clearAll();
      return false;
    }
    clearError();
    clearAll();
    return fail(*this, 4, "Shared memory ID already exists.");
  }
  if (id == -1 && errno == EEXIST) return fail(*this, 4, "Shared memory ID already exists.");
  if (id == -1) {
    setError("shmget");
    clearAll();
    return false;
  }

  if (!map(*this, id)) return false;
  locked = false;
  *lockByte = 0;
  return true;
}

bool qzSharedMemory::attach() {
  clearError();
  clearAll();

  key = segmentKey(keyName);
  int const id = findSegment(key, 0, 0660);
  if (id == -1) {
    if (errno == ENOENT)
      fail(*this, 5, "Shared Memory does not exist.");
    else if (errno == EINVAL)
      fail(*this, 2, "Shared Memory already exist, but size does not match.");
    else
      setError("shmget");
    // Required: an error in here replaces the one just set. With a segment that this user may read
    // but not write, the text becomes that of the failed removal.
    clearAll();
    return false;
  }

  if (!map(*this, id)) return false;

  shmid_ds status = {};
  if (shmctl(id, IPC_STAT, &status) == -1) {
    segmentSize = 0;
    setError("size query failed (shmctl)");
    return false;
  }
  segmentSize = static_cast<std::int32_t>(status.shm_segsz);
  return true;
}

bool qzSharedMemory::detach() {
  clearError();
  clearAll();
  return true;
}

void qzSharedMemory::clearAll() {
  if (locked && attached) unlock();

  if (segment != nullptr && shmdt(segment) == -1) {
    if (errno == EINVAL)
      fail(*this, 5, "shmdt: not attached");
    else
      setError("shmdt");
  }
  segment = nullptr;
  lockByte = nullptr;

  if (key == 0) {
    attached = false;
    return;
  }

  // A segment that has gone gives no id, and the two calls then say EINVAL, which is no error.
  int const id = findSegment(key, 0, 0444);
  shmid_ds status = {};
  if (shmctl(id, IPC_STAT, &status) == -1 && errno != EINVAL) {
    // Required: with the name of the other call, and with a count of users that stays 0, so that
    // the segment is removed even if it is in use.
    setError("shmdt");
  }
  if (status.shm_nattch == 0 && shmctl(id, IPC_RMID, nullptr) == -1 && errno != EINVAL)
    setError("shmctl");

  key = 0;
  attached = false;
}

bool qzSharedMemory::lock() {
  clearError();
  if (!attached) return fail(*this, -1, "lock: not attached");
  if (locked) return fail(*this, -1, "lock: already locked by us");

  for (int poll = 0; *lockByte != 0; ++poll) {
    if (poll == kLockPolls) return fail(*this, -1, "lock: unable to get lock");
    qzSleep(kLockPollMilliseconds);
  }
  *lockByte = 1;
  locked = true;
  return true;
}

bool qzSharedMemory::unlock() {
  clearError();
  if (!attached) return fail(*this, -1, "unlock: not attached");
  if (!locked) return fail(*this, -1, "unlock: not locked by us");
  *lockByte = 0;
  locked = false;
  return true;
}

void* qzSharedMemory::data() {
  if (attached && segment != nullptr) return segment + kHeaderBytes;
  fail(*this, -1, "Not attached.");
  return nullptr;
}

void qzSharedMemory::clearError() {
  errorText.clear();
  errorCode = 0;
}

void qzSharedMemory::setError(_qzString8_allSize<250> prefix) {
  errorCode = errno;
  errorText = prefix;
  errorText.add(": ");
  errorText.add(qzLastOSError8(errorCode));
}
