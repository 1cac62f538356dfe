#ifndef QZ_TOOL_OUTPUT_H_
#define QZ_TOOL_OUTPUT_H_

#include <cstdio>

namespace qz::detail {

// A log that can't be written to, a closed pipe for instance, stops nothing.
inline void flushOutput() {
  std::fflush(stdout);
  std::fflush(stderr);
}

}  // namespace qz::detail

#endif  // QZ_TOOL_OUTPUT_H_
