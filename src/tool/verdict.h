// From the exit code to the words in the job's log.
#ifndef QZ_TOOL_VERDICT_H_
#define QZ_TOOL_VERDICT_H_

#include "strings/formatted_text.h"
#include "tool/run_state.h"

namespace qz::detail {

// Sets `isError` and `wasIgnored`: any exit code but 0 is an error unless it is to be forgiven.
void judge(run_state& run);

// The line that names the exit code; a frame number of kNotGiven is left out, of any other the low
// 32 bits are shown.
line_text returnedLine(int exitCode, long long frameNumber, int jobThreadId);

// What the report says of an exit code that ended in error.
struct error_words {
  line_text hint;        // empty if there is none
  line_text systemText;  // stands beside the hint
  char const* closing;
};
error_words wordsOfError(int exitCode);

// Prints the report, from its header to the line that closes the verdict. The caller prints what
// follows: a message that could not be posted, the version, the closing line.
void writeVerdict(run_state const& run);

}  // namespace qz::detail

#endif  // QZ_TOOL_VERDICT_H_
