#include "companion/command.h"
#include "companion/terminal.h"

namespace qz::companion {

command addRun(CLI::App& program) {
  CLI::App* const parser =
      program.add_subcommand("run", "start a render command, wait for all of it, run the check");
  return {parser, [] {
            complain("not built yet");
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
