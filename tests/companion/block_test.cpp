// The inspector beside a client's block: what it shows, and what it leaves alone.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>

#include "sharedmem/shared_memory.h"
#include "tool/client_block.h"
#include "tool/tool_driver.h"

namespace {

driver::tool_run frame(driver::arguments words, std::function<void()> const& prepare = {}) {
  words.insert(words.begin(), "block");
  return driver::finish(driver::startProgram(QZ_FRAME, words, prepare));
}

// The client, in an IPC namespace of the test's own. Going, it leaves the segment to the namespace.
struct FrameBlock : testing::Test {
  FrameBlock() {
    driver::enterOwnIpcNamespace();
    EXPECT_TRUE(memory.create(kClientBlockBytes, false, false));
    std::memset(memory.data(), 0xA5, kClientBlockBytes);
    block().blockMagic = kClientBlockMagic;
    block().blockVersion = kClientBlockVersion;
    block().blockReady = 1;
    block().messageCount = 0;
  }
  ~FrameBlock() override {
    if (exists()) (void)shmctl(segmentId(), IPC_RMID, nullptr);
  }

  client_block volatile& block() { return *static_cast<client_block volatile*>(memory.data()); }
  static int segmentId() { return shmget(0x78D311, 0, 0); }
  static bool exists() { return segmentId() != -1; }
  static std::string image() {
    void* const mapped = shmat(segmentId(), nullptr, SHM_RDONLY);
    std::string bytes(static_cast<char*>(mapped), kClientBlockBytes + 8);
    (void)shmdt(mapped);
    return bytes;
  }
  void leave() {  // as a client does that dies
    memory.key = 0;
    memory.clearAll();
  }
  void post(int count) {
    for (int i = 0; i < count; ++i) {
      block().messageIsError[i] = i % 2 == 0;
      block().messageFrame[i] = i == 1 ? kClientBlockNoFrame : 8589934592 + i;
      block().messageKind[i] = 0;
      block().messageJobThread[i] = 3;
      block().messageRenderInstance[i] = 255;
    }
    block().messageCount = static_cast<std::uint8_t>(count);
  }

  qzSharedMemory memory{kClientBlockName};
};

TEST_F(FrameBlock, LookingChangesNothingNotEvenAsTheLastToLeave) {
  post(2);
  *memory.lockByte = 1;
  prctl(PR_SET_NAME, "\xff\x1b[2J");  // a process chooses its own name
  std::string const before = image();
  for (bool const isAttached : {true, false}) {
    SCOPED_TRACE(isAttached);
    if (!isAttached) leave();
    auto const shown = frame({"show"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.output.find('\x1b'), std::string::npos);
    for (auto const* words :
         {"key        0x0078d311", "mode 0666", "22988 bytes", "lock       held",
          "magic 517, version 3077, ready 1", "messages   2 of 30",
          "error  frame 8589934592, job thread 3, render instance 255", "good   frame none"})
      EXPECT_NE(shown.output.find(words), std::string::npos) << words << "\n" << shown.output;
    auto const json = nlohmann::json::parse(frame({"show", "--json"}).output);
    EXPECT_EQ(json["attached"], isAttached ? 1 : 0);
    EXPECT_EQ(json["processes"].size(), isAttached ? 1U : 0U);
    EXPECT_EQ(json["messages"][0]["frame"], 8589934592);
    EXPECT_TRUE(json["messages"][1]["frame"].is_null());
    frame({"check"});
    ASSERT_TRUE(exists());
    EXPECT_EQ(image(), before);
  }
}

TEST_F(FrameBlock, CheckKnowsFourStatuses) {
  auto const expect = [](int status, char const* words, driver::arguments options = {},
                         std::function<void()> const& prepare = {}) {
    options.insert(options.begin(), "check");
    auto const run = frame(options, prepare);
    EXPECT_EQ(WEXITSTATUS(run.status), status) << run.output;
    EXPECT_NE(run.output.find(words), std::string::npos) << run.output;
  };
  auto const withoutRight = [] { prctl(PR_CAPBSET_DROP, CAP_IPC_OWNER); };  // even as root

  post(9);
  expect(0, "OK - 9 messages waiting | messages=9;10;25;0;30 attached=1");
  expect(1, "WARNING - 9", {"--warning", "9"});
  expect(2, "CRITICAL - 9", {"--critical", "9"});
  *memory.lockByte = 1;
  expect(2, "held for more than 0.3 seconds", {"--lock", "0.3"});
  *memory.lockByte = 0;
  block().blockReady = 0;
  expect(2, "wrong marks 517/3077/0");
  leave();
  expect(2, "wrong marks");
  ASSERT_EQ(shmctl(segmentId(), IPC_RMID, nullptr), 0);
  expect(2, "no client");
  ASSERT_NE(shmget(0x78D311, 4, IPC_CREAT | 0), -1);
  expect(2, "key clash");
  expect(3, "Permission denied", {}, withoutRight);
  auto const refused = frame({"show"}, withoutRight);
  EXPECT_EQ(WEXITSTATUS(refused.status), 1);
  EXPECT_NE(refused.output.find("(mode 0000) can't"), std::string::npos) << refused.output;
  EXPECT_TRUE(exists());
}

TEST_F(FrameBlock, UnlockFreesOnlyALockThatStaysHeld) {
  *memory.lockByte = 1;
  auto const refused = driver::startProgram(QZ_FRAME, {"block", "unlock", "--yes"});
  sleep(2);
  *memory.lockByte = 0;
  EXPECT_EQ(WEXITSTATUS(driver::finish(refused).status), 1);
  *memory.lockByte = 1;
  auto const unasked = frame({"unlock"}, [] { close(STDIN_FILENO); });
  EXPECT_EQ(WEXITSTATUS(unasked.status), 1);
  EXPECT_NE(unasked.output.find("nothing was done"), std::string::npos) << unasked.output;
  EXPECT_EQ(*memory.lockByte, 1);
  leave();  // the last one to touch it must not take it along
  EXPECT_EQ(frame({"unlock", "--yes"}).status, 0);
  ASSERT_TRUE(exists());
  EXPECT_EQ(image()[0], 0);
}

TEST_F(FrameBlock, DrainTakesTheMessagesOutOfABlockInOrder) {
  post(2);
  std::string expected = image();
  expected[8 + 2001] = 0;
  auto const drained = frame({"drain", "--yes"});
  EXPECT_EQ(drained.output,
            "error, frame 8589934592, job thread 3, render instance 255\n"
            "good, frame none, job thread 3, render instance 255\n");
  EXPECT_EQ(image(), expected);
  block().blockVersion = 1;
  post(2);
  EXPECT_EQ(WEXITSTATUS(frame({"drain", "--yes"}).status), 1);
  EXPECT_EQ(+block().messageCount, 2);
}

// Nobody else has the messages any more, so they must come out somewhere.
TEST_F(FrameBlock, DrainLosesNoMessageWhereItsOutputIsFull) {
  post(2);
  auto const full = frame({"drain", "--yes"}, [] { dup2(open("/dev/full", O_WRONLY), 1); });
  EXPECT_EQ(WEXITSTATUS(full.status), 1);
  EXPECT_NE(full.output.find("the messages were:\nerror, frame 8589934592"), std::string::npos)
      << full.output;
  EXPECT_EQ(+block().messageCount, 0);
}

TEST_F(FrameBlock, AsksOnATerminal) {
  std::string const drain = "'" QZ_FRAME "' block drain --json; echo status $?";
  for (auto const* answer : {"n\n", "\n", "yes\n"}) {
    SCOPED_TRACE(answer);
    post(2);
    bool const isYes = answer[0] == 'y';
    auto const shown = driver::onTerminal(drain, answer);
    EXPECT_NE(shown.find("Take 2 messages out of the block? The client will not see them. [y/N]"),
              std::string::npos)
        << shown;
    EXPECT_NE(shown.find(isYes ? "status 0" : "status 1"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("nothing was done") == std::string::npos, isYes) << shown;
    EXPECT_EQ(shown.find("\"frame\": 8589934592") != std::string::npos, isYes) << shown;
    EXPECT_EQ(+block().messageCount, isYes ? 0 : 2);
  }
}

TEST_F(FrameBlock, WritesOnlyWhereItMay) {
  auto const refused = [](char const* word, char const* words,
                          std::function<void()> const& prepare = {}) {
    SCOPED_TRACE(word);
    auto const run = frame({word, "--yes"}, prepare);
    EXPECT_EQ(WEXITSTATUS(run.status), 1);
    EXPECT_NE(run.output.find(words), std::string::npos) << run.output;
  };
  refused("create", "no block was created: ");
  refused("unlock", "the lock is free");
  *memory.lockByte = 1;
  refused("drain", "the block can't be locked: ");
  *memory.lockByte = 0;
  shmid_ds owned;
  ASSERT_EQ(shmctl(segmentId(), IPC_STAT, &owned), 0);
  owned.shm_perm.mode = 0444;
  ASSERT_EQ(shmctl(segmentId(), IPC_SET, &owned), 0);
  auto const withoutRight = [] { prctl(PR_CAPBSET_DROP, CAP_IPC_OWNER); };
  for (auto const* word : {"drain", "unlock", "hold"})
    refused(word, "the block can't be written: Permission denied", withoutRight);
  leave();
  ASSERT_EQ(shmctl(segmentId(), IPC_RMID, nullptr), 0);
  for (auto const* word : {"drain", "unlock", "hold"})
    refused(word, "no client keeps a block here (key 0x0078d311)");
  ASSERT_NE(shmget(0x78D311, 40, IPC_CREAT | 0666), -1);
  EXPECT_NE(frame({"show"}).output.find("32 bytes of data, too few"), std::string::npos);
  refused("drain", "the block can't be locked: ");
}

TEST_F(FrameBlock, WatchTellsEachChangeOfABlockThatCreateMade) {
  leave();
  ASSERT_EQ(shmctl(segmentId(), IPC_RMID, nullptr), 0);
  auto const next = [](driver::running_tool const& from) {
    std::string line;
    for (char one = 0; one != '\n' && read(from.output, &one, 1) == 1;) line += one;
    return line;
  };
  auto const watcher = driver::startProgram(QZ_FRAME, {"block", "watch", "--interval", "20"});
  EXPECT_NE(next(watcher).find("no block"), std::string::npos);
  auto const creator = driver::startProgram(QZ_FRAME, {"block", "create", "--yes"});
  std::string const held = next(creator);
  std::string seen;
  while (!seen.ends_with(", 0 messages, 1 attached, lock free\n"))
    ASSERT_NE(seen = next(watcher), "");
  EXPECT_EQ(driver::runTool({"5", "1", "3", "7"}).status, 0);
  while (!seen.ends_with(", 1 messages, 1 attached, lock free\n"))
    ASSERT_NE(seen = next(watcher), "");
  ASSERT_EQ(shmctl(segmentId(), IPC_RMID, nullptr), 0);
  auto const ended = driver::finish(creator);
  EXPECT_EQ(WEXITSTATUS(ended.status), 1);
  EXPECT_NE(ended.output.find("the block was removed"), std::string::npos) << ended.output;
  kill(watcher.pid, SIGTERM);
  EXPECT_EQ(driver::finish(watcher).status, 0);
}

TEST_F(FrameBlock, HoldKeepsTheMessagesOverTheClientsDeath) {
  auto const holder = driver::startProgram(QZ_FRAME, {"block", "hold", "--yes"});
  char one = 0;
  while (one != '\n' && read(holder.output, &one, 1) == 1) continue;
  leave();
  auto const posted = driver::runTool({"0", "1", "3", "7"});
  EXPECT_EQ(posted.output.find("shared memory"), std::string::npos) << posted.output;
  kill(holder.pid, SIGTERM);
  auto const held = driver::finish(holder);
  EXPECT_EQ(held.status, 0);
  EXPECT_NE(held.output.find("Nobody else is attached"), std::string::npos) << held.output;
  ASSERT_TRUE(exists());
  EXPECT_EQ(image()[8 + 2001], 1);
}

}  // namespace
