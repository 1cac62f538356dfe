// The client's block as an onlooker sees it. Looking attaches for reading only, takes no lock and
// never removes the segment, not even as the last one to leave.
#ifndef QZ_COMPANION_BLOCK_SEGMENT_H_
#define QZ_COMPANION_BLOCK_SEGMENT_H_

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tool/client_block.h"

namespace qz::companion {

struct block_message {
  int kind;
  bool isError;
  std::int64_t frame;  // kClientBlockNoFrame for none
  int jobThread;
  int renderInstance;
};

// One look. The messages are read without the lock: one that is being posted may show old values.
struct block_look {
  enum { seen, absent, refused } outcome;
  int code = 0;  // errno if refused; then owner and mode come from the kernel's list
  std::uint32_t key = 0;
  int id = -1;
  uid_t owner = 0;             // -1 if it can't be told
  unsigned mode = 0;           // permission bits
  long long dataBytes = 0;     // without the segment's header of 8 bytes
  unsigned long attached = 0;  // processes, this one not counted
  bool isMarkedForRemoval = false;
  int lockByte = 0;
  bool isLargeEnough = false;  // for the block; the fields below are read only then
  unsigned magic = 0;
  unsigned version = 0;
  unsigned ready = 0;
  int count = 0;  // as it stands, even above 30
  std::vector<block_message> messages;

  bool hasMarks() const {
    return magic == kClientBlockMagic && version == kClientBlockVersion && ready != 0;
  }
};

block_look lookAtBlock();

// Reads the block alone: marks, count and messages.
void readBlock(client_block const volatile& block, block_look& look);

// Looks at a lock byte every 10 ms, until it is seen free or `seconds` have passed. Returns the
// seconds for which it was held, `seconds` or more if it was never seen free.
double secondsHeld(unsigned char const volatile& lockByte, double seconds);
// The same for the block of now. A block that can't be mapped counts as free.
double secondsHeld(double seconds);

// Whether this user may write into the block: 0 or errno.
int causeAgainstWriting();

// The processes that have the segment `id` mapped, in this IPC namespace and as far as
// this user may look: "PID NAME".
std::vector<std::string> attachedProcesses(int id);

// A login name, or the number of a user without one.
std::string userName(uid_t user);

}  // namespace qz::companion

#endif  // QZ_COMPANION_BLOCK_SEGMENT_H_
