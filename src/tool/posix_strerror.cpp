// C++ compilers define _GNU_SOURCE, and with it strerror_r is the form that never fails but calls
// an unknown number "Unknown error". The POSIX form reports it. The choice is made for a whole
// source file and before its first header, so this function has a file of its own.
#undef _GNU_SOURCE
#define _POSIX_C_SOURCE 200809L
#include <string.h>

#include "tool/posix_strerror.h"

namespace qz::detail {

bool posixErrorText(int code, char* buffer, std::size_t size) {
  int const failure = strerror_r(code, buffer, size);
  return failure == 0;
}

}  // namespace qz::detail
