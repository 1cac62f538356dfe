// qzCheckExitcode: checks how a render application ended, tells the log and the client. The exit
// status is 0 on every path; the client reads the result in its block, a person in the log.
#include <csignal>

#include "tool/arguments.h"
#include "tool/output.h"
#include "tool/posting.h"
#include "tool/report.h"
#include "tool/system_services.h"
#include "tool/verdict.h"
#include "tool/waiting.h"

int main(int argc, char** argv) {
  using namespace qz::detail;
  // The message is posted even when nobody reads the log any more, or when it may not grow.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);

  flushOutput();
  qzSleep(350);
  qzSleep(350);
  if (argc < 2) return 0;

  run_state run;
  if (!readArguments(argc, argv, run)) return 0;
  if (run.renderProcessName.hasData()) waitForRenderProcess(run.renderProcessName);

  judge(run);
  writeVerdict(run);
  flushOutput();

  postMessage(run);
  if (run.isError) printLine(true, qzVersion, "", "");
  printLine(run.isError, "", "", "");
  flushOutput();
  return 0;
}
