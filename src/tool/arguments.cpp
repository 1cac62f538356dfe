#include "tool/arguments.h"

#include <strings.h>

#include <cstdlib>

#include "strings/formatted_text.h"
#include "strings/number_core.h"
#include "tool/report.h"

namespace qz::detail {
namespace {

enum class reading { missing, invalid, number };

void reportError(line_text const& a, line_text const& b = "", line_text const& c = "") {
  writeInfoHeader(true);
  printLine(true, a, b, c);
  printLine(true, "", "", "");
}

// The four arguments that have a place, in the order of the command line.
struct positional_argument {
  char const* whenMissing;  // null: nothing is said
  char const* whenInvalid;
};
constexpr positional_argument kExitCode = {"No exit code as parameter 1",
                                           "' is not a valid exit code!"};
constexpr positional_argument kRenderInstance = {"No render instance as parameter 2!",
                                                 "' is not a valid render instance!"};
constexpr positional_argument kJobThread = {nullptr, "' is not a valid threadID!"};
constexpr positional_argument kFrameNumber = {nullptr, "' is not a valid frame number!"};

// Copies the argument into `argText`, cut, and says what it is; reports what is wrong with it.
reading read(positional_argument const& argument, char const* given, line_text& argText) {
  if (given == nullptr) {
    if (argument.whenMissing != nullptr) reportError(argument.whenMissing);
    return reading::missing;
  }
  argText = given;
  if (isNumber(viewOf(argText).run())) return reading::number;
  reportError("'", argText, argument.whenInvalid);
  return reading::invalid;
}

void setRenderProcessName(run_state& run, line_text const& name) {
  run.renderProcessName = name.asUni();
  run.renderProcessName.makeUpper();
}

// Exit codes to forgive, and the render process: what stands behind the frame number, one argument
// at least. Returns false for an ignored code that is not a number.
bool readTrailing(char const* const* argv, int count, run_state& run) {
  for (int i = 0; i < count; ++i) {
    line_text argText(argv[i]);
    if (!argText.startsWith("ignore=")) {
      setRenderProcessName(run, argText);
      continue;
    }
    argText.remove("ignore=");
    if (!isNumber(viewOf(argText).run())) {
      reportError("'", argText, "' is not a valid ignore number!");
      return false;
    }
    if (run.ignoreCount < kMaxIgnoreCodes)
      run.ignoreCodes[run.ignoreCount++] = std::atoi(argText.asChar());
  }
  // Required: whatever stands right behind the frame number is the process name in the end, even
  // an ignored code, which then names no process.
  setRenderProcessName(run, argv[0]);
  return true;
}

}  // namespace

bool readArguments(int argc, char const* const* argv, run_state& run) {
  int const first = argc > 1 && strcasecmp(argv[1], "-qzRoot") == 0 ? 3 : 1;
  auto const given = [&](int place) {
    return first + place < argc ? argv[first + place] : nullptr;
  };
  line_text argText;

  if (read(kExitCode, given(0), argText) == reading::number)
    run.exitCode = std::atoi(argText.asChar());
  if (read(kRenderInstance, given(1), argText) == reading::number)
    run.renderInstance = std::atoi(argText.asChar());

  auto const jobThread = read(kJobThread, given(2), argText);
  if (jobThread == reading::invalid) return false;
  if (jobThread == reading::number) run.jobThreadId = std::atoi(argText.asChar());

  auto const frame = read(kFrameNumber, given(3), argText);
  if (frame == reading::invalid) return false;
  if (frame == reading::number) run.frameNumber = std::atoll(argText.asChar());

  int const trailing = first + 4;
  return argc <= trailing || readTrailing(argv + trailing, argc - trailing, run);
}

}  // namespace qz::detail
