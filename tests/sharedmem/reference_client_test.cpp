// The reference client as a program, beside the tool and beside another client.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/shm.h>

#include "sharedmem/shared_memory.h"
#include "tool/client_block.h"
#include "tool/tool_driver.h"

namespace {

struct ReferenceClient : testing::Test {
  ReferenceClient() { driver::enterOwnIpcNamespace(); }

  void start(std::string const& options) {
    client = popen(("exec timeout 20 '" QZ_REFERENCE_CLIENT "' 2>&1 " + options).c_str(), "r");
  }
  // The next line of standard output or standard error, empty at the end.
  std::string line() {
    char text[400] = "";
    return fgets(text, sizeof text, client) == nullptr ? "" : text;
  }

  FILE* client = nullptr;
  qzSharedMemory memory{kClientBlockName};
};

TEST_F(ReferenceClient, OnceEndsAfterTheFirstMessage) {
  start("--once --interval 20");
  EXPECT_EQ(line(), "Waiting for messages in shared memory, key 0x0078d311, 22988 bytes.\n");
  driver::runTool({"-qzRoot", "x"});
  EXPECT_EQ(line(), "slot 0: no frame, job thread 0, render instance 255, error\n");
  EXPECT_EQ(line(), "");
  EXPECT_EQ(pclose(client), 0);
  EXPECT_FALSE(memory.attach());
}

TEST_F(ReferenceClient, ASignalEndsItAfterOneMoreLook) {
  start("--size 30000 --interval 1000");
  EXPECT_EQ(line(), "Waiting for messages in shared memory, key 0x0078d311, 30000 bytes.\n");
  driver::runTool({"0", "1", "3", "8589934599"});
  EXPECT_EQ(line(), "slot 0: frame 8589934599, job thread 3, render instance 1, ok\n");
  ASSERT_TRUE(memory.attach() && memory.lock());
  auto& block = *static_cast<client_block volatile*>(memory.data());
  EXPECT_EQ(+block.messageCount, 0);
  block.messageCount = 200;  // more than there are slots
  shmid_ds status = {};
  shmctl(shmget(0x78D311, 0, 0), IPC_STAT, &status);
  memory.detach();
  double const start = driver::now();
  ASSERT_EQ(kill(status.shm_cpid, SIGTERM), 0);
  std::string last, next;
  while (!(next = line()).empty()) last = next;
  EXPECT_EQ(last.substr(0, 8), "slot 29:");
  EXPECT_EQ(pclose(client), 0);
  EXPECT_LT(driver::now() - start, 0.7);
  EXPECT_FALSE(memory.attach());
}

TEST_F(ReferenceClient, RefusesToRunTwiceAndWrongOptions) {
  struct {
    char const *options, *sentence;
    int status;
  } const rows[] = {
      {"", "shared memory with key 0x0078d311 exists already, because another client", 256},
      {"--once stray", "unknown option \"stray\"; --help lists them.\n", 512},
      {"--size 22987", "--size needs a number from 22988 to 2147483639, not \"22987\".\n", 512},
      {"--interval 5ms", "--interval needs a number from 1 to 3600000, not \"5ms\".\n", 512},
      {"--interval", "--interval needs a number from 1 to 3600000.\n", 512},
  };
  ASSERT_TRUE(memory.create(1, false, false));
  for (auto const& row : rows) {
    SCOPED_TRACE(row.options);
    start(row.options);
    EXPECT_EQ(line().find(std::string("reference_client: ") + row.sentence), 0u);
    EXPECT_EQ(line(), "");
    EXPECT_EQ(pclose(client), row.status);
  }
}

}  // namespace
