// What one run of the tool knows, from its arguments to its verdict. `main` holds it.
#ifndef QZ_TOOL_RUN_STATE_H_
#define QZ_TOOL_RUN_STATE_H_

#include "strings/string8.h"

namespace qz::detail {

constexpr int kNotGiven = -30000;  // a missing exit code or frame number
constexpr int kMaxIgnoreCodes = 15;

struct run_state {
  int exitCode = kNotGiven;
  int renderInstance = 255;  // only the low byte is ever used
  int jobThreadId = 0;       // whole in the log, its low byte in the client's block
  long long frameNumber = kNotGiven;
  int ignoreCodes[kMaxIgnoreCodes];
  int ignoreCount = 0;
  _qzString8_allSize<25> renderProcessName;  // upper case; empty if there is none to wait for
  bool wasIgnored = false;                   // the exit code is one of ignoreCodes
  bool isError = false;                      // the verdict
};

}  // namespace qz::detail

#endif  // QZ_TOOL_RUN_STATE_H_
