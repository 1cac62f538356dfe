#include "tool/application.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <sstream>

#include "tool/tool_driver.h"

namespace {

using Text = std::string;
struct ApplicationPath : testing::Test {
  ~ApplicationPath() override { std::filesystem::remove_all(root); }
  char pattern[32] = "/tmp/qz_application_XXXXXX";
  Text root = mkdtemp(pattern);
};

TEST_F(ApplicationPath, IsThatOfTheFileAlsoOnceItIsDeleted) {
  if (std::getenv("QZ_TEST_COPY") != nullptr) {  // the copy, started below
    Text const path = qz::detail::runningExecutable().asChar();
    EXPECT_EQ(unlink(path.c_str()), 0);
    EXPECT_EQ(path, qz::detail::runningExecutable().asChar());
    EXPECT_EQ(qzApplicationPath("/not/asked"), std::getenv("QZ_TEST_COPY"));
    return;
  }
  for (auto const& copy : {root + "/copy", root + "/copy (deleted)"}) {
    std::filesystem::copy_file("/proc/self/exe", copy);
    auto const run = "QZ_TEST_COPY=" + root + "/ '" + copy + "' --gtest_filter=*.IsThatOf*";
    EXPECT_TRUE(std::system(run.c_str()) == 0 && !std::filesystem::exists(copy));
  }
}

TEST_F(ApplicationPath, ComesFromTheFirstArgumentWhereTheSystemCanNotTell) {
  Text const fits = "/" + Text(249, 'w'), tooLong = fits + "w";
  // The working folder, argv0, the file that it names, its folder. A dash is an empty text.
  std::istringstream rows(
      "/x/y - - -  /x/y abc - -  /x/y tool tool tool/  /x/y ./tool /x/y/./tool /x/y/  "
      "/x/y /x/./t /x/./t /x/  /x/y C:x/../y C:x/../y C:x/../  /x/y a/../b /x/b /x/  "
      "/x/y a/../ /x/ /x/  /x/y .../tool /x/tool /x/  /a/b/c ../../bin/tool /a/bin/tool /a/bin/  "
      "/a/b/c x/../../../t /a/t /a/  /ab ./tool ./tool ./tool/  /gone dd/tool dd/tool dd/  /x/y " +
      Text(65540, 't') + " tttt tttt/  " + fits + " ./tool " + fits + " " + fits + "  " + tooLong +
      " ./tool ./tool ./tool/");
  driver::inOwnPidNamespace([&] {
    int const outside = open("/", O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(chroot(root.c_str()), 0);  // away from /proc
    for (Text folder, argv0, named, result; rows >> folder >> argv0 >> named >> result;) {
      SCOPED_TRACE(folder + " " + argv0);
      std::filesystem::create_directories(folder);
      ASSERT_EQ(chdir(folder.c_str()), 0);
      if (folder == "/gone") rmdir("/gone");
      for (Text* word : {&argv0, &named, &result}) *word == "-" ? word->clear() : void();
      EXPECT_EQ(qz::detail::resolveArgv0(argv0.c_str()).asChar(), named);
      _qzString8_allSize<250> path("before");
      EXPECT_EQ(qzApplicationPath(path, argv0.c_str()), !result.empty());
      EXPECT_EQ(path.asChar(), result);
    }
    EXPECT_TRUE(rows.eof() && qzApplicationPath(nullptr).isEmpty());
    EXPECT_EQ(fchdir(outside) + chroot("."), 0);  // where coverage counters are written
  });
}

TEST(ApplicationFolder, IsOneUpButNeverAboveTheFolderUnderTheRoot) {
  std::istringstream rows(
      "/a /a  /ab /ab/  /usr/ /usr/  /a/b/c /a/b/  /a/b/ /a/  a/b a/b/  /a// /a/  "
      "//s/share //s/share/  //s/share/a //s/share/");
  for (Text path, folder; rows >> path >> folder;)
    EXPECT_EQ(qz::detail::qzGetDirName_local(path.c_str()).asChar(), folder);
}

TEST(Application, NamesKindsReservesRoomAndPassesOnTheSystemsTexts) {
  Text names;
  for (int i = -1; i <= 18; ++i)
    names += qz_AppType_asString(qz_AppType(i)).to_qzString8_250().data;
  EXPECT_EQ(names,
            "unknownNoneServerClientSubmitterControlPostScriptTestLogFileClientWatchConfigViewer"
            "InstallerHistoryDBPythonModuleunknownunknownunknownNodeJSunknown");
  EXPECT_EQ(z_compressBound_copy(52428799), 52428799u + 12799 + 3199 + 211);
  EXPECT_EQ(z_compressBound_copy(52428800), 34952533u);  // Required: less than the input
  EXPECT_EQ(z_compressBound_copy(104857599), 69905066u);
  EXPECT_EQ(z_compressBound_copy(104857600), 52428800u);
  setenv("QZ_TEST_VALUE", Text(65536 + 300, 'v').c_str(), 1);
  EXPECT_EQ(qzGetEnvironmentVariable8("QZ_TEST_VALUE").length, 250);
  EXPECT_EQ(qzGetEnvironmentVariable8_long("QZ_TEST_VALUE").length, 300);
  unsetenv("QZ_TEST_VALUE");
  EXPECT_TRUE(qzGetEnvironmentVariable8("QZ_TEST_VALUE").isEmpty());
  EXPECT_EQ(qzLastOSError(ENOENT), _qzString<500>("No such file or directory"));
}

}  // namespace
