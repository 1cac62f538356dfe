#include "strings/formatted_text.h"

#include <cstdarg>
#include <cstdio>

namespace qz::detail {

line_text formattedText(char const* format, ...) {
  line_text text;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.toChar(), line_text::kCapacity + 1, format, arguments);
  va_end(arguments);
  text.calcLength();
  return text;
}

}  // namespace qz::detail
