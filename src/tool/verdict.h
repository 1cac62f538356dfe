// From the exit code to the words in the job's log.
#ifndef QZ_TOOL_VERDICT_H_
#define QZ_TOOL_VERDICT_H_

#include "tool/run_state.h"

namespace qz::detail {

// Sets `isError` and `wasIgnored`: any exit code but 0 is an error unless it is to be forgiven.
void judge(run_state& run);

// Prints the report, from its header to the line that closes the verdict. The caller prints what
// follows: a message that could not be posted, the version, the closing line.
void writeVerdict(run_state const& run);

}  // namespace qz::detail

#endif  // QZ_TOOL_VERDICT_H_
