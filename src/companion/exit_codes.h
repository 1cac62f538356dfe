// What an exit code can mean. A number alone does not tell who chose it: a shell, the kernel, a
// Windows renderer, a script language or the application itself; so each code has a list of
// readings, the likeliest first.
#ifndef QZ_COMPANION_EXIT_CODES_H_
#define QZ_COMPANION_EXIT_CODES_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qz::companion {

struct reading {
  std::string source;   // who uses the number in this way: "shell", "Windows", ...
  std::string name;     // the system's own name for it, may be empty
  std::string meaning;  // in plain words, with usual causes and where to look
};

// Reads a code as a person finds it in a log: decimal with or without sign, from -2147483648 to
// 4294967295, or hexadecimal with 0x in front, up to 32 bits. Returns what the check makes of it, a
// signed number of 32 bits, or nothing if it is no such number.
std::optional<int> parseExitCode(std::string_view text);

// All readings known here; empty if the number has none, so that only the application's own manual
// can tell.
std::vector<reading> readingsOf(int code);

// "SIGKILL" for 9, or an empty text.
std::string_view signalName(int number);

}  // namespace qz::companion

#endif  // QZ_COMPANION_EXIT_CODES_H_
