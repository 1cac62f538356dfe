#include "files/file_operations.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <utime.h>

#include <cerrno>
#include <vector>

#include "files/scene.h"

namespace {

using path8 = _qzString8_allSize<500>;

path8 p(std::string const& path) { return path.c_str(); }
bool copy(std::string const& from, std::string const& to, bool overwrite = true) {
  return qzCopyFile(p(from), p(to), overwrite, 0, nullptr);
}
std::string bytes(std::size_t count) {
  std::string text(count, 'a');
  for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>(i * 31 + i / 251);
  return text;
}

struct Files : files_scene {
  // One of each kind.
  std::string regular = makeFile(at("regular"), "12345"), missing = at("missing"),
              directory = at("directory"), socket = at("socket"), fifo = at("fifo"),
              link = at("link"), dangling = at("dangling");
  int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);

  Files() {
    sockaddr_un address = {AF_UNIX, {}};
    socket.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(mkdir(directory.c_str(), 0777) + mkfifo(fifo.c_str(), 0666), 0);
    EXPECT_EQ(symlink("regular", link.c_str()) + symlink("missing", dangling.c_str()), 0);
  }
  ~Files() override { close(listener); }
};

TEST_F(Files, AreWhatHasNoDirectoryBit) {
  utimbuf const times = {5, 7};
  utime(regular.c_str(), &times);
  struct {
    std::string path;
    bool is;
    long long time, size;
  } const rows[] = {{regular, true, 7, 5},      {link, true, 7, 5},       {missing, false, 0, 0},
                    {dangling, false, 0, 0},    {directory, false, 0, 0}, {socket, false, 0, 0},
                    {"/dev/null", true, -1, 0}, {"", false, 0, 0}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.path);
    path8 const name = p(row.path);
    _qzString8_allSize<250> const shorter = row.path.c_str();
    _qzString<500> const wide = row.path.c_str();
    for (int overload = 0; overload < 3; ++overload) {
      _qzTime time(true);
      long long size = -1;
      EXPECT_EQ(overload == 0   ? qzFileExists(name, &time, &size)
                : overload == 1 ? qzFileExists(shorter, &time, &size)
                                : qzFileExists(wide, &time, &size),
                row.is);
      EXPECT_TRUE(row.time < 0 || time.value == row.time) << time.value;
      EXPECT_EQ(size, row.size);
    }
    EXPECT_EQ(qzFileExists(name, nullptr, nullptr), row.is);
    EXPECT_EQ(qzFileExists(wide), row.is);
  }
  // Of 500 units the last is not asked for.
  std::string const full = folder + std::string(500 - folder.size() - 8, '/') + "regularX";
  EXPECT_TRUE(qzFileExists(_qzString<500>(full.c_str())));
  EXPECT_FALSE(qzFileExists(p(full), nullptr, nullptr));
}

TEST_F(Files, CopyGoesInChunksAndKeepsModeAndTimes) {
  struct {
    std::size_t size;
    int pauses;
  } const rows[] = {{0, 0},       {1, 0},       {4095, 0},    {4096, 0},
                    {0x7FFFF, 0}, {0x80000, 1}, {0x80001, 1}, {0x100000, 2}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.size);
    auto const from = makeFile(at("from"), bytes(row.size)), to = at("to");
    chmod(from.c_str(), 0711);
    utimbuf const times = {1000, 2000};
    utime(from.c_str(), &times);
    std::vector<useconds_t> pauses;
    int pace = 5;
    insteadOfSleeping = [&](useconds_t pause) { pauses.push_back(pause), ++pace; };
    errno = 0;
    EXPECT_TRUE(qzCopyFile(p(from), p(to), true, pace, nullptr));
    auto const expected = std::vector<useconds_t>{5000, 6000};  // the pace is read anew
    EXPECT_TRUE(pauses == std::vector(expected.begin(), expected.begin() + row.pauses));
    struct stat status = {};
    stat(to.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777u, 0755u);
    EXPECT_EQ(status.st_atime, 1000);
    EXPECT_EQ(status.st_mtime, 2000);
    EXPECT_TRUE(textOf(to) == bytes(row.size));
  }
}

TEST_F(Files, TailTestLooksAtTheListedBytesOnly) {
  std::vector<int> const few = {1}, some = {1, 7, 10}, more = {1, 50, 300},
                         most = {1, 50, 200, 201, 202, 500, 501};
  struct {
    std::size_t size;
    std::vector<int> const& offsets;
  } const rows[] = {{1, few},    {10, few},   {11, some},  {300, some},
                    {301, more}, {500, more}, {501, most}, {0x80000 + 600, most}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.size);
    std::string text(row.size, 'x');
    auto const tailOf = [&] {
      bool tail = false;
      qzCopyFile(p(makeFile(at("from"), text)), p(at("to")), true, 0, &tail);
      return tail;
    };
    for (int const offset : row.offsets) {
      EXPECT_FALSE(tailOf()) << offset;
      text[row.size - static_cast<std::size_t>(offset)] = 0;
    }
    EXPECT_TRUE(tailOf());
  }
}

TEST_F(Files, WhatIsSoAlreadyIsSuccess) {
  bool tail = true;
  auto const other = makeFile(at("other"), "abc");
  EXPECT_TRUE(qzCopyFile(p(other), p(regular), false, 0, &tail));
  EXPECT_TRUE(qzRenameFile(p(other), p(regular), false));
  EXPECT_TRUE(copy(missing, regular, false));
  EXPECT_EQ(textOf(regular), "12345");
  EXPECT_TRUE(tail);
  EXPECT_TRUE(qzDeleteFile(p(missing)));
  EXPECT_TRUE(qzRenameFile(p(other), p(regular), true));
  EXPECT_EQ(textOf(regular), "abc");
  EXPECT_FALSE(isThere(other));
  // Required: the target goes before anybody looks at the source.
  EXPECT_FALSE(copy(missing, regular));
  EXPECT_FALSE(isThere(regular));
}

TEST_F(Files, FailingCallsTellTheCauseAndLeaveTheRest) {
  auto const hidden = makeFile(at("hidden"));
  chmod(hidden.c_str(), 0);
  auto const small = at("small"), full = small + "/full", kept = small + "/kept";
  mkdir(small.c_str(), 0700);
  inChild([&] {
    mountSmall(small);
    makeFile(kept, "kept");
    auto const large = makeFile(at("large"), bytes(200000));
    // A write that stops half-way is no failed call: the last one was the look for the target.
    EXPECT_FALSE(copy(large, full));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_GT(std::filesystem::file_size(full), 0u);
    EXPECT_LT(std::filesystem::file_size(full), 65536u);
    EXPECT_FALSE(copy(large, full + "er"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(isThere(full + "er"));
    makeReadOnly(small);
    struct {
      char const* what;
      std::function<bool()> act;
      int cause;
      bool asNobody = false;
    } const rows[] = {
        {"from a folder", [&] { return copy(directory, at("new")); }, ENOENT},
        {"from a socket", [&] { return copy(socket, at("new")); }, ENOENT},
        {"from nowhere", [&] { return copy(missing, at("new")); }, ENOENT},
        {"to a folder", [&] { return copy(regular, directory); }, EISDIR},
        {"to a socket", [&] { return copy(regular, socket); }, ENXIO},
        {"to no folder", [&] { return copy(regular, missing + "/new"); }, ENOENT},
        {"to read-only", [&] { return copy(regular, small + "/new"); }, EROFS},
        {"over read-only", [&] { return copy(regular, kept); }, EROFS},
        {"unreadable", [&] { return copy(hidden, at("new")); }, EACCES, true},
        {"delete a folder", [&] { return qzDeleteFile(p(directory)); }, EISDIR},
        {"delete read-only", [&] { return qzDeleteFile(p(kept)); }, EROFS},
        {"rename a folder", [&] { return qzRenameFile(p(directory), p(at("new")), true); }, ENOENT},
        {"rename to a folder", [&] { return qzRenameFile(p(regular), p(directory), true); },
         EISDIR},
        {"rename read-only", [&] { return qzRenameFile(p(kept), p(small + "/new"), true); }, EROFS},
        {"time of a stranger", [&] { return qzSetFileTime(p(regular), nullptr); }, EPERM, true},
        {"time of nothing", [&] { return qzSetFileTime(p(missing), nullptr); }, ENOENT},
        {"folder over a file", [&] { return qzCreateFolder(p(regular), true); }, EEXIST},
        {"folder in nothing", [&] { return qzCreateFolder(p(missing + "/a"), false); }, ENOENT},
        {"folders read-only", [&] { return qzCreateFolder(p(small + "/a/b"), true); }, EROFS},
    };
    for (auto const& row : rows)
      inChild([&] {
        SCOPED_TRACE(row.what);
        if (row.asNobody) becomeNobody();
        errno = 0;
        EXPECT_FALSE(row.act());
        EXPECT_EQ(errno, row.cause);
        EXPECT_FALSE(isThere(at("new")));
        EXPECT_EQ(textOf(kept) + textOf(regular), "kept12345");
      });
    EXPECT_TRUE(qzDeleteFile(_qzString<500>(kept.c_str())) ==
                "Unable to delete file, Read-only file system");
  });
  EXPECT_TRUE(qzDeleteFile(_qzString<500>(directory.c_str())).isEmpty());
  EXPECT_TRUE(isThere(directory));
  EXPECT_TRUE(qzDeleteFile(_qzString<500>(regular.c_str())).isEmpty());
  EXPECT_FALSE(isThere(regular));
}

TEST_F(Files, CopyOutlivesSignalsBetweenItsBytes) {
  inChild([&] {
    std::thread writer([&] {
      std::ofstream pipe(fifo);
      for (int i = 0; i < 100; ++i) pauseFor(3), pipe << bytes(5000) << std::flush;
    });
    startSignals(SA_RESTART);
    errno = 0;
    EXPECT_TRUE(copy(fifo, at("to")));
    writer.join();
    EXPECT_EQ(std::filesystem::file_size(at("to")), 500000u);
    startSignals(0);
    auto const large = makeFile(at("large"), bytes(8 << 20));
    EXPECT_TRUE(copy(large, at("to")));
    EXPECT_TRUE(textOf(at("to")) == textOf(large));
  });
}

TEST_F(Files, AStaleInterruptionRepeatsTheWriteWithoutEnd) {  // Required
  EXPECT_FALSE(endsWithin(1000, [&] {
    makeFile(at("stale"));
    makeFile(at("from"), "z");
    errno = EINTR;
    copy(at("from"), at("stale"));
  }));
  EXPECT_GT(std::filesystem::file_size(at("stale")), 100u);
  EXPECT_FALSE(endsWithin(1500, [&] {
    startSignals(0);
    setitimer(ITIMER_REAL, nullptr, nullptr);
    std::thread([&, reader = pthread_self()] {
      std::ofstream pipe(fifo);
      for (int i = 0; i < 100; ++i) pauseFor(5), pthread_kill(reader, SIGALRM);
      pipe << 'z' << std::flush;
      pause();
    }).detach();
    errno = 0;
    copy(fifo, at("repeated"));
  }));
  EXPECT_GT(std::filesystem::file_size(at("repeated")), 100u);
}

TEST_F(Files, TimesAndFoldersAreSet) {
  _qzTime wanted(false), time(false);
  wanted.value = 123456;
  EXPECT_TRUE(qzSetFileTime(p(regular), &wanted));
  qzFileExists(p(regular), &time, nullptr);
  EXPECT_EQ(time.value, 123456);
  auto const before = ::time(nullptr);
  EXPECT_TRUE(qzSetFileTime(p(regular), nullptr));
  qzFileExists(p(regular), &time, nullptr);
  EXPECT_TRUE(time.value >= before && time.value <= ::time(nullptr));

  inChild([&] {
    ASSERT_EQ(chdir(folder.c_str()), 0);
    struct {
      char const* path;
      bool recursive, result;
      char const* made;
    } const rows[] = {{"", true, true, nullptr},         {"/", true, true, nullptr},
                      {"ab", true, false, nullptr},      {"ab", false, true, "ab"},
                      {"ab", false, false, "ab"},  // Required: two characters are not looked for
                      {"abc/cd/", true, true, "abc/cd"}, {"abc/cd/", true, true, "abc/cd"},
                      {"xyz/cd", false, false, nullptr}, {"xyz/a/b/c", true, true, "xyz/a/b/c"}};
    for (auto const& row : rows) {
      SCOPED_TRACE(row.path);
      EXPECT_EQ(qzCreateFolder(row.path, row.recursive), row.result);
      EXPECT_TRUE(row.made == nullptr || std::filesystem::is_directory(row.made));
    }
    EXPECT_FALSE(isThere("cd"));
  });
  struct stat status = {};
  stat(at("xyz/a").c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777u, 0755u);
}

TEST(CopyStats, SentenceTellsSizeTimeAndPace) {
  constexpr std::int64_t kMiB = 1 << 20;
  struct {
    _copystats stats;  // bytes, pause, files, ms, chunks, chunk size
    char const* sentence;
  } rows[] = {
      {{}, "0 files copied ( 0.00 MiB. 0.00s. 0.000 MiB/s. Copy speed setting: 100% )"},
      {{3 * kMiB, 0, 2, 1500, 0, 0},
       "2 files copied ( 3.00 MiB. 1.50s. 2.000 MiB/s. Copy speed setting: 100% )"},
      {{kMiB, 50, 1, 10000, 100, 1000},
       "1 files copied ( 1.00 MiB. 10.00s. 0.100 MiB/s. Copy speed setting: 50% )"},
      {{4 * kMiB, 10, 1, 60000, 0, -1},
       "1 files copied ( 4.00 MiB. 60.00s. 0.067 MiB/s. Copy speed setting: 100% )"},
      {{0, 0, 1, 60001, 0, 0},
       "1 files copied ( 0.00 MiB. 1.00m.s. 0.000 MiB/s. Copy speed setting: 100% )"},
      {{0, 20, 1, 125000, 10000, 1},
       "1 files copied ( 0.00 MiB. 2.05m.s. 0.000 MiB/s. Copy speed setting: -60% )"},
      {{0, 32767, 1, 1, 65535, 1},
       "1 files copied ( 0.00 MiB. 0.00s. 0.000 MiB/s. Copy speed setting: -2147483648% )"},
  };
  for (auto& row : rows) EXPECT_STREQ(row.stats.asString().asChar(), row.sentence);
  EXPECT_STREQ(rows[1].stats.asString(true).asChar(),
               "   2 files copied (    3.00 MiB. 1.50s.   2.000 MiB/s. Copy speed setting: 100% )");
  EXPECT_EQ(rows[3].stats.chunkSize, copyFile_chunksize());
  EXPECT_EQ(rows[3].stats.chunkCount, 4);
}

TEST(CopyStats, AddingFollowsTheLatestPace) {
  _copystats stats;
  stats.addFile(5000, 10);
  stats.addFile(5000, 10, 7, 1000);
  stats.addFile(999, 10);
  stats.addFile(2000, 10);
  stats.addFile(-1, 10, 9, 9);
  stats.addFile(1, -1);
  EXPECT_EQ(stats.fileCount, 4);
  EXPECT_EQ(stats.totalBytes, 12999);
  EXPECT_EQ(stats.totalTimeMs, 40);
  EXPECT_EQ(stats.sleepPerChunkMs, 7);
  EXPECT_EQ(stats.chunkCount, 7);
  stats.addFile(65536000, 0, 1, 1000);  // wraps
  EXPECT_EQ(stats.chunkCount, 7);
  stats.addFile(5000, 0, -3, 0);
  EXPECT_EQ(stats.sleepPerChunkMs, 0);
  EXPECT_EQ(stats.chunkSize, copyFile_chunksize());
  EXPECT_EQ(stats.chunkCount, 7);
}

}  // namespace
