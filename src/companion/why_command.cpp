#include "companion/command.h"
#include "companion/terminal.h"

namespace qz::companion {

command addWhy(CLI::App& program) {
  CLI::App* const parser =
      program.add_subcommand("why", "say which process the check would wait for");
  return {parser, [] {
            complain("not built yet");
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
