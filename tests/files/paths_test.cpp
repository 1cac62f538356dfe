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
using text8 = _qzString8_allSize<N>;
template <int N>
using text16 = _qzString<N>;

std::string said(bool result) { return result ? "true" : "false"; }
template <class Text>
std::string said(Text const& result) {
  EXPECT_EQ(result.data[result.length], 0);
  return std::string(result.data, result.data + result.length);
}

template <class... Texts, class Call>
void holdsFor(std::string const& in, std::string const& out, Call call) {
  SCOPED_TRACE(in);
  auto const expect = [&out](std::string const& result) { EXPECT_EQ(result, out); };
  (expect(said(call(Texts(in.c_str())))), ...);
}

// The rows of the function's table in docs/files.md.
template <class... Texts, class Call>
void tableHoldsFor(std::string const& function, Call call) {
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
auto const resolve = [](auto path) { return qzPathResolve(path); };
auto const exists = [](auto path) { return qzDirectoryExists(path); };

TEST(Paths, EveryOverloadFollowsThePage) {
  tableHoldsFor<text8<200>, text8<250>, text8<500>>("qzGetDirName", dirName);
  tableHoldsFor<text16<250>, text16<500>, text16<1000>>("qzGetDirName", dirName);
  tableHoldsFor<text8<200>, text8<250>, text8<500>>("qzGetFileName", fileName);
  tableHoldsFor<text16<250>, text16<500>>("qzGetFileName", fileName);
  tableHoldsFor<text8<500>>("qzGetFileNameBase", [](auto s) { return qzGetFileNameBase(s, 0x2F); });
  EXPECT_EQ(said(qzGetFileNameBase("C:\\x/x\\y.z.c", 0x125C)), "y.z");  // the low byte
  tableHoldsFor<text8<500>, text16<250>, text16<1000>>("isRelativePath", isRelative);
  tableHoldsFor<text8<500>, text16<500>>("qzPathResolve", resolve);
  tableHoldsFor<text8<50>, text8<150>, text8<200>, text8<500>>("qzConvertPDToOS", convert);
  tableHoldsFor<text16<250>, text16<500>>("qzConvertPDToOS", convert);
  tableHoldsFor<text8<500>>("makeMacGuiExe", makeMacGuiExe8);
  tableHoldsFor<text16<250>>("makeMacGuiExe", makeMacGuiExe);
}

TEST(Paths, LongTextsAreCutAndWideFormsCompareWholeUnits) {
  std::string const name(150, 'n'), bundle = "/" + name + std::string(89, 'b');
  std::string const inside = bundle + ".app/Contents/MacOS/" + name.substr(0, 100);
  holdsFor<text8<200>, text8<250>, text8<500>>("/x/" + name, name.substr(0, 100), fileName);
  holdsFor<text16<250>, text16<500>>(name, name.substr(0, 100), fileName);
  holdsFor<text16<250>>(bundle, inside.substr(0, 250), makeMacGuiExe);
  holdsFor<text8<500>>(bundle, inside, makeMacGuiExe8);
  auto const folder = [](std::size_t length) { return "/:" + std::string(length - 2, 'f'); };
  holdsFor<text8<200>>(folder(199), folder(199) + "/", dirName);
  holdsFor<text8<200>>(folder(200), folder(200), dirName);  // no room for a slash

  unsigned short const units[] = {'/', 'a', 0x012F, 0x015C, '/', 0x0161, 0};
  EXPECT_EQ(qzGetFileName(text16<250>(units)), text16<100>(units + 5));
  EXPECT_EQ(qzGetDirName(text16<500>(units)), text16<500>(units, 5));
  EXPECT_EQ(qzConvertPDToOS(text16<250>(units)), text16<250>(units));
}

TEST(Paths, OneBitOfTheTypeMakesADirectory) {
  char pattern[] = "/tmp/qz_paths_XXXXXX";
  std::string const root = mkdtemp(pattern), folder = root + "/folder", link = root + "/link";
  auto const allAnswer = [](auto answer, std::initializer_list<std::string> paths) {
    for (auto const& path : paths)
      holdsFor<text8<200>, text8<250>, text8<500>, text16<500>, char const*>(path, answer, exists);
  };
  std::filesystem::create_directories(folder + "/inner");
  std::filesystem::create_symlink("folder", link);
  std::ofstream(root + "/file") << "text";
  EXPECT_EQ(mknod((root + "/socket").c_str(), S_IFSOCK | 0600, 0), 0);
  allAnswer("true", {folder, folder + "/", folder + "//", link, folder + "/inner",
                     root + "/socket"});  // Required: it has the bit as well
  allAnswer("false", {"", "/", "C:", root + "/file", root + "/file/", root + "/nothing"});
  EXPECT_FALSE(qzDirectoryExists(nullptr));
  std::filesystem::permissions(root, std::filesystem::perms(0600));
  driver::inOwnPidNamespace([&] {  // gives up root's rights
    EXPECT_TRUE(setuid(65534) == 0 || unshare(CLONE_NEWUSER) == 0);
    allAnswer("true", {root});
    allAnswer("false", {folder});
  });
  std::filesystem::permissions(root, std::filesystem::perms(0700));
  std::filesystem::remove_all(folder);
  allAnswer("false", {folder + "/", link});
  // Required: the 16-bit form asks for the front of a long path.
  std::string const deep = root + "/" + std::string(100, 'd') + "/", more(200, 'm');
  std::string const most = deep + std::string(249 - deep.size(), 'd');
  std::filesystem::create_directories(most);
  std::filesystem::create_directories(deep + more);
  holdsFor<text16<500>>(most + "xyz", "true", exists);
  holdsFor<text8<500>, char const*>(most + "xyz", "false", exists);
  holdsFor<text16<500>>(deep + more, "false", exists);
  holdsFor<text8<500>, char const*>(deep + more, "true", exists);
  std::filesystem::remove_all(root);
}

}  // namespace
