#include "tool/verdict.h"

#include <algorithm>

#include "strings/formatted_text.h"
#include "tool/report.h"
#include "tool/system_services.h"

namespace qz::detail {
namespace {

// Exit codes of Windows renderers, which pass their status through.
constexpr int kMissingComponent = static_cast<int>(0xC0000135);
constexpr int kAccessViolation = static_cast<int>(0xC0000005);

constexpr char kCrashed[] = "=> Executable crashed";
constexpr char kReturnedError[] = "=> Executable returned with an error code";

bool isBetween(int value, int lowest, int highest) { return lowest <= value && value <= highest; }

// The frame's fill may differ from that of the other lines: the number of a forgiven code stands
// in the error frame inside a report of success.
void writeForgivenCode(run_state const& run) {
  line_text number;
  number.addNr(run.exitCode);
  printLine(true, number, "", "");
}

}  // namespace

void judge(run_state& run) {
  if (run.exitCode == 0) return;
  int* const end = run.ignoreCodes + run.ignoreCount;
  run.wasIgnored = std::find(run.ignoreCodes, end, run.exitCode) != end;
  run.isError = !run.wasIgnored;
}

line_text returnedLine(int exitCode, long long frameNumber, int jobThreadId) {
  auto const code = static_cast<unsigned>(exitCode);
  if (frameNumber == kNotGiven)
    return formattedText("Executable returned %d (0x%x) as exit code (jobthread %d).", exitCode,
                         code, jobThreadId);
  return formattedText("Executable returned %d (0x%x) as exit code for frame %d (jobthread %d).",
                       exitCode, code, static_cast<int>(frameNumber), jobThreadId);
}

error_words wordsOfError(int exitCode) {
  if (exitCode == kMissingComponent)
    return {"Error: Unable to locate a component. (probably a .dll file)", "", kCrashed};
  if (exitCode == kAccessViolation)
    return {
        "Error: Application or plugin contains a bug. (Crash was caused by a NULL pointer memory "
        "access).",
        "", kCrashed};
  if (isBetween(exitCode, -11, 11)) return {"", "", kReturnedError};
  return {"Error COULD be: ", qzLastOSError8(exitCode),
          isBetween(exitCode, -149, 149) ? kReturnedError : kCrashed};
}

void writeVerdict(run_state const& run) {
  writeInfoHeader(run.isError);
  printLine(run.isError, "Quazen checks the return code of the executable or the OS", "", "");
  printLine(run.isError, returnedLine(run.exitCode, run.frameNumber, run.jobThreadId), "", "");
  if (run.wasIgnored) writeForgivenCode(run);
  if (!run.isError) return printLine(false, "Executable finished", "", "");
  error_words const words = wordsOfError(run.exitCode);
  if (words.hint.hasData()) printLine(true, words.hint, words.systemText, "");
  printLine(true, words.closing, "", "");
}

}  // namespace qz::detail
