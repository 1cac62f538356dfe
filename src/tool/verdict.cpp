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

line_text returnedLine(run_state const& run) {
  auto const code = static_cast<unsigned>(run.exitCode);
  if (run.frameNumber == kNotGiven)
    return formattedText("Executable returned %d (0x%x) as exit code (jobthread %d).", run.exitCode,
                         code, run.jobThreadId);
  return formattedText("Executable returned %d (0x%x) as exit code for frame %d (jobthread %d).",
                       run.exitCode, code, static_cast<int>(run.frameNumber), run.jobThreadId);
}

// The frame's fill may differ from that of the other lines: the number of a forgiven code stands
// in the error frame inside a report of success.
void writeForgivenCode(run_state const& run) {
  line_text number;
  number.addNr(run.exitCode);
  printLine(true, number, "", "");
}

void writeErrorClass(int exitCode) {
  if (exitCode == kMissingComponent) {
    printLine(true, "Error: Unable to locate a component. (probably a .dll file)", "", "");
    printLine(true, kCrashed, "", "");
  } else if (exitCode == kAccessViolation) {
    printLine(true,
              "Error: Application or plugin contains a bug. (Crash was caused by a NULL pointer "
              "memory access).",
              "", "");
    printLine(true, kCrashed, "", "");
  } else if (isBetween(exitCode, -11, 11)) {
    printLine(true, kReturnedError, "", "");
  } else {
    printLine(true, "Error COULD be: ", qzLastOSError8(exitCode), "");
    printLine(true, isBetween(exitCode, -149, 149) ? kReturnedError : kCrashed, "", "");
  }
}

}  // namespace

void judge(run_state& run) {
  if (run.exitCode == 0) return;
  int* const end = run.ignoreCodes + run.ignoreCount;
  run.wasIgnored = std::find(run.ignoreCodes, end, run.exitCode) != end;
  run.isError = !run.wasIgnored;
}

void writeVerdict(run_state const& run) {
  writeInfoHeader(run.isError);
  printLine(run.isError, "Quazen checks the return code of the executable or the OS", "", "");
  printLine(run.isError, returnedLine(run), "", "");
  if (run.wasIgnored) writeForgivenCode(run);
  if (run.isError)
    writeErrorClass(run.exitCode);
  else
    printLine(run.isError, "Executable finished", "", "");
}

}  // namespace qz::detail
