// The tool beside a client's block: what it leaves there, and what it says where it can't.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

#include "sharedmem/shared_memory.h"
#include "tool/client_block.h"
#include "tool/tool_driver.h"

namespace {

using driver::framed;

constexpr int kHeaderBytes = 8;

// The client's side by its byte offsets alone, in an IPC namespace of the test's own.
class ToolPosting : public testing::Test {
 protected:
  ToolPosting() {
    driver::enterOwnIpcNamespace();
    makeBlock(22988);
  }
  ~ToolPosting() override { block.detach(); }

  void makeBlock(int size) {
    block.detach();
    ASSERT_TRUE(block.create(size, false, false)) << block.errorString().asChar();
    segment = static_cast<unsigned char*>(block.data()) - kHeaderBytes;
    // Every byte that is not the tool's business has a value that would show a stray write.
    std::memset(segment + 1, 0xA5, static_cast<std::size_t>(size) + kHeaderBytes - 1);
    put16(0, 517);
    put16(2, 0);
    put16(928, 3077);
    put16(930, 1);
    byteAt(2001) = 0;
  }

  unsigned char& byteAt(int offset) { return segment[kHeaderBytes + offset]; }
  void put16(int offset, int value) {
    byteAt(offset) = static_cast<unsigned char>(value & 0xFF);
    byteAt(offset + 1) = static_cast<unsigned char>(value >> 8);
  }
  std::string image() {
    return {reinterpret_cast<char*>(segment),
            static_cast<std::size_t>(block.size()) + kHeaderBytes};
  }
  // The image with one message added, byte by byte.
  std::string imageWith(int slot, int isError, std::int64_t frame, int instance, int thread) {
    std::string expected = image();
    auto const put = [&](int offset, int value) {
      expected[static_cast<std::size_t>(kHeaderBytes + offset)] = static_cast<char>(value);
    };
    put(2001, slot + 1);
    put(2002 + slot, 0);
    put(2032 + slot, isError);
    for (int i = 0; i < 8; ++i) put(2124 + 8 * slot + i, static_cast<int>(frame >> (8 * i) & 0xFF));
    put(7435 + slot, thread);
    put(7465 + slot, instance);
    return expected;
  }

  // A failed posting leaves the block alone and says why; the lock is free again.
  void expectRefused(std::string const& words) {
    std::string const before = image();
    auto const run = driver::runTool({"0", "1", "3", "7"});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.output.ends_with(framed(false, "Executable finished") + framed(true, words) +
                                     framed(true, " 8.3.05") + framed(true, "")))
        << run.output;
    EXPECT_EQ(image(), before);
  }

  qzSharedMemory block{"qzClientSharedMemory"};
  unsigned char* segment = nullptr;
};

TEST_F(ToolPosting, LeavesOneMessageAndNoOtherByte) {
  struct {
    driver::arguments args;
    int isError;
    std::int64_t frame;
    int instance, thread;
  } const rows[] = {
      {{"0", "1", "3", "7"}, 0, 7, 1, 3},
      {{"1", "2", "4", "-7"}, 1, -7, 2, 4},
      {{"5", "258", "511", "8589934599", "none", "ignore=5"}, 0, 8589934599, 2, 255},
      {{"-qzRoot", "x"}, 1, -30000, 255, 0},
      {{"0", "bad", "3", "-30000"}, 0, -30000, 255, 3},
  };
  int slot = 0;
  for (auto const& row : rows) {
    SCOPED_TRACE(slot);
    std::string const expected = imageWith(slot, row.isError, row.frame, row.instance, row.thread);
    auto const run = driver::runTool(row.args);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(image(), expected);
    // No line shows that a message was posted; the report of an error ends in the version.
    EXPECT_EQ(run.output.find("hared memory"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.ends_with(framed(true, " 8.3.05") + framed(true, "")), row.isError == 1);
    ++slot;
  }
}

TEST_F(ToolPosting, FillsTheLastSlotAndNoMore) {
  byteAt(2001) = 29;
  put16(930, 2);  // any readiness but 0 will do
  std::string const expected = imageWith(29, 0, 7, 1, 3);
  driver::runTool({"0", "1", "3", "7"});
  EXPECT_EQ(image(), expected);
  expectRefused("Message buffer is full!");
  byteAt(2001) = 200;
  expectRefused("Message buffer is full!");
}

TEST_F(ToolPosting, ChecksTheMarks) {
  put16(0, 518);
  expectRefused("Shared memory has wrong data format! (518!=517  3077!=3077  1!=1)");
  put16(0, 517);
  put16(928, 1);
  expectRefused("Shared memory has wrong data format! (517!=517  1!=3077  1!=1)");
  put16(928, 3077);
  put16(930, 0);
  expectRefused("Shared memory has wrong data format! (517!=517  3077!=3077  0!=1)");
}

TEST_F(ToolPosting, AcceptsALargerBlockButNoSmallerOne) {
  makeBlock(30000);
  std::string const expected = imageWith(0, 0, 7, 1, 3);
  driver::runTool({"0", "1", "3", "7"});
  EXPECT_EQ(image(), expected);
  makeBlock(22987);
  expectRefused("Shared memory has wrong data size! (22987!=22988)");
}

// What a process leaves that dies while it holds the lock.
TEST_F(ToolPosting, GivesUpOnALockThatStaysHeld) {
  segment[0] = 1;
  auto const started = driver::now();
  expectRefused("Unable to lock shared memory data!  lock: unable to get lock");
  EXPECT_GE(driver::now() - started, 0.7 + 2.5);
  EXPECT_EQ(segment[0], 1);
}

TEST_F(ToolPosting, RemovesTheSegmentAsTheLastOneOut) {
  key_t const key = 0x78D311;
  ASSERT_GE(shmget(key, 0, 0), 0);
  block.detach();
  EXPECT_EQ(shmget(key, 0, 0), -1);
  // A client that died leaves a segment to which nobody is attached.
  ASSERT_GE(shmget(key, 22996, IPC_CREAT | 0666), 0);
  auto const run = driver::runTool({"0", "1", "3", "7"});
  EXPECT_NE(run.output.find("(0!=517  0!=3077  0!=1)"), std::string::npos) << run.output;
  EXPECT_EQ(shmget(key, 0, 0), -1);
}

TEST_F(ToolPosting, ReportsASegmentThatItMayNotUse) {
  block.detach();
  int const id = shmget(0x78D311, 22996, IPC_CREAT | 0);
  ASSERT_GE(id, 0);
  // Without this capability root is a user like any other, and the tool is still in reach.
  auto const run =
      driver::runTool({"0", "1", "3", "7"}, [] { prctl(PR_CAPBSET_DROP, CAP_IPC_OWNER); });
  shmctl(id, IPC_RMID, nullptr);
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(
      run.output.find(framed(true, "Unable to attach shared memory!  shmget: Permission denied")),
      std::string::npos)
      << run.output;
}

TEST_F(ToolPosting, PostsEvenWhenNobodyReadsTheLog) {
  std::function<void()> const badLogs[] = {
      [] { close(STDOUT_FILENO); },
      [] { closefrom(STDIN_FILENO); },
      [] { dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); },
      [] {  // a pipe without a reader
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) == 0) dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
      },
  };
  int slot = 0;
  for (auto const& badLog : badLogs) {
    SCOPED_TRACE(slot);
    std::string const expected = imageWith(slot, 1, 7, 1, 3);
    EXPECT_EQ(driver::runTool({"1", "1", "3", "7", "none"}, badLog).status, 0);
    EXPECT_EQ(image(), expected);
    ++slot;
  }
}

}  // namespace
