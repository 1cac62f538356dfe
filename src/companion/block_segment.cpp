#include "companion/block_segment.h"

#include <pwd.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "sharedmem/shared_memory.h"

namespace qz::companion {
namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr int kMarkedForRemoval = 01000;  // SHM_DEST, shmctl(2)

std::uint32_t blockKey() { return detail::segmentKey(qzSharedMemory(kClientBlockName).keyName); }

int findBlock() { return shmget(static_cast<key_t>(blockKey()), 0, 0); }

// Owner and mode of a segment that this user may not look at: the kernel lists them for everybody.
// Columns: key, id, mode in octal, size, creator, last user, users, owner.
void readKernelList(block_look& look) {
  std::ifstream list("/proc/sysvipc/shm");
  for (std::string line; std::getline(list, line);) {
    int key = 0, id = 0;
    unsigned mode = 0, owner = 0;
    if (std::sscanf(line.c_str(), "%d %d %o %*s %*s %*s %*s %u", &key, &id, &mode, &owner) != 4 ||
        id != look.id)
      continue;
    look.mode = mode & 0777;
    look.owner = owner;
  }
}

// Mapped for reading as long as the object lives.
struct mapping {
  unsigned char const volatile* bytes;

  explicit mapping(int id) {
    void* const address = shmat(id, nullptr, SHM_RDONLY);
    bytes = address == reinterpret_cast<void*>(-1) ? nullptr : static_cast<unsigned char*>(address);
  }
  mapping(mapping const&) = delete;
  mapping& operator=(mapping const&) = delete;
  ~mapping() {
    if (bytes != nullptr) (void)shmdt(const_cast<unsigned char const*>(bytes));
  }
};

}  // namespace

void readBlock(client_block const volatile& block, block_look& look) {
  look.magic = block.blockMagic;
  look.version = block.blockVersion;
  look.ready = block.blockReady;
  look.count = block.messageCount;
  for (int slot = 0; slot < std::min(look.count, kClientBlockSlots); ++slot)
    look.messages.push_back({block.messageKind[slot], block.messageIsError[slot] != 0,
                             block.messageFrame[slot], block.messageJobThread[slot],
                             block.messageRenderInstance[slot]});
}

block_look lookAtBlock() {
  block_look look = {};
  look.owner = static_cast<uid_t>(-1);
  look.key = blockKey();
  look.id = findBlock();
  shmid_ds status = {};
  // The size and the count of users are taken before this process adds itself.
  if (look.id == -1 || shmctl(look.id, IPC_STAT, &status) == -1) {
    look.code = errno;
    bool const isAbsent = errno == ENOENT || errno == EIDRM || errno == EINVAL;
    look.outcome = isAbsent ? block_look::absent : block_look::refused;
    if (!isAbsent) readKernelList(look);
    return look;
  }
  look.owner = status.shm_perm.uid;
  look.mode = status.shm_perm.mode & 0777;
  look.isMarkedForRemoval = (status.shm_perm.mode & kMarkedForRemoval) != 0;
  look.attached = status.shm_nattch;
  look.dataBytes = static_cast<long long>(status.shm_segsz) - static_cast<long long>(kHeaderBytes);

  mapping const mapped(look.id);
  if (mapped.bytes == nullptr) {
    look.code = errno;
    bool const isAbsent = errno == EIDRM || errno == EINVAL;
    look.outcome = isAbsent ? block_look::absent : block_look::refused;
    return look;
  }
  look.outcome = block_look::seen;
  look.lockByte = mapped.bytes[0];
  look.isLargeEnough = look.dataBytes >= kClientBlockBytes;
  if (look.isLargeEnough)
    readBlock(*reinterpret_cast<client_block const volatile*>(mapped.bytes + kHeaderBytes), look);
  return look;
}

double secondsHeld(unsigned char const volatile& lockByte, double seconds) {
  using clock = std::chrono::steady_clock;
  auto const started = clock::now();
  auto const elapsed = [&] {
    return std::chrono::duration<double>(clock::now() - started).count();
  };
  for (;;) {
    double const held = elapsed();
    if (lockByte == 0 || held >= seconds) return held;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

double secondsHeld(double seconds) {
  mapping const mapped(findBlock());
  return mapped.bytes == nullptr ? 0 : secondsHeld(mapped.bytes[0], seconds);
}

int causeAgainstWriting() {
  return shmget(static_cast<key_t>(blockKey()), 0, 0660) == -1 ? errno : 0;
}

std::vector<std::string> attachedProcesses(int id) {
  // The line of a mapping, proc(5): range, rights, offset, device, inode, and the name with the
  // key. The inode of a System V segment is its id.
  std::string const inode = " " + std::to_string(id) + " ";
  std::vector<std::string> found;
  std::error_code ignored;
  auto const ownNamespace = std::filesystem::read_symlink("/proc/self/ns/ipc", ignored);
  for (auto const& folder : std::filesystem::directory_iterator("/proc", ignored)) {
    std::string const pid = folder.path().filename();
    if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream maps(folder.path() / "maps");
    for (std::string line; std::getline(maps, line);) {
      if (line.find("/SYSV") == std::string::npos || line.find(inode) == std::string::npos)
        continue;
      // Another container's segment may well have the same key and id.
      if (std::filesystem::read_symlink(folder.path() / "ns/ipc", ignored) != ownNamespace) break;
      std::string name;
      std::getline(std::ifstream(folder.path() / "comm"), name);
      found.push_back(pid + " " + name);
      break;
    }
  }
  return found;
}

std::string userName(uid_t user) {
  if (user == static_cast<uid_t>(-1)) return "another user";
  passwd const* const entry = getpwuid(user);
  return entry == nullptr ? std::to_string(user) : entry->pw_name;
}

}  // namespace qz::companion
