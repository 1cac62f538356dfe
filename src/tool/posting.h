// The message to the client: the tool's only way to speak to it.
#ifndef QZ_TOOL_POSTING_H_
#define QZ_TOOL_POSTING_H_

#include "tool/client_block.h"
#include "tool/run_state.h"

namespace qz::detail {

// Appends one message about the run to the block that the client keeps in shared memory. Where that
// fails the message is lost: the reason is printed as a report line and `run.isError` becomes true.
// Takes up to 2.5 seconds if the block's lock is held.
void postMessage(run_state& run);

// The same in a block whose lock is held: checks the marks and appends.
void postInto(client_block volatile& block, run_state& run);

}  // namespace qz::detail

#endif  // QZ_TOOL_POSTING_H_
