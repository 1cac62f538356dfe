// The block of shared memory that the render client keeps, so that its small tools can leave
// messages for it: the data of the qzSharedMemory segment kClientBlockName. A format between
// programs, little-endian, packed: nothing in it is aligned, messageFrame is not. The client
// creates the segment with at least kClientBlockBytes of data, sets the three marks, stays
// attached, and empties the table by setting messageCount back to 0; a tool checks the marks and
// appends.
//
//   offset    0   blockMagic              must be kClientBlockMagic
//   offset  928   blockVersion            must be kClientBlockVersion
//   offset  930   blockReady              must not be 0
//   offset 2001   messageCount            slots in use, filled from slot 0 upward
//   offset 2002   messageKind             30 times uint8, written as 0 by qzCheckExitcode
//   offset 2032   messageIsError          30 times uint8, 1 if the frame ended in error, else 0
//   offset 2124   messageFrame            30 times int64, kClientBlockNoFrame for no frame
//   offset 7435   messageJobThread        30 times uint8, low byte of the job thread's id
//   offset 7465   messageRenderInstance   30 times uint8, low byte of the render instance
//
// The bytes between belong to the client; a tool neither reads nor writes them.
//
// Take the segment's lock for all of it, reading included. A message is counted first and filled in
// afterwards, and nothing but messageCount tells which slots are in use: a reader without the lock
// can see a slot that is counted but not filled yet. Go through a `client_block volatile*`, so that
// the compiler keeps the accesses between the plain accesses to the lock byte. Fields are read by
// value: no reference binds to a packed one.
#ifndef QZ_TOOL_CLIENT_BLOCK_H_
#define QZ_TOOL_CLIENT_BLOCK_H_

#include <cstddef>
#include <cstdint>
#include <type_traits>

inline constexpr char kClientBlockName[] = "qzClientSharedMemory";
inline constexpr int kClientBlockBytes = 22988;
inline constexpr int kClientBlockMagic = 517;
inline constexpr int kClientBlockVersion = 3077;
inline constexpr int kClientBlockSlots = 30;
inline constexpr std::int64_t kClientBlockNoFrame = -30000;

struct [[gnu::packed]] client_block {
  std::uint32_t blockMagic;
  std::uint8_t reserved4[924];
  std::uint16_t blockVersion;
  std::uint16_t blockReady;
  std::uint8_t reserved932[1069];
  std::uint8_t messageCount;
  std::uint8_t messageKind[kClientBlockSlots];
  std::uint8_t messageIsError[kClientBlockSlots];
  std::uint8_t reserved2062[62];
  std::int64_t messageFrame[kClientBlockSlots];
  std::uint8_t reserved2364[5071];
  std::uint8_t messageJobThread[kClientBlockSlots];
  std::uint8_t messageRenderInstance[kClientBlockSlots];
  std::uint8_t reserved7495[15493];
};
static_assert(sizeof(client_block) == kClientBlockBytes);
static_assert(alignof(client_block) == 1);
static_assert(std::is_standard_layout_v<client_block> && std::is_trivial_v<client_block>);
static_assert(offsetof(client_block, blockMagic) == 0);
static_assert(offsetof(client_block, reserved4) == 4);
static_assert(offsetof(client_block, blockVersion) == 928);
static_assert(offsetof(client_block, blockReady) == 930);
static_assert(offsetof(client_block, reserved932) == 932);
static_assert(offsetof(client_block, messageCount) == 2001);
static_assert(offsetof(client_block, messageKind) == 2002);
static_assert(offsetof(client_block, messageIsError) == 2032);
static_assert(offsetof(client_block, reserved2062) == 2062);
static_assert(offsetof(client_block, messageFrame) == 2124);
static_assert(offsetof(client_block, reserved2364) == 2364);
static_assert(offsetof(client_block, messageJobThread) == 7435);
static_assert(offsetof(client_block, messageRenderInstance) == 7465);
static_assert(offsetof(client_block, reserved7495) == 7495);

#endif  // QZ_TOOL_CLIENT_BLOCK_H_
