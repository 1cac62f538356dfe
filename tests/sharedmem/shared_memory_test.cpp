#include "sharedmem/shared_memory.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "data/checksums.h"
#include "sharedmem/own_ipc_namespace.h"
#include "tool/system_services.h"

namespace {

// The errno with which the next call of each kind fails; 0 lets it through.
struct faults {
  int get = 0;
  int stat = 0;
  int remove = 0;
};
faults nextFaults;

bool failsNow(int& fault) {
  if (fault != 0) errno = fault;
  return std::exchange(fault, 0) != 0;
}

}  // namespace

// Stand in front of the C library's, for the failures that a test cannot bring about.
extern "C" int shmget(key_t key, std::size_t size, int flags) noexcept {
  return failsNow(nextFaults.get) ? -1 : static_cast<int>(syscall(SYS_shmget, key, size, flags));
}

extern "C" int shmctl(int id, int command, shmid_ds* status) noexcept {
  if (command == IPC_STAT && failsNow(nextFaults.stat)) return -1;
  if (command == IPC_RMID && failsNow(nextFaults.remove)) return -1;
  return static_cast<int>(syscall(SYS_shmctl, id, command, status));
}

namespace {

using text250 = _qzString8_allSize<250>;

constexpr int kDataBytes = 100;

bool perform(qzSharedMemory& memory, char operation) {
  switch (operation) {
    case 'c':
      return memory.create(kDataBytes, false, false);
    case 'a':
      return memory.attach();
    case 'd':
      return memory.detach();
    case 'l':
      return memory.lock();
    case 'u':
      return memory.unlock();
    case 'p':
      return memory.data() != nullptr;
    case 'w':
      qzSleep(300);
      return memory.unlock();
    case 'n':
      return getuid() != 0 || setuid(65534) == 0;
  }
  return false;
}

// "true" or "false", then code and text of the error.
std::string outcome(bool result, qzSharedMemory const& memory) {
  return (result ? "true " : "false ") + std::to_string(memory.error()) + " " +
         memory.errorString().asChar();
}

// Another process with an object of its own, which performs one operation at a time.
class Peer {
 public:
  explicit Peer(text250 const& name) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == -1) return;
    pid = fork();
    wire = ends[pid == 0 ? 1 : 0];
    close(ends[pid == 0 ? 0 : 1]);
    if (pid != 0) return;
    {
      qzSharedMemory memory(name);
      char operation;
      while (recv(wire, &operation, 1, 0) == 1) {
        std::string const answer = outcome(perform(memory, operation), memory);
        send(wire, answer.data(), answer.size(), 0);
      }
    }
    _exit(0);
  }
  ~Peer() {
    shutdown(wire, SHUT_RDWR);
    close(wire);
    waitpid(pid, nullptr, 0);
  }
  Peer(Peer const&) = delete;

  void tell(char operation) { send(wire, &operation, 1, 0); }
  std::string hear() {
    char answer[300];
    ssize_t const count = recv(wire, answer, sizeof answer, 0);
    return {answer, count < 0 ? 0 : static_cast<std::size_t>(count)};
  }
  std::string ask(char operation) {
    tell(operation);
    return hear();
  }
  void die() { kill(pid, SIGKILL); }

 private:
  pid_t pid = -1;
  int wire = -1;
};

class SharedMemory : public testing::Test {
 protected:
  SharedMemory() : name("test of ") {
    name.addNr(static_cast<int>(getpid()));
    text250 source("QZ_");
    source.add(name);
    source.add("_1234567");
    auto const* const bytes = reinterpret_cast<unsigned char const*>(source.data);
    key = static_cast<key_t>(qzCRCCalc(bytes, source.length) & 0xFFFFFF);
  }
  ~SharedMemory() override { removeSegment(); }

  // A segment that nobody is attached to.
  void makeSegment(int mode) const {
    ASSERT_NE(shmget(key, kDataBytes + 8, IPC_CREAT | IPC_EXCL | mode), -1) << strerror(errno);
  }
  bool segmentExists() const { return shmget(key, 0, 0) != -1; }
  void removeSegment() const {
    nextFaults = {};
    if (segmentExists()) shmctl(shmget(key, 0, 0), IPC_RMID, nullptr);
  }

  text250 name;
  key_t key;
};

// --- names and keys ---

TEST_F(SharedMemory, BuildsItsNamesAndStartsIdle) {
  qzSharedMemory memory("qzClientSharedMemory");
  EXPECT_STREQ(memory.keyName.asChar(), "QZ_qzClientSharedMemory_1234567");
  EXPECT_STREQ(memory.globalName.asChar(), "Global\\QZ_qzClientSharedMemory_1234567");
  EXPECT_EQ(memory.key, 0u);
  EXPECT_EQ(memory.initMark, 1);
  EXPECT_EQ(memory.size(), -9);
  EXPECT_EQ(outcome(true, memory), "true 0 ");
}

TEST_F(SharedMemory, AgreesWithOtherProgramsOnTheKey) {
  inOwnIpcNamespace([] {
    qzSharedMemory memory("qzClientSharedMemory");
    ASSERT_TRUE(memory.create(kDataBytes, false, false));
    EXPECT_EQ(memory.key, 0x78D311u);
    EXPECT_NE(shmget(0x78D311, 0, 0), -1);
  });
}

TEST_F(SharedMemory, LongNamesLoseTheSuffix) {
  for (std::size_t const count : {0u, 239u, 240u, 246u, 247u, 250u}) {
    SCOPED_TRACE(count);
    std::string const given(count, 'n');
    std::string const whole = "QZ_" + given + "_1234567";
    qzSharedMemory const memory(given.c_str());
    EXPECT_EQ(memory.keyName.asChar(), whole.substr(0, 250));
    EXPECT_EQ(memory.globalName.asChar(), ("Global\\" + whole).substr(0, 250));
  }
}

TEST_F(SharedMemory, TheKeyFollowsTheCaseOfTheName) {
  qzSharedMemory small(name);
  name.makeUpper();
  qzSharedMemory capital(name);
  ASSERT_TRUE(perform(small, 'c'));
  EXPECT_TRUE(perform(capital, 'c'));
  EXPECT_NE(small.key, capital.key);
}

// --- the segment ---

TEST_F(SharedMemory, KeepsLockByteReservedBytesAndDataApart) {
  qzSharedMemory memory(name);
  ASSERT_TRUE(perform(memory, 'c'));
  int const id = shmget(key, 0, 0);
  shmid_ds status = {};
  ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_segsz, kDataBytes + 8u);
  EXPECT_EQ(status.shm_perm.mode & 0777, 0666);

  auto* const image = static_cast<char*>(shmat(id, nullptr, 0));
  std::string const reserved(7, '\xA5');
  std::memcpy(image + 1, reserved.data(), reserved.size());
  ASSERT_TRUE(memory.lock());
  EXPECT_EQ(image[0], 1);
  std::memset(memory.data(), 'd', kDataBytes);
  EXPECT_TRUE(memory.unlock());
  EXPECT_EQ(image[0], 0);
  Peer peer(name);
  for (char const operation : {'a', 'l', 'd'}) EXPECT_EQ(peer.ask(operation), "true 0 ");
  memory.detach();

  EXPECT_EQ(std::string(image, kDataBytes + 8),
            std::string(1, '\0') + reserved + std::string(kDataBytes, 'd'));
  shmdt(image);
}

TEST_F(SharedMemory, TheLastOneOutRemovesTheSegment) {
  qzSharedMemory memory(name);
  Peer peer(name);
  ASSERT_TRUE(perform(memory, 'c'));
  ASSERT_EQ(peer.ask('a'), "true 0 ");
  EXPECT_TRUE(memory.detach());
  EXPECT_TRUE(segmentExists());
  EXPECT_TRUE(memory.attach());
  EXPECT_EQ(memory.size(), kDataBytes);
  EXPECT_EQ(peer.ask('d'), "true 0 ");
  EXPECT_TRUE(segmentExists());
  EXPECT_TRUE(memory.detach());
  EXPECT_FALSE(segmentExists());
  EXPECT_EQ(outcome(memory.attach(), memory), "false 5 Shared Memory does not exist.");
  EXPECT_EQ(memory.key, 0u);
  EXPECT_EQ(memory.size(), kDataBytes);  // Required: the size stays behind
}

TEST_F(SharedMemory, LeavingTheScopeDetaches) {
  { ASSERT_TRUE(qzSharedMemory(name).create(1, true, true)); }
  EXPECT_FALSE(segmentExists());
}

TEST_F(SharedMemory, SizesBelowOneFailWithoutAnError) {
  for (int const size : {0, -1, INT_MIN}) {
    SCOPED_TRACE(size);
    qzSharedMemory memory(name);
    EXPECT_EQ(outcome(memory.create(size, false, false), memory), "false 0 ");
    EXPECT_EQ(memory.key, 0u);
  }
}

TEST_F(SharedMemory, ASizeThatTheSystemRefusesSaysSo) {
  qzSharedMemory memory(name);
  EXPECT_EQ(outcome(memory.create(INT_MAX, false, false), memory),
            "false 2 Requested shared memory larger than system-imposed size restrictions.");
  EXPECT_EQ(memory.key, 0u);
}

TEST_F(SharedMemory, AnExistingSegmentIsNotCreatedWhateverTheSize) {
  Peer owner(name);
  ASSERT_EQ(owner.ask('c'), "true 0 ");
  for (int const size : {1, kDataBytes, 100 * kDataBytes}) {
    SCOPED_TRACE(size);
    qzSharedMemory memory(name);
    EXPECT_EQ(outcome(memory.create(size, false, false), memory),
              "false 4 Shared memory ID already exists.");
    // Half made: it has a key but no mapping.
    EXPECT_FALSE(memory.attached);
    EXPECT_EQ(memory.key, static_cast<std::uint32_t>(key));
    EXPECT_EQ(outcome(perform(memory, 'c'), memory), "false -1 We have already created memory.");
    EXPECT_TRUE(memory.attach());
    EXPECT_EQ(memory.size(), kDataBytes);
  }
}

// --- the lock ---

TEST_F(SharedMemory, WaitsForALockThatIsReleasedMeanwhile) {
  qzSharedMemory memory(name);
  Peer peer(name);
  ASSERT_TRUE(perform(memory, 'c'));
  ASSERT_EQ(peer.ask('a'), "true 0 ");
  ASSERT_EQ(peer.ask('l'), "true 0 ");
  EXPECT_EQ(outcome(memory.unlock(), memory), "false -1 unlock: not locked by us");
  EXPECT_EQ(*memory.lockByte, 1);  // the other one's lock is not touched

  peer.tell('w');
  EXPECT_TRUE(memory.lock());
  EXPECT_EQ(peer.hear(), "true 0 ");
  EXPECT_EQ(*memory.lockByte, 1);
  EXPECT_TRUE(memory.unlock());
  EXPECT_EQ(peer.ask('l'), "true 0 ");
  EXPECT_EQ(peer.ask('d'), "true 0 ");  // gives the lock back
  EXPECT_EQ(*memory.lockByte, 0);
}

TEST_F(SharedMemory, GivesUpOnTheLockOfADeadProcess) {
  qzSharedMemory memory(name);
  {
    Peer peer(name);
    ASSERT_TRUE(perform(memory, 'c'));
    ASSERT_EQ(peer.ask('a'), "true 0 ");
    ASSERT_EQ(peer.ask('l'), "true 0 ");
    peer.die();
  }
  auto const start = std::chrono::steady_clock::now();
  EXPECT_EQ(outcome(memory.lock(), memory), "false -1 lock: unable to get lock");
  std::chrono::duration<double> const waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited.count(), 2.5);
  EXPECT_LT(waited.count(), 5.0);
  EXPECT_EQ(*memory.lockByte, 1);
}

// --- errors ---

TEST_F(SharedMemory, MisuseIsAnsweredAtOnce) {
  struct {
    char const* operations;
    char const* lastOutcome;
  } const rows[] = {
      {"a", "false 5 Shared Memory does not exist."},
      {"p", "false -1 Not attached."},
      {"l", "false -1 lock: not attached"},
      {"u", "false -1 unlock: not attached"},
      {"d", "true 0 "},
      {"cc", "false -1 We are already attached to memory."},
      {"cl", "true 0 "},
      {"cll", "false -1 lock: already locked by us"},
      {"cllu", "true 0 "},                             // the lock was still held
      {"cllp", "true -1 lock: already locked by us"},  // data() keeps an earlier error
      {"cu", "false -1 unlock: not locked by us"},
      {"cluu", "false -1 unlock: not locked by us"},
      {"cdp", "false -1 Not attached."},
      {"cld", "true 0 "},
      {"cdc", "true 0 "},
      {"pc", "true 0 "},  // the operations forget an earlier error
      {"pd", "true 0 "},
      {"cul", "true 0 "},
      {"ca", "false 5 Shared Memory does not exist."},  // attach leaves first, as the last one
  };
  auto const start = std::chrono::steady_clock::now();
  for (auto const& row : rows) {
    SCOPED_TRACE(row.operations);
    qzSharedMemory memory(name);
    std::string last;
    for (char const* at = row.operations; *at != 0; ++at)
      last = outcome(perform(memory, *at), memory);
    EXPECT_EQ(last, row.lastOutcome);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(SharedMemory, FailuresOfTheSystemReachTheText) {
  enum { kMissing = -1, kUnused, kInUse };  // how many are attached before and after
  struct {
    int before;
    char const* operations;  // the last one fails
    int get, stat, remove;
    char const* outcome;
    int after;
  } const rows[] = {
      {kMissing, "c", ENOSPC, 0, 0, "false 28 shmget: No space left on device", kMissing},
      {kMissing, "a", ENOSPC, 0, 0, "false 28 shmget: No space left on device", kMissing},
      {kUnused, "a", EINVAL, 0, 0, "false 2 Shared Memory already exist, but size does not match.",
       kMissing},
      {kInUse, "c", EINVAL, 0, 0, "false 4 Shared memory ID already exists.", kInUse},
      // Required: finding out whether the segment exists removes one that nobody uses.
      {kUnused, "c", EINVAL, 0, 0,
       "false 2 Requested shared memory larger than system-imposed size restrictions.", kMissing},
      // Required: the removal that is tried after the failure puts its own text in the place.
      {kUnused, "a", EACCES, 0, EPERM, "false 1 shmctl: Operation not permitted", kUnused},
      {kUnused, "a", 0, EIDRM, 0, "false 43 size query failed (shmctl): Identifier removed",
       kInUse},
      // Required: the word of the other call. The segment counts as one that nobody uses.
      {kUnused, "ad", 0, EACCES, 0, "true 13 shmdt: Permission denied", kMissing},
      {kUnused, "ad", 0, 0, EPERM, "true 1 shmctl: Operation not permitted", kUnused},
      {kUnused, "ad", ENOENT, 0, 0, "true 0 ", kUnused},
      {kUnused, "ad", 0, EINVAL, EINVAL, "true 0 ", kUnused},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.operations << ": " << row.outcome);
    if (row.before != kMissing) makeSegment(0666);
    void* const user = row.before == kInUse ? shmat(shmget(key, 0, 0), nullptr, 0) : nullptr;
    qzSharedMemory memory(name);
    char const* operation = row.operations;
    while (operation[1] != 0) ASSERT_TRUE(perform(memory, *operation++));
    nextFaults = {row.get, row.stat, row.remove};
    EXPECT_EQ(outcome(perform(memory, *operation), memory), row.outcome);

    nextFaults = {};
    shmid_ds status = {};
    bool const exists = shmctl(shmget(key, 0, 0), IPC_STAT, &status) == 0;
    EXPECT_EQ(exists ? static_cast<int>(status.shm_nattch) : kMissing, row.after);
    if (user != nullptr) shmdt(user);
    removeSegment();
  }
}

TEST_F(SharedMemory, StaysAttachedIfOnlyTheSizeIsUnknown) {
  makeSegment(0666);
  qzSharedMemory memory(name);
  nextFaults.stat = EIDRM;
  ASSERT_FALSE(memory.attach());
  EXPECT_TRUE(memory.attached);
  EXPECT_EQ(memory.size(), -8);
  EXPECT_NE(memory.data(), nullptr);
  EXPECT_TRUE(memory.detach());
  EXPECT_FALSE(segmentExists());
}

TEST_F(SharedMemory, ASegmentOfAnotherUserIsRefused) {
  makeSegment(0);  // for its owner as well, unless that is root
  Peer stranger(name);
  ASSERT_EQ(stranger.ask('n'), "true 0 ");
  EXPECT_EQ(stranger.ask('a'), "false 13 shmget: Permission denied");
  EXPECT_EQ(stranger.ask('c'), "false 4 Shared memory ID already exists.");
  EXPECT_TRUE(segmentExists());
}

TEST_F(SharedMemory, IsHalfMadeIfTheSegmentCannotBeMapped) {
  for (char const operation : {'c', 'a'}) {
    SCOPED_TRACE(operation);
    if (operation == 'a') makeSegment(0666);
    qzSharedMemory memory(name);
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    rlimit const none = {1, before.rlim_max};  // no address space for any further mapping
    ASSERT_EQ(setrlimit(RLIMIT_AS, &none), 0);
    bool const result = perform(memory, operation);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);

    EXPECT_EQ(outcome(result, memory), "false 12 attach (shmat): Cannot allocate memory");
    EXPECT_EQ(memory.segment, nullptr);
    EXPECT_FALSE(memory.attached);
    EXPECT_EQ(memory.key, static_cast<std::uint32_t>(key));
    EXPECT_EQ(outcome(perform(memory, 'c'), memory), "false -1 We have already created memory.");
    EXPECT_TRUE(segmentExists());
    EXPECT_TRUE(memory.detach());
    EXPECT_FALSE(segmentExists());
  }
}

TEST_F(SharedMemory, AMappingThatHasGoneIsNamedAndTheSegmentStillRemoved) {
  qzSharedMemory memory(name);
  ASSERT_TRUE(perform(memory, 'c'));
  ASSERT_EQ(shmdt(memory.segment), 0);
  EXPECT_TRUE(memory.detach());
  EXPECT_EQ(outcome(true, memory), "true 5 shmdt: not attached");
  EXPECT_FALSE(segmentExists());
}

}  // namespace
