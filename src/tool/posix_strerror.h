#ifndef QZ_TOOL_POSIX_STRERROR_H_
#define QZ_TOOL_POSIX_STRERROR_H_

#include <cstddef>

namespace qz::detail {

// Writes the C library's text for `code` into `buffer` of `size` bytes. Returns false if it does
// not know the number or the text does not fit.
bool posixErrorText(int code, char* buffer, std::size_t size);

}  // namespace qz::detail

#endif  // QZ_TOOL_POSIX_STRERROR_H_
