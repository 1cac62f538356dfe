#include "companion/terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace qz::companion {
namespace {

bool isSetTo(char const* name, std::string_view value) {
  char const* const found = std::getenv(name);
  return found != nullptr && found == value;
}

bool hasColours(std::FILE* stream) {
  char const* const refused = std::getenv("NO_COLOR");
  return (refused == nullptr || *refused == 0) && !isSetTo("TERM", "dumb") &&
         isatty(fileno(stream)) == 1;
}

char const* sequenceOf(colour wanted) {
  switch (wanted) {
    case colour::red:
      return "\033[31m";
    case colour::green:
      return "\033[32m";
    case colour::yellow:
      return "\033[33m";
    case colour::bold:
      return "\033[1m";
  }
  return "";
}

}  // namespace

std::string coloured(std::FILE* stream, colour wanted, std::string_view text) {
  if (!hasColours(stream)) return std::string(text);
  return std::string(sequenceOf(wanted)).append(text).append("\033[0m");
}

std::string printable(std::string text) {
  for (char& one : text)
    if (static_cast<unsigned char>(one) < ' ' || one == '\x7f') one = '?';
  return text;
}

void complain(std::string_view sentence) {
  std::fprintf(stderr, "qzframe: %.*s\n", static_cast<int>(sentence.size()), sentence.data());
}

bool confirm(std::string_view question) {
  if (isatty(STDIN_FILENO) != 1) return false;
  std::fprintf(stderr, "%.*s [y/N] ", static_cast<int>(question.size()), question.data());
  char answer[16];
  if (std::fgets(answer, sizeof answer, stdin) == nullptr) return false;
  std::string_view const given(answer);
  return given == "y\n" || given == "yes\n";
}

}  // namespace qz::companion
