// The command line:
//   [-qzRoot VALUE] EXITCODE INSTANCE THREAD FRAME [PROCESSNAME] [ignore=N]...
#ifndef QZ_TOOL_ARGUMENTS_H_
#define QZ_TOOL_ARGUMENTS_H_

#include "tool/run_state.h"

namespace qz::detail {

// Reads the arguments into `run`, which must be fresh, and reports what is wrong with them on
// standard output. Returns false if the run ends here: a job thread, a frame number or an ignored
// code is not a number. A missing or invalid exit code or render instance keeps its default and
// the run goes on, so that the client still gets its message.
bool readArguments(int argc, char const* const* argv, run_state& run);

}  // namespace qz::detail

#endif  // QZ_TOOL_ARGUMENTS_H_
