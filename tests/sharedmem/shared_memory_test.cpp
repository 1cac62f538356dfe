#include "sharedmem/shared_memory.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <map>

#include "tool/tool_driver.h"

// The errno with which the next call fails: 'g' shmget, 'm' shmat, 's' the status, 'r' the removal.
static std::map<char, int> nextFaults, rowFaults;

static bool failsNow(char call) {
  auto const fault = nextFaults.extract(call);
  return !fault.empty() && (errno = fault.mapped()) != 0;
}

// Stand in front of the C library's, for the failures that a test cannot bring about.
extern "C" int shmget(key_t key, std::size_t size, int flags) noexcept {
  return failsNow('g') ? -1 : static_cast<int>(syscall(SYS_shmget, key, size, flags));
}
extern "C" void* shmat(int id, void const* address, int flags) noexcept {
  return reinterpret_cast<void*>(failsNow('m') ? -1 : syscall(SYS_shmat, id, address, flags));
}
extern "C" int shmctl(int id, int command, shmid_ds* status) noexcept {
  if ((command == IPC_STAT && failsNow('s')) || (command == IPC_RMID && failsNow('r'))) return -1;
  return static_cast<int>(syscall(SYS_shmctl, id, command, status));
}

namespace {

constexpr key_t kKey = 0x78D311;  // other programs compute the same
constexpr int kDataBytes = 100;
char const* const kOk = "true 0 ";

bool perform(qzSharedMemory& memory, char operation) {
  return operation == 'c'   ? memory.create(kDataBytes, false, false)
         : operation == '0' ? memory.create(0, false, false)
         : operation == '9' ? memory.create(INT_MAX, false, false)
         : operation == 'a' ? memory.attach()
         : operation == 'd' ? memory.detach()
         : operation == 'l' ? memory.lock()
         : operation == 'u' ? memory.unlock()
         : operation == 'p' ? memory.data() != nullptr
         : operation == 'x' ? shmdt(static_cast<char*>(memory.data()) - 8) == 0
                            : (nextFaults = rowFaults, true);
}

// Result, code and text of the last operation.
std::string run(qzSharedMemory& memory, char const* operations) {
  bool result = false;
  while (*operations != 0) result = perform(memory, *operations++);
  return (result ? "true " : "false ") + std::to_string(memory.error()) + " " +
         memory.errorString().asChar();
}

// How many are attached to the segment, -1 if there is none.
int users() {
  shmid_ds status = {};
  int const result = shmctl(shmget(kKey, 0, 0), IPC_STAT, &status);
  return result == 0 ? static_cast<int>(status.shm_nattch) : -1;
}
void waitUntil(auto condition) {
  for (int i = 0; i < 5000 && !condition(); ++i) usleep(1000);
}

// Runs `body` in another process, which then dies with all that it holds.
pid_t startPeer(void (*body)(qzSharedMemory&)) {
  pid_t const pid = fork();
  if (pid != 0) return pid;
  qzSharedMemory memory("qzClientSharedMemory");
  body(memory);
  std::fflush(nullptr);
  _exit(testing::Test::HasFailure());
}
void finish(pid_t peer) {
  int status = -1;
  waitpid(peer, &status, 0);
  EXPECT_EQ(status, 0) << "what failed stands above";
}

struct SharedMemory : testing::Test {
  SharedMemory() { driver::enterOwnIpcNamespace(); }
  qzSharedMemory memory{"qzClientSharedMemory"};
};

TEST_F(SharedMemory, LongNamesLoseTheSuffix) {
  EXPECT_STREQ(memory.keyName.asChar(), "QZ_qzClientSharedMemory_1234567");
  for (std::size_t const count : {0u, 239u, 240u, 247u, 250u}) {
    std::string const given(count, 'n'), whole = "QZ_" + given + "_1234567";
    qzSharedMemory const named(given.c_str());
    EXPECT_EQ(named.keyName.asChar(), whole.substr(0, 250));
    EXPECT_EQ(named.globalName.asChar(), ("Global\\" + whole).substr(0, 250));
  }
}

TEST_F(SharedMemory, KeepsLockByteReservedBytesAndDataApart) {
  ASSERT_EQ(run(memory, "c"), kOk);
  int const id = shmget(kKey, 0, 0);
  shmid_ds status = {};
  ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_perm.mode & 0777, 0666);
  auto* const image = static_cast<char*>(shmat(id, nullptr, 0));
  std::memset(image + 1, 'r', 7);
  std::memset(memory.data(), 'd', kDataBytes);
  EXPECT_EQ(run(memory, "l"), kOk);
  std::string const rest = "rrrrrrr" + std::string(kDataBytes, 'd');
  EXPECT_EQ(std::string(image, kDataBytes + 8), '\1' + rest);
  EXPECT_EQ(run(memory, "u"), kOk);
  EXPECT_EQ(std::string(image, kDataBytes + 8), '\0' + rest);
}

TEST_F(SharedMemory, TheLastProcessOutRemovesTheSegment) {
  pid_t const peer = startPeer([](auto& own) {
    waitUntil([] { return users() == 1; });
    EXPECT_EQ(run(own, "a"), kOk);
    waitUntil([] { return users() == 1; });
    EXPECT_EQ(run(own, "d"), kOk);
    EXPECT_EQ(own.size(), kDataBytes);  // Required: the size stays behind
  });
  ASSERT_EQ(run(memory, "c"), kOk);
  waitUntil([] { return users() == 2; });
  EXPECT_EQ(run(memory, "d"), kOk);
  EXPECT_EQ(users(), 1);
  finish(peer);
  EXPECT_EQ(users(), -1);
}

TEST_F(SharedMemory, WaitsForALockThatIsReleasedMeanwhile) {
  ASSERT_EQ(run(memory, "c"), kOk);
  pid_t const peer = startPeer([](auto& own) {
    EXPECT_EQ(run(own, "al"), kOk);
    usleep(300000);
    EXPECT_EQ(run(own, "u"), kOk);
    EXPECT_EQ(run(own, "ld"), kOk);  // gives the lock back
  });
  waitUntil([this] { return *memory.lockByte == 1; });
  EXPECT_EQ(run(memory, "u"), "false -1 unlock: not locked by us");
  EXPECT_EQ(*memory.lockByte, 1);  // the other one's lock is not touched
  EXPECT_EQ(run(memory, "lu"), kOk);
  finish(peer);
  EXPECT_EQ(*memory.lockByte, 0);
}

TEST_F(SharedMemory, GivesUpOnTheLockOfADeadProcess) {
  ASSERT_EQ(run(memory, "c"), kOk);
  finish(startPeer([](auto& own) { EXPECT_EQ(run(own, "al"), kOk); }));
  double const start = driver::now();
  EXPECT_EQ(run(memory, "l"), "false -1 lock: unable to get lock");
  EXPECT_NEAR(driver::now() - start, 3.75, 1.25);  // 2.5 s at least
  EXPECT_EQ(*memory.lockByte, 1);
}

TEST_F(SharedMemory, ASegmentOfAnotherUserIsRefused) {
  shmget(kKey, kDataBytes + 8, IPC_CREAT);
  finish(startPeer([](auto& own) {
    ASSERT_TRUE(setuid(65534) == 0 || unshare(CLONE_NEWUSER) == 0);  // gives up root's rights
    EXPECT_EQ(run(own, "a"), "false 13 shmget: Permission denied");
    EXPECT_EQ(run(own, "c"), "false 4 Shared memory ID already exists.");
  }));
  EXPECT_EQ(users(), 0);
}

// Misuse, and system calls that fail from the 'f' on.
TEST_F(SharedMemory, EveryFailureIsTold) {
  char const* const tooLarge =
      "false 2 Requested shared memory larger than system-imposed size restrictions.";
  char const* const madeAlready = "false -1 We have already created memory.";
  struct {
    int before;  // the users of a segment that is there
    char const *operations, *outcome;
    int after;
    std::map<char, int> faults = {};
  } const rows[] = {
      {-1, "0", "false 0 ", -1},
      {-1, "9", tooLarge, -1},
      {-1, "pd", kOk, -1},
      {-1, "cdp", "false -1 Not attached.", -1},
      {-1, "l", "false -1 lock: not attached", -1},
      {-1, "u", "false -1 unlock: not attached", -1},
      {-1, "cc", "false -1 We are already attached to memory.", 1},
      {-1, "cllu", kOk, 1},                                   // the lock was still held
      {-1, "cllp", "true -1 lock: already locked by us", 1},  // keeps an earlier error
      {-1, "fc", "false 28 shmget: No space left on device", -1, {{'g', ENOSPC}}},
      {1, "fc", "false 4 Shared memory ID already exists.", 1, {{'g', EINVAL}}},
      // Required: finding out whether the segment exists removes one that nobody uses.
      {0, "fc", tooLarge, -1, {{'g', EINVAL}}},
      // Required: the removal that is tried after the failure puts its own text in the place.
      {0, "fa", "false 1 shmctl: Operation not permitted", 0, {{'g', EACCES}, {'r', EPERM}}},
      // Required: the word of the other call. The segment counts as one that nobody uses.
      {0, "afd", "true 13 shmdt: Permission denied", -1, {{'s', EACCES}}},
      {0, "afd", kOk, 0, {{'g', ENOENT}}},
      {1,
       "fa",
       "false 2 Shared Memory already exist, but size does not match.",
       1,
       {{'g', EINVAL}}},
      {1, "axd", "true 5 shmdt: not attached", 1},
      // Half-made objects: no second create, but detach leaves nothing behind.
      {-1, "fc", "false 12 attach (shmat): Cannot allocate memory", 0, {{'m', ENOMEM}}},
      {-1, "fcc", madeAlready, 0, {{'m', ENOMEM}}},
      {0, "fad", kOk, -1, {{'m', ENOMEM}}},
      {0, "ca", "false 5 Shared Memory does not exist.", -1},  // leaves first, as the last one
      {1, "ca", kOk, 2},
      {0, "fa", "false 43 size query failed (shmctl): Identifier removed", 1, {{'s', EIDRM}}},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(testing::Message() << row.before << row.operations);
    driver::enterOwnIpcNamespace();
    if (row.before != -1) shmget(kKey, kDataBytes + 8, IPC_CREAT | 0666);
    if (row.before == 1) shmat(shmget(kKey, 0, 0), nullptr, 0);
    rowFaults = row.faults;
    qzSharedMemory fresh("qzClientSharedMemory");
    EXPECT_EQ(run(fresh, row.operations), row.outcome);
    EXPECT_TRUE(nextFaults.empty());
    EXPECT_EQ(users(), row.after);
  }
}

}  // namespace
