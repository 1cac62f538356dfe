#include "files/paths.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "tool/tool_driver.h"

namespace {

template <int N>
using s8 = _qzString8_allSize<N>;
template <int N>
using s16 = _qzString<N>;

std::string said(bool result) { return result ? "true" : "false"; }
template <class Text>
std::string said(Text const& result) {
  EXPECT_EQ(result.data[result.length], 0);
  return std::string(result.data, result.data + result.length);
}

template <class... Texts, class Call>
void holdsFor(std::string const& in, std::string const& out, Call call) {
  for (auto const& result : {said(call(Texts(in.c_str())))...}) EXPECT_EQ(result, out) << in;
}

// The rows of the function's table in docs/files.md.
template <class... Texts, class Call>
void tableHolds(std::string const& function, Call call) {
  std::regex const row("\\| (?:\\*empty\\*|`?([^`]*?)`?) \\| (?:\\*empty\\*|`?([^`]*?)`?) \\|.*");
  std::ifstream page(QZ_FILES_PAGE);
  std::string line;
  while (std::getline(page, line) && !line.starts_with("### `" + function + "`")) continue;
  int rows = 0;
  for (std::smatch cells; std::getline(page, line) && !line.starts_with("#");)
    if (std::regex_match(line, cells, row) && ++rows > 1)  // behind the head
      holdsFor<Texts...>(cells.str(1), cells.str(2), call);
  EXPECT_GT(rows, 4) << function;
}

auto const dirName = [](auto path) { return qzGetDirName(path); };
auto const fileName = [](auto path) { return qzGetFileName(path); };
auto const isRelative = [](auto path) { return isRelativePath(path); };
auto const convert = [](auto path) { return qzConvertPDToOS(path); };
auto const exists = [](auto path) { return qzDirectoryExists(path); };

TEST(Paths, EveryOverloadFollowsThePage) {
  tableHolds<s8<200>, s8<250>, s8<500>, s16<250>, s16<500>, s16<1000>>("qzGetDirName", dirName);
  tableHolds<s8<200>, s8<250>, s8<500>, s16<250>, s16<500>>("qzGetFileName", fileName);
  tableHolds<s8<500>>("qzGetFileNameBase", [](auto s) { return qzGetFileNameBase(s, 0x2F); });
  EXPECT_EQ(said(qzGetFileNameBase("C:\\x/x\\y.z.c", 0x125C)), "y.z");  // the low byte
  tableHolds<s8<500>, s16<250>, s16<1000>>("isRelativePath", isRelative);
  tableHolds<s8<500>, s16<500>>("qzPathResolve", [](auto s) { return qzPathResolve(s); });
  tableHolds<s8<50>, s8<150>, s8<200>, s8<500>, s16<250>, s16<500>>("qzConvertPDToOS", convert);
  tableHolds<s8<500>>("makeMacGuiExe", makeMacGuiExe8);
  tableHolds<s16<250>>("makeMacGuiExe", makeMacGuiExe);
}

TEST(Paths, LongTextsAreCutAndWideFormsCompareWholeUnits) {
  std::string const name(197, 'n'), bundle = "/" + name + std::string(42, 'b');
  std::string const inside = bundle + ".app/Contents/MacOS/" + name.substr(0, 100);
  holdsFor<s8<200>, s8<250>, s8<500>>("/x/" + name, name.substr(0, 100), fileName);
  holdsFor<s16<250>, s16<500>>(name, name.substr(0, 100), fileName);
  holdsFor<s16<250>>(bundle, inside.substr(0, 250), makeMacGuiExe);
  holdsFor<s8<500>>(bundle, inside, makeMacGuiExe8);
  holdsFor<s8<200>>("/:" + name, "/:" + name + "/", dirName);
  holdsFor<s8<200>>("/:n" + name, "/:n" + name, dirName);  // no room for a slash

  unsigned short const units[] = {'/', 'a', 0x012F, 0x015C, '/', 0x0161, 0};
  EXPECT_EQ(qzGetFileName(s16<250>(units)), s16<100>(units + 5));
  EXPECT_EQ(qzGetDirName(s16<500>(units)), s16<500>(units, 5));
  EXPECT_EQ(qzConvertPDToOS(s16<250>(units)), s16<250>(units));
}

TEST(Paths, OneBitOfTheTypeMakesADirectory) {
  char pattern[] = "/tmp/qz_paths_XXXXXX";
  std::string const root = mkdtemp(pattern), folder = root + "/folder", link = root + "/link";
  auto const allAnswer = [](auto answer, std::initializer_list<std::string> paths) {
    for (auto const& path : paths)
      holdsFor<s8<200>, s8<250>, s8<500>, s16<500>, char const*>(path, answer, exists);
  };
  std::filesystem::create_directory(folder);
  std::filesystem::create_symlink("folder", link);
  std::filesystem::create_symlink("nothing", root + "/lost");
  std::ofstream(root + "/file") << "text";
  EXPECT_EQ(mknod((root + "/socket").c_str(), S_IFSOCK | 0600, 0), 0);
  // Required: a socket has the bit as well.
  allAnswer("true", {folder, folder + "/", folder + "//", link, root + "/socket/"});
  allAnswer("false", {"", "/", "C:", root + "/file", root + "/file/", root + "/lost"});
  EXPECT_FALSE(qzDirectoryExists(nullptr));
  std::filesystem::permissions(root, std::filesystem::perms(0600));
  driver::inOwnPidNamespace([&] {  // gives up root's rights
    EXPECT_TRUE(setuid(65534) == 0 || unshare(CLONE_NEWUSER) == 0);
    allAnswer("true", {root});
    allAnswer("false", {folder});
  });
  std::filesystem::permissions(root, std::filesystem::perms(0700));
  // Required: the 16-bit form asks for the front of a long path.
  std::string const front = root + "/" + std::string(248 - root.size(), 'f');
  std::filesystem::create_directory(front + "long");
  holdsFor<s8<500>, char const*>(front + "long", "true", exists);
  std::filesystem::create_directory(front);
  holdsFor<s16<500>>(front + "xyz", "true", exists);
  std::filesystem::remove_all(root);
}

}  // namespace
