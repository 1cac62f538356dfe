#ifndef QZ_STRINGS_FORMATTED_TEXT_H_
#define QZ_STRINGS_FORMATTED_TEXT_H_

#include "strings/string8.h"

namespace qz::detail {

// A line of a report or of a log, and what is put into one.
using line_text = _qzString8_allSize<250>;

// Returns what printf(3) makes of the format and its arguments, cut at 250 characters.
[[gnu::format(printf, 1, 2)]] line_text formattedText(char const* format, ...);

}  // namespace qz::detail

#endif  // QZ_STRINGS_FORMATTED_TEXT_H_
