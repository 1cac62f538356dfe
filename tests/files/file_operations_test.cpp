#include "files/file_operations.h"

#include <pthread.h>

#include <thread>

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
  _qzTime now(true), seven(false);
  seven.value = 7;
  EXPECT_TRUE(qzSetFileTime(p(regular), &seven));
  std::pair<std::string, bool> const rows[] = {{regular, true},    {link, true},  {missing, false},
                                               {directory, false}, {sock, false}, {"", false}};
  for (auto const& [path, isFile] : rows) {
    SCOPED_TRACE(path);
    _qzString8_allSize<250> const shorter = path.c_str();
    _qzString<500> const wide = path.c_str();
    for (int overload = 0; overload < 3; ++overload) {
      _qzTime time(true);
      long long size = -1;
      EXPECT_EQ(isFile, overload == 0   ? qzFileExists(p(path), &time, &size)
                        : overload == 1 ? qzFileExists(shorter, &time, &size)
                                        : qzFileExists(wide, &time, &size));
      EXPECT_EQ(time.value * 10 + size, isFile ? 75 : 0);
    }
    EXPECT_EQ(qzFileExists(wide), isFile);
  }
  // Of 500 units the last is not asked for.
  auto const full = folder + std::string(500 - folder.size() - 8, '/') + "regularX";
  EXPECT_TRUE(qzFileExists(_qzString<500>(full.c_str()), &seven, nullptr) && seven.value == 7);
  EXPECT_TRUE(qzSetFileTime(p(regular), nullptr) && qzFileExists(p(regular), &seven, nullptr));
  EXPECT_TRUE(seven.value >= now.value && seven.value < now.value + 60);
}

TEST_F(Files, CopyGoesInChunksAndKeepsModeAndTimes) {
  std::pair<int, int> const rows[] = {{0, 0},       {4096, 0},    {0x7FFFF, 0},
                                      {0x80000, 1}, {0x80001, 1}, {0x100000, 2}};
  for (auto const& [size, expectedPauses] : rows) {
    SCOPED_TRACE(size);
    auto const from = makeFile(at("from"), bytes(size));
    timeval const times[] = {{1000, 5}, {2000, 5}};
    EXPECT_EQ(chmod(from.c_str(), 0711) + utimes(from.c_str(), times), 0);
    int pace = 5, pauses = 0;
    insteadOfSleeping = [&](useconds_t pause) {
      EXPECT_EQ(pause, 1000u * static_cast<useconds_t>(pace++));  // read anew each time
      ++pauses;
    };
    EXPECT_TRUE(qzCopyFile(p(from), p(to), true, pace, nullptr));
    EXPECT_EQ(pauses, expectedPauses);
    struct stat status = {};
    stat(to.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777u, 0755u);
    EXPECT_EQ(status.st_atime * 10000 + status.st_mtime, 10002000);
    EXPECT_TRUE(textOf(to) == bytes(size));
  }
}

TEST_F(Files, TailTestLooksAtTheListedBytesOnly) {
  std::vector<std::size_t> const few = {1}, some = {1, 7, 10}, more = {1, 50, 300},
                                 most = {1, 50, 200, 201, 202, 500, 501};
  std::pair<std::size_t, std::vector<std::size_t>> const rows[] = {
      {1, few},    {10, few},   {11, some},  {300, some},
      {301, more}, {500, more}, {501, most}, {0x80000 + 600, most}};
  for (auto const& [size, offsets] : rows) {
    std::string text(size, 'x');
    bool tail = true;
    for (std::size_t i = 0; i < offsets.size(); text[size - offsets[i++]] = 0) {
      EXPECT_TRUE(qzCopyFile(p(makeFile(at("from"), text)), p(to), true, 0, &tail));
      EXPECT_FALSE(tail) << size << ' ' << offsets[i];
    }
    EXPECT_TRUE(qzCopyFile(p(makeFile(at("from"), text)), p(to), true, 0, &tail) && tail) << size;
  }
}

TEST_F(Files, WhatIsSoAlreadyIsSuccess) {
  bool tail = true;
  auto const other = makeFile(at("other"), "abc");
  EXPECT_TRUE(qzCopyFile(p(other), p(regular), false, 0, &tail) && tail);
  EXPECT_TRUE(qzRenameFile(p(other), p(regular), false) && copy(missing, regular, false));
  EXPECT_EQ(textOf(regular), "12345");
  EXPECT_TRUE(qzDeleteFile(p(missing)) && qzRenameFile(p(other), p(regular), true));
  EXPECT_TRUE(textOf(regular) == "abc" && !isThere(other));
  // Required: the target goes before anybody looks at the source.
  EXPECT_FALSE(copy(missing, regular) || isThere(regular));
}

TEST_F(Files, FailingCallsTellTheCauseAndLeaveTheRest) {
  auto const large = makeFile(at("large"), bytes(200000)), hidden = makeFile(at("hidden")),
             small = at("small");
  chmod(hidden.c_str(), 0);
  inChild([&] {
    auto const kept = mountSmall(small);
    // A write that stops half-way is no failed call: the last one was the look for the target.
    EXPECT_TRUE(!copy(large, small + "/part") && errno == ENOENT);
    EXPECT_GT(std::filesystem::file_size(small + "/part"), 40000u);
    EXPECT_TRUE(!copy(large, small + "/none") && errno == ENOSPC && isThere(small + "/none"));
    makeReadOnly(small);
    struct {
      char what;  // copy, rename, delete, time, folder
      std::string from, goal;
      int cause;
    } const rows[] = {{'c', directory, to, ENOENT},
                      {'c', sock, to, ENOENT},
                      {'c', regular, directory, EISDIR},
                      {'c', regular, sock, ENXIO},
                      {'c', regular, missing + "/x", ENOENT},
                      {'c', regular, small + "/new", EROFS},
                      {'c', regular, kept, EROFS},
                      {'c', hidden, to, EACCES},
                      {'r', directory, to, ENOENT},
                      {'r', regular, directory, EISDIR},
                      {'r', kept, small + "/new", EROFS},
                      {'r', regular, to, EACCES},
                      {'d', directory, "", EISDIR},
                      {'d', kept, "", EROFS},
                      {'t', missing, "", ENOENT},
                      {'t', regular, "", EPERM},
                      {'f', regular, "", EEXIST},
                      {'f', small + "/a/b", "", EROFS}};
    for (auto const& row : rows)
      inChild([&] {
        EXPECT_EQ(setuid(row.cause == EACCES || row.cause == EPERM ? 65534 : 0), 0);
        EXPECT_FALSE(row.what == 'c'   ? copy(row.from, row.goal)
                     : row.what == 'r' ? qzRenameFile(p(row.from), p(row.goal), true)
                     : row.what == 'd' ? qzDeleteFile(p(row.from))
                     : row.what == 't' ? qzSetFileTime(p(row.from), nullptr)
                                       : qzCreateFolder(p(row.from), true));
        EXPECT_EQ(errno, row.cause) << row.what << ' ' << row.from << ' ' << row.goal;
        EXPECT_EQ(textOf(kept) + textOf(regular), "kept12345");
      });
    EXPECT_TRUE(qzDeleteFile(_qzString<500>(kept.c_str())) ==
                "Unable to delete file, Read-only file system");
  });
  EXPECT_TRUE(qzDeleteFile(_qzString<500>(directory.c_str())).isEmpty() && isThere(directory));
  EXPECT_TRUE(qzDeleteFile(_qzString<500>(regular.c_str())).isEmpty() && !isThere(regular));
}

// Feeds the pipe while signals are handled; `flags` tell whether a read goes on by itself.
void copyUnderSignals(std::string const& fifo, std::string const& to, int flags, int pieces) {
  std::thread writer([&, reader = pthread_self()] {
    std::ofstream pipe(fifo);
    for (int i = 0; i < 50; ++i) usleep(5000), pthread_kill(reader, SIGALRM);
    for (int i = 0; i < pieces; ++i) usleep(5000), pipe << bytes(50) << std::flush;
  });
  startSignals(flags, 0);
  EXPECT_TRUE(copy(fifo, to));
  writer.join();
}

TEST_F(Files, ASignalDuringAReadRepeatsTheWriteWithoutEnd) {  // Required
  inChild([&] { copyUnderSignals(fifo, to, SA_RESTART, 20); });
  EXPECT_EQ(std::filesystem::file_size(to), 1000u);
  EXPECT_FALSE(endsWithin(1, [&] { copyUnderSignals(fifo, to, 0, 1); }));
  EXPECT_GT(std::filesystem::file_size(to), 1000u);
  inChild([&] {  // a file's reads are not interrupted
    startSignals(0);
    EXPECT_TRUE(copy(makeFile(at("from"), bytes(8 << 20)), to) && textOf(to) == bytes(8 << 20));
  });
}

TEST_F(Files, FoldersAreMadeByTheirLength) {
  struct {
    char const* path;
    bool recursive, result;
  } const rows[] = {{"", true, true},        {"/", true, true},        {"ab", true, false},
                    {"ab", false, true},     {"ab", false, false},  // Required: not looked for
                    {"abc/cd/", true, true}, {"abc/cd/", false, true}, {"xyz/cd", false, false}};
  inChild([&] {
    std::filesystem::current_path(folder);
    for (auto const& row : rows)
      EXPECT_EQ(qzCreateFolder(row.path, row.recursive), row.result) << row.path;
    EXPECT_TRUE(isThere("ab") && isThere("abc/cd") && !isThere("xyz"));
  });
}

TEST(CopyStats, SentenceTellsSizeTimeAndPace) {
  _copystats stats;
  auto const says = [&](char const* count, char const* size, char const* time, char const* rest) {
    auto const text = std::string(count) + " files copied ( " + size + " MiB. " + time + rest;
    EXPECT_EQ(stats.asString().asChar(), text + "% )");
  };
  says("0", "0.00", "0.00s", ". 0.000 MiB/s. Copy speed setting: 100");
  stats.addFile(3 << 20, 1500);
  EXPECT_STREQ(stats.asString(true).asChar(),
               "   1 files copied (    3.00 MiB. 1.50s.   2.000 MiB/s. Copy speed setting: 100% )");
  stats.addFile(2 << 20, 58500, 5000, 0);  // chunks of 1 MiB
  says("2", "5.00", "60.00s", ". 0.083 MiB/s. Copy speed setting: 83");
  stats.addFile((1 << 20) - 1, 1);  // below a chunk
  says("3", "6.00", "1.00m.s", ". 0.100 MiB/s. Copy speed setting: 83");
  stats.addFile(-1, 1, 1, 1), stats.addFile(1, -1);
  stats.addFile(6553700, 64999, 100, 100);  // 65539 chunks, which wrap to one more
  says("4", "12.25", "2.05m.s", ". 0.098 MiB/s. Copy speed setting: 100");
  stats.addFile(0, 0, -3, -3);
  EXPECT_EQ(stats.chunkCount + stats.sleepPerChunkMs + stats.chunkSize, 3 + copyFile_chunksize());
  stats = {8 << 20, 15000, 1, 100000, 0, 0};
  says("1", "8.00", "1.40m.s", ". 0.080 MiB/s. Copy speed setting: -20");
  stats = {0, 32767, 1, 1, 65535, 1};
  says("1", "0.00", "0.00s", ". 0.000 MiB/s. Copy speed setting: -2147483648");
}

}  // namespace
