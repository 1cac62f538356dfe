// Path text: our functions beside std::filesystem::path doing the same, from text to text, and
// beside a path that was parsed before and is only asked. The same results come out, except that
// ours end a folder in a slash.
#include <algorithm>
#include <filesystem>
#include <string>

#include "files/paths.h"
#include "race.h"

namespace {

struct input {
  std::string text;
  _qzString8_allSize<500> narrow;
  _qzString<500> wide;
  std::filesystem::path parsed;

  explicit input(char const* path) : text(path), narrow(path), wide(path), parsed(path) {
    seen(*this);
  }
};

constexpr char kFrame[] =
    "/mnt/projects/feature/seq_010/shot_0420/render/beauty/v012/beauty.0101.exr";
constexpr char kTangled[] =
    "/mnt/projects/feature//seq_010/shot_0420/scene/maps/../../render/beauty.0101.exr";

// Races one function in both unit widths; `of` asks a std::filesystem::path for the same.
template <class Ours, class Theirs>
void raceFunction(benchmark::State& state, char const* path, Ours ours, Theirs of) {
  input in(path);
  race(
      state,
      [&] {
        auto result = ours(in.narrow);
        seen(result);
      },
      contestant{"path from text",
                 [&] {
                   auto result = of(std::filesystem::path(in.text));
                   seen(result);
                 }},
      contestant{"parsed path",
                 [&] {
                   auto result = of(in.parsed);
                   seen(result);
                 }},
      contestant{"our 16-bit form", [&] {
                   auto result = ours(in.wide);
                   seen(result);
                 }});
}

void dirName(benchmark::State& state) {
  raceFunction(
      state, kFrame, [](auto const& path) { return qzGetDirName(path); },
      [](std::filesystem::path const& path) { return path.parent_path().string(); });
}
BENCHMARK(dirName)->Apply(inTurns);

void fileName(benchmark::State& state) {
  raceFunction(
      state, kFrame, [](auto const& path) { return qzGetFileName(path); },
      [](std::filesystem::path const& path) { return path.filename().string(); });
}
BENCHMARK(fileName)->Apply(inTurns);

struct base_name {
  auto operator()(_qzString8_allSize<500> const& path) const {
    return qzGetFileNameBase(path, 0x2F);
  }
  // There is one width only: the narrow form stands in.
  auto operator()(_qzString<500> const& path) const {
    return qzGetFileNameBase(path.to_qzString8_500(), 0x2F);
  }
};
void fileNameBase(benchmark::State& state) {
  raceFunction(state, kFrame, base_name{},
               [](std::filesystem::path const& path) { return path.stem().string(); });
}
BENCHMARK(fileNameBase)->Apply(inTurns);

struct relative {
  bool operator()(_qzString8_allSize<500> const& path) const { return isRelativePath(path); }
  bool operator()(_qzString<500> const& path) const { return qz::detail::isRelative(viewOf(path)); }
};
void isRelative(benchmark::State& state) {
  raceFunction(state, kFrame + 1, relative{},
               [](std::filesystem::path const& path) { return path.is_relative(); });
}
BENCHMARK(isRelative)->Apply(inTurns);

void resolve(benchmark::State& state) {
  raceFunction(
      state, kTangled, [](auto const& path) { return qzPathResolve(path); },
      [](std::filesystem::path const& path) { return path.lexically_normal().string(); });
}
BENCHMARK(resolve)->Apply(inTurns);

void convert(benchmark::State& state) {
  raceFunction(
      state, kFrame, [](auto const& path) { return qzConvertPDToOS(path); },
      [](std::filesystem::path const& path) {
        std::string text = path.string();
        std::replace(text.begin(), text.end(), '\\', '/');
        return text;
      });
}
BENCHMARK(convert)->Apply(inTurns);

void directoryExists(benchmark::State& state) {
  raceFunction(
      state, "/usr/include", [](auto const& path) { return qzDirectoryExists(path); },
      [](std::filesystem::path const& path) {
        std::error_code error;
        return std::filesystem::is_directory(path, error);
      });
}
BENCHMARK(directoryExists)->Apply(inTurns);

}  // namespace
