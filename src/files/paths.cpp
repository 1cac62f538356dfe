#include "files/paths.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

// What differs between the two unit widths.
template <class Unit>
struct path_unit;

template <>
struct path_unit<char> {
  static constexpr char kForward = PD8_LX;
  static constexpr char kBackward = PD8_WIN;
};

template <>
struct path_unit<unsigned short> {
  static constexpr unsigned short kForward = PD_LX;
  static constexpr unsigned short kBackward = PD_WIN;
};

constexpr int kShortest = 3;  // below, a path is left alone

template <class Unit>
bool isSlash(Unit unit) {
  return unit == path_unit<Unit>::kForward;
}

// The first forward slash at or behind `start`, or -1.
template <class Unit>
int findSlash(unit_run<Unit> path, int start) {
  for (int i = start; i < path.count; ++i)
    if (isSlash(path.units[i])) return i;
  return -1;
}

template <class Unit>
int findLastSlash(text_view<Unit> path) {
  return findLastUnit(path, path_unit<Unit>::kForward, -1);
}

template <class Unit>
bool isParent(Unit const* units) {
  return units[0] == '.' && units[1] == '.' && isSlash(units[2]);
}

// Makes one slash of each pair but the first `kept` units; one that it put in is not looked at
// again, so of three slashes two are left. Gives the place of the first "../" then, or -1.
template <class Unit>
int joinSlashPairs(text_slot<Unit> path, int kept) {
  int const count = path.used();
  int firstParent = -1;
  int out = kept;
  for (int in = kept; in < count; ++in) {
    Unit const unit = path.units[in];
    path.units[out++] = unit;
    if (!isSlash(unit)) continue;
    if (in + 1 < count && isSlash(path.units[in + 1])) ++in;
    if (firstParent < 0 && out >= 3 && isParent(path.units + out - 3)) firstParent = out - 3;
  }
  path.setUsedAndEnd(out);
  return firstParent;
}

// Tells whether the text is a symbolic root in angle brackets and no more, with a slash or without.
template <class Unit>
bool isBareRoot(unit_run<Unit> dir) {
  if (dir.count == 0 || dir.units[0] != '<') return false;
  if (isSlash(dir.units[dir.count - 1])) --dir.count;
  return dir.units[dir.count - 1] == '>' && findSlash(dir, 0) < 0;
}

// Required: the one bit, which the types of sockets and block devices hold as well.
bool statFindsDirectory(char const* path) {
  struct stat status;
  return stat(path, &status) == 0 && (status.st_mode & S_IFDIR) != 0;
}

}  // namespace

template <class Unit>
void cutToDirName(text_slot<Unit> path) {
  int count = path.used();
  if (count < kShortest) return;
  if (isSlash(path.units[count - 1])) path.setUsedAndEnd(--count);

  int head = 0;  // where the part ends that must not be cut
  if (path.units[1] == ':') {
    head = 2;
  } else if (isSlash(path.units[1])) {
    int const behindServer = findSlash(path.run(), 2);
    head = findSlash(path.run(), behindServer + 1);
    if (head < 0) return;  // no folder on the share
  }

  int const last = findLastSlash(path.view());
  if (last >= head)
    path.setUsedAndEnd(last);
  else if (last < 0)
    return path.setUsedAndEnd(0);
  appendUnit(path, path_unit<Unit>::kForward);
}

template <class Unit>
unit_run<Unit> fileNameIn(text_view<Unit> path) {
  constexpr int kLongest = 100;
  int const start = findLastSlash(path) + 1;
  return {path.units + start, std::min(path.used() - start, kLongest)};
}

template <class Unit>
bool isRelative(text_view<Unit> path) {
  if (path.used() < kShortest) return true;
  if (isSlash(path.units[0])) return false;
  if (path.units[1] == ':' && isSlash(path.units[2])) return false;
  return !beginsWithFolded(path, "<Database>") && !beginsWithFolded(path, "[cfgPath]") &&
         !beginsWithFolded(path, "[temp]");
}

template <class Unit>
void convertDelimiters(text_slot<Unit> path) {
  using rules = path_unit<Unit>;
  changeUnits(path.units, path.units, path.used(),
              [](Unit unit) { return unit == rules::kBackward ? rules::kForward : unit; });
}

template <class Unit>
void resolveParents(text_slot<Unit> path) {
  if (path.used() < 2) return;
  convertDelimiters(path);
  bool const isNetwork = isSlash(path.units[0]) && isSlash(path.units[1]);
  int rest = joinSlashPairs(path, isNetwork ? 2 : 0);
  if (rest < 0 || isBareRoot(unit_run<Unit>{path.units, rest})) return;

  // From here the string's length is that of what precedes the run. qzGetDirName makes that longer
  // by one slash at most, so that it never reaches the units behind the "../" that it answers.
  int const end = path.used();
  path.setUsed(rest);
  // Required: only the first run goes, and no root stops it: "C:/../x" and "<Database>/a/../../x"
  // give "x". The share of a network path stays but loses its slash: "//srv/share/../x" gives
  // "//srv/sharex".
  while (end - rest >= 3 && isParent(path.units + rest)) {
    rest += 3;
    cutToDirName(path);
  }
  append(path, unit_run<Unit>{path.units + rest, end - rest});
}

template <class Unit>
void appendBundleExecutable(text_slot<Unit> path) {
  auto const name = fileNameIn(path.view());  // stays in place while the text grows behind it
  for (char const c : std::string_view(".app/Contents/MacOS/"))
    appendUnit(path, unit_rules<Unit>::widened(c));
  append(path, name);
}

#define QZ_INSTANTIATE(Unit)                           \
  template void cutToDirName(text_slot<Unit>);         \
  template unit_run<Unit> fileNameIn(text_view<Unit>); \
  template bool isRelative(text_view<Unit>);           \
  template void resolveParents(text_slot<Unit>);       \
  template void convertDelimiters(text_slot<Unit>);    \
  template void appendBundleExecutable(text_slot<Unit>)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

bool directoryExists(text_slot<char> path) {
  int const count = path.used();
  if (count < kShortest) return false;
  if (isSlash(path.units[count - 1])) path.units[count - 1] = 0;
  return statFindsDirectory(path.units);
}

}  // namespace qz::detail

_qzString8_allSize<500> qzGetFileNameBase(_qzString8_allSize<500> path, unsigned short delimiter) {
  // Required: at position 0 and 1 neither counts, so that a name of one letter keeps its extension.
  auto const text = viewOf(path).run();
  int const folderEnd = path.lastIndexOf(delimiter);
  int const start = folderEnd >= 2 ? folderEnd + 1 : 0;
  int const dot = path.lastIndexOf('.') - start;  // negative if it is in the folder
  return {text.units + start, dot >= 2 ? dot : text.count - start};
}

bool qzDirectoryExists(_qzString<500> path) {
  if (path.length < qz::detail::kShortest) return false;
  if (path.endsWith(qz::detail::PD_LX)) path.setLength(static_cast<short>(path.length - 1));
  // Required: keeps 249 characters.
  return qz::detail::statFindsDirectory(path.to_qzString8_250().asChar());
}

bool qzDirectoryExists(char const* path) {
  return qzDirectoryExists(_qzString8_allSize<500>(path));
}
