// The same as small_use with the standard library, for the comparison of sizes.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  int frame = 0;
  char const* const end = argv[2] + std::strlen(argv[2]);
  auto const read = std::from_chars(argv[2], end, frame);
  std::string line = std::filesystem::path(argv[1]).filename().string();
  for (std::size_t at = 0; (at = line.find(".exr", at)) != std::string::npos; at += 4)
    line.replace(at, 4, ".png");
  line += " frame " + std::to_string(frame);
  std::puts(line.c_str());
  return read.ec == std::errc() && read.ptr == end ? 0 : 1;
}
