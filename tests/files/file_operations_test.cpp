#include "files/file_operations.h"

#include <sys/resource.h>
#include <sys/time.h>

#include "files/scene.h"

namespace {

_qzString8_allSize<500> p(std::string const& path) { return path.c_str(); }
bool copy(std::string const& from, std::string const& to, bool overwrite = true) {
  return qzCopyFile(p(from), p(to), overwrite, 0, nullptr);
}
std::string bytes(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += static_cast<char>(i * 31 + i / 251);
  return text;
}

struct Files : files_scene {  // one of each kind
  std::string regular = makeFile(at("regular"), "12345"), missing = at("missing"), to = at("to"),
              directory = at("directory"), sock = at("sock"), fifo = at("fifo"), link = at("link");
  Files() {
    EXPECT_EQ(mknod(sock.c_str(), S_IFSOCK | 0666, 0) + mkfifo(fifo.c_str(), 0666), 0);
    EXPECT_EQ(mkdir(directory.c_str(), 0777) + symlink("regular", link.c_str()), 0);
  }
};

TEST_F(Files, AreWhatHasNoDirectoryBit) {
  _qzTime now(true), time(false);
  EXPECT_TRUE(qzSetFileTime(p(regular), nullptr) && qzFileExists(p(regular), &time, nullptr));
  EXPECT_TRUE(time.value >= now.value && time.value < now.value + 60);
  time.value = 7;
  EXPECT_TRUE(qzSetFileTime(p(regular), &time));
  // Of 500 units the last is not asked for.
  auto const full = folder + std::string(500 - folder.size() - 8, '/') + "regularX";
  EXPECT_TRUE(qzFileExists(_qzString<500>(full.c_str())));
  std::pair<std::string, bool> const rows[] = {{regular, true},    {link, true},  {missing, false},
                                               {directory, false}, {sock, false}, {"", false}};
  for (auto const& row : rows) {
    long long size = -1;
    EXPECT_EQ(qzFileExists(p(row.first), &time, &size), row.second) << row.first;
    EXPECT_TRUE(time.value == (row.second ? 7 : 0) && size == (row.second ? 5 : 0)) << row.first;
    EXPECT_EQ(qzFileExists(_qzString<500>(row.first.c_str())), row.second);
    size = -1;
    EXPECT_EQ(qzFileExists(_qzString8_allSize<250>(row.first.c_str()), &time, &size), row.second);
    EXPECT_EQ(size, 5 * row.second);
  }
}

TEST_F(Files, CopyGoesInChunksAndKeepsModeAndTimes) {
  std::pair<int, int> const rows[] = {{0, 0},       {4096, 0},    {0x7FFFF, 0},
                                      {0x80000, 1}, {0x80001, 1}, {0x100000, 2}};
  for (auto const& [size, pauses] : rows) {
    auto const from = makeFile(at("from"), bytes(size));
    timeval const times[] = {{1000, 5}, {2000, 5}};
    EXPECT_EQ(chmod(from.c_str(), 0711) + utimes(from.c_str(), times), 0);
    int pace = 5;
    insteadOfSleeping = [&](useconds_t pause) {
      EXPECT_EQ(pause, 1000u * static_cast<useconds_t>(pace++));  // read anew each time
    };
    EXPECT_TRUE(qzCopyFile(p(from), p(to), true, pace, nullptr) && pace == 5 + pauses);
    struct stat status = {};
    EXPECT_TRUE(stat(to.c_str(), &status) == 0 && (status.st_mode & 07777) == 0755);
    EXPECT_TRUE(status.st_atime == 1000 && status.st_mtime == 2000 && textOf(to) == bytes(size));
  }
}

TEST_F(Files, TailTestLooksAtTheListedBytesOnly) {
  std::pair<std::vector<std::size_t>, std::vector<std::size_t>> const rows[] = {
      {{1, 10, 0x80001}, {0, 1}},
      {{11, 300}, {0, 1, 7, 10}},
      {{301, 500}, {0, 1, 50, 300}},
      {{501, 600}, {0, 1, 50, 200, 201, 202, 500, 501}}};
  for (auto const& [sizes, offsets] : rows)
    for (auto const size : sizes)
      for (auto const spared : offsets) {  // 0 spares none
        std::string text(size, 'x');
        for (auto const offset : offsets)
          if (offset != spared) text[size - offset] = 0;
        bool isZero = spared != 0;
        EXPECT_TRUE(qzCopyFile(p(makeFile(at("from"), text)), p(to), true, 0, &isZero));
        EXPECT_EQ(isZero, spared == 0) << size << ' ' << spared;
      }
}

TEST_F(Files, FailingCallsTellTheCauseAndLeaveTheRest) {
  auto const hidden = makeFile(at("hidden")), small = at("small"), created = small + "/new";
  chmod(hidden.c_str(), 0);
  inChild([&] {
    auto const kept = mountSmall(small), large = makeFile(at("large"), bytes(200000));
    // A write that stops half-way is no failed call: the last one was the look for the target.
    EXPECT_TRUE(!copy(large, small + "/part") && errno == ENOENT);
    EXPECT_GT(std::filesystem::file_size(small + "/part"), 40000u);
    EXPECT_TRUE(!copy(large, small + "/none") && errno == ENOSPC && isThere(small + "/none"));
    mountSmall(small, MS_REMOUNT | MS_RDONLY);
    struct {
      char what;  // copy, rename, delete, time, folder
      std::string from, goal;
      int cause;
    } const rows[] = {{'c', sock, to, ENOENT},      {'c', regular, directory, EISDIR},
                      {'c', regular, sock, ENXIO},  {'c', regular, created, EROFS},
                      {'c', regular, kept, EROFS},  {'c', hidden, to, EACCES},
                      {'r', directory, to, ENOENT}, {'r', regular, directory, EISDIR},
                      {'r', kept, created, EROFS},  {'r', regular, to, EACCES},
                      {'d', directory, "", EISDIR}, {'d', kept, "", EROFS},
                      {'t', missing, "", ENOENT},   {'t', regular, "", EPERM},
                      {'f', regular, "", EEXIST},   {'f', small + "/a/b", "", EROFS}};
    for (auto const& [what, from, goal, cause] : rows) {
      EXPECT_EQ(seteuid(cause == EACCES || cause == EPERM ? 65534 : 0), 0);
      EXPECT_FALSE(what == 'c'   ? copy(from, goal)
                   : what == 'r' ? qzRenameFile(p(from), p(goal), true)
                   : what == 'd' ? qzDeleteFile(p(from))
                   : what == 't' ? qzSetFileTime(p(from), nullptr)
                                 : qzCreateFolder(p(from), true));
      EXPECT_EQ(errno, cause) << what << ' ' << from << ' ' << goal;
      EXPECT_EQ(textOf(kept) + textOf(regular), "kept12345");
    }
    EXPECT_TRUE(qzDeleteFile(_qzString<500>(kept.c_str())) ==
                "Unable to delete file, Read-only file system");
  });
  // What is so already is success.
  EXPECT_TRUE(copy(missing, regular, false) && qzRenameFile(p(hidden), p(regular), false));
  EXPECT_TRUE(isThere(hidden) && qzDeleteFile(p(missing)) && textOf(regular) == "12345");
  EXPECT_TRUE(qzDeleteFile(_qzString<500>(directory.c_str())).isEmpty() && isThere(directory));
  EXPECT_TRUE(qzDeleteFile(_qzString<500>(hidden.c_str())).isEmpty() && !isThere(hidden));
  EXPECT_TRUE(qzRenameFile(p(regular), p(makeFile(to)), true) && textOf(to) == "12345");
  // Required: the target goes before anybody looks at the source.
  EXPECT_TRUE(!copy(missing, to) && !isThere(to));
  EXPECT_TRUE(!qzRenameFile(p(missing), p(makeFile(to)), true) && !isThere(to));
}

TEST_F(Files, ASignalDuringAReadRepeatsTheWriteWithoutEnd) {  // Required
  auto const feed =
      "(for i in 1 2 3; do sleep .1; kill -USR1 $PPID; sleep .1; printf 12345; done)>";
  for (bool const interrupts : {false, true})
    inChild([&] {
      struct sigaction const action = {{[](int) {}}, {}, interrupts ? 0 : SA_RESTART, nullptr};
      rlimit const most = {65536, RLIM_INFINITY};
      EXPECT_EQ(sigaction(SIGUSR1, &action, nullptr) + setrlimit(RLIMIT_FSIZE, &most), 0);
      signal(SIGXFSZ, SIG_IGN);
      EXPECT_EQ(std::system((feed + fifo + " 2>/dev/null &").c_str()), 0);
      EXPECT_TRUE(copy(fifo, to) != interrupts && (!interrupts || errno == EFBIG));
      EXPECT_EQ(std::filesystem::file_size(to), interrupts ? 65536u : 15u);
    });
}

TEST_F(Files, FoldersAreMadeByTheirLength) {
  EXPECT_TRUE(qzCreateFolder("", true) && qzCreateFolder("/", true));
  EXPECT_TRUE(!qzCreateFolder("ab", true) && qzCreateFolder("ab", false) && isThere("ab"));
  EXPECT_FALSE(qzCreateFolder("ab", false));  // Required: two characters are not looked for
  EXPECT_FALSE(qzCreateFolder("abc/cd/", false) || !qzCreateFolder("abc/cd/", true));
  EXPECT_TRUE(qzCreateFolder("abc/cd/", false) && isThere("abc/cd"));
}

TEST(CopyStats, SentenceTellsSizeTimeAndPace) {
  _copystats added;
  added.addFile(8 << 20, 60000, 3750, 0);                  // 8 chunks of 1 MiB
  added.addFile((1 << 20) - 1, 0);                         // below a chunk
  added.addFile(-1, 1, 1, 1), added.addFile(1, -1, 1, 1);  // nothing
  added.addFile(65534LL << 20, 0, 3750, -1);               // wraps to 6
  std::pair<_copystats, char const*> rows[] = {
      // bytes, pause, files, ms, chunks, chunk size
      {added, "3 files copied ( 65543.00 MiB. 60.00s. 1092.383 MiB/s. Copy speed setting: 63% )"},
      {{}, "0 files copied ( 0.00 MiB. 0.00s. 0.000 MiB/s. Copy speed setting: 100% )"},
      {{0, 32767, 1, 20000, 65535, 1},  // an odd number where a float has no halves
       "1 files copied ( 0.00 MiB. 20.00s. 0.000 MiB/s. Copy speed setting: -10736827% )"},
      {{0, 32767, 1, 10, 65535, 1},
       "1 files copied ( 0.00 MiB. 0.01s. 0.000 MiB/s. Copy speed setting: -2147483648% )"}};
  for (auto& [stats, sentence] : rows) EXPECT_STREQ(stats.asString().asChar(), sentence);
  EXPECT_STREQ(
      (_copystats{8 << 20, 26000, 2, 128000, 0, 0}.asString(true).asChar()),
      "   2 files copied (    8.00 MiB. 2.08m.s.   0.062 MiB/s. Copy speed setting: -63% )");
}

}  // namespace
