// The reference client as a program: started, spoken to through the block, and read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sharedmem/own_ipc_namespace.h"
#include "sharedmem/shared_memory.h"
#include "tool/client_block.h"

namespace {

char const* const kWaits = "Waiting for messages in shared memory, key 0x0078d311, 22988 bytes.";

class Client {
 public:
  explicit Client(std::vector<std::string> options) {
    options.insert(options.begin(), QZ_REFERENCE_CLIENT);
    std::vector<char*> arguments;
    for (std::string& option : options) arguments.push_back(option.data());
    arguments.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == -1) return;
    output = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 2);
    posix_spawn(&pid, QZ_REFERENCE_CLIENT, &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
  }
  ~Client() {
    closeOutput();
    if (pid == -1) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  Client(Client const&) = delete;

  // The next line of standard output or standard error; empty at the end and after ten seconds.
  std::string line() {
    std::string text;
    char c = 0;
    pollfd ready = {output, POLLIN, 0};
    while (poll(&ready, 1, 10000) == 1 && read(output, &c, 1) == 1 && c != '\n') text += c;
    return text;
  }
  void send(int signal) const { kill(pid, signal); }
  void closeOutput() {
    if (output != -1) close(output);
    output = -1;
  }
  // The exit status, or -1 after a signal and if there is no end within ten seconds.
  int end() {
    int status = -1;
    for (int wait = 0; wait < 500 && waitpid(pid, &status, WNOHANG) == 0; ++wait) usleep(20000);
    if (status == -1) return -1;
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid = -1;
  int output = -1;
};

// What a tool does: one message more, in the order in which a tool writes it.
void post(client_block volatile& block, std::int64_t frame, int jobThread, int instance,
          int error) {
  int const slot = block.messageCount;
  block.messageCount = static_cast<std::uint8_t>(slot + 1);
  block.messageKind[slot] = 0;
  block.messageIsError[slot] = static_cast<std::uint8_t>(error);
  block.messageFrame[slot] = frame;
  block.messageRenderInstance[slot] = static_cast<std::uint8_t>(instance);
  block.messageJobThread[slot] = static_cast<std::uint8_t>(jobThread);
}

client_block volatile& blockOf(qzSharedMemory& memory) {
  return *static_cast<client_block volatile*>(memory.data());
}

TEST(ReferenceClient, OnceEndsAfterTheFirstMessages) {
  inOwnIpcNamespace([] {
    Client client({"--once", "--interval", "20"});
    ASSERT_EQ(client.line(), kWaits);
    qzSharedMemory memory(kClientBlockName);
    ASSERT_TRUE(memory.attach());
    EXPECT_EQ(memory.size(), kClientBlockBytes);
    ASSERT_TRUE(memory.lock());
    client_block volatile& block = blockOf(memory);
    EXPECT_EQ(+block.blockMagic, 517u);
    EXPECT_EQ(+block.blockVersion, 3077);
    EXPECT_NE(+block.blockReady, 0);
    EXPECT_EQ(+block.messageCount, 0);
    post(block, 5000000000, 7, 255, 0);
    post(block, kClientBlockNoFrame, 255, 0, 1);
    memory.detach();

    EXPECT_EQ(client.line(), "slot 0: frame 5000000000, job thread 7, render instance 255, ok");
    EXPECT_EQ(client.line(), "slot 1: no frame, job thread 255, render instance 0, error");
    EXPECT_EQ(client.end(), 0);
    EXPECT_EQ(client.line(), "");
    EXPECT_FALSE(memory.attach());
  });
}

TEST(ReferenceClient, EmptiesTheTableUntilASignalEndsIt) {
  for (int const signal : {SIGTERM, SIGINT}) {
    SCOPED_TRACE(signal);
    inOwnIpcNamespace([signal] {
      Client client({"--size", "30000", "--interval", "20"});
      ASSERT_EQ(client.line(),
                "Waiting for messages in shared memory, key 0x0078d311, 30000 bytes.");
      qzSharedMemory memory(kClientBlockName);
      ASSERT_TRUE(memory.attach());
      EXPECT_EQ(memory.size(), 30000);
      for (int frame = 1; frame <= 2; ++frame) {
        ASSERT_TRUE(memory.lock());
        EXPECT_EQ(+blockOf(memory).messageCount, 0);
        post(blockOf(memory), frame, 2, 3, 0);
        memory.unlock();
        EXPECT_EQ(client.line(), "slot 0: frame " + std::to_string(frame) +
                                     ", job thread 2, render instance 3, ok");
      }
      memory.detach();
      client.send(signal);
      EXPECT_EQ(client.end(), 0);
      EXPECT_FALSE(memory.attach());
    });
  }
}

TEST(ReferenceClient, PrintsWhatWaitsWhenTheSignalComes) {
  inOwnIpcNamespace([] {
    Client client({"--interval", "3600000"});
    ASSERT_EQ(client.line(), kWaits);
    usleep(300000);  // past the first drain
    qzSharedMemory memory(kClientBlockName);
    ASSERT_TRUE(memory.attach());
    ASSERT_TRUE(memory.lock());
    for (int frame = 0; frame < kClientBlockSlots; ++frame) post(blockOf(memory), frame, 0, 0, 0);
    blockOf(memory).messageCount = 200;  // more than there are slots
    memory.detach();
    client.send(SIGTERM);
    std::vector<std::string> lines;
    for (std::string line = client.line(); !line.empty(); line = client.line())
      lines.push_back(line);
    ASSERT_EQ(lines.size(), 30u);
    EXPECT_EQ(lines.back(), "slot 29: frame 29, job thread 0, render instance 0, ok");
    EXPECT_EQ(client.end(), 0);
  });
}

TEST(ReferenceClient, RefusesToRunTwice) {
  inOwnIpcNamespace([] {
    Client first({});
    ASSERT_EQ(first.line(), kWaits);
    Client second({});
    EXPECT_EQ(second.line(),
              "reference_client: shared memory with key 0x0078d311 exists already, because another "
              "client runs or was killed: see who is attached with `ipcs -m`, remove it with "
              "`ipcrm -M 0x0078d311`, or just start again if nobody was.");
    EXPECT_EQ(second.end(), 1);
    first.send(SIGTERM);
    EXPECT_EQ(first.end(), 0);
  });
}

TEST(ReferenceClient, RemovesItsBlockIfNobodyReadsItsLines) {
  inOwnIpcNamespace([] {
    Client client({"--interval", "20"});
    ASSERT_EQ(client.line(), kWaits);
    client.closeOutput();
    qzSharedMemory memory(kClientBlockName);
    ASSERT_TRUE(memory.attach());
    ASSERT_TRUE(memory.lock());
    post(blockOf(memory), 1, 0, 0, 0);
    memory.detach();
    EXPECT_EQ(client.end(), 1);
    EXPECT_FALSE(memory.attach());
  });
}

TEST(ReferenceClient, RefusesWrongOptions) {
  std::string const needsSize = "reference_client: --size needs a number from 22988 to 2147483639";
  std::string const needsInterval = "reference_client: --interval needs a number from 1 to 3600000";
  struct {
    std::vector<std::string> options;
    std::string sentence;
  } const rows[] = {
      {{"--twice"}, "reference_client: unknown option \"--twice\"; --help lists them."},
      {{"--once", "stray"}, "reference_client: unknown option \"stray\"; --help lists them."},
      {{"--size", "22987"}, needsSize + ", not \"22987\"."},
      {{"--size", "2147483640"}, needsSize + ", not \"2147483640\"."},
      {{"--size", "99999999999999999999"}, needsSize + ", not \"99999999999999999999\"."},
      {{"--size"}, needsSize + "."},
      {{"--interval", "0"}, needsInterval + ", not \"0\"."},
      {{"--interval", "-5"}, needsInterval + ", not \"-5\"."},
      {{"--interval", "+5"}, needsInterval + ", not \"+5\"."},
      {{"--interval", " 5"}, needsInterval + ", not \" 5\"."},
      {{"--interval", "5ms"}, needsInterval + ", not \"5ms\"."},
      {{"--interval", ""}, needsInterval + ", not \"\"."},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.sentence);
    Client client(row.options);
    EXPECT_EQ(client.line(), row.sentence);
    EXPECT_EQ(client.line(), "");
    EXPECT_EQ(client.end(), 2);
  }
}

}  // namespace
