// The path functions, in both widths and several capacities, beside the same rules over a
// std::string; a full string is made on purpose often.
#include "files/paths.h"

#include <sys/stat.h>

#include "fuzz/input.h"

namespace {

std::string cut(std::string const& text, std::size_t capacity) { return text.substr(0, capacity); }

std::string dirName(std::string path, std::size_t capacity) {
  if (path.size() < 3) return path;
  if (path.back() == '/') path.pop_back();
  std::ptrdiff_t head = 0;
  auto const find = [&](std::ptrdiff_t start) {
    std::size_t const at = path.find('/', static_cast<std::size_t>(start));
    return at == std::string::npos ? -1 : static_cast<std::ptrdiff_t>(at);
  };
  if (path[1] == ':') head = 2;
  if (path[1] == '/') head = find(find(2) + 1);
  if (head < 0) return path;
  std::size_t const slash = path.rfind('/');
  auto const last = slash == std::string::npos ? -1 : static_cast<std::ptrdiff_t>(slash);
  if (last >= head)
    path.resize(static_cast<std::size_t>(last));
  else if (last < 0)
    return "";
  return cut(path + '/', capacity);
}

std::string fileName(std::string const& path) { return path.substr(path.rfind('/') + 1, 100); }

std::string baseName(std::string path, char delimiter) {
  std::size_t const at = path.rfind(delimiter);
  if (at != std::string::npos && at >= 2) path.erase(0, at + 1);
  std::size_t const dot = path.rfind('.');
  if (dot != std::string::npos && dot >= 2) path.resize(dot);
  return path;
}

bool isRelative(std::string path) {
  if (path.size() < 3) return true;
  if (path[0] == '/' || (path[1] == ':' && path[2] == '/')) return false;
  for (char& c : path)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  for (std::string const root : {"<database>", "[cfgpath]", "[temp]"})
    if (path.compare(0, root.size(), root) == 0) return false;
  return true;
}

std::string converted(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

std::string resolved(std::string path, std::size_t capacity) {
  if (path.size() < 2) return path;
  path = converted(path);
  bool const isNetwork = path[0] == '/' && path[1] == '/';
  for (std::size_t at = 0; (at = path.find("//", at)) != std::string::npos; ++at) path.erase(at, 1);
  if (isNetwork) path = cut('/' + path, capacity);
  std::size_t const up = path.find("../");
  if (up == std::string::npos) return path;
  std::string dir = path.substr(0, up);
  if (!dir.empty() && dir[0] == '<') {
    std::string const bare = dir.back() == '/' ? dir.substr(0, dir.size() - 1) : dir;
    if (bare.back() == '>' && bare.find('/') == std::string::npos) return path;
  }
  path.erase(0, up);
  while (path.compare(0, 3, "../") == 0) {
    path.erase(0, 3);
    dir = dirName(dir, capacity);
  }
  return cut(dir + path, capacity);
}

std::string bundled(std::string const& path, std::size_t capacity) {
  return cut(path + ".app/Contents/MacOS/" + fileName(path), capacity);
}

bool isFolder(std::string path) {
  struct stat status;
  path = path.c_str();
  return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFDIR) != 0;
}

// A string of the form `Text` with one unit a byte, in memory of its own.
template <class Text>
struct given {
  std::vector<Text> one;
  explicit given(std::string const& path) : one(1) {
    for (char const c : path)
      one[0] += static_cast<typename Text::unit>(static_cast<unsigned char>(c));
  }
  Text const& operator*() const { return one[0]; }
};

template <class Text>
bool is(Text const& text, std::string const& expected) {
  if (text.length != expected.size() || text.data[text.length] != 0) return false;
  for (std::size_t i = 0; i < expected.size(); ++i)
    if (text.data[i] != static_cast<typename Text::unit>(static_cast<unsigned char>(expected[i])) &&
        text.data[i] != expected[i])
      return false;
  return true;
}

template <class Text>
constexpr std::size_t kRoom = Text::kCapacity;

template <class Text>
void checkDirName(std::string const& path) {
  expect(is(qzGetDirName(*given<Text>(path)), dirName(cut(path, kRoom<Text>), kRoom<Text>)));
}
template <class Text>
void checkFileName(std::string const& path) {
  expect(is(qzGetFileName(*given<Text>(path)), fileName(cut(path, kRoom<Text>))));
}
template <class Text>
void checkRelative(std::string const& path) {
  expect(isRelativePath(*given<Text>(path)) == isRelative(cut(path, kRoom<Text>)));
}
template <class Text>
void checkResolved(std::string const& path) {
  expect(is(qzPathResolve(*given<Text>(path)), resolved(cut(path, kRoom<Text>), kRoom<Text>)));
}
template <class Text>
void checkConverted(std::string const& path) {
  expect(is(qzConvertPDToOS(*given<Text>(path)), converted(cut(path, kRoom<Text>))));
}

void checkFolder(std::string const& path) {
  std::string asked = cut(path, 500);
  bool const isShort = asked.size() < 3;
  if (!isShort && asked.back() == '/') asked.pop_back();
  expect(qzDirectoryExists(*given<_qzString8_allSize<500>>(path)) == (!isShort && isFolder(asked)));
  expect(qzDirectoryExists(*given<_qzString<500>>(path)) ==
         (!isShort && isFolder(cut(asked, 249))));
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  // Where a path ends at the capacity is where it goes wrong.
  int const full = in.byte();
  auto const delimiter = in.number<unsigned short>();
  std::string path = in.rest();
  constexpr std::size_t kCapacities[] = {50, 100, 150, 200, 250, 500, 1000};
  std::size_t const wanted = kCapacities[full % 7] + 3 - unsigned(full) / 7 % 8;
  if (full >= 128 && path.size() < wanted) {
    std::size_t const middle = path.size() / 2;
    path.insert(middle, wanted - path.size(), full % 2 != 0 ? '/' : 'a');
  }

  checkDirName<_qzString8_allSize<200>>(path);
  checkDirName<_qzString8_allSize<250>>(path);
  checkDirName<_qzString8_allSize<500>>(path);
  checkDirName<_qzString<250>>(path);
  checkDirName<_qzString<500>>(path);
  checkDirName<_qzString<1000>>(path);
  checkFileName<_qzString8_allSize<200>>(path);
  checkFileName<_qzString8_allSize<500>>(path);
  checkFileName<_qzString<250>>(path);
  checkRelative<_qzString8_allSize<500>>(path);
  checkRelative<_qzString<250>>(path);
  checkResolved<_qzString8_allSize<500>>(path);
  checkResolved<_qzString<500>>(path);
  checkConverted<_qzString8_allSize<50>>(path);
  checkConverted<_qzString8_allSize<500>>(path);
  checkConverted<_qzString<250>>(path);
  expect(is(qzGetFileNameBase(*given<_qzString8_allSize<500>>(path), delimiter),
            baseName(cut(path, 500), static_cast<char>(delimiter & 0xFF))));
  expect(is(makeMacGuiExe8(*given<_qzString8_allSize<500>>(path)), bundled(cut(path, 500), 500)));
  expect(is(makeMacGuiExe(*given<_qzString<250>>(path)), bundled(cut(path, 250), 250)));
  if (full < 32) checkFolder(path);
  return 0;
}
