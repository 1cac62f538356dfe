// Words for a person: colours for a terminal, and for nothing else, and sentences on standard
// error.
#ifndef QZ_COMPANION_TERMINAL_H_
#define QZ_COMPANION_TERMINAL_H_

#include <cstdio>
#include <string>
#include <string_view>

namespace qz::companion {

enum class colour { red, green, yellow, bold };

// Returns `text` in that colour if `stream` is a terminal, TERM is not "dumb" and NO_COLOR is unset
// or empty, else as it is.
std::string coloured(std::FILE* stream, colour wanted, std::string_view text);

// Returns `text` with a question mark for every control character, so that a name or a log can't
// move a terminal's cursor or forge a line.
std::string printable(std::string text);

// Prints "qzframe: " and the sentence on standard error.
void complain(std::string_view sentence);

// Asks on the terminal and returns true for "y" or "yes". Without a terminal on standard input
// nobody can answer: false.
bool confirm(std::string_view question);

}  // namespace qz::companion

#endif  // QZ_COMPANION_TERMINAL_H_
